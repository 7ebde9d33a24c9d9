// The settings editor: the operator looks through one interface's settings, changes them, and saves
// or drops the changes. Opened by the interface screen.
#pragma once

#include "net/interface.h"

// Runs until "Save changes", "Cancel" or the menu's own exit keys. Only "Save changes" writes.
void InterfaceSettingsEditor(const Interface& interface);
