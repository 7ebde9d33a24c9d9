#include "machine.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>
#include <vector>

namespace vm {
namespace {

using Clock = std::chrono::steady_clock;

void Nap() {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
}

std::string ReadFile(const std::string& path) {
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

// The value of a text in a reply of the monitor, without escapes.
std::string Unescaped(const std::string& json) {
    std::string text;
    for (size_t i = 0; i < json.size(); i++) {
        if (json[i] != '\\' || i + 1 == json.size()) {
            text += json[i];
            continue;
        }
        const char letter = json[++i];
        text += letter == 'n' ? '\n' : letter == 'r' ? '\r' : letter == 't' ? '\t' : letter;
    }
    return text;
}

std::string Quoted(const std::string& text) {
    std::string json = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') json += '\\';
        json += c;
    }
    return json + '"';
}

}  // namespace

bool Await(const std::function<bool()>& condition, double seconds) {
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    while (!condition()) {
        if (Clock::now() > end) return false;
        Nap();
    }
    return true;
}

void Require(bool holds, const std::string& what) {
    if (!holds) throw Failure(what);
}

Socket::Socket(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    Require(path.size() < sizeof address.sun_path, "path too long for a socket: " + path);
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    fd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const auto connects = [&] {
        return connect(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    };
    if (!Await(connects, 10)) {
        close(fd_);
        throw Failure("QEMU does not answer at " + path);
    }
}

Socket::~Socket() {
    close(fd_);
}

void Socket::Send(const std::string& bytes) {
    Require(
        send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size()),
        "QEMU has ended");
}

void Socket::Receive(int milliseconds) {
    pollfd ready{fd_, POLLIN, 0};
    while (poll(&ready, 1, milliseconds) > 0) {
        char bytes[4096];
        const ssize_t got = recv(fd_, bytes, sizeof bytes, 0);
        if (got <= 0) return;
        received.append(bytes, static_cast<size_t>(got));
        milliseconds = 0;
    }
}

Machine::Machine(const std::string& folder) : folder_(folder) {
    if (access("/dev/kvm", R_OK | W_OK) == 0 && Start("kvm")) return;
    End();
    emulated_ = true;
    Require(Start("tcg"), "The machine does not start. See " + folder_ + "/qemu.log and " +
                              folder_ + "/kernel.log");
}

Machine::~Machine() {
    End();
}

void Machine::End() {
    delete monitor_;
    delete control_;
    delete line_;
    monitor_ = control_ = line_ = nullptr;
    if (qemu_ <= 0) return;
    kill(qemu_, SIGKILL);
    waitpid(qemu_, nullptr, 0);
    qemu_ = -1;
}

bool Machine::Start(const std::string& accelerator) {
    const auto socket = [&](const std::string& name) {
        return "socket,id=" + name + ",path=" + folder_ + "/" + name + ".socket,server=on,wait=off";
    };
    const auto disk = [&](const std::string& name, const std::string& cache) {
        return "file=" + folder_ + "/" + name + ".qcow2,if=virtio,format=qcow2,cache=" + cache;
    };
    // Two cards on one wire, without a way out.
    std::vector<std::string> words = {
        "qemu-system-x86_64",
        "-accel",
        accelerator,
        "-cpu",
        "max",
        "-m",
        "512",
        "-nodefaults",
        "-no-user-config",
        "-display",
        "none",
        "-vga",
        "std",
        "-no-reboot",
        "-kernel",
        folder_ + "/vmlinuz",
        "-initrd",
        folder_ + "/initrd",
        "-append",
        "root=/dev/vda rw console=ttyS0 console=tty0 init=/vm/init panic=1",
        "-drive",
        disk("root", "unsafe"),
        "-drive",
        disk("settings", "writeback"),
        "-netdev",
        "hubport,id=near,hubid=0",
        "-device",
        "virtio-net-pci,netdev=near,mac=02:00:00:00:10:20,romfile=",
        "-netdev",
        "hubport,id=far,hubid=0",
        "-device",
        "virtio-net-pci,netdev=far,mac=02:00:00:00:30:20,romfile=",
        "-device",
        "piix3-usb-uhci",
        "-chardev",
        "file,id=kernel,path=" + folder_ + "/kernel.log",
        "-device",
        "isa-serial,chardev=kernel",
        "-chardev",
        socket("line"),
        "-device",
        "isa-serial,chardev=line",
        "-device",
        "virtio-serial-pci",
        "-chardev",
        socket("control"),
        "-device",
        "virtserialport,chardev=control,name=control",
        "-chardev",
        socket("monitor"),
        "-mon",
        "chardev=monitor,mode=control"};
    // The clock of an emulated machine counts its instructions, so that a busy computer does not
    // cause pauses between the bytes of a key. Its pace is fixed: an adaptive one speeds up on a
    // busy computer until the machine does nothing but serve its clock.
    if (accelerator == "tcg") words.insert(words.end(), {"-icount", "shift=3,sleep=on"});
    for (const char* file : {"kernel.log", "line.socket", "control.socket", "monitor.socket"})
        unlink((folder_ + "/" + file).c_str());
    qemu_ = fork();
    if (qemu_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int log = open((folder_ + "/qemu.log").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(log, 1);
        dup2(log, 2);
        std::vector<char*> argv;
        for (std::string& word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);
        execvp(argv[0], argv.data());
        _exit(127);
    }
    // If KVM only seems to work, QEMU exits, or the kernel prints nothing at all.
    bool ended = false;
    const auto kernel_speaks = [&] {
        ended = waitpid(qemu_, nullptr, WNOHANG) == qemu_;
        return ended ||
               ReadFile(folder_ + "/kernel.log").find("Linux version") != std::string::npos;
    };
    const bool speaks = Await(kernel_speaks, accelerator == "kvm" ? 15 : 60);
    if (ended) qemu_ = -1;
    if (ended || !speaks) return false;
    try {
        monitor_ = new Socket(folder_ + "/monitor.socket");
        control_ = new Socket(folder_ + "/control.socket");
        line_ = new Socket(folder_ + "/line.socket");
        Command(R"({"execute":"qmp_capabilities"})");
        const auto ready = [&] {
            control_->Receive(0);
            line_->Receive(0);
            return control_->received.find("ready\n") != std::string::npos;
        };
        if (!Await(ready, 300)) return false;
    } catch (const Failure&) {
        return false;
    }
    control_->received.clear();
    return true;
}

std::string Machine::Command(const std::string& json) {
    monitor_->received.clear();
    monitor_->Send(json + "\n");
    std::string answer;
    const auto answered = [&] {
        monitor_->Receive(20);
        std::istringstream lines(monitor_->received);
        for (std::string text; std::getline(lines, text);) {
            const bool whole = !lines.eof();
            if (!whole || (text.rfind("{\"return\"", 0) != 0 && text.rfind("{\"error\"", 0) != 0))
                continue;
            answer = text;
            return true;
        }
        return false;
    };
    Require(Await(answered, 120), "QEMU's monitor does not answer: " + json);
    Require(answer.rfind("{\"return\"", 0) == 0, json + ": " + answer);
    return answer;
}

std::string Machine::Monitor(const std::string& command) {
    const std::string answer =
        Command(R"({"execute":"human-monitor-command","arguments":{"command-line":)" +
                Quoted(command) + "}}");
    const size_t start = answer.find(": \"") + 3;
    return Unescaped(answer.substr(start, answer.rfind('"') - start));
}

void Machine::PressKeys(const std::string& names) {
    std::string keys;
    std::istringstream list(names);
    for (std::string name; std::getline(list, name, '-');) {
        if (!keys.empty()) keys += ',';
        keys.append(R"({"type":"qcode","data":")").append(name).append("\"}");
    }
    Command(R"({"execute":"send-key","arguments":{"hold-time":20,"keys":[)" + keys + "]}}");
    // A key is released before the next one.
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
}

void Machine::Save(const std::string& name) {
    const std::string said = Monitor("savevm " + name);
    Require(said.empty(), "savevm: " + said);
}

void Machine::Load(const std::string& name) {
    const std::string said = Monitor("loadvm " + name);
    Require(said.empty(), "loadvm: " + said);
    Monitor("cont");
    control_->Receive(50);
    control_->received.clear();
    line_->Receive(50);
    line_->received.clear();
}

std::string Machine::Run(const std::string& command, int& status) {
    control_->received.clear();
    control_->Send(command + "\n");
    std::string output;
    const auto answered = [&] {
        control_->Receive(20);
        const size_t head = control_->received.find('\n');
        if (head == std::string::npos) return false;
        size_t length = 0;
        std::istringstream(control_->received) >> length >> status;
        if (control_->received.size() < head + 1 + length) return false;
        output = control_->received.substr(head + 1, length);
        return true;
    };
    Require(Await(answered, 600), "The machine does not answer: " + command);
    return output;
}

std::string Machine::Sh(const std::string& command) {
    int status = 0;
    const std::string output = Run(command, status);
    Require(status == 0, command + "\nstatus " + std::to_string(status) + ": " + output);
    return output;
}

bool Machine::Holds(const std::string& command) {
    int status = 0;
    Run(command, status);
    return status == 0;
}

}  // namespace vm
