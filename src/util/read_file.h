// Whole files in.
#pragma once

#include <optional>
#include <string>

// The file's bytes; nothing when it can't be opened or read (a directory, say): errno tells why.
// Reads to the end, as files under /proc tell no size.
std::optional<std::string> ReadWholeFile(const char* path);
