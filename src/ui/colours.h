// The colour pairs by what they are for. Every screen takes its colours from here.
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

// The attribute word of the pair, for attrset().
unsigned PairAttribute(Colour colour);
