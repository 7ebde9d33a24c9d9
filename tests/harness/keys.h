// The bytes that a keyboard and a mouse send, by type of terminal, and how such a terminal erases.
#pragma once

#include <set>
#include <string>
#include <vector>

namespace harness {

// One key press, as the bytes that a terminal of this type (its terminfo entry) sends.
struct KeyPress {
    std::string name;  // as written in the text, e.g. "<Down>" or "u"
    std::string bytes;
};

// The key presses written in the text: "<Down><Enter>u". Names: Up Down Left Right Home End PageUp
// PageDown Insert Delete Backspace Enter Tab Esc Space F1..F12 lt, and C-c and so on for Control
// with a key. Any other character stands for itself. If a name does not exist, or the terminal type
// has no such key, sets `error` and returns no keys.
std::vector<KeyPress> KeyPresses(const std::string& terminal_type, const std::string& keys,
                                 std::string& error);

enum class MouseEvent { kMove, kPress, kRelease };

// Whether cells that a terminal of this type erases take the background colour ("bce").
bool ErasesWithColour(const std::string& terminal_type);

// What a terminal with these private modes sends for an event of the left button; "" if it sends
// nothing, because the program has not asked for such reports. Positions count from 0.
std::string MouseBytes(const std::set<int>& modes, MouseEvent event, int row, int col);

}  // namespace harness
