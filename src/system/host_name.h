// The computer's name: the one in the kernel and the one read at the next boot.
#pragma once

#include <string>

// The kernel's host name, at most 127 bytes.
std::string HostName();

// The first 126 bytes of the text, with every blank replaced by "-". Nothing else is enforced.
std::string HostNameFrom(const std::string& typed);

// Sets the kernel's host name (sethostname) and writes it, with a line feed, to /etc/hostname.
// Failures are ignored.
void SetHostName(const std::string& name);
