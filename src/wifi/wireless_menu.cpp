#include "wifi/wireless_menu.h"

#include <string>
#include <vector>

#include "ui/screen_loop.h"
#include "ui/terminal.h"
#include "wifi/access_point_screen.h"
#include "wifi/known_access_point_screen.h"
#include "wifi/new_access_point_screen.h"
#include "wifi/supplicant.h"

namespace {

constexpr int kFirstNetwork = 8192;

struct State {
    Interface card;
    std::vector<AccessPoint> networks = {};
};

// ---- actions ----

template <void (*kWork)(const std::string& interface_name)>
Next OnPlainTerminal(State& state) {
    ShellEscape([&] { kWork(state.card.name); });
    return Next::Rebuild;
}

Next DisconnectAndLeave(State& state) {
    OnPlainTerminal<DisconnectAccessPoint>(state);
    return Next::Leave;
}

Next OpenNetwork(State& state, std::size_t index) {
    const AccessPoint& network = state.networks[index];
    if (network.is_new) {
        NewAccessPointScreen(network, state.card);
    } else {
        KnownAccessPointScreen(network, state.card);
    }
    return Next::Rebuild;
}

// ---- rows ----

std::string NetworkLabel(const AccessPoint& network) {
    std::string label = network.is_new ? "NEW  " : "     ";
    label += network.bssid == "any" ? " (any)           " : network.bssid;
    label += "   ";
    return label + (network.ssid.empty() ? "(no SSID)" : network.ssid);
}

// Runs only when the networks may have changed, so it queries both listings every time.
void Look(State& state) {
    state.networks = LoadAccessPoints(state.card.name);
}

void AddNetworks(Menu& menu, const State& state) {
    int id = kFirstNetwork;
    for (const AccessPoint& network : state.networks)
        menu.AddItem(NetworkLabel(network), id++);
}

constexpr Row<State> kRows[] = {
    {"Return to wifi menu", 1, 'r', Leave},
    kSeparator<State>,
    {"Scan for access points", 13, 's', OnPlainTerminal<ScanAccessPoints>},
    {"Connect to any access point", 14, 'a', OnPlainTerminal<AllowAnyAccessPoint>},
    {"Disconnect from current access point", 15, 'd', DisconnectAndLeave},
    kSeparator<State>,
    {"", kFirstNetwork, 0, nullptr, {.add_list = AddNetworks, .open = OpenNetwork, .most = 64}},
};
static_assert(AreSound(kRows));

TitleLines Title(const State& state) {
    return {AccessPointsTitle(state.card)};
}

}  // namespace

void WirelessMenu(const Interface& card) {
    State state = {.card = card};
    EnsureSupplicant(card);
    RunScreen<State>({.rows = kRows, .title = Title, .layout = Layout::Help, .look = Look}, state);
}
