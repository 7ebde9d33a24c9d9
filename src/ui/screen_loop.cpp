#include "ui/screen_loop.h"

#include <curses.h>

#include "ui/colours.h"
#include "ui/terminal.h"
#include "ui/text.h"

namespace {

constexpr int kTitleIndent = 4;

void RebuildRows(const Screen& screen, Menu& menu) {
    menu.Clear();
    menu.rebuild = false;
    menu.redraw = true;
    screen.add_rows(menu);
}

// Makes the rows anew when it is asked for, or when the time for it has come.
void Refresh(const Screen& screen, Menu& menu, double& next_refresh) {
    const double now = now_seconds();
    const bool due = screen.refresh_seconds > 0 && now >= next_refresh;
    if (due) next_refresh = now + screen.refresh_seconds;
    if (menu.rebuild) {
        if (screen.abandon_refresh) screen.abandon_refresh();
    } else if (due && screen.start_refresh) {
        screen.start_refresh();
    }
    const bool done = screen.refresh_is_done && screen.refresh_is_done();
    if (menu.rebuild || done || (due && !screen.start_refresh)) RebuildRows(screen, menu);
}

void Repaint(const Screen& screen, Menu& menu) {
    menu.ClearRedraw();
    attrset(PairAttribute(Colour::Text));
    clear();
    screen.paint(menu);
    menu.Draw();
    refresh();
}

// HOME, END and the page keys can land on a row that is there to be read only, or that can't be
// chosen now: such a row does nothing.
void Activate(const Screen& screen, Menu& menu) {
    const MenuItem* item = menu.ItemAt(menu.selection);
    if (item == nullptr || item->Has(MenuItem::kUnselectable)) return;
    const MenuItem activated = *item;
    if (screen.abandon_refresh) screen.abandon_refresh();
    screen.act(menu, activated);
}

}  // namespace

void RunScreen(const Screen& screen) {
    Menu menu;
    menu.Init();
    menu.rebuild = true;
    double next_refresh = 0;
    do {
        Refresh(screen, menu, next_refresh);
        if (menu.NeedsRedraw()) Repaint(screen, menu);
        menu.Idle();
        const int key = ReadKey();
        if (key == KEY_MOUSE) menu.HandleMouse();
        if (screen.before_key) screen.before_key(menu, key);
        if (menu.HandleKey(key) == Menu::kActivate) Activate(screen, menu);
        if (screen.after_key) screen.after_key(menu);
    } while (menu.IsRunning());
}

void PaintTitle(const Menu& menu, int above, std::string_view title) {
    PrintAt(menu.y - above, menu.x - kTitleIndent, title);
}
