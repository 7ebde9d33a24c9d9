// Shared by the tests of the interface screen, of its settings editor and of saving: a machine with
// one card, and ways to its screens.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "actions.h"
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

inline constexpr Stop kInterface = {"Interface", "1<Enter>", "Network configuration: "};
inline constexpr Stop kEditor = {"Editor", "1<Enter>c<Enter>", "Use left/right"};

// Between the two screens.
inline void OpenEditor(Terminal& t, Place place = Place::current()) {
    t.Go("c<Enter>", kEditor.sign, place);
}
inline void BackToInterface(Terminal& t, const std::string& keys, Place place = Place::current()) {
    t.Go(keys, kInterface.sign, place);
}

// A line of the screen from column 4 on.
inline std::string TextAt(const Terminal& t, int row) {
    const std::string text = t.Row(row);
    return text.size() > kLeft ? text.substr(kLeft) : "";
}

// ---- the editor's rows ----

// The columns of a row's label; its value follows.
constexpr size_t kLabelWidth = 31;

// The value in the row with this label, which ends in a colon.
inline std::string ValueOf(const Terminal& t, const std::string& label) {
    const std::string text = TextAt(t, t.Find(label));
    return text.size() > kLabelWidth ? text.substr(kLabelWidth) : "";
}

inline void WaitForValue(Terminal& t, const std::string& label, const std::string& value,
                         Place place = Place::current()) {
    t.WaitUntil([&] { return t.Shows(label) && ValueOf(t, label) == value; }, label + " " + value,
                Terminal::kPatience, place);
}

// Turns a setting, which then has this value.
inline void Turn(Terminal& t, const std::string& label, const std::string& value,
                 Place place = Place::current()) {
    Select(t, label, place);
    t.Press("<Space>", place);
    WaitForValue(t, label, value, place);
}

inline void OpenPrompt(Terminal& t, const std::string& label, Place place = Place::current()) {
    Select(t, label, place);
    t.Go("<Enter>", "[ESC to cancel]", place);
}

inline void LeavePrompt(Terminal& t, const std::string& key, Place place = Place::current()) {
    t.Press(key, place);
    t.WaitForGone("[ESC to cancel]", Terminal::kPatience, place);
    t.Settle(Terminal::kPatience, place);
}

// Replaces the text of a setting.
inline void TypeValue(Terminal& t, const std::string& label, const std::string& text,
                      Place place = Place::current()) {
    size_t old_length = ValueOf(t, label).size();
    OpenPrompt(t, label, place);
    t.Press("<Home>", place);
    for (; old_length > 0; old_length--)
        t.Press("<Delete>", place);
    t.Type(text);
    LeavePrompt(t, "<Enter>", place);
}

}  // namespace harness::one_card
