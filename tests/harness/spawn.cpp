#include "spawn.h"

#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace harness {
namespace {

// What the child sends back: its pid, or the step that failed.
struct Report {
    pid_t pid = 0;
    int error = 0;
    char step[48] = "";
};

[[noreturn]] void GiveUp(int pipe, const char* step) {
    Report report;
    report.error = errno;
    strncpy(report.step, step, sizeof report.step - 1);
    if (write(pipe, &report, sizeof report) < 0) _exit(126);
    _exit(127);
}

void EnterMachine(const Doorway& machine, int pipe) {
    const int user = machine.own_users ? CLONE_NEWUSER : 0;
    constexpr int kRest = CLONE_NEWNS | CLONE_NEWUTS | CLONE_NEWIPC | CLONE_NEWNET | CLONE_NEWPID;
    if (setns(machine.process.get(), user | kRest) != 0) GiveUp(pipe, "setns");
    // The root of the mount namespace may differ from the machine's root, which may be a chroot.
    if (fchdir(machine.root.get()) != 0 || chroot(".") != 0 || chdir("/") != 0) {
        GiveUp(pipe, "chroot");
    }
}

void ResetSignals(const std::vector<int>& ignored) {
    for (int number = 1; number < NSIG; number++) {
        const bool ignore = std::find(ignored.begin(), ignored.end(), number) != ignored.end();
        signal(number, ignore ? SIG_IGN : SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

// Moves the descriptors to 0, 1 and 2, by way of copies so that none is overwritten before use.
void PlaceDescriptors(const Spawning& what, int pipe) {
    const int wanted[] = {what.input, what.output, what.error};
    int copies[3];
    for (int i = 0; i < 3; i++) {
        copies[i] = wanted[i] >= 0 ? fcntl(wanted[i], F_DUPFD, 10) : open("/dev/null", O_RDWR);
        if (copies[i] < 0) GiveUp(pipe, "descriptors");
    }
    for (int i = 0; i < 3; i++)
        dup2(copies[i], i);
    close_range(3, static_cast<unsigned>(pipe) - 1, 0);
    close_range(static_cast<unsigned>(pipe) + 1, ~0U, 0);
}

void BecomeUser(uid_t user, int pipe) {
    if (user == 0) return;
    if (setgroups(0, nullptr) != 0 || setresgid(user, user, user) != 0 ||
        setresuid(user, user, user) != 0) {
        GiveUp(pipe, "setuid");
    }
}

std::vector<char*> Pointers(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (const std::string& text : texts)
        pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

[[noreturn]] void Execute(const Spawning& what, char* const* words, char* const* environment,
                          int pipe) {
    if (setsid() < 0) GiveUp(pipe, "setsid");
    if (what.terminal >= 0 && ioctl(what.terminal, TIOCSCTTY, 0) != 0) GiveUp(pipe, "terminal");
    PlaceDescriptors(what, pipe);
    BecomeUser(what.user, pipe);
    ResetSignals(what.ignored_signals);
    execve(words[0], words, environment);
    GiveUp(pipe, "execute");
}

}  // namespace

void Descriptor::Close() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
}

Started Spawn(const Doorway& machine, const Spawning& what) {
    std::vector<char*> words = Pointers(what.words);
    std::vector<char*> environment = Pointers(what.environment);
    int ends[2];
    Started started;
    if (pipe2(ends, O_CLOEXEC) != 0) {
        started.error = "pipe: " + std::string(strerror(errno));
        return started;
    }
    Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);

    const pid_t porter = fork();
    if (porter == 0) {
        EnterMachine(machine, ends[1]);
        // Only children of the process that entered are in the machine's PID namespace.
        // CLONE_PARENT makes the program a child of the test, which can then wait for it.
        const long child = syscall(SYS_clone, CLONE_PARENT | SIGCHLD, 0, 0, 0, 0);
        if (child < 0) GiveUp(ends[1], "clone");
        if (child == 0) Execute(what, words.data(), environment.data(), ends[1]);
        Report report;
        report.pid = static_cast<pid_t>(child);
        _exit(write(ends[1], &report, sizeof report) < 0 ? 126 : 0);
    }
    writing.Close();
    if (porter > 0) waitpid(porter, nullptr, 0);

    Report report;
    while (read(reading.get(), &report, sizeof report) == sizeof report) {
        if (report.pid != 0) started.pid = report.pid;
        if (report.error != 0) {
            started.error = std::string(report.step) + ": " + strerror(report.error);
        }
    }
    if (started.pid < 0 && started.error.empty()) started.error = "fork failed";
    if (!started.error.empty()) {
        if (started.pid > 0) waitpid(started.pid, nullptr, 0);
        return started;
    }
    started.process = OpenProcess(started.pid);
    return started;
}

Descriptor OpenProcess(pid_t pid) {
    return Descriptor(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
}

std::string ReadWhole(int fd) {
    std::string text;
    char chunk[16384];
    for (;;) {
        const ssize_t got = pread(fd, chunk, sizeof chunk, static_cast<off_t>(text.size()));
        if (got <= 0) return text;
        text.append(chunk, static_cast<size_t>(got));
    }
}

std::string ReadWhole(const std::string& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return file ? ReadWhole(file.get()) : "";
}

Descriptor MemoryFile() {
    return Descriptor(memfd_create("harness", MFD_CLOEXEC));
}

double Now() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

}  // namespace harness
