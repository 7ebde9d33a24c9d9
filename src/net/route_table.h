// The kernel's IPv4 routes, reduced to what the status rows need: the gateway of each interface,
// and whether more than one default gateway is active.
//
// Source: /proc/net/route, a header line with column names and one line per route:
//
//     Iface   Destination Gateway   Flags RefCnt Use Metric Mask     MTU Window IRTT
//     eth0    00000000    0100A8C0  0003  0      0   0      00000000 0   0      0
//
// The kernel prints each address as the hexadecimal value of the word that holds it in network byte
// order. The words are stored as strtoul returns them, without swapping bytes, so inet_ntop() on a
// stored word gives the dotted address.
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

// The routes in file order.
using RouteTable = std::vector<RouteEntry>;

// The routes in a text of this form. Column names are compared ignoring case; if the interface,
// destination, gateway, flags or mask column is missing, there are no routes. Missing fields of a
// short line are zero; a line without an interface is skipped.
RouteTable ParseRouteTable(std::string_view text);

// Reads /proc/net/route; empty if it can't be read.
RouteTable ReadRouteTable();

// Whether there is more than one default route with a gateway, on any interfaces.
bool HasMultipleGateways(const RouteTable& routes);

// The gateway of the interface's first route, in file order, that has one; 0 if none has. That
// route is not always the default route, but the kernel lists the default route first.
std::uint32_t FindGateway(const RouteTable& routes, std::string_view interface_name);
