#include "net/rfkill.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <string_view>

#include "util/io.h"
#include "util/number.h"

namespace {

bool IsFolder(const std::string& path) {
    struct stat about = {};
    return stat(path.c_str(), &about) == 0 && S_ISDIR(about.st_mode);
}

// The number in "rfkill4"; INT_MAX for other names.
int NumberOf(std::string_view name) {
    constexpr std::string_view kSwitch = "rfkill";
    if (!name.starts_with(kSwitch)) return INT_MAX;
    name.remove_prefix(kSwitch.size());
    int number = INT_MAX;
    const char* end = name.data() + name.size();
    return std::from_chars(name.data(), end, number).ptr == end ? number : INT_MAX;
}

int FirstSwitchIn(const std::string& card) {
    DIR* folder = opendir(card.c_str());
    if (folder == nullptr) return INT_MAX;
    int first = INT_MAX;
    while (const dirent* entry = readdir(folder))
        first = std::min(first, NumberOf(entry->d_name));
    closedir(folder);
    return first;
}

}  // namespace

std::string RfkillFolder(const std::string& interface_name) {
    if (interface_name.find('/') != std::string::npos) return "";
    const std::string card = "/sys/class/net/" + interface_name + "/phy80211/";
    std::string folder = card + "rfkill0";
    if (!IsFolder(folder)) folder = card + "rfkill" + std::to_string(FirstSwitchIn(card));
    return IsFolder(folder) ? folder : "";
}

// O_NONBLOCK: a pipe or device in place of the file must not hang the program.
int ReadIntFile(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0) return -1;
    char line[63];
    const ssize_t length = read(file, line, sizeof line);
    close(file);
    const std::string_view text(line, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    return ParseNumber(text.substr(0, text.find('\n'))).value_or(0);
}

void WriteIntFile(const std::string& path, int value) {
    const int file =
        open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
    if (file < 0) return;
    WriteAll(file, std::to_string(value) + "\n");
    close(file);
}
