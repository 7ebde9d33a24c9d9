#include "net/settings_editor.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

#include "net/interface_config.h"
#include "ui/dialogs.h"
#include "ui/screen_loop.h"
#include "ui/text.h"

namespace {

struct State {
    Interface interface;
    InterfaceConfig config = {};
};

// ---- changes ----

template <bool InterfaceConfig::*kField>
Next Flip(State& state) {
    state.config.*kField = !(state.config.*kField);
    return Next::Rebuild;
}

// Cycles through "", "public" and "lan"; anything else becomes "".
Next CycleRole(State& state) {
    std::string& role = state.config.nat_role;
    if (role.empty()) {
        role = "public";
    } else {
        role = role == "public" ? "lan" : "";
    }
    return Next::Rebuild;
}

Next Type(std::string& value, const char* prompt) {
    PromptText(prompt, value);
    return Next::Rebuild;
}

Next TypeAddress(State& state) {
    return Type(state.config.static_ip, "Static IP address");
}

Next TypeNetmask(State& state) {
    return Type(state.config.static_ip_netmask, "Static IP address netmask");
}

Next TypeGateway(State& state) {
    return Type(state.config.gateway, "Static IP address gateway");
}

// 9.9.9.9 is a public resolver, run by a non-profit foundation.
Next TypeDnsServers(State& state) {
    std::string servers = state.config.dns;
    if (PromptText("Static IP address DNS servers\n"
                   "If you have a working internet connection but no DNS server you can try "
                   "9.9.9.9",
                   servers)) {
        std::replace(servers.begin(), servers.end(), ',', ' ');
        state.config.dns = servers;
    }
    return Next::Rebuild;
}

Next TypeIPv6Address(State& state) {
    return Type(state.config.static_ip6, "Static IPv6 address");
}

Next Save(State& state) {
    WriteInterfaceConfig(state.config, InterfaceConfigPath(state.interface.address));
    return Next::Leave;
}

// ---- rows ----

template <bool InterfaceConfig::*kField>
std::string YesNo(const State& state) {
    return state.config.*kField ? "yes" : "no";
}

// A row shows at most 254 bytes; the label takes 31 of them.
template <std::string InterfaceConfig::*kField>
std::string Text(const State& state) {
    constexpr std::size_t kMostBytes = 254 - 31;
    return std::string(WholeCharacters(state.config.*kField, kMostBytes));
}

// With DHCP on, a static address has no effect.
bool HasConflict(const State& state) {
    return state.config.dhcp && !state.config.static_ip.empty();
}

using Config = InterfaceConfig;

// An on/off setting. The left and right keys and the space bar flip it; so does ENTER, unless told
// otherwise.
enum class Enter { Flips, DoesNothing };

template <bool Config::*kField>
constexpr Row<State> Switch(const char* label, int id, int hot_key, const char* help,
                            Enter enter = Enter::Flips) {
    return {label,
            id,
            hot_key,
            enter == Enter::Flips ? Flip<kField> : nullptr,
            {.word = YesNo<kField>, .turn = Flip<kField>, .help = help}};
}

// A setting that the operator types.
template <std::string Config::*kField>
constexpr Row<State> Entry(const char* label, int id, int hot_key, Next (*type)(State&),
                           const char* help) {
    return {label, id, hot_key, type, {.word = Text<kField>, .help = help}};
}

constexpr Row<State> MarkedInConflict(Row<State> row) {
    row.options.warning = HasConflict;
    return row;
}

constexpr Row<State> Turning(Row<State> row) {
    row.options.turn = row.act;
    return row;
}

// Several rows share a hot key: pressing it again selects the next one. ENTER does not flip "Enable
// IPv6": on a machine without IPv4 a slip would cut the operator off.
constexpr Row<State> kRows[] = {
    Switch<&Config::disabled>(
        "Leave interface disabled:      %s", 20004, 'd',
        "If you would prefer to leave the network port disabled, set this option\nto 'YES'\n"),
    Switch<&Config::manage>(
        "Manage this interface:         %s", 20000, 'm',
        "Whether the Tavrin network configuration system should manage the network\n"
        "interface. Disable this if you would prefer using your own scripting."),
    Switch<&Config::enable_ip6>("Enable IPv6:                   %s", 20012, '6',
                                "Whether to enable IPv6 for this interface.", Enter::DoesNothing),
    MarkedInConflict(
        Switch<&Config::dhcp>("Use DHCP:                      %s", 20001, 'd',
                              "Use DHCP on this interface to automatically obtain an IP address.\n"
                              "Disable for static IP configuration.")),
    Switch<&Config::dhcp_gw>(
        "Use DHCP gateway address:      %s", 20002, 'h',
        "Accept gateway address from DHCP server.\n"
        "Disable if not your primary interface and another interface is using DHCP."),
    Switch<&Config::dhcp6>("Use DHCPv6 (for IPv6):         %s", 20003, '6',
                           "Use DHCPv6 on this interface to automatically obtain an IPv6 address.\n"
                           "Disable for static IPv6 configuration."),
    Switch<&Config::ipv6_router_adv>("IPv6 router advertisements:    %s", 20017, 'o', ""),
    MarkedInConflict(Entry<&Config::static_ip>(
        "Static IP address:             %s", 20005, 'i', TypeAddress,
        "Static IP address you wish to assign this interface\nExample: 192.168.1.42")),
    Entry<&Config::static_ip_netmask>(
        "Static IP address netmask:     %s", 20006, 'n', TypeNetmask,
        "Static IP netmask you wish to assign this interface\nExample: 255.255.255.0"),
    Entry<&Config::gateway>("Static IP gateway:             %s", 20007, 'g', TypeGateway,
                            "Static IP gateway network address"),
    Entry<&Config::dns>("Static IP DNS server(s):       %s", 20008, 'd', TypeDnsServers,
                        "Static IP DNS server list, separated by spaces."),
    Entry<&Config::static_ip6>(
        "Static IPv6 address:           %s", 20011, 'i', TypeIPv6Address,
        "Static IPv6 address you wish to assign this interface\nExample: fc00::1/64"),
    Switch<&Config::nat_enable>(
        "NAT enable:                    %s", 20009, 'n',
        "This controls whether the interface participates in a NAT/Firewall\n"
        "configuration. Leave it off for normal use."),
    Turning(Entry<&Config::nat_role>(
        "NAT role:                      %s", 20010, 'r', CycleRole,
        "If NAT/Firewall participation is enabled, this sets the interface's role.")),
    kSeparator<State>,
    {"Save changes", 19000, 's', Save},
    {"Cancel", 1, 'c', Leave},
};
static_assert(AreSound(kRows));

// How many rows show the setting of this line of the file.
template <std::size_t kLine>
constexpr auto RowsThatShow() {
    constexpr ConfigField field = kConfigLines[kLine].field;
    std::string (*word)(const State&) = nullptr;
    if constexpr (field.index() == 0) {
        word = YesNo<std::get<0>(field)>;
    } else {
        word = Text<std::get<1>(field)>;
    }
    return std::count_if(std::begin(kRows), std::end(kRows),
                         [=](const Row<State>& row) { return row.options.word == word; });
}

// Every setting in the file has a row, and every row with a value is a setting in the file.
template <std::size_t... kLine>
constexpr bool RowsAreTheSettings(std::index_sequence<kLine...>) {
    const auto with_value = std::count_if(std::begin(kRows), std::end(kRows), [](const auto& row) {
        return row.options.word != nullptr;
    });
    return ((RowsThatShow<kLine>() == 1) && ...) && with_value == sizeof...(kLine);
}
static_assert(!kTablesAreChecked ||
              RowsAreTheSettings(std::make_index_sequence<std::size(kConfigLines)>()));

TitleLines Title(const State& state) {
    return {"Configuration for " + state.interface.name + " (" + state.interface.address + ")",
            "Use left/right arrow keys, ENTER/SPACE or double-click to change setting"};
}

}  // namespace

void InterfaceSettingsEditor(const Interface& interface) {
    State state = {.interface = interface};
    ReadInterfaceConfig(state.config, InterfaceConfigPath(interface.address));
    RunScreen<State>({.rows = kRows, .title = Title, .layout = Layout::Help}, state);
}
