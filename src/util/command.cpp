#include "util/command.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <utility>
#include <vector>

#include "util/clock.h"
#include "util/io.h"
#include "util/signal_gate.h"

namespace {

constexpr int kReadsAtOnce = 64;
constexpr std::size_t kMostOutput = 16 << 20;
constexpr int kNoShell = 127;

// The process groups of the background commands.
std::vector<pid_t> running_groups;

// What replaces the terminal for a command: an end of a pipe, or nothing.
struct Redirection {
    int input = -1;
    int output = -1;  // only for background commands
};

// In the new process, which has its own signals and descriptors, but must not change memory. All
// signals are at their defaults, except that SIGHUP stays ignored under nohup, and is ignored by a
// deaf shell. Returns if there is no shell.
void ExecuteShell(char* const* arguments, const Redirection& redirection, bool is_deaf) {
    struct sigaction action = {};
    if (redirection.output >= 0) {
        setpgid(0, 0);
        // Ignoring discards a Ctrl-Z that has come before: nobody would continue the child.
        action.sa_handler = SIG_IGN;
        sigaction(SIGTSTP, &action, nullptr);
        action.sa_handler = SIG_DFL;
    }
    for (int number = 1; number < NSIG; ++number) {
        if (number != SIGHUP) sigaction(number, &action, nullptr);
    }
    action.sa_handler = SIG_IGN;
    if (is_deaf) sigaction(SIGHUP, &action, nullptr);
    sigprocmask(SIG_SETMASK, &action.sa_mask, nullptr);
    if (redirection.input >= 0) dup2(redirection.input, STDIN_FILENO);
    if (redirection.output >= 0) {
        dup2(redirection.output, STDOUT_FILENO);
        const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
        dup2(nothing, STDIN_FILENO);
        dup2(nothing, STDERR_FILENO);
    }
    execv("/bin/sh", arguments);
}

// Runs the command with /bin/sh; -1 if no process can be created, and for background commands also
// if there is no shell.
pid_t StartShell(const char* command, const Redirection& redirection) {
    char shell[] = "sh";
    char flag[] = "-c";
    // Not copied: the command may contain a password, and its owner erases it.
    char* const arguments[] = {shell, flag, const_cast<char*>(command), nullptr};
    const bool is_beside = redirection.output >= 0;
    const bool is_deaf = HangUpIsHeld() && !is_beside;
    volatile bool has_shell = true;
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, &before);
    // After vfork the child runs in this memory until it executes the shell, and this process waits
    // for that. It saves copying the page tables for dozens of commands. On the terminal, Ctrl-Z
    // may stop the child before that, and then has to stop this process, too.
    const pid_t pid = is_beside ? vfork() : fork();  // NOLINT(clang-analyzer-unix.Vfork)
    if (pid == 0) {
        ExecuteShell(arguments, redirection, is_deaf);
        has_shell = false;
        _exit(kNoShell);
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
    if (has_shell) return pid;
    waitpid(pid, nullptr, 0);
    return -1;
}

// If SIGCHLD is ignored, the kernel reaps the child, and the wait ends with ECHILD.
int WaitFor(pid_t pid) {
    const OpenSignalGate open;
    int status = -1;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

// If SIGCHLD is ignored, the kernel keeps no exit status; while this lives it does.
struct StatusKept {
    StatusKept() {
        struct sigaction keep = {};
        keep.sa_handler = SIG_DFL;
        sigaction(SIGCHLD, &keep, &before);
    }
    ~StatusKept() {
        sigaction(SIGCHLD, &before, nullptr);
        // Nobody else would reap the children that ended meanwhile.
        while (before.sa_handler == SIG_IGN && waitpid(-1, nullptr, WNOHANG) > 0) {
        }
    }
    StatusKept(const StatusKept&) = delete;
    StatusKept& operator=(const StatusKept&) = delete;

    struct sigaction before = {};
};

// Waits until the pipe is readable or at its end; ending signals are delivered meanwhile.
void AwaitPipe(int descriptor) {
    pollfd output = {descriptor, POLLIN, 0};
    const OpenSignalGate open;
    poll(&output, 1, -1);
}

// SIGPIPE must not end the program if the command ends without reading.
void WriteWithoutSignal(int descriptor, std::string_view text) {
    sigset_t broken_pipe;
    sigset_t before;
    sigemptyset(&broken_pipe);
    sigaddset(&broken_pipe, SIGPIPE);
    sigprocmask(SIG_BLOCK, &broken_pipe, &before);
    WriteAll(descriptor, text);
    const timespec now = {};
    sigtimedwait(&broken_pipe, nullptr, &now);
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

void StopListening(RunningCommand& command) {
    close(std::exchange(command.descriptor, -1));
    std::erase(running_groups, command.pid);
}

}  // namespace

int RunCommand(const char* command) {
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    struct sigaction interrupt = {};
    struct sigaction quit = {};
    sigaction(SIGINT, &ignore, &interrupt);
    sigaction(SIGQUIT, &ignore, &quit);
    const pid_t pid = StartShell(command, {});
    const int status = pid > 0 ? WaitFor(pid) : -1;
    sigaction(SIGINT, &interrupt, nullptr);
    sigaction(SIGQUIT, &quit, nullptr);
    return status;
}

std::optional<RunningCommand> StartCommand(const std::string& command) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
    RunningCommand running;
    running.started = MonotonicSeconds();
    running.pid = StartShell(command.c_str(), {.output = ends[1]});
    close(ends[1]);
    if (running.pid < 0) {
        close(ends[0]);
        return std::nullopt;
    }
    running_groups.push_back(running.pid);
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    running.descriptor = ends[0];
    return running;
}

bool ReadAvailable(RunningCommand& command) {
    char buffer[4096];
    for (int reads = 0; command.descriptor >= 0; ++reads) {
        // A command that never stops writing must neither delay the keys nor use up the memory.
        if (reads == kReadsAtOnce) return false;
        const ssize_t count = read(command.descriptor, buffer, sizeof buffer);
        if (count > 0) {
            command.output.append(buffer, static_cast<size_t>(count));
            if (command.output.size() > kMostOutput) EndCommand(command);
        } else if (count < 0 && errno == EAGAIN) {
            return false;
        } else if (count == 0 || errno != EINTR) {
            StopListening(command);
        }
    }
    return true;
}

void EndCommand(RunningCommand& command) {
    if (command.pid < 0) return;
    if (command.descriptor >= 0) StopListening(command);
    kill(-std::exchange(command.pid, -1), SIGKILL);
}

void EndAllCommands() {
    for (pid_t group : running_groups)
        kill(-group, SIGKILL);
    running_groups.clear();
}

std::optional<std::string> CommandOutput(const std::string& command) {
    auto running = StartCommand(command);
    if (!running) return std::nullopt;
    while (!ReadAvailable(*running))
        AwaitPipe(running->descriptor);
    if (running->pid > 0) WaitFor(running->pid);
    return std::move(running->output);
}

int FeedCommand(const std::string& command, Secret input) {
    const StatusKept kept;
    int ends[2] = {-1, -1};
    pid_t pid = -1;
    if (pipe2(ends, O_CLOEXEC) == 0) {
        pid = StartShell(command.c_str(), {.input = ends[0]});
        close(ends[0]);
        if (pid > 0) WriteWithoutSignal(ends[1], input.text());
        close(ends[1]);
    }
    input = Secret(0);
    return pid > 0 ? WaitFor(pid) : -1;
}

bool AskBeside(bool (*question)(const char* subject), const std::string& subject) {
    const StatusKept kept;
    const pid_t pid = fork();
    if (pid == 0) _exit(question(subject.c_str()) ? 0 : 1);
    if (pid < 0) return false;
    setpgid(pid, pid);
    running_groups.push_back(pid);
    const int status = WaitFor(pid);
    std::erase(running_groups, pid);
    return status == 0;
}

std::string ShellWord(std::string_view name) {
    constexpr std::string_view kPlain =
        "%+,-./:=@_0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    const bool plain = !name.empty() && name.find_first_not_of(kPlain) == std::string_view::npos;
    return plain ? std::string(name) : QuotedWord(name);
}

std::string QuotedWord(std::string_view text) {
    std::string word = "'";
    for (char c : text) {
        if (c == '\'') {
            word += "'\\''";
        } else {
            word += c;
        }
    }
    return word + "'";
}

void Pause(unsigned seconds) {
    timespec left = {};
    left.tv_sec = static_cast<time_t>(seconds);
    const OpenSignalGate open;
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}
