// A confirmed action is finished even if the line drops; an ending signal ends the program within
// five seconds whatever holds it up; and keys survive a slow line.
#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <vector>

#include "lifecycle_fixtures.h"

namespace harness::lifecycle {
namespace {

constexpr double kEndsWithin = 6;  // five, plus a margin for a loaded computer

// ---- a line that drops between a stop and a start ----

TEST(LineGoesAway, AConfirmedUpdateIsFinished) {
    const std::string wait_on_stop = std::string("case $1 in stop) ") + Gate::kWait + ";; esac";
    const struct {
        const char* keys;
        const char* script;
        Words calls;
    } updates[] = {
        {"1<Enter>uu<Enter>y",
         kNetwork,
         {"/etc/init.d/network stop eth0", "/etc/init.d/network start eth0"}},
        {"u<Enter>y", kNetwork, {"/etc/init.d/network stop all", "/etc/init.d/network start all"}},
        {"s<Enter><Down><Enter>",
         "/etc/init.d/service-vsftpd",
         {"/etc/init.d/service-vsftpd stop", "/etc/init.d/service-vsftpd start"}},
        // A single command does all the work, with the hung-up terminal as its standard output.
        {"s<Enter>s<Enter>",
         "/etc/init.d/service-smbd",
         {"/etc/init.d/service-smbd stop", "/etc/init.d/service-nmbd stop"}},
    };
    for (const bool hung_up : {true, false}) {
        SCOPED_TRACE(hung_up ? "hung up" : "signalled");
        OneCard box;
        Gate gate(box);
        box.Write("/etc/vsftpd.conf", "ssl_enable=NO\n");
        box.MakeDirectory("/etc/samba");
        box.Write("/etc/samba/smb.conf", "[global]\n");
        box.StandIn("/etc/init.d/service-nmbd");
        for (const auto& [keys, script, calls] : updates) {
            SCOPED_TRACE(keys);
            box.StandInScript(script, wait_on_stop);
            box.ForgetCalls();
            Page t(box, kMainMenu);
            t.WaitFor("    1. eth0");
            t.Press(keys);
            gate.AwaitScript();
            hung_up ? t.HangUp() : t.Signal(SIGHUP);
            gate.Open();
            EXPECT_EQ(t.WaitExit(), Exited(129));
            EXPECT_EQ(box.CallLines(), calls);
        }
        EXPECT_EQ(box.Read("/etc/vsftpd.conf"), "ssl_enable=YES\n");
        EXPECT_FALSE(box.Exists("/etc/samba/smb.conf"));
        EXPECT_EQ(box.Read("/etc/samba/smb.conf.disabled"), "[global]\n");
    }
}

// ---- what may hold the program up ----

TEST(EndingSignals, EndItDuringASlowNameLookup) {
    OneCard box;
    box.MakeDirectory("/etc/samba");
    box.Write("/etc/samba/smb.conf", "");
    box.StandIn("pdbedit");
    Page t(box, kSmbAccounts);
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
TEST(HeldUpByAStoppedTerminal, ItEnds) {
    Machine box;
    TerminalOptions ignoring, blocking;
    ignoring.ignored_signals = {SIGALRM};
    blocking.program = "/usr/bin/env";
    blocking.arguments = {"--block-signal=ALRM", TestedProgram()};
    std::vector<std::unique_ptr<Terminal>> terminals;
    for (const int signal : {SIGTERM, SIGUSR1}) {
        for (const TerminalOptions& options : {ignoring, blocking}) {
            terminals.push_back(std::make_unique<Page>(box, kMainMenu, options));
            terminals.back()->Press("<C-s>");
            terminals.back()->Settle();
            terminals.back()->Signal(signal);
        }
    }
    for (const auto& t : terminals)
        EXPECT_EQ(t->WaitExit(kEndsWithin), Killed(SIGALRM));
}

// ---- the terminal afterwards ----

TEST(OtherSignal, LeavesAUsableTerminal) {
    Machine box;
    for (const int signal : {SIGABRT, SIGPIPE, SIGSYS, SIGTRAP, SIGUSR1, SIGUSR2, SIGXCPU}) {
        Page t(box, kMainMenu, AtAPrompt());
        t.Signal(signal);
        EXPECT_EQ(t.WaitExit(), Killed(signal));
        ExpectTerminalAsBefore(t);
    }
}

// After a command, before the screen is shown again.
TEST(WhileRowsAreHeldBack, EndingSignalsRestoreTheTerminal) {
    OneCard box;
    Gate gate(box);
    box.StandIn(kNetwork);
    box.Record("ip");
    Page t(box, kMainMenu, AtAPrompt());
    box.StandInScript("ip", Gate::kWait);
    t.Press("d<Enter>");
    t.WaitFor(kYesNo.sign);
    t.Press("y");
    gate.AwaitScript();
    t.Signal(SIGTERM);
    EXPECT_EQ(t.WaitExit(), Exited(143));
    ExpectTerminalAsBefore(t);
}

TEST(KeysTypedAhead, NeverReachTheShell) {
    Machine box;
    TerminalOptions options;
    options.program = "/bin/sh";
    options.arguments = {"-c",
                         TestedProgram() + "; stty -icanon min 0 time 0; cat >/run/left; echo end"};
    for (const std::string signal : {"TERM", "HUP", "USR1", "ABRT"}) {
        Terminal t(box, options);
        t.WaitFor(kMainMenu.sign);
        box.Sh("kill -STOP $(pgrep -ox ifmenu)");
        t.SendBytes("reboot\r");
        box.Sh("p=$(pgrep -ox ifmenu); kill -" + signal + " $p; kill -CONT $p");
        t.WaitFor("end");
        EXPECT_EQ(box.Read("/run/left"), "") << signal;
    }
}

// ---- slow lines ----

TEST(CursorKey, MayArriveSlowly) {
    Machine box;
    const auto send_slowly = [](Terminal& t, const char* bytes) {
        return t.SendSlowly(bytes, 0.080, 0.095);
    };
    bool kept_pace = false;
    for (int attempt = 0; attempt < 10 && !kept_pace; attempt++) {
        Terminal t(box);
        GoTo(t, kMainMenu);
        if (!send_slowly(t, "\x1bOB")) continue;
        t.WaitSelected("Bring down all interfaces");
        kept_pace = send_slowly(t, "\x1b[B");
        if (!kept_pace) continue;
        t.Settle();
        EXPECT_TRUE(t.Running());
    }
    EXPECT_TRUE(kept_pace) << "this machine is too busy";
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
