// The wireless networks of one card, configured and seen by the scan, in one list: the operator
// scans, connects to any configured network, disconnects, or opens one network. Opened by the
// interface screen.
#pragma once

#include "net/interface.h"

void WirelessMenu(const Interface& card);
