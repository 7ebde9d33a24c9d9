// What a keyboard and a mouse send: the bytes of keys on a type of terminal, and of mouse events.
#pragma once

#include <set>
#include <string>
#include <vector>

namespace harness {

// One press, as the bytes that a terminal of this type (its terminfo entry) sends for it.
struct KeyPress {
    std::string name;  // as written in the keys, e.g. "<Down>" or "u"
    std::string bytes;
};

// The presses written one after the other: "<Down><Enter>u". Names: Up Down Left Right Home End
// PageUp PageDown Insert Delete Backspace Enter Tab Esc Space F1..F12 lt, C-c and the like for
// Control with a key. Anything else stands for itself. `error` is set, and no key returned, for a
// name that does not exist or that the terminal type has no key for.
std::vector<KeyPress> KeyPresses(const std::string& terminal_type, const std::string& keys,
                                 std::string& error);

enum class MouseEvent { kMove, kPress, kRelease };

// What a terminal with these private modes set sends for an event of the left button; "" when it
// would send nothing, as while the program has asked for no mouse reports. 0-based.
std::string MouseBytes(const std::set<int>& modes, MouseEvent event, int row, int col);

}  // namespace harness
