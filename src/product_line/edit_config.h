// Edits an interface's settings in a text editor, for other tools of the product line. This program
// has its own settings editor.
#pragma once

#include <string_view>

// Opens the settings file of that configuration name (net/interface_config.h) in vi and returns the
// result of RunCommand (util/command.h).
int EditInterfaceConfigFile(std::string_view config_name);
