#include "util/lines.h"

#include <algorithm>

#include "util/trim.h"

bool NextLine(std::string_view& text, std::size_t size, std::string& line) {
    line.clear();
    if (text.empty() || size < 2) return false;
    const std::size_t line_feed = text.find('\n');
    const std::size_t whole = line_feed == std::string_view::npos ? text.size() : line_feed + 1;
    const std::size_t length = std::min(whole, size - 1);
    const std::string_view piece = text.substr(0, length);
    line = piece.substr(0, piece.find('\0'));
    text.remove_prefix(length);
    return true;
}

bool NextChompedLine(std::string_view& text, std::size_t size, std::string& line) {
    if (!NextLine(text, size, line)) return false;
    line.resize(TrimEnd(line, kLineEnds).size());
    return true;
}

std::vector<std::string_view> SplitColumns(std::string_view line, Columns columns,
                                           std::size_t most) {
    const bool by_tabs = columns == Columns::ByTabs;
    std::vector<std::string_view> found;
    while (!line.empty() && found.size() < most) {
        const std::size_t end = line.find_first_of(by_tabs ? "\t" : kBlanks);
        found.push_back(line.substr(0, end));
        if (end == std::string_view::npos) break;
        line.remove_prefix(end + 1);
        if (!by_tabs) line = TrimStart(line, kBlanks);
    }
    return found;
}
