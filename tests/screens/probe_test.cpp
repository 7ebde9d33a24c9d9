// The rows of an interface: every part of the status, present or absent, from real interfaces and
// from simulated cards.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "main_menu_test.h"

namespace harness {
namespace {

using testing::HasSubstr;
using testing::Not;

// The first interface's rows on the screen: its own row, and the status rows below.
constexpr int kOwnLine = kFirstLine + 9;
constexpr int kStatusLine = kOwnLine + 1;

std::string WithoutTrailingBlanks(std::string text) {
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

// Refreshes, and waits for these rows of the first interface and the separator after them.
void ExpectRows(Terminal& t, const std::vector<std::string>& rows, Place place = Place::current()) {
    LookAgain(t, place);
    std::vector<std::string> shown;
    const auto as_expected = [&] {
        shown.clear();
        for (size_t i = 0; i <= rows.size(); i++)
            shown.push_back(t.Row(kOwnLine + static_cast<int>(i)));
        for (size_t i = 0; i < rows.size(); i++) {
            if (shown[i] != "    " + WithoutTrailingBlanks(rows[i])) return false;
        }
        return shown.back().empty();
    };
    std::string what = "the rows";
    for (const std::string& row : rows)
        what += "\n   |    " + row;
    t.WaitUntil(as_expected, what, 3, place);
}

// ---- wired ----

constexpr const char* kOwnRow = "1. eth0    02:00:00:00:00:0A  Link active  Interface up";

class WiredProbe : public testing::Test {
  protected:
    WiredProbe() {
        box.AddTap("eth0");
        box.Sh(
            "ip link set eth0 address 02:00:00:00:00:0a up; ip addr add 10.1.2.3/24 dev eth0;"
            "ip route add default via 10.1.2.1");
        box.Cards("");
    }

    Machine box;
};

TEST_F(WiredProbe, EveryQueryMayFailOnItsOwn) {
    MainMenu t(box);
    const std::string ipv4 = "   IPv4: 10.1.2.3   netmask: 255.255.255.0  gateway: 10.1.2.1";
    struct Case {
        const char* cards;
        std::vector<std::string> rows;
    };
    const Case cases[] = {
        {"", {kOwnRow, ipv4}},
        {"eth0 link 0\n", {"1. eth0    02:00:00:00:00:0A  Disconnected  Interface up", ipv4}},
        {"eth0 link 7\n", {kOwnRow, ipv4}},
        {"eth0 link fails\n", {"1. eth0    02:00:00:00:00:0A    Interface up", ipv4}},
        {"eth0 flags 0x1002\n", {"1. eth0    02:00:00:00:00:0A  Link active", ipv4}},
        {"eth0 flags 0x1\n", {kOwnRow, ipv4}},
        {"eth0 flags fails\n", {"1. eth0    02:00:00:00:00:0A  Link active", ipv4}},
        {"eth0 hwaddr ab:cd:ef:01:9f:00\n",
         {"1. eth0    AB:CD:EF:01:9F:00  Link active  Interface up", ipv4}},
        {"eth0 hwaddr fails\n", {"1. eth0      Link active  Interface up", ipv4}},
        {"eth0 hwaddr fails\neth0 link fails\neth0 flags fails\n", {"1. eth0", ipv4}},
        {"socket packet fails\n", {"1. eth0", ipv4}},
        // Without an address there is no row, whatever else is known.
        {"eth0 addr fails\n", {kOwnRow}},
        {"eth0 netmask fails\n",
         {kOwnRow, "   IPv4: 10.1.2.3   netmask: 0.0.0.0  gateway: 10.1.2.1"}},
        {"eth0 addr 172.16.254.255\neth0 netmask 255.255.255.252\n",
         {kOwnRow, "   IPv4: 172.16.254.255   netmask: 255.255.255.252  gateway: 10.1.2.1"}},
        {"socket inet fails\n", {kOwnRow}},
    };
    for (const Case& card : cases) {
        SCOPED_TRACE(card.cards);
        box.Cards(card.cards);
        ExpectRows(t, card.rows);
    }
}

TEST_F(WiredProbe, AnAddressMayHaveNoGatewayAndAGatewayNoAddress) {
    box.AddTap("eth1");
    box.Sh("ip link set eth1 address 02:00:00:00:00:0b up");
    MainMenu t(box);
    t.WaitFor("    2. eth1    02:00:00:00:00:0B  Link active  Interface up");
    box.Sh("ip route del default; ip route add default via 10.1.9.9 dev eth1 onlink");
    ExpectRows(t, {kOwnRow, "   IPv4: 10.1.2.3   netmask: 255.255.255.0"});
    EXPECT_EQ(t.Row(kOwnLine + 3), "    2. eth1    02:00:00:00:00:0B  Link active  Interface up");
    EXPECT_EQ(t.Row(kOwnLine + 4), "");
    EXPECT_EQ(t.Row(kOwnLine + 5), "    Exit this program");
}

TEST_F(WiredProbe, TheLastGlobalIPv6AddressIsShown) {
    box.Sh("ip addr flush dev eth0");
    box.StandInScript("ip", "if [ $1 = addr ]; then cat /run/addr; else exec /sbin/ip \"$@\"; fi");
    box.Write("/run/addr", "");
    MainMenu t(box);
    struct Case {
        const char *reply, *address;
    };
    const Case cases[] = {
        {"", nullptr},
        {"2: eth0: <BROADCAST,UP> mtu 1500 state UP\n"
         "    inet6 2001:db8::5/64 scope global \n"
         "       valid_lft forever preferred_lft forever\n",
         "2001:db8::5/64"},
        {"    inet6 2001:db8::5/64 scope global \n    inet6 fd00::1/48 scope global \n"
         "    link/ether 02:00:00:00:00:0a\n",
         "fd00::1/48"},
        {"INET6 2001:db8::6/64 scope\n", "2001:db8::6/64"},
        {"  inet6    2001:db8::7/64  scope\n", "2001:db8::7/64"},
        {"    inet6 fd00:1111:2222:3333:4444:5555:6666:7777/128 scope global dynamic noprefixroute"
         "\n",
         "fd00:1111:2222:3333:4444:5555:6666:7777/128"},
        {"    inet 10.1.2.3/24 scope global eth0\n", nullptr},
        {"    inet6_ 2001:db8::5/64\n    x inet6 2001:db8::5/64\n", nullptr},
        {"    inet6 2001:db8::8/64 scope", "2001:db8::8/64"},
    };
    for (const Case& addresses : cases) {
        SCOPED_TRACE(addresses.reply);
        box.Write("/run/addr", addresses.reply);
        std::vector<std::string> rows = {kOwnRow};
        if (addresses.address != nullptr) {
            rows.push_back("   IPv6: " + std::string(addresses.address));
        }
        ExpectRows(t, rows);
    }
}

// A real list from the kernel: link-local addresses are not global, and only one address is shown.
TEST_F(WiredProbe, RealIPv6Addresses) {
    box.Sh("ip addr flush dev eth0; ip addr add fe80::42/64 dev eth0 nodad");
    MainMenu t(box);
    ExpectRows(t, {kOwnRow});
    box.Sh("ip addr add 2001:db8::5/64 dev eth0 nodad");
    ExpectRows(t, {kOwnRow, "   IPv6: 2001:db8::5/64"});
    box.Sh("ip addr del 2001:db8::5/64 dev eth0; ip addr add 2001:db8::6/128 dev eth0 nodad");
    ExpectRows(t, {kOwnRow, "   IPv6: 2001:db8::6/128"});
}

TEST_F(WiredProbe, AnRfkillSwitchAloneDoesNotMakeACardWireless) {
    box.RfkillFiles("eth0", "1\n", "0\n", "0\n");
    MainMenu t(box);
    ExpectRows(t, {kOwnRow, "   IPv4: 10.1.2.3   netmask: 255.255.255.0  gateway: 10.1.2.1"});
}

// The main menu does not keep a link that can't be queried; the interface screen does.
TEST_F(WiredProbe, AScreenKeepsALinkItOnceKnew) {
    MainMenu t(box);
    t.Press("1<Enter>");
    t.WaitFor("Network configuration: eth0 (02:00:00:00:00:0A)");
    const auto look_again = [&] {
        OpenQuestion(t);
        t.Press("n");
        t.WaitFor("Network configuration: eth0 (02:00:00:00:00:0A)");
    };
    EXPECT_EQ(t.Row(4), "    Link active  Interface up");
    box.Cards("eth0 link fails\n");
    look_again();
    EXPECT_EQ(t.Row(4), "    Link active  Interface up");
    box.Cards("eth0 link 0\n");
    look_again();
    EXPECT_EQ(t.Row(4), "    Disconnected  Interface up");
    box.Cards("eth0 link fails\neth0 flags fails\n");
    look_again();
    EXPECT_EQ(t.Row(4), "    Disconnected");
    box.Cards("");
    look_again();
    EXPECT_EQ(t.Row(4), "    Link active  Interface up");
    box.Cards("socket packet fails\n");
    look_again();
    EXPECT_EQ(t.Row(4), "    Link active  Interface up");
}

// ---- wireless ----

constexpr const char* kWirelessOwnRow = "1. wlan0   02:00:00:00:00:0A  Disconnected";

class WirelessProbe : public testing::Test {
  protected:
    WirelessProbe() {
        box.AddTap("wlan0");
        box.Sh("ip link set wlan0 address 02:00:00:00:00:0a");
        box.Cards("wlan0 name IEEE 802.11\n");
    }

    static TerminalOptions Wide() { return OfSize(24, 160); }

    // Expects these parts after "Wireless: ".
    void ExpectPieces(Terminal& t, const std::string& pieces, Place place = Place::current()) {
        ExpectRows(t, {kWirelessOwnRow, "   Wireless: " + pieces}, place);
    }

    Machine box;
};

TEST_F(WirelessProbe, EachAnswerAddsAPart) {
    MainMenu t(box, Wide());
    struct Case {
        const char *cards, *pieces;
    };
    const Case cases[] = {
        {"", ""},
        {"essid studio\n", "'studio'"},
        {"essid \n", "''"},
        {"essid two words's\n", "'two words's'"},
        {"essid B\\xc3\\xbchne \\xe7\\xae\\xb1\n", "'Bühne 箱'"},
        {"ap 00:11:22:33:44:55\n", "A/P 00:11:22:33:44:55"},
        {"ap 00:00:00:00:00:00\n", "A/P 00:00:00:00:00:00"},
        {"ap fe:dc:ba:98:76:54\n", "A/P FE:DC:BA:98:76:54"},
        {"freq 2437 6\n", "@2.437GHz"},
        {"freq 2437 6\nap 00:11:22:33:44:55\n", "@2.437GHz A/P 00:11:22:33:44:55"},
        {"essid studio\nfreq 2437 6\nap 00:11:22:33:44:55\n",
         "'studio' @2.437GHz A/P 00:11:22:33:44:55"},
        {"essid studio\nap 00:11:22:33:44:55\n", "'studio' A/P 00:11:22:33:44:55"},
        {"essid fails\nfreq fails\nap fails\n", ""},
    };
    for (const Case& card : cases) {
        SCOPED_TRACE(card.cards);
        std::string cards = "wlan0 name IEEE 802.11\n";
        for (std::string rest = card.cards; !rest.empty(); rest.erase(0, rest.find('\n') + 1))
            cards += "wlan0 " + rest.substr(0, rest.find('\n') + 1);
        box.Cards(cards);
        ExpectPieces(t, card.pieces);
    }
}

TEST_F(WirelessProbe, FrequenciesAndChannels) {
    MainMenu t(box, Wide());
    struct Case {
        const char *frequency, *piece;
    };
    const Case cases[] = {
        {"5180 6", "@5.180GHz "},  {"241200000 1", "@2.412GHz "}, {"58320 5", "@5.832GHz "},
        {"24996 5", "@2.500GHz "}, {"1000 0", "@0.000GHz "},      {"2147483647 0", "@2.147GHz "},
        {"6 1", "@0.000GHz "},     {"6 9", "@6.000GHz "},         {"2437000 -3", "@0.000GHz "},
        {"-5 9", "@-5.000GHz "},   {"1 0", "Channel 1"},          {"165 0", "Channel 165"},
        {"999 0", "Channel 999"},  {"0 0", "Channel 0"},          {"-1 0", "Channel 4294967295"},
    };
    for (const Case& card : cases) {
        SCOPED_TRACE(card.frequency);
        // The access point shows where the frequency ends: after a blank or directly.
        box.Cards("wlan0 name IEEE 802.11\nwlan0 freq " + std::string(card.frequency) +
                  "\nwlan0 ap 00:11:22:33:44:55\n");
        ExpectPieces(t, std::string(card.piece) + "A/P 00:11:22:33:44:55");
    }
    // Absurd but possible values, with more digits than the row has columns.
    box.Cards("wlan0 name IEEE 802.11\nwlan0 freq 2147483647 290\n");
    LookAgain(t);
    t.WaitUntil(
        [&] {
            const std::string row = t.Row(kStatusLine);
            return row.find("       Wireless: @21474836") == 0 && row.size() == 159 &&
                   row.find_first_not_of("0123456789", 18) == std::string::npos;
        },
        "a row full of digits");
    EXPECT_EQ(t.Row(kStatusLine + 1), "");
}

TEST_F(WirelessProbe, WithoutAProtocolNameThereIsNoRow) {
    box.RfkillFiles("wlan0", "1\n", "0\n", "0\n");
    MainMenu t(box, Wide());
    box.Cards("wlan0 essid studio\nwlan0 freq 2437 6\nwlan0 ap 00:11:22:33:44:55\n");
    ExpectRows(t, {kWirelessOwnRow});
    box.Cards("wlan0 name fails\nwlan0 essid studio\n");
    ExpectRows(t, {kWirelessOwnRow});
    box.Cards("wlan0 name IEEE 802.11\nsocket inet fails\nwlan0 essid studio\n");
    ExpectRows(t, {kWirelessOwnRow});
}

TEST_F(WirelessProbe, TheRowComesAfterTheAddresses) {
    box.Sh(
        "ip link set wlan0 up; ip addr add 10.1.2.3/24 dev wlan0;"
        "ip addr add 2001:db8::5/64 dev wlan0 nodad; ip route add default via 10.1.2.1");
    box.RfkillFiles("wlan0", "1\n", "0\n", "0\n");
    box.Cards(
        "wlan0 name IEEE 802.11\nwlan0 essid studio\nwlan0 freq 2437 6\n"
        "wlan0 ap 00:11:22:33:44:55\n");
    MainMenu t(box, Wide());
    ExpectRows(t, {"1. wlan0   02:00:00:00:00:0A  Link active  Interface up",
                   "   IPv4: 10.1.2.3   netmask: 255.255.255.0  gateway: 10.1.2.1",
                   "   IPv6: 2001:db8::5/64",
                   "   Wireless: 'studio' @2.437GHz A/P 00:11:22:33:44:55 "
                   "Enabled: Yes, RF-Kill: off"});
    EXPECT_EQ(t.Style(kOwnLine + 3), "0-3 white/black; 4-158 white/black dim; 159 white/black");
}

TEST_F(WirelessProbe, LongAndHostileNetworkNames) {
    MainMenu t(box, Wide());
    const std::string longest(64, 'x');
    box.Cards("wlan0 name IEEE 802.11\nwlan0 essid " + longest + "\nwlan0 ap 00:11:22:33:44:55\n");
    ExpectPieces(t, "'" + longest + "' A/P 00:11:22:33:44:55");
    t.Mark();
    box.Cards("wlan0 name IEEE 802.11\nwlan0 essid a\\x1b[31mb\\x0a\\x07c\\x9bd\\xffe\n");
    LookAgain(t);
    t.WaitUntil(
        [&] {
            const std::string row = t.Row(kStatusLine);
            return row.find("       Wireless: 'a") == 0 && row.find("[31mb") != std::string::npos &&
                   row.substr(row.size() - 2) == "e'";
        },
        "the whole name in its row");
    for (const char* raw : {"\x1b[31mb", "\a", "\x9b", "\xff"}) {
        EXPECT_THAT(t.Output(), Not(HasSubstr(raw)));
    }
    EXPECT_EQ(t.Row(kStatusLine + 1), "");
    EXPECT_EQ(t.Row(kStatusLine + 2), "    Exit this program");
}

// ---- rfkill ----

using FileText = Machine::FileText;

TEST_F(WirelessProbe, ShowsRfkillSwitches) {
    MainMenu t(box, Wide());
    struct Case {
        FileText state, hard, soft;
        const char* piece;
    };
    const Case cases[] = {
        {"1\n", "0\n", "0\n", "Enabled: Yes, RF-Kill: off"},
        {"0\n", "0\n", "0\n", "Enabled: No, RF-Kill: off"},
        {"2\n", "1\n", "0\n", "Enabled: Yes, RF-Kill: H/W"},
        {"0\n", "0\n", "1\n", "Enabled: No, RF-Kill: S/W"},
        {"0\n", "1\n", "1\n", "Enabled: No, RF-Kill: H/W S/W"},
        {"1\n", "3\n", "2\n", "Enabled: Yes, RF-Kill: H/W S/W"},
        {"1\n", "-1\n", "-7\n", "Enabled: Yes, RF-Kill: off"},
        {"1", "1", "0", "Enabled: Yes, RF-Kill: H/W"},
        {"  1 x\n", "+1\n", "0x1\n", "Enabled: Yes, RF-Kill: H/W"},
        {"", "", "", "Enabled: No, RF-Kill: off"},
        {"no\n1\n", "\n1\n", "yes\n", "Enabled: No, RF-Kill: off"},
        {"1\n", std::nullopt, "1\n", "Enabled: Yes, RF-Kill: S/W"},
        {"1\n", "1\n", std::nullopt, "Enabled: Yes, RF-Kill: H/W"},
        {"1\n", std::nullopt, std::nullopt, "Enabled: Yes, RF-Kill: off"},
        // Without a state the part is left out, whatever the other two are.
        {std::nullopt, "1\n", "1\n", ""},
        {"-1\n", "1\n", "1\n", ""},
    };
    for (const Case& files : cases) {
        SCOPED_TRACE(std::string("state ") + files.state.value_or("(none)") + ", hard " +
                     files.hard.value_or("(none)") + ", soft " + files.soft.value_or("(none)"));
        box.RfkillFiles("wlan0", files.state, files.hard, files.soft);
        ExpectPieces(t, files.piece);
    }
    // A plain file in place of the folder is not a switch.
    const std::string folder = "/sys/class/net/wlan0/phy80211/rfkill0";
    box.Remove(folder);
    box.Write(folder, "1\n");
    ExpectPieces(t, "");
}

TEST_F(WirelessProbe, TheRfkillPartComesLast) {
    MainMenu t(box, Wide());
    box.RfkillFiles("wlan0", "1\n", "0\n", "1\n");
    box.Cards("wlan0 name IEEE 802.11\nwlan0 freq 11 0\n");
    ExpectPieces(t, "Channel 11Enabled: Yes, RF-Kill: S/W");
    box.Cards("wlan0 name IEEE 802.11\nwlan0 essid studio\nwlan0 ap 00:11:22:33:44:55\n");
    ExpectPieces(t, "'studio' A/P 00:11:22:33:44:55 Enabled: Yes, RF-Kill: S/W");
}

}  // namespace
}  // namespace harness
