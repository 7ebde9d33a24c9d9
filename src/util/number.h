// Numbers in texts from outside.
#pragma once

#include <optional>
#include <string_view>

// The number that the text begins with, read as atoi reads it: white space and a sign may stand
// before the digits, anything behind them. Nothing when there are no digits, or when the number is
// none that an int can hold: cut to an int's size it would be another number.
std::optional<int> ParseNumber(std::string_view text);
