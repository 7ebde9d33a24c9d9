#include "network.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <stdexcept>

#include "spawn.h"

namespace {

constexpr const char* kBatch = "/tmp/network.batch";

template <typename... Values>
std::string Text(const char* format, Values... values) {
    char text[512];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

bool HasTaps() {
    static const bool has =
        harness::Descriptor(open("/dev/net/tun", O_RDWR | O_CLOEXEC)).get() >= 0;
    return has;
}

bool IsTap(int number) {
    return number % 2 == 1 && HasTaps();
}

std::string HardwareAddress(int number) {
    return Text("02:00:00:00:%02X:%02X", number / 256, number % 256);
}

std::string IPv4(int number) {
    return Text("10.%d.%d.1", number / 256, number % 256);
}

std::string IPv6(int number) {
    return Text("2001:db8:%x::1/64", number);
}

// Lines for `ip -batch`.
std::string MakeCard(int number) {
    const std::string name = CardName(number);
    const std::string made = IsTap(number) ? "tuntap add dev " + name + " mode tap\n"
                                           : "link add dev " + name + " type bridge\n";
    return made + "link set dev " + name + " address " + HardwareAddress(number) + " up\n" +
           "addr add " + IPv4(number) + "/24 dev " + name + "\n" +  //
           "addr add " + IPv6(number) + " dev " + name + " nodad\n";
}

harness::Descriptor MakeNetwork(int cards) {
    if (unshare(CLONE_NEWNET) != 0) throw std::runtime_error("cannot make a network");
    std::FILE* batch = std::fopen(kBatch, "w");
    if (batch == nullptr) throw std::runtime_error("cannot write in /tmp");
    std::fputs("link set dev lo up\n", batch);
    for (int number = 1; number <= cards; ++number)
        std::fputs(MakeCard(number).c_str(), batch);
    std::fclose(batch);
    if (std::system(("ip -batch " + std::string(kBatch)).c_str()) != 0) {
        throw std::runtime_error("ip cannot make the cards");
    }
    return harness::Descriptor(open("/proc/self/ns/net", O_RDONLY | O_CLOEXEC));
}

const Row kSeparator = {'-', 'd', ""};

void AddCard(int number, std::vector<Row>& rows) {
    const char key = number > 10 ? '-' : static_cast<char>('0' + number % 10);
    rows.push_back({key, 's',
                    Text("%d. %-6s  %s  Disconnected  Interface up", number,
                         CardName(number).c_str(), HardwareAddress(number).c_str())});
    rows.push_back({'-', 'd', "   IPv4: " + IPv4(number) + "   netmask: 255.255.255.0"});
    rows.push_back({'-', 'd', "   IPv6: " + IPv6(number)});
    rows.push_back(kSeparator);
}

}  // namespace

void EnterNetwork(int cards) {
    static std::map<int, harness::Descriptor> networks;
    const auto found = networks.find(cards);
    if (found == networks.end()) {
        networks[cards] = MakeNetwork(cards);
    } else if (setns(found->second.get(), CLONE_NEWNET) != 0) {
        throw std::runtime_error("cannot enter a network");
    }
}

std::string CardName(int number) {
    return Text("if%03d", number);
}

std::string FolderCommand() {
    return "mkdir -p /etc/network; touch /etc/network/default.wireless";
}

std::string ListCommand() {
    return "ip link";
}

std::string AddressCommand(int number) {
    return "ip addr show dev " + CardName(number) + " scope global";
}

MainMenu ExpectedMenu(int cards) {
    char host[256] = "";
    gethostname(host, sizeof host);
    MainMenu menu = {
        {"Tavrin 4 Network configuration utility",
         Text("Network configuration main menu for '%s'", host),
         "Select network interface and hit ENTER to configure it."},
        {{'u', 's', "Bring up all interfaces"},
         {'d', 's', "Bring down all interfaces"},
         {'u', 's', "Update interfaces from config"},
         {'n', 's', "Change computer name"},
         {'t', 's', "Network Time Protocol settings"},
         {'f', 's', "Flush/reset DNS cache"},
         {'s', 's', "Services"},
         {'i', 's', "Diagnostics"},
         kSeparator},
    };
    for (int number = 1; number <= cards; ++number)
        AddCard(number, menu.rows);
    menu.rows.push_back({'e', 's', "Exit this program"});
    return menu;
}
