#include "services/smb_accounts_screen.h"

#include <pwd.h>

#include <string>

#include "services/smb_accounts.h"
#include "services/smb_user_screen.h"
#include "ui/dialogs.h"
#include "ui/help_area.h"
#include "ui/screen_loop.h"
#include "ui/terminal.h"
#include "util/command.h"

namespace {

constexpr int kBack = 1;
constexpr int kCreate = 24;
constexpr int kFirstAccount = 12288;
constexpr std::size_t kMostActiveAccounts = 64;

struct AccountsState {
    SmbAccountList list;
    HelpArea help;
};

// Asks until the operator gives up or names a system account.
bool PromptSystemAccount(std::string_view prompt, std::string& name) {
    while (PromptText(prompt, name)) {
        if (!name.empty() && getpwnam(name.c_str()) != nullptr) return true;
    }
    return false;
}

void CreateAccount(AccountsState& state) {
    std::string name = state.list.rootExists ? "" : "root";
    if (!PromptSystemAccount(
            "Enter user account.\n"
            "User account name must also exist as a system account on this system.\n"
            "User accounts created in the Tavrin web interface do not count.",
            name)) {
        return;
    }
    ShellEscape([&] { RunCommand("smbpasswd -a -d -n " + QuotedWord(name)); });
    state.list = ReadSmbAccounts();
}

void OpenAccount(std::size_t index, AccountsState& state) {
    if (index >= state.list.accounts.size()) return;
    if (RunSmbUserScreen(state.list.accounts[index])) state.list = ReadSmbAccounts();
}

std::string AccountLabel(const SmbAccount& account) {
    std::string label = "Configure user '" + account.name + "'";
    if (account.disabled) label += " [account disabled]";
    if (account.noPassword) label += " [no password]";
    return label;
}

void AddRows(Menu& menu, const AccountsState& state) {
    menu.SetHotKey(menu.AddItem("Return to services menu", kBack), 'r');
    menu.AddSeparator();
    menu.SetHotKey(menu.AddItem("Create user", kCreate), 'c');
    menu.AddSeparator();
    int id = kFirstAccount;
    for (const SmbAccount& account : state.list.accounts)
        menu.AddItem(AccountLabel(account), id++);
}

void Paint(Menu& menu, AccountsState& state) {
    LayOutWithHelp(menu, state.help);
    PaintTitle(menu, 2, "SMB/CIFS configuration");
}

void Act(Menu& menu, const MenuItem& item, AccountsState& state) {
    const auto index = static_cast<std::size_t>(item.id - kFirstAccount);
    if (item.id == kBack) {
        menu.running = false;
    } else if (item.id == kCreate) {
        CreateAccount(state);
        menu.rebuild = true;
    } else if (item.id >= kFirstAccount && index < kMostActiveAccounts) {
        OpenAccount(index, state);
        menu.rebuild = true;
    }
}

}  // namespace

void RunSmbAccountsScreen() {
    AccountsState state;
    state.list = ReadSmbAccounts();
    ScreenLoop({.add_rows = [&](Menu& menu) { AddRows(menu, state); },
                .paint = [&](Menu& menu) { Paint(menu, state); },
                .act = [&](Menu& menu, const MenuItem& item) { Act(menu, item, state); },
                .after_key = [&](Menu& menu) { PaintHelp(menu, state.help, ""); }});
}
