// What the fuzz targets have in common: each takes any bytes, checks what must hold of them
// whatever they are, and ends the program when it does not.
#pragma once

#include <string_view>

// Ends the program with that text when the condition does not hold.
void Require(bool holds, const char* what);

// Bytes as a session with a menu: rows, sizes of the terminal and of the list, keys, mouse events.
void FuzzMenu(std::string_view bytes);
