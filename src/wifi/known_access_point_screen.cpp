#include "wifi/known_access_point_screen.h"

#include "ui/dialogs.h"
#include "ui/screen_loop.h"
#include "ui/terminal.h"

namespace {

constexpr int kInformation = -1;
constexpr int kBack = 1;
constexpr int kConnect = 16;
constexpr int kForget = 17;

// Both actions have the key c: pressing it again moves to the other.
void AddRows(Menu& menu, const AccessPoint& access_point) {
    menu.AddInformation("BSSID: " + access_point.bssid, kInformation);
    menu.AddInformation("SSID: '" + access_point.ssid + "'", kInformation);
    menu.AddSeparator();
    menu.SetHotKey(menu.AddItem("Return to wifi ap menu", kBack), 'r');
    menu.AddSeparator();
    menu.SetHotKey(menu.AddItem("Connect to access point", kConnect), 'c');
    menu.SetHotKey(menu.AddItem("Forget access point", kForget), 'c');
}

void Connect(Menu& menu, const AccessPoint& access_point, const WirelessCard& card) {
    if (access_point.networkId < 0) return;
    ShellEscape([&] { SelectAccessPoint(card.name, access_point); });
    menu.running = false;
}

void Forget(Menu& menu, const AccessPoint& access_point, const WirelessCard& card) {
    if (access_point.networkId < 0) return;
    menu.rebuild = true;
    if (!AskYesNoOnBlankScreen()) return;
    ShellEscape([&] { RemoveAccessPoint(card.name, access_point); });
    menu.running = false;
}

void Act(Menu& menu, const MenuItem& item, const AccessPoint& access_point,
         const WirelessCard& card) {
    if (item.id == kBack) menu.running = false;
    if (item.id == kConnect) Connect(menu, access_point, card);
    if (item.id == kForget) Forget(menu, access_point, card);
}

}  // namespace

void KnownAccessPointScreen(const AccessPoint& access_point, const WirelessCard& card) {
    HelpArea help;
    ScreenLoop(
        {.add_rows = [&](Menu& menu) { AddRows(menu, access_point); },
         .paint = [&](Menu& menu) { PaintAccessPoints(menu, card, help); },
         .act = [&](Menu& menu, const MenuItem& item) { Act(menu, item, access_point, card); },
         .after_key = [&](Menu& menu) { PaintNoHelp(menu, help); }});
}
