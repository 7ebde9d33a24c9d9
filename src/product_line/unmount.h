// Unmounts all disks, on the plain terminal, for other tools of the product line. This program has
// no row for it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

// The fields in use of a line of /proc/mounts.
struct MountedDevice {
    std::string device;
    std::string mount_point;
    std::string type;
};

// The device in a line. Nothing if the line has fewer than four fields, the device is not below
// /dev/, or it is the root file system.
std::optional<MountedDevice> ParseMountLine(std::string_view line);

// Leaves curses, unmounts each such device and prints a line for it ("Unmounting: %s -> %s [%s] "
// and "OK" or the error), then waits for ENTER.
void UnmountDeviceMounts();
