// A tour through every screen of the program, with an action on each, for injecting faults. It
// saves files, switches services, types passwords, and runs commands on the plain terminal and in
// the background.
//
//     TourBox box;
//     Terminal t(box, AtAPrompt());
//     WalkTour(t);                       // blindly: whatever a fault makes of the screens
//     EXPECT_EQ(EndTour(t), Exited(0));
//     EXPECT_EQ(box.Damage(), "");
#pragma once

#include <string>
#include <vector>

#include "../screens/full_machine.h"
#include "../screens/lifecycle_fixtures.h"
#include "machine.h"
#include "terminal.h"

namespace harness::faults {

class TourBox : public FullMachine {
  public:
    TourBox();
    // Restores everything that a tour changes.
    void Reset();
    // What is wrong with the files that the program saves: each must be the old or the new one, as
    // a whole, with its mode and access control list, and nothing else may lie beside them. Empty
    // when all is well. What a call was to rename or to remove may be left where it has failed.
    std::string Damage(const std::string& failed_call = "");
    // Whether every file is the new one.
    bool AllSaved();
    // Whether no file has changed; whether the time servers have not.
    bool AllUntouched();
    bool NtpUntouched();

  private:
    std::vector<std::string> Leftovers() const;
    bool has_lists_ = true;  // whether files can have access control lists here
};

// A part of the tour: keys typed at once, and a text on the screen afterwards.
struct Leg {
    const char* keys;
    const char* sign;
};
// From the main menu to the end of the program.
const std::vector<Leg>& Tour();

// Types the keys of the tour, leg by leg, each as soon as the program waits for a key, until the
// tour or the program ends. With `watched`, the test fails if a leg's text does not appear.
void WalkTour(Terminal& t, bool watched = false);
// The same with all keys typed at once, like an operator in a hurry.
void RushTour(Terminal& t);

// A system call that fails, the when-th of its number.
struct FailingCall {
    int call = -1;
    int when = 0;
    int error = 0;
};

// How the program is started so that its pauses pass at once, and perhaps a call fails. Its first
// two arguments are then in kInjected.
TerminalOptions Hasty(const Machine& box, const FailingCall& fault = {});
inline constexpr const char* kInjected = "/tmp/injected";

// The same under a tracer that writes down in kTrace the system calls asked for, e.g. "read,write".
// An injection is what strace shall do to one of them, e.g. "read:error=EIO:when=7".
TerminalOptions Traced(const Machine& box, const std::string& calls,
                       const std::string& injection = "");
inline constexpr const char* kTrace = "/tmp/trace";

// Ends the program with Ctrl-C, wherever a fault has led it, and returns how it ended.
Ending EndTour(Terminal& t);

// Whether this is a proper end of the program: by its last row, a refusal to start, the loss of the
// terminal, or Ctrl-C.
bool IsOrderly(const Ending& ending);

// Describes what is wrong with the terminal afterwards; empty if it is as before the program.
std::string TerminalDamage(Terminal& t);

}  // namespace harness::faults
