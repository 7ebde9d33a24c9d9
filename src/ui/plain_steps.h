// Runs commands on the plain terminal, where the operator sees their output.
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
    std::string_view message = {};  // printed first, to standard error
    unsigned pause_seconds = 0;     // after the command
};

// Leaves curses, runs the steps, and re-enters curses. Always returns Next::Rebuild.
Next RunSteps(std::initializer_list<Step> steps);

// The same for an update, which stops something and starts it again. It is finished even if the
// line drops: an interface stopped over ssh is started again.
Next RunUpdate(std::initializer_list<Step> steps);
void RunUpdate(const std::function<void()>& work);

// The same, but only if the operator answers the question with yes.
Next ConfirmSteps(std::initializer_list<Step> steps);
Next ConfirmUpdate(std::initializer_list<Step> steps);
