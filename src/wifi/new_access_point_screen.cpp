#include "wifi/new_access_point_screen.h"

#include <string>

#include "ui/dialogs.h"
#include "ui/screen_loop.h"
#include "ui/terminal.h"
#include "util/wipe.h"

namespace {

constexpr int kInformation = -1;
constexpr int kBack = 1;
constexpr int kConnect = 16;

void AddRows(Menu& menu, const AccessPoint& access_point) {
    menu.AddInformation("BSSID: " + access_point.bssid, kInformation);
    menu.AddInformation("SSID: '" + access_point.ssid + "'", kInformation);
    menu.AddSeparator();
    menu.SetHotKey(menu.AddItem("Return to wifi ap menu", kBack), 'r');
    menu.AddSeparator();
    menu.SetHotKey(menu.AddItem("Connect to access point", kConnect), 'c');
}

// Whether the supplicant took the network. When it gives no number for it, nothing is said and the
// screen is never left.
bool AddAccessPoint(const WirelessCard& card, const AccessPoint& access_point,
                    std::string& password) {
    const int id = AddNetwork(card.name);
    if (id < 0) return false;
    ShellEscape([&] { ConfigureNetwork(card.name, access_point, id, password); });
    return true;
}

// The password is asked for whatever the network says of its security: an open one is configured
// as a protected one, too.
void Connect(Menu& menu, const AccessPoint& access_point, const WirelessCard& card) {
    menu.redraw = true;
    std::string password;
    if (!PromptPassword("Access point password?", password)) return;
    if (AddAccessPoint(card, access_point, password)) menu.running = false;
    Wipe(password);
}

void Act(Menu& menu, const MenuItem& item, const AccessPoint& access_point,
         const WirelessCard& card) {
    if (item.id == kBack) menu.running = false;
    if (item.id == kConnect) Connect(menu, access_point, card);
}

}  // namespace

void NewAccessPointScreen(const AccessPoint& access_point, const WirelessCard& card) {
    HelpArea help;
    ScreenLoop(
        {.add_rows = [&](Menu& menu) { AddRows(menu, access_point); },
         .paint = [&](Menu& menu) { PaintAccessPoints(menu, card, help); },
         .act = [&](Menu& menu, const MenuItem& item) { Act(menu, item, access_point, card); },
         .after_key = [&](Menu& menu) { PaintNoHelp(menu, help); }});
}
