// Shows the first screen of a full-screen program as plain text, without a terminal.
//
//     glance KEYS COMMAND [ARG...]
//
// Runs COMMAND, with TERM=vt52, on a pseudo-terminal, waits for its first screen and prints it.
// Then types KEYS, which should end the program, and returns its exit status (128 + signal if a
// signal ended it). If the command ends before it shows a screen, prints its output instead.
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr int kRows = 24;
constexpr int kCols = 80;
// A screen is complete when nothing is added to it for the first time; the second limits every
// wait.
constexpr int kQuietMilliseconds = 500;
constexpr int kPatienceMilliseconds = 30000;

// A VT52: its contents, and the state of its parser.
struct Screen {
    std::vector<std::vector<std::string>> cells{kRows, std::vector<std::string>(kCols, " ")};
    int row = 0, col = 0;
    std::string sequence;  // an incomplete escape sequence
};

bool IsBlank(const Screen& screen) {
    return std::all_of(screen.cells.begin(), screen.cells.end(), [](const auto& line) {
        return std::all_of(line.begin(), line.end(), [](const auto& cell) { return cell == " "; });
    });
}

void EraseToLineEnd(Screen& screen) {
    auto& line = screen.cells[static_cast<size_t>(screen.row)];
    std::fill(line.begin() + screen.col, line.end(), " ");
}

void NextLine(Screen& screen) {
    if (screen.row + 1 < kRows) {
        screen.row++;
        return;
    }
    screen.cells.erase(screen.cells.begin());
    screen.cells.emplace_back(kCols, " ");
}

// Executes the sequence; false if it is incomplete.
bool DoSequence(Screen& screen) {
    const std::string& sequence = screen.sequence;
    if (sequence.size() < 2) return false;
    switch (sequence[1]) {
        case 'A':
            screen.row = std::max(screen.row - 1, 0);
            break;
        case 'B':
            screen.row = std::min(screen.row + 1, kRows - 1);
            break;
        case 'C':
            screen.col = std::min(screen.col + 1, kCols - 1);
            break;
        case 'D':
            screen.col = std::max(screen.col - 1, 0);
            break;
        case 'H':
            screen.row = screen.col = 0;
            break;
        case 'I':
            if (screen.row > 0) {
                screen.row--;
                break;
            }
            screen.cells.pop_back();
            screen.cells.emplace(screen.cells.begin(), kCols, " ");
            break;
        case 'J':
            EraseToLineEnd(screen);
            std::fill(screen.cells.begin() + screen.row + 1, screen.cells.end(),
                      std::vector<std::string>(kCols, " "));
            break;
        case 'K':
            EraseToLineEnd(screen);
            break;
        case 'Y':
            if (sequence.size() < 4) return false;
            screen.row = std::clamp(sequence[2] - ' ', 0, kRows - 1);
            screen.col = std::clamp(sequence[3] - ' ', 0, kCols - 1);
            break;
        default:
            break;
    }
    return true;
}

void Show(Screen& screen, char byte) {
    if (!screen.sequence.empty()) {
        screen.sequence += byte;
        if (DoSequence(screen)) screen.sequence.clear();
        return;
    }
    switch (byte) {
        case '\x1b':
            screen.sequence = byte;
            return;
        case '\r':
            screen.col = 0;
            return;
        case '\n':
            NextLine(screen);
            return;
        case '\b':
            screen.col = std::max(screen.col - 1, 0);
            return;
        case '\t':
            screen.col = std::min((screen.col / 8 + 1) * 8, kCols - 1);
            return;
        default:
            break;
    }
    const auto code = static_cast<unsigned char>(byte);
    if (code < 0x20 || code == 0x7f) return;
    auto& line = screen.cells[static_cast<size_t>(screen.row)];
    if (code >= 0x80 && code < 0xc0) {  // UTF-8 continuation byte
        line[static_cast<size_t>(std::max(screen.col - 1, 0))] += byte;
        return;
    }
    line[static_cast<size_t>(screen.col)] = byte;
    screen.col = std::min(screen.col + 1, kCols - 1);
}

void Print(const Screen& screen) {
    std::string text;
    for (const auto& line : screen.cells) {
        std::string row;
        for (const std::string& cell : line)
            row += cell;
        text += row.substr(0, row.find_last_not_of(' ') + 1) + "\n";
    }
    fputs((text.substr(0, text.find_last_not_of('\n') + 1) + "\n").c_str(), stdout);
}

// Whether the program reads single keys, as a full-screen program does.
bool TakesKeys(int terminal) {
    termios modes{};
    return tcgetattr(terminal, &modes) == 0 && (modes.c_lflag & ICANON) == 0;
}

// Reads what arrives in time; false if nothing does, or at the end.
bool Read(int terminal, int milliseconds, std::string& bytes) {
    pollfd waiting{terminal, POLLIN, 0};
    if (poll(&waiting, 1, milliseconds) != 1) return false;
    char chunk[4096];
    const ssize_t got = read(terminal, chunk, sizeof chunk);
    bytes.assign(chunk, static_cast<size_t>(std::max<ssize_t>(got, 0)));
    return got > 0;
}

// Reads the program's output until its first screen is complete; false if it ends without one.
bool AwaitScreen(int terminal, Screen& screen, std::string& written) {
    int waited = 0;
    while (waited < kPatienceMilliseconds) {
        std::string bytes;
        if (Read(terminal, kQuietMilliseconds, bytes)) {
            written += bytes;
            for (const char byte : bytes)
                Show(screen, byte);
            continue;
        }
        pollfd end{terminal, 0, 0};
        if (poll(&end, 1, 0) == 1) return false;
        if (TakesKeys(terminal) && !IsBlank(screen)) return true;
        waited += kQuietMilliseconds;
    }
    return false;
}

// Types the keys and drains the program's output until it ends. If it does not, closing the
// terminal will end it.
void Leave(int terminal, const std::string& keys) {
    if (write(terminal, keys.data(), keys.size()) < 0) return;
    std::string bytes;
    while (Read(terminal, kPatienceMilliseconds, bytes)) {
    }
}

void PrintWritten(const std::string& written) {
    for (const char byte : written)
        if (byte != '\r') putchar(byte);
}

int StatusOf(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc < 3) {
        fputs("usage: glance KEYS COMMAND [ARG...]\n", stderr);
        return 2;
    }
    winsize size{kRows, kCols, 0, 0};
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
    if (child < 0) {
        perror("glance: pseudo-terminal");
        return 1;
    }
    if (child == 0) {
        execvp(argv[2], argv + 2);
        perror(argv[2]);
        _exit(127);
    }
    Screen screen;
    std::string written;
    if (AwaitScreen(terminal, screen, written)) {
        Print(screen);
        Leave(terminal, argv[1]);
    } else {
        PrintWritten(written);
    }
    close(terminal);
    return StatusOf(child);
}
