// The loop that every screen runs: rebuild the rows if needed, paint if needed, read a key, let the
// menu handle it, run the action of an activated row. A screen is a table of its rows and their
// actions:
//
//     RunScreen<State>({.rows = kRows, .title = Title}, state);
//
// If the rows show facts that take time to gather, they refresh every five seconds; keys are
// handled meanwhile.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "ui/layout.h"
#include "ui/menu.h"
#include "ui/rows.h"
#include "ui/terminal.h"
#include "util/answers.h"

// Facts that take time to gather, in rounds.
struct LiveFacts {
    std::function<void()> forget;  // drops what is known, as an action may have changed it
    std::function<void()> ask;     // starts a round
    std::function<Answers(double now)> take;  // collects the answers that have arrived
    std::function<void()> ask_kernel;         // queries the kernel again
    std::function<void()> stop;               // kills running commands
    std::function<void(Wake& wake)> await;    // adds what `take` waits for
};

// A screen as ScreenLoop sees it, without its state.
struct Screen {
    std::function<void(Menu&)> add_rows;
    std::function<Next(int id)> act;
    std::function<Next(int id)> turn;
    std::function<std::string_view(int id)> help;
    std::function<TitleLines()> title;
    Layout layout = Layout::Plain;
    // Whether the selection stays on its row when a refresh adds or removes rows above it;
    // otherwise it keeps its index.
    bool follows_rows = false;
    const LiveFacts* facts = nullptr;
};

// Runs the screen until it ends: by ESC, backspace, a row that leaves, or when it has no rows left.
void ScreenLoop(const Screen& screen);

// A screen made of a table.
template <typename State>
struct TableScreen {
    std::span<const Row<State>> rows;
    TitleLines (*title)(const State&);
    Layout layout = Layout::Plain;
    void (*look)(State&) = nullptr;  // gathers what the rows show, before each rebuild
    bool follows_rows = false;
};

template <typename State>
void RunScreen(const TableScreen<State>& screen, State& state, const LiveFacts* facts = nullptr) {
    ScreenLoop({.add_rows =
                    [&](Menu& menu) {
                        if (screen.look != nullptr) screen.look(state);
                        AddRows(menu, screen.rows, std::as_const(state));
                    },
                .act = [&](int id) { return Act(screen.rows, id, state); },
                .turn = [&](int id) { return Turn(screen.rows, id, state); },
                .help = [&](int id) { return HelpOf(screen.rows, id); },
                .title = [&] { return screen.title(state); },
                .layout = screen.layout,
                .follows_rows = screen.follows_rows,
                .facts = facts});
}
