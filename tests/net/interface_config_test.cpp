#include "net/interface_config.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <string>
#include <tuple>

#include "util/folder_fixtures.h"
#include "util/random_fixtures.h"

// All fields, so that a comparison misses none.
static auto Fields(const InterfaceConfig& config) {
    return std::tie(config.manage, config.dhcp, config.dhcp6, config.dhcp_gw, config.enable_ip6,
                    config.disabled, config.static_ip, config.ipv6_router_adv,
                    config.static_ip_netmask, config.static_ip6, config.gateway, config.dns,
                    config.nat_enable, config.nat_role);
}

static bool operator==(const InterfaceConfig& one, const InterfaceConfig& other) {
    return Fields(one) == Fields(other);
}

static std::ostream& operator<<(std::ostream& out, const InterfaceConfig& config) {
    std::apply([&](const auto&... field) { ((out << "[" << field << "] "), ...); }, Fields(config));
    return out;
}

namespace {

InterfaceConfig Defaults() {
    InterfaceConfig config;
    config.manage = true;
    config.dhcp = true;
    config.dhcp6 = false;
    config.dhcp_gw = true;
    config.enable_ip6 = true;
    config.disabled = false;
    config.static_ip = "";
    config.ipv6_router_adv = true;
    config.static_ip_netmask = "255.255.255.0";
    config.static_ip6 = "";
    config.gateway = "";
    config.dns = "";
    config.nat_enable = false;
    config.nat_role = "";
    return config;
}

InterfaceConfig Parsed(const std::string& text) {
    InterfaceConfig config;
    SetConfigDefaults(config);
    ParseInterfaceConfig(text, config);
    return config;
}

// ---- the boolean rule ----

TEST(ParseConfigBool, PositiveNumbersAndOnAreTrue) {
    for (const char* text : {"1", "2", "5", "+3", "007", " 1", "1x", "on", "On", "oN", "ON"}) {
        EXPECT_TRUE(ParseConfigBool(text)) << text;
    }
}

TEST(ParseConfigBool, EverythingElseIsFalse) {
    for (const char* text : {"0", "-1", "", "yes", "Yes", "true", "TRUE", "y", "off", "onn", "o",
                             "on ", " on", "x1", "0x1", "enabled"}) {
        EXPECT_FALSE(ParseConfigBool(text)) << text;
    }
}

// ---- defaults ----

TEST(SetConfigDefaults, ResetEverySwitchAndKeepTheOtherTexts) {
    InterfaceConfig config;
    config.disabled = config.dhcp6 = config.nat_enable = true;
    config.static_ip = "192.0.2.1";
    config.static_ip_netmask = "255.0.0.0";
    config.static_ip6 = "2001:db8::1/64";
    config.gateway = "192.0.2.254";
    config.dns = "192.0.2.53";
    config.nat_role = "lan";
    SetConfigDefaults(config);
    InterfaceConfig expected = Defaults();
    expected.static_ip = "192.0.2.1";
    expected.static_ip6 = "2001:db8::1/64";
    expected.gateway = "192.0.2.254";
    expected.dns = "192.0.2.53";
    expected.nat_role = "lan";
    EXPECT_EQ(config, expected);
}

TEST(InterfaceConfig, ANewRecordIsEmptyAndOff) {
    const InterfaceConfig config;
    EXPECT_EQ(Fields(config), std::make_tuple(false, false, false, false, false, false, "", false,
                                              "", "", "", "", false, ""));
}

// ---- reading ----

TEST(ParseInterfaceConfig, AnEmptyTextLeavesTheReadersDefaults) {
    EXPECT_EQ(Parsed(""), Defaults());
    EXPECT_EQ(Parsed("\n"), Defaults());
}

// Each line changes its own setting and no other.
TEST(ParseInterfaceConfig, EachKeySetsItsOwnField) {
    struct Case {
        const char* line;
        void (*expect)(InterfaceConfig&);
    };
    const Case cases[] = {
        {"manage = 0", [](InterfaceConfig& c) { c.manage = false; }},
        {"dhcp = 0", [](InterfaceConfig& c) { c.dhcp = false; }},
        {"dhcp6 = 1", [](InterfaceConfig& c) { c.dhcp6 = true; }},
        {"dhcp_gw = 0", [](InterfaceConfig& c) { c.dhcp_gw = false; }},
        {"enable_ip6 = 0", [](InterfaceConfig& c) { c.enable_ip6 = false; }},
        {"disabled = 1", [](InterfaceConfig& c) { c.disabled = true; }},
        {"static ip = 192.0.2.1", [](InterfaceConfig& c) { c.static_ip = "192.0.2.1"; }},
        {"ipv6_router_adv = 0", [](InterfaceConfig& c) { c.ipv6_router_adv = false; }},
        {"static ip netmask = 255.255.0.0",
         [](InterfaceConfig& c) { c.static_ip_netmask = "255.255.0.0"; }},
        {"static ip6 = 2001:db8::1/64",
         [](InterfaceConfig& c) { c.static_ip6 = "2001:db8::1/64"; }},
        {"gateway = 192.0.2.254", [](InterfaceConfig& c) { c.gateway = "192.0.2.254"; }},
        {"dns = 192.0.2.1 192.0.2.2", [](InterfaceConfig& c) { c.dns = "192.0.2.1 192.0.2.2"; }},
        {"nat enable = 1", [](InterfaceConfig& c) { c.nat_enable = true; }},
        {"nat role = public", [](InterfaceConfig& c) { c.nat_role = "public"; }},
    };
    for (const Case& one : cases) {
        InterfaceConfig expected = Defaults();
        one.expect(expected);
        EXPECT_NE(expected, Defaults()) << one.line;
        EXPECT_EQ(Parsed(std::string(one.line) + "\n"), expected) << one.line;
    }
}

TEST(ParseInterfaceConfig, LinesThatSetDhcpOff) {
    for (const char* line :
         {"dhcp = 0", "dhcp =0", "dhcp   =   0", "   dhcp = 0", "dhcp = yes", "dhcp = true",
          "dhcp = ", "dhcp =", "dhcp = -1", "dhcp = off", "dhcp = 0 # by hand", "dhcp = = 1",
          "dhcp = on ", "dhcp = 0\r", "dhcp = 0\r\r\n\r",
          // Any character before "=" counts as the blank.
          "dhcp\t= 0", "dhcp \t= 0", "dhcp6= 0", "dhcp:=0", "dhcp?= 0"}) {
        InterfaceConfig expected = Defaults();
        expected.dhcp = false;
        EXPECT_EQ(Parsed(line), expected) << line;
        EXPECT_EQ(Parsed("# first\n" + std::string(line) + "\nunknown = 1\n"), expected) << line;
    }
}

TEST(ParseInterfaceConfig, LinesThatSetDhcp6On) {
    for (const char* line : {"dhcp6 = 1", "dhcp6 = on", "dhcp6 = ON", "dhcp6 = 5", "dhcp6 =1",
                             "dhcp6   =   1", "dhcp6 =\t1", "dhcp6 = 1 "}) {
        InterfaceConfig expected = Defaults();
        expected.dhcp6 = true;
        EXPECT_EQ(Parsed(line), expected) << line;
    }
}

TEST(ParseInterfaceConfig, LinesThatSetNothing) {
    for (const char* line : {"manage=0",
                             "manage= 0",
                             "dhcp=0",
                             "dhcp= 0",
                             "=",
                             " = 0",
                             "=0",
                             "==",
                             "a=",
                             "m = 0",
                             "manage",
                             "manage 0",
                             "manage : 0",
                             "Manage = 0",
                             "MANAGE = 0",
                             "manag = 0",
                             "managed = 0",
                             "xmanage = 0",
                             "man age = 0",
                             "static  ip = 192.0.2.1",
                             "static_ip = 192.0.2.1",
                             "Static IP = 192.0.2.1",
                             "static ip4 = 192.0.2.1",
                             "static = 1",
                             "nat = 1",
                             "nat_enable = 1",
                             "netmask = 1",
                             "dhcp gw = 0",
                             "ipv6 router adv = 0",
                             "#manage = 0",
                             "# manage = 0",
                             "  # manage = 0",
                             "\t# manage = 0",
                             "\tmanage = 0",
                             "manage\t = 0",
                             "x = manage = 0",
                             "[manage = 0]",
                             "\r",
                             "   "}) {
        EXPECT_EQ(Parsed(line), Defaults()) << line;
        EXPECT_EQ(Parsed(std::string(line) + "\n"), Defaults()) << line;
    }
}

TEST(ParseInterfaceConfig, ATextLosesOnlyItsLeadingSpaces) {
    struct Case {
        const char* line;
        const char* value;
    };
    const Case cases[] = {
        {"dns = 192.0.2.1 192.0.2.2", "192.0.2.1 192.0.2.2"},
        {"dns =192.0.2.1", "192.0.2.1"},
        {"dns =    192.0.2.1", "192.0.2.1"},
        {"dns = 192.0.2.1  ", "192.0.2.1  "},
        {"dns = 192.0.2.1\t", "192.0.2.1\t"},
        {"dns = \t192.0.2.1", "\t192.0.2.1"},
        {"dns = 192.0.2.1\r", "192.0.2.1"},
        {"dns = 192.0.2.1 # at home", "192.0.2.1 # at home"},
        {"dns = a = b", "a = b"},
        {"dns == b", "= b"},
        {"dns = $(id) `id` \\ \" '", "$(id) `id` \\ \" '"},
        {"dns = \xc3\xa9\xff", "\xc3\xa9\xff"},
        {"dns = one\rtwo", "one\rtwo"},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(Parsed(one.line).dns, one.value) << one.line;
        EXPECT_EQ(Parsed(std::string(one.line) + "\nmanage = 1\n").dns, one.value) << one.line;
    }
}

TEST(ParseInterfaceConfig, AnEmptyValueClearsAText) {
    EXPECT_EQ(Parsed("static ip netmask = \n").static_ip_netmask, "");
    EXPECT_EQ(Parsed("static ip netmask =\n").static_ip_netmask, "");
    EXPECT_EQ(Parsed("dns = 192.0.2.1\ndns =    \n").dns, "");
}

TEST(ParseInterfaceConfig, TheLastOfSeveralLinesWins) {
    EXPECT_TRUE(Parsed("dhcp = 0\ndns = 192.0.2.1\ndhcp = 1\n").dhcp);
    EXPECT_FALSE(Parsed("dhcp = 1\ndhcp = 0").dhcp);
    EXPECT_EQ(Parsed("dns = 192.0.2.1\ndns = 192.0.2.2").dns, "192.0.2.2");
}

TEST(ParseInterfaceConfig, KeepsSettingsThatTheTextDoesNotMention) {
    InterfaceConfig config = Defaults();
    config.static_ip = "192.0.2.1";
    config.dhcp = false;
    ParseInterfaceConfig("gateway = 192.0.2.254\n", config);
    EXPECT_EQ(config.static_ip, "192.0.2.1");
    EXPECT_FALSE(config.dhcp);
    EXPECT_EQ(config.gateway, "192.0.2.254");
}

// Lines are read in pieces of 1022 characters.
TEST(ParseInterfaceConfig, ALongLineIsSplit) {
    const std::string key = "dns = ";
    const std::string longest(1022 - key.size(), 'x');
    EXPECT_EQ(Parsed(key + longest).dns, longest);
    EXPECT_EQ(Parsed(key + longest + "\nmanage = 0\n").dns, longest);
    EXPECT_FALSE(Parsed(key + longest + "\nmanage = 0\n").manage);
    EXPECT_EQ(Parsed(key + longest + "y\n").dns, longest);
    EXPECT_EQ(Parsed(key + longest + longest + longest + "\n").dns, longest);
    // The second piece is a line like any other, even after a comment.
    const InterfaceConfig behind = Parsed("#" + std::string(1021, ' ') + "manage = 0\n");
    EXPECT_FALSE(behind.manage);
    EXPECT_TRUE(Parsed("#" + std::string(1020, ' ') + "manage = 0\n").manage);
}

TEST(ParseInterfaceConfig, AZeroByteEndsItsLine) {
    using std::string_literals::operator""s;
    const InterfaceConfig config = Parsed("dns = one\0two\nman\0age = 0\ndhcp = 0\n"s);
    EXPECT_EQ(config.dns, "one");
    EXPECT_TRUE(config.manage);
    EXPECT_FALSE(config.dhcp);
}

// ---- writing ----

TEST(FormatInterfaceConfig, WritesFourteenLinesInFileOrder) {
    InterfaceConfig config;
    config.manage = true;
    config.dhcp6 = true;
    config.enable_ip6 = true;
    config.static_ip = "192.168.1.42";
    config.ipv6_router_adv = true;
    config.static_ip_netmask = "255.255.255.0";
    config.static_ip6 = "fc00::1/64";
    config.gateway = "192.168.1.1";
    config.dns = "192.168.1.1 192.168.1.2";
    config.nat_role = "lan";
    EXPECT_EQ(FormatInterfaceConfig(config),
              "manage = 1\n"
              "dhcp = 0\n"
              "dhcp6 = 1\n"
              "dhcp_gw = 0\n"
              "enable_ip6 = 1\n"
              "disabled = 0\n"
              "static ip = 192.168.1.42\n"
              "ipv6_router_adv = 1\n"
              "static ip netmask = 255.255.255.0\n"
              "static ip6 = fc00::1/64\n"
              "gateway = 192.168.1.1\n"
              "dns = 192.168.1.1 192.168.1.2\n"
              "nat enable = 0\n"
              "nat role = lan\n");
}

TEST(FormatInterfaceConfig, WritesABlankBeforeAnEmptyText) {
    InterfaceConfig config;
    config.dhcp = config.dhcp_gw = config.disabled = config.nat_enable = true;
    EXPECT_EQ(FormatInterfaceConfig(config),
              "manage = 0\n"
              "dhcp = 1\n"
              "dhcp6 = 0\n"
              "dhcp_gw = 1\n"
              "enable_ip6 = 0\n"
              "disabled = 1\n"
              "static ip = \n"
              "ipv6_router_adv = 0\n"
              "static ip netmask = \n"
              "static ip6 = \n"
              "gateway = \n"
              "dns = \n"
              "nat enable = 1\n"
              "nat role = \n");
}

TEST(FormatInterfaceConfig, WritesTextsUnchanged) {
    InterfaceConfig config;
    config.dns = "  100% \"sure\" \\n  ";
    config.nat_role = std::string(5000, 'r');
    const std::string text = FormatInterfaceConfig(config);
    EXPECT_NE(text.find("\ndns =   100% \"sure\" \\n  \nnat enable = "), std::string::npos);
    EXPECT_NE(text.find("\nnat role = " + config.nat_role + "\n"), std::string::npos);
}

// ---- both ways ----

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

TEST(InterfaceConfigProperties, FormattedSettingsParseBackUnchanged) {
    Random random;
    for (int i = 0; i < 1000 && !testing::Test::HasFailure(); ++i) {
        const InterfaceConfig written = AnyConfig(random);
        InterfaceConfig read = AnyConfig(random);  // every line must be read
        ParseInterfaceConfig(FormatInterfaceConfig(written), read);
        EXPECT_EQ(read, written);
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
        EXPECT_EQ(read, written);
    }
}

// Garbage may give any settings, but one save and one read keep them.
TEST(InterfaceConfigProperties, SettingsReadFromGarbageSurviveASave) {
    const std::string words[] = {"manage",
                                 "dhcp",
                                 "dhcp6",
                                 "static ip",
                                 "netmask",
                                 "nat role",
                                 "dns",
                                 " = ",
                                 "=",
                                 "#",
                                 std::string(1, '\0'),
                                 "on",
                                 "1",
                                 std::string(300, 'x')};
    Random random;
    for (int i = 0; i < 1000 && !testing::Test::HasFailure(); ++i) {
        const std::string text = random.Lines(20, words);
        const InterfaceConfig read = Parsed(text);
        const std::string saved = FormatInterfaceConfig(read);
        EXPECT_EQ(Parsed(saved), read) << text;
    }
}

// ---- files ----

TEST(InterfaceConfigPath, NamesTheFileAfterTheHardwareAddress) {
    EXPECT_EQ(InterfaceConfigPath("02:00:5E:00:53:01"), "/etc/network/02:00:5E:00:53:01");
}

TEST(ReadInterfaceConfig, ReadsAFileOverTheDefaults) {
    const TemporaryFolder folder;
    InterfaceConfig config;
    config.disabled = true;
    config.gateway = "192.0.2.254";
    ReadInterfaceConfig(config, folder.File("settings",
                                            "# by hand\nstatic ip = 192.0.2.7\n"
                                            "dhcp = 0"));
    InterfaceConfig expected = Defaults();
    expected.static_ip = "192.0.2.7";
    expected.gateway = "192.0.2.254";
    expected.dhcp = false;
    EXPECT_EQ(config, expected);
}

TEST(ReadInterfaceConfig, WhatIsNotAFileLeavesTheDefaults) {
    const TemporaryFolder folder;
    const std::string empty = folder.File("empty", "");
    for (const std::string& path : {folder.path + "/missing", folder.path, empty}) {
        InterfaceConfig config;
        config.disabled = true;
        config.static_ip_netmask = "255.0.0.0";
        config.static_ip = "192.0.2.7";
        ReadInterfaceConfig(config, path);
        InterfaceConfig expected = Defaults();
        expected.static_ip = "192.0.2.7";
        EXPECT_EQ(config, expected) << path;
    }
}

TEST(WriteInterfaceConfig, RewritesTheWholeFile) {
    const TemporaryFolder folder;
    const std::string path = folder.File("settings", std::string(5000, '#') + "\nmine = 1\n");
    WriteInterfaceConfig(Defaults(), path);
    EXPECT_EQ(ContentOf(folder.Path("settings")),
              "manage = 1\ndhcp = 1\ndhcp6 = 0\ndhcp_gw = 1\nenable_ip6 = 1\ndisabled = 0\n"
              "static ip = \nipv6_router_adv = 1\nstatic ip netmask = 255.255.255.0\n"
              "static ip6 = \ngateway = \ndns = \nnat enable = 0\nnat role = \n");
}

TEST(WriteInterfaceConfig, AFailedWriteIsNotReported) {
    const TemporaryFolder folder;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    WriteInterfaceConfig(Defaults(), folder.path + "/missing/settings");
    WriteInterfaceConfig(Defaults(), folder.path);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(std::filesystem::is_empty(folder.path));
}

// ---- commands ----

TEST(EnsureInterfaceConfigFile, CopiesTheTemplateIfThereIsNoFile) {
    const std::string name = "02:00:5E:00:53:" + std::to_string(getpid());
    const OwnCommand cp("cp", "(echo \"$*\"; readlink /proc/$$/fd/2) >\"${0%/*}/log\"; exit 1");
    EnsureInterfaceConfigFile(name);
    EXPECT_EQ(ContentOf(cp.folder.Path("log")),
              "/etc/network/example /etc/network/" + name + "\n/dev/null\n");
}

}  // namespace
