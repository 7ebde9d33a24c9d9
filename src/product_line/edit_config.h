// Editing an interface's settings by hand. This program has an editor of its own.
#pragma once

#include <string_view>

// Opens the settings file of that configuration name (net/interface_config.h) in the machine's
// editor, vi, and returns what running it returned.
int EditInterfaceConfigFile(std::string_view config_name);
