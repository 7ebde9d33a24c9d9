// Starting the program: what it prints instead of starting, what it prepares, and how it takes over
// the terminal.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lifecycle_fixtures.h"

namespace harness::lifecycle {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* kUsage =
    "orb-cap-ui [options]\n"
    "Tavrin 4 Capture Collection UI\n";
constexpr const char* kRefusal =
    "Ifmenu must be run as root or sudo.\n"
    "If you are authorized to, please run me as follows:\n"
    "\n"
    "# sudo ifmenu\n"
    "\n";

// In a user namespace without a mapping nobody is root, although root's own user may still open
// every file.
constexpr const char* kNotRoot = "unshare --user ";

// The output of a command on a plain terminal, which must be nothing but its own messages.
struct Plain {
    std::string status, out, err;
    bool operator==(const Plain&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Plain& plain) {
    return stream << "status " << plain.status << "out \"" << plain.out << "\" err \"" << plain.err
                  << "\"";
}

Plain SaidBy(Machine& box, const std::string& command) {
    const std::string status = box.Sh(command + " >/tmp/out 2>/tmp/err </dev/null; echo $?");
    return {status, box.Read("/tmp/out"), box.Read("/tmp/err")};
}

std::string Program(const std::string& arguments = "") {
    return "'" + TestedProgram() + "' " + arguments;
}

// ---- help and refusal ----

TEST(Help, IsPrintedForAnyUserAndNeedsNoTerminal) {
    Machine box;
    for (const char* arguments : {"-help", "--help", "---help", "eth0 --help -v"}) {
        for (const char* before : {"", kNotRoot, "env -u TERM setsid "})
            EXPECT_EQ(SaidBy(box, before + Program(arguments)), (Plain{"1\n", "", kUsage}))
                << before << arguments;
    }
    EXPECT_EQ(SaidBy(box, kNotRoot + Program("'--help '")), (Plain{"1\n", "", kRefusal}));
}

TEST(Help, OtherArgumentsAreIgnored) {
    Machine box;
    TerminalOptions options;
    options.arguments = {"help", "-h", "--version", "-", "--", "", "--helpx"};
    Terminal t(box, options);
    t.WaitFor("Exit this program");
}

TEST(Refusal, AppliesToAllUsersButRoot) {
    Machine box;
    if (box.door().own_users) GTEST_SKIP() << "an ordinary user's machine has only one user";
    box.Sh("cp " + Program() + " /usr/local/bin/ifmenu");
    TerminalOptions options;
    options.program = "/usr/local/bin/ifmenu";
    options.user = 65534;
    Terminal t(box, options);
    EXPECT_EQ(t.WaitExit(), Exited(1));
    // The terminal adds a carriage return before each line feed.
    EXPECT_EQ(t.Output(),
              "Ifmenu must be run as root or sudo.\r\n"
              "If you are authorized to, please run me as follows:\r\n"
              "\r\n"
              "# sudo ifmenu\r\n"
              "\r\n");
    EXPECT_TRUE(t.LineMode());
}

TEST(Refusal, DependsOnTheEffectiveUser) {
    Machine box;
    if (box.door().own_users) GTEST_SKIP() << "an ordinary user's machine has only one user";
    box.Sh("cp " + Program() + " /usr/local/bin/ifmenu");
    const Plain refused = SaidBy(box, "setpriv --euid 65534 /usr/local/bin/ifmenu");
    EXPECT_EQ(refused.status, "1\n");
    EXPECT_EQ(refused.out, "");
    // After it the leak sanitizer may report that it may not inspect such a process.
    EXPECT_THAT(refused.err, StartsWith(kRefusal));
    // Effectively root, as after setuid: it starts, and finds that there is no input.
    const Plain started = SaidBy(box, "TERM=vt220 setpriv --ruid 65534 /usr/local/bin/ifmenu");
    EXPECT_THAT(started.err, Not(HasSubstr("must be run as root")));
    EXPECT_THAT(started.out, HasSubstr("Tavrin 4 Network configuration utility"));
}

TEST(Refusal, TouchesNothing) {
    Machine box;
    box.Remove("/etc/network");
    for (const char* tool : {"mkdir", "touch", "ip"})
        box.StandIn(tool);
    for (const char* argument : {"", "--help"}) {
        TerminalOptions options;
        options.program = "/bin/sh";
        options.arguments = {"-c", kNotRoot + Program(argument)};
        Terminal t(box, options);
        EXPECT_EQ(t.WaitExit(), Exited(1));
        EXPECT_THAT(t.Output(), Not(HasSubstr("\x1b")));
        EXPECT_THAT(box.CallLines(), IsEmpty());
        EXPECT_FALSE(box.Exists("/etc/network"));
    }
    // The permissions of the files would have allowed it.
    box.Sh(kNotRoot + std::string("sh -c '/bin/mkdir /etc/network && /bin/touch /etc/network/x'"));
}

// ---- preparations ----

TEST(SettingsFolder, IsPreparedByTheShellBeforeTheScreenOpens) {
    Machine box;
    box.Record("mkdir");
    box.Record("touch");
    box.Remove("/etc/network");
    for (const char* text : {"", "mine\n"}) {
        Page t(box, kMainMenu);
        EXPECT_EQ(Ran(box),
                  (Words{"mkdir -p /etc/network", "touch /etc/network/default.wireless"}));
        EXPECT_EQ(box.Sh("find /etc/network -newermt 2020-01-01 -type f"),
                  "/etc/network/default.wireless\n");
        EXPECT_EQ(box.Read("/etc/network/default.wireless"), text);
        box.Write("/etc/network/default.wireless", "mine\n");
        box.Sh("touch -d 2001-02-03 /etc/network/default.wireless");
        box.ForgetCalls();
    }
}

TEST(SettingsFolder, AFailureDoesNotPreventTheStart) {
    Machine box;
    box.Remove("/etc/network");
    box.Write("/etc/network", "in the way\n");
    Terminal t(box);
    t.WaitFor("Exit this program");
    EXPECT_EQ(box.Read("/etc/network"), "in the way\n");
}

// ---- the terminal type ----

// The type that the program's commands find in their environment.
std::string ChosenType(Machine& box, Terminal& t) {
    t.WaitFor("Exit this program");
    box.WaitUntil([&] { return box.Exists("/tmp/type"); },
                  "the list of interfaces to be asked for");
    return box.Read("/tmp/type");
}

void RecordType(Machine& box) {
    box.StandInScript("ip", "printf %s \"$TERM\" >/tmp/type.new; mv /tmp/type.new /tmp/type");
}

TEST(TerminalType, IsOneWithMouseMotionForEveryXterm) {
    Machine box;
    RecordType(box);
    for (const std::string given :
         {"xterm", "XTERM-256color", "xterm-kitty-of-mine", "xterm-1003", "screen",
          "screen.xterm-256color", "tmux-256color", "linux", "vt220"}) {
        SCOPED_TRACE(given);
        const bool every_motion = given[0] == 'x' || given[0] == 'X';
        box.Remove("/tmp/type");
        Terminal t(box, OfType(given));
        EXPECT_EQ(ChosenType(box, t), every_motion ? "xterm-1003" : given);
        EXPECT_EQ(PrivateModes(t.Output()).count(1003) > 0, every_motion);
    }
}

TEST(TerminalType, IsKeptIfTheChosenOneIsMissing) {
    Machine box;
    RecordType(box);
    box.Sh(
        "cp -R /usr/share/terminfo/x /tmp/types && rm /tmp/types/xterm-1003* && "
        "mount --bind /tmp/types /usr/share/terminfo/x");
    Terminal t(box, OfType("xterm-256color"));
    EXPECT_EQ(ChosenType(box, t), "xterm-256color");
    // Clicks are still reported.
    t.Click(t.Find("Services"), 10);
    t.WaitSelected("Services");
}

TEST(TerminalType, AnUnknownTypeEndsTheProgramOnThePlainTerminal) {
    Machine box;
    for (const char* term : {"", "xter", "no-such-terminal", "dumber"}) {
        TerminalOptions options;
        options.term = term;
        options.environment = WithoutLeakSearch(box);  // curses exits without freeing anything
        Terminal t(box, AtAPrompt(options));
        EXPECT_EQ(t.WaitExit(), Exited(1)) << term;
        EXPECT_TRUE(SaysTheTerminalIsUnknown(t)) << term;
        ExpectTerminalAsBefore(t);
    }
}

// ---- taking over the terminal ----

TEST(Opening, TakesOverTheTerminal) {
    Machine box;
    Page t(box, kMainMenu, AtAPrompt());
    EXPECT_TRUE(t.AltScreen());
    EXPECT_FALSE(t.LineMode());
    EXPECT_FALSE(t.CursorVisible());
    EXPECT_THAT(t.MouseReporting(), ElementsAre(1003, 1006));
    EXPECT_FALSE(t.Shows("appliance:~# ifmenu"));
    // It is white on black to the edges.
    for (const auto& [row, col] : {std::pair{0, 0}, {0, 79}, {1, 0}, {23, 0}, {23, 79}}) {
        EXPECT_EQ(t.Cell(row, col).fg, kWhite) << row << "," << col;
        EXPECT_EQ(t.Cell(row, col).bg, kBlack) << row << "," << col;
    }
    // Keys are not echoed.
    const std::vector<std::string> before = Look(t);
    t.Type("zqZQ?*");
    t.Settle();
    EXPECT_EQ(Look(t), before);
}

TEST(Opening, KeysTypedAheadCount) {
    Machine box;
    Gate gate(box);
    box.StandInScript("mkdir", Gate::kWait);
    Terminal t(box);
    gate.AwaitScript();
    t.Type("s");
    gate.Open();
    t.WaitSelected("Services");
}

TEST(Opening, StandardOutputNeedNotBeATerminal) {
    Machine box;
    TerminalOptions options;
    options.program = "/bin/sh";
    options.arguments = {"-c", Program() + "| cat; echo piped"};
    Terminal t(box, options);
    t.WaitFor(kMainMenu.sign);
    t.Press("e<Enter>");
    t.WaitFor("piped");
}

}  // namespace
}  // namespace harness::lifecycle
