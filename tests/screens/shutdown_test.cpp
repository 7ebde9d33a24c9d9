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

using testing::AnyOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr double kOneSecond = 1;

// The kernel ends the input before it sends the signal, so either may end the program.
const testing::Matcher<Ending> kByHangUp = AnyOf(Exited(129), Exited(1));
const testing::Matcher<Ending> kByEndOfInput = Exited(1);

// ---- what ends the program ----

TEST(Leaving, EndsWithStatus0) {
    Machine box;
    for (const char* keys : {"<Esc>", "<Backspace>", "e<Enter>"}) {
        Page t(box, kMainMenu, AtAPrompt());
        t.Press(keys);
        EXPECT_EQ(t.WaitExit(), Exited(0)) << keys;
        ExpectTerminalAsBefore(t);
    }
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

// Started with nohup, or by a program that ignores the signal.
TerminalOptions IgnoringHangUps(TerminalOptions options = {}) {
    options.ignored_signals = {SIGHUP};
    return options;
}

class Everywhere : public testing::TestWithParam<Stop> {};

TEST_P(Everywhere, EndingSignalsRestoreTheTerminal) {
    OneCard box;
    for (const EndingSignal& ending : kEndingSignals) {
        SCOPED_TRACE(testing::PrintToString(ending));
        Page t(box, GetParam(), AtAPrompt());
        Send(t, ending);
        EXPECT_EQ(t.WaitExit(), Exited(ending.status));
        ExpectTerminalAsBefore(t);
    }
}

TEST_P(Everywhere, AHangUpEndsTheProgramWithinASecond) {
    OneCard box;
    Page t(box, GetParam());
    t.HangUp();
    EXPECT_THAT(t.WaitExit(kOneSecond), kByHangUp);
}

TEST_P(Everywhere, AnIgnoredHangUpEndsTheProgramWithinASecond) {
    OneCard box;
    Page t(box, GetParam(), IgnoringHangUps());
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
    WaitForMenu(t, GetParam().keys);
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
const std::string kWaiting =
    "trap 'echo INT >/tmp/got; exit 1' INT; trap 'echo QUIT >/tmp/got; exit 1' QUIT\n" +
    std::string(Gate::kWait) + "; echo done >/tmp/got";

// The shell that has started the stand-in may end before it.
void AwaitReport(Machine& box, const std::string& report) {
    box.WaitUntil([&] { return box.Exists("/tmp/got") && box.Read("/tmp/got") == report; }, report);
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
    box.StandInScript(kNetwork, kWaiting);
    Terminal t(box, AtAPrompt());
    for (const auto& [keys, got] : {std::pair{"<C-c>", "INT\n"}, {"<C-\\>", "QUIT\n"}}) {
        StartCommand(t, gate);
        t.Press(keys);
        t.WaitFor(kMainMenu.sign);
        AwaitReport(box, got);
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
    box.StandInScript(kNetwork, kWaiting);
    for (const auto& [signal, status] : {std::pair{SIGTERM, 143}, {SIGHUP, 129}}) {
        Terminal t(box, AtAPrompt());
        StartCommand(t, gate);
        t.Mark();
        t.Signal(signal);
        EXPECT_EQ(t.WaitExit(kOneSecond), Exited(status));
        ExpectTerminalAsBefore(t);
        EXPECT_EQ(t.Output(), "") << "leaving the screen again moves the cursor over the messages";
    }
}

TEST(DuringACommand, AfterAnIgnoredHangUpItWaitsForTheCommand) {
    Machine box;
    Gate gate(box);
    box.StandInScript(kNetwork, kWaiting);
    Terminal t(box, IgnoringHangUps());
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
    box.StandInScript(kNetwork, kWaiting);
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
constexpr Stop kWaitForEnter = {"WaitForEnter", "i<Enter>r<Enter>", "Hit ENTER to continue."};

TEST(WaitingForEnter, EndingSignalsEndTheProgram) {
    Machine box;
    for (const EndingSignal& ending : kEndingSignals) {
        SCOPED_TRACE(testing::PrintToString(ending));
        Page t(box, kWaitForEnter);
        Send(t, ending);
        EXPECT_EQ(t.WaitExit(kOneSecond), Exited(ending.status));
        EXPECT_TRUE(t.LineMode());
        EXPECT_EQ(PrivateModes(t.Output()), kUsualModes);
    }
}

TEST(WaitingForEnter, AHangUpEndsTheProgramWithinASecond) {
    Machine box;
    for (const bool ignored : {false, true}) {
        Page t(box, kWaitForEnter, ignored ? IgnoringHangUps() : TerminalOptions());
        t.HangUp();
        EXPECT_THAT(t.WaitExit(kOneSecond), ignored ? kByEndOfInput : kByHangUp);
    }
}

// The list of interfaces is requested while the screen is up.
TEST(DuringARefresh, EndingSignalsRestoreTheTerminal) {
    Machine box;
    Gate gate(box);
    box.StandInScript("ip", kWaiting);
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
    options.arguments = {
        "-c", "trap : INT; " + TestedProgram() +
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
    options.arguments = {"-c", "set -m; " + TestedProgram() +
                                   "; echo stopped; stty -icanon min 0 time 0; cat >/run/left; fg"};
    Terminal t(box, options);
    t.WaitFor(kMainMenu.sign);
    t.SendBytes("xxxxxxxxxxxxxxxxxxxxxxxxx\r\x1a");
    t.WaitUntil([&] { return box.Exists("/run/left") && t.Shows(kMainMenu.sign); }, "the return");
    EXPECT_EQ(box.Read("/run/left"), "");
    t.Press("<Esc>");
    t.WaitExit();
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
    box.StandInScript("mkdir", kWaiting);
    Terminal t(box);
    gate.AwaitScript();
    t.Press("<C-c>");
    t.WaitFor(kMainMenu.sign);
    AwaitReport(box, "INT\n");
}

TEST(DuringTheStart, OtherEndingSignalsLeaveThePlainTerminal) {
    Machine box;
    Gate gate(box);
    box.StandInScript("mkdir", kWaiting);
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
        Page t(box, kMainMenu, AtAPrompt());
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

// It can block the program in the middle of drawing.
TEST(StoppedTerminal, HoldsAnEndUpForFiveSecondsAtMost) {
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
TEST(SmallEntry, AHangUpEndsTheProgramWithinASecond) {
    Machine box;
    for (const bool ignored : {false, true}) {
        Terminal t(box, ignored ? IgnoringHangUps(OfSize(5, 40)) : OfSize(5, 40));
        t.WaitFor("Tavrin 4");
        t.Press("n<Enter>");
        t.WaitUntil([&] { return t.CursorVisible(); }, "the entry's cursor");
        t.Settle();
        EXPECT_TRUE(t.Running());
        t.HangUp();
        EXPECT_THAT(t.WaitExit(kOneSecond), ignored ? kByEndOfInput : kByHangUp);
    }
}

TEST(Input, EmptyOrClosedItEndsTheProgramWithinASecond) {
    Machine box;
    for (const char* redirection : {" </dev/null", " <&-"}) {
        TerminalOptions options = AtAPrompt();
        options.arguments[1] += redirection;
        Terminal t(box, options);
        EXPECT_EQ(t.WaitExit(kOneSecond), Exited(1));
        EXPECT_THAT(t.Output(), HasSubstr("Tavrin 4"));
        ExpectTerminalAsBefore(t);
    }
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
    options.arguments = {"-c", "printf 'd\\ry' | \"$0\"; echo status $?", TestedProgram()};
    Terminal t(box, options);
    t.WaitFor("status 1");
    EXPECT_THAT(box.CallLines(), testing::ElementsAre("/etc/init.d/network stop all"));
    EXPECT_TRUE(t.LineMode());
}

// ---- the processor ----

TEST(Idling, UsesAlmostNoProcessorTime) {
    OneCard box;
    Gate gate(box);
    box.StandInScript(kNetwork, Gate::kWait);
    std::vector<Stop> stops(std::begin(kStops), std::end(kStops));
    stops.push_back(kWaitForEnter);
    stops.push_back({"Command", "d<Enter>y", "Stopping all interfaces..."});
    std::vector<std::unique_ptr<Terminal>> terminals;
    for (const Stop& stop : stops) {
        terminals.push_back(std::make_unique<Terminal>(box));
        terminals.back()->WaitFor("Tavrin 4");
        terminals.back()->Press(stop.keys);
        terminals.back()->WaitFor(stop.sign);
    }
    std::vector<double> busy;
    for (const auto& t : terminals)
        busy.push_back(t->CpuSeconds());
    const double stretch = 2;
    terminals[0]->RunFor(stretch);
    for (size_t i = 0; i < terminals.size(); i++) {
        EXPECT_TRUE(terminals[i]->Running());
        EXPECT_LT(terminals[i]->CpuSeconds() - busy[i], 0.1 * stretch) << stops[i].name;
    }
}

}  // namespace
}  // namespace harness::lifecycle
