// Fuzzes the menu engine with any sequence of rows, sizes, keys and mouse events. Curses draws on a
// terminal that nobody sees; the cells are read back from its memory.
#include <curses.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "fuzz.h"
#include "ui/colours.h"
#include "ui/menu.h"
#include "ui/terminal.h"

namespace {

// Takes the parts of a session from the bytes, one by one; zeros after the end.
struct Bytes {
    unsigned Next() {
        if (left.empty()) return 0;
        const auto byte = static_cast<unsigned char>(left.front());
        left.remove_prefix(1);
        return byte;
    }
    int NextBelow(int limit) { return static_cast<int>(Next()) % limit; }
    std::string NextText() {
        const auto length = std::min<std::size_t>(Next() % 16, left.size());
        const std::string text(left.substr(0, length));
        left.remove_prefix(length);
        return text;
    }

    std::string_view left;
};

struct Session {
    Menu menu;
    bool sound = true;  // the selection has always been a valid row
};

constexpr int kKeys[] = {KEY_DOWN, KEY_UP,    KEY_HOME,   KEY_END,   KEY_NPAGE,     KEY_PPAGE,
                         '\n',     '\r',      KEY_ENTER,  kEscape,   KEY_BACKSPACE, ERR,
                         KEY_LEFT, KEY_RIGHT, KEY_RESIZE, KEY_MOUSE, kUnknownKey,   INT_MAX};

constexpr mmask_t kButtons[] = {REPORT_MOUSE_POSITION, BUTTON1_PRESSED,        BUTTON1_RELEASED,
                                BUTTON1_CLICKED,       BUTTON1_DOUBLE_CLICKED, BUTTON3_CLICKED};

void StartCurses() {
    static SCREEN* screen = nullptr;
    if (screen != nullptr) return;
    screen = newterm("xterm", std::fopen("/dev/null", "w"), std::fopen("/dev/null", "r"));
    Require(screen != nullptr, "there is a terminal");
    StartColours();
    StartKeyboard();
    mousemask(ALL_MOUSE_EVENTS | REPORT_MOUSE_POSITION, nullptr);
}

bool IsSelectable(const MenuItem* item) {
    return item != nullptr && !item->Has(MenuItem::kUnselectable);
}

bool HasSelectable(const Menu& menu) {
    return std::any_of(menu.items.begin(), menu.items.end(),
                       [](const MenuItem& item) { return IsSelectable(&item); });
}

// Checked after every key and every mouse event.
void CheckPlace(const Session& session) {
    const Menu& menu = session.menu;
    Require(menu.selection >= 0, "the selection is not negative");
    Require(menu.top >= 0, "the top is not negative");
    if (!session.sound || menu.Count() == 0) return;
    Require(menu.selection < menu.Count(), "the selection is a row");
}

void CheckVisible(const Session& session) {
    const Menu& menu = session.menu;
    if (!session.sound || menu.Count() == 0 || menu.height < 1) return;
    Require(menu.selection >= menu.top && menu.selection < menu.top + menu.height,
            "the selection is visible");
}

std::vector<std::pair<attr_t, wchar_t>> Cells(const Menu& menu) {
    std::vector<std::pair<attr_t, wchar_t>> cells;
    if (menu.width < 1) return cells;
    std::vector<cchar_t> row(static_cast<std::size_t>(menu.width) + 1);
    for (int line = menu.y; line < std::min(LINES, menu.y + menu.height); ++line) {
        if (mvin_wchnstr(line, menu.x, row.data(), menu.width) == ERR) continue;
        for (const cchar_t& cell : row)
            cells.emplace_back(cell.attr, cell.chars[0]);
    }
    return cells;
}

void Paint(Menu& menu) {
    attrset(A_NORMAL);
    erase();
    menu.Draw();
    menu.ClearRedraw();
}

// Rows repainted after keys and mouse events must look the same as after a full repaint.
void CheckPicture(Menu& menu) {
    if (menu.NeedsRedraw() || menu.x + menu.width > COLS) return;
    const auto piecewise = Cells(menu);
    Paint(menu);
    Require(Cells(menu) == piecewise, "a key repaints everything that changes");
}

void AddRow(Session& session, Bytes& bytes) {
    Menu& menu = session.menu;
    const unsigned kind = bytes.Next();
    if (kind % 4 == 0) {
        menu.AddSeparator();
    } else if (kind % 4 == 1) {
        menu.AddInformation(bytes.NextText(), -1);
    } else {
        const int index = menu.AddItem(bytes.NextText(), static_cast<int>(kind));
        menu.SetHotKey(index, "abc0r1"[bytes.NextBelow(6)]);
        menu.SetMarked(index, kind % 8 == 7);
    }
    menu.redraw = true;
}

void Resize(Session& session, Bytes& bytes) {
    const int lines = bytes.NextBelow(60) + 1;
    const int columns = bytes.NextBelow(140) + 1;
    resizeterm(lines, columns);
    session.menu.SetSize(columns - bytes.NextBelow(12), lines - bytes.NextBelow(12));
    session.menu.SetPosition(bytes.NextBelow(8), bytes.NextBelow(8));
    session.menu.redraw = true;
}

void PressKey(Session& session, int key) {
    Menu& menu = session.menu;
    const int before = menu.selection;
    const bool armed = menu.click_pending >= 1;
    const auto result = menu.HandleKey(key);
    // With a height below one row, page keys may lead anywhere; an invalid selection is ignored.
    if (!session.sound || menu.height < 1) session.sound = menu.selection < menu.Count();
    CheckPlace(session);
    Require(menu.Count() == 0 || menu.top < menu.Count(), "the top is a row");
    CheckVisible(session);
    const bool is_enter = key == '\n' || key == '\r' || key == KEY_ENTER;
    Require(!is_enter || result == Menu::kActivate, "ENTER activates");
    Require(is_enter || armed || result != Menu::kActivate, "only ENTER or a click activates");
    Require(result != Menu::kActivate || menu.selection == before || !session.sound,
            "an activation keeps the selection");
    const bool is_step = key == KEY_DOWN || key == KEY_UP;
    if (is_step && menu.Count() <= 100 && HasSelectable(menu)) {
        Require(IsSelectable(menu.ItemAt(menu.selection)), "a step ends on a selectable row");
    }
}

void MoveThereAndBack(Session& session, Bytes& bytes) {
    Menu& menu = session.menu;
    if (menu.Count() > 100 || !IsSelectable(menu.ItemAt(menu.selection))) return;
    const int before = menu.selection;
    const int steps = bytes.NextBelow(100);
    menu.MoveDown(steps);
    menu.MoveUp(steps);
    Require(menu.selection == before, "the same number of steps back returns");
}

void MoveMouse(Session& session, Bytes& bytes) {
    Menu& menu = session.menu;
    MEVENT event = {};
    event.bstate = kButtons[bytes.NextBelow(std::size(kButtons))];
    event.y = bytes.NextBelow(64) - 2;
    event.x = bytes.NextBelow(144) - 2;
    const bool was_armed = menu.click_pending >= 1;
    if (ungetmouse(&event) != OK) return;
    // Don't read the KEY_MOUSE itself: curses would then expect the bytes of a mouse report.
    flushinp();
    menu.HandleMouse();
    CheckPlace(session);
    int hovered = 0;
    for (int index = menu.top; index < menu.top + menu.height; ++index) {
        const MenuItem* item = menu.ItemAt(index);
        if (item != nullptr && item->Has(MenuItem::kHover)) ++hovered;
    }
    Require(hovered <= 1, "the pointer is on at most one row");
    if (menu.click_pending < 1 || was_armed) return;
    const MenuItem* clicked = menu.ItemAt(menu.selection);
    Require(clicked != nullptr && !clicked->Has(MenuItem::kDim),
            "a click selects only selectable rows");
    Require(event.y == menu.y + menu.selection - menu.top, "a click acts on the row under it");
}

void ChangeRows(Session& session, Bytes& bytes) {
    session.menu.Clear();
    for (int rows = bytes.NextBelow(40); rows > 0; --rows)
        AddRow(session, bytes);
    session.menu.redraw = true;
    session.sound = session.menu.selection < session.menu.Count();
}

void Step(Session& session, Bytes& bytes) {
    switch (bytes.Next() % 8) {
        case 0:
            AddRow(session, bytes);
            if (session.menu.Count() == 1) session.sound = session.menu.selection == 0;
            break;
        case 1:
            Resize(session, bytes);
            break;
        case 2:
            ChangeRows(session, bytes);
            break;
        case 3:
            PressKey(session, bytes.NextBelow(256));
            break;
        case 4:
            MoveThereAndBack(session, bytes);
            session.menu.redraw = true;
            break;
        case 5:
            MoveMouse(session, bytes);
            PressKey(session, KEY_MOUSE);
            break;
        default:
            PressKey(session, kKeys[bytes.NextBelow(std::size(kKeys))]);
            break;
    }
}

}  // namespace

void FuzzMenu(std::string_view text) {
    StartCurses();
    resizeterm(24, 80);
    Session session;
    session.menu.Init();
    Bytes bytes{text};
    while (!bytes.left.empty()) {
        Step(session, bytes);
        if (session.menu.NeedsRedraw()) Paint(session.menu);
    }
    CheckPicture(session.menu);
}
