// The screen of one interface: what it shows and offers, which commands it runs, and what is on the
// screen after leaving it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "interface_fixtures.h"

namespace harness::one_card {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr const char* kMenuTitle = "Tavrin 4 Network configuration utility";

// The time between two refreshes, less the possible difference in the start of commands.
constexpr double kAlmostFive = 4.8;

// Rows of a wired card's screen while the status takes one row.
constexpr int kUp = kTop + 2;
constexpr int kDown = kTop + 3;
constexpr int kUpdate = kTop + 4;
constexpr int kEdit = kTop + 5;
constexpr int kMainMenu = kTop + 7;

// The rows from the status to the last row.
std::vector<std::string> Entries(const Terminal& t) {
    std::vector<std::string> entries;
    for (int row = t.Find("Bring up this"); row > 0 && row < t.rows(); row++)
        entries.push_back(TextAt(t, row));
    while (!entries.empty() && entries.back().empty())
        entries.pop_back();
    return entries;
}

void Ask(Terminal& t, const std::string& keys, Place place = Place::current()) {
    t.Press(keys, place);
    t.WaitFor(kQuestion, Terminal::kPatience, place);
}

// Presses the key that answers the question, and waits for the screen behind it.
void Answer(Terminal& t, const std::string& key, Place place = Place::current()) {
    t.Press(key, place);
    t.WaitFor("Network configuration: ", Terminal::kPatience, place);
    t.Settle(Terminal::kPatience, place);
}

// Makes the screen query the card at once: answering a question with "no" does that.
void LookAgain(Terminal& t, Place place = Place::current()) {
    Ask(t, "d<Enter>", place);
    Answer(t, "n", place);
}

// ---- what it shows ----

TEST(InterfaceScreen, ShowsTheStatusAndTheEntriesOfAWiredCard) {
    Box box(Card::kPlugged);
    box.Sh(
        "ip link set eth0 up; ip addr add 192.0.2.7/25 dev eth0;"
        "ip addr add 2001:db8::7/64 dev eth0 nodad; ip route add default via 192.0.2.1");
    InterfacePage t(box);
    const std::vector<std::string> screen = {
        "",
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
        "    Main menu",
        "",
        "",
        "",
        "",
        "",
        "",
        "",
        "",
        "",
        ""};
    EXPECT_EQ(t.Screen(), screen);
    EXPECT_FALSE(t.CursorVisible());
}

TEST(InterfaceScreen, StatusRowsAreDimAndEntriesBold) {
    Box box;
    box.Sh("ip link set eth0 up; ip addr add 192.0.2.7/25 dev eth0");
    InterfacePage t(box);
    EXPECT_EQ(t.Cell(2, 0).Style(), "white/black");
    // The first row is selected initially, although it is dim.
    EXPECT_EQ(t.SelectedRow(), kTop);
    EXPECT_EQ(t.Cell(kTop, kLeft).Style(), "white/blue dim");
    EXPECT_EQ(t.Cell(kTop, 78).bg, kBlue);
    EXPECT_EQ(t.Cell(kTop, 79).bg, kBlack);
    EXPECT_EQ(t.Cell(kTop + 1, kLeft + 3).Style(), "white/black dim");
    const int up = t.Find("Bring up this");
    EXPECT_EQ(t.Cell(up, kLeft).Style(), "white/black bold");
    struct Mark {
        const char* row;
        const char* letter;
        int column;
    };
    for (const Mark& mark : {Mark{"Bring up this interfaces", "u", 6},
                             {"Bring down this interfaces", "d", 6},
                             {"Update interface from config", "U", 0},
                             {"Edit configuration", "c", 5},
                             {"Main menu", "M", 0}}) {
        const Cell cell = t.Cell(t.Find(mark.row), kLeft + mark.column);
        EXPECT_EQ(cell.text, mark.letter) << mark.row;
        EXPECT_EQ(cell.Style(), "yellow/black bold") << mark.row;
    }
}

TEST(InterfaceScreen, ACardThatIsDownShowsOnlyItsFirstRow) {
    Box box;
    InterfacePage t(box);
    EXPECT_EQ(t.Row(kTop), "    Disconnected");
    EXPECT_EQ(t.Row(kTop + 1), "");
    EXPECT_THAT(Entries(t),
                ElementsAre("Bring up this interfaces", "Bring down this interfaces",
                            "Update interface from config", "Edit configuration", "", "Main menu"));
    EXPECT_EQ(t.Find("Bring up this"), kUp);
    EXPECT_EQ(t.Find("Main menu"), kMainMenu);
}

// The kernel supplies two words; a missing word leaves its place empty.
TEST(InterfaceScreen, TheFirstRowIsTwoWordsSeparatedByTwoBlanks) {
    Box box;
    box.Cards("eth0 link fails\neth0 flags 0x1\n");
    InterfacePage t(box);
    EXPECT_EQ(t.Row(kTop), "      Interface up");
    box.Cards("eth0 link 1\neth0 flags 0x1\n");
    LookAgain(t);
    EXPECT_EQ(t.Row(kTop), "    Link active  Interface up");
    // A known link is kept when it can't be queried.
    box.Cards("eth0 link fails\neth0 flags fails\n");
    LookAgain(t);
    EXPECT_EQ(t.Row(kTop), "    Link active");
    box.Cards("eth0 link 0\neth0 flags 0x1\n");
    LookAgain(t);
    EXPECT_EQ(t.Row(kTop), "    Disconnected  Interface up");
}

TEST(InterfaceScreen, ACardThatDisappearsKeepsItsFirstRow) {
    Box box(Card::kPlugged);
    box.Sh("ip link set eth0 up; ip addr add 192.0.2.7/24 dev eth0");
    InterfacePage t(box);
    EXPECT_EQ(t.Row(kTop), "    Link active  Interface up");
    EXPECT_EQ(t.Row(kTop + 1), "       IPv4: 192.0.2.7   netmask: 255.255.255.0");
    box.Sh("ip link del eth0");
    LookAgain(t);
    EXPECT_EQ(t.Row(kTop), "    Link active");
    EXPECT_EQ(t.Row(kTop + 1), "");
    EXPECT_THAT(Entries(t), SizeIs(6));
    EXPECT_EQ(t.Row(2), kScreenTitle);
}

// Everything changes without a key, because the screen refreshes every five seconds.
TEST(InterfaceScreen, RefreshesTheStatusEveryFiveSeconds) {
    Box box(Card::kPlugged);
    box.Sh("ip link set eth0 up; ip addr add 2001:db8::7/64 dev eth0 nodad");
    box.Record("ip");
    Terminal t(box);
    t.WaitFor(kMenuTitle);
    box.ForgetCalls();
    OpenInterface(t);
    EXPECT_EQ(t.Row(kTop), "    Link active  Interface up");
    EXPECT_EQ(t.Row(kTop + 1), "       IPv6: 2001:db8::7/64");
    t.Press("m");
    t.WaitSelected("Main menu");
    // Addresses come and go, and then the cable is pulled.
    box.Sh(
        "ip addr add 192.0.2.7/24 dev eth0; ip route add default via 192.0.2.1;"
        "ip addr del 2001:db8::7/64 dev eth0");
    box.SetLink(kName, false);
    t.WaitFor("Disconnected  Interface up", 6);
    EXPECT_EQ(t.Row(2), kScreenTitle);
    EXPECT_EQ(t.Row(kTop + 1),
              "       IPv4: 192.0.2.7   netmask: 255.255.255.0  gateway: 192.0.2.1");
    EXPECT_EQ(t.Row(kTop + 2), "");
    EXPECT_THAT(Entries(t), SizeIs(6));
    const std::vector<Call> calls = box.Calls("ip");
    ASSERT_THAT(calls, SizeIs(2));
    for (const Call& call : calls)
        EXPECT_EQ(call.Line(), "ip addr show dev eth0 scope global");
    EXPECT_GE(calls[1].seconds - calls[0].seconds, kAlmostFive);
    EXPECT_LT(calls[1].seconds - calls[0].seconds, 6);
}

// "Bring up" must not turn into "Bring down" under the operator's finger.
TEST(InterfaceScreen, TheSelectionKeepsItsRowWhenStatusRowsComeAndGo) {
    Box box;
    InterfacePage t(box);
    t.Press("d");
    t.WaitSelected("Bring down this interfaces");
    const int line = t.SelectedRow();
    for (const auto& [change, moved] :
         {std::pair("add", 1), std::pair("del", 0), std::pair("add", 1)}) {
        box.Sh(std::string("ip addr ") + change + " 192.0.2.7/24 dev eth0");
        t.WaitUntil([&] { return t.SelectedRow() == line + moved; }, "the row to move", 7);
        EXPECT_EQ(t.Selected(), "Bring down this interfaces");
    }
    t.Press("<Enter>");
    t.WaitFor(kQuestion);
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
    t.WaitFor(kMenuTitle, Terminal::kPatience, place);
    t.Press(number + "<Enter>", place);
    t.WaitFor("Network configuration: " + name + " (", Terminal::kPatience, place);
    t.Settle(Terminal::kPatience, place);
}

const std::vector<std::string> kWiredEntries = {"Bring up this interfaces",
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
    Terminal t(box);
    OpenCard(t, "1", "eth0");
    EXPECT_EQ(Entries(t), kWiredEntries);
    t.Press("m<Enter>");
    OpenCard(t, "2", "wlan0");
    EXPECT_THAT(Entries(t), ElementsAre("Bring up this interfaces", "Bring down this interfaces",
                                        "Update interface from config", "Edit configuration",
                                        "Wireless access points", "", "Main menu"));
    t.Press("m<Enter>");
    OpenCard(t, "3", "wlan1");
    EXPECT_THAT(Entries(t),
                ElementsAre("Bring up this interfaces", "Bring down this interfaces",
                            "Update interface from config", "Enable soft RF-kill",
                            "Edit configuration", "Wireless access points", "", "Main menu"));
    EXPECT_EQ(t.Cell(t.Find("Wireless access"), kLeft).Style(), "yellow/black bold");
    // "Enable soft RF-kill": the first r in the label.
    EXPECT_EQ(t.Cell(t.Find("Enable soft"), kLeft + 12).text, "R");
    EXPECT_EQ(t.Cell(t.Find("Enable soft"), kLeft + 12).Style(), "yellow/black bold");
    t.Press("m<Enter>");
    OpenCard(t, "4", "odd");
    EXPECT_EQ(Entries(t), kWiredEntries);
}

constexpr const char* kSwitch = "/sys/class/net/wlan0/phy80211/rfkill0";
const std::string kSoftFile = std::string(kSwitch) + "/soft";

TEST(InterfaceScreen, TheRfkillRowFlipsTheSwitch) {
    WirelessBox box;
    box.RfkillFiles("wlan0", "1\n", "0\n", "1\n");
    Terminal t(box);
    OpenCard(t, "2", "wlan0");
    EXPECT_TRUE(t.Shows("Disable soft RF-kill"));
    EXPECT_FALSE(t.Shows("Enable soft RF-kill"));
    EXPECT_EQ(t.Row(kTop + 1), "       Wireless: Enabled: Yes, RF-Kill: S/W");
    t.Press("r");
    t.WaitSelected("Disable soft RF-kill");
    EXPECT_EQ(box.Read(kSoftFile), "1\n") << "a hot key must only select";
    t.Press("<Enter>");
    t.WaitFor("Enable soft RF-kill");
    EXPECT_EQ(box.Read(kSoftFile), "0\n");
    EXPECT_FALSE(t.Shows("Disable soft RF-kill"));
    EXPECT_EQ(t.Row(kTop + 1), "       Wireless: Enabled: Yes, RF-Kill: off");
    EXPECT_EQ(t.Selected(), "Enable soft RF-kill");
    t.Press("<Enter>");
    t.WaitFor("Disable soft RF-kill");
    EXPECT_EQ(box.Read(kSoftFile), "1\n");
    EXPECT_EQ(t.Row(kTop + 1), "       Wireless: Enabled: Yes, RF-Kill: S/W");
    EXPECT_THAT(box.Calls(kNetworkScript), IsEmpty());
}

// As the kernel numbers it after the card's module was reloaded.
TEST(InterfaceScreen, TheRfkillSwitchMayHaveAnotherNumber) {
    WirelessBox box;
    box.RfkillFiles("wlan0", "1\n", "0\n", "0\n");
    box.Sh("cd /sys/class/net/wlan0/phy80211 && mv rfkill0 rfkill4");
    Terminal t(box);
    OpenCard(t, "2", "wlan0");
    EXPECT_EQ(t.Row(kTop + 1), "       Wireless: Enabled: Yes, RF-Kill: off");
    t.Press("r<Enter>");
    t.WaitFor("Disable soft RF-kill");
    EXPECT_EQ(box.Read("/sys/class/net/wlan0/phy80211/rfkill4/soft"), "1\n");
    EXPECT_EQ(t.Row(kTop + 1), "       Wireless: Enabled: Yes, RF-Kill: S/W");
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

TEST(InterfaceScreen, TheWirelessEntryOpensTheAccessPointsOfTheCard) {
    WirelessBox box;
    box.StandIn("wpa_cli");
    box.MakeDirectory("/var/network/02:ab:cd:ef:00:02");
    box.Write("/var/network/02:ab:cd:ef:00:02/wpa_supplicant.pid", "1\n");
    Terminal t(box);
    OpenCard(t, "2", "wlan0");
    const std::vector<std::string> before = t.Screen();
    t.Press("w<Enter>");
    t.WaitFor("Wireless access points for wlan0 (02:AB:CD:EF:00:02)");
    t.Press("<Esc>");
    t.WaitFor("Network configuration: wlan0 (02:AB:CD:EF:00:02)");
    t.Settle();
    EXPECT_EQ(t.Screen(), before);
    EXPECT_THAT(box.Calls(kNetworkScript), IsEmpty());
}

// ---- keys ----

TEST(InterfaceScreen, HotKeysOnlySelect) {
    Box box;
    InterfacePage t(box);
    for (const auto& [key, row] : {std::pair("u", kUp),
                                   {"u", kUpdate},
                                   {"u", kUp},
                                   {"d", kDown},
                                   {"u", kUpdate},
                                   {"c", kEdit},
                                   {"m", kMainMenu},
                                   {"u", kUp},
                                   {"d", kDown},
                                   {"d", kDown}}) {
        t.Press(key);
        t.WaitUntil([&, wanted = row] { return t.SelectedRow() == wanted; },
                    std::string(key) + " to select its row");
    }
    const std::vector<std::string> before = t.Screen();
    for (const char* key : {"r", "w", "U", "e", "1", "<Space>", "<Left>", "<Right>"}) {
        t.Press(key);
        t.Settle();
        EXPECT_EQ(t.Screen(), before) << key;
        EXPECT_EQ(t.SelectedRow(), kDown) << key;
    }
    EXPECT_THAT(box.Calls(kNetworkScript), IsEmpty());
}

TEST(InterfaceScreen, StatusRowsCannotBeSelectedOrActivated) {
    Box box;
    box.Sh("ip link set eth0 up; ip addr add 192.0.2.7/24 dev eth0");
    InterfacePage t(box);
    const std::vector<std::string> before = t.Screen();
    t.Press("<Enter>");  // on the first row, which is selected initially
    t.Settle();
    EXPECT_EQ(t.Screen(), before);
    t.Press("<Down>");
    t.WaitSelected("Bring up this interfaces");
    t.Press("<Up>");
    t.WaitSelected("Main menu");
    t.Press("<Down>");
    t.WaitSelected("Bring up this interfaces");
    t.Press("<Home><Enter>");
    t.WaitUntil([&] { return t.SelectedRow() == kTop; }, "the first row selected");
    t.Settle();
    EXPECT_EQ(t.Screen(), before);
    t.Click(kTop + 1, 10);
    t.Click(kTop, 10);
    t.Click(kTop, 10);
    t.Settle();
    EXPECT_EQ(t.Screen(), before);
    EXPECT_EQ(t.SelectedRow(), kTop);
}

TEST(InterfaceScreen, ClicksSelectAndActivate) {
    Box box;
    InterfacePage t(box);
    t.Click(kDown, 10);
    t.WaitUntil([&] { return t.SelectedRow() == kDown; }, "the clicked row selected");
    t.Settle();
    EXPECT_FALSE(t.Shows(kQuestion));
    t.Click(kDown, 10);
    t.WaitFor(kQuestion);
    t.Click(2, 5);  // YES
    t.WaitFor(kScreenTitle);
    EXPECT_THAT(box.CallLines(kNetworkScript), ElementsAre("/etc/init.d/network stop eth0"));
    t.Click(kMainMenu, 78);
    t.WaitSelected("Main menu");
    t.Click(kMainMenu, 4);
    t.WaitFor(kMenuTitle);
}

TEST(InterfaceScreen, AdaptsToTheSizeOfTheTerminal) {
    Box box;
    InterfacePage t(box, OfSize(9, 40));  // room for four rows
    EXPECT_EQ(t.Row(2), "Network configuration: eth0 (02:AB:CD:EF");
    EXPECT_EQ(t.Row(kUp), "    Bring up this interfaces");
    EXPECT_EQ(t.Row(kDown), "    Bring down this interfaces");
    EXPECT_EQ(t.Row(8), "");
    t.Press("m");
    t.WaitSelected("Main menu");
    EXPECT_EQ(t.SelectedRow(), 7);
    EXPECT_EQ(t.Row(5), "    Edit configuration");
    t.Resize(43, 132);
    t.WaitFor(kScreenTitle);
    t.Settle();
    // The list keeps its scroll position: only the selection moves it.
    t.Press("<Home>");
    t.WaitFor("Disconnected");
    t.Settle();
    EXPECT_EQ(t.Row(kMainMenu), "    Main menu");
    EXPECT_EQ(t.Cell(kTop, 130).bg, kBlue);
    EXPECT_EQ(t.Cell(kTop, 131).bg, kBlack);
    for (const auto& [rows, cols] : {std::pair(5, 10), {1, 1}, {24, 80}}) {
        t.Resize(rows, cols);
        t.Settle();
        t.Press("<Down><Up>");
        t.Settle();
        ASSERT_TRUE(t.Running());
    }
    t.WaitFor(kScreenTitle);
}

// ---- actions ----

TEST(InterfaceScreen, AQuestionIsAloneOnTheScreen) {
    Box box;
    InterfacePage t(box);
    for (const char* keys : {"u<Enter>", "u<Enter>", "d<Enter>"}) {
        Ask(t, keys);
        t.WaitFor("[  NO  ]");
        EXPECT_EQ(t.Row(0), kQuestion);
        EXPECT_EQ(t.Row(2), "  [ YES  ]");
        EXPECT_EQ(t.Row(4), "  [  NO  ]");
        for (int row = 1; row < 24; row++) {
            EXPECT_TRUE(t.Row(row).empty() || row == 2 || row == 4) << row << t.Row(row);
        }
        Answer(t, "n");
        EXPECT_FALSE(t.Shows("[  NO  ]"));
        EXPECT_EQ(t.Row(2), kScreenTitle);
    }
    EXPECT_THAT(box.Calls(kNetworkScript), IsEmpty());
}

// A script that works until the test releases it.
void StartWorkingScript(Machine& box) {
    box.StandInScript(kNetworkScript,
                      "echo \"script: $1\"; until [ -e \"/run/enough.$1\" ]; do sleep 0.01; done");
}

void ReleaseScript(Machine& box, const std::string& action) {
    box.Write("/run/enough." + action, "");
}

// What the operator sees while the script works: the plain terminal with the message and the
// script's own output.
void ExpectAtWork(Terminal& t, const std::string& message, const std::string& script,
                  int line = __builtin_LINE()) {
    const testing::ScopedTrace trace(__FILE__, line, message);
    t.WaitFor("script: " + script);
    EXPECT_FALSE(t.AltScreen());
    EXPECT_TRUE(t.LineMode());
    EXPECT_TRUE(t.CursorVisible());
    EXPECT_THAT(t.MouseReporting(), IsEmpty());
    const int row = t.Find(message);
    ASSERT_GE(row, 0);
    EXPECT_EQ(t.Row(row), message);
    EXPECT_EQ(t.Row(row + 1), "script: " + script);
    EXPECT_FALSE(t.Shows(kQuestion));
    EXPECT_FALSE(t.Shows("Network configuration"));
}

TEST(InterfaceScreen, BringUpRunsTheScriptOnThePlainTerminal) {
    Box box;
    StartWorkingScript(box);
    InterfacePage t(box);
    const std::vector<int> mouse = t.MouseReporting();
    Ask(t, "u<Enter>");
    EXPECT_THAT(box.Calls(kNetworkScript), IsEmpty()) << "nothing may run before the answer";
    t.Press("y");
    ExpectAtWork(t, "Starting interface...", "start");
    ReleaseScript(box, "start");
    t.WaitFor(kScreenTitle);
    t.Settle();
    EXPECT_EQ(t.Row(kUp), "    Bring up this interfaces");
    EXPECT_FALSE(t.Shows("Starting"));
    EXPECT_TRUE(t.AltScreen());
    EXPECT_FALSE(t.CursorVisible());
    EXPECT_EQ(t.MouseReporting(), mouse);
    EXPECT_EQ(t.Selected(), "Bring up this interfaces");
    ASSERT_THAT(box.Calls(kNetworkScript), SizeIs(1));
    const Call call = box.Calls(kNetworkScript)[0];
    EXPECT_THAT(call.args, ElementsAre("start", "eth0"));
    EXPECT_EQ(call.mode, Mode::kLine);
}

TEST(InterfaceScreen, BringDownRunsTheScriptOnThePlainTerminal) {
    Box box;
    StartWorkingScript(box);
    InterfacePage t(box);
    Ask(t, "d<Enter>");
    t.Press("Y");
    ExpectAtWork(t, "Stopping interface...", "stop");
    ReleaseScript(box, "stop");
    t.WaitFor(kScreenTitle);
    EXPECT_THAT(box.CallLines(kNetworkScript), ElementsAre("/etc/init.d/network stop eth0"));
}

TEST(InterfaceScreen, UpdateStopsThenStarts) {
    Box box;
    StartWorkingScript(box);
    InterfacePage t(box);
    Ask(t, "uu<Enter>");
    t.Press("y");
    ExpectAtWork(t, "Stopping interface...", "stop");
    EXPECT_FALSE(t.Shows("Starting interface..."));
    ReleaseScript(box, "stop");
    ExpectAtWork(t, "Starting interface...", "start");
    EXPECT_GT(t.Find("Starting interface..."), t.Find("script: stop"));
    ReleaseScript(box, "start");
    t.WaitFor(kScreenTitle);
    EXPECT_THAT(box.CallLines(kNetworkScript),
                ElementsAre("/etc/init.d/network stop eth0", "/etc/init.d/network start eth0"));
    for (const Call& call : box.Calls(kNetworkScript))
        EXPECT_EQ(call.mode, Mode::kLine) << call;
}

// Logs every action: the program's messages on standard error between the calls of the script. The
// program ignores a failing script.
TEST(InterfaceScreen, MessagesComeBeforeTheirCommands) {
    Box box;
    box.StandInScript(kNetworkScript, "echo \"$*\" >>/run/log; exit 3");
    TerminalOptions options;
    options.program = "/bin/sh";
    options.arguments = {"-c", "exec \"$0\" 2>>/run/log", IFMENU_PROGRAM};
    InterfacePage t(box, options);
    for (const char* keys : {"u<Enter>", "d<Enter>", "u<Enter>"}) {
        Ask(t, keys);
        Answer(t, "y");
    }
    EXPECT_EQ(box.Read("/run/log"),
              "Starting interface...\n"
              "start eth0\n"
              "Stopping interface...\n"
              "stop eth0\n"
              "Stopping interface...\n"
              "stop eth0\n"
              "Starting interface...\n"
              "start eth0\n");
}

TEST(InterfaceScreen, AnyAnswerButYesRunsNothing) {
    Box box;
    InterfacePage t(box);
    for (const char* key : {"n", "N", "q", "<Esc>", "<Backspace>"}) {
        for (const char* action : {"d<Enter>", "u<Enter>"}) {
            Ask(t, action);
            Answer(t, key);
            EXPECT_EQ(t.Row(kUp), "    Bring up this interfaces") << key;
        }
    }
    EXPECT_THAT(box.Calls(kNetworkScript), IsEmpty());
    EXPECT_TRUE(t.AltScreen());
    EXPECT_FALSE(t.LineMode());
}

// The effect of the script is on the screen at once.
TEST(InterfaceScreen, AnActionShowsItsEffectAtOnce) {
    Box box(Card::kPlugged);
    box.StandInScript(kNetworkScript,
                      "test \"$1\" = start && state=up || state=down\n"
                      "ip link set \"$2\" $state\n"
                      "test $state = down || ip addr add 192.0.2.7/24 dev \"$2\"");
    InterfacePage t(box);
    const double start = Now();
    Ask(t, "u<Enter>");
    Answer(t, "y");
    t.WaitFor("IPv4: 192.0.2.7   netmask: 255.255.255.0");
    EXPECT_EQ(t.Row(kTop), "    Link active  Interface up");
    EXPECT_LT(Now() - start, 4);
}

// ---- hostile names ----

// Any name that the kernel allows reaches the commands as one word.
TEST(InterfaceScreen, HostileNamesAreSingleWords) {
    const std::vector<std::string> names = {"a;reboot", "$(reboot)", "`reboot`", "it's",
                                            "*",        "a\"b",      "a&reboot", "a|reboot",
                                            "-x",       "\\$HOME#"};
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
        Ask(t, "u<Enter>");
        Answer(t, "y");
        Ask(t, "u<Enter>");
        Answer(t, "y");
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

TEST(InterfaceScreen, OrdinaryNamesAreNotQuoted) {
    const std::vector<std::string> names = {"enp0s31f6", "br-lan.100", "wlan0_mon",
                                            "veth0+x=1", "a,b",        "fifteen-letters"};
    Machine box;
    box.StandIn(kNetworkScript);
    for (const std::string& name : names)
        box.AddTap(name);
    Terminal t(box);
    for (size_t i = 0; i < names.size(); i++) {
        OpenCard(t, std::to_string(i + 1), names[i]);
        Ask(t, "d<Enter>");
        Answer(t, "y");
        t.Press("m<Enter>");
        EXPECT_THAT(box.CallLines(kNetworkScript),
                    Contains("/etc/init.d/network stop " + names[i]));
    }
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
    t.WaitFor("Exit this program");
    t.Press("1");
    t.WaitSelected("1. eth0");
    t.Settle();
    const std::vector<std::string> menu = t.Screen();
    box.Sh("ip link set eth0 up");  // known to the interface screen, not yet to the main menu
    for (const char* keys : {"<Esc>", "<Backspace>", "c<Enter><Esc><Esc>"}) {
        t.Press("<Enter>");
        t.WaitFor("Link active  Interface up");
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

TEST(InterfaceScreen, EveryScreenRepaintsAfterAnother) {
    Box box;
    Terminal t(box);
    t.WaitFor("Exit this program");
    t.Press("1");
    t.WaitSelected("1. eth0");
    t.Settle();
    const std::vector<std::string> menu = t.Screen();
    t.Press("<Enter>");
    t.WaitFor(kScreenTitle);
    t.Press("c");
    t.WaitSelected("Edit configuration");
    const std::vector<std::string> card = t.Screen();
    for (const char* leave : {"<Esc>", "<Backspace>", "c<Enter>", "s<Enter>"}) {
        t.Press("<Enter>");
        t.WaitFor(kEditorTitle);
        t.Press(leave);
        t.WaitFor(kScreenTitle);
        t.Settle();
        EXPECT_EQ(t.Screen(), card) << leave;
        EXPECT_EQ(t.Selected(), "Edit configuration") << leave;
    }
    t.Press("<Esc>");
    t.WaitFor(kMenuTitle, 3);  // sooner than its next refresh
    t.Settle();
    EXPECT_EQ(t.Screen(), menu);
}

}  // namespace
}  // namespace harness::one_card
