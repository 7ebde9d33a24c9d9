// Shared by the tests of the wireless screens: a machine with one wireless card, a wpa_cli with the
// answers that a test wants, and ways to the screens.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "actions.h"
#include "machine.h"
#include "terminal.h"

namespace wireless {

using namespace harness;

constexpr const char* kNetwork = "/etc/init.d/network";
constexpr const char* kPidFile = "/var/network/02:1a:2b:3c:4d:5e/wpa_supplicant.pid";
constexpr const char* kMainMenu = "Network configuration main menu for";
constexpr const char* kInterface = "Network configuration: wlan0 (02:1A:2B:3C:4D:5E)";
constexpr const char* kList = "Wireless access points for wlan0 (02:1A:2B:3C:4D:5E)";

// The list; the first lines of its rows and of its networks.
inline constexpr Stop kNetworks = {"Networks", "1<Enter>w<Enter>", kList};
constexpr int kFirstLine = 4;
constexpr int kFirstNetwork = 10;

constexpr const char* kHome = "00:11:22:33:44:55";

// Rows of the supplicant's two listings.
inline std::string Configured(const std::string& id, const std::string& ssid,
                              const std::string& bssid, const std::string& flags = "") {
    return id + "\t" + ssid + "\t" + bssid + "\t" + flags + "\n";
}
inline std::string Seen(const std::string& bssid, const std::string& ssid,
                        const std::string& flags = "[WPA2-PSK-CCMP][ESS]") {
    return bssid + "\t2437\t-61\t" + flags + "\t" + ssid + "\n";
}

// The card wlan0 with its supplicant running, and a recording wpa_cli. It answers the listings and
// add_network from files, and everything else with OK.
class WirelessBox : public Machine {
  public:
    WirelessBox() {
        Sh("ip link add wlan0 address 02:1a:2b:3c:4d:5e type bridge;"
           "mkdir -p /mnt/air; mkfifo /mnt/air/gate");
        Cards("wlan0 name IEEE 802.11\n");
        MakeDirectory("/var/network/02:1a:2b:3c:4d:5e");
        Write(kPidFile, "4711\n");
        StandIn(kNetwork);
        StandInScript("wpa_cli",
                      "if rm \"/mnt/air/hold $3\" 2>/dev/null; then read -r _ </mnt/air/gate; fi\n"
                      "case $3 in\n"
                      "list_networks) cat /mnt/air/configured ;;\n"
                      "scan_result) cat /mnt/air/seen ;;\n"
                      "add_network) cat /mnt/air/number ;;\n"
                      "*) echo OK ;;\n"
                      "esac\n");
        SetConfigured("");
        SetSeen("");
        SetNumber("0\n");
    }

    void SetConfigured(const std::string& rows) {
        Write("/mnt/air/configured", "network id / ssid / bssid / flags\n" + rows);
    }
    void SetSeen(const std::string& rows) {
        Write("/mnt/air/seen", "bssid / frequency / signal level / flags / ssid\n" + rows);
    }
    // What add_network answers.
    void SetNumber(const std::string& answer) { Write("/mnt/air/number", answer); }

    // The next call of wpa_cli with this command waits for Release().
    void Hold(const std::string& command) { Write("/mnt/air/hold " + command, ""); }
    void Release() { Write("/mnt/air/gate", "\n"); }

    // The calls of wpa_cli, with their words joined by "|" and without the interface. Actions
    // leaves out those that only read.
    Words Commands() {
        Words commands;
        for (const Call& call : Calls("wpa_cli"))
            commands.push_back(Joined(call));
        return commands;
    }
    Words Actions() {
        Words actions = Commands();
        std::erase(actions, "list_networks");
        std::erase(actions, "scan_result");
        return actions;
    }
    std::ptrdiff_t Count(const std::string& command) {
        const Words commands = Commands();
        return std::count(commands.begin(), commands.end(), command);
    }
    void WaitForCommand(const std::string& command, std::ptrdiff_t n = 1,
                        Place place = Place::current()) {
        const std::string what = std::to_string(n) + " calls of wpa_cli with " + command;
        WaitUntil([&] { return Count(command) >= n; }, what, Terminal::kPatience, place);
    }

    static std::string Joined(const Call& call) {
        std::string joined;
        for (const std::string& word : call.args)
            joined += (joined.empty() ? "" : "|") + word;
        const std::string interface = "-i|wlan0|";
        return joined.rfind(interface, 0) == 0 ? joined.substr(interface.size()) : joined;
    }
};

// A machine with a known network, "attic", and a new one, "home", which is listed below it.
class TwoNetworks : public WirelessBox {
  public:
    explicit TwoNetworks(const std::string& id = "7") {
        SetConfigured(Configured(id, "attic", "any", "[CURRENT]"));
        SetSeen(Seen(kHome, "home"));
    }
};
constexpr int kKnown = 0;
constexpr int kNew = 1;

// The program with the list of networks on its terminal.
class List : public Page {
  public:
    explicit List(Machine& box, const TerminalOptions& options = {}, Place place = Place::current())
        : Page(box, kNetworks, options, place) {}
};

// The keys from anywhere in the list to its n-th network, counted from 0. They use the arrow keys,
// which skip the separators.
inline std::string ToNetwork(int n) {
    std::string keys = "<Home><Down><Down><Down><Down>";
    for (int i = 0; i < n; i++)
        keys += "<Down>";
    return keys;
}

// Opens the n-th network of the list.
inline void OpenNetwork(Terminal& t, int n, Place place = Place::current()) {
    t.Go(ToNetwork(n) + "<Enter>", "Return to wifi ap menu", place);
}

// Joins the opened network with that password.
inline void Join(Terminal& t, const std::string& password, Place place = Place::current()) {
    t.Go("c<Enter>", "Access point password?", place);
    t.Type(password);
    t.Press("<Enter>", place);
}

// Joins the first network of the list, which sends these settings, with their words joined as by
// Commands().
inline void ExpectJoined(WirelessBox& box, const std::string& password, const Words& settings,
                         Place place = Place::current()) {
    const testing::ScopedTrace trace(place.file, place.line, "joined");
    box.SetNumber("12\n");
    List t(box);
    OpenNetwork(t, 0, place);
    Join(t, password, place);
    box.WaitForCommand("save_config", 1, place);
    Words commands = {"add_network"};
    for (const std::string& setting : settings)
        commands.push_back("set_network|12|" + setting);
    for (const char* last :
         {"enable_network|12", "select_network|12", "set|update_config|1", "save_config"})
        commands.push_back(last);
    EXPECT_EQ(box.Actions(), commands);
}

// The lines that are not blank.
inline Words Lines(const Terminal& t) {
    Words lines = t.Screen();
    std::erase(lines, "");
    return lines;
}

}  // namespace wireless
