#include "ui/layout.h"

#include <curses.h>

#include <algorithm>
#include <string>

#include "ui/terminal.h"
#include "ui/text.h"

namespace {

constexpr int kTitleIndent = 4;
constexpr int kTitleDistance = 2;
constexpr int kNarrowWidth = 40;
constexpr int kSmallestWithHelp = 19;
constexpr int kHelpRows = 3;
constexpr int kHelpColumn = 4;

// Removes the first line from the text.
std::string_view NextLineOf(std::string_view& text) {
    const std::size_t length = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, length);
    text.remove_prefix(std::min(length + 1, text.size()));
    return line;
}

}  // namespace

void LayOut(Layout layout, Menu& menu, HelpArea& help) {
    const bool has_help = layout == Layout::Help || layout == Layout::RoomyHelp;
    const int first_line = layout == Layout::Main ? 5 : 4;
    help.shown_id = -1;
    if (layout == Layout::Narrow) {
        menu.SetPosition((COLS - kNarrowWidth) / 2, first_line);
        menu.SetSize(kNarrowWidth, (LINES - first_line) / 2);
        return;
    }
    menu.SetPosition(4, first_line);
    menu.SetSize(COLS - 5, LINES - first_line - 1);
    if (has_help && LINES >= kSmallestWithHelp) {
        menu.SetSize(COLS - 5, LINES - 9);
        help.row = LINES - 5;
    }
}

void PaintTitle(const Menu& menu, const TitleLines& title) {
    int line = menu.y - kTitleDistance - static_cast<int>(title.size());
    for (const std::string& text : title)
        PrintAt(++line, menu.x - kTitleIndent, text);
}

void PaintHelp(Layout layout, const Menu& menu, HelpArea& area, std::string_view help) {
    const bool has_help =
        layout == Layout::Help || (layout == Layout::RoomyHelp && LINES >= kSmallestWithHelp);
    const MenuItem* item = menu.ItemAt(menu.selection);
    if (!has_help || item == nullptr || item->id == area.shown_id) return;
    attrset(A_NORMAL);
    for (int row = 0; row < kHelpRows; ++row) {
        const std::wstring line = FitColumns(NextLineOf(help), COLS - 8);
        if (move(area.row + row, kHelpColumn) != ERR) addwstr(line.c_str());
    }
    menu.PlaceCursor();
    ShowScreen();
    area.shown_id = item->id;
}
