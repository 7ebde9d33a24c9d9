// Shared by the tests of the menu engine, the dialogs, the main menu and the status rows.
#pragma once

#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "machine.h"
#include "terminal.h"

namespace harness {

// The line of the first row.
constexpr int kFirstLine = 5;

constexpr const char* kNetworkScript = "/etc/init.d/network";

// The rows above the interfaces; a separator follows them.
inline const std::vector<std::string> kActionRows = {"Bring up all interfaces",
                                                     "Bring down all interfaces",
                                                     "Update interfaces from config",
                                                     "Change computer name",
                                                     "Network Time Protocol settings",
                                                     "Flush/reset DNS cache",
                                                     "Services",
                                                     "Diagnostics"};

// The program on its terminal, with the main menu on the screen.
class MainMenu : public Terminal {
  public:
    explicit MainMenu(Machine& box, TerminalOptions options = {}, Place place = Place::current())
        : Terminal(box, options, place) {
        WaitFor("Tavrin 4", kPatience, place);
    }
};

inline void WaitForMainMenu(Terminal& t, Place place = Place::current()) {
    t.WaitFor("Tavrin 4 Network configuration utility", Terminal::kPatience, place);
}

// Makes "Bring down all interfaces" ask its question.
inline void OpenQuestion(Terminal& t, Place place = Place::current()) {
    t.Press("d<Enter>", place);
    t.WaitFor("Are you sure? [y/n]", Terminal::kPatience, place);
}

// Makes the main menu query the machine at once: answering a question with "no" does that.
inline void LookAgain(Terminal& t, Place place = Place::current()) {
    OpenQuestion(t, place);
    t.Press("n", place);
    WaitForMainMenu(t, place);
}

// Waits until the program has recognised a click. Curses reports a click only when no other follows
// for a sixth of a second; a key pressed at once would split it.
inline void WaitOutClick(Terminal& t, Place place = Place::current()) {
    t.Settle(Terminal::kPatience, place);
    t.RunFor(0.2);
    t.Settle(Terminal::kPatience, place);
}

// Bridges br1, br2 ... with the hardware addresses 02:00:00:00:00:01 ..., down.
inline void AddBridges(Machine& box, int count) {
    std::string batch;
    for (int i = 1; i <= count; i++) {
        char line[100];
        std::snprintf(line, sizeof line, "link add br%d address 02:00:00:00:00:%02x type bridge\n",
                      i, static_cast<unsigned>(i));
        batch += line;
    }
    box.Write("/run/batch", batch);
    box.Sh("ip -batch /run/batch");
}

// Sets any bytes as the machine's host name, as no tool would.
inline void SetHostName(Machine& box, const std::string& name, Place place = Place::current()) {
    const pid_t child = fork();
    if (child == 0) {
        const int user = box.door().own_users ? CLONE_NEWUSER : 0;
        const bool inside = setns(box.door().process.get(), user | CLONE_NEWUTS) == 0;
        _exit(inside && sethostname(name.data(), name.size()) == 0 ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (status != 0) Fail("the host name cannot be set", place);
}

}  // namespace harness
