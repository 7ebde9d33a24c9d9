// Waits for ENTER, on the plain terminal and inside curses. No screen uses them; the product line's
// helpers that work on the plain terminal do.
#pragma once

// Leaves curses and homes the cursor on a cleared terminal. Curses comes back with the next
// refresh().
void LeaveCursesAtHome();

// Waits on the plain terminal until a line feed or carriage return is read from standard input,
// byte by byte. Only a read error ends the wait early. End of input does not: Ctrl-D on a terminal
// is waited out, and where there is no more input at all, the program ends with status 1.
void ReadLineRaw();

// On the plain terminal: says "Hit enter to continue" and waits for ENTER.
void WaitForEnter();

// Waits inside curses until the low byte of a key's code is CR or LF. A function key whose code
// has such a low byte therefore counts as ENTER too.
void WaitForKeyEnter();

// Inside curses: says "Hit enter to continue" and waits that way.
void WaitForEnterCurses();
