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
    return std::string("'") + IFMENU_PROGRAM + "' " + arguments;
}

// ---- help and refusal ----

TEST(Help, AcceptsAnyNumberOfDashes) {
    Machine box;
    for (const char* argument : {"-help", "--help", "---help", "----------------help"}) {
        EXPECT_EQ(SaidBy(box, Program(argument)), (Plain{"1\n", "", kUsage})) << argument;
        EXPECT_EQ(SaidBy(box, kNotRoot + Program(argument)), (Plain{"1\n", "", kUsage}))
            << argument;
    }
}

TEST(Help, MayBeAmongOtherArguments) {
    Machine box;
    for (const char* arguments : {"eth0 --help", "-v -help", "'' --help", "--help eth0"}) {
        EXPECT_EQ(SaidBy(box, Program(arguments)), (Plain{"1\n", "", kUsage})) << arguments;
    }
}

TEST(Help, NeedsTheExactWord) {
    Machine box;
    for (const char* argument :
         {"help", "-h", "--hel", "--helpx", "--help=", "-Help", "--HELP", "-", "--", "---", "''",
          "'- help'", "'--help '", "' --help'", "--no-help", "h-elp"}) {
        EXPECT_EQ(SaidBy(box, kNotRoot + Program(argument)), (Plain{"1\n", "", kRefusal}))
            << argument;
    }
}

TEST(Help, OtherArgumentsAreIgnored) {
    Machine box;
    TerminalOptions options;
    options.arguments = {"help", "-h", "--version", "-", "--", "", "--helpx"};
    Terminal t(box, options);
    t.WaitFor("Exit this program");
    EXPECT_EQ(t.Selected(), "Bring up all interfaces");
}

TEST(Help, NeedsNoTerminal) {
    Machine box;
    EXPECT_EQ(SaidBy(box, "env -u TERM setsid " + Program("--help")), (Plain{"1\n", "", kUsage}));
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

TEST(SettingsFolder, IsCreatedIfMissing) {
    Machine box;
    box.Remove("/etc/network");
    Terminal t(box);
    t.WaitFor("Exit this program");
    EXPECT_EQ(box.Sh("ls -A /etc/network"), "default.wireless\n");
    EXPECT_EQ(box.Read("/etc/network/default.wireless"), "");
}

TEST(SettingsFolder, IsTouchedAtEveryStart) {
    Machine box;
    box.Write("/etc/network/default.wireless", "mine\n");
    for (int start = 0; start < 2; start++) {
        box.Sh("touch -d 2001-02-03 /etc/network/default.wireless");
        Terminal t(box);
        t.WaitFor("Exit this program");
        EXPECT_EQ(box.Read("/etc/network/default.wireless"), "mine\n");
        EXPECT_EQ(box.Sh("find /etc/network -name default.wireless -newermt 2020-01-01"),
                  "/etc/network/default.wireless\n");
    }
}

TEST(SettingsFolder, IsPreparedByTheShellBeforeTheScreenOpens) {
    Machine box;
    box.Record("mkdir");
    box.Record("touch");
    Terminal t(box);
    t.WaitFor("Exit this program");
    const std::vector<Call> calls = box.Calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].Line(), "mkdir -p /etc/network");
    EXPECT_EQ(calls[1].Line(), "touch /etc/network/default.wireless");
    for (const Call& call : calls) {
        EXPECT_EQ(call.mode, Mode::kLine);
        EXPECT_FALSE(call.sigchld_ignored || call.sigint_ignored || call.sigquit_ignored);
    }
}

TEST(SettingsFolder, AFailureDoesNotPreventTheStart) {
    Machine box;
    box.StandIn("mkdir", "", 1);
    box.StandIn("touch", "", 1);
    Terminal t(box);
    t.WaitFor("Exit this program");
    EXPECT_THAT(box.CallLines(),
                ElementsAre("mkdir -p /etc/network", "touch /etc/network/default.wireless"));
}

TEST(SettingsFolder, AFileInItsPlaceDoesNotPreventTheStart) {
    Machine box;
    box.Remove("/etc/network");
    box.Write("/etc/network", "in the way\n");
    Terminal t(box);
    t.WaitFor("Exit this program");
    EXPECT_EQ(box.Read("/etc/network"), "in the way\n");
}

// ---- the terminal type ----

struct TypeChoice {
    const char* name;
    const char* given;
    const char* chosen;
};

void PrintTo(const TypeChoice& choice, std::ostream* out) {
    *out << choice.given;
}

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

class TerminalType : public testing::TestWithParam<TypeChoice> {};

TEST_P(TerminalType, IsChosen) {
    Machine box;
    RecordType(box);
    TerminalOptions options;
    options.term = GetParam().given;
    Terminal t(box, options);
    EXPECT_EQ(ChosenType(box, t), GetParam().chosen);
    const bool every_motion = std::string(GetParam().chosen) == "xterm-1003";
    EXPECT_EQ(PrivateModes(t.Output()).count(1003) > 0, every_motion);
}

INSTANTIATE_TEST_SUITE_P(
    Startup, TerminalType,
    testing::Values(TypeChoice{"Plain", "xterm", "xterm-1003"},
                    TypeChoice{"Colours", "xterm-256color", "xterm-1003"},
                    TypeChoice{"Capitals", "XTERM-256color", "xterm-1003"},
                    TypeChoice{"Mixed", "xTeRm", "xterm-1003"},
                    TypeChoice{"UnknownKind", "xterm-kitty-of-mine", "xterm-1003"},
                    TypeChoice{"NoDash", "xtermite", "xterm-1003"},
                    TypeChoice{"Itself", "xterm-1003", "xterm-1003"},
                    TypeChoice{"Screen", "screen", "screen"},
                    TypeChoice{"ScreenXterm", "screen.xterm-256color", "screen.xterm-256color"},
                    TypeChoice{"Tmux", "tmux-256color", "tmux-256color"},
                    TypeChoice{"Console", "linux", "linux"},
                    TypeChoice{"Serial", "vt220", "vt220"}),
    [](const auto& type) { return type.param.name; });

TEST(TerminalType, IsKeptIfTheChosenOneIsMissing) {
    Machine box;
    RecordType(box);
    box.Sh(
        "cp -R /usr/share/terminfo/x /tmp/types && rm /tmp/types/xterm-1003* && "
        "mount --bind /tmp/types /usr/share/terminfo/x");
    for (const char* term : {"xterm", "xterm-256color"}) {
        TerminalOptions options;
        options.term = term;
        Terminal t(box, options);
        EXPECT_EQ(ChosenType(box, t), term);
        EXPECT_TRUE(t.AltScreen());
        EXPECT_EQ(t.Selected(), "Bring up all interfaces");
        // Clicks are still reported.
        t.Click(t.Find("Services"), 10);
        t.WaitSelected("Services");
        t.Press("<Esc>");
        EXPECT_EQ(t.WaitExit(), Exited(0));
    }
}

TEST(TerminalType, AnUnknownTypeEndsTheProgramOnThePlainTerminal) {
    Machine box;
    for (const char* term : {"", "xter", "no-such-terminal", "dumber"}) {
        TerminalOptions options;
        options.term = term;
        options.environment = WithoutLeakSearch(box);  // curses exits without freeing anything
        Terminal t(box, AtAPrompt(options));
        EXPECT_EQ(t.WaitExit(), Exited(1)) << term;
        // The message of curses before 6.6, or of later versions.
        EXPECT_TRUE(t.Shows("Error opening terminal") || t.Shows("cannot initialize terminal type"))
            << term;
        ExpectTerminalAsBefore(t);
    }
}

// ---- taking over the terminal ----

TEST(Opening, TakesOverTheTerminal) {
    Machine box;
    Terminal t(box, AtAPrompt());
    t.WaitFor("Exit this program");
    EXPECT_TRUE(t.AltScreen());
    EXPECT_FALSE(t.LineMode());
    EXPECT_FALSE(t.CursorVisible());
    EXPECT_THAT(t.MouseReporting(), ElementsAre(1003, 1006));
    EXPECT_FALSE(t.Shows("appliance:~# ifmenu"));
}

TEST(Opening, PaintsWhiteOnBlackToTheEdges) {
    Machine box;
    Terminal t(box);
    t.WaitFor("Exit this program");
    for (const auto& [row, col] : {std::pair{0, 0}, {0, 79}, {1, 0}, {23, 0}, {23, 79}}) {
        EXPECT_EQ(t.Cell(row, col).fg, kWhite) << row << "," << col;
        EXPECT_EQ(t.Cell(row, col).bg, kBlack) << row << "," << col;
    }
}

TEST(Opening, DoesNotEchoKeys) {
    Machine box;
    Terminal t(box);
    t.WaitFor("Exit this program");
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
    t.WaitFor("Exit this program");
    t.Press("e<Enter>");
    t.WaitFor("piped");
}

}  // namespace
}  // namespace harness::lifecycle
