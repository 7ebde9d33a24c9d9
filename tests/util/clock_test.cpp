#include "util/clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>

namespace {

TEST(NowSeconds, IsTheWallClock) {
    using std::chrono::duration;
    using std::chrono::system_clock;
    // gettimeofday truncates to microseconds; a double holds today's date more precisely.
    constexpr double kMicrosecond = 2e-6;
    const double before = duration<double>(system_clock::now().time_since_epoch()).count();
    const double now = now_seconds();
    const double after = duration<double>(system_clock::now().time_since_epoch()).count();
    EXPECT_GE(now, before - kMicrosecond);
    EXPECT_LE(now, after + kMicrosecond);
}

TEST(NowSeconds, IncludesFractionsOfASecond) {
    const double start = now_seconds();
    double now = start;
    while (now == start)
        now = now_seconds();
    EXPECT_LT(now - start, 0.5);
}

TEST(MonotonicSeconds, IsTheMonotonicClock) {
    const auto seconds = [] {
        timespec now = {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
    };
    const double before = seconds();
    const double now = MonotonicSeconds();
    EXPECT_GE(now, before);
    EXPECT_LE(now, seconds());
}

}  // namespace
