// The password of the remote access to the local desktop.
#pragma once

#include <cstddef>
#include <string_view>

#include "util/secret.h"

// Makes /etc/local.desktop.vnc.passwd from the password with the VNC server's own tool, which gets
// it through a pipe, on the plain terminal. An empty password changes nothing. When the tool fails,
// by its exit status, the old password is in force again; nothing is reported. The password is gone
// as soon as the tool has it.
//
// The file is a new one, which nobody but its owner can read from its first moment: who holds the
// old one open does not get the new password. (Only a file that is a link or a mount of its own is
// filled again, with its mode set first.) While the tool works, the old file is
// /etc/.local.desktop.vnc.passwd.old.
//
// The tool takes an empty line for a second password, of those who may only watch: the server would
// let everybody in. That half of the file is cut off as soon as the tool has ended.
void SetVncPassword(Secret password);

// How many of a password file's bytes are to be kept: the first half, when the second one is the
// empty password; otherwise all.
std::size_t KeptOfPasswordFile(std::string_view bytes);
