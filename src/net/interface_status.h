// The live state of one interface, and the rows that show it.
//
// Three separate steps: gathering (AskInterface: sockets, ioctls and the rfkill files;
// net/interface_refresh.h: commands), understanding (UnderstandInterface) and wording
// (FormatInterfaceStatus). The last two depend only on what was gathered and need no machine. Every
// query is optional: if one fails, its part of the state is left out, or the previous link text
// stays. Nothing is reported.
#pragma once

#include <netinet/in.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

using HardwareAddress = std::array<std::uint8_t, 6>;

struct InterfaceStatus {
    std::string link;  // "Link active" or "Disconnected"; empty until known
    std::string up;    // "Interface up" or empty
    bool has_ipv4 = false;
    in_addr ipv4 = {};
    in_addr netmask = {};
    in_addr gateway = {};  // 0: none
    std::string ipv6;      // last global address listed, with prefix length; empty: none
    bool is_wireless = false;
    std::optional<std::string> essid;
    // Both or neither: m x 10^e hertz, or a channel number in m.
    std::optional<std::int32_t> frequency_mantissa;
    std::optional<std::int16_t> frequency_exponent;
    std::optional<HardwareAddress> access_point;
    bool has_rfkill = false;
    int rfkill_state = -1;  // this and the next two: -1 if unreadable
    int rfkill_hard = -1;
    int rfkill_soft = -1;
};

// The raw answers of the kernel and the commands about one interface.
struct InterfaceFacts {
    std::optional<HardwareAddress> hardware_address;  // SIOCGIFHWADDR
    bool packet_socket = false;                       // link and flags could be queried
    std::optional<bool> link;                         // SIOCETHTOOL, ETHTOOL_GLINK
    std::optional<bool> up;                           // SIOCGIFFLAGS, IFF_UP
    bool inet_socket = false;                         // addresses could be queried
    std::uint16_t address_family = 0;                 // from SIOCGIFADDR; 0: no address
    in_addr ipv4 = {};
    in_addr netmask = {};                            // SIOCGIFNETMASK
    bool addresses_asked = false;                    // the command below could be started
    std::string global_addresses;                    // "ip addr show dev NAME scope global"
    bool is_wireless = false;                        // SIOCGIWNAME
    std::optional<std::string> essid;                // SIOCGIWESSID, at most 64 bytes
    std::optional<std::int32_t> frequency_mantissa;  // SIOCGIWFREQ
    std::optional<std::int16_t> frequency_exponent;
    std::optional<HardwareAddress> access_point;  // SIOCGIWAP
    bool has_rfkill = false;
    int rfkill_state = -1;
    int rfkill_hard = -1;
    int rfkill_soft = -1;
};

// The sockets for the queries, shared by all interfaces of a round; -1 if the kernel refuses one.
struct KernelSockets {
    KernelSockets();
    ~KernelSockets();
    KernelSockets(const KernelSockets&) = delete;
    KernelSockets& operator=(const KernelSockets&) = delete;

    int packet;  // link, flags, hardware address
    int inet;    // IPv4 addresses, wireless
};

// Queries the kernel for everything about the interface. The global addresses are not included:
// GlobalAddressCommand prints them.
InterfaceFacts AskInterface(const std::string& name, const KernelSockets& sockets);

// "ip addr show dev NAME scope global"
std::string GlobalAddressCommand(const std::string& name);

// Fills the record from what was gathered. `gateway` is the gateway of the interface's route in
// network byte order, 0 if it has none. Without a packet socket `link` and `up` keep their values;
// `link` also does if its query failed. `ipv6` keeps its value if the command could not be started.
void UnderstandInterface(const InterfaceFacts& facts, std::uint32_t gateway,
                         InterfaceStatus& status);

// The rows below the interface's first row, each only if there is something to show: IPv4 with
// netmask and gateway, IPv6, wireless.
std::vector<std::string> FormatInterfaceStatus(const InterfaceStatus& status);

// "00:1A:2B:3C:4D:5E"
std::string FormatHardwareAddress(const HardwareAddress& address);

// The last address after "inet6 " in the output of `ip addr show ... scope global`.
std::string LastGlobalIPv6(std::string_view ip_addr_output);

// Whether the interface is a wireless card (SIOCGIWNAME).
bool IsWirelessInterface(const std::string& name);
