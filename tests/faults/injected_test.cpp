// System calls that fail, one at a time, on a tour through every screen: the program ends properly,
// every file that it saves is the old or the new one, and the terminal is restored.
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "seed.h"
#include "tour.h"

namespace harness::faults {
namespace {

// How a system call fails.
struct Fault {
    const char* name;
    int call;
    int error;
};

std::ostream& operator<<(std::ostream& out, const Fault& fault) {
    return out << fault.name << "_" << strerrorname_np(fault.error);
}

constexpr Fault kFaults[] = {
    {"openat", SYS_openat, EMFILE},
    {"openat", SYS_openat, EACCES},
    {"read", SYS_read, EIO},
    {"read", SYS_read, EINTR},
    {"write", SYS_write, ENOSPC},
    {"write", SYS_write, EINTR},
    {"clone", SYS_clone, EAGAIN},
    {"pipe2", SYS_pipe2, EMFILE},
    {"socket", SYS_socket, EMFILE},
    {"socket", SYS_socket, EPERM},
    {"ioctl", SYS_ioctl, EIO},
    {"ioctl", SYS_ioctl, ENODEV},
    {"fsync", SYS_fsync, EIO},
    {"fchmod", SYS_fchmod, EPERM},
    {"fchown", SYS_fchown, EPERM},
    {"wait4", SYS_wait4, EINTR},
    {"wait4", SYS_wait4, ECHILD},
    {"newfstatat", SYS_newfstatat, EACCES},
    {"readlinkat", SYS_readlinkat, EACCES},
    {"getdents64", SYS_getdents64, EIO},
    {"fcntl", SYS_fcntl, EINVAL},
    {"sethostname", SYS_sethostname, EPERM},
    {"ppoll", SYS_ppoll, EINTR},
    {"ppoll", SYS_ppoll, ENOMEM},
    {"prlimit64", SYS_prlimit64, EPERM},
    {"mmap", SYS_mmap, ENOMEM},
    {"clock_nanosleep", SYS_clock_nanosleep, EINTR},
    {"faccessat2", SYS_faccessat2, EACCES},
    {"linkat", SYS_linkat, ENOENT},
    {"linkat", SYS_linkat, ENOSPC},
    {"flock", SYS_flock, EINTR},
    {"flistxattr", SYS_flistxattr, EIO},
    {"flistxattr", SYS_flistxattr, EPERM},
    {"fgetxattr", SYS_fgetxattr, EIO},
    {"fsetxattr", SYS_fsetxattr, ENOSPC},
    {"fsetxattr", SYS_fsetxattr, EOPNOTSUPP},
    {"getrandom", SYS_getrandom, ENOSYS},
    {"prctl", SYS_prctl, EINVAL},
    {"setpgid", SYS_setpgid, EACCES},
    {"kill", SYS_kill, EPERM},
    {"rt_sigtimedwait", SYS_rt_sigtimedwait, EINTR},
#ifdef SYS_poll  // newer architectures lack the older calls
    {"vfork", SYS_vfork, EAGAIN},
    {"rename", SYS_rename, ENOSPC},
    {"rename", SYS_rename, EBUSY},
    {"unlink", SYS_unlink, EPERM},
    {"chmod", SYS_chmod, EPERM},
    {"mkdir", SYS_mkdir, EACCES},
    {"readlink", SYS_readlink, EACCES},
    {"poll", SYS_poll, EINTR},
    {"poll", SYS_poll, ENOMEM},
    {"access", SYS_access, EACCES},
#endif
};

// The other calls of a tour: those of the loader and of the start, those that can't fail with valid
// arguments (brk reports no error), and close, which has its own test.
constexpr const char* kOthers =
    "arch_prctl brk close execve exit_group futex getegid geteuid getgid getuid mprotect munmap "
    "pread64 rseq rt_sigaction rt_sigprocmask set_robust_list set_tid_address sigaltstack umask "
    "uname";

// A sanitizer ends the program if it gets no memory for itself.
bool IsLeftOut(const Fault& fault) {
    return HasSanitizers() && fault.call == SYS_mmap;
}

// The names of the calls on an undisturbed tour, in order.
std::vector<std::string> CallsOfATour(TourBox& box, void (*tour)(Terminal&)) {
    Terminal t(box, Traced(box, "/.*"));
    tour(t);
    EXPECT_EQ(t.WaitExit(), Exited(0));
    std::vector<std::string> calls;
    std::istringstream trace(box.Read(kTrace));
    for (std::string line; std::getline(trace, line);)
        calls.push_back(line.substr(0, line.find('(')));
    return calls;
}

// Which occurrences of a call to fail. The first ones are left out: the loader makes them, before
// the program runs its first command.
struct Occurrences {
    int first;
    int last;
};

Occurrences OccurrencesOf(const std::string& call, const std::vector<std::string>& calls) {
    const auto start = std::find(calls.begin(), calls.end(), "clone");
    return {1 + static_cast<int>(std::count(calls.begin(), start, call)),
            static_cast<int>(std::count(calls.begin(), calls.end(), call))};
}

// A terminal that refuses its settings, or loses output, can't be restored.
bool IsOfTheTerminal(const Fault& fault, const std::string& arguments) {
    unsigned long long first = 0, second = 0;
    std::istringstream(arguments) >> first >> second;
    return (fault.call == SYS_write && first == STDOUT_FILENO) ||
           (fault.call == SYS_ioctl &&
            (second == TCSETS || second == TCSETSW || second == TCSETSF));
}

// A tour with one failing call; false if the program did not make that many calls.
bool TourWithFault(TourBox& box, const Fault& fault, int occurrence, void (*tour)(Terminal&),
                   std::map<int, int>& endings) {
    box.Reset();
    box.Remove(kInjected);
    Terminal t(box, Hasty(box, {fault.call, occurrence, fault.error}));
    tour(t);
    const Ending ending = EndTour(t);
    ++endings[ending.signal != 0 ? 128 + ending.signal : ending.status];
    const std::string injected = box.Exists(kInjected) ? box.Read(kInjected) : "";
    const std::string damage =
        box.Damage(injected) + (IsOfTheTerminal(fault, injected) ? "" : TerminalDamage(t));
    if (!IsOrderly(ending) || !damage.empty()) {
        ADD_FAILURE() << fault << " " << occurrence << ": " << ending << "\n"
                      << injected << damage
                      << t.Output().substr(std::max<size_t>(t.Output().size(), 300) - 300);
    }
    return !injected.empty();
}

// Parallel jobs share the faults.
constexpr int kShares = 3;

class Faults : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Shares, Faults, testing::Range(0, kShares));

TEST_P(Faults, TheProgramSurvivesSomeOfEachKind) {
    Chance chance(Game::kSame);
    TourBox box;
    const std::vector<std::string> calls = CallsOfATour(box, RushTour);
    std::map<int, int> endings;
    int chosen = 0;
    for (const Fault& fault : kFaults) {
        const Occurrences range = OccurrencesOf(fault.name, calls);
        if (IsLeftOut(fault) || range.last < range.first || chance.Between(0, 3) != 0) continue;
        const int occurrence = chance.Between(range.first, range.last);
        if (chosen++ % kShares == GetParam())
            TourWithFault(box, fault, occurrence, RushTour, endings);
    }
}

TEST(WholeFaults, AreTriedOnEveryCallOfATour) {
    TourBox box;
    const std::vector<std::string> calls = CallsOfATour(box, RushTour);
    std::set<std::string> untried(calls.begin(), calls.end());
    for (const Fault& fault : kFaults)
        untried.erase(fault.name);
    std::istringstream others(kOthers);
    for (std::string call; others >> call;)
        untried.erase(call);
    EXPECT_EQ(untried, std::set<std::string>());
}

class WholeTour : public testing::TestWithParam<Fault> {};

TEST_P(WholeTour, SurvivesEachFault) {
    if (IsLeftOut(GetParam())) GTEST_SKIP() << "not with a sanitizer";
    TourBox box;
    const Occurrences range = OccurrencesOf(GetParam().name, CallsOfATour(box, RushTour));
    std::map<int, int> endings;
    int injected = 0;
    for (int n = range.first;
         TourWithFault(box, GetParam(), n, RushTour, endings) || n < range.last; ++n)
        ++injected;
    std::cout << "FAULTS " << GetParam() << ": " << injected << " injected; ended with";
    for (const auto& [status, count] : endings)
        std::cout << " " << status << " (" << count << ")";
    std::cout << std::endl;
}

INSTANTIATE_TEST_SUITE_P(Whole, WholeTour, testing::ValuesIn(kFaults),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace harness::faults
