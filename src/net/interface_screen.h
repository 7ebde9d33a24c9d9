// The screen of one interface: its live state, refreshed every five seconds, and what can be done
// with it. Opened by the main menu's interface rows.
#pragma once

#include "net/interface.h"

// Runs until the operator leaves. True after "Main menu" or any question answered: the main menu
// then asks anew about all interfaces.
bool InterfaceScreen(const Interface& interface);
