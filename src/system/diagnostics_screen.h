// Two checks of the network, run on the plain terminal: the resolver's configuration and a ping to
// a public host. Opened by the main menu.
#pragma once

void RunDiagnosticsScreen();
