#include "util/save_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

#include "util/io.h"

namespace {

constexpr int kMostLinks = 40;
constexpr mode_t kNewFileMode = 0666;
constexpr mode_t kModeBits = 07777;

std::string FolderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// The path behind symbolic links, whether or not there is a file at the end of them.
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

// Gives the new file what the old one was to others; `old` is null when there is none.
bool TakeOver(int descriptor, const struct stat* old) {
    if (old == nullptr) return fchmod(descriptor, kNewFileMode & ~Umask()) == 0;
    // The owner first: changing it may clear mode bits.
    return fchown(descriptor, old->st_uid, old->st_gid) == 0 &&
           fchmod(descriptor, old->st_mode & kModeBits) == 0;
}

void SyncFolder(const std::string& path) {
    const std::string folder = FolderOf(path);
    const int descriptor =
        open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    fsync(descriptor);
    close(descriptor);
}

// Writes and closes the new file; whether all of it is on the disk.
bool FillFile(int descriptor, std::string_view text, const struct stat* old) {
    const bool good =
        TakeOver(descriptor, old) && WriteAll(descriptor, text) && fsync(descriptor) == 0;
    return CloseFile(descriptor, good);
}

enum class Outcome { Saved, Failed, NotReplaceable };

Outcome ReplaceFile(const std::string& path, std::string_view text, const struct stat* old) {
    // A leading dot: scripts that go through the folder's files do not see it.
    std::string name = FolderOf(path) + ".ifmenu-XXXXXX";
    const int descriptor = mkostemp(name.data(), O_CLOEXEC);
    if (descriptor < 0) {
        const bool folder_is_closed = errno == EROFS || errno == EACCES || errno == EPERM;
        return folder_is_closed ? Outcome::NotReplaceable : Outcome::Failed;
    }
    if (!FillFile(descriptor, text, old)) {
        unlink(name.c_str());
        return Outcome::Failed;
    }
    if (rename(name.c_str(), path.c_str()) != 0) {
        const bool is_mount = errno == EBUSY;
        unlink(name.c_str());
        return is_mount ? Outcome::NotReplaceable : Outcome::Failed;
    }
    SyncFolder(path);
    return Outcome::Saved;
}

bool OverwriteFile(const std::string& path, std::string_view text, const struct stat& old) {
    const int descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor < 0) return false;
    const auto size = static_cast<off_t>(text.size());
    if (size > 0 && fallocate(descriptor, FALLOC_FL_KEEP_SIZE, 0, size) != 0 &&
        errno != EOPNOTSUPP) {
        close(descriptor);
        return false;
    }
    std::string whole(text);
    if (size < old.st_size) whole.append(static_cast<std::size_t>(old.st_size - size), '\n');
    const bool good =
        WriteAll(descriptor, whole) && ftruncate(descriptor, size) == 0 && fsync(descriptor) == 0;
    return CloseFile(descriptor, good);
}

bool WriteToDevice(const std::string& path, std::string_view text) {
    const int descriptor = open(path.c_str(), O_WRONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    return descriptor >= 0 && CloseFile(descriptor, WriteAll(descriptor, text));
}

}  // namespace

bool SaveFile(const std::string& path, std::string_view text) {
    const std::string target = FollowLinks(path);
    struct stat old = {};
    if (stat(target.c_str(), &old) != 0) {
        // What can't be looked at is not a missing file: links in a circle, say.
        return errno == ENOENT && ReplaceFile(target, text, nullptr) == Outcome::Saved;
    }
    if (S_ISDIR(old.st_mode)) return false;
    if (!S_ISREG(old.st_mode)) return WriteToDevice(target, text);
    const Outcome outcome = ReplaceFile(target, text, &old);
    if (outcome == Outcome::NotReplaceable) return OverwriteFile(target, text, old);
    return outcome == Outcome::Saved;
}

bool SaveFileThrough(const std::string& temporary, const std::string& path, std::string_view text) {
    struct stat old = {};
    const bool exists = stat(path.c_str(), &old) == 0;
    // Never into what is there under that name: a link, or a file that others have open.
    unlink(temporary.c_str());
    const int descriptor =
        open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kNewFileMode);
    if (descriptor < 0) return false;
    if (!FillFile(descriptor, text, exists ? &old : nullptr)) {
        unlink(temporary.c_str());
        return false;
    }
    if (rename(temporary.c_str(), path.c_str()) != 0) return false;
    SyncFolder(path);
    return true;
}
