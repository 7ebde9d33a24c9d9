// One network that only the scan knows: the operator gives its password and joins it. Opened by the
// wireless list.
#pragma once

#include "net/interface.h"
#include "wifi/supplicant.h"

void NewAccessPointScreen(const AccessPoint& access_point, const Interface& card);
