// Starts programs in a private machine, and wraps file descriptors for the harness.
//
//     Spawning what;
//     what.words = {"/bin/sh", "-c", "ip link"};
//     Started child = Spawn(machine, what);      // a child of this process, inside the machine
//     int status = 0;
//     waitpid(child.pid, &status, 0);
#pragma once

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

namespace harness {

// A file descriptor that its owner closes; -1 means none.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { Close(); }

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }
    void Close();

  private:
    int fd_ = -1;
};

// The way into a machine: descriptors of its first process and its root folder.
struct Doorway {
    Descriptor process;      // a pidfd
    Descriptor root;         // the root folder of that process
    bool own_users = false;  // the machine has a user namespace of its own
};

struct Spawning {
    std::vector<std::string> words;           // the program's path, then its arguments
    std::vector<std::string> environment;     // "NAME=value" each; nothing is inherited
    int input = -1, output = -1, error = -1;  // descriptors 0, 1, 2; -1 is /dev/null
    int terminal = -1;  // becomes the controlling terminal, the program in its foreground
    uid_t user = 0;     // other than 0: that user, without any further group
    std::vector<int> ignored_signals;  // all others start at their defaults, none blocked

    void Set(const std::string& name, const std::string& value) {
        environment.push_back(std::string(name).append("=").append(value));
    }
};

struct Started {
    pid_t pid = -1;      // as this process numbers it; a child of this process
    Descriptor process;  // its pidfd
    std::string error;   // why it could not be started; empty when it runs
};

// Starts a program in its own session inside the machine. If this returns without an error, the
// program has been executed.
Started Spawn(const Doorway& machine, const Spawning& what);

// The pidfd of one of our processes; readable once the process has ended.
Descriptor OpenProcess(pid_t pid);

// All bytes of an open file from its start, or of the file at a path ("" if unreadable).
std::string ReadWhole(int fd);
std::string ReadWhole(const std::string& path);

// An anonymous file in memory.
Descriptor MemoryFile();

// Seconds on the monotonic clock, as in recorded calls.
double Now();

}  // namespace harness
