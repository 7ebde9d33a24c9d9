// The rfkill switch of a wireless card: a sysfs folder with one number in each file.
#pragma once

#include <string>

// "/sys/class/net/NAME/phy80211/rfkill0" or, if that does not exist, the card's switch with the
// lowest number: the kernel numbers on when the card's module is reloaded. Empty if the card has no
// switch or the name can't be an interface's.
std::string RfkillFolder(const std::string& interface_name);

// The number in the first line of a file, parsed like atoi, from at most 63 bytes: -1 if the file
// can't be opened, 0 if it holds no number.
int ReadIntFile(const std::string& path);

// Writes the number and a line feed. Does nothing if the file can't be opened for writing.
void WriteIntFile(const std::string& path, int value);
