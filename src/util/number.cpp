#include "util/number.h"

#include <charconv>
#include <system_error>

std::optional<int> ParseNumber(std::string_view text) {
    constexpr std::string_view kSpace = " \t\n\v\f\r";
    const std::size_t start = text.find_first_not_of(kSpace);
    if (start == std::string_view::npos) return std::nullopt;
    text.remove_prefix(start);
    if (text.front() == '+') {
        text.remove_prefix(1);
        if (text.starts_with('-')) return std::nullopt;
    }
    int number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec != std::errc()) return std::nullopt;
    return number;
}
