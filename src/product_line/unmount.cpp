#include "product_line/unmount.h"

#include <curses.h>
#include <sys/mount.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "product_line/plain_terminal.h"
#include "util/lines.h"
#include "util/read_file.h"
#include "util/trim.h"

namespace {

constexpr std::size_t kLineSize = 1024;

// Removes the text up to the next blank from the line, with the blanks and tabs that follow it.
// Returns nothing if there is no blank.
std::optional<std::string> TakeField(std::string_view& line) {
    const std::size_t end = line.find(' ');
    if (end == std::string_view::npos) return std::nullopt;
    std::string field(line.substr(0, end));
    line = TrimStart(line.substr(end), kBlanks);
    return field;
}

void Unmount(const MountedDevice& mounted) {
    std::printf("Unmounting: %s -> %s [%s] ", mounted.device.c_str(), mounted.mount_point.c_str(),
                mounted.type.c_str());
    std::fflush(stdout);
    const bool done = umount(mounted.mount_point.c_str()) == 0;
    std::printf("%s\n", done ? "OK" : std::strerror(errno));
}

}  // namespace

std::optional<MountedDevice> ParseMountLine(std::string_view line) {
    line = TrimStart(line, kBlanks);
    const auto device = TakeField(line);
    const auto mount_point = device ? TakeField(line) : std::nullopt;
    const auto type = mount_point ? TakeField(line) : std::nullopt;
    if (!type || !device->starts_with("/dev/") || *mount_point == "/") return std::nullopt;
    return MountedDevice{*device, *mount_point, *type};
}

void UnmountDeviceMounts() {
    LeaveCursesAtHome();
    if (const auto mounts = ReadWholeFile("/proc/mounts")) {
        std::string_view text = *mounts;
        std::string line;
        while (NextLine(text, kLineSize, line)) {
            if (const auto mounted = ParseMountLine(line)) Unmount(*mounted);
        }
    }
    WaitForEnter();
    refresh();
}
