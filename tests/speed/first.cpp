// How soon the first screen appears.
#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>

#include "network.h"
#include "sections.h"
#include "spawn.h"

namespace {

std::string ReadAll(std::FILE* pipe) {
    std::string text;
    char chunk[4096];
    while (const size_t count = std::fread(chunk, 1, sizeof chunk, pipe))
        text.append(chunk, count);
    pclose(pipe);
    return text;
}

// The commands of a refresh.
void RunRefreshCommands(int cards) {
    ReadAll(popen(ListCommand().c_str(), "r"));
    std::vector<std::FILE*> pipes;
    for (int number = 1; number <= cards; ++number)
        pipes.push_back(popen(AddressCommand(number).c_str(), "r"));
    for (std::FILE* pipe : pipes)
        ReadAll(pipe);
}

double Seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

double ProcessorSecondsOfChildren() {
    rusage usage = {};
    getrusage(RUSAGE_CHILDREN, &usage);
    return Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
}

}  // namespace

double SecondsOfCommands(int cards) {
    const double begun = harness::Now();
    RunRefreshCommands(cards);
    return harness::Now() - begun;
}

namespace {

// The program's commands, run without the program.
void RunCommands(int cards, FirstScreens& firsts) {
    const double begun = harness::Now();
    const int status = std::system(FolderCommand().c_str());
    const double folder_made = harness::Now();
    const double processor = ProcessorSecondsOfChildren();
    firsts.folder.push_back(status == 0 ? folder_made - begun : 0);
    firsts.commands.push_back(SecondsOfCommands(cards));
    firsts.command_processor.push_back(ProcessorSecondsOfChildren() - processor);
}

Figure MeasureFloors(int rounds) {
    constexpr int kCards = 8;
    EnterNetwork(kCards);
    std::vector<double> plain;
    std::vector<double> cxx;
    for (int round = 0; round < rounds; ++round) {
        plain.push_back(FirstScreen(TheFloor(kCards, Floor::kPlain), kCards));
        cxx.push_back(FirstScreen(TheFloor(kCards, Floor::kCxx), kCards));
    }
    return {.what = "The floor alone; linked with libstdc++",
            .floor = Milliseconds(Median(plain)) + "; " + Milliseconds(Median(cxx))};
}

}  // namespace

FirstScreens MeasureFirstScreens(int cards, int rounds) {
    const Command floor = TheFloor(cards, Floor::kPlain);
    FirstScreens firsts;
    for (int round = 0; round < rounds; ++round) {
        firsts.floor.push_back(FirstScreen(floor, cards));
        RunCommands(cards, firsts);
        firsts.program.push_back(FirstScreen(TheProgram(), cards));
        firsts.ratios.push_back(
            firsts.program.back() /
            (firsts.floor.back() + firsts.folder.back() + firsts.commands.back()));
    }
    return firsts;
}

Figure FirstScreens::AsFigure(const std::string& what, double most) const {
    return {.what = what,
            .floor = Milliseconds(Median(floor)) + " + commands " +
                     Milliseconds(Median(folder) + Median(commands)),
            .program = Milliseconds(Median(program)),
            .measured = Median(ratios),
            .most = most};
}

Figures MeasureFirst(const Amounts& amounts) {
    Figures figures;
    for (int cards : {8, 64}) {
        EnterNetwork(cards);
        figures.push_back(
            MeasureFirstScreens(cards, amounts.first_rounds)
                .AsFigure("First full screen, " + std::to_string(cards) + " interfaces", 1.15));
    }
    figures.push_back(MeasureFloors(amounts.first_rounds));
    return figures;
}
