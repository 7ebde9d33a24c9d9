// Understanding an interface's state and wording it.
#include "net/interface_status.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <climits>

#include "util/utility_fixtures.h"

namespace {

using Rows = std::vector<std::string>;

in_addr Address(const char* dotted) {
    in_addr address = {};
    inet_aton(dotted, &address);
    return address;
}

constexpr HardwareAddress kAccessPoint = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};

// ---- rows ----

TEST(FormatInterfaceStatus, LinkAndUpHaveNoRowHere) {
    InterfaceStatus status;
    EXPECT_EQ(FormatInterfaceStatus(status), Rows{});
    status.link = "Link active";
    status.up = "Interface up";
    EXPECT_EQ(FormatInterfaceStatus(status), Rows{});
}

TEST(FormatInterfaceStatus, IPv4RowHasAddressAndNetmask) {
    InterfaceStatus status;
    status.has_ipv4 = true;
    status.ipv4 = Address("192.168.0.17");
    status.netmask = Address("255.255.255.0");
    EXPECT_EQ(FormatInterfaceStatus(status),
              Rows{"   IPv4: 192.168.0.17   netmask: 255.255.255.0"});
    status.gateway = Address("192.168.0.1");
    EXPECT_EQ(FormatInterfaceStatus(status),
              Rows{"   IPv4: 192.168.0.17   netmask: 255.255.255.0  gateway: 192.168.0.1"});
}

TEST(FormatInterfaceStatus, OnlyAnAddressGivesAnIPv4Row) {
    InterfaceStatus status;
    status.ipv4 = Address("192.168.0.17");
    status.gateway = Address("192.168.0.1");
    EXPECT_EQ(FormatInterfaceStatus(status), Rows{});
    status = {};
    status.has_ipv4 = true;
    EXPECT_EQ(FormatInterfaceStatus(status), Rows{"   IPv4: 0.0.0.0   netmask: 0.0.0.0"});
}

InterfaceStatus StudioCard() {
    InterfaceStatus status;
    status.is_wireless = true;
    status.essid = "studio";
    status.frequency_mantissa = 2437;
    status.frequency_exponent = 6;
    status.access_point = kAccessPoint;
    status.has_rfkill = true;
    status.rfkill_state = 1;
    status.rfkill_hard = 0;
    status.rfkill_soft = 0;
    return status;
}

TEST(FormatInterfaceStatus, RowsComeInOrderAndShowEverything) {
    InterfaceStatus status = StudioCard();
    status.has_ipv4 = true;
    status.ipv6 = "2001:db8::5/64";
    EXPECT_EQ(FormatInterfaceStatus(status),
              (Rows{"   IPv4: 0.0.0.0   netmask: 0.0.0.0", "   IPv6: 2001:db8::5/64",
                    "   Wireless: 'studio' @2.437GHz A/P 00:11:22:33:44:55 "
                    "Enabled: Yes, RF-Kill: off  "}));
}

TEST(FormatInterfaceStatus, OnlyAWirelessInterfaceHasAWirelessRow) {
    InterfaceStatus status = StudioCard();
    status.is_wireless = false;
    EXPECT_EQ(FormatInterfaceStatus(status), Rows{});
}

std::string Wireless(const InterfaceStatus& status) {
    const Rows rows = FormatInterfaceStatus(status);
    return rows.size() == 1 ? rows[0] : std::to_string(rows.size()) + " rows";
}

InterfaceStatus SilentCard() {
    InterfaceStatus status;
    status.is_wireless = true;
    return status;
}

TEST(FormatInterfaceStatus, EachWirelessPartIsOptional) {
    InterfaceStatus status = SilentCard();
    EXPECT_EQ(Wireless(status), "   Wireless: ");
    status.essid = "a b";
    EXPECT_EQ(Wireless(status), "   Wireless: 'a b' ");
    status.essid = "";
    EXPECT_EQ(Wireless(status), "   Wireless: '' ");
    status = SilentCard();
    status.access_point = HardwareAddress{0xab, 0xcd, 0xef, 0, 0x0f, 0xf0};
    EXPECT_EQ(Wireless(status), "   Wireless: A/P AB:CD:EF:00:0F:F0 ");
    status.access_point = HardwareAddress{};
    EXPECT_EQ(Wireless(status), "   Wireless: A/P 00:00:00:00:00:00 ");
}

TEST(FormatInterfaceStatus, AFrequencyIsShownInGigahertzOrAsAChannel) {
    struct {
        std::int32_t mantissa;
        std::int16_t exponent;
        const char* piece;
    } const kCases[] = {
        {2437, 6, "@2.437GHz "},
        {243700000, 1, "@2.437GHz "},
        {1000, 0, "@0.000GHz "},  // hertz, above the channel numbers
        {2147483647, 0, "@2.147GHz "},
        {5, 9, "@5.000GHz "},  // with an exponent, a small number is not a channel
        {6, 1, "@0.000GHz "},
        {0, 6, "@0.000GHz "},
        {5180, 6, "@5.180GHz "},
        {59400, 6, "@59.400GHz "},
        {24375, 5, "@2.438GHz "},
        {24370, -1, "@0.000GHz "},
        {-2437, 6, "@-2.437GHz "},
        // A small number without an exponent is a channel.
        {0, 0, "Channel 0"},
        {6, 0, "Channel 6"},
        {999, 0, "Channel 999"},
        {-1, 0, "Channel 4294967295"},
    };
    for (const auto& row : kCases) {
        InterfaceStatus status = SilentCard();
        status.frequency_mantissa = row.mantissa;
        status.frequency_exponent = row.exponent;
        EXPECT_EQ(Wireless(status), std::string("   Wireless: ") + row.piece)
            << row.mantissa << " e " << row.exponent;
    }
}

TEST(FormatInterfaceStatus, NoBlankFollowsAChannel) {
    InterfaceStatus status = SilentCard();
    status.essid = "studio";
    status.frequency_mantissa = 6;
    status.frequency_exponent = std::int16_t{0};
    status.access_point = kAccessPoint;
    EXPECT_EQ(Wireless(status), "   Wireless: 'studio' Channel 6A/P 00:11:22:33:44:55 ");
}

TEST(FormatInterfaceStatus, AnImpossibleFrequencyFits) {
    for (std::int16_t exponent :
         {std::int16_t{SHRT_MAX}, std::int16_t{298}, std::int16_t{SHRT_MIN}}) {
        InterfaceStatus status = SilentCard();
        status.frequency_mantissa = INT_MIN;
        status.frequency_exponent = exponent;
        const std::string row = Wireless(status);
        EXPECT_EQ(row.substr(0, 15), "   Wireless: @-") << exponent;
        EXPECT_EQ(row.substr(row.size() - 4), "GHz ") << exponent;
    }
}

TEST(FormatInterfaceStatus, RfkillShowsWhatBlocks) {
    struct {
        int state, hard, soft;
        const char* piece;
    } const kCases[] = {
        {1, 0, 0, "Enabled: Yes, RF-Kill: off  "},
        {0, 0, 0, "Enabled: No, RF-Kill: off  "},
        {0, 1, 0, "Enabled: No, RF-Kill: H/W  "},
        {0, 0, 1, "Enabled: No, RF-Kill: S/W  "},
        {0, 1, 1, "Enabled: No, RF-Kill: H/W S/W  "},
        {2, 1, 0, "Enabled: Yes, RF-Kill: H/W  "},
        {1, 7, 9, "Enabled: Yes, RF-Kill: H/W S/W  "},
        // Unreadable files.
        {1, -1, -1, "Enabled: Yes, RF-Kill: off  "},
        {1, -1, 1, "Enabled: Yes, RF-Kill: S/W  "},
        {1, 1, -1, "Enabled: Yes, RF-Kill: H/W  "},
        {-1, 1, 1, ""},
        {-1, 0, 0, ""},
        {-5, 0, 0, ""},
    };
    for (const auto& row : kCases) {
        InterfaceStatus status = SilentCard();
        status.has_rfkill = true;
        status.rfkill_state = row.state;
        status.rfkill_hard = row.hard;
        status.rfkill_soft = row.soft;
        EXPECT_EQ(Wireless(status), std::string("   Wireless: ") + row.piece)
            << row.state << row.hard << row.soft;
    }
}

TEST(FormatInterfaceStatus, WithoutAnRfkillFolderThePartIsLeftOut) {
    InterfaceStatus status = SilentCard();
    status.rfkill_state = status.rfkill_hard = status.rfkill_soft = 1;
    EXPECT_EQ(Wireless(status), "   Wireless: ");
}

TEST(FormatHardwareAddress, HasSixGroupsInUpperCase) {
    EXPECT_EQ(FormatHardwareAddress({0x00, 0x1a, 0x2b, 0x3c, 0x4d, 0x5e}), "00:1A:2B:3C:4D:5E");
    EXPECT_EQ(FormatHardwareAddress({0xff, 0xff, 0xff, 0xff, 0xff, 0xff}), "FF:FF:FF:FF:FF:FF");
    EXPECT_EQ(FormatHardwareAddress({}), "00:00:00:00:00:00");
}

// ---- the output of `ip addr` ----

TEST(LastGlobalIPv6, IsTheLastAddressListed) {
    EXPECT_EQ(
        LastGlobalIPv6("2: eth0: <BROADCAST,MULTICAST,UP,LOWER_UP> mtu 1500 qdisc pfifo_fast\n"
                       "    link/ether 02:00:00:00:10:20 brd ff:ff:ff:ff:ff:ff\n"
                       "    inet 192.0.2.2/24 brd 192.0.2.255 scope global eth0\n"
                       "       valid_lft forever preferred_lft forever\n"
                       "    inet6 2001:db8::1/64 scope global dynamic mngtmpaddr \n"
                       "       valid_lft 86385sec preferred_lft 14385sec\n"
                       "    inet6 2001:db8::5/64 scope global \n"
                       "       valid_lft forever preferred_lft forever\n"),
        "2001:db8::5/64");
}

TEST(LastGlobalIPv6, RecognisesInet6Lines) {
    struct {
        const char* text;
        const char* address;
    } const kCases[] = {
        {"", ""},
        {"\n", ""},
        {"    inet 192.0.2.2/24 scope global eth0\n", ""},
        {"inet6 2001:db8::5/64 scope global\n", "2001:db8::5/64"},
        {"      INET6 2001:db8::5/64 scope global\n", "2001:db8::5/64"},
        {"    inet6     2001:db8::5/64 scope global\n", "2001:db8::5/64"},
        {"    inet6 2001:db8::5/64\n", "2001:db8::5/64"},
        {"    inet6 2001:db8::5/64", "2001:db8::5/64"},
        {"    inet6 2001:db8::1 peer 2001:db8::2/64 scope global\n", "2001:db8::1"},
        {"    inet6\t2001:db8::5/64 scope global\n", ""},  // a blank ends the word
        {"    inet66 2001:db8::5/64 scope global\n", ""},
        {"\tinet6 2001:db8::5/64 scope global\n", ""},  // only blanks are skipped
        {"    x inet6 2001:db8::5/64 scope global\n", ""},
        {"inet6 a scope\ninet6 b scope\ninet 192.0.2.2/24\n", "b"},
    };
    for (const auto& row : kCases)
        EXPECT_EQ(LastGlobalIPv6(row.text), row.address) << row.text;
}

TEST(LastGlobalIPv6, ReadsLinesInPiecesOf255Bytes) {
    const std::string long_line = "    inet6 " + std::string(300, 'a');
    EXPECT_EQ(LastGlobalIPv6(long_line + " scope global\n"), std::string(245, 'a'));
    const std::string padding = "    link/ether " + std::string(255 - 15, 'x');
    EXPECT_EQ(LastGlobalIPv6(padding + "inet6 2001:db8::5/64 scope global\n"), "2001:db8::5/64");
    EXPECT_EQ(LastGlobalIPv6(padding + "x" + "inet6 2001:db8::5/64 scope global\n"), "");
}

// ---- from facts to the record ----

InterfaceFacts SocketFacts() {
    InterfaceFacts facts;
    facts.packet_socket = true;
    facts.inet_socket = true;
    return facts;
}

TEST(UnderstandInterface, TheLinkTextIsEmptyUntilKnownAndThenKept) {
    InterfaceStatus status;
    InterfaceFacts facts = SocketFacts();
    const std::pair<std::optional<bool>, const char*> kAnswers[] = {{std::nullopt, ""},
                                                                    {true, "Link active"},
                                                                    {std::nullopt, "Link active"},
                                                                    {false, "Disconnected"}};
    for (const auto& [link, text] : kAnswers) {
        facts.link = link;
        UnderstandInterface(facts, 0, status);
        EXPECT_EQ(status.link, text);
    }
}

TEST(UnderstandInterface, TheUpTextIsEmptyWhenDownOrUnknown) {
    InterfaceStatus status;
    InterfaceFacts facts = SocketFacts();
    const std::pair<std::optional<bool>, const char*> kAnswers[] = {
        {true, "Interface up"}, {false, ""}, {true, "Interface up"}, {std::nullopt, ""}};
    for (const auto& [up, text] : kAnswers) {
        facts.up = up;
        UnderstandInterface(facts, 0, status);
        EXPECT_EQ(status.up, text);
    }
}

TEST(UnderstandInterface, WithoutAPacketSocketLinkAndUpStay) {
    InterfaceStatus status;
    status.link = "Link active";
    status.up = "Interface up";
    InterfaceFacts facts = SocketFacts();
    facts.packet_socket = false;
    UnderstandInterface(facts, 0, status);
    EXPECT_EQ(status.link, "Link active");
    EXPECT_EQ(status.up, "Interface up");
}

TEST(UnderstandInterface, TakesAddressNetmaskAndGateway) {
    InterfaceStatus status;
    InterfaceFacts facts = SocketFacts();
    facts.address_family = 7;  // any but 0 is an address
    facts.ipv4 = Address("192.0.2.2");
    facts.netmask = Address("255.255.255.0");
    UnderstandInterface(facts, Address("192.0.2.1").s_addr, status);
    EXPECT_EQ(FormatInterfaceStatus(status),
              Rows{"   IPv4: 192.0.2.2   netmask: 255.255.255.0  gateway: 192.0.2.1"});
    facts.address_family = 0;
    UnderstandInterface(facts, Address("192.0.2.9").s_addr, status);
    EXPECT_EQ(FormatInterfaceStatus(status), Rows{});
    EXPECT_EQ(status.gateway.s_addr, Address("192.0.2.9").s_addr);
    // Nothing is left of them.
    UnderstandInterface(SocketFacts(), 0, status);
    EXPECT_EQ(status.ipv4.s_addr, 0U);
    EXPECT_EQ(status.netmask.s_addr, 0U);
    EXPECT_EQ(status.gateway.s_addr, 0U);
}

TEST(UnderstandInterface, IPv6IsTheLastAddressListedAndStaysWithoutTheCommand) {
    InterfaceStatus status;
    InterfaceFacts facts = SocketFacts();
    facts.addresses_asked = true;
    facts.global_addresses =
        "    inet6 2001:db8::1/64 scope global\n"
        "    inet6 2001:db8::5/64 scope global\n";
    UnderstandInterface(facts, 0, status);
    EXPECT_EQ(status.ipv6, "2001:db8::5/64");
    UnderstandInterface(SocketFacts(), 0, status);
    EXPECT_EQ(status.ipv6, "2001:db8::5/64");
    facts.global_addresses.clear();
    UnderstandInterface(facts, 0, status);
    EXPECT_EQ(status.ipv6, "");
}

InterfaceFacts StudioFacts() {
    InterfaceFacts facts = SocketFacts();
    facts.is_wireless = true;
    facts.essid = "studio";
    facts.frequency_mantissa = 2437;
    facts.frequency_exponent = std::int16_t{6};
    facts.access_point = kAccessPoint;
    facts.has_rfkill = true;
    facts.rfkill_state = 2;
    facts.rfkill_hard = 1;
    facts.rfkill_soft = 0;
    return facts;
}

TEST(UnderstandInterface, TakesAllWirelessFacts) {
    InterfaceStatus status;
    UnderstandInterface(StudioFacts(), 0, status);
    EXPECT_EQ(Wireless(status),
              "   Wireless: 'studio' @2.437GHz A/P 00:11:22:33:44:55 "
              "Enabled: Yes, RF-Kill: H/W  ");
}

TEST(UnderstandInterface, AFailedWirelessQueryLeavesItsPartOut) {
    InterfaceStatus status;
    UnderstandInterface(StudioFacts(), 0, status);
    InterfaceFacts facts = SocketFacts();
    facts.is_wireless = true;
    UnderstandInterface(facts, 0, status);
    EXPECT_EQ(Wireless(status), "   Wireless: ");
    facts.is_wireless = false;
    UnderstandInterface(facts, 0, status);
    EXPECT_EQ(FormatInterfaceStatus(status), Rows{});
}

}  // namespace
