#include "ui/plain_steps.h"

#include "ui/dialogs.h"
#include "ui/terminal.h"
#include "util/command.h"
#include "util/message.h"

Next RunSteps(std::initializer_list<Step> steps) {
    ShellEscape([&] {
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
