// The settings editor: rows, keys, prompts, help, and the resulting file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <string>
#include <vector>

#include "interface_fixtures.h"

namespace harness::one_card {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// ---- the rows ----

struct Setting {
    const char* label;
    const char* key;   // in the file
    const char* help;  // up to three lines
};

constexpr int kSettingCount = 14;
constexpr Setting kRows[kSettingCount] = {
    {"Leave interface disabled:      ", "disabled",
     "If you would prefer to leave the network port disabled, set this option\nto 'YES'\n"},
    {"Manage this interface:         ", "manage",
     "Whether the Tavrin network configuration system should manage the network\n"
     "interface. Disable this if you would prefer using your own scripting."},
    {"Enable IPv6:                   ", "enable_ip6", "Whether to enable IPv6 for this interface."},
    {"Use DHCP:                      ", "dhcp",
     "Use DHCP on this interface to automatically obtain an IP address.\n"
     "Disable for static IP configuration."},
    {"Use DHCP gateway address:      ", "dhcp_gw",
     "Accept gateway address from DHCP server.\n"
     "Disable if not your primary interface and another interface is using DHCP."},
    {"Use DHCPv6 (for IPv6):         ", "dhcp6",
     "Use DHCPv6 on this interface to automatically obtain an IPv6 address.\n"
     "Disable for static IPv6 configuration."},
    {"IPv6 router advertisements:    ", "ipv6_router_adv", ""},
    {"Static IP address:             ", "static ip",
     "Static IP address you wish to assign this interface\nExample: 192.168.1.42"},
    {"Static IP address netmask:     ", "static ip netmask",
     "Static IP netmask you wish to assign this interface\nExample: 255.255.255.0"},
    {"Static IP gateway:             ", "gateway", "Static IP gateway network address"},
    {"Static IP DNS server(s):       ", "dns", "Static IP DNS server list, separated by spaces."},
    {"Static IPv6 address:           ", "static ip6",
     "Static IPv6 address you wish to assign this interface\nExample: fc00::1/64"},
    {"NAT enable:                    ", "nat enable",
     "This controls whether the interface participates in a NAT/Firewall\n"
     "configuration. Leave it off for normal use."},
    {"NAT role:                      ", "nat role",
     "If NAT/Firewall participation is enabled, this sets the interface's role."},
};

// The indices of the rows in the list.
enum : int {
    kDisabled,
    kManage,
    kEnableIp6,
    kDhcp,
    kDhcpGateway,
    kDhcp6,
    kRouterAdvertisements,
    kStaticIp,
    kNetmask,
    kGateway,
    kDns,
    kStaticIp6,
    kNatEnable,
    kNatRole,
    kSeparator,
    kSave,
    kCancel
};

constexpr int kFlips[] = {
    kDisabled, kManage, kEnableIp6, kDhcp, kDhcpGateway, kDhcp6, kRouterAdvertisements, kNatEnable};

std::string WithoutTrailingBlanks(std::string text) {
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

std::string RowText(int row, const std::string& value) {
    return WithoutTrailingBlanks(kRows[row].label + value);
}

// A terminal that fits the whole list.
TerminalOptions Tall() {
    return OfSize(32, 80);
}

// The screen line of a row, as long as the list is not scrolled.
constexpr int Line(int row) {
    return kTop + row;
}

// Moves down to the row from the first one; the whole list must be visible.
void GoTo(Terminal& t, int row, Place place = Place::current()) {
    t.Press("<Home>", place);
    for (int left = row < kSeparator ? row : row - 1; left > 0; left--)
        t.Press("<Down>", place);
    t.WaitUntil([&] { return t.SelectedRow() == Line(row); }, "row " + std::to_string(row),
                Terminal::kPatience, place);
}

void WaitForRow(Terminal& t, int row, const std::string& value, Place place = Place::current()) {
    const std::string text = RowText(row, value);
    t.WaitUntil([&] { return TextAt(t, Line(row)) == text; }, "\"" + text + "\"",
                Terminal::kPatience, place);
}

// Waits until the help is drawn, too: it follows the rows at the next key, or after 16 ms without
// one. So this presses a key without a meaning.
void Finish(Terminal& t, Place place = Place::current()) {
    t.Press("x", place);
    t.Settle(Terminal::kPatience, place);
}

void PressWithoutEffect(Terminal& t, const std::string& key, Place place = Place::current()) {
    Finish(t, place);
    const std::vector<std::string> before = t.Screen();
    t.Press(key, place);
    t.Settle(Terminal::kPatience, place);
    Finish(t, place);
    EXPECT_EQ(t.Screen(), before) << key;
}

TEST(SettingsEditor, ShowsEverySettingInItsColumn) {
    Box box(
        "disabled = 1\nmanage = 0\nenable_ip6 = 0\ndhcp = 0\ndhcp_gw = 0\ndhcp6 = 1\n"
        "ipv6_router_adv = 0\nstatic ip = 192.0.2.7\nstatic ip netmask = 255.255.0.0\n"
        "gateway = 192.0.2.1\ndns = 192.0.2.1 192.0.2.2\nstatic ip6 = 2001:db8::7/64\n"
        "nat enable = 1\nnat role = public\n");
    EditorPage t(box, OfSize(26, 80));
    Finish(t);
    const std::vector<std::string> screen = {
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
    EXPECT_EQ(t.SelectedRow(), Line(kDisabled));
    EXPECT_FALSE(t.CursorVisible());
    // The opposite value of each yes/no setting.
    box.Write(kSettings, kPlain);
    BackToInterface(t, "<Esc>");
    OpenEditor(t);
    for (int row : kFlips)
        EXPECT_EQ(
            TextAt(t, Line(row)),
            RowText(row, row == kDisabled || row == kDhcp6 || row == kNatEnable ? "no" : "yes"));
}

TEST(SettingsEditor, TitleAndRowsHaveTheirColours) {
    Box box;
    EditorPage t(box, Tall());
    for (int row : {1, 2}) {
        for (int col : {0, 5, 8}) {
            const Cell cell = t.Cell(row, col);
            EXPECT_EQ(cell.Style(), "white/black") << row << "," << col;
        }
    }
    // The selected row is blue over the width of the list, from column 4 to the last column but
    // one.
    const int selected = Line(kDisabled);
    for (int col : {3, 79})
        EXPECT_EQ(t.Cell(selected, col).bg, kBlack) << col;
    for (int col : {4, 40, 78})
        EXPECT_EQ(t.Cell(selected, col).bg, kBlue) << col;
    EXPECT_EQ(t.Cell(selected, 4).Style(), "white/blue bold");
    EXPECT_EQ(t.Cell(Line(kManage), 5).Style(), "white/black bold");
    EXPECT_EQ(t.Cell(Line(kCancel), 5).Style(), "white/black bold");
}

// ---- the file behind the rows ----

// A hand-written file, and one with entirely different content.
TEST(SettingsEditor, ShowsTheSettingsReadFromTheFile) {
    Box box(
        "# my card\n\ndhcp = yes\ndhcp6 = on\nmanage=0\nstatic ip = 192.0.2.7  \nstatic ip "
        "= 192.0.2.8\r\nnat role = wan\nmine = 1\n  # disabled = 1\nno line end = 1\ndns = x");
    EditorPage t(box, Tall());
    EXPECT_EQ(TextAt(t, Line(kDhcp)), RowText(kDhcp, "no"));
    EXPECT_EQ(TextAt(t, Line(kDhcp6)), RowText(kDhcp6, "yes"));
    EXPECT_EQ(TextAt(t, Line(kManage)), RowText(kManage, "yes"));
    EXPECT_EQ(TextAt(t, Line(kDisabled)), RowText(kDisabled, "no"));
    EXPECT_EQ(TextAt(t, Line(kStaticIp)), RowText(kStaticIp, "192.0.2.8"));
    EXPECT_EQ(TextAt(t, Line(kNatRole)), RowText(kNatRole, "wan"));
    EXPECT_EQ(TextAt(t, Line(kDns)), RowText(kDns, "x"));
    EXPECT_EQ(TextAt(t, Line(kNetmask)), RowText(kNetmask, "255.255.255.0"));
    // Saved unchanged, it becomes the fourteen lines.
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

void ExpectDefaults(const Terminal& t) {
    const char* values[kSettingCount] = {"no", "yes", "yes", "yes", "yes", "no", "yes",
                                         "",   "",    "",    "",    "",    "no", ""};
    values[kNetmask] = "255.255.255.0";
    for (int row = 0; row < kSettingCount; row++)
        EXPECT_EQ(TextAt(t, Line(row)), RowText(row, values[row]));
}

TEST(SettingsEditor, AMissingFileIsCopiedFromTheTemplateFirst) {
    Box box("");
    box.Write(kTemplate, "# template\nstatic ip = 192.0.2.99\nmine = 1\n");
    EditorPage t(box, Tall());
    EXPECT_EQ(TextAt(t, Line(kStaticIp)), RowText(kStaticIp, "192.0.2.99"));
    EXPECT_EQ(box.Read(kSettings), "# template\nstatic ip = 192.0.2.99\nmine = 1\n");
}

TEST(SettingsEditor, CopiesTheTemplateWithOneSilentCommand) {
    Box box("");
    box.StandInScript("cp", "readlink /proc/$$/fd/2 >/run/complaints; echo no >&2; exit 1");
    EditorPage t(box, Tall());
    ASSERT_THAT(box.Calls("cp"), testing::SizeIs(1));
    EXPECT_THAT(box.Calls("cp")[0].args, ElementsAre(kTemplate, kSettings));
    EXPECT_EQ(box.Read("/run/complaints"), "/dev/null\n");
    // The copy failed, and nothing is reported.
    EXPECT_FALSE(box.Exists(kSettings));
    ExpectDefaults(t);
    EXPECT_EQ(t.Row(1), kEditorTitle);
}

TEST(SettingsEditor, WithoutATemplateTheDefaultsAreShownAndSaved) {
    Box box("");
    box.Remove(kTemplate);
    EditorPage t(box, Tall());
    ExpectDefaults(t);
    EXPECT_FALSE(box.Exists(kSettings));
    BackToInterface(t, "s<Enter>");
    EXPECT_EQ(box.Read(kSettings), kPlain);
    EXPECT_EQ(box.Sh(std::string("stat -c '%a %U %G' ") + kSettings), "644 root root\n");
}

TEST(SettingsEditor, AnExistingFileIsNotOverwrittenByTheTemplate) {
    Box box("static ip = 192.0.2.7\n");
    box.Record("cp");
    EditorPage t(box, Tall());
    BackToInterface(t, "<Esc>");
    // A link to a file is a file, too.
    box.Sh(std::string("cd /etc/network; mv ") + kAddress + " real; ln -s real " + kAddress);
    OpenEditor(t);
    EXPECT_EQ(TextAt(t, Line(kStaticIp)), RowText(kStaticIp, "192.0.2.7"));
    BackToInterface(t, "<Esc>");
    EXPECT_THAT(box.Calls("cp"), IsEmpty());
    EXPECT_EQ(box.Read("/etc/network/real"), "static ip = 192.0.2.7\n");
}

TEST(SettingsEditor, AFolderInPlaceOfTheFileGivesTheDefaults) {
    Box box("");
    box.MakeDirectory(kSettings);
    box.Write(kTemplate, "static ip = 192.0.2.99\n");
    box.Record("cp");
    EditorPage t(box, Tall());
    EXPECT_THAT(box.CallLines("cp"), ElementsAre(std::string("cp ") + kTemplate + " " + kSettings));
    ExpectDefaults(t);
    BackToInterface(t, "s<Enter>");
    EXPECT_EQ(box.Sh(std::string("ls ") + kSettings), "example\n");
    EXPECT_EQ(box.Sh("cd /etc/network; ls -A | grep ifmenu || true"), "");
}

// If the kernel does not report the card's address, the name of the file is empty.
TEST(SettingsEditor, ACardWithoutAnAddressHasNoFile) {
    Box box;
    box.Cards("eth0 hwaddr fails\n");
    InterfacePage t(box, Tall());
    EXPECT_EQ(t.Row(2), "Network configuration: eth0 ()");
    const std::string before = box.Sh("cd /etc/network; ls -A; cat 02* example");
    OpenEditor(t);
    EXPECT_EQ(t.Row(1), "Configuration for eth0 ()");
    ExpectDefaults(t);
    BackToInterface(t, "s<Enter>");
    EXPECT_EQ(box.Sh("cd /etc/network; ls -A; cat 02* example"), before);
}

// ---- keys on the rows ----

TEST(SettingsEditor, EachKeyFlipsAYesNoSettingOnce) {
    Box box;
    EditorPage t(box, Tall());
    for (int row : kFlips) {
        GoTo(t, row);
        bool on = TextAt(t, Line(row)) == RowText(row, "yes");
        for (const char* key : {"<Space>", "<Left>", "<Left>", "<Right>", "<Right>", "<Space>",
                                "<Enter>", "<Enter>"}) {
            if (row == kEnableIp6 && std::string(key) == "<Enter>") continue;
            t.Press(key);
            on = !on;
            t.Settle();
            EXPECT_EQ(TextAt(t, Line(row)), RowText(row, on ? "yes" : "no")) << key;
            EXPECT_EQ(t.SelectedRow(), Line(row)) << key;
        }
    }
    EXPECT_EQ(box.Read(kSettings), kPlain) << "nothing may be written before the save";
}

TEST(SettingsEditor, EnterLeavesEnableIPv6Alone) {
    Box box;
    EditorPage t(box, Tall());
    GoTo(t, kEnableIp6);
    PressWithoutEffect(t, "<Enter>");
    PressWithoutEffect(t, "<C-j>");
    for (const char* key : {"<Space>", "<Right>", "<Left>"}) {
        const bool on = TextAt(t, Line(kEnableIp6)) == RowText(kEnableIp6, "yes");
        t.Press(key);
        WaitForRow(t, kEnableIp6, on ? "no" : "yes");
        PressWithoutEffect(t, "<Enter>");
    }
}

TEST(SettingsEditor, AFlipIsSavedUnderItsOwnKey) {
    Box box;
    InterfacePage t(box, Tall());
    for (int row : kFlips) {
        box.Write(kSettings, kPlain);
        OpenEditor(t);
        GoTo(t, row);
        const bool on = TextAt(t, Line(row)) == RowText(row, "yes");
        t.Press("<Space>");
        WaitForRow(t, row, on ? "no" : "yes");
        BackToInterface(t, "s<Enter>");
        EXPECT_EQ(box.Read(kSettings), With(kPlain, kRows[row].key, on ? "0" : "1"));
    }
}

TEST(SettingsEditor, SpaceAndArrowsDoNothingOnOtherRows) {
    Box box;
    EditorPage t(box, Tall());
    for (int row : {+kStaticIp, +kNetmask, +kGateway, +kDns, +kStaticIp6, +kSave, +kCancel}) {
        GoTo(t, row);
        for (const char* key : {"<Space>", "<Left>", "<Right>"})
            PressWithoutEffect(t, key);
    }
}

// The separator can only be reached with a page key: on 24 lines the list has 15.
TEST(SettingsEditor, NothingHappensOnTheSeparator) {
    Box box;
    EditorPage t(box);
    t.Press("<PageDown>");
    t.WaitUntil([&] { return t.SelectedRow() == Line(kSeparator); }, "the separator");
    Finish(t);
    for (int row : {19, 20, 21})
        EXPECT_EQ(t.Row(row), "");
    for (const char* key : {"<Enter>", "<Space>", "<Left>", "<Right>"})
        PressWithoutEffect(t, key);
    t.Press("<Down>");
    t.WaitSelected("Save changes");
}

TEST(SettingsEditor, TheNatRoleCycles) {
    Box box(With(kPlain, "nat role", "wan"));
    EditorPage t(box, Tall());
    GoTo(t, kNatRole);
    EXPECT_EQ(TextAt(t, Line(kNatRole)), RowText(kNatRole, "wan"));
    for (const char* key : {"<Enter>", "<Space>", "<Left>", "<Right>"}) {
        t.Press(key);
        WaitForRow(t, kNatRole, "");
        t.Press(key);
        WaitForRow(t, kNatRole, "public");
        t.Press(key);
        WaitForRow(t, kNatRole, "lan");
    }
    t.Press("<Space><Space>");
    WaitForRow(t, kNatRole, "public");
    BackToInterface(t, "s<Enter>");
    EXPECT_EQ(box.Read(kSettings), With(kPlain, "nat role", "public"));
}

TEST(SettingsEditor, NatRolesAreLowerCase) {
    Box box(With(kPlain, "nat role", "Public"));
    EditorPage t(box, Tall());
    GoTo(t, kNatRole);
    t.Press("<Space>");
    WaitForRow(t, kNatRole, "");
}

// ---- hot keys ----

TEST(SettingsEditor, HotKeysSelectAndSharedOnesAlternate) {
    Box box;
    EditorPage t(box, Tall());
    struct Step {
        const char* key;
        int row;
    };
    const Step steps[] = {
        {"d", kDhcp},        {"d", kDns},
        {"d", kDisabled},    {"d", kDhcp},
        {"m", kManage},      {"6", kEnableIp6},
        {"6", kDhcp6},       {"6", kEnableIp6},
        {"h", kDhcpGateway}, {"o", kRouterAdvertisements},
        {"i", kStaticIp},    {"i", kStaticIp6},
        {"i", kStaticIp},    {"n", kNetmask},
        {"n", kNatEnable},   {"n", kNetmask},
        {"g", kGateway},     {"r", kNatRole},
        {"s", kSave},        {"c", kCancel},
        {"d", kDisabled},    {"s", kSave},
        {"i", kStaticIp},    {"d", kDns},
        {"d", kDisabled},
    };
    for (const Step& step : steps) {
        t.Press(step.key);
        t.WaitUntil([&] { return t.SelectedRow() == Line(step.row); },
                    std::string(step.key) + " to select row " + std::to_string(step.row));
    }
    // Other keys are not hot keys: capitals, and letters that occur only in labels.
    for (const char* key : {"D", "S", "C", "e", "u", "x", "1", "0", "<Tab>", "<F1>"})
        PressWithoutEffect(t, key);
}

TEST(SettingsEditor, HotKeysAreMarkedInTheirLabels) {
    Box box;
    EditorPage t(box, Tall());
    GoTo(t, kCancel);
    struct Mark {
        int row;
        size_t column;
        const char* letter;
    };
    const Mark marks[] = {
        {kDisabled, 16, "d"},
        {kManage, 0, "M"},
        {kEnableIp6, 10, "6"},
        {kDhcp, 4, "D"},
        {kDhcpGateway, 5, "H"},
        {kDhcp6, 9, "6"},
        {kRouterAdvertisements, 6, "o"},
        {kStaticIp, 4, "i"},
        {kNetmask, 18, "n"},
        {kGateway, 10, "g"},
        {kDns, 10, "D"},
        {kStaticIp6, 4, "i"},
        {kNatEnable, 0, "N"},
        {kNatRole, 4, "r"},
        {kSave, 0, "S"},
    };
    for (const Mark& mark : marks) {
        const int col = kLeft + static_cast<int>(mark.column);
        const Cell cell = t.Cell(Line(mark.row), col);
        EXPECT_EQ(cell.text, mark.letter) << "row " << mark.row;
        EXPECT_EQ(cell.Style(), "yellow/black bold") << "row " << mark.row;
        EXPECT_NE(t.Cell(Line(mark.row), col + 1).fg, kYellow) << "row " << mark.row;
        if (col > kLeft) {
            EXPECT_NE(t.Cell(Line(mark.row), col - 1).fg, kYellow) << "row " << mark.row;
        }
    }
    // On the selected row the letter is reversed.
    const Cell cancel = t.Cell(Line(kCancel), kLeft);
    EXPECT_EQ(cancel.text, "C");
    EXPECT_TRUE(cancel.reverse);
    EXPECT_FALSE(cancel.bold);
}

// ---- prompts ----

struct Prompt {
    int row;
    const char* text;  // first line of the prompt
    const char* old_value;
    const char* new_value;
};

constexpr Prompt kPrompts[] = {
    {kStaticIp, "Static IP address", "192.0.2.7", "198.51.100.7"},
    {kNetmask, "Static IP address netmask", "255.255.0.0", "255.255.255.128"},
    {kGateway, "Static IP address gateway", "192.0.2.1", "198.51.100.1"},
    {kDns, "Static IP address DNS servers", "192.0.2.1 192.0.2.2", "198.51.100.2"},
    {kStaticIp6, "Static IPv6 address", "2001:db8::7/64", "2001:db8:1::7/64"},
};

std::string FilledFile() {
    std::string file = With(kPlain, "dhcp", "0");
    for (const Prompt& prompt : kPrompts)
        file = With(file, kRows[prompt.row].key, prompt.old_value);
    return file;
}

void OpenPrompt(Terminal& t, int row, Place place = Place::current()) {
    GoTo(t, row, place);
    t.Press("<Enter>", place);
    t.WaitFor("[ESC to cancel]", Terminal::kPatience, place);
    t.Settle(Terminal::kPatience, place);
}

// The line of the entry: the one with underlined cells.
std::string Entry(const Terminal& t) {
    for (int row = 0; row < t.rows(); row++) {
        std::string text;
        for (int col = 0; col < t.cols(); col++) {
            if (t.Cell(row, col).underline) text += t.Cell(row, col).text;
        }
        if (!text.empty()) return WithoutTrailingBlanks(text);
    }
    return "(no entry)";
}

// The two lines below the top border of the box, which is on row 13 of 32.
std::vector<std::string> PromptLines(const Terminal& t) {
    std::vector<std::string> lines;
    for (int row : {14, 15}) {
        std::string text;
        for (int col = 2; col < t.cols() - 1; col++)
            text += t.Cell(row, col).text;
        lines.push_back(WithoutTrailingBlanks(text));
    }
    return lines;
}

TEST(SettingsEditor, EachTextHasItsOwnPrompt) {
    Box box(FilledFile());
    EditorPage t(box, OfSize(32, 132));
    for (const Prompt& prompt : kPrompts) {
        OpenPrompt(t, prompt.row);
        const std::vector<std::string> lines = PromptLines(t);
        if (prompt.row == kDns) {
            EXPECT_EQ(lines[0], prompt.text);
            const std::string hint =
                "If you have a working internet connection but no DNS server you can try ";
            EXPECT_EQ(lines[1].substr(0, hint.size()), hint);
            EXPECT_THAT(lines[1].substr(hint.size()),
                        testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+\\.[0-9]+ \\[ESC to "
                                              "cancel\\]"));
        } else {
            EXPECT_EQ(lines[0], std::string(prompt.text) + " [ESC to cancel]");
            EXPECT_EQ(lines[1], "");
        }
        EXPECT_EQ(Entry(t), prompt.old_value);
        EXPECT_TRUE(t.CursorVisible());
        TypeInstead(t, std::string(prompt.old_value).size(), prompt.new_value);
        t.Press("<Enter>");
        WaitForRow(t, prompt.row, prompt.new_value);
        EXPECT_FALSE(t.CursorVisible());
        EXPECT_EQ(t.Row(1), kEditorTitle);
        EXPECT_EQ(t.Row(2), kEditorHint);
        EXPECT_EQ(t.SelectedRow(), Line(prompt.row));
    }
    std::string expected = FilledFile();
    EXPECT_EQ(box.Read(kSettings), expected);
    BackToInterface(t, "s<Enter>");
    for (const Prompt& prompt : kPrompts)
        expected = With(expected, kRows[prompt.row].key, prompt.new_value);
    EXPECT_EQ(box.Read(kSettings), expected);
}

TEST(SettingsEditor, ACancelledPromptKeepsTheValue) {
    Box box(FilledFile());
    EditorPage t(box, Tall());
    for (const Prompt& prompt : kPrompts) {
        OpenPrompt(t, prompt.row);
        t.Type("xyz");
        t.WaitFor(std::string(prompt.old_value) + "xyz");
        t.Press("<Esc>");
        t.WaitForGone("[ESC to cancel]");
        WaitForRow(t, prompt.row, prompt.old_value);
        EXPECT_EQ(t.Row(1), kEditorTitle);
    }
    BackToInterface(t, "s<Enter>");
    EXPECT_EQ(box.Read(kSettings), FilledFile());
}

TEST(SettingsEditor, BlanksAroundAnEntryAreDropped) {
    Box box;
    EditorPage t(box, Tall());
    OpenPrompt(t, kGateway);
    t.Type("  192.0.2.1 or so  ");
    t.Press("<Enter>");
    WaitForRow(t, kGateway, "192.0.2.1 or so");
    OpenPrompt(t, kNetmask);
    TypeInstead(t, 13, "   ");
    t.Press("<Enter>");
    WaitForRow(t, kNetmask, "");
    BackToInterface(t, "s<Enter>");
    EXPECT_EQ(box.Read(kSettings),
              With(With(kPlain, "gateway", "192.0.2.1 or so"), "static ip netmask", ""));
}

// Any text is accepted; only commas between servers become blanks.
TEST(SettingsEditor, CommasBetweenServersBecomeBlanks) {
    Box box;
    EditorPage t(box, Tall());
    OpenPrompt(t, kDns);
    t.Type("192.0.2.1,192.0.2.2");
    t.Press("<Enter>");
    WaitForRow(t, kDns, "192.0.2.1 192.0.2.2");
    OpenPrompt(t, kDns);
    TypeInstead(t, 19, ",a, b,,c,");
    t.Press("<Enter>");
    WaitForRow(t, kDns, " a  b  c");
    for (int row : {+kStaticIp, +kGateway, +kStaticIp6}) {
        OpenPrompt(t, row);
        t.Type("1,2;$(id)");
        t.Press("<Enter>");
        WaitForRow(t, row, "1,2;$(id)");
    }
    BackToInterface(t, "s<Enter>");
    std::string expected = With(kPlain, "dns", " a  b  c ");
    for (const char* key : {"static ip", "gateway", "static ip6"})
        expected = With(expected, key, "1,2;$(id)");
    EXPECT_EQ(box.Read(kSettings), expected);
}

// ---- the conflict between DHCP and a static address ----

void ExpectMarks(const Terminal& t, bool marked, int line = __builtin_LINE()) {
    const testing::ScopedTrace trace(__FILE__, line, "marks");
    for (int row = 0; row < kSettingCount; row++) {
        const bool concerned = row == kDhcp || row == kStaticIp;
        const Cell cell = t.Cell(Line(row), kLeft + 1);
        EXPECT_EQ(cell.fg == kRed, marked && concerned) << "row " << row;
        if (!marked || !concerned) continue;
        const bool selected = t.SelectedRow() == Line(row) || cell.reverse;
        EXPECT_EQ(cell.Style(), selected ? "red/black bold reverse" : "red/black bold");
        // To the end of the row.
        EXPECT_EQ(t.Cell(Line(row), 78).bg, kBlack);
        EXPECT_EQ(t.Cell(Line(row), 78).reverse, selected);
    }
}

TEST(SettingsEditor, AnAddressWithDhcpOnMarksBothRows) {
    Box box;
    EditorPage t(box, Tall());
    ExpectMarks(t, false);
    OpenPrompt(t, kStaticIp);
    t.Type("192.0.2.7");
    t.Press("<Enter>");
    WaitForRow(t, kStaticIp, "192.0.2.7");
    ExpectMarks(t, true);
    EXPECT_TRUE(t.Cell(Line(kStaticIp), kLeft + 1).reverse);
    EXPECT_FALSE(t.Cell(Line(kDhcp), kLeft + 1).reverse);
    // The hot keys stay yellow on the row that is not selected.
    EXPECT_EQ(t.Cell(Line(kDhcp), kLeft + 4).Style(), "yellow/black bold");

    GoTo(t, kDisabled);
    ExpectMarks(t, true);
    EXPECT_FALSE(t.Cell(Line(kStaticIp), kLeft + 1).reverse);

    t.Press("d");
    t.WaitUntil([&] { return t.Cell(Line(kDhcp), kLeft + 1).reverse; }, "Use DHCP selected");
    ExpectMarks(t, true);
    t.Press("<Space>");
    WaitForRow(t, kDhcp, "no");
    ExpectMarks(t, false);
    EXPECT_EQ(t.SelectedRow(), Line(kDhcp));
    t.Press("<Space>");
    WaitForRow(t, kDhcp, "yes");
    ExpectMarks(t, true);

    t.Press("i<Enter>");
    t.WaitFor("[ESC to cancel]");
    TypeInstead(t, 9, "");
    t.Press("<Enter>");
    WaitForRow(t, kStaticIp, "");
    ExpectMarks(t, false);
}

TEST(SettingsEditor, OnlyTheIPv4AddressConflicts) {
    std::string file = With(kPlain, "static ip6", "2001:db8::7/64");
    file = With(file, "gateway", "192.0.2.1");
    file = With(file, "dhcp6", "1");
    Box box(file);
    InterfacePage t(box, Tall());
    OpenEditor(t);
    ExpectMarks(t, false);
    BackToInterface(t, "<Esc>");
    box.Write(kSettings, With(file, "static ip", "?"));
    OpenEditor(t);
    ExpectMarks(t, true);
}

// ---- help ----

std::vector<std::string> HelpLines(const std::string& help, size_t width) {
    std::vector<std::string> lines;
    for (size_t start = 0; lines.size() < 3;) {
        const size_t end = std::min(help.find('\n', start), help.size());
        lines.push_back(WithoutTrailingBlanks(help.substr(start, end - start).substr(0, width)));
        start = std::min(end + 1, help.size());
    }
    return lines;
}

void ExpectHelp(Terminal& t, int first, const std::string& help, int line = __builtin_LINE()) {
    const testing::ScopedTrace trace(__FILE__, line, "help");
    Finish(t);
    const std::vector<std::string> lines = HelpLines(help, static_cast<size_t>(t.cols() - 8));
    for (int i = 0; i < 3; i++) {
        const std::string text = lines[static_cast<size_t>(i)];
        EXPECT_EQ(t.Row(first + i), text.empty() ? "" : "    " + text) << "line " << i;
    }
}

// Walks down the list and checks the help for each row. A list that does not fit scrolls.
void ExpectEveryHelp(Terminal& t, int first) {
    for (const Setting& setting : kRows) {
        t.WaitSelected(WithoutTrailingBlanks(std::string(setting.label).substr(0, 20)));
        ExpectHelp(t, first, setting.help);
        t.Press("<Down>");
    }
    for (const char* action : {"Save changes", "Cancel"}) {
        t.WaitSelected(action);
        ExpectHelp(t, first, "");
        t.Press("<Down>");
    }
    t.WaitSelected("Leave interface");
    ExpectHelp(t, first, kRows[kDisabled].help);
}

TEST(SettingsEditor, HelpIsBelowTheListOn24By80) {
    Box box;
    EditorPage t(box);
    ExpectEveryHelp(t, 19);
}

TEST(SettingsEditor, HelpIsBelowTheListOn43By132) {
    Box box;
    EditorPage t(box, OfSize(43, 132));
    ExpectEveryHelp(t, 38);
}

TEST(SettingsEditor, HelpIsCutOnANarrowTerminal) {
    Box box;
    EditorPage t(box, OfSize(24, 40));
    ExpectEveryHelp(t, 19);
    t.Resize(24, 20);
    t.WaitUntil([&] { return t.Row(19) == "    If you would"; }, "twelve characters of help");
    ExpectHelp(t, 19, kRows[kDisabled].help);
}

TEST(SettingsEditor, HelpIsPlainText) {
    Box box;
    EditorPage t(box);
    Finish(t);
    for (int col : {4, 5, 30}) {
        const Cell cell = t.Cell(19, col);
        EXPECT_FALSE(cell.bold || cell.dim || cell.reverse || cell.underline) << cell.Style();
        EXPECT_NE(cell.bg, kBlue);
    }
}

TEST(SettingsEditor, HelpComesBackAfterAPrompt) {
    Box box;
    EditorPage t(box);
    t.Press("g<Enter>");
    t.WaitFor("[ESC to cancel]");
    t.Press("<Esc>");
    t.WaitForGone("[ESC to cancel]");
    ExpectHelp(t, 19, kRows[kGateway].help);
    t.Press("<Home><Space>");
    t.WaitFor("Leave interface disabled:      yes");
    ExpectHelp(t, 19, kRows[kDisabled].help);
}

// ---- sizes ----

TEST(SettingsEditor, TheListScrollsAboveTheHelp) {
    Box box;
    EditorPage t(box);  // 24 lines, 15 of them for the list
    EXPECT_EQ(TextAt(t, 17), RowText(kNatRole, ""));
    EXPECT_EQ(t.Row(18), "");
    EXPECT_FALSE(t.Shows("Save changes"));
    t.Press("<End>");
    t.WaitSelected("Cancel");
    t.Settle();
    EXPECT_EQ(t.SelectedRow(), 18);
    EXPECT_EQ(TextAt(t, 4), RowText(kEnableIp6, "yes"));
    EXPECT_EQ(t.Row(1), kEditorTitle);
    ExpectHelp(t, 19, "");
}

TEST(SettingsEditor, NineteenLinesAreEnoughForTheHelp) {
    Box box;
    EditorPage t(box, OfSize(19, 80));
    EXPECT_EQ(t.Row(1), kEditorTitle);
    EXPECT_EQ(TextAt(t, 13), RowText(kGateway, ""));
    ExpectHelp(t, 14, kRows[kDisabled].help);
    EXPECT_EQ(t.Row(17), "");
    EXPECT_EQ(t.Row(18), "");
}

// On a smaller terminal the first help line is above the screen, and the others cover the title.
TEST(SettingsEditor, OnEighteenLinesTheHelpCoversTheTitle) {
    Box box;
    EditorPage t(box, OfSize(18, 80));
    const auto expect_top = [&](const std::string& second, const std::string& third) {
        Finish(t);
        EXPECT_EQ(t.Row(0), second.empty() ? "" : "    " + second);
        EXPECT_EQ(t.Row(1), "Conf" + third);
        EXPECT_EQ(t.Row(2), kEditorHint);
    };
    expect_top("to 'YES'", "");
    // The list has five lines less than the terminal.
    EXPECT_EQ(TextAt(t, 16), RowText(kNatEnable, "no"));
    EXPECT_EQ(t.Row(17), "");
    t.Press("<Down>");
    t.WaitSelected("Manage this interface");
    expect_top("interface. Disable this if you would prefer using your own scripting.", "");
    t.Press("<Down>");
    t.WaitSelected("Enable IPv6");
    expect_top("", "");
    // A change repaints the title, and then the help over it.
    t.Press("<Space>");
    WaitForRow(t, kEnableIp6, "no");
    expect_top("", "");
    // With enough room the help has its own place, and the title is complete.
    t.Resize(24, 80);
    t.WaitFor(kRows[kEnableIp6].help);
    EXPECT_EQ(t.Row(0), "");
    EXPECT_EQ(t.Row(1), kEditorTitle);
    ExpectHelp(t, 19, kRows[kEnableIp6].help);
}

TEST(SettingsEditor, AfterShrinkingTheHelpKeepsItsLines) {
    Box box;
    EditorPage t(box, OfSize(19, 80));
    t.Resize(18, 80);
    // Rows 14 to 16 now belong to the list, and the help covers them.
    t.WaitUntil([&] { return t.Row(17).empty() && t.Row(13) == "    " + RowText(kGateway, ""); },
                "the list on 18 lines");
    Finish(t);
    EXPECT_EQ(t.Row(0), "");
    EXPECT_EQ(t.Row(1), kEditorTitle);
    ExpectHelp(t, 14, kRows[kDisabled].help);
    t.Press("<Down>");
    t.WaitSelected("Manage this");
    ExpectHelp(t, 14, kRows[kManage].help);
    // From 24 lines: the old help lines are below the small screen.
    t.Resize(24, 80);
    t.WaitUntil([&] { return t.Row(19).find("Whether") == 4; }, "the help on 24 lines");
    t.Resize(18, 80);
    t.WaitUntil([&] { return TextAt(t, 16) == RowText(kNatEnable, "no"); }, "18 lines again");
    Finish(t);
    EXPECT_EQ(t.Row(0), "");
    EXPECT_EQ(t.Row(1), kEditorTitle);
    EXPECT_FALSE(t.Shows("Whether"));
}

TEST(SettingsEditor, TinyTerminalsAreHarmless) {
    Box box;
    EditorPage t(box);
    for (const auto& [rows, cols] : {std::pair(10, 20), {5, 10}, {1, 1}, {2, 200}, {60, 5}}) {
        t.Resize(rows, cols);
        t.Settle();
        t.Press("<Down><Space><Enter><Esc>");
        t.Settle();
        t.Press("<End><Home>");
        t.Settle();
        ASSERT_TRUE(t.Running());
        // ENTER may have opened a prompt, which ESC has closed, or ESC has left the editor.
        t.Resize(24, 80);
        t.WaitUntil([&] { return t.Shows("Tavrin 4") || t.Shows(kAddress); }, "a screen");
        if (t.Shows("Tavrin 4")) OpenInterface(t);
        if (t.Shows("Network configuration: ")) OpenEditor(t);
    }
    EXPECT_EQ(box.Read(kSettings), kPlain);
}

// ---- leaving ----

TEST(SettingsEditor, OnlySaveChangesTheFile) {
    const std::string odd = "# by hand\ndhcp = on\nmine = 1\nstatic ip = 192.0.2.7";
    Box box(odd);
    InterfacePage t(box, Tall());
    const std::string before = box.Sh(std::string("stat -c '%i %a %y' ") + kSettings);
    for (const char* keys : {"c<Enter>", "<Esc>", "<Backspace>"}) {
        OpenEditor(t);
        GoTo(t, kManage);
        t.Press("<Space>");
        WaitForRow(t, kManage, "no");
        GoTo(t, kNatRole);
        t.Press("<Space>");
        WaitForRow(t, kNatRole, "public");
        BackToInterface(t, keys);
        EXPECT_EQ(box.Read(kSettings), odd) << keys;
        EXPECT_EQ(box.Sh(std::string("stat -c '%i %a %y' ") + kSettings), before) << keys;
        EXPECT_EQ(t.Row(2), kScreenTitle);
        // The changes are gone when the editor opens again.
        OpenEditor(t);
        EXPECT_EQ(TextAt(t, Line(kManage)), RowText(kManage, "yes"));
        EXPECT_EQ(TextAt(t, Line(kNatRole)), RowText(kNatRole, ""));
        BackToInterface(t, "<Esc>");
    }
    EXPECT_THAT(box.Calls(kNetworkScript), IsEmpty());
}

TEST(SettingsEditor, ASaveReturnsAtOnceAndIsReadAgain) {
    Box box;
    box.Sh(std::string("chmod 600 ") + kSettings + "; chown " + box.OtherOwners() + " " +
           kSettings);
    EditorPage t(box, Tall());
    GoTo(t, kManage);
    t.Press("<Space>");
    WaitForRow(t, kManage, "no");
    BackToInterface(t, "s<Enter>");
    EXPECT_EQ(box.Read(kSettings), With(kPlain, "manage", "0"));
    EXPECT_EQ(box.Sh(std::string("stat -c '%a %u:%g' ") + kSettings),
              "600 " + box.OtherOwners() + "\n");
    EXPECT_EQ(box.Sh("ls -A /etc/network | grep ifmenu || true"), "")
        << "no temporary file may be left";
    OpenEditor(t);
    EXPECT_EQ(TextAt(t, Line(kManage)), RowText(kManage, "no"));
    // Applying the settings is up to another row.
    EXPECT_THAT(box.Calls(kNetworkScript), IsEmpty());
}

TEST(SettingsEditor, AFileChangedMeanwhileIsOverwrittenCompletely) {
    Box box;
    EditorPage t(box, Tall());
    box.Write(kSettings, "static ip = 192.0.2.200\nmine = 1\n");
    GoTo(t, kManage);
    t.Press("<Space>");
    WaitForRow(t, kManage, "no");
    EXPECT_EQ(TextAt(t, Line(kStaticIp)), RowText(kStaticIp, ""));
    BackToInterface(t, "s<Enter>");
    EXPECT_EQ(box.Read(kSettings), With(kPlain, "manage", "0"));
}

// ---- long and odd values ----

TEST(SettingsEditor, RowsAreCutAt254Characters) {
    const std::string value = std::string(150, 'a') + std::string(150, 'b');
    Box box(With(kPlain, "static ip", value));
    EditorPage t(box, OfSize(32, 300));
    EXPECT_EQ(TextAt(t, Line(kStaticIp)), kRows[kStaticIp].label + value.substr(0, 223));
    // The entry starts with 254 characters; after cancelling, the whole value is kept.
    OpenPrompt(t, kStaticIp);
    EXPECT_EQ(Entry(t), value.substr(0, 254));
    t.Press("<Esc>");
    t.WaitForGone("[ESC to cancel]");
    BackToInterface(t, "s<Enter>");
    EXPECT_EQ(box.Read(kSettings), With(kPlain, "static ip", value));
    OpenEditor(t);
    OpenPrompt(t, kStaticIp);
    t.Press("<Enter>");
    t.WaitForGone("[ESC to cancel]");
    BackToInterface(t, "s<Enter>");
    EXPECT_EQ(box.Read(kSettings), With(kPlain, "static ip", value.substr(0, 254)));
}

TEST(SettingsEditor, RowsAndEntriesAreCutAtTheWidthOfTheTerminal) {
    const std::string value = std::string(50, 'a') + std::string(50, 'b');
    Box box(With(kPlain, "static ip", value));
    EditorPage t(box, Tall());
    EXPECT_EQ(TextAt(t, Line(kStaticIp)), kRows[kStaticIp].label + value.substr(0, 44));
    BackToInterface(t, "s<Enter>");
    EXPECT_EQ(box.Read(kSettings), With(kPlain, "static ip", value));
    OpenEditor(t);
    OpenPrompt(t, kStaticIp);
    EXPECT_EQ(Entry(t), value.substr(0, 76));
    t.Press("<Enter>");
    t.WaitForGone("[ESC to cancel]");
    BackToInterface(t, "s<Enter>");
    EXPECT_EQ(box.Read(kSettings), With(kPlain, "static ip", value.substr(0, 76)));
}

TEST(SettingsEditor, AnEntryHoldsWhatFitsItsLine) {
    Box box;
    EditorPage t(box, Tall());
    OpenPrompt(t, kStaticIp6);
    t.Type(std::string(90, 'x'));
    t.Press("<Enter>");
    t.WaitForGone("[ESC to cancel]");
    BackToInterface(t, "s<Enter>");
    EXPECT_EQ(box.Read(kSettings), With(kPlain, "static ip6", std::string(76, 'x')));
}

// No byte in the file controls the terminal, and a save keeps them all.
TEST(SettingsEditor, AnyBytesAreShownSafelyAndKept) {
    std::string file = With(kPlain, "static ip", "caf\xc3\xa9 \x1b[2J\x1b]0;x\x07 \x01\x7f\xff");
    file = With(file, "gateway", "%s%n%d \"'`$(id)\\");
    Box box(file);
    EditorPage t(box, Tall());
    EXPECT_EQ(TextAt(t, Line(kStaticIp)), RowText(kStaticIp, "caf\xc3\xa9 ?[2J?]0;x? ???"));
    EXPECT_EQ(TextAt(t, Line(kGateway)), RowText(kGateway, "%s%n%d \"'`$(id)\\"));
    EXPECT_EQ(t.Row(1), kEditorTitle);
    EXPECT_EQ(t.Bells(), 0);
    BackToInterface(t, "s<Enter>");
    EXPECT_EQ(box.Read(kSettings), file);
}

// ---- the mouse ----

TEST(SettingsEditor, AClickSelectsAndAClickOnTheSelectedRowChangesIt) {
    Box box;
    EditorPage t(box, Tall());
    t.Click(Line(kManage), 10);
    t.WaitUntil([&] { return t.SelectedRow() == Line(kManage); }, "the clicked row selected");
    t.Settle();
    EXPECT_EQ(TextAt(t, Line(kManage)), RowText(kManage, "yes"));
    ExpectHelp(t, 27, kRows[kManage].help);
    t.Click(Line(kManage), 40);
    WaitForRow(t, kManage, "no");
    t.Click(Line(kManage), 4);
    WaitForRow(t, kManage, "yes");
}

TEST(SettingsEditor, ADoubleClickOnTheSelectedRowChangesItOnce) {
    Box box;
    EditorPage t(box, Tall());
    GoTo(t, kDhcp);
    t.DoubleClick(Line(kDhcp), 10);
    WaitForRow(t, kDhcp, "no");
    // A double-click is over when a later key has had its effect.
    t.Press("m");
    t.WaitUntil([&] { return t.SelectedRow() == Line(kManage); }, "Manage selected");
    t.Settle();
    EXPECT_EQ(TextAt(t, Line(kDhcp)), RowText(kDhcp, "no"));
    GoTo(t, kNatRole);
    t.DoubleClick(Line(kNatRole), 10);
    WaitForRow(t, kNatRole, "public");
    GoTo(t, kGateway);
    t.DoubleClick(Line(kGateway), 10);
    t.WaitFor("Static IP address gateway [ESC to cancel]");
    t.Press("<Esc>");
    t.WaitForGone("[ESC to cancel]");
    GoTo(t, kCancel);
    t.DoubleClick(Line(kCancel), 10);
    t.WaitFor(kScreenTitle);
}

TEST(SettingsEditor, ClicksLeaveEnableIPv6Alone) {
    Box box;
    EditorPage t(box, Tall());
    GoTo(t, kEnableIp6);
    t.DoubleClick(Line(kEnableIp6), 10);
    t.Press("m");
    t.WaitUntil([&] { return t.SelectedRow() == Line(kManage); }, "Manage selected");
    t.Settle();
    EXPECT_EQ(TextAt(t, Line(kEnableIp6)), RowText(kEnableIp6, "yes"));
    GoTo(t, kEnableIp6);
    t.Click(Line(kEnableIp6), 10);
    t.Press("m");
    t.WaitUntil([&] { return t.SelectedRow() == Line(kManage); }, "Manage selected");
    t.Settle();
    EXPECT_EQ(TextAt(t, Line(kEnableIp6)), RowText(kEnableIp6, "yes"));
}

TEST(SettingsEditor, ThePointerColoursARowAndChangesNothing) {
    Box box;
    EditorPage t(box, Tall());
    t.Hover(Line(kManage), 10);
    t.WaitUntil([&] { return t.Cell(Line(kManage), 5).Style() == "yellow/black bold"; },
                "the row under the pointer in yellow");
    t.Hover(Line(kDisabled), 10);
    t.WaitUntil([&] { return t.Cell(Line(kDisabled), 5).Style() == "cyan/blue bold"; },
                "the selected row under the pointer in cyan");
    EXPECT_EQ(t.Cell(Line(kManage), 5).Style(), "white/black bold");
    EXPECT_EQ(TextAt(t, Line(kManage)), RowText(kManage, "yes"));
}

}  // namespace
}  // namespace harness::one_card
