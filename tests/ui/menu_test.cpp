// The logic of the menu, without a screen: its output goes nowhere.
#include "ui/menu.h"

#include <curses.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "ui/screen_fixture.h"
#include "ui/terminal.h"
#include "util/clock.h"

namespace {

constexpr int kTall = 100;

// One row per character: '-' is a separator, '.' a row without a hot key, any other character a row
// with that hot key. Row ids start at 100.
Menu MenuOf(std::string_view rows, int height = kTall) {
    Menu menu;
    menu.Init();
    menu.SetSize(20, height);
    for (char row : rows) {
        if (row == '-') {
            menu.AddSeparator();
            continue;
        }
        const int index = menu.AddItem(std::string("row ") + row, 100 + menu.Count());
        if (row != '.') menu.SetHotKey(index, row);
    }
    return menu;
}

// ---- rows ----

TEST(MenuRows, EachKindHasItsLabelIdAndFlags) {
    Menu menu;
    EXPECT_EQ(menu.AddBlank(), 0);
    EXPECT_EQ(menu.AddItem("Services", 20016), 1);
    EXPECT_EQ(menu.AddSeparator(), 2);
    EXPECT_EQ(menu.AddInformation("   IPv6: ::1/128", -1), 3);
    constexpr int kUnavailable = MenuItem::kDim | MenuItem::kUnselectable;
    const struct {
        const char* label;
        int id, flags;
    } kRows[] = {{"", 0, 0},
                 {"Services", 20016, 0},
                 {"", 0, kUnavailable},
                 {"   IPv6: ::1/128", -1, kUnavailable}};
    for (int index = 0; index < menu.Count(); ++index) {
        const MenuItem& item = *menu.ItemAt(index);
        EXPECT_EQ(item.label, kRows[index].label);
        EXPECT_EQ(item.id, kRows[index].id);
        EXPECT_EQ(item.flags, kRows[index].flags);
        EXPECT_EQ(item.hot_key, 0);
        EXPECT_EQ(item.name, "");
    }
    EXPECT_EQ(menu.Count(), 4);
}

TEST(MenuRows, MarkingChangesNoOtherFlag) {
    Menu menu = MenuOf("-.");
    menu.SetMarked(0, true);
    EXPECT_EQ(menu.ItemAt(0)->flags, 3 | 8);
    EXPECT_EQ(menu.ItemAt(1)->flags, 0);
    menu.SetMarked(0, false);
    EXPECT_EQ(menu.ItemAt(0)->flags, 3);
}

TEST(MenuRows, ABadIndexIsIgnored) {
    Menu menu = MenuOf("ab");
    for (int index : {-1, 2, 1000, -1000}) {
        EXPECT_EQ(menu.ItemAt(index), nullptr);
        menu.SetHotKey(index, 'x');
        menu.SetName(index, "x");
        menu.SetMarked(index, true);
        menu.DrawItem(index);
    }
    EXPECT_EQ(menu.Count(), 2);
    EXPECT_EQ(menu.ItemAt(0)->hot_key, 'a');
    EXPECT_EQ(menu.ItemAt(1)->hot_key, 'b');
    EXPECT_EQ(menu.ItemAt(0)->name + menu.ItemAt(1)->name, "");
    EXPECT_EQ(menu.ItemAt(0)->flags | menu.ItemAt(1)->flags, 0);
}

TEST(MenuInit, SetsTheDefaultsAndKeepsTheRows) {
    const UnseenScreen screen;
    Menu menu = MenuOf("ab");
    menu.inactive = true;
    menu.selection = menu.top = menu.x = menu.y = 7;
    menu.redraw = menu.running = false;
    menu.click_pending = 1;
    menu.click_time = 8;
    menu.Init();
    EXPECT_FALSE(menu.inactive);
    EXPECT_EQ(menu.selection, 0);
    EXPECT_EQ(menu.top, 0);
    EXPECT_TRUE(menu.redraw);
    EXPECT_TRUE(menu.IsRunning());
    EXPECT_EQ(menu.width, 72);
    EXPECT_EQ(menu.height, 16);
    EXPECT_EQ(menu.x, 4);
    EXPECT_EQ(menu.y, 4);
    EXPECT_EQ(menu.click_pending, -1);
    EXPECT_EQ(menu.click_time, 0);
    EXPECT_EQ(menu.Count(), 2);
}

// ---- the key table ----

struct Press {
    const char* rows;
    int height;
    int top;
    int selection;
    int key;
    int new_selection;
    int new_top;
};

void ExpectMoves(const std::vector<Press>& presses) {
    for (const Press& press : presses) {
        SCOPED_TRACE(std::string(press.rows) + " height " + std::to_string(press.height) + " top " +
                     std::to_string(press.top) + " selection " + std::to_string(press.selection) +
                     " key " + std::to_string(press.key));
        Menu menu = MenuOf(press.rows, press.height);
        menu.top = press.top;
        menu.selection = press.selection;
        EXPECT_EQ(menu.HandleKey(press.key), Menu::kConsumed);
        EXPECT_EQ(menu.selection, press.new_selection);
        EXPECT_EQ(menu.top, press.new_top);
        EXPECT_TRUE(menu.running);
    }
}

TEST(MenuKeys, UpAndDownGoToTheNextSelectableRow) {
    ExpectMoves({
        // by one row
        {"...", kTall, 0, 0, KEY_DOWN, 1, 0},
        {"...", kTall, 0, 1, KEY_DOWN, 2, 0},
        {"...", kTall, 0, 2, KEY_UP, 1, 0},
        {"...", kTall, 0, 1, KEY_UP, 0, 0},
        // around the ends
        {"...", kTall, 0, 2, KEY_DOWN, 0, 0},
        {"...", kTall, 0, 0, KEY_UP, 2, 0},
        {".", kTall, 0, 0, KEY_DOWN, 0, 0},
        {".", kTall, 0, 0, KEY_UP, 0, 0},
        // over rows that cannot be selected
        {".-.", kTall, 0, 0, KEY_DOWN, 2, 0},
        {".---.", kTall, 0, 0, KEY_DOWN, 4, 0},
        {".-.", kTall, 0, 2, KEY_UP, 0, 0},
        {"-.-.-", kTall, 0, 3, KEY_DOWN, 1, 0},
        {"-.-.-", kTall, 0, 1, KEY_UP, 3, 0},
        {"-.-", kTall, 0, 1, KEY_DOWN, 1, 0},
        {"-.-", kTall, 0, 1, KEY_UP, 1, 0},
        // away from a separator
        {"..-", kTall, 0, 2, KEY_DOWN, 0, 0},
        {"-..-", kTall, 0, 3, KEY_DOWN, 1, 0},
        {"-..-", kTall, 0, 0, KEY_UP, 2, 0},
        {".-.", kTall, 0, 1, KEY_DOWN, 2, 0},
        {".-.", kTall, 0, 1, KEY_UP, 0, 0},
    });
}

TEST(MenuKeys, UpAndDownScrollJustFarEnough) {
    ExpectMoves({
        {"......", 3, 0, 2, KEY_DOWN, 3, 1},
        {"......", 3, 3, 3, KEY_UP, 2, 2},
        {"......", 3, 1, 2, KEY_DOWN, 3, 1},
        {"......", 3, 3, 5, KEY_DOWN, 0, 0},
        {"......", 3, 0, 0, KEY_UP, 5, 3},
        {".--.", 2, 0, 0, KEY_DOWN, 3, 2},
        {"......", 1, 0, 0, KEY_DOWN, 1, 1},
        {"......", 1, 1, 1, KEY_UP, 0, 0},
    });
}

TEST(MenuKeys, HomeAndEndGoToTheFirstAndLastRow) {
    ExpectMoves({
        {"......", 3, 2, 3, KEY_HOME, 0, 0},
        {"......", 3, 0, 1, KEY_END, 5, 3},
        {"......", kTall, 0, 1, KEY_END, 5, 0},
        {"......", 3, 0, 0, KEY_HOME, 0, 0},
        {"......", 3, 3, 5, KEY_END, 5, 3},
        // also to a separator
        {"-..-", kTall, 0, 1, KEY_HOME, 0, 0},
        {"-..-", kTall, 0, 1, KEY_END, 3, 0},
    });
}

constexpr const char* kTwenty = "....................";

TEST(MenuKeys, PageDownGoesToTheBottomThenByAPage) {
    ExpectMoves({
        // to the bottom of the screen
        {kTwenty, 5, 0, 0, KEY_NPAGE, 4, 0},
        {kTwenty, 5, 0, 3, KEY_NPAGE, 4, 0},
        {kTwenty, 5, 7, 7, KEY_NPAGE, 11, 7},
        {kTwenty, 5, 15, 17, KEY_NPAGE, 19, 15},
        // from the bottom, by a page
        {kTwenty, 5, 0, 4, KEY_NPAGE, 8, 4},
        {kTwenty, 5, 4, 8, KEY_NPAGE, 12, 8},
        {kTwenty, 5, 12, 16, KEY_NPAGE, 19, 15},
        {kTwenty, 5, 14, 18, KEY_NPAGE, 19, 15},
        {kTwenty, 2, 3, 4, KEY_NPAGE, 5, 4},
        // not beyond the last row
        {kTwenty, 5, 15, 19, KEY_NPAGE, 19, 15},
        {kTwenty, 5, 17, 17, KEY_NPAGE, 19, 17},
        {"...", 5, 0, 0, KEY_NPAGE, 2, 0},
        {"...", 5, 0, 2, KEY_NPAGE, 2, 0},
        {"...", 3, 0, 2, KEY_NPAGE, 2, 0},
        {".", 5, 0, 0, KEY_NPAGE, 0, 0},
    });
}

TEST(MenuKeys, PageUpGoesToTheTopThenByAPage) {
    ExpectMoves({
        // to the top of the screen
        {kTwenty, 5, 4, 8, KEY_PPAGE, 4, 4},
        {kTwenty, 5, 4, 5, KEY_PPAGE, 4, 4},
        {kTwenty, 5, 15, 19, KEY_PPAGE, 15, 15},
        {kTwenty, 5, 0, 3, KEY_PPAGE, 0, 0},
        // from the top, by a page
        {kTwenty, 5, 15, 15, KEY_PPAGE, 11, 11},
        {kTwenty, 5, 8, 8, KEY_PPAGE, 4, 4},
        {kTwenty, 5, 4, 4, KEY_PPAGE, 0, 0},
        {kTwenty, 2, 4, 4, KEY_PPAGE, 3, 3},
        // not beyond the first row
        {kTwenty, 5, 3, 3, KEY_PPAGE, 0, 0},
        {kTwenty, 5, 1, 1, KEY_PPAGE, 0, 0},
        {kTwenty, 5, 0, 0, KEY_PPAGE, 0, 0},
    });
}

TEST(MenuKeys, PageKeysMaySelectASeparator) {
    ExpectMoves({
        {"..-...", 3, 0, 0, KEY_NPAGE, 2, 0},
        {"....-.", 3, 0, 2, KEY_NPAGE, 4, 2},
        {".-....", 3, 1, 3, KEY_PPAGE, 1, 1},
        {"-.....", 3, 0, 2, KEY_PPAGE, 0, 0},
        {".-....", 3, 3, 3, KEY_PPAGE, 1, 1},
        // Paging keeps the last row of the page visible, so a page of one row never changes.
        {"...", 1, 1, 1, KEY_NPAGE, 1, 1},
        {"...", 1, 1, 1, KEY_PPAGE, 1, 1},
    });
}

TEST(MenuKeys, EscapeAndBackspaceEndTheMenu) {
    for (int key : {27, KEY_BACKSPACE}) {
        Menu menu = MenuOf("...");
        menu.selection = 1;
        EXPECT_EQ(menu.HandleKey(key), Menu::kConsumed) << key;
        EXPECT_FALSE(menu.running) << key;
        EXPECT_FALSE(menu.IsRunning()) << key;
        EXPECT_EQ(menu.selection, 1) << key;
    }
}

TEST(MenuKeys, ResizeAsksForARepaint) {
    Menu menu = MenuOf("...");
    menu.ClearRedraw();
    EXPECT_EQ(menu.HandleKey(KEY_RESIZE), Menu::kConsumed);
    EXPECT_TRUE(menu.NeedsRedraw());
    EXPECT_TRUE(menu.running);
}

TEST(MenuKeys, NoOtherKeyAsksForARepaint) {
    for (int key : {KEY_DOWN, KEY_UP, KEY_HOME, KEY_END, KEY_NPAGE, KEY_PPAGE, 10, ERR, int{'a'}}) {
        Menu menu = MenuOf("a..", 2);
        menu.ClearRedraw();
        menu.HandleKey(key);
        EXPECT_FALSE(menu.NeedsRedraw()) << key;
    }
}

TEST(MenuKeys, EnterActivatesWithoutMoving) {
    for (int key : {10, 13, KEY_ENTER}) {
        Menu menu = MenuOf("...");
        menu.selection = 1;
        EXPECT_EQ(menu.HandleKey(key), Menu::kActivate) << key;
        EXPECT_EQ(menu.selection, 1) << key;
        EXPECT_TRUE(menu.running) << key;
    }
}

TEST(MenuKeys, EnterActivatesEvenOnASeparator) {
    Menu menu = MenuOf("-.");
    EXPECT_EQ(menu.HandleKey(10), Menu::kActivate);
}

TEST(MenuKeys, OtherKeysAreNotUsed) {
    for (int key : {ERR, KEY_MOUSE, KEY_LEFT, KEY_RIGHT, KEY_DC, KEY_IC, KEY_F(1), 0, 1, 8, 127,
                    int{'x'}, int{' '}, kUnknownKey}) {
        Menu menu = MenuOf("abc");
        menu.selection = 1;
        EXPECT_EQ(menu.HandleKey(key), Menu::kNotTaken) << key;
        EXPECT_EQ(menu.selection, 1) << key;
        EXPECT_TRUE(menu.running) << key;
    }
}

// ---- rebuilt rows ----

// Rows of a list are identified by their name, rows of the screen by their id, all others by their
// label.
Menu Network(const std::vector<const char*>& names) {
    Menu menu;
    menu.Init();
    menu.AddItem("Scan", 1);
    for (const char* name : names) {
        menu.SetName(menu.AddItem(std::string("network ") + name, 100 + menu.Count()), name);
        menu.AddInformation("   IPv4: 192.0.2.1", -1);
        menu.AddInformation(std::string("   of ") + name, -1);
    }
    menu.AddItem("Main menu", 2);
    return menu;
}

struct Following {
    const char* what;
    std::vector<const char*> before;
    int selection;
    std::vector<const char*> after;
    int follows;
};

TEST(FollowRow, SelectsTheCorrespondingRow) {
    const Following kCases[] = {
        {"a screen's own row", {"a", "b"}, 7, {"a"}, 4},
        {"a screen's own row, below a longer list", {"a"}, 4, {"a", "b"}, 7},
        {"a list's row", {"a", "b"}, 4, {"x", "a", "b"}, 7},
        {"a list's row that has become the first", {"a", "b"}, 4, {"b", "a"}, 1},
        {"an information row", {"a", "b"}, 6, {"b"}, 3},
        {"the nearest of rows with the same text", {"a", "b"}, 5, {"x", "a", "b"}, 5},
        {"a list's row that has gone", {"a", "b", "c"}, 4, {"a", "c"}, 4},
        {"the last one of a list", {"a"}, 1, {}, 1},
        {"an information row that has gone", {"a", "b"}, 3, {"b"}, 3},
        {"nothing has changed", {"a", "b"}, 4, {"a", "b"}, 4},
    };
    for (const Following& row : kCases) {
        SCOPED_TRACE(row.what);
        Menu menu = Network(row.before);
        menu.selection = row.selection;
        const MenuItem selected = *menu.ItemAt(row.selection);
        const Menu after = Network(row.after);
        menu.items = after.items;
        menu.FollowRow(selected);
        EXPECT_EQ(menu.selection, row.follows);
    }
}

TEST(FollowRow, DoesNotMoveFromAnInformationRowToAnActionRow) {
    Menu menu = MenuOf("a--b");
    MenuItem gone;
    gone.label = "gone";
    gone.id = -1;
    gone.flags = 3;
    for (const auto& [selection, stays_at] : {std::pair{1, 1}, {2, 2}, {3, 2}, {9, 2}, {0, 0}}) {
        menu.selection = selection;
        menu.FollowRow(gone);
        EXPECT_EQ(menu.selection, stays_at) << selection;
    }
    menu.selection = 3;
    gone.flags = 0;
    menu.FollowRow(gone);
    EXPECT_EQ(menu.selection, 3) << "a row with an action must keep its place";
}

TEST(FollowRow, AnEmptyMenuIsHarmless) {
    Menu menu = MenuOf("ab");
    menu.selection = 1;
    const MenuItem selected = *menu.ItemAt(1);
    menu.Clear();
    menu.FollowRow(selected);
    EXPECT_GE(menu.selection, 0);
    EXPECT_EQ(menu.ItemAt(menu.selection), nullptr);
}

TEST(FitView, SelectsTheLastRowIfTheSelectedOneIsGone) {
    Menu menu = MenuOf("abc");
    for (const auto& [before, after] : {std::pair{0, 0}, {2, 2}, {3, 2}, {19, 2}}) {
        menu.selection = before;
        menu.FitView();
        EXPECT_EQ(menu.selection, after);
        EXPECT_EQ(menu.top, 0);
    }
}

TEST(FitView, ShowsAsManyRowsAsFit) {
    struct {
        int height, top, selection, new_top;
    } const kCases[] = {
        {4, 0, 0, 0}, {4, 6, 9, 6},   // unchanged
        {4, 8, 9, 6}, {20, 6, 9, 0},  // fewer rows, or more room
        {4, 0, 9, 6}, {4, 6, 2, 2},   // the selection must be visible
    };
    for (const auto& row : kCases) {
        Menu menu = MenuOf("..........", row.height);
        menu.top = row.top;
        menu.selection = row.selection;
        menu.FitView();
        EXPECT_EQ(menu.top, row.new_top) << row.height << " " << row.top;
        EXPECT_EQ(menu.selection, row.selection);
    }
}

// ---- hot keys ----

TEST(MenuHotKeys, SelectTheNextRowWithTheKey) {
    struct {
        const char* what;
        const char* rows;
        int selection;
        int key;
        int new_selection;
    } const kCases[] = {
        {"after the selected row", "a.a.a", 2, 'a', 4},
        {"around the end", "a.a.a", 4, 'a', 0},
        {"the only one", "ab-c", 0, 'c', 3},
        {"the selected row last", ".a.", 1, 'a', 1},
        {"in the order of the rows", "ud.ud", 0, 'd', 1},
        {"pressed again", "ud.ud", 1, 'd', 4},
        {"from beyond the last row", "abc", 3, 'b', 1},
        {"from far beyond it", "abc", 50, 'b', 1},
    };
    for (const auto& row : kCases) {
        SCOPED_TRACE(row.what);
        Menu menu = MenuOf(row.rows);
        menu.selection = row.selection;
        EXPECT_EQ(menu.SelectByHotKey(row.key), row.new_selection);
        EXPECT_EQ(menu.selection, row.new_selection);
        menu.selection = row.selection;
        EXPECT_EQ(menu.HandleKey(row.key), Menu::kConsumed) << "it must not activate";
    }
}

TEST(MenuHotKeys, OtherKeysSelectNothing) {
    Menu menu = MenuOf("ad..-");
    menu.SetHotKey(2, ERR);
    menu.SetHotKey(4, 'x');  // of a row that cannot be selected
    menu.selection = 1;
    for (int key : {int{'x'}, int{'z'}, int{'A'}, 0, ERR, -100}) {
        EXPECT_EQ(menu.SelectByHotKey(key), -1) << key;
        EXPECT_EQ(menu.HandleKey(key), Menu::kNotTaken) << key;
        EXPECT_EQ(menu.selection, 1) << key;
    }
    menu.items[0].Set(MenuItem::kDim, true);
    EXPECT_EQ(menu.SelectByHotKey('a'), 0) << "a dim row can be selected";
}

TEST(MenuHotKeys, ScrollsToARowOutOfSight) {
    Menu menu = MenuOf("......a", 3);
    menu.HandleKey('a');
    EXPECT_EQ(menu.selection, 6);
    EXPECT_EQ(menu.top, 4);
}

// ---- many steps ----

TEST(MenuSteps, AMoveCanTakeSeveralSelectableSteps) {
    Menu menu = MenuOf(".-..-.");
    menu.MoveDown(3);
    EXPECT_EQ(menu.selection, 5);
    menu.MoveUp(2);
    EXPECT_EQ(menu.selection, 2);
    menu.MoveUp(2);
    EXPECT_EQ(menu.selection, 5);
    menu.MoveDown(5);
    EXPECT_EQ(menu.selection, 0);
}

TEST(MenuSteps, ZeroStepsMoveNothing) {
    Menu menu = MenuOf("...");
    menu.selection = 1;
    menu.MoveDown(0);
    menu.MoveUp(0);
    EXPECT_EQ(menu.selection, 1);
}

TEST(MenuSteps, StopsAfter101StepsIfNoRowIsSelectable) {
    Menu menu = MenuOf(std::string(10, '-'));
    menu.HandleKey(KEY_DOWN);
    EXPECT_EQ(menu.selection, 1);  // ten times around and one further
    menu.selection = 0;
    menu.HandleKey(KEY_UP);
    EXPECT_EQ(menu.selection, 9);
}

TEST(MenuSteps, ARow101StepsAwayIsReached) {
    Menu menu = MenuOf("." + std::string(100, '-') + "." + std::string(100, '-'));
    menu.HandleKey(KEY_DOWN);
    EXPECT_EQ(menu.selection, 101);
    menu.HandleKey(KEY_UP);
    EXPECT_EQ(menu.selection, 0);
}

TEST(MenuSteps, ARow102StepsAwayIsNotReached) {
    Menu menu = MenuOf("." + std::string(101, '-') + ".");
    menu.HandleKey(KEY_DOWN);
    EXPECT_EQ(menu.selection, 101);
    menu.selection = 102;
    menu.HandleKey(KEY_UP);
    EXPECT_EQ(menu.selection, 1);
}

// ---- clicks ----

Menu MenuWithClick(double seconds_ago) {
    Menu menu = MenuOf("a..");
    menu.selection = 1;
    menu.click_pending = 1;
    menu.click_time = now_seconds() - seconds_ago;
    return menu;
}

TEST(MenuClick, AnArmedClickActivates) {
    for (int key : {KEY_MOUSE, ERR, int{'x'}}) {
        Menu menu = MenuWithClick(0);
        EXPECT_EQ(menu.HandleKey(key), Menu::kActivate) << key;
        EXPECT_EQ(menu.click_pending, -1) << key;
        EXPECT_EQ(menu.selection, 1) << key;
    }
}

TEST(MenuClick, AnArmedClickActivatesOnce) {
    Menu menu = MenuWithClick(0);
    menu.HandleKey(KEY_MOUSE);
    EXPECT_EQ(menu.HandleKey(KEY_MOUSE), Menu::kNotTaken);
}

TEST(MenuClick, AClickExpiresAfter400Milliseconds) {
    Menu menu = MenuWithClick(0.2);
    EXPECT_EQ(menu.HandleKey(KEY_MOUSE), Menu::kActivate);
    menu = MenuWithClick(0.4);
    EXPECT_EQ(menu.HandleKey(KEY_MOUSE), Menu::kNotTaken);
    EXPECT_EQ(menu.click_pending, -1);
}

TEST(MenuClick, AnArmedClickSurvivesAKeyThatWasUsed) {
    for (int key : {KEY_DOWN, KEY_HOME, KEY_RESIZE, 27, int{'a'}}) {
        Menu menu = MenuWithClick(0);
        EXPECT_EQ(menu.HandleKey(key), Menu::kConsumed) << key;
        EXPECT_EQ(menu.click_pending, 1) << key;
    }
    Menu menu = MenuWithClick(0);
    EXPECT_EQ(menu.HandleKey('\r'), Menu::kActivate);
    EXPECT_EQ(menu.click_pending, 1);
}

TEST(MenuClick, OnlyAnArmedClickActivates) {
    for (int pending : {-1, 0}) {
        Menu menu = MenuWithClick(0);
        menu.click_pending = pending;
        EXPECT_EQ(menu.HandleKey(KEY_MOUSE), Menu::kNotTaken) << pending;
    }
}

TEST(MenuClick, WorksWithoutAMouse) {
    Menu menu = MenuOf("...");
    menu.selection = 1;
    menu.HandleMouse();
    EXPECT_EQ(menu.selection, 1);
    EXPECT_EQ(menu.click_pending, -1);
}

// ---- unusual menus ----

constexpr int kMovingKeys[] = {KEY_DOWN, KEY_UP, KEY_HOME, KEY_END, KEY_NPAGE, KEY_PPAGE};

TEST(OddMenu, AnEmptyMenuHandlesEveryKey) {
    for (int height : {10, 1, 0, -3}) {
        Menu menu = MenuOf("", height);
        for (int key : kMovingKeys) {
            SCOPED_TRACE(std::to_string(height) + ", key " + std::to_string(key));
            EXPECT_EQ(menu.HandleKey(key), Menu::kConsumed);
            EXPECT_EQ(menu.top, 0);
            EXPECT_GE(menu.selection, 0);
            EXPECT_EQ(menu.ItemAt(menu.selection), nullptr);
        }
        for (int key : {10, 13, KEY_ENTER})
            EXPECT_EQ(menu.HandleKey(key), Menu::kActivate);
        EXPECT_EQ(menu.HandleKey('a'), Menu::kNotTaken);
        EXPECT_EQ(menu.HandleKey(ERR), Menu::kNotTaken);
    }
}

TEST(OddMenu, WithoutRoomItStillMovesBetweenRows) {
    for (int height : {0, -1, -4, -100}) {
        Menu menu = MenuOf("..-...", height);
        std::mt19937 random(5);
        for (int round = 0; round < 200; ++round) {
            const int key = kMovingKeys[random() % std::size(kMovingKeys)];
            SCOPED_TRACE(std::to_string(height) + ", key " + std::to_string(key));
            ASSERT_EQ(menu.HandleKey(key), Menu::kConsumed);
            ASSERT_GE(menu.top, 0);
            ASSERT_LT(menu.top, menu.Count());
            ASSERT_GE(menu.selection, 0);
            // Page up with a page of no rows moves down, possibly beyond the last row.
            if (key != KEY_PPAGE) {
                ASSERT_LT(menu.selection, menu.Count());
            }
        }
    }
}

TEST(OddMenu, WithoutRoomHomeAndEndGoToTheFirstAndLastRow) {
    for (int height : {0, -1, -4}) {
        Menu menu = MenuOf("....", height);
        menu.HandleKey(KEY_END);
        EXPECT_EQ(menu.selection, 3) << height;
        menu.HandleKey(KEY_HOME);
        EXPECT_EQ(menu.selection, 0) << height;
    }
}

TEST(OddMenu, AGrownScreenKeepsTheSelectionVisible) {
    Menu menu = MenuOf(kTwenty, 3);
    menu.HandleKey(KEY_END);
    menu.SetSize(20, 10);
    menu.HandleKey(ERR);
    EXPECT_EQ(menu.selection, 19);
    EXPECT_EQ(menu.top, 17);
}

TEST(OddMenu, AShrunkScreenScrollsToTheSelection) {
    Menu menu = MenuOf(kTwenty, 20);
    menu.HandleKey(KEY_END);
    EXPECT_EQ(menu.top, 0);
    menu.SetSize(20, 4);
    menu.HandleKey(KEY_RESIZE);
    EXPECT_EQ(menu.selection, 19);
    EXPECT_EQ(menu.top, 16);
}

TEST(OddMenu, TheSelectionSurvivesARebuild) {
    Menu menu = MenuOf("....");
    menu.selection = 2;
    menu.Clear();
    for (int id : {1, 2, 3, 4})
        menu.AddItem("again", id);
    menu.HandleKey(ERR);
    EXPECT_EQ(menu.selection, 2);
}

TEST(OddMenu, IfTheSelectedRowIsGoneEnterFindsNoRow) {
    Menu menu = MenuOf("....");
    menu.selection = 3;
    menu.Clear();
    menu.AddItem("only", 1);
    EXPECT_EQ(menu.HandleKey(10), Menu::kActivate);
    EXPECT_EQ(menu.ItemAt(menu.selection), nullptr);
}

TEST(OddMenu, FromBeyondTheLastRowEveryMoveFindsARow) {
    struct {
        int key;
        int selection;
    } const kCases[] = {{KEY_DOWN, 0}, {KEY_UP, 1}, {KEY_HOME, 0}, {KEY_END, 1}, {KEY_NPAGE, 1}};
    for (const auto& row : kCases) {
        for (int vanished : {2, 3, 19}) {
            SCOPED_TRACE(std::to_string(row.key) + " from " + std::to_string(vanished));
            Menu menu = MenuOf("..");
            menu.selection = vanished;
            EXPECT_EQ(menu.HandleKey(row.key), Menu::kConsumed);
            EXPECT_EQ(menu.selection, row.selection);
            EXPECT_EQ(menu.top, 0);
        }
    }
}

}  // namespace
