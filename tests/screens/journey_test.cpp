// From the operator's keys to the kernel and back: settings made in the editor, applied by the demo
// appliance's own start-up script, and shown on the interface screen.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "interface_fixtures.h"

namespace bench::one_card {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* kFile = "/etc/network/02:00:00:00:10:21";
constexpr const char* kTitle = "Network configuration: eth1 (02:00:00:00:10:21)";

// The second card of the demo appliance, with the settings that a new card gets.
class Journey : public testing::Test {
  protected:
    Journey() {
        box.Remove(kFile);
        box.Write(kTemplate, kPlain);
    }

    void OpenSecondCard(Terminal& t) {
        t.WaitFor("2. eth1");
        t.Press("2<Enter>");
        t.WaitFor(kTitle);
        t.Settle();
    }

    // Types into the entry of the row that the hot keys select.
    static void Enter(Terminal& t, const std::string& keys, size_t old_length,
                      const std::string& text) {
        t.Press(keys + "<Enter>");
        t.WaitFor("[ESC to cancel]");
        TypeInstead(t, old_length, text);
        t.Press("<Enter>");
        t.WaitForGone("[ESC to cancel]");
        t.WaitFor(text);
    }

    static void SaveAndUpdate(Terminal& t) {
        BackToInterface(t, "s<Enter>");
        t.Press("uu");
        t.WaitSelected("Update interface from config");
        t.Press("<Enter>");
        t.WaitFor(kQuestion);
        t.Press("y");
        t.WaitFor(kTitle);
        t.Settle();
    }

    std::string Addresses(const std::string& family) {
        return box.Sh("ip -j " + family + " addr show dev eth1 scope global");
    }

    Machine box{Kind::kDemo};
};

TEST_F(Journey, AStaticAddressGoesFromTheKeysToTheKernelAndBack) {
    Terminal t(box);
    OpenSecondCard(t);
    EXPECT_FALSE(t.Shows("IPv4:"));
    OpenEditor(t);
    EXPECT_EQ(box.Read(kFile), kPlain) << "the template";
    t.Press("d<Space>");
    t.WaitFor("Use DHCP:                      no");
    Enter(t, "i", 0, "192.168.21.5");
    Enter(t, "g", 0, "192.168.21.1");
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
    EXPECT_THAT(box.Sh("ip -j route show default dev eth1"),
                HasSubstr(R"("gateway":"192.168.21.1")"));
    EXPECT_THAT(t.Row(kTop), HasSubstr("Interface up"));
    EXPECT_EQ(t.Row(kTop + 1),
              "       IPv4: 192.168.21.5   netmask: 255.255.255.0  gateway: 192.168.21.1");

    t.Press("m<Enter>");
    t.WaitFor("IPv4: 192.168.21.5   netmask: 255.255.255.0  gateway: 192.168.21.1");
    // The first card has a gateway, too.
    t.Press("<End>");
    t.WaitFor("WARNING: Multiple gateways active");
}

TEST_F(Journey, EverySettingOfTheScriptReachesTheKernel) {
    box.Write(kFile, With(With(kPlain, "dhcp", "0"), "static ip", "192.168.21.5"));
    Terminal t(box);
    OpenSecondCard(t);

    OpenEditor(t);
    Enter(t, "n", 13, "255.255.255.128");
    Enter(t, "i", 0, "2001:db8:21::5/64");
    SaveAndUpdate(t);
    EXPECT_THAT(Addresses("-4"), HasSubstr(R"("local":"192.168.21.5","prefixlen":25)"));
    EXPECT_THAT(Addresses("-6"), HasSubstr(R"("local":"2001:db8:21::5","prefixlen":64)"));
    t.WaitFor("IPv4: 192.168.21.5   netmask: 255.255.255.128");
    t.WaitFor("IPv6: 2001:db8:21::5/64");

    OpenEditor(t);
    t.Press("6<Space>");
    t.WaitFor("Enable IPv6:                   no");
    SaveAndUpdate(t);
    EXPECT_EQ(box.Sh("cat /proc/sys/net/ipv6/conf/eth1/disable_ipv6"), "1\n");
    EXPECT_FALSE(t.Shows("IPv6:"));
    EXPECT_TRUE(t.Shows("IPv4: 192.168.21.5"));

    // Not managed: the script leaves the card as it is, whatever else is set.
    OpenEditor(t);
    t.Press("m<Space>");
    t.WaitFor("Manage this interface:         no");
    Enter(t, "i", 12, "192.168.21.6");
    SaveAndUpdate(t);
    EXPECT_THAT(Addresses("-4"), HasSubstr("192.168.21.5"));
    EXPECT_TRUE(t.Shows("IPv4: 192.168.21.5"));

    OpenEditor(t);
    t.Press("m<Space>");
    t.WaitFor("Manage this interface:         yes");
    SaveAndUpdate(t);
    EXPECT_TRUE(t.Shows("IPv4: 192.168.21.6"));

    OpenEditor(t);
    t.Press("<Space>");
    t.WaitFor("Leave interface disabled:      yes");
    SaveAndUpdate(t);
    EXPECT_FALSE(t.Shows("IPv4:"));
    EXPECT_FALSE(t.Shows("Interface up"));
    EXPECT_THAT(box.Sh("ip -j link show dev eth1"), Not(HasSubstr(R"("UP")")));

    // With DHCP the address typed in has no effect.
    OpenEditor(t);
    t.Press("<Space>");
    t.WaitFor("Leave interface disabled:      no");
    t.Press("d<Space>");
    t.WaitFor("Use DHCP:                      yes");
    SaveAndUpdate(t);
    EXPECT_THAT(box.Sh("ip -j link show dev eth1"), HasSubstr(R"("UP")"));
    EXPECT_THAT(Addresses("-4"), Not(HasSubstr("192.168.21.6")));
}

}  // namespace
}  // namespace bench::one_card
