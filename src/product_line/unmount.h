// Unmounting all disks, from the plain terminal: a helper of the product line. This program has no
// row for it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

// One line of /proc/mounts, as far as it matters.
struct MountedDevice {
    std::string device;
    std::string mount_point;
    std::string type;
};

// The device that a line tells of; nothing when the line has fewer than four fields, the device is
// not below /dev/, or it is the root file system.
std::optional<MountedDevice> ParseMountLine(std::string_view line);

// Leaves curses, unmounts every such device with a line for each ("Unmounting: %s -> %s [%s] " and
// "OK" or the reason it failed), and waits for ENTER.
void UnmountDeviceMounts();
