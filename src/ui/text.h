// Text routines of the menu and the dialogs, without curses.
#pragma once

#include <string>
#include <string_view>

// The first character that equals `wanted`, with tolower applied to both; null if there is none.
const char* find_char_nocase(const char* text, int wanted);

// The text in exactly `width` columns, cut or padded with blanks. If a two-column character would
// be cut in half, it becomes a blank. Empty if width is 0 or less.
std::wstring FitColumns(std::string_view text, int width);

// The number of columns that the whole text takes.
int ColumnsOf(std::string_view text);

// The first whole characters of the text (UTF-8) that fit into `most` bytes.
std::string_view WholeCharacters(std::string_view text, std::size_t most);
