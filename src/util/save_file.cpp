#include "util/save_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <map>
#include <optional>

#include "util/io.h"

namespace {

constexpr int kMostLinks = 40;
constexpr mode_t kNewFileMode = 0666;
constexpr mode_t kUnfinishedMode = 0600;
constexpr mode_t kModeBits = 07777;

// The leading dot hides the file from scripts that process all files of the folder.
constexpr std::string_view kPrivateName = ".ifmenu-";
constexpr std::size_t kRandomLetters = 6;

std::string FolderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

std::string FolderToOpen(const std::string& path) {
    const std::string folder = FolderOf(path);
    return folder.empty() ? "." : folder;
}

// The path after following symbolic links, whether or not the final file exists.
std::string FollowLinks(std::string path) {
    char target[PATH_MAX];
    for (int links = 0; links < kMostLinks; ++links) {
        const ssize_t length = readlink(path.c_str(), target, sizeof target);
        if (length <= 0) break;
        const std::string next(target, static_cast<std::size_t>(length));
        if (next.front() == '/') path.clear();
        path = FolderOf(path).append(next);
    }
    return path;
}

mode_t Umask() {
    const mode_t mask = umask(0);
    umask(mask);
    return mask;
}

bool CloseFile(int descriptor, bool good) {
    return close(descriptor) == 0 && good;
}

// Whether a call failed because the file system or its rules forbid it, not because the disk is
// full or broken.
bool IsRefusal(int error) {
    return error == EROFS || error == EACCES || error == EPERM || error == EOPNOTSUPP ||
           error == EINVAL;
}

// ---- extended attributes: access control lists, labels and others ----

using Attributes = std::map<std::string, std::string>;

// A value whose length only the kernel knows; `read` queries it.
template <typename Read>
std::optional<std::string> WholeValue(Read read) {
    for (;;) {
        const ssize_t size = read(nullptr, 0);
        if (size < 0) return std::nullopt;
        std::string value(static_cast<std::size_t>(size), '\0');
        const ssize_t length = size > 0 ? read(value.data(), value.size()) : 0;
        if (length >= 0) {
            value.resize(static_cast<std::size_t>(length));
            return value;
        }
        if (errno != ERANGE) return std::nullopt;  // ERANGE: it has grown meanwhile
    }
}

// The kernel computes these from the content.
bool IsSeal(std::string_view name) {
    return name == "security.ima" || name == "security.evm";
}

// Nothing, with errno, if they can't be read; an empty map if the file system has none.
std::optional<Attributes> AttributesOf(int descriptor) {
    Attributes attributes;
    const auto names = WholeValue(
        [&](char* buffer, std::size_t size) { return flistxattr(descriptor, buffer, size); });
    if (!names) return errno == EOPNOTSUPP ? std::optional(attributes) : std::nullopt;
    for (std::size_t at = 0; at < names->size(); at += std::string_view(&(*names)[at]).size() + 1) {
        const char* name = &(*names)[at];
        if (IsSeal(name)) continue;
        auto value = WholeValue([&](char* buffer, std::size_t size) {
            return fgetxattr(descriptor, name, buffer, size);
        });
        if (!value) return std::nullopt;
        attributes.emplace(name, std::move(*value));
    }
    return attributes;
}

// Makes these the file's attributes, and removes those inherited from its folder. False with errno.
bool SetAttributes(int descriptor, const Attributes& wanted) {
    const auto present = AttributesOf(descriptor);
    if (!present) return false;
    for (const auto& [name, value] : *present) {
        if (!wanted.contains(name) && fremovexattr(descriptor, name.c_str()) != 0) return false;
    }
    for (const auto& [name, value] : wanted) {
        const auto at = present->find(name);
        if (at != present->end() && at->second == value) continue;
        if (fsetxattr(descriptor, name.c_str(), value.data(), value.size(), 0) != 0) return false;
    }
    return true;
}

// ---- the new file ----

// Gives the new file the owner, mode and attributes of the old one; false with errno. Only the
// result counts, not whether the calls succeed: a file system without owners and modes refuses
// them.
bool TakeOver(int descriptor, int old_descriptor, const struct stat& old) {
    const auto attributes = AttributesOf(old_descriptor);
    if (!attributes) return false;
    int error = EPERM;
    // The owner first: changing it may clear mode bits. The mode last: with an access control list
    // its middle bits are the list's mask, otherwise the group's rights.
    if (fchown(descriptor, old.st_uid, old.st_gid) != 0) error = errno;
    if (!SetAttributes(descriptor, *attributes)) return false;
    if (fchmod(descriptor, old.st_mode & kModeBits) != 0) error = errno;
    struct stat made = {};
    if (fstat(descriptor, &made) != 0) return false;
    errno = error;
    return made.st_uid == old.st_uid && made.st_gid == old.st_gid &&
           (made.st_mode & kModeBits) == (old.st_mode & kModeBits);
}

bool TakeOver(int descriptor, const std::string& path, const struct stat* old) {
    if (old == nullptr) {
        return fchmod(descriptor, kNewFileMode & ~Umask()) == 0 || IsRefusal(errno);
    }
    const int old_descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (old_descriptor < 0) return false;
    const bool good = TakeOver(descriptor, old_descriptor, *old);
    const int error = errno;
    close(old_descriptor);
    errno = error;
    return good;
}

void SyncFolder(const std::string& path) {
    const int descriptor = open(FolderToOpen(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    fsync(descriptor);
    close(descriptor);
}

enum class Outcome { Saved, Failed, NotReplaceable, NoUnnamedFiles };

Outcome FailedBy(int error) {
    return IsRefusal(error) ? Outcome::NotReplaceable : Outcome::Failed;
}

// Writes and syncs all of the new file.
Outcome FillFile(int descriptor, const std::string& path, std::string_view text,
                 const struct stat* old) {
    if (!TakeOver(descriptor, path, old)) return FailedBy(errno);
    const bool good = WriteAll(descriptor, text) && fsync(descriptor) == 0;
    return good ? Outcome::Saved : Outcome::Failed;
}

std::string PrivateNameBeside(const std::string& path) {
    constexpr std::string_view kLetters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    unsigned char bytes[kRandomLetters] = {};
    if (getrandom(bytes, sizeof bytes, 0) < 0) return "";
    std::string name = FolderOf(path).append(kPrivateName);
    for (unsigned char byte : bytes)
        name += kLetters[byte % kLetters.size()];
    return name;
}

// Removes files left by interrupted saves. A file that another process is writing is locked.
void RemoveLeftovers(const std::string& path) {
    DIR* folder = opendir(FolderToOpen(path).c_str());
    if (folder == nullptr) return;
    while (const dirent* entry = readdir(folder)) {
        const std::string_view name = entry->d_name;
        struct stat about = {};
        if (!name.starts_with(kPrivateName) ||
            name.size() != kPrivateName.size() + kRandomLetters ||
            fstatat(dirfd(folder), entry->d_name, &about, AT_SYMLINK_NOFOLLOW) != 0 ||
            !S_ISREG(about.st_mode)) {
            continue;
        }
        const int leftover = openat(dirfd(folder), entry->d_name,
                                    O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | O_NOFOLLOW);
        if (leftover < 0) continue;
        if (flock(leftover, LOCK_EX | LOCK_NB) == 0) unlinkat(dirfd(folder), entry->d_name, 0);
        close(leftover);
    }
    closedir(folder);
}

// The second way is for users whom the kernel refuses the first.
bool GiveName(int descriptor, const std::string& name) {
    if (linkat(descriptor, "", AT_FDCWD, name.c_str(), AT_EMPTY_PATH) == 0) return true;
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    return linkat(AT_FDCWD, link.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

// The new file's name until it replaces the old one.
struct NewName {
    std::string path;
    // The caller chose the name: a file that can't replace the old one keeps it, and if it can't be
    // created, nothing is saved.
    bool is_given = false;
};

Outcome ReplaceThrough(int descriptor, bool has_name, const NewName& name, const std::string& path,
                       std::string_view text, const struct stat* old) {
    flock(descriptor, LOCK_EX | LOCK_NB);
    Outcome outcome = FillFile(descriptor, path, text, old);
    if (outcome == Outcome::Saved && !has_name) {
        has_name = GiveName(descriptor, name.path);
        if (!has_name) return Outcome::NoUnnamedFiles;
    }
    if (outcome == Outcome::Saved && rename(name.path.c_str(), path.c_str()) != 0) {
        if (name.is_given) return Outcome::Failed;
        const bool is_mount = errno == EBUSY;
        outcome = is_mount ? Outcome::NotReplaceable : Outcome::Failed;
    }
    if (outcome != Outcome::Saved && has_name) unlink(name.path.c_str());
    return outcome;
}

Outcome ReplaceFile(const NewName& name, const std::string& path, std::string_view text,
                    const struct stat* old) {
    RemoveLeftovers(path);
    Outcome outcome = Outcome::NoUnnamedFiles;
    int descriptor =
        open(FolderToOpen(path).c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, kUnfinishedMode);
    if (descriptor >= 0) {
        outcome = ReplaceThrough(descriptor, false, name, path, text, old);
        close(descriptor);
    }
    if (outcome == Outcome::NoUnnamedFiles) {
        descriptor =
            open(name.path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kUnfinishedMode);
        if (descriptor < 0) return name.is_given ? Outcome::Failed : FailedBy(errno);
        outcome = ReplaceThrough(descriptor, true, name, path, text, old);
        close(descriptor);
    }
    if (outcome == Outcome::Saved) SyncFolder(path);
    return outcome;
}

// ---- overwriting the old file ----

bool IsWithinLimit(std::size_t size) {
    rlimit limit = {};
    return getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY ||
           size <= limit.rlim_cur;
}

bool OverwriteFile(const std::string& path, std::string_view text, const struct stat& old) {
    std::string whole(text);
    const auto size = static_cast<off_t>(text.size());
    if (size < old.st_size) whole.append(static_cast<std::size_t>(old.st_size - size), '\n');
    // A write that stops at the limit would leave a mixture.
    if (!IsWithinLimit(whole.size())) return false;
    const int descriptor = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0) return false;
    if (size > 0 && fallocate(descriptor, FALLOC_FL_KEEP_SIZE, 0, size) != 0 &&
        errno != EOPNOTSUPP) {
        close(descriptor);
        return false;
    }
    const bool good =
        WriteAll(descriptor, whole) && ftruncate(descriptor, size) == 0 && fsync(descriptor) == 0;
    return CloseFile(descriptor, good);
}

bool WriteToDevice(const std::string& path, std::string_view text) {
    const int descriptor = open(path.c_str(), O_WRONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    return descriptor >= 0 && CloseFile(descriptor, WriteAll(descriptor, text));
}

// Replaces the file; overwrites it in place if it can't be replaced.
bool Save(const NewName& name, const std::string& path, std::string_view text) {
    struct stat old = {};
    const bool exists = stat(path.c_str(), &old) == 0;
    // A path that can't be examined is not a missing file; it may be a loop of links.
    if (name.path.empty() || (!exists && errno != ENOENT)) return false;
    if (exists && S_ISDIR(old.st_mode)) return false;
    if (exists && !S_ISREG(old.st_mode)) return WriteToDevice(path, text);
    const Outcome outcome = ReplaceFile(name, path, text, exists ? &old : nullptr);
    if (outcome == Outcome::NotReplaceable && exists) return OverwriteFile(path, text, old);
    return outcome == Outcome::Saved;
}

}  // namespace

bool SaveFile(const std::string& path, std::string_view text) {
    const std::string target = FollowLinks(path);
    return Save({PrivateNameBeside(target)}, target, text);
}

bool SaveFileThrough(const std::string& temporary, const std::string& path, std::string_view text) {
    // Never writes to an existing file of that name: it may be a link, or open in another process.
    unlink(temporary.c_str());
    return Save({.path = temporary, .is_given = true}, path, text);
}
