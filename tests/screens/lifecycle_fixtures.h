// What the tests of starting, ending, keys and terminals share: the places where the program waits
// for the operator, ways to start it, and what a shell expects of the terminal afterwards.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "machine.h"
#include "terminal.h"

namespace harness::lifecycle {

// ---- where the program waits ----

// A place that waits for a key.
struct Stop {
    const char* name;
    const char* keys;  // the way there from the main menu
    const char* sign;  // on its screen, and on none before it
};

inline constexpr Stop kMainMenu = {"MainMenu", "", "Exit this program"};
inline constexpr Stop kYesNo = {"YesNo", "d<Enter>", "Are you sure? [y/n]"};
inline constexpr Stop kTextEntry = {"TextEntry", "n<Enter>", "New computer host name"};
inline constexpr Stop kInterface = {"Interface", "1<Enter>", "Network configuration: eth0 ("};
// The last that the editor draws is the help.
inline constexpr Stop kEditor = {"Editor", "1<Enter>c<Enter>", "leave the network port disabled"};
inline constexpr Stop kServices = {"Services", "s<Enter>", "Main menu"};
inline constexpr Stop kPassword = {"Password", "s<Enter>v<Enter>", "Set VNC password"};
inline constexpr Stop kStops[] = {kMainMenu, kYesNo,    kTextEntry, kInterface,
                                  kEditor,   kServices, kPassword};

inline std::ostream& operator<<(std::ostream& out, const Stop& stop) {
    return out << stop.name;
}
inline std::string StopName(const testing::TestParamInfo<Stop>& info) {
    return info.param.name;
}

// ---- terminals ----

// The types that the program is used on: emulators with and without mouse motion, the console, a
// serial line's.
inline const char* const kTypes[] = {"xterm-256color", "screen", "tmux", "linux", "vt220"};

inline std::string TypeName(const testing::TestParamInfo<const char*>& info) {
    std::string name = info.param;
    std::erase(name, '-');
    return name;
}

inline TerminalOptions OfType(const std::string& term) {
    TerminalOptions options;
    options.term = term;
    return options;
}

// One line for each row: "text | styles".
inline std::vector<std::string> Look(const Terminal& t) {
    std::vector<std::string> look;
    for (int row = 0; row < t.rows(); row++)
        look.push_back(t.Row(row) + " | " + t.Style(row));
    return look;
}

inline void GoTo(Terminal& t, const Stop& stop, Place place = Place::Here()) {
    t.WaitFor(kMainMenu.sign, Terminal::kPatience, place);
    t.Press(stop.keys, place);
    t.WaitFor(stop.sign, Terminal::kPatience, place);
    t.Settle(Terminal::kPatience, place);
}

// A machine with what the stops need: an interface (a bridge, which any user can make in a machine
// of his own), and the remote desktop's own tool.
struct OneCard : Machine {
    OneCard() {
        AddBridge("eth0");
        MakeDirectory("/usr/share/tavrin");
        Write("/usr/share/tavrin/local-desktop-vnc", "");
    }
};

// The environment for a program whose leaks are not looked for, where they are not its own or the
// search cannot be made.
inline std::map<std::string, std::string> WithoutLeakSearch(const Machine& box) {
    return {{"ASAN_OPTIONS", box.Environment()["ASAN_OPTIONS"] + ":detect_leaks=0"}};
}

// ---- commands that wait ----

constexpr const char* kNetwork = "/etc/init.d/network";

// Where a stand-in's script waits until the test opens the gate. It looks every 20 ms instead of
// sleeping until then: a shell answers a signal when the command it has started ends.
class Gate {
  public:
    explicit Gate(Machine& box) : box_(box) {}
    static constexpr const char* kWait =
        ": >/tmp/waiting; while ! rm /tmp/open 2>/dev/null; do sleep 0.02; done";

    // Until a script has come to the gate.
    void AwaitScript(Place place = Place::Here()) {
        const auto waiting = [this] { return box_.Exists("/tmp/waiting"); };
        box_.WaitUntil(waiting, "a script at the gate", Terminal::kPatience, place);
        box_.Remove("/tmp/waiting");
    }
    // Lets one script pass.
    void Open(Place place = Place::Here()) { box_.Write("/tmp/open", "", 0644, place); }

  private:
    Machine& box_;
};

// ---- the terminal as a shell wants it ----

// For a shell: keeps what the terminal is like for ModesAsBefore.
inline constexpr const char* kKeepModes = "tty <&1 >/tmp/tty; stty -g <&1 >/tmp/modes; ";

inline bool ModesAsBefore(Machine& box) {
    return box.Sh("stty -g -F $(cat /tmp/tty); true") == box.Read("/tmp/modes");
}

// The program as started by hand: the prompt's line stays on the screen, and what the terminal was
// like is kept for ExpectTerminalAsBefore.
inline TerminalOptions AtAPrompt(TerminalOptions options = {}) {
    options.program = "/bin/sh";
    options.arguments = {
        "-c", "tty <&1 >/tmp/tty; stty -g <&1 >/tmp/modes; echo 'appliance:~# ifmenu'; exec \"$@\"",
        "sh", IFMENU_PROGRAM};
    return options;
}

// The private modes of a terminal that nothing has changed: lines wrap, the cursor shows.
inline const std::set<int> kUsualModes = {7, 25};

// The private modes that the output has left set.
inline std::set<int> PrivateModes(const std::string& output) {
    std::set<int> modes = kUsualModes;
    for (size_t at = output.find("\x1b[?"); at != std::string::npos;
         at = output.find("\x1b[?", at)) {
        at += 3;
        const size_t end = output.find_first_not_of("0123456789;", at);
        if (end == std::string::npos) break;
        for (size_t from = at; from < end; from = output.find_first_of(";hlc", from) + 1) {
            const int mode = std::stoi(output.substr(from));
            if (output[end] == 'h') modes.insert(mode);
            if (output[end] == 'l') modes.erase(mode);
        }
    }
    return modes;
}

// The keypad sends its digits unless the last word on it was "application mode".
inline bool KeypadSendsDigits(const std::string& output) {
    const size_t application = output.rfind("\x1b=");
    return application == std::string::npos || output.find("\x1b>", application) != output.npos;
}

// Line mode and echo, cursor visible, no mouse reports, main screen with what was on it before.
inline void ExpectTerminalAsBefore(Terminal& t, Place place = Place::Here()) {
    const testing::ScopedTrace from(place.file, place.line, "");
    EXPECT_TRUE(t.LineMode());
    EXPECT_TRUE(t.CursorVisible());
    EXPECT_FALSE(t.AltScreen());
    EXPECT_EQ(t.MouseReporting(), std::vector<int>());
    EXPECT_EQ(PrivateModes(t.Output()), kUsualModes);
    EXPECT_TRUE(KeypadSendsDigits(t.Output()));
    EXPECT_EQ(t.Row(0), "appliance:~# ifmenu");
    EXPECT_TRUE(ModesAsBefore(t.machine()));
}

}  // namespace harness::lifecycle
