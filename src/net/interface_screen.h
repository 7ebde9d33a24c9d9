// The screen of one interface: its live state, refreshed every five seconds, and the actions on it.
// Opened from the interface rows of the main menu.
#pragma once

#include "net/interface.h"

// Runs until the operator leaves. Returns true after "Main menu" or once any question was answered;
// the main menu then queries all interfaces again.
bool InterfaceScreen(const Interface& interface);
