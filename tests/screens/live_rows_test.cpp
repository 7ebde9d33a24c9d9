// Screens whose rows wait for an `ip` that answers late, never or without end: keys go first, a key
// acts on the row it was typed for, and nothing shown is out of date.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "main_menu_test.h"

namespace harness {
namespace {

using Texts = std::vector<std::string>;

constexpr const char* kExit = "Exit this program";
constexpr int kFirstInterface = kFirstLine + 9;

const Texts kBothCards = {"    1. eth0    02:00:00:00:00:0A  Link active  Interface up",
                          "       IPv4: 10.1.2.3   netmask: 255.255.255.0  gateway: 10.1.2.1",
                          "       IPv6: 2001:db8::5/64",
                          "",
                          "    2. eth1    02:00:00:00:00:0B  Disconnected",
                          "",
                          "    Exit this program"};

const Texts kBothCardsStateless = {"    1. eth0    02:00:00:00:00:0A",
                                   "",
                                   "",
                                   "",
                                   "    2. eth1    02:00:00:00:00:0B",
                                   "",
                                   "    Exit this program"};

const Texts kBothCardsWithoutIPv6 = {
    "    1. eth0    02:00:00:00:00:0A  Link active  Interface up",
    "       IPv4: 10.1.2.3   netmask: 255.255.255.0  gateway: 10.1.2.1",
    "",
    "    2. eth1    02:00:00:00:00:0B  Disconnected",
    "",
    "    Exit this program",
    ""};

Texts Rows(const Terminal& t, int first, int count) {
    Texts rows;
    for (int row = first; row < first + count; ++row)
        rows.push_back(t.Row(row));
    return rows;
}

void WaitForInterfaces(Terminal& t, const Texts& rows, Place place = Place::current()) {
    t.WaitUntil([&] { return Rows(t, kFirstInterface, 7) == rows; }, "the interfaces", 4, place);
}

// eth0 with a carrier, both kinds of address and a gateway; eth1 down; and a network script that
// only records its calls.
class LiveRows : public testing::Test {
  protected:
    LiveRows() {
        box.AddTap("eth0");
        box.AddTap("eth1", false);
        box.Sh(
            "ip link set eth0 address 02:00:00:00:00:0a up; ip addr add 10.1.2.3/24 dev eth0;"
            "ip link set eth1 address 02:00:00:00:00:0b;"
            "ip addr add 2001:db8::5/64 dev eth0 nodad; ip route add default via 10.1.2.1");
        box.StandIn(kNetworkScript);
    }

    // Makes `ip` first run a shell command if its arguments match this shell pattern.
    void Before(const std::string& arguments, const std::string& command) {
        box.StandInScript(
            "ip", "case \"$*\" in " + arguments + ") " + command + ";; esac; exec /sbin/ip \"$@\"");
    }
    // Holds such an answer back until it is released.
    void Hold(const std::string& arguments) {
        box.Remove("/run/go");
        Before(arguments, "while [ ! -e /run/go ]; do sleep 0.01; done");
    }
    void Release() { box.Write("/run/go", ""); }

    int Processes(const std::string& state_or_name) {
        return std::stoi(box.Sh("grep -lE '" + state_or_name + "' /proc/[0-9]*/status | wc -l"));
    }

    // A killed process is listed until it next gets the processor, and then until it is reaped.
    void WaitForAtMost(int number, const std::string& state_or_name) {
        box.WaitUntil([&] { return Processes(state_or_name) <= number; }, state_or_name);
    }

    Machine box;
};

// ---- the first rows ----

TEST_F(LiveRows, TheFirstScreenAppearsWithoutTheInterfaces) {
    box.StandInScript("ip",
                      "case \"$*\" in link) while [ ! -e /run/list ]; do sleep 0.01; done;;"
                      "*) while [ ! -e /run/go ]; do sleep 0.01; done;; esac;"
                      "exec /sbin/ip \"$@\"");
    Terminal t(box);
    t.WaitFor(kExit, 4);
    EXPECT_EQ(t.Row(kFirstInterface), std::string("    ") + kExit);
    // A row that moves down because interfaces appear stays selected.
    t.Press("e");
    t.WaitSelected(kExit, 2);
    box.Write("/run/list", "");
    WaitForInterfaces(t, kBothCardsWithoutIPv6);
    Release();
    WaitForInterfaces(t, kBothCards);
    t.WaitSelected(kExit);
    t.Press("<Enter>");
    EXPECT_EQ(t.WaitExit(), Exited(0));
}

TEST_F(LiveRows, KeysTypedAheadWaitForTheFirstList) {
    Before("link", "sleep 0.9");
    Terminal t(box);
    t.SendBytes("2\rd\ry");
    box.WaitForCalls(kNetworkScript, 1);
    EXPECT_THAT(box.CallLines(kNetworkScript),
                testing::ElementsAre("/etc/init.d/network stop eth1"));
}

TEST_F(LiveRows, AnEndingSignalDoesNotWaitForTheFirstList) {
    Before("link", "sleep 1000");
    Terminal t(box);
    t.SendBytes("2");
    box.WaitForCalls("ip", 1);
    t.Signal(SIGTERM);
    EXPECT_EQ(t.WaitExit(2), Exited(128 + SIGTERM));
    WaitForAtMost(0, "^Name:.sleep");
}

TEST_F(LiveRows, AnEndlessListDoesNotBlockTheProgram) {
    box.StandInScript("ip", "case \"$*\" in link) exec yes '1: eth0: x';; esac");
    Terminal t(box);
    t.WaitFor("    2. eth0", 60);
    t.Press("<C-c>");
    EXPECT_EQ(t.WaitExit(), Exited(130));
}

TEST_F(LiveRows, WithoutAListThereAreNoInterfaces) {
    MainMenu t(box);
    WaitForInterfaces(t, kBothCards);
    box.Sh("mv /usr/bin/sh /usr/bin/sh.away");
    t.WaitForGone("eth0", 7);
    EXPECT_FALSE(t.Shows("eth1"));
    EXPECT_TRUE(t.Shows(kExit));
}

// ---- missing answers ----

// Without an answer from `ip addr`, only its own information is missing.
TEST_F(LiveRows, AMissingAnswerHidesNothingElse) {
    Hold("'addr show dev eth0 scope global'");
    Terminal t(box);
    WaitForInterfaces(t, kBothCardsWithoutIPv6);
    t.Press("2<Enter>");
    t.WaitFor("Network configuration: eth1 (02:00:00:00:00:0B)");
    t.Press("<Esc>");
    WaitForInterfaces(t, kBothCardsWithoutIPv6);
    Release();
    WaitForInterfaces(t, kBothCards);
}

TEST_F(LiveRows, AHangingCommandDelaysNothing) {
    Before("'addr show dev eth0'*", "sleep 1000");
    MainMenu t(box);
    WaitForInterfaces(t, kBothCardsWithoutIPv6);
    box.SetLink("eth0", false);
    box.Sh("ip addr add 10.1.3.3/24 dev eth1; ip addr add 2001:db8::6/64 dev eth1 nodad");
    t.WaitFor("1. eth0    02:00:00:00:00:0A  Disconnected", 10);
    t.WaitFor("IPv4: 10.1.3.3", 10);
    t.WaitFor("IPv6: 2001:db8::6/64", 10);
}

// It is killed with everything it started, and run again; its answer is shown when it comes.
TEST_F(LiveRows, AHangingCommandIsKilledAndRestarted) {
    Before("'addr show dev eth0'*",
           "if [ -e /run/go ]; then :; elif [ -e /run/second ]; then tail -f /dev/null; :;"
           "else touch /run/second; sleep 1000; :; fi");
    MainMenu t(box);
    box.WaitUntil([&] { return Processes("^Name:.tail") == 1; }, "the second question", 12);
    WaitForAtMost(0, "^Name:.sleep");
    WaitForAtMost(0, "^State:.Z");
    Release();
    t.WaitFor("IPv6: 2001:db8::5/64", 12);
    WaitForAtMost(0, "^Name:.tail");
}

// ---- after an action ----

TEST_F(LiveRows, AnActionKillsOutdatedCommands) {
    Before("'addr show dev eth0'*", "sleep 1000");
    MainMenu t(box);
    WaitForInterfaces(t, kBothCardsWithoutIPv6);
    for (int visit = 0; visit < 3; ++visit)
        LookAgain(t);
    WaitForAtMost(1, "^Name:.sleep");
    t.Press("<Esc>");
    EXPECT_EQ(t.WaitExit(), Exited(0));
    WaitForAtMost(0, "^Name:.sleep");
}

TEST_F(LiveRows, AfterAnActionKeysWorkOnRowsWithoutAState) {
    MainMenu t(box);
    WaitForInterfaces(t, kBothCards);
    Hold("link");
    const size_t before = box.Calls("ip").size();
    OpenQuestion(t);
    box.Sh("ip link set eth0 down; ip link set eth1 up");
    t.Press("y");
    box.WaitForCalls("ip", before + 1);
    t.Press("2");
    t.WaitSelected("2. eth1    02:00:00:00:00:0B", 2);
    WaitForInterfaces(t, kBothCardsStateless);
    EXPECT_FALSE(t.Shows("10.1.2.3"));
    // The selected row stays selected when rows above it disappear.
    Release();
    WaitForInterfaces(t, {"    1. eth0    02:00:00:00:00:0A  Disconnected",
                          "       IPv4: 10.1.2.3   netmask: 255.255.255.0", "",
                          "    2. eth1    02:00:00:00:00:0B  Disconnected  Interface up", "",
                          "    Exit this program", ""});
    EXPECT_EQ(t.Selected(), "2. eth1    02:00:00:00:00:0B  Disconnected  Interface up");
}

TEST_F(LiveRows, ARowWithoutAStateAppearsWithoutAKeyAndOpensItsInterface) {
    MainMenu t(box);
    WaitForInterfaces(t, kBothCards);
    Hold("link");
    LookAgain(t);
    WaitForInterfaces(t, kBothCardsStateless);
    t.Press("1<Enter>");
    t.WaitFor("Network configuration: eth0 (02:00:00:00:00:0A)", 2);
    t.WaitFor("IPv6: 2001:db8::5/64", 2);
    // Earlier answers are not shown; the main menu asks again and has its answer.
    t.Press("<Esc>");
    Release();
    WaitForInterfaces(t, kBothCards);
}

TEST_F(LiveRows, AnInterfaceShowsTheKernelsAnswersAtOnce) {
    MainMenu t(box);
    WaitForInterfaces(t, kBothCards);
    Hold("'addr show'*");
    const size_t before = box.Calls("ip").size();
    t.Press("1<Enter>");
    box.WaitForCalls("ip", before + 1);
    t.Press("c");
    t.WaitSelected("Edit configuration", 2);
    EXPECT_EQ(Rows(t, 4, 4),
              (Texts{"    Link active  Interface up",
                     "       IPv4: 10.1.2.3   netmask: 255.255.255.0  gateway: 10.1.2.1", "",
                     "    Bring up this interfaces"}));
    Release();
    t.WaitFor("IPv6: 2001:db8::5/64");
    EXPECT_EQ(t.Selected(), "Edit configuration");

    // After an action the old address is not shown again.
    Hold("'addr show'*");
    t.Press("d<Enter>");
    t.WaitFor("Are you sure? [y/n]");
    box.Sh("ip addr flush dev eth0");
    t.Press("y");
    t.WaitFor("Network configuration: eth0");
    EXPECT_EQ(Rows(t, 4, 3),
              (Texts{"    Link active  Interface up", "", "    Bring up this interfaces"}));
    t.Press("m<Enter>");
    WaitForMainMenu(t);
}

TEST_F(LiveRows, AScreenLeavesNoDescriptorOpen) {
    MainMenu t(box);
    WaitForInterfaces(t, kBothCards);
    const auto descriptors = [&] {
        const std::filesystem::directory_iterator folder("/proc/" + std::to_string(t.pid()) +
                                                         "/fd");
        return std::distance(begin(folder), end(folder));
    };
    const auto before = descriptors();
    Hold("'addr show dev eth0 scope global'");
    for (int visit = 0; visit < 3; ++visit) {
        t.Press("1<Enter>");
        t.WaitFor("Network configuration: eth0");
        t.Press("<Esc>");
        WaitForMainMenu(t);
    }
    Release();
    LookAgain(t);
    WaitForInterfaces(t, kBothCards);
    EXPECT_EQ(descriptors(), before);
}

}  // namespace
}  // namespace harness
