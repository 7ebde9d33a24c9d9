#include "net/interface_table.h"

#include <strings.h>

#include <algorithm>

#include "util/lines.h"

InterfaceEntry InterfaceTable[kMostInterfaces];

namespace {

constexpr std::size_t kLineSize = 512;
constexpr std::size_t kMostNameBytes = 127;
constexpr std::size_t kMostEntryNameBytes = 31;
constexpr std::string_view kBlanks = " \t";

std::string_view SkipAll(std::string_view text, std::string_view characters) {
    const std::size_t start = text.find_first_not_of(characters);
    return start == std::string_view::npos ? std::string_view() : text.substr(start);
}

// The name in one line of `ip link`; empty when the line is no interface's first.
std::string_view NameInLine(std::string_view line) {
    line = SkipAll(line, kBlanks);
    const std::string_view behind_number = SkipAll(line, "0123456789");
    if (behind_number.size() == line.size() || behind_number.empty()) return {};
    if (behind_number.front() != ':') return {};
    const std::string_view name = SkipAll(behind_number.substr(1), kBlanks);
    return name.substr(0, std::min(name.find_first_of(": \t\r\n"), kMostNameBytes));
}

}  // namespace

void StoreInterface(std::size_t index, std::string_view name, std::string_view address) {
    if (index >= kMostInterfaces) return;
    InterfaceTable[index] = {std::string(name.substr(0, kMostEntryNameBytes)),
                             std::string(address)};
}

std::vector<std::string> ParseInterfaceList(std::string_view ip_link_output) {
    std::vector<std::string> names;
    std::string line;
    while (NextLine(ip_link_output, kLineSize, line)) {
        const std::string name(NameInLine(line));
        if (!name.empty() && strcasecmp(name.c_str(), "lo") != 0) names.push_back(name);
    }
    return names;
}
