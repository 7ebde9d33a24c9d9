// The positions of a screen's rows, title and help.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ui/menu.h"

enum class Layout {
    Plain,   // rows from line 4 on
    Main,    // rows from line 5 on
    Narrow,  // 40 columns in the middle, half the height
    // Like Plain, with three lines of help at the bottom from 19 lines on. On fewer lines the help
    // stays where it was, over the rows; if it starts that way, it is partly above the screen.
    Help,
    RoomyHelp,  // like Help, but without help on fewer than 19 lines
};

struct HelpArea {
    int row = -1;       // the first line of help
    int shown_id = -1;  // id of the row whose help is shown
};

// Sets the menu's position and size for the current size of the terminal, and the place of the
// help, which must then be repainted.
void LayOut(Layout layout, Menu& menu, HelpArea& help);

// Prints the title, four columns to the left of the rows; its last line is two lines above the
// first row.
using TitleLines = std::vector<std::string>;
void PaintTitle(const Menu& menu, const TitleLines& title);

// Paints the help of the selected row, unless it is already shown or the layout has none. Lines end
// at "\n" and are cut or padded to COLS - 8 columns; lines without text are blank.
void PaintHelp(Layout layout, const Menu& menu, HelpArea& area, std::string_view help);
