#include "wifi/supplicant.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>

#include "util/command.h"
#include "util/lines.h"
#include "util/message.h"
#include "util/number.h"

namespace {

constexpr std::size_t kMostColumns = 256;
constexpr std::size_t kLineSize = 1024;
constexpr unsigned kLongPause = 5;
constexpr unsigned kShortPause = 2;

using Cells = std::vector<std::string_view>;

// The number at the start of the text; -1 if there is none or it can't be an id.
int LeadingNumber(std::string_view text) {
    const bool is_number = !text.empty() && text.front() >= '0' && text.front() <= '9';
    return is_number ? ParseNumber(text).value_or(-1) : -1;
}

// Columns: network id, ssid, bssid, flags.
AccessPoint ConfiguredNetwork(const Cells& columns) {
    AccessPoint network;
    if (columns.size() >= 2) network.ssid = columns[1];
    if (columns.size() >= 3) network.bssid = columns[2];
    if (columns.size() >= 4) network.flags = columns[3];
    if (!columns.empty()) network.network_id = LeadingNumber(columns[0]);
    return network;
}

// Columns: bssid, frequency, signal level, flags, ssid.
AccessPoint ScannedNetwork(const Cells& columns) {
    AccessPoint network;
    network.is_new = true;
    if (columns.size() > 4) network.ssid = columns[4];
    if (!columns.empty()) network.bssid = columns[0];
    if (columns.size() > 3) network.flags = columns[3];
    return network;
}

void ParseListing(std::string_view listing, AccessPoint (*network_of)(const Cells&),
                  AccessPointMap& map) {
    std::string line;
    NextLine(listing, kLineSize, line);
    while (NextLine(listing, kLineSize, line)) {
        const std::string_view row = std::string_view(line).substr(0, line.find('\n'));
        AccessPoint network = network_of(SplitColumns(row, Columns::ByTabs, kMostColumns));
        if (network.bssid.empty()) continue;
        AccessPointKey key(network.ssid, network.bssid);
        map.try_emplace(std::move(key), std::move(network));
    }
}

void RunWpaCli(const std::string& interface_name, std::string_view suffix) {
    RunCommand(WpaCliCommand(interface_name, suffix));
}

void SayAction(const char* doing, const AccessPoint& access_point) {
    Say(std::string(doing) + " access point " + PrintableText(access_point.bssid) + " '" +
        PrintableText(access_point.ssid) + "'...\n");
}

// The command "set_network ID NAME ", to be followed by the value.
std::string SetNetwork(const std::string& interface_name, int id, const char* name) {
    return WpaCliCommand(interface_name, " set_network " + std::to_string(id) + " " + name + " ");
}

// A text value: double quotes for the supplicant, single quotes for the shell.
void SetQuoted(const std::string& interface_name, int id, const char* name,
               std::string_view value) {
    if (value.empty() || !IsQuotable(value)) return;
    const std::string beginning = SetNetwork(interface_name, id, name) + "'\"";
    constexpr std::string_view kEnd = "\"'";
    Secret command(beginning.size() + value.size() + kEnd.size());
    command.Append(beginning);
    command.Append(value);
    command.Append(kEnd);
    RunCommand(command.c_str());
}

}  // namespace

std::string SupplicantPidPath(std::string_view hardware_address) {
    std::string address(hardware_address);
    std::transform(address.begin(), address.end(), address.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return "/var/network/" + address + "/wpa_supplicant.pid";
}

void EnsureSupplicant(const Interface& card) {
    struct stat about = {};
    if (stat(SupplicantPidPath(card.address).c_str(), &about) == 0) return;
    RunCommand("/etc/init.d/network start " + ShellWord(card.name));
}

std::string WpaCliCommand(const std::string& interface_name, std::string_view suffix) {
    return "wpa_cli -i " + ShellWord(interface_name) + std::string(suffix);
}

void ParseConfiguredNetworks(std::string_view listing, AccessPointMap& map) {
    ParseListing(listing, ConfiguredNetwork, map);
}

void ParseScanResults(std::string_view listing, AccessPointMap& map) {
    ParseListing(listing, ScannedNetwork, map);
}

std::vector<AccessPoint> LoadAccessPoints(const std::string& interface_name) {
    AccessPointMap map;
    if (const auto listing = CommandOutput(WpaCliCommand(interface_name, " list_networks"))) {
        ParseConfiguredNetworks(*listing, map);
    }
    if (const auto listing = CommandOutput(WpaCliCommand(interface_name, " scan_result"))) {
        ParseScanResults(*listing, map);
    }
    std::vector<AccessPoint> networks;
    networks.reserve(map.size());
    for (auto& [key, network] : map)
        networks.push_back(std::move(network));
    return networks;
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
    // Not saved: when the supplicant restarts, it connects again.
    RunWpaCli(interface_name, " disconnect");
    Pause(kShortPause);
}

void ScanAccessPoints(const std::string& interface_name) {
    Say("Scanning for access points...\n");
    RunWpaCli(interface_name, " scan");
    Pause(kLongPause);
}

void SelectAccessPoint(const std::string& interface_name, const AccessPoint& access_point) {
    SayAction("Connecting to", access_point);
    RunWpaCli(interface_name, " select_network " + std::to_string(access_point.network_id));
    SaveSupplicantConfig(interface_name);
    Pause(kShortPause);
}

void RemoveAccessPoint(const std::string& interface_name, const AccessPoint& access_point) {
    SayAction("Removing", access_point);
    RunWpaCli(interface_name, " remove_network " + std::to_string(access_point.network_id));
    SaveSupplicantConfig(interface_name);
    Pause(kShortPause);
}

int AddNetwork(const std::string& interface_name) {
    const auto output = CommandOutput(WpaCliCommand(interface_name, " add_network"));
    return output ? LeadingNumber(*output) : -1;
}

void ConfigureNetwork(const std::string& interface_name, const AccessPoint& access_point, int id,
                      Secret password) {
    SayAction("Connecting to", access_point);
    SetQuoted(interface_name, id, "ssid", access_point.ssid);
    RunCommand(SetNetwork(interface_name, id, "bssid") + QuotedWord(access_point.bssid));
    RunCommand(SetNetwork(interface_name, id, "key_mgmt") + QuotedWord("WPA-PSK"));
    SetQuoted(interface_name, id, "psk", password.text());
    password = Secret(0);
    RunWpaCli(interface_name, " enable_network " + std::to_string(id));
    RunWpaCli(interface_name, " select_network " + std::to_string(id));
    SaveSupplicantConfig(interface_name);
    Pause(kShortPause);
}
