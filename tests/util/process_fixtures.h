// Whether the processes of a group (a command and everything it started) are still running.
#pragma once

#include <unistd.h>

#include <cctype>
#include <cstddef>
#include <filesystem>
#include <sstream>
#include <string>

#include "util/folder_fixtures.h"

inline bool GroupRuns(pid_t group) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        if (isdigit(entry.path().filename().string().front()) == 0) continue;
        const std::string status = ContentOf(entry.path().string() + "/stat");
        const std::size_t name_end = status.rfind(')');
        if (name_end == std::string::npos) continue;
        char state = 0;
        pid_t parent = 0;
        pid_t of = 0;
        std::istringstream(status.substr(name_end + 1)) >> state >> parent >> of;
        if (of == group && state != 'Z' && state != 'X') return true;
    }
    return false;
}

// Whether they end within five seconds.
inline bool GroupEnds(pid_t group) {
    constexpr int kLooks = 500;
    for (int look = 0; look < kLooks; ++look) {
        if (!GroupRuns(group)) return true;
        usleep(10'000);
    }
    return false;
}
