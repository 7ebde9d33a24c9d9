#include "wifi/access_point_layout.h"

#include "ui/screen_loop.h"

namespace {

constexpr int kInformation = -1;
constexpr int kBack = 1;

void AddRows(Menu& menu, const AccessPoint& access_point,
             std::span<const AccessPointAction> actions) {
    menu.AddInformation("BSSID: " + access_point.bssid, kInformation);
    menu.AddInformation("SSID: '" + access_point.ssid + "'", kInformation);
    menu.AddSeparator();
    AddTableRow(menu, "Return to wifi ap menu", kBack, 'r');
    menu.AddSeparator();
    for (const AccessPointAction& action : actions)
        AddTableRow(menu, action.label, action.id, action.hot_key);
}

}  // namespace

void PaintAccessPoints(Menu& menu, const WirelessCard& card, HelpArea& area) {
    LayOutWithHelp(menu, area);
    PaintTitle(menu, 2, "Wireless access points for " + card.name + " (" + card.address + ")");
}

void PaintNoHelp(const Menu& menu, HelpArea& area) {
    PaintHelp(menu, area, "");
}

void RunAccessPointScreen(const AccessPoint& access_point, const WirelessCard& card,
                          std::span<const AccessPointAction> actions) {
    HelpArea help;
    const auto act = [&](Menu& menu, const MenuItem& item) {
        if (item.id == kBack) menu.running = false;
        for (const AccessPointAction& action : actions) {
            if (action.id == item.id) action.act(menu, access_point, card);
        }
    };
    ScreenLoop({.add_rows = [&](Menu& menu) { AddRows(menu, access_point, actions); },
                .paint = [&](Menu& menu) { PaintAccessPoints(menu, card, help); },
                .act = act,
                .after_key = [&](Menu& menu) { PaintNoHelp(menu, help); }});
}
