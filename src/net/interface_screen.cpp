#include "net/interface_screen.h"

#include <string>

#include "net/interface_config.h"
#include "net/interface_refresh.h"
#include "net/interface_status.h"
#include "net/live_interfaces.h"
#include "net/rfkill.h"
#include "net/settings_editor.h"
#include "ui/plain_steps.h"
#include "ui/screen_loop.h"
#include "util/command.h"
#include "wifi/wireless_menu.h"

namespace {

struct State {
    Interface interface;
    InterfaceRefresh refresh;
    bool is_wireless = false;
    bool has_rfkill = false;
    bool soft_rfkill = false;     // last value that could be read
    InterfaceStatus status = {};  // kept across refreshes: a failed query leaves its text
    bool has_acted = false;
};

// ---- actions ----

Step Start(const State& state) {
    return {"/etc/init.d/network start " + ShellWord(state.interface.name),
            "Starting interface...\n"};
}

Step Stop(const State& state) {
    return {"/etc/init.d/network stop " + ShellWord(state.interface.name),
            "Stopping interface...\n"};
}

Next BringUp(State& state) {
    state.has_acted = true;
    return ConfirmSteps({Start(state)});
}

Next BringDown(State& state) {
    state.has_acted = true;
    return ConfirmSteps({Stop(state)});
}

Next Update(State& state) {
    state.has_acted = true;
    return ConfirmUpdate({Stop(state), Start(state)});
}

Next ToggleSoftRfkill(State& state) {
    const std::string folder = RfkillFolder(state.interface.name);
    if (!folder.empty()) WriteIntFile(folder + "/soft", state.soft_rfkill ? 0 : 1);
    return Next::Rebuild;
}

Next EditConfiguration(State& state) {
    EnsureInterfaceConfigFile(state.interface.address);
    InterfaceSettingsEditor(state.interface);
    return Next::Rebuild;
}

Next OpenWireless(State& state) {
    WirelessMenu(state.interface);
    return Next::Rebuild;
}

Next GoToMainMenu(State& state) {
    state.has_acted = true;
    return Next::Leave;
}

// ---- rows ----

void Look(State& state) {
    UnderstandGathered(state.refresh, state.refresh.interfaces.front(), state.status);
    if (state.status.rfkill_soft >= 0) state.soft_rfkill = state.status.rfkill_soft != 0;
}

void AddStatusRows(Menu& menu, const State& state) {
    constexpr int kFirstRow = 4096;
    constexpr int kInformation = -1;
    menu.AddInformation(state.status.link + "  " + state.status.up, kFirstRow);
    for (const std::string& row : FormatInterfaceStatus(state.status))
        menu.AddInformation(row, kInformation);
}

bool CanUnblock(const State& state) {
    return state.has_rfkill && state.soft_rfkill;
}

bool CanBlock(const State& state) {
    return state.has_rfkill && !state.soft_rfkill;
}

bool IsWireless(const State& state) {
    return state.is_wireless;
}

constexpr const char* kRfkill = "rfkill";

// Two rows share the hot key u: pressing it again selects the other one.
constexpr Row<State> kRows[] = {
    {"", 0, 0, nullptr, {.add_list = AddStatusRows}},
    kSeparator<State>,
    {"Bring up this interfaces", 4, 'u', BringUp},
    {"Bring down this interfaces", 5, 'd', BringDown},
    {"Update interface from config", 7, 'u', Update},
    {"Disable soft RF-kill", 9, 'r', ToggleSoftRfkill, {.shown = CanUnblock, .name = kRfkill}},
    {"Enable soft RF-kill", 10, 'r', ToggleSoftRfkill, {.shown = CanBlock, .name = kRfkill}},
    {"Edit configuration", 6, 'c', EditConfiguration},
    {"Wireless access points", 8, 'w', OpenWireless, {.shown = IsWireless}},
    kSeparator<State>,
    {"Main menu", 1, 'm', GoToMainMenu},
};
static_assert(AreSound(kRows));

TitleLines Title(const State& state) {
    return {"Network configuration: " + state.interface.name + " (" + state.interface.address +
            ")"};
}

}  // namespace

bool InterfaceScreen(const Interface& interface) {
    State state = {.interface = interface, .refresh = {.only = interface.name}};
    state.is_wireless = IsWirelessInterface(interface.name);
    state.has_rfkill = state.is_wireless && !RfkillFolder(interface.name).empty();
    const LiveFacts facts = LiveInterfaces(state.refresh);
    RunScreen<State>({.rows = kRows, .title = Title, .look = Look, .follows_rows = true}, state,
                     &facts);
    return state.has_acted;
}
