// The two clocks.
#pragma once

// Wall-clock time (gettimeofday): seconds since the epoch, with microseconds as fraction. It jumps
// when the clock is set.
double now_seconds();

// Seconds since some moment before the program's start (CLOCK_MONOTONIC). It never jumps, so all
// timing but that of clicks uses it.
double MonotonicSeconds();
