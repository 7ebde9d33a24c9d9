// The settings editor: rows, keys, prompts, help, and the resulting file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "interface_fixtures.h"

namespace harness::one_card {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// ---- the rows ----

constexpr const char* kDisabled = "Leave interface disabled:";
constexpr const char* kManage = "Manage this interface:";
constexpr const char* kEnableIp6 = "Enable IPv6:";
constexpr const char* kDhcp = "Use DHCP:";
constexpr const char* kStaticIp = "Static IP address:";
constexpr const char* kNetmask = "Static IP address netmask:";
constexpr const char* kGateway = "Static IP gateway:";
constexpr const char* kDns = "Static IP DNS server(s):";
constexpr const char* kStaticIp6 = "Static IPv6 address:";
constexpr const char* kNatRole = "NAT role:";

struct Setting {
    const char* label;
    const char* key;   // in the file
    Words words;       // what SPACE, LEFT and RIGHT switch between; none: a text
    const char* help;  // up to three lines
};

const Words kYesNo = {"no", "yes"};
const Setting kRows[] = {
    {kDisabled, "disabled", kYesNo,
     "If you would prefer to leave the network port disabled, set this option\nto 'YES'\n"},
    {kManage, "manage", kYesNo,
     "Whether the Tavrin network configuration system should manage the network\n"
     "interface. Disable this if you would prefer using your own scripting."},
    {kEnableIp6, "enable_ip6", kYesNo, "Whether to enable IPv6 for this interface."},
    {kDhcp, "dhcp", kYesNo,
     "Use DHCP on this interface to automatically obtain an IP address.\n"
     "Disable for static IP configuration."},
    {"Use DHCP gateway address:", "dhcp_gw", kYesNo,
     "Accept gateway address from DHCP server.\n"
     "Disable if not your primary interface and another interface is using DHCP."},
    {"Use DHCPv6 (for IPv6):", "dhcp6", kYesNo,
     "Use DHCPv6 on this interface to automatically obtain an IPv6 address.\n"
     "Disable for static IPv6 configuration."},
    {"IPv6 router advertisements:", "ipv6_router_adv", kYesNo, ""},
    {kStaticIp,
     "static ip",
     {},
     "Static IP address you wish to assign this interface\nExample: 192.168.1.42"},
    {kNetmask,
     "static ip netmask",
     {},
     "Static IP netmask you wish to assign this interface\nExample: 255.255.255.0"},
    {kGateway, "gateway", {}, "Static IP gateway network address"},
    {kDns, "dns", {}, "Static IP DNS server list, separated by spaces."},
    {kStaticIp6,
     "static ip6",
     {},
     "Static IPv6 address you wish to assign this interface\nExample: fc00::1/64"},
    {"NAT enable:", "nat enable", kYesNo,
     "This controls whether the interface participates in a NAT/Firewall\n"
     "configuration. Leave it off for normal use."},
    {kNatRole,
     "nat role",
     {"", "public", "lan"},
     "If NAT/Firewall participation is enabled, this sets the interface's role."},
};

const Words kDefaults = {"no", "yes",           "yes", "yes", "yes", "no", "yes",
                         "",   "255.255.255.0", "",    "",    "",    "no", ""};

// A terminal that fits the whole list.
TerminalOptions Tall() {
    return OfSize(32, 80);
}

std::string WithoutTrailingBlanks(std::string text) {
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

// The values of all rows.
Words Values(const Terminal& t) {
    Words values;
    for (const Setting& setting : kRows)
        values.push_back(ValueOf(t, setting.label));
    return values;
}

// Waits until the help is drawn, too: it follows the rows at the next key, or after 16 ms without
// one. So this presses a key without a meaning.
void Finish(Terminal& t) {
    t.Press("x");
    t.Settle();
}

TEST(SettingsEditor, ShowsEverySettingInItsColumn) {
    Box box(
        "disabled = 1\nmanage = 0\nenable_ip6 = 0\ndhcp = 0\ndhcp_gw = 0\ndhcp6 = 1\n"
        "ipv6_router_adv = 0\nstatic ip = 192.0.2.7\nstatic ip netmask = 255.255.0.0\n"
        "gateway = 192.0.2.1\ndns = 192.0.2.1 192.0.2.2\nstatic ip6 = 2001:db8::7/64\n"
        "nat enable = 1\nnat role = public\n");
    Page t(box, kEditor, OfSize(26, 80));
    Finish(t);
    const Words screen = {
        "",
        "Configuration for eth0 (02:AB:CD:EF:00:01)",
        "Use left/right arrow keys, ENTER/SPACE or double-click to change setting",
        "",
        "    Leave interface disabled:      yes",
        "    Manage this interface:         no",
        "    Enable IPv6:                   no",
        "    Use DHCP:                      no",
        "    Use DHCP gateway address:      no",
        "    Use DHCPv6 (for IPv6):         yes",
        "    IPv6 router advertisements:    no",
        "    Static IP address:             192.0.2.7",
        "    Static IP address netmask:     255.255.0.0",
        "    Static IP gateway:             192.0.2.1",
        "    Static IP DNS server(s):       192.0.2.1 192.0.2.2",
        "    Static IPv6 address:           2001:db8::7/64",
        "    NAT enable:                    yes",
        "    NAT role:                      public",
        "",
        "    Save changes",
        "    Cancel",
        "    If you would prefer to leave the network port disabled, set this option",
        "    to 'YES'",
        "",
        "",
        ""};
    EXPECT_EQ(t.Screen(), screen);
    EXPECT_EQ(t.SelectedRow(), kTop);
    EXPECT_FALSE(t.CursorVisible());
    for (int row : {1, 2})
        EXPECT_EQ(t.Cell(row, 5).Style(), "white/black") << "the title must not be bold";
    const Cell help = t.Cell(21, 5);
    EXPECT_FALSE(help.bold || help.dim || help.reverse || help.underline || help.bg == kBlue);
    // The opposite value of each yes/no setting.
    box.Write(kSettings, kPlain);
    BackToInterface(t, "<Esc>");
    OpenEditor(t);
    EXPECT_EQ(Values(t), kDefaults);
}

// ---- the file behind the rows ----

TEST(SettingsEditor, AHandWrittenFileBecomesFourteenLines) {
    Box box(
        "# my card\n\ndhcp = yes\ndhcp6 = on\nmanage=0\nstatic ip = 192.0.2.7  \nstatic ip "
        "= 192.0.2.8\r\nnat role = wan\nmine = 1\n  # disabled = 1\nno line end = 1\ndns = x");
    Page t(box, kEditor, Tall());
    EXPECT_THAT(Values(t), ElementsAre("no", "yes", "yes", "no", "yes", "yes", "yes", "192.0.2.8",
                                       "255.255.255.0", "", "x", "", "no", "wan"));
    BackToInterface(t, "s<Enter>");
    EXPECT_EQ(box.Read(kSettings),
              "manage = 1\n"
              "dhcp = 0\n"
              "dhcp6 = 1\n"
              "dhcp_gw = 1\n"
              "enable_ip6 = 1\n"
              "disabled = 0\n"
              "static ip = 192.0.2.8\n"
              "ipv6_router_adv = 1\n"
              "static ip netmask = 255.255.255.0\n"
              "static ip6 = \n"
              "gateway = \n"
              "dns = x\n"
              "nat enable = 0\n"
              "nat role = wan\n");
}

TEST(SettingsEditor, AMissingFileIsCopiedFromTheTemplateFirst) {
    Box box("");
    box.Write(kTemplate, "# template\nstatic ip = 192.0.2.99\nmine = 1\n");
    Page t(box, kEditor, Tall());
    EXPECT_EQ(ValueOf(t, kStaticIp), "192.0.2.99");
    EXPECT_EQ(box.Read(kSettings), "# template\nstatic ip = 192.0.2.99\nmine = 1\n");
}

TEST(SettingsEditor, WithoutATemplateTheDefaultsAreShownAndSaved) {
    Box box("");
    box.Remove(kTemplate);
    Page t(box, kEditor, Tall());
    EXPECT_EQ(Values(t), kDefaults);
    EXPECT_EQ(t.Row(1), kEditorTitle) << "the failure must not be reported";
    EXPECT_FALSE(box.Exists(kSettings));
    BackToInterface(t, "s<Enter>");
    EXPECT_EQ(box.Read(kSettings), kPlain);
}

TEST(SettingsEditor, TheTemplateReplacesNoFileAndNoLinkToOne) {
    Box box("static ip = 192.0.2.7\n");
    box.Record("cp");
    Page t(box, kEditor, Tall());
    BackToInterface(t, "<Esc>");
    box.Sh(std::string("cd /etc/network; mv ") + kAddress + " real; ln -s real " + kAddress);
    OpenEditor(t);
    EXPECT_EQ(ValueOf(t, kStaticIp), "192.0.2.7");
    EXPECT_THAT(box.Calls("cp"), IsEmpty());
    EXPECT_EQ(box.Read("/etc/network/real"), "static ip = 192.0.2.7\n");
    // A folder does not count as a file.
    BackToInterface(t, "<Esc>");
    box.Remove(kSettings);
    box.MakeDirectory(kSettings);
    OpenEditor(t);
    EXPECT_THAT(box.CallLines("cp"), ElementsAre(std::string("cp ") + kTemplate + " " + kSettings));
    EXPECT_EQ(Values(t), kDefaults);
}

// If the kernel does not report the card's address, the name of the file is empty.
TEST(SettingsEditor, ACardWithoutAnAddressHasNoFile) {
    Box box;
    box.Cards("eth0 hwaddr fails\n");
    Page t(box, kInterface, Tall());
    EXPECT_EQ(t.Row(2), "Network configuration: eth0 ()");
    const std::string before = box.Sh("cd /etc/network; ls -A; cat 02* example");
    OpenEditor(t);
    EXPECT_EQ(t.Row(1), "Configuration for eth0 ()");
    EXPECT_EQ(Values(t), kDefaults);
    BackToInterface(t, "s<Enter>");
    EXPECT_EQ(box.Sh("cd /etc/network; ls -A; cat 02* example"), before);
}

// ---- keys on the rows ----

// The value of a row after the key; ENTER opens the prompt of a text.
std::string After(const Setting& setting, const std::string& key, const std::string& value) {
    const bool ignores = setting.label == kEnableIp6 && key == "<Enter>";
    if (setting.words.empty() || ignores) return value;
    const auto word = std::find(setting.words.begin(), setting.words.end() - 1, value);
    return word == setting.words.end() - 1 ? setting.words.front() : word[1];
}

TEST(SettingsEditor, EachKeyTurnsTheSettingsThatItMayOnce) {
    Box box;
    Page t(box, kEditor, Tall());
    for (const Setting& setting : kRows) {
        Select(t, setting.label);
        const int row = t.SelectedRow();
        for (const std::string key : {"<Enter>", "<Space>", "<Left>", "<Right>"}) {
            if (setting.words.empty() && key == "<Enter>") continue;
            for (size_t press = 0; press <= setting.words.size(); press++) {
                const std::string expected = After(setting, key, ValueOf(t, setting.label));
                t.Press(key);
                t.Settle();
                EXPECT_EQ(ValueOf(t, setting.label), expected) << setting.label << key;
                EXPECT_EQ(t.SelectedRow(), row) << setting.label << key;
            }
        }
    }
    t.Press("c<Space><Left><Right>s<Space><Left><Right>");
    t.Settle();
    EXPECT_EQ(t.Row(1), kEditorTitle);
    EXPECT_EQ(box.Read(kSettings), kPlain) << "nothing may be written before the save";
}

TEST(SettingsEditor, AChangeIsSavedUnderItsOwnKey) {
    Box box;
    Page t(box, kInterface, Tall());
    for (const Setting& setting : kRows) {
        if (setting.words.empty()) continue;
        box.Write(kSettings, kPlain);
        OpenEditor(t);
        const std::string next = After(setting, "<Space>", ValueOf(t, setting.label));
        Turn(t, setting.label, next);
        BackToInterface(t, "s<Enter>");
        const std::string saved = next == "yes" ? "1" : next == "no" ? "0" : next;
        EXPECT_EQ(box.Read(kSettings), With(kPlain, setting.key, saved));
    }
    // Applying the settings is up to another row.
    EXPECT_THAT(box.Calls(kNetworkScript), IsEmpty());
}

TEST(SettingsEditor, AnUnknownRoleBecomesNone) {
    for (const char* role : {"wan", "Public"}) {
        Box box(With(kPlain, "nat role", role));
        Page t(box, kEditor, Tall());
        EXPECT_EQ(ValueOf(t, kNatRole), role);
        Turn(t, kNatRole, "");
    }
}

// ---- prompts ----

struct Prompt {
    const char* label;
    const char* key;
    const char* text;  // first line of the prompt
    const char* old_value;
    const char* typed;
    const char* saved;
};

// Any text is accepted. Blanks around it are dropped; commas between servers become blanks.
constexpr Prompt kPrompts[] = {
    {kStaticIp, "static ip", "Static IP address [ESC to cancel]", "192.0.2.7", "1,2;$(id)",
     "1,2;$(id)"},
    {kNetmask, "static ip netmask", "Static IP address netmask [ESC to cancel]", "255.255.0.0",
     "   ", ""},
    {kGateway, "gateway", "Static IP address gateway [ESC to cancel]", "192.0.2.1",
     "  192.0.2.1, or so  ", "192.0.2.1, or so"},
    {kDns, "dns", "Static IP address DNS servers", "192.0.2.1 192.0.2.2", ",a, b,,c,", " a  b  c "},
    {kStaticIp6, "static ip6", "Static IPv6 address [ESC to cancel]", "2001:db8::7/64", "1,2",
     "1,2"},
};

TEST(SettingsEditor, EachTextHasItsOwnPrompt) {
    std::string before = With(kPlain, "dhcp", "0"), after = before;
    for (const Prompt& prompt : kPrompts) {
        before = With(before, prompt.key, prompt.old_value);
        after = With(after, prompt.key, prompt.saved);
    }
    Box box(before);
    Page t(box, kEditor, OfSize(32, 132));
    for (const Prompt& prompt : kPrompts) {
        SCOPED_TRACE(prompt.label);
        OpenPrompt(t, prompt.label);
        EXPECT_EQ(t.Find(prompt.text), 14);
        EXPECT_TRUE(t.CursorVisible());
        t.Type("xyz");
        t.WaitFor(std::string(prompt.old_value) + "xyz");
        LeavePrompt(t, "<Esc>");
        EXPECT_EQ(ValueOf(t, prompt.label), prompt.old_value);

        TypeValue(t, prompt.label, prompt.typed);
        EXPECT_EQ(ValueOf(t, prompt.label), WithoutTrailingBlanks(prompt.saved));
        EXPECT_FALSE(t.CursorVisible());
        EXPECT_EQ(t.Row(1), kEditorTitle);
        EXPECT_EQ(t.Row(2), kEditorHint);
        EXPECT_TRUE(t.Selected().starts_with(prompt.label));
    }
    EXPECT_EQ(box.Read(kSettings), before);
    BackToInterface(t, "s<Enter>");
    EXPECT_EQ(box.Read(kSettings), after);
}

TEST(SettingsEditor, ThePromptForServersSuggestsOne) {
    Box box;
    Page t(box, kEditor, OfSize(32, 132));
    OpenPrompt(t, kDns);
    EXPECT_THAT(t.Row(15),
                testing::ContainsRegex("If you have a working internet connection but no DNS "
                                       "server you can try [0-9]+\\.[0-9]+\\.[0-9]+\\.[0-9]+ "
                                       "\\[ESC to cancel\\]"));
}

// ---- the conflict between DHCP and a static address ----

// Whether the rows of the two settings, and no others, are red.
void ExpectMarks(const Terminal& t, bool marked, int line = __builtin_LINE()) {
    const testing::ScopedTrace trace(__FILE__, line, "marks");
    for (const Setting& setting : kRows) {
        const bool concerned = setting.label == kDhcp || setting.label == kStaticIp;
        const int row = t.Find(setting.label);
        EXPECT_EQ(t.Cell(row, kLeft + 1).fg == kRed, marked && concerned) << setting.label;
        if (marked && concerned) {
            EXPECT_EQ(t.Cell(row, 78).bg, kBlack) << "to the end of the row";
        }
    }
}

TEST(SettingsEditor, OnlyDhcpAndAnIPv4AddressConflict) {
    std::string file = With(kPlain, "static ip6", "2001:db8::7/64");
    file = With(file, "gateway", "192.0.2.1");
    Box box(With(file, "dhcp6", "1"));
    Page t(box, kEditor, Tall());
    ExpectMarks(t, false);
    TypeValue(t, kStaticIp, "?");
    ExpectMarks(t, true);
    // The hot key stays yellow on the row that is not selected.
    EXPECT_EQ(t.Cell(t.Find(kDhcp), kLeft + 1).Style(), "red/black bold");
    EXPECT_EQ(t.Cell(t.Find(kDhcp), kLeft + 4).Style(), "yellow/black bold");
    EXPECT_EQ(t.Cell(t.Find(kStaticIp), kLeft + 1).Style(), "red/black bold reverse");
    Select(t, "Cancel");
    ExpectMarks(t, true);
    Turn(t, kDhcp, "no");
    ExpectMarks(t, false);
    Turn(t, kDhcp, "yes");
    ExpectMarks(t, true);
    TypeValue(t, kStaticIp, "");
    ExpectMarks(t, false);
}

// ---- help ----

// The three lines of help from that line of the screen on.
void ExpectHelp(Terminal& t, int first, std::string help, int line = __builtin_LINE()) {
    const testing::ScopedTrace trace(__FILE__, line, "help");
    Finish(t);
    for (int row = first; row < first + 3; row++) {
        const size_t end = std::min(help.find('\n'), help.size());
        const size_t width = std::min(end, static_cast<size_t>(t.cols() - 8));
        EXPECT_EQ(t.Row(row), WithoutTrailingBlanks("    " + help.substr(0, width)));
        help.erase(0, end + 1);
    }
}

TEST(SettingsEditor, HelpForTheSelectedRowIsBelowTheList) {
    Box box;
    for (const auto& [rows, cols] : {std::pair(24, 80), {43, 132}, {24, 40}, {24, 20}}) {
        SCOPED_TRACE(cols);
        Page t(box, kEditor, OfSize(rows, cols));
        for (const Setting& setting : kRows) {
            ExpectHelp(t, rows - 5, setting.help);
            t.Press("<Down>");
        }
        for (const char* action : {"Save changes", "Cancel"}) {
            t.WaitSelected(action);
            ExpectHelp(t, rows - 5, "");
            t.Press("<Down>");
        }
        ExpectHelp(t, rows - 5, kRows[0].help);
    }
}

TEST(SettingsEditor, HelpComesBackAfterAPrompt) {
    Box box;
    Page t(box, kEditor);
    OpenPrompt(t, kGateway);
    LeavePrompt(t, "<Esc>");
    ExpectHelp(t, 19, "Static IP gateway network address");
}

// On 24 lines the list has 15. Its separator can only be reached with a page key.
TEST(SettingsEditor, TheListScrollsAboveTheHelp) {
    Box box;
    Page t(box, kEditor);
    t.Press("<PageDown>");
    t.WaitUntil([&] { return t.SelectedRow() == 18; }, "the separator");
    ExpectHelp(t, 19, "");
    const Words before = t.Screen();
    for (const char* key : {"<Enter>", "<Space>", "<Left>", "<Right>"}) {
        t.Press(key);
        Finish(t);
        EXPECT_EQ(t.Screen(), before) << key;
    }
    t.Press("<End>");
    t.WaitSelected("Cancel");
    t.Settle();
    EXPECT_EQ(t.SelectedRow(), 18);
    EXPECT_EQ(TextAt(t, 4), "Enable IPv6:                   yes");
    EXPECT_EQ(t.Row(1), kEditorTitle);
}

// ---- small terminals ----

TEST(SettingsEditor, NineteenLinesAreEnoughForTheHelp) {
    Box box;
    Page t(box, kEditor, OfSize(19, 80));
    EXPECT_EQ(TextAt(t, 13), kGateway);
    ExpectHelp(t, 14, kRows[0].help);
    EXPECT_EQ(t.Row(18), "");
    // On 18 lines the help keeps its place, and covers the list.
    t.Resize(18, 80);
    t.WaitUntil([&] { return t.Row(17).empty() && TextAt(t, 13) == kGateway; }, "18 lines");
    ExpectHelp(t, 14, kRows[0].help);
    EXPECT_EQ(t.Row(1), kEditorTitle);
    // The help lines of a larger screen are below it.
    t.Resize(24, 80);
    t.WaitUntil([&] { return t.Row(19).find("If you would") == 4; }, "the help on 24 lines");
    t.Resize(18, 80);
    t.WaitUntil([&] { return TextAt(t, 16) == "NAT enable:                    no"; }, "18 again");
    Finish(t);
    EXPECT_EQ(t.Row(0), "");
    EXPECT_EQ(t.Row(1), kEditorTitle);
    EXPECT_FALSE(t.Shows("If you would"));
}

// If the terminal starts that small, the first help line is above the screen, and the others cover
// the title.
TEST(SettingsEditor, OnEighteenLinesTheHelpCoversTheTitle) {
    Box box;
    Page t(box, kEditor, OfSize(18, 80));
    const auto expect_top = [&](const std::string& second, const std::string& third) {
        Finish(t);
        EXPECT_EQ(t.Row(0), second);
        EXPECT_EQ(t.Row(1), "Conf" + third);
        EXPECT_EQ(t.Row(2), kEditorHint);
    };
    expect_top("    to 'YES'", "");
    EXPECT_EQ(TextAt(t, 16), "NAT enable:                    no");
    t.Press("<Down>");
    t.WaitSelected(kManage);
    expect_top("    interface. Disable this if you would prefer using your own scripting.", "");
    // A change repaints the title, and then the help over it.
    t.Press("<Down><Space>");
    WaitForValue(t, kEnableIp6, "no");
    expect_top("", "");
    // With enough room the help has its own place, and the title is complete.
    t.Resize(24, 80);
    t.WaitFor("Whether to enable IPv6");
    EXPECT_EQ(t.Row(0), "");
    EXPECT_EQ(t.Row(1), kEditorTitle);
    ExpectHelp(t, 19, "Whether to enable IPv6 for this interface.");
}

// ---- leaving ----

TEST(SettingsEditor, OnlySaveChangesTheFile) {
    const std::string odd = "# by hand\ndhcp = on\nmine = 1\nstatic ip = 192.0.2.7";
    Box box(odd);
    Page t(box, kInterface, Tall());
    const std::string look = std::string("stat -c '%i %a %y' ") + kSettings;
    const std::string before = box.Sh(look);
    for (const char* keys : {"c<Enter>", "<Esc>", "<Backspace>"}) {
        OpenEditor(t);
        EXPECT_EQ(ValueOf(t, kManage), "yes") << "the change must be gone";
        Turn(t, kManage, "no");
        BackToInterface(t, keys);
        EXPECT_EQ(box.Read(kSettings), odd) << keys;
        EXPECT_EQ(box.Sh(look), before) << keys;
        EXPECT_EQ(t.Row(2), kScreenTitle);
    }
}

TEST(SettingsEditor, AFileChangedMeanwhileIsOverwrittenCompletely) {
    Box box;
    Page t(box, kEditor, Tall());
    box.Write(kSettings, "static ip = 192.0.2.200\nmine = 1\n");
    Turn(t, kManage, "no");
    EXPECT_EQ(ValueOf(t, kStaticIp), "");
    BackToInterface(t, "s<Enter>");
    EXPECT_EQ(box.Read(kSettings), With(kPlain, "manage", "0"));
    OpenEditor(t);
    EXPECT_EQ(ValueOf(t, kManage), "no");
}

// ---- long and odd values ----

// A row is cut at 254 characters, an entry starts with that many, and both end with the terminal.
TEST(SettingsEditor, OnlyAnAcceptedEntryCutsALongValue) {
    const std::string value = std::string(150, 'a') + std::string(150, 'b');
    struct Size {
        int cols;
        size_t shown, entered;
    };
    for (const auto& [cols, shown, entered] : {Size{300, 223, 254}, {80, 44, 76}}) {
        Box box(With(kPlain, "static ip", value));
        Page t(box, kEditor, OfSize(32, cols));
        EXPECT_EQ(ValueOf(t, kStaticIp), value.substr(0, shown));
        OpenPrompt(t, kStaticIp);
        EXPECT_TRUE(t.Shows(value.substr(0, entered)));
        EXPECT_FALSE(t.Shows(value.substr(0, entered + 1)));
        LeavePrompt(t, "<Esc>");
        BackToInterface(t, "s<Enter>");
        EXPECT_EQ(box.Read(kSettings), With(kPlain, "static ip", value));
        OpenEditor(t);
        OpenPrompt(t, kStaticIp);
        LeavePrompt(t, "<Enter>");
        BackToInterface(t, "s<Enter>");
        EXPECT_EQ(box.Read(kSettings), With(kPlain, "static ip", value.substr(0, entered)));
    }
}

// No byte in the file controls the terminal, and a save keeps them all.
TEST(SettingsEditor, AnyBytesAreShownSafelyAndKept) {
    std::string file = With(kPlain, "static ip", "caf\xc3\xa9 \x1b[2J\x1b]0;x\x07 \x01\x7f\xff");
    file = With(file, "gateway", "%s%n%d \"'`$(id)\\");
    Box box(file);
    Page t(box, kEditor, Tall());
    EXPECT_EQ(ValueOf(t, kStaticIp), "caf\xc3\xa9 ?[2J?]0;x? ???");
    EXPECT_EQ(ValueOf(t, kGateway), "%s%n%d \"'`$(id)\\");
    EXPECT_EQ(t.Row(1), kEditorTitle);
    EXPECT_EQ(t.Bells(), 0);
    BackToInterface(t, "s<Enter>");
    EXPECT_EQ(box.Read(kSettings), file);
}

// ---- the mouse ----

// Curses reports a click only when no other follows for a sixth of a second.
TEST(SettingsEditor, AClickOrADoubleClickOnTheSelectedRowChangesItOnce) {
    Box box;
    Page t(box, kEditor, Tall());
    struct Case {
        const char* label;
        const char* value;
        void (Terminal::*click)(int row, int col);
    };
    for (const auto& [label, value, click] : {Case{kDhcp, "no", &Terminal::DoubleClick},
                                              {kDhcp, "yes", &Terminal::Click},
                                              {kNatRole, "public", &Terminal::DoubleClick},
                                              {kEnableIp6, "yes", &Terminal::DoubleClick},
                                              {kEnableIp6, "yes", &Terminal::Click}}) {
        Select(t, label);
        (t.*click)(t.SelectedRow(), 10);
        t.RunFor(0.2);
        t.Settle();
        EXPECT_EQ(ValueOf(t, label), value) << label;
    }
}

}  // namespace
}  // namespace harness::one_card
