#include "ui/screen_loop.h"

#include <curses.h>

#include <algorithm>
#include <optional>

#include "ui/colours.h"
#include "ui/terminal.h"
#include "util/clock.h"

namespace {

constexpr double kRefreshSeconds = 5;

// Rows are held back until they are complete, so that they are painted once and do not flicker, but
// not longer than this after the last news. Before it has the list of its first rows a screen can't
// tell what a key means, so keys typed ahead wait for the list, up to the long limit.
constexpr double kPatienceSeconds = 0.5;
constexpr double kLongPatienceSeconds = 5;

// The progress of a round.
struct Progress {
    Known known = Known::Nothing;      // known in this round
    Known shown = Known::Nothing;      // shown in this round
    Known on_screen = Known::Nothing;  // completeness of the rows; Nothing: held back
    double due = 0;                    // start of the next round
    double held_until = 0;
    double keys_held_until = 0;
};

struct Loop {
    const Screen& screen;
    Menu menu = {};
    HelpArea help = {};
    Next next = Next::Rebuild;
    Progress progress = {};
};

bool IsHeld(const Loop& loop) {
    return loop.screen.facts != nullptr && loop.progress.on_screen == Known::Nothing;
}

bool HasRows(const Loop& loop) {
    return loop.menu.Count() != 0;
}

void MakeRows(Loop& loop, bool follow) {
    Menu& menu = loop.menu;
    std::optional<MenuItem> selected;
    if (const MenuItem* item = menu.ItemAt(menu.selection)) selected = *item;
    menu.Clear();
    loop.screen.add_rows(menu);
    if (follow && selected) menu.FollowRow(*selected);
    menu.redraw = true;
    loop.next = Next::Stay;
}

void Paint(Loop& loop) {
    Menu& menu = loop.menu;
    menu.ClearRedraw();
    attrset(PairAttribute(Colour::Text));
    clear();
    LayOut(loop.screen.layout, menu, loop.help);
    PaintTitle(menu, loop.screen.title());
    menu.FitView();
    menu.Draw();
    menu.PlaceCursor();
    ShowScreen();
}

void PaintHelpOfSelection(Loop& loop) {
    const MenuItem* item = loop.menu.ItemAt(loop.menu.selection);
    if (item == nullptr) return;
    PaintHelp(loop.screen.layout, loop.menu, loop.help, loop.screen.help(item->id));
}

// ---- live rows ----

void BeginRound(Loop& loop, double now) {
    Progress& progress = loop.progress;
    loop.screen.facts->ask();
    progress.known = progress.shown = Known::Nothing;
    // A round that follows an action leaves the schedule alone.
    if (now >= progress.due) progress.due = now + kRefreshSeconds;
    progress.held_until = now + kPatienceSeconds;
}

// After an action, what was known may be out of date.
void StartOver(Loop& loop, double now) {
    loop.screen.facts->forget();
    BeginRound(loop, now);
    loop.progress.on_screen = Known::Nothing;
    loop.menu.redraw = true;
    loop.progress.keys_held_until = now + kLongPatienceSeconds;
    loop.next = Next::Stay;
}

// While rows are incomplete, the selection follows its row.
void ShowFacts(Loop& loop) {
    Progress& progress = loop.progress;
    const bool incomplete = progress.known != Known::All || progress.on_screen == Known::Part;
    MakeRows(loop, loop.screen.follows_rows || incomplete);
    progress.shown = progress.known;
    progress.on_screen = progress.known == Known::All ? Known::All : Known::Part;
}

// Shows rows that are held back as soon as possible.
void ShowHeldFacts(Loop& loop, double now) {
    const Progress& progress = loop.progress;
    const bool first = !HasRows(loop);
    const bool whole = progress.known == Known::All;
    const bool hurried = first && progress.known == Known::Part && KeyIsTyped();
    if (!whole && !hurried && now < progress.held_until) return;
    if (progress.known != Known::Nothing || !first || !KeyIsTyped()) return ShowFacts(loop);
    if (now < progress.keys_held_until) return;
    ShowFacts(loop);
    DropKeys();
}

bool HasNews(const Progress& progress) {
    if (progress.shown == Known::All) return false;
    return progress.on_screen == Known::Part ? progress.known > progress.shown
                                             : progress.known == Known::All;
}

void TakeAnswers(Loop& loop, double now) {
    Progress& progress = loop.progress;
    const Answers answers = loop.screen.facts->take(now);
    if (answers.known != progress.known) progress.held_until = now + kPatienceSeconds;
    progress.known = answers.known;
    if (answers.late) progress.shown = Known::Nothing;
}

// Shows new answers and, at the end of a round, what is still missing. A round may end as soon as
// it starts, if no command can be started.
void ShowNewFacts(Loop& loop, double now) {
    const Progress& progress = loop.progress;
    const bool is_due = now >= progress.due;
    const bool is_behind = is_due && progress.shown != Known::All;
    if (HasNews(progress) || is_behind) {
        // A waiting key was typed for the rows on the screen.
        if (InputIsWaiting()) return;
        if (is_behind) loop.screen.facts->ask_kernel();
        ShowFacts(loop);
    }
    if (!is_due) return;
    BeginRound(loop, now);
    TakeAnswers(loop, now);
    if (HasNews(progress) && !InputIsWaiting()) ShowFacts(loop);
}

void FollowFacts(Loop& loop) {
    const double now = MonotonicSeconds();
    if (loop.next == Next::Rebuild) StartOver(loop, now);
    TakeAnswers(loop, now);
    if (IsHeld(loop)) {
        ShowHeldFacts(loop, now);
    } else {
        ShowNewFacts(loop, now);
    }
}

Wake WakeOf(const Loop& loop) {
    Wake wake;
    if (loop.screen.facts == nullptr) return wake;
    const Progress& progress = loop.progress;
    wake.until = progress.due;
    if (IsHeld(loop)) {
        const bool over = MonotonicSeconds() >= progress.held_until;
        wake.until = over ? progress.keys_held_until : progress.held_until;
    }
    loop.screen.facts->await(wake);
    return wake;
}

// Held-back rows are shown at the first key. A mouse movement is not a key.
bool ShowsHeldRowsFor(int key) {
    return key != ERR && key != KEY_RESIZE && key != kUnknownKey &&
           !(key == KEY_MOUSE && DropMouseMotion());
}

// ---- keys ----

void Do(Loop& loop, Next next) {
    const Progress& progress = loop.progress;
    const bool has_aged = loop.screen.facts != nullptr &&
                          (progress.on_screen != Known::All || MonotonicSeconds() >= progress.due);
    if (next == Next::Paint && has_aged) next = Next::Rebuild;
    if (next == Next::Leave) loop.menu.running = false;
    if (next == Next::Paint) loop.menu.redraw = true;
    if (next == Next::Rebuild) loop.next = next;
}

// HOME, END and the page keys can select information rows and closed rows: these do nothing.
void Activate(Loop& loop) {
    const MenuItem* item = loop.menu.ItemAt(loop.menu.selection);
    if (item == nullptr || item->Has(MenuItem::kUnselectable)) return;
    const int id = item->id;
    if (loop.screen.facts != nullptr) {
        // The action may take long, and would make answers that are still to come out of date.
        if (loop.progress.known != Known::All) loop.progress.due = 0;
        loop.screen.facts->stop();
    }
    Do(loop, loop.screen.act(id));
}

void TurnSelected(Loop& loop) {
    const MenuItem* item = loop.menu.ItemAt(loop.menu.selection);
    if (item != nullptr) Do(loop, loop.screen.turn(item->id));
}

void TakeKey(Loop& loop, int key) {
    if (key == KEY_MOUSE) loop.menu.HandleMouse();
    if (key == KEY_LEFT || key == KEY_RIGHT || key == ' ') TurnSelected(loop);
    if (loop.menu.HandleKey(key) == Menu::kActivate) Activate(loop);
}

void WaitForKey(Loop& loop) {
    if (!IsHeld(loop)) return TakeKey(loop, ReadKey(WakeOf(loop)));
    if (!HasRows(loop)) {
        const bool keys_wait = loop.progress.known == Known::Nothing;
        return keys_wait ? AwaitWithoutKeys(WakeOf(loop)) : AwaitInput(WakeOf(loop));
    }
    if (!ReenterForInput(WakeOf(loop))) return;
    const int key = ReadKey(WakeOf(loop));
    if (!ShowsHeldRowsFor(key)) return;
    // The key was typed for the rows shown last, which may have changed since.
    if (key != KEY_MOUSE) TakeKey(loop, key);
    if (IsHeld(loop) && loop.next == Next::Stay && loop.menu.running) ShowFacts(loop);
}

}  // namespace

void ScreenLoop(const Screen& screen) {
    Loop loop{screen};
    Menu& menu = loop.menu;
    menu.Init();
    do {
        if (screen.facts != nullptr) FollowFacts(loop);
        if (screen.facts == nullptr && loop.next == Next::Rebuild) MakeRows(loop, false);
        if (!IsHeld(loop)) {
            if (menu.NeedsRedraw()) Paint(loop);
            PaintHelpOfSelection(loop);
        }
        WaitForKey(loop);
    } while (IsHeld(loop) ? menu.running : menu.IsRunning());
    if (screen.facts != nullptr) screen.facts->stop();
}
