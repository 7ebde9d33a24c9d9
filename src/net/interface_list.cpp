#include "net/interface_list.h"

#include <strings.h>

#include <algorithm>

#include "util/lines.h"
#include "util/trim.h"

namespace {

constexpr std::size_t kLineSize = 512;
constexpr std::size_t kMostNameBytes = 127;

// The name in one line of `ip link`; empty if the line does not start an interface.
std::string_view NameInLine(std::string_view line) {
    line = TrimStart(line, kBlanks);
    const std::string_view behind_number = TrimStart(line, "0123456789");
    if (behind_number.size() == line.size() || !behind_number.starts_with(':')) return {};
    const std::string_view name = TrimStart(behind_number.substr(1), kBlanks);
    return name.substr(0, std::min(name.find_first_of(": \t\r\n"), kMostNameBytes));
}

}  // namespace

std::vector<std::string> ParseInterfaceList(std::string_view ip_link_output) {
    std::vector<std::string> names;
    std::string line;
    while (NextLine(ip_link_output, kLineSize, line)) {
        const std::string name(NameInLine(line));
        if (!name.empty() && strcasecmp(name.c_str(), "lo") != 0) names.push_back(name);
    }
    return names;
}
