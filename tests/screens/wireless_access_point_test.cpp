// The screens of one network: a new one, which the operator joins with a password, and a known one,
// which the operator connects to or forgets.
#include "wireless_fixtures.h"

namespace wireless {
namespace {

const Words kNewRows = {
    "",
    "",
    kList,
    "",
    "    BSSID: 00:11:22:33:44:55",
    "    SSID: 'home'",
    "",
    "    Return to wifi ap menu",
    "",
    "    Connect to access point",
};

Words Screen(Words rows, size_t lines = 24) {
    rows.resize(lines);
    return rows;
}

// A new network, "home", and a known one, "attic", which is listed first.
class TwoNetworks : public WirelessBox {
  public:
    explicit TwoNetworks(const std::string& id = "7") {
        SetConfigured(Configured(id, "attic", "any", "[CURRENT]"));
        SetSeen(Seen(kHome, "home"));
    }
};
constexpr int kKnown = 0;
constexpr int kNew = 1;

// ---- both screens ----

// Both information rows are dim, and the arrow keys skip them.
void ExpectInformation(Terminal& t, const Words& rows) {
    for (const std::string& row : rows) {
        const int line = t.Find(row);
        EXPECT_TRUE(t.Cell(line, kFirstLine).dim) << row;
        EXPECT_FALSE(t.Cell(line, kFirstLine).bold) << row;
    }
}

TEST(NewAccessPoint, ShowsTheNetworkAndItsActions) {
    TwoNetworks box;
    List t(box);
    OpenNetwork(t, kNew);
    EXPECT_EQ(t.Screen(), Screen(kNewRows));
    ExpectInformation(t, {"BSSID: 00:11", "SSID: 'home'"});
    t.Press("<Down>");
    t.WaitSelected("Return to wifi ap menu");
    t.Press("<Down>");
    t.WaitSelected("Connect to access point");
    t.Press("<Down>");
    t.WaitSelected("Return to wifi ap menu");
    t.Press("c");
    t.WaitSelected("Connect to access point");
    EXPECT_EQ(t.Cell(t.Find("Return"), kFirstLine).fg, kYellow);
    t.Press("r");
    t.WaitSelected("Return to wifi ap menu");
    EXPECT_EQ(t.Cell(t.Find("Connect"), kFirstLine).fg, kYellow);
    EXPECT_EQ(box.Actions(), Words{});
}

TEST(KnownAccessPoint, ShowsTheNetworkAndItsActions) {
    TwoNetworks box;
    List t(box);
    OpenNetwork(t, kKnown);
    EXPECT_EQ(t.Screen(), Screen({
                              "",
                              "",
                              kList,
                              "",
                              "    BSSID: any",
                              "    SSID: 'attic'",
                              "",
                              "    Return to wifi ap menu",
                              "",
                              "    Connect to access point",
                              "    Forget access point",
                          }));
    ExpectInformation(t, {"BSSID: any", "SSID: 'attic'"});
    EXPECT_EQ(t.Cell(t.Find("Forget"), kFirstLine + 8).fg, kYellow);
    for (const char* row : {"Connect to", "Forget", "Connect to", "Forget"}) {
        t.Press("c");
        t.WaitSelected(row);
    }
    t.Press("r");
    t.WaitSelected("Return to wifi ap menu");
    EXPECT_EQ(box.Actions(), Words{});
}

TEST(AccessPointScreens, TheirRowEscAndBackspaceReturnToTheList) {
    TwoNetworks box;
    List t(box);
    for (const int network : {kNew, kKnown}) {
        for (const char* keys : {"r<Enter>", "<Esc>", "<Backspace>"}) {
            OpenNetwork(t, network);
            t.Press(keys);
            t.WaitFor("Return to wifi menu");
            EXPECT_EQ(t.Row(2), kList);
        }
    }
    EXPECT_EQ(box.Actions(), Words{});
}

TEST(AccessPointScreens, AdaptToANewSize) {
    TwoNetworks box;
    List t(box);
    OpenNetwork(t, kNew);
    t.Resize(19, 40);
    t.WaitUntil(
        [&] {
            return t.Style(kFirstLine) == "0-3 white/black; 4-38 white/blue dim; 39 white/black";
        },
        "the rows at 40 columns");
    EXPECT_EQ(t.Row(2), std::string(kList).substr(0, 40));
    EXPECT_EQ(t.Row(kFirstLine), kNewRows[4]);
    t.Resize(43, 132);
    t.WaitUntil([&] { return t.Screen() == Screen(kNewRows, 43); }, "all rows at 132 columns");
    t.Resize(7, 80);
    t.WaitUntil(
        [&] {
            return t.Screen() == Screen({"", "", kList, "", kNewRows[4], kNewRows[5]}, 7);
        },
        "two rows on seven lines");
    EXPECT_EQ(box.Commands(), (Words{"list_networks", "scan_result"}));
}

TEST(AccessPointScreens, AHiddenNetworkHasAnEmptyName) {
    WirelessBox box;
    box.SetConfigured(Configured("7", "", "any"));
    box.SetSeen(Seen(kHome, ""));
    List t(box);
    for (const int network : {0, 1}) {
        OpenNetwork(t, network);
        EXPECT_EQ(t.Row(kFirstLine),
                  network == 0 ? "    BSSID: 00:11:22:33:44:55" : "    BSSID: any");
        EXPECT_EQ(t.Row(kFirstLine + 1), "    SSID: ''");
        t.Press("<Esc>");
        t.WaitFor("Return to wifi menu");
    }
}

// ---- joining a new network ----

TEST(NewAccessPoint, CancellingThePasswordRunsNothingAndClearsTheEntry) {
    TwoNetworks box;
    List t(box);
    OpenNetwork(t, kNew);
    t.Press("c<Enter>");
    t.WaitFor("Access point password? [ESC to cancel]");
    t.Type("only half");
    t.WaitFor("*********");
    t.Press("<Esc>");
    t.WaitForGone("Access point password?");
    t.Settle();
    EXPECT_EQ(t.Screen(), Screen(kNewRows));
    EXPECT_EQ(t.Selected(), "Connect to access point");
    EXPECT_EQ(box.Actions(), Words{});
    t.Press("<Enter>");
    t.WaitFor("Access point password? [ESC to cancel]");
    EXPECT_FALSE(t.Shows("*"));
    t.Press("other words<Enter>");
    box.WaitForCommand("save_config");
    EXPECT_EQ(box.Count("set_network|0|psk|\"other words\""), 1);
}

TEST(NewAccessPoint, NothingHappensIfTheNetworkGetsNoNumber) {
    TwoNetworks box;
    List t(box);
    OpenNetwork(t, kNew);
    t.Mark();
    for (const char* answer : {"FAIL\n", "", "-1\n", " 3\n", "FAIL\n5\n"}) {
        SCOPED_TRACE(answer);
        box.SetNumber(answer);
        box.ForgetCalls();
        Join(t, "secret words");
        t.WaitForGone("Access point password?");
        t.Settle();
        EXPECT_EQ(t.Screen(), Screen(kNewRows));
        EXPECT_EQ(box.Commands(), Words{"add_network"});
        EXPECT_EQ(box.Calls("wpa_cli")[0].mode, Mode::kRaw) << "the screen must stay up";
    }
    EXPECT_EQ(t.Output().find("Connecting"), std::string::npos);
    EXPECT_TRUE(t.AltScreen());
}

struct Joining {
    const char* name;
    std::string seen;
    const char* number;  // what add_network answers
    const char* password;
    Words commands;  // between add_network and the commands that end every join
    const char* id = "0";
};

std::string JoiningName(const testing::TestParamInfo<Joining>& info) {
    return info.param.name;
}
std::ostream& operator<<(std::ostream& out, const Joining& joining) {
    return out << joining.name;
}

const Joining kJoinings[] = {
    {"AProtectedNetwork",
     Seen(kHome, "home"),
     "12\n",
     "correct horse battery",
     {"set_network|12|ssid|\"home\"", "set_network|12|bssid|00:11:22:33:44:55",
      "set_network|12|key_mgmt|WPA-PSK", "set_network|12|psk|\"correct horse battery\""},
     "12"},
    {"AnOpenNetworkAsAProtectedOne",
     Seen(kHome, "plaza", "[ESS]"),
     "0\n",
     "whatever",
     {"set_network|0|ssid|\"plaza\"", "set_network|0|bssid|00:11:22:33:44:55",
      "set_network|0|key_mgmt|WPA-PSK", "set_network|0|psk|\"whatever\""}},
    {"AnEmptyPasswordIsNotSent",
     Seen(kHome, "plaza", "[ESS]"),
     "0\n",
     "",
     {"set_network|0|ssid|\"plaza\"", "set_network|0|bssid|00:11:22:33:44:55",
      "set_network|0|key_mgmt|WPA-PSK"}},
    {"AHiddenNetworksNameIsNotSent",
     Seen(kHome, ""),
     "0\n",
     "whatever",
     {"set_network|0|bssid|00:11:22:33:44:55", "set_network|0|key_mgmt|WPA-PSK",
      "set_network|0|psk|\"whatever\""}},
    {"AShortPasswordIsTheSupplicantsBusiness",
     Seen(kHome, "home"),
     "0\n",
     "7 chars",
     {"set_network|0|ssid|\"home\"", "set_network|0|bssid|00:11:22:33:44:55",
      "set_network|0|key_mgmt|WPA-PSK", "set_network|0|psk|\"7 chars\""}},
    {"ANameWithASingleQuoteIsNotSent",
     Seen(kHome, "Joe's"),
     "0\n",
     "whatever",
     {"set_network|0|bssid|00:11:22:33:44:55", "set_network|0|key_mgmt|WPA-PSK",
      "set_network|0|psk|\"whatever\""}},
    {"ANameWithADoubleQuoteIsNotSent",
     Seen(kHome, "the \"net\""),
     "0\n",
     "whatever",
     {"set_network|0|bssid|00:11:22:33:44:55", "set_network|0|key_mgmt|WPA-PSK",
      "set_network|0|psk|\"whatever\""}},
    {"ANameWithABackslashIsNotSent",
     Seen(kHome, "caf\\xc3\\xa9"),
     "0\n",
     "whatever",
     {"set_network|0|bssid|00:11:22:33:44:55", "set_network|0|key_mgmt|WPA-PSK",
      "set_network|0|psk|\"whatever\""}},
    {"ANameBeyondAsciiIsSentAsItIs",
     Seen(kHome, "caf\xc3\xa9"),
     "0\n",
     "whatever",
     {"set_network|0|ssid|\"caf\xc3\xa9\"", "set_network|0|bssid|00:11:22:33:44:55",
      "set_network|0|key_mgmt|WPA-PSK", "set_network|0|psk|\"whatever\""}},
    {"APasswordWithASingleQuoteIsNotSent",
     Seen(kHome, "home"),
     "0\n",
     "don't tell",
     {"set_network|0|ssid|\"home\"", "set_network|0|bssid|00:11:22:33:44:55",
      "set_network|0|key_mgmt|WPA-PSK"}},
    {"APasswordWithADoubleQuoteIsNotSent",
     Seen(kHome, "home"),
     "0\n",
     "\"quoted\"",
     {"set_network|0|ssid|\"home\"", "set_network|0|bssid|00:11:22:33:44:55",
      "set_network|0|key_mgmt|WPA-PSK"}},
    {"APasswordWithABackslashIsNotSent",
     Seen(kHome, "home"),
     "0\n",
     "back\\slash",
     {"set_network|0|ssid|\"home\"", "set_network|0|bssid|00:11:22:33:44:55",
      "set_network|0|key_mgmt|WPA-PSK"}},
    {"EveryOtherCharacterOfAPasswordIsSent",
     Seen(kHome, "home"),
     "0\n",
     " !#$%&()*+,-./:;<=>?@[]^_`{|}~09AZaz$(reboot)`reboot`; ",
     {"set_network|0|ssid|\"home\"", "set_network|0|bssid|00:11:22:33:44:55",
      "set_network|0|key_mgmt|WPA-PSK",
      "set_network|0|psk|\" !#$%&()*+,-./:;<=>?@[]^_`{|}~09AZaz$(reboot)`reboot`; \""}},
};

class JoiningANetwork : public testing::TestWithParam<Joining> {};

TEST_P(JoiningANetwork, RunsItsCommands) {
    const Joining& joining = GetParam();
    WirelessBox box;
    box.SetSeen(joining.seen);
    box.SetNumber(joining.number);
    List t(box);
    OpenNetwork(t, 0);
    Join(t, joining.password);
    box.WaitForCommand("save_config");
    Words expected = {"add_network"};
    expected.insert(expected.end(), joining.commands.begin(), joining.commands.end());
    const Words rest = AddingRest(joining.id);
    expected.insert(expected.end(), rest.begin(), rest.end());
    EXPECT_EQ(box.Actions(), expected);
}

INSTANTIATE_TEST_SUITE_P(NewAccessPoint, JoiningANetwork, testing::ValuesIn(kJoinings),
                         JoiningName);

// ---- a known network ----

TEST(KnownAccessPoint, ConnectingWorksWithNumber0) {
    TwoNetworks box("0");
    List t(box);
    OpenNetwork(t, kKnown);
    t.Press("c<Enter>");
    box.WaitForCommand("save_config");
    EXPECT_EQ(box.Actions(), (Words{"select_network|0", "set|update_config|1", "save_config"}));
}

TEST(KnownAccessPoint, WithoutANumberDoesNothing) {
    for (const char* id : {"", "-1", "x"}) {
        TwoNetworks box(id);
        List t(box);
        OpenNetwork(t, kKnown);
        for (const char* keys : {"c<Enter>", "c<Enter>"}) {
            t.Press(keys);
            t.Settle();
            EXPECT_FALSE(t.Shows("Are you sure?"));
            EXPECT_TRUE(t.Shows("Forget access point"));
        }
        EXPECT_EQ(box.Actions(), Words{});
    }
}

TEST(KnownAccessPoint, ForgettingAsksFirst) {
    TwoNetworks box;
    List t(box);
    OpenNetwork(t, kKnown);
    for (const char* no : {"n", "N", "q", "<Esc>", "<Backspace>"}) {
        t.Press("rcc<Enter>");
        t.WaitFor("Are you sure? [y/n]");
        t.Settle();
        EXPECT_EQ(t.Row(0), "Are you sure? [y/n]");
        EXPECT_FALSE(t.Shows("attic"));
        t.Press(no);
        t.WaitFor("Forget access point");
        EXPECT_EQ(t.Row(kFirstLine + 1), "    SSID: 'attic'");
    }
    EXPECT_EQ(box.Commands(), (Words{"list_networks", "scan_result"}));
    t.Press("rcc<Enter>");
    t.WaitFor("Are you sure? [y/n]");
    t.Press("y");
    box.WaitForCommand("save_config");
    EXPECT_EQ(box.Actions(), (Words{"remove_network|7", "set|update_config|1", "save_config"}));
}

}  // namespace
}  // namespace wireless
