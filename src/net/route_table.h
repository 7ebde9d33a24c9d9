// The kernel's IPv4 routes, as far as the status rows need them: each interface's gateway, and
// whether more than one default gateway is active.
//
// Source: /proc/net/route, a header line with column names and one line for each route:
//
//     Iface   Destination Gateway   Flags RefCnt Use Metric Mask     MTU Window IRTT
//     eth0    00000000    0100A8C0  0003  0      0   0      00000000 0   0      0
//
// Addresses are words in network byte order as they lie in memory, printed as hexadecimal numbers.
// They are stored as strtoul gives them, so that inet_ntop() on the stored word gives the dotted
// address; no byte is swapped anywhere.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct RouteEntry {
    std::string iface;
    std::uint32_t destination = 0;
    std::uint32_t gateway = 0;
    std::uint16_t flags = 0;  // RTF_UP 0x1, RTF_GATEWAY 0x2 ...
    std::uint32_t mask = 0;
};

// The routes in the file's order.
using RouteTable = std::vector<RouteEntry>;

// The routes in a text of that form. Names in the header are compared ignoring case; without
// interface, destination, gateway, flags and mask there are no routes. A line that is short keeps
// zeros for what is missing; a line without an interface is skipped.
RouteTable ParseRouteTable(std::string_view text);

// Reads /proc/net/route; empty when it can't be read.
RouteTable ReadRouteTable();

// Whether there is more than one default route with a gateway, whatever their interface.
bool HasMultipleGateways(const RouteTable& routes);

// The gateway of the first route of that interface that has one, in the file's order; 0 when there
// is none. It need not be the default route: the kernel lists that one first.
std::uint32_t FindGateway(const RouteTable& routes, std::string_view interface_name);
