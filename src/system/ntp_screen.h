// The time servers: the operator edits the list, saves it, and stops and starts the service. Opened
// by the main menu.
#pragma once

// True when the operator left with "Main menu".
bool RunNtpScreen();
