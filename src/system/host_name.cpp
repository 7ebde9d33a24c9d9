#include "system/host_name.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace {

constexpr std::size_t kNameSize = 128;

}  // namespace

std::string HostName() {
    char name[kNameSize] = "";
    gethostname(name, sizeof name);
    name[kNameSize - 1] = '\0';
    return name;
}

std::string HostNameFrom(const std::string& typed) {
    std::string name = typed.substr(0, kNameSize - 1);
    std::replace(name.begin(), name.end(), ' ', '-');
    return name;
}

void SetHostName(const std::string& name) {
    // A name that the kernel refuses is still written for the next start.
    [[maybe_unused]] const int refused = sethostname(name.c_str(), name.size());
    std::FILE* file = std::fopen("/etc/hostname", "we");
    if (file == nullptr) return;
    std::fprintf(file, "%s\n", name.c_str());
    std::fclose(file);
}
