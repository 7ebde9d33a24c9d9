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

// When the rows are next made anew by themselves, and whether what they need is being gathered.
struct Schedule {
    double next = 0;
    bool gathering = false;
};

void AbandonGathering(const Screen& screen, Schedule& schedule) {
    if (schedule.gathering) screen.abandon_refresh();
    schedule.gathering = false;
}

// Makes the rows anew when it is asked for, or when the time for it has come.
void Refresh(const Screen& screen, Menu& menu, Schedule& schedule) {
    const double now = now_seconds();
    const bool due = screen.refresh_seconds > 0 && now >= schedule.next;
    if (due) schedule.next = now + screen.refresh_seconds;
    if (due && !screen.start_refresh) menu.rebuild = true;
    if (menu.rebuild) {
        AbandonGathering(screen, schedule);
    } else if (due && !schedule.gathering) {
        screen.start_refresh();
        schedule.gathering = true;
    }
    if (schedule.gathering && screen.refresh_is_done()) {
        schedule.gathering = false;
        menu.rebuild = true;
    }
    if (menu.rebuild) RebuildRows(screen, menu);
}

void Repaint(const Screen& screen, Menu& menu) {
    menu.ClearRedraw();
    attrset(PairAttribute(Colour::Text));
    clear();
    screen.paint(menu);
    menu.Draw();
    ShowScreen();
}

// HOME, END and the page keys can land on a row that is there to be read only, or that can't be
// chosen now: such a row does nothing.
void Activate(const Screen& screen, Menu& menu, Schedule& schedule) {
    const MenuItem* item = menu.ItemAt(menu.selection);
    if (item == nullptr || item->Has(MenuItem::kUnselectable)) return;
    const MenuItem activated = *item;
    // What was due stays due.
    if (schedule.gathering) schedule.next = 0;
    AbandonGathering(screen, schedule);
    screen.act(menu, activated);
}

}  // namespace

void ScreenLoop(const Screen& screen) {
    Menu menu;
    menu.Init();
    menu.rebuild = true;
    Schedule schedule;
    do {
        Refresh(screen, menu, schedule);
        if (menu.NeedsRedraw()) Repaint(screen, menu);
        menu.Idle();
        const int key = ReadKey();
        if (key == KEY_MOUSE) menu.HandleMouse();
        if (screen.before_key) screen.before_key(menu, key);
        if (menu.HandleKey(key) == Menu::kActivate) Activate(screen, menu, schedule);
        if (screen.after_key) screen.after_key(menu);
    } while (menu.IsRunning());
}

void PaintTitle(const Menu& menu, int above, std::string_view title) {
    PrintAt(menu.y - above, menu.x - kTitleIndent, title);
}
