#include "net/interface_screen.h"

#include <curses.h>

#include <string>

#include "net/interface_config.h"
#include "net/interface_status.h"
#include "net/interface_table.h"
#include "net/refresh_gathering.h"
#include "net/route_table.h"
#include "net/settings_editor.h"
#include "ui/dialogs.h"
#include "ui/screen_loop.h"
#include "ui/terminal.h"
#include "util/command.h"
#include "util/message.h"
#include "wifi/wireless_menu.h"

namespace {

constexpr double kRefreshSeconds = 5.0;
constexpr int kFirstRow = 4096;
constexpr int kInformation = -1;
constexpr int kMainMenu = 1;

struct InterfaceState {
    InterfaceEntry interface;  // its address text is its configuration name
    bool is_wireless = false;
    bool has_rfkill = false;
    InterfaceRefresh refresh;
    int soft_rfkill = 0;     // the last one that could be read
    InterfaceStatus status;  // kept: a link text outlives a query that fails
    int result = 0;
};

// ---- actions ----

void Start(const InterfaceState& state) {
    Say("Starting interface...\n");
    RunCommand("/etc/init.d/network start " + ShellWord(state.interface.name));
}

void Stop(const InterfaceState& state) {
    Say("Stopping interface...\n");
    RunCommand("/etc/init.d/network stop " + ShellWord(state.interface.name));
}

void Restart(const InterfaceState& state) {
    Stop(state);
    Start(state);
}

template <void (*kWork)(const InterfaceState&)>
void Confirmed(Menu&, InterfaceState& state) {
    if (AskYesNoOnBlankScreen()) ShellEscape([&] { kWork(state); });
    state.result = 1;
}

template <int kValue>
void SetSoftRfkill(Menu&, InterfaceState& state) {
    WriteIntFile(RfkillFolder(state.interface.name) + "/soft", kValue);
}

void EditConfiguration(Menu&, InterfaceState& state) {
    EnsureInterfaceConfigFile(state.interface.name, state.interface.address);
    InterfaceSettingsEditor(state.interface.name, state.interface.address);
}

void OpenWireless(Menu&, InterfaceState& state) {
    WirelessMenu({state.interface.name, state.interface.address});
}

void Leave(Menu& menu, InterfaceState& state) {
    menu.running = false;
    state.result = 1;
}

// ---- rows ----

bool CanSoftBlock(const InterfaceState& state) {
    return state.has_rfkill && state.soft_rfkill == 0;
}

bool CanSoftUnblock(const InterfaceState& state) {
    return state.has_rfkill && state.soft_rfkill != 0;
}

bool IsWireless(const InterfaceState& state) {
    return state.is_wireless;
}

constexpr const char* kSeparator = nullptr;

struct ActionRow {
    bool (*shown)(const InterfaceState&);  // null: always
    const char* label;
    int id;
    int hot_key;
    void (*act)(Menu&, InterfaceState&);
};

// Two rows share the key u: pressing it again moves to the other.
constexpr ActionRow kActionRows[] = {
    {nullptr, kSeparator, 0, 0, nullptr},
    {nullptr, "Bring up this interfaces", 4, 'u', Confirmed<Start>},
    {nullptr, "Bring down this interfaces", 5, 'd', Confirmed<Stop>},
    {nullptr, "Update interface from config", 7, 'u', Confirmed<Restart>},
    {CanSoftUnblock, "Disable soft RF-kill", 9, 'r', SetSoftRfkill<0>},
    {CanSoftBlock, "Enable soft RF-kill", 10, 'r', SetSoftRfkill<1>},
    {nullptr, "Edit configuration", 6, 'c', EditConfiguration},
    {IsWireless, "Wireless access points", 8, 'w', OpenWireless},
    {nullptr, kSeparator, 0, 0, nullptr},
    {nullptr, "Main menu", kMainMenu, 'm', Leave},
};

void AddStatusRows(Menu& menu, InterfaceState& state) {
    UpdateRouteInfo();
    CheckMultipleGateways();
    // The kernel's own answers are here at once; the address that a command tells may not be yet.
    if (!state.refresh.complete) state.status.ipv6.clear();
    UnderstandGathered(state.refresh.interfaces.front(), state.status);
    menu.AddInformation(state.status.link + "  " + state.status.up, kFirstRow);
    for (const std::string& row : FormatInterfaceStatus(state.status)) {
        menu.AddInformation(row, kInformation);
    }
    if (state.status.rfkillSoft >= 0) state.soft_rfkill = state.status.rfkillSoft;
}

void AddRows(Menu& menu, InterfaceState& state) {
    AddStatusRows(menu, state);
    for (const ActionRow& row : kActionRows) {
        if (row.shown != nullptr && !row.shown(state)) continue;
        AddTableRow(menu, row.label, row.id, row.hot_key);
    }
}

void Paint(Menu& menu, const InterfaceState& state) {
    menu.SetPosition(4, 4);
    menu.SetSize(COLS - 5, LINES - 5);
    PaintTitle(
        menu, 2,
        "Network configuration: " + state.interface.name + " (" + state.interface.address + ")");
}

void Act(Menu& menu, const MenuItem& item, InterfaceState& state) {
    for (const ActionRow& row : kActionRows) {
        if (row.id != item.id || row.act == nullptr) continue;
        menu.rebuild = true;
        row.act(menu, state);
    }
}

}  // namespace

int InterfaceScreen(int index, const std::string& name) {
    InterfaceState state;
    state.interface = {name, InterfaceTable[index].address};
    state.is_wireless = IsWirelessInterface(name);
    state.has_rfkill = state.is_wireless && HasRfkill(name);
    const auto start = [&] { StartRefresh(state.refresh, state.interface.name); };
    ScreenLoop({.add_rows = [&](Menu& menu) { AddRows(menu, state); },
                .paint = [&](Menu& menu) { Paint(menu, state); },
                .act = [&](Menu& menu, const MenuItem& item) { Act(menu, item, state); },
                .refresh_seconds = kRefreshSeconds,
                .gathering = GatherInto(state.refresh, start)});
    return state.result;
}
