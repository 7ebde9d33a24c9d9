#include "app/startup.h"

#include <curses.h>
#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <term.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <new>
#include <string>

#include "ui/colours.h"
#include "ui/terminal.h"
#include "util/assertion.h"
#include "util/command.h"
#include "util/message.h"
#include "util/signal_gate.h"

namespace {

constexpr const char* kMouseTerminal = "xterm-1003";
constexpr unsigned kCleanUpSeconds = 5;
constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;
constexpr int kOutOfMemory = 1;

void OpenMissingDescriptors() {
    for (int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        // open() uses the lowest free number, which is this one.
        if (fcntl(descriptor, F_GETFD) < 0) open("/dev/null", O_RDWR);
    }
}

bool IsIgnored(int signal_number) {
    struct sigaction action = {};
    sigaction(signal_number, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

// SIGALRM ends a clean-up that hangs, for example on a stopped terminal. The program may have been
// started with SIGALRM ignored or blocked.
void LimitCleanUp() {
    std::signal(SIGALRM, SIG_DFL);
    sigset_t alarm_signal;
    sigemptyset(&alarm_signal);
    sigaddset(&alarm_signal, SIGALRM);
    sigprocmask(SIG_UNBLOCK, &alarm_signal, nullptr);
    alarm(kCleanUpSeconds);
}

// Restores the terminal, so that it can be used after the crash. The terminal modes come first: if
// the fault is in curses, taking the screen down may fault again and end the program there.
void OnFault(int signal_number) {
    LimitCleanUp();
    DropTypedKeys();
    reset_shell_mode();
    RestoreTerminal();
    raise(signal_number);
}

// The handler has a stack of its own: the fault may be a stack overflow.
alignas(16) char fault_stack[64 << 10];

void CatchFaults() {
    stack_t stack = {};
    stack.ss_sp = fault_stack;
    stack.ss_size = sizeof fault_stack;
    sigaltstack(&stack, nullptr);
    struct sigaction action = {};
    action.sa_handler = OnFault;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER | SA_ONSTACK);
    for (int number : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGPIPE, SIGSEGV, SIGSYS, SIGTRAP, SIGUSR1,
                       SIGUSR2, SIGXCPU}) {
        struct sigaction present = {};
        sigaction(number, nullptr, &present);
        // Sanitizers install their own handlers.
        if (present.sa_handler == SIG_DFL) sigaction(number, &action, nullptr);
    }
}

// When curses runs out of memory, it exits without restoring the terminal.
void RestoreLineMode() {
    if (isendwin()) return;
    DropTypedKeys();
    reset_shell_mode();
}

bool TerminalTypeExists(const char* name) {
    int found = 0;
    if (setupterm(name, STDOUT_FILENO, &found) != OK) return false;
    del_curterm(cur_term);
    return true;
}

}  // namespace

bool AsksForHelp(const char* argument) {
    if (*argument != '-') return false;
    return std::strcmp(argument + std::strspn(argument, "-"), "help") == 0;
}

void PrintUsage() {
    // Deliberately the capture tool's text: the product line has only this one.
    std::fputs("orb-cap-ui [options]\n", stderr);
    std::fputs("Tavrin 4 Capture Collection UI\n", stderr);
}

void PrintRootRefusal() {
    std::fputs("Ifmenu must be run as root or sudo.\n", stderr);
    std::fputs("If you are authorized to, please run me as follows:\n", stderr);
    std::fputs("\n", stderr);
    std::fputs("# sudo ifmenu\n", stderr);
    std::fputs("\n", stderr);
}

void PrepareProcess() {
    OpenMissingDescriptors();
    umask(umask(0) | kOthersWrite);
    before_assertion_report = RestoreTerminal;
    std::set_new_handler(OnMemoryExhausted);
    CloseSignalGate();
    std::signal(SIGCHLD, SIG_IGN);
    // At a file size limit a write must fail, as on a full disk, instead of ending the program.
    std::signal(SIGXFSZ, SIG_IGN);
    struct sigaction action = {};
    action.sa_handler = OnTerminateSignal;
    action.sa_mask = GatedSignals();
    for (int number : {SIGINT, SIGQUIT, SIGTERM})
        sigaction(number, &action, nullptr);
    if (!IsIgnored(SIGHUP)) sigaction(SIGHUP, &action, nullptr);
    CatchFaults();
}

void OnMemoryExhausted() {
    // The steps below may need memory, too.
    std::set_new_handler(nullptr);
    LimitCleanUp();
    DropTypedKeys();
    RestoreTerminal();
    Say("Out of memory.\n");
    std::_Exit(kOutOfMemory);
}

void OnTerminateSignal(int signal_number) {
    if (signal_number != SIGINT && signal_number != SIGQUIT && signal_number != SIGTERM &&
        signal_number != SIGHUP) {
        return;
    }
    LimitCleanUp();
    if (stdscr != nullptr && !isendwin()) {
        // Curses turns mouse reporting off only if it believes that it is on.
        StartMouse();
    }
    EndProgram(128 + signal_number);
}

void PrepareSettingsFolder() {
    RunCommand("mkdir -p /etc/network; touch /etc/network/default.wireless");
}

void ChooseTerminalType() {
    const char* type = std::getenv("TERM");
    if (type == nullptr || strncasecmp(type, "xterm", 5) != 0) return;
    if (TerminalTypeExists(kMouseTerminal)) setenv("TERM", kMouseTerminal, 1);
}

void StartTerminal() {
    std::setlocale(LC_CTYPE, "");
    std::atexit(RestoreLineMode);
    CatchStop();
    initscr();
    StartColours();
    StartKeyboard();
    attrset(A_NORMAL);
    scrollok(stdscr, FALSE);
    StartMouse();
    refresh();
    curs_set(0);
}
