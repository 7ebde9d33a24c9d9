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

struct Kind {
    const char* what;
    const char* file;
    const char* field;
    double most;
    std::vector<double> of_floor = {};
    std::vector<double> of_program = {};

    Figure AsFigure() const {
        return {.what = what,
                .floor = Number(Median(of_floor), "kB"),
                .program = Number(Median(of_program), "kB"),
                .measured = Median(of_program) / Median(of_floor),
                .most = most};
    }
};

// Medians of several starts: where the kernel puts a library decides how much of it comes into
// memory with a page.
Figures Resident(int rounds) {
    EnterNetwork(kCards);
    const LastRow last = LastRowOf(kCards);
    Kind kinds[] = {{"Resident memory (VmRSS)", "status", "VmRSS", 1.15},
                    {"Its own share of it (PSS)", "smaps_rollup", "Pss", -1},
                    {"Data of its own (RssAnon)", "status", "RssAnon", -1}};
    for (int round = 0; round < rounds; ++round) {
        Watched floor(TheFloor(kCards, Floor::kCxx));
        Watched program(TheProgram());
        floor.WaitForRow(last.line, last.text);
        program.WaitForRow(last.line, last.text);
        program.ReadFor(kSettled);
        for (Kind& kind : kinds) {
            kind.of_floor.push_back(floor.NumberIn(kind.file, kind.field));
            kind.of_program.push_back(program.NumberIn(kind.file, kind.field));
        }
    }
    Figures figures;
    for (const Kind& kind : kinds)
        figures.push_back(kind.AsFigure());
    return figures;
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
    const double before = program.NumberIn("status", "RssAnon");
    WaitForRefreshes(program, watch, refreshes, end);
    const double after = program.NumberIn("status", "RssAnon");
    return {.what = "Growth of its own data (RssAnon), refresh " + std::to_string(first) + " to " +
                    std::to_string(watch.ended() / kCommands),
            .program = Number(before, "kB") + " to " + Number(after, "kB"),
            .measured = after - before,
            .most = 0,
            .unit = "kB"};
}

}  // namespace

Figures MeasureMemory(const Amounts& amounts) {
    Figures figures = Resident(amounts.memory_rounds);
    figures.push_back(Growth(amounts.refreshes));
    return figures;
}
