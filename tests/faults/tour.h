// A tour through every screen of the program, with an action on each, for injecting faults. It
// saves files, switches services, types passwords, and runs commands on the plain terminal and in
// the background.
//
//     TourBox box;
//     Terminal t(box, AtAPrompt());
//     WalkTour(t);                       // regardless of what a fault does to the screens
//     EXPECT_EQ(EndTour(t), Exited(0));
//     EXPECT_EQ(box.Damage(), "");
#pragma once

#include <string>
#include <vector>

#include "full_machine.h"
#include "machine.h"
#include "prompt.h"
#include "terminal.h"

namespace harness::faults {

inline constexpr const char* kNetwork = "/etc/init.d/network";

class TourBox : public FullMachine {
  public:
    TourBox();
    // Restores everything that a tour changes.
    void Reset();
    // What is wrong with the files that the program saves; empty if nothing. Each must be the
    // complete old or new one, with its mode and access control list, and no other files may be
    // beside them, except one that a failed call should have renamed or removed.
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

// A part of the tour: keys typed at once, and a text that the screen then shows.
struct Leg {
    const char* keys;
    const char* sign;
};
// From the main menu to the end of the program.
const std::vector<Leg>& Tour();

// Types the keys of the tour, leg by leg, each as soon as the program waits for a key, until the
// tour or the program ends. With `watched`, the test fails if a leg's text does not appear.
void WalkTour(Terminal& t, bool watched = false);
// The same with all keys typed at once, as by an operator in a hurry.
void RushTour(Terminal& t);

// A failing system call: the when-th of its number.
struct FailingCall {
    int call = -1;
    int when = 0;
    int error = 0;
};

// Starts the program so that its pauses return at once and, if given, one call fails. The first two
// arguments of that call are then in kInjected.
TerminalOptions Hasty(const Machine& box, const FailingCall& fault = {});
inline constexpr const char* kInjected = "/tmp/injected";

// The same under strace, which records the given system calls in kTrace, e.g. "read,write". The
// injection is what it does to one of them, e.g. "read:error=EIO:when=7".
TerminalOptions Traced(const Machine& box, const std::string& calls,
                       const std::string& injection = "");
inline constexpr const char* kTrace = "/tmp/trace";

// Ends the program with Ctrl-C, wherever a fault has led it, and returns how it ended.
Ending EndTour(Terminal& t);

// Whether this is a proper end of the program: by its last row, a refusal to start, the loss of the
// terminal, or Ctrl-C.
bool IsOrderly(const Ending& ending);

// What is wrong with the terminal afterwards; empty if it is as it was before the program.
std::string TerminalDamage(Terminal& t);

}  // namespace harness::faults
