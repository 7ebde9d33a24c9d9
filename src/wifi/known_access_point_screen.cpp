#include "wifi/known_access_point_screen.h"

#include "ui/dialogs.h"
#include "ui/terminal.h"

namespace {

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

// Both actions have the key c: pressing it again moves to the other.
constexpr AccessPointAction kActions[] = {{"Connect to access point", 16, 'c', Connect},
                                          {"Forget access point", 17, 'c', Forget}};

}  // namespace

void KnownAccessPointScreen(const AccessPoint& access_point, const WirelessCard& card) {
    RunAccessPointScreen(access_point, card, kActions);
}
