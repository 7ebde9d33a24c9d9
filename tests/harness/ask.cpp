// Asks an interface every question that appliance/cards.cpp can answer, for the harness's own
// tests.
//
//     ask NAME     prints one line per question: its name and the answer, or "fails ERRNO"
#include <arpa/inet.h>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <linux/wireless.h>
#include <net/ethernet.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

int Socket() {
    static const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    return fd;
}

template <typename Request, typename Print>
void Ask(const char* word, unsigned long question, Request request, const char* name, Print print) {
    memcpy(&request, name, strnlen(name, IFNAMSIZ));
    if (ioctl(Socket(), question, &request) == 0) {
        printf("%s %s\n", word, print(request).c_str());
    } else {
        printf("%s fails %d\n", word, errno);
    }
}

std::string Mac(const char* bytes) {
    char text[32];
    const auto byte = [&](int i) { return static_cast<unsigned char>(bytes[i]); };
    snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", byte(0), byte(1), byte(2), byte(3),
             byte(4), byte(5));
    return text;
}

std::string Address(const ifreq& request) {
    sockaddr_in address;
    memcpy(&address, &request.ifr_addr, sizeof address);
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &address.sin_addr, text, sizeof text);
    return std::to_string(address.sin_family) + " " + text;
}

void AskSockets() {
    const int packet = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, htons(ETHERTYPE_IP));
    printf("packet socket %s\n", packet >= 0 ? "made" : strerror(errno));
    if (packet >= 0) close(packet);
    printf("inet socket %s\n", Socket() >= 0 ? "made" : strerror(errno));
}

void AskWireless(const char* name) {
    Ask("name", SIOCGIWNAME, iwreq{}, name, [](const iwreq& r) { return std::string(r.u.name); });
    char essid[65];
    memset(essid, '#', sizeof essid);
    essid[64] = '\0';
    iwreq request{};
    request.u.essid.pointer = essid;
    request.u.essid.length = 64;
    Ask("essid", SIOCGIWESSID, request, name, [&](const iwreq& r) {
        return std::to_string(r.u.essid.length) + " " + std::string(essid, r.u.essid.length) +
               essid[64 - 1];
    });
    Ask("freq", SIOCGIWFREQ, iwreq{}, name, [](const iwreq& r) {
        return std::to_string(r.u.freq.m) + " " + std::to_string(r.u.freq.e);
    });
    Ask("ap", SIOCGIWAP, iwreq{}, name, [](const iwreq& r) { return Mac(r.u.ap_addr.sa_data); });
}

void AskNetwork(const char* name) {
    ethtool_value value{};
    value.cmd = ETHTOOL_GLINK;
    ifreq request{};
    request.ifr_data = reinterpret_cast<char*>(&value);
    Ask("link", SIOCETHTOOL, request, name,
        [&](const ifreq&) { return std::to_string(value.data); });
    Ask("flags", SIOCGIFFLAGS, ifreq{}, name,
        [](const ifreq& r) { return std::to_string(r.ifr_flags); });
    Ask("addr", SIOCGIFADDR, ifreq{}, name, Address);
    Ask("netmask", SIOCGIFNETMASK, ifreq{}, name, Address);
    Ask("hwaddr", SIOCGIFHWADDR, ifreq{}, name,
        [](const ifreq& r) { return Mac(r.ifr_hwaddr.sa_data); });
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    AskSockets();
    AskWireless(argv[1]);
    AskNetwork(argv[1]);
    return 0;
}
