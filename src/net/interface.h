// A network interface, from the list of the main menu to the last screen that works on it.
#pragma once

#include <string>

struct Interface {
    std::string name;     // the kernel's name, at most 31 characters
    std::string address;  // "00:1A:2B:3C:4D:5E" in upper case, which names its settings; empty when
                          // unknown
};
