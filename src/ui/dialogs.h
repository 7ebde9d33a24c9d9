// The modal dialogs. Each takes the keyboard until it returns and leaves the cursor hidden. It does
// not restore the screen behind it: the calling screen asks for a repaint (ui/rows.h, Next).
#pragma once

#include <form.h>

#include <optional>
#include <string>
#include <string_view>

#include "util/secret.h"

constexpr std::string_view kDefaultQuestion = "Are you sure? [y/n]";

// Asks the question at the cursor and waits for y or Y (returns true), or n, N, q, ESC or backspace
// (returns false). All other keys, including ENTER, are ignored. With a mouse it also shows two
// buttons; a click anywhere on the line of a button answers.
bool AskYesNo(std::string_view question = kDefaultQuestion);

// Asks on a blank screen, with the question in the top left corner.
bool AskYesNoOnBlankScreen(std::string_view question = kDefaultQuestion);

// A box with the prompt (lines separated by "\n") and an entry line. The entry starts with `value`,
// cut to COLS - 4 characters and 254 bytes. ENTER stores the trimmed text in `value` and returns
// true; ESC returns false and leaves `value` unchanged, as does any key if the terminal is too
// small for the box. Unprintable characters are shown as "?", but are kept if ENTER accepts the
// entry unchanged.
//
// If the terminal's size changes, the box adapts and keeps the entry. While the terminal is too
// small for it, the box waits, and only ESC cancels.
bool PromptText(std::string_view prompt, std::string& value);

// Passes one key to the form. ESC clears `running` and sets `cancelled`; ENTER clears `running` and
// commits the typed text to the field's buffer.
void FormHandleKey(FORM* form, bool& running, bool& cancelled);

// The same box for a password: printable ASCII only, at most COLS - 4 or 255 characters, shown as
// asterisks. Returns nothing if ESC cancels. Keeps no copy.
std::optional<Secret> PromptPassword(std::string_view prompt);
