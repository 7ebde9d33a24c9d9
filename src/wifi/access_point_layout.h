// What the three wireless screens have in common: title, layout and the blank help rows.
#pragma once

#include <string>

#include "ui/help_area.h"
#include "ui/menu.h"

// The card whose networks are shown: the kernel's name and the hardware address in upper case.
struct WirelessCard {
    std::string name;
    std::string address;
};

// Lays the menu out and prints the title.
void PaintAccessPoints(Menu& menu, const WirelessCard& card, HelpArea& area);

// Blanks the help rows when another row is selected: no row of these screens has a help text.
void PaintNoHelp(const Menu& menu, HelpArea& area);
