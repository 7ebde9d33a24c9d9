// The settings of one interface, as they are kept in its file below /etc/network/. The file is
// named by the interface's hardware address, so that the settings follow the card and not the
// kernel's name for it. The start-up script /etc/init.d/network reads it; this program only edits
// it.
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
// Written by hand it may hold other lines and comments (#); a save drops them.
#pragma once

#include <string>
#include <string_view>
#include <variant>

struct InterfaceConfig {
    bool ipv6_router_adv = false;  // accept IPv6 router advertisements
    bool enable_ip6 = false;
    bool disabled = false;  // leave the interface down
    bool manage = false;    // the start-up script looks after this interface at all
    bool dhcp6 = false;
    bool dhcp = false;
    bool dhcp_gw = false;  // accept the DHCP server's gateway
    std::string static_ip;
    std::string static_ip_netmask;
    std::string static_ip6;
    std::string gateway;
    std::string dns;  // addresses separated by blanks
    bool nat_enable = false;
    std::string nat_role;  // "", "public" or "lan"
};

// One setting of the file: its key, and its field in the record.
using ConfigField = std::variant<bool InterfaceConfig::*, std::string InterfaceConfig::*>;

struct ConfigLine {
    const char* key;
    ConfigField field;
};

// In the order of the file, which is not quite the record's.
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

// "/etc/network/" followed by the configuration name (the hardware address in upper case).
std::string InterfaceConfigPath(std::string_view config_name);

// Copies /etc/network/example to the interface's file unless that is a regular file already. A copy
// that fails leaves no file, which reads as the defaults.
void EnsureInterfaceConfigFile(std::string_view config_name);

// True for a number above 0 and for "on" in any case. "yes" and "true" are false.
bool ParseConfigBool(const std::string& text);

// Sets the defaults: manage, dhcp, dhcp_gw, enable_ip6 and ipv6_router_adv on; disabled, dhcp6 and
// NAT off; netmask 255.255.255.0. The other texts stay as they are.
void SetConfigDefaults(InterfaceConfig& config);

// Takes the settings that the text holds into the record. Of a key that occurs several times the
// last counts; unknown keys, comments and lines without "=" are passed over. There must be a blank
// before "=": the character there never belongs to the key.
void ParseInterfaceConfig(std::string_view text, InterfaceConfig& config);

// The file's fourteen lines.
std::string FormatInterfaceConfig(const InterfaceConfig& config);

// The defaults, then what the file says. A file that can't be read leaves the defaults.
void ReadInterfaceConfig(InterfaceConfig& config, const std::string& path);

// Rewrites the file as a whole (util/save_file.h). A failure is not reported.
void WriteInterfaceConfig(const InterfaceConfig& config, const std::string& path);
