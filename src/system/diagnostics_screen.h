// Two network checks on the plain terminal: show the resolver configuration, ping a public host.
// Opened from the main menu.
#pragma once

void RunDiagnosticsScreen();
