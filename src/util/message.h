// Messages on the plain terminal, and how outside texts are shown there and on the screen.
//
// Texts are bytes in the operator's locale (LC_CTYPE). On a UTF-8 terminal host names and network
// names beyond ASCII are shown unchanged. These are shown as "?":
//
// - bytes that are not a character in the locale;
// - control characters;
// - Unicode's format and default-ignorable characters, which hide or reorder text. These include
//   joiners and variation selectors, so a compound emoji appears as its parts;
// - outside UTF-8, characters with a byte from 0x80 to 0x9f, which terminals may take for a control
//   character.
//
// So an outside text can never control the terminal.
#pragma once

#include <string>
#include <string_view>

// The characters of the text, safe to draw.
std::wstring DisplayText(std::string_view text);

// The characters as bytes; those that the locale can't encode are left out.
std::string BytesOf(std::wstring_view characters);

// The text as bytes, safe to print. A text of printable characters is unchanged.
std::string PrintableText(std::string_view text);

// Writes a message to standard error, unchanged.
void Say(std::string_view message);
