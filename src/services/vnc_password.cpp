#include "services/vnc_password.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string_view>
#include <utility>

#include "services/service_states.h"
#include "ui/plain_steps.h"
#include "ui/terminal.h"
#include "util/command.h"

namespace {

constexpr const char* kPasswordFile = "/etc/local.desktop.vnc.passwd";
constexpr const char* kOldPasswordFile = "/etc/.local.desktop.vnc.passwd.old";
constexpr mode_t kOwnerReads = 0400;
constexpr mode_t kOwnerOnly = 077;
// Empty lines, in case the tool asks anything else.
constexpr std::string_view kRestOfInput = "\n\n\n\n\n\n\n\n\n\n\n\n\n";

Secret InputOfTool(const Secret& password) {
    Secret input(password.size() + kRestOfInput.size());
    input.Append(password.text());
    input.Append(kRestOfInput);
    return input;
}

// Each password in the file is one block, encrypted with the fixed key that all VNC programs share.
constexpr std::size_t kBlock = 8;
constexpr std::string_view kEmptyPassword = "\x5a\xb2\xcd\xc0\xba\xdc\xaf\x13";
static_assert(kEmptyPassword.size() == kBlock);

void CutEmptyPassword() {
    const int descriptor = open(kPasswordFile, O_RDWR | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0) return;
    char bytes[2 * kBlock + 1];
    const ssize_t count = read(descriptor, bytes, sizeof bytes);
    if (count > 0) {
        const auto size = static_cast<std::size_t>(count);
        const std::size_t kept = BytesToKeep(std::string_view(bytes, size));
        if (kept < size && ftruncate(descriptor, static_cast<off_t>(kept)) == 0) fsync(descriptor);
    }
    explicit_bzero(bytes, sizeof bytes);
    close(descriptor);
}

bool Exists(const char* path) {
    struct stat about = {};
    return lstat(path, &about) == 0;
}

// If the program ends before the tool, the tool goes on writing to a file without a name.
void TakeBackNewFile() {
    unlink(kPasswordFile);
    std::rename(kOldPasswordFile, kPasswordFile);
}

}  // namespace

std::size_t BytesToKeep(std::string_view password_file) {
    const bool is_open =
        password_file.size() == 2 * kBlock && password_file.substr(kBlock) == kEmptyPassword;
    return is_open ? kBlock : password_file.size();
}

void SetVncPassword(Secret password) {
    if (password.empty()) return;
    Secret input = InputOfTool(password);
    password = Secret(0);
    RunUpdate([&] {
        const bool is_aside =
            IsRegularFile(kPasswordFile) && std::rename(kPasswordFile, kOldPasswordFile) == 0;
        if (!Exists(kPasswordFile)) take_back = TakeBackNewFile;
        // The shell creates or overwrites the file, so its mode can't be set in advance.
        const mode_t before = umask(kOwnerOnly);
        chmod(kPasswordFile, kOwnerReads);
        const int status =
            FeedCommand("vncpasswd -f >/etc/local.desktop.vnc.passwd", std::move(input));
        umask(before);
        if (is_aside && status != 0) std::rename(kOldPasswordFile, kPasswordFile);
        chmod(kPasswordFile, kOwnerReads);
        CutEmptyPassword();
        take_back = nullptr;
        unlink(kOldPasswordFile);
    });
}
