// Searches a program's memory for the remains of a password.
#pragma once

#include <string>
#include <vector>

#include "terminal.h"

namespace harness {

// The places in the writable memory of the terminal's program that hold parts of the secret, as
// bytes or as the numbers in which curses passes keys and characters: the start of each part, and
// its mapping. Parts are seven characters long, so the secret should be long and unique. The test
// fails if the memory can't be read.
std::vector<std::string> TracesOfSecret(const Terminal& t, const std::string& secret);

}  // namespace harness
