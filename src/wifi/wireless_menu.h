// The wireless networks of one card, configured and scanned, in one list. The operator scans,
// connects to any configured network, disconnects, or opens a network. Opened from the interface
// screen.
#pragma once

#include "net/interface.h"

void WirelessMenu(const Interface& card);
