// Starts a program in which one system call fails:
//
//     inject CALL WHEN ERROR PROGRAM [ARG...]
//
// The WHEN-th call of that number (from 1; 0: none) returns the error and is not executed. Then
// /tmp/injected holds its first two arguments as numbers, and as strings where they are strings.
// The program's pauses return at once. Its commands are not affected.
//
// The kernel passes these calls, and no others, to a separate process (seccomp's user
// notification). A tracer would stop the program twice at every call.
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Fault {
    int call;
    int when;
    int error;
};

constexpr int kCannotStart = 126;
constexpr int kNone = -1;
constexpr size_t kLongestText = 200;

// Passes these calls of the program and its commands to the reader of the returned descriptor.
int ShowCalls(int call) {
    sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call), 1, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_clock_nanosleep, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program = {sizeof filter / sizeof *filter, filter};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    return static_cast<int>(
        syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &program));
}

// The string at an address of the process; "" if there is none.
const char* TextAt(pid_t process, unsigned long long address, char (&text)[kLongestText]) {
    iovec here = {text, sizeof text - 1};
    iovec there = {reinterpret_cast<void*>(address), sizeof text - 1};
    const ssize_t length = process_vm_readv(process, &here, 1, &there, 1, 0);
    text[length > 0 ? length : 0] = '\0';
    for (const char* at = text; *at != '\0'; ++at)
        if (*at < ' ' || *at > '~') return "";
    return text;
}

void WriteDown(const seccomp_notif& call) {
    char first[kLongestText], second[kLongestText];
    const auto process = static_cast<pid_t>(call.pid);
    const unsigned long long* arguments =
        reinterpret_cast<const unsigned long long*>(call.data.args);
    const int file = open("/tmp/injected", O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    dprintf(file, "%llu %llu \"%s\" \"%s\"\n", arguments[0], arguments[1],
            TextAt(process, arguments[0], first), TextAt(process, arguments[1], second));
    close(file);
}

[[noreturn]] void MeetCalls(pid_t program, volatile int* listener, const Fault& fault) {
    setsid();
    for (int descriptor = 0; descriptor < 64; ++descriptor)
        close(descriptor);
    while (*listener == kNone)
        usleep(100);
    const auto process = static_cast<int>(syscall(SYS_pidfd_open, program, 0));
    const auto calls = static_cast<int>(syscall(SYS_pidfd_getfd, process, *listener, 0));
    *listener = kNone;
    for (int count = 0;;) {
        pollfd waiting = {calls, POLLIN, 0};
        poll(&waiting, 1, -1);
        if ((waiting.revents & POLLIN) == 0) _exit(0);  // all processes have ended
        seccomp_notif call{};
        if (ioctl(calls, SECCOMP_IOCTL_NOTIF_RECV, &call) != 0) continue;
        seccomp_notif_resp answer{};
        answer.id = call.id;
        answer.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
        const bool is_ours = static_cast<pid_t>(call.pid) == program;
        if (is_ours && call.data.nr == SYS_clock_nanosleep) answer.flags = 0;
        if (is_ours && call.data.nr == fault.call && ++count == fault.when) {
            WriteDown(call);
            answer.flags = 0;
            answer.error = -fault.error;
        }
        ioctl(calls, SECCOMP_IOCTL_NOTIF_SEND, &answer);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 5) return kCannotStart;
    const Fault fault = {atoi(argv[1]), atoi(argv[2]), atoi(argv[3])};
    constexpr int kHow = MAP_SHARED | MAP_ANONYMOUS;
    auto* listener =
        static_cast<volatile int*>(mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, kHow, -1, 0));
    *listener = kNone;
    const pid_t program = getpid();
    if (fork() == 0) {
        if (fork() == 0) MeetCalls(program, listener, fault);
        _exit(0);
    }
    wait(nullptr);
    const int shown = ShowCalls(fault.call);
    if (shown < 0) {
        perror("inject");
        return kCannotStart;
    }
    *listener = shown;
    while (*listener != kNone) {  // without a system call, which would be counted
    }
    execv(argv[4], argv + 4);
    return kCannotStart;
}
