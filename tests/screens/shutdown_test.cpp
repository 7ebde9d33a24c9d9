// Ending the program: by key, by signal, by the end of its input, wherever it is. The terminal is
// afterwards what it was before.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <sstream>

#include "held_output.h"
#include "lifecycle_fixtures.h"

namespace harness::lifecycle {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr double kOneSecond = 1;

// ---- what ends the program ----

TEST(Leaving, EndsWithStatus0) {
    Machine box;
    for (const char* keys : {"<Esc>", "<Backspace>", "e<Enter>"}) {
        Terminal t(box, AtAPrompt());
        GoTo(t, kMainMenu);
        t.Press(keys);
        EXPECT_EQ(t.WaitExit(), Exited(0)) << keys;
        ExpectTerminalAsBefore(t);
    }
}

TEST(Leaving, ByAClickOnTheSelectedExitRow) {
    Machine box;
    Terminal t(box, AtAPrompt());
    GoTo(t, kMainMenu);
    t.Press("e");
    t.WaitSelected("Exit this program");
    t.Click(t.SelectedRow(), 6);
    EXPECT_EQ(t.WaitExit(), Exited(0));
    ExpectTerminalAsBefore(t);
}

struct EndingSignal {
    int number;
    const char* keys;  // what types it; null: it comes from another program
    int status;
};

constexpr EndingSignal kEndingSignals[] = {
    {SIGINT, "<C-c>", 130},  {SIGINT, nullptr, 130},  {SIGQUIT, "<C-\\>", 131},
    {SIGQUIT, nullptr, 131}, {SIGTERM, nullptr, 143}, {SIGHUP, nullptr, 129},
};

std::ostream& operator<<(std::ostream& out, const EndingSignal& ending) {
    return out << strsignal(ending.number) << (ending.keys != nullptr ? ", typed" : ", sent");
}

void Send(Terminal& t, const EndingSignal& ending) {
    if (ending.keys != nullptr) {
        t.Press(ending.keys);
    } else {
        t.Signal(ending.number);
    }
}

class Everywhere : public testing::TestWithParam<Stop> {};

TEST_P(Everywhere, EndingSignalsRestoreTheTerminal) {
    OneCard box;
    for (const EndingSignal& ending : kEndingSignals) {
        SCOPED_TRACE(testing::PrintToString(ending));
        Terminal t(box, AtAPrompt());
        GoTo(t, GetParam());
        Send(t, ending);
        EXPECT_EQ(t.WaitExit(), Exited(ending.status));
        ExpectTerminalAsBefore(t);
    }
}

TEST_P(Everywhere, AHangUpEndsTheProgramWithinASecond) {
    OneCard box;
    Terminal t(box);
    GoTo(t, GetParam());
    t.HangUp();
    EXPECT_EQ(t.WaitExit(kOneSecond), Exited(129));
}

// Started with nohup, or by a program that ignores the signal.
TEST_P(Everywhere, AHangUpThatIsIgnoredEndsTheProgramWithinASecond) {
    OneCard box;
    TerminalOptions options;
    options.ignored_signals = {SIGHUP};
    Terminal t(box, options);
    GoTo(t, GetParam());
    t.Signal(SIGHUP);
    t.Press("<Space>");
    t.Settle();
    EXPECT_TRUE(t.Running());
    const double busy = t.CpuSeconds();
    t.HangUp();
    EXPECT_EQ(t.WaitExit(kOneSecond), Exited(1));
    EXPECT_LT(t.CpuSeconds() - busy, 0.5);
}

TEST_P(Everywhere, TheEndOfItsInputEndsTheProgramWithinASecond) {
    OneCard box;
    box.Sh("mkfifo /tmp/keys");
    Descriptor keys(open(box.OutsidePath("/tmp/keys").c_str(), O_RDWR | O_CLOEXEC));
    TerminalOptions options;
    options.input = "/tmp/keys";
    Terminal t(box, AtAPrompt(options));
    t.WaitFor(kMainMenu.sign);
    // ENTER is the only named key on these ways.
    std::string way = GetParam().keys;
    for (size_t at = way.find("<Enter>"); at != std::string::npos; at = way.find("<Enter>"))
        way.replace(at, strlen("<Enter>"), "\r");
    ASSERT_EQ(write(keys.get(), way.data(), way.size()), static_cast<ssize_t>(way.size()));
    t.WaitFor(GetParam().sign);
    t.Settle();
    EXPECT_TRUE(t.Running());
    keys.Close();
    EXPECT_EQ(t.WaitExit(kOneSecond), Exited(1));
    ExpectTerminalAsBefore(t);
}

INSTANTIATE_TEST_SUITE_P(Ending, Everywhere, testing::ValuesIn(kStops), StopName);

// ---- while a command has the terminal ----

// A stand-in that waits, and writes down when it is interrupted.
std::string Waiting(const char* result = "done") {
    return std::string(
               "trap 'echo INT >/tmp/got; exit 1' INT; trap 'echo QUIT >/tmp/got; exit 1' "
               "QUIT\n") +
           Gate::kWait + "; echo " + result + " >/tmp/got";
}

// All interfaces are being stopped, by a command that waits at the gate.
void StartCommand(Terminal& t, Gate& gate) {
    t.WaitFor(kMainMenu.sign);
    t.Press("d<Enter>y");
    t.WaitFor("Stopping all interfaces...");
    gate.AwaitScript();
    EXPECT_FALSE(t.AltScreen());
    EXPECT_TRUE(t.LineMode());
    EXPECT_TRUE(t.CursorVisible());
    EXPECT_EQ(t.MouseReporting(), std::vector<int>());
}

TEST(DuringACommand, CtrlCAndCtrlBackslashAreForTheCommand) {
    Machine box;
    Gate gate(box);
    box.StandInScript(kNetwork, Waiting());
    Terminal t(box, AtAPrompt());
    for (const auto& [keys, got] : {std::pair{"<C-c>", "INT\n"}, {"<C-\\>", "QUIT\n"}}) {
        StartCommand(t, gate);
        t.Press(keys);
        t.WaitFor(kMainMenu.sign);
        EXPECT_EQ(box.Read("/tmp/got"), got);
        t.Press("s");
        t.WaitSelected("Services");
    }
    // Afterwards they are the program's again.
    t.Press("<C-\\>");
    EXPECT_EQ(t.WaitExit(), Exited(131));
    ExpectTerminalAsBefore(t);
}

TEST(DuringACommand, OtherEndingSignalsEndTheProgram) {
    Machine box;
    Gate gate(box);
    box.StandInScript(kNetwork, Waiting());
    for (const auto& [signal, status] : {std::pair{SIGTERM, 143}, {SIGHUP, 129}}) {
        Terminal t(box, AtAPrompt());
        StartCommand(t, gate);
        t.Signal(signal);
        EXPECT_EQ(t.WaitExit(kOneSecond), Exited(status));
        ExpectTerminalAsBefore(t);
    }
}

TEST(DuringACommand, TheCommandIsWaitedForAfterAnIgnoredHangUp) {
    Machine box;
    Gate gate(box);
    box.StandInScript(kNetwork, Waiting());
    TerminalOptions options;
    options.ignored_signals = {SIGHUP};
    Terminal t(box, options);
    StartCommand(t, gate);
    t.HangUp();
    EXPECT_TRUE(t.Running());
    gate.Open();
    EXPECT_EQ(t.WaitExit(kOneSecond), Exited(1));
    EXPECT_EQ(box.Read("/tmp/got"), "done\n");
}

// A line's end of file, typed at the command, is a key like any other once the screen is back.
TEST(DuringACommand, CtrlDIsNoEndOfInput) {
    Machine box;
    Gate gate(box);
    box.StandInScript(kNetwork, Waiting());
    Terminal t(box);
    StartCommand(t, gate);
    t.Press("<C-d>");
    gate.Open();
    t.WaitFor(kMainMenu.sign);
    t.Settle();
    t.Press("s");
    t.WaitSelected("Services");
}

TEST(DuringAPause, EndingSignalsRestoreTheTerminal) {
    Machine box;
    box.StandIn("killall");
    box.StandIn("/etc/init.d/service-nscd");
    for (const EndingSignal& ending : kEndingSignals) {
        SCOPED_TRACE(testing::PrintToString(ending));
        box.ForgetCalls();
        Terminal t(box, AtAPrompt());
        t.WaitFor(kMainMenu.sign);
        t.Press("f<Enter>y");
        box.WaitForCalls("killall", 1);
        t.WaitUntil([&] { return t.Children() == 0; }, "the command's end");
        Send(t, ending);
        EXPECT_EQ(t.WaitExit(kOneSecond), Exited(ending.status));
        ExpectTerminalAsBefore(t);
        EXPECT_THAT(box.Calls("/etc/init.d/service-nscd"), IsEmpty());
    }
}

// The plain terminal after a command, until ENTER is typed there.
class WaitingForEnter : public testing::Test {
  protected:
    static void Open(Terminal& t) {
        t.WaitFor(kMainMenu.sign);
        t.Press("i<Enter>r<Enter>");
        t.WaitFor("Hit ENTER to continue.");
        t.Settle();
        EXPECT_TRUE(t.LineMode());
    }
    Machine box;
};

TEST_F(WaitingForEnter, EndingSignalsEndTheProgram) {
    for (const EndingSignal& ending : kEndingSignals) {
        SCOPED_TRACE(testing::PrintToString(ending));
        Terminal t(box);
        Open(t);
        Send(t, ending);
        EXPECT_EQ(t.WaitExit(kOneSecond), Exited(ending.status));
        EXPECT_TRUE(t.LineMode());
        EXPECT_EQ(PrivateModes(t.Output()), kUsualModes);
    }
}

TEST_F(WaitingForEnter, AHangUpEndsTheProgramWithinASecond) {
    for (const bool ignored : {false, true}) {
        TerminalOptions options;
        if (ignored) options.ignored_signals = {SIGHUP};
        Terminal t(box, options);
        Open(t);
        t.HangUp();
        EXPECT_EQ(t.WaitExit(kOneSecond), Exited(ignored ? 1 : 129));
    }
}

TEST_F(WaitingForEnter, CostsNextToNothing) {
    Terminal t(box);
    Open(t);
    const double busy = t.CpuSeconds();
    t.RunFor(1);
    EXPECT_LT(t.CpuSeconds() - busy, 0.05);
    t.Press("<Enter>");
    t.WaitFor("Main menu");
}

// The list of interfaces is asked for while the screen is up.
TEST(DuringARefresh, EndingSignalsRestoreTheTerminal) {
    Machine box;
    Gate gate(box);
    box.StandInScript("ip", Waiting());
    for (const EndingSignal& ending : kEndingSignals) {
        SCOPED_TRACE(testing::PrintToString(ending));
        Terminal t(box, AtAPrompt());
        gate.AwaitScript();
        Send(t, ending);
        EXPECT_EQ(t.WaitExit(), Exited(ending.status));
        ExpectTerminalAsBefore(t);
    }
}

// ---- keys around Ctrl-C ----

// They are neither obeyed nor left for the shell to run.
TEST(TypedAround, CtrlCIsDropped) {
    Machine box;
    TerminalOptions options;
    options.program = "/bin/sh";
    options.arguments = {"-c",
                         "trap : INT; " IFMENU_PROGRAM
                         "; echo status $?; stty -icanon min 0 time 0; cat >/run/left; echo end"};
    Terminal t(box, options);
    t.WaitFor(kMainMenu.sign);
    box.Sh("kill -STOP $(pgrep -ox ifmenu)");
    t.SendBytes("n\r\x03my box\r");
    box.Sh("kill -CONT $(pgrep -ox ifmenu)");
    t.WaitFor("end");
    EXPECT_TRUE(t.Shows("status 130"));
    EXPECT_EQ(box.Read("/run/left"), "");
    EXPECT_EQ(box.Sh("uname -n"), "appliance\n");
}

TEST(TypedAround, CtrlZLeavesNothingForTheShell) {
    Machine box;
    TerminalOptions options;
    options.program = "/bin/sh";
    options.arguments = {"-c", "set -m; " IFMENU_PROGRAM
                               "; echo stopped; stty -icanon min 0 time 0; cat >/run/left; fg"};
    Terminal t(box, options);
    t.WaitFor(kMainMenu.sign);
    t.SendBytes("xxxxxxxxxxxxxxxxxxxxxxxxx\r\x1a");
    t.WaitUntil([&] { return box.Exists("/run/left") && t.Shows(kMainMenu.sign); }, "the return");
    EXPECT_EQ(box.Read("/run/left"), "");
    t.Press("<Esc>");
    t.WaitExit();
}

// ---- a fault of its own ----

TEST(Fault, LeavesATerminalToTypeOn) {
    Machine box;
    Terminal t(box, AtAPrompt());
    t.WaitFor(kMainMenu.sign);
    t.Signal(SIGABRT);
    EXPECT_EQ(t.WaitExit(), Killed(SIGABRT));
    ExpectTerminalAsBefore(t);
}

// ---- a mouse report that is cut off ----

TEST(HalfAMouseReport, HoldsNoEndingSignalUp) {
    Machine box;
    for (const char* keys : {"\x1b[<", "\x1b[<0;1"}) {
        Terminal t(box, AtAPrompt());
        t.WaitFor(kMainMenu.sign);
        t.SendBytes(keys);
        t.Signal(SIGTERM);
        EXPECT_EQ(t.WaitExit(kOneSecond), Exited(143));
        ExpectTerminalAsBefore(t);
    }
}

// ---- right at the start ----

TEST(DuringTheStart, CtrlCIsForTheCommand) {
    Machine box;
    Gate gate(box);
    box.StandInScript("mkdir", Waiting());
    Terminal t(box);
    gate.AwaitScript();
    t.Press("<C-c>");
    t.WaitFor(kMainMenu.sign);
    EXPECT_EQ(box.Read("/tmp/got"), "INT\n");
}

TEST(DuringTheStart, OtherEndingSignalsLeaveThePlainTerminal) {
    Machine box;
    Gate gate(box);
    box.StandInScript("mkdir", Waiting());
    for (const auto& [signal, status] : {std::pair{SIGTERM, 143}, {SIGHUP, 129}}) {
        Terminal t(box, AtAPrompt());
        gate.AwaitScript();
        t.Signal(signal);
        EXPECT_EQ(t.WaitExit(kOneSecond), Exited(status));
        EXPECT_THAT(t.Output(), Not(HasSubstr("\x1b")));
        ExpectTerminalAsBefore(t);
    }
}

// Whatever the program is just doing: it ends by the signal's own effect as long as it has not yet
// begun, and then with the signal's status.
TEST(DuringTheStart, NoMomentLeavesTheTerminalUpset) {
    Machine box;
    for (int milliseconds = 0; milliseconds < 60; milliseconds += 5) {
        SCOPED_TRACE(milliseconds);
        Terminal t(box, AtAPrompt());
        t.WaitUntil([&] { return !t.Output().empty(); }, "the program's start");
        t.RunFor(milliseconds / 1000.0);
        t.Signal(SIGTERM);
        const Ending ending = t.WaitExit(kOneSecond);
        EXPECT_TRUE(ending == Exited(143) || ending == Killed(SIGTERM)) << ending;
        ExpectTerminalAsBefore(t);
    }
}

// In the middle of drawing nothing is restored by halves.
TEST(WhileDrawing, EndingSignalsRestoreTheTerminal) {
    OneCard box;
    for (int round = 0; round < 8; round++) {
        SCOPED_TRACE(round);
        Terminal t(box, AtAPrompt());
        GoTo(t, kMainMenu);
        for (int keys = 0; keys < 40; keys++)
            t.Press("<End><Home>");
        t.Resize(24 + round, 100);
        t.RunFor(0.001 * round);
        t.Signal(SIGTERM);
        EXPECT_EQ(t.WaitExit(kOneSecond), Exited(143));
        ExpectTerminalAsBefore(t);
    }
}

// ---- a terminal that takes nothing more ----

TEST(CleanUp, IsGivenFiveSeconds) {
    Machine box;
    Terminal t(box);
    GoTo(t, kMainMenu);
    t.Press("<C-s>");  // stops the terminal's output, so that restoring it waits
    t.Settle();
    const double start = Now();
    t.Signal(SIGINT);
    EXPECT_EQ(t.WaitExit(), Killed(SIGALRM));
    EXPECT_NEAR(Now() - start, 5, 0.5);
}

// A stopped terminal holds the program up in the middle of drawing, too.
TEST(CleanUp, IsGivenFiveSecondsWhateverHoldsTheProgramUp) {
    Machine box;
    std::vector<std::unique_ptr<Terminal>> terminals;
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
        terminals.push_back(std::make_unique<Terminal>(box));
        Terminal& t = *terminals.back();
        GoTo(t, kMainMenu);
        t.Press("<C-s>");
        t.Settle();
        t.Press("<Down>");
        // The row's colour waits to be written: the program sleeps until the terminal takes it, and
        // not, as for a key, for some milliseconds.
        t.WaitUntil([&] { return OutputIsHeld(t); }, "the program to be held up");
        t.Signal(signal);
    }
    for (const auto& t : terminals)
        EXPECT_EQ(t->WaitExit(6), Killed(SIGALRM));
}

// ---- hang-up and end of input ----

// Too small a terminal for the entry box: any key is awaited instead.
class SmallEntry : public testing::Test {
  protected:
    static TerminalOptions Small() {
        TerminalOptions options;
        options.rows = 5;
        options.cols = 40;
        return options;
    }
    static void Open(Terminal& t) {
        t.WaitFor("Tavrin 4");
        t.Press("n<Enter>");
        t.WaitUntil([&] { return t.CursorVisible(); }, "the entry's cursor");
        t.Settle();
        EXPECT_TRUE(t.Running());
    }
    Machine box;
};

TEST_F(SmallEntry, AHangUpEndsTheProgramWithinASecond) {
    Terminal t(box, Small());
    Open(t);
    t.HangUp();
    EXPECT_EQ(t.WaitExit(kOneSecond), Exited(129));
}

TEST_F(SmallEntry, AHangUpThatIsIgnoredEndsTheProgramWithinASecond) {
    TerminalOptions options = Small();
    options.ignored_signals = {SIGHUP};
    Terminal t(box, options);
    Open(t);
    t.HangUp();
    EXPECT_EQ(t.WaitExit(kOneSecond), Exited(1));
}

TEST(Input, OfNothingEndsTheProgramWithinASecond) {
    Machine box;
    TerminalOptions nothing;
    nothing.input = "/dev/null";
    Terminal t(box, AtAPrompt(nothing));
    EXPECT_EQ(t.WaitExit(kOneSecond), Exited(1));
    EXPECT_TRUE(t.Output().find("Tavrin 4") != std::string::npos);
    ExpectTerminalAsBefore(t);
}

TEST(Input, ThatIsClosedEndsTheProgramWithinASecond) {
    Machine box;
    TerminalOptions options = AtAPrompt();
    options.arguments[1] += " <&-";
    Terminal t(box, options);
    EXPECT_EQ(t.WaitExit(kOneSecond), Exited(1));
    ExpectTerminalAsBefore(t);
}

// Keys that a script wrote into a file.
Ending EndingAfter(Machine& box, const std::string& keys) {
    box.Write("/tmp/keys", keys);
    TerminalOptions options;
    options.input = "/tmp/keys";
    Terminal t(box, AtAPrompt(options));
    const Ending ending = t.WaitExit();
    ExpectTerminalAsBefore(t);
    return ending;
}

TEST(Input, KeysBeforeItsEndAreObeyed) {
    Machine box;
    box.StandIn(kNetwork);
    EXPECT_EQ(EndingAfter(box, "e\r"), Exited(0));
    EXPECT_EQ(EndingAfter(box, "\x1b"), Exited(0));
    EXPECT_EQ(EndingAfter(box, "e"), Exited(1));
    EXPECT_EQ(EndingAfter(box, "d\ryd\rn"), Exited(1));
    EXPECT_THAT(box.CallLines(), testing::ElementsAre("/etc/init.d/network stop all"));
    EXPECT_EQ(EndingAfter(box, "n\r\x7f\x7f\x7f\x7f\x7f\x7f\x7f\x7f\x7fmy box\re\r"), Exited(0));
    EXPECT_EQ(box.Sh("hostname"), "my-box\n");
}

TEST(Input, FromAPipeIsObeyedToItsEnd) {
    Machine box;
    box.StandIn(kNetwork);
    TerminalOptions options;
    options.program = "/bin/sh";
    options.arguments = {"-c", "printf 'd\\ry' | \"$0\"; echo status $?", IFMENU_PROGRAM};
    Terminal t(box, options);
    t.WaitFor("status 1");
    EXPECT_THAT(box.CallLines(), testing::ElementsAre("/etc/init.d/network stop all"));
    EXPECT_TRUE(t.LineMode());
}

// ---- the processor ----

TEST(Idling, CostsNextToNothing) {
    OneCard box;
    std::vector<std::unique_ptr<Terminal>> terminals;
    std::vector<double> busy;
    for (const Stop& stop : kStops) {
        terminals.push_back(std::make_unique<Terminal>(box));
        GoTo(*terminals.back(), stop);
    }
    for (const auto& t : terminals)
        busy.push_back(t->CpuSeconds());
    const double stretch = 2;
    terminals[0]->RunFor(stretch);
    for (size_t i = 0; i < terminals.size(); i++) {
        EXPECT_TRUE(terminals[i]->Running());
        EXPECT_LT(terminals[i]->CpuSeconds() - busy[i], 0.1 * stretch) << kStops[i].name;
        terminals[i]->WaitUntil([&] { return terminals[i]->Children() == 0; }, "no command");
    }
}

TEST(Idling, CostsNextToNothingWhileACommandRuns) {
    Machine box;
    Gate gate(box);
    box.StandInScript(kNetwork, Waiting());
    Terminal t(box);
    StartCommand(t, gate);
    const double busy = t.CpuSeconds();
    t.RunFor(1);
    EXPECT_LT(t.CpuSeconds() - busy, 0.05);
}

// ---- signals ----

// Whether a line of /proc/PID/status, a mask of signals, has the signal.
bool Has(const Terminal& t, const std::string& line, int signal) {
    const std::string status = ReadWhole("/proc/" + std::to_string(t.pid()) + "/status");
    const size_t at = status.find("\n" + line + ":\t");
    if (at == std::string::npos) return false;
    const unsigned long mask = std::stoul(status.substr(at + line.size() + 3), nullptr, 16);
    return (mask >> (signal - 1) & 1) != 0;
}

TEST(Signals, ChildrenAreLeftToTheKernel) {
    Machine box;
    Terminal t(box);
    GoTo(t, kMainMenu);
    EXPECT_TRUE(Has(t, "SigIgn", SIGCHLD));
    t.WaitUntil([&] { return t.Children() == 0; }, "the last command's end");
}

TEST(Signals, EndingOnesAreCaught) {
    Machine box;
    Terminal t(box);
    GoTo(t, kMainMenu);
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
        EXPECT_TRUE(Has(t, "SigCgt", signal)) << strsignal(signal);
        EXPECT_FALSE(Has(t, "SigIgn", signal)) << strsignal(signal);
    }
}

TEST(Signals, ARunningCommandHasTheInterruptsToItself) {
    Machine box;
    Gate gate(box);
    box.StandInScript(kNetwork, Waiting());
    Terminal t(box);
    StartCommand(t, gate);
    EXPECT_TRUE(Has(t, "SigIgn", SIGINT));
    EXPECT_TRUE(Has(t, "SigIgn", SIGQUIT));
    EXPECT_FALSE(Has(t, "SigIgn", SIGTERM));
    gate.Open();
    t.WaitFor(kMainMenu.sign);
    EXPECT_TRUE(Has(t, "SigCgt", SIGINT));
    EXPECT_TRUE(Has(t, "SigCgt", SIGQUIT));
}

// Not every shell hands on the signals that it was started with, so the shell itself is looked at.
TEST(Signals, CommandsStartWithTheirDefaults) {
    Machine box;
    if (box.door().own_users) GTEST_SKIP() << "an ordinary user's machine keeps its shell";
    box.StandIn("/bin/sh");
    Terminal t(box);
    t.WaitFor(kMainMenu.sign);
    t.Press("d<Enter>y");
    const std::string stop_all = "/bin/sh -c /etc/init.d/network stop all";
    const auto has_run = [&] { return testing::Value(box.CallLines(), Contains(stop_all)); };
    box.WaitUntil(has_run, "the command");
    EXPECT_THAT(box.CallLines(), Contains("/bin/sh -c ip link"));
    for (const Call& call : box.Calls()) {
        EXPECT_FALSE(call.sigchld_ignored) << call;
        EXPECT_FALSE(call.sigint_ignored) << call;
        EXPECT_FALSE(call.sigquit_ignored) << call;
    }
}

TEST(Signals, CommandsStartWithNoneHeldBack) {
    Machine box;
    // This shell changes nothing about it.
    box.Sh("mount --bind /bin/bash \"$(readlink -f /bin/sh)\"");
    const auto write_mask_to = [](const std::string& file) {
        return "sed -n 's/^SigBlk:\\t//p' /proc/self/status >" + file;
    };
    box.StandInScript("mkdir", write_mask_to("/tmp/mask-mkdir"));
    box.StandInScript("ip", write_mask_to("/tmp/mask-ip"));
    box.StandInScript(kNetwork, write_mask_to("/tmp/mask-network"));
    Terminal t(box);
    t.WaitFor(kMainMenu.sign);
    t.Press("d<Enter>y");
    box.WaitForCalls(kNetwork, 1);
    t.WaitFor(kMainMenu.sign);
    for (const char* file : {"/tmp/mask-mkdir", "/tmp/mask-ip", "/tmp/mask-network"}) {
        const auto written = [&] { return box.Exists(file) && !box.Read(file).empty(); };
        box.WaitUntil(written, file);
        EXPECT_EQ(box.Read(file), "0000000000000000\n") << file;
    }
}

TEST(Signals, InterruptsIgnoredAtTheStartEndTheProgramAllTheSame) {
    Machine box;
    TerminalOptions options;
    options.ignored_signals = {SIGINT, SIGQUIT};  // as of a shell's background command
    for (const auto& [keys, status] : {std::pair{"<C-c>", 130}, {"<C-\\>", 131}}) {
        Terminal t(box, options);
        GoTo(t, kMainMenu);
        t.Press(keys);
        EXPECT_EQ(t.WaitExit(), Exited(status));
    }
}

TEST(Signals, OthersAreNoReasonToEnd) {
    Machine box;
    Terminal t(box);
    GoTo(t, kMainMenu);
    t.Signal(SIGCHLD);
    t.Signal(SIGCONT);
    t.Signal(SIGWINCH);
    t.Press("s");
    t.WaitSelected("Services");
}

}  // namespace
}  // namespace harness::lifecycle
