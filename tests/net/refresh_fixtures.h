// Waits for the answers of a round.
#pragma once

#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <vector>

#include "net/interface_refresh.h"
#include "util/clock.h"

// Takes answers until the condition holds for the result of TakeAnswers, and returns that result.
template <typename Condition>
Answers TakeUntil(InterfaceRefresh& refresh, Condition holds) {
    constexpr double kGiveUpSeconds = 20;
    const double end = MonotonicSeconds() + kGiveUpSeconds;
    for (;;) {
        const double now = MonotonicSeconds();
        const Answers answers = TakeAnswers(refresh, now);
        if (holds(answers)) return answers;
        if (now > end) {
            ADD_FAILURE() << "the expected answers did not arrive";
            return answers;
        }
        std::vector<pollfd> pipes;
        const double until = AwaitAnswers(refresh, pipes);
        const double left = std::min(until, end) - now;
        if (left > 0) poll(pipes.data(), pipes.size(), static_cast<int>(left * 1000) + 1);
    }
}

inline void TakeAll(InterfaceRefresh& refresh) {
    TakeUntil(refresh, [](const Answers& answers) { return answers.known == Known::All; });
}
