#include "services/smb_user_screen.h"

#include <string>
#include <utility>

#include "ui/dialogs.h"
#include "ui/plain_steps.h"
#include "ui/screen_loop.h"
#include "util/command.h"

namespace {

struct State {
    SmbAccount account;
    bool changed = false;
};

// ---- actions ----

Next RunForAccount(State& state, const char* command) {
    RunSteps({{command + QuotedWord(state.account.name)}});
    state.changed = true;
    return Next::Leave;
}

Next Enable(State& state) {
    return RunForAccount(state, "smbpasswd -e ");
}

Next Disable(State& state) {
    return RunForAccount(state, "smbpasswd -d ");
}

Next Remove(State& state) {
    return AskYesNoOnBlankScreen() ? RunForAccount(state, "smbpasswd -x ") : Next::Rebuild;
}

// The password and its confirmation.
Secret TwoLines(const Secret& password) {
    Secret lines(2 * (password.size() + 1));
    for (int line = 0; line < 2; ++line) {
        lines.Append(password.text());
        lines.Append("\n");
    }
    return lines;
}

// The screen stays up, unlike for the other actions: the password goes through a pipe, and the tool
// asks nothing.
Next SetPassword(State& state) {
    std::optional<Secret> password = PromptPassword("SMB/CIFS account password?");
    if (!password || password->empty()) return Next::Rebuild;
    Secret lines = TwoLines(*password);
    password.reset();
    FeedCommand("smbpasswd -a -s " + QuotedWord(state.account.name), std::move(lines));
    state.changed = true;
    return Next::Leave;
}

// ---- rows ----

bool IsDisabled(const State& state) {
    return state.account.disabled;
}

bool IsEnabled(const State& state) {
    return !state.account.disabled;
}

// The server does not enable an account without a password.
bool LacksPassword(const State& state) {
    return state.account.no_password;
}

bool IsRoot(const State& state) {
    return state.account.name == "root";
}

bool IsNotRoot(const State& state) {
    return !IsRoot(state);
}

// Two rows share the hot key r: pressing it again selects the other one.
constexpr Row<State> kRows[] = {
    {"Return to SMB/CIFS configuration menu", 1, 'r', Leave},
    kSeparator<State>,
    {"Enable account", 25, 'e', Enable, {.shown = IsDisabled, .closed = LacksPassword}},
    {"Disable account", 26, 'd', Disable, {.shown = IsEnabled}},
    {"Set password", 28, 'p', SetPassword},
    kSeparator<State>,
    {"Remove account", 27, 'r', Remove, {.closed = IsRoot, .warning = IsNotRoot}},
};
static_assert(AreSound(kRows));

TitleLines Title(const State& state) {
    return {"SMB/CIFS user '" + state.account.name + "' configuration"};
}

}  // namespace

bool RunSmbUserScreen(const SmbAccount& account) {
    State state = {.account = account};
    RunScreen<State>({.rows = kRows, .title = Title, .layout = Layout::RoomyHelp}, state);
    return state.changed;
}
