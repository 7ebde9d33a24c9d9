// Shared by the fuzz targets. Each takes any bytes, checks properties that must always hold, and
// ends the program if one does not.
#pragma once

#include <string_view>

// Prints the text and ends the program if the condition does not hold.
void Require(bool holds, const char* what);

// Runs the bytes as a session with a menu: rows, sizes of terminal and list, keys, mouse events.
void FuzzMenu(std::string_view bytes);
