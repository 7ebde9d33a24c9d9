// The loop that every screen runs around its Menu, written once: rebuild the rows when asked, paint
// when asked, read one key, let the menu take it, act on the row that was activated.
//
//     ScreenLoop({.add_rows = [](Menu& menu) { menu.AddItem("Back to main menu", 1); },
//                .paint = [](Menu& menu) { menu.SetSize(...); ... PaintTitle(menu, 2, "System"); },
//                .act = [](Menu& menu, const MenuItem& item) { menu.running = false; }});
#pragma once

#include <functional>
#include <string_view>

#include "ui/menu.h"

struct Screen {
    // Adds the rows to the cleared menu. Called at the first pass and whenever `rebuild` is set.
    std::function<void(Menu&)> add_rows;
    // On the cleared screen: sets the menu's position and size for the present LINES and COLS,
    // then prints the title and what else stands above the rows.
    std::function<void(Menu&)> paint;
    // Does what the activated row stands for. Afterwards sets `rebuild` or `redraw` when the
    // screen showed something else meanwhile, or clears `running`. The item is the caller's copy.
    std::function<void(Menu&, const MenuItem&)> act;
    // Sees each key (ERR too) before the menu does. Optional.
    std::function<void(Menu&, int key)> before_key = nullptr;
    // Comes last in each pass. Optional.
    std::function<void(Menu&)> after_key = nullptr;
    // Seconds after which the rows are made anew by themselves; 0: never.
    double refresh_seconds = 0;
    // For rows that take time to gather, so that no key waits for them. When the time has come,
    // `start_refresh` begins to gather, unless it is still at it; then each pass asks
    // `refresh_is_done`, and when it is, the rows are added from what was gathered. Before an
    // action, and before the rows are made anew for another reason, `abandon_refresh` drops what
    // was begun: it would be older than the action, and `add_rows` has to gather by itself.
    std::function<void()> start_refresh = nullptr;
    std::function<bool()> refresh_is_done = nullptr;
    std::function<void()> abandon_refresh = nullptr;
};

// Runs the screen until its menu stops: ESC, backspace, a row that ends it, or no rows left.
void ScreenLoop(const Screen& screen);

// Prints a screen's title `above` rows above the menu's first row and four columns to its left.
void PaintTitle(const Menu& menu, int above, std::string_view title);
