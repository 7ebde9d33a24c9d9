// The cost of the idle program: processor time, bytes to the terminal, and what a refresh sends
// over a slow line.
#include "command_watch.h"
#include "network.h"
#include "sections.h"

namespace {

constexpr int kCards = 8;
constexpr int kSlices = 4;
constexpr int kBitsOfAByte = 10;  // with start and stop bit

std::string LineSeconds(double bytes, int baud) {
    return Milliseconds(bytes * kBitsOfAByte / baud) + " at " + std::to_string(baud) + " baud";
}

constexpr double kPatience = 10;  // seconds
constexpr double kQuiet = 0.02;   // seconds; longer than a pause within a paint

struct Idle {
    double of_floor = 0;  // processor seconds
    double of_program = 0;
    double wake_ups = 0;
    long bytes = 0;
};

// How often it has gone to sleep.
double Sleeps(const Watched& program) {
    return program.NumberIn("status", "voluntary_ctxt_switches");
}

Idle Watch(const Watched& floor, Watched& program, double seconds) {
    const double of_floor = floor.ProcessorSeconds();
    const double of_program = program.ProcessorSeconds();
    const double sleeps = Sleeps(program);
    const long bytes = program.bytes();
    program.ReadFor(seconds);
    return {floor.ProcessorSeconds() - of_floor, program.ProcessorSeconds() - of_program,
            Sleeps(program) - sleeps, program.bytes() - bytes};
}

// Periods in which no refresh starts.
std::vector<Idle> BetweenRefreshes(const Watched& floor, Watched& program, double seconds) {
    CommandWatch watch;
    std::vector<Idle> stretches;
    while (stretches.size() < kSlices) {
        watch.Reset();
        const Idle idle = Watch(floor, program, seconds / kSlices);
        watch.Look();
        if (!watch.seen()) stretches.push_back(idle);
    }
    return stretches;
}

Figures WhileIdle(double seconds) {
    const LastRow last = LastRowOf(kCards);
    Watched floor(TheFloor(kCards, Floor::kCxx));
    Watched program(TheProgram());
    floor.WaitForRow(last.line, last.text);
    program.WaitForRow(last.line, last.text);
    std::vector<double> of_floor;
    std::vector<double> of_program;
    std::vector<double> ratios;
    std::vector<double> wake_ups;
    long bytes = 0;
    for (const Idle& idle : BetweenRefreshes(floor, program, seconds)) {
        of_floor.push_back(idle.of_floor * kSlices / seconds);
        of_program.push_back(idle.of_program * kSlices / seconds);
        ratios.push_back(idle.of_program / idle.of_floor);
        wake_ups.push_back(idle.wake_ups * kSlices / seconds);
        bytes += idle.bytes;
    }
    return {{.what = "Wake-ups in an idle second",
             .measured = Median(wake_ups),
             .most = 1,
             .unit = "wake-ups",
             .exact = true},
            {.what = "Processor time of an idle second",
             .floor = Microseconds(Median(of_floor)),
             .program = Microseconds(Median(of_program)),
             .measured = Median(ratios),
             .most = 0.1},
            {.what = "Sent between refreshes",
             .measured = static_cast<double>(bytes),
             .most = 0,
             .unit = "B",
             .exact = true}};
}

long RepaintOfFloor(const char* terminal) {
    const LastRow last = LastRowOf(kCards);
    Watched floor(On(terminal, TheFloor(kCards, Floor::kPlain)));
    floor.WaitForRow(last.line, last.text);
    const long before = floor.bytes();
    PressAndWait(floor, "r");
    floor.ReadUntilQuiet(kQuiet);
    return floor.bytes() - before;
}

// The bytes of a refresh that finds nothing new.
double RefreshOfProgram(const char* terminal, int refreshes) {
    constexpr int kClock = 5;  // the next refresh is due after a second
    const LastRow last = LastRowOf(kCards);
    Watched program(WithFastClock(On(terminal, TheProgram()), kClock));
    program.WaitForRow(last.line, last.text);
    CommandWatch watch;
    std::vector<double> bytes;
    // The first refresh may begin before all rows are shown, and is not counted.
    for (int refresh = 0; refresh <= refreshes; ++refresh) {
        const long before = program.bytes();
        watch.WaitForRefresh(program);
        // On a busy computer its commands end long before it is painted.
        if (program.bytes() == before) program.Read(kPatience);
        program.ReadUntilQuiet(kQuiet);
        if (refresh > 0) bytes.push_back(static_cast<double>(program.bytes() - before));
    }
    return Median(bytes);
}

Figure Refresh(const char* terminal, int refreshes) {
    const auto floor = static_cast<double>(RepaintOfFloor(terminal));
    const double program = RefreshOfProgram(terminal, refreshes);
    return {.what = std::string("A refresh sends, on ") + terminal,
            .floor = Number(floor, "B"),
            .program = Number(program, "B") + ": " + LineSeconds(program, 9600) + ", " +
                       LineSeconds(program, 115200),
            .measured = program / floor,
            .most = 1,
            .exact = true};
}

}  // namespace

Figures MeasureIdle(const Amounts& amounts) {
    EnterNetwork(kCards);
    Figures figures = WhileIdle(amounts.idle_seconds);
    for (const char* terminal : kTerminals)
        figures.push_back(Refresh(terminal, amounts.idle_refreshes));
    return figures;
}
