#include "net/interface_config.h"

#include <strings.h>
#include <sys/stat.h>

#include <cstdlib>

#include "util/command.h"
#include "util/lines.h"
#include "util/read_file.h"
#include "util/save_file.h"
#include "util/trim.h"

namespace {

constexpr std::size_t kLineSize = 1023;
constexpr const char* kFolder = "/etc/network/";
constexpr const char* kTemplate = "/etc/network/example";

std::string FieldText(const InterfaceConfig& config, const ConfigField& field) {
    if (const auto* flag = std::get_if<bool InterfaceConfig::*>(&field)) {
        return config.*(*flag) ? "1" : "0";
    }
    return config.*std::get<std::string InterfaceConfig::*>(field);
}

void StoreField(InterfaceConfig& config, const ConfigField& field, const std::string& value) {
    if (const auto* flag = std::get_if<bool InterfaceConfig::*>(&field)) {
        config.*(*flag) = ParseConfigBool(value);
    } else {
        config.*std::get<std::string InterfaceConfig::*>(field) = value;
    }
}

void TakeLine(std::string_view line, InterfaceConfig& config) {
    line = TrimStart(line, kSpace);
    const std::size_t equals = line.find('=');
    if (line.starts_with('#') || equals == std::string_view::npos || equals == 0) return;
    // The format requires a blank before "=", so the character there is dropped.
    const std::string_view key = TrimEnd(line.substr(0, equals - 1), kSpace);
    const std::string value(TrimStart(line.substr(equals + 1), kSpace));
    for (const ConfigLine& known : kConfigLines) {
        if (key == known.key) StoreField(config, known.field, value);
    }
}

}  // namespace

std::string InterfaceConfigPath(std::string_view config_name) {
    return kFolder + std::string(config_name);
}

void EnsureInterfaceConfigFile(std::string_view config_name) {
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
    for (const ConfigLine& line : kConfigLines) {
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
