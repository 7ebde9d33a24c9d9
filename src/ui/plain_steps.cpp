#include "ui/plain_steps.h"

#include "ui/dialogs.h"
#include "ui/terminal.h"
#include "util/command.h"
#include "util/message.h"
#include "util/signal_gate.h"

void RunToTheEnd(const std::function<void()>& work) {
    ShellEscape([&] {
        const HangUpHeld held;
        work();
    });
}

Next RunSteps(std::initializer_list<Step> steps) {
    RunToTheEnd([&] {
        for (const Step& step : steps) {
            Say(step.message);
            RunCommand(step.command);
            if (step.pause_seconds > 0) Pause(step.pause_seconds);
        }
    });
    return Next::Rebuild;
}

Next ConfirmSteps(std::initializer_list<Step> steps) {
    return AskYesNoOnBlankScreen() ? RunSteps(steps) : Next::Rebuild;
}
