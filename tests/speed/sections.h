// What is measured, a section for each thing that the operator feels or the machine pays.
#pragma once

#include <string>
#include <vector>

#include "report.h"
#include "watched.h"

// How much of everything.
struct Amounts {
    int first_rounds;
    int key_presses;
    int wait_presses;
    int wait_visits;     // first pictures and returns to the main menu among the waits
    double wait_answer;  // how long the slow `ip` takes
    double idle_seconds;
    int idle_refreshes;
    int refreshes;
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
Figures MeasureMemory(const Amounts& amounts);
Figures MeasureMenus(const Amounts& amounts);
Figures MeasureGrowth(const Amounts& amounts);

// ---- what they share ----

// The program, and the floor with the same main menu.
Command TheProgram();
enum class Floor { kPlain, kCxx };
Command TheFloor(int cards, Floor floor);

// The last row that a main menu with so many cards paints, and its text there.
struct LastRow {
    int line;
    std::string text;
};
LastRow LastRowOf(int cards);

// From the start to the last byte of the first full screen.
double FirstScreen(const Command& command, int cards);

// Seconds of first screens, round by round: the floor's, the commands' run bare, the program's.
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

// From a key to the last byte of what it paints.
double PressAndWait(Watched& program, const std::string& key);

// The same with a clock that runs so many times faster (fast_clock.cpp).
Command WithFastClock(Command command, int times);

// Puts a script in the way of a command: a folder to stand first in PATH.
std::string StandIn(const std::string& name, const std::string& script);
std::string PathWith(const std::string& folder);

// What the terminal sends for keys, e.g. "<Down>" (harness/keys.h).
std::string Keys(const std::string& keys);
