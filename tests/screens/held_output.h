// Detects, from the kernel, a program held up by its terminal.
#pragma once

#include <sys/syscall.h>

#include <sstream>
#include <string>

#include "spawn.h"
#include "terminal.h"

namespace harness {

// Whether the program sleeps because its terminal takes no output: in a poll of one descriptor
// without a time-out. A wait for a key always has a time-out. Where an architecture lacks poll,
// ppoll replaces it, with a null pointer for "no time-out".
inline bool OutputIsHeld(const Terminal& t) {
    std::istringstream text(ReadWhole("/proc/" + std::to_string(t.pid()) + "/syscall"));
    std::string call, descriptors, count, limit;
    text >> call >> descriptors >> count >> limit;
#ifdef SYS_poll
    // -1 as a 32-bit number; the upper half of the register is undefined.
    const bool endless = call == std::to_string(SYS_poll) && limit.ends_with("ffffffff");
#else
    const bool endless = call == std::to_string(SYS_ppoll) && limit == "0x0";
#endif
    return endless && count == "0x1";
}

}  // namespace harness
