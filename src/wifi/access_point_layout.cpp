#include "wifi/access_point_layout.h"

#include "ui/screen_loop.h"

void PaintAccessPoints(Menu& menu, const WirelessCard& card, HelpArea& area) {
    LayOutWithHelp(menu, area);
    PaintTitle(menu, 2, "Wireless access points for " + card.name + " (" + card.address + ")");
}

void PaintNoHelp(const Menu& menu, HelpArea& area) {
    PaintHelp(menu, area, "");
}
