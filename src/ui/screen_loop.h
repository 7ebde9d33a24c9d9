// The loop that every screen runs around its Menu, written once: rebuild the rows when asked, paint
// when asked, read one key, let the menu take it, act on the row that was activated. A screen is
// its table of rows and what they do:
//
//     RunScreen<State>({.rows = kRows, .title = Title}, state);
//
// Rows whose facts take time to gather refresh every five seconds, while keys go on being answered.
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
    std::function<void()> forget;             // drops what is known: it is older than an action
    std::function<void()> ask;                // begins a round
    std::function<Answers(double now)> take;  // takes what has come
    std::function<void()> ask_kernel;         // asks anew what the kernel itself can say
    std::function<void()> stop;               // ends what is still being gathered
    std::function<void(Wake& wake)> await;    // adds what `take` waits for
};

// A screen without its state: ScreenLoop's view of it.
struct Screen {
    std::function<void(Menu&)> add_rows;
    std::function<Next(int id)> act;
    std::function<Next(int id)> turn;
    std::function<std::string_view(int id)> help;
    std::function<TitleLines()> title;
    Layout layout = Layout::Plain;
    // Whether the selection stays on its row when rows come or go above it at a refresh; otherwise
    // it keeps its index.
    bool follows_rows = false;
    const LiveFacts* facts = nullptr;
};

// Runs the screen until its menu stops: ESC, backspace, a row that ends it, or no rows left.
void ScreenLoop(const Screen& screen);

// A screen that is a table.
template <typename State>
struct TableScreen {
    std::span<const Row<State>> rows;
    TitleLines (*title)(const State&);
    Layout layout = Layout::Plain;
    void (*look)(State&) = nullptr;  // finds out what the rows show, each time before they are made
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
