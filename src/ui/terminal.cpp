#include "ui/terminal.h"

#include <curses.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "util/clock.h"
#include "util/command.h"
#include "util/lines.h"
#include "util/message.h"
#include "util/read_file.h"
#include "util/signal_gate.h"
#include "util/trim.h"

namespace {

constexpr mmask_t kMouseEvents = ALL_MOUSE_EVENTS | REPORT_MOUSE_POSITION;
// Over a slow line the bytes of a key may arrive one by one.
constexpr int kEscapeWaitMs = 100;
constexpr int kNoMoreInput = 1;

bool mouse_available = false;

// A key that was read but not returned yet; ERR if there is none.
int put_back = ERR;

// Whether curses may have a key of its own (put back, or a new size of the terminal), or something
// to draw at the next wgetch().
bool curses_has_news = true;
// Whether a key was put back.
bool curses_has_keys = false;

constexpr int kCtrlL = 'l' & 0x1f;
constexpr double kRepaintSeconds = 5;

// When to repaint what the kernel may have overwritten; never on other terminals.
double next_repaint = std::numeric_limits<double>::infinity();

// Whether the kernel prints its messages here: on a virtual console, or a line used as console.
bool KernelWritesHere() {
    constexpr unsigned kConsoleMajor = 4;
    constexpr unsigned kLastConsole = 63;
    constexpr std::size_t kMostLines = 64;
    struct stat terminal = {};
    if (fstat(STDOUT_FILENO, &terminal) != 0 || !S_ISCHR(terminal.st_mode)) return false;
    if (major(terminal.st_rdev) == kConsoleMajor && minor(terminal.st_rdev) <= kLastConsole) {
        return true;
    }
    const std::string active = ReadWholeFile("/sys/class/tty/console/active").value_or("");
    std::vector<std::string_view> lines =
        SplitColumns(TrimEnd(active, kLineEnds), Columns::ByBlanks, kMostLines);
    lines.emplace_back("console");
    return std::any_of(lines.begin(), lines.end(), [&](std::string_view line) {
        struct stat console = {};
        return stat(("/dev/" + std::string(line)).c_str(), &console) == 0 &&
               S_ISCHR(console.st_mode) && console.st_rdev == terminal.st_rdev;
    });
}

void RepaintAll() {
    ShowWindow(curscr);
    if (!std::isinf(next_repaint)) next_repaint = MonotonicSeconds() + kRepaintSeconds;
}

int MillisecondsUntil(double moment) {
    constexpr double kLongest = 3600;
    if (std::isinf(moment)) return -1;
    const double left = std::clamp(moment - MonotonicSeconds(), 0.0, kLongest);
    return static_cast<int>(std::ceil(left * 1000));
}

short PollInput(int milliseconds) {
    pollfd input = {STDIN_FILENO, POLLIN, 0};
    const OpenSignalGate open;
    return poll(&input, 1, milliseconds) > 0 ? input.revents : static_cast<short>(0);
}

// The program's main wait, in a single system call. Returns whether there may be a key: input, or a
// signal, which may have brought a new size.
bool AwaitKey(const Wake& wake) {
    std::vector<pollfd> awaited = {{STDIN_FILENO, POLLIN, 0}};
    awaited.insert(awaited.end(), wake.answers.begin(), wake.answers.end());
    const int ready =
        PollWithOpenGate(awaited.data(), awaited.size(), MillisecondsUntil(wake.until));
    return ready < 0 || awaited.front().revents != 0;
}

// A terminal with stopped output would block the program inside curses, where no ending signal is
// delivered.
void AwaitTerminal() {
    pollfd output = {STDOUT_FILENO, POLLOUT, 0};
    if (poll(&output, 1, 0) != 0) return;
    const OpenSignalGate open;
    poll(&output, 1, -1);
}

// Once it has ended or hung up, standard input is always readable, but has no bytes.
bool InputHasEnded() {
    if (PollInput(0) == 0) return false;
    int waiting = 0;
    return ioctl(STDIN_FILENO, FIONREAD, &waiting) != 0 || waiting <= 0;
}

bool IsBetween(int key, int first, int last) {
    return key >= first && key <= last;
}

// Puts a key back for curses to return again.
void PutBack(int key) {
    ungetch(key);
    curses_has_keys = curses_has_news = true;
}

// A vt220's keyboard says Find and Select where others have HOME and END.
int WithHomeAndEnd(int key) {
    if (key == KEY_FIND) return KEY_HOME;
    return key == KEY_SELECT ? KEY_END : key;
}

// The key that curses has; ERR if none. Curses may wait for the rest of what looks like a mouse
// report: ending signals are delivered meanwhile, with nothing left to draw.
int KeyFromCurses() {
    if (is_wintouched(stdscr)) ShowScreen();
    curses_has_keys = false;
    const OpenSignalGate open;
    return WithHomeAndEnd(wgetch(stdscr));
}

// The next byte of a sequence; ERR if there is none. A byte that can't belong to a sequence is put
// back.
int NextInSequence() {
    const int key = KeyFromCurses();
    if (key == ERR || IsBetween(key, 0x20, 0x7e)) return key;
    PutBack(key);
    return ERR;
}

// After ESC [: parameters, then a final character. The Linux console sends its function keys as ESC
// [ [ and a letter.
void SwallowControlSequence() {
    int key = NextInSequence();
    if (key == '[') {
        NextInSequence();
        return;
    }
    while (IsBetween(key, 0x20, 0x3f))
        key = NextInSequence();
}

// After ESC O: a letter, on some terminals preceded by the number of a modifier.
void SwallowSingleShift() {
    int key = NextInSequence();
    while (IsBetween(key, '0', '9') || key == ';')
        key = NextInSequence();
}

// Curses has returned an ESC. It has waited for more bytes, so they have arrived by now.
int ResolveEscape() {
    const int follower = KeyFromCurses();
    if (follower == ERR) return kEscape;
    if (follower != '[' && follower != 'O') {
        PutBack(follower);
        return kEscape;
    }
    timeout(get_escdelay());
    if (follower == '[') {
        SwallowControlSequence();
    } else {
        SwallowSingleShift();
    }
    timeout(0);
    return kUnknownKey;
}

// While this lives, Ctrl-Z only stops the program, together with a command that runs in its place.
struct PlainStop {
    PlainStop() : before{} {
        struct sigaction stop = {};
        stop.sa_handler = SIG_DFL;
        sigaction(SIGTSTP, &stop, &before);
        if (before.sa_handler == SIG_IGN) sigaction(SIGTSTP, &before, nullptr);
    }
    ~PlainStop() { sigaction(SIGTSTP, &before, nullptr); }
    PlainStop(const PlainStop&) = delete;
    PlainStop& operator=(const PlainStop&) = delete;

    struct sigaction before;
};

// Restores the terminal for the shell, stops, and shows the screen again. All signals of the gate
// and SIGTTOU are blocked.
void OnStop(int) {
    // These were for the program, not for the shell.
    DropTypedKeys();
    endwin();
    {
        const PlainStop plain_stop;
        raise(SIGTSTP);
        const OpenSignalGate open;
    }
    // Continued in the background, the program stops again where it touches the terminal.
    sigset_t touching;
    sigemptyset(&touching);
    sigaddset(&touching, SIGTTOU);
    sigprocmask(SIG_UNBLOCK, &touching, nullptr);
    flushinp();
    def_shell_mode();
    AwaitTerminal();
    doupdate();
}

}  // namespace

void DropTypedKeys() {
    tcflush(STDIN_FILENO, TCIFLUSH);
}

void CatchStop() {
    struct sigaction action = {};
    sigaction(SIGTSTP, nullptr, &action);
    if (action.sa_handler == SIG_IGN) return;
    action.sa_handler = OnStop;
    action.sa_flags = SA_RESTART;
    action.sa_mask = GatedSignals();
    sigaddset(&action.sa_mask, SIGTTOU);
    sigaction(SIGTSTP, &action, nullptr);
}

void StartKeyboard() {
    keypad(stdscr, TRUE);
    nonl();
    // ReadKey does the waiting, because it can let signals in; curses itself never waits.
    timeout(0);
    if (std::getenv("ESCDELAY") == nullptr) set_escdelay(kEscapeWaitMs);
    cbreak();
    noecho();
    // Otherwise Ctrl-C and Ctrl-Z would flush keys that curses has already seen: it would then wait
    // for new ones, and block the screen.
    noqiflush();
    if (KernelWritesHere()) next_repaint = MonotonicSeconds() + kRepaintSeconds;
}

void StartMouse() {
    mouse_available = mousemask(kMouseEvents, nullptr) != 0;
}

bool MouseAvailable() {
    return mouse_available;
}

int ReadKey(const Wake& wake) {
    if (put_back != ERR) return std::exchange(put_back, ERR);
    int key = curses_has_news || is_wintouched(stdscr) ? KeyFromCurses() : ERR;
    curses_has_news = key != ERR;
    if (key == ERR) {
        const Wake sooner = {std::min(wake.until, next_repaint), wake.answers};
        if (!AwaitKey(sooner)) {
            if (MonotonicSeconds() >= next_repaint) RepaintAll();
            return ERR;
        }
        key = KeyFromCurses();
        curses_has_news = true;
        if (key == ERR && InputHasEnded()) EndProgram(kNoMoreInput);
    }
    if (key == kCtrlL) {
        RepaintAll();
        return ERR;
    }
    return key == kEscape ? ResolveEscape() : key;
}

void AwaitWithoutKeys(Wake wake) {
    PollWithOpenGate(wake.answers.data(), wake.answers.size(), MillisecondsUntil(wake.until));
}

void AwaitInput(const Wake& wake) {
    AwaitKey(wake);
}

bool ReenterForInput(const Wake& wake) {
    // Curses would switch the keypad mode of a terminal that it does not restore afterwards.
    if (!isendwin()) return true;
    if (!AwaitKey(wake)) return false;
    ShowScreen();
    return true;
}

bool InputIsWaiting() {
    return put_back != ERR || curses_has_keys || PollInput(0) != 0;
}

bool KeyIsTyped() {
    for (;;) {
        const int key = ReadKey({.until = 0});
        if (key == ERR) return false;
        // The caller has not painted yet, and will then use the new size.
        if (key == KEY_RESIZE || key == kUnknownKey) continue;
        if (key == KEY_MOUSE && DropMouseMotion()) continue;
        if (key != KEY_MOUSE) put_back = key;
        return true;
    }
}

bool DropMouseMotion() {
    MEVENT event = {};
    if (getmouse(&event) != OK) return true;
    if ((event.bstate & ~static_cast<mmask_t>(REPORT_MOUSE_POSITION)) == 0) return true;
    ungetmouse(&event);
    curses_has_keys = curses_has_news = true;
    return false;
}

void DropKeys() {
    put_back = ERR;
    flushinp();
}

void ShowScreen() {
    ShowWindow(stdscr);
}

void ShowWindow(WINDOW* window) {
    AwaitTerminal();
    wrefresh(window);
    curses_has_news = true;
}

void Print(std::string_view text) {
    for (;;) {
        const std::size_t line_feed = text.find('\n');
        addwstr(DisplayText(text.substr(0, line_feed)).c_str());
        if (line_feed == std::string_view::npos) return;
        addch('\n');
        text.remove_prefix(line_feed + 1);
    }
}

void PrintAt(int line, int column, std::string_view text) {
    if (move(line, column) != ERR) addwstr(DisplayText(text).c_str());
}

void ShellEscape(const std::function<void()>& work) {
    attrset(A_NORMAL);
    clear();
    ShowScreen();
    endwin();
    {
        const PlainStop plain_stop;
        work();
    }
    initscr();
}

int ReadByte() {
    const OpenSignalGate open;
    for (;;) {
        if (PollInput(-1) == 0) continue;
        unsigned char byte = 0;
        const ssize_t count = read(STDIN_FILENO, &byte, 1);
        if (count > 0) return byte;
        if (count == 0) return kEndOfInput;
        if (errno != EINTR) return kReadError;
    }
}

bool InputHasHungUp() {
    return (PollInput(0) & POLLHUP) != 0;
}

void ReadLineOrEnd() {
    int byte = ReadByte();
    while (byte >= 0 && byte != '\n' && byte != '\r')
        byte = ReadByte();
}

void (*take_back)() = nullptr;

void RestoreTerminal() {
    if (take_back != nullptr) take_back();
    if (stdscr != nullptr && !isendwin()) endwin();
}

void EndProgram(int status) {
    EndAllCommands();
    DropTypedKeys();
    RestoreTerminal();
    std::exit(status);
}
