// How soon the screen stands.
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

// The program's commands without the program.
double RunCommands(int cards) {
    const double begun = bench::Now();
    if (std::system(FolderCommand().c_str()) != 0) return 0;
    ReadAll(popen(ListCommand().c_str(), "r"));
    std::vector<std::FILE*> pipes;
    for (int number = 1; number <= cards; ++number)
        pipes.push_back(popen(AddressCommand(number).c_str(), "r"));
    for (std::FILE* pipe : pipes)
        ReadAll(pipe);
    return bench::Now() - begun;
}

Figure MeasureWith(int cards, int rounds) {
    EnterNetwork(cards);
    const Command floor = TheFloor(cards, Floor::kPlain);
    std::vector<double> floors;
    std::vector<double> commands;
    std::vector<double> programs;
    std::vector<double> ratios;
    for (int round = 0; round < rounds; ++round) {
        floors.push_back(FirstScreen(floor, cards));
        commands.push_back(RunCommands(cards));
        programs.push_back(FirstScreen(TheProgram(), cards));
        ratios.push_back(programs.back() / (floors.back() + commands.back()));
    }
    return {.what = "First full screen, " + std::to_string(cards) + " interfaces",
            .floor = Milliseconds(Median(floors)) + " + commands " + Milliseconds(Median(commands)),
            .program = Milliseconds(Median(programs)),
            .measured = Median(ratios),
            .most = 1.15};
}

Figure MeasureFloors(int rounds) {
    constexpr int kCards = 8;
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

Figures MeasureFirst(const Amounts& amounts) {
    return {MeasureWith(8, amounts.first_rounds), MeasureWith(64, amounts.first_rounds),
            MeasureFloors(amounts.first_rounds)};
}
