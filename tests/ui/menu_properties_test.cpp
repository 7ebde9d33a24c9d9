// Properties of moving that hold in every menu.
#include <gtest/gtest.h>

#include <string>

#include "ui/menu.h"
#include "ui/screen_fixture.h"
#include "util/random_fixtures.h"

namespace {

class MenuProperties : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(screen.IsReady()); }

    // Up to 40 rows, some of them unselectable; the selection is a selectable row.
    void Fill() {
        menu.Clear();
        menu.Init();
        const int rows = 1 + random.Below(40);
        for (int row = 0; row < rows; ++row) {
            if (random.OneIn(3)) {
                menu.AddSeparator();
            } else {
                menu.AddItem("row " + std::to_string(row), row);
            }
        }
        menu.AddItem("last", rows);
        menu.SetSize(20, 1 + random.Below(30));
        menu.MoveDown(1 + random.Below(50));
    }

    UnseenScreen screen;
    Random random;
    Menu menu;
};

TEST_F(MenuProperties, EqualMovesUpAndDownLeadBack) {
    for (int i = 0; i < 500 && !HasFailure(); ++i) {
        Fill();
        const int before = menu.selection;
        const int moves = random.Below(100);
        menu.MoveDown(moves);
        menu.MoveUp(moves);
        EXPECT_EQ(menu.selection, before) << moves << " moves, " << menu.Count() << " rows";
    }
}

TEST_F(MenuProperties, EqualKeysUpAndDownLeadBackToAVisibleRow) {
    for (int i = 0; i < 50 && !HasFailure(); ++i) {
        Fill();
        const int before = menu.selection;
        const int moves = random.Below(60);
        for (int key : {KEY_DOWN, KEY_UP}) {
            for (int move = 0; move < moves; ++move) {
                menu.HandleKey(key);
                EXPECT_GE(menu.selection, menu.top);
                EXPECT_LT(menu.selection, menu.top + menu.height);
            }
        }
        EXPECT_EQ(menu.selection, before) << moves << " moves, " << menu.Count() << " rows";
    }
}

TEST_F(MenuProperties, AnyKeyLeavesTheSelectedRowVisible) {
    constexpr int kKeys[] = {KEY_DOWN,  KEY_UP, KEY_HOME,  KEY_END,  KEY_NPAGE,
                             KEY_PPAGE, '\n',   KEY_MOUSE, KEY_LEFT, KEY_RESIZE};
    for (int i = 0; i < 300 && !HasFailure(); ++i) {
        Fill();
        for (int press = 0; press < 100; ++press) {
            menu.HandleKey(random.OneOf(kKeys));
            EXPECT_GE(menu.top, 0);
            EXPECT_GE(menu.selection, menu.top);
            EXPECT_LT(menu.selection, menu.top + menu.height);
            EXPECT_LT(menu.selection, menu.Count());
        }
    }
}

}  // namespace
