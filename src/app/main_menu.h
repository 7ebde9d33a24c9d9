// The first and central screen: every interface with its live state, refreshed every five seconds,
// the machine-wide actions, and the way to all other screens. `main` runs it.
#pragma once

// Runs until the operator leaves: 1 after "Exit this program", 0 after ESC or backspace.
int RunMainMenu();
