// The screen of one interface: its live state, refreshed every five seconds, and what can be done
// with it. Opened by the main menu's interface rows.
#pragma once

#include "net/interface_table.h"

// Runs until the operator leaves. 1 after "Main menu" or any question answered: the main menu then
// probes all interfaces anew; 0 otherwise.
int InterfaceScreen(const InterfaceEntry& interface);
