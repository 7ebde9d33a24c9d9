// Rows, moves, hot keys, scrolling and clicks; menu_paint.cpp draws the rows.
#include "ui/menu.h"

#include <curses.h>

#include <algorithm>

#include "ui/terminal.h"
#include "util/clock.h"

namespace {

// A menu of only unselectable rows must not hang.
constexpr int kMostSteps = 101;

// How long a click on the selected row waits for the next key pass, which activates the row.
constexpr double kClickSeconds = 0.4;

bool AreSameRow(const MenuItem& a, const MenuItem& b) {
    if (!a.name.empty() || !b.name.empty()) return a.name == b.name;
    return a.id == b.id && (a.id > 0 || a.label == b.label);
}

}  // namespace

void MenuItem::Set(Flag flag, bool on) {
    flags = static_cast<std::uint8_t>(on ? flags | flag : flags & ~flag);
}

void Menu::Init() {
    inactive = false;
    selection = 0;
    redraw = true;
    top = 0;
    running = true;
    SetSize(COLS - 8, LINES - 8);
    SetPosition(4, 4);
    click_pending = -1;
    click_time = 0;
}

const MenuItem* Menu::ItemAt(int index) const {
    return index >= 0 && index < Count() ? &items[static_cast<std::size_t>(index)] : nullptr;
}

int Menu::AddBlank() {
    items.emplace_back();
    return Count() - 1;
}

int Menu::AddItem(std::string_view label, int id) {
    const int index = AddBlank();
    items.back().label = label;
    items.back().id = id;
    return index;
}

int Menu::AddSeparator() {
    return AddInformation("", 0);
}

int Menu::AddInformation(std::string_view label, int id) {
    const int index = AddItem(label, id);
    items.back().Set(MenuItem::kDim, true);
    items.back().Set(MenuItem::kUnselectable, true);
    return index;
}

void Menu::Clear() {
    items.clear();
}

void Menu::SetHotKey(int index, int key) {
    if (ItemAt(index) != nullptr) items[static_cast<std::size_t>(index)].hot_key = key;
}

void Menu::SetName(int index, std::string_view name) {
    if (ItemAt(index) != nullptr) items[static_cast<std::size_t>(index)].name = name;
}

void Menu::SetMarked(int index, bool on) {
    if (ItemAt(index) != nullptr) {
        items[static_cast<std::size_t>(index)].Set(MenuItem::kMarked, on);
    }
}

void Menu::SetPosition(int column, int line) {
    x = column;
    y = line;
}

void Menu::SetSize(int columns, int lines) {
    width = columns;
    height = lines;
}

Menu::Result Menu::HandleKey(int key) {
    const int old_selection = selection;
    const int old_top = top;
    const Result result = TakeKey(key);
    KeepVisible();
    const bool is_changed = top != old_top || selection != old_selection;
    // If a full repaint is due, nothing is painted here.
    if (is_changed && !NeedsRedraw()) {
        if (top != old_top) {
            Draw();
        } else {
            DrawItem(old_selection);
            DrawItem(selection);
        }
        Show();
    }
    if (click_pending >= 1 && result == kNotTaken) {
        click_pending = -1;
        return now_seconds() < click_time + kClickSeconds ? kActivate : kNotTaken;
    }
    return result;
}

Menu::Result Menu::TakeKey(int key) {
    switch (key) {
        case KEY_DOWN:
            MoveDown(1);
            return kConsumed;
        case KEY_UP:
            MoveUp(1);
            return kConsumed;
        case KEY_HOME:
            selection = 0;
            return kConsumed;
        case KEY_END:
            selection = Count() - 1;
            return kConsumed;
        case KEY_NPAGE:
            PageDown();
            return kConsumed;
        case KEY_PPAGE:
            PageUp();
            return kConsumed;
        case KEY_BACKSPACE:
        case kEscape:
            running = false;
            return kConsumed;
        case KEY_RESIZE:
            redraw = true;
            return kConsumed;
        case '\n':
        case '\r':
        case KEY_ENTER:
            return kActivate;
        default:
            return SelectByHotKey(key) >= 0 ? kConsumed : kNotTaken;
    }
}

void Menu::MoveUp(int steps) {
    for (; steps > 0; --steps)
        Step(-1);
}

void Menu::MoveDown(int steps) {
    for (; steps > 0; --steps)
        Step(+1);
}

void Menu::Step(int direction) {
    if (items.empty()) return;
    for (int steps = 0; steps < kMostSteps; ++steps) {
        selection += direction;
        // Rows may have disappeared since the selection was made: moving up from beyond the last
        // row selects the last row.
        if (selection >= Count()) selection = direction > 0 ? 0 : Count() - 1;
        if (selection < 0) selection = Count() - 1;
        if (!ItemAt(selection)->Has(MenuItem::kUnselectable)) return;
    }
}

void Menu::PageDown() {
    const int bottom = top + height - 1;
    const int last = Count() - 1;
    if (selection != bottom) {
        selection = bottom;
    } else if (selection != last) {
        selection += height - 1;
    }
    selection = std::min(selection, last);
}

void Menu::PageUp() {
    if (selection != top) {
        selection = top;
    } else if (selection >= 1) {
        selection = std::max(selection - height + 1, 0);
    }
}

void Menu::KeepVisible() {
    selection = std::max(selection, 0);
    if (selection < top) {
        top = selection;
    } else if (selection >= top + height) {
        top = selection - (height - 1);
    }
    top = std::max(std::min(top, Count() - 1), 0);
}

void Menu::FollowRow(const MenuItem& row) {
    for (int distance = 0; distance < Count() + selection; ++distance) {
        for (int index : {selection - distance, selection + distance}) {
            const MenuItem* item = ItemAt(index);
            if (item == nullptr || !AreSameRow(*item, row)) continue;
            selection = index;
            return;
        }
    }
    FitView();
    while (row.Has(MenuItem::kUnselectable) && selection > 0 &&
           !ItemAt(selection)->Has(MenuItem::kUnselectable)) {
        --selection;
    }
}

void Menu::FitView() {
    selection = std::min(selection, Count() - 1);
    top = std::min(top, Count() - height);
    KeepVisible();
}

int Menu::SelectByHotKey(int key) {
    if (key <= 0) return -1;
    for (int step = 1; step <= Count(); ++step) {
        const int index = (selection + step) % Count();
        const MenuItem& item = *ItemAt(index);
        if (!item.Has(MenuItem::kUnselectable) && item.hot_key == key) return selection = index;
    }
    return -1;
}

void Menu::HandleMouse() {
    MEVENT event = {};
    if (getmouse(&event) != OK) return;
    SetHover(event.y, event.x);
    if ((event.bstate & BUTTON1_PRESSED) != 0) SelectAt(event.y, event.x);
    if ((event.bstate & (BUTTON1_CLICKED | BUTTON1_DOUBLE_CLICKED)) != 0) {
        ArmClick(event.y, event.x);
        SelectAt(event.y, event.x);
    }
    Show();
}

void Menu::Show() const {
    PlaceCursor();
    ShowScreen();
}

void Menu::SetHover(int line, int column) {
    for (int index = top; index < top + height && index < Count(); ++index) {
        const bool hovered = line == y + index - top && column >= x && column < x + width;
        MenuItem& item = items[static_cast<std::size_t>(index)];
        if (item.Has(MenuItem::kHover) != hovered) {
            item.Set(MenuItem::kHover, hovered);
            DrawItem(index);
        }
    }
}

bool Menu::IsHit(int index, int line, int column) const {
    const MenuItem* item = ItemAt(index);
    const int row = index - top;
    if (row < 0 || (row >= height && width < 1) || item == nullptr) return false;
    return line == y + row && column >= x && column < x + width && !item->Has(MenuItem::kDim);
}

int Menu::RowAt(int line, int column) const {
    for (int index = top; index < top + height; ++index) {
        if (IsHit(index, line, column)) return index;
    }
    return -1;
}

void Menu::SelectAt(int line, int column) {
    const int old_selection = selection;
    // A click outside the list selects the first row.
    selection = std::max(RowAt(line, column), 0);
    if (selection != old_selection) {
        DrawItem(old_selection);
        DrawItem(selection);
    }
}

void Menu::ArmClick(int line, int column) {
    const int index = RowAt(line, column);
    if (index >= 0 && index == selection && click_pending <= 0) {
        click_pending = 1;
        click_time = now_seconds();
    }
}
