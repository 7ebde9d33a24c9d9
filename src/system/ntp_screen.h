// The time servers: the operator edits and saves the list, and stops and starts the service. Opened
// from the main menu.
#pragma once

// True if the operator left with "Main menu".
bool RunNtpScreen();
