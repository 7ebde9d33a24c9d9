#include "services/vnc_password.h"

#include <sys/stat.h>

#include <string_view>
#include <utility>

#include "ui/terminal.h"
#include "util/command.h"

namespace {

constexpr const char* kPasswordFile = "/etc/local.desktop.vnc.passwd";
constexpr mode_t kOwnerReads = 0400;
constexpr mode_t kOwnerOnly = 077;
// The empty lines answer whatever else the tool may ask.
constexpr std::string_view kRestOfInput = "\n\n\n\n\n\n\n\n\n\n\n\n\n";

Secret InputOfTool(const Secret& password) {
    Secret input(password.size() + kRestOfInput.size());
    input.Append(password.text());
    input.Append(kRestOfInput);
    return input;
}

}  // namespace

void SetVncPassword(Secret password) {
    if (password.empty()) return;
    Secret input = InputOfTool(password);
    password = Secret(0);
    ShellEscape([&] {
        // The shell makes the file, or fills an older one, before its mode can be set.
        const mode_t before = umask(kOwnerOnly);
        chmod(kPasswordFile, kOwnerReads);
        FeedCommand("vncpasswd -f >/etc/local.desktop.vnc.passwd", std::move(input));
        umask(before);
        chmod(kPasswordFile, kOwnerReads);
    });
}
