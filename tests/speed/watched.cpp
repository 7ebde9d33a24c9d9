#include "watched.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utmp.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <string_view>

namespace {

constexpr double kPatience = 20;

constexpr double kStill = 0.04;

struct Ended : std::runtime_error {
    Ended() : std::runtime_error("the program has ended") {}
};

std::map<std::string, std::string> Environment(const Command& command) {
    std::map<std::string, std::string> environment = {
        {"PATH", std::getenv("PATH")}, {"HOME", "/root"},          {"USER", "root"},
        {"LANG", "C.UTF-8"},           {"TERM", command.terminal},
    };
    for (const auto& [name, value] : command.environment)
        environment[name] = value;
    return environment;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

[[noreturn]] void Execute(int terminal, char* const* words, char* const* environment,
                          double* started) {
    login_tty(terminal);
    *started = harness::Now();
    execve(words[0], words, environment);
    _exit(127);
}

}  // namespace

SharedNumber MakeSharedNumber() {
    void* page =
        mmap(nullptr, sizeof(double), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (page == MAP_FAILED) throw std::runtime_error("no memory to be had");
    return {static_cast<double*>(page), [](double* number) { munmap(number, sizeof *number); }};
}

Watched::Watched(const Command& command)
    : started_(MakeSharedNumber()),
      rows_(command.rows),
      emulator_(rows_, kColumns, {}, [](const auto&) {}) {
    const winsize size = {static_cast<unsigned short>(rows_), kColumns, 0, 0};
    int master = -1;
    int terminal = -1;
    if (openpty(&master, &terminal, nullptr, nullptr, &size) != 0) {
        throw std::runtime_error("no terminal to be had");
    }
    master_ = harness::Descriptor(master);
    const harness::Descriptor other_end(terminal);
    fcntl(master, F_SETFD, FD_CLOEXEC);
    fcntl(master, F_SETFL, O_NONBLOCK);
    std::vector<std::string> words = command.words;
    std::vector<std::string> settings;
    for (const auto& [name, value] : Environment(command))
        settings.push_back(name + "=" + value);
    const std::vector<char*> word_pointers = Pointers(words);
    const std::vector<char*> setting_pointers = Pointers(settings);
    pid_ = fork();
    if (pid_ == 0) {
        Execute(terminal, word_pointers.data(), setting_pointers.data(), started_.get());
    }
}

Watched::~Watched() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

bool Watched::Read(double seconds) {
    pollfd input = {master_.get(), POLLIN, 0};
    const auto whole = static_cast<time_t>(seconds);
    const timespec wait = {whole, static_cast<long>((seconds - static_cast<double>(whole)) * 1e9)};
    if (ppoll(&input, 1, &wait, nullptr) <= 0) return false;
    char buffer[8192];
    const ssize_t count = read(master_.get(), buffer, sizeof buffer);
    const double now = harness::Now();
    if (count <= 0) throw Ended();
    last_byte_ = now;
    bytes_ += count;
    all_.append(buffer, static_cast<size_t>(count));
    constexpr std::string_view kClear = "\x1b[2J";
    if (std::string_view(buffer, static_cast<size_t>(count)).find(kClear) != kClear.npos) {
        last_picture_ = now;
    }
    return true;
}

void Watched::ReadUntilQuiet(double seconds) {
    while (Read(seconds)) {
    }
}

void Watched::ReadFor(double seconds) {
    const double end = harness::Now() + seconds;
    double left = seconds;
    while (left > 0) {
        Read(left);
        left = end - harness::Now();
    }
}

void Watched::ReadToEnd() {
    try {
        ReadUntilQuiet(kPatience);
    } catch (const Ended&) {
        return;
    }
}

double Watched::WaitForRow(int row, const std::string& text) {
    const double end = harness::Now() + kPatience;
    while (Row(row) != text) {
        if (harness::Now() > end) throw std::runtime_error("\"" + text + "\" never came");
        Read(kPatience);
    }
    ReadUntilQuiet(kStill);
    return last_byte_;
}

double Watched::Send(const std::string& bytes) {
    const double now = harness::Now();
    if (write(master_.get(), bytes.data(), bytes.size()) < 0) {
        throw std::runtime_error("the terminal takes no key");
    }
    return now;
}

void Watched::FeedEmulator() {
    if (fed_ == all_.size()) return;
    emulator_.Feed(all_.substr(fed_));
    fed_ = all_.size();
}

std::string Watched::Row(int row) {
    FeedEmulator();
    std::string text;
    for (int column = 0; column < kColumns; ++column)
        text += emulator_.At(row, column).text;
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

std::string Watched::Picture() {
    FeedEmulator();
    std::string picture;
    for (int row = 0; row < rows_; ++row) {
        for (int column = 0; column < kColumns; ++column) {
            const harness::Cell cell = emulator_.At(row, column);
            picture += cell.text + "[" + cell.Style() + "]";
        }
        picture += "\n";
    }
    return picture;
}

bool Watched::IsSelected(int row) {
    constexpr int kBehindTheText = 70;
    FeedEmulator();
    return emulator_.At(row, kBehindTheText).bg == harness::kBlue;
}

double Watched::ProcessorSeconds() const {
    clockid_t clock = 0;
    timespec time = {};
    if (clock_getcpuclockid(pid_, &clock) != 0 || clock_gettime(clock, &time) != 0) return 0;
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

double Watched::NumberIn(const std::string& file, const std::string& field) const {
    const std::string text = harness::ReadWhole("/proc/" + std::to_string(pid_) + "/" + file);
    const size_t at = text.find("\n" + field + ":");
    return at == std::string::npos ? 0 : std::atof(text.c_str() + at + field.size() + 2);
}
