// A network name can be any 32 bytes, and anybody can send one: nothing in a listing may run a
// command or control the terminal.
#include "wireless_fixtures.h"

namespace wireless {
namespace {

// Shell commands in all forms that work without closing a quote.
constexpr const char* kForTheShell =
    "$(touch /tmp/owned)`touch /tmp/owned`;touch /tmp/owned&touch /tmp/owned|touch /tmp/owned>x<* "
    " ~ #!! %s%n ${PATH} -x\x01";

// Control sequences: clear, title, colours, bell, cursor movement, and their 8-bit forms.
const std::string kForTheTerminal =
    "\x1b[2J\x1b[31m\x1b]0;owned\x07\x1b[5;5Howned\x0e\x9b\x33\x31m\x90q\x7f\x08\x08\rowned\x01";

void ExpectNotOwned(WirelessBox& box) {
    EXPECT_FALSE(box.Exists("/tmp/owned"));
    EXPECT_EQ(box.Sh("ls /x x 2>/dev/null || true"), "");
}

TEST(HostileNames, AreOneWordInTheirCommandAndRunNothing) {
    WirelessBox box;
    box.SetSeen(Seen(kHome, kForTheShell));
    ExpectJoined(box, "$(touch /tmp/owned);touch /tmp/owned",
                 {"ssid|\"" + std::string(kForTheShell) + "\"", "bssid|00:11:22:33:44:55",
                  "key_mgmt|WPA-PSK", "psk|\"$(touch /tmp/owned);touch /tmp/owned\""});
    ExpectNotOwned(box);
}

TEST(HostileNames, AreLeftOutIfTheyCloseQuotes) {
    WirelessBox box;
    box.SetSeen(Seen(kHome, "a\"'; touch /tmp/owned; '\""));
    ExpectJoined(box, "x\"'; touch /tmp/owned; '\"",
                 {"bssid|00:11:22:33:44:55", "key_mgmt|WPA-PSK"});
    ExpectNotOwned(box);
}

TEST(HostileNames, AnyAddressIsOneWord) {
    const std::string address = "00:11'; touch /tmp/owned; echo '$(touch /tmp/owned)\\";
    WirelessBox box;
    box.SetSeen(Seen(address, "home"));
    ExpectJoined(box, "secret words",
                 {"ssid|\"home\"", "bssid|" + address, "key_mgmt|WPA-PSK", "psk|\"secret words\""});
    ExpectNotOwned(box);
}

TEST(HostileNames, NumbersEndAtTheFirstOtherCharacter) {
    WirelessBox box;
    box.SetConfigured(Configured("7;touch /tmp/owned", "attic", "any"));
    box.SetSeen(Seen(kHome, "home"));
    box.SetNumber("3$(touch /tmp/owned)\n");
    List t(box);
    OpenNetwork(t, kKnown);
    t.Press("c<Enter>");
    t.WaitFor("Return to wifi menu");
    EXPECT_EQ(box.Count("select_network|7"), 1);
    OpenNetwork(t, kNew);
    Join(t, "");
    box.WaitForCommand("save_config", 2);
    EXPECT_EQ(box.Count("select_network|3"), 1);
    ExpectNotOwned(box);
}

// Truncated to an int, the number would be 1, which is another network's.
TEST(HostileNames, ANumberThatIsTooLargeSelectsNoOtherNetwork) {
    WirelessBox box;
    box.SetConfigured(Configured("4294967297", "attic", "any"));
    List t(box);
    OpenNetwork(t, 0);
    t.Press("c<Enter>");
    t.Settle();
    EXPECT_EQ(box.Actions(), Words{});
}

// No control byte of the name has reached the terminal.
void ExpectNotControlled(const Terminal& t) {
    EXPECT_EQ(t.Bells(), 0);
    for (const char* sequence :
         {"\x1b[2J\x1b[31m", "\x1b]0;", "\x07", "\x1b[5;5Howned", "\x9b", "\x90", "\x7f"}) {
        EXPECT_EQ(t.Output().find(sequence), std::string::npos) << testing::PrintToString(sequence);
    }
}

// The plain terminal shows only the message, on as many lines as it needs.
void ExpectOnlyMessage(const Terminal& t) {
    std::string message;
    for (const std::string& line : Lines(t))
        message += line;
    ASSERT_GT(message.size(), 4u);
    EXPECT_EQ(message.substr(message.size() - 4), "'...");
    EXPECT_NE(t.Row(0), "");
}

TEST(HostileNames, DoNotControlTheTerminal) {
    WirelessBox box;
    box.SetConfigured(Configured("7", "z" + kForTheTerminal, "any"));
    box.SetSeen(Seen(kHome, kForTheTerminal) + Seen(kHome, "home") +
                Seen("b0:" + kForTheTerminal, "next"));
    List t(box);
    const Words list = t.Screen();
    EXPECT_EQ(list[2], kList);
    EXPECT_EQ(list[4], "    Return to wifi menu");
    EXPECT_EQ(list[10].substr(0, 29), "    NEW  00:11:22:33:44:55   ");
    EXPECT_NE(list[10].find("owned"), std::string::npos);
    EXPECT_EQ(list[11], "    NEW  00:11:22:33:44:55   home");
    EXPECT_EQ(list[12].substr(0, 12), "    NEW  b0:");
    EXPECT_EQ(list[13].substr(0, 30), "          (any)              z");
    EXPECT_EQ(t.Style(11), "0-3 white/black; 4-78 white/black bold; 79 white/black");
    ExpectNotControlled(t);

    OpenNetwork(t, 0);
    const Words network = t.Screen();
    EXPECT_EQ(network[4], "    BSSID: 00:11:22:33:44:55");
    EXPECT_EQ(network[5].substr(0, 11), "    SSID: '");
    EXPECT_EQ(network[5].back(), '\'');
    EXPECT_EQ(network[7], "    Return to wifi ap menu");
    box.Hold("set_network");
    Join(t, "secret words");
    t.WaitFor("Connecting to access point 00:11:22:33:44:55 '");
    ExpectOnlyMessage(t);
    ExpectNotControlled(t);
}

TEST(HostileNames, DoNotControlTheTerminalWhenConfigured) {
    WirelessBox box;
    box.SetConfigured(Configured("7", kForTheTerminal, "b0:" + kForTheTerminal));
    List t(box);
    OpenNetwork(t, 0);
    const Words network = t.Screen();
    EXPECT_EQ(network[4].substr(0, 14), "    BSSID: b0:");
    EXPECT_EQ(network[7], "    Return to wifi ap menu");
    box.Hold("remove_network");
    t.Press("cc<Enter>");
    t.WaitFor("Are you sure? [y/n]");
    t.Press("y");
    t.WaitFor("Removing access point b0:");
    ExpectOnlyMessage(t);
    ExpectNotControlled(t);
}

TEST(HostileNames, WideCharactersDisplaceNothing) {
    WirelessBox box;
    // Characters of two columns, of none, and one that would start beyond the edge.
    std::string wide;
    for (int i = 0; i < 40; i++)
        wide += "\xe5\xae\xb6";
    box.SetSeen(Seen(kHome, wide) + Seen(kHome, "e\xcc\x81\xcc\x81\xcc\x81t\xc3\xa9") +
                Seen(kHome, "home"));
    List t(box);
    EXPECT_EQ(t.Find("home"), kFirstNetwork + 1);
    EXPECT_EQ(t.Row(kFirstNetwork + 3), "");
    // 25 columns of label and 25 double-width characters fill the width of 75.
    EXPECT_EQ(t.Row(kFirstNetwork + 2),
              "    NEW  00:11:22:33:44:55   " + wide.substr(0, size_t{3} * 25));
}

}  // namespace
}  // namespace wireless
