// The search for what stays of a password in a program's memory.
#pragma once

#include <string>
#include <vector>

#include "terminal.h"

namespace harness {

// Where parts of the secret stand in the writable memory of the terminal's program, as bytes or as
// the numbers in which curses hands out keys and characters: each part's beginning, and its
// mapping. The secret should be long and like nothing else, as parts of seven characters are looked
// for. The test fails when the memory can't be read.
std::vector<std::string> TracesOfSecret(const Terminal& t, const std::string& secret);

}  // namespace harness
