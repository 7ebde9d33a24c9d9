// How much memory the program uses, and that it does not grow.
#include <cstdlib>

#include "command_watch.h"
#include "network.h"
#include "sections.h"
#include "spawn.h"

namespace {

constexpr int kCards = 8;
constexpr double kSettled = 0.3;
// A refresh every 25 ms. On a faster clock the commands would seem to hang, and be killed.
constexpr int kClock = 200;
constexpr int kCommands = 2;  // per refresh with one card: the list and its addresses
constexpr double kLongest = 75;

Figure Compare(const std::string& what, long floor, long program, double most) {
    return {.what = what,
            .floor = Number(static_cast<double>(floor), "kB"),
            .program = Number(static_cast<double>(program), "kB"),
            .measured = static_cast<double>(program) / static_cast<double>(floor),
            .most = most};
}

Figures Resident() {
    EnterNetwork(kCards);
    const LastRow last = LastRowOf(kCards);
    Watched floor(TheFloor(kCards, Floor::kCxx));
    Watched program(TheProgram());
    floor.WaitForRow(last.line, last.text);
    program.WaitForRow(last.line, last.text);
    program.ReadFor(kSettled);
    return {
        Compare("Resident memory (VmRSS)", floor.MemoryKilobytes("status", "VmRSS"),
                program.MemoryKilobytes("status", "VmRSS"), 1.15),
        Compare("Its own share of it (PSS)", floor.MemoryKilobytes("smaps_rollup", "Pss"),
                program.MemoryKilobytes("smaps_rollup", "Pss"), -1),
        Compare("Data of its own (RssAnon)", floor.MemoryKilobytes("status", "RssAnon"),
                program.MemoryKilobytes("status", "RssAnon"), -1),
    };
}

// Until that many refreshes have finished, or the time is up.
void WaitForRefreshes(Watched& program, CommandWatch& watch, int refreshes, double end) {
    while (watch.ended() < refreshes * kCommands && harness::Now() < end) {
        program.ReadFor(0.05);
        watch.Look();
    }
}

// With one card, for short refreshes, and a fast clock, for frequent ones. Only the program's own
// data counts: the kernel loads and drops pages of files as it likes.
Figure Growth(int refreshes) {
    EnterNetwork(1);
    Command command = WithFastClock(TheProgram(), kClock);
    command.environment["FAST_WAIT"] = "1";
    const LastRow last = LastRowOf(1);
    CommandWatch watch;
    Watched program(command);
    while (program.Row(last.line) != last.text)
        program.Read(1);
    const double end = harness::Now() + kLongest;
    WaitForRefreshes(program, watch, refreshes / 10, end);
    const int first = watch.ended() / kCommands;
    const long before = program.MemoryKilobytes("status", "RssAnon");
    WaitForRefreshes(program, watch, refreshes, end);
    const long after = program.MemoryKilobytes("status", "RssAnon");
    return {.what = "Growth of its own data (RssAnon), refresh " + std::to_string(first) + " to " +
                    std::to_string(watch.ended() / kCommands),
            .program = Number(static_cast<double>(before), "kB") + " to " +
                       Number(static_cast<double>(after), "kB"),
            .measured = static_cast<double>(after - before),
            .most = 0,
            .unit = "kB"};
}

}  // namespace

Figures MeasureMemory(const Amounts& amounts) {
    Figures figures = Resident();
    figures.push_back(Growth(amounts.refreshes));
    return figures;
}
