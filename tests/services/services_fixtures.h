// Environments for the tests of the services' modules: a private root folder and process table,
// created in a child process and gone with it.
//
//     class FtpTlsFile : public OwnSurroundings {};
//     TEST_F(FtpTlsFile, ...) {
//         EXPECT_EQ(InOwnRoot([] { WriteFile("/etc/vsftpd.conf", ...); return Etc(); }), "...");
//     }
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include "util/folder_fixtures.h"

namespace services {

inline void WriteFile(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

constexpr int kRefusedByTheKernel = 77;

// Creates new mount and PID namespaces; a user who is not root also gets a user namespace, as its
// root.
inline bool LeaveTheHost() {
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    const bool is_root = user == "0";
    if (unshare(CLONE_NEWNS | CLONE_NEWPID | (is_root ? 0 : CLONE_NEWUSER)) != 0) return false;
    if (!is_root) {
        WriteFile("/proc/self/setgroups", "deny");
        WriteFile("/proc/self/uid_map", "0 " + user + " 1");
        WriteFile("/proc/self/gid_map", "0 " + group + " 1");
    }
    return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

// Runs `work` as the first process of a machine of its own, which `enter` sets up, and returns its
// text. Returns "" and fails the test if `work` dies. The exit status is kRefusedByTheKernel if no
// such machine can be made.
inline std::string InOwnMachine(const std::function<bool()>& enter,
                                const std::function<std::string()>& work, int* status) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) std::abort();
    std::fflush(nullptr);
    const pid_t porter = fork();
    if (porter == 0) {
        if (!LeaveTheHost()) _exit(kRefusedByTheKernel);
        const pid_t first = fork();
        if (first == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (!enter()) _exit(kRefusedByTheKernel);
            const std::string text = work();
            const bool said =
                write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size());
            _exit(said ? 0 : 1);
        }
        int ending = 0;
        waitpid(first, &ending, 0);
        _exit(WIFEXITED(ending) ? WEXITSTATUS(ending) : 1);
    }
    close(ends[1]);
    std::string text;
    char chunk[4096];
    for (ssize_t got = 0; (got = read(ends[0], chunk, sizeof chunk)) > 0;)
        text.append(chunk, static_cast<std::size_t>(got));
    close(ends[0]);
    int ending = 0;
    waitpid(porter, &ending, 0);
    *status = WIFEXITED(ending) ? WEXITSTATUS(ending) : 1;
    return text;
}

inline std::string InOwnMachine(const std::function<bool()>& enter,
                                const std::function<std::string()>& work) {
    int status = 0;
    std::string text = InOwnMachine(enter, work, &status);
    EXPECT_EQ(status, 0) << "the work did not finish";
    return text;
}

// Runs on a file system of its own that has only an empty /etc, /proc and /tmp.
inline std::string InOwnRoot(const std::function<std::string()>& work) {
    const TemporaryFolder folder;
    const auto enter = [&] {
        if (mount("none", folder.path.c_str(), "tmpfs", 0, nullptr) != 0) return false;
        for (const char* name : {"/etc", "/proc", "/tmp"})
            std::filesystem::create_directory(folder.path + name);
        return mount("none", (folder.path + "/proc").c_str(), "proc", 0, nullptr) == 0 &&
               chroot(folder.path.c_str()) == 0 && chdir("/") == 0;
    };
    return InOwnMachine(enter, work);
}

// Runs with the host's files, but sees only its own processes.
inline std::string AmongOwnProcesses(const std::function<std::string()>& work) {
    return InOwnMachine([] { return mount("none", "/proc", "proc", 0, nullptr) == 0; }, work);
}

// For tests that need such an environment.
class OwnSurroundings : public testing::Test {
  protected:
    void SetUp() override {
        int status = 0;
        const auto enter = [] { return mount("none", "/proc", "proc", 0, nullptr) == 0; };
        InOwnMachine(
            enter, [] { return std::string(); }, &status);
        if (status == kRefusedByTheKernel) GTEST_SKIP() << "this system refuses namespaces";
    }
};

}  // namespace services
