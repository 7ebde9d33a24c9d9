#include "net/settings_editor.h"

#include <curses.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <variant>

#include "net/interface_config.h"
#include "system/public_hosts.h"
#include "ui/dialogs.h"
#include "ui/help_area.h"
#include "ui/screen_loop.h"

namespace {

constexpr int kCancel = 1;
constexpr int kSave = 19000;
constexpr int kDhcp = 20001;
constexpr int kStaticIp = 20005;
constexpr std::size_t kMostRowCharacters = 254;

// One setting: its row, and what a key makes of it.
enum class Change { Flip, Text, List, Role };

struct Setting {
    const char* label;  // padded: all values begin in one column
    std::variant<bool InterfaceConfig::*, std::string InterfaceConfig::*> field;
    int id;
    int hot_key;
    Change change;
    bool enter_changes;  // ENTER or a double-click changes it
    const char* prompt;  // of the text entry
    const char* help;
};

// Several rows share a hot key: pressing it again moves on. ENTER leaves "Enable IPv6" alone: the
// way back to a machine without IPv4 is not switched off by a slip.
constexpr Setting kSettings[] = {
    {"Leave interface disabled:      ", &InterfaceConfig::disabled, 20004, 'd', Change::Flip, true,
     nullptr,
     "If you would prefer to leave the network port disabled, set this option\nto 'YES'\n"},
    {"Manage this interface:         ", &InterfaceConfig::manage, 20000, 'm', Change::Flip, true,
     nullptr,
     "Whether the Tavrin network configuration system should manage the network\n"
     "interface. Disable this if you would prefer using your own scripting."},
    {"Enable IPv6:                   ", &InterfaceConfig::enable_ip6, 20012, '6', Change::Flip,
     false, nullptr, "Whether to enable IPv6 for this interface."},
    {"Use DHCP:                      ", &InterfaceConfig::dhcp, kDhcp, 'd', Change::Flip, true,
     nullptr,
     "Use DHCP on this interface to automatically obtain an IP address.\n"
     "Disable for static IP configuration."},
    {"Use DHCP gateway address:      ", &InterfaceConfig::dhcp_gw, 20002, 'h', Change::Flip, true,
     nullptr,
     "Accept gateway address from DHCP server.\n"
     "Disable if not your primary interface and another interface is using DHCP."},
    {"Use DHCPv6 (for IPv6):         ", &InterfaceConfig::dhcp6, 20003, '6', Change::Flip, true,
     nullptr,
     "Use DHCPv6 on this interface to automatically obtain an IPv6 address.\n"
     "Disable for static IPv6 configuration."},
    {"IPv6 router advertisements:    ", &InterfaceConfig::ipv6_router_adv, 20017, 'o', Change::Flip,
     true, nullptr, ""},
    {"Static IP address:             ", &InterfaceConfig::static_ip, kStaticIp, 'i', Change::Text,
     true, "Static IP address",
     "Static IP address you wish to assign this interface\nExample: 192.168.1.42"},
    {"Static IP address netmask:     ", &InterfaceConfig::static_ip_netmask, 20006, 'n',
     Change::Text, true, "Static IP address netmask",
     "Static IP netmask you wish to assign this interface\nExample: 255.255.255.0"},
    {"Static IP gateway:             ", &InterfaceConfig::gateway, 20007, 'g', Change::Text, true,
     "Static IP address gateway", "Static IP gateway network address"},
    {"Static IP DNS server(s):       ", &InterfaceConfig::dns, 20008, 'd', Change::List, true,
     "Static IP address DNS servers\n"
     "If you have a working internet connection but no DNS server you can try ",
     "Static IP DNS server list, separated by spaces."},
    {"Static IPv6 address:           ", &InterfaceConfig::static_ip6, 20011, 'i', Change::Text,
     true, "Static IPv6 address",
     "Static IPv6 address you wish to assign this interface\nExample: fc00::1/64"},
    {"NAT enable:                    ", &InterfaceConfig::nat_enable, 20009, 'n', Change::Flip,
     true, nullptr,
     "This controls whether the interface participates in a NAT/Firewall\n"
     "configuration. Leave it off for normal use."},
    {"NAT role:                      ", &InterfaceConfig::nat_role, 20010, 'r', Change::Role, true,
     nullptr, "If NAT/Firewall participation is enabled, this sets the interface's role."},
};

struct EditorState {
    std::string interface_name;
    std::string config_name;
    InterfaceConfig config;
    HelpArea help;
};

const Setting* SettingOf(int id) {
    const auto* found = std::find_if(std::begin(kSettings), std::end(kSettings),
                                     [&](const Setting& setting) { return setting.id == id; });
    return found == std::end(kSettings) ? nullptr : found;
}

std::string& TextField(InterfaceConfig& config, const Setting& setting) {
    return config.*std::get<std::string InterfaceConfig::*>(setting.field);
}

// ---- changes ----

// Empty, "public", "lan" and around; what is none of them becomes empty.
std::string NextRole(const std::string& role) {
    if (role.empty()) return "public";
    return role == "public" ? "lan" : "";
}

// Changes a setting that needs no typing; false for the others.
bool ChangeInPlace(InterfaceConfig& config, const Setting& setting) {
    if (setting.change == Change::Flip) {
        bool& value = config.*std::get<bool InterfaceConfig::*>(setting.field);
        value = !value;
        return true;
    }
    if (setting.change != Change::Role) return false;
    TextField(config, setting) = NextRole(TextField(config, setting));
    return true;
}

void ChangeByTyping(InterfaceConfig& config, const Setting& setting) {
    std::string value = TextField(config, setting);
    std::string prompt = setting.prompt;
    if (setting.change == Change::List) prompt += kPublicResolver;
    if (!PromptText(prompt, value)) return;
    if (setting.change == Change::List) std::replace(value.begin(), value.end(), ',', ' ');
    TextField(config, setting) = value;
}

void BeforeKey(Menu& menu, int key, EditorState& state) {
    if (key != KEY_LEFT && key != KEY_RIGHT && key != ' ') return;
    const MenuItem* item = menu.ItemAt(menu.selection);
    const Setting* setting = item != nullptr ? SettingOf(item->id) : nullptr;
    if (setting != nullptr && ChangeInPlace(state.config, *setting)) menu.rebuild = true;
}

void Act(Menu& menu, const MenuItem& item, EditorState& state) {
    if (item.id == kCancel || item.id == kSave) {
        menu.running = false;
        if (item.id == kSave) {
            WriteInterfaceConfig(state.config, InterfaceConfigPath(state.config_name));
        }
        return;
    }
    const Setting* setting = SettingOf(item.id);
    if (setting == nullptr || !setting->enter_changes) return;
    if (!ChangeInPlace(state.config, *setting)) ChangeByTyping(state.config, *setting);
    menu.rebuild = true;
}

// ---- rows, title, help ----

std::string RowText(const InterfaceConfig& config, const Setting& setting) {
    std::string text = setting.label;
    if (const auto* flag = std::get_if<bool InterfaceConfig::*>(&setting.field)) {
        text += config.*(*flag) ? "yes" : "no";
    } else {
        text += config.*std::get<std::string InterfaceConfig::*>(setting.field);
    }
    return text.substr(0, kMostRowCharacters);
}

void AddRows(Menu& menu, const EditorState& state) {
    // An address typed in has no effect while DHCP gives one.
    const bool conflict = state.config.dhcp && !state.config.static_ip.empty();
    for (const Setting& setting : kSettings) {
        const int index = menu.AddItem(RowText(state.config, setting), setting.id);
        menu.SetHotKey(index, setting.hot_key);
        const bool concerned = setting.id == kDhcp || setting.id == kStaticIp;
        menu.SetMarked(index, conflict && concerned);
    }
    menu.AddSeparator();
    menu.SetHotKey(menu.AddItem("Save changes", kSave), 's');
    menu.SetHotKey(menu.AddItem("Cancel", kCancel), 'c');
}

void Paint(Menu& menu, EditorState& state) {
    LayOutWithHelp(menu, state.help);
    PaintTitle(menu, 3,
               "Configuration for " + state.interface_name + " (" + state.config_name + ")");
    PaintTitle(menu, 2, "Use left/right arrow keys, ENTER/SPACE or double-click to change setting");
}

void AfterKey(const Menu& menu, EditorState& state) {
    const MenuItem* item = menu.ItemAt(menu.selection);
    const Setting* setting = item != nullptr ? SettingOf(item->id) : nullptr;
    PaintHelp(menu, state.help, setting != nullptr ? setting->help : "");
}

}  // namespace

void InterfaceSettingsEditor(const std::string& interface_name, const std::string& config_name) {
    EditorState state;
    state.interface_name = interface_name;
    state.config_name = config_name;
    ReadInterfaceConfig(state.config, InterfaceConfigPath(config_name));
    ScreenLoop({.add_rows = [&](Menu& menu) { AddRows(menu, state); },
                .paint = [&](Menu& menu) { Paint(menu, state); },
                .act = [&](Menu& menu, const MenuItem& item) { Act(menu, item, state); },
                .before_key = [&](Menu& menu, int key) { BeforeKey(menu, key, state); },
                .after_key = [&](Menu& menu) { AfterKey(menu, state); }});
}
