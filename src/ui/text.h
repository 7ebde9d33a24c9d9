// Small text routines of the menu engine and the dialogs. No curses here.
#pragma once

#include <string>
#include <string_view>

// The first position whose character equals `wanted` after tolower on both; null if there is none.
const char* find_char_nocase(const char* text, int wanted);

// The text in exactly `width` columns: cut there, or padded with blanks. A character of two
// columns that would be cut in half gives way to a blank. Empty when width is not above 0.
std::wstring FitColumns(std::string_view text, int width);

// How many columns the text takes when it is drawn whole.
int ColumnsOf(std::string_view text);

// The text, or the whole characters of it (UTF-8) in its first `most` bytes.
std::string_view WholeCharacters(std::string_view text, std::size_t most);
