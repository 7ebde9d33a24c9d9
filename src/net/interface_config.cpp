#include "net/interface_config.h"

#include <strings.h>
#include <sys/stat.h>

#include <cstdlib>
#include <variant>

#include "util/command.h"
#include "util/files.h"
#include "util/lines.h"
#include "util/save_file.h"

namespace {

constexpr std::size_t kLineSize = 1023;
constexpr const char* kFolder = "/etc/network/";
constexpr const char* kTemplate = "/etc/network/example";

using Field = std::variant<bool InterfaceConfig::*, std::string InterfaceConfig::*>;

struct Line {
    const char* key;
    Field field;
};

// In the order of the file, which is not quite the record's.
constexpr Line kLines[] = {
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

std::string FieldText(const InterfaceConfig& config, const Field& field) {
    if (const auto* flag = std::get_if<bool InterfaceConfig::*>(&field)) {
        return config.*(*flag) ? "1" : "0";
    }
    return config.*std::get<std::string InterfaceConfig::*>(field);
}

void StoreField(InterfaceConfig& config, const Field& field, const std::string& value) {
    if (const auto* flag = std::get_if<bool InterfaceConfig::*>(&field)) {
        config.*(*flag) = ParseConfigBool(value);
    } else {
        config.*std::get<std::string InterfaceConfig::*>(field) = value;
    }
}

std::string_view WithoutLeadingSpaces(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}

void TakeLine(std::string_view line, InterfaceConfig& config) {
    line = WithoutLeadingSpaces(line);
    const std::size_t equals = line.find('=');
    if (line.starts_with('#') || equals == std::string_view::npos || equals == 0) return;
    // The character before "=" is the blank that the format asks for, whatever it is.
    std::string_view key = line.substr(0, equals - 1);
    key = key.substr(0, key.find_last_not_of(' ') + 1);
    const std::string value(WithoutLeadingSpaces(line.substr(equals + 1)));
    for (const Line& known : kLines) {
        if (key == known.key) StoreField(config, known.field, value);
    }
}

}  // namespace

std::string InterfaceConfigPath(std::string_view config_name) {
    return kFolder + std::string(config_name);
}

void EnsureInterfaceConfigFile(std::string_view, std::string_view config_name) {
    const std::string path = InterfaceConfigPath(config_name);
    struct stat about = {};
    if (stat(path.c_str(), &about) == 0 && S_ISREG(about.st_mode)) return;
    RunCommand(std::string("cp ") + kTemplate + " " + path + " 2>/dev/null");
}

bool ParseConfigBool(const std::string& text) {
    return std::atoi(text.c_str()) > 0 || strcasecmp(text.c_str(), "on") == 0;
}

void SetConfigDefaults(InterfaceConfig& config) {
    config.manage = config.dhcp = config.dhcp_gw = true;
    config.enable_ip6 = config.ipv6_router_adv = true;
    config.disabled = config.dhcp6 = config.nat_enable = false;
    config.static_ip_netmask = "255.255.255.0";
}

void ParseInterfaceConfig(std::string_view text, InterfaceConfig& config) {
    std::string line;
    while (NextChompedLine(text, kLineSize, line))
        TakeLine(line, config);
}

std::string FormatInterfaceConfig(const InterfaceConfig& config) {
    std::string text;
    for (const Line& line : kLines) {
        text += std::string(line.key) + " = " + FieldText(config, line.field) + "\n";
    }
    return text;
}

void ReadInterfaceConfig(InterfaceConfig& config, const std::string& path) {
    SetConfigDefaults(config);
    if (const auto text = ReadWholeFile(path.c_str())) ParseInterfaceConfig(*text, config);
}

void WriteInterfaceConfig(const InterfaceConfig& config, const std::string& path) {
    SaveFile(path, FormatInterfaceConfig(config));
}

int EditInterfaceConfigFile(std::string_view config_name) {
    return RunCommand("vi " + InterfaceConfigPath(config_name));
}
