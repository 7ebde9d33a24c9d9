#include "services/process_usage.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cctype>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view kDeleted = " (deleted)";

std::string RealPath(const std::string& path) {
    char* resolved = realpath(path.c_str(), nullptr);
    std::string text = resolved != nullptr ? resolved : "";
    std::free(resolved);
    return text;
}

// The path with the links in its folder resolved, whether or not the file still exists.
std::string InRealFolder(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return path;
    const std::string folder = RealPath(path.substr(0, slash + 1));
    return (folder == "/" ? "" : folder) + path.substr(slash);
}

// The executable of a process, from the kernel; empty if the kernel does not say.
std::string_view ExecutableOf(int proc, const char* pid, char (&buffer)[PATH_MAX]) {
    char link[NAME_MAX + sizeof "/exe"];
    std::strcpy(link, pid);
    std::strcat(link, "/exe");
    const ssize_t length = readlinkat(proc, link, buffer, sizeof buffer);
    std::string_view target(buffer, length > 0 ? static_cast<std::size_t>(length) : 0);
    if (target.ends_with(kDeleted)) target.remove_suffix(kDeleted.size());
    return target;
}

}  // namespace

int procfs_path_in_use(const char* path) {
    const std::string file = RealPath(path);
    const std::string name = InRealFolder(path);
    DIR* proc = opendir("/proc");
    if (proc == nullptr) return 0;
    int users = 0;
    char buffer[PATH_MAX];
    while (const dirent* entry = readdir(proc)) {
        if (std::isdigit(static_cast<unsigned char>(entry->d_name[0])) == 0) continue;
        const std::string_view executable = ExecutableOf(dirfd(proc), entry->d_name, buffer);
        if (!executable.empty() && (executable == file || executable == name)) ++users;
    }
    closedir(proc);
    return users;
}
