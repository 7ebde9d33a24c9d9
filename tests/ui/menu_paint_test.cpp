// The cells and styles of a menu's rows.
#include <gtest/gtest.h>

#include <string>

#include "ui/menu.h"
#include "ui/screen_fixture.h"
#include "util/locale_fixtures.h"

namespace {

constexpr int kColumn = 4;
constexpr int kLine = 5;
constexpr int kWidth = 20;
constexpr int kHeight = 4;

constexpr unsigned kGround = COLOR_PAIR(0);
constexpr unsigned kWhite = COLOR_PAIR(1);
constexpr unsigned kWhiteOnBlue = COLOR_PAIR(2);
constexpr unsigned kYellow = COLOR_PAIR(3);
constexpr unsigned kCyanOnBlue = COLOR_PAIR(4);
constexpr unsigned kGreen = COLOR_PAIR(5);
constexpr unsigned kRed = COLOR_PAIR(6);

class MenuPaint : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(screen.IsReady());
        menu.Init();
        menu.SetPosition(kColumn, kLine);
        menu.SetSize(kWidth, kHeight);
    }

    // A row other than the selected one.
    MenuItem& AddUnselected(const char* label) {
        if (menu.Count() == 0) menu.AddItem("selected", 1);
        return menu.items[static_cast<std::size_t>(menu.AddItem(label, 2))];
    }

    static std::string Cells(int line, int column, int count) {
        std::string text;
        for (int i = 0; i < count; ++i)
            text += UnseenScreen::Character(line, column + i);
        return text;
    }

    UnseenScreen screen;
    Menu menu;
};

// ---- text ----

TEST_F(MenuPaint, RowsAreDrawnAtThePositionOfTheMenu) {
    menu.AddItem("first", 1);
    menu.AddItem("second", 2);
    menu.Draw();
    EXPECT_EQ(UnseenScreen::Line(kLine - 1), "");
    EXPECT_EQ(UnseenScreen::Line(kLine), "    first");
    EXPECT_EQ(UnseenScreen::Line(kLine + 1), "    second");
    EXPECT_EQ(UnseenScreen::Line(kLine + 2), "");
}

TEST_F(MenuPaint, ARowIsPaddedExactlyToTheWidth) {
    menu.AddItem("abc", 1);
    UnseenScreen::Fill('#');
    menu.Draw();
    EXPECT_EQ(Cells(kLine, kColumn - 1, kWidth + 2), "#abc" + std::string(kWidth - 3, ' ') + "#");
}

TEST_F(MenuPaint, ALabelIsCutAtTheWidth) {
    menu.AddItem("abcdefghijklmnopqrstuvwxyz", 1);
    UnseenScreen::Fill('#');
    menu.Draw();
    EXPECT_EQ(Cells(kLine, kColumn, kWidth + 1), "abcdefghijklmnopqrst#");
}

TEST_F(MenuPaint, TheFirstVisibleRowIsTheTopOne) {
    for (const char* label : {"a", "b", "c", "d", "e", "f", "g"})
        menu.AddItem(label, 1);
    menu.top = 2;
    menu.Draw();
    EXPECT_EQ(UnseenScreen::Line(kLine - 1), "");
    EXPECT_EQ(UnseenScreen::Line(kLine), "    c");
    EXPECT_EQ(UnseenScreen::Line(kLine + 3), "    f");
    EXPECT_EQ(UnseenScreen::Line(kLine + 4), "");
}

TEST_F(MenuPaint, LinesWithoutARowAreBlank) {
    menu.AddItem("a", 1);
    UnseenScreen::Fill('#');
    menu.Draw();
    for (int line = kLine + 1; line < kLine + kHeight; ++line) {
        EXPECT_EQ(Cells(line, kColumn, kWidth), std::string(kWidth, ' ')) << line;
        EXPECT_EQ(UnseenScreen::Style(line, kColumn), kWhite) << line;
    }
    EXPECT_EQ(UnseenScreen::Character(kLine + kHeight, kColumn), '#');
}

// The top of the list, the menu's size and its place decide what has no room.
TEST_F(MenuPaint, WithoutRoomNothingIsDrawn) {
    menu.AddItem("a", 1);
    menu.SetHotKey(menu.AddItem("b", 1), 'b');
    UnseenScreen::Fill('#');
    menu.SetSize(0, 1);
    menu.DrawItem(1);
    for (const auto& [columns, lines] : {std::pair{-3, -3}, {kWidth, -1}, {kWidth, 0}}) {
        menu.SetSize(columns, lines);
        menu.Draw();
    }
    menu.SetSize(kWidth, kHeight);
    menu.top = 1;
    menu.DrawItem(0);
    menu.top = 0;
    menu.SetPosition(kColumn, LINES - 1);
    menu.SetSize(kWidth, 0);
    move(2, 3);
    menu.DrawItem(1);
    for (int line = 0; line < LINES; ++line)
        EXPECT_EQ(UnseenScreen::Line(line), std::string(80, '#')) << line;
}

TEST_F(MenuPaint, OneColumnIsEnoughForARowBelowTheHeight) {
    menu.AddItem("a", 1);
    menu.AddItem("b", 2);
    menu.SetSize(1, 1);
    menu.DrawItem(1);
    EXPECT_EQ(UnseenScreen::Line(kLine + 1), "    b");
}

TEST_F(MenuPaint, RowsBelowTheScreenLeaveThoseAboveAlone) {
    menu.SetSize(kWidth, 100);
    for (int i = 0; i < 100; ++i)
        menu.AddItem("row " + std::to_string(i), i);
    menu.Draw();
    for (int line = kLine; line < LINES - 1; ++line)
        EXPECT_EQ(UnseenScreen::Line(line), "    row " + std::to_string(line - kLine));
}

TEST_F(MenuPaint, ControlBytesOfALabelAreQuestionMarks) {
    menu.AddItem("a\x1b[2Jb\tc", 1);
    menu.Draw();
    EXPECT_EQ(UnseenScreen::Line(kLine), "    a?[2Jb?c");
}

// ---- colours ----

struct Style {
    const char* what;
    bool selected;
    bool inactive;
    int flags;
    unsigned style;
};

// Neither hovered nor marked, and so on: all possible states of a row.
constexpr Style kStyles[] = {
    {"plain", false, false, 0, kWhite | A_BOLD},
    {"selected", true, false, 0, kWhiteOnBlue | A_BOLD},
    {"hovered", false, false, MenuItem::kHover, kYellow | A_BOLD},
    {"selected, hovered", true, false, MenuItem::kHover, kCyanOnBlue | A_BOLD},
    {"unselectable only", false, false, MenuItem::kUnselectable, kWhite | A_BOLD},
    {"dim", false, false, MenuItem::kDim, kWhite | A_DIM},
    {"separator", false, false, 3, kWhite | A_DIM},
    {"dim, hovered", false, false, MenuItem::kDim | MenuItem::kHover, kWhite | A_DIM},
    {"dim, selected", true, false, MenuItem::kDim, kWhiteOnBlue | A_DIM},
    {"dim, selected, hovered", true, false, MenuItem::kDim | MenuItem::kHover, kCyanOnBlue | A_DIM},
    {"marked", false, false, MenuItem::kMarked, kRed | A_BOLD},
    {"marked, hovered", false, false, MenuItem::kMarked | MenuItem::kHover, kRed | A_BOLD},
    {"marked, dim", false, false, MenuItem::kMarked | 3, kRed | A_DIM},
    {"marked, selected", true, false, MenuItem::kMarked, kRed | A_REVERSE | A_BOLD},
    {"marked, dim, selected", true, false, MenuItem::kMarked | 3, kRed | A_REVERSE | A_DIM},
    {"marked, selected, hovered", true, false, MenuItem::kMarked | MenuItem::kHover,
     kRed | A_REVERSE | A_BOLD},
    {"inactive", false, true, 0, kGreen | A_DIM},
    {"inactive, hovered", false, true, MenuItem::kHover, kGreen | A_DIM},
    {"inactive, dim", false, true, MenuItem::kDim, kGreen | A_DIM},
    {"inactive, selected", true, true, 0, kCyanOnBlue | A_DIM},
    {"inactive, selected, hovered", true, true, MenuItem::kHover, kCyanOnBlue | A_DIM},
    {"inactive, marked", false, true, MenuItem::kMarked, kRed | A_DIM},
    {"inactive, marked, selected", true, true, MenuItem::kMarked, kRed | A_REVERSE | A_DIM},
};

TEST_F(MenuPaint, TheStyleOfARowFollowsItsState) {
    AddUnselected("b");
    for (const Style& row : kStyles) {
        SCOPED_TRACE(row.what);
        menu.items[1].flags = static_cast<std::uint8_t>(row.flags);
        menu.selection = row.selected ? 1 : 0;
        menu.inactive = row.inactive;
        menu.Draw();
        for (int column : {kColumn, kColumn + 1, kColumn + kWidth - 1})
            EXPECT_EQ(UnseenScreen::Style(kLine + 1, column), row.style) << column;
        EXPECT_EQ(UnseenScreen::Style(kLine + 1, kColumn - 1), kGround);
        EXPECT_EQ(UnseenScreen::Style(kLine + 1, kColumn + kWidth), kGround);
    }
}

TEST_F(MenuPaint, PairsHaveTheirColours) {
    struct {
        short pair, foreground, background;
    } const kPairs[] = {
        {0, COLOR_WHITE, COLOR_BLACK}, {1, COLOR_WHITE, COLOR_BLACK},
        {2, COLOR_WHITE, COLOR_BLUE},  {3, COLOR_YELLOW, COLOR_BLACK},
        {4, COLOR_CYAN, COLOR_BLUE},   {5, COLOR_GREEN, COLOR_BLACK},
        {6, COLOR_RED, COLOR_BLACK},
    };
    for (const auto& row : kPairs) {
        short foreground = -1;
        short background = -1;
        pair_content(row.pair, &foreground, &background);
        EXPECT_EQ(foreground, row.foreground) << row.pair;
        EXPECT_EQ(background, row.background) << row.pair;
    }
    EXPECT_EQ(getbkgd(stdscr) & A_ATTRIBUTES, kGround);
}

// Attributes stand for the colours that a terminal does not have.
constexpr Style kPlainStyles[] = {
    {"plain", false, false, 0, A_BOLD},
    {"selected", true, false, 0, A_REVERSE | A_BOLD},
    {"hovered", false, false, MenuItem::kHover, A_BLINK | A_BOLD},
    {"selected, hovered", true, false, MenuItem::kHover, A_REVERSE | A_BLINK | A_BOLD},
    {"dim", false, false, MenuItem::kDim, A_DIM},
    {"marked, dim", false, false, MenuItem::kMarked | 3, A_UNDERLINE | A_DIM},
    {"marked, dim, selected", true, false, MenuItem::kMarked | 3, A_UNDERLINE | A_REVERSE | A_DIM},
};

TEST(MenuPaintWithoutColours, ARowsStyleFollowsItsState) {
    const UnseenScreen screen("/dev/null", "vt220");
    ASSERT_EQ(LINES, 24);
    ASSERT_FALSE(has_colors());
    Menu menu;
    menu.Init();
    menu.AddItem("a", 1);
    menu.SetHotKey(menu.AddItem("b key", 2), 'k');
    for (const Style& row : kPlainStyles) {
        SCOPED_TRACE(row.what);
        menu.items[1].flags = static_cast<std::uint8_t>(row.flags);
        menu.selection = row.selected ? 1 : 0;
        menu.Draw();
        for (int column : {0, 3, menu.width - 1})
            EXPECT_EQ(UnseenScreen::Style(menu.y + 1, menu.x + column), row.style) << column;
        EXPECT_EQ(UnseenScreen::Style(menu.y + 1, menu.x + 2),
                  A_UNDERLINE | A_BOLD | (row.selected ? A_REVERSE : 0U));
    }
}

// ---- hot-key letters ----

struct Mark {
    const char* label;
    int key;
    int column;  // in the row
    char letter;
};

constexpr Mark kMarks[] = {
    {"Services", 's', 0, 'S'},
    {"Bring up all", 'u', 6, 'u'},
    {"Exit this program", 'e', 0, 'E'},
    {"Network Time", 't', 2, 't'},
    {"1. eth0", '1', 0, '1'},
    {"Services", 'e', 1, 'e'},  // only the first one
    {"Services", 0, -1, ' '},
    // A hot key that is not in the label is shown one blank after it.
    {"10. eth9", 'x', 9, 'x'},
    {"", 'q', 1, 'q'},
    {"abcdefghijklmnopqrstuvwxy", 'z', kWidth + 1, 'z'},
    // A label is cut at the width, but its hot key is not.
    {"abcdefghijklmnopqrstuvwxy", 'u', kWidth, 'u'},
};

TEST_F(MenuPaint, OnlyTheHotKeyLetterIsYellow) {
    MenuItem& item = AddUnselected("");
    for (const Mark& row : kMarks) {
        SCOPED_TRACE(row.label);
        item.label = row.label;
        item.hot_key = row.key;
        UnseenScreen::Fill('#');
        menu.Draw();
        for (int column = 0; column < kWidth; ++column) {
            const bool is_marked = column == row.column;
            EXPECT_EQ(UnseenScreen::Style(kLine + 1, kColumn + column),
                      (is_marked ? kYellow : kWhite) | A_BOLD)
                << column;
        }
        if (row.key == 0) continue;
        const int column = kColumn + row.column;
        EXPECT_EQ(UnseenScreen::Character(kLine + 1, column), row.letter);
        EXPECT_EQ(UnseenScreen::Style(kLine + 1, column), kYellow | A_BOLD);
    }
}

TEST_F(MenuPaint, TheHotKeyLetterOfTheSelectedRowIsOnlyReversed) {
    menu.SetHotKey(menu.AddItem("Services", 1), 's');
    menu.Draw();
    const unsigned style = UnseenScreen::Style(kLine, kColumn);
    EXPECT_EQ(style & ~A_COLOR, static_cast<unsigned>(A_REVERSE));
    // It has no colour of its own: curses uses the screen's background.
    EXPECT_TRUE(PAIR_NUMBER(style) == 0 || PAIR_NUMBER(style) == 1);
    EXPECT_EQ(UnseenScreen::Style(kLine, kColumn + 1), kWhiteOnBlue | A_BOLD);
}

TEST_F(MenuPaint, AHotKeyLetterLooksTheSameOnEveryUnselectedRow) {
    MenuItem& item = AddUnselected("Services");
    item.hot_key = 's';
    for (int flags : {int{MenuItem::kHover}, int{MenuItem::kDim}, int{MenuItem::kMarked}}) {
        item.flags = static_cast<std::uint8_t>(flags);
        menu.Draw();
        EXPECT_EQ(UnseenScreen::Style(kLine + 1, kColumn), kYellow | A_BOLD) << flags;
    }
}

TEST_F(MenuPaint, WithoutColumnsHotKeyLettersAreStillShown) {
    AddUnselected("Services").hot_key = 's';
    menu.SetSize(0, kHeight);
    menu.Draw();
    EXPECT_EQ(UnseenScreen::Line(kLine + 1), "    S");
}

TEST_F(MenuPaint, AMarkFollowsTheOnlyColumn) {
    AddUnselected("Services").hot_key = 'z';
    menu.SetSize(1, kHeight);
    menu.Draw();
    EXPECT_EQ(UnseenScreen::Line(kLine + 1), "    S z");
}

TEST_F(MenuPaint, AMarkOutsideTheScreenIsLeftOut) {
    menu.SetPosition(COLS - 10, kLine);
    menu.SetSize(9, kHeight);
    AddUnselected("abcdefghi").hot_key = 'z';
    UnseenScreen::Fill('#');
    menu.Draw();
    EXPECT_EQ(UnseenScreen::Line(kLine + 1), std::string(70, '#') + "abcdefghi#");
    EXPECT_EQ(UnseenScreen::Line(kLine + 2).substr(0, 10), "##########");
}

TEST(MenuPaintUtf8, AMarkIsOnItsLetterAfterWideCharacters) {
    const Characters utf8("C.UTF-8");
    ASSERT_TRUE(utf8.available);
    const UnseenScreen screen;
    ASSERT_TRUE(screen.IsReady());
    Menu menu;
    menu.Init();
    menu.AddItem("selected", 1);
    menu.SetHotKey(menu.AddItem("\xc3\xa9\xe6\x97\xa5x", 2), 'x');
    menu.SetHotKey(menu.AddItem("caf\xc3\xa9", 3), 'z');
    menu.Draw();
    EXPECT_EQ(UnseenScreen::Character(menu.y + 1, menu.x + 3), 'x');
    EXPECT_EQ(UnseenScreen::Style(menu.y + 1, menu.x + 3), kYellow | A_BOLD);
    EXPECT_EQ(UnseenScreen::Character(menu.y + 2, menu.x + 5), 'z');
    EXPECT_EQ(UnseenScreen::Style(menu.y + 2, menu.x + 5), kYellow | A_BOLD);
}

// ---- what a key repaints ----

class MenuRepaint : public MenuPaint {
  protected:
    void SetUp() override {
        MenuPaint::SetUp();
        for (const char* label : {"a", "b", "c", "d", "e", "f", "g", "h"})
            menu.AddItem(label, 1);
        menu.ClearRedraw();
        UnseenScreen::Fill('#');
    }

    // The first letters of the rows drawn since the last call.
    std::string Drawn() {
        std::string drawn;
        for (int line = kLine; line < kLine + kHeight; ++line) {
            const char letter = UnseenScreen::Character(line, kColumn);
            if (letter != '#') drawn += letter;
        }
        UnseenScreen::Fill('#');
        return drawn;
    }
};

TEST_F(MenuRepaint, DoesNotPaintIfAFullRepaintIsDue) {
    menu.redraw = true;
    menu.HandleKey(KEY_DOWN);
    EXPECT_EQ(menu.selection, 1);
    EXPECT_EQ(Drawn(), "");
}

TEST_F(MenuRepaint, AMoveRepaintsTheOldAndTheNewRow) {
    menu.HandleKey(KEY_DOWN);
    EXPECT_EQ(UnseenScreen::Style(kLine, kColumn), kWhite | A_BOLD);
    EXPECT_EQ(UnseenScreen::Style(kLine + 1, kColumn), kWhiteOnBlue | A_BOLD);
    EXPECT_EQ(Drawn(), "ab");
    menu.HandleKey(KEY_NPAGE);
    EXPECT_EQ(Drawn(), "bd");
}

TEST_F(MenuRepaint, ScrollingRepaintsEveryVisibleRow) {
    menu.HandleKey(KEY_END);
    EXPECT_EQ(Drawn(), "efgh");
    menu.HandleKey(KEY_HOME);
    EXPECT_EQ(Drawn(), "abcd");
}

TEST_F(MenuRepaint, AKeyThatMovesNothingRepaintsNothing) {
    for (int key : {ERR, KEY_HOME, KEY_PPAGE, 10, 27, KEY_RESIZE, KEY_MOUSE, int{'x'}}) {
        menu.HandleKey(key);
        EXPECT_EQ(Drawn(), "") << key;
    }
}

}  // namespace
