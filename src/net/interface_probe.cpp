// The queries of interface_status.h: sockets, ioctls and the radio-kill files.
#include <arpa/inet.h>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <linux/wireless.h>
#include <net/ethernet.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "net/interface_status.h"
#include "util/command.h"

namespace {

constexpr std::size_t kEssidBytes = 64;

// A request record for the interface; a longer name than the kernel allows is cut.
template <typename Request>
Request RequestFor(const std::string& name) {
    Request request;
    std::memset(&request, 0, sizeof request);
    char* field = reinterpret_cast<char*>(&request);
    name.copy(field, IFNAMSIZ - 1);
    return request;
}

int OpenDatagramSocket() {
    return socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
}

std::optional<HardwareAddress> AskHardwareAddress(int socket, const std::string& name) {
    auto request = RequestFor<ifreq>(name);
    if (ioctl(socket, SIOCGIFHWADDR, &request) != 0) return std::nullopt;
    HardwareAddress address;
    std::memcpy(address.data(), request.ifr_hwaddr.sa_data, address.size());
    return address;
}

std::optional<bool> AskLink(int socket, const std::string& name) {
    auto request = RequestFor<ifreq>(name);
    ethtool_value value = {};
    value.cmd = ETHTOOL_GLINK;
    request.ifr_data = reinterpret_cast<char*>(&value);
    if (ioctl(socket, SIOCETHTOOL, &request) != 0) return std::nullopt;
    return value.data != 0;
}

std::optional<bool> AskUp(int socket, const std::string& name) {
    auto request = RequestFor<ifreq>(name);
    if (ioctl(socket, SIOCGIFFLAGS, &request) != 0) return std::nullopt;
    return (request.ifr_flags & IFF_UP) != 0;
}

// The family and address of an answer that holds a socket address.
sockaddr_in AskAddress(int socket, unsigned long query, const std::string& name) {
    auto request = RequestFor<ifreq>(name);
    sockaddr_in address = {};
    if (ioctl(socket, query, &request) == 0) {
        std::memcpy(&address, &request.ifr_addr, sizeof address);
    }
    return address;
}

void GatherIPv4(const std::string& name, InterfaceFacts& facts) {
    const int socket = OpenDatagramSocket();
    if (socket < 0) return;
    facts.inet_socket = true;
    const sockaddr_in address = AskAddress(socket, SIOCGIFADDR, name);
    facts.address_family = address.sin_family;
    facts.ipv4 = address.sin_addr;
    facts.netmask = AskAddress(socket, SIOCGIFNETMASK, name).sin_addr;
    close(socket);
}

void GatherEssid(int socket, const std::string& name, InterfaceFacts& facts) {
    auto request = RequestFor<iwreq>(name);
    char essid[kEssidBytes + 1] = "";
    request.u.essid.pointer = essid;
    request.u.essid.length = kEssidBytes;
    if (ioctl(socket, SIOCGIWESSID, &request) == 0) facts.essid = essid;
}

void GatherFrequency(int socket, const std::string& name, InterfaceFacts& facts) {
    auto request = RequestFor<iwreq>(name);
    if (ioctl(socket, SIOCGIWFREQ, &request) != 0) return;
    facts.frequency_mantissa = request.u.freq.m;
    facts.frequency_exponent = request.u.freq.e;
}

void GatherAccessPoint(int socket, const std::string& name, InterfaceFacts& facts) {
    auto request = RequestFor<iwreq>(name);
    if (ioctl(socket, SIOCGIWAP, &request) != 0) return;
    HardwareAddress address;
    std::memcpy(address.data(), request.u.ap_addr.sa_data, address.size());
    facts.access_point = address;
}

void GatherRfkill(const std::string& name, InterfaceFacts& facts) {
    facts.has_rfkill = HasRfkill(name);
    if (!facts.has_rfkill) return;
    const std::string folder = RfkillFolder(name);
    facts.rfkill_state = ReadIntFile(folder + "/state");
    facts.rfkill_hard = ReadIntFile(folder + "/hard");
    facts.rfkill_soft = ReadIntFile(folder + "/soft");
}

bool AskWireless(int socket, const std::string& name) {
    auto request = RequestFor<iwreq>(name);
    return ioctl(socket, SIOCGIWNAME, &request) == 0;
}

void GatherWireless(const std::string& name, InterfaceFacts& facts) {
    const int socket = OpenDatagramSocket();
    if (socket < 0) return;
    facts.is_wireless = AskWireless(socket, name);
    if (facts.is_wireless) {
        GatherEssid(socket, name, facts);
        GatherFrequency(socket, name, facts);
        GatherAccessPoint(socket, name, facts);
        GatherRfkill(name, facts);
    }
    close(socket);
}

}  // namespace

int OpenPacketSocket() {
    return socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, htons(ETHERTYPE_IP));
}

InterfaceFacts AskInterface(const std::string& name, int packet_socket) {
    InterfaceFacts facts;
    if (packet_socket >= 0) {
        facts.packet_socket = true;
        facts.hardware_address = AskHardwareAddress(packet_socket, name);
        facts.link = AskLink(packet_socket, name);
        facts.up = AskUp(packet_socket, name);
    }
    GatherIPv4(name, facts);
    GatherWireless(name, facts);
    return facts;
}

std::string GlobalAddressCommand(const std::string& name) {
    return "ip addr show dev " + ShellWord(name) + " scope global";
}

bool IsWirelessInterface(const std::string& name) {
    const int socket = OpenDatagramSocket();
    if (socket < 0) return false;
    const bool wireless = AskWireless(socket, name);
    close(socket);
    return wireless;
}

std::string RfkillFolder(const std::string& name) {
    return "/sys/class/net/" + name + "/phy80211/rfkill0";
}

bool HasRfkill(const std::string& name) {
    struct stat about = {};
    return stat(RfkillFolder(name).c_str(), &about) == 0 && S_ISDIR(about.st_mode);
}

int ReadIntFile(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "re");
    if (file == nullptr) return -1;
    char line[64] = "";
    if (std::fgets(line, sizeof line, file) == nullptr) line[0] = '\0';
    std::fclose(file);
    return std::atoi(line);
}

void WriteIntFile(const std::string& path, int value) {
    std::FILE* file = std::fopen(path.c_str(), "we");
    if (file == nullptr) return;
    std::fprintf(file, "%d\n", value);
    std::fclose(file);
}
