// The password of the remote access to the local desktop.
#pragma once

#include "util/secret.h"

// Makes /etc/local.desktop.vnc.passwd from the password with the VNC server's own tool, which gets
// it through a pipe, on the plain terminal. At no moment can anyone but its owner read the
// file. An empty password changes nothing. What fails is not reported. The password is gone as soon
// as the tool has it.
void SetVncPassword(Secret password);
