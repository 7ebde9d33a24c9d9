#include "terminal.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <sstream>

namespace harness {
namespace {

constexpr double kEscapePause = 0.060;

std::string TrimEnd(std::string text) {
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

std::string Trim(const std::string& text) {
    const size_t start = text.find_first_not_of(' ');
    return start == std::string::npos ? "" : TrimEnd(text.substr(start));
}

// The fields of /proc/PID/stat, starting with the third, the state.
std::vector<std::string> Stat(pid_t pid) {
    const std::string text = ReadWhole("/proc/" + std::to_string(pid) + "/stat");
    const size_t after_name = text.rfind(") ");
    if (after_name == std::string::npos) return {};
    std::istringstream rest(text.substr(after_name + 2));
    std::vector<std::string> fields;
    for (std::string field; rest >> field;)
        fields.push_back(field);
    return fields;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Ending& ending) {
    if (ending.signal != 0) return out << "killed by " << strsignal(ending.signal);
    return out << "exit status " << ending.status;
}

std::string TestedProgram() {
    const char* other = std::getenv("IFMENU_TESTED_PROGRAM");
    return other != nullptr ? other : IFMENU_PROGRAM;
}

bool HasSanitizers() {
    static const bool has = ReadWhole(TestedProgram()).find("__asan_init") != std::string::npos;
    return has;
}

Terminal::Terminal(Machine& machine, const TerminalOptions& options, Place place)
    : machine_(machine),
      options_(options),
      emulator_(options_.rows > 0 ? options_.rows : 24, options_.cols > 0 ? options_.cols : 80,
                {options_.latin1, ErasesWithColour(options_.term)},
                [this](const std::string& reply) { Send(reply); }) {
    Start(place);
    machine_.Attach(this);
}

void Terminal::Start(const Place& place) {
    if (options_.user != 0 && machine_.door().own_users) {
        Skip("a machine of an ordinary user has root alone", place);
    }
    // Opened by its path in the machine, so that it belongs to the machine's /dev/pts.
    constexpr int kHow = O_RDWR | O_NOCTTY | O_CLOEXEC;
    master_ = Descriptor(open(machine_.OutsidePath("/dev/ptmx").c_str(), kHow | O_NONBLOCK));
    if (!master_) master_ = Descriptor(open("/dev/ptmx", kHow | O_NONBLOCK));
    if (!master_ || unlockpt(master_.get()) != 0) {
        Fail(std::string("pseudo-terminal: ") + strerror(errno), place);
    }
    slave_ = Descriptor(ioctl(master_.get(), TIOCGPTPEER, kHow));
    const winsize size = {static_cast<unsigned short>(options_.rows),
                          static_cast<unsigned short>(options_.cols), 0, 0};
    ioctl(master_.get(), TIOCSWINSZ, &size);

    Spawning what;
    what.words = {options_.program.empty() ? TestedProgram() : options_.program};
    what.words.insert(what.words.end(), options_.arguments.begin(), options_.arguments.end());
    std::map<std::string, std::string> environment = machine_.Environment();
    if (!options_.term.empty()) environment["TERM"] = options_.term;
    if (machine_.has_cards()) {
        environment["LD_PRELOAD"] = HARNESS_CARDS;
        environment["APPLIANCE_CARDS"] = "/mnt/.harness/cards";
    }
    for (const auto& [name, value] : options_.environment)
        environment[name] = value;
    for (const auto& [name, value] : environment)
        what.Set(name, value);
    Descriptor input;
    if (!options_.input.empty()) {
        input =
            Descriptor(open(machine_.OutsidePath(options_.input).c_str(), O_RDONLY | O_CLOEXEC));
        if (!input) Fail("cannot open " + options_.input, place);
    }
    what.input = input ? input.get() : slave_.get();
    what.output = what.error = what.terminal = slave_.get();
    what.user = options_.user;
    what.ignored_signals = options_.ignored_signals;
    Started started = Spawn(machine_.door(), what);
    if (!started.error.empty()) Fail("cannot start " + what.words[0] + ": " + started.error, place);
    pid_ = started.pid;
    process_ = std::move(started.process);
}

Terminal::~Terminal() {
    if (pid_ > 0) {
        Drain();
        FailOnRuntimeError();
        if (testing::Test::HasFailure() && !pictured_) {
            std::cout << Picture() << machine_.CallLog() << std::flush;
        }
        if (!ending_) {
            kill(pid_, SIGKILL);
            CollectEnding(true);
        }
    }
    machine_.Detach(this);
}

void Terminal::FailWith(const std::string& what, const Place& place) {
    pictured_ = true;
    Fail(what + "\n" + Picture() + machine_.CallLog(), place);
}

// ---- input ----

void Terminal::Send(const std::string& bytes) {
    size_t sent = 0;
    while (sent < bytes.size() && master_) {
        const ssize_t wrote = write(master_.get(), bytes.data() + sent, bytes.size() - sent);
        if (wrote > 0) {
            sent += static_cast<size_t>(wrote);
        } else if (errno == EAGAIN) {  // the program is not reading: send only as much as fits
            pollfd room{master_.get(), POLLOUT, 0};
            if (poll(&room, 1, 1000) != 1) return;
        } else {
            return;
        }
    }
}

void Terminal::WaitAfterEscape() {
    if (!escape_sent_) return;
    escape_sent_ = false;
    Await([this] { return ending_ || InputTaken(); }, kPatience);
    RunFor(kEscapePause);
}

void Terminal::Press(const std::string& keys, Place place) {
    std::string error;
    const std::vector<KeyPress> presses = KeyPresses(options_.term, keys, error);
    if (!error.empty()) Fail(error, place);
    for (const KeyPress& press : presses) {
        WaitAfterEscape();
        Send(press.bytes);
        escape_sent_ = press.bytes == "\x1b";
    }
}

void Terminal::Type(const std::string& text) {
    WaitAfterEscape();
    Send(text);
}

void Terminal::SendBytes(const std::string& bytes) {
    Send(bytes);
    escape_sent_ = !bytes.empty() && bytes.back() == '\x1b';
}

bool Terminal::SendSlowly(const std::string& bytes, double pause, double most) {
    const timespec rest{0, static_cast<long>(pause * 1e9)};
    double before_last = 0;
    for (size_t i = 0; i < bytes.size(); i++) {
        if (i > 0) nanosleep(&rest, nullptr);
        const double before = Now();
        SendBytes(bytes.substr(i, 1));
        if (i > 0 && Now() - before_last > most) return false;
        before_last = before;
    }
    return true;
}

void Terminal::SendMouse(MouseEvent event, int row, int col) {
    WaitAfterEscape();
    Send(MouseBytes(emulator_.modes(), event, row, col));
}

void Terminal::Hover(int row, int col) {
    SendMouse(MouseEvent::kMove, row, col);
}
void Terminal::MousePress(int row, int col) {
    SendMouse(MouseEvent::kPress, row, col);
}
void Terminal::MouseRelease(int row, int col) {
    SendMouse(MouseEvent::kRelease, row, col);
}

void Terminal::Click(int row, int col) {
    WaitAfterEscape();
    Send(MouseBytes(emulator_.modes(), MouseEvent::kPress, row, col) +
         MouseBytes(emulator_.modes(), MouseEvent::kRelease, row, col));
}

void Terminal::DoubleClick(int row, int col) {
    Click(row, col);
    Click(row, col);
}

void Terminal::Resize(int rows, int cols) {
    Drain();
    emulator_.Resize(rows, cols);
    const winsize size = {static_cast<unsigned short>(rows), static_cast<unsigned short>(cols), 0,
                          0};
    ioctl(master_.get(), TIOCSWINSZ, &size);
}

void Terminal::Signal(int number) {
    if (!ending_) kill(pid_, number);
}

void Terminal::HangUp() {
    Drain();
    master_.Close();
}

// ---- waiting ----

bool Terminal::Drain() {
    bool any = false;
    char bytes[16384];
    ssize_t got = 0;
    while (master_ && (got = read(master_.get(), bytes, sizeof bytes)) > 0) {
        any = true;
        output_.append(bytes, static_cast<size_t>(got));
        emulator_.Feed(std::string(bytes, static_cast<size_t>(got)));
    }
    return any;
}

// The kernel hands output on beside the program: a byte behind the last one tells when all is here.
void Terminal::DrainToTheEnd() {
    pollfd output{slave_.get(), POLLOUT, 0};
    if (!master_ || poll(&output, 1, 0) != 1 || write(slave_.get(), "", 1) != 1) return;
    const size_t read_before = output_.size();
    const auto end = [&] { return output_.find('\0', read_before); };
    if (machine_.Await([&] { return end() != std::string::npos; }, kPatience)) {
        output_.erase(end(), 1);
    }
}

void Terminal::CollectEnding(bool wait) {
    if (ending_) return;
    siginfo_t info{};
    const int how = WEXITED | WNOWAIT | (wait ? 0 : WNOHANG);
    if (waitid(P_PID, static_cast<id_t>(pid_), &info, how) != 0 || info.si_pid == 0) return;
    ending_cpu_ = CpuSeconds();
    int status = 0;
    waitpid(pid_, &status, 0);
    ending_ = WIFSIGNALED(status) ? Killed(WTERMSIG(status)) : Exited(WEXITSTATUS(status));
}

void Terminal::Serve() {
    CollectEnding(false);
    Drain();
}

void Terminal::AddWaiting(std::vector<pollfd>& waiting) const {
    if (master_) waiting.push_back({master_.get(), POLLIN, 0});
    if (!ending_) waiting.push_back({process_.get(), POLLIN, 0});
}

bool Terminal::InputTaken() const {
    pollfd input{slave_.get(), POLLIN, 0};
    return poll(&input, 1, 0) == 0;
}

// The leader of the terminal's foreground: the program or, if it is a shell with job control, the
// job that it runs there.
pid_t Terminal::FrontProcess() const {
    pid_t group = 0;
    return ioctl(master_.get(), TIOCGPGRP, &group) == 0 && group > 0 ? group : pid_;
}

bool Terminal::Asleep() const {
    if (ending_) return true;
    const std::vector<std::string> fields = Stat(FrontProcess());
    return fields.empty() || fields[0] == "S" || fields[0] == "T" || fields[0] == "Z";
}

// Whether the program sleeps in one of the calls that wait for a key. The kernel names the call; if
// it does not, any sleep counts.
bool Terminal::AwaitsKey() const {
    if (ending_) return true;
    if (!Asleep()) return false;
    std::istringstream text(ReadWhole("/proc/" + std::to_string(FrontProcess()) + "/syscall"));
    long number = -1;
    if (!(text >> number)) return text.str().find("running") == std::string::npos;
    static const std::set<long> kWaits = {
#ifdef SYS_poll  // not every architecture has the older calls
        SYS_poll, SYS_select, SYS_epoll_wait,
#endif
        SYS_read, SYS_ppoll,  SYS_pselect6,   SYS_epoll_pwait, SYS_restart_syscall};
    return kWaits.count(number) > 0;
}

bool Terminal::Await(const std::function<bool()>& condition, double seconds) {
    const auto finished_picture = [&] {
        if (!condition()) return false;
        if (!Asleep()) return false;
        return !Drain() || condition();
    };
    return machine_.Await(finished_picture, seconds);
}

void Terminal::WaitUntil(const std::function<bool()>& condition, const std::string& what,
                         double seconds, Place place) {
    if (!Await(condition, seconds)) FailWith("Timed out waiting for " + what, place);
}

void Terminal::WaitFor(const std::string& text, double seconds, Place place) {
    WaitUntil([&] { return Shows(text); }, "\"" + text + "\" on the screen", seconds, place);
}

void Terminal::WaitForGone(const std::string& text, double seconds, Place place) {
    WaitUntil([&] { return !Shows(text); }, "\"" + text + "\" to leave the screen", seconds, place);
}

void Terminal::WaitSelected(const std::string& text, double seconds, Place place) {
    WaitUntil([&] { return Row(SelectedRow()).find(text) != std::string::npos; },
              "\"" + text + "\" as the selected row", seconds, place);
}

void Terminal::Settle(double seconds, Place place) {
    WaitAfterEscape();
    const auto settled = [this] { return ending_ || (InputTaken() && AwaitsKey()); };
    if (!Await(settled, seconds)) FailWith("The program did not come to wait for a key", place);
}

void Terminal::Go(const std::string& keys, const std::string& text, Place place) {
    Press(keys, place);
    WaitFor(text, kPatience, place);
    Settle(kPatience, place);
}

void Terminal::RunFor(double seconds) {
    machine_.Await([] { return false; }, seconds);
}

Ending Terminal::WaitExit(double seconds, Place place) {
    WaitUntil([this] { return ending_.has_value(); }, "the program's end", seconds, place);
    DrainToTheEnd();
    return *ending_;
}

// ---- output ----

int Terminal::rows() const {
    return emulator_.rows();
}
int Terminal::cols() const {
    return emulator_.cols();
}

std::string Terminal::Row(int row) const {
    if (row < 0 || row >= rows()) return "";
    std::string text;
    for (int col = 0; col < cols(); col++)
        text += emulator_.At(row, col).text;
    return TrimEnd(text);
}

std::vector<std::string> Terminal::Screen() const {
    std::vector<std::string> screen;
    screen.reserve(static_cast<size_t>(rows()));
    for (int row = 0; row < rows(); row++)
        screen.push_back(Row(row));
    return screen;
}

bool Terminal::Shows(const std::string& text) const {
    return Find(text) >= 0;
}

int Terminal::Find(const std::string& text) const {
    for (int row = 0; row < rows(); row++) {
        if (Row(row).find(text) != std::string::npos) return row;
    }
    return -1;
}

int Terminal::FindColumn(const std::string& text) const {
    const int row = Find(text);
    if (row < 0) return -1;
    const size_t position = Row(row).find(text);
    size_t length = 0;
    int col = 0;
    while (length < position)
        length += emulator_.At(row, col++).text.size();
    return col;
}

Cell Terminal::Cell(int row, int col) const {
    return emulator_.At(row, col);
}

std::string Terminal::Style(int row) const {
    return StyleBut(row, harness::Cell());
}

std::string Terminal::StyleBut(int row, const harness::Cell& usual) const {
    std::string styles;
    for (int col = 0; col < cols();) {
        const harness::Cell first = emulator_.At(row, col);
        int end = col + 1;
        while (end < cols() && emulator_.At(row, end).SameStyle(first))
            end++;
        if (!first.SameStyle(usual)) {
            styles += styles.empty() ? "" : "; ";
            styles += std::to_string(col);
            if (end - 1 > col) styles += "-" + std::to_string(end - 1);
            styles.append(" ").append(first.Plain() ? "plain" : first.Style());
        }
        col = end;
    }
    return styles;
}

// The style of most cells, which a report does not repeat.
harness::Cell Terminal::UsualStyle() const {
    std::map<std::string, std::pair<int, harness::Cell>> counts;
    for (int row = 0; row < rows(); row++) {
        for (int col = 0; col < cols(); col++) {
            const harness::Cell cell = emulator_.At(row, col);
            auto& [count, sample] = counts[cell.Style()];
            sample = cell;
            count++;
        }
    }
    const auto fewer = [](const auto& a, const auto& b) { return a.second.first < b.second.first; };
    return std::max_element(counts.begin(), counts.end(), fewer)->second.second;
}

int Terminal::SelectedRow() const {
    const auto first_row_with = [this](const std::function<bool(const harness::Cell&)>& wanted) {
        for (int row = 0; row < rows(); row++) {
            for (int col = 0; col < cols(); col++) {
                if (wanted(emulator_.At(row, col))) return row;
            }
        }
        return -1;
    };
    const int blue = first_row_with([](const harness::Cell& cell) { return cell.bg == kBlue; });
    if (blue >= 0) return blue;
    return first_row_with([](const harness::Cell& cell) { return cell.reverse; });
}

std::string Terminal::Selected() const {
    return Trim(Row(SelectedRow()));
}
int Terminal::CursorRow() const {
    return emulator_.cursor_row();
}
int Terminal::CursorCol() const {
    return emulator_.cursor_col();
}
bool Terminal::CursorVisible() const {
    return emulator_.modes().count(25) > 0;
}
int Terminal::Bells() const {
    return emulator_.bells();
}

bool Terminal::AltScreen() const {
    const std::set<int>& modes = emulator_.modes();
    return modes.count(47) + modes.count(1047) + modes.count(1049) > 0;
}

std::vector<int> Terminal::MouseReporting() const {
    std::vector<int> reporting;
    for (const int mode : {1000, 1002, 1003, 1006}) {
        if (emulator_.modes().count(mode) > 0) reporting.push_back(mode);
    }
    return reporting;
}

std::string Terminal::Output() const {
    return output_;
}

void Terminal::Mark() {
    FailOnRuntimeError();
    output_.clear();
}

// The undefined-behaviour sanitizer writes to the terminal, whatever its options.
void Terminal::FailOnRuntimeError() const {
    const size_t found = output_.find(": runtime error: ");
    if (found == std::string::npos) return;
    const size_t line = output_.rfind('\n', found) + 1;
    ADD_FAILURE() << "A sanitizer reports:\n" << output_.substr(line);
}

bool Terminal::LineMode() const {
    termios mode{};
    if (tcgetattr(slave_.get(), &mode) != 0) return false;
    constexpr tcflag_t kLine = ICANON | ECHO;
    return (mode.c_lflag & kLine) == kLine;
}

std::string Terminal::Picture() const {
    const harness::Cell usual = UsualStyle();
    std::ostringstream picture;
    picture << "Terminal " << rows() << " by " << cols() << ", TERM " << options_.term
            << (AltScreen() ? ", alternate screen" : ", plain screen")
            << (LineMode() ? ", line mode" : ", raw mode") << ", program ";
    if (ending_) {
        picture << "ended: " << *ending_ << "\n";
    } else {
        picture << "runs\n";
    }
    for (int row = 0; row < rows(); row++) {
        char number[16];
        snprintf(number, sizeof number, "%3d|", row);
        picture << number << Row(row) << "\n";
    }
    picture << "Cursor " << (CursorVisible() ? "shown" : "hidden") << " at row " << CursorRow()
            << ", column " << CursorCol() << ". Styles, where not "
            << (usual.Plain() ? "plain" : usual.Style()) << ":\n";
    for (int row = 0; row < rows(); row++) {
        const std::string style = StyleBut(row, usual);
        if (!style.empty()) picture << "  row " << row << ": " << style << "\n";
    }
    return picture.str();
}

// ---- the process ----

bool Terminal::Running() {
    CollectEnding(false);
    return !ending_;
}

double Terminal::CpuSeconds() const {
    if (ending_) return ending_cpu_;
    const std::vector<std::string> fields = Stat(pid_);
    constexpr size_t kUserTime = 11, kSystemTime = 12;  // counted from the state
    if (fields.size() <= kSystemTime) return 0;
    const double ticks = std::stod(fields[kUserTime]) + std::stod(fields[kSystemTime]);
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

int Terminal::Children() const {
    const std::string pid = std::to_string(pid_);
    std::istringstream children(ReadWhole("/proc/" + pid + "/task/" + pid + "/children"));
    int count = 0;
    for (std::string child; children >> child;)
        count++;
    return count;
}

}  // namespace harness
