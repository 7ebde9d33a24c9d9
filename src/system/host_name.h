// The computer's name: the kernel's, and the one that the next start of the machine reads.
#pragma once

#include <string>

// The kernel's host name, at most 127 bytes.
std::string HostName();

// The name with every blank replaced by "-", at most 126 bytes of it. Nothing else is enforced.
std::string HostNameFrom(const std::string& typed);

// Gives the kernel the name (sethostname) and writes it with a line feed to /etc/hostname. What
// fails is passed over.
void SetHostName(const std::string& name);
