// The colour pairs, named by their use; all screens take their colours from here. On a terminal
// without colours, attributes replace them, so that the kinds of rows still look different.
#pragma once

enum class Colour : short {
    Text = 1,           // default text, titles, rows
    Selected = 2,       // the selected row; entry fields
    Hover = 3,          // the row under the pointer; hot-key letters
    SelectedHover = 4,  // the selected row under the pointer
    Inactive = 5,       // rows of an inactive menu
    Warning = 6,        // marked rows
};

// Sets up the colours, and those of Text as the background. Call after initscr().
void StartColours();

// The attribute for attrset(): the colour pair, or its replacement on a terminal without colours.
unsigned PairAttribute(Colour colour);

// The attribute of a hot key's letter, in a selected or another row.
unsigned HotKeyAttribute(bool selected);
