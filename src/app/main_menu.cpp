#include "app/main_menu.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "app/system_screen.h"
#include "net/interface.h"
#include "net/interface_refresh.h"
#include "net/interface_screen.h"
#include "net/interface_status.h"
#include "net/live_interfaces.h"
#include "services/services_screen.h"
#include "system/diagnostics_screen.h"
#include "system/host_name.h"
#include "system/ntp_screen.h"
#include "ui/dialogs.h"
#include "ui/plain_steps.h"
#include "ui/screen_loop.h"

namespace {

constexpr int kFirstInterface = 4096;
constexpr int kMostInterfaces = 64;

// What the menu shows for an interface.
struct Listed {
    Interface interface;
    std::string label;
    std::vector<std::string> status_rows;
};

struct State {
    std::string host_name = {};
    InterfaceRefresh refresh = {};
    std::vector<Listed> listed = {};
    std::map<std::string, std::size_t> heights = {};  // number of status rows, by interface name
    bool has_exited = false;
};

// ---- actions ----

const Step kStartAll = {"/etc/init.d/network start all", "Starting all interfaces...\n"};
const Step kStopAll = {"/etc/init.d/network stop all", "Stopping all interfaces...\n"};

Next StartAll(State&) {
    return ConfirmSteps({kStartAll});
}

Next StopAll(State&) {
    return ConfirmSteps({kStopAll});
}

Next UpdateAll(State&) {
    return ConfirmUpdate({kStopAll, kStartAll});
}

// -w: the old daemon must have exited before the new one takes its socket.
Next RestartDnsCache(State&) {
    return ConfirmSteps({{"killall -w nscd", "Restarting DNS cache...\n", 1},
                         {"/etc/init.d/service-nscd start >/dev/null 2>&1"}});
}

Next ChangeComputerName(State& state) {
    std::string name = state.host_name;
    if (PromptText("New computer host name\n"
                   "Use only letters, numbers, underscores, dashes, or periods",
                   name)) {
        SetHostName(HostNameFrom(name));
    }
    return Next::Rebuild;
}

template <auto kRunScreen>
Next Open(State&) {
    kRunScreen();
    return Next::Rebuild;
}

// If nothing was done to the interface, the rows stay valid until the next refresh.
Next OpenInterface(State& state, std::size_t index) {
    return InterfaceScreen(state.listed[index].interface) ? Next::Rebuild : Next::Paint;
}

Next Exit(State& state) {
    state.has_exited = true;
    return Next::Leave;
}

// ---- rows ----

std::string InterfaceLabel(std::size_t number, const Interface& interface,
                           const InterfaceStatus& status) {
    char text[512];
    std::snprintf(text, sizeof text, "%zu. %-6s  %s  %s  %s", number, interface.name.c_str(),
                  interface.address.c_str(), status.link.c_str(), status.up.c_str());
    return text;
}

// '1' to '9' for the first nine interfaces, '0' for the tenth.
int InterfaceHotKey(std::size_t number) {
    if (number > 10) return 0;
    return static_cast<int>('0' + number % 10);
}

// Until its state arrives, an interface keeps its number of rows, so that the others do not jump.
std::vector<std::string> StatusRows(State& state, const GatheredInterface& gathered,
                                    const InterfaceStatus& status) {
    const bool known = gathered.facts.packet_socket || gathered.facts.inet_socket;
    std::size_t& height = state.heights[gathered.name];
    std::vector<std::string> rows =
        known ? FormatInterfaceStatus(status) : std::vector<std::string>(height);
    height = rows.size();
    return rows;
}

void Look(State& state) {
    constexpr std::size_t kMostNameBytes = 31;
    state.host_name = HostName();
    state.listed.clear();
    for (const GatheredInterface& gathered : state.refresh.interfaces) {
        InterfaceStatus status;
        UnderstandGathered(state.refresh, gathered, status);
        Interface interface = {gathered.name, ""};
        if (const auto& address = gathered.facts.hardware_address) {
            interface.address = FormatHardwareAddress(*address);
        }
        const std::string label = InterfaceLabel(state.listed.size() + 1, interface, status);
        interface.name.resize(std::min(interface.name.size(), kMostNameBytes));
        state.listed.push_back({interface, label, StatusRows(state, gathered, status)});
    }
}

void AddInterfaces(Menu& menu, const State& state) {
    constexpr int kInformation = -1;
    for (std::size_t i = 0; i < state.listed.size(); ++i) {
        const Listed& listed = state.listed[i];
        const int index = menu.AddItem(listed.label, kFirstInterface + static_cast<int>(i));
        menu.SetHotKey(index, InterfaceHotKey(i + 1));
        menu.SetName(index, listed.interface.name);
        for (const std::string& row : listed.status_rows)
            menu.AddInformation(row, kInformation);
        menu.AddSeparator();
    }
    if (HasMultipleGateways(state.refresh.routes)) {
        menu.SetMarked(menu.AddInformation("WARNING: Multiple gateways active", kInformation),
                       true);
        menu.AddSeparator();
    }
}

bool Never(const State&) {
    return false;
}

// Two rows share the hot key u: pressing it again selects the other one.
constexpr Row<State> kRows[] = {
    {"Bring up all interfaces", 4, 'u', StartAll},
    {"Bring down all interfaces", 5, 'd', StopAll},
    {"Update interfaces from config", 7, 'u', UpdateAll},
    {"Change computer name", 20013, 'n', ChangeComputerName},
    {"Network Time Protocol settings", 20014, 't', Open<RunNtpScreen>},
    {"Flush/reset DNS cache", 20015, 'f', RestartDnsCache},
    {"Services", 20016, 's', Open<RunServicesScreen>},
    {"Diagnostics", 3, 'i', Open<RunDiagnosticsScreen>},
    {"System", 2, 0, Open<RunSystemScreen>, {.shown = Never}},
    kSeparator<State>,
    {"",
     kFirstInterface,
     0,
     nullptr,
     {.add_list = AddInterfaces, .open = OpenInterface, .most = kMostInterfaces}},
    {"Exit this program", 1, 'e', Exit},
};
static_assert(AreSound(kRows));

TitleLines Title(const State& state) {
    return {"Tavrin 4 Network configuration utility",
            "Network configuration main menu for '" + state.host_name + "'",
            "Select network interface and hit ENTER to configure it."};
}

}  // namespace

int RunMainMenu() {
    State state;
    const LiveFacts facts = LiveInterfaces(state.refresh);
    RunScreen<State>({.rows = kRows, .title = Title, .layout = Layout::Main, .look = Look}, state,
                     &facts);
    return state.has_exited ? 1 : 0;
}
