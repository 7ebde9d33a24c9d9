// The menu that every screen uses, tested on the main menu: the effect of keys and mouse, and the
// look of the rows.
#include <gtest/gtest.h>

#include <algorithm>

#include "held_output.h"
#include "main_menu_test.h"

namespace harness {
namespace {

// The main menu of a machine with twelve bridges: 34 rows, 0 to 33.
constexpr int kBridges = 12;
constexpr int kLastRow = 33;

std::vector<std::string> RowsWithBridges() {
    std::vector<std::string> rows = kActionRows;
    rows.push_back("");
    for (unsigned i = 1; i <= kBridges; i++) {
        char text[100];
        std::snprintf(text, sizeof text, "%u. %-6s  02:00:00:00:00:%02X  Disconnected", i,
                      ("br" + std::to_string(i)).c_str(), i);
        rows.insert(rows.end(), {text, ""});
    }
    rows.push_back("Exit this program");
    return rows;
}

class TwelveBridges : public testing::Test {
  protected:
    TwelveBridges() { AddBridges(box, kBridges); }

    // Waits until the list starts at row `top` and row `selection` is selected.
    void WaitForView(Terminal& t, int top, int selection, Place place = Place::current()) {
        const auto shown = [&] {
            for (int line = kFirstLine; line < t.rows() - 1; line++) {
                const size_t row = static_cast<size_t>(top + line - kFirstLine);
                const std::string text = row < rows.size() ? rows[row] : "";
                if (t.Row(line) != (text.empty() ? "" : "    " + text)) return false;
            }
            return t.SelectedRow() == kFirstLine + selection - top;
        };
        t.WaitUntil(shown,
                    "rows from " + std::to_string(top) + " on, row " + std::to_string(selection) +
                        " selected",
                    Terminal::kPatience, place);
    }

    struct Step {
        const char* keys;
        int top;
        int selection;
    };

    void Walk(Terminal& t, const std::vector<Step>& steps, Place place = Place::current()) {
        for (const Step& step : steps) {
            t.Press(step.keys, place);
            WaitForView(t, step.top, step.selection, place);
        }
    }

    Machine box;
    const std::vector<std::string> rows = RowsWithBridges();
};

// An interface with an address, and two default routes, for rows of every kind. The interface is
// row 9, its address row 10, the warning row 12, the exit row 14.
class RowsOfEveryKind : public testing::Test {
  protected:
    RowsOfEveryKind() {
        box.AddTap("eth0");
        box.Sh(
            "ip link set eth0 address 02:00:00:00:00:0a up; ip addr add 10.1.2.3/24 dev eth0;"
            "ip route add default via 10.1.2.1; ip route add default via 10.1.2.9 metric 7");
    }

    Machine box;
};

constexpr int kInterfaceLine = kFirstLine + 9;
constexpr int kAddressLine = kFirstLine + 10;
constexpr int kWarningLine = kFirstLine + 12;
constexpr int kExitLine = kFirstLine + 14;

// ---- keys ----

using MenuKeys = TwelveBridges;

TEST_F(MenuKeys, UpAndDownSkipSeparatorsAndWrap) {
    MainMenu t(box, OfSize(40, 80));
    WaitForView(t, 0, 0);
    std::vector<Step> down;
    for (int row = 1; row <= 7; row++)
        down.push_back({"<Down>", 0, row});
    for (int row = 9; row <= kLastRow; row += 2)
        down.push_back({"<Down>", 0, row});
    down.push_back({"<Down>", 0, 0});
    Walk(t, down);
    Walk(t, {{"<Up>", 0, 33}, {"<Up>", 0, 31}, {"<Up>", 0, 29}, {"<Up>", 0, 27}});
    Walk(t, {{"1", 0, 9}, {"<Up>", 0, 7}, {"<Up>", 0, 6}});
}

TEST_F(RowsOfEveryKind, UpAndDownSkipInformation) {
    MainMenu t(box);
    t.Press("1");
    t.WaitSelected("1. eth0");
    t.Press("<Down>");
    t.WaitSelected("Exit this program");
    t.Press("<Up>");
    t.WaitSelected("1. eth0");
}

TEST_F(MenuKeys, TheListScrollsWithTheSelection) {
    MainMenu t(box, OfSize(12, 80));  // six rows
    WaitForView(t, 0, 0);
    // Down: scrolls one row, only when the selection would leave the screen.
    Walk(t, {{"<Down><Down><Down><Down><Down>", 0, 5}, {"<Down>", 1, 6}, {"<Down>", 2, 7}});
    Walk(t, {{"<Down>", 4, 9}, {"<Down>", 6, 11}});
    // Up: the same at the top.
    Walk(t, {{"<Up>", 6, 9}, {"<Up>", 6, 7}, {"<Up>", 6, 6}, {"<Up>", 5, 5}, {"<Up>", 4, 4}});
    Walk(t, {{"<End>", 28, 33}, {"<Up>", 28, 31}, {"<Up>", 28, 29}, {"<Up>", 27, 27}});
    // Wrapping at both ends.
    Walk(t, {{"<Home>", 0, 0}, {"<Up>", 28, 33}, {"<Down>", 0, 0}});
    // A hot key finds rows that are not visible.
    Walk(t, {{"9", 20, 25}, {"1", 9, 9}, {"2", 9, 11}, {"e", 28, 33}});
}

TEST_F(MenuKeys, PageKeysGoToTheEdgeThenByAPageLessOneRow) {
    MainMenu t(box, OfSize(12, 80));  // six rows
    WaitForView(t, 0, 0);
    Walk(t, {{"<PageDown>", 0, 5},
             {"<PageDown>", 5, 10},
             {"<PageDown>", 10, 15},
             {"<PageDown>", 15, 20},
             {"<PageDown>", 20, 25},
             {"<PageDown>", 25, 30},
             {"<PageDown>", 28, 33},
             {"<PageDown>", 28, 33}});
    Walk(t, {{"<PageUp>", 28, 28},
             {"<PageUp>", 23, 23},
             {"<PageUp>", 18, 18},
             {"<PageUp>", 13, 13},
             {"<PageUp>", 8, 8},
             {"<PageUp>", 3, 3},
             {"<PageUp>", 0, 0},
             {"<PageUp>", 0, 0}});
    // From the middle of the page.
    Walk(t, {{"<Down><Down>", 0, 2}, {"<PageDown>", 0, 5}, {"<Down><Down>", 2, 7}});
    Walk(t, {{"<PageUp>", 2, 2}, {"<PageUp>", 0, 0}});
}

TEST_F(MenuKeys, PageKeysOnATallTerminalGoToTheEnds) {
    MainMenu t(box, OfSize(50, 80));
    WaitForView(t, 0, 0);
    Walk(t, {{"<PageDown>", 0, 33}, {"<PageDown>", 0, 33}, {"<PageUp>", 0, 0}});
    Walk(t, {{"<End>", 0, 33}, {"<Up>", 0, 31}, {"<Home>", 0, 0}});
}

TEST_F(MenuKeys, PageKeysOnOneRowDoNothing) {
    MainMenu t(box, OfSize(7, 80));
    WaitForView(t, 0, 0);
    Walk(t, {{"<PageDown><Down>", 1, 1}, {"<PageDown><PageUp><Down>", 2, 2}});
}

TEST_F(MenuKeys, PageKeysMaySelectASeparator) {
    box.StandIn(kNetworkScript);
    MainMenu t(box, OfSize(12, 80));
    WaitForView(t, 0, 0);
    Walk(t, {{"<PageDown><PageDown>", 5, 10}});
    EXPECT_EQ(t.Style(kFirstLine + 5), "0-3 white/black; 4-78 white/blue dim; 79 white/black");
    // There is nothing to activate; the arrow keys continue from there.
    Walk(t, {{"<Enter><Down>", 6, 11}, {"<PageUp><PageUp><PageDown>", 1, 6}});
    Walk(t, {{"<Home><PageDown><PageDown><Up>", 5, 9}});
    EXPECT_TRUE(box.Calls().empty());
}

// HOME and END also skip nothing: an interface's screen starts with status rows, and an empty list
// of networks ends with a separator.
TEST(MenuEnds, HomeAndEndMaySelectUnselectableRows) {
    Machine box;
    box.AddTap("wlan0");
    box.Cards("wlan0 name IEEE 802.11\n");
    box.StandIn(kNetworkScript);
    box.StandIn("wpa_cli");
    MainMenu t(box);
    t.Press("1<Enter>");
    t.WaitFor("Wireless access points");
    const std::string dim = "0-3 white/black; 4-78 white/blue dim; 79 white/black";
    t.Press("w<Home>");
    t.WaitUntil([&] { return t.Style(4) == dim; }, "the state selected");
    t.Press("<Down>");
    t.WaitSelected("Bring up this interfaces");
    t.Press("w<Enter>");
    t.WaitFor("Scan for access points");
    t.Press("<End>");
    t.WaitUntil([&] { return t.Style(9) == dim; }, "the last separator selected");
    t.Press("<Down>");
    t.WaitSelected("Return to wifi menu");
    t.Press("<End><Up>");
    t.WaitSelected("Disconnect from current access point");
}

TEST_F(MenuKeys, HotKeysSelectButNeverActivate) {
    box.StandIn(kNetworkScript);
    MainMenu t(box, OfSize(40, 80));
    WaitForView(t, 0, 0);
    Walk(t, {{"d", 0, 1}, {"n", 0, 3}, {"t", 0, 4}, {"f", 0, 5}, {"s", 0, 6}, {"i", 0, 7}});
    Walk(t, {{"e", 0, 33}, {"d", 0, 1}, {"d", 0, 1}});
    Walk(t, {{"1", 0, 9}, {"2", 0, 11}, {"3", 0, 13}, {"4", 0, 15}, {"5", 0, 17}});
    Walk(t, {{"6", 0, 19}, {"7", 0, 21}, {"8", 0, 23}, {"9", 0, 25}, {"0", 0, 27}});
    EXPECT_TRUE(box.Calls().empty());
}

TEST_F(MenuKeys, ASharedHotKeyGoesToTheNextRowThatHasIt) {
    MainMenu t(box, OfSize(40, 80));
    WaitForView(t, 0, 0);
    Walk(t, {{"u", 0, 2}, {"u", 0, 0}, {"u", 0, 2}});
    Walk(t, {{"d", 0, 1}, {"u", 0, 2}, {"n", 0, 3}, {"u", 0, 0}});
}

TEST_F(MenuKeys, OtherKeysDoNothing) {
    MainMenu t(box, OfSize(40, 80));
    WaitForView(t, 0, 0);
    t.Press("d");
    WaitForView(t, 0, 1);
    // Capitals are not hot keys; ^H is not backspace on this terminal.
    t.Press("UDNTFSIExyz;-+ <Left><Right><Insert><Delete><Tab><F1><F5><F12><C-a><C-h><C-l>");
    t.Settle();
    WaitForView(t, 0, 1);
    Walk(t, {{"<Down>", 0, 2}});
}

TEST_F(MenuKeys, EveryEnterKeyActivates) {
    MainMenu t(box);
    for (const char* enter : {"\r", "\n", "\x1bOM"}) {  // the last is keypad ENTER
        t.SendBytes(std::string("d") + enter);
        t.WaitFor("Are you sure? [y/n]");
        t.Press("n");
        WaitForMainMenu(t);
    }
}

TEST_F(MenuKeys, EscapeAndBackspaceLeave) {
    for (const char* key : {"<Esc>", "<Backspace>"}) {
        MainMenu t(box);
        t.Press(std::string("<Down>") + key);
        EXPECT_EQ(t.WaitExit(), Exited(0)) << key;
        EXPECT_TRUE(t.LineMode()) << key;
    }
}

// ---- the look of the rows ----

using MenuLook = RowsOfEveryKind;

// A row of 75 columns on an 80-column terminal, with its hot key in the given column.
std::string StyleOfRow(const std::string& row, const std::string& letter, int column) {
    std::ostringstream style;
    style << "0-3 white/black; ";
    if (column > 4) style << "4" << (column > 5 ? "-" + std::to_string(column - 1) : "");
    if (column > 4) style << " " << row << "; ";
    style << column << " " << letter << "; " << column + 1 << "-78 " << row << "; 79 white/black";
    return style.str();
}

struct LetterOfRow {
    const char* key;
    int line;
    int column;
    const char* letter;
};

// The hot key is the first matching letter of the label, in either case, shown as in the label.
constexpr LetterOfRow kLetters[] = {
    {"u", kFirstLine, 10, "u"},    {"d", kFirstLine + 1, 10, "d"}, {"u", kFirstLine + 2, 4, "U"},
    {"n", kFirstLine + 3, 7, "n"}, {"t", kFirstLine + 4, 6, "t"},  {"f", kFirstLine + 5, 4, "F"},
    {"s", kFirstLine + 6, 4, "S"}, {"i", kFirstLine + 7, 5, "i"},  {"1", kInterfaceLine, 4, "1"},
    {"e", kExitLine, 4, "E"},
};

TEST_F(MenuLook, RowsAreBoldWithTheirHotKeysYellow) {
    MainMenu t(box);
    t.Press("<End>");
    t.WaitSelected("Exit this program");
    for (const LetterOfRow& row : kLetters) {
        if (row.line == kExitLine) continue;
        EXPECT_EQ(t.Style(row.line),
                  StyleOfRow("white/black bold", "yellow/black bold", row.column))
            << row.line;
        EXPECT_EQ(t.Cell(row.line, row.column).text, row.letter);
    }
}

TEST_F(MenuLook, TheSelectedRowIsBlueWithItsHotKeyReversed) {
    MainMenu t(box);
    t.Press("<End>");
    for (const LetterOfRow& row : kLetters) {
        t.Press(row.key);
        t.WaitUntil([&] { return t.SelectedRow() == row.line; }, row.key);
        EXPECT_EQ(t.Style(row.line),
                  StyleOfRow("white/blue bold", "white/black reverse", row.column));
        EXPECT_EQ(t.Cell(row.line, row.column).text, row.letter);
    }
    EXPECT_EQ(t.Style(kInterfaceLine), StyleOfRow("white/black bold", "yellow/black bold", 4));
}

TEST_F(MenuLook, UnselectableRowsAreDim) {
    MainMenu t(box);
    const std::string dim = "0-3 white/black; 4-78 white/black dim; 79 white/black";
    EXPECT_EQ(t.Row(kAddressLine),
              "       IPv4: 10.1.2.3   netmask: 255.255.255.0  gateway: 10.1.2.1");
    EXPECT_EQ(t.Style(kAddressLine), dim);
    for (const int line : {kFirstLine + 8, kFirstLine + 11, kFirstLine + 13}) {
        EXPECT_EQ(t.Row(line), "");
        EXPECT_EQ(t.Style(line), dim);
    }
    EXPECT_EQ(t.Row(kWarningLine), "    WARNING: Multiple gateways active");
    EXPECT_EQ(t.Style(kWarningLine), "0-3 white/black; 4-78 red/black dim; 79 white/black");
}

TEST_F(MenuLook, AnInformationRowCanBeSelected) {
    MainMenu t(box, OfSize(17, 80));  // eleven rows; the last visible one is the address
    t.Press("<PageDown>");
    t.WaitSelected("IPv4: 10.1.2.3");
    EXPECT_EQ(t.Style(kAddressLine), "0-3 white/black; 4-78 white/blue dim; 79 white/black");
    t.Press("<Enter><Up>");
    t.WaitSelected("1. eth0");
}

TEST_F(MenuLook, ASelectedWarningIsReversed) {
    MainMenu t(box, OfSize(19, 80));  // thirteen rows; the last visible one is the warning
    t.Press("<PageDown>");
    const std::string reversed = "0-3 white/black; 4-78 red/black dim reverse; 79 white/black";
    t.WaitUntil([&] { return t.Style(kWarningLine) == reversed; }, reversed);
    t.Press("<Enter><Down>");
    t.WaitSelected("Exit this program");
}

// On narrow terminals the title lines wrap over and next to the first rows.
TEST_F(MenuLook, LabelsAreCutAtTheWidthButTheirHotKeysAreNot) {
    MainMenu t(box, OfSize(24, 11));  // rows of six columns, and one more column after them
    t.WaitUntil([&] { return t.Row(kFirstLine + 3) == "    Change"; }, "rows of six columns");
    EXPECT_EQ(t.Row(kFirstLine + 6), "    Servic");
    EXPECT_EQ(t.Row(kFirstLine).substr(4), "Bring u");
    EXPECT_EQ(t.Style(kFirstLine), "0-3 white/black; 4-9 white/blue bold; 10 white/black reverse");
    EXPECT_EQ(t.Row(kFirstLine + 1).substr(4), "Bring d");
    EXPECT_EQ(t.Style(kFirstLine + 1),
              "0-3 white/black; 4-9 white/black bold; 10 yellow/black bold");

    t.Resize(24, 10);  // no column after them: no letter there
    t.WaitUntil([&] { return t.Row(kFirstLine + 6) == "    Servi"; }, "rows of five columns");
    EXPECT_EQ(t.Style(kFirstLine + 1), "0-3 white/black; 4-8 white/black bold; 9 white/black");

    t.Resize(24, 5);  // no columns at all, but room for letters
    t.WaitUntil([&] { return t.Cell(kFirstLine + 2, 4).text == "U"; }, "the letter U");
    EXPECT_EQ(t.Cell(kFirstLine + 2, 4).fg, kYellow);
    EXPECT_EQ(t.Cell(kFirstLine + 5, 4).text, "F");
}

// ---- the pointer ----

// A refresh forgets the pointer, so the colour must appear before the next one.
TEST_F(MenuLook, TheRowUnderThePointerIsYellow) {
    MainMenu t(box);
    const std::string plain = StyleOfRow("white/black bold", "yellow/black bold", 7);
    const std::string hovered = "0-3 white/black; 4-78 yellow/black bold; 79 white/black";
    const int line = kFirstLine + 3;
    struct Move {
        int line, column;
        const std::string& style;
    };
    for (const Move& move :
         {Move{line, 4, hovered}, Move{line, 3, plain}, Move{line, 78, hovered},
          Move{line, 79, plain}, Move{line, 40, hovered}, Move{line + 1, 40, plain},
          Move{line, 5, hovered}, Move{1, 5, plain}}) {
        t.Hover(move.line, move.column);
        t.WaitUntil([&] { return t.Style(line) == move.style; },
                    "line " + std::to_string(line) + ": " + move.style, 2);
    }
    EXPECT_EQ(t.SelectedRow(), kFirstLine);
}

TEST_F(MenuLook, TheSelectedRowUnderThePointerIsCyan) {
    MainMenu t(box);
    t.Hover(kFirstLine, 30);
    const std::string hovered = StyleOfRow("cyan/blue bold", "white/black reverse", 10);
    t.WaitUntil([&] { return t.Style(kFirstLine) == hovered; }, hovered);
    // The pointer stays. The selection leaves the hovered row and comes back.
    t.Press("<Down>");
    t.WaitSelected("Bring down all interfaces");
    EXPECT_EQ(t.Style(kFirstLine), "0-3 white/black; 4-78 yellow/black bold; 79 white/black");
    EXPECT_EQ(t.Style(kFirstLine + 1), StyleOfRow("white/blue bold", "white/black reverse", 10));
    t.Press("<Up>");
    t.WaitUntil([&] { return t.Style(kFirstLine) == hovered; }, hovered);
}

TEST_F(MenuLook, DimRowsDoNotChangeUnderThePointer) {
    MainMenu t(box);
    struct DimRow {
        int line;
        const char* style;
    };
    for (const DimRow& row :
         {DimRow{kFirstLine + 8, "white/black dim"}, DimRow{kAddressLine, "white/black dim"},
          DimRow{kWarningLine, "red/black dim"}}) {
        t.Hover(row.line, 20);
        t.Press("<Home><Down>");
        t.WaitSelected("Bring down all interfaces");
        EXPECT_EQ(t.Style(row.line),
                  "0-3 white/black; 4-78 " + std::string(row.style) + "; 79 white/black");
        t.Press("<Home>");
        t.WaitSelected("Bring up all interfaces");
    }
}

TEST_F(MenuLook, ASelectedDimRowUnderThePointerIsCyan) {
    MainMenu t(box, OfSize(17, 80));  // eleven rows; the last visible one is the address
    t.Hover(kAddressLine, 20);
    t.Press("<PageDown>");
    const std::string hovered = "0-3 white/black; 4-78 cyan/blue dim; 79 white/black";
    t.WaitUntil([&] { return t.Style(kAddressLine) == hovered; }, hovered);
}

using MenuMouse = TwelveBridges;

TEST_F(MenuMouse, AClickSelectsAndAClickOnTheSelectedRowActivates) {
    box.StandIn(kNetworkScript);
    MainMenu t(box);
    t.Click(kFirstLine + 1, 30);
    t.WaitSelected("Bring down all interfaces");
    t.Press("<Left>");
    t.Settle();
    EXPECT_EQ(t.Row(1), "Tavrin 4 Network configuration utility");
    t.Click(kFirstLine + 1, 30);
    t.WaitFor("Are you sure? [y/n]");
    t.Press("n");
    WaitForMainMenu(t);
    EXPECT_TRUE(box.Calls().empty());
}

TEST_F(MenuMouse, AClickHitsARowFromItsFirstToItsLastColumn) {
    MainMenu t(box);
    struct Spot {
        int column, selected;
    };
    for (const Spot& spot : {Spot{4, 3}, Spot{3, 0}, Spot{78, 3}, Spot{79, 0}, Spot{40, 3}}) {
        t.Press("d");
        t.WaitSelected("Bring down all interfaces");
        t.Click(kFirstLine + 3, spot.column);
        t.WaitUntil([&] { return t.SelectedRow() == kFirstLine + spot.selected; },
                    "a click in column " + std::to_string(spot.column));
    }
}

// A click that hits no row selects the first row. It never activates it, even if it was selected.
TEST_F(MenuMouse, AClickOutsideTheRowsSelectsTheFirst) {
    MainMenu t(box, OfSize(45, 80));
    struct Spot {
        int line;
        const char* what;
    };
    for (const Spot& spot :
         {Spot{2, "on the title"}, Spot{4, "above the rows"}, Spot{kFirstLine + 8, "a separator"},
          Spot{kFirstLine + kLastRow + 1, "behind the last row"}, Spot{44, "below the list"}}) {
        t.Press("d");
        t.WaitSelected("Bring down all interfaces");
        t.Click(spot.line, 20);
        t.WaitUntil([&] { return t.SelectedRow() == kFirstLine; }, spot.what);
    }
    t.Click(4, 20);
    WaitOutClick(t);
    WaitForView(t, 0, 0);
}

TEST_F(RowsOfEveryKind, AClickOnInformationSelectsTheFirstRow) {
    MainMenu t(box);
    for (const int line : {kAddressLine, kWarningLine}) {
        t.Press("d");
        t.WaitSelected("Bring down all interfaces");
        t.Click(line, 20);
        t.WaitSelected("Bring up all interfaces");
    }
}

// A page key can select a separator, but a click can't hit it.
TEST_F(MenuMouse, AClickCannotHitASelectedSeparator) {
    MainMenu t(box, OfSize(12, 80));
    Walk(t, {{"<PageDown><PageDown>", 5, 10}});
    t.Click(kFirstLine + 5, 20);
    WaitForView(t, 0, 0);
}

TEST_F(MenuMouse, PressingSelectsAndReleasingDoesNothing) {
    MainMenu t(box);
    const int line = kFirstLine + 1;
    t.MousePress(line, 30);
    t.WaitSelected("Bring down all interfaces");
    t.MouseRelease(line, 30);
    WaitOutClick(t);
    // Held longer than a click, on the selected row: still no activation.
    t.MousePress(line, 30);
    WaitOutClick(t);
    t.MouseRelease(line, 30);
    WaitOutClick(t);
    EXPECT_EQ(t.Selected(), "Bring down all interfaces");
    // A press outside the rows counts as a click there.
    t.MousePress(line, 2);
    t.WaitSelected("Bring up all interfaces");
}

TEST_F(MenuMouse, ADoubleClickIsOneClick) {
    MainMenu t(box);
    t.DoubleClick(kFirstLine + 1, 30);
    t.WaitSelected("Bring down all interfaces");
    t.Press("<Left>");
    t.Settle();
    EXPECT_EQ(t.Row(1), "Tavrin 4 Network configuration utility");
    t.DoubleClick(kFirstLine + 1, 30);
    t.WaitFor("Are you sure? [y/n]");
}

TEST_F(MenuMouse, OtherButtonsOnlyPoint) {
    MainMenu t(box);
    t.Hover(1, 1);
    t.Settle();
    constexpr int kSgr = 1006;
    const std::vector<int> modes = t.MouseReporting();
    ASSERT_TRUE(std::count(modes.begin(), modes.end(), kSgr) > 0);
    // Middle and right button, wheel up and down; lines and columns count from 1.
    for (const char* button : {"1", "2", "64", "65"}) {
        for (const int line : {kFirstLine, kFirstLine + 1}) {
            const std::string where = ";21;" + std::to_string(line + 1);
            const std::string event = "\x1b[<" + std::string(button) + where;
            t.SendBytes(event + "M" + event + "m");
            const Colour colour = line == kFirstLine ? kCyan : kYellow;
            t.WaitUntil([&] { return t.Cell(line, 40).fg == colour; }, "the row pointed at", 2);
            t.Settle();
            EXPECT_EQ(t.Selected(), "Bring up all interfaces") << "button " << button;
        }
    }
}

TEST_F(MenuMouse, ClicksHitTheRowsOfAScrolledList) {
    MainMenu t(box, OfSize(12, 80));
    Walk(t, {{"9", 20, 25}});
    t.Click(kFirstLine + 1, 20);
    WaitForView(t, 20, 21);
    t.Click(kFirstLine + 1, 20);
    t.WaitFor("Network configuration: br7 (02:00:00:00:00:07)");
}

// Only visible rows are checked against the pointer: a row that was scrolled away while hovered is
// still hovered when it comes back.
TEST_F(MenuMouse, AHoveredRowStaysHoveredWhenScrolled) {
    MainMenu t(box, OfSize(12, 80));
    WaitForView(t, 0, 0);
    t.Hover(kFirstLine + 3, 20);
    t.WaitUntil([&] { return t.Cell(kFirstLine + 3, 20).fg == kYellow; }, "a hovered row");
    Walk(t, {{"<PageDown><Down>", 1, 6}});
    EXPECT_EQ(t.Cell(kFirstLine + 2, 40).fg, kYellow);
    EXPECT_EQ(t.Cell(kFirstLine + 3, 40).fg, kWhite);
    Walk(t, {{"9", 20, 25}});
    t.Hover(kFirstLine + 1, 20);
    t.WaitUntil([&] { return t.Cell(kFirstLine + 1, 40).fg == kYellow; }, "another hovered row");
    Walk(t, {{"<Home>", 0, 0}});
    EXPECT_EQ(t.Cell(kFirstLine + 3, 40).fg, kYellow);
}

TEST_F(MenuMouse, AClickOlderThan400MillisecondsDoesNotActivate) {
    MainMenu t(box);
    t.Press("d");
    t.WaitSelected("Bring down all interfaces");
    t.Press("<C-s>");  // stops the output, so the repaint after the click takes long
    t.Click(kFirstLine + 1, 30);
    t.WaitUntil([&] { return OutputIsHeld(t); }, "output being held");
    t.RunFor(0.45);
    t.Press("<C-q>");
    const std::string hovered = StyleOfRow("cyan/blue bold", "white/black reverse", 10);
    t.WaitUntil([&] { return t.Style(kFirstLine + 1) == hovered; }, hovered);
    t.Press("<Down>");
    t.WaitSelected("Update interfaces from config");
    // The next click is in time.
    t.Press("d");
    t.Click(kFirstLine + 1, 30);
    t.WaitFor("Are you sure? [y/n]");
}

// ---- scrolling ----

struct TerminalType {
    const char* name;
    bool has_colours;
    bool has_page_keys;
};

std::ostream& operator<<(std::ostream& out, const TerminalType& type) {
    return out << type.name;
}

// With and without: a region that scrolls, background colour in what is erased, colours, a way back
// to the terminal's own colours.
constexpr TerminalType kTypes[] = {
    {"xterm-256color", true, true}, {"linux", true, true},   {"screen", true, true},
    {"tmux", true, true},           {"vt220", false, true},  {"vt100", false, false},
    {"ansi", true, false},          {"vwmterm", true, true},
};

class MenuScrolling : public TwelveBridges, public testing::WithParamInterface<TerminalType> {
  protected:
    // Nothing is selected on a line that has no text.
    static bool IsGround(const Terminal& t, int line) {
        for (int column = 0; column < t.cols(); column++) {
            const harness::Cell cell = t.Cell(line, column);
            if (cell.bg != (GetParam().has_colours ? kBlack : kDefault) || cell.reverse) {
                return false;
            }
        }
        return true;
    }

    static std::vector<std::string> Picture(const Terminal& t) {
        std::vector<std::string> picture = t.Screen();
        for (int line = 0; line < t.rows(); line++)
            picture.push_back(t.Style(line));
        return picture;
    }

    // A picture painted anew is the same, and its ground is the menu's.
    void ExpectWhole(Terminal& t, const char* keys) {
        const testing::ScopedTrace from(__FILE__, __LINE__, keys);
        const std::vector<std::string> shown = Picture(t);
        for (int line = 0; line < t.rows(); line++)
            EXPECT_TRUE(line == t.SelectedRow() || IsGround(t, line)) << "line " << line;
        t.Mark();
        t.Press("<C-l>");
        t.WaitUntil([&] { return t.Output().find("Tavrin 4") != std::string::npos; },
                    "everything painted anew");
        EXPECT_EQ(Picture(t), shown);
    }

    void WalkWhole(Terminal& t, const std::vector<Step>& steps) {
        for (const Step& step : steps) {
            Walk(t, {step});
            ExpectWhole(t, step.keys);
        }
    }
};

TEST_P(MenuScrolling, LeavesThePictureWhole) {
    TerminalOptions options = OfSize(12, 80);  // six rows
    options.term = GetParam().name;
    MainMenu t(box, options);
    Walk(t, {{"e", 28, 33}});  // the rows are complete
    Walk(t, {{"<Down>", 0, 0}, {"<Down><Down><Down><Down><Down>", 0, 5}});
    WalkWhole(t, {{"<Down>", 1, 6}, {"<Down>", 2, 7}, {"<Down>", 4, 9}, {"<Down><Down>", 8, 13}});
    WalkWhole(t, {{"<Up><Up>", 8, 9}, {"<Up>", 7, 7}, {"<Up>", 6, 6}, {"<Up><Up>", 4, 4}});
    WalkWhole(t, {{"e", 28, 33}, {"<Down>", 0, 0}, {"<Up>", 28, 33}, {"1", 9, 9}, {"3", 9, 13}});
    if (!GetParam().has_page_keys) return;
    WalkWhole(t, {{"e", 28, 33}, {"<Down>", 0, 0}, {"<PageDown>", 0, 5}, {"<PageDown>", 5, 10}});
    WalkWhole(t, {{"<PageUp>", 5, 5}, {"<PageUp>", 0, 0}});
}

std::string NameOfType(const testing::TestParamInfo<TerminalType>& info) {
    std::string name = info.param.name;
    std::erase(name, '-');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Types, MenuScrolling, testing::ValuesIn(kTypes), NameOfType);

// Four lines come in with every key: an interface, its addresses, a separator.
TEST(MenuBytes, AKeyThatScrollsALongListSendsFew) {
    constexpr int kCards = 48;
    constexpr size_t kMost = 350;
    Machine box;
    AddBridges(box, kCards);
    std::string addresses;
    for (int i = 1; i <= kCards; i++) {
        const std::string number = std::to_string(i);
        addresses += "link set br" + number + " up\naddr add 10.0." + number + ".1/24 dev br" +
                     number + "\naddr add 2001:db8:" + number + "::1/64 dev br" + number +
                     " nodad\n";
    }
    box.Write("/run/batch", addresses);
    box.Sh("ip -batch /run/batch");
    for (const char* type : {"xterm-256color", "linux", "vt220"}) {
        SCOPED_TRACE(type);
        TerminalOptions options = OfSize(70, 80);
        options.term = type;
        MainMenu t(box, options);
        t.WaitFor("14. br14");
        t.Press("e");
        t.WaitSelected("Exit this program");
        std::vector<size_t> bytes;
        for (int i = kCards; i > 10; i--) {
            t.Mark();
            t.Press("<Up>");
            t.WaitSelected(std::to_string(i) + ". br" + std::to_string(i));
            // The list stands still until the selection has come to its first line.
            if (t.SelectedRow() == kFirstLine) bytes.push_back(t.Output().size());
        }
        std::sort(bytes.begin(), bytes.end());
        // A refresh in between is no key's.
        EXPECT_LE(bytes[bytes.size() / 2], kMost);
    }
}

// ---- sizes ----

using MenuSize = TwelveBridges;

TEST_F(MenuSize, RowsAdaptToTheTerminal) {
    MainMenu t(box);
    WaitForView(t, 0, 0);
    EXPECT_EQ(t.Style(kFirstLine), StyleOfRow("white/blue bold", "white/black reverse", 10));
    t.Resize(43, 132);
    WaitForView(t, 0, 0);
    EXPECT_EQ(t.Style(kFirstLine),
              "0-3 white/black; 4-9 white/blue bold; 10 white/black reverse; "
              "11-130 white/blue bold; 131 white/black");
    t.Resize(16, 40);  // the longest labels do not fit 35 columns
    t.WaitUntil([&] { return t.Row(14) == "    1. br1     02:00:00:00:00:01  Disco"; },
                "rows cut at 35 columns");
    EXPECT_EQ(t.Row(15), "");
}

TEST_F(MenuSize, ASmallerTerminalScrollsToTheSelection) {
    MainMenu t(box, OfSize(40, 80));
    Walk(t, {{"<End>", 0, 33}});
    t.Resize(12, 80);
    WaitForView(t, 28, 33);
    // A larger terminal shows as many rows as fit.
    t.Resize(30, 80);
    WaitForView(t, 10, 33);
    t.Resize(9, 80);
    WaitForView(t, 31, 33);
    t.Resize(40, 80);
    WaitForView(t, 0, 33);
    Walk(t, {{"<Home>", 0, 0}});
}

TEST_F(MenuSize, WithoutRoomForRowsTheKeysStillWork) {
    box.StandIn(kNetworkScript);
    for (const auto& [lines, columns] : {std::pair(6, 80), {5, 10}, {3, 3}, {1, 1}}) {
        Terminal t(box, OfSize(lines, columns));
        t.Press("<Down><Up><PageDown><PageUp><End><Home>d<Enter>y");
        box.WaitForCalls(kNetworkScript, 1);
        t.Press("<End><Enter>");
        EXPECT_EQ(t.WaitExit(), Exited(0)) << lines << " by " << columns;
        box.ForgetCalls();
    }
}

}  // namespace
}  // namespace harness
