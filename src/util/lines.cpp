#include "util/lines.h"

#include <cstring>

#include "util/utility.h"

bool NextLine(std::string_view& text, std::size_t size, std::string& line) {
    line.clear();
    if (text.empty() || size < 2) return false;
    const std::size_t line_feed = text.find('\n');
    std::size_t length = line_feed == std::string_view::npos ? text.size() : line_feed + 1;
    if (length > size - 1) length = size - 1;
    const std::string_view piece = text.substr(0, length);
    line = piece.substr(0, piece.find('\0'));
    text.remove_prefix(length);
    return true;
}

bool NextChompedLine(std::string_view& text, std::size_t size, std::string& line) {
    if (!NextLine(text, size, line)) return false;
    chomp(line.data());
    line.resize(std::strlen(line.c_str()));
    return true;
}
