#include "net/interface_refresh.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "net/refresh_fixtures.h"
#include "util/process_fixtures.h"
#include "util/utility_fixtures.h"

namespace {

// An `ip` command of the test's own, first in PATH: a shell script with a function for each of its
// two uses. until_there gives up after five seconds, or when the test's folder is gone.
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

constexpr const char* kHang = "sleep 60 & : >started$4; wait";

using Texts = std::vector<std::string>;

Texts Names(const InterfaceRefresh& refresh) {
    Texts names;
    for (const GatheredInterface& interface : refresh.interfaces)
        names.push_back(interface.name);
    return names;
}

Texts Addresses(const InterfaceRefresh& refresh) {
    Texts addresses;
    for (const GatheredInterface& interface : refresh.interfaces)
        addresses.push_back(LastGlobalIPv6(interface.facts.global_addresses));
    return addresses;
}

Known Take(InterfaceRefresh& refresh) {
    return TakeAnswers(refresh, MonotonicSeconds()).known;
}

void TakeList(InterfaceRefresh& refresh) {
    TakeUntil(refresh, [](const Answers& answers) { return answers.known != Known::Nothing; });
}

Answers TakeLate(InterfaceRefresh& refresh) {
    return TakeUntil(refresh, [](const Answers& answers) { return answers.late; });
}

void AwaitFile(const std::string& path) {
    while (!std::filesystem::exists(path))
        usleep(1000);
}

// Makes the command look as if it had started that much earlier.
void Age(std::optional<RunningCommand>& command, double seconds) {
    ASSERT_TRUE(command.has_value());
    command->started -= seconds;
}

// The kernel reaps children, as in the program. Hanging commands are killed.
class InterfaceRefreshTest : public testing::Test {
  protected:
    ~InterfaceRefreshTest() override { StopAsking(refresh); }

    const SignalAction child{SIGCHLD, SIG_IGN};
    InterfaceRefresh refresh;
};

TEST_F(InterfaceRefreshTest, GathersAllListedInterfaces) {
    const StandInIp ip(kTwoInterfaces, kOwnAddress);
    AskInterfaces(refresh);
    TakeAll(refresh);
    EXPECT_EQ(Names(refresh), (Texts{"a0", "b0"}));
    EXPECT_EQ(Addresses(refresh), (Texts{"2001:db8::a0/64", "2001:db8::b0/64"}));
    EXPECT_FALSE(TakeAnswers(refresh, MonotonicSeconds()).late);
}

TEST_F(InterfaceRefreshTest, GathersOnlyTheNamedInterface) {
    const StandInIp ip("echo '1: a0: <UP>'", kOwnAddress);
    refresh.only = "c0";
    AskInterfaces(refresh);
    EXPECT_EQ(Names(refresh), Texts{"c0"});
    TakeAll(refresh);
    EXPECT_EQ(Addresses(refresh), Texts{"2001:db8::c0/64"});
}

TEST_F(InterfaceRefreshTest, GathersManyInterfaces) {
    const StandInIp ip("n=1; while [ $n -le 150 ]; do echo \"$n: tap$n: <UP>\"; n=$((n + 1)); done",
                       "echo \"inet6 ::$4\"");
    AskInterfaces(refresh);
    TakeAll(refresh);
    Texts names;
    Texts addresses;
    for (int n = 1; n <= 150; ++n) {
        names.push_back("tap" + std::to_string(n));
        addresses.push_back("::" + names.back());
    }
    EXPECT_EQ(Names(refresh), names);
    EXPECT_EQ(Addresses(refresh), addresses);
}

TEST_F(InterfaceRefreshTest, LooksAtAtMost4096Interfaces) {
    const StandInIp ip("seq 1 4097 | sed 's/.*/&: tap&: <UP>/'", "exit");
    AskInterfaces(refresh);
    TakeList(refresh);
    ASSERT_EQ(refresh.interfaces.size(), 4096U);
    EXPECT_EQ(refresh.interfaces.back().name, "tap4096");
}

TEST_F(InterfaceRefreshTest, DoesNotBlock) {
    const StandInIp ip("until_there listed; echo '1: a0: <UP>'",
                       "until_there answered; echo 'inet6 ::1'");
    AskInterfaces(refresh);
    EXPECT_EQ(Take(refresh), Known::Nothing);
    EXPECT_EQ(Take(refresh), Known::Nothing);
    EXPECT_EQ(Names(refresh), Texts{});
    ip.folder.File("listed", "");
    TakeList(refresh);
    EXPECT_EQ(Names(refresh), Texts{"a0"});
    EXPECT_EQ(Take(refresh), Known::Part);
    ip.folder.File("answered", "");
    TakeAll(refresh);
    EXPECT_EQ(Addresses(refresh), Texts{"::1"});
    EXPECT_EQ(Take(refresh), Known::All);
}

TEST_F(InterfaceRefreshTest, RunsTheCommandsInParallel) {
    const StandInIp ip(
        kTwoInterfaces,
        ": >$4; until_there a0; until_there b0; [ -e a0 -a -e b0 ] && echo 'inet6 met'");
    AskInterfaces(refresh);
    TakeAll(refresh);
    EXPECT_EQ(Addresses(refresh), (Texts{"met", "met"}));
}

TEST_F(InterfaceRefreshTest, WithoutAnAnswerThereAreNoInterfaces) {
    const StandInIp ip("exit 1", "exit 1");
    AskInterfaces(refresh);
    TakeAll(refresh);
    EXPECT_EQ(Names(refresh), Texts{});
}

// ---- later rounds ----

TEST_F(InterfaceRefreshTest, ANewRoundKeepsOldAnswersUntilNewOnesArrive) {
    const StandInIp ip("cat list", "cat $4");
    ip.folder.File("list", "1: a0: <UP>\n2: b0: <UP>\n");
    ip.folder.File("a0", "inet6 ::a\n");
    ip.folder.File("b0", "inet6 ::b\n");
    AskInterfaces(refresh);
    TakeAll(refresh);
    ip.folder.File("list", "1: c0: <UP>\n2: b0: <UP>\n");
    ip.folder.File("b0", "inet6 ::bb\n");
    ip.folder.File("c0", "inet6 ::c\n");
    AskInterfaces(refresh);
    EXPECT_EQ(Addresses(refresh), (Texts{"::a", "::b"}));
    TakeAll(refresh);
    EXPECT_EQ(Names(refresh), (Texts{"c0", "b0"}));
    EXPECT_EQ(Addresses(refresh), (Texts{"::c", "::bb"}));
}

TEST_F(InterfaceRefreshTest, ARoundDoesNotWaitForAnEarlierOne) {
    const StandInIp ip(kTwoInterfaces, "[ $4 = b0 ] || until_there go; echo \"inet6 ::$4\"");
    AskInterfaces(refresh);
    TakeUntil(refresh, [&](const Answers&) { return Addresses(refresh) == Texts{"", "::b0"}; });
    EXPECT_EQ(Take(refresh), Known::Part);
    AskInterfaces(refresh);
    TakeAll(refresh);
    EXPECT_EQ(Addresses(refresh), (Texts{"", "::b0"}));
    ip.folder.File("go", "");
    EXPECT_EQ(TakeLate(refresh).known, Known::All);
    EXPECT_EQ(Addresses(refresh), (Texts{"::a0", "::b0"}));
    EXPECT_FALSE(TakeAnswers(refresh, MonotonicSeconds()).late);
}

TEST_F(InterfaceRefreshTest, KnownInterfacesAreQueriedWhileTheListHangs) {
    const StandInIp ip("[ ! -e hang ] || until_there go; cat list", "cat $4");
    ip.folder.File("list", "1: a0: <UP>\n");
    ip.folder.File("a0", "inet6 ::1\n");
    AskInterfaces(refresh);
    TakeAll(refresh);
    ip.folder.File("hang", "");
    ip.folder.File("a0", "inet6 ::2\n");
    AskInterfaces(refresh);
    EXPECT_EQ(Take(refresh), Known::Nothing);
    AskInterfaces(refresh);
    TakeUntil(refresh, [&](const Answers&) { return Addresses(refresh) == Texts{"::2"}; });
    EXPECT_EQ(Take(refresh), Known::Part);
    ip.folder.File("list", "1: b0: <UP>\n");
    ip.folder.File("b0", "inet6 ::3\n");
    ip.folder.File("go", "");
    TakeLate(refresh);
    EXPECT_EQ(Names(refresh), Texts{"b0"});
    TakeAll(refresh);
    EXPECT_EQ(Addresses(refresh), Texts{"::3"});
}

TEST_F(InterfaceRefreshTest, KillsTheCommandsOfInterfacesNoLongerListed) {
    const StandInIp ip("cat list", kHang);
    ip.folder.File("list", "1: a0: <UP>\n2: b0: <UP>\n");
    AskInterfaces(refresh);
    TakeList(refresh);
    for (const char* file : {"starteda0", "startedb0"})
        AwaitFile(ip.folder.Path(file));
    const pid_t gone = refresh.interfaces[0].command->pid;
    const pid_t stays = refresh.interfaces[1].command->pid;
    ip.folder.File("list", "2: b0: <UP>\n");
    AskInterfaces(refresh);
    TakeAll(refresh);
    EXPECT_EQ(Names(refresh), Texts{"b0"});
    EXPECT_TRUE(GroupEnds(gone));
    EXPECT_TRUE(GroupRuns(stays));
    EXPECT_EQ(refresh.interfaces[0].command->pid, stays);
}

TEST_F(InterfaceRefreshTest, DropsAnAnswerOlderThanTwoRounds) {
    const StandInIp ip("echo '1: a0: <UP>'", "[ -e hang ] && sleep 60; echo 'inet6 ::1'");
    AskInterfaces(refresh);
    TakeAll(refresh);
    ip.folder.File("hang", "");
    for (const char* expected : {"::1", "::1", ""}) {
        AskInterfaces(refresh);
        TakeList(refresh);
        AskKernel(refresh);
        EXPECT_EQ(Addresses(refresh), Texts{expected});
    }
    EXPECT_TRUE(refresh.interfaces[0].facts.addresses_asked);
}

// ---- hanging commands ----

TEST_F(InterfaceRefreshTest, KillsAHangingCommandWithItsChildrenAndRestartsIt) {
    const StandInIp ip("echo '1: a0: <UP>'",
                       std::string("[ -e starteda0 ] && echo 'inet6 ::2' && exit; ") + kHang);
    AskInterfaces(refresh);
    TakeList(refresh);
    AwaitFile(ip.folder.Path("starteda0"));
    const pid_t hanging = refresh.interfaces[0].command->pid;
    Age(refresh.interfaces[0].command, 9);
    EXPECT_EQ(Take(refresh), Known::Part);
    EXPECT_TRUE(GroupRuns(hanging));
    Age(refresh.interfaces[0].command, 1);
    EXPECT_EQ(Take(refresh), Known::Part);
    EXPECT_TRUE(GroupEnds(hanging));
    TakeAll(refresh);
    EXPECT_EQ(Addresses(refresh), Texts{"::2"});
}

TEST_F(InterfaceRefreshTest, KillsAHangingListWithItsChildrenAndRestartsIt) {
    const StandInIp ip(std::string("[ -e started ] && echo '1: a0: <UP>' && exit; ") + kHang,
                       kOwnAddress);
    AskInterfaces(refresh);
    AwaitFile(ip.folder.Path("started"));
    const pid_t hanging = refresh.list->pid;
    Age(refresh.list, 9);
    EXPECT_EQ(Take(refresh), Known::Nothing);
    EXPECT_TRUE(GroupRuns(hanging));
    Age(refresh.list, 1);
    EXPECT_EQ(Take(refresh), Known::Nothing);
    EXPECT_TRUE(GroupEnds(hanging));
    TakeAll(refresh);
    EXPECT_EQ(Names(refresh), Texts{"a0"});
}

TEST_F(InterfaceRefreshTest, AwaitAnswersGivesThePipesAndTheTime) {
    const StandInIp ip(kTwoInterfaces, kHang);
    std::vector<pollfd> pipes;
    EXPECT_TRUE(std::isinf(AwaitAnswers(refresh, pipes)));
    AskInterfaces(refresh);
    EXPECT_EQ(AwaitAnswers(refresh, pipes), refresh.list->started + 10);
    ASSERT_EQ(pipes.size(), 1U);
    EXPECT_EQ(pipes[0].fd, refresh.list->descriptor);
    EXPECT_EQ(pipes[0].events, POLLIN);
    // While commands are still to be started, there is something to do at once.
    TakeUntil(refresh, [&](const Answers&) {
        pipes.clear();
        return !refresh.interfaces.empty() && AwaitAnswers(refresh, pipes) > 0;
    });
    ASSERT_EQ(pipes.size(), 2U);
    EXPECT_EQ(pipes[1].fd, refresh.interfaces[1].command->descriptor);
    refresh.interfaces[1].command->started -= 5;
    EXPECT_EQ(AwaitAnswers(refresh, pipes), refresh.interfaces[1].command->started + 10);
    EndCommand(*refresh.interfaces[0].command);
    refresh.interfaces[0].command.reset();
    refresh.interfaces[0].asked = false;
    pipes.clear();
    EXPECT_EQ(AwaitAnswers(refresh, pipes), 0);
    EXPECT_TRUE(pipes.empty());
}

// ---- stopping ----

TEST_F(InterfaceRefreshTest, StopAskingKillsCommandsAndKeepsAnswers) {
    const int free_before = NextDescriptor();
    const StandInIp ip(kTwoInterfaces, std::string("[ -e hang ] || ") + kOwnAddress +
                                           "; [ ! -e hang ] && exit; " + kHang);
    AskInterfaces(refresh);
    TakeAll(refresh);
    ip.folder.File("hang", "");
    AskInterfaces(refresh);
    TakeList(refresh);
    AwaitFile(ip.folder.Path("startedb0"));
    const pid_t hanging = refresh.interfaces[1].command->pid;
    AskInterfaces(refresh);
    StopAsking(refresh);
    EXPECT_TRUE(GroupEnds(hanging));
    EXPECT_FALSE(refresh.list.has_value());
    EXPECT_EQ(NextDescriptor(), free_before);
    TakeAnswers(refresh, MonotonicSeconds());
    EXPECT_EQ(Addresses(refresh), (Texts{"2001:db8::a0/64", "2001:db8::b0/64"}));
}

TEST_F(InterfaceRefreshTest, ForgetAnswersKeepsNamesAndHardwareAddresses) {
    const StandInIp ip(kTwoInterfaces, kOwnAddress);
    AskInterfaces(refresh);
    TakeAll(refresh);
    refresh.routes = {{"a0", 0, 1, 3, 0}};
    refresh.interfaces[0].facts.hardware_address = HardwareAddress{2, 0, 0, 0, 0, 1};
    refresh.interfaces[0].facts.link = true;
    AskInterfaces(refresh);
    ForgetAnswers(refresh);
    EXPECT_EQ(Names(refresh), (Texts{"a0", "b0"}));
    EXPECT_EQ(Addresses(refresh), (Texts{"", ""}));
    EXPECT_EQ(refresh.interfaces[0].facts.hardware_address, (HardwareAddress{2, 0, 0, 0, 0, 1}));
    EXPECT_FALSE(refresh.interfaces[0].facts.link.has_value());
    EXPECT_FALSE(refresh.list.has_value());
    EXPECT_TRUE(refresh.routes.empty());
    AskInterfaces(refresh);
    TakeAll(refresh);
    EXPECT_EQ(Addresses(refresh), (Texts{"2001:db8::a0/64", "2001:db8::b0/64"}));
}

TEST_F(InterfaceRefreshTest, IfNoCommandCanStartThereAreNoInterfaces) {
    const TemporaryFolder empty;
    const Answer answer = AnswerInChild([&] { return EnterRoot(empty.path); },
                                        [&] {
                                            refresh.interfaces.push_back({.name = "a0"});
                                            AskInterfaces(refresh);
                                            const bool all = Take(refresh) == Known::All;
                                            return all && refresh.interfaces.empty() ? 1L : 0L;
                                        });
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.value, 1);
}

TEST_F(InterfaceRefreshTest, IfNoCommandCanStartTheNamedInterfaceStays) {
    const TemporaryFolder empty;
    const Answer answer = AnswerInChild([&] { return EnterRoot(empty.path); },
                                        [&] {
                                            refresh.only = "a0";
                                            AskInterfaces(refresh);
                                            TakeAll(refresh);
                                            const auto& facts = refresh.interfaces.at(0).facts;
                                            return facts.addresses_asked ? 0L : 1L;
                                        });
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.value, 1);
}

TEST(RefreshOnARealNetwork, GathersTheRealInterfaces) {
    const Answer answer = AnswerInChild(
        [] {
            return EnterNetwork({{"eth0", "192.0.2.2"}, {"eth1", nullptr}});
        },
        [] {
            RunCommand("ip link set eth0 up");
            InterfaceRefresh refresh;
            AskInterfaces(refresh);
            TakeAll(refresh);
            for (const GatheredInterface& interface : refresh.interfaces) {
                InterfaceStatus status;
                UnderstandGathered(refresh, interface, status);
                printf("%s %s %s\n", interface.name.c_str(), status.link.c_str(),
                       status.up.c_str());
                for (const std::string& row : FormatInterfaceStatus(status))
                    printf("%s\n", row.c_str());
            }
            return 0L;
        });
    SKIP_WHERE_REFUSED(answer);
    // The kernel may list devices of its own before these in every new network.
    const std::size_t ours = answer.output.find("eth0 ");
    ASSERT_NE(ours, std::string::npos) << answer.output;
    EXPECT_EQ(answer.output.substr(ours),
              "eth0 Link active Interface up\n"
              "   IPv4: 192.0.2.2   netmask: 255.255.255.0\n"
              "eth1 Disconnected \n");
}

TEST(UnderstandGathered, TakesTheGatewayFromTheRoutes) {
    InterfaceRefresh refresh;
    refresh.routes = {{"eth1", 0, inet_addr("192.0.2.9"), 3, 0},
                      {"eth0", 0, inet_addr("192.0.2.1"), 3, 0}};
    GatheredInterface interface = {.name = "eth0"};
    interface.facts.inet_socket = true;
    interface.facts.address_family = AF_INET;
    InterfaceStatus status;
    UnderstandGathered(refresh, interface, status);
    EXPECT_EQ(status.gateway.s_addr, inet_addr("192.0.2.1"));
    refresh.routes.clear();
    UnderstandGathered(refresh, interface, status);
    EXPECT_EQ(status.gateway.s_addr, 0U);
}

}  // namespace
