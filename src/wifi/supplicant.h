// The wireless supplicant, driven through its command-line client wpa_cli: one process for each
// command. The supplicant keeps all state; what the screens show is asked for anew each time.
//
// Names in the listings come from the air and can be any bytes. They only ever reach the shell
// inside quotes that they cannot leave.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "net/interface.h"
#include "util/secret.h"

// One network.
struct AccessPoint {
    std::string bssid;    // "00:1a:2b:3c:4d:5e", or "any" for one that is bound to no access point
    std::string ssid;     // as printed; empty for a hidden network
    std::string flags;    // as printed
    int network_id = -1;  // the supplicant's number; -1 when it is not configured
    bool is_new = false;  // seen by the scan, not configured
};

// SSID, then BSSID, compared byte by byte.
using AccessPointKey = std::pair<std::string, std::string>;
using AccessPointMap = std::map<AccessPointKey, AccessPoint>;

// "/var/network/00:1a:2b:3c:4d:5e/wpa_supplicant.pid" for an address in any case.
std::string SupplicantPidPath(std::string_view hardware_address);

// Runs "/etc/init.d/network start INTERFACE" when there is no such file. A file left by a
// supplicant that has ended counts, too.
void EnsureSupplicant(const Interface& card);

// "wpa_cli -i INTERFACE" and the suffix, blanks included.
std::string WpaCliCommand(const std::string& interface_name, std::string_view suffix);

// Take a listing's rows into the map, its first line apart. An entry that is there already stays. A
// row without BSSID is dropped. Lines beyond 1023 bytes count as several.
void ParseConfiguredNetworks(std::string_view listing, AccessPointMap& map);
void ParseScanResults(std::string_view listing, AccessPointMap& map);

// The networks of both listings by SSID, then BSSID. What is configured hides the same SSID and
// BSSID in the scan. A listing that can't be had is empty.
std::vector<AccessPoint> LoadAccessPoints(const std::string& interface_name);

// Whether the text holds no double quote, single quote or backslash.
bool IsQuotable(std::string_view text);

// Makes the supplicant write its configuration file.
void SaveSupplicantConfig(const std::string& interface_name);

// Each of these runs on the plain terminal (ui/terminal.h, ShellEscape): says what it does on
// standard error, runs its commands, and pauses so that their output can be read.
void AllowAnyAccessPoint(const std::string& interface_name);
void DisconnectAccessPoint(const std::string& interface_name);
void ScanAccessPoints(const std::string& interface_name);
void SelectAccessPoint(const std::string& interface_name, const AccessPoint& access_point);
void RemoveAccessPoint(const std::string& interface_name, const AccessPoint& access_point);

// Makes a new network in the supplicant and returns its number; -1 when it gives none. For
// AddAccessPoint, while the screen is still up.
int AddNetwork(const std::string& interface_name);

// The rest of adding a network, on the plain terminal: configures network `id` for the access
// point, connects, saves, pauses. An SSID or password that is empty or not IsQuotable is left out
// without a word. The password is gone as soon as the supplicant has it.
void ConfigureNetwork(const std::string& interface_name, const AccessPoint& access_point, int id,
                      Secret password);
