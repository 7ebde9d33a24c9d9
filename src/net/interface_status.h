// The live state of one interface, and the rows that show it.
//
// Gathering (AskInterface: sockets, ioctls, the radio-kill files; net/interface_refresh.h:
// commands) is apart from understanding (UnderstandInterface) and from wording
// (FormatInterfaceStatus): the latter two are functions of what was gathered and need no machine.
// Every query is optional: one that fails leaves its piece of the state out, or the previous link
// text in place; nothing is reported.
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
    std::string link;  // "Link active" or "Disconnected"; empty until first learned
    std::string up;    // "Interface up" or empty
    bool has_ipv4 = false;
    in_addr ipv4 = {};
    in_addr netmask = {};
    in_addr gateway = {};  // 0: none
    std::string ipv6;      // the last global address listed, with its prefix length; empty: none
    bool is_wireless = false;
    std::optional<std::string> essid;
    std::optional<std::int32_t>
        frequency_mantissa;  // both or none: m x 10^e hertz, or a channel number
    std::optional<std::int16_t> frequency_exponent;
    std::optional<HardwareAddress> access_point;
    bool has_rfkill = false;
    int rfkill_state = -1;  // -1: unreadable
    int rfkill_hard = -1;
    int rfkill_soft = -1;
};

// What the kernel and the commands said of one interface, as they said it.
struct InterfaceFacts {
    std::optional<HardwareAddress> hardware_address;  // SIOCGIFHWADDR
    bool packet_socket = false;                       // whether link and flags could be asked
    std::optional<bool> link;                         // SIOCETHTOOL, ETHTOOL_GLINK
    std::optional<bool> up;                           // SIOCGIFFLAGS, IFF_UP
    bool inet_socket = false;                         // whether addresses could be asked
    std::uint16_t address_family = 0;                 // of SIOCGIFADDR's answer; 0: none
    in_addr ipv4 = {};
    in_addr netmask = {};                            // SIOCGIFNETMASK
    bool addresses_asked = false;                    // whether the next could be started
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

// The sockets that carry the queries, for all interfaces of a round; -1 where the kernel refuses
// one.
struct KernelSockets {
    KernelSockets();
    ~KernelSockets();
    KernelSockets(const KernelSockets&) = delete;
    KernelSockets& operator=(const KernelSockets&) = delete;

    int packet;  // link, flags, hardware address
    int inet;    // IPv4 addresses, wireless
};

// Asks the kernel everything of that interface. The global addresses are left out: they are what
// GlobalAddressCommand prints.
InterfaceFacts AskInterface(const std::string& name, const KernelSockets& sockets);

// "ip addr show dev NAME scope global"
std::string GlobalAddressCommand(const std::string& name);

// Puts what was gathered into the record. `gateway` is the gateway word of the interface's route,
// 0 when it has none. `link` and `up` stay as they were when no packet socket could be had, `link`
// also when its query failed; `ipv6` stays when the command could not be started.
void UnderstandInterface(const InterfaceFacts& facts, std::uint32_t gateway,
                         InterfaceStatus& status);

// The rows below the interface's first one, each present or absent: IPv4 with netmask and gateway,
// IPv6, wireless.
std::vector<std::string> FormatInterfaceStatus(const InterfaceStatus& status);

// "00:1A:2B:3C:4D:5E"
std::string FormatHardwareAddress(const HardwareAddress& address);

// The last address in the output of `ip addr show ... scope global` that follows "inet6 ".
std::string LastGlobalIPv6(std::string_view ip_addr_output);

// Whether the interface is a wireless card (SIOCGIWNAME).
bool IsWirelessInterface(const std::string& name);
