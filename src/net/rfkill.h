// The radio-kill switch of a wireless card: a folder of the kernel's with a number in each file.
#pragma once

#include <string>

// "/sys/class/net/NAME/phy80211/rfkill0"; where that is not there, the card's first switch: after
// the card's module was loaded again the kernel counts on. Empty when the card has none, or for a
// name that no interface can have.
std::string RfkillFolder(const std::string& interface_name);

// The number in the first line of a file (at most 63 characters, as atoi reads it): -1 when the
// file can't be opened, 0 when it is empty.
int ReadIntFile(const std::string& path);

// Writes the number and a line feed. Does nothing when the file can't be opened for writing.
void WriteIntFile(const std::string& path, int value);
