// Reading a text line by line as fgets() reads a file: with a buffer of a fixed size, so that a
// line longer than the buffer comes in several pieces.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Takes the next piece off the front of `text`: up to and including the next line feed, at most
// size - 1 bytes (the buffer's last byte is the terminator's). The piece ends at a NUL byte, as a
// C text does; what stood behind the NUL in the same piece is lost. False at the end of the text.
bool NextLine(std::string_view& text, std::size_t size, std::string& line);

// The same without the line's end: trailing carriage returns and line feeds are cut (chomp).
bool NextChompedLine(std::string_view& text, std::size_t size, std::string& line);
