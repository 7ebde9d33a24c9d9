// Screens whose rows wait for a command that answers late or never: keys go first, and meanwhile
// nothing out of date is shown.
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "main_menu_test.h"

namespace harness {
namespace {

constexpr const char* kExit = "Exit this program";
constexpr int kFirstInterface = kFirstLine + 9;

// Holds back `ip` while its arguments match a shell pattern.
void HoldAnswers(Machine& box, const std::string& pattern) {
    box.Remove("/run/go");
    box.StandInScript("ip", "case \"$*\" in " + pattern +
                                ") while [ ! -e /run/go ]; do sleep 0.01; done;; esac;"
                                "exec /sbin/ip \"$@\"");
}

void ReleaseAnswers(Machine& box) {
    box.Write("/run/go", "");
}

// eth0 with a carrier, both kinds of address and a gateway; eth1 down.
void AddTwoCards(Machine& box) {
    box.AddTap("eth0");
    box.AddTap("eth1", false);
    box.Sh(
        "ip link set eth0 address 02:00:00:00:00:0a up; ip addr add 10.1.2.3/24 dev eth0;"
        "ip link set eth1 address 02:00:00:00:00:0b;"
        "ip addr add 2001:db8::5/64 dev eth0 nodad; ip route add default via 10.1.2.1");
}

std::vector<std::string> Rows(const Terminal& t, int first, int count) {
    std::vector<std::string> rows;
    for (int row = first; row < first + count; ++row)
        rows.push_back(t.Row(row));
    return rows;
}

using Texts = std::vector<std::string>;

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

void WaitForInterfaces(Terminal& t, const Texts& rows, Place place = Place::current()) {
    t.WaitUntil([&] { return Rows(t, kFirstInterface, 7) == rows; }, "the interfaces", 4, place);
}

TEST(SlowAnswers, TheFirstScreenAppearsWithoutTheInterfaces) {
    Machine box;
    AddTwoCards(box);
    HoldAnswers(box, "link");
    Terminal t(box);
    t.WaitFor(kExit, 4);
    EXPECT_EQ(t.Row(kFirstInterface), std::string("    ") + kExit);
    // A row that moves down because interfaces appear stays selected.
    t.Press("e");
    t.WaitSelected(kExit, 2);
    ReleaseAnswers(box);
    WaitForInterfaces(t, kBothCards);
    t.WaitSelected(kExit);
    t.Press("<Enter>");
    EXPECT_EQ(t.WaitExit(), Exited(0));
}

TEST(SlowAnswers, KeysTypedBeforeTheFirstScreenApplyToItsRows) {
    Machine box;
    AddTwoCards(box);
    HoldAnswers(box, "link");
    Terminal t(box);
    box.WaitForCalls("ip", 1);
    t.SendBytes("2\r");
    ReleaseAnswers(box);
    t.WaitFor("Network configuration: eth1 (02:00:00:00:00:0B)");
}

TEST(SlowAnswers, AfterAnActionKeysWorkOnRowsWithoutAState) {
    Machine box;
    AddTwoCards(box);
    box.StandIn(kNetworkScript);
    MainMenu t(box);
    WaitForInterfaces(t, kBothCards);
    HoldAnswers(box, "link");
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
    ReleaseAnswers(box);
    WaitForInterfaces(t, {"    1. eth0    02:00:00:00:00:0A  Disconnected",
                          "       IPv4: 10.1.2.3   netmask: 255.255.255.0", "",
                          "    2. eth1    02:00:00:00:00:0B  Disconnected  Interface up", "",
                          "    Exit this program", ""});
    EXPECT_EQ(t.Selected(), "2. eth1    02:00:00:00:00:0B  Disconnected  Interface up");
}

TEST(SlowAnswers, ARowWithoutAStateOpensItsInterface) {
    Machine box;
    AddTwoCards(box);
    MainMenu t(box);
    WaitForInterfaces(t, kBothCards);
    HoldAnswers(box, "link");
    const size_t before = box.Calls("ip").size();
    OpenQuestion(t);
    t.Press("n");
    box.WaitForCalls("ip", before + 1);
    t.Press("1<Enter>");
    t.WaitFor("Network configuration: eth0 (02:00:00:00:00:0A)", 2);
    t.WaitFor("IPv6: 2001:db8::5/64", 2);
    // Earlier answers are not shown; the main menu asks again and has its answer.
    t.Press("<Esc>");
    ReleaseAnswers(box);
    WaitForInterfaces(t, kBothCards);
}

TEST(SlowAnswers, RowsWithoutAStateAppearWithoutAKey) {
    Machine box;
    AddTwoCards(box);
    MainMenu t(box);
    WaitForInterfaces(t, kBothCards);
    HoldAnswers(box, "link");
    LookAgain(t);
    WaitForInterfaces(t, kBothCardsStateless);
    ReleaseAnswers(box);
    WaitForInterfaces(t, kBothCards);
}

// Without an answer from `ip addr`, only its own information is missing.
TEST(SlowAnswers, AMissingAnswerHidesNothingElse) {
    Machine box;
    AddTwoCards(box);
    HoldAnswers(box, "'addr show dev eth0 scope global'");
    Terminal t(box);
    WaitForInterfaces(t, kBothCardsWithoutIPv6);
    t.Press("2<Enter>");
    t.WaitFor("Network configuration: eth1 (02:00:00:00:00:0B)");
    t.Press("<Esc>");
    WaitForInterfaces(t, kBothCardsWithoutIPv6);
    ReleaseAnswers(box);
    WaitForInterfaces(t, kBothCards);
}

TEST(SlowAnswers, TheListIsShownAsSoonAsItArrives) {
    Machine box;
    AddTwoCards(box);
    box.StandInScript("ip",
                      "case \"$*\" in link) while [ ! -e /run/list ]; do sleep 0.01; done;;"
                      "*) while [ ! -e /run/go ]; do sleep 0.01; done;; esac;"
                      "exec /sbin/ip \"$@\"");
    Terminal t(box);
    t.WaitFor(kExit, 4);
    box.Write("/run/list", "");
    WaitForInterfaces(t, kBothCardsWithoutIPv6);
    ReleaseAnswers(box);
    WaitForInterfaces(t, kBothCards);
}

TEST(SlowAnswers, AnEndlessListDoesNotBlockTheProgram) {
    Machine box;
    box.StandInScript("ip", "case \"$*\" in link) exec yes '1: eth0: x';; esac");
    Terminal t(box);
    t.WaitFor("    2. eth0", 60);
    t.Press("<C-c>");
    EXPECT_EQ(t.WaitExit(), Exited(130));
}

TEST(SlowAnswers, AnInterfaceShowsTheKernelsAnswersAtOnce) {
    Machine box;
    AddTwoCards(box);
    MainMenu t(box);
    WaitForInterfaces(t, kBothCards);
    HoldAnswers(box, "'addr show'*");
    const size_t before = box.Calls("ip").size();
    t.Press("1<Enter>");
    box.WaitForCalls("ip", before + 1);
    t.Press("c");
    t.WaitSelected("Edit configuration", 2);
    EXPECT_EQ(Rows(t, 4, 4),
              (Texts{"    Link active  Interface up",
                     "       IPv4: 10.1.2.3   netmask: 255.255.255.0  gateway: 10.1.2.1", "",
                     "    Bring up this interfaces"}));
    ReleaseAnswers(box);
    t.WaitFor("IPv6: 2001:db8::5/64");
    EXPECT_EQ(t.Selected(), "Edit configuration");

    // After an action the old address is not shown again.
    HoldAnswers(box, "'addr show'*");
    box.StandIn(kNetworkScript);
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

TEST(SlowAnswers, AScreenLeavesNoDescriptorOpen) {
    Machine box;
    AddTwoCards(box);
    MainMenu t(box);
    WaitForInterfaces(t, kBothCards);
    const auto descriptors = [&] {
        const std::filesystem::directory_iterator folder("/proc/" + std::to_string(t.pid()) +
                                                         "/fd");
        return std::distance(begin(folder), end(folder));
    };
    const auto before = descriptors();
    HoldAnswers(box, "'addr show dev eth0 scope global'");
    for (int visit = 0; visit < 3; ++visit) {
        t.Press("1<Enter>");
        t.WaitFor("Network configuration: eth0");
        t.Press("<Esc>");
        WaitForMainMenu(t);
    }
    ReleaseAnswers(box);
    LookAgain(t);
    WaitForInterfaces(t, kBothCards);
    EXPECT_EQ(descriptors(), before);
}

}  // namespace
}  // namespace harness
