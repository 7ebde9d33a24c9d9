// Long lists: the menu with ten thousand rows (menu_rows.cpp).
#include <cstdlib>
#include <sstream>

#include "sections.h"
#include "spawn.h"

Figures MeasureMenus(const Amounts& amounts) {
    constexpr double kMost = 16;  // milliseconds: the wait for a key
    const std::string results = "/tmp/menu_rows";
    Watched program({{SPEED_MENU_ROWS, std::to_string(amounts.menu_rounds), results}});
    program.ReadToEnd();
    std::istringstream lines(harness::ReadWhole(results));
    Figures figures;
    std::string name;
    std::string seconds;
    while (std::getline(lines, name, '\t') && std::getline(lines, seconds)) {
        figures.push_back({.what = "10,000 rows: " + name,
                           .program = Milliseconds(std::atof(seconds.c_str())),
                           .measured = std::atof(seconds.c_str()) * 1e3,
                           .most = kMost,
                           .unit = "ms"});
    }
    return figures;
}
