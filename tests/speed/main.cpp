// Measures the program against a bare curses program and against its own commands alone.
//
//     ifmenu_speed [--quick | --check] [SECTION...]
//
// Runs as root of a private machine (appliance/enter --bare). --check is for the tests: few rounds,
// and an exit status that tells whether each section has its figures and the exact ones are met.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include "sections.h"
#include "spawn.h"

namespace {

const Amounts kWhole = {.first_rounds = 40,
                        .key_presses = 2000,
                        .wait_presses = 500,
                        .wait_visits = 3,
                        .wait_answer = 1,
                        .idle_seconds = 4,
                        .idle_refreshes = 3,
                        .memory_rounds = 15,
                        .refreshes = 10000,
                        .refresh_rounds = 7,
                        .menu_rounds = 50,
                        .growth_cards = {1, 8, 64, 256},
                        .growth_rounds = 5};
const Amounts kQuick = {.first_rounds = 5,
                        .key_presses = 160,
                        .wait_presses = 40,
                        .wait_visits = 1,
                        .wait_answer = 0.2,
                        .idle_seconds = 1,
                        .idle_refreshes = 1,
                        .memory_rounds = 3,
                        .refreshes = 200,
                        .refresh_rounds = 1,
                        .menu_rounds = 5,
                        .growth_cards = {1, 8, 64},
                        .growth_rounds = 1};
const Amounts kCheck = {.first_rounds = 1,
                        .key_presses = 16,
                        .wait_presses = 10,
                        .wait_visits = 1,
                        .wait_answer = 0.1,
                        .idle_seconds = 0.4,
                        .idle_refreshes = 1,
                        .memory_rounds = 1,
                        .refreshes = 20,
                        .refresh_rounds = 1,
                        .menu_rounds = 1,
                        .growth_cards = {1, 8},
                        .growth_rounds = 1};

constexpr int kSkipped = 77;

struct Section {
    const char* name;
    const char* title;
    Figures (*measure)(const Amounts&);
};

constexpr Section kSections[] = {
    {"first", "How soon the first screen is complete", MeasureFirst},
    {"key", "How soon a key shows", MeasureKey},
    {"waits", "Whether the screen ever stops answering", MeasureWaits},
    {"sockets", "What a refresh asks of the kernel", MeasureSockets},
    {"idle", "What it costs while nobody does anything", MeasureIdle},
    {"refresh", "How long a refresh of 64 interfaces takes", MeasureRefresh},
    {"memory", "Memory", MeasureMemory},
    {"menus", "Menus of ten thousand rows", MeasureMenus},
    {"growth", "How it grows with the interfaces", MeasureGrowth},
};

std::string Load() {
    double load = 0;
    getloadavg(&load, 1);
    return Number(load, "") + " on " + std::to_string(sysconf(_SC_NPROCESSORS_ONLN)) +
           " processors";
}

// Whether the section has its figures; with `check`, whether the exact ones are met, too.
bool Run(const Section& section, const Amounts& amounts, bool check) {
    const double begun = harness::Now();
    Figures figures;
    try {
        figures = section.measure(amounts);
    } catch (const std::exception& failure) {
        std::printf("### %s: %s\n\nFAILED: %s\n\n", section.name, section.title, failure.what());
        return false;
    }
    std::printf("### %s: %s\n\n%s\n(%.0f s, load %s)\n\n", section.name, section.title,
                Table(figures).c_str(), harness::Now() - begun, Load().c_str());
    std::fflush(stdout);
    return !figures.empty() &&
           std::none_of(figures.begin(), figures.end(), [check](const Figure& figure) {
               return check && figure.exact && !figure.Met();
           });
}

bool IsWanted(const Section& section, const std::vector<std::string>& names) {
    return names.empty() || std::find(names.begin(), names.end(), section.name) != names.end();
}

// An ordinary user's machine has none.
bool HasTerminals() {
    return harness::Descriptor(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)).get() >= 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> names(argv + 1, argv + argc);
    const bool check = std::erase(names, "--check") != 0;
    const bool quick = std::erase(names, "--quick") != 0;
    const Amounts& amounts = check ? kCheck : quick ? kQuick : kWhole;
    if (!HasTerminals()) {
        std::fputs("This machine has no terminals to measure on: run it as root.\n", stderr);
        return kSkipped;
    }
    bool good = true;
    for (const Section& section : kSections) {
        if (IsWanted(section, names)) good &= Run(section, amounts, check);
    }
    return good ? 0 : 1;
}
