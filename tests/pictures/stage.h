// The demo appliance as the pictures show it: the same on every computer, whatever is installed
// there, and with something on every screen.
#pragma once

#include "machine.h"
#include "terminal.h"

namespace pictures {

class Stage : public harness::Machine {
  public:
    Stage();

    // What the second card says of its link: a card that is down has none.
    void ShowLink(bool link);

    // The network script holds its last message on the terminal until Continue().
    void HoldNetworkScript();
    void Continue();
};

harness::TerminalOptions OptionsOf(int rows, int cols);

// Presses the keys and waits until the text stands on the screen and all is drawn.
void Go(harness::Terminal& terminal, const std::string& keys, const std::string& wait_for);

}  // namespace pictures
