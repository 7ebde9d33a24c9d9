// One network that the supplicant has configured: the operator connects to it or forgets it. Opened
// by the wireless list.
#pragma once

#include "net/interface.h"
#include "wifi/supplicant.h"

void KnownAccessPointScreen(const AccessPoint& access_point, const Interface& card);
