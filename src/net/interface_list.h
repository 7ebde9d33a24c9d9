// The interfaces that the machine has.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// The names that `ip link` lists, in its order, without "lo": those in lines that begin, after
// blanks, with a number and a colon. A name keeps its suffix ("veth0@if5").
std::vector<std::string> ParseInterfaceList(std::string_view ip_link_output);
