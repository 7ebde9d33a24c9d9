// Writing to descriptors.
#pragma once

#include <string_view>

// Writes all of the text, however many calls it takes; false when that fails.
bool WriteAll(int descriptor, std::string_view text);
