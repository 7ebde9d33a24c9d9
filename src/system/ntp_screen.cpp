#include "system/ntp_screen.h"

#include <algorithm>
#include <string>
#include <vector>

#include "system/ntp_config.h"
#include "ui/dialogs.h"
#include "ui/plain_steps.h"
#include "ui/screen_loop.h"

namespace {

constexpr int kFirstServer = 45056;

struct State {
    NtpConfig config;
    bool left_by_row = false;
};

// ---- actions ----

Next AddServer(State& state) {
    std::vector<std::string>& servers = state.config.servers;
    std::string name;
    if (!PromptText("New server name?", name) || name.empty()) return Next::Paint;
    if (std::find(servers.begin(), servers.end(), name) != servers.end()) return Next::Paint;
    servers.push_back(name);
    return Next::Rebuild;
}

Next EditServer(State& state, std::size_t index) {
    std::vector<std::string>& servers = state.config.servers;
    std::string name = servers[index];
    if (!PromptText("Edit server name. Delete all text to remove entry.", name)) return Next::Paint;
    if (name.empty()) {
        servers.erase(servers.begin() + static_cast<std::ptrdiff_t>(index));
    } else {
        servers[index] = name;
    }
    return Next::Rebuild;
}

Next Save(State& state) {
    if (AskYesNoOnBlankScreen()) WriteNtpConfig(state.config);
    return Next::Rebuild;
}

Next StopService(State&) {
    return ConfirmSteps(
        {{"/etc/init.d/service-ntpd stop >/dev/null 2>&1", "Stopping NTP service...\n"}});
}

Next StartService(State&) {
    return ConfirmSteps(
        {{"/etc/init.d/service-ntpd start >/dev/null 2>&1", "Starting NTP service...\n"}});
}

Next GoToMainMenu(State& state) {
    state.left_by_row = true;
    return Next::Leave;
}

// ---- rows ----

void AddServers(Menu& menu, const State& state) {
    int id = kFirstServer;
    for (const std::string& server : state.config.servers)
        menu.AddItem("Server " + server, id++);
    if (!state.config.servers.empty()) menu.AddSeparator();
}

constexpr Row<State> kRows[] = {
    {"", kFirstServer, 0, nullptr, {.add_list = AddServers, .open = EditServer, .most = 512}},
    {"Add new server", 40961, 'n', AddServer},
    {"Save changes", 40960, 's', Save},
    {"Stop NTP service", 40962, 'o', StopService},
    {"Start NTP service", 40963, 'a', StartService},
    kSeparator<State>,
    {"Main menu", 1, 'm', GoToMainMenu},
};
static_assert(AreSound(kRows));

TitleLines Title(const State&) {
    return {"Network Time Protocol configuration:"};
}

}  // namespace

bool RunNtpScreen() {
    State state = {.config = ReadNtpConfig()};
    RunScreen<State>({.rows = kRows, .title = Title}, state);
    return state.left_by_row;
}
