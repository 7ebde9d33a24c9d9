// From the operator's keys to the kernel and back: each setting is made in the editor, applied by
// the demo appliance's own start-up script, and shown on the screens.
//
// The card is eth1, plugged into the demo's router (see appliance/router).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "interface_fixtures.h"

namespace harness::one_card {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* kFile = "/etc/network/02:00:00:00:10:21";
constexpr const char* kTitle = "Network configuration: eth1 (02:00:00:00:10:21)";
constexpr const char* kResolver = "/etc/resolv.conf";
constexpr const char* kFirstCardsServer = "nameserver 192.168.10.1\n";
constexpr const char* kAdvertised = "2001:db8:21::ff:fe00:1021";

// How long the script may take: it waits for servers.
constexpr double kScript = 30;

// Settings start as for a new card, except those given here.
class Journey : public testing::Test {
  protected:
    using Settings = std::map<std::string, std::string>;

    void Start(const Settings& settings) {
        std::string file = kPlain;
        for (const auto& [key, value] : settings)
            file = With(file, key, value);
        box.Write(kFile, file);
    }

    // Without these packages or tunnels in the kernel there is no router.
    void NeedRouter() {
        if (box.Sh("ip -d link show eth1 | grep -q vxlan && command -v dnsmasq && "
                   "command -v dhclient || true")
                .empty())
            Skip("no router behind the card on this system", Place::Here());
    }

    void OpenCard(Terminal& t) {
        t.WaitFor("2. eth1");
        t.Press("2<Enter>");
        t.WaitFor(kTitle);
        t.Settle();
    }

    // Presses a hot key until the row is selected, because several rows share a key.
    static void Select(Terminal& t, const std::string& key, const std::string& label) {
        for (int press = 0; press < 4; press++) {
            t.Press(key);
            t.Settle();
            if (t.Selected().rfind(label, 0) == 0) return;
        }
        FAIL() << "no such row: " << label;
    }

    // A row of the editor; the values are in one column.
    static std::string EditorRow(std::string label, const std::string& value) {
        label += ':';
        if (!value.empty()) label.resize(31, ' ');
        return label + value;
    }

    static void Flip(Terminal& t, const std::string& key, const std::string& label,
                     const std::string& value) {
        Select(t, key, label + ":");
        t.Press("<Space>");
        t.WaitFor(EditorRow(label, value));
    }

    static void Enter(Terminal& t, const std::string& key, const std::string& label,
                      const std::string& text) {
        Select(t, key, label + ":");
        const size_t old_length = t.Selected().size() - label.size();
        t.Press("<Enter>");
        t.WaitFor("[ESC to cancel]");
        TypeInstead(t, old_length, text);
        t.Press("<Enter>");
        t.WaitForGone("[ESC to cancel]");
    }

    static void Update(Terminal& t) {
        Select(t, "u", "Update interface from config");
        t.Press("<Enter>");
        t.WaitFor(kQuestion);
        t.Press("y");
        t.WaitFor(kTitle, kScript);
        t.Settle();
    }

    static void SaveAndUpdate(Terminal& t) {
        BackToInterface(t, "s<Enter>");
        Update(t);
    }

    // Flips one setting, starting and ending on the interface screen.
    static void FlipAndUpdate(Terminal& t, const std::string& key, const std::string& label,
                              const std::string& value) {
        OpenEditor(t);
        Flip(t, key, label, value);
        SaveAndUpdate(t);
    }

    static void EnterAndUpdate(Terminal& t, const std::string& key, const std::string& label,
                               const std::string& text) {
        OpenEditor(t);
        Enter(t, key, label, text);
        t.WaitFor(EditorRow(label, text));
        SaveAndUpdate(t);
    }

    std::string Addresses(const std::string& family) {
        return box.Sh("ip -j " + family + " addr show dev eth1 scope global");
    }
    std::string Gateways(const std::string& family = "-4") {
        return box.Sh("ip " + family + " route show default dev eth1");
    }
    std::string Setting(const std::string& name) { return box.Sh("cat /proc/sys/net/" + name); }

    Machine box{Kind::kDemo};
};

TEST_F(Journey, AStaticAddressGoesFromTheKeysToTheKernelAndBack) {
    box.Remove(kFile);
    box.Write(kTemplate, kPlain);
    Terminal t(box);
    OpenCard(t);
    EXPECT_FALSE(t.Shows("IPv4:"));
    OpenEditor(t);
    EXPECT_EQ(box.Read(kFile), kPlain) << "expected the template";
    Flip(t, "d", "Use DHCP", "no");
    Enter(t, "i", "Static IP address", "192.168.21.5");
    Enter(t, "g", "Static IP gateway", "192.168.21.1");
    EXPECT_THAT(Addresses("-4"), Not(HasSubstr("192.168.21.5")));
    t.Mark();
    SaveAndUpdate(t);

    std::string expected = With(kPlain, "dhcp", "0");
    expected = With(expected, "static ip", "192.168.21.5");
    expected = With(expected, "gateway", "192.168.21.1");
    EXPECT_EQ(box.Read(kFile), expected);
    const std::string output = t.Output();
    const size_t stopping = output.find("Stopping interface...\r\n");
    const size_t starting = output.find("Starting interface...\r\n");
    EXPECT_NE(stopping, std::string::npos);
    EXPECT_NE(starting, std::string::npos);
    EXPECT_LT(stopping, starting);
    EXPECT_THAT(Addresses("-4"), HasSubstr(R"("local":"192.168.21.5","prefixlen":24)"));
    EXPECT_THAT(Gateways(), HasSubstr("via 192.168.21.1 "));
    EXPECT_THAT(t.Row(kTop), HasSubstr("Interface up"));
    EXPECT_EQ(t.Row(kTop + 1),
              "       IPv4: 192.168.21.5   netmask: 255.255.255.0  gateway: 192.168.21.1");

    t.Press("m<Enter>");
    t.WaitFor("IPv4: 192.168.21.5   netmask: 255.255.255.0  gateway: 192.168.21.1");
    // The first card has a gateway as well.
    t.Press("<End>");
    t.WaitFor("WARNING: Multiple gateways active");
}

TEST_F(Journey, ANewAddressNetmaskAndGatewayReplaceTheOldOnes) {
    Start({{"dhcp", "0"}, {"static ip", "192.168.21.5"}, {"gateway", "192.168.21.1"}});
    Terminal t(box);
    OpenCard(t);
    Update(t);
    OpenEditor(t);
    Enter(t, "n", "Static IP address netmask", "255.255.0.0");
    Enter(t, "g", "Static IP gateway", "192.168.99.1");
    SaveAndUpdate(t);
    EXPECT_THAT(Addresses("-4"), HasSubstr(R"("local":"192.168.21.5","prefixlen":16)"));
    EXPECT_THAT(Gateways(), HasSubstr("via 192.168.99.1 "));
    EXPECT_THAT(Gateways(), Not(HasSubstr("192.168.21.1")));
    EXPECT_EQ(t.Row(kTop + 1),
              "       IPv4: 192.168.21.5   netmask: 255.255.0.0  gateway: 192.168.99.1");

    OpenEditor(t);
    Enter(t, "i", "Static IP address", "10.21.0.7");
    Enter(t, "g", "Static IP gateway", "");
    SaveAndUpdate(t);
    EXPECT_THAT(Addresses("-4"), HasSubstr(R"("local":"10.21.0.7")"));
    EXPECT_THAT(Addresses("-4"), Not(HasSubstr("192.168.21.5")));
    EXPECT_EQ(Gateways(), "");
    EXPECT_EQ(t.Row(kTop + 1), "       IPv4: 10.21.0.7   netmask: 255.255.0.0");
}

TEST_F(Journey, AStaticIPv6AddressComesInAdditionToTheAdvertisedOne) {
    Start({{"dhcp", "0"}});
    Terminal t(box);
    OpenCard(t);
    EnterAndUpdate(t, "i", "Static IPv6 address", "2001:db8:21::5/64");
    EXPECT_THAT(Addresses("-6"), HasSubstr(R"("local":"2001:db8:21::5","prefixlen":64)"));
    t.WaitFor("IPv6: 2001:db8:21::5/64");
}

TEST_F(Journey, WithoutIPv6ThereAreNoIPv6Addresses) {
    Start({{"dhcp", "0"},
           {"dhcp6", "1"},
           {"static ip", "192.168.21.5"},
           {"static ip6", "2001:db8:21::5/64"}});
    Terminal t(box);
    OpenCard(t);
    Update(t);
    t.WaitFor("IPv6: 2001:db8:21:");
    FlipAndUpdate(t, "6", "Enable IPv6", "no");
    EXPECT_EQ(Setting("ipv6/conf/eth1/disable_ipv6"), "1\n");
    EXPECT_EQ(box.Sh("ip -6 addr show dev eth1"), "");
    EXPECT_FALSE(t.Shows("IPv6:"));
    EXPECT_TRUE(t.Shows("IPv4: 192.168.21.5"));

    FlipAndUpdate(t, "6", "Enable IPv6", "yes");
    EXPECT_EQ(Setting("ipv6/conf/eth1/disable_ipv6"), "0\n");
    EXPECT_THAT(Addresses("-6"), HasSubstr(R"("local":"2001:db8:21::5")"));
    t.WaitFor("IPv6: 2001:db8:21:");
}

TEST_F(Journey, RouterAdvertisementsGiveAnAddressAndARoute) {
    NeedRouter();
    Start({{"dhcp", "0"}, {"ipv6_router_adv", "0"}});
    Terminal t(box);
    OpenCard(t);
    Update(t);
    EXPECT_EQ(Setting("ipv6/conf/eth1/accept_ra"), "0\n");

    FlipAndUpdate(t, "o", "IPv6 router advertisements", "yes");
    EXPECT_EQ(Setting("ipv6/conf/eth1/accept_ra"), "1\n");
    box.WaitUntil([&] { return Addresses("-6").find(kAdvertised) != std::string::npos; },
                  "an advertised address");
    EXPECT_THAT(Gateways("-6"), HasSubstr("via fe80::ff:fe00:3021 "));
    t.Press("m<Enter>");
    OpenCard(t);
    EXPECT_TRUE(t.Shows(std::string("IPv6: ") + kAdvertised + "/64"));

    FlipAndUpdate(t, "o", "IPv6 router advertisements", "no");
    EXPECT_THAT(Addresses("-6"), Not(HasSubstr(kAdvertised)));
    EXPECT_EQ(Gateways("-6"), "");
    EXPECT_FALSE(t.Shows("IPv6:"));
}

TEST_F(Journey, DhcpGivesAnAddressUntilItIsSwitchedOff) {
    NeedRouter();
    Start({{"dhcp", "0"}, {"static ip", "192.168.21.5"}});
    Terminal t(box);
    OpenCard(t);
    Update(t);
    EXPECT_TRUE(t.Shows("IPv4: 192.168.21.5   netmask: 255.255.255.0"));

    FlipAndUpdate(t, "d", "Use DHCP", "yes");
    EXPECT_THAT(Addresses("-4"), HasSubstr(R"("local":"192.168.21.21","prefixlen":24)"));
    EXPECT_THAT(Addresses("-4"), Not(HasSubstr("192.168.21.5\"")));
    EXPECT_EQ(t.Row(kTop + 1),
              "       IPv4: 192.168.21.21   netmask: 255.255.255.0  gateway: 192.168.21.1");
    EXPECT_EQ(box.Read(kResolver), std::string(kFirstCardsServer) + "nameserver 192.168.21.1\n");
    EXPECT_THAT(box.Read("/run/router/leases"), HasSubstr(" 192.168.21.21 "));

    FlipAndUpdate(t, "d", "Use DHCP", "no");
    EXPECT_THAT(Addresses("-4"), Not(HasSubstr("192.168.21.21")));
    EXPECT_EQ(t.Row(kTop + 1), "       IPv4: 192.168.21.5   netmask: 255.255.255.0");
    EXPECT_EQ(box.Read(kResolver), kFirstCardsServer);
    box.WaitUntil(
        [&] { return box.Read("/run/router/leases").find("192.168.21.21") == std::string::npos; },
        "the lease given back");
}

TEST_F(Journey, TheDhcpGatewayIsOptional) {
    NeedRouter();
    Start({});
    Terminal t(box);
    OpenCard(t);
    FlipAndUpdate(t, "h", "Use DHCP gateway address", "no");
    EXPECT_EQ(t.Row(kTop + 1), "       IPv4: 192.168.21.21   netmask: 255.255.255.0");
    EXPECT_EQ(Gateways(), "");

    FlipAndUpdate(t, "h", "Use DHCP gateway address", "yes");
    EXPECT_EQ(t.Row(kTop + 1),
              "       IPv4: 192.168.21.21   netmask: 255.255.255.0  gateway: 192.168.21.1");
    EXPECT_THAT(Gateways(), HasSubstr("via 192.168.21.1 "));
}

TEST_F(Journey, DhcpV6GivesAnAddressUntilItIsSwitchedOff) {
    NeedRouter();
    Start({{"dhcp", "0"}, {"ipv6_router_adv", "0"}});
    Terminal t(box);
    OpenCard(t);
    FlipAndUpdate(t, "6", "Use DHCPv6 (for IPv6)", "yes");
    EXPECT_THAT(Addresses("-6"), HasSubstr(R"("local":"2001:db8:21::21","prefixlen":128)"));
    EXPECT_TRUE(t.Shows("IPv6: 2001:db8:21::21/128"));
    EXPECT_EQ(box.Read(kResolver), std::string(kFirstCardsServer) + "nameserver 2001:db8:21::1\n");

    FlipAndUpdate(t, "6", "Use DHCPv6 (for IPv6)", "no");
    EXPECT_THAT(Addresses("-6"), Not(HasSubstr("local")));
    EXPECT_FALSE(t.Shows("IPv6:"));
    EXPECT_EQ(box.Read(kResolver), kFirstCardsServer);
}

TEST_F(Journey, NameServersReachTheResolver) {
    NeedRouter();
    Start({{"dhcp", "0"}, {"static ip", "192.168.21.5"}});
    Terminal t(box);
    OpenCard(t);
    OpenEditor(t);
    Enter(t, "d", "Static IP DNS server(s)", "192.168.21.1,2001:db8:21::1");
    t.WaitFor(EditorRow("Static IP DNS server(s)", "192.168.21.1 2001:db8:21::1"));
    SaveAndUpdate(t);
    EXPECT_EQ(box.Read(kResolver), std::string(kFirstCardsServer) +
                                       "nameserver 192.168.21.1\nnameserver 2001:db8:21::1\n");
    box.Sh("/etc/init.d/network stop eth0");
    EXPECT_THAT(box.Sh("getent ahostsv4 router.example"), HasSubstr("192.168.10.1"));

    t.Press("m<Enter>");
    t.WaitFor("2. eth1");
    Select(t, "i", "Diagnostics");
    t.Press("<Enter>");
    t.WaitFor("Show resolv.conf");
    t.Press("r<Enter>");
    t.WaitFor("nameserver 2001:db8:21::1");
    EXPECT_TRUE(t.Shows("nameserver 192.168.21.1"));
    EXPECT_FALSE(t.Shows("nameserver 192.168.10.1"));
}

TEST_F(Journey, ConfiguredNameServersOverrideThoseFromDhcp) {
    NeedRouter();
    Start({{"dhcp6", "1"}});
    Terminal t(box);
    OpenCard(t);
    Update(t);
    EXPECT_EQ(box.Read(kResolver), std::string(kFirstCardsServer) +
                                       "nameserver 192.168.21.1\nnameserver 2001:db8:21::1\n");
    EnterAndUpdate(t, "d", "Static IP DNS server(s)", "192.0.2.53");
    EXPECT_EQ(box.Read(kResolver), std::string(kFirstCardsServer) + "nameserver 192.0.2.53\n");
}

TEST_F(Journey, APublicInterfaceTranslatesAddressesAndALanDoesNot) {
    NeedRouter();
    if (!box.Sh("nft list tables >/dev/null 2>&1 || echo no").empty())
        GTEST_SKIP() << "no nft on this system";
    // The router has no route back to br0's network: it answers only translated addresses.
    constexpr const char* kAskFromBridge =
        "ping -n -q -c 1 -W 0.3 -I 192.168.30.1 192.168.21.1 >/dev/null 2>&1 && echo answer || "
        "true";
    Start({{"dhcp", "0"}, {"static ip", "192.168.21.5"}});
    Terminal t(box);
    OpenCard(t);
    OpenEditor(t);
    Flip(t, "n", "NAT enable", "yes");
    SaveAndUpdate(t);
    EXPECT_EQ(box.Sh("nft list tables"), "") << "there must be no tables without a role";
    EXPECT_EQ(box.Sh(kAskFromBridge), "");

    FlipAndUpdate(t, "r", "NAT role", "public");
    EXPECT_EQ(box.Sh(kAskFromBridge), "answer\n");
    EXPECT_THAT(box.Sh("nft list set ip tavrin_nat public"), HasSubstr(R"("eth1")"));
    EXPECT_EQ(Setting("ipv4/ip_forward"), "1\n");
    EXPECT_TRUE(t.Shows("IPv4: 192.168.21.5"));

    FlipAndUpdate(t, "r", "NAT role", "lan");
    EXPECT_EQ(box.Sh(kAskFromBridge), "");
    EXPECT_THAT(box.Sh("nft list set ip tavrin_nat lan"), HasSubstr(R"("eth1")"));
    EXPECT_THAT(box.Sh("nft list set ip tavrin_nat public"), Not(HasSubstr(R"("eth1")")));
    EXPECT_EQ(Setting("ipv4/ip_forward"), "1\n");

    FlipAndUpdate(t, "n", "NAT enable", "no");
    EXPECT_EQ(box.Sh("nft list tables"), "");
    EXPECT_EQ(Setting("ipv4/ip_forward"), "0\n");
}

TEST_F(Journey, AnUnmanagedInterfaceIsLeftAlone) {
    Start({{"dhcp", "0"}, {"static ip", "192.168.21.5"}});
    Terminal t(box);
    OpenCard(t);
    Update(t);
    OpenEditor(t);
    Flip(t, "m", "Manage this interface", "no");
    Enter(t, "i", "Static IP address", "192.168.21.6");
    SaveAndUpdate(t);
    EXPECT_THAT(Addresses("-4"), HasSubstr("192.168.21.5"));
    EXPECT_TRUE(t.Shows("IPv4: 192.168.21.5"));

    FlipAndUpdate(t, "m", "Manage this interface", "yes");
    EXPECT_THAT(Addresses("-4"), Not(HasSubstr("192.168.21.5")));
    EXPECT_TRUE(t.Shows("IPv4: 192.168.21.6"));
}

TEST_F(Journey, ADisabledInterfaceStaysDown) {
    Start({{"dhcp", "0"}, {"static ip", "192.168.21.5"}});
    Terminal t(box);
    OpenCard(t);
    Update(t);
    EXPECT_TRUE(t.Shows("Link active  Interface up"));
    FlipAndUpdate(t, "d", "Leave interface disabled", "yes");
    EXPECT_FALSE(t.Shows("IPv4:"));
    EXPECT_EQ(t.Row(kTop), "    Disconnected");
    EXPECT_THAT(box.Sh("ip -j link show dev eth1"), Not(HasSubstr(R"("UP")")));

    FlipAndUpdate(t, "d", "Leave interface disabled", "no");
    EXPECT_THAT(box.Sh("ip -j link show dev eth1"), HasSubstr(R"("UP")"));
    EXPECT_TRUE(t.Shows("IPv4: 192.168.21.5"));
}

}  // namespace
}  // namespace harness::one_card
