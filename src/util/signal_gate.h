// The signals that end or stop the program (SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGTSTP) restore the
// terminal, which is safe only while nothing is half drawn. So they are blocked except where the
// program merely waits: for a key, for a command, for a pause to pass. SIGWINCH is treated the
// same: only there does the program need to know that the terminal has a new size.
//
//     CloseSignalGate();                 // once, at start-up
//     { OpenSignalGate open; poll(...); }  // what has come meanwhile is delivered here
#pragma once

#include <poll.h>

#include <csignal>

// The signals that the gate blocks.
sigset_t GatedSignals();

// Blocks the gated signals from now on.
void CloseSignalGate();

// poll() with the gate open while it waits, in one system call. If something is ready at once, it
// returns at once and no signal is delivered. Without descriptors, pending signals are delivered.
int PollWithOpenGate(pollfd* descriptors, nfds_t count, int milliseconds);

// For work that must not be interrupted halfway, such as an update between its stop and its start.
// While this lives, SIGHUP does not pass the gate and commands on the terminal (util/command.h)
// start with it ignored, so a dropped line ends neither. A SIGHUP that has arrived ends the program
// as soon as this is destroyed.
struct HangUpHeld {
    HangUpHeld();
    ~HangUpHeld();
    HangUpHeld(const HangUpHeld&) = delete;
    HangUpHeld& operator=(const HangUpHeld&) = delete;
};
bool HangUpIsHeld();

// Delivers the gated signals while it lives; afterwards the signal mask is as before.
struct OpenSignalGate {
    OpenSignalGate();
    ~OpenSignalGate();
    OpenSignalGate(const OpenSignalGate&) = delete;
    OpenSignalGate& operator=(const OpenSignalGate&) = delete;

    sigset_t before;
};
