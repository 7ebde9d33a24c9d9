#include "net/interface_refresh.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "net/route_table.h"
#include "util/utility_fixtures.h"

namespace {

#define SKIP_WHERE_REFUSED(answer) \
    if ((answer).prepared == Prepared::kRefused) GTEST_SKIP() << "not possible on this system"

// An `ip` command of the test's own stands first in PATH: a shell script, with its two uses as
// functions. Where it waits, it gives up when its folder has gone, or
// after five seconds.
struct StandInIp : OwnCommand {
    StandInIp(const std::string& link, const std::string& addresses)
        : OwnCommand("ip",
                     "until_there() {\n"
                     "    n=0\n"
                     "    while [ ! -e $1 ] && [ -e ip ] && [ $n -lt 500 ]; do\n"
                     "        sleep 0.01; n=$((n + 1))\n"
                     "    done\n"
                     "}\n"
                     "cd \"${0%/*}\"\n"
                     "case \"$*\" in\n"
                     "link) " +
                         link +
                         ";;\n"
                         "'addr show dev '*' scope global') " +
                         addresses +
                         ";;\n"
                         "esac\n") {}
};

constexpr const char* kTwoInterfaces = "echo '1: lo: <UP>'; echo '2: a0: <UP>'; echo '3: b0: <UP>'";
constexpr const char* kOwnAddress = "echo \"    inet6 2001:db8::$4/64 scope global\"";

std::vector<std::string> Names(const InterfaceRefresh& refresh) {
    std::vector<std::string> names;
    for (const GatheredInterface& interface : refresh.interfaces)
        names.push_back(interface.name);
    return names;
}

std::vector<std::string> Addresses(const InterfaceRefresh& refresh) {
    std::vector<std::string> addresses;
    for (const GatheredInterface& interface : refresh.interfaces)
        addresses.push_back(LastGlobalIPv6(interface.facts.global_addresses.value_or("(none)")));
    return addresses;
}

using Texts = std::vector<std::string>;

// Children are reaped by the kernel, as the program has them.
class InterfaceRefreshTest : public testing::Test {
    const SignalAction child{SIGCHLD, SIG_IGN};
};

TEST_F(InterfaceRefreshTest, GathersAllInterfacesThatAreListed) {
    const StandInIp ip(kTwoInterfaces, kOwnAddress);
    InterfaceRefresh refresh;
    StartRefresh(refresh);
    FinishRefresh(refresh);
    EXPECT_TRUE(refresh.complete);
    EXPECT_FALSE(refresh.running);
    EXPECT_EQ(Names(refresh), (Texts{"a0", "b0"}));
    EXPECT_EQ(Addresses(refresh), (Texts{"2001:db8::a0/64", "2001:db8::b0/64"}));
}

TEST_F(InterfaceRefreshTest, GathersTheOneThatIsNamed) {
    const StandInIp ip("echo '1: a0: <UP>'", kOwnAddress);
    InterfaceRefresh refresh;
    StartRefresh(refresh, "c0");
    FinishRefresh(refresh);
    EXPECT_TRUE(refresh.complete);
    EXPECT_EQ(Names(refresh), Texts{"c0"});
    EXPECT_EQ(Addresses(refresh), Texts{"2001:db8::c0/64"});
}

TEST_F(InterfaceRefreshTest, GathersEachOfManyInterfaces) {
    const StandInIp ip("n=1; while [ $n -le 150 ]; do echo \"$n: tap$n: <UP>\"; n=$((n + 1)); done",
                       "echo \"inet6 ::$4\"");
    InterfaceRefresh refresh;
    StartRefresh(refresh);
    FinishRefresh(refresh);
    Texts names;
    Texts addresses;
    for (int n = 1; n <= 150; ++n) {
        names.push_back("tap" + std::to_string(n));
        addresses.push_back("::" + names.back());
    }
    EXPECT_EQ(Names(refresh), names);
    EXPECT_EQ(Addresses(refresh), addresses);
}

TEST_F(InterfaceRefreshTest, GoesOnWithoutWaiting) {
    const StandInIp ip("until_there listed; echo '1: a0: <UP>'",
                       "until_there answered; echo 'inet6 ::1'");
    InterfaceRefresh refresh;
    StartRefresh(refresh);
    EXPECT_FALSE(ContinueRefresh(refresh));
    EXPECT_FALSE(ContinueRefresh(refresh));
    EXPECT_EQ(Names(refresh), Texts{});
    ip.folder.File("listed", "");
    while (refresh.interfaces.empty())
        ASSERT_FALSE(ContinueRefresh(refresh));
    EXPECT_FALSE(ContinueRefresh(refresh));
    EXPECT_FALSE(refresh.complete);
    EXPECT_TRUE(refresh.running);
    ip.folder.File("answered", "");
    FinishRefresh(refresh);
    EXPECT_TRUE(refresh.complete);
    EXPECT_EQ(Addresses(refresh), Texts{"::1"});
}

TEST_F(InterfaceRefreshTest, SaysOnceThatItIsDone) {
    const StandInIp ip(kTwoInterfaces, kOwnAddress);
    InterfaceRefresh refresh;
    EXPECT_FALSE(ContinueRefresh(refresh)) << "nothing runs yet";
    StartRefresh(refresh);
    while (!ContinueRefresh(refresh))
        ASSERT_TRUE(refresh.running);
    EXPECT_FALSE(ContinueRefresh(refresh));
    EXPECT_TRUE(refresh.complete);
}

TEST_F(InterfaceRefreshTest, TheCommandsRunAtTheSameTime) {
    const StandInIp ip(
        kTwoInterfaces,
        ": >$4; until_there a0; until_there b0; [ -e a0 -a -e b0 ] && echo 'inet6 met'");
    InterfaceRefresh refresh;
    StartRefresh(refresh);
    FinishRefresh(refresh);
    EXPECT_EQ(Addresses(refresh), (Texts{"met", "met"}));
}

TEST_F(InterfaceRefreshTest, AbandonedItForgetsEverything) {
    const int free_before = dup(STDERR_FILENO);
    close(free_before);
    const StandInIp ip(kTwoInterfaces, "until_there answered");
    InterfaceRefresh refresh;
    StartRefresh(refresh);
    while (refresh.interfaces.empty())
        ASSERT_FALSE(ContinueRefresh(refresh));
    AbandonRefresh(refresh);
    ip.folder.File("answered", "");
    EXPECT_FALSE(refresh.running);
    EXPECT_FALSE(refresh.complete);
    EXPECT_EQ(Names(refresh), Texts{});
    EXPECT_FALSE(ContinueRefresh(refresh));
    const int free_after = dup(STDERR_FILENO);
    close(free_after);
    EXPECT_EQ(free_after, free_before);
}

TEST_F(InterfaceRefreshTest, StartedAgainItBeginsAnew) {
    const StandInIp ip(kTwoInterfaces, kOwnAddress);
    InterfaceRefresh refresh;
    StartRefresh(refresh);
    FinishRefresh(refresh);
    StartRefresh(refresh, "c0");
    FinishRefresh(refresh);
    EXPECT_EQ(Names(refresh), Texts{"c0"});
    StartRefresh(refresh);
    EXPECT_FALSE(refresh.complete);
    FinishRefresh(refresh);
    EXPECT_EQ(Names(refresh), (Texts{"a0", "b0"}));
}

TEST_F(InterfaceRefreshTest, WithoutAnAnswerThereAreNoInterfaces) {
    const StandInIp ip("exit 1", "exit 1");
    InterfaceRefresh refresh;
    StartRefresh(refresh);
    FinishRefresh(refresh);
    EXPECT_TRUE(refresh.complete);
    EXPECT_EQ(Names(refresh), Texts{});
}

TEST(InterfaceRefresh, WhereNoCommandCanBeStartedThereAreNoInterfaces) {
    const TemporaryFolder empty;
    const Answer answer =
        AnswerInChild([&] { return EnterRoot(empty.path); },
                      [] {
                          InterfaceRefresh refresh;
                          StartRefresh(refresh);
                          FinishRefresh(refresh);
                          return refresh.complete && Names(refresh).empty() ? 1L : 0L;
                      });
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.value, 1);
}

TEST(InterfaceRefresh, GathersTheRealInterfaces) {
    const Answer answer = AnswerInChild(
        [] {
            return EnterNetwork({{"eth0", "192.0.2.2"}, {"eth1", nullptr}});
        },
        [] {
            RunCommand("ip link set eth0 up");
            InterfaceRefresh refresh;
            StartRefresh(refresh);
            FinishRefresh(refresh);
            for (const GatheredInterface& interface : refresh.interfaces) {
                InterfaceStatus status;
                UnderstandGathered(interface, status);
                printf("%s %s %s\n", interface.name.c_str(), status.link.c_str(),
                       status.up.c_str());
                for (const std::string& row : FormatInterfaceStatus(status))
                    printf("%s\n", row.c_str());
            }
            return 0L;
        });
    SKIP_WHERE_REFUSED(answer);
    // The kernel may bring devices of its own into every new network, before these.
    const std::size_t ours = answer.output.find("eth0 ");
    ASSERT_NE(ours, std::string::npos) << answer.output;
    EXPECT_EQ(answer.output.substr(ours),
              "eth0 Link active Interface up\n"
              "   IPv4: 192.0.2.2   netmask: 255.255.255.0\n"
              "eth1 Disconnected \n");
}

TEST(UnderstandGathered, TakesTheGatewayFromTheRouteTable) {
    RouteTable = {{"eth1", 0, inet_addr("192.0.2.9"), 3, 0},
                  {"eth0", 0, inet_addr("192.0.2.1"), 3, 0}};
    GatheredInterface interface = {"eth0", {}};
    interface.facts.inet_socket = true;
    interface.facts.address_family = AF_INET;
    InterfaceStatus status;
    UnderstandGathered(interface, status);
    EXPECT_EQ(status.gateway.s_addr, inet_addr("192.0.2.1"));
    RouteTable.clear();
    UnderstandGathered(interface, status);
    EXPECT_EQ(status.gateway.s_addr, 0U);
}

}  // namespace
