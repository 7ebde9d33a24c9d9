// Reading whole files.
#pragma once

#include <optional>
#include <string>

// The bytes of the file; nothing if it can't be opened or read (for example a directory), with the
// reason in errno. Reads to the end, because files in /proc report no size. A file larger than 16
// MiB can't be a settings file (it may be a link to /dev/zero) and fails with EFBIG. Never waits
// for the writer of a pipe.
std::optional<std::string> ReadWholeFile(const char* path);
