// The state of interfaces as the live facts of a screen.
#pragma once

#include "net/interface_refresh.h"
#include "ui/screen_loop.h"

// The refresh belongs to the screen and must outlive its loop.
LiveFacts LiveInterfaces(InterfaceRefresh& refresh);
