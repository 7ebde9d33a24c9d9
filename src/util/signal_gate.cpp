#include "util/signal_gate.h"

#include <initializer_list>

sigset_t GatedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (int number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGTSTP})
        sigaddset(&signals, number);
    return signals;
}

void CloseSignalGate() {
    const sigset_t signals = GatedSignals();
    sigprocmask(SIG_BLOCK, &signals, nullptr);
}

OpenSignalGate::OpenSignalGate() : before{} {
    const sigset_t signals = GatedSignals();
    sigprocmask(SIG_UNBLOCK, &signals, &before);
}

OpenSignalGate::~OpenSignalGate() {
    sigprocmask(SIG_SETMASK, &before, nullptr);
}
