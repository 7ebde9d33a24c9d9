#include "util/signal_gate.h"

#include <ctime>
#include <initializer_list>

namespace {

// The signal mask with the gate open; unknown until the gate is first closed.
struct OpenMask {
    bool known = false;
    sigset_t signals = {};
} open_mask;

bool hang_up_held = false;

// The gated signals that may be delivered now.
sigset_t PassingSignals() {
    sigset_t signals = GatedSignals();
    if (hang_up_held) sigdelset(&signals, SIGHUP);
    return signals;
}

}  // namespace

sigset_t GatedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (int number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGTSTP, SIGWINCH})
        sigaddset(&signals, number);
    return signals;
}

void CloseSignalGate() {
    const sigset_t signals = GatedSignals();
    sigprocmask(SIG_BLOCK, &signals, &open_mask.signals);
    for (int number = 1; number < NSIG; ++number) {
        if (sigismember(&signals, number) == 1) sigdelset(&open_mask.signals, number);
    }
    open_mask.known = true;
}

int PollWithOpenGate(pollfd* descriptors, nfds_t count, int milliseconds) {
    constexpr int kMsPerSecond = 1000;
    constexpr long kNsPerMs = 1'000'000;
    timespec wait = {};
    wait.tv_sec = milliseconds / kMsPerSecond;
    wait.tv_nsec = milliseconds % kMsPerSecond * kNsPerMs;
    return ppoll(descriptors, count, milliseconds < 0 ? nullptr : &wait,
                 open_mask.known ? &open_mask.signals : nullptr);
}

OpenSignalGate::OpenSignalGate() : before{} {
    const sigset_t signals = PassingSignals();
    sigprocmask(SIG_UNBLOCK, &signals, &before);
}

OpenSignalGate::~OpenSignalGate() {
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

HangUpHeld::HangUpHeld() {
    // If the line has already dropped, nothing is started.
    const OpenSignalGate open;
    hang_up_held = true;
}

HangUpHeld::~HangUpHeld() {
    hang_up_held = false;
    const OpenSignalGate open;
}

bool HangUpIsHeld() {
    return hang_up_held;
}
