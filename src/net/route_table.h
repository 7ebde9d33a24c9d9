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

#include <cstddef>
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

// The routes in the file's order. Empty when the file can't be read or lacks a needed column.
extern std::vector<RouteEntry> RouteTable;

// 1 when more than one default gateway route exists, else 0.
extern int multipleGateways;

// Splits the line in place into columns separated by blanks and tabs: stores at most colnum - 1
// pointers, a null pointer behind the last, and returns their number. A blank at the very start
// gives an empty first column; blanks at the end give none. What does not fit is dropped.
size_t tabsplit(char** cols, size_t colnum, char* line);

// The routes in a text of that form. Names in the header are compared ignoring case; without
// interface, destination, gateway, flags and mask there are no routes. A line that is short keeps
// zeros for what is missing; a line without an interface is skipped.
std::vector<RouteEntry> ParseRouteTable(std::string_view text);

// Reads /proc/net/route into RouteTable, which is emptied first.
void UpdateRouteInfo();

// Sets multipleGateways from RouteTable: default routes with a gateway, whatever their interface.
void CheckMultipleGateways();

// The first route of that interface with a gateway, in the file's order; null when there is none.
// It need not be the default route: the kernel lists that one first.
const RouteEntry* FindGateway(std::string_view interface);
