#include "product_line/plain_terminal.h"

#include <curses.h>
#include <unistd.h>

#include <cstdio>

#include "ui/terminal.h"

namespace {

constexpr int kNoMoreInput = 1;

bool IsLineEnd(int byte) {
    return byte == '\n' || byte == '\r';
}

}  // namespace

void LeaveCursesAtHome() {
    endwin();
    std::printf("\x1b[H");
    std::printf("\x1b[J");
    std::fflush(stdout);
}

void ReadLineRaw() {
    for (;;) {
        const int byte = ReadByte();
        if (byte == kReadError || IsLineEnd(byte)) return;
        // Ctrl-D ends the input only once; if the terminal is still there, more can follow.
        if (byte == kEndOfInput && (isatty(STDIN_FILENO) == 0 || InputHasHungUp())) {
            EndProgram(kNoMoreInput);
        }
    }
}

void WaitForEnter() {
    std::puts("Hit enter to continue");
    std::fflush(stdout);
    ReadLineRaw();
}

void WaitForKeyEnter() {
    int key = ReadKey();
    while (key == ERR || !IsLineEnd(key & 0xff))
        key = ReadKey();
}

void WaitForEnterCurses() {
    Print("Hit enter to continue\n");
    ShowScreen();
    WaitForKeyEnter();
}
