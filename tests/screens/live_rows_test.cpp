// Refreshing rows while `ip` is slow, hangs or fails, the clock changes and the mouse moves: a key
// acts on the row it was typed for, and nothing shown is out of date.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <string>

#include "main_menu_test.h"

namespace harness {
namespace {

constexpr const char* kExit = "Exit this program";

// eth0 and eth1 with carriers, and a network script that only records its calls.
class TwoCards : public testing::Test {
  protected:
    TwoCards() {
        box.AddTap("eth0");
        box.AddTap("eth1");
        box.Sh(
            "ip link set eth0 address 02:00:00:00:00:0a up;"
            "ip link set eth1 address 02:00:00:00:00:0b up");
        box.StandIn(kNetworkScript);
    }

    // Makes `ip` first run a shell command if its arguments match this shell pattern.
    void Before(const std::string& arguments, const std::string& command) {
        box.StandInScript(
            "ip", "case \"$*\" in " + arguments + ") " + command + ";; esac; exec /sbin/ip \"$@\"");
    }

    int Processes(const std::string& state_or_name) {
        return std::stoi(box.Sh("grep -lE '" + state_or_name + "' /proc/[0-9]*/status | wc -l"));
    }

    // A killed process is listed until it next gets the processor, and then until it is reaped.
    void WaitForAtMost(int number, const std::string& state_or_name) {
        box.WaitUntil([&] { return Processes(state_or_name) <= number; }, state_or_name);
    }

    Machine box;
};

// ---- keys typed ahead ----

TEST_F(TwoCards, KeysTypedAheadWaitForTheFirstList) {
    Before("link", "sleep 0.9");
    Terminal t(box);
    t.SendBytes("2\rd\ry");
    box.WaitForCalls(kNetworkScript, 1);
    EXPECT_THAT(box.CallLines(kNetworkScript),
                testing::ElementsAre("/etc/init.d/network stop eth1"));
}

TEST_F(TwoCards, KeysTypedAheadAreDroppedIfTheListHangs) {
    Before("link", "sleep 1000");
    Terminal t(box);
    t.SendBytes("2\rd\ry");
    t.WaitFor(kExit, 6);
    EXPECT_EQ(t.Selected(), "Bring up all interfaces");
    t.Press("e");
    t.WaitSelected(kExit);
    EXPECT_THAT(box.CallLines(kNetworkScript), testing::IsEmpty());
}

TEST_F(TwoCards, AnEndingSignalDoesNotWaitForTheFirstList) {
    Before("link", "sleep 1000");
    Terminal t(box);
    t.SendBytes("2");
    box.WaitForCalls("ip", 1);
    t.Signal(SIGTERM);
    EXPECT_EQ(t.WaitExit(2), Exited(128 + SIGTERM));
    WaitForAtMost(0, "^Name:.sleep");
}

// ---- missing answers ----

TEST_F(TwoCards, AHangingCommandDelaysNothing) {
    Before("'addr show dev eth0'*", "sleep 1000");
    MainMenu t(box);
    t.WaitFor("2. eth1    02:00:00:00:00:0B  Link active");
    box.SetLink("eth0", false);
    box.Sh("ip addr add 10.1.2.3/24 dev eth1; ip addr add 2001:db8::5/64 dev eth1 nodad");
    t.WaitFor("1. eth0    02:00:00:00:00:0A  Disconnected", 10);
    t.WaitFor("IPv4: 10.1.2.3", 10);
    t.WaitFor("IPv6: 2001:db8::5/64", 10);
}

// It is killed with everything it started, and run again; its answer is shown when it comes.
TEST_F(TwoCards, AHangingCommandIsKilledAndRestarted) {
    box.Sh("ip addr add 2001:db8::a/64 dev eth0 nodad");
    Before("'addr show dev eth0'*",
           "if [ -e /run/go ]; then :; elif [ -e /run/second ]; then tail -f /dev/null; :;"
           "else touch /run/second; sleep 1000; :; fi");
    MainMenu t(box);
    box.WaitUntil([&] { return Processes("^Name:.tail") == 1; }, "the second question", 12);
    WaitForAtMost(0, "^Name:.sleep");
    WaitForAtMost(0, "^State:.Z");
    box.Write("/run/go", "");
    t.WaitFor("IPv6: 2001:db8::a/64", 12);
    WaitForAtMost(0, "^Name:.tail");
}

TEST_F(TwoCards, AnActionKillsOutdatedCommands) {
    Before("'addr show dev eth0'*", "sleep 1000");
    MainMenu t(box);
    t.WaitFor("2. eth1    02:00:00:00:00:0B  Link active");
    for (int visit = 0; visit < 3; ++visit)
        LookAgain(t);
    WaitForAtMost(1, "^Name:.sleep");
    t.Press("<Esc>");
    EXPECT_EQ(t.WaitExit(), Exited(0));
    WaitForAtMost(0, "^Name:.sleep");
}

TEST_F(TwoCards, AnswersOfASlowCommandAreShown) {
    box.Sh("ip addr add 2001:db8::a/64 dev eth0 nodad");
    Before("'addr show dev eth0'*", "sleep 6");
    MainMenu t(box);
    t.WaitFor("IPv6: 2001:db8::a/64", 9);
    t.RunFor(6);
    EXPECT_TRUE(t.Shows("IPv6: 2001:db8::a/64"));
}

TEST_F(TwoCards, AnOldAnswerIsNotShownForever) {
    box.Sh("ip addr add 2001:db8::a/64 dev eth0 nodad");
    box.Record("ip");
    MainMenu t(box);
    t.WaitFor("IPv6: 2001:db8::a/64");
    Before("'addr show dev eth0'*", "sleep 1000");
    t.WaitForGone("IPv6", 20);
}

TEST_F(TwoCards, WithoutAListThereAreNoInterfaces) {
    MainMenu t(box);
    t.WaitFor("2. eth1    02:00:00:00:00:0B  Link active");
    box.Sh("mv /usr/bin/sh /usr/bin/sh.away");
    t.WaitForGone("eth0", 7);
    EXPECT_FALSE(t.Shows("eth1"));
    EXPECT_TRUE(t.Shows(kExit));
}

// ---- the mouse ----

TEST_F(TwoCards, MovingTheMouseDoesNotShowIncompleteRows) {
    MainMenu t(box);
    t.WaitFor("2. eth1    02:00:00:00:00:0B  Link active");
    Before("link", "while [ ! -e /run/go ]; do sleep 0.01; done");
    OpenQuestion(t);
    const size_t before = box.Calls("ip").size();
    t.Press("n");
    box.WaitForCalls("ip", before + 1);
    t.Mark();
    t.Hover(10, 10);
    t.Hover(11, 11);
    t.RunFor(0.2);
    box.Write("/run/go", "");
    t.WaitFor("2. eth1    02:00:00:00:00:0B  Link active");
    const std::string written = t.Output();
    const std::string title = "Tavrin 4";
    EXPECT_EQ(written.find(title), written.rfind(title)) << "painted twice";
}

}  // namespace
}  // namespace harness
