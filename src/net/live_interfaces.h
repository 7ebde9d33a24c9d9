// Connects an InterfaceRefresh to a screen, as its live facts.
#pragma once

#include "net/interface_refresh.h"
#include "ui/screen_loop.h"

// The screen owns the refresh, which must outlive the screen's loop.
LiveFacts LiveInterfaces(InterfaceRefresh& refresh);
