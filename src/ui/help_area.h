// The layout that the settings editor and the wireless screens share: the rows from line 4 on, and
// three rows of help for the selected row under them where the terminal has 19 lines or more.
#pragma once

#include <string_view>

#include "ui/menu.h"

struct HelpArea {
    // The first help row. It keeps its last value when the terminal becomes too small, so that the
    // help then lies over other rows, or, from the start, half above the screen.
    int row = -1;
    int shown_id = -1;  // whose help is on the screen
};

// Sets the menu's position and size for the present terminal, and the help rows. The help is then
// to be painted anew.
void LayOutWithHelp(Menu& menu, HelpArea& area);

// Paints the help of the selected row unless it is there already: lines end at "\n", are cut at
// COLS - 8 columns and padded to them; what has no text is blank.
void PaintHelp(const Menu& menu, HelpArea& area, std::string_view help);
