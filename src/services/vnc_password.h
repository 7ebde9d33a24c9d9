// The password for remote VNC access to the local desktop.
#pragma once

#include <cstddef>
#include <string_view>

#include "util/secret.h"

// Makes /etc/local.desktop.vnc.passwd from the password with the VNC server's own tool, which gets
// it through a pipe, on the plain terminal. An empty password changes nothing. When the tool fails,
// by its exit status, or the program is told to end before it has ended, the old password is in
// force again; nothing is reported. The password is gone as soon as the tool has it.
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
