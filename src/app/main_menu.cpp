#include "app/main_menu.h"

#include <curses.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "app/system_screen.h"
#include "net/interface_screen.h"
#include "net/interface_status.h"
#include "net/interface_table.h"
#include "net/refresh_gathering.h"
#include "net/route_table.h"
#include "services/services_screen.h"
#include "system/diagnostics_screen.h"
#include "system/host_name.h"
#include "system/ntp_screen.h"
#include "ui/dialogs.h"
#include "ui/screen_loop.h"
#include "ui/terminal.h"
#include "util/command.h"
#include "util/message.h"

namespace {

constexpr double kRefreshSeconds = 5.0;
constexpr int kInformation = -1;
constexpr int kExit = 1;
constexpr int kFirstInterface = 4096;
constexpr int kLastInterface = kFirstInterface + static_cast<int>(kMostInterfaces) - 1;

constexpr const char* kStartAll = "/etc/init.d/network start all";
constexpr const char* kStopAll = "/etc/init.d/network stop all";

// An interface's rows without its state.
struct ListedInterface {
    std::string name;
    std::string address;
    std::size_t status_rows = 0;
};

// What the screen keeps while it is shown.
struct MainMenuState {
    std::string host_name;
    InterfaceRefresh refresh;
    std::vector<ListedInterface> listed;  // by the last refresh
    int result = 0;
};

// ---- actions ----

void StartAllInterfaces() {
    Say("Starting all interfaces...\n");
    RunCommand(kStartAll);
}

void StopAllInterfaces() {
    Say("Stopping all interfaces...\n");
    RunCommand(kStopAll);
}

void RestartAllInterfaces() {
    StopAllInterfaces();
    StartAllInterfaces();
}

void RestartDnsCache() {
    Say("Restarting DNS cache...\n");
    // -w: the old daemon must be gone before the new one takes its socket.
    RunCommand("killall -w nscd");
    Pause(1);
    RunCommand("/etc/init.d/service-nscd start >/dev/null 2>&1");
}

template <void (*kWork)()>
void Confirmed(MainMenuState&) {
    if (AskYesNoOnBlankScreen()) ShellEscape(kWork);
}

void ChangeComputerName(MainMenuState& state) {
    std::string name = state.host_name;
    if (PromptText("New computer host name\n"
                   "Use only letters, numbers, underscores, dashes, or periods",
                   name)) {
        SetHostName(HostNameFrom(name));
    }
}

template <auto kRunScreen>
void Open(MainMenuState&) {
    kRunScreen();
}

// ---- rows ----

// An action row. One without a label has an id, but no row.
struct ActionRow {
    const char* label;
    int id;
    int hot_key;
    void (*act)(MainMenuState&);
};

// Two rows share the key u: pressing it again moves to the other.
constexpr ActionRow kActionRows[] = {
    {"Bring up all interfaces", 4, 'u', Confirmed<StartAllInterfaces>},
    {"Bring down all interfaces", 5, 'd', Confirmed<StopAllInterfaces>},
    {"Update interfaces from config", 7, 'u', Confirmed<RestartAllInterfaces>},
    {"Change computer name", 20013, 'n', ChangeComputerName},
    {"Network Time Protocol settings", 20014, 't', Open<RunNtpScreen>},
    {"Flush/reset DNS cache", 20015, 'f', Confirmed<RestartDnsCache>},
    {"Services", 20016, 's', Open<RunServicesScreen>},
    {"Diagnostics", 3, 'i', Open<RunDiagnosticsScreen>},
    {nullptr, 2, 0, Open<RunSystemScreen>},
};

// '1' to '9' for the first nine interfaces, '0' for the tenth.
int InterfaceHotKey(int number) {
    if (number > 10) return 0;
    return number == 10 ? '0' : '0' + number;
}

std::string InterfaceRow(int number, const std::string& name, const std::string& address,
                         const InterfaceStatus& status) {
    char text[512];
    std::snprintf(text, sizeof text, "%d. %-6s  %s  %s  %s", number, name.c_str(), address.c_str(),
                  status.link.c_str(), status.up.c_str());
    return text;
}

void AddInterface(Menu& menu, int number, const ListedInterface& interface,
                  const InterfaceStatus& status, const std::vector<std::string>& status_rows) {
    menu.SetHotKey(menu.AddItem(InterfaceRow(number, interface.name, interface.address, status),
                                kFirstInterface + number - 1),
                   InterfaceHotKey(number));
    for (const std::string& row : status_rows) {
        menu.AddInformation(row, kInformation);
    }
    menu.AddSeparator();
}

void AddGathered(Menu& menu, const InterfaceRefresh& refresh,
                 std::vector<ListedInterface>& listed) {
    listed.clear();
    for (const GatheredInterface& interface : refresh.interfaces) {
        InterfaceStatus status;
        UnderstandGathered(interface, status);
        const auto& hardware_address = interface.facts.hardware_address;
        const std::string address =
            hardware_address ? FormatHardwareAddress(*hardware_address) : "";
        StoreInterface(listed.size(), interface.name, address);
        const auto status_rows = FormatInterfaceStatus(status);
        listed.push_back({interface.name, address, status_rows.size()});
        AddInterface(menu, static_cast<int>(listed.size()), listed.back(), status, status_rows);
    }
}

// The rows as they stood, empty of all that may have changed.
void AddListed(Menu& menu, const std::vector<ListedInterface>& listed) {
    int number = 0;
    for (const ListedInterface& interface : listed) {
        AddInterface(menu, ++number, interface, {},
                     std::vector<std::string>(interface.status_rows));
    }
}

void AddRows(Menu& menu, MainMenuState& state) {
    state.host_name = HostName();
    for (const ActionRow& row : kActionRows) {
        if (row.label != nullptr) menu.SetHotKey(menu.AddItem(row.label, row.id), row.hot_key);
    }
    menu.AddSeparator();
    UpdateRouteInfo();
    CheckMultipleGateways();
    if (state.refresh.listed) {
        AddGathered(menu, state.refresh, state.listed);
    } else {
        AddListed(menu, state.listed);
    }
    if (multipleGateways != 0) {
        menu.SetMarked(menu.AddInformation("WARNING: Multiple gateways active", kInformation),
                       true);
        menu.AddSeparator();
    }
    menu.SetHotKey(menu.AddItem("Exit this program", kExit), 'e');
}

void Paint(Menu& menu, const MainMenuState& state) {
    menu.SetPosition(4, 5);
    menu.SetSize(COLS - 5, LINES - 6);
    PaintTitle(menu, 4, "Tavrin 4 Network configuration utility");
    PaintTitle(menu, 3, "Network configuration main menu for '" + state.host_name + "'");
    PaintTitle(menu, 2, "Select network interface and hit ENTER to configure it.");
}

// Unless something was done to the interface, its rows are still true for the rest of their five
// seconds.
void OpenInterface(Menu& menu, int index) {
    const std::string name = InterfaceTable[index].name;
    if (InterfaceScreen(index, name) != 0) {
        menu.rebuild = true;
    } else {
        menu.redraw = true;
    }
}

void Act(Menu& menu, const MenuItem& item, MainMenuState& state) {
    if (item.id == kExit) {
        menu.running = false;
        state.result = 1;
        return;
    }
    if (item.id >= kFirstInterface && item.id <= kLastInterface) {
        OpenInterface(menu, item.id - kFirstInterface);
        return;
    }
    for (const ActionRow& row : kActionRows) {
        if (row.id != item.id || row.act == nullptr) continue;
        row.act(state);
        menu.rebuild = true;
    }
}

}  // namespace

int RunMainMenu() {
    MainMenuState state;
    Gathering gathering = GatherInto(state.refresh, [&] { StartRefresh(state.refresh); });
    // A digit means nothing before the interfaces are known, nor does ENTER after it.
    gathering.keys_wait_for_first_rows = true;
    ScreenLoop({.add_rows = [&](Menu& menu) { AddRows(menu, state); },
                .paint = [&](Menu& menu) { Paint(menu, state); },
                .act = [&](Menu& menu, const MenuItem& item) { Act(menu, item, state); },
                .refresh_seconds = kRefreshSeconds,
                .gathering = std::move(gathering)});
    return state.result;
}
