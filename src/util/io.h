// Writing to file descriptors.
#pragma once

#include <string_view>

// Writes all of the text, with as many calls as needed; returns false if that fails.
bool WriteAll(int descriptor, std::string_view text);
