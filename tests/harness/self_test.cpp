// Tests of the harness itself, on shell commands and on a small full-screen program.
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <sstream>

#include "machine.h"
#include "terminal.h"

namespace harness {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TerminalOptions Shell(const std::string& command) {
    TerminalOptions options;
    options.program = "/bin/sh";
    options.arguments = {"-c", command};
    return options;
}

TerminalOptions Sample(const std::string& term = "xterm-1003") {
    TerminalOptions options;
    options.program = HARNESS_SAMPLE;
    options.term = term;
    return options;
}

// The message of the failure that ends the action.
testing::TestPartResult ResultOf(const std::function<void()>& action) {
    testing::TestPartResultArray results;
    testing::ScopedFakeTestPartResultReporter collector(
        testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
    try {
        action();
    } catch (const testing::AssertionException&) {
        return results.GetTestPartResult(0);
    }
    return {testing::TestPartResult::kSuccess, "", 0, "(no failure)"};
}

std::string FailureOf(const std::function<void()>& action) {
    return ResultOf(action).message();
}

bool OutsideProcessRuns(const std::string& argument) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        if (ReadWhole(entry.path().string() + "/cmdline").find(argument) != std::string::npos) {
            return true;
        }
    }
    return false;
}

// ---- the machine ----

TEST(Machine, HasItsOwnNameAndInterfaces) {
    Machine box;
    EXPECT_EQ(box.Sh("hostname"), "appliance\n");
    EXPECT_EQ(box.Sh("ls /sys/class/net"), "lo\n");
}

TEST(Machine, FilesDoNotAppearOnTheHost) {
    const std::string path = "/etc/network/harness-was-here";
    Machine box;
    box.MakeDirectory("/etc/network");
    box.Write(path, std::string("a\0b\n", 4), 0600);
    EXPECT_EQ(box.Read(path), std::string("a\0b\n", 4));
    EXPECT_EQ(box.Sh("stat -c %a " + path), "600\n");
    EXPECT_TRUE(box.Exists(path));
    EXPECT_FALSE(std::filesystem::exists(path));
    box.Remove(path);
    EXPECT_FALSE(box.Exists(path));
}

TEST(Machine, AFailingCommandEndsTheTestWithItsOutput) {
    Machine box;
    const std::string failure = FailureOf([&] { box.Sh("echo out; echo err >&2; exit 4"); });
    EXPECT_THAT(failure, HasSubstr("$ echo out; echo err >&2; exit 4\nout\nerr\nexit status 4"));
}

TEST(Machine, AFailureIsReportedAtTheTestsOwnLine) {
    Machine box;
    const int line = __LINE__ + 1;
    const testing::TestPartResult result = ResultOf([&] { box.Read("/nowhere"); });
    EXPECT_EQ(result.line_number(), line);
    EXPECT_STREQ(result.file_name(), __FILE__);
    EXPECT_TRUE(result.fatally_failed());
}

TEST(Machine, ItsProcessesEndWithIt) {
    const std::string mark = "86399.25" + std::to_string(getpid());
    {
        Machine box;
        box.Sh("sleep " + mark + " >/dev/null 2>&1 &");
        // During exec a process briefly has no command line.
        box.WaitUntil([&] { return OutsideProcessRuns(mark); }, "the process to be seen");
    }
    EXPECT_FALSE(OutsideProcessRuns(mark));
}

// The failure of a test in which a program prints this, although every wait succeeds.
std::string FailureAtTheEnd(const std::string& command) {
    testing::TestPartResultArray results;
    {
        testing::ScopedFakeTestPartResultReporter collector(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
        Machine box;
        Terminal t(box, Shell(command));
        t.WaitExit();
        t.Mark();
    }
    return results.size() == 1 ? results.GetTestPartResult(0).message() : "(no failure)";
}

TEST(Machine, TurnsSanitizerReportsIntoFailures) {
    const std::string log = "> ${ASAN_OPTIONS##*log_path=}.1";
    EXPECT_THAT(FailureAtTheEnd("echo overflow " + log),
                HasSubstr("A sanitizer reports:\noverflow\n"));
    EXPECT_THAT(FailureAtTheEnd("echo before; echo 'a.cpp:3:1: runtime error: overflow'; echo b"),
                HasSubstr("A sanitizer reports:\na.cpp:3:1: runtime error: overflow\r\nb\r\n"));
    EXPECT_EQ(FailureAtTheEnd("echo error"), "(no failure)");
    const std::string warning =
        "printf '==61==WARNING: ptrace appears to be blocked (is seccomp enabled?). LeakSanitizer "
        "may hang.\n==61==Child exited with signal 2.\n'";
    EXPECT_EQ(FailureAtTheEnd(warning + log), "(no failure)");
    EXPECT_THAT(FailureAtTheEnd("{ " + warning + "; echo overflow; } " + log),
                HasSubstr("signal 2.\noverflow\n"));
}

TEST(Machine, TheDemoHasTheAppliancesInterfaces) {
    Machine box(Kind::kDemo);
    EXPECT_THAT(box.Sh("ip -brief link"), HasSubstr("eth0 "));
}

// ---- interfaces ----

TEST(Interfaces, ATapHasACarrierWhilePluggedIn) {
    Machine box;
    box.AddTap("eth7");
    box.Sh("ip link set eth7 up");
    EXPECT_EQ(box.Read("/sys/class/net/eth7/carrier"), "1\n");
    box.SetLink("eth7", false);
    EXPECT_EQ(box.Read("/sys/class/net/eth7/carrier"), "0\n");
    box.SetLink("eth7", true);
    EXPECT_EQ(box.Read("/sys/class/net/eth7/carrier"), "1\n");
    EXPECT_FALSE(std::filesystem::exists("/sys/class/net/eth7"));
}

TEST(Interfaces, ATapCanStartUnplugged) {
    Machine box;
    box.AddTap("eth7", false);
    box.Sh("ip link set eth7 up");
    EXPECT_EQ(box.Read("/sys/class/net/eth7/carrier"), "0\n");
}

TEST(Interfaces, NamesAreListedWithoutASuffix) {
    Machine box;
    box.AddTap("eth0");
    box.AddBridge("br0");
    EXPECT_THAT(box.Sh("ip link"), HasSubstr(": eth0: "));
    EXPECT_THAT(box.Sh("ip link"), HasSubstr(": br0: "));
}

TEST(Interfaces, RfkillFilesAreBelowTheInterface) {
    Machine box;
    box.RfkillFiles("wlan0", "1\n", std::nullopt, "");
    const std::string folder = "/sys/class/net/wlan0/phy80211/rfkill0";
    EXPECT_EQ(box.Read(folder + "/state"), "1\n");
    EXPECT_EQ(box.Read(folder + "/soft"), "");
    EXPECT_FALSE(box.Exists(folder + "/hard"));
    box.RfkillFiles("wlan0", std::nullopt, "0", "1");
    EXPECT_FALSE(box.Exists(folder + "/state"));
    EXPECT_EQ(box.Read(folder + "/hard"), "0");
}

// ---- stand-ins ----

TEST(StandIn, RecordsArgumentsByteForByte) {
    Machine box;
    box.StandIn("killall", "gone\n", 3);
    std::string every_byte;
    for (int byte = 1; byte < 256; byte++)
        every_byte += static_cast<char>(byte);
    box.Write("/tmp/bytes", every_byte);
    // $(...) drops only trailing line ends, and there are none.
    Terminal t(box, Shell("killall -w 'a  b' '' \"$(cat /tmp/bytes)\"; echo status $?"));
    t.WaitFor("status 3");
    t.WaitFor("gone");
    const std::vector<Call> calls = box.Calls("killall");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_THAT(calls[0].args, ElementsAre("-w", "a  b", "", every_byte));
    EXPECT_NEAR(calls[0].seconds, Now(), 20);
}

TEST(StandIn, RecordsWhenItsProcessWasCreated) {
    Machine box;
    box.StandIn("look");
    Terminal t(box, Shell("sh -c 'sleep 1.02; exec look'"));
    EXPECT_EQ(t.WaitExit(), Exited(0));
    EXPECT_LE(box.Calls("look").at(0).seconds, Now() - 1);
}

TEST(StandIn, RecordsTheModeOfTheTerminal) {
    Machine box;
    box.StandIn("look");
    Terminal t(box,
               Shell("look; stty -icanon; look; stty icanon -echo; look; stty echo; look;"
                     "look </dev/null >/dev/null 2>&1; setsid -w look </dev/null; setsid -w look"));
    t.WaitExit();
    std::vector<Mode> modes;
    for (const Call& call : box.Calls("look"))
        modes.push_back(call.mode);
    EXPECT_THAT(modes, ElementsAre(Mode::kLine, Mode::kRaw, Mode::kRaw, Mode::kLine, Mode::kLine,
                                   Mode::kAbsent, Mode::kLine));
}

TEST(StandIn, RecordsIgnoredSignals) {
    Machine box;
    box.StandIn("look");
    TerminalOptions options = Shell("look; trap '' QUIT; look");
    options.ignored_signals = {SIGCHLD, SIGINT};
    Terminal t(box, options);
    t.WaitExit();
    const std::vector<Call> calls = box.Calls("look");
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_TRUE(calls[0].sigint_ignored);
    EXPECT_FALSE(calls[0].sigquit_ignored);
    EXPECT_TRUE(calls[1].sigquit_ignored);
    EXPECT_FALSE(calls[1].sigchld_ignored);
}

TEST(StandIn, RecordsAnIgnoredSigchld) {
    Machine box;
    box.StandIn("look");
    TerminalOptions options;
    options.program = "/mnt/bin/look";
    options.ignored_signals = {SIGCHLD};
    Terminal t(box, options);
    t.WaitExit();
    ASSERT_EQ(box.Calls("look").size(), 1u);
    EXPECT_TRUE(box.Calls("look")[0].sigchld_ignored);
    EXPECT_FALSE(box.Calls("look")[0].sigint_ignored);
}

TEST(StandIn, ChangesItsReplyWhileTheProgramRuns) {
    Machine box;
    box.StandIn("wpa_cli", "first\n");
    Terminal t(box, Shell("while read line; do wpa_cli $line; done"));
    t.Press("one<Enter>");
    t.WaitFor("first");
    box.StandIn("wpa_cli", "second\n");
    t.Press("two<Enter>");
    t.WaitFor("second");
    EXPECT_THAT(box.CallLines(), ElementsAre("wpa_cli one", "wpa_cli two"));
    box.ForgetCalls();
    EXPECT_THAT(box.Calls(), IsEmpty());
}

TEST(StandIn, CanHaveAnAbsolutePath) {
    Machine box;
    box.StandIn("/etc/init.d/network", "Stopped.\n");
    Terminal t(box, Shell("/etc/init.d/network stop all"));
    t.WaitFor("Stopped.");
    EXPECT_THAT(box.CallLines("/etc/init.d/network"), ElementsAre("/etc/init.d/network stop all"));
}

TEST(StandIn, AScriptGetsTheCall) {
    Machine box;
    box.StandInScript("count", "echo $# >> /tmp/counts\necho \"<$2>\"; exit 5");
    Terminal t(box, Shell("count a 'b c'; echo status $?"));
    t.WaitFor("<b c>");
    t.WaitFor("status 5");
    EXPECT_EQ(box.Read("/tmp/counts"), "2\n");
    EXPECT_THAT(box.CallLines(), ElementsAre("count a b c"));
}

TEST(StandIn, ARealCommandIsRecordedToo) {
    Machine box;
    box.Record("ip");
    Terminal t(box, Shell("ip -brief link show lo"));
    t.WaitFor("00:00:00:00:00:00");
    EXPECT_THAT(box.CallLines(), ElementsAre("ip -brief link show lo"));
    box.Sh("ip link");
    EXPECT_EQ(box.Calls().size(), 1u);
}

TEST(StandIn, WaitForCallsWaits) {
    Machine box;
    box.StandIn("tick");
    Terminal t(box, Shell("while :; do tick; sleep 0.01; done"));
    box.WaitForCalls("tick", 3);
    EXPECT_GE(box.Calls("tick").size(), 3u);
    EXPECT_THAT(FailureOf([&] { box.WaitForCalls("tock", 1, 0.05); }),
                HasSubstr("Timed out waiting for 1 calls of tock"));
}

TEST(StandIn, RecordsCallsOfEveryUser) {
    Machine box;
    box.StandIn("look");
    TerminalOptions options = Shell("look; id -u; id -G");
    options.user = 65534;
    Terminal t(box, options);
    t.WaitExit();
    EXPECT_EQ(t.Row(0), "65534");
    EXPECT_EQ(t.Row(1), "65534");
    EXPECT_EQ(box.Calls("look").size(), 1u);
}

// ---- the environment of a terminal's program ----

TEST(Terminal, GivesAFixedEnvironment) {
    setenv("HARNESS_MUST_NOT_LEAK", "1", 1);
    Machine box;
    TerminalOptions options = Shell("env");
    options.environment = {{"LANG", "C"}};
    Terminal t(box, options);
    t.WaitExit();
    EXPECT_TRUE(t.Shows("TERM=xterm-256color"));
    EXPECT_TRUE(t.Shows("LANG=C"));
    EXPECT_TRUE(t.Shows("PATH=/mnt/bin:/usr/sbin:/usr/bin:/sbin:/bin"));
    EXPECT_FALSE(t.Shows("HARNESS_MUST_NOT_LEAK"));
    EXPECT_FALSE(t.Shows("LD_PRELOAD"));
}

TEST(Terminal, IsTheControllingTerminalOfItsOwnSession) {
    Machine box;
    Terminal t(box, Shell("tty; readlink /proc/self/fd/1; ps -o tpgid=,pgid=,sess=,pid= -p $$"));
    t.WaitExit();
    EXPECT_EQ(t.Row(0).rfind("/dev/pts/", 0), 0u);
    EXPECT_EQ(t.Row(1), t.Row(0));
    std::istringstream numbers(t.Row(2));
    int foreground = 0, group = 0, session = 0, pid = 0;
    numbers >> foreground >> group >> session >> pid;
    EXPECT_EQ(foreground, pid);
    EXPECT_EQ(group, pid);
    EXPECT_EQ(session, pid);
    EXPECT_GT(pid, 1);
}

TEST(Terminal, ReadsStandardInputFromElsewhere) {
    Machine box;
    TerminalOptions options = Shell("read line || echo end of input; tty <&1");
    options.input = "/dev/null";
    Terminal t(box, options);
    t.WaitFor("end of input");
    t.WaitFor("/dev/pts/");
}

TEST(Terminal, CanReportNoSize) {
    Machine box;
    TerminalOptions options = Shell("stty size");
    options.rows = options.cols = 0;
    Terminal t(box, options);
    t.WaitFor("0 0");
    EXPECT_EQ(t.rows(), 24);
    EXPECT_EQ(t.cols(), 80);
}

TEST(Terminal, ReportsHowTheProgramEnded) {
    Machine box;
    Terminal exits(box, Shell("exit 131"));
    Terminal dies(box, Shell("kill -TERM $$"));
    EXPECT_EQ(exits.WaitExit(), Exited(131));
    EXPECT_EQ(dies.WaitExit(), Killed(SIGTERM));
    EXPECT_FALSE(dies.Running());
}

TEST(Terminal, IgnoredSignalsStayIgnored) {
    Machine box;
    TerminalOptions options = Shell("echo ready; read line; echo done");
    options.ignored_signals = {SIGTERM};
    Terminal t(box, options);
    t.WaitFor("ready");
    t.Signal(SIGTERM);
    t.Press("<Enter>");
    t.WaitFor("done");
    EXPECT_EQ(t.WaitExit(), Exited(0));
}

TEST(Terminal, HangUpSendsTheSignal) {
    Machine box;
    Terminal t(box, Shell("echo ready; read line"));
    t.WaitFor("ready");
    t.HangUp();
    EXPECT_EQ(t.WaitExit(), Killed(SIGHUP));
    EXPECT_EQ(t.Row(0), "ready");
}

TEST(Terminal, KeepsTheLastOutputOfAnEndedProgram) {
    Machine box;
    Terminal t(box, Shell("seq 1 2000"));
    t.WaitExit();
    EXPECT_EQ(t.Row(22), "2000");
    EXPECT_THAT(t.Output(), HasSubstr("\n1999\r\n2000\r\n"));
    t.Mark();
    EXPECT_EQ(t.Output(), "");
}

TEST(Terminal, MeasuresTheProgram) {
    Machine box;
    Terminal idle(box, Shell("sleep 30; echo"));
    Terminal busy(box, Shell("while :; do :; done"));
    box.WaitUntil([&] { return idle.Children() == 1 && busy.CpuSeconds() > 0.1; }, "work", 30);
    EXPECT_LT(idle.CpuSeconds(), 0.1);
}

// ---- the full-screen program ----

TEST(FullScreen, ReadsStyles) {
    Machine box;
    Terminal t(box, Sample());
    t.WaitFor("selected");
    EXPECT_EQ(t.Style(0), "");
    EXPECT_EQ(t.Style(1), "0-3 bold");
    EXPECT_EQ(t.Style(2), "0-2 dim");
    EXPECT_EQ(t.Style(3), "0-6 reverse");
    EXPECT_EQ(t.Style(4), "0-8 underline");
    EXPECT_EQ(t.Style(5), "0-9 yellow/black dim");
    EXPECT_EQ(t.Style(6), "0-7 white/blue bold");
    EXPECT_EQ(t.Cell(5, 0).fg, kYellow);
    EXPECT_TRUE(t.Cell(5, 0).dim);
    EXPECT_FALSE(t.Cell(6, 0).dim);
    EXPECT_EQ(t.SelectedRow(), 6);
    EXPECT_EQ(t.Selected(), "selected");
}

// Blanks that arrive as erased parts of a row, of the screen, or as a number of cells.
TEST(FullScreen, ErasedCellsTakeTheCurrentStyle) {
    Machine box;
    TerminalOptions options = Shell(
        "printf 'abcdef\\r\\n\\33[1;37;44m123456\\33[4D\\33[2X\\r\\n12\\33[K\\r\\n';"
        "printf '123\\33[1K\\r\\n12\\33[J'");
    options.rows = 6;
    options.cols = 8;
    Terminal t(box, options);
    t.WaitExit();
    EXPECT_EQ(t.Screen(), (std::vector<std::string>{"abcdef", "12  56", "12", "", "12", ""}));
    EXPECT_EQ(t.Style(0), "");
    EXPECT_EQ(t.Style(1), "0-5 white/blue bold");
    EXPECT_EQ(t.Style(2), "0-7 white/blue bold");
    EXPECT_EQ(t.Style(3), "0-3 white/blue bold");
    EXPECT_EQ(t.Style(4), "0-7 white/blue bold");
    EXPECT_EQ(t.Style(5), "0-7 white/blue bold");
    EXPECT_EQ(t.CursorRow(), 4);
    EXPECT_EQ(t.CursorCol(), 2);
}

// Erased, scrolled in at either end, inserted, deleted: with the current colour only where
// the terminal's description says so.
TEST(FullScreen, NewCellsTakeTheColoursOfTheTerminalType) {
    Machine box;
    for (const char* term : {"xterm-256color", "linux", "screen", "tmux"}) {
        SCOPED_TRACE(term);
        TerminalOptions options = Shell(
            "printf 'a\\r\\nb\\r\\nc\\r\\nd\\33[44m\\33[1;1H\\33M\\33[4;1H\\n\\33[2;1H\\33[L'");
        options.term = term;
        options.rows = 4;
        options.cols = 3;
        Terminal t(box, options);
        t.WaitExit();
        EXPECT_EQ(t.Screen(), (std::vector<std::string>{"a", "", "b", "c"}));
        const bool with_colour = options.term == "xterm-256color" || options.term == "linux";
        EXPECT_EQ(t.Style(0), "");
        EXPECT_EQ(t.Style(1), with_colour ? "0-2 default/blue" : "");
        EXPECT_EQ(t.Style(2), "");
    }
}

TEST(FullScreen, ReadsTextBeyondAscii) {
    Machine box;
    Terminal t(box, Sample());
    t.WaitFor("selected");
    EXPECT_EQ(t.Row(7), "caf\xC3\xA9 \xE6\x97\xA5 end");
    EXPECT_EQ(t.Cell(7, 3).text, "\xC3\xA9");
    EXPECT_EQ(t.FindColumn("end"), 8);  // the wide character occupies two cells
}

TEST(FullScreen, ALatin1TerminalShowsItsBytes) {
    Machine box;
    TerminalOptions options = Shell("printf 'caf\\351 \\33[1mx'");
    options.latin1 = true;
    Terminal t(box, options);
    t.WaitExit();
    EXPECT_EQ(t.Row(0), "caf\xC3\xA9 x");
    EXPECT_TRUE(t.Cell(0, 5).bold);
}

TEST(FullScreen, ALatin1LocaleCanBeCreated) {
    Machine box;
    TerminalOptions options = Shell("locale charmap");
    options.environment = box.Latin1Locale();
    Terminal t(box, options);
    t.WaitFor("ISO-8859-1");
}

TEST(FullScreen, TracksTheModesOfTheScreen) {
    Machine box;
    Terminal t(box, Sample());
    t.WaitFor("selected");
    EXPECT_TRUE(t.AltScreen());
    EXPECT_FALSE(t.CursorVisible());
    EXPECT_FALSE(t.LineMode());
    EXPECT_THAT(t.MouseReporting(), ElementsAre(1003, 1006));
    t.Press("q");
    EXPECT_EQ(t.WaitExit(), Exited(3));
    EXPECT_FALSE(t.AltScreen());
    EXPECT_TRUE(t.CursorVisible());
    EXPECT_TRUE(t.LineMode());
    EXPECT_THAT(t.MouseReporting(), IsEmpty());
    EXPECT_FALSE(t.Shows("selected"));
}

TEST(FullScreen, ACommandRunsOnThePlainScreen) {
    Machine box;
    box.StandInScript("pause-command", "echo on the plain screen; read line");
    TerminalOptions options = Shell(std::string("echo before; exec ") + HARNESS_SAMPLE);
    options.term = "xterm-1003";
    Terminal t(box, options);
    t.WaitFor("selected");
    EXPECT_FALSE(t.Shows("before"));
    t.Press("e");
    t.WaitFor("on the plain screen");
    EXPECT_TRUE(t.Shows("before"));
    EXPECT_FALSE(t.AltScreen());
    t.Press("<Enter>");
    t.WaitFor("key e");
    EXPECT_TRUE(t.AltScreen());
    const std::vector<Call> calls = box.Calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_THAT(calls[0].args, ElementsAre("before", "and after"));
    EXPECT_EQ(calls[0].mode, Mode::kLine);
    t.Resize(20, 60);
    t.WaitFor("size 20 by 60");
    t.Press("q");
    t.WaitExit();
    EXPECT_EQ(t.Row(0), "before");
    EXPECT_TRUE(t.Shows("on the plain screen"));
}

TEST(FullScreen, SettleWaitsUntilEveryKeyIsTaken) {
    Machine box;
    Terminal t(box, Sample());
    t.WaitFor("selected");
    for (int round = 0; round < 5; round++) {
        t.Press("<Down>");
        t.Settle();
        EXPECT_EQ(t.Row(12 + round), "key KEY_DOWN");
    }
    t.Press("<Esc>");
    t.Settle();
    EXPECT_EQ(t.Row(17), "key ^[");
}

TEST(FullScreen, SettleWaitsForACommandToEnd) {
    Machine box;
    box.StandInScript("pause-command", "read line");
    Terminal t(box, Sample());
    t.WaitFor("selected");
    t.Press("e");
    box.WaitForCalls("pause-command", 1);
    EXPECT_THAT(FailureOf([&] { t.Settle(0.1); }), HasSubstr("did not come to wait for a key"));
    t.Press("<Enter>");
    t.Settle();
    EXPECT_TRUE(t.Shows("key e"));
}

TEST(FullScreen, SettleFollowsTheForegroundJobOfAShell) {
    Machine box;
    TerminalOptions options;
    options.program = "/bin/sh";
    options.arguments = {"-i"};
    options.environment = {{"PS1", "prompt: "}, {"TERM", "xterm-1003"}};
    Terminal t(box, options);
    t.WaitFor("prompt:");
    t.Type(std::string(HARNESS_SAMPLE) + "\r");
    t.WaitFor("selected");
    for (int round = 0; round < 5; round++) {
        t.Press("<Down>");
        t.Settle();
        EXPECT_EQ(t.Row(12 + round), "key KEY_DOWN");
    }
    t.Press("q");
    t.WaitFor("prompt:");
    t.Settle();
}

TEST(FullScreen, AKeyAfterEscapeIsASeparateKey) {
    Machine box;
    Terminal t(box, Sample());
    t.WaitFor("selected");
    t.Press("<Esc><Up>");
    t.WaitFor("KEY_UP");
    EXPECT_EQ(t.Row(12), "key ^[");
    EXPECT_EQ(t.Row(13), "key KEY_UP");
}

TEST(FullScreen, BytesCanArriveSlowly) {
    Machine box;
    Terminal t(box, Sample());
    t.WaitFor("selected");
    const double start = Now();
    EXPECT_TRUE(t.SendSlowly("xyz", 0.005, Terminal::kPatience));
    EXPECT_GE(Now() - start, 0.010);
    t.WaitFor("key z");
    EXPECT_FALSE(t.SendSlowly("xy", 0.005, 0.004));
}

TEST(FullScreen, ResizingReachesProgramAndEmulator) {
    Machine box;
    Terminal t(box, Sample());
    t.WaitFor("size 24 by 80");
    t.Resize(30, 100);
    t.WaitFor("size 30 by 100");
    EXPECT_EQ(t.Screen().size(), 30u);
    t.Resize(16, 20);
    t.WaitFor("size 16 by 20");
    t.Press("q");
    EXPECT_EQ(t.WaitExit(), Exited(3));
    EXPECT_TRUE(t.Running() == false);
}

TEST(FullScreen, TheSmallestTerminalsWork) {
    Machine box;
    TerminalOptions options = Sample();
    options.rows = 1;
    options.cols = 1;
    Terminal t(box, options);
    t.WaitFor("p");
    t.Resize(5, 10);
    t.WaitFor("underline");
    t.Press("q");
    EXPECT_EQ(t.WaitExit(), Exited(3));
}

TEST(FullScreen, MouseEventsArriveWhereTheyHappen) {
    Machine box;
    Terminal t(box, Sample());
    t.WaitFor("selected");
    t.Hover(5, 40);
    t.WaitFor("mouse 5,40 moved");
    t.Click(0, 0);
    t.WaitFor("mouse 0,0 clicked");
    t.MousePress(23, 79);
    t.WaitFor("mouse 23,79 pressed");
    t.MouseRelease(23, 79);
    t.WaitFor("mouse 23,79 released");
}

TEST(FullScreen, MouseBytesDependOnTheModes) {
    const std::set<int> none = {25, 1049}, old = {1000}, all = {1003, 1006};
    EXPECT_EQ(MouseBytes(none, MouseEvent::kPress, 1, 2), "");
    EXPECT_EQ(MouseBytes(old, MouseEvent::kMove, 1, 2), "");
    EXPECT_EQ(MouseBytes(old, MouseEvent::kPress, 1, 2), "\x1b[M #\"");
    EXPECT_EQ(MouseBytes(old, MouseEvent::kRelease, 1, 2), "\x1b[M##\"");
    EXPECT_EQ(MouseBytes(all, MouseEvent::kMove, 1, 2), "\x1b[<35;3;2M");
    EXPECT_EQ(MouseBytes(all, MouseEvent::kPress, 199, 299), "\x1b[<0;300;200M");
    EXPECT_EQ(MouseBytes(all, MouseEvent::kRelease, 1, 2), "\x1b[<0;3;2m");
}

class EveryTerminal : public testing::TestWithParam<const char*> {};

TEST_P(EveryTerminal, SendsTheKeysOfItsType) {
    Machine box;
    Terminal t(box, Sample(GetParam()));
    t.WaitFor("selected");
    t.Press("<Up><Down><Left><Right><PageUp><PageDown><Delete><Enter><Tab><Space>x");
    t.WaitFor("key x");
    const char* const names[] = {"KEY_UP",    "KEY_DOWN", "KEY_LEFT", "KEY_RIGHT", "KEY_PPAGE",
                                 "KEY_NPAGE", "KEY_DC",   "^M",       "^I",        " "};
    int row = 12;
    for (const char* name : names) {
        const std::string line = std::string("key ") + name;
        EXPECT_EQ(t.Row(row++), line.substr(0, line.find_last_not_of(' ') + 1));
    }
}

INSTANTIATE_TEST_SUITE_P(Types, EveryTerminal,
                         testing::Values("xterm-256color", "xterm-1003", "screen", "tmux", "linux",
                                         "vt220"));

TEST(FullScreen, AMissingKeyEndsTheTest) {
    Machine box;
    Terminal t(box, Shell("sleep 30"));
    EXPECT_THAT(FailureOf([&] { t.Press("<Hom>"); }),
                HasSubstr("A terminal of type xterm-256color has no key <Hom>"));
}

TEST(FullScreen, ATimedOutWaitShowsScreenStylesAndCommands) {
    Machine box;
    box.StandIn("look");
    Terminal t(box, Shell("look -x; tput bold; echo here; sleep 30"));
    t.WaitFor("here");
    const std::string failure = FailureOf([&] { t.WaitFor("there", 0.05); });
    EXPECT_THAT(failure, HasSubstr("Timed out waiting for \"there\" on the screen"));
    EXPECT_THAT(failure, HasSubstr("  0|here\n"));
    EXPECT_THAT(failure, HasSubstr("row 0: 0-3 bold"));
    EXPECT_THAT(failure, HasSubstr("line   look '-x'"));
    EXPECT_THAT(failure, HasSubstr("Cursor shown at row 1, column 0"));
}

// ---- the cards ----

// The answers of the machine's interface to every question, by the first word or words.
std::string Answer(Machine& box, const std::string& name, const std::string& word) {
    TerminalOptions options;
    options.program = HARNESS_ASK;
    options.arguments = {name};
    Terminal t(box, options);
    EXPECT_EQ(t.WaitExit(), Exited(0));
    for (const std::string& line : t.Screen()) {
        if (line.rfind(word + " ", 0) == 0) return line.substr(word.size() + 1);
    }
    return "(no answer)";
}

TEST(Cards, AnswerAsDescribed) {
    Machine box;
    box.Cards(
        "wlan0 name IEEE 802.11\n"
        "wlan0 essid my studio\n"
        "wlan0 freq -2437 -6\n"
        "wlan0 ap 00:11:22:aa:bb:ff\n"
        "wlan0 link 1\n"
        "wlan0 flags 0x1003\n"
        "wlan0 addr 192.168.10.30\n"
        "wlan0 netmask 255.255.254.0\n"
        "wlan0 hwaddr 02:00:00:00:10:40\n");
    EXPECT_EQ(Answer(box, "wlan0", "name"), "IEEE 802.11");
    EXPECT_EQ(Answer(box, "wlan0", "essid"), "9 my studio#");
    EXPECT_EQ(Answer(box, "wlan0", "freq"), "-2437 -6");
    EXPECT_EQ(Answer(box, "wlan0", "ap"), "00:11:22:aa:bb:ff");
    EXPECT_EQ(Answer(box, "wlan0", "link"), "1");
    EXPECT_EQ(Answer(box, "wlan0", "flags"), "4099");
    EXPECT_EQ(Answer(box, "wlan0", "addr"), "2 192.168.10.30");
    EXPECT_EQ(Answer(box, "wlan0", "netmask"), "2 255.255.254.0");
    EXPECT_EQ(Answer(box, "wlan0", "hwaddr"), "02:00:00:00:10:40");
}

TEST(Cards, LeaveOtherRequestsToTheKernel) {
    Machine box;
    box.AddTap("wlan0");
    box.Sh("ip link set wlan0 address 02:00:00:00:00:77");
    box.Cards("wlan0 name IEEE 802.11\n");
    EXPECT_EQ(Answer(box, "wlan0", "name"), "IEEE 802.11");
    EXPECT_EQ(Answer(box, "wlan0", "hwaddr"), "02:00:00:00:00:77");
    EXPECT_EQ(Answer(box, "wlan0", "addr"), "fails " + std::to_string(EADDRNOTAVAIL));
    EXPECT_EQ(Answer(box, "wlan1", "addr"), "fails " + std::to_string(ENODEV));
    EXPECT_EQ(Answer(box, "lo", "addr"), "2 127.0.0.1");
    EXPECT_EQ(Answer(box, "wlan0", "packet socket"), "made");
}

TEST(Cards, FailAsDescribed) {
    Machine box;
    box.Cards("lo link fails\nlo addr fails 19\nsocket packet fails\n");
    EXPECT_EQ(Answer(box, "lo", "link"), "fails " + std::to_string(EOPNOTSUPP));
    EXPECT_EQ(Answer(box, "lo", "addr"), "fails 19");
    EXPECT_EQ(Answer(box, "lo", "packet socket"), "Operation not permitted");
    EXPECT_EQ(Answer(box, "lo", "inet socket"), "made");
    box.Cards("socket inet fails\n");
    EXPECT_EQ(Answer(box, "lo", "inet socket"), "Operation not permitted");
    EXPECT_EQ(Answer(box, "lo", "packet socket"), "made");
}

TEST(Cards, NetworkNamesDoNotOverflowTheirBuffer) {
    Machine box;
    const std::string longest(64, 'n');
    box.Cards("wlan0 essid " + longest + "overflow\n");
    EXPECT_EQ(Answer(box, "wlan0", "essid"), "64 " + longest + "n");
    box.Cards("wlan0 essid \\x66ails\\x20\\xc3\\xa9\n");
    EXPECT_EQ(Answer(box, "wlan0", "essid"), "8 fails \xC3\xA9#");
    box.Cards("wlan0 essid\n");
    EXPECT_EQ(Answer(box, "wlan0", "essid"), "0 #");
}

TEST(Cards, ChangeWhileTheProgramRuns) {
    Machine box;
    box.Cards("lo link 1\n");
    Terminal t(box, Shell(std::string("while read line; do clear; ") + HARNESS_ASK + " lo; done"));
    t.Press("<Enter>");
    t.WaitFor("link 1");
    box.Cards("lo link 0\n");
    t.Press("<Enter>");
    t.WaitFor("link 0");
    box.Cards("");
    t.Press("<Enter>");
    t.WaitFor("link 1");
}

}  // namespace
}  // namespace harness
