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

// For rows whose facts take time to gather: the gathering goes on while keys are answered.
struct Gathering {
    std::function<void()> start = nullptr;  // begins anew
    std::function<bool()> is_done;          // takes what has come; true when that was the last
    // Whether there is more to show than before, though not all; asked while rows stand without it.
    std::function<bool()> has_news;
    // Waits until more comes or the descriptor `keyboard` has input (-1: none). False when neither
    // was so within that time.
    std::function<bool(int keyboard, double seconds)> wait;
    std::function<void()> abandon;  // drops what was begun: it has become too old to be shown
    // Without its first rows the screen can't tell what a key means: keys wait for them.
    bool keys_wait_for_first_rows = false;
};

struct Screen {
    // Adds the rows to the cleared menu: at the first pass, whenever `rebuild` is set, and when the
    // time for it has come. On a screen that gathers: when all is gathered, or earlier when a key
    // or the operator's patience does not let it wait. Then rows show nothing that is not known,
    // rather than what was so before.
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
    // Optional.
    Gathering gathering = {};
};

// Runs the screen until its menu stops: ESC, backspace, a row that ends it, or no rows left.
void ScreenLoop(const Screen& screen);

// Adds one row of a screen's table: the label with its id and hot key, or a separator where there
// is no label.
void AddTableRow(Menu& menu, const char* label, int id, int hot_key);

// Prints a screen's title `above` rows above the menu's first row and four columns to its left.
void PaintTitle(const Menu& menu, int above, std::string_view title);
