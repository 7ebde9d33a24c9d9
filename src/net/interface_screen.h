// The screen of one interface: its live state, refreshed every five seconds, and what can be done
// with it. Opened by the main menu's interface rows.
#pragma once

#include <string>

// Runs until the operator leaves. `index` is the interface's place in InterfaceTable
// (net/interface_table.h), whose address text names its settings file. 1 after "Main menu" or any
// question answered: the main menu then probes all interfaces anew; 0 otherwise.
int InterfaceScreen(int index, const std::string& name);
