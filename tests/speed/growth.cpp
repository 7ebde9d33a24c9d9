// How the cost of a refresh grows with the number of interfaces.
#include "command_watch.h"
#include "network.h"
#include "sections.h"

namespace {

constexpr int kClock = 4;  // a refresh is due every 1.25 seconds

void MeasureWith(int cards, int rounds, Figures& figures) {
    EnterNetwork(cards);
    const std::string prefix = std::to_string(cards) + " interfaces: ";
    FirstScreens firsts = MeasureFirstScreens(cards, rounds);
    figures.push_back(firsts.AsFigure(prefix + "first screen", -1));

    const LastRow last = LastRowOf(cards);
    Watched program(WithFastClock(TheProgram(), kClock));
    program.WaitForRow(last.line, last.text);
    CommandWatch watch;
    Refreshes refreshes;
    for (int round = 0; round < rounds; ++round)
        refreshes.WatchOne(program, watch);
    const double own = Median(refreshes.processor);
    const double commands = Median(firsts.command_processor);
    figures.push_back({.what = prefix + "refresh",
                       .floor = "commands " + Milliseconds(Median(firsts.commands)),
                       .program = Milliseconds(Median(refreshes.seconds))});
    figures.push_back(
        {.what = prefix + "processor time of a refresh",
         .floor = "commands " + Milliseconds(commands),
         .program = Milliseconds(own) + ", the commands being " +
                    Number(static_cast<int>(100 * commands / (commands + own)), "%")});
}

}  // namespace

Figures MeasureGrowth(const Amounts& amounts) {
    Figures figures;
    for (int cards : amounts.growth_cards)
        MeasureWith(cards, amounts.growth_rounds, figures);
    return figures;
}
