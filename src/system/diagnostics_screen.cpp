#include "system/diagnostics_screen.h"

#include <curses.h>

#include <string>

#include "system/public_hosts.h"
#include "ui/screen_loop.h"
#include "ui/terminal.h"
#include "util/command.h"
#include "util/message.h"

namespace {

// Runs one check under its banner and waits for ENTER. Ctrl-C ends the command, not the program.
void RunCheck(const std::string& banner, const std::string& command) {
    ShellEscape([&] {
        Say("\x1b[H\x1b[J\n");
        Say(banner);
        RunCommand(command);
        Say("\n");
        Say("Hit ENTER to continue.\n");
        ReadLineOrEnd();
    });
}

void ShowResolverConfiguration(Menu&) {
    RunCheck("================= RESOLV.CONF =====================\n", "cat /etc/resolv.conf");
}

void RunPingTest(Menu&) {
    RunCheck(
        "================= PING TEST =====================\n"
        "Hit CTRL+C to stop ping test!\n\n",
        std::string("ping -c 20 -i 1 ") + kPublicHost);
}

void Leave(Menu& menu) {
    menu.running = false;
}

struct ActionRow {
    const char* label;  // null: a separator
    int id;
    int hot_key;
    void (*act)(Menu&);
};

constexpr ActionRow kActionRows[] = {
    {"Show resolv.conf", 11, 'r', ShowResolverConfiguration},
    {"Ping test", 12, 'p', RunPingTest},
    {nullptr, 0, 0, nullptr},
    {"Main menu", 1, 'm', Leave},
};

void AddRows(Menu& menu) {
    for (const ActionRow& row : kActionRows)
        AddTableRow(menu, row.label, row.id, row.hot_key);
}

void Paint(Menu& menu) {
    menu.SetPosition(4, 4);
    menu.SetSize(COLS - 5, LINES - 5);
    PaintTitle(menu, 2, "Diagnostics");
}

void Act(Menu& menu, const MenuItem& item) {
    for (const ActionRow& row : kActionRows) {
        if (row.id != item.id || row.act == nullptr) continue;
        menu.rebuild = true;
        row.act(menu);
    }
}

}  // namespace

void RunDiagnosticsScreen() {
    ScreenLoop({.add_rows = AddRows, .paint = Paint, .act = Act});
}
