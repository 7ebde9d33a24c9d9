// Commands that the operator watches on the plain terminal.
//
//     RunSteps({{"/etc/init.d/network stop eth0", "Stopping interface...\n"},
//               {"/etc/init.d/network start eth0", "Starting interface...\n"}});
#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>

#include "ui/rows.h"

struct Step {
    std::string command;
    std::string_view message = {};  // said before, to standard error
    unsigned pause_seconds = 0;     // afterwards
};

// Leaves curses, takes the steps, and comes back. The result is always Next::Rebuild.
Next RunSteps(std::initializer_list<Step> steps);

// The same for an update, which stops something and starts it again. It is done to its end, also
// when the line goes away meanwhile: an interface that was stopped over ssh is started again.
Next RunUpdate(std::initializer_list<Step> steps);
void RunUpdate(const std::function<void()>& work);

// Each when the operator answers the question with yes.
Next ConfirmSteps(std::initializer_list<Step> steps);
Next ConfirmUpdate(std::initializer_list<Step> steps);
