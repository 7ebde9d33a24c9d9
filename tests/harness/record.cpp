// The recorder behind every stand-in: records the call, then acts as the command.
//
// A stand-in is a small text file whose first line names this program as its interpreter, so the
// kernel runs it as: record STAND-IN-FILE ARG... The other lines of the file:
//
//     the name under which to record the call
//     "reply N": print the rest of the file and exit with status N
//     "script":  run the rest of the file with sh, with the arguments as $1 ...
//     "real":    execute the next command of this name in PATH
//
// Each call is appended to the log as one record, in a single write: the number of fields, then the
// fields (see Field), each ended by a NUL byte. Built without the C++ run-time and linked
// statically, because the program expects commands to start quickly.
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

namespace {

constexpr const char* kLog = "/mnt/.harness/calls";
constexpr int kCannotPlay = 125;

[[noreturn]] void Give(const char* what, const char* name) {
    dprintf(2, "stand-in %s: %s\n", name, what);
    _exit(kCannotPlay);
}

char* ReadAll(const char* path, size_t* size) {
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    struct stat status {};
    if (fd < 0 || fstat(fd, &status) != 0) Give("cannot be read", path);
    const size_t length = static_cast<size_t>(status.st_size);
    char* text = static_cast<char*>(malloc(length + 1));
    size_t have = 0;
    while (have < length) {
        const ssize_t got = read(fd, text + have, length - have);
        if (got <= 0) break;
        have += static_cast<size_t>(got);
    }
    close(fd);
    text[have] = '\0';
    *size = have;
    return text;
}

char* CutLine(char* text, const char* name) {
    char* end = strchr(text, '\n');
    if (end == nullptr) Give("is not a stand-in", name);
    *end = '\0';
    return end + 1;
}

const char* LineDiscipline(int fd) {
    termios mode{};
    if (fd < 0 || tcgetattr(fd, &mode) != 0) return "absent";
    constexpr tcflag_t kLine = ICANON | ECHO;
    return (mode.c_lflag & kLine) == kLine ? "line" : "raw";
}

const char* TerminalMode() {
    const int fd = open("/dev/tty", O_RDONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    return LineDiscipline(fd < 0 ? 0 : fd);
}

char SignalLetter(int signal_number) {
    struct sigaction action {};
    sigaction(signal_number, nullptr, &action);
    return action.sa_handler == SIG_IGN ? 'i' : 'd';
}

double Seconds(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// How long ago this process was created, perhaps as the shell that executed the command: a busy
// computer may run it only a while later. 0 without /proc, and for a short time. The kernel counts
// in hundredths of a second, rounded down: one is added, so that no pause before the command seems
// shorter than it was.
double Age() {
    char text[1024];
    const int fd = open("/proc/self/stat", O_RDONLY | O_CLOEXEC);
    const ssize_t length = fd < 0 ? 0 : read(fd, text, sizeof text - 1);
    close(fd);
    if (length <= 0) return 0;
    text[length] = '\0';
    const char* field = strrchr(text, ')');
    constexpr int kFromNameToStart = 20;
    for (int i = 0; i < kFromNameToStart && field != nullptr; ++i)
        field = strchr(field + 1, ' ');
    if (field == nullptr) return 0;
    const double created = (atof(field) + 1) / static_cast<double>(sysconf(_SC_CLK_TCK));
    constexpr double kShort = 0.05;
    const double age = Seconds(CLOCK_BOOTTIME) - created;
    return age < kShort ? 0 : age;
}

void WriteRecord(const char* name, int count, char** args) {
    char numbers[64];
    snprintf(numbers, sizeof numbers, "%.9f", Seconds(CLOCK_MONOTONIC) - Age());
    const char signals[] = {SignalLetter(SIGCHLD), SignalLetter(SIGINT), SignalLetter(SIGQUIT), 0};

    char* record = nullptr;
    size_t size = 0;
    FILE* stream = open_memstream(&record, &size);
    fprintf(stream, "%d%c%s%c%s%c%s%c%s%c", count + 4, 0, numbers, 0, name, 0, TerminalMode(), 0,
            signals, 0);
    for (int i = 0; i < count; i++)
        fprintf(stream, "%s%c", args[i], 0);
    fclose(stream);

    const int log = open(kLog, O_WRONLY | O_APPEND | O_CLOEXEC);
    if (log < 0 || write(log, record, size) != static_cast<ssize_t>(size)) {
        Give("cannot write its record", name);
    }
    close(log);
}

[[noreturn]] void PlayReply(const char* status, const char* text, size_t size) {
    size_t sent = 0;
    while (sent < size) {
        const ssize_t wrote = write(1, text + sent, size - sent);
        if (wrote <= 0) break;
        sent += static_cast<size_t>(wrote);
    }
    _exit(atoi(status));
}

[[noreturn]] void PlayScript(const char* name, char* body, int count, char** args) {
    char** words = static_cast<char**>(calloc(static_cast<size_t>(count) + 5, sizeof(char*)));
    char shell[] = "sh";
    char option[] = "-c";
    int n = 0;
    words[n++] = shell;
    words[n++] = option;
    words[n++] = body;
    words[n++] = const_cast<char*>(name);
    for (int i = 0; i < count; i++)
        words[n++] = args[i];
    execv("/bin/sh", words);
    Give("found no shell", name);
}

[[noreturn]] void PlayReal(const char* file, char* name, char** args) {
    const char* path = getenv("PATH");
    const size_t own =
        strrchr(file, '/') == nullptr ? 0 : static_cast<size_t>(strrchr(file, '/') - file);
    args[0] = name;
    for (const char* at = path; at != nullptr && *at != '\0';) {
        const size_t length = strcspn(at, ":");
        if (length != own || strncmp(at, file, own) != 0) {
            char candidate[4096];
            snprintf(candidate, sizeof candidate, "%.*s/%s", static_cast<int>(length), at, name);
            execv(candidate, args);
        }
        at += length + (at[length] == ':' ? 1 : 0);
    }
    Give("found no real command of its name", name);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return kCannotPlay;
    const char* file = argv[1];
    size_t size = 0;
    char* text = ReadAll(file, &size);
    char* name = CutLine(text, file);
    char* part = CutLine(name, file);
    char* rest = CutLine(part, file);
    const int count = argc - 2;

    WriteRecord(name, count, argv + 2);
    if (strncmp(part, "reply ", 6) == 0) {
        PlayReply(part + 6, rest, size - static_cast<size_t>(rest - text));
    }
    if (strcmp(part, "script") == 0) PlayScript(name, rest, count, argv + 2);
    if (strcmp(part, "real") == 0) PlayReal(file, name, argv + 1);
    Give("has no part to play", file);
}
