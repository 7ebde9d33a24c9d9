#include "wifi/wireless_menu.h"

#include <string>

#include "ui/screen_loop.h"
#include "ui/terminal.h"
#include "wifi/known_access_point_screen.h"
#include "wifi/new_access_point_screen.h"
#include "wifi/supplicant.h"

namespace {

constexpr int kFirstNetwork = 8192;
constexpr int kMostActiveNetworks = 64;

struct WirelessState {
    WirelessCard card;
    AccessPointList list;
    HelpArea help;
};

// ---- actions ----

void Leave(Menu& menu, const WirelessState&) {
    menu.running = false;
}

template <void (*kWork)(const std::string&)>
void OnPlainTerminal(Menu& menu, const WirelessState& state) {
    ShellEscape([&] { kWork(state.card.name); });
    menu.rebuild = true;
}

void DisconnectAndLeave(Menu& menu, const WirelessState& state) {
    OnPlainTerminal<DisconnectAccessPoint>(menu, state);
    menu.running = false;
}

void OpenNetwork(Menu& menu, std::size_t index, const WirelessState& state) {
    if (index >= state.list.keys.size()) return;
    const AccessPoint& network = state.list.map.at(state.list.keys[index]);
    if (network.isNew) {
        NewAccessPointScreen(network, state.card);
    } else {
        KnownAccessPointScreen(network, state.card);
    }
    menu.rebuild = true;
}

// ---- rows ----

struct ActionRow {
    const char* label;  // null: a separator
    int id;
    int hot_key;
    void (*act)(Menu&, const WirelessState&);
};

constexpr ActionRow kActionRows[] = {
    {"Return to wifi menu", 1, 'r', Leave},
    {nullptr, 0, 0, nullptr},
    {"Scan for access points", 13, 's', OnPlainTerminal<ScanAccessPoints>},
    {"Connect to any access point", 14, 'a', OnPlainTerminal<AllowAnyAccessPoint>},
    {"Disconnect from current access point", 15, 'd', DisconnectAndLeave},
    {nullptr, 0, 0, nullptr},
};

std::string NetworkLabel(const AccessPoint& network) {
    std::string label = network.isNew ? "NEW  " : "     ";
    label += network.bssid == "any" ? " (any)           " : network.bssid;
    label += "   ";
    return label + (network.ssid.empty() ? "(no SSID)" : network.ssid);
}

// The rows are made anew only when the networks may have changed, so both listings are fetched.
void AddRows(Menu& menu, WirelessState& state) {
    LoadAccessPoints(state.card.name, state.list);
    for (const ActionRow& row : kActionRows) {
        AddTableRow(menu, row.label, row.id, row.hot_key);
    }
    int id = kFirstNetwork;
    for (const AccessPointKey& key : state.list.keys) {
        menu.AddItem(NetworkLabel(state.list.map.at(key)), id++);
    }
}

void Act(Menu& menu, const MenuItem& item, const WirelessState& state) {
    if (item.id >= kFirstNetwork && item.id < kFirstNetwork + kMostActiveNetworks) {
        OpenNetwork(menu, static_cast<std::size_t>(item.id - kFirstNetwork), state);
        return;
    }
    for (const ActionRow& row : kActionRows) {
        if (row.id == item.id && row.act != nullptr) row.act(menu, state);
    }
}

}  // namespace

void WirelessMenu(const WirelessCard& card) {
    WirelessState state;
    state.card = card;
    EnsureSupplicant(card.name, card.address);
    ScreenLoop({.add_rows = [&](Menu& menu) { AddRows(menu, state); },
                .paint = [&](Menu& menu) { PaintAccessPoints(menu, card, state.help); },
                .act = [&](Menu& menu, const MenuItem& item) { Act(menu, item, state); },
                .after_key = [&](Menu& menu) { PaintNoHelp(menu, state.help); }});
}
