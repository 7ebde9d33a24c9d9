#include "wifi/supplicant.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>

#include "util/command.h"
#include "util/lines.h"
#include "util/message.h"
#include "util/number.h"
#include "util/wipe.h"

namespace {

constexpr std::size_t kMostColumns = 256;
constexpr std::size_t kLineSize = 1024;
constexpr unsigned kLongPause = 5;
constexpr unsigned kShortPause = 2;

bool BeginsWithDigit(const char* text) {
    return std::isdigit(static_cast<unsigned char>(*text)) != 0;
}

// network id, ssid, bssid, flags
AccessPoint ConfiguredNetwork(const std::vector<char*>& columns) {
    AccessPoint network;
    if (columns.size() >= 2) network.ssid = columns[1];
    if (columns.size() >= 3) network.bssid = columns[2];
    if (columns.size() >= 4) network.flags = columns[3];
    if (!columns.empty() && BeginsWithDigit(columns[0])) {
        network.networkId = ParseNumber(columns[0]).value_or(-1);
    }
    return network;
}

// bssid, frequency, signal level, flags, ssid
AccessPoint ScannedNetwork(const std::vector<char*>& columns) {
    AccessPoint network;
    network.isNew = true;
    if (columns.size() > 4) network.ssid = columns[4];
    if (!columns.empty()) network.bssid = columns[0];
    if (columns.size() > 3) network.flags = columns[3];
    return network;
}

void ParseListing(std::string_view listing, AccessPoint (*network_of)(const std::vector<char*>&),
                  AccessPointMap& map) {
    std::string line;
    NextLine(listing, kLineSize, line);
    while (NextLine(listing, kLineSize, line)) {
        AccessPoint network = network_of(SplitTabColumns(line.data()));
        if (network.bssid.empty()) continue;
        AccessPointKey key(network.ssid, network.bssid);
        map.try_emplace(std::move(key), std::move(network));
    }
}

void RunWpaCli(const std::string& interface_name, std::string_view suffix) {
    RunCommand(WpaCliCommand(interface_name, suffix));
}

void SayOf(const char* doing, const AccessPoint& access_point) {
    Say(std::string(doing) + " access point " + PrintableText(access_point.bssid) + " '" +
        PrintableText(access_point.ssid) + "'...\n");
}

// " set_network ID NAME " without its value.
std::string SetNetwork(const std::string& interface_name, int id, const char* name) {
    return WpaCliCommand(interface_name, " set_network " + std::to_string(id) + " " + name + " ");
}

// A text value: in double quotes for the supplicant, in single quotes for the shell.
void SetQuoted(const std::string& interface_name, int id, const char* name,
               const std::string& value) {
    if (value.empty() || !IsQuotable(value)) return;
    const std::string beginning = SetNetwork(interface_name, id, name);
    std::string command;
    // Growing would leave copies behind.
    command.reserve(beginning.size() + value.size() + 8);
    command += beginning;
    command += "'\"";
    command += value;
    command += "\"'";
    RunCommand(command);
    Wipe(command);
}

}  // namespace

std::string SupplicantPidPath(std::string_view hardware_address) {
    std::string address(hardware_address);
    std::transform(address.begin(), address.end(), address.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return "/var/network/" + address + "/wpa_supplicant.pid";
}

void EnsureSupplicant(const std::string& interface_name, std::string_view hardware_address) {
    struct stat about = {};
    if (stat(SupplicantPidPath(hardware_address).c_str(), &about) == 0) return;
    RunCommand("/etc/init.d/network start " + ShellWord(interface_name));
}

std::string WpaCliCommand(const std::string& interface_name, std::string_view suffix) {
    return "wpa_cli -i " + ShellWord(interface_name) + std::string(suffix);
}

std::vector<char*> SplitTabColumns(char* line) {
    std::vector<char*> columns;
    char* p = line;
    while (*p != '\0' && *p != '\n' && columns.size() < kMostColumns) {
        columns.push_back(p);
        while (*p != '\0' && *p != '\t' && *p != '\n')
            ++p;
        if (*p != '\0') *p++ = '\0';
    }
    return columns;
}

void ParseConfiguredNetworks(std::string_view listing, AccessPointMap& map) {
    ParseListing(listing, ConfiguredNetwork, map);
}

void ParseScanResults(std::string_view listing, AccessPointMap& map) {
    ParseListing(listing, ScannedNetwork, map);
}

void LoadAccessPoints(const std::string& interface_name, AccessPointList& list) {
    list.map.clear();
    list.keys.clear();
    if (const auto listing = CommandOutput(WpaCliCommand(interface_name, " list_networks"))) {
        ParseConfiguredNetworks(*listing, list.map);
    }
    if (const auto listing = CommandOutput(WpaCliCommand(interface_name, " scan_result"))) {
        ParseScanResults(*listing, list.map);
    }
    list.keys.reserve(list.map.size());
    for (const auto& [key, network] : list.map)
        list.keys.push_back(key);
}

bool IsQuotable(std::string_view text) {
    return text.find_first_of("\"'\\") == std::string_view::npos;
}

void SaveSupplicantConfig(const std::string& interface_name) {
    RunWpaCli(interface_name, " set update_config 1 ");
    RunWpaCli(interface_name, " save_config ");
}

void AllowAnyAccessPoint(const std::string& interface_name) {
    Say("Allowing any access point...\n");
    RunWpaCli(interface_name, " select_network any");
    SaveSupplicantConfig(interface_name);
    Pause(kLongPause);
}

void DisconnectAccessPoint(const std::string& interface_name) {
    Say("Disconnecting...\n");
    // Not saved: a restart of the supplicant connects again.
    RunWpaCli(interface_name, " disconnect");
    Pause(kShortPause);
}

void ScanAccessPoints(const std::string& interface_name) {
    Say("Scanning for access points...\n");
    RunWpaCli(interface_name, " scan");
    Pause(kLongPause);
}

void SelectAccessPoint(const std::string& interface_name, const AccessPoint& access_point) {
    SayOf("Connecting to", access_point);
    RunWpaCli(interface_name, " select_network " + std::to_string(access_point.networkId));
    SaveSupplicantConfig(interface_name);
    Pause(kShortPause);
}

void RemoveAccessPoint(const std::string& interface_name, const AccessPoint& access_point) {
    SayOf("Removing", access_point);
    RunWpaCli(interface_name, " remove_network " + std::to_string(access_point.networkId));
    SaveSupplicantConfig(interface_name);
    Pause(kShortPause);
}

int AddNetwork(const std::string& interface_name) {
    const auto output = CommandOutput(WpaCliCommand(interface_name, " add_network"));
    if (!output || !BeginsWithDigit(output->c_str())) return -1;
    return ParseNumber(*output).value_or(-1);
}

void ConfigureNetwork(const std::string& interface_name, const AccessPoint& access_point, int id,
                      std::string& password) {
    SayOf("Connecting to", access_point);
    SetQuoted(interface_name, id, "ssid", access_point.ssid);
    RunCommand(SetNetwork(interface_name, id, "bssid") + QuotedWord(access_point.bssid));
    RunCommand(SetNetwork(interface_name, id, "key_mgmt") + QuotedWord("WPA-PSK"));
    SetQuoted(interface_name, id, "psk", password);
    Wipe(password);
    RunWpaCli(interface_name, " enable_network " + std::to_string(id));
    RunWpaCli(interface_name, " select_network " + std::to_string(id));
    SaveSupplicantConfig(interface_name);
    Pause(kShortPause);
}
