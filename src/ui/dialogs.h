// The modal dialogs. Each takes the keyboard until it returns, leaves the cursor hidden, and does
// not restore what it has drawn over: the calling screen asks to be painted (ui/rows.h, Next).
#pragma once

#include <form.h>

#include <optional>
#include <string>
#include <string_view>

#include "util/secret.h"

constexpr std::string_view kDefaultQuestion = "Are you sure? [y/n]";

// Asks the question at the cursor and waits for y or Y (true) or n, N, q, ESC or backspace (false).
// Every other key, ENTER too, is ignored. With a mouse it shows two buttons: a click anywhere on
// their lines answers.
bool AskYesNo(std::string_view question = kDefaultQuestion);

// Asks on a blank screen, the question at its top left corner.
bool AskYesNoOnBlankScreen(std::string_view question = kDefaultQuestion);

// A box with the prompt (lines separated by "\n") and one line of text to edit, `value` at first
// (what fits of it: COLS - 4 characters, at most 254 bytes). ENTER stores the text without blanks
// around it in `value` and gives true; ESC gives false and leaves `value` alone. So does any key
// when the terminal is too small for the box. What can't be shown stands as "?", and is kept as it
// is when ENTER takes the value unchanged.
// When the terminal changes its size meanwhile, the box is laid out anew with what was typed; one
// that has become too small for it is waited out, and only ESC cancels there.
bool PromptText(std::string_view prompt, std::string& value);

// Feeds one key to the form. ESC clears `running` and sets `cancelled`; ENTER clears `running` and
// commits the typed text to the field's buffer.
void FormHandleKey(FORM* form, bool& running, bool& cancelled);

// The same box for a password: printable ASCII only, at most COLS - 4 or 255 characters, shown as
// asterisks. Nothing when ESC cancels; the dialog keeps no copy.
std::optional<Secret> PromptPassword(std::string_view prompt);
