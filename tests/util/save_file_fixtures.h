// Environments for the tests of saves: private mounts, and faults at any system call.
//
//     const TemporaryFolder folder;
//     const std::string path = folder.File("settings", "old\n");
//     const Trial trial = RunWith({.at = 3, .error = EIO}, [&] { return SaveFile(path, "new\n");
//     }); EXPECT_EQ(trial.ending, Ending::kRefused);
//
// The kernel injects the faults: the save runs in a child process, and the kernel reports each of
// its file system calls to this process, which lets it pass, makes it fail, or kills the child
// instead.
#pragma once

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "util/folder_fixtures.h"

namespace faults {

inline void MakeFile(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

inline std::set<std::string> NamesIn(const std::string& folder) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.insert(entry.path().filename().string());
    return names;
}

// The permission bits of a file, and its owner and group.
inline mode_t ModeOf(const std::string& path) {
    struct stat about = {};
    return stat(path.c_str(), &about) == 0 ? about.st_mode & 07777 : 0;
}
inline std::string OwnersOf(const std::string& path) {
    struct stat about = {};
    if (stat(path.c_str(), &about) != 0) return "";
    return std::to_string(about.st_uid) + ":" + std::to_string(about.st_gid);
}
inline ino_t InodeOf(const std::string& path) {
    struct stat about = {};
    return stat(path.c_str(), &about) == 0 ? about.st_ino : 0;
}

// Runs `question` in a child process and returns its answer; nothing if the child died.
inline std::optional<std::string> AnswerOfChild(const std::function<std::string()>& question) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) std::abort();
    const pid_t child = fork();
    if (child < 0) std::abort();
    if (child == 0) {
        const std::string answer = question();
        const bool told =
            write(ends[1], answer.data(), answer.size()) == static_cast<ssize_t>(answer.size());
        _exit(told ? 0 : 1);
    }
    close(ends[1]);
    std::string answer;
    char bytes[4096];
    ssize_t count = 0;
    while ((count = read(ends[0], bytes, sizeof bytes)) > 0)
        answer.append(bytes, static_cast<size_t>(count));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return std::nullopt;
    return answer;
}

// For a child: gives it private mounts, which end with it. A user who is not root also gets a user
// namespace, as its root. Returns false if the system refuses.
inline bool EnterPrivateMounts() {
    const uid_t user = geteuid();
    const gid_t group = getegid();
    if (unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0) return false;
    if (user != 0) {
        MakeFile("/proc/self/setgroups", "deny");
        MakeFile("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
        MakeFile("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
    }
    return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

inline bool PrivateMountsWork() {
    return AnswerOfChild([] { return std::string(EnterPrivateMounts() ? "yes" : "no"); }) == "yes";
}

// For a child with private mounts.
inline void MountTmpfs(const std::string& folder, const std::string& options) {
    if (mount("none", folder.c_str(), "tmpfs", 0, options.c_str()) != 0) std::abort();
}
inline void MountOver(const std::string& what, const std::string& where) {
    if (mount(what.c_str(), where.c_str(), nullptr, MS_BIND, nullptr) != 0) std::abort();
}
inline void MakeReadOnly(const std::string& where) {
    constexpr unsigned long kHow = MS_REMOUNT | MS_BIND | MS_RDONLY;
    if (mount(nullptr, where.c_str(), nullptr, kHow, nullptr) != 0) std::abort();
}

// A system call that the kernel from now on denies this process, with an error: always, or only if
// the argument has one of the flags.
struct Denied {
    int call = 0;
    int error = 0;
    size_t argument = 0;
    unsigned flags = 0;
};

// Whether the kernel filters calls; an emulator's may not.
inline bool CanDeny() {
    return prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, nullptr) != 0 && errno == EFAULT;
}

// For a child.
inline void Deny(const std::vector<Denied>& calls) {
    constexpr auto kNumber = static_cast<unsigned>(offsetof(seccomp_data, nr));
    std::vector<sock_filter> filter;
    for (const Denied& one : calls) {
        const auto argument = static_cast<unsigned>(offsetof(seccomp_data, args[0]) +
                                                    one.argument * sizeof(seccomp_data::args[0]));
        const auto refusal = SECCOMP_RET_ERRNO | static_cast<unsigned>(one.error);
        const unsigned char rest = one.flags != 0 ? 3 : 1;
        filter.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kNumber));
        filter.push_back(
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(one.call), 0, rest));
        if (one.flags != 0) {
            filter.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, argument));
            filter.push_back(BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, one.flags, 0, 1));
        }
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, refusal));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) std::abort();
}

// O_TMPFILE, which some file systems lack.
inline Denied UnnamedFiles() {
    constexpr unsigned kUnnamed = O_TMPFILE & ~O_DIRECTORY;
    return {.call = SYS_openat, .error = EOPNOTSUPP, .argument = 2, .flags = kUnnamed};
}

// Calls that fail on a FAT file system.
inline std::vector<Denied> OwnersAndModes() {
    return {{.call = SYS_fchown, .error = EPERM},
            {.call = SYS_fchmod, .error = EPERM},
            {.call = SYS_fsetxattr, .error = EOPNOTSUPP},
            {.call = SYS_flistxattr, .error = EOPNOTSUPP},
            UnnamedFiles()};
}

// ---- extended attributes ----

constexpr const char* kAccessList = "system.posix_acl_access";
constexpr const char* kHandedDown =
    "system.posix_acl_default";  // passed from a folder to new files in it

struct AclEntry {
    uint16_t tag, rights;
    uint32_t id = 0xffffffff;
};

// An access control list in the kernel's format.
inline std::string AccessList(const std::vector<AclEntry>& entries) {
    std::string bytes("\x02\0\0\0", 4);
    const auto append = [&](uint32_t number, int count) {
        for (int byte = 0; byte < count; byte++)
            bytes += static_cast<char>(number >> (8 * byte));
    };
    for (const AclEntry& entry : entries) {
        append(entry.tag, 2);
        append(entry.rights, 2);
        append(entry.id, 4);
    }
    return bytes;
}

// The owner may write, user 1234 may read, the group and others nothing. The mode is 0640, because
// its middle digit is the list's mask.
inline std::string OneMoreReader() {
    return AccessList({{0x01, 6}, {0x02, 4, 1234}, {0x04, 0}, {0x10, 4}, {0x20, 0}});
}

inline bool SetAttribute(const std::string& path, const char* name, const std::string& value) {
    return setxattr(path.c_str(), name, value.data(), value.size(), 0) == 0;
}
inline std::string AttributeOf(const std::string& path, const char* name) {
    char value[256];
    const ssize_t size = getxattr(path.c_str(), name, value, sizeof value);
    return size < 0 ? "none" : std::string(value, static_cast<size_t>(size));
}

// Fills the file system of the folder to the last block.
inline void FillUp(const std::string& folder) {
    const int file = open((folder + "/filler").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const std::string block(4096, 'f');
    while (write(file, block.data(), block.size()) > 0) {
    }
    if (errno != ENOSPC) std::abort();
    close(file);
}

// ---- faults ----

// The fault at the at-th file system call (from 0): the call fails with `error` or, if that is 0,
// the child is killed before the kernel executes the call.
struct Fault {
    size_t at = 0;
    int error = 0;
};

enum class Ending { kSaved, kRefused, kKilled, kDied };

struct Trial {
    Ending ending = Ending::kDied;
    std::vector<int> calls;  // the numbers of the system calls, including the one with the fault
    bool hit = false;        // whether there were enough calls

    [[nodiscard]] int Last() const { return calls.empty() ? -1 : calls.back(); }
};

// The calls by which a program can affect a file. Those that this architecture lacks are left out.
inline const std::set<int>& FileCalls() {
    static const std::set<int> calls = {
#ifdef SYS_open
        SYS_open,
#endif
#ifdef SYS_creat
        SYS_creat,
#endif
#ifdef SYS_rename
        SYS_rename,
#endif
#ifdef SYS_link
        SYS_link,
#endif
#ifdef SYS_unlink
        SYS_unlink,
#endif
#ifdef SYS_stat
        SYS_stat,
#endif
#ifdef SYS_lstat
        SYS_lstat,
#endif
#ifdef SYS_readlink
        SYS_readlink,
#endif
#ifdef SYS_chmod
        SYS_chmod,
#endif
#ifdef SYS_chown
        SYS_chown,
#endif
        SYS_openat,       SYS_renameat2,       SYS_linkat,     SYS_unlinkat,  SYS_newfstatat,
        SYS_fstat,        SYS_statx,           SYS_readlinkat, SYS_fchmodat,  SYS_fchownat,
        SYS_fchmod,       SYS_fchown,          SYS_write,      SYS_pwrite64,  SYS_writev,
        SYS_sendfile,     SYS_copy_file_range, SYS_fallocate,  SYS_ftruncate, SYS_truncate,
        SYS_fsync,        SYS_fdatasync,       SYS_sync,       SYS_syncfs,    SYS_close,
        SYS_flock,        SYS_getdents64,      SYS_flistxattr, SYS_fgetxattr, SYS_fsetxattr,
        SYS_fremovexattr,
#ifdef SYS_renameat
        SYS_renameat,
#endif
    };
    return calls;
}

inline bool IsRename(int call) {
#ifdef SYS_rename
    if (call == SYS_rename) return true;
#endif
#ifdef SYS_renameat
    if (call == SYS_renameat) return true;
#endif
    return call == SYS_renameat2;
}
inline bool IsSync(int call) {
    return call == SYS_fsync || call == SYS_fdatasync;
}
inline bool IsWrite(int call) {
    return call == SYS_write || call == SYS_pwrite64 || call == SYS_writev;
}
inline bool IsUnlink(int call) {
#ifdef SYS_unlink
    if (call == SYS_unlink) return true;
#endif
    return call == SYS_unlinkat;
}

// For a child: from now on each file system call is reported to the holder of the returned
// descriptor, except for writes to `report`. Returns -1 if the kernel refuses.
inline int ShowFileCalls(int report) {
    constexpr auto kNumber = static_cast<unsigned>(offsetof(seccomp_data, nr));
    constexpr auto kFirst = static_cast<unsigned>(offsetof(seccomp_data, args[0]));
    std::vector<sock_filter> filter = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kNumber),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_write, 0, 4),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kFirst),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(report), 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kNumber),
    };
    for (int call : FileCalls()) {
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call), 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    return static_cast<int>(
        syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &program));
}

// Answers the child's calls until it has ended.
inline void MeetCalls(pid_t child, int process, int listener, const std::optional<Fault>& fault,
                      Trial& trial) {
    for (;;) {
        pollfd waiting[] = {{listener, POLLIN, 0}, {process, POLLIN, 0}};
        poll(waiting, 2, -1);
        if ((waiting[0].revents & POLLIN) == 0) return;
        seccomp_notif call = {};
        if (ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &call) != 0) continue;
        const bool hit = fault && fault->at == trial.calls.size();
        trial.calls.push_back(call.data.nr);
        trial.hit = trial.hit || hit;
        if (hit && fault->error == 0) {
            kill(child, SIGKILL);
            continue;
        }
        seccomp_notif_resp answer = {};
        answer.id = call.id;
        answer.error = hit ? -fault->error : 0;
        answer.flags = hit ? 0 : SECCOMP_USER_NOTIF_FLAG_CONTINUE;
        ioctl(listener, SECCOMP_IOCTL_NOTIF_SEND, &answer);
    }
}

// Runs the save in a child process, with the fault.
inline Trial RunWith(const std::optional<Fault>& fault, const std::function<bool()>& save) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) std::abort();
    const pid_t child = fork();
    if (child < 0) std::abort();
    if (child == 0) {
        const int listener = ShowFileCalls(ends[1]);
        if (write(ends[1], &listener, sizeof listener) != sizeof listener) _exit(1);
        const bool saved = listener >= 0 && save();
        _exit(write(ends[1], &saved, sizeof saved) == sizeof saved ? 0 : 1);
    }
    close(ends[1]);
    Trial trial;
    int number = -1;
    if (read(ends[0], &number, sizeof number) != sizeof number || number < 0) std::abort();
    const int process = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
    const int listener = static_cast<int>(syscall(SYS_pidfd_getfd, process, number, 0));
    if (listener < 0) std::abort();
    MeetCalls(child, process, listener, fault, trial);
    close(listener);
    close(process);
    bool saved = false;
    const bool told = read(ends[0], &saved, sizeof saved) == sizeof saved;
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) trial.ending = Ending::kKilled;
    if (told && WIFEXITED(status)) trial.ending = saved ? Ending::kSaved : Ending::kRefused;
    return trial;
}

// Whether this kernel supports injecting faults.
inline bool FaultsWork() {
    const unsigned action = SECCOMP_RET_USER_NOTIF;
    return syscall(SYS_seccomp, SECCOMP_GET_ACTION_AVAIL, 0, &action) == 0;
}

}  // namespace faults
