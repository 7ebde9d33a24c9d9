// The main menu: its interface rows, its title, its refresh and its actions.
#include "main_menu_test.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "actions.h"

namespace harness {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::UnorderedElementsAre;

constexpr int kFirstInterfaceLine = kFirstLine + 9;
constexpr const char* kWarning = "    WARNING: Multiple gateways active";
constexpr const char* kExitRow = "    Exit this program";

// The whole screen of the main menu: the title for this host name, the actions, then these lines.
std::vector<std::string> Screen(const std::string& host_name, const std::vector<std::string>& rest,
                                int rows = 24) {
    std::vector<std::string> screen = {"", "Tavrin 4 Network configuration utility",
                                       "Network configuration main menu for '" + host_name + "'",
                                       "Select network interface and hit ENTER to configure it.",
                                       ""};
    for (const std::string& row : kActionRows)
        screen.push_back("    " + row);
    screen.push_back("");
    screen.insert(screen.end(), rest.begin(), rest.end());
    screen.resize(static_cast<size_t>(rows));
    return screen;
}

// Waits for less than a refresh period: the effect of an action must not wait for the refresh.
void WaitForScreen(Terminal& t, const std::vector<std::string>& screen, double seconds = 4,
                   Place place = Place::current()) {
    std::string what = "the screen\n";
    for (const std::string& row : screen)
        what += "   |" + row + "\n";
    t.WaitUntil([&] { return t.Screen() == screen; }, what, seconds, place);
}

std::string KernelName(Machine& box) {
    std::string name = box.Sh("uname -n");
    name.pop_back();
    return name;
}

// ---- rows ----

// A bridge has a carrier while one of its ports has one.
TEST(MainMenuRows, ShowTheStateOfTapsAndBridges) {
    Machine box;
    box.Record("ip");
    box.AddTap("eth0");
    box.AddTap("eth1", false);
    box.AddTap("eth2");
    box.AddBridge("br0");
    box.AddTap("enp130s0f1np1");
    box.Sh(
        "ip link set eth0 address 02:00:00:00:00:0a up;"
        "ip link set eth1 address 0e:ff:ab:cd:ef:01 up;"
        "ip link set eth2 address 02:00:00:00:00:0b;"
        "ip link set br0 address 02:00:00:00:00:0c up;"
        "ip link set enp130s0f1np1 address 02:00:00:00:00:0d master br0 up;"
        "ip addr add 10.1.2.3/20 dev eth0; ip addr add 2001:db8::5/64 dev eth0;"
        "ip addr add 192.168.30.1/32 dev br0; ip route add default via 10.1.2.1");
    MainMenu t(box, OfSize(30, 80));
    WaitForScreen(t, Screen("appliance",
                            {"    1. eth0    02:00:00:00:00:0A  Link active  Interface up",
                             "       IPv4: 10.1.2.3   netmask: 255.255.240.0  gateway: 10.1.2.1",
                             "       IPv6: 2001:db8::5/64", "",
                             "    2. eth1    0E:FF:AB:CD:EF:01  Disconnected  Interface up", "",
                             "    3. eth2    02:00:00:00:00:0B  Disconnected", "",
                             "    4. br0     02:00:00:00:00:0C  Link active  Interface up",
                             "       IPv4: 192.168.30.1   netmask: 255.255.255.255", "",
                             "    5. enp130s0f1np1  02:00:00:00:00:0D  Link active  Interface up",
                             "", kExitRow},
                            30));
    EXPECT_EQ(t.Selected(), "Bring up all interfaces");
    EXPECT_FALSE(t.CursorVisible());
    // One `ip link` for the list, then one `ip addr` for each interface.
    EXPECT_EQ(box.CallLines("ip")[0], "ip link");
    EXPECT_THAT(box.CallLines("ip"),
                UnorderedElementsAre("ip link", "ip addr show dev eth0 scope global",
                                     "ip addr show dev eth1 scope global",
                                     "ip addr show dev eth2 scope global",
                                     "ip addr show dev br0 scope global",
                                     "ip addr show dev enp130s0f1np1 scope global"));
    for (const Call& call : box.Calls("ip"))
        EXPECT_FALSE(call.sigchld_ignored || call.sigint_ignored || call.sigquit_ignored) << call;
}

TEST(MainMenuRows, OnlyTheFirstTenInterfacesHaveHotKeys) {
    Machine box;
    AddBridges(box, 11);
    MainMenu t(box, OfSize(40, 80));
    t.WaitFor("11. br11");
    t.Press("e");
    t.WaitSelected("Exit this program");
    const auto line = [](int n) { return kFirstInterfaceLine + 2 * (n - 1); };
    for (int n = 1; n <= 9; n++) {
        EXPECT_EQ(t.Style(line(n)),
                  "0-3 white/black; 4 yellow/black bold; 5-78 white/black bold; 79 white/black");
    }
    EXPECT_EQ(t.Style(line(10)),
              "0-3 white/black; 4 white/black bold; 5 yellow/black bold; "
              "6-78 white/black bold; 79 white/black");
    EXPECT_EQ(t.Style(line(11)), "0-3 white/black; 4-78 white/black bold; 79 white/black");
    for (int n = 1; n <= 10; n++) {
        t.Press(std::to_string(n % 10));
        t.WaitUntil([&] { return t.SelectedRow() == line(n); }, "interface " + std::to_string(n));
    }
    // The eleventh interface, reached with the arrow keys.
    t.Press("<Down><Enter>");
    t.WaitFor("Network configuration: br11 (02:00:00:00:00:0B)");
    t.Press("<Esc>");
    WaitForMainMenu(t);
    EXPECT_EQ(t.SelectedRow(), line(11));
}

TEST(MainMenuRows, AHostileNameIsOneWordToTheShell) {
    Machine box;
    const std::string name = "a'$(x)\";|&*";
    box.Sh("ip link add \"a'\\$(x)\\\";|&*\" address 02:00:00:00:00:01 type bridge");
    box.Record("ip");
    box.StandIn("x");
    MainMenu t(box);
    t.WaitFor("    1. " + name + "  02:00:00:00:00:01  Disconnected");
    box.WaitForCalls("ip", 2);
    const std::vector<Call> calls = box.Calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_THAT(calls[1].args, ElementsAre("addr", "show", "dev", name, "scope", "global"));
}

// Rows 4096 to 4159 open an interface; the table holds 64.
TEST(MainMenuRows, OnlyTheFirst64InterfacesOpen) {
    Machine box;
    std::string links = "1: lo: <LOOPBACK>\n2: " + std::string(127, 'n') + ": <UP>\n";
    for (int n = 2; n <= 70; n++)
        links += std::to_string(n + 1) + ": if" + std::to_string(n) + ": <UP>\n";
    box.Write("/run/links", links);
    box.StandInScript("ip", "if [ $# = 1 ]; then cat /run/links; fi");
    box.Cards("if64 hwaddr 02:00:00:00:00:40\nif65 hwaddr 02:00:00:00:00:41\n");
    MainMenu t(box, OfSize(160, 80));
    t.WaitFor("Exit this program");
    EXPECT_EQ(t.Row(kFirstInterfaceLine), "    1. " + std::string(72, 'n'));
    EXPECT_EQ(t.Row(kFirstInterfaceLine + 2 * 64), "    65. if65    02:00:00:00:00:41");
    EXPECT_EQ(t.Row(kFirstInterfaceLine + 2 * 69), "    70. if70");
    t.Press("<End><Up><Enter><Up><Enter><Up><Up><Up><Up><Enter>");
    t.WaitSelected("65. if65");
    t.Press("<Up>");
    t.WaitSelected("64. if64");
    t.Press("<Enter>");
    t.WaitFor("Network configuration: if64 (02:00:00:00:00:40)");
}

// ---- gateways ----

// The screen with these gateways after the addresses, with the warning or without.
std::vector<std::string> ScreenWith(const std::string& first, const std::string& second,
                                    bool warning) {
    const auto gateway = [](const std::string& address) {
        return address.empty() ? "" : "  gateway: " + address;
    };
    std::vector<std::string> rest = {
        "    1. eth0    02:00:00:00:00:0A  Link active  Interface up",
        "       IPv4: 10.1.2.3   netmask: 255.255.255.0" + gateway(first),
        "",
        "    2. eth1    02:00:00:00:00:0B  Link active  Interface up",
        "       IPv4: 10.4.5.6   netmask: 255.255.255.0" + gateway(second),
        ""};
    if (warning) rest.insert(rest.end(), {kWarning, ""});
    rest.push_back(kExitRow);
    return Screen("appliance", rest);
}

TEST(MainMenuRows, TwoDefaultRoutesShowTheWarning) {
    Machine box;
    box.AddTap("eth0");
    box.AddTap("eth1");
    box.Sh(
        "ip link set eth0 address 02:00:00:00:00:0a up;"
        "ip link set eth1 address 02:00:00:00:00:0b up;"
        "ip addr add 10.1.2.3/24 dev eth0; ip addr add 10.4.5.6/24 dev eth1");
    MainMenu t(box);
    WaitForScreen(t, ScreenWith("", "", false));
    struct Case {
        const char* routes;
        const char *first, *second;
        bool warning;
    };
    const Case cases[] = {
        {"default via 10.1.2.1", "10.1.2.1", "", false},
        {"default via 10.1.2.1; ip route add default via 10.4.5.1 metric 9", "10.1.2.1", "10.4.5.1",
         true},
        // Both over the same interface; the route with the lower metric comes first.
        {"default via 10.1.2.7 metric 9; ip route add default via 10.1.2.1", "10.1.2.1", "", true},
        // One default route, and networks behind other gateways.
        {"default via 10.1.2.1; ip route add 10.9.0.0/16 via 10.4.5.9; ip route add 10.8.0.1 via "
         "10.4.5.8",
         "10.1.2.1", "10.4.5.8", false},
        // A default route without a gateway does not count.
        {"default via 10.1.2.1; ip route add default dev eth1 metric 5", "10.1.2.1", "", false},
    };
    for (const Case& gateways : cases) {
        box.Sh("ip route flush root 0/0 proto boot; ip route add " + std::string(gateways.routes));
        LookAgain(t);
        WaitForScreen(t, ScreenWith(gateways.first, gateways.second, gateways.warning));
    }
}

// ---- the title ----

TEST(MainMenuTitle, ShowsTheHostName) {
    Machine box;
    SetHostName(box, "Bühne-箱");
    MainMenu t(box);
    WaitForScreen(t, Screen("Bühne-箱", {kExitRow}));
    for (const int line : {0, 1, 2, 3, 4}) {
        EXPECT_EQ(t.Style(line), "0-79 white/black");
    }
    SetHostName(box, "");
    LookAgain(t);
    WaitForScreen(t, Screen("", {kExitRow}));
    SetHostName(box, std::string(64, 'x'));
    LookAgain(t);
    WaitForMainMenu(t);
    // Too long for its line: it continues in the next, below the third title line.
    EXPECT_EQ(t.Row(2), "Network configuration main menu for '" + std::string(43, 'x'));
    EXPECT_EQ(t.Row(3), "Select network interface and hit ENTER to configure it.");
}

TEST(MainMenuTitle, ControlBytesNeverReachTheTerminal) {
    Machine box;
    SetHostName(box,
                "a\x1b]0;hi\a\rb\x1b[2J\x9b"
                "7mc\xff\x7f\t\b"
                "d");
    MainMenu t(box);
    t.WaitFor("Exit this program");
    EXPECT_THAT(t.Row(2), testing::StartsWith("Network configuration main menu for 'a"));
    EXPECT_THAT(t.Row(2), HasSubstr("]0;hi"));
    EXPECT_THAT(t.Row(2), HasSubstr("[2J"));
    EXPECT_THAT(t.Row(2), testing::EndsWith("d'"));
    EXPECT_EQ(t.Row(1), "Tavrin 4 Network configuration utility");
    for (const char* raw : {"\x1b]", "\a", "\x9b", "\xff", "\x7f", "\t"}) {
        EXPECT_THAT(t.Output(), Not(HasSubstr(raw)));
    }
    EXPECT_EQ(t.Bells(), 0);
    // A line feed may end the line, but moves nothing else.
    SetHostName(box, "a\nb\n\n\n\n\n\nc");
    LookAgain(t);
    t.WaitFor("Exit this program");
    EXPECT_THAT(t.Row(2), testing::StartsWith("Network configuration main menu for 'a"));
    EXPECT_EQ(t.Row(3), "Select network interface and hit ENTER to configure it.");
    EXPECT_EQ(t.Row(kFirstLine), "    Bring up all interfaces");
    EXPECT_EQ(t.Row(kFirstLine + 7), "    Diagnostics");
}

// ---- the refresh ----

TEST(MainMenuRefresh, UpdatesTheRowsEveryFiveSeconds) {
    Machine box;
    box.AddTap("eth0");
    box.AddTap("eth1");
    box.AddTap("eth2");
    box.Sh(
        "ip link set eth0 address 02:00:00:00:00:0a up; ip addr add 10.1.2.3/24 dev eth0;"
        "ip link set eth1 address 02:00:00:00:00:0b up; ip addr add 10.4.5.6/24 dev eth1;"
        "ip link set eth2 address 02:00:00:00:00:0c; ip route add default via 10.1.2.1");
    box.Record("ip");
    MainMenu t(box, OfSize(32, 80));
    WaitForScreen(t, Screen("appliance",
                            {"    1. eth0    02:00:00:00:00:0A  Link active  Interface up",
                             "       IPv4: 10.1.2.3   netmask: 255.255.255.0  gateway: 10.1.2.1",
                             "", "    2. eth1    02:00:00:00:00:0B  Link active  Interface up",
                             "       IPv4: 10.4.5.6   netmask: 255.255.255.0", "",
                             "    3. eth2    02:00:00:00:00:0C  Disconnected", "", kExitRow},
                            32));
    t.Press("e");
    t.WaitSelected("Exit this program");

    // Addresses, links, gateways, up state and host name change; the selection keeps its place.
    box.SetLink("eth0", false);
    box.Sh(
        "ip addr del 10.1.2.3/24 dev eth0; ip addr add 10.1.9.9/16 dev eth0;"
        "ip addr add 2001:db8::7/48 dev eth1 nodad; ip link set eth2 up;"
        "ip route add default via 10.1.0.1; ip route add default via 10.4.5.1 metric 5");
    SetHostName(box, "renamed");
    WaitForScreen(t,
                  Screen("renamed",
                         {"    1. eth0    02:00:00:00:00:0A  Disconnected  Interface up",
                          "       IPv4: 10.1.9.9   netmask: 255.255.0.0  gateway: 10.1.0.1", "",
                          "    2. eth1    02:00:00:00:00:0B  Link active  Interface up",
                          "       IPv4: 10.4.5.6   netmask: 255.255.255.0  gateway: 10.4.5.1",
                          "       IPv6: 2001:db8::7/48", "",
                          "    3. eth2    02:00:00:00:00:0C  Link active  Interface up", "",
                          kWarning, "", kExitRow},
                         32),
                  7);
    EXPECT_EQ(t.SelectedRow(), kFirstLine + 17);  // the last row until now

    // Answering a question refreshes the rows at once, and does not change the schedule.
    box.Sh("ip link del eth2; ip addr flush dev eth1; ip link set eth0 down");
    LookAgain(t);
    WaitForScreen(
        t,
        Screen("renamed",
               {"    1. eth0    02:00:00:00:00:0A  Disconnected",
                "       IPv4: 10.1.9.9   netmask: 255.255.0.0", "",
                "    2. eth1    02:00:00:00:00:0B  Link active  Interface up", "", kExitRow},
               32),
        2);
    box.Sh("ip link del eth0; ip link set eth1 down");
    WaitForScreen(
        t, Screen("renamed", {"    1. eth1    02:00:00:00:00:0B  Disconnected", "", kExitRow}, 32),
        7);

    std::vector<double> lists;
    for (const Call& call : box.Calls("ip")) {
        if (call.Line() == "ip link") lists.push_back(call.seconds);
    }
    ASSERT_EQ(lists.size(), 4u) << box.CallLog();  // the third belongs to the question
    for (const double gap : {lists[1] - lists[0], lists[3] - lists[1]}) {
        EXPECT_GE(gap, 4.9);
        EXPECT_LE(gap, 5.9);
    }
}

// ---- actions ----

constexpr const char* kQuestion = "Are you sure? [y/n]";

const Action kActions[] = {
    {.row = "Bring up all interfaces",
     .question = kQuestion,
     .typed = "y",
     .commands = {"/etc/init.d/network start all"},
     .said = {"Starting all interfaces...", "network start all"},
     .after = "Exit this program"},
    {.row = "Bring down all interfaces",
     .question = kQuestion,
     .typed = "y",
     .commands = {"/etc/init.d/network stop all"},
     .said = {"Stopping all interfaces...", "network stop all"},
     .after = "Exit this program"},
    {.row = "Update interfaces from config",
     .question = kQuestion,
     .typed = "y",
     .commands = {"/etc/init.d/network stop all", "/etc/init.d/network start all"},
     .said = {"Stopping all interfaces...", "network stop all", "Starting all interfaces...",
              "network start all"},
     .after = "Exit this program"},
    {.row = "Flush/reset DNS cache",
     .question = kQuestion,
     .typed = "y",
     .commands = {"killall -w nscd", "/etc/init.d/service-nscd start"},
     .said = {"Restarting DNS cache...", "nscd is gone"},
     .pause = 1.2,  // a second after the old daemon has gone
     .after = "Exit this program"},
};

class MainMenuActions : public testing::Test {
  protected:
    MainMenuActions() {
        // Prints what it does, and waits while there is the file /run/hold.
        box.StandInScript(kNetworkScript,
                          "echo \"network $*\"; while [ -e /run/hold ]; do sleep 0.01; done");
        // The old daemon takes time to exit; the output of the new one must not be shown.
        box.StandInScript("killall", "sleep 0.2; echo 'nscd is gone'");
        box.StandInScript("/etc/init.d/service-nscd", "echo started; echo loudly >&2");
    }

    // Back in the menu, with its screen, hidden cursor and mouse.
    void WaitForTheMenuBack(Terminal& t) {
        WaitForScreen(t, Screen("appliance", {kExitRow}));
        EXPECT_TRUE(t.AltScreen());
        EXPECT_FALSE(t.CursorVisible());
        EXPECT_FALSE(t.LineMode());
        EXPECT_THAT(t.MouseReporting(), testing::Contains(1003));
    }

    Machine box;
};

TEST_F(MainMenuActions, RunTheirCommands) {
    MainMenu t(box);
    for (const Action& action : kActions) {
        Do(t, action);
        WaitForTheMenuBack(t);
    }
}

TEST_F(MainMenuActions, ACommandHasThePlainTerminal) {
    box.Write("/run/hold", "");
    MainMenu t(box);
    OpenQuestion(t);
    t.Press("y");
    std::vector<std::string> screen = {"Stopping all interfaces...", "network stop all"};
    screen.resize(24);
    WaitForScreen(t, screen);
    EXPECT_TRUE(t.LineMode());
    EXPECT_FALSE(t.AltScreen());
    EXPECT_TRUE(t.CursorVisible());
    EXPECT_TRUE(t.MouseReporting().empty());
    box.Remove("/run/hold");
    WaitForTheMenuBack(t);
}

// On a terminal without an alternate screen the menu is cleared before the messages.
TEST_F(MainMenuActions, LeaveABlankTerminal) {
    box.Write("/run/hold", "");
    TerminalOptions options;
    options.term = "vt220";
    MainMenu t(box, options);
    OpenQuestion(t);
    t.Mark();
    t.Press("y");
    t.WaitFor("network stop all");
    // The messages scroll away what was above them, so look for the clearing itself.
    const std::string output = t.Output();
    EXPECT_THAT(output.substr(0, output.find("Stopping")), HasSubstr("\x1b[J"));
    std::vector<std::string> lines = t.Screen();
    std::erase(lines, "");
    EXPECT_THAT(lines, ElementsAre("Stopping all interfaces...", "network stop all"));
    box.Remove("/run/hold");
    WaitForScreen(t, Screen("appliance", {kExitRow}));
}

TEST_F(MainMenuActions, MessagesGoToStandardError) {
    TerminalOptions options;
    options.program = "/bin/sh";
    options.arguments = {"-c", "exec " + TestedProgram() + " 2>/run/messages"};
    MainMenu t(box, options);
    t.Press("<Home>u<Enter>y");
    box.WaitForCalls(kNetworkScript, 2);
    WaitForTheMenuBack(t);
    EXPECT_EQ(box.Read("/run/messages"),
              "Stopping all interfaces...\nStarting all interfaces...\n");
    EXPECT_THAT(t.Output(), HasSubstr("network stop all\r\nnetwork start all\r\n"));
}

TEST_F(MainMenuActions, WithoutAYesNothingRunsButTheRowsRefresh) {
    box.Record("ip");
    MainMenu t(box);
    t.WaitFor("Exit this program");
    for (const Action& action : kActions) {
        SCOPED_TRACE(action.row);
        Select(t, action.row);
        t.Go("<Enter>", action.question);
        box.ForgetCalls();
        t.Press("n");
        WaitForTheMenuBack(t);
        EXPECT_THAT(box.CallLines(), ElementsAre("ip link"));
    }
}

TEST_F(MainMenuActions, OtherScreensOpenAndTheRowsRefreshAfterwards) {
    box.Record("ip");
    MainMenu t(box);
    struct OtherScreen {
        const char *key, *title;
        int row;
    };
    for (const OtherScreen& screen :
         {OtherScreen{"t", "Network Time Protocol configuration:", 4},
          OtherScreen{"s", "Services", 6}, OtherScreen{"i", "Diagnostics", 7}}) {
        t.Press(std::string(screen.key) + "<Enter>");
        t.WaitUntil([&] { return t.Row(2) == screen.title; }, screen.title);
        box.ForgetCalls();
        t.Press("<Esc>");
        WaitForTheMenuBack(t);
        EXPECT_EQ(t.SelectedRow(), kFirstLine + screen.row);
        EXPECT_THAT(box.CallLines("ip"), ElementsAre("ip link"));
    }
}

// ---- renaming the computer ----

// Replaces the name in the entry, whatever it is, and accepts it.
void Rename(Terminal& t, const std::string& name, Place place = Place::current()) {
    t.Press("n<Enter>", place);
    t.WaitFor("[ESC to cancel]", 10, place);
    std::string keys = "<Home>";
    for (int i = 0; i < 70; i++)
        keys += "<Delete>";
    t.Press(keys, place);
    t.Type(name);
    t.Press("<Enter>", place);
    t.WaitForGone("[ESC to cancel]", 10, place);
}

TEST(Renaming, SetsTheNameAndWritesItsFile) {
    Machine box;
    MainMenu t(box, OfSize(24, 160));
    struct Case {
        std::string typed, name, file;
    };
    // The kernel accepts at most 64 bytes; the file gets what was typed, up to 126.
    for (const Case& name :
         {Case{"studio-2.local_x", "studio-2.local_x", "studio-2.local_x"},
          Case{"my box", "my-box", "my-box"}, Case{"  a  b c ", "a--b-c", "a--b-c"},
          Case{"Ort #1 (@home)!", "Ort-#1-(@home)!", "Ort-#1-(@home)!"}, Case{"", "", ""},
          Case{"other", "other", "other"},
          Case{std::string(65, 'a'), "other", std::string(65, 'a')},
          Case{std::string(140, 'b'), "other", std::string(126, 'b')}}) {
        SCOPED_TRACE(name.typed);
        Rename(t, name.typed);
        WaitForScreen(t, Screen(name.name, {kExitRow}));
        EXPECT_EQ(KernelName(box), name.name);
        EXPECT_EQ(box.Read("/etc/hostname"), name.file + "\n");
        t.WaitSelected("Change computer name");
    }
}

TEST(Renaming, CancellingOnlyRefreshes) {
    Machine box;
    box.Write("/etc/hostname", "from-the-file\n");
    box.Record("ip");
    MainMenu t(box);
    t.Press("n<Enter>");
    t.WaitFor("[ESC to cancel]");
    box.ForgetCalls();
    t.Press("x y<Esc>");
    WaitForScreen(t, Screen("appliance", {kExitRow}));
    EXPECT_THAT(box.CallLines(), ElementsAre("ip link"));
    EXPECT_EQ(KernelName(box), "appliance");
    EXPECT_EQ(box.Read("/etc/hostname"), "from-the-file\n");
}

}  // namespace
}  // namespace harness
