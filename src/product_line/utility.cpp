#include "product_line/utility.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <fcntl.h>
#include <net/if.h>
#include <strings.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace {

constexpr const char* kSpaceCharacters = "\t\n\r ";
constexpr int kEthernetNames = 9;
constexpr useconds_t kWaitAgain = 100;  // microseconds

// Opened for a single call, and never inherited by a program started meanwhile.
int OpenToRead(const char* path) {
    return open(path, O_RDONLY | O_CLOEXEC);
}

// Reads once; on failure returns 0 bytes.
size_t ReadOnce(int descriptor, char* buffer, size_t count) {
    const ssize_t length = read(descriptor, buffer, count);
    return length > 0 ? static_cast<size_t>(length) : 0;
}

char* WithoutFolders(char* path) {
    char* name = strrchr(path, '/');
    if (name == nullptr) return path;
    while (*name == '/')
        ++name;
    return name;
}

// The result is ignored: a process without a program file, such as a kernel thread, is still
// compared by its arguments.
void ReadProgramLink(int pid) {
    char path[32];
    char program[256];
    snprintf(path, sizeof path, "/proc/%d/exe", pid);
    const ssize_t length = readlink(path, program, sizeof program - 1);
    program[length > 0 ? length : 0] = '\0';
}

bool IsNamed(int pid, const char* name) {
    char path[32];
    snprintf(path, sizeof path, "/proc/%d/cmdline", pid);
    const int file = OpenToRead(path);
    if (file < 0) return false;
    char arguments[1024];
    const size_t length = ReadOnce(file, arguments, sizeof arguments - 2);
    close(file);
    arguments[length] = '\0';
    arguments[length + 1] = '\0';
    return strcmp(WithoutFolders(arguments), name) == 0;
}

// The pid in the name of a /proc folder; 0 if the folder is not a process.
int PidOfFolder(const char* folder) {
    return std::max(0, atoi(folder));
}

in_addr_t EthernetAddress(int datagram_socket, int number) {
    ifreq request = {};
    snprintf(request.ifr_name, sizeof request.ifr_name, "eth%d", number);
    if (ioctl(datagram_socket, SIOCGIFADDR, &request) < 0) return 0;
    sockaddr_in address = {};
    memcpy(&address, &request.ifr_addr, sizeof address);
    return address.sin_family == AF_INET ? address.sin_addr.s_addr : 0;
}

}  // namespace

void chomp(char* text) {
    size_t length = strlen(text);
    while (length > 0 && (text[length - 1] == '\r' || text[length - 1] == '\n')) {
        text[--length] = '\0';
    }
}

char* skip_space(char* text) {
    return text + strspn(text, kSpaceCharacters);
}

void trim_trailing_space(char* text) {
    size_t length = strlen(text);
    while (length > 0 && strchr(kSpaceCharacters, text[length - 1]) != nullptr)
        text[--length] = '\0';
}

char* trim_space(char* text) {
    char* start = skip_space(text);
    trim_trailing_space(start);
    return start;
}

void strip_leading_space(char* text) {
    const char* start = skip_space(text);
    memmove(text, start, strlen(start) + 1);
}

bool any_nonzero(const void* bytes, size_t count) {
    const auto* first = static_cast<const unsigned char*>(bytes);
    return std::any_of(first, first + count, [](unsigned char byte) { return byte != 0; });
}

char* cut_line(char* text) {
    char* line_feed = strchr(text, '\n');
    if (line_feed == nullptr) return text + strlen(text);
    *line_feed = '\0';
    return line_feed + 1;
}

void clear_string(char* text) {
    *text = '\0';
}

const char* skip_prefix(const char* text, const char* prefix) {
    const size_t length = strlen(prefix);
    return strncasecmp(text, prefix, length) == 0 ? text + length : nullptr;
}

int set_cloexec(int descriptor) {
    return fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

int clear_cloexec(int descriptor) {
    return fcntl(descriptor, F_SETFD, 0);
}

int read_small_file(const char* path, char* buffer, size_t n) {
    const int file = OpenToRead(path);
    if (file < 0) return -1;
    if (n > 0) buffer[ReadOnce(file, buffer, n - 1)] = '\0';
    close(file);
    return 0;
}

int write_small_file(const char* path, const char* text) {
    const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (file < 0) return -1;
    [[maybe_unused]] const ssize_t written = write(file, text, strlen(text));
    close(file);
    return 0;
}

std::string read_file_line(const char* path) {
    char buffer[1024];
    clear_string(buffer);
    read_small_file(path, buffer, sizeof buffer);
    chomp(buffer);
    return buffer;
}

void format_size(int64_t bytes, char* buffer) {
    static constexpr const char* kUnits[] = {" bytes", "KB", "MB", "GB", "TB", "PB"};
    if (bytes < 0) {
        clear_string(buffer);
        return;
    }
    auto value = static_cast<unsigned long long>(bytes);
    unsigned remainder = 0;
    size_t unit = 0;
    while (value > 999 && unit + 1 < std::size(kUnits)) {
        remainder = static_cast<unsigned>(value % 1000);
        value /= 1000;
        ++unit;
    }
    if (unit == 0) {
        snprintf(buffer, kSizeTextBytes, "%llu%s", value, kUnits[unit]);
    } else {
        snprintf(buffer, kSizeTextBytes, "%llu.%03u%s", value, remainder, kUnits[unit]);
    }
}

std::string format_size_string(int64_t bytes) {
    char buffer[kSizeTextBytes];
    format_size(bytes, buffer);
    return buffer;
}

int find_process_by_name(const char* name) {
    DIR* processes = opendir("/proc");
    if (processes == nullptr) return 0;
    int found = 0;
    while (found == 0) {
        const dirent* folder = readdir(processes);
        if (folder == nullptr) break;
        const int pid = PidOfFolder(folder->d_name);
        if (pid == 0) continue;
        ReadProgramLink(pid);
        if (IsNamed(pid, name)) found = pid;
    }
    closedir(processes);
    return found;
}

int run_and_wait(const void* /*context*/, char* const arguments[]) {
    const pid_t child = fork();
    if (child < 0) return -1;
    if (child == 0) {
        execv(arguments[0], arguments);
        _exit(1);
    }
    int status = -1;
    // If SIGCHLD is ignored, the kernel keeps no status: waitpid blocks, then fails, and only
    // kill(child, 0) shows that the child has gone.
    while (kill(child, 0) == 0 && waitpid(child, &status, 0) != child)
        usleep(kWaitAgain);
    return status;
}

in_addr_t find_eth_ipv4(int datagram_socket) {
    for (int number = 0; number < kEthernetNames; ++number) {
        const in_addr_t address = EthernetAddress(datagram_socket, number);
        if (address == 0) continue;
        in_addr printable = {};
        printable.s_addr = address;
        printf("Found: %s\n", inet_ntoa(printable));
        return address;
    }
    return 0;
}
