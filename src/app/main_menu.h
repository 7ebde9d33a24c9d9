// The main menu: every interface with its live state, refreshed every five seconds, the actions on
// the whole machine, and the rows that open the other screens. Run by `main`.
#pragma once

// Runs until the operator leaves: 1 after "Exit this program", 0 after ESC or backspace.
int RunMainMenu();
