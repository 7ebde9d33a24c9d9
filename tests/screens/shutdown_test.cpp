// Ending the program by key, by signal and by the end of its input, at any place: afterwards the
// terminal is as it was before.
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
    const char* keys;  // the key for it; null: sent by another program
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
TEST_P(Everywhere, AnIgnoredHangUpEndsTheProgramWithinASecond) {
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
    // This path uses no named key except ENTER.
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

// A stand-in that waits, and records when it is interrupted.
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

TEST(DuringACommand, CtrlCAndCtrlBackslashGoToTheCommand) {
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
    // Afterwards the program handles them again.
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

TEST(DuringACommand, AfterAnIgnoredHangUpItWaitsForTheCommand) {
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

// An end of file typed during the command is an ordinary key once the screen is back.
TEST(DuringACommand, CtrlDIsNotEndOfInput) {
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

// The plain terminal after a command, which waits for ENTER.
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

TEST_F(WaitingForEnter, UsesAlmostNoProcessorTime) {
    Terminal t(box);
    Open(t);
    const double busy = t.CpuSeconds();
    t.RunFor(1);
    EXPECT_LT(t.CpuSeconds() - busy, 0.05);
    t.Press("<Enter>");
    t.WaitFor("Main menu");
}

// The list of interfaces is requested while the screen is up.
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

// They are neither obeyed nor passed on to the shell.
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

// ---- crashes ----

TEST(Fault, LeavesAUsableTerminal) {
    Machine box;
    Terminal t(box, AtAPrompt());
    t.WaitFor(kMainMenu.sign);
    t.Signal(SIGABRT);
    EXPECT_EQ(t.WaitExit(), Killed(SIGABRT));
    ExpectTerminalAsBefore(t);
}

// ---- incomplete mouse reports ----

TEST(HalfAMouseReport, DoesNotDelayEndingSignals) {
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

// ---- during the start ----

TEST(DuringTheStart, CtrlCGoesToTheCommand) {
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

// At any moment: before the program has set up its signals, a signal has its default effect;
// afterwards the program ends with the signal's status.
TEST(DuringTheStart, EndingSignalsNeverLeaveABrokenTerminal) {
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

// In the middle of drawing, the terminal is still restored completely.
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

// ---- a stopped terminal ----

TEST(CleanUp, IsLimitedToFiveSeconds) {
    Machine box;
    Terminal t(box);
    GoTo(t, kMainMenu);
    t.Press("<C-s>");  // stops the output, so that restoring the terminal blocks
    t.Settle();
    const double start = Now();
    t.Signal(SIGINT);
    EXPECT_EQ(t.WaitExit(), Killed(SIGALRM));
    EXPECT_NEAR(Now() - start, 5, 0.5);
}

// A stopped terminal can also block the program in the middle of drawing.
TEST(CleanUp, IsLimitedToFiveSecondsWhereverTheProgramHangs) {
    Machine box;
    std::vector<std::unique_ptr<Terminal>> terminals;
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
        terminals.push_back(std::make_unique<Terminal>(box));
        Terminal& t = *terminals.back();
        GoTo(t, kMainMenu);
        t.Press("<C-s>");
        t.Settle();
        t.Press("<Down>");
        // The colour of the row can't be written: the program sleeps until the terminal takes it,
        // not for some milliseconds as for a key.
        t.WaitUntil([&] { return OutputIsHeld(t); }, "the program to be held up");
        t.Signal(signal);
    }
    for (const auto& t : terminals)
        EXPECT_EQ(t->WaitExit(6), Killed(SIGALRM));
}

// ---- hang-up and end of input ----

// The terminal is too small for the entry box, so any key cancels.
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

TEST_F(SmallEntry, AnIgnoredHangUpEndsTheProgramWithinASecond) {
    TerminalOptions options = Small();
    options.ignored_signals = {SIGHUP};
    Terminal t(box, options);
    Open(t);
    t.HangUp();
    EXPECT_EQ(t.WaitExit(kOneSecond), Exited(1));
}

TEST(Input, EmptyInputEndsTheProgramWithinASecond) {
    Machine box;
    TerminalOptions nothing;
    nothing.input = "/dev/null";
    Terminal t(box, AtAPrompt(nothing));
    EXPECT_EQ(t.WaitExit(kOneSecond), Exited(1));
    EXPECT_TRUE(t.Output().find("Tavrin 4") != std::string::npos);
    ExpectTerminalAsBefore(t);
}

TEST(Input, ClosedInputEndsTheProgramWithinASecond) {
    Machine box;
    TerminalOptions options = AtAPrompt();
    options.arguments[1] += " <&-";
    Terminal t(box, options);
    EXPECT_EQ(t.WaitExit(kOneSecond), Exited(1));
    ExpectTerminalAsBefore(t);
}

// Keys that a script has written to a file.
Ending EndingAfter(Machine& box, const std::string& keys) {
    box.Write("/tmp/keys", keys);
    TerminalOptions options;
    options.input = "/tmp/keys";
    Terminal t(box, AtAPrompt(options));
    const Ending ending = t.WaitExit();
    ExpectTerminalAsBefore(t);
    return ending;
}

TEST(Input, KeysBeforeItsEndAreProcessed) {
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

TEST(Input, KeysFromAPipeAreProcessedToTheEnd) {
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

TEST(Idling, UsesAlmostNoProcessorTime) {
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

TEST(Idling, UsesAlmostNoProcessorTimeWhileACommandRuns) {
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

// Whether a signal mask in /proc/PID/status contains the signal.
bool Has(const Terminal& t, const std::string& line, int signal) {
    const std::string status = ReadWhole("/proc/" + std::to_string(t.pid()) + "/status");
    const size_t at = status.find("\n" + line + ":\t");
    if (at == std::string::npos) return false;
    const unsigned long mask = std::stoul(status.substr(at + line.size() + 3), nullptr, 16);
    return (mask >> (signal - 1) & 1) != 0;
}

TEST(Signals, TheKernelReapsChildren) {
    Machine box;
    Terminal t(box);
    GoTo(t, kMainMenu);
    EXPECT_TRUE(Has(t, "SigIgn", SIGCHLD));
    t.WaitUntil([&] { return t.Children() == 0; }, "the last command's end");
}

TEST(Signals, EndingSignalsAreCaught) {
    Machine box;
    Terminal t(box);
    GoTo(t, kMainMenu);
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
        EXPECT_TRUE(Has(t, "SigCgt", signal)) << strsignal(signal);
        EXPECT_FALSE(Has(t, "SigIgn", signal)) << strsignal(signal);
    }
}

TEST(Signals, InterruptsGoOnlyToTheRunningCommand) {
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

// Some shells do not pass on the signals they were started with, so the shell itself is checked.
TEST(Signals, CommandsStartWithDefaultSignals) {
    Machine box;
    if (box.door().own_users)
        GTEST_SKIP() << "the shell can't be replaced in an ordinary user's machine";
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

TEST(Signals, CommandsStartWithNoBlockedSignals) {
    Machine box;
    // This shell does not change the mask.
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

TEST(Signals, IgnoredInterruptsStillEndTheProgram) {
    Machine box;
    TerminalOptions options;
    options.ignored_signals = {SIGINT, SIGQUIT};  // like a shell's background command
    for (const auto& [keys, status] : {std::pair{"<C-c>", 130}, {"<C-\\>", 131}}) {
        Terminal t(box, options);
        GoTo(t, kMainMenu);
        t.Press(keys);
        EXPECT_EQ(t.WaitExit(), Exited(status));
    }
}

TEST(Signals, OtherSignalsDoNotEndTheProgram) {
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
