// The list of wireless networks: what it shows, how to leave it, and when it is fetched.
#include <tuple>

#include "wireless_fixtures.h"

namespace wireless {
namespace {

// The screen with these network rows.
Words Screen(const Words& networks) {
    Words screen = {"",
                    "",
                    kList,
                    "",
                    "    Return to wifi menu",
                    "",
                    "    Scan for access points",
                    "    Connect to any access point",
                    "    Disconnect from current access point",
                    ""};
    screen.insert(screen.end(), networks.begin(), networks.end());
    screen.resize(24);
    return screen;
}

// Leaves the list and opens it again.
void Reopen(Terminal& t) {
    t.Go("<Esc>", kInterface);
    t.Go("w<Enter>", kList);
}

TEST(WirelessList, ShowsItsActionsAndTheNetworksInByteOrder) {
    WirelessBox box;
    box.SetConfigured(Configured("0", "home", "any", "[CURRENT]") +
                      Configured("1", "attic", "00:aa:bb:cc:dd:ee", "[DISABLED]") +
                      Configured("2", "lost", ""));
    box.SetSeen(Seen("b0:11:22:33:44:55", "home") + Seen(kHome, "home") + Seen(kHome, "home") +
                Seen("00:11:22:33:44:66", "Zoo", "[ESS]") + Seen("00:11:22:33:44:77", "") +
                Seen("00:11:22:33:44:88", "Caf\xc3\xa9 N\xc2\xb0 1") +
                Seen("00:aa:bb:cc:dd:ee", "attic") + "00:11:22:33:44:99\t2437\t-61\t[ESS]\n");
    List t(box);
    EXPECT_EQ(t.Screen(), Screen({
                              "    NEW  00:11:22:33:44:77   (no SSID)",
                              "    NEW  00:11:22:33:44:99   (no SSID)",
                              "    NEW  00:11:22:33:44:88   Caf\xc3\xa9 N\xc2\xb0 1",
                              "    NEW  00:11:22:33:44:66   Zoo",
                              "         00:aa:bb:cc:dd:ee   attic",
                              "    NEW  00:11:22:33:44:55   home",
                              "          (any)              home",
                              "    NEW  b0:11:22:33:44:55   home",
                          }));
    EXPECT_EQ(t.Selected(), "Return to wifi menu");
    EXPECT_EQ(t.Cell(2, 0).Style(), "white/black");
    EXPECT_FALSE(t.CursorVisible());
    EXPECT_EQ(box.Commands(), (Words{"list_networks", "scan_result"}));
}

TEST(WirelessList, TheCursorRestsAtTheSelectedNetworksText) {
    WirelessBox box;
    box.SetConfigured(Configured("0", "home", kHome));
    box.SetSeen(Seen("b0:11:22:33:44:55", "home"));
    List t(box);
    const auto rests_at = [&](int n, int column) {
        t.Press(ToNetwork(n));
        const auto rests = [&] {
            return t.CursorRow() == kFirstNetwork + n && t.CursorCol() == column;
        };
        t.WaitUntil(rests, "the cursor at column " + std::to_string(column));
    };
    rests_at(0, 9);  // a known one, which is indented
    rests_at(1, 4);
}

// ---- starting the supplicant ----

TEST(WirelessList, StartsTheInterfaceOnceIfThereIsNoPidFile) {
    WirelessBox box;
    box.Remove(kPidFile);
    box.StandIn(kNetwork, "wlan0: supplicant started\n");
    box.SetSeen(Seen(kHome, "home"));
    List t(box);
    EXPECT_EQ(t.Screen(), Screen({"    NEW  00:11:22:33:44:55   home"}));
    const Words entering = {"/etc/init.d/network start wlan0", "wpa_cli -i wlan0 list_networks",
                            "wpa_cli -i wlan0 scan_result"};
    EXPECT_EQ(box.CallLines(kNetwork), Words{entering[0]});
    const Words all = box.CallLines();
    EXPECT_EQ(Words(all.end() - 3, all.end()), entering);
    EXPECT_EQ(box.Calls(kNetwork)[0].mode, Mode::kRaw) << "the screen must stay up";
    // Not again when the list is fetched again, but when it is opened again.
    OpenNetwork(t, 0);
    t.Go("<Esc>", "Return to wifi menu");
    EXPECT_EQ(box.Count("list_networks"), 2);
    EXPECT_EQ(box.Calls(kNetwork).size(), 1u);
    Reopen(t);
    EXPECT_EQ(box.Calls(kNetwork).size(), 2u);
}

TEST(WirelessList, AnyPidFileCountsAsARunningSupplicant) {
    WirelessBox box;
    box.Write(kPidFile, "");
    List t(box);
    EXPECT_EQ(box.CallLines(kNetwork), Words{});
    // In the path the address is in lower case.
    box.Sh("mv /var/network/02:1a:2b:3c:4d:5e /var/network/02:1A:2B:3C:4D:5E");
    Reopen(t);
    EXPECT_EQ(box.CallLines(kNetwork), Words{"/etc/init.d/network start wlan0"});
}

TEST(WirelessList, HasOnlyItsActionsIfNoSupplicantAnswers) {
    WirelessBox box;
    box.StandInScript("wpa_cli",
                      "echo 'Failed to connect to non-global ctrl_ifname' >&2; exit 255");
    List t(box);
    EXPECT_EQ(t.Screen(), Screen({}));
    t.Press("a<Enter>");
    box.WaitForCommand("save_config");
    EXPECT_EQ(box.Actions(), (Words{"select_network|any", "set|update_config|1", "save_config"}));
}

// ---- many networks ----

// 66 networks, "net101" to "net166".
class ManyNetworks : public WirelessBox {
  public:
    ManyNetworks() {
        std::string rows;
        for (int i = 101; i <= 166; i++)
            rows += Seen(kHome, "net" + std::to_string(i));
        SetSeen(rows);
    }
};

// As on every screen with help, but here it is blank.
TEST(WirelessList, LeavesThreeLinesForHelp) {
    ManyNetworks box;
    List t(box, OfSize(19, 80));
    for (const auto& [lines, key, row] : {std::tuple(19, "s", "Scan"), {18, "a", "Connect"}}) {
        t.Resize(lines, 80);
        t.Press(key);
        t.WaitSelected(row);
        t.Settle();
        EXPECT_TRUE(t.Row(13).ends_with("net104"));
        for (int line = 14; line < lines; line++)
            EXPECT_EQ(t.Row(line), "") << "the help keeps its place on a smaller terminal";
    }
}

TEST(WirelessList, RowsBeyondThe64thDoNothing) {
    ManyNetworks box;
    List t(box);
    for (const char* row : {"net165", "net166"}) {
        Select(t, std::string("NEW  00:11:22:33:44:55   ") + row);
        t.Press("<Enter>");
        t.Settle();
        EXPECT_TRUE(t.Selected().ends_with(row));
        EXPECT_FALSE(t.Shows("Return to wifi ap menu"));
    }
    t.Press("<Up><Up>");
    t.WaitSelected("net164");
    t.Go("<Enter>", "SSID: 'net164'");
}

// ---- fetching ----

TEST(WirelessList, ComingBackFromANetworkFetchesBothListings) {
    WirelessBox box;
    box.SetConfigured(Configured("0", "attic", "any"));
    box.SetSeen(Seen(kHome, "home"));
    List t(box);
    t.Resize(43, 132);
    t.Settle();
    for (const int network : {0, 1}) {
        OpenNetwork(t, network);
        EXPECT_EQ(box.Commands(), (Words{"list_networks", "scan_result"}));
        box.SetSeen(Seen(kHome, "home") + Seen("00:11:22:33:44:66", "new one"));
        t.Go("r<Enter>", "Return to wifi menu");
        EXPECT_TRUE(t.Shows("NEW  00:11:22:33:44:66   new one"));
        EXPECT_EQ(box.Commands(),
                  (Words{"list_networks", "scan_result", "list_networks", "scan_result"}));
        box.SetSeen(Seen(kHome, "home"));
        box.ForgetCalls();
        Reopen(t);
    }
}

}  // namespace
}  // namespace wireless
