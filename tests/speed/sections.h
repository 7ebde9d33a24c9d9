// The measurements, with a section for each thing that the operator feels or the machine pays for.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "report.h"
#include "watched.h"

// How much to measure.
struct Amounts {
    int first_rounds;
    int key_presses;
    int wait_presses;
    int wait_visits;     // first screens and returns to the main menu among the waits
    double wait_answer;  // how long the slow `ip` takes
    double idle_seconds;
    int idle_refreshes;
    int memory_rounds;
    int refreshes;
    int refresh_rounds;
    int menu_rounds;
    std::vector<int> growth_cards;
    int growth_rounds;
};

using Figures = std::vector<Figure>;

Figures MeasureFirst(const Amounts& amounts);
Figures MeasureSockets(const Amounts& amounts);
Figures MeasureKey(const Amounts& amounts);
Figures MeasureWaits(const Amounts& amounts);
Figures MeasureIdle(const Amounts& amounts);
Figures MeasureRefresh(const Amounts& amounts);
Figures MeasureMemory(const Amounts& amounts);
Figures MeasureMenus(const Amounts& amounts);
Figures MeasureGrowth(const Amounts& amounts);

// ---- shared ----

constexpr const char* kTerminals[] = {"xterm-1003", "linux", "vt220"};
Command On(const char* terminal, Command command);

// The program, and the floor with the same main menu.
Command TheProgram();
enum class Floor { kPlain, kCxx };
Command TheFloor(int cards, Floor floor);

// The last row that a main menu with that many cards paints, and its text.
struct LastRow {
    int line;
    std::string text;
};
LastRow LastRowOf(int cards, int lines = Command().rows);

// From the start to the last byte of the first complete screen.
double FirstScreen(const Command& command, int cards);

// Seconds to the first screen, round by round: of the floor, of the commands alone, of the program.
struct FirstScreens {
    std::vector<double> floor;
    std::vector<double> folder;             // the command that prepares the program's folder
    std::vector<double> commands;           // those of a refresh
    std::vector<double> command_processor;  // their processor time
    std::vector<double> program;
    std::vector<double> ratios;  // the program's to all the others

    Figure AsFigure(const std::string& what, double most) const;
};
FirstScreens MeasureFirstScreens(int cards, int rounds);

// The time that the commands of a refresh take alone.
double SecondsOfCommands(int cards);

// Refreshes, each when it is due.
class CommandWatch;
struct Refreshes {
    std::vector<double> seconds;    // from the first command's start to the last end or the paint
    std::vector<double> processor;  // of the program itself

    // Waits for the next refresh. `meanwhile` is called every 2 ms.
    void WatchOne(Watched& program, CommandWatch& watch,
                  const std::function<void()>& meanwhile = {});
};

// From a key to the last byte that it paints.
double PressAndWait(Watched& program, const std::string& key);

// The same with a clock that runs that many times faster (fast_clock.cpp).
Command WithFastClock(Command command, int times);

// Puts a script in place of a command; returns a folder to put first in PATH.
std::string StandIn(const std::string& name, const std::string& script);
std::string PathWith(const std::string& folder);

// What a terminal sends for these keys, e.g. "<Down>" (harness/keys.h).
std::string Keys(const std::string& keys, const std::string& terminal = Command().terminal);
