#include "system/diagnostics_screen.h"

#include <string>

#include "ui/screen_loop.h"
#include "ui/terminal.h"
#include "util/command.h"
#include "util/message.h"

namespace {

struct State {};

// Runs a check below its banner and waits for ENTER. Ctrl-C ends the command, not the program.
Next RunCheck(const char* banner, const char* command) {
    ShellEscape([&] {
        Say("\x1b[H\x1b[J\n");
        Say(banner);
        RunCommand(command);
        Say("\n");
        Say("Hit ENTER to continue.\n");
        ReadLineOrEnd();
    });
    return Next::Rebuild;
}

Next ShowResolverConfiguration(State&) {
    return RunCheck("================= RESOLV.CONF =====================\n",
                    "cat /etc/resolv.conf");
}

// The host is a public resolver, run by a non-profit foundation.
Next RunPingTest(State&) {
    return RunCheck(
        "================= PING TEST =====================\n"
        "Hit CTRL+C to stop ping test!\n\n",
        "ping -c 20 -i 1 dns.quad9.net");
}

constexpr Row<State> kRows[] = {
    {"Show resolv.conf", 11, 'r', ShowResolverConfiguration},
    {"Ping test", 12, 'p', RunPingTest},
    kSeparator<State>,
    {"Main menu", 1, 'm', Leave},
};
static_assert(AreSound(kRows));

TitleLines Title(const State&) {
    return {"Diagnostics"};
}

}  // namespace

void RunDiagnosticsScreen() {
    State state;
    RunScreen<State>({.rows = kRows, .title = Title}, state);
}
