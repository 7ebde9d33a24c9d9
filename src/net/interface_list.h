// The interfaces of this machine.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// The names in the output of `ip link`, in its order, without "lo". A line names an interface if it
// starts, after any blanks, with a number and a colon. A name keeps its suffix ("veth0@if5").
std::vector<std::string> ParseInterfaceList(std::string_view ip_link_output);
