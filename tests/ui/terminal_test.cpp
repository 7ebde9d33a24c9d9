// The routines of the plain terminal.
#include "ui/terminal.h"

#include <gtest/gtest.h>

#include "ui/played_screen.h"
#include "util/clock.h"
#include "util/signal_fixtures.h"
#include "util/signal_gate.h"
#include "util/utility_fixtures.h"

namespace {

TEST(ReadKey, AnEndingSignalPrecedesLaterKeys) {
    const UnseenScreen screen;
    ASSERT_TRUE(screen.IsReady());
    const SavedSignalMask saved;
    const SignalAction counted(SIGINT, CountSignal);
    signals_counted = 0;
    CloseSignalGate();
    raise(SIGINT);
    ungetch('x');
    EXPECT_EQ(ReadKey(), 'x');
    EXPECT_EQ(signals_counted, 1);
}

// ---- keys ----

class Keyboard : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(screen.IsReady());
        screen.Play({});
    }

    PlayedScreen screen;
};

TEST_F(Keyboard, DistinguishesEscapeFromASequence) {
    struct {
        std::string_view typed;
        std::vector<int> keys;
    } const kCases[] = {
        {"a", {'a'}},
        {"\x1b", {kEscape}},
        {"\x1bOA", {KEY_UP}},
        {"\x1bx", {kEscape, 'x'}},
        {"\x1b[1;99Px", {kUnknownKey, 'x'}},
        {"\x1b[[Ax", {kUnknownKey, 'x'}},  // F1 of the Linux console
        {"\x1bO5Px", {kUnknownKey, 'x'}},
        {"\x1b[200~x", {kUnknownKey, 'x'}},  // a bracketed paste
        {"\x1b[\r", {kUnknownKey, '\r'}},
    };
    for (const auto& row : kCases) {
        screen.Type(row.typed);
        std::vector<int> keys;
        while (keys.size() < row.keys.size())
            keys.push_back(ReadKey());
        EXPECT_EQ(keys, row.keys) << testing::PrintToString(row.typed);
        EXPECT_FALSE(InputIsWaiting());
    }
}

TEST_F(Keyboard, TheWaitEndsAtATimeOrWithAnAnswer) {
    const double now = MonotonicSeconds();
    screen.Play({[] {}});
    EXPECT_EQ(ReadKey({.until = now + 3}), ERR);
    EXPECT_NEAR(MonotonicSeconds(), now + 3, 0.002);
    Pipe pipe;
    screen.Play({[&] { pipe.Write("."); }});
    EXPECT_EQ(ReadKey({.answers = {{pipe.Reader(), POLLIN, 0}}}), ERR);
    EXPECT_TRUE(screen.IsPlayed());
}

TEST_F(Keyboard, AWaitWithoutKeysLeavesThemUnread) {
    screen.Play({screen.Keys("x")});
    AwaitWithoutKeys({.until = MonotonicSeconds() + 1});
    EXPECT_TRUE(InputIsWaiting());
    EXPECT_EQ(ReadKey(), 'x');
    EXPECT_FALSE(InputIsWaiting());
}

TEST_F(Keyboard, KnowsWhetherAKeyWasTypedAndKeepsIt) {
    EXPECT_FALSE(KeyIsTyped());
    screen.Mouse(1, 1, REPORT_MOUSE_POSITION);
    EXPECT_FALSE(KeyIsTyped()) << "a mouse movement is not a key";
    screen.Type("xy");
    EXPECT_TRUE(KeyIsTyped());
    EXPECT_TRUE(InputIsWaiting());
    EXPECT_EQ(ReadKey(), 'x');
    EXPECT_EQ(ReadKey(), 'y');
    screen.Mouse(1, 1, BUTTON1_PRESSED);
    EXPECT_TRUE(KeyIsTyped());
    EXPECT_EQ(ReadKey(), KEY_MOUSE);
}

TEST_F(Keyboard, DropsOnlyMouseMovements) {
    screen.Mouse(1, 1, REPORT_MOUSE_POSITION);
    EXPECT_EQ(ReadKey(), KEY_MOUSE);
    EXPECT_TRUE(DropMouseMotion());
    screen.Mouse(1, 1, BUTTON1_CLICKED);
    EXPECT_EQ(ReadKey(), KEY_MOUSE);
    EXPECT_FALSE(DropMouseMotion());
    EXPECT_EQ(ReadKey(), KEY_MOUSE) << "it must be read again";
    MEVENT event = {};
    EXPECT_EQ(getmouse(&event), OK);
    EXPECT_EQ(event.bstate, mmask_t{BUTTON1_CLICKED});
}

TEST_F(Keyboard, DropsAllTypedKeys) {
    screen.Type("xyz");
    EXPECT_TRUE(KeyIsTyped());
    DropKeys();
    EXPECT_FALSE(InputIsWaiting());
    EXPECT_FALSE(KeyIsTyped());
}

TEST(EndProgram, EndsWithTheStatusBeforeThereIsAScreen) {
    EXPECT_EXIT(EndProgram(130), testing::ExitedWithCode(130), "");
    EXPECT_EXIT(EndProgram(1), testing::ExitedWithCode(1), "");
}

}  // namespace
