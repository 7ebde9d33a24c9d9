// What each action runs on the plain terminal: its message, its commands in order, and the pause
// for reading their output. The pauses are real.
#include "wireless_fixtures.h"

namespace wireless {
namespace {

struct Action {
    const char* name;
    const char* keys;     // from the list
    const char* held;     // the command that is held, so that the terminal can be checked
    Words message;        // what the operator reads by then
    const char* quietly;  // what runs before the message, with the screen still up
    Words commands;       // after the message
    double pause;         // seconds
    const char* back_on;  // the screen afterwards
};

std::string ActionName(const testing::TestParamInfo<Action>& info) {
    return info.param.name;
}
std::ostream& operator<<(std::ostream& out, const Action& action) {
    return out << action.name;
}

// The list has a known network, attic, and a new one, home: the first and second row below the
// actions.
const Action kActions[] = {
    {"Scan",
     "s<Enter>",
     "scan",
     {"Scanning for access points..."},
     "",
     {"scan"},
     5,
     "Return to wifi menu"},
    {"AllowAny",
     "a<Enter>",
     "select_network",
     {"Allowing any access point..."},
     "",
     {"select_network|any", "set|update_config|1", "save_config"},
     5,
     "Return to wifi menu"},
    {"Disconnect",
     "d<Enter>",
     "disconnect",
     {"Disconnecting..."},
     "",
     {"disconnect"},
     2,
     kInterface},
    {"Select",
     "d<Down><Enter>c<Enter>",
     "select_network",
     {"Connecting to access point any 'attic'..."},
     "",
     {"select_network|7", "set|update_config|1", "save_config"},
     2,
     "Return to wifi menu"},
    {"Remove",
     "d<Down><Enter>cc<Enter>y",
     "remove_network",
     {"Removing access point any 'attic'..."},
     "",
     {"remove_network|7", "set|update_config|1", "save_config"},
     2,
     "Return to wifi menu"},
    {"Add",
     "d<Down><Down><Enter>c<Enter>secret words<Enter>",
     "set_network",
     {"Connecting to access point 00:11:22:33:44:55 'home'..."},
     "add_network",
     {"set_network|3|ssid|\"home\"", "set_network|3|bssid|00:11:22:33:44:55",
      "set_network|3|key_mgmt|WPA-PSK", "set_network|3|psk|\"secret words\"", "enable_network|3",
      "select_network|3", "set|update_config|1", "save_config"},
     2,
     "Return to wifi menu"},
};

class WirelessAction : public testing::TestWithParam<Action> {};

// The message, then a line for each command that has finished.
Words MessageAndReplies(const Action& action) {
    Words lines = action.message;
    lines.resize(lines.size() + action.commands.size(), "OK");
    return lines;
}

bool Contains(const Words& words, const std::string& word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

// The first call after the action, for the new list or the interface screen.
const Call* CallAfter(const std::vector<Call>& calls, const Call& last) {
    for (const Call& call : calls) {
        if (call.seconds > last.seconds) return &call;
    }
    return nullptr;
}

TEST_P(WirelessAction, ShowsItsMessageRunsPausesAndReturns) {
    const Action& action = GetParam();
    WirelessBox box;
    box.Record("ip");
    box.SetConfigured(Configured("7", "attic", "any", "[CURRENT]"));
    box.SetSeen(Seen(kHome, "home"));
    box.SetNumber("3\n");
    List t(box);
    box.ForgetCalls();
    box.Hold(action.held);
    t.Press(action.keys);
    t.WaitFor(action.message[0]);
    EXPECT_EQ(Lines(t), action.message);
    EXPECT_FALSE(t.AltScreen());
    EXPECT_TRUE(t.LineMode());
    box.Release();

    t.WaitUntil([&] { return Lines(t) == MessageAndReplies(action); }, "a reply to each command");
    t.WaitFor(action.back_on);
    EXPECT_TRUE(t.AltScreen());
    EXPECT_FALSE(t.LineMode());

    Words expected = action.commands;
    if (*action.quietly != '\0') expected.insert(expected.begin(), action.quietly);
    EXPECT_EQ(box.Actions(), expected);
    const std::vector<Call> calls = box.Calls();
    const Call* last = nullptr;
    for (const Call& call : calls) {
        const std::string command = WirelessBox::Joined(call);
        if (Contains(action.commands, command)) {
            EXPECT_EQ(call.mode, Mode::kLine) << command;
        }
        if (command == action.quietly) {
            EXPECT_EQ(call.mode, Mode::kRaw) << command;
        }
        if (command == action.commands.back()) last = &call;
    }
    ASSERT_NE(last, nullptr);
    const Call* next = CallAfter(calls, *last);
    ASSERT_NE(next, nullptr);
    EXPECT_EQ(next->Line(), action.back_on == std::string(kInterface)
                                ? "ip addr show dev wlan0 scope global"
                                : "wpa_cli -i wlan0 list_networks");
    EXPECT_GE(next->seconds - last->seconds, action.pause);
    EXPECT_LT(next->seconds - last->seconds, action.pause + 2);
}

INSTANTIATE_TEST_SUITE_P(Wireless, WirelessAction, testing::ValuesIn(kActions), ActionName);

TEST(WirelessActions, DisconnectingDoesNotFetchTheList) {
    WirelessBox box;
    List t(box);
    box.ForgetCalls();
    t.Press("d<Enter>");
    t.WaitFor(kInterface);
    t.Settle();
    EXPECT_EQ(box.Commands(), Words{"disconnect"});
}

}  // namespace
}  // namespace wireless
