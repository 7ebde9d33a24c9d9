#include "ui/help_area.h"

#include <curses.h>

#include <algorithm>
#include <string>

#include "ui/terminal.h"
#include "ui/text.h"

namespace {

constexpr int kSmallestWithHelp = 19;
constexpr int kHelpRows = 3;
constexpr int kHelpColumn = 4;

std::string_view NextHelpLine(std::string_view& help) {
    const std::size_t length = std::min(help.find('\n'), help.size());
    const std::string_view line = help.substr(0, length);
    help.remove_prefix(std::min(length + 1, help.size()));
    return line;
}

}  // namespace

void LayOutWithHelp(Menu& menu, HelpArea& area) {
    menu.SetPosition(4, 4);
    if (LINES < kSmallestWithHelp) {
        menu.SetSize(COLS - 5, LINES - 5);
    } else {
        menu.SetSize(COLS - 5, LINES - 9);
        area.row = LINES - 5;
    }
    area.shown_id = -1;
}

void PaintHelp(const Menu& menu, HelpArea& area, std::string_view help) {
    const MenuItem* item = menu.ItemAt(menu.selection);
    if (item == nullptr || item->id == area.shown_id) return;
    attrset(A_NORMAL);
    for (int row = 0; row < kHelpRows; ++row) {
        const std::wstring line = FitColumns(NextHelpLine(help), COLS - 8);
        if (move(area.row + row, kHelpColumn) != ERR) addwstr(line.c_str());
    }
    ShowScreen();
    area.shown_id = item->id;
}
