// What the program says on the plain terminal, and what a text from outside looks like there and on
// the screen.
//
// Texts are bytes in the operator's locale (LC_CTYPE). On a UTF-8 terminal a host name or a
// network's name beyond ASCII shows as itself. What shows as "?": a byte that is no character
// there; every control character; Unicode's format and default-ignorable characters, which hide
// text or turn it around (joiners and variation selectors, too: an emoji made of several shows in
// its parts); and outside UTF-8 every character with a byte from 0x80 to 0x9f, which terminals may
// take for a control. So nothing from a text ever drives the terminal.
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
