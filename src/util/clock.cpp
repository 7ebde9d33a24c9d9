#include "util/clock.h"

#include <sys/time.h>

#include <ctime>

double now_seconds() {
    timeval now = {};
    gettimeofday(&now, nullptr);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) / 1e6;
}

double MonotonicSeconds() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}
