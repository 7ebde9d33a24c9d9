// Small text and time routines of the menu engine and the dialogs, and what a text looks like on
// the screen. No curses here.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "util/message.h"

// Wall-clock time: seconds since the epoch, with microseconds behind the point (gettimeofday).
double now_seconds();

// White space, for these four, is exactly tab, line feed, carriage return and blank.
// The first other character of the text, or its end.
char* skip_space(char* text);
// Cuts trailing white space in place.
void trim_trailing_space(char* text);
// Both: cuts trailing white space and returns the first other character.
char* trim_space(char* text);
// Moves the text without its leading white space to its start.
void strip_leading_space(char* text);

// The first position whose character equals `wanted` after tolower on both; null if there is none.
const char* find_char_nocase(const char* text, int wanted);

// Whether any of the first `count` bytes is other than zero.
bool any_nonzero(const void* bytes, std::size_t count);

// The text in exactly `width` columns: cut there, or padded with blanks. A character of two
// columns that would be cut in half gives way to a blank. Empty when width is not above 0.
std::wstring FitColumns(std::string_view text, int width);

// How many columns the text takes when it is drawn whole.
int ColumnsOf(std::string_view text);
