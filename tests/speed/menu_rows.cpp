// The menu with ten thousand rows, on the current terminal.
//
//     menu_rows ROUNDS RESULTS      RESULTS: a file; each line has a name, a tab, the median in
//     seconds
#include <curses.h>

#include <algorithm>
#include <chrono>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "ui/colours.h"
#include "ui/menu.h"
#include "ui/terminal.h"

namespace {

constexpr int kRows = 10000;

using Work = std::function<void(Menu&)>;

void AddRows(Menu& menu) {
    menu.Clear();
    for (int i = 0; i < kRows; ++i) {
        const std::string label = "     02:00:00:00:00:01   network " + std::to_string(i);
        menu.SetHotKey(menu.AddItem(label, i), i == kRows - 1 ? 'z' : 'a');
    }
}

// No row between the first and the last can be selected.
void AddInformationRows(Menu& menu) {
    menu.Clear();
    menu.AddItem("first", 0);
    for (int i = 0; i < kRows; ++i)
        menu.AddInformation("     to be read", i);
    menu.AddItem("last", 1);
}

void Show(Menu& menu) {
    clear();
    menu.ClearRedraw();
    menu.Draw();
    ShowScreen();
}

void Press(Menu& menu, int key) {
    menu.HandleKey(key);
    ShowScreen();
}

struct Measurement {
    const char* name;
    Work prepare;
    Work work;
};

const Measurement kMeasurements[] = {
    {"Making the rows and painting the first screen", [](Menu&) {},
     [](Menu& menu) {
         AddRows(menu);
         Show(menu);
     }},
    {"A hot key of the last row", [](Menu& menu) { Press(menu, KEY_HOME); },
     [](Menu& menu) { Press(menu, 'z'); }},
    {"PAGE DOWN", [](Menu& menu) { Press(menu, KEY_HOME); },
     [](Menu& menu) { Press(menu, KEY_NPAGE); }},
    {"END", [](Menu& menu) { Press(menu, KEY_HOME); }, [](Menu& menu) { Press(menu, KEY_END); }},
    {"Cursor up from the first row to the last", [](Menu& menu) { Press(menu, KEY_HOME); },
     [](Menu& menu) { Press(menu, KEY_UP); }},
    {"Cursor down over rows that can't be selected",
     [](Menu& menu) {
         AddInformationRows(menu);
         Press(menu, KEY_HOME);
     },
     [](Menu& menu) { Press(menu, KEY_DOWN); }},
};

double MedianSeconds(const Measurement& measurement, Menu& menu, int rounds) {
    using Clock = std::chrono::steady_clock;
    std::vector<double> seconds;
    for (int round = 0; round < rounds; ++round) {
        measurement.prepare(menu);
        const auto begun = Clock::now();
        measurement.work(menu);
        seconds.push_back(std::chrono::duration<double>(Clock::now() - begun).count());
    }
    std::sort(seconds.begin(), seconds.end());
    return seconds[seconds.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    std::FILE* results = argc == 3 ? std::fopen(argv[2], "w") : nullptr;
    if (results == nullptr) return 1;
    std::setlocale(LC_CTYPE, "");
    initscr();
    StartColours();
    StartKeyboard();
    Menu menu;
    menu.Init();
    menu.SetPosition(4, 5);
    menu.SetSize(COLS - 5, LINES - 6);
    for (const Measurement& measurement : kMeasurements) {
        std::fprintf(results, "%s\t%.9f\n", measurement.name,
                     MedianSeconds(measurement, menu, std::atoi(argv[1])));
    }
    std::fclose(results);
    RestoreTerminal();
    return 0;
}
