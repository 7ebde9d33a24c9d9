// The terminal as all screens share it: reading a key, leaving curses for shell commands and
// coming back, waiting for ENTER on the plain terminal.
//
// A wait for a key never outlives the terminal: when standard input is at its end or hung up, the
// terminal is restored and the program ends with status 1, in whatever screen or dialog it is.
#pragma once

#include <curses.h>

#include <functional>
#include <string_view>

// Whether mouse events are available: set by the start-up when the terminal took the event mask.
extern bool MouseAvailable;

constexpr int kEscape = 27;

// What ReadKey returns for a key sequence that the terminal's description does not know. It is no
// character and no curses key code, so no screen takes it for anything.
constexpr int kUnknownKey = 0x10000;

// Takes the keyboard for ReadKey: keypad, no line mode, no echo, no wait inside curses. After
// initscr().
void StartKeyboard();

// Waits 16 ms for a key and returns its code, or ERR when none came. Draws what is pending on the
// standard screen first, as wgetch() does.
//
// A lone ESC comes through after 25 ms. ESC that begins a sequence which curses does not know
// (ESC [ ... or ESC O ..., from F1 of some terminals, Ctrl-Left, paste brackets) is swallowed with
// the whole sequence and comes as kUnknownKey: taken byte by byte it would leave the screen and
// then work as hot keys. ESC followed by anything else is ESC.
int ReadKey();

// Whether a key has been pressed that ReadKey has not taken yet.
bool KeyIsWaiting();

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
// error, commands, pauses), and re-enters curses. The caller then repaints: its menu's `rebuild` or
// `redraw`.
void ShellEscape(const std::function<void()>& work);

// The short form: leaves curses and homes the cursor on a cleared terminal. Curses comes back with
// the next refresh().
void LeaveCursesAtHome();

// Waits on the plain terminal until a line feed or carriage return is read from standard input,
// byte by byte. Only a read error ends the wait early. End of input does not: Ctrl-D on a terminal
// is waited out, and where there is no more input at all, the program ends with status 1.
void ReadLineRaw();

// The same wait for a screen that has more to do: end of input and read errors end it, too.
void ReadLineOrEnd();

// Waits inside curses until the low byte of a key's code is CR or LF. A function key whose code
// has such a low byte therefore counts as ENTER too.
void WaitForKeyEnter();

// Drops the keys that were typed for the program and that it will not read: a shell would run them.
void DropTypedKeys();

// Restores the terminal if curses has it: mouse reporting off, cursor on, main screen.
void RestoreTerminal();

// Restores the terminal and ends the program with that status.
[[noreturn]] void EndProgram(int status);
