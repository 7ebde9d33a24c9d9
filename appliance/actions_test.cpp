// Performs the program's actions on the demo appliance, with its scripts and interfaces.
// host_untouched_test.sh runs this and compares the host before and after.
#include <gtest/gtest.h>

#include <string>

#include "machine.h"
#include "terminal.h"

namespace {

using harness::Exited;
using harness::Kind;
using harness::Machine;
using harness::Terminal;

constexpr const char* kEth0Up = "1. eth0    02:00:00:00:10:20  Link active  Interface up";
constexpr const char* kEth0Down = "1. eth0    02:00:00:00:10:20  Disconnected";
constexpr const char* kEth0Settings = "/etc/network/02:00:00:00:10:20";

// Selects a row with keys, and activates it.
void Choose(Terminal& t, const std::string& keys, const std::string& row) {
    t.Press(keys);
    t.WaitSelected(row);
    t.Press("<Enter>");
}

void ChooseAndConfirm(Terminal& t, const std::string& keys, const std::string& row) {
    Choose(t, keys, row);
    t.WaitFor("Are you sure? [y/n]");
    t.Press("y");
    t.WaitForGone("Are you sure? [y/n]");
}

std::string DnsCache(Machine& box) {
    return box.Sh("pidof -x nscd || true");
}

TEST(DemoAppliance, TakesTheActionsOnAllInterfaces) {
    Machine box(Kind::kDemo);
    Terminal t(box);
    t.WaitFor(kEth0Up);
    ChooseAndConfirm(t, "d", "Bring down all interfaces");
    t.WaitFor(kEth0Down);
    EXPECT_EQ(box.Sh("ip route"), "");
    ChooseAndConfirm(t, "du", "Update interfaces from config");
    t.WaitFor(kEth0Up);
    ChooseAndConfirm(t, "d", "Bring down all interfaces");
    t.WaitFor(kEth0Down);
    ChooseAndConfirm(t, "<Home>", "Bring up all interfaces");
    t.WaitFor(kEth0Up);
    t.WaitFor("IPv4: 192.168.10.20   netmask: 255.255.255.0  gateway: 192.168.10.1");
    t.WaitFor("IPv6: 2001:db8:10::20/64");
    Choose(t, "e", "Exit this program");
    EXPECT_EQ(t.WaitExit(), Exited(0));
}

TEST(DemoAppliance, TakesANewName) {
    Machine box(Kind::kDemo);
    Terminal t(box);
    t.WaitFor("main menu for 'appliance'");
    Choose(t, "n", "Change computer name");
    t.WaitFor("New computer host name");
    t.Type(" two");
    t.Press("<Enter>");
    t.WaitFor("main menu for 'appliance-two'");
    EXPECT_EQ(box.Sh("uname -n"), "appliance-two\n");
    EXPECT_EQ(box.Read("/etc/hostname"), "appliance-two\n");
}

TEST(DemoAppliance, RestartsItsDnsCache) {
    Machine box(Kind::kDemo);
    box.WaitUntil([&] { return !DnsCache(box).empty(); }, "the DNS cache process");
    const std::string before = DnsCache(box);
    Terminal t(box);
    t.WaitFor("Flush/reset DNS cache");
    ChooseAndConfirm(t, "f", "Flush/reset DNS cache");
    box.WaitUntil(
        [&] {
            const std::string now = DnsCache(box);
            return !now.empty() && now != before;
        },
        "a new DNS cache process");
}

TEST(DemoAppliance, TakesTheActionsOnOneInterface) {
    Machine box(Kind::kDemo);
    Terminal t(box);
    t.WaitFor(kEth0Up);
    Choose(t, "1", "1. eth0");
    t.WaitFor("Network configuration: eth0 (02:00:00:00:10:20)");
    ChooseAndConfirm(t, "d", "Bring down this interfaces");
    t.WaitFor("Disconnected");
    ChooseAndConfirm(t, "du", "Update interface from config");
    t.WaitFor("Link active  Interface up");
    const std::string settings = box.Read(kEth0Settings);
    box.Write(kEth0Settings, "# This line does not survive a save.\n" + settings);
    Choose(t, "c", "Edit configuration");
    t.WaitFor("Configuration for eth0 (02:00:00:00:10:20)");
    Choose(t, "s", "Save changes");
    t.WaitFor("Network configuration: eth0");
    EXPECT_EQ(box.Read(kEth0Settings), settings);
    Choose(t, "m", "Main menu");
    t.WaitFor(kEth0Up);
}

}  // namespace
