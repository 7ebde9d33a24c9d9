// A confirmed action is finished even if the line drops; an ending signal ends the program within
// five seconds whatever holds it up; and keys survive a slow line.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <memory>
#include <vector>

#include "lifecycle_fixtures.h"

namespace harness::lifecycle {
namespace {

using testing::ElementsAre;

constexpr double kEndsWithin = 6;  // five, plus a margin for a loaded computer

// ---- a line that drops between a stop and a start ----

struct GoingAway {
    const char* name;
    std::function<void(Terminal&)> go;
};
std::ostream& operator<<(std::ostream& out, const GoingAway& away) {
    return out << away.name;
}

class LineGoesAway : public testing::TestWithParam<GoingAway> {
  protected:
    void ConfirmAndGoAway(Terminal& t, const std::string& keys) {
        t.WaitFor(kMainMenu.sign);
        t.Press(keys);
        gate.AwaitScript();
        GetParam().go(t);
        gate.Open();
        EXPECT_EQ(t.WaitExit(), Exited(129));
    }

    OneCard box;
    Gate gate{box};
};
INSTANTIATE_TEST_SUITE_P(Endings, LineGoesAway,
                         testing::Values(GoingAway{"HangUp", [](Terminal& line) { line.HangUp(); }},
                                         GoingAway{"Signal",
                                                   [](Terminal& line) { line.Signal(SIGHUP); }}),
                         testing::PrintToStringParamName());

TEST_P(LineGoesAway, AnUpdateRestartsTheInterface) {
    box.StandInScript(kNetwork, std::string("case $1 in stop) ") + Gate::kWait + ";; esac");
    Terminal t(box);
    ConfirmAndGoAway(t, "1<Enter>uu<Enter>y");
    EXPECT_THAT(box.CallLines(kNetwork),
                ElementsAre("/etc/init.d/network stop eth0", "/etc/init.d/network start eth0"));
}

TEST_P(LineGoesAway, AnUpdateOfAllInterfacesRestartsThem) {
    box.StandInScript(kNetwork, std::string("case $1 in stop) ") + Gate::kWait + ";; esac");
    Terminal t(box);
    ConfirmAndGoAway(t, "u<Enter>y");
    EXPECT_THAT(box.CallLines(kNetwork),
                ElementsAre("/etc/init.d/network stop all", "/etc/init.d/network start all"));
}

TEST_P(LineGoesAway, FtpStartsWithItsNewSetting) {
    constexpr const char* kFtp = "/etc/init.d/service-vsftpd";
    box.Write("/etc/vsftpd.conf", "ssl_enable=NO\n");
    box.StandInScript(kFtp, std::string("case $1 in stop) ") + Gate::kWait + ";; esac");
    Terminal t(box);
    ConfirmAndGoAway(t, "s<Enter><Down><Enter>");
    EXPECT_THAT(box.CallLines(kFtp),
                ElementsAre("/etc/init.d/service-vsftpd stop", "/etc/init.d/service-vsftpd start"));
    EXPECT_EQ(box.Read("/etc/vsftpd.conf"), "ssl_enable=YES\n");
}

// A single command does all the work, with the hung-up terminal as its standard output.
TEST_P(LineGoesAway, SmbIsDisabledToItsEnd) {
    box.MakeDirectory("/etc/samba");
    box.Write("/etc/samba/smb.conf", "[global]\n");
    box.StandInScript("/etc/init.d/service-smbd", Gate::kWait);
    box.StandIn("/etc/init.d/service-nmbd");
    Terminal t(box);
    ConfirmAndGoAway(t, "s<Enter>s<Enter>");
    EXPECT_EQ(box.CallLines("/etc/init.d/service-nmbd").size(), 1U);
    EXPECT_FALSE(box.Exists("/etc/samba/smb.conf"));
    EXPECT_EQ(box.Read("/etc/samba/smb.conf.disabled"), "[global]\n");
}

// ---- what may hold the program up ----

TEST(EndingSignals, EndItDuringASlowNameLookup) {
    OneCard box;
    box.MakeDirectory("/etc/samba");
    box.Write("/etc/samba/smb.conf", "");
    box.StandIn("pdbedit");
    Terminal t(box);
    GoTo(t, kServices);
    t.Press("ss<Enter>");
    t.WaitFor("Create user");
    t.Press("c<Enter>");
    t.WaitFor("Enter user account.");
    box.Sh("mv /etc/passwd /etc/passwd.away; mkfifo /etc/passwd");
    t.Type("somebody");
    t.Press("<Enter>");
    t.RunFor(0.2);
    t.Signal(SIGTERM);
    EXPECT_EQ(t.WaitExit(kEndsWithin), Exited(143));
}

// SIGALRM ends a clean-up that hangs, after an ending signal or a crash, even if the caller of the
// program ignores or blocks SIGALRM.
class HeldUpByAStoppedTerminal : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Endings, HeldUpByAStoppedTerminal, testing::Values(SIGTERM, SIGUSR1));

TEST_P(HeldUpByAStoppedTerminal, ItEnds) {
    Machine box;
    TerminalOptions ignoring, blocking;
    ignoring.ignored_signals = {SIGALRM};
    blocking.program = "/usr/bin/env";
    blocking.arguments = {"--block-signal=ALRM", IFMENU_PROGRAM};
    std::vector<std::unique_ptr<Terminal>> terminals;
    for (const TerminalOptions& options : {ignoring, blocking}) {
        terminals.push_back(std::make_unique<Terminal>(box, options));
        Terminal& t = *terminals.back();
        GoTo(t, kMainMenu);
        t.Press("<C-s>");
        t.Settle();
        t.Signal(GetParam());
    }
    for (const auto& t : terminals)
        EXPECT_EQ(t->WaitExit(kEndsWithin), Killed(SIGALRM));
}

// ---- the terminal afterwards ----

class OtherSignal : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Endings, OtherSignal,
                         testing::Values(SIGPIPE, SIGSYS, SIGTRAP, SIGUSR1, SIGUSR2, SIGXCPU));

TEST_P(OtherSignal, LeavesAUsableTerminal) {
    Machine box;
    Terminal t(box, AtAPrompt());
    t.WaitFor(kMainMenu.sign);
    t.Signal(GetParam());
    EXPECT_EQ(t.WaitExit(), Killed(GetParam()));
    ExpectTerminalAsBefore(t);
}

// After a command, before the screen is shown again.
TEST(WhileRowsAreHeldBack, EndingSignalsRestoreTheTerminal) {
    OneCard box;
    Gate gate(box);
    box.StandIn(kNetwork);
    box.Record("ip");
    Terminal t(box, AtAPrompt());
    GoTo(t, kMainMenu);
    box.StandInScript("ip", Gate::kWait);
    t.Press("d<Enter>");
    t.WaitFor(kYesNo.sign);
    t.Press("y");
    gate.AwaitScript();
    t.Signal(SIGTERM);
    EXPECT_EQ(t.WaitExit(), Exited(143));
    ExpectTerminalAsBefore(t);
}

class KeysTypedAhead : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Endings, KeysTypedAhead, testing::Values("TERM", "HUP", "USR1", "ABRT"));

TEST_P(KeysTypedAhead, NeverReachTheShell) {
    Machine box;
    TerminalOptions options;
    options.program = "/bin/sh";
    options.arguments = {"-c",
                         IFMENU_PROGRAM "; stty -icanon min 0 time 0; cat >/run/left; echo end"};
    Terminal t(box, options);
    t.WaitFor(kMainMenu.sign);
    box.Sh("kill -STOP $(pgrep -ox ifmenu)");
    t.SendBytes("reboot\r");
    box.Sh(std::string("p=$(pgrep -ox ifmenu); kill -") + GetParam() + " $p; kill -CONT $p");
    t.WaitFor("end");
    EXPECT_EQ(box.Read("/run/left"), "");
}

// ---- slow lines ----

TEST(CursorKey, MayArriveSlowly) {
    Machine box;
    Terminal t(box);
    t.WaitFor(kMainMenu.sign);
    t.SendSlowly("\x1bOB", 80);
    t.WaitSelected("Bring down all interfaces");
    t.SendSlowly("\x1b[B", 80);
    t.Settle();
    EXPECT_TRUE(t.Running());
}

TEST(Escape, WaitsAsLongAsEscdelaySays) {
    Machine box;
    TerminalOptions options;
    options.environment = {{"ESCDELAY", "700"}};
    Terminal t(box, options);
    t.WaitFor(kMainMenu.sign);
    const double start = Now();
    t.SendBytes("\x1b");
    EXPECT_EQ(t.WaitExit(), Exited(0));
    EXPECT_GE(Now() - start, 0.7);
}

}  // namespace
}  // namespace harness::lifecycle
