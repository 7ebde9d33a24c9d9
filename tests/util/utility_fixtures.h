// Environments for the tests of the utility routines: pipes and processes, undone by destructors,
// and changed systems (another root, network or kernel), which end with the child process that made
// them.
#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <ucontext.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "util/folder_fixtures.h"

// A pipe whose ends are closed on exec and with the object.
struct Pipe {
    explicit Pipe(int flags = 0) {
        if (pipe2(ends.data(), O_CLOEXEC | flags) != 0) std::abort();
    }
    ~Pipe() {
        CloseReader();
        CloseWriter();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    [[nodiscard]] int Reader() const { return ends[0]; }
    [[nodiscard]] int Writer() const { return ends[1]; }
    // The path under which this process and its children can open the read end.
    [[nodiscard]] std::string ReaderPath() const {
        return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(Reader());
    }
    void CloseReader() { Close(ends[0]); }
    void CloseWriter() { Close(ends[1]); }

    void Write(const std::string& text) const {
        if (write(Writer(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
            std::abort();
        }
    }
    [[nodiscard]] std::string ReadToEnd() const {
        std::string text;
        char byte = 0;
        while (read(Reader(), &byte, 1) == 1)
            text += byte;
        return text;
    }

    static void Close(int& end) {
        if (end >= 0) close(end);
        end = -1;
    }

    std::array<int, 2> ends = {-1, -1};
};

// A process that shows these arguments in /proc. It runs once the constructor returns, and is gone
// after the destructor. The program is cat, or a copy of it, which replies when it runs; so
// arguments after the first must be "-", followed by names of files.
struct RunningProcess {
    explicit RunningProcess(std::vector<std::string> arguments,
                            const std::string& program = "/bin/cat") {
        std::vector<char*> vector;
        vector.reserve(arguments.size() + 1);
        for (std::string& argument : arguments)
            vector.push_back(argument.data());
        vector.push_back(nullptr);
        pid = fork();
        if (pid < 0) std::abort();
        if (pid == 0) {
            dup2(input.Reader(), STDIN_FILENO);
            dup2(output.Writer(), STDOUT_FILENO);
            execv(program.c_str(), vector.data());
            _exit(1);
        }
        char echo = 0;
        input.Write(".");
        output.CloseWriter();
        if (read(output.Reader(), &echo, 1) != 1) std::abort();
    }
    ~RunningProcess() {
        kill(pid, SIGKILL);
        input.CloseWriter();  // ends it, too, if this process may no longer kill it
        waitpid(pid, nullptr, 0);
    }
    RunningProcess(const RunningProcess&) = delete;
    RunningProcess& operator=(const RunningProcess&) = delete;

    // Ends the process, but leaves it in /proc as a zombie until the destructor.
    void EndUnreaped() const {
        kill(pid, SIGKILL);
        siginfo_t ended = {};
        waitid(P_PID, static_cast<id_t>(pid), &ended, WEXITED | WNOWAIT);
    }

    Pipe input;
    Pipe output;
    pid_t pid;
};

// Sets how a signal is handled while the object lives. A handler interrupts system calls without
// restarting them.
struct SignalAction {
    SignalAction(int signal_number, void (*handler)(int)) : number(signal_number), before{} {
        struct sigaction action = {};
        action.sa_handler = handler;
        sigaction(number, &action, &before);
    }
    ~SignalAction() { sigaction(number, &before, nullptr); }
    SignalAction(const SignalAction&) = delete;
    SignalAction& operator=(const SignalAction&) = delete;

    int number;
    struct sigaction before;
};

enum class Prepared { kYes, kRefused };  // kRefused: by the kernel, or for this user

struct Answer {
    Prepared prepared;
    long value;          // LONG_MIN if the child died
    std::string output;  // what was written to standard output
};

#define SKIP_WHERE_REFUSED(answer) \
    if ((answer).prepared == Prepared::kRefused) GTEST_SKIP() << "not possible on this system"

// Changes the system in a child process, and returns what `question` returns there.
inline Answer AnswerInChild(const std::function<Prepared()>& prepare,
                            const std::function<long()>& question) {
    constexpr int kRefusedStatus = 77;
    Pipe value_pipe;
    Pipe output_pipe;
    fflush(stdout);
    const pid_t child = fork();
    if (child < 0) std::abort();
    if (child == 0) {
        if (prepare() == Prepared::kRefused) _exit(kRefusedStatus);
        dup2(output_pipe.Writer(), STDOUT_FILENO);
        const long value = question();
        fflush(stdout);
        value_pipe.Write(std::to_string(value));
        _exit(0);
    }
    value_pipe.CloseWriter();
    output_pipe.CloseWriter();
    Answer answer = {Prepared::kYes, LONG_MIN, output_pipe.ReadToEnd()};
    const std::string value = value_pipe.ReadToEnd();
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == kRefusedStatus) {
        answer.prepared = Prepared::kRefused;
    } else if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
        answer.value = std::stol(value);
    }
    return answer;
}

// The same in a system that is not changed.
inline Answer AnswerInChild(const std::function<long()>& question) {
    return AnswerInChild([] { return Prepared::kYes; }, question);
}

// The descriptor that the next file gets: lower ones are in use.
inline int NextDescriptor() {
    const int next = dup(STDERR_FILENO);
    close(next);
    return next;
}

// Makes the folder the root folder.
inline Prepared EnterRoot(const std::string& folder) {
    if (chroot(folder.c_str()) != 0) return Prepared::kRefused;
    if (chdir("/") != 0) std::abort();
    return Prepared::kYes;
}

struct MadeInterface {
    const char* name;
    const char* address;  // null: none
    sa_family_t family = AF_INET;
};

inline ifreq RequestFor(const MadeInterface& interface) {
    sockaddr_in address = {};
    address.sin_family = interface.family;
    if (interface.address != nullptr) inet_aton(interface.address, &address.sin_addr);
    ifreq request = {};
    snprintf(request.ifr_name, sizeof request.ifr_name, "%s", interface.name);
    memcpy(&request.ifr_addr, &address, sizeof address);
    return request;
}

// Enters a network that has these interfaces (bridges, which need no hardware) besides "lo".
inline Prepared EnterNetwork(const std::vector<MadeInterface>& interfaces) {
    if (unshare(CLONE_NEWNET) != 0) return Prepared::kRefused;
    const int network = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (network < 0) return Prepared::kRefused;
    for (const MadeInterface& interface : interfaces) {
        if (ioctl(network, SIOCBRADDBR, interface.name) != 0) return Prepared::kRefused;
        ifreq request = RequestFor(interface);
        if (interface.address != nullptr && ioctl(network, SIOCSIFADDR, &request) != 0) {
            std::abort();
        }
    }
    close(network);
    return Prepared::kYes;
}

// Answers an ioctl of the program; -errno if it fails.
using AnswerRequest = long (*)(int descriptor, unsigned request, void* argument);
inline AnswerRequest answer_request = nullptr;

#if defined(__x86_64__)

inline void OnTrappedRequest(int /*number*/, siginfo_t* /*information*/, void* context) {
    auto& registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
    void* argument = nullptr;
    memcpy(&argument, &registers[REG_RDX], sizeof argument);
    registers[REG_RAX] = answer_request(static_cast<int>(registers[REG_RDI]),
                                        static_cast<unsigned>(registers[REG_RSI]), argument);
}

// Answers these ioctls in the kernel's place: for hardware that is not there, and for answers that
// a system can't be made to give.
inline Prepared AnswerRequests(AnswerRequest answer, const std::vector<unsigned>& requests) {
    answer_request = answer;
    struct sigaction action = {};
    action.sa_sigaction = OnTrappedRequest;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSYS, &action, nullptr);
    constexpr auto kNumber = static_cast<unsigned>(offsetof(seccomp_data, nr));
    constexpr auto kRequest = static_cast<unsigned>(offsetof(seccomp_data, args[1]));
    std::vector<sock_filter> filter = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kNumber),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_ioctl, 1, 0),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kRequest),
    };
    for (const unsigned request : requests) {
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, request, 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return Prepared::kRefused;
    if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) return Prepared::kRefused;
    return Prepared::kYes;
}

#else

// The answer goes into processor registers, which are known here for only one processor.
inline Prepared AnswerRequests(AnswerRequest /*answer*/,
                               const std::vector<unsigned>& /*requests*/) {
    return Prepared::kRefused;
}

#endif

inline std::vector<MadeInterface> pretended_interfaces;

// Makes the kernel answer requests for an interface's address from the list.
inline Prepared PretendInterfaces(std::vector<MadeInterface> interfaces) {
    pretended_interfaces = std::move(interfaces);
    const auto answer = [](int /*descriptor*/, unsigned /*request*/, void* argument) -> long {
        auto* const request = static_cast<ifreq*>(argument);
        for (const MadeInterface& interface : pretended_interfaces) {
            if (strcmp(interface.name, request->ifr_name) != 0) continue;
            *request = RequestFor(interface);
            return 0;
        }
        return -ENODEV;
    };
    return AnswerRequests(answer, {SIOCGIFADDR});
}
