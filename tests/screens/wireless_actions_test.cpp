// What each action asks and runs, what the operator reads on the plain terminal meanwhile, and the
// pause for reading it. The pauses are real.
#include "wireless_fixtures.h"

namespace wireless {
namespace {

struct Case {
    const char* name;
    Stop stop;
    Action action;
};

std::ostream& operator<<(std::ostream& out, const Case& one) {
    return out << one.name;
}

constexpr Stop kKnownNetwork = {"Known", "1<Enter>w<Enter>d<Down><Enter>", "Forget access point"};
constexpr Stop kNewNetwork = {"New", "1<Enter>w<Enter><End><Enter>", "SSID: 'home'"};

// The commands, and then those that fetch the list again, before the screen is drawn.
Words ThenTheList(Words commands) {
    commands.insert(commands.end(),
                    {"wpa_cli -i wlan0 list_networks", "wpa_cli -i wlan0 scan_result"});
    return commands;
}

const Case kCases[] = {
    {"Scan",
     kNetworks,
     {.row = "Scan for access points",
      .commands = ThenTheList({"wpa_cli -i wlan0 scan"}),
      .said = {"Scanning for access points...", "OK"},
      .pause = 5,
      .after = "Return to wifi menu"}},
    {"AllowAny",
     kNetworks,
     {.row = "Connect to any access point",
      .commands =
          ThenTheList({"wpa_cli -i wlan0 select_network any",
                       "wpa_cli -i wlan0 set update_config 1", "wpa_cli -i wlan0 save_config"}),
      .said = {"Allowing any access point...", "OK", "OK", "OK"},
      .pause = 5,
      .after = "Return to wifi menu"}},
    {"Disconnect",
     kNetworks,
     {.row = "Disconnect from current access point",
      .commands = {"wpa_cli -i wlan0 disconnect"},
      .said = {"Disconnecting...", "OK"},
      .pause = 2,
      .after = kInterface}},
    {"Select",
     kKnownNetwork,
     {.row = "Connect to access point",
      .commands =
          ThenTheList({"wpa_cli -i wlan0 select_network 7", "wpa_cli -i wlan0 set update_config 1",
                       "wpa_cli -i wlan0 save_config"}),
      .said = {"Connecting to access point any 'attic'...", "OK", "OK", "OK"},
      .pause = 2,
      .after = "Return to wifi menu"}},
    {"Remove",
     kKnownNetwork,
     {.row = "Forget access point",
      .question = "Are you sure? [y/n]",
      .typed = "y",
      .commands =
          ThenTheList({"wpa_cli -i wlan0 remove_network 7", "wpa_cli -i wlan0 set update_config 1",
                       "wpa_cli -i wlan0 save_config"}),
      .said = {"Removing access point any 'attic'...", "OK", "OK", "OK"},
      .pause = 2,
      .after = "Return to wifi menu"}},
    {"Add",
     kNewNetwork,
     {.row = "Connect to access point",
      .question = "Access point password? [ESC to cancel]",
      .typed = "secret words<Enter>",
      .commands = ThenTheList(
          {"[screen] wpa_cli -i wlan0 add_network", "wpa_cli -i wlan0 set_network 3 ssid \"home\"",
           "wpa_cli -i wlan0 set_network 3 bssid 00:11:22:33:44:55",
           "wpa_cli -i wlan0 set_network 3 key_mgmt WPA-PSK",
           "wpa_cli -i wlan0 set_network 3 psk \"secret words\"",
           "wpa_cli -i wlan0 enable_network 3", "wpa_cli -i wlan0 select_network 3",
           "wpa_cli -i wlan0 set update_config 1", "wpa_cli -i wlan0 save_config"}),
      .said = {"Connecting to access point 00:11:22:33:44:55 'home'...", "OK", "OK", "OK", "OK",
               "OK", "OK", "OK", "OK"},
      .pause = 2,
      .after = "Return to wifi menu"}},
};

class WirelessAction : public testing::TestWithParam<Case> {};

TEST_P(WirelessAction, RunsItsCommandsAndPauses) {
    TwoNetworks box;
    box.SetNumber("3\n");
    Page t(box, GetParam().stop);
    Do(t, GetParam().action);
}

INSTANTIATE_TEST_SUITE_P(Wireless, WirelessAction, testing::ValuesIn(kCases),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace wireless
