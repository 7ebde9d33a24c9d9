// What the tests of all screens share: the ways to the screens, and one form for "this row asks
// that, runs these commands, and then the screen shows this".
//
//     const Action kActions[] = {
//         {.row = "Stop web server",
//          .commands = {"/etc/init.d/service-apache stop"},
//          .pause = 1,
//          .after = "Start web server"},
//         {.row = "Remove account",
//          .question = "Are you sure? [y/n]",
//          .typed = "y",
//          .commands = {"smbpasswd -x amy", "pdbedit --list --verbose"},
//          .after = "Create user"},
//     };
//     Page t(box, kServices);
//     for (const Action& action : kActions)
//         Do(t, action);
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "machine.h"
#include "terminal.h"

namespace harness {

using Words = std::vector<std::string>;

// ---- ways ----

// A place where the program waits for a key.
struct Stop {
    const char* name;
    const char* keys;  // from the main menu to this place
    const char* sign;  // shown there, and on no screen before it
};

inline constexpr Stop kServices = {"Services", "s<Enter>", "FTP service"};
inline constexpr Stop kSmbAccounts = {"SmbAccounts", "s<Enter>ss<Enter>",
                                      "Return to services menu"};
inline constexpr Stop kTimeServers = {"TimeServers", "t<Enter>",
                                      "Network Time Protocol configuration:"};
inline constexpr Stop kDiagnostics = {"Diagnostics", "i<Enter>", "Ping test"};

inline std::ostream& operator<<(std::ostream& out, const Stop& stop) {
    return out << stop.name;
}

// Waits for the main menu that understands these keys: a digit has no meaning until the interfaces
// are listed.
inline void WaitForMenu(Terminal& t, const std::string& keys, Place place = Place::current()) {
    t.WaitFor(keys.starts_with('1') ? "    1. " : "Tavrin 4", Terminal::kPatience, place);
}

// From the main menu to the place.
inline void GoTo(Terminal& t, const Stop& stop, Place place = Place::current()) {
    WaitForMenu(t, stop.keys, place);
    t.Go(stop.keys, stop.sign, place);
}

// The program on its terminal, at a place.
class Page : public Terminal {
  public:
    explicit Page(Machine& box, const Stop& stop, const TerminalOptions& options = {},
                  Place place = Place::current())
        : Terminal(box, options, place) {
        GoTo(*this, stop, place);
    }
};

// Moves to the row, or to the first that starts with this text, with the cursor keys.
inline void Select(Terminal& t, const std::string& row, Place place = Place::current()) {
    t.Press("<Home>", place);
    t.Settle(Terminal::kPatience, place);
    for (int i = 0; i < 100 && !t.Selected().starts_with(row); i++) {
        t.Press("<Down>", place);
        t.Settle(Terminal::kPatience, place);
    }
    if (!t.Selected().starts_with(row))
        Fail("there is no row \"" + row + "\"\n" + t.Picture(), place);
}

// ---- what a row does ----

struct Action {
    std::string row;            // selected with the cursor keys; its text or the start of it
    std::string question = {};  // what ENTER asks; nothing has run by then
    std::string typed = {};     // the keys that answer
    Words commands = {};        // what runs then, as Ran() tells it
    Words said = {};            // what the plain terminal shows meanwhile, as Said() tells it
    double pause = 0;           // seconds of the longest wait between them or after the last
    std::string after = {};     // shown then, and not before
};

// The recorded calls as text. A command runs on the plain terminal, or before the screen is shown
// again, unless "[screen] " precedes it: then the screen stays up. Each starts with the default
// signals of a shell.
inline Words Ran(Machine& box) {
    Words lines;
    for (const Call& call : box.Calls()) {
        const bool ignores = call.sigchld_ignored || call.sigint_ignored || call.sigquit_ignored;
        lines.push_back((call.mode == Mode::kLine ? "" : "[screen] ") + call.Line() +
                        (ignores ? " [signals ignored]" : ""));
    }
    return lines;
}

// Whether the program has left its screen for the plain terminal since the last Mark().
inline bool LeftItsScreen(const Terminal& t) {
    return t.Output().find("\x1b[?1049l") != std::string::npos;
}

// The lines that the plain terminal has shown since the last Mark(), without the empty ones.
inline Words Said(const Terminal& t) {
    const std::string output = t.Output();
    const size_t start = output.find("\x1b[?1049l");
    if (start == std::string::npos) return {};
    static const std::regex kControl("\x1b(\\[[0-9;?]*[A-Za-z]|\\([A-Z0-9]|[=>78])|\r");
    std::istringstream text(std::regex_replace(
        output.substr(start, output.find("\x1b[?1049h", start) - start), kControl, ""));
    Words lines;
    for (std::string line; std::getline(text, line);)
        if (!line.empty()) lines.push_back(line);
    return lines;
}

// Activates the row, answers its question, and checks all that the action tells.
inline void Do(Terminal& t, const Action& action, Place place = Place::current()) {
    const testing::ScopedTrace trace(place.file, place.line, action.row);
    Machine& box = t.machine();
    Select(t, action.row, place);
    box.ForgetCalls();
    t.Mark();
    if (action.question.empty()) {
        t.Press("<Enter>", place);
    } else {
        t.Go("<Enter>", action.question, place);
        EXPECT_EQ(Ran(box), Words());
        t.Press(action.typed, place);
    }
    bool leaves = false;
    for (const std::string& command : action.commands)
        leaves = leaves || !command.starts_with("[screen] ");
    const auto done = [&] {
        return t.Shows(action.after) && box.Calls().size() >= action.commands.size() &&
               (!leaves || (LeftItsScreen(t) && t.AltScreen()));
    };
    t.WaitUntil(done, "\"" + action.after + "\" and the commands", Terminal::kPatience, place);
    const double back = Now();
    t.Settle(Terminal::kPatience, place);
    EXPECT_EQ(Ran(box), action.commands);
    EXPECT_EQ(Said(t), action.said);
    EXPECT_EQ(LeftItsScreen(t), leaves);
    double longest = 0, until = back;
    const std::vector<Call> calls = box.Calls();
    for (auto call = calls.rbegin(); call != calls.rend(); ++call) {
        longest = std::max(longest, until - call->seconds);
        until = call->seconds;
    }
    EXPECT_GE(longest, action.pause);
    EXPECT_LT(longest, action.pause + 1);
}

}  // namespace harness
