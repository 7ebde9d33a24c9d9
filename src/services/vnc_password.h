// The password for remote VNC access to the local desktop.
#pragma once

#include <cstddef>
#include <string_view>

#include "util/secret.h"

// Writes /etc/local.desktop.vnc.passwd with the VNC server's own tool, vncpasswd, which reads the
// password from a pipe. Runs on the plain terminal. An empty password changes nothing. If the tool
// fails (by its exit status), or a signal ends the program before it, the old password file is
// restored; nothing is reported. The password is erased as soon as the tool has it.
//
// A new file is created that only its owner can ever read, so a process that holds the old file
// open does not see the new password. Only if the old file is a symbolic link or a mount point is
// it overwritten in place, after its mode has been set. While the tool runs, the old file is
// /etc/.local.desktop.vnc.passwd.old.
//
// The tool takes an empty line for an empty view-only password, with which the server would let
// anybody in. That half of the file is cut off as soon as the tool has ended.
void SetVncPassword(Secret password);

// How many bytes of a password file to keep: the first half if the second half is the empty
// password, otherwise all.
std::size_t BytesToKeep(std::string_view password_file);
