// The queries of interface_status.h: sockets, ioctls and the radio-kill files.
#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <linux/wireless.h>
#include <net/ethernet.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "net/interface_status.h"
#include "net/rfkill.h"
#include "util/command.h"

namespace {

constexpr std::size_t kEssidBytes = 64;

// An ioctl request for the interface; a name longer than the kernel allows is cut.
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

// The socket address that the query returns; all zero if it fails.
sockaddr_in AskAddress(int socket, unsigned long query, const std::string& name) {
    auto request = RequestFor<ifreq>(name);
    sockaddr_in address = {};
    if (ioctl(socket, query, &request) == 0) {
        std::memcpy(&address, &request.ifr_addr, sizeof address);
    }
    return address;
}

void GatherIPv4(int socket, const std::string& name, InterfaceFacts& facts) {
    facts.inet_socket = true;
    const sockaddr_in address = AskAddress(socket, SIOCGIFADDR, name);
    facts.address_family = address.sin_family;
    facts.ipv4 = address.sin_addr;
    facts.netmask = AskAddress(socket, SIOCGIFNETMASK, name).sin_addr;
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
    const std::string folder = RfkillFolder(name);
    facts.has_rfkill = !folder.empty();
    if (!facts.has_rfkill) return;
    facts.rfkill_state = ReadIntFile(folder + "/state");
    facts.rfkill_hard = ReadIntFile(folder + "/hard");
    facts.rfkill_soft = ReadIntFile(folder + "/soft");
}

bool AskWireless(int socket, const std::string& name) {
    auto request = RequestFor<iwreq>(name);
    return ioctl(socket, SIOCGIWNAME, &request) == 0;
}

void GatherWireless(int socket, const std::string& name, InterfaceFacts& facts) {
    facts.is_wireless = AskWireless(socket, name);
    if (!facts.is_wireless) return;
    GatherEssid(socket, name, facts);
    GatherFrequency(socket, name, facts);
    GatherAccessPoint(socket, name, facts);
    GatherRfkill(name, facts);
}

void CloseOpened(int socket) {
    if (socket >= 0) close(socket);
}

// Closes the socket in a child process. Closing the last copy of a packet socket makes the kernel
// wait for a grace period of 8 to 20 ms, during which no key would be answered. The child exits
// when the pipe closes, after the program has closed its own copy.
void CloseBeside(int socket) {
    int pipe_ends[2] = {-1, -1};
    const bool has_pipe = socket >= 0 && pipe2(pipe_ends, O_CLOEXEC) == 0;
    if (has_pipe && fork() == 0) {
        close(pipe_ends[1]);
        char nothing = 0;
        while (read(pipe_ends[0], &nothing, 1) < 0 && errno == EINTR) {
        }
        _exit(0);
    }
    CloseOpened(socket);
    CloseOpened(pipe_ends[0]);
    CloseOpened(pipe_ends[1]);
}

}  // namespace

KernelSockets::KernelSockets()
    : packet(socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, htons(ETHERTYPE_IP))),
      inet(OpenDatagramSocket()) {}

KernelSockets::~KernelSockets() {
    CloseBeside(packet);
    CloseOpened(inet);
}

InterfaceFacts AskInterface(const std::string& name, const KernelSockets& sockets) {
    InterfaceFacts facts;
    if (sockets.packet >= 0) {
        facts.packet_socket = true;
        facts.hardware_address = AskHardwareAddress(sockets.packet, name);
        facts.link = AskLink(sockets.packet, name);
        facts.up = AskUp(sockets.packet, name);
    }
    if (sockets.inet >= 0) {
        GatherIPv4(sockets.inet, name, facts);
        GatherWireless(sockets.inet, name, facts);
    }
    return facts;
}

std::string GlobalAddressCommand(const std::string& name) {
    return "ip addr show dev " + ShellWord(name) + " scope global";
}

bool IsWirelessInterface(const std::string& name) {
    const int socket = OpenDatagramSocket();
    const bool wireless = socket >= 0 && AskWireless(socket, name);
    CloseOpened(socket);
    return wireless;
}
