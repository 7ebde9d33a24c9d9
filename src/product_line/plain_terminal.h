// Waiting for ENTER, on the plain terminal and inside curses, for the product line's helpers. No
// screen of this program uses it.
#pragma once

// Leaves curses, clears the terminal and homes the cursor. The next refresh() re-enters curses.
void LeaveCursesAtHome();

// Reads standard input on the plain terminal, byte by byte, until a line feed or carriage return. A
// read error ends the wait early; Ctrl-D on a terminal does not. If the input has really ended, the
// program exits with status 1.
void ReadLineRaw();

// On the plain terminal: prints "Hit enter to continue" and waits for ENTER.
void WaitForEnter();

// Inside curses: waits until the low byte of a key code is CR or LF. A function key with such a low
// byte also counts as ENTER.
void WaitForKeyEnter();

// Inside curses: prints "Hit enter to continue" and waits with WaitForKeyEnter.
void WaitForEnterCurses();
