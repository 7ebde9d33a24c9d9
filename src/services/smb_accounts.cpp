#include "services/smb_accounts.h"

#include "util/command.h"
#include "util/lines.h"
#include "util/trim.h"

namespace {

constexpr std::size_t kLineSize = 1024;

void TakeFlags(std::string_view value, SmbAccount& account) {
    const std::size_t open = value.find('[');
    if (open == std::string_view::npos) return;
    const std::string_view flags = value.substr(open, value.find(']', open) - open);
    if (flags.find('D') != std::string_view::npos) account.disabled = true;
    if (flags.find('N') != std::string_view::npos) account.no_password = true;
}

void TakeLine(std::string_view line, SmbAccount& account) {
    line = TrimStart(line, kSpace);
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) return;
    const std::string_view key = line.substr(0, colon);
    const std::string_view value = TrimStart(line.substr(colon + 1), kSpace);
    if (key == "Unix username") account.name = value;
    if (key == "Account Flags") TakeFlags(value, account);
}

// Removes one record from the front of the listing; false at its end.
bool ReadRecord(std::string_view& listing, SmbAccount& account) {
    std::string line;
    bool any = false;
    while (NextChompedLine(listing, kLineSize, line)) {
        any = true;
        if (line.empty() || line.front() == '-') break;
        TakeLine(line, account);
    }
    return any;
}

}  // namespace

SmbAccountList ParseSmbAccounts(std::string_view listing) {
    SmbAccountList list;
    for (;;) {
        SmbAccount account;
        if (!ReadRecord(listing, account)) return list;
        if (account.name == "root") list.root_exists = true;
        if (!account.name.empty()) list.accounts.push_back(std::move(account));
    }
}

SmbAccountList ReadSmbAccounts() {
    return ParseSmbAccounts(CommandOutput("pdbedit --list --verbose").value_or(std::string()));
}
