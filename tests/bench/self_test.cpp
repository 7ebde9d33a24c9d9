// The bench tests itself: on shell commands, and on a small curses program of its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "machine.h"
#include "terminal.h"

namespace bench {
namespace {

using testing::ElementsAre;

TerminalOptions Shell(const std::string& command) {
    TerminalOptions options;
    options.program = "/bin/sh";
    options.arguments = {"-c", command};
    return options;
}

TEST(Machine, RunsCommandsUnderItsOwnName) {
    Machine box;
    EXPECT_EQ(box.Sh("hostname"), "appliance\n");
    EXPECT_EQ(box.Sh("ls /sys/class/net"), "lo\n");
}

TEST(Terminal, ShowsWhatTheProgramPrints) {
    Machine box;
    Terminal t(box, Shell("echo hello; read line; echo got $line; exit 7"));
    t.WaitFor("hello");
    t.Press("abc<Enter>");
    t.WaitFor("got abc");
    EXPECT_EQ(t.WaitExit(), Exited(7));
}

TEST(StandIn, RecordsArgumentsAndTerminal) {
    Machine box;
    box.StandIn("killall", "gone\n", 3);
    Terminal t(box, Shell("killall -w 'a  b' '' \"$(printf '\\377\\n.')\"; echo status $?"));
    t.WaitFor("status 3");
    box.WaitForCalls("killall", 1);
    const std::vector<Call> calls = box.Calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_THAT(calls[0].args, ElementsAre("-w", "a  b", "", "\377\n."));
    EXPECT_EQ(calls[0].mode, Mode::kLine);
}

}  // namespace
}  // namespace bench
