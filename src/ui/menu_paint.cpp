// Draws the rows of a Menu.
#include <curses.h>

#include <algorithm>

#include "ui/colours.h"
#include "ui/menu.h"
#include "ui/text.h"

namespace {

// The letter that marks a row's hot key, and its column in the row.
struct HotKeyMark {
    int letter;
    int column;
};

// The matching letter in the label, or the key itself one blank after the label.
HotKeyMark MarkOf(const MenuItem& item, int width) {
    const char* found = find_char_nocase(item.label.c_str(), item.hot_key);
    if (found == nullptr) {
        const int shown = width < 1 ? 0 : std::min(ColumnsOf(item.label), width);
        return {item.hot_key, shown + 1};
    }
    const auto offset = static_cast<std::size_t>(found - item.label.c_str());
    return {static_cast<unsigned char>(*found), ColumnsOf(item.label.substr(0, offset))};
}

}  // namespace

void Menu::Draw() const {
    for (int row = 0; row < height; ++row)
        DrawItem(top + row);
}

unsigned Menu::RowAttribute(int index) const {
    const MenuItem* item = ItemAt(index);
    if (item == nullptr) return PairAttribute(Colour::Text);
    const bool selected = index == selection;
    const bool hover = item->Has(MenuItem::kHover);
    const bool dim = item->Has(MenuItem::kDim);
    const unsigned weight = !dim && !inactive ? A_BOLD : A_DIM;
    if (item->Has(MenuItem::kMarked)) {
        return PairAttribute(Colour::Warning) | weight | (selected ? A_REVERSE : 0U);
    }
    if (selected) {
        return PairAttribute(inactive || hover ? Colour::SelectedHover : Colour::Selected) | weight;
    }
    if (inactive) return PairAttribute(Colour::Inactive) | weight;
    return PairAttribute(hover && !dim ? Colour::Hover : Colour::Text) | weight;
}

void Menu::DrawItem(int index) const {
    const int row = index - top;
    if (row < 0 || (row >= height && width < 1)) return;
    const MenuItem* item = ItemAt(index);
    // If the terminal is too small for the row, it would be drawn at the cursor.
    if (move(y + row, x) == ERR) return;
    attrset(RowAttribute(index));
    addwstr(FitColumns(item != nullptr ? item->label : "", width).c_str());
    if (item == nullptr || item->hot_key == 0) return;
    const HotKeyMark mark = MarkOf(*item, width);
    attrset(HotKeyAttribute(index == selection));
    if (move(y + row, x + mark.column) != ERR) addch(static_cast<chtype>(mark.letter));
}

void Menu::PlaceCursor() const {
    const int row = selection - top;
    const MenuItem* item = ItemAt(selection);
    if (item == nullptr || row < 0 || row >= height) return;
    const std::size_t blanks = item->label.find_first_not_of(' ');
    move(y + row, blanks < static_cast<std::size_t>(width) ? x + static_cast<int>(blanks) : x);
}
