// A network interface, as the main menu hands it to the screens that work on it.
#pragma once

#include <string>

struct Interface {
    std::string name;  // as `ip link` prints it, cut at 31 bytes
    // "00:1A:2B:3C:4D:5E" in upper case; its settings file is named after it; empty: unknown.
    std::string address;
};
