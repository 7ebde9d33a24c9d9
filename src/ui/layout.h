// Where a screen's rows, title and help stand.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ui/menu.h"

enum class Layout {
    Plain,      // rows from line 4 on
    Main,       // rows from line 5 on
    Narrow,     // 40 columns in the middle, half the height
    Help,       // as Plain; on 19 lines or more with three help rows at the bottom. On fewer they
                // keep their place: over other rows or, from the start, half above the screen
    RoomyHelp,  // the same, with no help rows on fewer than 19 lines
};

struct HelpArea {
    int row = -1;       // the first help row
    int shown_id = -1;  // whose help is on the screen
};

// Sets the menu's position and size for the present terminal, and the place of the help, which is
// then to be painted anew.
void LayOut(Layout layout, Menu& menu, HelpArea& help);

// Prints the title four columns to the left of the rows; its last line is two lines above the first
// row.
using TitleLines = std::vector<std::string>;
void PaintTitle(const Menu& menu, const TitleLines& title);

// Paints the help of the selected row unless it is there already, or the layout has none: lines end
// at "\n", are cut at COLS - 8 columns and padded to them; rows without text are blank.
void PaintHelp(Layout layout, const Menu& menu, HelpArea& area, std::string_view help);
