// Signals in tests: a handler that counts, and restoring the signal mask.
#pragma once

#include <csignal>

// Restores the signal mask.
struct SavedSignalMask {
    SavedSignalMask() : mask{} { sigprocmask(SIG_BLOCK, nullptr, &mask); }
    ~SavedSignalMask() { sigprocmask(SIG_SETMASK, &mask, nullptr); }
    SavedSignalMask(const SavedSignalMask&) = delete;
    SavedSignalMask& operator=(const SavedSignalMask&) = delete;

    sigset_t mask;
};

inline volatile std::sig_atomic_t signals_counted = 0;

inline void CountSignal(int /*number*/) {
    signals_counted = signals_counted + 1;
}

inline bool IsBlocked(int number) {
    sigset_t mask;
    sigprocmask(SIG_BLOCK, nullptr, &mask);
    return sigismember(&mask, number) == 1;
}
