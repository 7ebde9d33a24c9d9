// A preloaded library that makes a program's time run faster, so that a day of refreshes takes a
// minute. The commands that the program runs have normal time.
//
//     FAST_CLOCK=1000     seconds per real second; waits of ppoll() get shorter accordingly
//     FAST_WAIT=1         the longest wait for a key or an answer, in milliseconds; 0: no limit
#include <dlfcn.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace {

constexpr double kBillion = 1e9;
double factor = 1;
int longest_wait = 0;
timespec start[2];  // indexed by CLOCK_REALTIME (0) and CLOCK_MONOTONIC (1)

double Seconds(const timespec& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / kBillion;
}

int NumberFrom(const char* variable) {
    const char* text = std::getenv(variable);
    return text == nullptr ? 0 : std::atoi(text);
}

__attribute__((constructor)) void Begin() {
    syscall(SYS_clock_gettime, CLOCK_REALTIME, &start[CLOCK_REALTIME]);
    syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &start[CLOCK_MONOTONIC]);
    factor = std::max(1, NumberFrom("FAST_CLOCK"));
    longest_wait = NumberFrom("FAST_WAIT");
    unsetenv("LD_PRELOAD");
}

int Wait(int milliseconds) {
    return longest_wait > 0 && milliseconds > longest_wait ? longest_wait : milliseconds;
}

}  // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const long result = syscall(SYS_clock_gettime, clock, time);
    if (result != 0 || clock > CLOCK_MONOTONIC) return static_cast<int>(result);
    const double begun = Seconds(start[clock]);
    const double passed = begun + (Seconds(*time) - begun) * factor;
    time->tv_sec = static_cast<time_t>(passed);
    time->tv_nsec = static_cast<long>((passed - static_cast<double>(time->tv_sec)) * kBillion);
    return 0;
}

extern "C" int gettimeofday(timeval* time, void*) noexcept {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    *time = {now.tv_sec, now.tv_nsec / 1000};
    return 0;
}

extern "C" int poll(pollfd* descriptors, nfds_t count, int milliseconds) {
    using Poll = int (*)(pollfd*, nfds_t, int);
    static const auto real = reinterpret_cast<Poll>(dlsym(RTLD_NEXT, "poll"));
    return real(descriptors, count, Wait(milliseconds));
}

extern "C" int ppoll(pollfd* descriptors, nfds_t count, const timespec* time,
                     const sigset_t* mask) {
    using Poll = int (*)(pollfd*, nfds_t, const timespec*, const sigset_t*);
    static const auto real = reinterpret_cast<Poll>(dlsym(RTLD_NEXT, "ppoll"));
    if (time == nullptr) return real(descriptors, count, time, mask);
    double wait = Seconds(*time) / factor;
    if (longest_wait > 0) wait = std::min(wait, longest_wait / 1000.0);
    const auto seconds = static_cast<time_t>(wait);
    const timespec shorter = {seconds,
                              static_cast<long>((wait - static_cast<double>(seconds)) * kBillion)};
    return real(descriptors, count, &shorter, mask);
}

// The name that the C library's buffer checks use.
extern "C" int __ppoll_chk(pollfd* descriptors, nfds_t count, const timespec* time,
                           const sigset_t* mask, size_t) {
    return ppoll(descriptors, count, time, mask);
}
