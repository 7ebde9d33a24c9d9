#include "app/system_screen.h"

#include <curses.h>

#include "ui/screen_loop.h"

namespace {

constexpr int kBack = 1;
constexpr int kColumns = 40;

void AddRows(Menu& menu) {
    menu.SetHotKey(menu.AddItem("Back to main menu", kBack), 'b');
}

void Paint(Menu& menu) {
    menu.SetPosition((COLS - kColumns) / 2, 4);
    menu.SetSize(kColumns, (LINES - 4) / 2);
    PaintTitle(menu, 2, "System");
}

void Act(Menu& menu, const MenuItem& item) {
    if (item.id == kBack) menu.running = false;
}

}  // namespace

void RunSystemScreen() {
    ScreenLoop({.add_rows = AddRows, .paint = Paint, .act = Act});
}
