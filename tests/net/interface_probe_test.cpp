// Probes a private, real network. Its interfaces are bridges, which every kernel supports: a bridge
// that is up has a link, one that is down has none.
#include <gtest/gtest.h>

#include <utility>

#include "net/interface_status.h"
#include "net/refresh_fixtures.h"
#include "util/command.h"
#include "util/utility_fixtures.h"

namespace {

void PrintStatus(const InterfaceStatus& status) {
    printf("%s|%s\n", status.link.c_str(), status.up.c_str());
    for (const std::string& row : FormatInterfaceStatus(status))
        printf("%s\n", row.c_str());
}

// What the probe reports about eth0 after each group of `ip` commands.
Answer Probed(const std::vector<std::string>& commands) {
    return AnswerInChild(
        [] {
            return EnterNetwork({{"eth0", nullptr}});
        },
        [&] {
            InterfaceStatus status;
            for (const std::string& command : commands) {
                RunCommand(command);
                InterfaceRefresh refresh = {.only = "eth0"};
                AskInterfaces(refresh);
                TakeAll(refresh);
                UnderstandGathered(refresh, refresh.interfaces.front(), status);
                PrintStatus(status);
            }
            return 0L;
        });
}

TEST(InterfaceState, AnInterfaceThatIsDownIsDisconnected) {
    const Answer answer = Probed({":"});
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.output, "Disconnected|\n");
}

// A tap device that no process holds open is like a card without a cable.
TEST(InterfaceState, AnInterfaceCanBeUpWithoutLink) {
    const Answer answer =
        Probed({"ip link del eth0; ip tuntap add eth0 mode tap 2>/dev/null && "
                "ip link set eth0 up || echo no tap"});
    SKIP_WHERE_REFUSED(answer);
    if (answer.output.starts_with("no tap")) GTEST_SKIP() << "no taps on this system";
    EXPECT_EQ(answer.output, "Disconnected|Interface up\n");
}

TEST(InterfaceState, FollowsWhatHappensToTheInterface) {
    const Answer answer = Probed({
        "ip link set eth0 up",
        "ip addr add 192.0.2.2/26 dev eth0; ip route add default via 192.0.2.1",
        "ip -6 addr add 2001:db8::1/64 dev eth0 nodad 2>/dev/null; "
        "ip -6 addr add 2001:db8::5/64 dev eth0 nodad 2>/dev/null; "
        "ip route del default",
        "ip addr flush dev eth0 scope global; ip link set eth0 down",
    });
    SKIP_WHERE_REFUSED(answer);
    const std::string up = "Link active|Interface up\n";
    const std::string address = "   IPv4: 192.0.2.2   netmask: 255.255.255.192";
    const std::size_t ipv6 = answer.output.find("   IPv6: ");
    if (ipv6 == std::string::npos && !std::filesystem::exists("/proc/net/if_inet6")) {
        GTEST_SKIP() << "no IPv6 on this system";
    }
    // The kernel lists the newest address first.
    EXPECT_EQ(answer.output, up + up + address + "  gateway: 192.0.2.1\n" + up + address + "\n" +
                                 "   IPv6: 2001:db8::1/64\n" + "Disconnected|\n");
}

TEST(InterfaceState, OnlyTheLinkTextOutlivesTheInterface) {
    const Answer answer = Probed({
        "ip link set eth0 up; ip addr add 192.0.2.2/26 dev eth0",
        "ip link del eth0",
    });
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.output,
              "Link active|Interface up\n"
              "   IPv4: 192.0.2.2   netmask: 255.255.255.192\n"
              "Link active|\n");
}

TEST(AskInterface, LearnsTheHardwareAddress) {
    const Answer answer = AnswerInChild(
        [] {
            return EnterNetwork({{"eth0", nullptr}});
        },
        [] {
            RunCommand("ip link set eth0 address 02:00:00:ab:cd:ef");
            const KernelSockets sockets;
            const InterfaceFacts facts = AskInterface("eth0", sockets);
            printf(
                "%s",
                FormatHardwareAddress(facts.hardware_address.value_or(HardwareAddress{})).c_str());
            return AskInterface("eth1", sockets).hardware_address.has_value() ? 1L : 0L;
        });
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.output, "02:00:00:AB:CD:EF");
    EXPECT_EQ(answer.value, 0);
}

// Sockets, some of which the kernel has refused.
struct SomeSockets : KernelSockets {
    SomeSockets(bool has_packet, bool has_inet) {
        if (!has_packet) close(std::exchange(packet, -1));
        if (!has_inet) close(std::exchange(inet, -1));
    }
};

TEST(AskInterface, WithoutAPacketSocketLinkAndFlagsAreNotQueried) {
    const InterfaceFacts facts = AskInterface("lo", SomeSockets(false, true));
    EXPECT_FALSE(facts.packet_socket);
    EXPECT_FALSE(facts.hardware_address.has_value());
    EXPECT_FALSE(facts.link.has_value());
    EXPECT_FALSE(facts.up.has_value());
    EXPECT_TRUE(facts.inet_socket);
}

TEST(AskInterface, WithoutAnInetSocketAddressesAreNotQueried) {
    const InterfaceFacts facts = AskInterface("lo", SomeSockets(false, false));
    EXPECT_FALSE(facts.inet_socket);
    EXPECT_EQ(facts.address_family, 0);
    EXPECT_FALSE(facts.is_wireless);
}

TEST(AskInterface, HandlesNamesThatNoInterfaceHas) {
    const KernelSockets sockets;
    for (const std::string& name : {std::string(), std::string("a b"), std::string("$(echo lo)"),
                                    std::string("veth0@if5"), std::string(127, 'x')}) {
        const InterfaceFacts facts = AskInterface(name, sockets);
        EXPECT_EQ(facts.address_family, 0) << name;
        EXPECT_FALSE(facts.is_wireless) << name;
    }
}

TEST(KernelSockets, AreClosedAndNotInherited) {
    const SignalAction child(SIGCHLD, SIG_IGN);
    const int free_before = NextDescriptor();
    {
        const KernelSockets sockets;
        EXPECT_EQ(fcntl(sockets.inet, F_GETFD), FD_CLOEXEC);
        if (sockets.packet < 0) GTEST_SKIP() << "no packet sockets on this system";
        EXPECT_EQ(fcntl(sockets.packet, F_GETFD), FD_CLOEXEC);
    }
    EXPECT_EQ(NextDescriptor(), free_before);
}

TEST(GlobalAddressCommand, NamesTheInterface) {
    EXPECT_EQ(GlobalAddressCommand("eth0"), "ip addr show dev eth0 scope global");
    EXPECT_EQ(GlobalAddressCommand("$(a) b"), "ip addr show dev '$(a) b' scope global");
}

TEST(IsWirelessInterface, AWiredCardIsNotWireless) {
    EXPECT_FALSE(IsWirelessInterface("lo"));
    EXPECT_FALSE(IsWirelessInterface("none0"));
}

}  // namespace
