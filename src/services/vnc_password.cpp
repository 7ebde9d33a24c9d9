#include "services/vnc_password.h"

#include <sys/stat.h>

#include "ui/terminal.h"
#include "util/command.h"

namespace {

constexpr const char* kPasswordFile = "/etc/local.desktop.vnc.passwd";
constexpr mode_t kOwnerReads = 0400;
constexpr mode_t kOwnerOnly = 077;

}  // namespace

void SetVncPassword(std::string& password) {
    if (password.empty()) return;
    ShellEscape([&] {
        // The shell makes the file, or fills an older one, before its mode can be set.
        const mode_t before = umask(kOwnerOnly);
        chmod(kPasswordFile, kOwnerReads);
        // The empty lines answer whatever else the tool may ask.
        FeedCommand("vncpasswd -f >/etc/local.desktop.vnc.passwd",
                    {password, "\n", "\n", "\n\n\n\n\n\n\n\n\n\n\n"}, &password);
        umask(before);
        chmod(kPasswordFile, kOwnerReads);
    });
}
