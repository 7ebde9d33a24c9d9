#include "command_watch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <stdexcept>

namespace {

// Debian's path; /sbin/ip and /usr/sbin/ip are links to it.
constexpr const char* kCommand = "/bin/ip";
constexpr double kOver = 0.3;
constexpr double kPatience = 20;

}  // namespace

CommandWatch::CommandWatch() : events_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    if (inotify_add_watch(events_.get(), kCommand, IN_OPEN | IN_CLOSE_NOWRITE) < 0) {
        throw std::runtime_error("cannot watch the ip command");
    }
}

void CommandWatch::Look() {
    alignas(inotify_event) char buffer[16384];
    ssize_t count = 0;
    while ((count = read(events_.get(), buffer, sizeof buffer)) > 0) {
        const double now = harness::Now();
        // Events of a watch on a file itself have no name, so all have the same size.
        for (ssize_t at = 0; at < count; at += static_cast<ssize_t>(sizeof(inotify_event))) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
            if (first_ == 0) first_ = now;
            last_ = now;
            if ((event->mask & IN_CLOSE_NOWRITE) != 0) ++ended_;
        }
    }
}

void CommandWatch::Reset() {
    Look();
    first_ = last_ = 0;
    ended_ = 0;
}

void CommandWatch::WaitForRefresh(Watched& program, const std::function<void()>& meanwhile) {
    Reset();
    const double end = harness::Now() + kPatience;
    while (!seen() || harness::Now() < last_ + kOver) {
        if (harness::Now() > end) throw std::runtime_error("no refresh came to its end");
        program.ReadFor(0.002);
        Look();
        if (meanwhile) meanwhile();
    }
}
