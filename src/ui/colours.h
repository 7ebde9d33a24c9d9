// The colour pairs by what they are for. Every screen takes its colours from here. A terminal
// without colours has attributes in their place that each kind of row can be told by.
#pragma once

enum class Colour : short {
    Text = 1,           // default text, titles, rows
    Selected = 2,       // the selected row; entry fields
    Hover = 3,          // the row under the pointer; hot-key letters
    SelectedHover = 4,  // the selected row under the pointer
    Inactive = 5,       // rows of an inactive menu
    Warning = 6,        // marked rows
};

// Sets up the colours and the standard screen's background (Text). After initscr().
void StartColours();

// The attribute word for attrset(): the pair, or what stands for it without colours.
unsigned PairAttribute(Colour colour);

// Of the hot key's letter in a selected row, and in another one.
unsigned HotKeyAttribute(bool selected);
