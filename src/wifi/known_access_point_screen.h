// A network that is configured in the supplicant: the operator connects to it or forgets it. Opened
// from the wireless list.
#pragma once

#include "net/interface.h"
#include "wifi/supplicant.h"

void KnownAccessPointScreen(const AccessPoint& access_point, const Interface& card);
