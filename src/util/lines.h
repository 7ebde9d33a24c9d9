// Reads a text line by line, like fgets() reads a file into a buffer of fixed size (longer lines
// are split), and a line column by column.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Removes the next piece from the front of `text`: up to and including the next line feed, but at
// most size - 1 bytes (the last byte of the buffer is for the terminator). As in a C string, the
// piece ends at a NUL byte; the rest of the piece after the NUL is lost. Returns false at the end
// of the text.
bool NextLine(std::string_view& text, std::size_t size, std::string& line);

// The same without the line end: trailing carriage returns and line feeds are cut.
bool NextChompedLine(std::string_view& text, std::size_t size, std::string& line);

// What separates columns.
enum class Columns {
    ByTabs,    // single tabs; between two adjacent tabs is an empty column
    ByBlanks,  // any number of blanks and tabs
};

// The columns of a line, as views into it. A separator at the start gives an empty first column,
// one at the end gives no further column. Columns beyond the first `most` are left out.
std::vector<std::string_view> SplitColumns(std::string_view line, Columns columns,
                                           std::size_t most);
