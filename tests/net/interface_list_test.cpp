#include "net/interface_list.h"

#include <gtest/gtest.h>

#include "util/command.h"
#include "util/utility_fixtures.h"

namespace {

using Names = std::vector<std::string>;

TEST(ParseInterfaceList, TakesTheNamesOfNumberedLines) {
    EXPECT_EQ(
        ParseInterfaceList(
            "1: lo: <LOOPBACK,UP,LOWER_UP> mtu 65536 qdisc noqueue state UNKNOWN mode DEFAULT\n"
            "    link/loopback 00:00:00:00:00:00 brd 00:00:00:00:00:00\n"
            "2: eth0: <BROADCAST,MULTICAST,UP,LOWER_UP> mtu 1500 qdisc pfifo_fast state UP\n"
            "    link/ether 02:00:00:00:10:20 brd ff:ff:ff:ff:ff:ff\n"
            "    altname enp3s0\n"
            "3: wlan0: <NO-CARRIER,BROADCAST,MULTICAST,UP> mtu 1500 qdisc noqueue state DOWN\n"
            "    link/ether 02:00:00:00:10:21 brd ff:ff:ff:ff:ff:ff permaddr 0a:00:00:00:00:01\n"),
        (Names{"eth0", "wlan0"}));
}

TEST(ParseInterfaceList, KeepsTheOrderAndTheSuffixes) {
    EXPECT_EQ(
        ParseInterfaceList("12: br-lan: <BROADCAST> mtu 1500\n"
                           "7: veth0@if5: <BROADCAST> mtu 1500\n"
                           "    link/ether aa:aa:aa:aa:aa:aa brd ff:ff:ff:ff:ff:ff link-netnsid 0\n"
                           "3: eth0.10@eth0: <BROADCAST> mtu 1500\n"
                           "4: tunl0@NONE: <NOARP> mtu 1480\n"
                           "    link/ipip 0.0.0.0 brd 0.0.0.0\n"
                           "5: ppp0: <POINTOPOINT> mtu 1492\n"
                           "    link/ppp \n"),
        (Names{"br-lan", "veth0@if5", "eth0.10@eth0", "tunl0@NONE", "ppp0"}));
}

TEST(ParseInterfaceList, LeavesOutLoInAnyCaseAndNothingElse) {
    EXPECT_EQ(
        ParseInterfaceList("1: lo: <>\n2: LO: <>\n3: Lo: <>\n4: lo0: <>\n5: l: <>\n6: lo@x: <>\n"),
        (Names{"lo0", "l", "lo@x"}));
}

TEST(ParseInterfaceList, OnlyANumberAndAColonStartAnInterface) {
    struct {
        const char* line;
        Names names;
    } const kCases[] = {
        {"2: eth0: <UP>\n", {"eth0"}},
        {"   2: eth0: <UP>\n", {"eth0"}},  // blanks may come first
        {"1234567: eth0: <UP>\n", {"eth0"}},
        {"2:eth0: <UP>\n", {"eth0"}},
        {"2:    eth0: <UP>\n", {"eth0"}},
        {"2: eth0 <UP>\n", {"eth0"}},  // the name ends at a blank
        {"2: eth0", {"eth0"}},         // or at the end of the line
        {"2: eth0\n", {"eth0"}},
        {"2 : eth0: <UP>\n", {}},  // the colon directly follows the number
        {"2. eth0: <UP>\n", {}},
        {"2\n", {}},
        {"2", {}},
        {": eth0: <UP>\n", {}},
        {"eth0: <UP>\n", {}},
        {"a2: eth0: <UP>\n", {}},
        {"-2: eth0: <UP>\n", {}},
        {"    link/ether 02:00:00:00:10:20 brd ff:ff:ff:ff:ff:ff\n", {}},
        {"\n", {}},
        {"", {}},
        {"Device \"x\" does not exist.\n", {}},
    };
    for (const auto& row : kCases)
        EXPECT_EQ(ParseInterfaceList(row.line), row.names) << row.line;
}

TEST(ParseInterfaceList, CopiesAtMost127Characters) {
    EXPECT_EQ(ParseInterfaceList("2: " + std::string(127, 'a') + ": <UP>\n"),
              Names{std::string(127, 'a')});
    EXPECT_EQ(ParseInterfaceList("2: " + std::string(128, 'a') + ": <UP>\n"),
              Names{std::string(127, 'a')});
    EXPECT_EQ(ParseInterfaceList("2: " + std::string(300, 'a') + ": <UP>\n"),
              Names{std::string(127, 'a')});
}

std::string Padded(std::string line, std::size_t length) {
    line += std::string(length - line.size(), 'x');
    return line;
}

TEST(ParseInterfaceList, ALongLineDoesNotHideTheNextLine) {
    for (std::size_t length : {510U, 511U, 512U, 513U, 1021U, 1022U, 1023U, 5000U}) {
        EXPECT_EQ(ParseInterfaceList(Padded("2: eth0: <", length) + "\n3: eth1: <UP>\n"),
                  (Names{"eth0", "eth1"}))
            << length;
    }
}

TEST(ParseInterfaceList, ALineIsReadInPiecesOf511Bytes) {
    EXPECT_EQ(ParseInterfaceList(Padded("2: eth0: <", 511) + "3: eth1: <UP>\n"),
              (Names{"eth0", "eth1"}));
    EXPECT_EQ(ParseInterfaceList(Padded("2: eth0: <", 510) + "3: eth1: <UP>\n"), Names{"eth0"});
    EXPECT_EQ(ParseInterfaceList(Padded("2: eth0: <", 512) + "3: eth1: <UP>\n"), Names{"eth0"});
}

TEST(ParseInterfaceList, ListsAnyNumberOfInterfaces) {
    std::string text;
    for (int i = 1; i <= 100; ++i)
        text += std::to_string(i) + ": tap" + std::to_string(i) + ": <UP>\n    link/ether\n";
    const Names names = ParseInterfaceList(text);
    ASSERT_EQ(names.size(), 100U);
    EXPECT_EQ(names.front(), "tap1");
    EXPECT_EQ(names.back(), "tap100");
}

TEST(ParseInterfaceList, UnderstandsTheRealIpCommand) {
    const Answer answer = AnswerInChild(
        [] {
            return EnterNetwork({{"eth1", nullptr}, {"br-lan", nullptr}, {"eth0", nullptr}});
        },
        [] {
            for (const std::string& name :
                 ParseInterfaceList(CommandOutput("ip link").value_or("")))
                printf("%s ", name.c_str());
            return 0L;
        });
    SKIP_WHERE_REFUSED(answer);
    const std::string& names = answer.output;
    // The kernel may create devices of its own in every new network.
    const std::size_t ours = names.find("eth1 ");
    ASSERT_NE(ours, std::string::npos) << names;
    EXPECT_EQ(names.substr(ours), "eth1 br-lan eth0 ");
    EXPECT_EQ((" " + names).find(" lo "), std::string::npos);
}

}  // namespace
