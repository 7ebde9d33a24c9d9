// The terminal, shared by all screens: reading keys, leaving curses for shell commands and coming
// back, waiting for ENTER on the plain terminal.
//
// No wait for a key outlives the terminal: if standard input ends or hangs up, the terminal is
// restored and the program exits with status 1, in any screen or dialog.
#pragma once

#include <curses.h>
#include <poll.h>

#include <functional>
#include <limits>
#include <string_view>
#include <vector>

// Requests mouse events: presses, clicks, and every motion.
void StartMouse();
// Whether the terminal accepted the request.
bool MouseAvailable();

constexpr int kEscape = 27;

// What ReadKey returns for a key sequence that the terminal type does not define. It is neither a
// character nor a curses key code, so every screen ignores it.
constexpr int kUnknownKey = 0x10000;

// From now on, Ctrl-Z restores the terminal before it stops the program, and shows the screen again
// afterwards; unless it is ignored. Call before initscr(): otherwise curses handles Ctrl-Z, and
// discards one that arrives while the program works or draws.
void CatchStop();

// Sets up the keyboard for ReadKey: keypad, no line mode, no echo, no waiting inside curses. Call
// after initscr().
void StartKeyboard();

// What ends a wait for a key, besides a key.
struct Wake {
    double until = std::numeric_limits<double>::infinity();  // in MonotonicSeconds
    std::vector<pollfd> answers = {};                        // one of them is readable
};

// Waits for a key and returns its code, or ERR if something else ended the wait. First draws what
// is pending on the standard screen, like wgetch().
//
// A lone ESC is returned after 100 ms, or after ESCDELAY milliseconds if the environment sets it:
// over a slow line, the bytes of a key may be this far apart. A sequence ESC [ ... or ESC O ...
// that curses does not know (F1 on some terminals, Ctrl-Left, paste brackets) is read completely
// and returned as kUnknownKey. Otherwise its ESC would leave the screen, and the other bytes would
// act as hot keys. ESC followed by anything else is ESC.
//
// Ctrl-L repaints the whole terminal and returns ERR. On a terminal that receives kernel messages,
// the same happens every five seconds.
int ReadKey(const Wake& wake = {});

// The same wait, but keys are left unread and do not end it.
void AwaitWithoutKeys(Wake wake);

// The same wait; input ends it, but is left unread.
void AwaitInput(const Wake& wake);

// Whether there is input that ReadKey has not read.
bool InputIsWaiting();

// After a command the terminal stays plain until something is drawn. Call this before ReadKey if
// nothing is drawn: it waits, and re-enters curses once there is input. Returns false if something
// else ended the wait.
bool ReenterForInput(const Wake& wake);

// Whether a key or mouse button was pressed that ReadKey has not returned yet. Drops mouse
// movements.
bool KeyIsTyped();

// After ReadKey has returned KEY_MOUSE: whether the mouse has only moved. A movement is dropped; a
// button event is kept and read again.
bool DropMouseMotion();

// Drops all keys typed so far that ReadKey has not returned.
void DropKeys();

// Write what was drawn on the standard screen, or on a window, to the terminal. If the terminal's
// output is stopped (Ctrl-S) they wait, and ending signals are delivered.
void ShowScreen();
void ShowWindow(WINDOW* window);

// Prints the text at the cursor, wrapping at the right edge. Line feeds break the line; other
// control characters are shown as "?".
void Print(std::string_view text);

// Prints the text at this position, wrapping at the right edge; prints nothing if the position is
// not on the screen. Control characters, including line feeds, are shown as "?".
void PrintAt(int line, int column, std::string_view text);

// Leaves curses with a blank plain terminal, runs `work` there (messages to standard error,
// commands, pauses), and re-enters curses. The caller then asks for a repaint (ui/rows.h, Next).
void ShellEscape(const std::function<void()>& work);

// Reads a byte from standard input on the plain terminal; ending signals are delivered meanwhile.
// Returns kEndOfInput at the end, kReadError on an error.
constexpr int kEndOfInput = -1;
constexpr int kReadError = -2;
int ReadByte();

// Whether standard input has hung up.
bool InputHasHungUp();

// Waits on the plain terminal for a line feed or carriage return, or for the end of input.
void ReadLineOrEnd();

// Drops typed keys that the program will not read, so that the shell does not run them.
void DropTypedKeys();

// Restores the terminal if curses is using it: mouse reporting off, cursor on, main screen.
// Whatever ends the program calls this. If `take_back` is set, it is called first, to undo work
// that would be left half done.
void RestoreTerminal();
extern void (*take_back)();

// Kills background commands, drops typed-ahead keys, restores the terminal, and exits with that
// status.
[[noreturn]] void EndProgram(int status);
