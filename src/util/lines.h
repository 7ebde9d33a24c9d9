// Reading a text line by line as fgets() reads a file (with a buffer of a fixed size, so that a
// line longer than the buffer comes in several pieces), and a line column by column.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Takes the next piece off the front of `text`: up to and including the next line feed, at most
// size - 1 bytes (the buffer's last byte is the terminator's). The piece ends at a NUL byte, as a
// C text does; what stood behind the NUL in the same piece is lost. False at the end of the text.
bool NextLine(std::string_view& text, std::size_t size, std::string& line);

// The same without the line's end: trailing carriage returns and line feeds are cut.
bool NextChompedLine(std::string_view& text, std::size_t size, std::string& line);

// What separates columns.
enum class Columns {
    ByTabs,    // single tabs: two in a row have an empty column between them
    ByBlanks,  // any number of blanks and tabs
};

// The columns of a line, which must outlive them. A break at the very start gives an empty first
// column, one at the end gives none. Of more than `most` columns the rest is left out.
std::vector<std::string_view> SplitColumns(std::string_view line, Columns columns,
                                           std::size_t most);
