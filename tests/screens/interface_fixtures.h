// Shared by the tests of the interface screen, of its settings editor and of saving: a machine with
// one card, and ways to its screens.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "machine.h"
#include "terminal.h"

namespace harness::one_card {

constexpr const char* kName = "eth0";
constexpr const char* kAddress = "02:AB:CD:EF:00:01";
constexpr const char* kSettings = "/etc/network/02:AB:CD:EF:00:01";
constexpr const char* kTemplate = "/etc/network/example";
constexpr const char* kNetworkScript = "/etc/init.d/network";

constexpr const char* kScreenTitle = "Network configuration: eth0 (02:AB:CD:EF:00:01)";
constexpr const char* kEditorTitle = "Configuration for eth0 (02:AB:CD:EF:00:01)";
constexpr const char* kEditorHint =
    "Use left/right arrow keys, ENTER/SPACE or double-click to change setting";
constexpr const char* kQuestion = "Are you sure? [y/n]";

// The first line of the rows on both screens.
constexpr int kTop = 4;
constexpr int kLeft = 4;

// A settings file as the program saves it.
inline const std::string kPlain =
    "manage = 1\n"
    "dhcp = 1\n"
    "dhcp6 = 0\n"
    "dhcp_gw = 1\n"
    "enable_ip6 = 1\n"
    "disabled = 0\n"
    "static ip = \n"
    "ipv6_router_adv = 1\n"
    "static ip netmask = 255.255.255.0\n"
    "static ip6 = \n"
    "gateway = \n"
    "dns = \n"
    "nat enable = 0\n"
    "nat role = \n";

// The file with a different value in one line.
inline std::string With(std::string file, const std::string& key, const std::string& value) {
    const size_t start = file.find(key + " = ") + key.size() + 3;
    return file.replace(start, file.find('\n', start) - start, value);
}

// The kind of eth0. Not every user may create a card with a carrier, so only tests that need a link
// ask for one.
enum class Card { kUnplugged, kPlugged };

// The machine: eth0 is down, and the network script only records its calls.
class Box : public Machine {
  public:
    explicit Box(const std::string& settings = kPlain, Card card = Card::kUnplugged) {
        if (card == Card::kPlugged) {
            AddTap(kName);
        } else {
            AddBridge(kName);
        }
        Sh(std::string("ip link set eth0 address ") + kAddress);
        StandIn(kNetworkScript);
        if (!settings.empty()) Write(kSettings, settings);
    }
    explicit Box(Card card) : Box(kPlain, card) {}

    // User and group of a file not owned by root; root's, if no others exist.
    std::string OtherOwners() const { return door().own_users ? "0:0" : "12:34"; }
};

inline void OpenInterface(Terminal& t, Place place = Place::current()) {
    t.WaitFor("Tavrin 4", Terminal::kPatience, place);
    t.Press("1<Enter>", place);
    t.WaitFor("Network configuration: ", Terminal::kPatience, place);
    t.Settle(Terminal::kPatience, place);
}

// Opens the editor from the interface screen.
inline void OpenEditor(Terminal& t, Place place = Place::current()) {
    t.Press("c<Enter>", place);
    t.WaitFor("Use left/right", Terminal::kPatience, place);
    t.Settle(Terminal::kPatience, place);
}

// The program with the interface screen open.
class InterfacePage : public Terminal {
  public:
    explicit InterfacePage(Machine& box, const TerminalOptions& options = {},
                           Place place = Place::current())
        : Terminal(box, options, place) {
        OpenInterface(*this, place);
    }
};

// The program with the settings editor open.
class EditorPage : public InterfacePage {
  public:
    explicit EditorPage(Machine& box, const TerminalOptions& options = {},
                        Place place = Place::current())
        : InterfacePage(box, options, place) {
        OpenEditor(*this, place);
    }
};

// Presses keys that lead back to the interface screen, and waits for it.
inline void BackToInterface(Terminal& t, const std::string& keys, Place place = Place::current()) {
    t.Press(keys, place);
    t.WaitFor("Network configuration: ", Terminal::kPatience, place);
    t.Settle(Terminal::kPatience, place);
}

// Deletes a text of that length from an entry field and types another.
inline void TypeInstead(Terminal& t, size_t old_length, const std::string& text) {
    t.Press("<Home>");
    for (; old_length > 0; old_length--)
        t.Press("<Delete>");
    t.Type(text);
}

// A line of the screen from column 4 on.
inline std::string TextAt(const Terminal& t, int row) {
    const std::string text = t.Row(row);
    return text.size() > kLeft ? text.substr(kLeft) : "";
}

}  // namespace harness::one_card
