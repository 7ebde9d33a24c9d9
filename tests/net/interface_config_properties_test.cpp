// Properties that every interface's settings have, whatever was typed into them.
#include <gtest/gtest.h>

#include <string>

#include "net/interface_config.h"
#include "util/random_fixtures.h"
#include "util/utility_fixtures.h"

namespace {

// What an operator can type into a field: no line feeds, no blanks at either end.
std::string Typed(Random& random) {
    std::string text = random.Text(60, std::string_view("\n\r\0", 3));
    text.erase(0, text.find_first_not_of(" \t"));
    return text;
}

InterfaceConfig AnyConfig(Random& random) {
    InterfaceConfig config;
    for (bool* flag :
         {&config.manage, &config.dhcp, &config.dhcp6, &config.dhcp_gw, &config.enable_ip6,
          &config.disabled, &config.ipv6_router_adv, &config.nat_enable})
        *flag = random.OneIn(2);
    for (std::string* text : {&config.static_ip, &config.static_ip_netmask, &config.static_ip6,
                              &config.gateway, &config.dns, &config.nat_role})
        *text = Typed(random);
    return config;
}

void ExpectSame(const InterfaceConfig& read, const InterfaceConfig& written) {
    EXPECT_EQ(read.manage, written.manage);
    EXPECT_EQ(read.dhcp, written.dhcp);
    EXPECT_EQ(read.dhcp6, written.dhcp6);
    EXPECT_EQ(read.dhcp_gw, written.dhcp_gw);
    EXPECT_EQ(read.enable_ip6, written.enable_ip6);
    EXPECT_EQ(read.disabled, written.disabled);
    EXPECT_EQ(read.ipv6_router_adv, written.ipv6_router_adv);
    EXPECT_EQ(read.nat_enable, written.nat_enable);
    EXPECT_EQ(read.static_ip, written.static_ip);
    EXPECT_EQ(read.static_ip_netmask, written.static_ip_netmask);
    EXPECT_EQ(read.static_ip6, written.static_ip6);
    EXPECT_EQ(read.gateway, written.gateway);
    EXPECT_EQ(read.dns, written.dns);
    EXPECT_EQ(read.nat_role, written.nat_role);
}

TEST(InterfaceConfigProperties, FormattedSettingsParseBackUnchanged) {
    Random random;
    for (int i = 0; i < 1000 && !testing::Test::HasFailure(); ++i) {
        const InterfaceConfig written = AnyConfig(random);
        InterfaceConfig read = AnyConfig(random);
        ParseInterfaceConfig(FormatInterfaceConfig(written), read);
        ExpectSame(read, written);
    }
}

TEST(InterfaceConfigProperties, WrittenSettingsReadBackUnchanged) {
    Random random;
    const TemporaryFolder folder;
    const std::string path = folder.Path("settings");
    for (int i = 0; i < 30 && !testing::Test::HasFailure(); ++i) {
        const InterfaceConfig written = AnyConfig(random);
        WriteInterfaceConfig(written, path);
        InterfaceConfig read;
        ReadInterfaceConfig(read, path);
        ExpectSame(read, written);
    }
}

}  // namespace
