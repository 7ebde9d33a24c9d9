#include "system/host_name.h"

#include <unistd.h>

#include <algorithm>

#include "util/save_file.h"

namespace {

constexpr std::size_t kNameSize = 128;
constexpr std::size_t kMostTypedBytes = 126;

}  // namespace

std::string HostName() {
    char name[kNameSize] = "";
    gethostname(name, sizeof name);
    name[kNameSize - 1] = '\0';
    return name;
}

std::string HostNameFrom(const std::string& typed) {
    std::string name = typed.substr(0, kMostTypedBytes);
    std::replace(name.begin(), name.end(), ' ', '-');
    return name;
}

void SetHostName(const std::string& name) {
    // Written even if the kernel refuses the name: it may apply at the next boot.
    [[maybe_unused]] const int refused = sethostname(name.c_str(), name.size());
    SaveFile("/etc/hostname", name + "\n");
}
