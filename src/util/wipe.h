// Secrets leave nothing behind: the buffers that held one are overwritten as soon as the tool that
// needs it has it.
#pragma once

#include <string>

// Overwrites the text's whole storage with zeros, in a way no compiler leaves out, and empties it.
void Wipe(std::string& text);
