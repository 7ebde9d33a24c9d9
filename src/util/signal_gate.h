// The signals that end or stop the program (SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGTSTP) restore the
// terminal, which is only safe while nothing is half drawn. They are therefore held back
// all the time but where the program merely waits: for a key, for a command, for a pause to pass.
// So is SIGWINCH: that the terminal has another size is news only there.
//
//     CloseSignalGate();                 // once, at start-up
//     { OpenSignalGate open; poll(...); }  // what has come meanwhile is delivered here
#pragma once

#include <poll.h>

#include <csignal>

// The signals that pass the gate.
sigset_t GatedSignals();

// Holds the gated signals back from now on.
void CloseSignalGate();

// poll() with the gate open while it waits, in one call to the kernel. What is ready at once is
// returned at once, and lets no signal in; without descriptors, those that wait come in.
int PollWithOpenGate(pollfd* descriptors, nfds_t count, int milliseconds);

// For what must not be left half done, an update between its stop and its start say: as long as
// this lives, SIGHUP does not pass the gate and commands (util/command.h) start with it ignored, so
// that a line that goes away ends neither. It ends the program as soon as this ends.
struct HangUpHeld {
    HangUpHeld();
    ~HangUpHeld();
    HangUpHeld(const HangUpHeld&) = delete;
    HangUpHeld& operator=(const HangUpHeld&) = delete;
};
bool HangUpIsHeld();

// Lets the gated signals in for as long as it lives; afterwards the mask is as it was.
struct OpenSignalGate {
    OpenSignalGate();
    ~OpenSignalGate();
    OpenSignalGate(const OpenSignalGate&) = delete;
    OpenSignalGate& operator=(const OpenSignalGate&) = delete;

    sigset_t before;
};
