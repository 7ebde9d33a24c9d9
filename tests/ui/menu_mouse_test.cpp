// The mouse on a menu: events as curses reports them.
#include <gtest/gtest.h>

#include <vector>

#include "ui/menu.h"
#include "ui/screen_fixture.h"
#include "util/clock.h"

namespace {

constexpr int kColumn = 10;
constexpr int kLine = 5;
constexpr int kWidth = 20;
constexpr int kHeight = 4;
constexpr int kInside = kColumn + 3;

constexpr mmask_t kMotion = REPORT_MOUSE_POSITION;
constexpr mmask_t kPressed = BUTTON1_PRESSED;
constexpr mmask_t kClicked = BUTTON1_CLICKED;
constexpr mmask_t kDoubleClicked = BUTTON1_DOUBLE_CLICKED;

// Eight rows, four of them visible; row 2 is a separator.
class MenuMouse : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(screen.IsReady());
        menu.Init();
        menu.SetPosition(kColumn, kLine);
        menu.SetSize(kWidth, kHeight);
        for (const char* label : {"a", "b", "", "d", "e", "f", "g", "h"}) {
            if (*label == '\0') {
                menu.AddSeparator();
            } else {
                menu.AddItem(label, 1);
            }
        }
        menu.Draw();
    }

    void Mouse(int line, int column, mmask_t buttons) {
        UnseenScreen::SendMouse(line, column, buttons);
        getch();
        menu.HandleMouse();
    }

    // The effect of the event in one pass of the screen loop.
    Menu::Result Pass(int line, int column, mmask_t buttons) {
        Mouse(line, column, buttons);
        return menu.HandleKey(KEY_MOUSE);
    }

    std::vector<int> Hovered() {
        std::vector<int> rows;
        for (int index = 0; index < menu.Count(); ++index) {
            if (menu.ItemAt(index)->Has(MenuItem::kHover)) rows.push_back(index);
        }
        return rows;
    }

    UnseenScreen screen;
    Menu menu;
};

using Indices = std::vector<int>;

// ---- hover ----

TEST_F(MenuMouse, TheRowUnderThePointerIsHovered) {
    Mouse(kLine + 1, kInside, kMotion);
    EXPECT_EQ(Hovered(), Indices{1});
    Mouse(kLine + 3, kInside, kMotion);
    EXPECT_EQ(Hovered(), Indices{3});
    EXPECT_EQ(menu.selection, 0);
}

TEST_F(MenuMouse, TheCursorStaysOnTheSelectedRow) {
    Mouse(kLine + 1, kInside, kPressed);
    Mouse(kLine + 3, kInside, kMotion);
    EXPECT_EQ(getcury(curscr), kLine + 1);
    EXPECT_EQ(getcurx(curscr), kColumn);
}

// Only visible rows are checked: a row that was scrolled away while hovered stays hovered.
TEST_F(MenuMouse, HoverFollowsTheScrolledRows) {
    Mouse(kLine + 1, kInside, kMotion);
    menu.top = 3;
    menu.selection = 3;
    Mouse(kLine + 1, kInside, kMotion);
    EXPECT_EQ(Hovered(), (Indices{1, 4}));
}

TEST_F(MenuMouse, HoverShowsAtOnce) {
    Mouse(kLine + 1, kInside, kMotion);
    EXPECT_EQ(UnseenScreen::Style(kLine + 1, kColumn), COLOR_PAIR(3) | A_BOLD);
    Mouse(kLine, kInside, kMotion);
    EXPECT_EQ(UnseenScreen::Style(kLine + 1, kColumn), COLOR_PAIR(1) | A_BOLD);
    EXPECT_EQ(UnseenScreen::Style(kLine, kColumn), COLOR_PAIR(4) | A_BOLD);
}

TEST_F(MenuMouse, OnlyRowsWhoseHoverChangesAreRepainted) {
    Mouse(kLine + 1, kInside, kMotion);
    UnseenScreen::Fill('#');
    Mouse(kLine + 1, kInside + 1, kMotion);
    EXPECT_EQ(UnseenScreen::Character(kLine + 1, kColumn), '#');
    Mouse(kLine + 3, kInside, kMotion);
    std::string drawn;
    for (int line = kLine; line < kLine + kHeight; ++line)
        drawn += UnseenScreen::Character(line, kColumn);
    EXPECT_EQ(drawn, "#b#d");
}

// ---- selecting ----

struct Event {
    const char* what;
    int selection;  // before the event
    int line, column;
    mmask_t buttons;
    Menu::Result result;
    int new_selection;
};

constexpr int kLast = kColumn + kWidth - 1;

constexpr Event kEvents[] = {
    {"pressing", 0, kLine + 1, kInside, kPressed, Menu::kNotTaken, 1},
    {"pressing on the selected row", 1, kLine + 1, kInside, kPressed, Menu::kNotTaken, 1},
    {"a click", 0, kLine + 3, kInside, kClicked, Menu::kNotTaken, 3},
    {"a double click", 0, kLine + 3, kInside, kDoubleClicked, Menu::kNotTaken, 3},
    {"a click on the selected row", 1, kLine + 1, kInside, kClicked, Menu::kActivate, 1},
    {"a double click there", 1, kLine + 1, kInside, kDoubleClicked, Menu::kActivate, 1},
    {"pointing", 0, kLine + 1, kInside, kMotion, Menu::kNotTaken, 0},
    {"releasing", 3, kLine + 1, kInside, BUTTON1_RELEASED, Menu::kNotTaken, 3},
    {"a triple click", 3, kLine + 1, kInside, BUTTON1_TRIPLE_CLICKED, Menu::kNotTaken, 3},
    {"the middle button", 3, kLine + 1, kInside, BUTTON2_CLICKED, Menu::kNotTaken, 3},
    {"the right button", 3, kLine + 1, kInside, BUTTON3_PRESSED, Menu::kNotTaken, 3},
    {"the wheel up", 3, kLine + 1, kInside, BUTTON4_PRESSED, Menu::kNotTaken, 3},
    {"the wheel down", 3, kLine + 1, kInside, BUTTON5_PRESSED, Menu::kNotTaken, 3},
    {"the first column", 3, kLine + 1, kColumn, kPressed, Menu::kNotTaken, 1},
    {"the last column", 3, kLine + 1, kLast, kPressed, Menu::kNotTaken, 1},
    // What hits no row selects the first one, but never activates it.
    {"left of the row", 3, kLine + 1, kColumn - 1, kPressed, Menu::kNotTaken, 0},
    {"right of the row", 3, kLine + 1, kLast + 1, kPressed, Menu::kNotTaken, 0},
    {"above the list", 3, kLine - 1, kInside, kClicked, Menu::kNotTaken, 0},
    {"below the list", 3, kLine + kHeight, kInside, kDoubleClicked, Menu::kNotTaken, 0},
    {"at the top of the screen", 3, 0, kInside, kPressed, Menu::kNotTaken, 0},
    {"at the bottom of the screen", 3, 23, kInside, kClicked, Menu::kNotTaken, 0},
    {"outside, with the first row selected", 0, 23, kInside, kClicked, Menu::kNotTaken, 0},
    {"a separator", 3, kLine + 2, kInside, kClicked, Menu::kNotTaken, 0},
    {"a selected separator", 2, kLine + 2, kInside, kClicked, Menu::kNotTaken, 0},
};

TEST_F(MenuMouse, EventsSelectAndActivate) {
    for (const Event& event : kEvents) {
        SCOPED_TRACE(event.what);
        menu.selection = event.selection;
        EXPECT_EQ(Pass(event.line, event.column, event.buttons), event.result);
        EXPECT_EQ(menu.selection, event.new_selection);
        EXPECT_EQ(menu.click_pending, -1);
        const int row = event.line - kLine;
        const bool on_row =
            row >= 0 && row < kHeight && event.column >= kColumn && event.column <= kLast;
        EXPECT_EQ(Hovered(), on_row ? Indices{row} : Indices{}) << "any event hovers";
    }
}

TEST_F(MenuMouse, SelectingShowsAtOnce) {
    Mouse(kLine + 1, kInside, kPressed);
    EXPECT_EQ(UnseenScreen::Style(kLine, kColumn), COLOR_PAIR(1) | A_BOLD);
    EXPECT_EQ(UnseenScreen::Style(kLine + 1, kColumn), COLOR_PAIR(4) | A_BOLD);
}

TEST_F(MenuMouse, ASecondClickActivates) {
    for (mmask_t first : {kPressed, kClicked}) {
        menu.selection = 0;
        EXPECT_EQ(Pass(kLine + 3, kInside, first), Menu::kNotTaken);
        EXPECT_EQ(Pass(kLine + 3, kInside, kClicked), Menu::kActivate);
    }
}

TEST_F(MenuMouse, AClickOnTheSelectedRowIsArmedWithTheTime) {
    const double before = now_seconds();
    Mouse(kLine, kInside, kClicked);
    EXPECT_EQ(menu.click_pending, 1);
    EXPECT_GE(menu.click_time, before);
    EXPECT_LE(menu.click_time, now_seconds());
}

TEST_F(MenuMouse, AnArmedClickKeepsItsTime) {
    menu.click_pending = 1;
    menu.click_time = 77;
    Mouse(kLine, kInside, kClicked);
    EXPECT_EQ(menu.click_time, 77);
}

TEST_F(MenuMouse, AnUnselectableRowThatIsNotDimCanBeClicked) {
    menu.items[1].Set(MenuItem::kUnselectable, true);
    Mouse(kLine + 1, kInside, kClicked);
    EXPECT_EQ(menu.selection, 1);
}

TEST_F(MenuMouse, AClickOutsideAScrolledListScrollsBack) {
    menu.selection = 7;
    menu.top = 4;
    Pass(23, kInside, kClicked);
    EXPECT_EQ(menu.selection, 0);
    EXPECT_EQ(menu.top, 0);
}

TEST_F(MenuMouse, AClickHitsTheScrolledRow) {
    menu.selection = 4;
    menu.top = 3;
    Mouse(kLine + 2, kInside, kClicked);
    EXPECT_EQ(menu.selection, 5);
    EXPECT_EQ(Pass(kLine + 2, kInside, kClicked), Menu::kActivate);
}

TEST_F(MenuMouse, AMouseKeyWithoutAnEventDoesNothing) {
    menu.selection = 3;
    menu.HandleMouse();
    EXPECT_EQ(menu.selection, 3);
    EXPECT_EQ(Hovered(), Indices{});
    EXPECT_EQ(menu.HandleKey(KEY_MOUSE), Menu::kNotTaken);
}

TEST_F(MenuMouse, ClicksOnAnEmptyMenuDoNothing) {
    menu.Clear();
    EXPECT_EQ(Pass(kLine, kInside, kClicked), Menu::kNotTaken);
    EXPECT_EQ(menu.selection, 0);
    EXPECT_EQ(menu.click_pending, -1);
}

TEST_F(MenuMouse, ALineBelowTheLastRowIsOutsideTheList) {
    menu.Clear();
    menu.AddItem("a", 1);
    menu.AddItem("b", 2);
    menu.selection = 1;
    EXPECT_EQ(Pass(kLine + 2, kInside, kClicked), Menu::kNotTaken);
    EXPECT_EQ(menu.selection, 0);
}

}  // namespace
