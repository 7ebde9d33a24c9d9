// The diagnostics screen: its rows, what the two checks print and run on the plain terminal, and
// how their wait for ENTER ends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

#include "machine.h"
#include "terminal.h"

namespace harness {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kResolver = "/etc/resolv.conf";
constexpr const char* kMenuTitle = "Tavrin 4 Network configuration utility";
constexpr const char* kResolverBanner = "================= RESOLV.CONF =====================";
constexpr const char* kPingBanner = "================= PING TEST =====================";
constexpr const char* kPingHint = "Hit CTRL+C to stop ping test!";
constexpr const char* kWait = "Hit ENTER to continue.";

constexpr int kTop = 4;
constexpr int kLeft = 4;

class Box : public Machine {
  public:
    Box() {
        Write(kResolver, "search studio.example\nnameserver 192.0.2.53\n");
        StandIn("ping", "64 bytes from somewhere\n");
    }
};

void WaitForRows(Terminal& t, Place place = Place::current()) {
    t.WaitFor("Ping test", Terminal::kPatience, place);
    t.WaitFor("Main menu", Terminal::kPatience, place);
    t.Settle(Terminal::kPatience, place);
}

void Open(Terminal& t, Place place = Place::current()) {
    t.WaitFor(kMenuTitle, Terminal::kPatience, place);
    t.Press("i<Enter>", place);
    WaitForRows(t, place);
}

class DiagnosticsPage : public Terminal {
  public:
    explicit DiagnosticsPage(Machine& box, const TerminalOptions& options = {},
                             Place place = Place::current())
        : Terminal(box, options, place) {
        Open(*this, place);
    }
};

// Presses the keys of a check, and waits until it waits for ENTER.
void Check(Terminal& t, const std::string& keys, Place place = Place::current()) {
    t.Press(keys, place);
    t.WaitFor(kWait, Terminal::kPatience, place);
    t.Settle(Terminal::kPatience, place);
}

// The program started by a shell, with its standard error in a file.
TerminalOptions WithMessages(const std::string& file) {
    TerminalOptions options;
    options.program = "/bin/sh";
    options.arguments = {"-c", "exec \"$0\" 2>" + file, IFMENU_PROGRAM};
    return options;
}

// ---- what it shows ----

TEST(DiagnosticsScreen, ShowsItsRows) {
    Box box;
    for (const auto& [rows, cols] : {std::pair{24, 80}, {43, 132}}) {
        DiagnosticsPage t(box, OfSize(rows, cols));
        std::vector<std::string> screen = {
            "", "", "Diagnostics", "", "    Show resolv.conf", "    Ping test", "", "    Main menu",
        };
        screen.resize(static_cast<size_t>(rows));
        EXPECT_EQ(t.Screen(), screen);
        EXPECT_FALSE(t.CursorVisible());
        EXPECT_EQ(t.Cell(2, 0).Style(), "white/black");
        EXPECT_EQ(t.SelectedRow(), kTop);
        EXPECT_EQ(t.Cell(kTop, kLeft).Style(), "white/blue bold");
        EXPECT_EQ(t.Cell(kTop, cols - 2).bg, kBlue);
        EXPECT_EQ(t.Cell(kTop, cols - 1).bg, kBlack);
    }
}

TEST(DiagnosticsScreen, HotKeysSelectAndAreMarked) {
    Box box;
    DiagnosticsPage t(box);
    t.Press("m");
    t.WaitSelected("Main menu");
    EXPECT_EQ(t.Cell(kTop, kLeft + 5).text, "r");
    EXPECT_EQ(t.Cell(kTop, kLeft + 5).Style(), "yellow/black bold");
    EXPECT_EQ(t.Cell(kTop + 1, kLeft).text, "P");
    EXPECT_EQ(t.Cell(kTop + 1, kLeft).Style(), "yellow/black bold");
    t.Press("r");
    t.WaitSelected("Show resolv.conf");
    t.Press("p");
    t.WaitSelected("Ping test");
    EXPECT_EQ(t.Cell(kTop + 3, kLeft).Style(), "yellow/black bold");
    t.Press("<Down>");
    t.WaitSelected("Main menu");
    t.Press("<Down>");
    t.WaitSelected("Show resolv.conf");
    EXPECT_THAT(box.CallLines(), IsEmpty());
}

TEST(DiagnosticsScreen, ItsRowEscAndBackspaceLeaveIt) {
    Box box;
    Terminal t(box);
    for (const char* keys : {"m<Enter>", "<Esc>", "<Backspace>"}) {
        Open(t);
        t.Press(keys);
        t.WaitFor(kMenuTitle);
        EXPECT_FALSE(t.Shows("Show resolv.conf")) << keys;
    }
    t.Press("e<Enter>");
    EXPECT_EQ(t.WaitExit(), Exited(0));
}

// ---- the resolver configuration ----

TEST(DiagnosticsScreen, ShowsTheResolverConfigurationOnThePlainTerminal) {
    Box box;
    DiagnosticsPage t(box);
    Check(t, "r<Enter>");
    EXPECT_FALSE(t.AltScreen());
    EXPECT_TRUE(t.LineMode());
    // The screen shows nothing else, and starts with an empty line.
    std::vector<std::string> screen = {
        "", kResolverBanner, "search studio.example", "nameserver 192.0.2.53", "", kWait};
    screen.resize(24);
    EXPECT_EQ(t.Screen(), screen);
    t.Press("<Enter>");
    WaitForRows(t);
    EXPECT_EQ(t.Row(2), "Diagnostics");
    EXPECT_FALSE(t.Shows(kWait));
    EXPECT_EQ(t.Selected(), "Show resolv.conf");
    EXPECT_FALSE(t.LineMode());
    EXPECT_FALSE(t.CursorVisible());
}

TEST(DiagnosticsScreen, OnlyItsMessagesGoToStandardError) {
    Box box;
    box.Record("cat");
    DiagnosticsPage t(box, WithMessages("/run/messages"));
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
        t.Press("<Enter>");
        WaitForRows(t);
    }
    const std::string said = box.Read("/run/messages");
    EXPECT_EQ(said,
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
    const std::vector<Call> calls = box.Calls();
    ASSERT_THAT(calls, SizeIs(2));
    EXPECT_EQ(calls[0].Line(), "cat /etc/resolv.conf");
    EXPECT_EQ(calls[0].mode, Mode::kLine);
}

TEST(DiagnosticsScreen, IfTheConfigurationIsMissingTheCommandSaysSo) {
    Box box;
    box.Remove(kResolver);
    DiagnosticsPage t(box);
    Check(t, "r<Enter>");
    EXPECT_EQ(t.Row(1), kResolverBanner);
    EXPECT_EQ(t.Row(2), "cat: /etc/resolv.conf: No such file or directory");
    EXPECT_EQ(t.Row(4), kWait);
    t.Press("<Enter>");
    WaitForRows(t);
}

// ---- the wait for ENTER ----

TEST(DiagnosticsScreen, OnlyALineEndOrEndOfInputEndsTheWait) {
    Box box;
    DiagnosticsPage t(box);
    const struct {
        const char* name;
        std::string typed;  // ends the wait
    } ways[] = {{"line feed", "\n"},
                {"ENTER", "\r"},
                {"ENTER after other keys", "abc m \x1b[B\x7f\r"},
                {"Ctrl-D", "\x04"}};
    for (const auto& way : ways) {
        Check(t, "r<Enter>");
        // Without a line end nothing happens; the letters are echoed.
        t.SendBytes("yqm");
        t.WaitFor("yqm");
        t.Settle();
        EXPECT_TRUE(t.Shows(kWait)) << way.name;
        EXPECT_TRUE(t.LineMode()) << way.name;
        t.SendBytes("\x15");  // deletes the line
        t.SendBytes(way.typed);
        WaitForRows(t);
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
    TerminalOptions options;
    options.program = "/bin/sh";
    options.arguments = {"-c", "stty -icanon -icrnl; exec \"$0\"", IFMENU_PROGRAM};
    DiagnosticsPage t(box, options);
    Check(t, "r<Enter>");
    t.SendBytes("xyz");
    t.WaitFor("xyz");
    t.Settle();
    EXPECT_TRUE(t.Shows(kWait));
    t.SendBytes("\r");
    WaitForRows(t);
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
    size_t waits = 0;
    const std::string output = t.Output();
    for (size_t at = output.find(kWait); at != std::string::npos; at = output.find(kWait, at + 1))
        waits++;
    EXPECT_EQ(waits, 3U);
}

TEST(DiagnosticsScreen, CtrlCDuringTheWaitEndsTheProgram) {
    Box box;
    for (const char* keys : {"r<Enter>", "p<Enter>"}) {
        DiagnosticsPage t(box);
        Check(t, keys);
        t.Press("<C-c>");
        EXPECT_EQ(t.WaitExit(), Exited(130)) << keys;
        EXPECT_TRUE(t.LineMode());
        EXPECT_TRUE(t.CursorVisible());
        EXPECT_FALSE(t.AltScreen());
        EXPECT_EQ(t.MouseReporting(), std::vector<int>());
    }
}

TEST(DiagnosticsScreen, CtrlCOnTheScreenEndsTheProgram) {
    Box box;
    DiagnosticsPage t(box);
    t.Press("<C-c>");
    EXPECT_EQ(t.WaitExit(), Exited(130));
    EXPECT_TRUE(t.LineMode());
}

// ---- the ping ----

TEST(DiagnosticsScreen, PingsAPublicHostTwentyTimesOncePerSecond) {
    Box box;
    DiagnosticsPage t(box);
    Check(t, "p<Enter>");
    std::vector<std::string> screen = {"", kPingBanner, kPingHint, "", "64 bytes from somewhere",
                                       "", kWait};
    screen.resize(24);
    EXPECT_EQ(t.Screen(), screen);
    const std::vector<Call> calls = box.Calls("ping");
    ASSERT_THAT(calls, SizeIs(1));
    ASSERT_THAT(calls[0].args, SizeIs(5));
    const std::string host = calls[0].args[4];
    EXPECT_EQ(calls[0].Line(), "ping -c 20 -i 1 " + host);
    // A public name, not one of the local network.
    EXPECT_NE(host.find('.', host.find('.') + 1), std::string::npos) << host;
    EXPECT_EQ(host.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-."), std::string::npos);
    EXPECT_TRUE(std::isalpha(host.back())) << host;
    // It has the terminal in line mode, and Ctrl-C at its default.
    EXPECT_EQ(calls[0].mode, Mode::kLine);
    EXPECT_FALSE(calls[0].sigint_ignored);
    EXPECT_FALSE(calls[0].sigquit_ignored);
    t.Press("<Enter>");
    WaitForRows(t);
    EXPECT_EQ(t.Selected(), "Ping test");
}

TEST(DiagnosticsScreen, IfTheHostIsUnreachableTheCommandSaysSo) {
    Box box;
    box.StandInScript("ping", "echo \"ping: $5: no way\" >&2; exit 2");
    DiagnosticsPage t(box);
    Check(t, "p<Enter>");
    EXPECT_THAT(t.Row(4), HasSubstr(": no way"));
    t.Press("<Enter>");
    WaitForRows(t);
}

// The real ping on the machine's loopback; /etc/hosts resolves the public name.
class RealPing : public testing::Test {
  protected:
    void SetUp() override {
        if (box.Sh("command -v ping || true").empty()) GTEST_SKIP() << "no ping on this system";
        DiagnosticsPage t(box);
        Check(t, "p<Enter>");
        const std::string host = box.Calls("ping").front().args.back();
        box.Write("/etc/hosts", "127.0.0.1 " + host + " localhost\n");
        box.ForgetCalls();
    }

    Box box;
};

TEST_F(RealPing, CtrlCEndsOnlyThePingWhichPrintsItsSummary) {
    box.Record("ping");
    DiagnosticsPage t(box);
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
    t.Press("<Enter>");
    WaitForRows(t);
    // The operator continues, and the program handles Ctrl-C again.
    t.Press("m<Enter>");
    t.WaitFor(kMenuTitle);
    t.Press("<C-c>");
    EXPECT_EQ(t.WaitExit(), Exited(130));
    EXPECT_THAT(box.CallLines("ping"), SizeIs(1));
}

// The same twenty requests, but faster.
TEST_F(RealPing, EndsOnItsOwnAndWaitsForEnter) {
    box.StandInScript("ping",
                      "exec $(PATH=/usr/bin:/bin command -v ping) -c \"$2\" -i 0.01 \"$5\"");
    DiagnosticsPage t(box, OfSize(40, 80));
    Check(t, "p<Enter>");
    EXPECT_TRUE(t.Shows("20 packets transmitted, 20 received"));
    EXPECT_TRUE(t.Running());
    t.Press("<Enter>");
    WaitForRows(t);
}

}  // namespace
}  // namespace harness
