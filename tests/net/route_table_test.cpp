#include "net/route_table.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "util/command.h"
#include "util/utility_fixtures.h"

namespace {

// ---- parsing ----

// As the kernel writes it: a blank after "Gateway", and lines padded with blanks.
constexpr const char* kHeader =
    "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\tWindow\tIRTT"
    "                                                       \n";

// All routes with all fields, as text.
std::string AsText(const RouteTable& routes) {
    std::ostringstream text;
    for (const RouteEntry& route : routes) {
        text << route.iface << std::hex << " destination " << route.destination << " gateway "
             << route.gateway << " flags " << route.flags << " mask " << route.mask << '\n';
    }
    return text.str();
}

void ExpectRoutes(const RouteTable& routes, const RouteTable& expected) {
    EXPECT_EQ(AsText(routes), AsText(expected));
}

TEST(ParseRouteTable, ReadsTheKernelsTable) {
    const std::string text =
        std::string(kHeader) +
        "eth0\t00000000\t0100A8C0\t0003\t0\t0\t100\t00000000\t0\t0\t0        \n"
        "eth0\t0000A8C0\t00000000\t0001\t0\t0\t100\t00FFFFFF\t0\t0\t0        \n"
        "br0\t070010AC\t00000000\t0005\t0\t0\t0\tFFFFFFFF\t0\t0\t0           \n";
    ExpectRoutes(ParseRouteTable(text), {{"eth0", 0, 0x0100A8C0, 3, 0},
                                         {"eth0", 0x0000A8C0, 0, 1, 0x00FFFFFF},
                                         {"br0", 0x070010AC, 0, 5, 0xFFFFFFFF}});
}

TEST(ParseRouteTable, AStoredWordIsTheDottedAddressWithoutSwapping) {
    const in_addr address = {inet_addr("192.168.0.1")};
    char word[9];
    snprintf(word, sizeof word, "%08X", address.s_addr);
    const RouteTable routes =
        ParseRouteTable(std::string(kHeader) + "eth0 0 " + word + " 3 0 0 0 0\n");
    ASSERT_EQ(routes.size(), 1U);
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &routes[0].gateway, text, sizeof text);
    EXPECT_STREQ(text, "192.168.0.1");
}

TEST(ParseRouteTable, MatchesHeaderNamesIgnoringCase) {
    for (const char* header :
         {"iface destination gateway flags mask\n", "IFACE DESTINATION GATEWAY FLAGS MASK\n",
          "iFaCe\tDestinatioN\tgatewaY\tfLAGS\tmaSK\n"}) {
        ExpectRoutes(ParseRouteTable(std::string(header) + "e 1 2 3 4\n"), {{"e", 1, 2, 3, 4}});
    }
}

TEST(ParseRouteTable, FindsColumnsInAnyOrder) {
    ExpectRoutes(ParseRouteTable("mask x flags iface y gateway z destination\n"
                                 "4 - 3 e - 2 - 1\n"),
                 {{"e", 1, 2, 3, 4}});
}

TEST(ParseRouteTable, AHeaderThatLacksAColumnGivesNoRoutes) {
    const char* kNames[] = {"iface", "destination", "gateway", "flags", "mask"};
    for (const char* missing : kNames) {
        std::string header;
        for (const char* name : kNames)
            header += std::string(name) + (name == missing ? "x " : " ");
        ExpectRoutes(ParseRouteTable(header + "\ne 1 2 3 4\n"), {});
    }
}

TEST(ParseRouteTable, TheLaterOfTwoColumnsWithOneNameWins) {
    ExpectRoutes(
        ParseRouteTable("iface destination gateway flags mask Gateway IFACE\ne 1 2 3 4 5 f\n"),
        {{"f", 1, 5, 3, 4}});
}

TEST(ParseRouteTable, WithoutAHeaderThereAreNoRoutes) {
    ExpectRoutes(ParseRouteTable(""), {});
    ExpectRoutes(ParseRouteTable("\n"), {});
    ExpectRoutes(ParseRouteTable("eth0 00000000 0100A8C0 0003 0 0 0 00000000\n"), {});
}

TEST(ParseRouteTable, AHeaderAloneHasNoRoutes) {
    ExpectRoutes(ParseRouteTable(kHeader), {});
    ExpectRoutes(ParseRouteTable("Iface Destination Gateway Flags Mask"), {});
}

TEST(ParseRouteTable, ABlankBeforeTheHeaderMovesItsColumns) {
    // The empty first column takes an index, so the columns of the rows shift with it.
    ExpectRoutes(ParseRouteTable(" iface destination gateway flags mask\n e 1 2 3 4\n"),
                 {{"e", 1, 2, 3, 4}});
}

constexpr const char* kShortHeader = "iface destination gateway flags mask\n";

RouteTable RoutesOf(const std::string& lines) {
    return ParseRouteTable(kShortHeader + lines);
}

TEST(ParseRouteTable, TakesTheFieldsOfALine) {
    const std::pair<const char*, RouteTable> cases[] = {
        // Missing fields are zero, and not those of the previous line.
        {"e\n", {{"e", 0, 0, 0, 0}}},
        {"e 1\n", {{"e", 1, 0, 0, 0}}},
        {"e 1 2\n", {{"e", 1, 2, 0, 0}}},
        {"e 1 2 3\n", {{"e", 1, 2, 3, 0}}},
        {"e 1 2 3 4\nf\n", {{"e", 1, 2, 3, 4}, {"f", 0, 0, 0, 0}}},
        // A line without an interface is skipped.
        {"\n \n\t\n e 1 2 3 4\nf 5 6 7 8\n\r\n", {{"f", 5, 6, 7, 8}}},
        {"e 1 2 3 4", {{"e", 1, 2, 3, 4}}},
        // Numbers are hexadecimal; what is not a number is zero.
        {"e 10 fF 0x1F 7fffffff\n", {{"e", 0x10, 0xff, 0x1f, 0x7fffffff}}},
        {"e x * ? -\n", {{"e", 0, 0, 0, 0}}},
        {"e 12z 3* 4? 5-\n", {{"e", 0x12, 3, 4, 5}}},
        // Flags are cut to sixteen bits.
        {"e 0 0 10003 0\nf 0 0 ABCD0000 0\ng 0 0 FFFF 0\n",
         {{"e", 0, 0, 3, 0}, {"f", 0, 0, 0, 0}, {"g", 0, 0, 0xFFFF, 0}}},
        // The order is that of the file.
        {"c 3 0 0 0\na 1 0 0 0\nb 2 0 0 0\na 1 0 0 0\n",
         {{"c", 3, 0, 0, 0}, {"a", 1, 0, 0, 0}, {"b", 2, 0, 0, 0}, {"a", 1, 0, 0, 0}}},
    };
    for (const auto& [lines, routes] : cases)
        ExpectRoutes(RoutesOf(lines), routes);
}

TEST(ParseRouteTable, AShortLineWithoutItsInterfaceColumnIsSkipped) {
    ExpectRoutes(ParseRouteTable("destination gateway flags mask iface\n1 2 3 4\n1 2 3 4 e\n"),
                 {{"e", 1, 2, 3, 4}});
}

TEST(ParseRouteTable, LineEndsAreNotPartOfTheLastColumn) {
    ExpectRoutes(ParseRouteTable("destination gateway flags mask iface\r\n1 2 3 4 e\r\n"),
                 {{"e", 1, 2, 3, 4}});
}

std::string Repeated(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i)
        all += text;
    return all;
}

// Fills the stack with pointers to a number.
[[gnu::noinline]] void LeaveNumbersOnTheStack() {
    static char number[] = "77";
    char* volatile pointers[4096];
    for (auto& pointer : pointers)
        pointer = number;
}

TEST(ParseRouteTable, AMissingFieldIsNotReadFromTheStack) {
    for (int between = 0; between <= 58; ++between) {
        const std::string text =
            "iface " + Repeated("x ", between) + "destination gateway flags mask\ne\n";
        LeaveNumbersOnTheStack();
        ExpectRoutes(ParseRouteTable(text), {{"e", 0, 0, 0, 0}});
    }
}

TEST(ParseRouteTable, ReadsAtMost63ColumnsOfAHeader) {
    const std::string lead = "iface destination gateway flags ";
    ExpectRoutes(ParseRouteTable(lead + Repeated("x ", 58) + "mask\n" + "e 1 2 3 " +
                                 Repeated("9 ", 58) + "4\n"),
                 {{"e", 1, 2, 3, 4}});
    ExpectRoutes(ParseRouteTable(lead + Repeated("x ", 58) + "mask more\n" + "e 1 2 3 " +
                                 Repeated("9 ", 58) + "4 5 6\n"),
                 {{"e", 1, 2, 3, 4}});
    ExpectRoutes(ParseRouteTable(lead + Repeated("x ", 59) + "mask\n" + "e 1 2 3 " +
                                 Repeated("9 ", 59) + "4\n"),
                 {});
}

TEST(ParseRouteTable, ExcessColumnsOfALineAreIgnored) {
    for (int more : {57, 58, 59, 60, 500})
        ExpectRoutes(RoutesOf("e 1 2 3 4" + Repeated(" 9", more) + "\n"), {{"e", 1, 2, 3, 4}});
}

TEST(ParseRouteTable, ALineIsReadInPiecesOf4095Bytes) {
    std::string line = "e 1 2 3 4 ";
    line += std::string(4095 - line.size(), 'x');
    ExpectRoutes(RoutesOf(line + "f 5 6 7 8\ng 9 9 9 9\n"),
                 {{"e", 1, 2, 3, 4}, {"f", 5, 6, 7, 8}, {"g", 9, 9, 9, 9}});
    ExpectRoutes(RoutesOf(line + "\ng 9 9 9 9\n"), {{"e", 1, 2, 3, 4}, {"g", 9, 9, 9, 9}});
}

// ---- gateways ----

constexpr std::uint32_t kGateway = 0x0100A8C0;
constexpr std::uint32_t kNetwork = 0x0000A8C0;

TEST(HasMultipleGateways, NeedsTwoDefaultRoutesWithAGateway) {
    struct {
        const char* what;
        RouteTable routes;
        bool expected;
    } const kCases[] = {
        {"none", {}, false},
        {"one", {{"eth0", 0, kGateway, 3, 0}}, false},
        {"two", {{"eth0", 0, kGateway, 3, 0}, {"eth1", 0, kGateway, 3, 0}}, true},
        {"three", {{"a", 0, 1, 3, 0}, {"b", 0, 1, 3, 0}, {"c", 0, 1, 3, 0}}, true},
        {"two on the same interface",
         {{"eth0", 0, kGateway, 3, 0}, {"eth0", 0, 0x0200A8C0, 3, 0}},
         true},
        {"two that are not up", {{"eth0", 0, kGateway, 2, 0}, {"eth1", 0, kGateway, 2, 0}}, true},
        {"one and gatewayed networks and hosts",
         {{"eth0", 0, kGateway, 3, 0},
          {"eth0", kNetwork, kGateway, 3, 0xFFFFFF},
          {"eth1", 0x070010AC, kGateway, 7, 0xFFFFFFFF}},
         false},
        {"one and a default route without gateway",
         {{"eth0", 0, kGateway, 3, 0}, {"ppp0", 0, 0, 1, 0}},
         false},
        {"a gateway word without the flag does not count",
         {{"eth0", 0, kGateway, 1, 0}, {"eth1", 0, kGateway, 1, 0}},
         false},
        {"the flag without a gateway word counts",
         {{"eth0", 0, 0, 2, 0}, {"eth1", 0, 0, 2, 0}},
         true},
        {"whatever the mask", {{"eth0", 0, kGateway, 3, 1}, {"eth1", 0, kGateway, 3, 0xFF}}, true},
    };
    for (const auto& row : kCases) {
        EXPECT_EQ(HasMultipleGateways(row.routes), row.expected) << row.what;
    }
}

TEST(FindGateway, TheFirstRouteWithAGatewayWins) {
    const RouteTable routes = {{"eth0", 0, 0, 1, 0},
                               {"eth1", 0, 5, 3, 0},
                               {"eth0", kNetwork, 7, 3, 0xFFFFFF},
                               {"eth0", 0, 9, 3, 0}};
    EXPECT_EQ(FindGateway(routes, "eth0"), 7U);
    EXPECT_EQ(FindGateway(routes, "eth1"), 5U);
}

TEST(FindGateway, TheNameMustMatchExactly) {
    const RouteTable routes = {{"eth10", 0, 5, 3, 0}, {"ETH0", 0, 5, 3, 0}, {"eth", 0, 5, 3, 0}};
    for (const char* name : {"eth0", "eth1", "Eth0", "", "eth10 "})
        EXPECT_EQ(FindGateway(routes, name), 0U) << name;
    EXPECT_EQ(FindGateway(routes, "eth10"), 5U);
}

TEST(FindGateway, OnlyTheGatewayFlagCounts) {
    const RouteTable routes = {{"a", 0, 5, 1, 0}, {"b", 0, 5, 0xFFFD, 0}, {"b", 0, 6, 2, 0}};
    EXPECT_EQ(FindGateway(routes, "a"), 0U);
    EXPECT_EQ(FindGateway(routes, "b"), 6U);
}

TEST(FindGateway, AnEmptyTableHasNone) {
    EXPECT_EQ(FindGateway({}, "eth0"), 0U);
}

// ---- the kernel's file ----

// The number of routes that ReadRouteTable finds in the /proc/net/route below a root folder.
Answer ReadWithin(const std::string& root) {
    return AnswerInChild([&] { return EnterRoot(root); },
                         [] {
                             const RouteTable routes = ReadRouteTable();
                             for (const RouteEntry& route : routes)
                                 printf("%s ", route.iface.c_str());
                             return static_cast<long>(routes.size());
                         });
}

TEST(ReadRouteTable, ReadsTheKernelsFile) {
    const TemporaryFolder root;
    root.File("proc/net/route", std::string(kHeader) +
                                    "eth0\t0\t0\t1\t0\t0\t0\t0\n"
                                    "eth1\t0\t0\t1\t0\t0\t0\t0\n");
    const Answer answer = ReadWithin(root.path);
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.value, 2);
    EXPECT_EQ(answer.output, "eth0 eth1 ");
}

TEST(ReadRouteTable, WithoutTheFileOrWithAnEmptyOneTheTableIsEmpty) {
    const TemporaryFolder root;
    const Answer answer = ReadWithin(root.path);
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.value, 0);
    root.File("proc/net/route", "");
    EXPECT_EQ(ReadWithin(root.path).value, 0);
}

std::string AsRouteText(const std::string& device, std::uint32_t destination, std::uint32_t mask,
                        std::uint32_t gateway) {
    const auto dotted = [](std::uint32_t word) {
        char text[INET_ADDRSTRLEN] = "";
        inet_ntop(AF_INET, &word, text, sizeof text);
        return std::string(text);
    };
    int bits = 0;
    for (std::uint32_t host = ntohl(mask); host != 0; host <<= 1U)
        ++bits;
    return device + " " + dotted(destination) + "/" + std::to_string(bits) + " " + dotted(gateway);
}

std::vector<std::string> RoutesOfTable() {
    std::vector<std::string> routes;
    for (const RouteEntry& route : ReadRouteTable())
        routes.push_back(AsRouteText(route.iface, route.destination, route.mask, route.gateway));
    return routes;
}

// "default via 192.0.2.1 dev eth0", "198.51.100.0/24 dev eth0 proto kernel ...", and so on.
std::vector<std::string> RoutesOfIp() {
    std::istringstream lines(CommandOutput("ip -4 route show table main").value_or(""));
    std::vector<std::string> routes;
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        std::string destination;
        words >> destination;
        if (destination == "default") destination = "0.0.0.0/0";
        if (destination.find('/') == std::string::npos) destination += "/32";
        std::string gateway = "0.0.0.0";
        std::string device;
        std::string word;
        while (words >> word) {
            if (word == "via") words >> gateway;
            if (word == "dev") words >> device;
        }
        routes.push_back(device);
        routes.back() += " " + destination;
        routes.back() += " " + gateway;
    }
    return routes;
}

void PrintSorted(std::vector<std::string> routes) {
    std::sort(routes.begin(), routes.end());
    for (const std::string& route : routes)
        printf("%s\n", route.c_str());
}

TEST(ReadRouteTable, FindsTheSameRoutesAsTheIpCommand) {
    const Answer answer = AnswerInChild(
        [] {
            return EnterNetwork({{"eth0", "192.0.2.2"}, {"eth1", "198.51.100.2"}});
        },
        [] {
            for (const char* arguments :
                 {"link set eth0 up", "link set eth1 up", "route add default via 192.0.2.1",
                  "route add default via 198.51.100.1 metric 7",
                  "route add 203.0.113.64/26 via 192.0.2.9",
                  "route add 203.0.113.7 via 198.51.100.9"}) {
                RunCommand(std::string("ip ") + arguments);
            }
            PrintSorted(RoutesOfTable());
            printf("--\n");
            PrintSorted(RoutesOfIp());
            printf("--\n");
            return HasMultipleGateways(ReadRouteTable()) ? 1L : 0L;
        });
    SKIP_WHERE_REFUSED(answer);
    const std::string routes =
        "eth0 0.0.0.0/0 192.0.2.1\n"
        "eth0 192.0.2.0/24 0.0.0.0\n"
        "eth0 203.0.113.64/26 192.0.2.9\n"
        "eth1 0.0.0.0/0 198.51.100.1\n"
        "eth1 198.51.100.0/24 0.0.0.0\n"
        "eth1 203.0.113.7/32 198.51.100.9\n";
    EXPECT_EQ(answer.output, routes + "--\n" + routes + "--\n");
    EXPECT_EQ(answer.value, 1);
}

}  // namespace
