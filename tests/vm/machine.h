// The virtual machine of tools/vm: QEMU, its monitor, and the connections to it.
#pragma once

#include <sys/types.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace vm {

// Reported when a check fails or could not be tried.
class Failure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Checks a condition again and again, for as long as an emulated machine may need.
constexpr double kPatience = 180;
bool Await(const std::function<bool()>& condition, double seconds = kPatience);
void Require(bool holds, const std::string& what);

// A socket of QEMU. What arrives is collected in `received`.
class Socket {
  public:
    explicit Socket(const std::string& path);
    ~Socket();
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    void Send(const std::string& bytes);
    // Reads what has arrived; waits up to this time for it.
    void Receive(int milliseconds);
    std::string received;

  private:
    int fd_ = -1;
};

class Machine {
  public:
    // The folder contains vmlinuz, initrd, and the disks root.qcow2 and settings.qcow2. Uses KVM
    // where that works; returns once the machine responds.
    explicit Machine(const std::string& folder);
    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // Runs a command line in the machine's shell, as root and without a terminal, and returns its
    // output and exit status. Sh fails if the status is not 0.
    std::string Run(const std::string& command, int& status);
    std::string Sh(const std::string& command);
    bool Holds(const std::string& command);

    // Saves or restores the state of the whole machine under a name.
    void Save(const std::string& name);
    void Load(const std::string& name);
    // Sends a command of QEMU's human monitor; presses a key or a combination by QEMU's names.
    std::string Monitor(const std::string& command);
    void PressKeys(const std::string& names);

    const std::string& folder() const { return folder_; }
    bool emulated() const { return emulated_; }
    Socket& line() { return *line_; }

  private:
    bool Start(const std::string& accelerator);
    void End();
    std::string Command(const std::string& json);

    std::string folder_;
    pid_t qemu_ = -1;
    bool emulated_ = false;
    Socket* monitor_ = nullptr;
    Socket* control_ = nullptr;
    Socket* line_ = nullptr;
};

}  // namespace vm
