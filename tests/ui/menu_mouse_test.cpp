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

TEST_F(MenuMouse, HoverReachesFromTheFirstToTheLastColumn) {
    struct {
        int column;
        bool hovered;
    } const kCases[] = {{kColumn - 1, false},
                        {kColumn, true},
                        {kColumn + kWidth - 1, true},
                        {kColumn + kWidth, false}};
    for (const auto& row : kCases) {
        Mouse(kLine, row.column, kMotion);
        EXPECT_EQ(!Hovered().empty(), row.hovered) << row.column;
    }
}

TEST_F(MenuMouse, HoverEndsAboveAndBelowTheVisibleRows) {
    for (int line : {kLine - 1, kLine + kHeight, 0, 23}) {
        Mouse(kLine + 1, kInside, kMotion);
        EXPECT_EQ(Hovered(), Indices{1});
        Mouse(line, kInside, kMotion);
        EXPECT_EQ(Hovered(), Indices{}) << line;
    }
}

TEST_F(MenuMouse, HoverFollowsTheScrolledRows) {
    menu.top = 3;
    menu.selection = 3;
    Mouse(kLine + 1, kInside, kMotion);
    EXPECT_EQ(Hovered(), Indices{4});
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

TEST_F(MenuMouse, HoverDoesNotSelect) {
    EXPECT_EQ(Pass(kLine + 1, kInside, kMotion), Menu::kNotTaken);
    EXPECT_EQ(menu.selection, 0);
    EXPECT_EQ(menu.click_pending, -1);
}

TEST_F(MenuMouse, AClickHoversToo) {
    Mouse(kLine + 1, kInside, kClicked);
    EXPECT_EQ(Hovered(), Indices{1});
}

// ---- selecting ----

TEST_F(MenuMouse, PressingSelectsButDoesNotActivate) {
    EXPECT_EQ(Pass(kLine + 1, kInside, kPressed), Menu::kNotTaken);
    EXPECT_EQ(menu.selection, 1);
    EXPECT_EQ(Pass(kLine + 1, kInside, kPressed), Menu::kNotTaken);
    EXPECT_EQ(menu.click_pending, -1);
}

TEST_F(MenuMouse, SelectingShowsAtOnce) {
    Mouse(kLine + 1, kInside, kPressed);
    EXPECT_EQ(UnseenScreen::Style(kLine, kColumn), COLOR_PAIR(1) | A_BOLD);
    EXPECT_EQ(UnseenScreen::Style(kLine + 1, kColumn), COLOR_PAIR(4) | A_BOLD);
}

TEST_F(MenuMouse, AClickOnAnotherRowOnlySelectsIt) {
    for (mmask_t buttons : {kClicked, kDoubleClicked}) {
        menu.selection = 0;
        EXPECT_EQ(Pass(kLine + 3, kInside, buttons), Menu::kNotTaken) << buttons;
        EXPECT_EQ(menu.selection, 3) << buttons;
        EXPECT_LE(menu.click_pending, 0) << buttons;
    }
}

TEST_F(MenuMouse, AClickOnTheSelectedRowActivatesIt) {
    for (mmask_t buttons : {kClicked, kDoubleClicked}) {
        menu.selection = 1;
        EXPECT_EQ(Pass(kLine + 1, kInside, buttons), Menu::kActivate) << buttons;
        EXPECT_EQ(menu.selection, 1) << buttons;
        EXPECT_EQ(menu.click_pending, -1) << buttons;
    }
}

TEST_F(MenuMouse, TwoClicksSelectAndActivate) {
    EXPECT_EQ(Pass(kLine + 3, kInside, kClicked), Menu::kNotTaken);
    EXPECT_EQ(Pass(kLine + 3, kInside, kClicked), Menu::kActivate);
}

TEST_F(MenuMouse, PressingAndThenAClickActivate) {
    EXPECT_EQ(Pass(kLine + 3, kInside, kPressed), Menu::kNotTaken);
    EXPECT_EQ(Pass(kLine + 3, kInside, kClicked), Menu::kActivate);
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

TEST_F(MenuMouse, OnlyTheColumnsOfARowCount) {
    struct {
        int column;
        int selection;
    } const kCases[] = {
        {kColumn - 1, 0}, {kColumn, 1}, {kColumn + kWidth - 1, 1}, {kColumn + kWidth, 0}};
    for (const auto& row : kCases) {
        menu.selection = 3;
        Mouse(kLine + 1, row.column, kPressed);
        EXPECT_EQ(menu.selection, row.selection) << row.column;
    }
}

TEST_F(MenuMouse, AClickOutsideTheListSelectsTheFirstRow) {
    for (mmask_t buttons : {kPressed, kClicked, kDoubleClicked}) {
        for (int line : {kLine - 1, kLine + kHeight, 0, 23}) {
            menu.selection = 3;
            EXPECT_EQ(Pass(line, kInside, buttons), Menu::kNotTaken) << line;
            EXPECT_EQ(menu.selection, 0) << line;
            EXPECT_EQ(menu.click_pending, -1) << line;
        }
    }
}

TEST_F(MenuMouse, AClickOnASeparatorSelectsTheFirstRow) {
    menu.selection = 3;
    EXPECT_EQ(Pass(kLine + 2, kInside, kClicked), Menu::kNotTaken);
    EXPECT_EQ(menu.selection, 0);
}

TEST_F(MenuMouse, AClickOnASelectedSeparatorAlsoSelectsTheFirstRow) {
    menu.selection = 2;
    EXPECT_EQ(Pass(kLine + 2, kInside, kClicked), Menu::kNotTaken);
    EXPECT_EQ(menu.selection, 0);
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

TEST_F(MenuMouse, OtherButtonsOnlyHover) {
    for (mmask_t buttons :
         {mmask_t{BUTTON1_RELEASED}, mmask_t{BUTTON2_CLICKED}, mmask_t{BUTTON3_PRESSED},
          mmask_t{BUTTON4_PRESSED}, mmask_t{BUTTON5_PRESSED}, mmask_t{BUTTON1_TRIPLE_CLICKED}}) {
        menu.selection = 3;
        EXPECT_EQ(Pass(kLine + 1, kInside, buttons), Menu::kNotTaken) << buttons;
        EXPECT_EQ(menu.selection, 3) << buttons;
        EXPECT_EQ(Hovered(), Indices{1}) << buttons;
    }
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
