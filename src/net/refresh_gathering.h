// A refresh of interfaces as what a screen's rows wait for.
#pragma once

#include <functional>

#include "net/interface_refresh.h"
#include "ui/screen_loop.h"

// The refresh belongs to the screen and must outlive its loop. `start` starts it.
Gathering GatherInto(InterfaceRefresh& refresh, std::function<void()> start);
