#include "system/ntp_screen.h"

#include <curses.h>

#include <algorithm>
#include <string>

#include "system/ntp_config.h"
#include "ui/dialogs.h"
#include "ui/screen_loop.h"
#include "ui/terminal.h"
#include "util/command.h"
#include "util/message.h"

namespace {

constexpr int kFirstServer = 45056;
constexpr int kMostActiveServers = 512;

struct NtpState {
    NtpConfig config;
    bool left_by_row = false;
};

// ---- actions: each tells whether the rows are to be made anew ----

bool AddServer(Menu&, NtpState& state) {
    std::vector<std::string>& servers = state.config.servers;
    std::string name;
    if (!PromptText("New server name?", name) || name.empty()) return false;
    if (std::find(servers.begin(), servers.end(), name) != servers.end()) return false;
    servers.push_back(name);
    return true;
}

bool EditServer(std::size_t index, NtpState& state) {
    std::vector<std::string>& servers = state.config.servers;
    if (index >= servers.size()) return false;
    std::string name = servers[index];
    if (!PromptText("Edit server name. Delete all text to remove entry.", name)) return false;
    if (name.empty()) {
        servers.erase(servers.begin() + static_cast<std::ptrdiff_t>(index));
    } else {
        servers[index] = name;
    }
    return true;
}

bool Save(Menu&, NtpState& state) {
    if (AskYesNoOnBlankScreen()) WriteNtpConfig(state.config);
    return true;
}

void RunService(const char* message, const char* command) {
    if (!AskYesNoOnBlankScreen()) return;
    ShellEscape([&] {
        Say(message);
        RunCommand(command);
    });
}

bool StopService(Menu&, NtpState&) {
    RunService("Stopping NTP service...\n", "/etc/init.d/service-ntpd stop >/dev/null 2>&1");
    return true;
}

bool StartService(Menu&, NtpState&) {
    RunService("Starting NTP service...\n", "/etc/init.d/service-ntpd start >/dev/null 2>&1");
    return true;
}

bool Leave(Menu& menu, NtpState& state) {
    menu.running = false;
    state.left_by_row = true;
    return false;
}

// ---- rows ----

struct ActionRow {
    const char* label;  // null: a separator
    int id;
    int hot_key;
    bool (*act)(Menu&, NtpState&);
};

constexpr ActionRow kActionRows[] = {
    {"Add new server", 40961, 'n', AddServer},
    {"Save changes", 40960, 's', Save},
    {"Stop NTP service", 40962, 'o', StopService},
    {"Start NTP service", 40963, 'a', StartService},
    {nullptr, 0, 0, nullptr},
    {"Main menu", 1, 'm', Leave},
};

void AddRows(Menu& menu, const NtpState& state) {
    int id = kFirstServer;
    for (const std::string& server : state.config.servers)
        menu.AddItem("Server " + server, id++);
    if (!state.config.servers.empty()) menu.AddSeparator();
    for (const ActionRow& row : kActionRows)
        AddTableRow(menu, row.label, row.id, row.hot_key);
}

void Paint(Menu& menu) {
    menu.SetPosition(4, 4);
    menu.SetSize(COLS - 5, LINES - 5);
    PaintTitle(menu, 2, "Network Time Protocol configuration:");
}

// A prompt that changed nothing has still drawn over the rows.
void Finish(Menu& menu, bool changed) {
    (changed ? menu.rebuild : menu.redraw) = true;
}

void Act(Menu& menu, const MenuItem& item, NtpState& state) {
    if (item.id >= kFirstServer && item.id < kFirstServer + kMostActiveServers) {
        Finish(menu, EditServer(static_cast<std::size_t>(item.id - kFirstServer), state));
        return;
    }
    for (const ActionRow& row : kActionRows) {
        if (row.id == item.id && row.act != nullptr) Finish(menu, row.act(menu, state));
    }
}

}  // namespace

bool RunNtpScreen() {
    NtpState state;
    state.config = ReadNtpConfig();
    ScreenLoop({.add_rows = [&](Menu& menu) { AddRows(menu, state); },
                .paint = Paint,
                .act = [&](Menu& menu, const MenuItem& item) { Act(menu, item, state); }});
    return state.left_by_row;
}
