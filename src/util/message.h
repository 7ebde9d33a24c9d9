// What the program says on the plain terminal, and what a text from outside looks like there and on
// the screen.
//
// Texts are bytes in the operator's locale (LC_CTYPE). On a UTF-8 terminal a host name or a
// network's name beyond ASCII shows as itself; a byte that is no character there, every control
// character, and what only hides text or turns it around, shows as "?": nothing from a text ever
// drives the terminal.
#pragma once

#include <string>
#include <string_view>

// The text's characters as they may be drawn.
std::wstring DisplayText(std::string_view text);

// Characters as bytes; what the locale has no bytes for is left out.
std::string BytesOf(std::wstring_view characters);

// The text as it may be drawn, as bytes. A text of printable characters is itself.
std::string PrintableText(std::string_view text);

// Writes a message to standard error, as it stands.
void Say(std::string_view message);
