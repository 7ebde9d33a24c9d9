#include "util/command.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <initializer_list>

#include "util/io.h"
#include "util/signal_gate.h"
#include "util/wipe.h"

namespace {

constexpr int kReadsAtOnce = 64;
constexpr std::size_t kMostOutput = 16 << 20;

// What a command has instead of the terminal: an end of a pipe, or none.
struct Redirection {
    int input = -1;
    int output = -1;  // with standard error dropped
};

// Starts /bin/sh on the command; -1 when that fails.
pid_t StartShell(const std::string& command, const Redirection& redirection) {
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_t actions;
    if (posix_spawnattr_init(&attributes) != 0) return -1;
    if (posix_spawn_file_actions_init(&actions) != 0) {
        posix_spawnattr_destroy(&attributes);
        return -1;
    }
    sigset_t defaults;
    sigset_t mask;
    sigemptyset(&defaults);
    for (int number : {SIGCHLD, SIGINT, SIGQUIT})
        sigaddset(&defaults, number);
    sigemptyset(&mask);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setsigmask(&attributes, &mask);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    if (redirection.input >= 0) {
        posix_spawn_file_actions_adddup2(&actions, redirection.input, STDIN_FILENO);
    }
    if (redirection.output >= 0) {
        posix_spawn_file_actions_adddup2(&actions, redirection.output, STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    }
    char shell[] = "sh";
    char flag[] = "-c";
    // No copy: the command may hold a password, and its owner wipes it.
    char* arguments[] = {shell, flag, const_cast<char*>(command.c_str()), nullptr};
    pid_t pid = -1;
    const int failure = posix_spawn(&pid, "/bin/sh", &actions, &attributes, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    return failure == 0 ? pid : -1;
}

// Where SIGCHLD is ignored the kernel reaps the child itself: the wait then ends with ECHILD.
int WaitFor(pid_t pid) {
    const OpenSignalGate open;
    int status = -1;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

// Where SIGCHLD is ignored the kernel keeps no status: it does as long as this lives.
struct StatusKept {
    StatusKept() {
        struct sigaction keep = {};
        keep.sa_handler = SIG_DFL;
        sigaction(SIGCHLD, &keep, &before);
    }
    ~StatusKept() {
        sigaction(SIGCHLD, &before, nullptr);
        // Those that ended meanwhile would never be reaped.
        while (before.sa_handler == SIG_IGN && waitpid(-1, nullptr, WNOHANG) > 0) {
        }
    }
    StatusKept(const StatusKept&) = delete;
    StatusKept& operator=(const StatusKept&) = delete;

    struct sigaction before = {};
};

// Until the pipe has something to read or is at its end; ending signals are let in meanwhile.
void WaitForOutput(int descriptor) {
    pollfd output = {descriptor, POLLIN, 0};
    const OpenSignalGate open;
    poll(&output, 1, -1);
}

// A command that has ended without reading must not end this program by SIGPIPE.
void WriteWithoutSignal(int descriptor, std::initializer_list<std::string_view> texts) {
    sigset_t broken_pipe;
    sigset_t before;
    sigemptyset(&broken_pipe);
    sigaddset(&broken_pipe, SIGPIPE);
    sigprocmask(SIG_BLOCK, &broken_pipe, &before);
    for (std::string_view text : texts) {
        if (!WriteAll(descriptor, text)) break;
    }
    const timespec now = {};
    sigtimedwait(&broken_pipe, nullptr, &now);
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

bool IsWordByte(unsigned char byte) {
    return byte < 0x80 &&
           (std::isalnum(byte) != 0 ||
            std::string_view("%+,-./:=@_").find(static_cast<char>(byte)) != std::string_view::npos);
}

}  // namespace

int RunCommand(const std::string& command) {
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
    running.pid = StartShell(command, {.output = ends[1]});
    close(ends[1]);
    if (running.pid < 0) {
        close(ends[0]);
        return std::nullopt;
    }
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    running.descriptor = ends[0];
    return running;
}

bool ReadAvailable(RunningCommand& command) {
    char buffer[4096];
    for (int reads = 0; command.descriptor >= 0; ++reads) {
        // A command that never stops writing must not hold up the keys, nor eat the memory.
        if (reads == kReadsAtOnce) return false;
        const ssize_t count = read(command.descriptor, buffer, sizeof buffer);
        if (count > 0) {
            command.output.append(buffer, static_cast<size_t>(count));
            if (command.output.size() > kMostOutput) Abandon(command);
        } else if (count < 0 && errno == EAGAIN) {
            return false;
        } else if (count == 0 || errno != EINTR) {
            Abandon(command);
        }
    }
    return true;
}

void Abandon(RunningCommand& command) {
    if (command.descriptor >= 0) close(command.descriptor);
    command.descriptor = -1;
}

std::optional<std::string> CommandOutput(const std::string& command) {
    auto running = StartCommand(command);
    if (!running) return std::nullopt;
    while (!ReadAvailable(*running))
        WaitForOutput(running->descriptor);
    WaitFor(running->pid);
    return std::move(running->output);
}

int FeedCommand(const std::string& command, std::initializer_list<std::string_view> input,
                std::string* secret) {
    const StatusKept kept;
    int ends[2] = {-1, -1};
    pid_t pid = -1;
    if (pipe2(ends, O_CLOEXEC) == 0) {
        pid = StartShell(command, {.input = ends[0]});
        close(ends[0]);
        if (pid > 0) WriteWithoutSignal(ends[1], input);
        close(ends[1]);
    }
    if (secret != nullptr) Wipe(*secret);
    return pid > 0 ? WaitFor(pid) : -1;
}

std::string ShellWord(std::string_view name) {
    bool plain = !name.empty();
    for (char c : name)
        plain = plain && IsWordByte(static_cast<unsigned char>(c));
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
