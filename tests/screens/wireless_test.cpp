// The list of wireless networks: what it shows, how to leave it, and when it is fetched.
#include "wireless_fixtures.h"

namespace wireless {
namespace {

const Words kFixedRows = {
    "",
    "",
    kList,
    "",
    "    Return to wifi menu",
    "",
    "    Scan for access points",
    "    Connect to any access point",
    "    Disconnect from current access point",
};

// The screen of a terminal with that many lines and these network rows.
Words Screen(const Words& networks, size_t lines = 24) {
    Words screen = kFixedRows;
    if (!networks.empty()) screen.push_back("");
    screen.insert(screen.end(), networks.begin(), networks.end());
    screen.resize(lines);
    return screen;
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
    EXPECT_EQ(t.Cell(2, 0).fg, kWhite);
    EXPECT_EQ(t.Cell(2, 0).bg, kBlack);
    EXPECT_FALSE(t.Cell(2, 0).bold);
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
        const auto rests = [&] { return t.CursorRow() == 10 + n && t.CursorCol() == column; };
        t.WaitUntil(rests, "the cursor at column " + std::to_string(column));
    };
    rests_at(0, 9);  // a known one, which is indented
    rests_at(1, 4);
}

TEST(WirelessList, HotKeysSelectItsActions) {
    WirelessBox box;
    box.SetSeen(Seen(kHome, "sad radio"));
    List t(box);
    const struct {
        char key;
        const char* label;
        int column;  // column of the highlighted letter
    } rows[] = {{'s', "Scan for access points", 0},
                {'a', "Connect to any access point", 11},
                {'d', "Disconnect from current access point", 0},
                {'r', "Return to wifi menu", 0}};
    for (const auto& row : rows) {
        if (row.key == 'r') t.Press("<End>");  // the selected row shows its key differently
        t.Settle();
        const Cell letter = t.Cell(t.Find(row.label), kFirstLine + row.column);
        EXPECT_EQ(letter.fg, kYellow) << row.label;
        EXPECT_TRUE(letter.bold) << row.label;
        for (int times = 0; times < 2; times++) {
            t.Press(std::string(1, row.key));
            t.Settle();
            EXPECT_EQ(t.Selected(), row.label);
        }
    }
    t.Press("<End>");
    t.WaitSelected("sad radio");
    t.Press("0123456789");
    t.Settle();
    EXPECT_EQ(t.Selected(), "NEW  00:11:22:33:44:55   sad radio");
    EXPECT_EQ(box.Actions(), Words{});
}

TEST(WirelessList, ItsRowEscAndBackspaceReturnToTheInterface) {
    WirelessBox box;
    List t(box);
    for (const char* keys : {"r<Enter>", "<Esc>", "<Backspace>"}) {
        SCOPED_TRACE(keys);
        t.Press(keys);
        t.WaitFor(kInterface);
        t.Press("w<Enter>");
        t.WaitFor(kList);
    }
    EXPECT_EQ(box.Actions(), Words{});
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
    // Not again when the list is fetched again.
    OpenNetwork(t, 0);
    t.Press("<Esc>");
    t.WaitFor("Return to wifi menu");
    EXPECT_EQ(box.Count("list_networks"), 2);
    EXPECT_EQ(box.Calls(kNetwork).size(), 1u);
    // But again when the list is opened again.
    t.Press("<Esc>");
    t.WaitFor(kInterface);
    t.Press("w<Enter>");
    t.WaitFor(kList);
    EXPECT_EQ(box.Calls(kNetwork).size(), 2u);
}

TEST(WirelessList, AnyPidFileCountsAsARunningSupplicant) {
    WirelessBox box;
    box.Write(kPidFile, "");
    List t(box);
    EXPECT_EQ(box.CallLines(kNetwork), Words{});
    // In the path the address is in lower case.
    box.Sh("mv /var/network/02:1a:2b:3c:4d:5e /var/network/02:1A:2B:3C:4D:5E");
    t.Press("<Esc>");
    t.WaitFor(kInterface);
    t.Press("w<Enter>");
    t.WaitFor(kList);
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

std::string Numbered(int count, const std::string& prefix) {
    std::string rows;
    for (int i = 1; i <= count; i++) {
        char name[32];
        snprintf(name, sizeof name, "%s%05d", prefix.c_str(), i);
        rows += Seen(kHome, name);
    }
    return rows;
}

TEST(WirelessList, RowsBeyondThe64thDoNothing) {
    WirelessBox box;
    box.SetSeen(Numbered(66, "net"));
    List t(box);
    for (const char* row : {"net00066", "net00065"}) {
        t.Press(row == std::string("net00066") ? "<End>" : "<Up>");
        t.WaitSelected(row);
        t.Press("<Enter>");
        t.Settle();
        EXPECT_EQ(t.Selected(), std::string("NEW  00:11:22:33:44:55   ") + row);
        EXPECT_FALSE(t.Shows("Return to wifi ap menu"));
    }
    t.Press("<Up>");
    t.WaitSelected("net00064");
    t.Press("<Enter>");
    t.WaitFor("SSID: 'net00064'");
}

TEST(WirelessList, ListsTenThousandNetworks) {
    WirelessBox box;
    box.SetSeen(Numbered(10000, "net"));
    List t(box);
    EXPECT_EQ(t.Row(kFirstLine + kRowsAbove), "    NEW  00:11:22:33:44:55   net00001");
    t.Press("<End>");
    t.WaitSelected("net10000");
    t.Press("<Home><Enter>");
    t.WaitFor(kInterface);
}

TEST(WirelessList, CutsALineOf1023BytesAtTheEdge) {
    WirelessBox box;
    const std::string name(1023 - Seen(kHome, "").size(), 'x');
    box.SetSeen(Seen(kHome, name));
    List t(box);
    const std::string label = "NEW  00:11:22:33:44:55   " + name;
    EXPECT_EQ(t.Screen(), Screen({"    " + label.substr(0, 80 - 5)}));
    OpenNetwork(t, 0);
    EXPECT_EQ(t.Row(kFirstLine + 1), "    " + ("SSID: '" + name).substr(0, 80 - 5));
}

TEST(WirelessList, HandlesHundredsOfColumnsAndNone) {
    WirelessBox box;
    std::string columns;
    for (int i = 0; i < 300; i++)
        columns += "c" + std::to_string(i % 10) + "\t";
    box.SetConfigured("7\tattic\tany\t" + columns + "\n" + columns + "\n\n\n\t\t\t\t\t\n");
    box.SetSeen(Seen(kHome, "home\t" + columns) + "\n\n" + std::string(900, '\t') + "\n" +
                std::string("\0\0\0\n\0", 5) + "\n");
    List t(box);
    EXPECT_EQ(t.Screen(), Screen({
                              "          (any)              attic",
                              "         c2   c1",
                              "    NEW  00:11:22:33:44:55   home",
                          }));
}

// ---- layout ----

TEST(WirelessList, ResizingDoesNotFetchTheListAgain) {
    WirelessBox box;
    box.SetSeen(Numbered(60, "net"));
    List t(box, OfSize(24, 80));
    // From 19 lines on, three lines of help and one line below them stay free.
    const struct {
        int lines, last_row;
    } sizes[] = {{24, 18}, {43, 37}, {19, 13}, {40, 34}, {18, 16}, {12, 10}};
    for (const auto& size : sizes) {
        const int last_row = size.last_row;
        SCOPED_TRACE(size.lines);
        t.Resize(size.lines, 60);
        char last[16];
        snprintf(last, sizeof last, "net%05d", last_row - kFirstLine - kRowsAbove + 1);
        t.WaitUntil([&] { return t.Row(last_row).find(last) != std::string::npos; },
                    "the last row");
        t.Settle();
        EXPECT_EQ(t.Row(2), kList);
        EXPECT_EQ(t.Row(last_row + 1), "");
        EXPECT_EQ(t.Find("net00001"), kFirstLine + kRowsAbove);
    }
    // A row is five columns narrower than the terminal.
    t.Resize(24, 35);
    constexpr const char* kSelected =
        "0-3 white/black; 4 white/black reverse; 5-33 white/blue bold; 34 white/black";
    t.WaitUntil([&] { return t.Style(kFirstLine) == kSelected; }, "the rows at 35 columns");
    EXPECT_EQ(t.Row(2), std::string(kList).substr(0, 35));
    EXPECT_EQ(t.Row(kFirstLine + kRowsAbove), "    NEW  00:11:22:33:44:55   net00");
    EXPECT_EQ(box.Commands(), (Words{"list_networks", "scan_result"}));
}

TEST(WirelessList, TheBlankHelpKeepsItsPlaceOnATerminalThatGetsTooSmall) {
    WirelessBox box;
    box.SetSeen(Numbered(60, "net"));
    List t(box, OfSize(19, 80));
    t.Resize(18, 80);
    t.WaitUntil([&] { return t.Shows("net00004") && t.Row(16).empty(); }, "the help over the list");
    EXPECT_EQ(t.Row(13), "    NEW  00:11:22:33:44:55   net00004");
    EXPECT_EQ(t.Row(14), "");
    EXPECT_EQ(t.Row(15), "");
}

TEST(WirelessList, RowsReactToTheMouse) {
    WirelessBox box;
    box.SetSeen(Seen(kHome, "home"));
    List t(box);
    const int row = t.Find("home");
    t.Click(row, 20);
    t.WaitSelected("home");
    t.Click(row, 20);
    t.WaitFor("SSID: 'home'");
}

// ---- fetching ----

TEST(WirelessList, ComingBackFromANetworkFetchesBothListings) {
    WirelessBox box;
    box.SetConfigured(Configured("0", "attic", "any"));
    box.SetSeen(Seen(kHome, "home"));
    List t(box);
    for (const int network : {0, 1}) {
        OpenNetwork(t, network);
        EXPECT_EQ(box.Commands(), (Words{"list_networks", "scan_result"}));
        box.SetSeen(Seen(kHome, "home") + Seen("00:11:22:33:44:66", "new one"));
        t.Press("r<Enter>");
        t.WaitFor("Return to wifi menu");
        EXPECT_TRUE(t.Shows("NEW  00:11:22:33:44:66   new one"));
        EXPECT_EQ(box.Commands(),
                  (Words{"list_networks", "scan_result", "list_networks", "scan_result"}));
        box.SetSeen(Seen(kHome, "home"));
        box.ForgetCalls();
        t.Press("<Esc>");
        t.WaitFor(kInterface);
        t.Press("w<Enter>");
        t.WaitFor(kList);
    }
}

}  // namespace
}  // namespace wireless
