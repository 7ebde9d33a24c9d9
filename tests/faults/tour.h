// A tour through every screen of the program, with something done on each: the ground on which
// faults are put in its way. On the tour files are saved, services switched, passwords typed,
// commands run on the plain terminal and beside the screen.
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
    // Puts everything back that a tour changes.
    void Reset();
    // What is wrong with the files that the program saves: each must be the old or the new one, as
    // a whole, with its mode, and nothing else may lie beside them. Empty when all is well.
    std::string Damage();
    // Whether every file is the new one.
    bool AllSaved();
    // Whether none of them has changed; and of the time servers alone.
    bool AllUntouched();
    bool NtpUntouched();

  private:
    std::vector<std::string> Leftovers() const;
};

// A part of the tour: keys typed at once, and what stands on the screen afterwards.
struct Leg {
    const char* keys;
    const char* sign;
};
// From the main menu to the program's end.
const std::vector<Leg>& Tour();

// Types the tour's keys, a leg at a time as soon as the program waits for a key, until the tour or
// the program has come to its end. With `watched` the test fails where a sign does not appear.
void WalkTour(Terminal& t, bool watched = false);
// The same with all keys typed in one go, as a hurried operator reads nothing on the way.
void RushTour(Terminal& t);

// How the program is started under a tracer that lets its pauses pass at once and writes down in
// kTrace the system calls asked for, e.g. "read,write". An injection is what strace shall do to one
// of them, e.g. "read:error=EIO:when=7".
TerminalOptions Traced(const Machine& box, const std::string& calls = "",
                       const std::string& injection = "");
inline constexpr const char* kTrace = "/tmp/trace";

// Ends a program that a fault has led astray, by Ctrl-C, and tells how it ended.
Ending EndTour(Terminal& t);

// Whether an end is one that the program may come to by itself: through its last row, refused,
// without a terminal, or by Ctrl-C.
bool IsOrderly(const Ending& ending);

// What is wrong with the terminal afterwards; empty when it is as it was before the program.
std::string TerminalDamage(Terminal& t);

}  // namespace harness::faults
