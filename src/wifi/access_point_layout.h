// What the wireless screens have in common: title, layout, the blank help rows; and the screen of
// one network.
#pragma once

#include <span>
#include <string>

#include "ui/help_area.h"
#include "ui/menu.h"
#include "wifi/supplicant.h"

// The card whose networks are shown: the kernel's name and the hardware address in upper case.
struct WirelessCard {
    std::string name;
    std::string address;
};

// Lays the menu out and prints the title.
void PaintAccessPoints(Menu& menu, const WirelessCard& card, HelpArea& area);

// Blanks the help rows when another row is selected: no row of these screens has a help text.
void PaintNoHelp(const Menu& menu, HelpArea& area);

// What can be done with one network.
struct AccessPointAction {
    const char* label;
    int id;
    int hot_key;
    void (*act)(Menu& menu, const AccessPoint& access_point, const WirelessCard& card);
};

// The screen of one network: its BSSID and SSID, the way back, the actions.
void RunAccessPointScreen(const AccessPoint& access_point, const WirelessCard& card,
                          std::span<const AccessPointAction> actions);
