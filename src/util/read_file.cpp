#include "util/read_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace {

constexpr std::size_t kMostBytes = 16 << 20;

}  // namespace

std::optional<std::string> ReadWholeFile(const char* path) {
    // Without O_NONBLOCK a pipe in place of the file would hang the program.
    const int descriptor = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0) return std::nullopt;
    std::string text;
    char buffer[16384];
    ssize_t count = 0;
    do {
        count = read(descriptor, buffer, sizeof buffer);
        if (count > 0) text.append(buffer, static_cast<size_t>(count));
    } while ((count > 0 && text.size() <= kMostBytes) || (count < 0 && errno == EINTR));
    const int error = count > 0 ? EFBIG : errno;
    close(descriptor);
    errno = error;
    if (count != 0) return std::nullopt;
    return text;
}
