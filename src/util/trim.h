// Cuts characters off the ends of a text.
#pragma once

#include <algorithm>
#include <string_view>

constexpr std::string_view kSpace = " ";
constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kWhiteSpace = " \t\r\n";
constexpr std::string_view kLineEnds = "\r\n";

// The text without these characters at its start, at its end, or at both.
constexpr std::string_view TrimStart(std::string_view text, std::string_view characters) {
    text.remove_prefix(std::min(text.find_first_not_of(characters), text.size()));
    return text;
}
constexpr std::string_view TrimEnd(std::string_view text, std::string_view characters) {
    return text.substr(0, text.find_last_not_of(characters) + 1);
}
constexpr std::string_view Trim(std::string_view text, std::string_view characters) {
    return TrimStart(TrimEnd(text, characters), characters);
}
