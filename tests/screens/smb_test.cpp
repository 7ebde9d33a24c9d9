// The accounts of the SMB/CIFS file server: the list, the screen of one account, and the commands
// of both; first with stand-ins for the server's tools, then with the real tools.
#include <gmock/gmock.h>

#include <cstring>

#include "services_fixtures.h"

namespace services {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kListTitle = "SMB/CIFS configuration";
constexpr const char* kBack = "Return to SMB/CIFS configuration menu";
constexpr const char* kLook = "pdbedit --list --verbose";

std::string TitleOf(const std::string& account) {
    return "SMB/CIFS user '" + account + "' configuration";
}

std::string RowOf(const std::string& account) {
    return "Configure user '" + account + "'";
}

// An account as the server's tool lists it.
std::string Listed(const std::string& name, const std::string& flags) {
    return "---------------\nUnix username:        " + name +
           "\nNT username:          \nAccount Flags:        [" + flags + "]\n";
}

// The file server is installed. Its tools are stand-ins: one prints the listing that the test
// wants, the other records its standard input if that is not the terminal, and prints a complaint.
class SmbBox : public ServicesBox {
  public:
    explicit SmbBox(const std::string& listing = "") {
        Make(kSmb);
        StandIn("pdbedit", listing);
        StandInScript("smbpasswd", "[ -t 0 ] || cat >/mnt/seen/input\n" +
                                       LookAtProcesses("/mnt/seen/processes") +
                                       "echo grumble; echo grumble >&2\n");
    }
    std::string Input() { return Read("/mnt/seen/input"); }
};

// The program with the list of accounts on its terminal.
class AccountList : public ServicesScreen {
  public:
    explicit AccountList(Machine& box, TerminalOptions options = OfSize(30, 80),
                         Place place = Place::Here())
        : ServicesScreen(box, options, place) {
        Press("ss<Enter>", place);
        WaitForTitle(*this, kListTitle, place);
        Settle(kPatience, place);
    }
};

void OpenAccount(Terminal& t, const std::string& account, Place place = Place::Here()) {
    t.Press("<Home>", place);
    t.Settle(Terminal::kPatience, place);
    // The row continues with the state of the account.
    for (int i = 0; i < 100 && t.Selected().rfind(RowOf(account), 0) != 0; i++) {
        t.Press("<Down>", place);
        t.Settle(Terminal::kPatience, place);
    }
    t.Press("<Enter>", place);
    WaitForTitle(t, TitleOf(account), place);
    t.Settle(Terminal::kPatience, place);
}

// A row that can't be selected.
bool IsClosed(const Terminal& t, const std::string& row) {
    const Cell cell = t.Cell(t.Find(row), t.FindColumn(row) + static_cast<int>(row.size()) - 1);
    return cell.dim && !cell.bold;
}

// ---- the list ----

TEST(SmbAccountList, ShowsTheAccountsInTheServersOrder) {
    SmbBox box(Listed("zoe", "U          ") + Listed("root", "NDU        ") +
               Listed("bob", "DU         ") + Listed("amy", "NU         "));
    AccountList t(box, OfSize(24, 80));
    EXPECT_EQ(t.Row(0) + t.Row(1) + t.Row(3), "");
    EXPECT_EQ(t.Cell(2, 0).Style(), "white/black");
    EXPECT_EQ(
        Rows(t),
        (Words{"Return to services menu", "", "Create user", "", "Configure user 'zoe'",
               "Configure user 'root' [account disabled] [no password]",
               "Configure user 'bob' [account disabled]", "Configure user 'amy' [no password]"}));
    EXPECT_EQ(t.Selected(), "Return to services menu");
    EXPECT_EQ(box.CallLines(), Words{kLook});
    EXPECT_EQ(box.Calls()[0].mode, Mode::kRaw);  // the screen stays up
}

TEST(SmbAccountList, HasTwoHotKeys) {
    SmbBox box(Listed("car", "U"));
    AccountList t(box);
    const std::pair<const char*, const char*> keys[] = {{"c", "Create user"},
                                                        {"c", "Create user"},
                                                        {"r", "Return to services menu"},
                                                        {"r", "Return to services menu"},
                                                        {"<Up>", "Configure user 'car'"},
                                                        {"<Down>", "Return to services menu"},
                                                        {"<Down>", "Create user"}};
    for (const auto& [key, row] : keys) {
        t.Press(key);
        t.Settle();
        EXPECT_EQ(t.Selected(), row) << key;
    }
    EXPECT_EQ(t.Cell(4, 4).Style(), "yellow/black bold");
    EXPECT_EQ(t.Cell(4, 5).Style(), "white/black bold");
    for (int col = 0; col < 80; col++)
        EXPECT_NE(t.Cell(8, col).fg, kYellow) << col;
}

TEST(SmbAccountList, IsEmptyWithoutAnAnswer) {
    SmbBox box;
    const Words none = {"Return to services menu", "", "Create user"};
    {
        AccountList t(box);
        EXPECT_EQ(Rows(t), none);
    }
    box.StandIn("pdbedit", "no such database\n", 1);
    {
        AccountList t(box);
        EXPECT_EQ(Rows(t), none);
    }
    box.Sh("rm /mnt/bin/pdbedit /usr/bin/pdbedit");
    AccountList t(box);
    EXPECT_EQ(Rows(t), none);
    EXPECT_FALSE(t.Shows("not found"));
    t.Press("<Enter>");
    WaitForTitle(t, "Services");
}

TEST(SmbAccountList, ErrorMessagesOfTheToolDoNotReachTheScreen) {
    SmbBox box;
    box.StandInScript("pdbedit", "echo 'cannot open the database' >&2; echo 'Unix username: amy'");
    AccountList t(box);
    EXPECT_FALSE(t.Shows("cannot open"));
    EXPECT_THAT(Rows(t), Contains("Configure user 'amy'"));
}

// Three lines below the list stay free if the terminal has at least nineteen lines.
TEST(SmbAccountList, FillsTheScreenAboveTheHelp) {
    std::string listing;
    for (int i = 10; i < 90; i++)
        listing += Listed("u" + std::to_string(i), "U");
    SmbBox box(listing);
    AccountList t(box, OfSize(24, 80));
    const std::pair<int, int> shown[] = {{24, 15}, {19, 10}, {40, 31}, {18, 13}, {12, 7}};
    for (const auto& [lines, rows] : shown) {
        t.Resize(lines, 80);
        const size_t expected = static_cast<size_t>(rows);
        t.WaitUntil([&] { return t.Row(2) == kListTitle && Rows(t).size() == expected; },
                    std::to_string(rows) + " rows on " + std::to_string(lines) + " lines");
        t.Settle();
        EXPECT_EQ(Rows(t).size(), expected);
    }
    EXPECT_EQ(box.CallLines(), Words{kLook});
}

TEST(SmbAccountList, OnASmallTerminalHelpDoesNotCoverTheAccounts) {
    std::string listing;
    for (char name = 'a'; name <= 'p'; name++)
        listing += Listed(std::string(1, name), "U");
    SmbBox box(listing);
    AccountList t(box, OfSize(20, 80));
    t.Resize(18, 80);
    t.WaitUntil([&] { return t.Row(16) == "    " + RowOf("i"); }, "an account in each row");
    EXPECT_EQ(t.Row(15), "    " + RowOf("h"));
    t.Press("<Down>");
    t.Settle();
    EXPECT_EQ(t.Row(15), "    " + RowOf("h"));
    EXPECT_EQ(t.Row(16), "    " + RowOf("i"));
}

TEST(SmbAccountList, SelectsItsLastRowWhenItGetsShorter) {
    SmbBox box(Listed("amy", "U") + Listed("bob", "U"));
    AccountList t(box, OfSize(20, 80));
    OpenAccount(t, "bob");
    box.StandIn("pdbedit", Listed("amy", "U"));
    t.Press("d<Enter>");
    WaitForTitle(t, kListTitle);
    t.WaitSelected(RowOf("amy"));
}

TEST(SmbAccountList, OpensOnlyTheFirst64Accounts) {
    std::string listing;
    for (int i = 1; i <= 70; i++)
        listing += Listed("user" + std::to_string(i), "U");
    SmbBox box(listing);
    AccountList t(box, OfSize(100, 80));
    EXPECT_EQ(Rows(t).size(), 4u + 70u);
    t.Press("<End><Enter>");
    t.Settle();
    EXPECT_EQ(t.Selected(), RowOf("user70"));
    EXPECT_EQ(t.Row(2), kListTitle);
    t.Press("<Up><Up><Up><Up><Up><Enter>");
    t.Settle();
    EXPECT_EQ(t.Selected(), RowOf("user65"));
    EXPECT_EQ(t.Row(2), kListTitle);
    t.Press("<Up><Enter>");
    WaitForTitle(t, TitleOf("user64"));
    t.Press("<Enter>");
    WaitForTitle(t, kListTitle);
    // Nothing was run, so nothing was read again.
    EXPECT_EQ(box.CallLines(), Words{kLook});
}

TEST(SmbAccountList, IsReadAgainWheneverItOpens) {
    SmbBox box;
    AccountList t(box);
    t.Press("<Enter>");
    WaitForTitle(t, "Services");
    box.StandIn("pdbedit", Listed("amy", "U"));
    t.Press("s");
    t.Settle();
    Choose(t, "Configure SMB/CIFS user accounts");
    t.WaitFor(RowOf("amy"));
    t.Press("<Esc>");
    WaitForTitle(t, "Services");
    EXPECT_EQ(box.CallLines(), (Words{kLook, kLook}));
}

// ---- creating an account ----

constexpr const char* kPrompt = "Enter user account.";

std::string Entry(const Terminal& t) {
    // The last line of the box above its border, without the borders.
    std::string line = t.Row(t.Find(kPrompt) + 4);
    line = line.substr(strlen("│"));
    line = line.substr(0, line.find("│"));
    const size_t start = line.find_first_not_of(' ');
    return start == std::string::npos ? ""
                                      : line.substr(start, line.find_last_not_of(' ') + 1 - start);
}

void AskForName(Terminal& t, Place place = Place::Here()) {
    t.Press("c<Enter>", place);
    t.WaitFor(kPrompt, Terminal::kPatience, place);
    t.Settle(Terminal::kPatience, place);
}

// System accounts, as lines of a file: that needs no tool.
void AddSystemAccounts(Machine& box, const Words& names) {
    int number = 3000;
    for (const std::string& name : names) {
        const std::string id = std::to_string(number++);
        box.Sh("echo '" + name + ":x:" + id + ":" + id + "::/:/bin/sh' >>/etc/passwd");
    }
}

TEST(SmbCreateUser, AsksForASystemAccount) {
    SmbBox box;
    AccountList t(box, OfSize(30, 100));
    AskForName(t);
    const int line = t.Find(kPrompt);
    EXPECT_THAT(t.Row(line), HasSubstr("│ Enter user account."));
    EXPECT_THAT(
        t.Row(line + 1),
        HasSubstr("│ User account name must also exist as a system account on this system."));
    EXPECT_THAT(t.Row(line + 2), HasSubstr("│ User accounts created in the Tavrin web interface do "
                                           "not count. [ESC to cancel]"));
    EXPECT_TRUE(t.CursorVisible());
}

TEST(SmbCreateUser, SuggestsRootUnlessItExists) {
    SmbBox box(Listed("amy", "U"));
    {
        AccountList t(box, OfSize(30, 100));
        AskForName(t);
        EXPECT_EQ(Entry(t), "root");
    }
    box.StandIn("pdbedit", Listed("amy", "U") + Listed("root", "U"));
    AccountList t(box, OfSize(30, 100));
    AskForName(t);
    EXPECT_EQ(Entry(t), "");
}

TEST(SmbCreateUser, CreatesADisabledAccountWithoutAPassword) {
    SmbBox box;
    AccountList t(box, OfSize(30, 100));
    AskForName(t);
    box.ForgetCalls();
    box.StandIn("pdbedit", Listed("root", "NDU        "));
    t.Mark();
    t.Press("<Enter>");
    t.WaitFor("Configure user 'root' [account disabled] [no password]");
    t.Settle();
    EXPECT_EQ(box.CallLines(), (Words{"smbpasswd -a -d -n root", kLook}));
    ExpectPlainTerminal(box.Calls("smbpasswd"));
    EXPECT_TRUE(LeftItsScreen(t));
    EXPECT_FALSE(t.Shows("grumble"));
    EXPECT_EQ(t.Row(2), kListTitle);
    EXPECT_EQ(t.Selected(), "Create user");
    // Now that root exists, the entry starts empty.
    AskForName(t);
    EXPECT_EQ(Entry(t), "");
}

TEST(SmbCreateUser, AsksAgainUntilTheNameIsASystemAccount) {
    SmbBox box;
    AddSystemAccounts(box, {"amy"});
    AccountList t(box, OfSize(30, 100));
    AskForName(t);
    t.Type("less");
    t.Press("<Enter>");
    t.Settle();
    EXPECT_EQ(Entry(t), "rootless");  // the typed name is kept
    EXPECT_TRUE(t.Shows("[ESC to cancel]"));
    for (int i = 0; i < 8; i++)
        t.Press("<Backspace>");
    t.Press("<Enter>");
    t.Settle();
    EXPECT_EQ(Entry(t), "");
    EXPECT_TRUE(t.Shows(kPrompt));
    t.Type("  amy ");
    EXPECT_EQ(box.CallLines(), Words{kLook});
    box.ForgetCalls();
    t.Press("<Enter>");
    t.WaitForGone(kPrompt);
    box.WaitForCalls("pdbedit", 1);
    EXPECT_EQ(box.CallLines(), (Words{"smbpasswd -a -d -n amy", kLook}));
}

TEST(SmbCreateUser, CancellingRunsNothing) {
    SmbBox box;
    AccountList t(box, OfSize(30, 100));
    AskForName(t);
    t.Mark();
    t.Press("<Esc>");
    t.WaitForGone(kPrompt);
    AskForName(t);
    EXPECT_EQ(Entry(t), "root");
    // Also after an unknown name.
    t.Type("less");
    t.Press("<Enter>");
    t.Settle();
    t.Press("<Esc>");
    t.WaitForGone(kPrompt);
    t.Settle();
    EXPECT_EQ(box.CallLines(), Words{kLook});
    EXPECT_FALSE(LeftItsScreen(t));
    AskForName(t);
    EXPECT_EQ(Entry(t), "root");
}

// ---- one account ----

TEST(SmbAccount, ShowsThePossibleActions) {
    struct Case {
        const char* name;
        const char* flags;
        Words rows;
        Words closed;
    };
    const Case cases[] = {
        {"amy", "U", {"Disable account", "Set password", "", "Remove account"}, {}},
        {"bob", "DU", {"Enable account", "Set password", "", "Remove account"}, {}},
        {"cat", "NU", {"Disable account", "Set password", "", "Remove account"}, {}},
        {"dan",
         "NDU",
         {"Enable account", "Set password", "", "Remove account"},
         {"Enable account"}},
        {"root",
         "U",
         {"Disable account", "Set password", "", "Remove account"},
         {"Remove account"}},
        {"rooty", "U", {"Disable account", "Set password", "", "Remove account"}, {}},
    };
    std::string listing;
    for (const Case& account : cases)
        listing += Listed(account.name, account.flags);
    SmbBox box(listing);
    AccountList t(box, OfSize(24, 80));
    for (const Case& account : cases) {
        SCOPED_TRACE(account.name);
        OpenAccount(t, account.name);
        Words rows = {kBack, ""};
        rows.insert(rows.end(), account.rows.begin(), account.rows.end());
        EXPECT_EQ(Rows(t), rows);
        for (const std::string& row : account.rows) {
            if (row.empty()) continue;
            const bool closed = testing::Value(account.closed, Contains(row));
            EXPECT_EQ(IsClosed(t, row), closed) << row;
        }
        // Removing is red, except for root, where it is closed.
        const int line = t.Find("Remove account");
        EXPECT_EQ(t.Cell(line, 5).fg, std::string(account.name) == "root" ? kWhite : kRed);
        t.Press("r<Home><Enter>");
        WaitForTitle(t, kListTitle);
    }
    EXPECT_EQ(box.CallLines(), Words{kLook});
}

TEST(SmbAccount, ARedRowIsReversedWhenSelected) {
    SmbBox box(Listed("amy", "U"));
    AccountList t(box);
    OpenAccount(t, "amy");
    const int line = t.Find("Remove account");
    EXPECT_EQ(t.Cell(line, 5).Style(), "red/black bold");
    EXPECT_EQ(t.Cell(line, 4).Style(), "yellow/black bold");
    t.Press("<Up>");
    t.WaitUntil([&] { return t.Cell(line, 5).reverse; }, "the row to be selected");
    EXPECT_EQ(t.Cell(line, 5).Style(), "red/black bold reverse");
}

TEST(SmbAccount, HotKeysSelect) {
    SmbBox box(Listed("amy", "U") + Listed("bob", "DU") + Listed("dan", "NDU") +
               Listed("root", "U"));
    AccountList t(box);
    const auto selected_line = [&](const std::string& key) {
        t.Press(key);
        t.Settle();
        return t.Selected();
    };
    OpenAccount(t, "amy");
    EXPECT_EQ(selected_line("d"), "Disable account");
    EXPECT_EQ(selected_line("p"), "Set password");
    EXPECT_EQ(selected_line("e"), "Set password");
    EXPECT_EQ(selected_line("r"), "Remove account");
    EXPECT_EQ(selected_line("r"), kBack);
    EXPECT_EQ(selected_line("r"), "Remove account");
    t.Press("r<Enter>");
    WaitForTitle(t, kListTitle);
    OpenAccount(t, "bob");
    EXPECT_EQ(selected_line("e"), "Enable account");
    EXPECT_EQ(selected_line("d"), "Enable account");
    t.Press("<Esc>");
    WaitForTitle(t, kListTitle);
    OpenAccount(t, "dan");
    EXPECT_EQ(selected_line("e"), kBack);
    EXPECT_EQ(selected_line("<Down>"), "Set password");
    EXPECT_EQ(selected_line("<Up>"), kBack);
    t.Press("<Enter>");
    WaitForTitle(t, kListTitle);
    OpenAccount(t, "root");
    EXPECT_EQ(selected_line("r"), kBack);
    EXPECT_EQ(selected_line("pr"), kBack);
    EXPECT_EQ(selected_line("<Up>"), "Set password");
    EXPECT_EQ(box.CallLines(), Words{kLook});
}

// Enables, disables or removes: the command runs on the plain terminal, the screen of the account
// closes, and the list shows the result.
void ExpectRuns(const std::string& flags, const std::string& keys, const std::string& option) {
    SmbBox box(Listed("amy", flags));
    AccountList t(box);
    OpenAccount(t, "amy");
    box.ForgetCalls();
    box.StandIn("pdbedit", Listed("changed", "U"));
    t.Mark();
    t.Press(keys);
    t.WaitFor(RowOf("changed"));
    t.Settle();
    EXPECT_EQ(t.Row(2), kListTitle);
    EXPECT_EQ(box.CallLines(), (Words{"smbpasswd " + option + " amy", kLook}));
    ExpectPlainTerminal(box.Calls("smbpasswd"));
    EXPECT_TRUE(LeftItsScreen(t));
    EXPECT_THAT(t.Output(), HasSubstr("grumble"));
    EXPECT_FALSE(t.Shows("grumble"));
}

TEST(SmbAccount, CanBeEnabled) {
    ExpectRuns("DU", "e<Enter>", "-e");
}

TEST(SmbAccount, CanBeDisabled) {
    ExpectRuns("U", "d<Enter>", "-d");
    ExpectRuns("NU", "d<Enter>", "-d");
}

TEST(SmbAccount, IsRemovedAfterYes) {
    ExpectRuns("U", "rr<Up><Enter>y", "-x");
}

TEST(SmbAccount, IsNotRemovedAfterNo) {
    SmbBox box(Listed("amy", "U"));
    AccountList t(box);
    OpenAccount(t, "amy");
    for (const char* no : {"n", "<Esc>", "q"}) {
        t.Press("<Home><Up><Enter>");
        t.WaitFor("Are you sure? [y/n]");
        t.Settle();
        EXPECT_EQ(t.Row(0), "Are you sure? [y/n]");
        EXPECT_EQ(t.Row(2), "  [ YES  ]");
        EXPECT_FALSE(t.Shows("Set password"));
        t.Mark();
        t.Press(no);
        WaitForTitle(t, TitleOf("amy"));
        t.Settle();
        EXPECT_FALSE(t.Shows("Are you sure?"));
        EXPECT_FALSE(LeftItsScreen(t)) << no;
    }
    // Left without a command, the list need not be read again.
    t.Press("<Home><Enter>");
    WaitForTitle(t, kListTitle);
    EXPECT_EQ(box.CallLines(), Words{kLook});
}

TEST(SmbAccount, ANameIsOneWord) {
    const std::string name = "a b;$(id) \"*\" & ~";
    SmbBox box(Listed(name, "U"));
    AccountList t(box);
    OpenAccount(t, name);
    t.Press("d<Enter>");
    WaitForTitle(t, kListTitle);
    ASSERT_EQ(box.Calls("smbpasswd").size(), 1u);
    EXPECT_EQ(box.Calls("smbpasswd")[0].args, (Words{"-d", name}));
}

// ---- its password ----

void AskForPassword(Terminal& t, Place place = Place::Here()) {
    t.Press("p<Enter>", place);
    t.WaitFor("SMB/CIFS account password? [ESC to cancel]", Terminal::kPatience, place);
    t.Settle(Terminal::kPatience, place);
}

TEST(SmbPassword, GoesThroughAPipeWithTheScreenUp) {
    SmbBox box(Listed("amy", "NDU        "));
    AccountList t(box);
    OpenAccount(t, "amy");
    AskForPassword(t);
    box.ForgetCalls();
    box.StandIn("pdbedit", Listed("amy", "U          "));
    t.Mark();
    t.Type("s3cret word'$(id)");
    t.WaitFor(std::string(17, '*'));
    t.Press("<Enter>");
    WaitForTitle(t, kListTitle);
    t.Settle();
    EXPECT_EQ(box.CallLines(), (Words{"smbpasswd -a -s amy", kLook}));
    EXPECT_EQ(box.Calls("smbpasswd")[0].mode, Mode::kRaw);
    EXPECT_FALSE(LeftItsScreen(t));
    EXPECT_EQ(box.Input(), "s3cret word'$(id)\ns3cret word'$(id)\n");
    EXPECT_EQ(Rows(t),
              (Words{"Return to services menu", "", "Create user", "", "Configure user 'amy'"}));
    EXPECT_FALSE(t.Shows("grumble"));
    EXPECT_EQ(t.Row(29), "");
}

TEST(SmbPassword, AnEmptyOrCancelledPasswordKeepsTheScreen) {
    SmbBox box(Listed("amy", "U"));
    AccountList t(box);
    OpenAccount(t, "amy");
    for (const char* keys : {"<Enter>", "<Esc>", "abc<Esc>"}) {
        AskForPassword(t);
        t.Press(keys);
        t.WaitForGone("SMB/CIFS account password?");
        t.Settle();
        EXPECT_EQ(t.Row(2), TitleOf("amy")) << keys;
        EXPECT_TRUE(t.Shows("Remove account")) << keys;
        EXPECT_FALSE(t.CursorVisible()) << keys;
    }
    t.Press("<Home><Enter>");
    WaitForTitle(t, kListTitle);
    EXPECT_EQ(box.CallLines(), Words{kLook});
}

TEST(SmbPassword, AToolThatDoesNotReadItDoesNotBlock) {
    SmbBox box(Listed("amy", "U"));
    box.StandIn("smbpasswd", "", 1);
    AccountList t(box);
    OpenAccount(t, "amy");
    AskForPassword(t);
    t.Type("secret");
    t.Press("<Enter>");
    WaitForTitle(t, kListTitle);
    EXPECT_EQ(box.CallLines(), (Words{kLook, "smbpasswd -a -s amy", kLook}));
}

TEST(SmbPassword, IsNotInTheArgumentsOrEnvironmentOfAnyProcess) {
    SmbBox box(Listed("amy", "U"));
    AccountList t(box);
    OpenAccount(t, "amy");
    AskForPassword(t);
    t.Type(kSecret);
    t.Press("<Enter>");
    WaitForTitle(t, kListTitle);
    EXPECT_EQ(box.Input(), std::string(kSecret) + "\n" + kSecret + "\n");
    const std::string processes = box.Read("/mnt/seen/processes");
    EXPECT_THAT(processes, HasSubstr("smbpasswd -a -s 'amy'"));
    EXPECT_THAT(processes, Not(HasSubstr("Quux7")));
    EXPECT_EQ(box.Sh("grep -arl Quux7 /mnt/.layers /run /dev/shm /mnt/seen | "
                     "grep -v seen/input || true"),
              "");
    EXPECT_THAT(t.Output(), Not(HasSubstr("Quux7")));
}

TEST(SmbPassword, IsErasedFromTheProgram) {
    SmbBox box(Listed("amy", "U"));
    AccountList t(box);
    OpenAccount(t, "amy");
    AskForPassword(t);
    t.Type(kSecret);
    t.WaitFor(std::string(strlen(kSecret), '*'));
    t.Settle();
    EXPECT_NE(TracesOfSecret(t, kSecret), Words{})
        << "the search must find a password that is there";
    t.Press("<Enter>");
    WaitForTitle(t, kListTitle);
    t.Settle();
    EXPECT_EQ(TracesOfSecret(t, kSecret), Words{});
    OpenAccount(t, "amy");
    AskForPassword(t);
    t.Type(kSecret);
    t.Press("<Esc>");
    t.WaitForGone("SMB/CIFS account password?");
    t.Settle();
    EXPECT_EQ(TracesOfSecret(t, kSecret), Words{});
}

TEST(SmbPassword, IsErasedAsSoonAsTheToolHasIt) {
    SmbBox box(Listed("amy", "U"));
    box.StandInScript("smbpasswd", kReadAndWait);
    AccountList t(box);
    OpenAccount(t, "amy");
    AskForPassword(t);
    t.Type(kSecret);
    t.Press("<Enter>");
    WaitForReader(box);
    EXPECT_EQ(TracesOfSecret(t, kSecret), Words{});
    ReleaseReader(box);
    WaitForTitle(t, kListTitle);
}

// ---- the real tools ----

// The file server's own tools, with a private database.
class RealSmbBox : public ServicesBox {
  public:
    RealSmbBox() {
        Sh("mkdir -p /mnt/smb/private");
        Make(kSmb,
             "[global]\npassdb backend = tdbsam\nprivate dir = /mnt/smb/private\n"
             "lock directory = /mnt/smb\nstate directory = /mnt/smb\ncache directory = /mnt/smb\n"
             "pid directory = /mnt/smb\n");
        AddSystemAccounts(*this, {"amy", "bob"});
        Record("smbpasswd");
    }
    // The flags of the account as the server's tool lists them, without blanks; "" for no account.
    std::string FlagsOf(const std::string& name) {
        return Sh("pdbedit --list --verbose --user=" + name +
                  " 2>/dev/null | sed -n 's/^Account Flags: *\\[\\([A-Z]*\\) *\\]$/\\1/p'");
    }
    // What the server stores of the password.
    std::string HashOf(const std::string& name) {
        return Sh("pdbedit --list --smbpasswd-style --user=" + name + " | cut -d: -f4");
    }
};

TEST(SmbRealTools, AnAccountIsCreatedUsedAndRemoved) {
    RealSmbBox box;
    ASSERT_EQ(box.Sh("command -v pdbedit; command -v smbpasswd"),
              "/usr/bin/pdbedit\n/usr/bin/smbpasswd\n");
    AccountList t(box, OfSize(30, 100));
    EXPECT_EQ(Rows(t), (Words{"Return to services menu", "", "Create user"}));

    AskForName(t);
    t.Press("<Enter>");
    t.WaitFor("Configure user 'root' [account disabled] [no password]");
    EXPECT_EQ(box.FlagsOf("root"), "NDU\n");

    AskForName(t);
    t.Type("amy");
    t.Press("<Enter>");
    t.WaitFor("Configure user 'amy' [account disabled] [no password]");
    EXPECT_EQ(box.FlagsOf("amy"), "NDU\n");

    // Setting a password enables a new account.
    OpenAccount(t, "amy");
    EXPECT_TRUE(IsClosed(t, "Enable account"));
    AskForPassword(t);
    t.Type("Tr0ub4dor &3");
    t.Press("<Enter>");
    WaitForTitle(t, kListTitle);
    t.Settle();
    EXPECT_THAT(Rows(t), Contains("Configure user 'amy'"));
    EXPECT_EQ(box.FlagsOf("amy"), "U\n");
    box.Sh("printf 'Tr0ub4dor &3\\nTr0ub4dor &3\\n' | smbpasswd -a -s bob");
    EXPECT_EQ(box.HashOf("amy"), box.HashOf("bob"));
    EXPECT_EQ(box.HashOf("amy").size(), 33u);

    OpenAccount(t, "amy");
    t.Press("d<Enter>");
    t.WaitFor("Configure user 'amy' [account disabled]");
    EXPECT_EQ(box.FlagsOf("amy"), "DU\n");
    EXPECT_TRUE(t.Shows(RowOf("bob")));  // created outside the program

    OpenAccount(t, "amy");
    EXPECT_FALSE(IsClosed(t, "Enable account"));
    t.Press("e<Enter>");
    t.WaitForGone("Configure user 'amy' [account disabled]");
    WaitForTitle(t, kListTitle);
    EXPECT_EQ(box.FlagsOf("amy"), "U\n");
    EXPECT_EQ(box.HashOf("amy"), box.HashOf("bob"));

    OpenAccount(t, "amy");
    t.Press("<Home><Up><Enter>");
    t.WaitFor("Are you sure? [y/n]");
    t.Press("y");
    WaitForTitle(t, kListTitle);
    t.Settle();
    EXPECT_EQ(Rows(t), (Words{"Return to services menu", "", "Create user", "",
                              "Configure user 'root' [account disabled] [no password]",
                              "Configure user 'bob'"}));
    EXPECT_EQ(box.FlagsOf("amy"), "");
    EXPECT_EQ(box.CallLines("smbpasswd"),
              (Words{"smbpasswd -a -d -n root", "smbpasswd -a -d -n amy", "smbpasswd -a -s amy",
                     "smbpasswd -d amy", "smbpasswd -e amy", "smbpasswd -x amy"}));
}

// This is what the server's tool does.
TEST(SmbRealTools, ANewPasswordEnablesADisabledAccount) {
    RealSmbBox box;
    box.Sh("printf 'one\\none\\n' | smbpasswd -a -s amy; smbpasswd -d amy");
    EXPECT_EQ(box.FlagsOf("amy"), "DU\n");
    const std::string before = box.HashOf("amy");
    AccountList t(box, OfSize(30, 100));
    OpenAccount(t, "amy");
    AskForPassword(t);
    t.Type("another");
    t.Press("<Enter>");
    WaitForTitle(t, kListTitle);
    t.Settle();
    EXPECT_NE(box.HashOf("amy"), before);
    EXPECT_EQ(box.FlagsOf("amy"), "U\n");
    EXPECT_EQ(Rows(t).back(), "Configure user 'amy'");
}

}  // namespace
}  // namespace services
