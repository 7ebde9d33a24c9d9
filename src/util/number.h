// Numbers in outside texts.
#pragma once

#include <optional>
#include <string_view>

// The number at the start of the text, parsed like atoi: white space and a sign may precede the
// digits, anything may follow. Nothing if there are no digits, or if the number does not fit an
// int: truncated, it would be a different number.
std::optional<int> ParseNumber(std::string_view text);
