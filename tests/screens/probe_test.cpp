// The rows of an interface: what the kernel and the simulated cards answer, or fail to answer,
// becomes the status. The wording of each part is tested with the functions that format it.
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
    box.RfkillFiles("eth0", "1\n", "0\n", "0\n");  // alone it does not make a card wireless
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
        {"wlan0 essid two words's\n", "'two words's'"},
        {"wlan0 essid B\\xc3\\xbchne \\xe7\\xae\\xb1\n", "'Bühne 箱'"},
        {"wlan0 ap fe:dc:ba:98:76:54\n", "A/P FE:DC:BA:98:76:54"},
        {"wlan0 freq 2437 6\n", "@2.437GHz"},
        {"wlan0 freq 24996 5\n", "@2.500GHz"},
        {"wlan0 freq 165 0\n", "Channel 165"},
        {"wlan0 freq -1 0\n", "Channel 4294967295"},
        {"wlan0 essid studio\nwlan0 ap 00:11:22:33:44:55\n", "'studio' A/P 00:11:22:33:44:55"},
        {"wlan0 essid fails\nwlan0 freq fails\nwlan0 ap fails\n", ""},
    };
    for (const Case& card : cases) {
        SCOPED_TRACE(card.cards);
        box.Cards(std::string("wlan0 name IEEE 802.11\n") + card.cards);
        ExpectPieces(t, card.pieces);
    }
}

TEST_F(WirelessProbe, WithoutAProtocolNameThereIsNoRow) {
    box.RfkillFiles("wlan0", "1\n", "0\n", "0\n");
    MainMenu t(box, Wide());
    for (const char* cards : {"wlan0 essid studio\nwlan0 freq 2437 6\nwlan0 ap 00:11:22:33:44:55\n",
                              "wlan0 name fails\nwlan0 essid studio\n",
                              "wlan0 name IEEE 802.11\nsocket inet fails\nwlan0 essid studio\n"}) {
        box.Cards(cards);
        ExpectRows(t, {kWirelessOwnRow});
    }
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
        {"0\n", "1\n", "0\n", "Enabled: No, RF-Kill: H/W"},
        {"0\n", "0\n", "1\n", "Enabled: No, RF-Kill: S/W"},
        {"2", "1", "7", "Enabled: Yes, RF-Kill: H/W S/W"},
        {"1\n", "-1\n", "-7\n", "Enabled: Yes, RF-Kill: off"},
        {"", "", "", "Enabled: No, RF-Kill: off"},
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

}  // namespace
}  // namespace harness
