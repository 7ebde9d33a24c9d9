#include "util/signal_gate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <iterator>

#include "util/signal_fixtures.h"
#include "util/utility_fixtures.h"

namespace {

constexpr int kGated[] = {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGTSTP, SIGWINCH};

bool IsGated(int number) {
    return std::find(std::begin(kGated), std::end(kGated), number) != std::end(kGated);
}

TEST(SignalGate, GatesSignalsThatEndStopOrResize) {
    const sigset_t signals = GatedSignals();
    for (int number = 1; number < SIGRTMIN; ++number) {
        EXPECT_EQ(sigismember(&signals, number) == 1, IsGated(number)) << number;
    }
}

TEST(SignalGate, BlocksSignalsUntilItOpens) {
    for (int number : kGated) {
        SCOPED_TRACE(number);
        const SavedSignalMask saved;
        const SignalAction counted(number, CountSignal);
        signals_counted = 0;
        CloseSignalGate();
        raise(number);
        EXPECT_EQ(signals_counted, 0);
        {
            const OpenSignalGate open;
            EXPECT_EQ(signals_counted, 1);
            raise(number);
            EXPECT_EQ(signals_counted, 2);
        }
        raise(number);
        EXPECT_EQ(signals_counted, 2) << "it must be closed again";
        const OpenSignalGate open;
        EXPECT_EQ(signals_counted, 3);
    }
}

TEST(SignalGate, RestoresThePreviousStateAfterOpening) {
    const SavedSignalMask saved;
    CloseSignalGate();
    {
        const OpenSignalGate outer;
        { const OpenSignalGate inner; }
        for (int number : kGated)
            EXPECT_FALSE(IsBlocked(number)) << number;
    }
    for (int number : kGated)
        EXPECT_TRUE(IsBlocked(number)) << number;
}

TEST(SignalGate, LeavesOtherSignalsAlone) {
    const SavedSignalMask saved;
    sigset_t held;
    sigemptyset(&held);
    sigaddset(&held, SIGUSR2);
    sigprocmask(SIG_BLOCK, &held, nullptr);
    CloseSignalGate();
    EXPECT_FALSE(IsBlocked(SIGALRM));
    EXPECT_FALSE(IsBlocked(SIGUSR1));
    const OpenSignalGate open;
    EXPECT_TRUE(IsBlocked(SIGUSR2));
}

TEST(PollWithOpenGate, DeliversPendingSignals) {
    const SavedSignalMask saved;
    const SignalAction counted(SIGINT, CountSignal);
    signals_counted = 0;
    CloseSignalGate();
    raise(SIGINT);
    Pipe pipe;
    pollfd input = {pipe.Reader(), POLLIN, 0};
    constexpr int kLong = 10'000;
    EXPECT_EQ(PollWithOpenGate(&input, 1, kLong), -1);
    EXPECT_EQ(errno, EINTR);
    EXPECT_EQ(signals_counted, 1);
    raise(SIGINT);
    EXPECT_EQ(signals_counted, 1) << "the gate must be closed again";
    PollWithOpenGate(nullptr, 0, 0);
    EXPECT_EQ(signals_counted, 2);
}

TEST(PollWithOpenGate, ReportsReadyDescriptors) {
    const SavedSignalMask saved;
    CloseSignalGate();
    Pipe pipe;
    pollfd input = {pipe.Reader(), POLLIN, 0};
    EXPECT_EQ(PollWithOpenGate(&input, 1, 0), 0);
    pipe.Write("x");
    EXPECT_EQ(PollWithOpenGate(&input, 1, -1), 1);
    EXPECT_EQ(input.revents, POLLIN);
}

}  // namespace
