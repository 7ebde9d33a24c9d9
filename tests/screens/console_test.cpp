// Terminals without colours, repainting what others overwrite, and the cursor's resting place.
#include <gtest/gtest.h>

#include "lifecycle_fixtures.h"

namespace harness::lifecycle {
namespace {

// ---- without colours ----

TEST(WithoutColours, TheSelectedRowAndAWarningLookDifferent) {
    Machine box;
    box.AddBridge("br0");
    box.Sh(
        "ip link set br0 up; ip addr add 192.0.2.1/24 dev br0; ip route add default via 192.0.2.2;"
        "ip route add default via 192.0.2.3 metric 5");
    Terminal t(box, OfType("vt220"));
    t.WaitFor("WARNING");
    t.Press("<Down>");
    t.WaitUntil([&] { return t.Cell(6, 4).reverse; }, "the selected row");
    for (int column = 4; column < 78; column++) {
        EXPECT_FALSE(t.Cell(5, column).reverse) << column;
        EXPECT_TRUE(t.Cell(6, column).reverse) << column;
    }
    EXPECT_TRUE(t.Cell(t.Find("WARNING"), 6).underline);
    EXPECT_FALSE(t.Cell(t.Find("IPv4"), 8).underline);
}

// ---- what the kernel prints ----

// Writes to the program's terminal from outside.
void Scribble(Terminal& t) {
    t.machine().Sh(
        "for i in 1 2 3 4 5 6; do printf '\\033[24;1H[ 1.$i] eth0: link becomes ready\\r\\n'; done"
        " >/proc/$(pgrep -ox ifmenu)/fd/1");
    t.WaitFor("link becomes ready");
}

class ScribbledOver : public testing::TestWithParam<Stop> {};
INSTANTIATE_TEST_SUITE_P(Console, ScribbledOver, testing::ValuesIn(kStops), StopName);

TEST_P(ScribbledOver, IsRepaintedByCtrlL) {
    OneCard box;
    Terminal t(box);
    GoTo(t, GetParam());
    const std::vector<std::string> before = Look(t);
    Scribble(t);
    t.Press("<C-l>");
    t.WaitUntil([&] { return Look(t) == before; }, "the picture as it was", 3);
}

TEST_P(ScribbledOver, IsRepaintedWithinFiveSecondsOnAConsole) {
    OneCard box;
    box.Sh(
        "mount -t tmpfs none /sys/class/tty && mkdir /sys/class/tty/console &&"
        "echo tty0 ttyS7 >/sys/class/tty/console/active");
    TerminalOptions options;
    options.program = "/bin/sh";
    options.arguments = {"-c",
                         "set -- $(stat -L -c '0x%t 0x%T' /proc/$$/fd/1);"
                         "mknod /dev/ttyS7 c $(($1)) $(($2)); exec " +
                             TestedProgram()};
    Terminal t(box, options);
    GoTo(t, GetParam());
    const std::vector<std::string> before = Look(t);
    Scribble(t);
    t.WaitUntil([&] { return Look(t) == before; }, "the picture as it was", 6);
}

TEST(OtherTerminals, AScreenSendsNothingUnneeded) {
    OneCard box;
    Terminal t(box);
    GoTo(t, kServices);
    t.Mark();
    t.RunFor(6);
    EXPECT_EQ(t.Output(), "");
}

// ---- the cursor ----

TEST(Cursor, RestsAtTheTextOfTheSelectedRow) {
    OneCard box;
    Terminal t(box);
    GoTo(t, kMainMenu);
    const auto expect_at_selection = [&] {
        t.Settle();
        EXPECT_EQ(t.CursorRow(), t.SelectedRow());
        EXPECT_EQ(t.CursorCol(), 4);
        EXPECT_FALSE(t.CursorVisible());
    };
    t.WaitFor("    1. eth0");
    expect_at_selection();
    for (const char* keys :
         {"<Down>", "s", "<Home>", "1", "<Enter>", "c", "<Enter>", "n", "<Up>"}) {
        SCOPED_TRACE(keys);
        t.Press(keys);
        if (keys == std::string("<Enter>")) t.RunFor(0.3);
        expect_at_selection();
    }
}

}  // namespace
}  // namespace harness::lifecycle
