#include "ui/screen_loop.h"

#include <curses.h>
#include <unistd.h>

#include "ui/colours.h"
#include "ui/terminal.h"
#include "ui/text.h"

namespace {

constexpr int kTitleIndent = 4;

// A screen waits for its rows to be whole, so that it is painted once and does not flicker, but not
// longer than this for one more answer, nor than that for all of them. Then it stands without the
// rest.
constexpr double kPatienceSeconds = 0.5;
constexpr double kLongPatienceSeconds = 5;

// When the rows are next made anew by themselves, and how far their gathering is.
struct Schedule {
    double next = 0;
    bool gathering = false;
    bool partial = false;  // the rows stand, but without what is being gathered
};

void RebuildRows(const Screen& screen, Menu& menu) {
    menu.Clear();
    menu.rebuild = false;
    menu.redraw = true;
    screen.add_rows(menu);
}

// Rows that come or go while the operator moves among them must not move the selection to another.
void RebuildAroundSelection(const Screen& screen, Menu& menu) {
    const MenuItem* selected = menu.ItemAt(menu.selection);
    const int id = selected != nullptr ? selected->id : 0;
    RebuildRows(screen, menu);
    menu.SelectById(id);
}

void StartGathering(const Screen& screen, Schedule& schedule) {
    screen.gathering.start();
    schedule.gathering = true;
}

void AbandonGathering(const Screen& screen, Schedule& schedule) {
    if (schedule.gathering) screen.gathering.abandon();
    schedule.gathering = false;
}

void ShowGathered(const Screen& screen, Menu& menu, Schedule& schedule) {
    if (schedule.partial) {
        RebuildAroundSelection(screen, menu);
    } else {
        RebuildRows(screen, menu);
    }
    schedule.gathering = schedule.partial = false;
}

void ShowWhatIsKnown(const Screen& screen, Menu& menu, Schedule& schedule) {
    screen.gathering.has_news();  // is shown now
    RebuildAroundSelection(screen, menu);
    schedule.partial = true;
}

// Until the rows are there, or a key that must not wait for them.
void AwaitRows(const Screen& screen, Menu& menu, Schedule& schedule) {
    const bool keys_wait = screen.gathering.keys_wait_for_first_rows && menu.Count() == 0;
    const double end = now_seconds() + kLongPatienceSeconds;
    for (;;) {
        if (screen.gathering.is_done()) return ShowGathered(screen, menu, schedule);
        const bool came = screen.gathering.wait(keys_wait ? -1 : STDIN_FILENO, kPatienceSeconds);
        if (!came || now_seconds() > end || (!keys_wait && KeyIsWaiting())) {
            return ShowWhatIsKnown(screen, menu, schedule);
        }
    }
}

// Rows that are gathered: anew at once when the screen asks for it, as what was begun earlier
// would be older than its reason; beside the keys when the time has come.
void GatherRows(const Screen& screen, Menu& menu, Schedule& schedule, bool due) {
    if (menu.rebuild) {
        menu.rebuild = false;
        AbandonGathering(screen, schedule);
        StartGathering(screen, schedule);
        schedule.partial = false;
        AwaitRows(screen, menu, schedule);
    } else if (due && !schedule.gathering) {
        StartGathering(screen, schedule);
    } else if (schedule.gathering && screen.gathering.is_done()) {
        ShowGathered(screen, menu, schedule);
    } else if (schedule.partial && screen.gathering.has_news()) {
        ShowWhatIsKnown(screen, menu, schedule);
    }
}

// Makes the rows anew when it is asked for, or when the time for it has come.
void Refresh(const Screen& screen, Menu& menu, Schedule& schedule) {
    const double now = now_seconds();
    const bool due = screen.refresh_seconds > 0 && now >= schedule.next;
    if (due) schedule.next = now + screen.refresh_seconds;
    if (screen.gathering.start) {
        GatherRows(screen, menu, schedule, due);
    } else if (menu.rebuild || due) {
        RebuildRows(screen, menu);
    }
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
    // What was due stays due; rows without what they lack are no rows to come back to.
    if (schedule.gathering) schedule.next = 0;
    if (schedule.partial) menu.rebuild = true;
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
    AbandonGathering(screen, schedule);
}

void AddTableRow(Menu& menu, const char* label, int id, int hot_key) {
    if (label == nullptr) {
        menu.AddSeparator();
    } else {
        menu.SetHotKey(menu.AddItem(label, id), hot_key);
    }
}

void PaintTitle(const Menu& menu, int above, std::string_view title) {
    PrintAt(menu.y - above, menu.x - kTitleIndent, title);
}
