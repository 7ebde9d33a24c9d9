// A network found by the scan but not configured: the operator enters its password and joins it.
// Opened from the wireless list.
#pragma once

#include "net/interface.h"
#include "wifi/supplicant.h"

void NewAccessPointScreen(const AccessPoint& access_point, const Interface& card);
