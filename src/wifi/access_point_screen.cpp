#include "wifi/access_point_screen.h"

#include "ui/screen_loop.h"

std::string AccessPointsTitle(const Interface& card) {
    return "Wireless access points for " + card.name + " (" + card.address + ")";
}

void AddAddressAndName(Menu& menu, const AccessPointState& state) {
    constexpr int kInformation = -1;
    menu.AddInformation("BSSID: " + state.access_point.bssid, kInformation);
    menu.AddInformation("SSID: '" + state.access_point.ssid + "'", kInformation);
}

void RunAccessPointScreen(std::span<const Row<AccessPointState>> rows, AccessPointState state) {
    const auto title = [](const AccessPointState& shown) -> TitleLines {
        return {AccessPointsTitle(shown.card)};
    };
    RunScreen<AccessPointState>({.rows = rows, .title = title, .layout = Layout::Help}, state);
}
