// The diagnostics screen: what its two checks print and run on the plain terminal, and
// how their wait for ENTER ends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "actions.h"

namespace harness {
namespace {

using testing::SizeIs;

constexpr const char* kWait = "Hit ENTER to continue.";

class Box : public Machine {
  public:
    Box() {
        Write("/etc/resolv.conf", "search studio.example\nnameserver 192.0.2.53\n");
        StandIn("ping", "64 bytes from somewhere\n");
    }
};

// The program started by a shell with this script, in which "$0" is the program.
TerminalOptions FromAShell(const std::string& script) {
    TerminalOptions options;
    options.program = "/bin/sh";
    options.arguments = {"-c", script, TestedProgram()};
    return options;
}

Words Padded(Words lines) {
    lines.resize(24);
    return lines;
}

// ---- the resolver configuration ----

TEST(DiagnosticsScreen, ShowsTheResolverConfigurationOnThePlainTerminal) {
    Box box;
    Page t(box, kDiagnostics);
    t.Go("r<Enter>", kWait);
    EXPECT_FALSE(t.AltScreen());
    EXPECT_TRUE(t.LineMode());
    // The screen shows nothing else, and starts with an empty line.
    EXPECT_EQ(t.Screen(), Padded({"", "================= RESOLV.CONF =====================",
                                  "search studio.example", "nameserver 192.0.2.53", "", kWait}));
    t.Go("<Enter>", kDiagnostics.sign);
    EXPECT_EQ(t.Row(2), "Diagnostics");
    EXPECT_FALSE(t.Shows(kWait));
    EXPECT_EQ(t.Selected(), "Show resolv.conf");
    EXPECT_FALSE(t.LineMode());
    EXPECT_FALSE(t.CursorVisible());
}

TEST(DiagnosticsScreen, OnlyItsMessagesGoToStandardError) {
    Box box;
    box.Record("cat");
    Page t(box, kDiagnostics, FromAShell("exec \"$0\" 2>/run/messages"));
    for (const char* keys : {"r<Enter>", "p<Enter>"}) {
        const size_t before = box.Calls().size();
        t.Press(keys);
        box.WaitUntil([&] { return box.Calls().size() > before; }, "the command");
        t.WaitUntil([&] { return t.LineMode(); }, "the plain terminal");
        const std::string end = std::string(kWait) + "\n";
        const auto waiting = [&] { return box.Read("/run/messages").ends_with(end); };
        box.WaitUntil(waiting, "the wait for ENTER");
        t.Settle();
        EXPECT_TRUE(t.Shows(keys[0] == 'r' ? "nameserver 192.0.2.53" : "64 bytes from"));
        t.Go("<Enter>", kDiagnostics.sign);
    }
    EXPECT_EQ(box.Read("/run/messages"),
              "\x1b[H\x1b[J\n"
              "================= RESOLV.CONF =====================\n"
              "\n"
              "Hit ENTER to continue.\n"
              "\x1b[H\x1b[J\n"
              "================= PING TEST =====================\n"
              "Hit CTRL+C to stop ping test!\n"
              "\n"
              "\n"
              "Hit ENTER to continue.\n");
    EXPECT_EQ(Ran(box)[0], "cat /etc/resolv.conf");
}

TEST(DiagnosticsScreen, CommandsReportTheirErrors) {
    Box box;
    box.Remove("/etc/resolv.conf");
    box.StandInScript("ping", "echo \"ping: no way\" >&2; exit 2");
    Page t(box, kDiagnostics);
    t.Go("r<Enter>", kWait);
    EXPECT_EQ(t.Row(2), "cat: /etc/resolv.conf: No such file or directory");
    EXPECT_EQ(t.Row(4), kWait);
    t.Go("<Enter>", kDiagnostics.sign);
    t.Go("p<Enter>", kWait);
    EXPECT_EQ(t.Row(4), "ping: no way");
}

// ---- the wait for ENTER ----

TEST(DiagnosticsScreen, OnlyALineEndOrEndOfInputEndsTheWait) {
    Box box;
    Page t(box, kDiagnostics);
    const struct {
        const char* name;
        std::string typed;  // ends the wait
    } ways[] = {{"line feed", "\n"},
                {"ENTER", "\r"},
                {"ENTER after other keys", "abc m \x1b[B\x7f\r"},
                {"Ctrl-D", "\x04"}};
    for (const auto& way : ways) {
        t.Go("r<Enter>", kWait);
        // Without a line end nothing happens; the letters are echoed.
        t.SendBytes("yqm");
        t.WaitFor("yqm");
        t.Settle();
        EXPECT_TRUE(t.Shows(kWait)) << way.name;
        EXPECT_TRUE(t.LineMode()) << way.name;
        t.SendBytes("\x15");  // deletes the line
        t.SendBytes(way.typed);
        t.WaitFor(kDiagnostics.sign);
        EXPECT_FALSE(t.Shows(kWait)) << way.name;
        EXPECT_EQ(t.Selected(), "Show resolv.conf") << way.name;
        // The typed line has been consumed.
        t.Press("m");
        t.WaitSelected("Main menu");
    }
}

// With input translation off, ENTER arrives as a carriage return.
TEST(DiagnosticsScreen, ACarriageReturnEndsTheWait) {
    Box box;
    Page t(box, kDiagnostics, FromAShell("stty -icanon -icrnl; exec \"$0\""));
    t.Go("r<Enter>", kWait);
    t.SendBytes("xyz");
    t.WaitFor("xyz");
    t.Settle();
    EXPECT_TRUE(t.Shows(kWait));
    t.SendBytes("\r");
    t.WaitFor(kDiagnostics.sign);
}

// Keys from a file: each wait reads one line, the last one reaches the end of the file.
TEST(DiagnosticsScreen, EndOfInputEndsTheWaitAtOnce) {
    Box box;
    box.Record("cat");
    box.Write("/run/keys", "i\rr\rone\rr\rtwo\nr\r");
    TerminalOptions options;
    options.input = "/run/keys";
    Terminal t(box, options);
    EXPECT_EQ(t.WaitExit().signal, 0);
    EXPECT_THAT(box.CallLines("cat"), SizeIs(3));
}

// ---- the ping ----

TEST(DiagnosticsScreen, PingsAPublicHostTwentyTimesOncePerSecond) {
    Box box;
    Page t(box, kDiagnostics);
    t.Go("p<Enter>", kWait);
    EXPECT_EQ(t.Screen(),
              Padded({"", "================= PING TEST =====================",
                      "Hit CTRL+C to stop ping test!", "", "64 bytes from somewhere", "", kWait}));
    const std::string host = box.Calls("ping").front().args.back();
    EXPECT_EQ(Ran(box), Words{"ping -c 20 -i 1 " + host});
    // A public name, not one of the local network.
    EXPECT_NE(host.find('.', host.find('.') + 1), std::string::npos) << host;
    EXPECT_EQ(host.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-."), std::string::npos);
    EXPECT_TRUE(std::isalpha(host.back())) << host;
    t.Go("<Enter>", kDiagnostics.sign);
    EXPECT_EQ(t.Selected(), "Ping test");
}

// The real ping on the machine's loopback; /etc/hosts resolves the public name.
class RealPing : public testing::Test {
  protected:
    void SetUp() override {
        if (box.Sh("command -v ping || true").empty()) GTEST_SKIP() << "no ping on this system";
        Page t(box, kDiagnostics);
        t.Go("p<Enter>", kWait);
        const std::string host = box.Calls("ping").front().args.back();
        box.Write("/etc/hosts", "127.0.0.1 " + host + " localhost\n");
        box.ForgetCalls();
    }

    Box box;
};

TEST_F(RealPing, CtrlCEndsOnlyThePingWhichPrintsItsSummary) {
    box.Record("ping");
    Page t(box, kDiagnostics);
    t.Press("p<Enter>");
    t.WaitFor("bytes from");
    EXPECT_FALSE(t.Shows(kWait));
    t.Press("<C-c>");
    t.WaitFor(kWait);
    EXPECT_TRUE(t.Shows("ping statistics ---"));
    EXPECT_TRUE(t.Shows("packets transmitted"));
    EXPECT_FALSE(t.Shows("20 packets transmitted"));
    EXPECT_LT(t.Find("packets transmitted"), t.Find(kWait));
    EXPECT_TRUE(t.LineMode());
    EXPECT_TRUE(t.Running());
    t.Go("<Enter>", kDiagnostics.sign);
    // The operator continues, and the program handles Ctrl-C again.
    t.Go("m<Enter>", "Tavrin 4");
    t.Press("<C-c>");
    EXPECT_EQ(t.WaitExit(), Exited(130));
    EXPECT_THAT(box.CallLines("ping"), SizeIs(1));
}

// The same twenty requests, but faster.
TEST_F(RealPing, EndsOnItsOwnAndWaitsForEnter) {
    box.StandInScript("ping",
                      "exec $(PATH=/usr/bin:/bin command -v ping) -c \"$2\" -i 0.01 \"$5\"");
    Page t(box, kDiagnostics, OfSize(40, 80));
    t.Go("p<Enter>", kWait);
    EXPECT_TRUE(t.Shows("20 packets transmitted, 20 received"));
    EXPECT_TRUE(t.Running());
    t.Go("<Enter>", kDiagnostics.sign);
}

}  // namespace
}  // namespace harness
