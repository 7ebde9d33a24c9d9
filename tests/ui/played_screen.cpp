#include "ui/played_screen.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <limits>
#include <utility>

#include "ui/terminal.h"

struct pollfd;

namespace {

constexpr long kNanoseconds = 1'000'000'000;
constexpr int kMostEscapes = 20;

struct Script {
    std::vector<Step> steps;
    std::size_t taken = 0;
    bool plays = false;
    bool wakes = false;  // curses holds input that the terminal no longer has
    int escapes = 0;
    long now = 0;  // of CLOCK_MONOTONIC
} script;

// The other end of the terminal on standard input.
int keyboard = -1;

void TakeStep() {
    if (script.taken < script.steps.size()) {
        script.steps[script.taken++]();
        return;
    }
    ADD_FAILURE() << "the program waits after the end of the script";
    if (++script.escapes > kMostEscapes) std::abort();
    ungetch(kEscape);
    script.wakes = true;
}

long Nanoseconds(const timespec& time) {
    return time.tv_sec * kNanoseconds + time.tv_nsec;
}

timespec TimeOf(long nanoseconds) {
    return {nanoseconds / kNanoseconds, nanoseconds % kNanoseconds};
}

int Poll(pollfd* descriptors, unsigned long count, const timespec* limit, const sigset_t* mask) {
    // ppoll in the kernel changes the time limit.
    timespec left = limit != nullptr ? *limit : timespec{};
    return static_cast<int>(
        syscall(SYS_ppoll, descriptors, count, limit != nullptr ? &left : nullptr, mask, NSIG / 8));
}

// The number of bytes that can be read.
int TypedAhead() {
    int bytes = 0;
    ioctl(STDIN_FILENO, FIONREAD, &bytes);
    return bytes;
}

const char* OpenTerminal() {
    keyboard = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    if (keyboard < 0 || grantpt(keyboard) != 0 || unlockpt(keyboard) != 0) std::abort();
    return ptsname(keyboard);
}

}  // namespace

// Replaces the C library's call, which is the program's only wait for keys. While a script plays,
// the time advances only in steps that say so, and when the program waits until a time limit.
extern "C" int ppoll(pollfd* descriptors, unsigned long count, const timespec* limit,
                     const sigset_t* mask) {
    if (!script.plays) return Poll(descriptors, count, limit, mask);
    constexpr timespec kAtOnce = {};
    const long end =
        limit != nullptr ? script.now + Nanoseconds(*limit) : std::numeric_limits<long>::max();
    int ready = Poll(descriptors, count, &kAtOnce, mask);
    if (ready != 0 || end == script.now) return ready;
    do {
        TakeStep();
        if (std::exchange(script.wakes, false)) {
            errno = EINTR;
            return -1;
        }
        ready = Poll(descriptors, count, &kAtOnce, mask);
    } while (ready == 0 && limit == nullptr);
    if (ready == 0) script.now = std::max(script.now, end);
    return ready;
}

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const long result = syscall(SYS_clock_gettime, clock, time);
    if (script.plays && clock == CLOCK_MONOTONIC) *time = TimeOf(script.now);
    return static_cast<int>(result);
}

PlayedScreen::PlayedScreen(const char* type)
    : UnseenScreen(OpenTerminal(), type), input_before(dup(STDIN_FILENO)) {
    dup2(open(ptsname(keyboard), O_RDWR | O_NOCTTY | O_CLOEXEC), STDIN_FILENO);
    StartKeyboard();
    StartMouse();
    curs_set(0);
    script = {};
}

PlayedScreen::~PlayedScreen() {
    script = {};
    DropKeys();
    dup2(input_before, STDIN_FILENO);
    close(input_before);
    close(keyboard);
}

void PlayedScreen::Play(std::vector<Step> steps) {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    script = {};
    script.now = Nanoseconds(now);
    script.steps = std::move(steps);
    script.plays = true;
}

bool PlayedScreen::IsPlayed() const {
    return script.taken == script.steps.size();
}

void PlayedScreen::Type(std::string_view keys) const {
    // Drains the output, which nobody looks at, to make room.
    char drawn[4096];
    while (read(keyboard, drawn, sizeof drawn) > 0) {
    }
    const int before = TypedAhead();
    const auto count = static_cast<int>(keys.size());
    if (write(keyboard, keys.data(), keys.size()) != count) std::abort();
    while (TypedAhead() < before + count) {
    }
}

void PlayedScreen::Type(int curses_key) const {
    ungetch(curses_key);
    script.wakes = true;
}

void PlayedScreen::Mouse(int line, int column, mmask_t buttons) const {
    SendMouse(line, column, buttons);
    script.wakes = true;
}

void PlayedScreen::Resize(int lines, int columns) const {
    resizeterm(lines, columns);
    script.wakes = true;
}

void PlayedScreen::Pass(double seconds) {
    script.now += static_cast<long>(seconds * static_cast<double>(kNanoseconds));
}
