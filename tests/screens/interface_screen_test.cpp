// The screen of one interface: what it shows and offers, which commands it runs, and what is on the
// screen after leaving it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "interface_fixtures.h"

namespace harness::one_card {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr const char* kMenuTitle = "Tavrin 4 Network configuration utility";

// The time between two refreshes, less the possible difference in the start of commands.
constexpr double kAlmostFive = 4.8;

// The rows below the status.
Words Entries(const Terminal& t) {
    Words entries;
    for (int row = t.Find("Bring up this"); row > 0 && row < t.rows(); row++)
        entries.push_back(TextAt(t, row));
    while (!entries.empty() && entries.back().empty())
        entries.pop_back();
    return entries;
}

// Makes the screen query the card at once: answering a question with "no" does that.
void LookAgain(Terminal& t, Place place = Place::current()) {
    t.Go("d<Enter>", kQuestion, place);
    t.Go("n", kInterface.sign, place);
}

// ---- what it shows ----

TEST(InterfaceScreen, ShowsTheStatusAndTheEntriesOfAWiredCard) {
    Box box(Card::kPlugged);
    box.Sh(
        "ip link set eth0 up; ip addr add 192.0.2.7/25 dev eth0;"
        "ip addr add 2001:db8::7/64 dev eth0 nodad; ip route add default via 192.0.2.1");
    Page t(box, kInterface);
    Words screen = {"",
                    "",
                    "Network configuration: eth0 (02:AB:CD:EF:00:01)",
                    "",
                    "    Link active  Interface up",
                    "       IPv4: 192.0.2.7   netmask: 255.255.255.128  gateway: 192.0.2.1",
                    "       IPv6: 2001:db8::7/64",
                    "",
                    "    Bring up this interfaces",
                    "    Bring down this interfaces",
                    "    Update interface from config",
                    "    Edit configuration",
                    "",
                    "    Main menu"};
    screen.resize(24);
    EXPECT_EQ(t.Screen(), screen);
    EXPECT_FALSE(t.CursorVisible());
    EXPECT_EQ(t.Cell(2, 0).Style(), "white/black");
    // The first row is selected initially, although it is dim and does nothing.
    EXPECT_EQ(t.SelectedRow(), kTop);
    EXPECT_EQ(t.Cell(kTop, kLeft).Style(), "white/blue dim");
    EXPECT_EQ(t.Cell(kTop + 1, kLeft + 3).Style(), "white/black dim");
    EXPECT_EQ(t.Cell(t.Find("Bring up this"), kLeft).Style(), "white/black bold");
    t.Press("<Enter>");
    t.Settle();
    EXPECT_EQ(t.Screen(), screen);
}

// The kernel supplies two words. A missing word leaves its place empty, but a known link is kept
// when it can't be queried.
TEST(InterfaceScreen, TheFirstRowIsTwoWordsSeparatedByTwoBlanks) {
    Box box;
    box.Cards("eth0 link fails\neth0 flags 0x1\n");
    Page t(box, kInterface);
    EXPECT_EQ(t.Row(kTop), "      Interface up");
    for (const auto& [cards, row] :
         {std::pair("eth0 link 1\neth0 flags 0x1\n", "    Link active  Interface up"),
          {"eth0 link fails\neth0 flags fails\n", "    Link active"},
          {"eth0 link 0\neth0 flags 0x1\n", "    Disconnected  Interface up"},
          {"socket packet fails\n", "    Disconnected  Interface up"},
          {"eth0 link fails\neth0 flags 0x1002\n", "    Disconnected"}}) {
        box.Cards(cards);
        LookAgain(t);
        EXPECT_EQ(t.Row(kTop), row) << cards;
    }
}

// Everything changes without a key, because the screen refreshes every five seconds. "Bring up"
// must not turn into "Bring down" under the operator's finger.
TEST(InterfaceScreen, RefreshesTheStatusEveryFiveSecondsAndKeepsTheSelectedRow) {
    Box box(Card::kPlugged);
    box.Sh("ip link set eth0 up; ip addr add 2001:db8::7/64 dev eth0 nodad");
    box.Record("ip");
    Terminal t(box);
    t.WaitFor("IPv6: 2001:db8::7/64");
    box.ForgetCalls();
    GoTo(t, kInterface);
    EXPECT_EQ(t.Row(kTop), "    Link active  Interface up");
    EXPECT_EQ(t.Row(kTop + 1), "       IPv6: 2001:db8::7/64");
    t.Press("d");
    t.WaitSelected("Bring down this interfaces");
    const int line = t.SelectedRow();
    box.Sh("ip addr add 192.0.2.7/24 dev eth0; ip route add default via 192.0.2.1");
    box.SetLink(kName, false);
    t.WaitFor("Disconnected  Interface up", 6);
    EXPECT_EQ(t.Row(kTop + 1),
              "       IPv4: 192.0.2.7   netmask: 255.255.255.0  gateway: 192.0.2.1");
    EXPECT_EQ(t.Row(kTop + 2), "       IPv6: 2001:db8::7/64");
    EXPECT_EQ(t.SelectedRow(), line + 1);
    EXPECT_EQ(t.Selected(), "Bring down this interfaces");
    const std::vector<Call> calls = box.Calls("ip");
    ASSERT_THAT(calls, SizeIs(2));
    for (const Call& call : calls)
        EXPECT_EQ(call.Line(), "ip addr show dev eth0 scope global");
    EXPECT_GE(calls[1].seconds - calls[0].seconds, kAlmostFive);
    EXPECT_LT(calls[1].seconds - calls[0].seconds, 6);
    t.Go("<Enter>", kQuestion);
    t.Press("y");
    box.WaitForCalls(kNetworkScript, 1);
    EXPECT_THAT(box.CallLines(kNetworkScript), ElementsAre("/etc/init.d/network stop eth0"));
}

// ---- wireless cards ----

// A machine with a second card, wlan0, which the kernel reports as wireless.
class WirelessBox : public Box {
  public:
    WirelessBox() {
        AddBridge("wlan0");
        Sh("ip link set wlan0 address 02:ab:cd:ef:00:02");
        Cards("wlan0 name IEEE 802.11\n");
    }
};

void OpenCard(Terminal& t, const std::string& number, const std::string& name,
              Place place = Place::current()) {
    t.WaitFor("    1. ", Terminal::kPatience, place);
    t.Go(number + "<Enter>", "Network configuration: " + name + " (", place);
}

const Words kWiredEntries = {"Bring up this interfaces",
                             "Bring down this interfaces",
                             "Update interface from config",
                             "Edit configuration",
                             "",
                             "Main menu"};

TEST(InterfaceScreen, EachKindOfCardHasItsEntries) {
    WirelessBox box;
    box.AddBridge("wlan1");
    box.AddBridge("odd");
    box.Cards("wlan0 name IEEE 802.11\nwlan1 name IEEE 802.11\n");
    box.RfkillFiles("wlan1", "1\n", "0\n", "0\n");
    box.RfkillFiles("odd", "1\n", "0\n", "1\n");  // a switch, but not a wireless card
    Words wireless = kWiredEntries;
    wireless.insert(wireless.begin() + 4, "Wireless access points");
    Words with_switch = wireless;
    with_switch.insert(with_switch.begin() + 3, "Enable soft RF-kill");
    Terminal t(box);
    OpenCard(t, "1", "eth0");
    EXPECT_EQ(t.Row(kTop), "    Disconnected");
    EXPECT_EQ(t.Row(kTop + 1), "");
    EXPECT_EQ(Entries(t), kWiredEntries);
    for (const auto& [number, name, entries] : {std::tuple("2", "wlan0", wireless),
                                                {"3", "wlan1", with_switch},
                                                {"4", "odd", kWiredEntries}}) {
        t.Press("m<Enter>");
        OpenCard(t, number, name);
        EXPECT_EQ(Entries(t), entries) << name;
    }
}

constexpr const char* kSwitch = "/sys/class/net/wlan0/phy80211/rfkill0";

// The switch may have any number: the kernel counts on when the card's module is reloaded.
TEST(InterfaceScreen, TheRfkillRowFlipsTheSwitch) {
    WirelessBox box;
    box.RfkillFiles("wlan0", "1\n", "0\n", "1\n");
    box.Sh("cd /sys/class/net/wlan0/phy80211 && mv rfkill0 rfkill4");
    const std::string file = "/sys/class/net/wlan0/phy80211/rfkill4/soft";
    Terminal t(box);
    OpenCard(t, "2", "wlan0");
    EXPECT_FALSE(t.Shows("Enable soft RF-kill"));
    EXPECT_EQ(t.Row(kTop + 1), "       Wireless: Enabled: Yes, RF-Kill: S/W");
    t.Press("r");
    t.WaitSelected("Disable soft RF-kill");
    EXPECT_EQ(box.Read(file), "1\n") << "a hot key must only select";
    t.Press("<Enter>");
    t.WaitSelected("Enable soft RF-kill");
    EXPECT_EQ(box.Read(file), "0\n");
    EXPECT_FALSE(t.Shows("Disable soft RF-kill"));
    EXPECT_EQ(t.Row(kTop + 1), "       Wireless: Enabled: Yes, RF-Kill: off");
    t.Press("<Enter>");
    t.WaitSelected("Disable soft RF-kill");
    EXPECT_EQ(box.Read(file), "1\n");
    EXPECT_EQ(t.Row(kTop + 1), "       Wireless: Enabled: Yes, RF-Kill: S/W");
    EXPECT_THAT(box.Calls(kNetworkScript), IsEmpty());
}

// An unreadable file gives no news; an unwritable one changes nothing.
TEST(InterfaceScreen, TheRfkillRowKeepsTheLastKnownState) {
    WirelessBox box;
    box.RfkillFiles("wlan0", "1\n", "0\n", std::nullopt);
    Terminal t(box);
    OpenCard(t, "2", "wlan0");
    EXPECT_TRUE(t.Shows("Enable soft RF-kill")) << "off until something else is known";
    for (const auto& [soft, entry] : {std::pair("2\n", "Disable soft"),
                                      {"-1\n", "Disable soft"},
                                      {"", "Enable soft"},
                                      {"1\n", "Disable soft"}}) {
        box.RfkillFiles("wlan0", "1\n", "0\n", soft);
        LookAgain(t);
        EXPECT_TRUE(t.Shows(entry)) << soft;
    }
    box.RfkillFiles("wlan0", std::nullopt, std::nullopt, std::nullopt);
    LookAgain(t);
    EXPECT_TRUE(t.Shows("Disable soft RF-kill"));
    // The folder no longer exists: choosing the row is harmless.
    box.Remove(kSwitch);
    LookAgain(t);
    t.Press("r<Enter>");
    t.Settle();
    EXPECT_TRUE(t.Shows("Disable soft RF-kill"));
    EXPECT_FALSE(box.Exists(kSwitch));
}

TEST(InterfaceScreen, ChecksTheKindOfCardOnlyOnEntry) {
    WirelessBox box;
    box.RfkillFiles("wlan0", "1\n", "0\n", "0\n");
    box.StandIn("wpa_cli");
    Terminal t(box);
    OpenCard(t, "2", "wlan0");
    box.Cards("");
    box.Remove(kSwitch);
    LookAgain(t);
    EXPECT_FALSE(t.Shows("Wireless:"));
    EXPECT_TRUE(t.Shows("Enable soft RF-kill"));
    EXPECT_TRUE(t.Shows("Wireless access points"));
    t.Press("m<Enter>");
    OpenCard(t, "2", "wlan0");
    EXPECT_EQ(Entries(t), kWiredEntries);
    box.Cards("wlan0 name IEEE 802.11\n");
    box.RfkillFiles("wlan0", "1\n", "0\n", "0\n");
    LookAgain(t);
    EXPECT_TRUE(t.Shows("Wireless: "));
    EXPECT_EQ(Entries(t), kWiredEntries);
}

// ---- actions ----

const Action kActions[] = {
    {.row = "Bring up this interfaces",
     .question = kQuestion,
     .typed = "y",
     .commands = {"/etc/init.d/network start eth0"},
     .said = {"Starting interface...", "start eth0"},
     .after = kScreenTitle},
    {.row = "Bring down this interfaces",
     .question = kQuestion,
     .typed = "Y",
     .commands = {"/etc/init.d/network stop eth0"},
     .said = {"Stopping interface...", "stop eth0"},
     .after = kScreenTitle},
    {.row = "Update interface from config",
     .question = kQuestion,
     .typed = "y",
     .commands = {"/etc/init.d/network stop eth0", "/etc/init.d/network start eth0"},
     .said = {"Stopping interface...", "stop eth0", "Starting interface...", "start eth0"},
     .after = kScreenTitle},
};

// The script's failure has no effect.
TEST(InterfaceScreen, ActionsAskThenRunTheScript) {
    Box box;
    box.StandInScript(kNetworkScript, "echo \"$*\"; exit 3");
    Page t(box, kInterface);
    for (const Action& action : kActions) {
        Select(t, action.row);
        const Words screen = t.Screen();
        box.ForgetCalls();
        t.Go("<Enter>", kQuestion);
        EXPECT_EQ(t.Row(0), kQuestion);
        t.Go("n", kScreenTitle);
        EXPECT_THAT(box.Calls(), IsEmpty()) << action.row;
        EXPECT_EQ(t.Screen(), screen);
        Do(t, action);
        EXPECT_EQ(t.Screen(), screen);
        EXPECT_EQ(t.Selected(), action.row);
        EXPECT_FALSE(t.CursorVisible());
    }
}

// The effect of the script is on the screen at once.
TEST(InterfaceScreen, AnActionShowsItsEffectAtOnce) {
    Box box(Card::kPlugged);
    box.StandInScript(kNetworkScript,
                      "test \"$1\" = start && state=up || state=down\n"
                      "ip link set \"$2\" $state\n"
                      "test $state = down || ip addr add 192.0.2.7/24 dev \"$2\"");
    Page t(box, kInterface);
    const double start = Now();
    t.Go("u<Enter>", kQuestion);
    t.Go("y", kInterface.sign);
    t.WaitFor("IPv4: 192.0.2.7   netmask: 255.255.255.0");
    EXPECT_EQ(t.Row(kTop), "    Link active  Interface up");
    EXPECT_LT(Now() - start, 4);
}

// ---- hostile names ----

// Any name that the kernel allows reaches the commands as one word.
TEST(InterfaceScreen, HostileNamesAreSingleWords) {
    const Words names = {"a;reboot", "$(reboot)", "`reboot`", "it's", "*",
                         "a\"b",     "a&reboot",  "a|reboot", "-x",   "\\$HOME#"};
    Machine box;
    box.StandIn(kNetworkScript);
    box.StandIn("reboot");
    box.Record("ip");
    for (const std::string& name : names)
        box.AddTap(name);
    Terminal t(box);
    for (size_t i = 0; i < names.size(); i++) {
        const std::string& name = names[i];
        OpenCard(t, std::to_string((i + 1) % 10), name);
        EXPECT_EQ(t.Row(2).find("Network configuration: " + name + " ("), 0U);
        EXPECT_TRUE(t.Shows("Disconnected")) << "the card itself is queried";
        box.ForgetCalls();
        t.Go("u<Enter>", kQuestion);
        t.Go("y", kInterface.sign);
        t.Go("u<Enter>", kQuestion);
        t.Go("y", kInterface.sign);
        const std::vector<Call> calls = box.Calls(kNetworkScript);
        ASSERT_THAT(calls, SizeIs(3)) << name;
        EXPECT_THAT(calls[0].args, ElementsAre("start", name));
        EXPECT_THAT(calls[1].args, ElementsAre("stop", name));
        EXPECT_THAT(calls[2].args, ElementsAre("start", name));
        ASSERT_THAT(box.Calls("ip"), SizeIs(2)) << name;
        for (const Call& call : box.Calls("ip"))
            EXPECT_THAT(call.args, ElementsAre("addr", "show", "dev", name, "scope", "global"));
        EXPECT_THAT(box.Calls("reboot"), IsEmpty()) << name;
        t.Press("m<Enter>");
    }
    t.WaitFor(kMenuTitle);
}

TEST(InterfaceScreen, AHostileWirelessNameReachesTheSupplicantAsOneWord) {
    const std::string name = "w;reboot";
    Machine box;
    box.StandIn(kNetworkScript);
    box.StandIn("wpa_cli");
    box.StandIn("reboot");
    box.AddTap(name);
    box.Cards(name + " name IEEE 802.11\n");
    Terminal t(box);
    OpenCard(t, "1", name);
    t.Press("w<Enter>");
    t.WaitFor("Wireless access points for " + name + " (");
    // It has no supplicant yet, so the script is told to start one.
    ASSERT_THAT(box.Calls(kNetworkScript), SizeIs(1));
    EXPECT_THAT(box.Calls(kNetworkScript)[0].args, ElementsAre("start", name));
    for (const Call& call : box.Calls("wpa_cli")) {
        ASSERT_GE(call.args.size(), 3U);
        EXPECT_EQ(call.args[0], "-i");
        EXPECT_EQ(call.args[1], name);
    }
    EXPECT_THAT(box.Calls("wpa_cli"), Not(IsEmpty()));
    EXPECT_THAT(box.Calls("reboot"), IsEmpty());
}

// ---- leaving ----

// The times at which the main menu's queries of the machine began.
std::vector<double> Looks(Machine& box) {
    std::vector<double> times;
    for (const Call& call : box.Calls("ip")) {
        if (call.Line() == "ip link") times.push_back(call.seconds);
    }
    return times;
}

// Nothing was done, so the main menu shows at once what it knew, and queries again only when its
// five seconds are up.
TEST(InterfaceScreen, LeavingWithoutAnActionShowsTheOldMainMenu) {
    Box box(Card::kPlugged);
    box.Record("ip");
    Terminal t(box);
    t.WaitFor("1. eth0");
    t.Press("1");
    t.WaitSelected("1. eth0");
    box.WaitForCalls("ip", 2);
    t.WaitUntil([&] { return t.Children() == 0; }, "the end of the queries");
    t.Settle();
    const Words menu = t.Screen();
    box.Sh("ip link set eth0 up");  // known to the interface screen, not yet to the main menu
    for (const char* keys : {"<Esc>", "<Backspace>", "c<Enter><Esc><Esc>"}) {
        t.Go("<Enter>", "Link active  Interface up");
        t.Press(keys);
        t.WaitFor(kMenuTitle);
        t.Settle();
        EXPECT_EQ(t.Selected().substr(0, 7), "1. eth0") << keys;
        if (Looks(box).size() == 1) {
            EXPECT_EQ(t.Screen(), menu) << keys;
        }
    }
    t.WaitFor("Link active  Interface up", 6);
    ASSERT_GE(Looks(box).size(), 2U);
    EXPECT_GE(Looks(box)[1] - Looks(box)[0], kAlmostFive);
    EXPECT_LT(Looks(box)[1] - Looks(box)[0], 6);
}

TEST(InterfaceScreen, LeavingAfterAnActionRefreshesTheMainMenu) {
    Box box(Card::kPlugged);
    box.Record("ip");
    Terminal t(box);
    t.WaitFor("Exit this program");
    bool up = false;
    size_t looks = Looks(box).size();
    // "Main menu"; then a question answered with yes or no, and ESC.
    for (const char* keys : {"m<Enter>", "d<Enter>n<Esc>", "u<Enter>y<Esc>", "uu<Enter>n<Esc>"}) {
        OpenCard(t, "1", "eth0");
        up = !up;
        box.Sh(std::string("ip link set eth0 ") + (up ? "up" : "down"));
        const double start = Now();
        t.Press(keys);
        t.WaitFor(up ? "Link active  Interface up" : "02:AB:CD:EF:00:01  Disconnected");
        t.WaitFor(kMenuTitle);
        EXPECT_GT(Looks(box).size(), looks) << keys;
        EXPECT_LT(Now() - start, 4) << keys;
        looks = Looks(box).size();
    }
}

}  // namespace
}  // namespace harness::one_card
