// The terminal as all screens share it: reading a key, leaving curses for shell commands and
// coming back, waiting for ENTER on the plain terminal.
//
// A wait for a key never outlives the terminal: when standard input is at its end or hung up, the
// terminal is restored and the program ends with status 1, in whatever screen or dialog it is.
#pragma once

#include <curses.h>
#include <poll.h>

#include <functional>
#include <limits>
#include <string_view>
#include <vector>

// Asks the terminal for mouse events: presses, clicks, and every motion.
void StartMouse();
// Whether it took that mask.
bool MouseAvailable();

constexpr int kEscape = 27;

// What ReadKey returns for a key sequence that the terminal's description does not know. It is no
// character and no curses key code, so no screen takes it for anything.
constexpr int kUnknownKey = 0x10000;

// Takes the keyboard for ReadKey: keypad, no line mode, no echo, no wait inside curses. After
// initscr().
void StartKeyboard();

// What ends a wait for a key besides a key.
struct Wake {
    double until = std::numeric_limits<double>::infinity();  // as MonotonicSeconds tells
    std::vector<pollfd> answers = {};                        // one of them has something to read
};

// Waits for a key and returns its code, or ERR when something else has ended the wait. Draws what
// is pending on the standard screen first, as wgetch() does.
//
// A lone ESC comes through after 100 ms, or after as many milliseconds as ESCDELAY in the
// environment says: so long may each byte of a key take over a slow line. ESC that begins a
// sequence which curses does not know (ESC [ ... or ESC O ..., from F1 of some terminals,
// Ctrl-Left, paste brackets) is swallowed with the whole sequence and comes as kUnknownKey: taken
// byte by byte it would leave the screen and then work as hot keys. ESC followed by anything else
// is ESC.
//
// Ctrl-L repaints the whole terminal and gives ERR. On a terminal that the kernel writes its
// messages to, that is done every five seconds, too.
int ReadKey(const Wake& wake = {});

// The same wait without taking keys: they stay where they are.
void AwaitWithoutKeys(Wake wake);

// The same wait, which input ends, too, without being taken.
void AwaitInput(const Wake& wake);

// Whether there is input that ReadKey has not taken yet.
bool InputIsWaiting();

// After a command the terminal is still the plain one until something is shown. To be called before
// ReadKey where nothing is: waits, and takes the terminal back when there is input. False when
// something else has ended the wait.
bool TakeBackForInput(const Wake& wake);

// Whether a key or a mouse button has been pressed that ReadKey has not returned yet. Reports of
// the mouse having moved are dropped.
bool KeyIsTyped();

// After ReadKey has returned KEY_MOUSE: whether the mouse has only moved, which is then dropped. A
// button's event stays, and comes again.
bool DropMouseMotion();

// Drops the keys that were typed so far and that ReadKey has not returned.
void DropKeys();

// Brings what was drawn on the standard screen, or on a part of it, to the terminal. While the
// terminal takes no output (Ctrl-S) this waits, and ending signals are let in.
void ShowScreen();
void ShowWindow(WINDOW* window);

// Prints the text at the cursor. Wraps at the right edge. Line feeds in the text break the line;
// other control characters show as "?".
void Print(std::string_view text);

// Prints the text from that place on, when the place is on the screen; nothing otherwise. Wraps at
// the right edge. Control characters, line feeds too, show as "?".
void PrintAt(int line, int column, std::string_view text);

// Leaves curses with a blank terminal in its plain state, runs `work` there (messages to standard
// error, commands, pauses), and re-enters curses. The caller then asks to be
// painted (ui/rows.h, Next).
void ShellEscape(const std::function<void()>& work);

// Reads a byte from standard input on the plain terminal; ending signals are let in meanwhile.
// kEndOfInput at the end, kReadError after an error.
constexpr int kEndOfInput = -1;
constexpr int kReadError = -2;
int ReadByte();

// Whether standard input has hung up.
bool InputHasHungUp();

// Waits on the plain terminal until a line feed or carriage return is read, or until there is
// nothing more to read.
void ReadLineOrEnd();

// Drops the keys that were typed for the program and that it will not read: a shell would run them.
void DropTypedKeys();

// Restores the terminal if curses has it: mouse reporting off, cursor on, main screen.
void RestoreTerminal();

// Ends the commands that run beside the program, drops the keys typed ahead, restores the terminal,
// and ends the program with that status.
[[noreturn]] void EndProgram(int status);
