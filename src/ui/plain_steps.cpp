#include "ui/plain_steps.h"

#include "ui/dialogs.h"
#include "ui/terminal.h"
#include "util/command.h"
#include "util/message.h"
#include "util/signal_gate.h"

namespace {

void Take(std::initializer_list<Step> steps) {
    for (const Step& step : steps) {
        Say(step.message);
        RunCommand(step.command);
        Pause(step.pause_seconds);
    }
}

}  // namespace

Next RunSteps(std::initializer_list<Step> steps) {
    ShellEscape([&] { Take(steps); });
    return Next::Rebuild;
}

Next RunUpdate(std::initializer_list<Step> steps) {
    RunUpdate([&] { Take(steps); });
    return Next::Rebuild;
}

void RunUpdate(const std::function<void()>& work) {
    ShellEscape([&] {
        const HangUpHeld held;
        work();
    });
}

Next ConfirmSteps(std::initializer_list<Step> steps) {
    return AskYesNoOnBlankScreen() ? RunSteps(steps) : Next::Rebuild;
}

Next ConfirmUpdate(std::initializer_list<Step> steps) {
    return AskYesNoOnBlankScreen() ? RunUpdate(steps) : Next::Rebuild;
}
