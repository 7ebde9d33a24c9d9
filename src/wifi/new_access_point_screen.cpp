#include "wifi/new_access_point_screen.h"

#include <string>

#include "ui/dialogs.h"
#include "ui/terminal.h"
#include "util/wipe.h"

namespace {

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

constexpr AccessPointAction kActions[] = {{"Connect to access point", 16, 'c', Connect}};

}  // namespace

void NewAccessPointScreen(const AccessPoint& access_point, const WirelessCard& card) {
    RunAccessPointScreen(access_point, card, kActions);
}
