// Whole files in.
#pragma once

#include <optional>
#include <string>

// The file's bytes; nothing when it can't be opened or read (a directory, say): errno tells why.
// Reads to the end, as files under /proc tell no size. What has more than 16 MiB is no file of
// settings (a link to /dev/zero, say) and can't be read: EFBIG. Never waits for a writer.
std::optional<std::string> ReadWholeFile(const char* path);
