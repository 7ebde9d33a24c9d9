// The settings editor: the operator views and changes the settings of one interface, then saves or
// discards the changes. Opened from the interface screen.
#pragma once

#include "net/interface.h"

// Runs until "Save changes", "Cancel", ESC or backspace. Only "Save changes" writes the file.
void InterfaceSettingsEditor(const Interface& interface);
