// The accounts of the SMB/CIFS file server: the list, the screen of one account, and the commands
// of both; first with stand-ins for the server's tools, then with the real tools.
#include <gmock/gmock.h>

#include <cstring>

#include "services_fixtures.h"

namespace services {
namespace {

using testing::Contains;

constexpr const char* kBack = "Return to SMB/CIFS configuration menu";
constexpr const char* kLook = "pdbedit --list --verbose";
constexpr const char* kScreenUpLook = "[screen] pdbedit --list --verbose";
constexpr const char* kPrompt = "Enter user account.";

std::string RowOf(const std::string& account) {
    return "Configure user '" + account + "'";
}

// The rows of the list with these accounts.
Words ListOf(const Words& accounts) {
    Words rows = {"Return to services menu", "", "Create user"};
    if (!accounts.empty()) rows.emplace_back();
    for (const std::string& account : accounts)
        rows.push_back("Configure user " + account);
    return rows;
}

// An account as the server's tool lists it.
std::string Listed(const std::string& name, const std::string& flags) {
    return "---------------\nUnix username:        " + name +
           "\nNT username:          \nAccount Flags:        [" + flags + "]\n";
}

// The file server is installed. Its tools are stand-ins: one prints the listing that the test
// wants, the other grumbles.
class SmbBox : public ServicesBox {
  public:
    explicit SmbBox(const std::string& listing = "") {
        Make(kSmb);
        StandIn("pdbedit", listing);
        StandInScript("smbpasswd", "echo grumble; echo grumble >&2\n");
    }
};

// The program with the list of accounts on its terminal.
class AccountList : public Page {
  public:
    explicit AccountList(Machine& box, const TerminalOptions& options = OfSize(24, 100),
                         Place place = Place::current())
        : Page(box, kSmbAccounts, options, place) {}
};

void OpenAccount(Terminal& t, const std::string& account, Place place = Place::current()) {
    Select(t, RowOf(account), place);
    t.Go("<Enter>", kBack, place);
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
    AccountList t(box);
    EXPECT_EQ(t.Row(2), "SMB/CIFS configuration");
    EXPECT_EQ(Rows(t), ListOf({"'zoe'", "'root' [account disabled] [no password]",
                               "'bob' [account disabled]", "'amy' [no password]"}));
    EXPECT_EQ(Ran(box), Words{kScreenUpLook});
}

TEST(SmbAccountList, ShowsOnlyWhatTheToolLists) {
    SmbBox box;
    box.StandInScript("pdbedit", "echo 'cannot open the database' >&2; echo 'Unix username: amy'");
    Page t(box, kSmbAccounts);
    EXPECT_EQ(Rows(t), ListOf({"'amy'"}));
    // Each time the screen opens, it asks again.
    box.Sh("rm /mnt/bin/pdbedit /usr/bin/pdbedit");
    t.Go("<Esc>", kServices.sign);
    t.Go("<Enter>", kSmbAccounts.sign);
    EXPECT_EQ(Rows(t), ListOf({}));
    EXPECT_FALSE(t.Shows("not found") || t.Shows("cannot open"));
}

// Three lines below the list stay free if the terminal has at least nineteen lines.
TEST(SmbAccountList, FillsTheScreenAboveTheHelp) {
    std::string listing;
    for (int i = 10; i < 90; i++)
        listing += Listed("u" + std::to_string(i), "U");
    SmbBox box(listing);
    AccountList t(box);
    const std::pair<int, size_t> shown[] = {{24, 15}, {19, 10}, {40, 31}, {18, 13}, {12, 7}};
    for (const auto& [lines, rows] : shown) {
        t.Resize(lines, 80);
        t.WaitUntil([&, wanted = rows] { return Rows(t).size() == wanted; },
                    std::to_string(rows) + " rows on " + std::to_string(lines) + " lines");
    }
    // There help does not cover the accounts, whichever row is selected.
    t.Resize(18, 80);
    t.Go("<Down>", RowOf("u18"));
    EXPECT_EQ(Rows(t).size(), 13U);
    EXPECT_EQ(Ran(box), Words{kScreenUpLook});
}

TEST(SmbAccountList, OpensOnlyTheFirst64Accounts) {
    std::string listing;
    for (int i = 1; i <= 70; i++)
        listing += Listed("user" + std::to_string(i), "U");
    SmbBox box(listing);
    AccountList t(box, OfSize(100, 80));
    EXPECT_EQ(Rows(t).size(), 4U + 70U);
    for (const char* keys : {"<End><Enter>", "<Up><Up><Up><Up><Up><Enter>"}) {
        t.Press(keys);
        t.Settle();
        EXPECT_TRUE(t.Shows(kSmbAccounts.sign)) << t.Selected();
    }
    EXPECT_EQ(t.Selected(), RowOf("user65"));
    t.Go("<Up><Enter>", "SMB/CIFS user 'user64' configuration");
    t.Go("<Enter>", kSmbAccounts.sign);
    // Nothing was run, so nothing was read again.
    EXPECT_EQ(Ran(box), Words{kScreenUpLook});
}

// ---- creating an account ----

std::string Entry(const Terminal& t) {
    // The last line of the box above its border, without the borders.
    std::string line = t.Row(t.Find(kPrompt) + 4);
    line = line.substr(strlen("│"));
    line = line.substr(0, line.find("│"));
    const size_t start = line.find_first_not_of(' ');
    return start == std::string::npos ? ""
                                      : line.substr(start, line.find_last_not_of(' ') + 1 - start);
}

// System accounts, as lines of a file: that needs no tool.
void AddSystemAccounts(Machine& box, const Words& names) {
    int number = 3000;
    for (const std::string& name : names) {
        const std::string id = std::to_string(number++);
        box.Sh("echo '" + name + ":x:" + id + ":" + id + "::/:/bin/sh' >>/etc/passwd");
    }
}

// It suggests root until there is such an account.
TEST(SmbCreateUser, CreatesADisabledAccountWithoutAPassword) {
    SmbBox box(Listed("amy", "U"));
    AccountList t(box);
    t.Go("c<Enter>", kPrompt);
    const int line = t.Find(kPrompt);
    EXPECT_TRUE(t.Row(line + 1).starts_with(
        "│ User account name must also exist as a system account on this system."));
    EXPECT_TRUE(
        t.Row(line + 2).starts_with("│ User accounts created in the Tavrin web interface do "
                                    "not count. [ESC to cancel]"));
    EXPECT_EQ(Entry(t), "root");
    t.Go("<Esc>", kSmbAccounts.sign);
    box.StandIn("pdbedit", Listed("root", "NDU        "));
    Do(t, {.row = "Create user",
           .question = kPrompt,
           .typed = "<Enter>",
           .commands = {"smbpasswd -a -d -n root", kLook},
           .said = {"grumble", "grumble"},
           .after = "Configure user 'root' [account disabled] [no password]"});
    EXPECT_EQ(t.Selected(), "Create user");
    t.Go("c<Enter>", kPrompt);
    EXPECT_EQ(Entry(t), "");
}

TEST(SmbCreateUser, AsksAgainUntilTheNameIsASystemAccount) {
    SmbBox box;
    AddSystemAccounts(box, {"amy"});
    AccountList t(box);
    for (const char* last : {"<Esc>", "<Enter>"}) {
        t.Go("c<Enter>", kPrompt);
        t.Press("less<Enter>");
        t.Settle();
        EXPECT_EQ(Entry(t), "rootless");  // the typed name is kept
        t.Press("<Backspace><Backspace><Backspace><Backspace><Backspace><Backspace><Backspace>");
        t.Press("<Backspace><Enter>");
        t.Settle();
        EXPECT_EQ(Entry(t), "");
        EXPECT_TRUE(t.Shows(kPrompt));
        t.Type("  amy ");
        EXPECT_EQ(Ran(box), Words{kScreenUpLook});
        t.Press(last);
        t.WaitForGone(kPrompt);
        t.Settle();
    }
    box.WaitForCalls("pdbedit", 2);
    EXPECT_EQ(Ran(box), (Words{kScreenUpLook, "smbpasswd -a -d -n amy", kLook}));
}

// ---- one account ----

TEST(SmbAccount, ShowsThePossibleActions) {
    const struct {
        const char* name;
        const char* flags;
        const char* first;
        const char* key;
        const char* closed;
    } cases[] = {
        {"amy", "U", "Disable account", "d", ""},
        {"bob", "DU", "Enable account", "e", ""},
        {"cat", "NU", "Disable account", "d", ""},
        {"dan", "NDU", "Enable account", "", "Enable account"},
        {"root", "U", "Disable account", "d", "Remove account"},
        {"rooty", "U", "Disable account", "d", ""},
    };
    std::string listing;
    for (const auto& account : cases)
        listing += Listed(account.name, account.flags);
    SmbBox box(listing);
    AccountList t(box);
    for (const auto& account : cases) {
        SCOPED_TRACE(account.name);
        OpenAccount(t, account.name);
        EXPECT_EQ(t.Row(2), std::string("SMB/CIFS user '") + account.name + "' configuration");
        EXPECT_EQ(Rows(t), (Words{kBack, "", account.first, "Set password", "", "Remove account"}));
        for (const std::string row : {account.first, "Set password", "Remove account"})
            EXPECT_EQ(IsClosed(t, row), row == account.closed) << row;
        // Removing is red, except for root, where it is closed.
        EXPECT_EQ(t.Cell(t.Find("Remove account"), 5).fg,
                  std::string(account.name) == "root" ? kWhite : kRed);
        t.Press("ed");
        t.Settle();
        EXPECT_EQ(t.Selected(), *account.key == '\0' ? kBack : account.first);
        t.Go("<Home><Enter>", kSmbAccounts.sign);
    }
    EXPECT_EQ(Ran(box), Words{kScreenUpLook});
}

// The screen of the account closes, and the list shows the result. The password goes through a
// pipe, so the screen can stay up.
TEST(SmbAccount, RunsItsCommands) {
    const Words grumbles = {"grumble", "grumble"};
    const Action enabling = {
        .row = "Enable account", .commands = {"smbpasswd -e amy", kLook}, .said = grumbles};
    const Action disabling = {
        .row = "Disable account", .commands = {"smbpasswd -d amy", kLook}, .said = grumbles};
    const Action removing = {.row = "Remove account",
                             .question = "Are you sure? [y/n]",
                             .typed = "y",
                             .commands = {"smbpasswd -x amy", kLook},
                             .said = grumbles};
    const Action setting = {.row = "Set password",
                            .question = "SMB/CIFS account password? [ESC to cancel]",
                            .typed = "secret<Enter>",
                            .commands = {"[screen] smbpasswd -a -s amy", kScreenUpLook}};
    for (auto [flags, action] : {std::pair{"DU", enabling},
                                 {"U", disabling},
                                 {"NU", disabling},
                                 {"U", removing},
                                 {"NDU", setting}}) {
        SmbBox box(Listed("amy", flags));
        AccountList t(box);
        OpenAccount(t, "amy");
        box.StandIn("pdbedit", Listed("changed", "U"));
        action.after = RowOf("changed");
        Do(t, action);
        EXPECT_EQ(Rows(t), ListOf({"'changed'"}));
        EXPECT_EQ(t.Selected(), RowOf("changed"));
        EXPECT_FALSE(t.Shows("grumble"));
    }
}

TEST(SmbAccount, IsNotRemovedAfterNo) {
    SmbBox box(Listed("amy", "U"));
    AccountList t(box);
    OpenAccount(t, "amy");
    Do(t, {.row = "Remove account",
           .question = "Are you sure? [y/n]",
           .typed = "n",
           .after = "Set password"});
    EXPECT_EQ(t.Selected(), "Remove account");
    // Left without a command, the list need not be read again.
    t.Go("<Home><Enter>", kSmbAccounts.sign);
    EXPECT_EQ(Ran(box), Words());
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

void SetPassword(Terminal& t, const std::string& account, const std::string& password,
                 Place place = Place::current()) {
    OpenAccount(t, account, place);
    t.Go("p<Enter>", "SMB/CIFS account password? [ESC to cancel]", place);
    t.Type(password);
    t.Go("<Enter>", kSmbAccounts.sign, place);
}

TEST(SmbRealTools, AnAccountIsCreatedUsedAndRemoved) {
    RealSmbBox box;
    ASSERT_EQ(box.Sh("command -v pdbedit; command -v smbpasswd"),
              "/usr/bin/pdbedit\n/usr/bin/smbpasswd\n");
    AccountList t(box);
    EXPECT_EQ(Rows(t), ListOf({}));
    t.Go("c<Enter>", kPrompt);
    t.Go("<Enter>", "Configure user 'root' [account disabled] [no password]");
    EXPECT_EQ(box.FlagsOf("root"), "NDU\n");
    t.Go("c<Enter>", kPrompt);
    t.Go("amy<Enter>", "Configure user 'amy' [account disabled] [no password]");
    EXPECT_EQ(box.FlagsOf("amy"), "NDU\n");

    // Setting a password enables a new account.
    SetPassword(t, "amy", "Tr0ub4dor &3");
    EXPECT_THAT(Rows(t), Contains("Configure user 'amy'"));
    EXPECT_EQ(box.FlagsOf("amy"), "U\n");
    box.Sh("printf 'Tr0ub4dor &3\\nTr0ub4dor &3\\n' | smbpasswd -a -s bob");
    EXPECT_EQ(box.HashOf("amy"), box.HashOf("bob"));
    EXPECT_EQ(box.HashOf("amy").size(), 33U);

    OpenAccount(t, "amy");
    t.Go("d<Enter>", "Configure user 'amy' [account disabled]");
    EXPECT_EQ(box.FlagsOf("amy"), "DU\n");
    EXPECT_TRUE(t.Shows(RowOf("bob")));  // created outside the program

    OpenAccount(t, "amy");
    t.Go("e<Enter>", kSmbAccounts.sign);
    EXPECT_THAT(Rows(t), Contains("Configure user 'amy'"));
    EXPECT_EQ(box.FlagsOf("amy"), "U\n");
    EXPECT_EQ(box.HashOf("amy"), box.HashOf("bob"));

    OpenAccount(t, "amy");
    t.Go("<Home><Up><Enter>", "Are you sure? [y/n]");
    t.Go("y", kSmbAccounts.sign);
    EXPECT_EQ(Rows(t), ListOf({"'root' [account disabled] [no password]", "'bob'"}));
    EXPECT_EQ(box.FlagsOf("amy"), "");
}

// This is what the server's tool does.
TEST(SmbRealTools, ANewPasswordEnablesADisabledAccount) {
    RealSmbBox box;
    box.Sh("printf 'one\\none\\n' | smbpasswd -a -s amy; smbpasswd -d amy");
    EXPECT_EQ(box.FlagsOf("amy"), "DU\n");
    const std::string before = box.HashOf("amy");
    AccountList t(box);
    SetPassword(t, "amy", "another");
    EXPECT_NE(box.HashOf("amy"), before);
    EXPECT_EQ(box.FlagsOf("amy"), "U\n");
    EXPECT_EQ(Rows(t).back(), "Configure user 'amy'");
}

}  // namespace
}  // namespace services
