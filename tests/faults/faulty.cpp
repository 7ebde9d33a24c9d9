// A preloaded library that makes one request of the program fail. FAULTY selects it:
//
//     FAULTY="memory 20"     the twentieth request for memory from the second key on is refused
//     FAULTY="memory 20+"    ... and all later ones
//     FAULTY="early 20"      the twentieth of all requests
//     FAULTY="close 7"       the seventh file closed reports an error (but is closed)
//     FAULTY="stack"         the second key overflows the stack
//
// The failure creates the file /tmp/failed. The program's pauses return at once. Its commands are
// not affected.
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <pwd.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <initializer_list>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
}

namespace {

struct Fault {
    const char* what;
    int error;
    long number = 0;  // of the request that fails; 0: none
    bool all_that_follow = false;
    bool begun = true;
    long requests = 0;

    bool Strikes() {
        if (number == 0 || !begun || ++requests < number) return false;
        if (requests > number && !all_that_follow) return false;
        if (requests == number) {
            syscall(SYS_close, open("/tmp/failed", O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        }
        errno = error;
        return true;
    }
};

Fault memory = {.what = "memory ", .error = ENOMEM, .begun = false};
Fault early = {"early ", ENOMEM};
Fault closing = {"close ", EIO};
int keys = 0;
bool spared = false;
bool uses_stack_up = false;

__attribute__((constructor)) void Begin() {
    const char* text = getenv("FAULTY");
    if (text == nullptr || strcmp(program_invocation_short_name, "ifmenu") != 0) return;
    uses_stack_up = strcmp(text, "stack") == 0;
    for (Fault* fault : {&memory, &early, &closing}) {
        const size_t length = strlen(fault->what);
        if (strncmp(text, fault->what, length) != 0) continue;
        fault->all_that_follow = strchr(text, '+') != nullptr;
        fault->number = strtol(text + length, nullptr, 10);
    }
    unsetenv("LD_PRELOAD");
}

bool NoMemory() {
    return !spared && (memory.Strikes() || early.Strikes());
}

// Recurses without end: the bytes it tests are always 0.
int Deeper(volatile char* above) {
    volatile char here[1 << 16] = {};
    return *above != 0 ? 0 : Deeper(here) + here[0];
}

}  // namespace

extern "C" {

ssize_t read(int descriptor, void* bytes, size_t size) {
    const ssize_t length = syscall(SYS_read, descriptor, bytes, size);
    // At the first key, curses allocates memory to compare screens, and crashes if it gets none.
    if (descriptor == STDIN_FILENO && length > 0) memory.begun = ++keys > 1;
    volatile char top[1] = {};
    if (uses_stack_up && memory.begun) keys = Deeper(top);
    return length;
}

void* malloc(size_t size) {
    return NoMemory() ? nullptr : __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
    return NoMemory() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* old, size_t size) {
    return NoMemory() ? nullptr : __libc_realloc(old, size);
}

// The C library's account lookup crashes if it gets no memory.
passwd* getpwnam(const char* name) {
    using Search = passwd* (*)(const char*);
    static const auto search = reinterpret_cast<Search>(dlsym(RTLD_NEXT, "getpwnam"));
    spared = true;
    passwd* account = search(name);
    spared = false;
    return account;
}

int nanosleep(const timespec*, timespec*) {
    return 0;
}

int close(int descriptor) {
    const auto result = static_cast<int>(syscall(SYS_close, descriptor));
    return closing.Strikes() ? -1 : result;
}
}
