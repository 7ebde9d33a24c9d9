// Counts real processes whose programs are links, deleted, replaced, finished or unreadable.
#include "services/process_usage.h"

#include <dirent.h>
#include <poll.h>

#include <algorithm>
#include <ctime>
#include <iostream>
#include <memory>
#include <vector>

#include "services/services_fixtures.h"
#include "util/utility_fixtures.h"

namespace {

using services::AmongOwnProcesses;
using services::InOwnRoot;

constexpr const char* kProgram = "/bin/cat";

int Users(const std::string& path) {
    return procfs_path_in_use(path.c_str());
}

std::string CopyProgram(const std::string& path) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::filesystem::copy_file(kProgram, path);
    return path;
}

// A process of that program, until the destructor.
struct Running : RunningProcess {
    explicit Running(const std::string& path) : RunningProcess({path}, path) {}
};

TEST(ProcfsPathInUse, CountsProcesses) {
    const TemporaryFolder folder;
    const std::string path = CopyProgram(folder.path + "/volkeep");
    EXPECT_EQ(Users(path), 0);
    const auto first = std::make_unique<Running>(path);
    EXPECT_EQ(Users(path), 1);
    {
        const Running second(path);
        const Running third(path);
        EXPECT_EQ(Users(path), 3);
    }
    EXPECT_EQ(Users(path), 1);
}

TEST(ProcfsPathInUse, AMissingExecutableHasNoUsers) {
    const TemporaryFolder folder;
    EXPECT_EQ(Users(folder.path + "/volkeep"), 0);
    EXPECT_EQ(Users(folder.path + "/none/volkeep"), 0);
    EXPECT_EQ(Users("/"), 0);
    EXPECT_EQ(Users(""), 0);
}

TEST(ProcfsPathInUse, OtherProgramsDoNotCount) {
    const TemporaryFolder folder;
    const std::string path = CopyProgram(folder.path + "/sbin/volkeep");
    const Running longer(CopyProgram(folder.path + "/sbin/volkeep-start"));
    const Running shorter(CopyProgram(folder.path + "/sbin/volkee"));
    const Running elsewhere(CopyProgram(folder.path + "/local/volkeep"));
    EXPECT_EQ(Users(path), 0);
    EXPECT_EQ(Users(folder.path + "/sbin"), 0);
}

// A process carries the program's first argument, and a name of its own choice; neither says what
// it really runs.
TEST(ProcfsPathInUse, WhatAProcessCallsItselfDoesNotCount) {
    const TemporaryFolder folder;
    const std::string path = CopyProgram(folder.path + "/volkeep");
    const RunningProcess pretender({path});
    EXPECT_EQ(Users(path), 0);
}

// As on a merged system, where /sbin is a link to usr/sbin.
TEST(ProcfsPathInUse, FollowsLinksInTheFolders) {
    const TemporaryFolder folder;
    const std::string real = CopyProgram(folder.path + "/usr/sbin/volkeep");
    std::filesystem::create_symlink("usr/sbin", folder.path + "/sbin");
    const std::string spelt = folder.path + "/sbin/volkeep";
    const Running by_link(spelt);
    EXPECT_EQ(Users(spelt), 1);
    EXPECT_EQ(Users(real), 1);
    const Running by_real_name(real);
    EXPECT_EQ(Users(spelt), 2);
    EXPECT_EQ(Users(real), 2);
    EXPECT_EQ(Users(folder.path + "//sbin/../sbin/./volkeep"), 2);
}

TEST(ProcfsPathInUse, FollowsALinkToTheExecutable) {
    const TemporaryFolder folder;
    const std::string real = CopyProgram(folder.path + "/lib/volkeep-2");
    const std::string link = folder.path + "/volkeep";
    std::filesystem::create_symlink("lib/volkeep-2", link);
    const Running process(link);
    EXPECT_EQ(Users(link), 1);
    EXPECT_EQ(Users(real), 1);
}

TEST(ProcfsPathInUse, ADeletedExecutableStillCounts) {
    const TemporaryFolder folder;
    const std::string real = CopyProgram(folder.path + "/usr/sbin/volkeep");
    std::filesystem::create_symlink("usr/sbin", folder.path + "/sbin");
    const Running process(real);
    std::filesystem::remove(real);
    EXPECT_EQ(Users(real), 1);
    EXPECT_EQ(Users(folder.path + "/sbin/volkeep"), 1);
}

TEST(ProcfsPathInUse, AReplacedExecutableStillCounts) {
    const TemporaryFolder folder;
    const std::string path = CopyProgram(folder.path + "/volkeep");
    const Running old_one(path);
    std::filesystem::remove(path);
    CopyProgram(path);
    EXPECT_EQ(Users(path), 1);
    const Running new_one(path);
    EXPECT_EQ(Users(path), 2);
}

TEST(ProcfsPathInUse, AFinishedProcessDoesNotCount) {
    const TemporaryFolder folder;
    const std::string path = CopyProgram(folder.path + "/volkeep");
    const Running ended(path);
    ended.EndUnreaped();
    EXPECT_EQ(Users(path), 0);
}

TEST(ProcfsPathInUse, LeavesNoDescriptorOpen) {
    const auto open_files = [] {
        const auto folder = std::filesystem::directory_iterator("/proc/self/fd");
        return std::distance(begin(folder), end(folder));
    };
    const auto before = open_files();
    for (int i = 0; i < 20; i++)
        Users(kProgram);
    EXPECT_EQ(open_files(), before);
}

// ---- among other processes ----

using ProcfsPathInUseApart = services::OwnSurroundings;

TEST_F(ProcfsPathInUseApart, WithoutProcNothingRuns) {
    EXPECT_EQ(InOwnRoot([] {
                  umount2("/proc", MNT_DETACH);
                  const int in_an_empty_folder = Users("/sbin/volkeep");
                  std::filesystem::remove("/proc");
                  return std::to_string(in_an_empty_folder + Users("/sbin/volkeep"));
              }),
              "0");
}

TEST_F(ProcfsPathInUseApart, SkipsProcessesThatItMayNotInspect) {
    if (geteuid() != 0) GTEST_SKIP() << "needs another user";
    const TemporaryFolder folder;
    std::filesystem::permissions(folder.path, std::filesystem::perms(0755));
    const std::string path = CopyProgram(folder.path + "/volkeep");
    EXPECT_EQ(AmongOwnProcesses([&] {
                  const Running theirs(path);
                  if (setgid(65534) != 0 || setuid(65534) != 0) return std::string("still root");
                  const Running own(path);
                  return std::to_string(Users(path));
              }),
              "1");
}

// Processes that start and exit as fast as they can, and two that stay.
TEST_F(ProcfsPathInUseApart, ProcessesMayExitMeanwhile) {
    const TemporaryFolder folder;
    const std::string path = CopyProgram(folder.path + "/volkeep");
    EXPECT_EQ(AmongOwnProcesses([&] {
                  const Running first(path);
                  const pid_t churn = fork();
                  while (churn == 0) {
                      const pid_t brief = fork();
                      if (brief == 0) _exit(0);
                      waitpid(brief, nullptr, 0);
                  }
                  const Running last(path);
                  int wrong = 0;
                  for (int i = 0; i < 500; i++)
                      wrong += Users(path) != 2 ? 1 : 0;
                  kill(churn, SIGKILL);
                  return std::to_string(wrong) + " wrong";
              }),
              "0 wrong");
}

int Sleep(void* /*nothing*/) {
    for (;;)
        pause();
}

// Of this process, however busy the machine is.
double ProcessorMilliseconds() {
    timespec time = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

// The services screen counts at every rebuild, so it must not be noticeable.
TEST_F(ProcfsPathInUseApart, TwoThousandProcessesTakeMilliseconds) {
    constexpr std::size_t kProcesses = 2000;
    constexpr std::size_t kStack = 16384;
    constexpr int kRounds = 21;
    const TemporaryFolder folder;
    const std::string path = CopyProgram(folder.path + "/volkeep");
    const std::string said = AmongOwnProcesses([&] {
        const Running process(path);
        std::vector<char> stacks(kProcesses * kStack);
        for (std::size_t i = 1; i < kProcesses; i++)
            clone(Sleep, stacks.data() + i * kStack, CLONE_VM | SIGCHLD, nullptr);
        std::vector<double> times;
        for (int i = 0; i < kRounds; i++) {
            const double start = ProcessorMilliseconds();
            if (Users(path) != 1) return std::string("wrong count");
            times.push_back(ProcessorMilliseconds() - start);
        }
        std::sort(times.begin(), times.end());
        return std::to_string(times[kRounds / 2]);
    });
    std::cout << "median of " << kRounds << " looks at " << kProcesses << " processes: " << said
              << " ms\n";
    ASSERT_NE(said, "wrong count");
    // Half a second would be noticeable; a slower machine must stay below it, too.
    EXPECT_LT(std::stod(said), 200.0);
}

}  // namespace
