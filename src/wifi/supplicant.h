// The wireless supplicant, controlled through its command-line client wpa_cli, one process per
// command. The supplicant holds all the state; the screens query it again each time.
//
// SSIDs in the listings come from radio and can contain any bytes. They reach the shell only inside
// quotes that they can't break out of.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "net/interface.h"
#include "util/secret.h"

// A network.
struct AccessPoint {
    std::string bssid;    // "00:1a:2b:3c:4d:5e"; "any": not bound to an access point
    std::string ssid;     // as wpa_cli prints it; empty for a hidden network
    std::string flags;    // as wpa_cli prints them
    int network_id = -1;  // the supplicant's number; -1 if not configured
    bool is_new = false;  // found by the scan, not configured
};

// SSID, then BSSID, compared byte by byte.
using AccessPointKey = std::pair<std::string, std::string>;
using AccessPointMap = std::map<AccessPointKey, AccessPoint>;

// "/var/network/00:1a:2b:3c:4d:5e/wpa_supplicant.pid"; the argument may be in any case.
std::string SupplicantPidPath(std::string_view hardware_address);

// Runs "/etc/init.d/network start INTERFACE" unless the pid file exists. A stale pid file counts as
// well.
void EnsureSupplicant(const Interface& card);

// "wpa_cli -i INTERFACE" followed by the suffix, which starts with a blank.
std::string WpaCliCommand(const std::string& interface_name, std::string_view suffix);

// Add the rows of a listing to the map, without its header line. An existing entry is kept. A row
// without a BSSID is dropped. A line longer than 1023 bytes is split.
void ParseConfiguredNetworks(std::string_view listing, AccessPointMap& map);
void ParseScanResults(std::string_view listing, AccessPointMap& map);

// The networks of both listings, sorted by SSID, then BSSID. A configured network hides a scanned
// one with the same SSID and BSSID. If a listing can't be read, it counts as empty.
std::vector<AccessPoint> LoadAccessPoints(const std::string& interface_name);

// Whether the text is free of double quotes, single quotes and backslashes.
bool IsQuotable(std::string_view text);

// Makes the supplicant save its configuration file.
void SaveSupplicantConfig(const std::string& interface_name);

// These run on the plain terminal (ui/terminal.h, ShellEscape): each prints what it does to
// standard error, runs its commands, and pauses so that their output can be read.
void AllowAnyAccessPoint(const std::string& interface_name);
void DisconnectAccessPoint(const std::string& interface_name);
void ScanAccessPoints(const std::string& interface_name);
void SelectAccessPoint(const std::string& interface_name, const AccessPoint& access_point);
void RemoveAccessPoint(const std::string& interface_name, const AccessPoint& access_point);

// Creates a network in the supplicant and returns its number, or -1 if it returns none. The first
// step of joining, run while the screen is still up.
int AddNetwork(const std::string& interface_name);

// The second step, on the plain terminal: configures network `id` for the access point, connects,
// saves, pauses. An SSID or password that is empty or not IsQuotable is left out without a message.
// The password is erased as soon as the supplicant has it.
void ConfigureNetwork(const std::string& interface_name, const AccessPoint& access_point, int id,
                      Secret password);
