#include "net/route_table.h"

#include <net/route.h>
#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "util/assertion.h"
#include "util/files.h"
#include "util/lines.h"

std::vector<RouteEntry> RouteTable;
int multipleGateways = 0;

namespace {

constexpr size_t kLineSize = 4096;
constexpr int kColumns = 64;

constexpr const char* kSplitFunction = "size_t tabsplit(char**, size_t, char*)";
constexpr const char* kUpdateFunction = "void UpdateRouteInfo()";

// The columns that are read, in the order of kColumnNames.
enum Column { kIface, kDestination, kGateway, kFlags, kMask, kColumnCount };

struct ColumnName {
    const char* name;
    const char* in_range;  // what holds of its index when a line is read
    int line;
};

constexpr ColumnName kColumnNames[kColumnCount] = {
    {"iface", "iface_idx >= 0 && iface_idx < 64", 1864},
    {"destination", "dest_idx >= 0 && dest_idx < 64", 1868},
    {"gateway", "gateway_idx >= 0 && gateway_idx < 64", 1872},
    {"flags", "flags_idx >= 0 && flags_idx < 64", 1876},
    {"mask", "mask_idx >= 0 && mask_idx < 64", 1880},
};

using ColumnPointers = char* [kColumns];
using ColumnIndices = int[kColumnCount];

// False when a column is missing. When a name occurs twice the later column wins.
bool FindColumns(char* const* names, ColumnIndices& indices) {
    std::fill(std::begin(indices), std::end(indices), -1);
    for (int i = 0; names[i] != nullptr; ++i) {
        for (int column = 0; column < kColumnCount; ++column) {
            if (strcasecmp(names[i], kColumnNames[column].name) == 0) indices[column] = i;
        }
    }
    return std::all_of(std::begin(indices), std::end(indices),
                       [](int index) { return index >= 0; });
}

std::uint32_t HexadecimalWord(const char* text) {
    return text == nullptr ? 0 : static_cast<std::uint32_t>(std::strtoul(text, nullptr, 16));
}

RouteEntry EntryOf(char* line, const ColumnIndices& indices) {
    ColumnPointers pointers;
    const size_t count = tabsplit(pointers, kColumns, line);
    if (count > kColumns - 1) FailAssertion("i < 64", 1859, kUpdateFunction);
    std::fill(pointers + count, pointers + kColumns, nullptr);
    const char* cells[kColumnCount];
    for (int column = 0; column < kColumnCount; ++column) {
        const int index = indices[column];
        const ColumnName& name = kColumnNames[column];
        if (index < 0 || index >= kColumns)
            FailAssertion(name.in_range, name.line, kUpdateFunction);
        cells[column] = pointers[index];
    }
    RouteEntry entry;
    if (cells[kIface] != nullptr) entry.iface = cells[kIface];
    entry.destination = HexadecimalWord(cells[kDestination]);
    entry.gateway = HexadecimalWord(cells[kGateway]);
    entry.flags = static_cast<std::uint16_t>(HexadecimalWord(cells[kFlags]));
    entry.mask = HexadecimalWord(cells[kMask]);
    return entry;
}

bool IsColumnBreak(char c) {
    return c == '\t' || c == ' ';
}

}  // namespace

size_t tabsplit(char** cols, size_t colnum, char* line) {
    size_t i = 0;
    char* p = line;
    while (*p != '\0' && i + 1 < colnum) {
        cols[i++] = p;
        while (*p != '\0' && !IsColumnBreak(*p))
            ++p;
        if (*p == '\0') break;
        *p++ = '\0';
        while (IsColumnBreak(*p))
            ++p;
    }
    if (i >= colnum) FailAssertion("col < colnum", 1782, kSplitFunction);
    cols[i] = nullptr;
    return i;
}

std::vector<RouteEntry> ParseRouteTable(std::string_view text) {
    std::vector<RouteEntry> routes;
    std::string line;
    if (!NextChompedLine(text, kLineSize, line)) return routes;
    ColumnPointers names;
    ColumnIndices indices;
    tabsplit(names, kColumns, line.data());
    if (!FindColumns(names, indices)) return routes;
    while (NextChompedLine(text, kLineSize, line)) {
        RouteEntry entry = EntryOf(line.data(), indices);
        if (!entry.iface.empty()) routes.push_back(std::move(entry));
    }
    return routes;
}

void UpdateRouteInfo() {
    RouteTable.clear();
    if (const auto text = ReadWholeFile("/proc/net/route")) RouteTable = ParseRouteTable(*text);
}

void CheckMultipleGateways() {
    const auto gateways =
        std::count_if(RouteTable.begin(), RouteTable.end(), [](const RouteEntry& route) {
            return (route.flags & RTF_GATEWAY) != 0 && route.destination == 0;
        });
    multipleGateways = gateways > 1 ? 1 : 0;
}

const RouteEntry* FindGateway(std::string_view interface) {
    const auto found =
        std::find_if(RouteTable.begin(), RouteTable.end(), [&](const RouteEntry& route) {
            return route.iface == interface && (route.flags & RTF_GATEWAY) != 0;
        });
    return found == RouteTable.end() ? nullptr : &*found;
}
