// The program as started by hand at the prompt of a shell, and the terminal that the shell expects
// afterwards.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "machine.h"
#include "terminal.h"

namespace harness {

// One line per row: "text | styles".
inline std::vector<std::string> Look(const Terminal& t) {
    std::vector<std::string> look;
    for (int row = 0; row < t.rows(); row++)
        look.push_back(t.Row(row) + " | " + t.Style(row));
    return look;
}

// An environment without leak detection, for when the leaks are not the program's or can't be
// looked for.
inline std::map<std::string, std::string> WithoutLeakSearch(const Machine& box) {
    return {{"ASAN_OPTIONS", box.Environment()["ASAN_OPTIONS"] + ":detect_leaks=0"}};
}

// Run in a shell: saves the terminal's modes for ModesAsBefore.
inline constexpr const char* kKeepModes = "tty <&1 >/tmp/tty; stty -g <&1 >/tmp/modes; ";

inline bool ModesAsBefore(Machine& box) {
    return box.Sh("stty -g -F $(cat /tmp/tty); true") == box.Read("/tmp/modes");
}

// The program as started by hand: the line of the prompt stays on the screen, and the terminal's
// state is saved for ExpectTerminalAsBefore.
inline TerminalOptions AtAPrompt(TerminalOptions options = {}) {
    options.program = "/bin/sh";
    options.arguments = {"-c", std::string(kKeepModes) + "echo 'appliance:~# ifmenu'; exec \"$@\"",
                         "sh", TestedProgram()};
    return options;
}

// Whether curses says that it does not know the terminal, in the words of 6.6 or of earlier
// versions.
inline bool SaysTheTerminalIsUnknown(const Terminal& t) {
    return t.Shows("cannot initialize terminal type") || t.Shows("Error opening terminal");
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

// Line mode with echo, cursor shown, no mouse reports, and the main screen.
inline void ExpectModesAsBefore(Terminal& t, Place place = Place::current()) {
    const testing::ScopedTrace from(place.file, place.line, "");
    EXPECT_TRUE(t.LineMode());
    EXPECT_TRUE(t.CursorVisible());
    EXPECT_FALSE(t.AltScreen());
    EXPECT_EQ(t.MouseReporting(), std::vector<int>());
    EXPECT_EQ(PrivateModes(t.Output()), kUsualModes);
    EXPECT_TRUE(KeypadSendsDigits(t.Output()));
    EXPECT_TRUE(ModesAsBefore(t.machine()));
}

// The same, with the old contents of the screen.
inline void ExpectTerminalAsBefore(Terminal& t, Place place = Place::current()) {
    ExpectModesAsBefore(t, place);
    EXPECT_EQ(t.Row(0), "appliance:~# ifmenu");
}

}  // namespace harness
