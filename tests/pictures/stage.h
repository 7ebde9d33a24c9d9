// The demo appliance for the pictures: the same on every computer, whatever is installed there, and
// with something to show on every screen.
#pragma once

#include "machine.h"
#include "terminal.h"

namespace pictures {

class Stage : public harness::Machine {
  public:
    Stage();

    // The link state that the second card reports; a card that is down has none.
    void ShowLink(bool link);

    // The network script stops at its last message until Continue().
    void HoldNetworkScript();
    void Continue();
};

harness::TerminalOptions OptionsOf(int rows, int cols);

// Presses the keys, then waits until the text is on the screen and drawing has finished.
void Go(harness::Terminal& terminal, const std::string& keys, const std::string& wait_for);

}  // namespace pictures
