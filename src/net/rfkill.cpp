#include "net/rfkill.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>

std::string RfkillFolder(const std::string& interface_name) {
    return "/sys/class/net/" + interface_name + "/phy80211/rfkill0";
}

bool HasRfkill(const std::string& interface_name) {
    struct stat about = {};
    return stat(RfkillFolder(interface_name).c_str(), &about) == 0 && S_ISDIR(about.st_mode);
}

int ReadIntFile(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "re");
    if (file == nullptr) return -1;
    char line[64] = "";
    if (std::fgets(line, sizeof line, file) == nullptr) line[0] = '\0';
    std::fclose(file);
    return std::atoi(line);
}

void WriteIntFile(const std::string& path, int value) {
    std::FILE* file = std::fopen(path.c_str(), "we");
    if (file == nullptr) return;
    std::fprintf(file, "%d\n", value);
    std::fclose(file);
}
