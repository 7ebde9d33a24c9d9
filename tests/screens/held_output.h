// A program held up by its terminal, as the kernel tells it.
#pragma once

#include <sys/syscall.h>

#include <sstream>
#include <string>

#include "spawn.h"
#include "terminal.h"

namespace harness {

// Whether the program sleeps because its terminal takes no output: in a poll of one descriptor
// without end, where a key is awaited for some milliseconds only. Not every kind of computer has
// the call poll; ppoll, which stands in for it there, is told "without end" by a null pointer.
inline bool OutputIsHeld(const Terminal& t) {
    std::istringstream text(ReadWhole("/proc/" + std::to_string(t.pid()) + "/syscall"));
    std::string call, descriptors, count, limit;
    text >> call >> descriptors >> count >> limit;
#ifdef SYS_poll
    // The number -1 of 32 bits; what is in the register above them is nobody's.
    const bool endless = call == std::to_string(SYS_poll) && limit.ends_with("ffffffff");
#else
    const bool endless = call == std::to_string(SYS_ppoll) && limit == "0x0";
#endif
    return endless && count == "0x1";
}

}  // namespace harness
