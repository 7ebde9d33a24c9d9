// The settings of one interface, kept in a file of its own in /etc/network/. The file is named
// after the hardware address, so the settings follow the card, not the kernel's name for it. This
// program only edits the file; the start-up script /etc/init.d/network reads and applies it.
//
// A file as this program writes it:
//
//     manage = 1
//     dhcp = 0
//     dhcp6 = 0
//     dhcp_gw = 1
//     enable_ip6 = 1
//     disabled = 0
//     static ip = 192.168.1.42
//     ipv6_router_adv = 1
//     static ip netmask = 255.255.255.0
//     static ip6 = fc00::1/64
//     gateway = 192.168.1.1
//     dns = 192.168.1.1 192.168.1.2
//     nat enable = 0
//     nat role = lan
//
// A file edited by hand may contain other lines and comments (#); saving drops them.
#pragma once

#include <string>
#include <string_view>
#include <variant>

struct InterfaceConfig {
    bool ipv6_router_adv = false;  // accept IPv6 router advertisements
    bool enable_ip6 = false;
    bool disabled = false;  // leave the interface down
    bool manage = false;    // false: the start-up script leaves the interface alone
    bool dhcp6 = false;
    bool dhcp = false;
    bool dhcp_gw = false;  // accept the DHCP server's gateway
    std::string static_ip;
    std::string static_ip_netmask;
    std::string static_ip6;
    std::string gateway;
    std::string dns;  // addresses, separated by blanks
    bool nat_enable = false;
    std::string nat_role;  // "", "public" or "lan"
};

// One setting: its key in the file and its field in the record.
using ConfigField = std::variant<bool InterfaceConfig::*, std::string InterfaceConfig::*>;

struct ConfigLine {
    const char* key;
    ConfigField field;
};

// In file order, which differs slightly from the order of the record.
inline constexpr ConfigLine kConfigLines[] = {
    {"manage", &InterfaceConfig::manage},
    {"dhcp", &InterfaceConfig::dhcp},
    {"dhcp6", &InterfaceConfig::dhcp6},
    {"dhcp_gw", &InterfaceConfig::dhcp_gw},
    {"enable_ip6", &InterfaceConfig::enable_ip6},
    {"disabled", &InterfaceConfig::disabled},
    {"static ip", &InterfaceConfig::static_ip},
    {"ipv6_router_adv", &InterfaceConfig::ipv6_router_adv},
    {"static ip netmask", &InterfaceConfig::static_ip_netmask},
    {"static ip6", &InterfaceConfig::static_ip6},
    {"gateway", &InterfaceConfig::gateway},
    {"dns", &InterfaceConfig::dns},
    {"nat enable", &InterfaceConfig::nat_enable},
    {"nat role", &InterfaceConfig::nat_role},
};

// "/etc/network/" plus the configuration name (the hardware address in upper case).
std::string InterfaceConfigPath(std::string_view config_name);

// Copies /etc/network/example to the interface's file unless a regular file is already there. If
// the copy fails there is no file, and reading it gives the defaults.
void EnsureInterfaceConfigFile(std::string_view config_name);

// True for a number above 0 and for "on" in any case. "yes" and "true" are false.
bool ParseConfigBool(const std::string& text);

// Sets the defaults: manage, dhcp, dhcp_gw, enable_ip6 and ipv6_router_adv on; disabled, dhcp6 and
// NAT off; netmask 255.255.255.0. The other texts keep their values.
void SetConfigDefaults(InterfaceConfig& config);

// Reads the settings in the text into the record. If a key occurs several times, the last one wins.
// Unknown keys, comments and lines without "=" are ignored. A blank must precede "=": the character
// there is never part of the key, so "dhcp=1" sets nothing.
void ParseInterfaceConfig(std::string_view text, InterfaceConfig& config);

// The fourteen lines of the file.
std::string FormatInterfaceConfig(const InterfaceConfig& config);

// Sets the defaults, then applies the file. If the file can't be read, the defaults remain.
void ReadInterfaceConfig(InterfaceConfig& config, const std::string& path);

// Replaces the whole file (util/save_file.h). Failures are not reported.
void WriteInterfaceConfig(const InterfaceConfig& config, const std::string& path);
