// The two clocks.
#pragma once

// Wall-clock time: seconds since the epoch, with microseconds behind the point (gettimeofday). It
// jumps when the clock is set.
double now_seconds();

// Seconds since some moment before the program's start (CLOCK_MONOTONIC). It never jumps: whatever
// is due after a while is due by this clock.
double MonotonicSeconds();
