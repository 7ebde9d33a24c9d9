// The screens of one network: a new one, which the operator joins with a password, and a known one,
// which the operator connects to or forgets.
#include "wireless_fixtures.h"

namespace wireless {
namespace {

Words Screen(const std::string& bssid, const std::string& ssid, const Words& actions) {
    Words rows = {"",
                  "",
                  kList,
                  "",
                  "    BSSID: " + bssid,
                  "    SSID: '" + ssid + "'",
                  "",
                  "    Return to wifi ap menu",
                  ""};
    rows.insert(rows.end(), actions.begin(), actions.end());
    rows.resize(24);
    return rows;
}

const Words kNewActions = {"    Connect to access point"};
const Words kKnownActions = {"    Connect to access point", "    Forget access point"};

TEST(AccessPointScreens, ShowTheNetworkAndItsActions) {
    WirelessBox box;
    box.SetConfigured(Configured("7", "attic", "any") + Configured("8", "", "any"));
    box.SetSeen(Seen(kHome, "home") + Seen(kHome, ""));
    List t(box);
    struct Case {
        const char *bssid, *ssid;
        const Words& actions;
    };
    // In the order of the list.
    const Case cases[] = {{kHome, "", kNewActions},
                          {"any", "", kKnownActions},
                          {"any", "attic", kKnownActions},
                          {kHome, "home", kNewActions}};
    for (int n = 0; n < 4; n++) {
        OpenNetwork(t, n);
        EXPECT_EQ(t.Screen(), Screen(cases[n].bssid, cases[n].ssid, cases[n].actions));
        for (const int line : {kFirstLine, kFirstLine + 1})
            EXPECT_TRUE(t.Cell(line, kFirstLine).dim) << "information cannot be selected";
        t.Go("<Esc>", "Return to wifi menu");
    }
    EXPECT_EQ(box.Actions(), Words{});
}

// ---- joining a new network ----

TEST(NewAccessPoint, CancellingThePasswordRunsNothingAndClearsTheEntry) {
    TwoNetworks box;
    List t(box);
    OpenNetwork(t, kNew);
    t.Go("c<Enter>", "Access point password? [ESC to cancel]");
    t.Type("only half");
    t.WaitFor("*********");
    t.Press("<Esc>");
    t.WaitForGone("Access point password?");
    t.Settle();
    EXPECT_EQ(t.Screen(), Screen(kHome, "home", kNewActions));
    EXPECT_EQ(t.Selected(), "Connect to access point");
    EXPECT_EQ(box.Actions(), Words{});
    t.Go("<Enter>", "Access point password? [ESC to cancel]");
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
    for (const char* answer : {"FAIL\n", "", "-1\n", "FAIL\n5\n"}) {
        SCOPED_TRACE(answer);
        box.SetNumber(answer);
        box.ForgetCalls();
        Join(t, "secret words");
        t.WaitForGone("Access point password?");
        t.Settle();
        EXPECT_EQ(t.Screen(), Screen(kHome, "home", kNewActions));
        EXPECT_EQ(Ran(box), Words{"[screen] wpa_cli -i wlan0 add_network"});
    }
    EXPECT_FALSE(LeftItsScreen(t));
}

struct Joining {
    const char* name;
    const char* ssid;
    const char* flags;
    const char* password;
    Words settings;  // those that are sent
};

std::ostream& operator<<(std::ostream& out, const Joining& joining) {
    return out << joining.name;
}

const Joining kJoinings[] = {
    {"AProtectedNetwork",
     "home",
     "[WPA2-PSK-CCMP][ESS]",
     "correct horse battery",
     {"ssid|\"home\"", "bssid|00:11:22:33:44:55", "key_mgmt|WPA-PSK",
      "psk|\"correct horse battery\""}},
    {"AnOpenNetworkAsAProtectedOneWithoutAnEmptyPassword",
     "plaza",
     "[ESS]",
     "",
     {"ssid|\"plaza\"", "bssid|00:11:22:33:44:55", "key_mgmt|WPA-PSK"}},
    {"AHiddenNetworkWithoutItsName",
     "",
     "[ESS]",
     "7 chars",
     {"bssid|00:11:22:33:44:55", "key_mgmt|WPA-PSK", "psk|\"7 chars\""}},
    {"ANameBeyondAsciiAsItIsButNoBackslash",
     "caf\xc3\xa9",
     "[ESS]",
     "back\\slash",
     {"ssid|\"caf\xc3\xa9\"", "bssid|00:11:22:33:44:55", "key_mgmt|WPA-PSK"}},
    {"EveryCharacterOfAPasswordButQuotes",
     "caf\\xc3\\xa9",
     "[ESS]",
     " !#$%&()*+,-./:;<=>?@[]^_`{|}~09AZaz$(reboot)`reboot`; ",
     {"bssid|00:11:22:33:44:55", "key_mgmt|WPA-PSK",
      "psk|\" !#$%&()*+,-./:;<=>?@[]^_`{|}~09AZaz$(reboot)`reboot`; \""}},
};

class JoiningANetwork : public testing::TestWithParam<Joining> {};

TEST_P(JoiningANetwork, SendsItsSettings) {
    const Joining& joining = GetParam();
    WirelessBox box;
    box.SetSeen(Seen(kHome, joining.ssid, joining.flags));
    ExpectJoined(box, joining.password, joining.settings);
}

INSTANTIATE_TEST_SUITE_P(NewAccessPoint, JoiningANetwork, testing::ValuesIn(kJoinings),
                         testing::PrintToStringParamName());

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
    TwoNetworks box("-1");
    List t(box);
    OpenNetwork(t, kKnown);
    for (const char* row : {"Connect to access point", "Forget access point"}) {
        Select(t, row);
        const Words screen = t.Screen();
        t.Press("<Enter>");
        t.Settle();
        EXPECT_EQ(t.Screen(), screen);
    }
    EXPECT_EQ(box.Actions(), Words{});
}

// After a no the network's own screen is back; the list is not fetched.
TEST(KnownAccessPoint, ForgettingAsksFirst) {
    TwoNetworks box;
    List t(box);
    OpenNetwork(t, kKnown);
    for (const char* no : {"n", "<Esc>"}) {
        Select(t, "Forget access point");
        t.Go("<Enter>", "Are you sure? [y/n]");
        EXPECT_EQ(t.Row(0), "Are you sure? [y/n]");
        EXPECT_FALSE(t.Shows("attic"));
        t.Go(no, "Forget access point");
        EXPECT_EQ(t.Screen(), Screen("any", "attic", kKnownActions));
    }
    EXPECT_EQ(box.Commands(), (Words{"list_networks", "scan_result"}));
}

}  // namespace
}  // namespace wireless
