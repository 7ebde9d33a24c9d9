// Shared by the tests of starting, ending, keys and terminals: the places where the program waits
// for the operator, terminal types, and commands that wait.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "actions.h"
#include "machine.h"
#include "prompt.h"
#include "terminal.h"

namespace harness::lifecycle {

// ---- where the program waits ----

inline constexpr Stop kMainMenu = {"MainMenu", "", "Exit this program"};
// With the interface listed, which takes a moment on a busy machine.
inline constexpr Stop kListedMenu = {"MainMenu", "", "    1. eth0"};
inline constexpr Stop kYesNo = {"YesNo", "d<Enter>", "Are you sure? [y/n]"};
inline constexpr Stop kTextEntry = {"TextEntry", "n<Enter>", "New computer host name"};
inline constexpr Stop kInterface = {"Interface", "1<Enter>", "Network configuration: eth0 ("};
// The editor draws the help last.
inline constexpr Stop kEditor = {"Editor", "1<Enter>c<Enter>", "leave the network port disabled"};
inline constexpr Stop kPassword = {"Password", "s<Enter>v<Enter>", "Set VNC password"};
inline constexpr Stop kStops[] = {kListedMenu, kYesNo,    kTextEntry, kInterface,
                                  kEditor,     kServices, kPassword};

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

// A machine with what the places need: an interface (a bridge, which any user can create in a user
// namespace), and the tool of the remote desktop.
struct OneCard : Machine {
    OneCard() {
        AddBridge("eth0");
        MakeDirectory("/usr/share/tavrin");
        Write("/usr/share/tavrin/local-desktop-vnc", "");
    }
};

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
    void AwaitScript(Place place = Place::current()) {
        const auto waiting = [this] { return box_.Exists("/tmp/waiting"); };
        box_.WaitUntil(waiting, "a script at the gate", Terminal::kPatience, place);
        box_.Remove("/tmp/waiting");
    }
    // Lets one script pass.
    void Open(Place place = Place::current()) { box_.Write("/tmp/open", "", 0644, place); }

  private:
    Machine& box_;
};

}  // namespace harness::lifecycle
