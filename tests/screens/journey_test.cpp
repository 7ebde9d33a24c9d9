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
    // Opens the card's screen, with these settings in the file.
    void Start(const std::map<std::string, std::string>& settings) {
        std::string file = kPlain;
        for (const auto& [key, value] : settings)
            file = With(file, key, value);
        box.Write(kFile, file);
        OpenCard();
    }

    // Without these packages or tunnels in the kernel there is no router.
    void NeedRouter() {
        if (box.Sh("ip -d link show eth1 | grep -q vxlan && command -v dnsmasq && "
                   "command -v dhclient || true")
                .empty())
            Skip("no router behind the card on this system", Place::current());
    }

    void OpenCard() {
        t.WaitFor("2. eth1");
        t.Go("2<Enter>", kTitle);
    }

    void Update() {
        t.Go("<Home>uu<Enter>", kQuestion);
        t.Press("y");
        t.WaitFor(kTitle, kScript);
        t.Settle();
    }

    void SaveAndUpdate() {
        BackToInterface(t, "s<Enter>");
        Update();
    }

    // Turns one setting, starting and ending on the interface screen.
    void TurnAndUpdate(const std::string& label, const std::string& value) {
        OpenEditor(t);
        Turn(t, label, value);
        SaveAndUpdate();
    }

    void TypeAndUpdate(const std::string& label, const std::string& text) {
        OpenEditor(t);
        TypeValue(t, label, text);
        SaveAndUpdate();
    }

    std::string Addresses(const std::string& family) {
        return box.Sh("ip -j " + family + " addr show dev eth1 scope global");
    }
    std::string Gateways(const std::string& family = "-4") {
        return box.Sh("ip " + family + " route show default dev eth1");
    }
    std::string Setting(const std::string& name) { return box.Sh("cat /proc/sys/net/" + name); }

    Machine box{Kind::kDemo};
    Terminal t{box};
};

TEST_F(Journey, AStaticAddressGoesFromTheKeysToTheKernelAndBack) {
    box.Remove(kFile);
    box.Write(kTemplate, kPlain);
    OpenCard();
    EXPECT_FALSE(t.Shows("IPv4:"));
    OpenEditor(t);
    EXPECT_EQ(box.Read(kFile), kPlain) << "expected the template";
    Turn(t, "Use DHCP:", "no");
    TypeValue(t, "Static IP address:", "192.168.21.5");
    TypeValue(t, "Static IP gateway:", "192.168.21.1");
    EXPECT_THAT(Addresses("-4"), Not(HasSubstr("192.168.21.5")));
    t.Mark();
    SaveAndUpdate();

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

    t.Go("m<Enter>", "IPv4: 192.168.21.5   netmask: 255.255.255.0  gateway: 192.168.21.1");
    // The first card has a gateway as well.
    t.Go("<End>", "WARNING: Multiple gateways active");
}

TEST_F(Journey, ANewAddressNetmaskAndGatewayReplaceTheOldOnes) {
    Start({{"dhcp", "0"}, {"static ip", "192.168.21.5"}, {"gateway", "192.168.21.1"}});
    Update();
    OpenEditor(t);
    TypeValue(t, "Static IP address netmask:", "255.255.0.0");
    TypeValue(t, "Static IP gateway:", "192.168.99.1");
    SaveAndUpdate();
    EXPECT_THAT(Addresses("-4"), HasSubstr(R"("local":"192.168.21.5","prefixlen":16)"));
    EXPECT_THAT(Gateways(), HasSubstr("via 192.168.99.1 "));
    EXPECT_THAT(Gateways(), Not(HasSubstr("192.168.21.1")));
    EXPECT_EQ(t.Row(kTop + 1),
              "       IPv4: 192.168.21.5   netmask: 255.255.0.0  gateway: 192.168.99.1");

    OpenEditor(t);
    TypeValue(t, "Static IP address:", "10.21.0.7");
    TypeValue(t, "Static IP gateway:", "");
    SaveAndUpdate();
    EXPECT_THAT(Addresses("-4"), HasSubstr(R"("local":"10.21.0.7")"));
    EXPECT_THAT(Addresses("-4"), Not(HasSubstr("192.168.21.5")));
    EXPECT_EQ(Gateways(), "");
    EXPECT_EQ(t.Row(kTop + 1), "       IPv4: 10.21.0.7   netmask: 255.255.0.0");
}

TEST_F(Journey, WithoutIPv6ThereAreNoIPv6Addresses) {
    Start({{"dhcp", "0"}, {"dhcp6", "1"}, {"static ip", "192.168.21.5"}});
    TypeAndUpdate("Static IPv6 address:", "2001:db8:21::5/64");
    EXPECT_THAT(Addresses("-6"), HasSubstr(R"("local":"2001:db8:21::5","prefixlen":64)"));
    t.WaitFor("IPv6: 2001:db8:21:");
    TurnAndUpdate("Enable IPv6:", "no");
    EXPECT_EQ(Setting("ipv6/conf/eth1/disable_ipv6"), "1\n");
    EXPECT_EQ(box.Sh("ip -6 addr show dev eth1"), "");
    EXPECT_FALSE(t.Shows("IPv6:"));
    EXPECT_TRUE(t.Shows("IPv4: 192.168.21.5"));

    TurnAndUpdate("Enable IPv6:", "yes");
    EXPECT_EQ(Setting("ipv6/conf/eth1/disable_ipv6"), "0\n");
    EXPECT_THAT(Addresses("-6"), HasSubstr(R"("local":"2001:db8:21::5")"));
    t.WaitFor("IPv6: 2001:db8:21:");
}

TEST_F(Journey, RouterAdvertisementsGiveAnAddressAndARoute) {
    NeedRouter();
    Start({{"dhcp", "0"}, {"ipv6_router_adv", "0"}});
    Update();
    EXPECT_EQ(Setting("ipv6/conf/eth1/accept_ra"), "0\n");

    TurnAndUpdate("IPv6 router advertisements:", "yes");
    EXPECT_EQ(Setting("ipv6/conf/eth1/accept_ra"), "1\n");
    box.WaitUntil([&] { return Addresses("-6").find(kAdvertised) != std::string::npos; },
                  "an advertised address");
    EXPECT_THAT(Gateways("-6"), HasSubstr("via fe80::ff:fe00:3021 "));
    t.Press("m<Enter>");
    OpenCard();
    EXPECT_TRUE(t.Shows(std::string("IPv6: ") + kAdvertised + "/64"));

    TurnAndUpdate("IPv6 router advertisements:", "no");
    EXPECT_THAT(Addresses("-6"), Not(HasSubstr(kAdvertised)));
    EXPECT_EQ(Gateways("-6"), "");
    EXPECT_FALSE(t.Shows("IPv6:"));
}

TEST_F(Journey, DhcpGivesAnAddressUntilItIsSwitchedOff) {
    NeedRouter();
    Start({{"dhcp", "0"}, {"static ip", "192.168.21.5"}});
    Update();
    EXPECT_TRUE(t.Shows("IPv4: 192.168.21.5   netmask: 255.255.255.0"));

    TurnAndUpdate("Use DHCP:", "yes");
    EXPECT_THAT(Addresses("-4"), HasSubstr(R"("local":"192.168.21.21","prefixlen":24)"));
    EXPECT_THAT(Addresses("-4"), Not(HasSubstr("192.168.21.5\"")));
    EXPECT_EQ(t.Row(kTop + 1),
              "       IPv4: 192.168.21.21   netmask: 255.255.255.0  gateway: 192.168.21.1");
    EXPECT_EQ(box.Read(kResolver), std::string(kFirstCardsServer) + "nameserver 192.168.21.1\n");
    EXPECT_THAT(box.Read("/run/router/leases"), HasSubstr(" 192.168.21.21 "));
    EXPECT_THAT(Gateways(), HasSubstr("via 192.168.21.1 "));

    TurnAndUpdate("Use DHCP gateway address:", "no");
    EXPECT_EQ(t.Row(kTop + 1), "       IPv4: 192.168.21.21   netmask: 255.255.255.0");
    EXPECT_EQ(Gateways(), "");

    TurnAndUpdate("Use DHCP:", "no");
    EXPECT_THAT(Addresses("-4"), Not(HasSubstr("192.168.21.21")));
    EXPECT_EQ(t.Row(kTop + 1), "       IPv4: 192.168.21.5   netmask: 255.255.255.0");
    EXPECT_EQ(box.Read(kResolver), kFirstCardsServer);
    box.WaitUntil(
        [&] { return box.Read("/run/router/leases").find("192.168.21.21") == std::string::npos; },
        "the lease given back");
}

TEST_F(Journey, DhcpV6GivesAnAddressUntilItIsSwitchedOff) {
    NeedRouter();
    Start({{"dhcp", "0"}, {"ipv6_router_adv", "0"}});
    TurnAndUpdate("Use DHCPv6 (for IPv6):", "yes");
    EXPECT_THAT(Addresses("-6"), HasSubstr(R"("local":"2001:db8:21::21","prefixlen":128)"));
    EXPECT_TRUE(t.Shows("IPv6: 2001:db8:21::21/128"));
    EXPECT_EQ(box.Read(kResolver), std::string(kFirstCardsServer) + "nameserver 2001:db8:21::1\n");

    TurnAndUpdate("Use DHCPv6 (for IPv6):", "no");
    EXPECT_THAT(Addresses("-6"), Not(HasSubstr("local")));
    EXPECT_FALSE(t.Shows("IPv6:"));
    EXPECT_EQ(box.Read(kResolver), kFirstCardsServer);
}

TEST_F(Journey, NameServersReachTheResolver) {
    NeedRouter();
    Start({{"dhcp", "0"}, {"static ip", "192.168.21.5"}});
    OpenEditor(t);
    TypeValue(t, "Static IP DNS server(s):", "192.168.21.1,2001:db8:21::1");
    EXPECT_EQ(ValueOf(t, "Static IP DNS server(s):"), "192.168.21.1 2001:db8:21::1");
    SaveAndUpdate();
    EXPECT_EQ(box.Read(kResolver), std::string(kFirstCardsServer) +
                                       "nameserver 192.168.21.1\nnameserver 2001:db8:21::1\n");
    box.Sh("/etc/init.d/network stop eth0");
    EXPECT_THAT(box.Sh("getent ahostsv4 router.example"), HasSubstr("192.168.10.1"));

    t.Go("m<Enter>", "2. eth1");
    Select(t, "Diagnostics");
    t.Go("<Enter>", "Show resolv.conf");
    t.Go("r<Enter>", "nameserver 2001:db8:21::1");
    EXPECT_TRUE(t.Shows("nameserver 192.168.21.1"));
    EXPECT_FALSE(t.Shows("nameserver 192.168.10.1"));
}

TEST_F(Journey, ConfiguredNameServersOverrideThoseFromDhcp) {
    NeedRouter();
    Start({{"dhcp6", "1"}});
    Update();
    EXPECT_EQ(box.Read(kResolver), std::string(kFirstCardsServer) +
                                       "nameserver 192.168.21.1\nnameserver 2001:db8:21::1\n");
    TypeAndUpdate("Static IP DNS server(s):", "192.0.2.53");
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
    OpenEditor(t);
    Turn(t, "NAT enable:", "yes");
    SaveAndUpdate();
    EXPECT_EQ(box.Sh("nft list tables"), "") << "there must be no tables without a role";
    EXPECT_EQ(box.Sh(kAskFromBridge), "");

    TurnAndUpdate("NAT role:", "public");
    EXPECT_EQ(box.Sh(kAskFromBridge), "answer\n");
    EXPECT_THAT(box.Sh("nft list set ip tavrin_nat public"), HasSubstr(R"("eth1")"));
    EXPECT_EQ(Setting("ipv4/ip_forward"), "1\n");
    EXPECT_TRUE(t.Shows("IPv4: 192.168.21.5"));

    TurnAndUpdate("NAT role:", "lan");
    EXPECT_EQ(box.Sh(kAskFromBridge), "");
    EXPECT_THAT(box.Sh("nft list set ip tavrin_nat lan"), HasSubstr(R"("eth1")"));
    EXPECT_THAT(box.Sh("nft list set ip tavrin_nat public"), Not(HasSubstr(R"("eth1")")));
    EXPECT_EQ(Setting("ipv4/ip_forward"), "1\n");

    TurnAndUpdate("NAT enable:", "no");
    EXPECT_EQ(box.Sh("nft list tables"), "");
    EXPECT_EQ(Setting("ipv4/ip_forward"), "0\n");
}

TEST_F(Journey, AnUnmanagedInterfaceIsLeftAlone) {
    Start({{"dhcp", "0"}, {"static ip", "192.168.21.5"}});
    Update();
    OpenEditor(t);
    Turn(t, "Manage this interface:", "no");
    TypeValue(t, "Static IP address:", "192.168.21.6");
    SaveAndUpdate();
    EXPECT_THAT(Addresses("-4"), HasSubstr("192.168.21.5"));
    EXPECT_TRUE(t.Shows("IPv4: 192.168.21.5"));

    TurnAndUpdate("Manage this interface:", "yes");
    EXPECT_THAT(Addresses("-4"), Not(HasSubstr("192.168.21.5")));
    EXPECT_TRUE(t.Shows("IPv4: 192.168.21.6"));
}

TEST_F(Journey, ADisabledInterfaceStaysDown) {
    Start({{"dhcp", "0"}, {"static ip", "192.168.21.5"}});
    Update();
    EXPECT_TRUE(t.Shows("Link active  Interface up"));
    TurnAndUpdate("Leave interface disabled:", "yes");
    EXPECT_FALSE(t.Shows("IPv4:"));
    EXPECT_EQ(t.Row(kTop), "    Disconnected");
    EXPECT_THAT(box.Sh("ip -j link show dev eth1"), Not(HasSubstr(R"("UP")")));

    TurnAndUpdate("Leave interface disabled:", "no");
    EXPECT_THAT(box.Sh("ip -j link show dev eth1"), HasSubstr(R"("UP")"));
    EXPECT_TRUE(t.Shows("IPv4: 192.168.21.5"));
}

}  // namespace
}  // namespace harness::one_card
