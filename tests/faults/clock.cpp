// A preloaded library that changes the program's time. The commands that it runs have normal time.
//
//     FAST_CLOCK=100          seconds per real second, on every clock; waits get shorter
//     CLOCK_STOP=/run/stop    the fast clocks stand still while this file exists
//     CLOCK_FILE=/run/clock   adds the seconds in this file to the time of day; may change any time
#include <dlfcn.h>
#include <errno.h>
#include <poll.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <initializer_list>

namespace {

constexpr long long kBillion = 1'000'000'000;
long factor = 1;
const char* clock_file = nullptr;
const char* stop_file = nullptr;
// Nanoseconds, indexed by CLOCK_REALTIME (0) and CLOCK_MONOTONIC (1).
long long start[2];
long long stopped_at[2];  // 0: the clock runs

long long Nanoseconds(clockid_t clock) {
    timespec now{};
    syscall(SYS_clock_gettime, clock, &now);
    return now.tv_sec * kBillion + now.tv_nsec;
}

__attribute__((constructor)) void Begin() {
    if (strcmp(program_invocation_short_name, "ifmenu") != 0) return;
    const char* text = getenv("FAST_CLOCK");
    if (text != nullptr) factor = strtol(text, nullptr, 10);
    clock_file = getenv("CLOCK_FILE");
    stop_file = getenv("CLOCK_STOP");
    for (clockid_t clock : {CLOCK_REALTIME, CLOCK_MONOTONIC})
        start[clock] = Nanoseconds(clock);
    unsetenv("LD_PRELOAD");
}

long long Fast(clockid_t clock) {
    const long long fast = start[clock] + (Nanoseconds(clock) - start[clock]) * factor;
    const bool stop = stop_file != nullptr && access(stop_file, F_OK) == 0;
    if (!stop || stopped_at[clock] == 0) stopped_at[clock] = stop ? fast : 0;
    return stop ? stopped_at[clock] : fast;
}

long long AddedSeconds() {
    std::FILE* file = clock_file != nullptr ? std::fopen(clock_file, "re") : nullptr;
    if (file == nullptr) return 0;
    long long seconds = 0;
    if (std::fscanf(file, "%lld", &seconds) != 1) seconds = 0;
    std::fclose(file);
    return seconds;
}

}  // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    if (clock != CLOCK_REALTIME && clock != CLOCK_MONOTONIC)
        return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    const long long added = clock == CLOCK_REALTIME ? AddedSeconds() : 0;
    const long long fast = Fast(clock);
    *time = {static_cast<time_t>(fast / kBillion + added), static_cast<long>(fast % kBillion)};
    return 0;
}

extern "C" int gettimeofday(timeval* __restrict now, void* __restrict) noexcept {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    *now = {time.tv_sec, time.tv_nsec / 1000};
    return 0;
}

extern "C" int ppoll(pollfd* descriptors, nfds_t count, const timespec* time,
                     const sigset_t* mask) {
    using Poll = int (*)(pollfd*, nfds_t, const timespec*, const sigset_t*);
    static const auto real = reinterpret_cast<Poll>(dlsym(RTLD_NEXT, "ppoll"));
    if (time == nullptr || factor == 1) return real(descriptors, count, time, mask);
    const long long wait = (time->tv_sec * kBillion + time->tv_nsec) / factor;
    const timespec shorter = {static_cast<time_t>(wait / kBillion),
                              static_cast<long>(wait % kBillion)};
    return real(descriptors, count, &shorter, mask);
}

// The name that the C library's buffer checks use.
extern "C" int __ppoll_chk(pollfd* descriptors, nfds_t count, const timespec* time,
                           const sigset_t* mask, size_t) {
    return ppoll(descriptors, count, time, mask);
}
