#include "services/smb_user_screen.h"

#include <string>

#include "ui/dialogs.h"
#include "ui/help_area.h"
#include "ui/screen_loop.h"
#include "ui/terminal.h"
#include "util/command.h"

namespace {

struct UserState {
    SmbAccount account;
    HelpArea help;
    bool changed = false;
};

// ---- actions ----

void Leave(Menu& menu, UserState&) {
    menu.running = false;
}

void RunForAccount(Menu& menu, UserState& state, const char* command) {
    ShellEscape([&] { RunCommand(command + QuotedWord(state.account.name)); });
    state.changed = true;
    menu.running = false;
}

void Enable(Menu& menu, UserState& state) {
    RunForAccount(menu, state, "smbpasswd -e ");
}

void Disable(Menu& menu, UserState& state) {
    RunForAccount(menu, state, "smbpasswd -d ");
}

void Remove(Menu& menu, UserState& state) {
    if (AskYesNoOnBlankScreen()) RunForAccount(menu, state, "smbpasswd -x ");
}

// Runs with the screen up, unlike the others: the password goes through a pipe, and the tool has
// nothing to ask.
void SetPassword(Menu& menu, UserState& state) {
    std::string password;
    if (!PromptPassword("SMB/CIFS account password?", password) || password.empty()) return;
    FeedCommand("smbpasswd -a -s " + QuotedWord(state.account.name),
                {password, "\n", password, "\n"}, &password);
    state.changed = true;
    menu.running = false;
}

// ---- rows ----

bool IsDisabled(const SmbAccount& account) {
    return account.disabled;
}

bool IsEnabled(const SmbAccount& account) {
    return !account.disabled;
}

// An account without a password can't be enabled.
bool LacksPassword(const SmbAccount& account) {
    return account.noPassword;
}

bool IsRoot(const SmbAccount& account) {
    return account.name == "root";
}

struct ActionRow {
    const char* label;                  // null: a separator
    bool (*shown)(const SmbAccount&);   // null: always
    bool (*closed)(const SmbAccount&);  // shown, but not to be chosen; null: never
    bool marked;
    int id;
    int hot_key;
    void (*act)(Menu&, UserState&);
};

// The key r is shared: pressing it again moves to the other row.
constexpr ActionRow kActionRows[] = {
    {"Return to SMB/CIFS configuration menu", nullptr, nullptr, false, 1, 'r', Leave},
    {nullptr, nullptr, nullptr, false, 0, 0, nullptr},
    {"Enable account", IsDisabled, LacksPassword, false, 25, 'e', Enable},
    {"Disable account", IsEnabled, nullptr, false, 26, 'd', Disable},
    {"Set password", nullptr, nullptr, false, 28, 'p', SetPassword},
    {nullptr, nullptr, nullptr, false, 0, 0, nullptr},
    {"Remove account", nullptr, IsRoot, true, 27, 'r', Remove},
};

void AddRow(Menu& menu, const ActionRow& row, const SmbAccount& account) {
    if (row.label == nullptr) {
        menu.AddSeparator();
        return;
    }
    const bool closed = row.closed != nullptr && row.closed(account);
    const int index =
        closed ? menu.AddInformation(row.label, row.id) : menu.AddItem(row.label, row.id);
    menu.SetHotKey(index, row.hot_key);
    menu.SetMarked(index, row.marked && !closed);
}

void AddRows(Menu& menu, const UserState& state) {
    for (const ActionRow& row : kActionRows) {
        if (row.shown == nullptr || row.shown(state.account)) AddRow(menu, row, state.account);
    }
}

void Paint(Menu& menu, UserState& state) {
    LayOutWithHelp(menu, state.help);
    PaintTitle(menu, 2, "SMB/CIFS user '" + state.account.name + "' configuration");
}

void Act(Menu& menu, const MenuItem& item, UserState& state) {
    for (const ActionRow& row : kActionRows) {
        if (row.id != item.id || row.act == nullptr) continue;
        menu.rebuild = true;
        row.act(menu, state);
    }
}

}  // namespace

bool RunSmbUserScreen(const SmbAccount& account) {
    UserState state;
    state.account = account;
    ScreenLoop({.add_rows = [&](Menu& menu) { AddRows(menu, state); },
                .paint = [&](Menu& menu) { Paint(menu, state); },
                .act = [&](Menu& menu, const MenuItem& item) { Act(menu, item, state); },
                .after_key = [&](Menu& menu) { PaintHelp(menu, state.help, ""); }});
    return state.changed;
}
