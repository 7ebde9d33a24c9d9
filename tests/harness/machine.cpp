#include "machine.h"

#include <fcntl.h>
#include <linux/if.h>
#include <linux/if_tun.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <ostream>
#include <sstream>

#include "terminal.h"

namespace harness {
namespace {

constexpr const char* kOwnFolder = "/mnt/.harness";
constexpr const char* kLog = "/mnt/.harness/calls";
constexpr const char* kRecorder = "/mnt/.harness/record";
constexpr const char* kCards = "/mnt/.harness/cards";
constexpr const char* kReports = "/mnt/.harness/reports";
constexpr const char* kStandIns = "/mnt/bin";
constexpr const char* kRealTools = "/usr/sbin:/usr/bin:/sbin:/bin";
constexpr double kStartSeconds = 20;
constexpr double kShellSeconds = 60;

// Later releases of the leak sanitizer start a process to learn whether ptrace is blocked. As the
// program ignores SIGCHLD, they get no exit status and warn at random.
bool IsOnlyThePtraceWarning(const std::string& report) {
    std::istringstream lines(report);
    std::string first;
    std::string second;
    std::string third;
    std::getline(lines, first);
    std::getline(lines, second);
    return first.find("==WARNING: ptrace appears to be blocked ") != std::string::npos &&
           second.find("==Child exited with signal ") != std::string::npos &&
           !std::getline(lines, third);
}

std::string Errno() {
    return strerror(errno);
}

// Receives the byte of the first process, and its pid as this process sees it.
pid_t ReceiveSender(int socket) {
    pollfd waiting{socket, POLLIN, 0};
    if (poll(&waiting, 1, static_cast<int>(kStartSeconds * 1000)) != 1) return -1;
    char byte = 0;
    iovec place{&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(ucred))];
    msghdr message{};
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    if (recvmsg(socket, &message, MSG_CMSG_CLOEXEC) != 1) return -1;
    const cmsghdr* header = CMSG_FIRSTHDR(&message);
    if (header == nullptr || header->cmsg_type != SCM_CREDENTIALS) return -1;
    ucred sender{};
    memcpy(&sender, CMSG_DATA(header), sizeof sender);
    return sender.pid;
}

ino_t Inode(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

Doorway OpenDoorway(pid_t pid) {
    const std::string proc = "/proc/" + std::to_string(pid);
    Doorway door;
    door.process = OpenProcess(pid);
    door.root = Descriptor(open((proc + "/root").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    door.own_users = Inode(proc + "/ns/user") != Inode("/proc/self/ns/user");
    return door;
}

Mode ModeOf(const std::string& word) {
    if (word == "line") return Mode::kLine;
    return word == "raw" ? Mode::kRaw : Mode::kAbsent;
}

// The fields of a record, as the recorder writes them: time, name, mode, signals, arguments.
constexpr size_t kFieldsBeforeArguments = 4;

Call CallOf(const std::vector<std::string>& fields) {
    Call call;
    call.seconds = std::stod(fields[0]);
    call.name = fields[1];
    call.mode = ModeOf(fields[2]);
    call.sigchld_ignored = fields[3].at(0) == 'i';
    call.sigint_ignored = fields[3].at(1) == 'i';
    call.sigquit_ignored = fields[3].at(2) == 'i';
    call.args.assign(fields.begin() + kFieldsBeforeArguments, fields.end());
    return call;
}

// Removes one record from the front of the text; false if it is incomplete.
bool TakeRecord(std::string& text, std::vector<std::string>& fields) {
    size_t at = text.find('\0');
    if (at == std::string::npos) return false;
    const size_t count = std::stoul(text.substr(0, at));
    at++;
    fields.clear();
    for (size_t i = 0; i < count; i++) {
        const size_t end = text.find('\0', at);
        if (end == std::string::npos) return false;
        fields.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    text.erase(0, at);
    return true;
}

std::vector<std::string> Lines(const std::vector<Call>& calls) {
    std::vector<std::string> lines;
    lines.reserve(calls.size());
    for (const Call& call : calls)
        lines.push_back(call.Line());
    return lines;
}

// A tap in the machine's network, as the descriptor that keeps it plugged in.
Descriptor OpenTap(const Doorway& door, const std::string& name, std::string& error) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return Descriptor();
    Descriptor ours(ends[0]);
    Descriptor theirs(ends[1]);
    const pid_t child = fork();
    if (child == 0) {
        const int user = door.own_users ? CLONE_NEWUSER : 0;
        ifreq request{};
        strncpy(request.ifr_name, name.c_str(), IFNAMSIZ - 1);
        request.ifr_flags = IFF_TAP | IFF_NO_PI;
        if (setns(door.process.get(), user | CLONE_NEWNET) != 0) _exit(errno);
        const int tap = open("/dev/net/tun", O_RDWR | O_CLOEXEC);
        if (tap < 0 || ioctl(tap, TUNSETIFF, &request) != 0) _exit(errno);
        char byte = 't';
        iovec place{&byte, 1};
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))];
        msghdr message{};
        message.msg_iov = &place;
        message.msg_iovlen = 1;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        cmsghdr* header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof(int));
        memcpy(CMSG_DATA(header), &tap, sizeof tap);
        _exit(sendmsg(theirs.get(), &message, 0) == 1 ? 0 : errno);
    }
    theirs.Close();
    int status = 0;
    waitpid(child, &status, 0);
    if (status != 0) {
        error = strerror(WEXITSTATUS(status));
        return Descriptor();
    }
    char byte = 0;
    iovec place{&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))];
    msghdr message{};
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    int tap = -1;
    if (recvmsg(ours.get(), &message, MSG_CMSG_CLOEXEC) == 1 &&
        CMSG_FIRSTHDR(&message) != nullptr) {
        memcpy(&tap, CMSG_DATA(CMSG_FIRSTHDR(&message)), sizeof tap);
    }
    return Descriptor(tap);
}

}  // namespace

std::string Call::Line() const {
    std::string line = name;
    for (const std::string& arg : args)
        line += " " + arg;
    return line;
}

std::ostream& operator<<(std::ostream& out, const Call& call) {
    const char* const modes[] = {"line  ", "raw   ", "absent"};
    out << modes[static_cast<int>(call.mode)] << " " << call.name;
    for (const std::string& arg : call.args)
        out << " '" << arg << "'";
    return out;
}

Machine::Machine(Kind kind, Place place) {
    Start(kind, place);
}

void Machine::Start(Kind kind, const Place& place) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) Fail(Errno(), place);
    life_ = Descriptor(ends[0]);
    Descriptor theirs(ends[1]);
    const int on = 1;
    setsockopt(life_.get(), SOL_SOCKET, SO_PASSCRED, &on, sizeof on);
    enter_output_ = MemoryFile();

    // Above the numbers that shell scripts use for their own redirections.
    constexpr int kAboveShells = 50;
    Descriptor inside(fcntl(theirs.get(), F_DUPFD_CLOEXEC, kAboveShells));
    const std::string number = std::to_string(inside.get());
    std::vector<const char*> words = {HARNESS_ENTER};
    if (kind == Kind::kBare) words.push_back("--bare");
    words.insert(words.end(), {HARNESS_INIT, number.c_str(), nullptr});
    enter_ = fork();
    if (enter_ == 0) {
        const int null = open("/dev/null", O_RDWR);
        dup2(null, 0);
        dup2(enter_output_.get(), 1);
        dup2(enter_output_.get(), 2);
        fcntl(inside.get(), F_SETFD, 0);
        setsid();
        execv(words[0], const_cast<char* const*>(words.data()));
        _exit(127);
    }
    theirs.Close();
    inside.Close();
    init_ = ReceiveSender(life_.get());
    if (init_ < 0) {
        kill(enter_, SIGKILL);
        waitpid(enter_, nullptr, 0);
        Fail(std::string(HARNESS_ENTER) + " made no machine:\n" + ReadWhole(enter_output_.get()),
             place);
    }
    door_ = OpenDoorway(init_);

    MakeDirectory(kOwnFolder);
    MakeDirectory(kReports);
    MakeDirectory(kStandIns);
    chmod(OutsidePath(kReports).c_str(), 01777);
    Write(kLog, "", 0666, place);
    // A copy, because not every user can enter the folder of the original.
    std::filesystem::copy_file(HARNESS_RECORD, OutsidePath(kRecorder));
    chmod(OutsidePath(kRecorder).c_str(), 0755);
    watch_ = Descriptor(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    inotify_add_watch(watch_.get(), OutsidePath(kLog).c_str(), IN_MODIFY);
}

Machine::~Machine() {
    if (init_ < 0) return;
    std::error_code none;
    for (const auto& file : std::filesystem::directory_iterator(OutsidePath(kReports), none)) {
        const std::string report = ReadWhole(file.path().string());
        if (!IsOnlyThePtraceWarning(report)) ADD_FAILURE() << "A sanitizer reports:\n" << report;
    }
    kill(init_, SIGKILL);  // kills all processes of the machine
    life_.Close();
    waitpid(enter_, nullptr, 0);
}

std::string Machine::Sh(const std::string& command, Place place) {
    const Descriptor output = MemoryFile();
    const Descriptor error = MemoryFile();
    Spawning what;
    what.words = {"/bin/sh", "-c", command};
    std::map<std::string, std::string> environment = Environment();
    environment["PATH"] = kRealTools;
    for (const auto& [name, value] : environment)
        what.Set(name, value);
    what.output = output.get();
    what.error = error.get();
    const Started shell = Spawn(door_, what);
    if (!shell.error.empty()) Fail("sh: " + shell.error, place);
    const auto ended = [&] {
        pollfd process{shell.process.get(), POLLIN, 0};
        return poll(&process, 1, 0) == 1;
    };
    const bool in_time = Await(ended, kShellSeconds);
    if (!in_time) kill(shell.pid, SIGKILL);
    int status = 0;
    waitpid(shell.pid, &status, 0);
    if (!in_time || status != 0) {
        std::ostringstream report;
        report << "$ " << command << "\n"
               << ReadWhole(output.get()) << ReadWhole(error.get())
               << (in_time ? "" : "did not end in time; ")
               << (WIFEXITED(status) ? "exit status " : "killed by signal ")
               << (WIFEXITED(status) ? WEXITSTATUS(status) : WTERMSIG(status));
        Fail(report.str(), place);
    }
    return ReadWhole(output.get());
}

std::string Machine::OutsidePath(const std::string& path) const {
    return "/proc/" + std::to_string(init_) + "/root" + path;
}

void Machine::Write(const std::string& path, const std::string& text, mode_t mode, Place place) {
    const std::string outside = OutsidePath(path);
    const Descriptor file(open(outside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode));
    if (!file) Fail("cannot write " + path + ": " + Errno(), place);
    const ssize_t wrote = write(file.get(), text.data(), text.size());
    if (wrote != static_cast<ssize_t>(text.size()) || fchmod(file.get(), mode) != 0) {
        Fail("cannot write " + path + ": " + Errno(), place);
    }
}

std::string Machine::Read(const std::string& path, Place place) {
    const Descriptor file(open(OutsidePath(path).c_str(), O_RDONLY | O_CLOEXEC));
    if (!file) Fail("cannot read " + path + ": " + Errno(), place);
    return ReadWhole(file.get());
}

bool Machine::Exists(const std::string& path) const {
    struct stat status {};
    return lstat(OutsidePath(path).c_str(), &status) == 0;
}

void Machine::Remove(const std::string& path) {
    std::filesystem::remove_all(OutsidePath(path));
}

void Machine::MakeDirectory(const std::string& path) {
    std::filesystem::create_directories(OutsidePath(path));
}

void Machine::PutStandIn(const std::string& name, const std::string& part,
                         const std::string& text) {
    const std::string path = name.front() == '/' ? name : kStandIns + ("/" + name);
    MakeDirectory(std::filesystem::path(path).parent_path());
    // Renamed into place: the program may call it at any moment.
    const std::string fresh = path + ".new";
    Write(fresh, std::string("#!") + kRecorder + "\n" + name + "\n" + part + "\n" + text, 0755);
    std::filesystem::rename(OutsidePath(fresh), OutsidePath(path));
}

void Machine::StandIn(const std::string& name, const std::string& reply, int exit_status) {
    PutStandIn(name, "reply " + std::to_string(exit_status), reply);
}

void Machine::StandInScript(const std::string& name, const std::string& script) {
    PutStandIn(name, "script", script);
}

void Machine::Record(const std::string& name) {
    PutStandIn(name, "real", "");
}

void Machine::ReadCalls() {
    const Descriptor log(open(OutsidePath(kLog).c_str(), O_RDONLY | O_CLOEXEC));
    char chunk[16384];
    ssize_t got = 0;
    while ((got = pread(log.get(), chunk, sizeof chunk, static_cast<off_t>(log_read_))) > 0) {
        log_tail_.append(chunk, static_cast<size_t>(got));
        log_read_ += static_cast<size_t>(got);
    }
    std::vector<std::string> fields;
    while (TakeRecord(log_tail_, fields))
        calls_.push_back(CallOf(fields));
}

std::vector<Call> Machine::Calls() {
    ReadCalls();
    return calls_;
}

std::vector<Call> Machine::Calls(const std::string& name) {
    std::vector<Call> calls;
    for (const Call& call : Calls()) {
        if (call.name == name) calls.push_back(call);
    }
    return calls;
}

std::vector<std::string> Machine::CallLines() {
    return Lines(Calls());
}
std::vector<std::string> Machine::CallLines(const std::string& name) {
    return Lines(Calls(name));
}

void Machine::ForgetCalls() {
    ReadCalls();
    calls_.clear();
}

std::string Machine::CallLog() {
    std::ostringstream log;
    log << "Commands (terminal's mode, command):\n";
    for (const Call& call : Calls())
        log << "  " << call << "\n";
    return log.str();
}

void Machine::WaitForCalls(const std::string& name, size_t n, double seconds, Place place) {
    WaitUntil([&] { return Calls(name).size() >= n; }, std::to_string(n) + " calls of " + name,
              seconds, place);
}

void Machine::WaitUntil(const std::function<bool()>& condition, const std::string& what,
                        double seconds, Place place) {
    if (Await(condition, seconds)) return;
    std::string report = "Timed out waiting for " + what + "\n";
    for (Terminal* terminal : terminals_)
        report += terminal->Picture();
    Fail(report + CallLog(), place);
}

bool Machine::Await(const std::function<bool()>& condition, double seconds) {
    const double end = Now() + seconds;
    for (;;) {
        for (Terminal* terminal : terminals_)
            terminal->Serve();
        if (condition()) return true;
        const double left = end - Now();
        if (left <= 0) return false;

        std::vector<pollfd> waiting = {{watch_.get(), POLLIN, 0}};
        for (const Terminal* terminal : terminals_)
            terminal->AddWaiting(waiting);
        constexpr double kTick = 0.020;
        const double milliseconds = 1 + std::min(left, kTick) * 1000;
        poll(waiting.data(), waiting.size(), static_cast<int>(milliseconds));
        char events[1024];
        while (read(watch_.get(), events, sizeof events) > 0) {
        }
    }
}

void Machine::AddTap(const std::string& name, bool carrier, Place place) {
    std::string error;
    Descriptor tap = OpenTap(door_, name, error);
    if (!tap && door_.own_users) Skip("an ordinary user may not make taps here: " + error, place);
    if (!tap) Fail("cannot make the tap " + name + ": " + error, place);
    taps_[name] = std::move(tap);
    if (!carrier) SetLink(name, false, place);
}

void Machine::AddBridge(const std::string& name, Place place) {
    Sh("ip link add " + name + " type bridge", place);
}

void Machine::SetLink(const std::string& tap, bool carrier, Place place) {
    const auto found = taps_.find(tap);
    if (found == taps_.end()) Fail("there is no tap " + tap, place);
    int on = carrier ? 1 : 0;
    if (ioctl(found->second.get(), TUNSETCARRIER, &on) != 0) Fail(tap + ": " + Errno(), place);
}

void Machine::Cards(const std::string& description) {
    const std::string fresh = std::string(kCards) + ".new";
    Write(fresh, description);
    std::filesystem::rename(OutsidePath(fresh), OutsidePath(kCards));
    has_cards_ = true;
}

void Machine::RfkillFiles(const std::string& name, const FileText& state, const FileText& hard,
                          const FileText& soft) {
    const std::string folder = "/sys/class/net/" + name + "/phy80211/rfkill0";
    Sh("mountpoint -q /sys/class/net || mount -t tmpfs none /sys/class/net; mkdir -p " + folder);
    const std::pair<const char*, const FileText&> files[] = {
        {"/state", state}, {"/hard", hard}, {"/soft", soft}};
    for (const auto& [file, text] : files) {
        Remove(folder + file);
        if (text) Write(folder + file, *text);
    }
}

std::map<std::string, std::string> Machine::Environment() const {
    return {
        {"PATH", std::string(kStandIns) + ":" + kRealTools},
        {"HOME", "/root"},
        {"SHELL", "/bin/sh"},
        {"LANG", "C.UTF-8"},
        // The cards' library is preloaded before the sanitizer's.
        {"ASAN_OPTIONS", std::string("verify_asan_link_order=0:log_path=") + kReports + "/asan"},
        {"UBSAN_OPTIONS", "print_stacktrace=1:color=never"},
    };
}

std::map<std::string, std::string> Machine::Latin1Locale(Place place) {
    const std::string folder = std::string(kOwnFolder) + "/locale";
    MakeDirectory(folder);
    Sh("localedef -i en_US -f ISO-8859-1 " + folder + "/en_US.ISO-8859-1", place);
    return {{"LANG", "en_US.ISO-8859-1"}, {"LOCPATH", folder}};
}

void Machine::Attach(Terminal* terminal) {
    terminals_.push_back(terminal);
}

void Machine::Detach(Terminal* terminal) {
    terminals_.erase(std::remove(terminals_.begin(), terminals_.end(), terminal), terminals_.end());
}

}  // namespace harness
