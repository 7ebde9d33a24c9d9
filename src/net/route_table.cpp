#include "net/route_table.h"

#include <net/route.h>
#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "util/assertion.h"
#include "util/lines.h"
#include "util/read_file.h"

namespace {

constexpr size_t kLineSize = 4096;
constexpr size_t kColumns = 64;

// The function names that assertion reports print.
constexpr const char* kSplitFunction = "size_t tabsplit(char**, size_t, char*)";
constexpr const char* kUpdateFunction = "void UpdateRouteInfo()";

// The columns in use, in the order of kColumnNames.
enum Column { kIface, kDestination, kGateway, kFlags, kMask, kColumnCount };

struct ColumnName {
    const char* name;
    const char* in_range;  // asserted about its index when a line is read
    int line;
};

constexpr ColumnName kColumnNames[kColumnCount] = {
    {"iface", "iface_idx >= 0 && iface_idx < 64", 1864},
    {"destination", "dest_idx >= 0 && dest_idx < 64", 1868},
    {"gateway", "gateway_idx >= 0 && gateway_idx < 64", 1872},
    {"flags", "flags_idx >= 0 && flags_idx < 64", 1876},
    {"mask", "mask_idx >= 0 && mask_idx < 64", 1880},
};

using Cells = std::vector<std::string_view>;
using ColumnIndices = int[kColumnCount];

Cells SplitLine(std::string_view line) {
    Cells cells = SplitColumns(line, Columns::ByBlanks, kColumns - 1);
    if (cells.size() >= kColumns) FailAssertion("col < colnum", 1782, kSplitFunction);
    return cells;
}

// False if a column is missing. If a name occurs twice, the later column wins.
bool FindColumns(const Cells& names, ColumnIndices& indices) {
    std::fill(std::begin(indices), std::end(indices), -1);
    for (std::size_t i = 0; i < names.size(); ++i) {
        for (int column = 0; column < kColumnCount; ++column) {
            const std::string name(names[i]);
            if (strcasecmp(name.c_str(), kColumnNames[column].name) == 0) {
                indices[column] = static_cast<int>(i);
            }
        }
    }
    return std::all_of(std::begin(indices), std::end(indices),
                       [](int index) { return index >= 0; });
}

std::uint32_t HexadecimalWord(const std::string& text) {
    return static_cast<std::uint32_t>(std::strtoul(text.c_str(), nullptr, 16));
}

RouteEntry EntryOf(std::string_view line, const ColumnIndices& indices) {
    const Cells cells = SplitLine(line);
    if (cells.size() > kColumns - 1) FailAssertion("i < 64", 1859, kUpdateFunction);
    std::string texts[kColumnCount];
    for (int column = 0; column < kColumnCount; ++column) {
        const int index = indices[column];
        const ColumnName& name = kColumnNames[column];
        if (index < 0 || index >= static_cast<int>(kColumns)) {
            FailAssertion(name.in_range, name.line, kUpdateFunction);
        }
        const auto place = static_cast<std::size_t>(index);
        if (place < cells.size()) texts[column] = cells[place];
    }
    RouteEntry entry;
    entry.iface = texts[kIface];
    entry.destination = HexadecimalWord(texts[kDestination]);
    entry.gateway = HexadecimalWord(texts[kGateway]);
    entry.flags = static_cast<std::uint16_t>(HexadecimalWord(texts[kFlags]));
    entry.mask = HexadecimalWord(texts[kMask]);
    return entry;
}

bool HasGateway(const RouteEntry& route) {
    return (route.flags & RTF_GATEWAY) != 0;
}

}  // namespace

RouteTable ParseRouteTable(std::string_view text) {
    RouteTable routes;
    std::string line;
    ColumnIndices indices;
    if (!NextChompedLine(text, kLineSize, line) || !FindColumns(SplitLine(line), indices)) {
        return routes;
    }
    while (NextChompedLine(text, kLineSize, line)) {
        RouteEntry entry = EntryOf(line, indices);
        if (!entry.iface.empty()) routes.push_back(std::move(entry));
    }
    return routes;
}

RouteTable ReadRouteTable() {
    const auto text = ReadWholeFile("/proc/net/route");
    return text ? ParseRouteTable(*text) : RouteTable();
}

bool HasMultipleGateways(const RouteTable& routes) {
    return std::count_if(routes.begin(), routes.end(), [](const RouteEntry& route) {
               return HasGateway(route) && route.destination == 0;
           }) > 1;
}

std::uint32_t FindGateway(const RouteTable& routes, std::string_view interface_name) {
    const auto found = std::find_if(routes.begin(), routes.end(), [&](const RouteEntry& route) {
        return route.iface == interface_name && HasGateway(route);
    });
    return found == routes.end() ? 0 : found->gateway;
}
