#include "services/smb_accounts_screen.h"

#include <pwd.h>

#include <string>

#include "services/smb_accounts.h"
#include "services/smb_user_screen.h"
#include "ui/dialogs.h"
#include "ui/plain_steps.h"
#include "ui/screen_loop.h"
#include "util/command.h"

namespace {

constexpr int kFirstAccount = 12288;

using State = SmbAccountList;

bool IsSystemAccount(const char* name) {
    return getpwnam(name) != nullptr;
}

// Asks until the operator cancels or names a system account. The lookup runs in a child process: a
// remote name service may be slow.
bool PromptSystemAccount(std::string_view prompt, std::string& name) {
    while (PromptText(prompt, name)) {
        if (!name.empty() && AskBeside(IsSystemAccount, name)) return true;
    }
    return false;
}

Next CreateAccount(State& state) {
    std::string name = state.root_exists ? "" : "root";
    if (PromptSystemAccount("Enter user account.\n"
                            "User account name must also exist as a system account on this "
                            "system.\n"
                            "User accounts created in the Tavrin web interface do not count.",
                            name)) {
        RunSteps({{"smbpasswd -a -d -n " + QuotedWord(name)}});
        state = ReadSmbAccounts();
    }
    return Next::Rebuild;
}

Next OpenAccount(State& state, std::size_t index) {
    if (RunSmbUserScreen(state.accounts[index])) state = ReadSmbAccounts();
    return Next::Rebuild;
}

std::string AccountLabel(const SmbAccount& account) {
    std::string label = "Configure user '" + account.name + "'";
    if (account.disabled) label += " [account disabled]";
    if (account.no_password) label += " [no password]";
    return label;
}

void AddAccounts(Menu& menu, const State& state) {
    int id = kFirstAccount;
    for (const SmbAccount& account : state.accounts)
        menu.AddItem(AccountLabel(account), id++);
}

constexpr Row<State> kRows[] = {
    {"Return to services menu", 1, 'r', Leave},
    kSeparator<State>,
    {"Create user", 24, 'c', CreateAccount},
    kSeparator<State>,
    {"", kFirstAccount, 0, nullptr, {.add_list = AddAccounts, .open = OpenAccount, .most = 64}},
};
static_assert(AreSound(kRows));

TitleLines Title(const State&) {
    return {"SMB/CIFS configuration"};
}

}  // namespace

void RunSmbAccountsScreen() {
    State state = ReadSmbAccounts();
    RunScreen<State>({.rows = kRows, .title = Title, .layout = Layout::RoomyHelp}, state);
}
