// Shared by the tests of starting, ending, keys and terminals: the places where the program waits
// for the operator, ways to start it, and the terminal that a shell expects afterwards.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "actions.h"
#include "machine.h"
#include "terminal.h"

namespace harness::lifecycle {

// ---- where the program waits ----

inline constexpr Stop kMainMenu = {"MainMenu", "", "Exit this program"};
inline constexpr Stop kYesNo = {"YesNo", "d<Enter>", "Are you sure? [y/n]"};
inline constexpr Stop kTextEntry = {"TextEntry", "n<Enter>", "New computer host name"};
inline constexpr Stop kInterface = {"Interface", "1<Enter>", "Network configuration: eth0 ("};
// The editor draws the help last.
inline constexpr Stop kEditor = {"Editor", "1<Enter>c<Enter>", "leave the network port disabled"};
inline constexpr Stop kPassword = {"Password", "s<Enter>v<Enter>", "Set VNC password"};
inline constexpr Stop kStops[] = {kMainMenu, kYesNo,    kTextEntry, kInterface,
                                  kEditor,   kServices, kPassword};

inline std::string StopName(const testing::TestParamInfo<Stop>& info) {
    return info.param.name;
}

// ---- terminals ----

// The terminal types that operators use: emulators with and without mouse motion, the console, a
// serial line.
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

// One line per row: "text | styles".
inline std::vector<std::string> Look(const Terminal& t) {
    std::vector<std::string> look;
    for (int row = 0; row < t.rows(); row++)
        look.push_back(t.Row(row) + " | " + t.Style(row));
    return look;
}

// A machine with what the places need: an interface (a bridge, which any user can create in a user
// namespace), and the tool of the remote desktop.
struct OneCard : Machine {
    OneCard() {
        AddBridge("eth0");
        MakeDirectory("/usr/share/tavrin");
        Write("/usr/share/tavrin/local-desktop-vnc", "");
    }
};

// An environment without leak detection, for when the leaks are not the program's or can't be
// looked for.
inline std::map<std::string, std::string> WithoutLeakSearch(const Machine& box) {
    return {{"ASAN_OPTIONS", box.Environment()["ASAN_OPTIONS"] + ":detect_leaks=0"}};
}

// ---- commands that wait ----

constexpr const char* kNetwork = "/etc/init.d/network";

// Makes a stand-in's script wait until the test opens the gate. The script checks every 20 ms
// instead of sleeping, because a shell handles a signal only when its current command ends.
class Gate {
  public:
    explicit Gate(Machine& box) : box_(box) {}
    static constexpr const char* kWait =
        ": >/tmp/waiting; while ! rm /tmp/open 2>/dev/null; do sleep 0.02; done";

    // Waits until a script has reached the gate.
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

// ---- the terminal that a shell expects ----

// Run in a shell: saves the terminal's modes for ModesAsBefore.
inline constexpr const char* kKeepModes = "tty <&1 >/tmp/tty; stty -g <&1 >/tmp/modes; ";

inline bool ModesAsBefore(Machine& box) {
    return box.Sh("stty -g -F $(cat /tmp/tty); true") == box.Read("/tmp/modes");
}

// The program as started by hand: the line of the prompt stays on the screen, and the terminal's
// state is saved for ExpectTerminalAsBefore.
inline TerminalOptions AtAPrompt(TerminalOptions options = {}) {
    options.program = "/bin/sh";
    options.arguments = {
        "-c", "tty <&1 >/tmp/tty; stty -g <&1 >/tmp/modes; echo 'appliance:~# ifmenu'; exec \"$@\"",
        "sh", IFMENU_PROGRAM};
    return options;
}

// The private modes of a fresh terminal: lines wrap, the cursor is shown.
inline const std::set<int> kUsualModes = {7, 25};

// The private modes still set after this output.
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

// The keypad sends digits unless it was last switched to "application mode".
inline bool KeypadSendsDigits(const std::string& output) {
    const size_t application = output.rfind("\x1b=");
    return application == std::string::npos || output.find("\x1b>", application) != output.npos;
}

// Line mode with echo, cursor shown, no mouse reports, and the main screen with its old contents.
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
