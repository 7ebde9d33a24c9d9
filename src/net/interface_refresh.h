// Gathers the facts about all interfaces without making the operator wait. The `ip` commands run in
// parallel in the background; their answers are collected as they arrive, in rounds.
//
//     InterfaceRefresh refresh;                      // or {.only = "eth0"}
//     AskInterfaces(refresh);
//     while (TakeAnswers(refresh, MonotonicSeconds()).known != Known::All) { ... }
//     use(refresh.interfaces);
//
// A hanging command delays nothing else. A round waits only for answers it asked for itself;
// answers to an earlier round may arrive late. A command that runs for ten seconds is killed with
// everything it started, and started again.
//
// At most 4096 interfaces are looked at.
#pragma once

#include <poll.h>

#include <optional>
#include <string>
#include <vector>

#include "net/interface_status.h"
#include "net/route_table.h"
#include "util/answers.h"
#include "util/command.h"

struct GatheredInterface {
    std::string name;
    InterfaceFacts facts = {};
    std::optional<RunningCommand> command = std::nullopt;  // "ip addr ...", while it runs
    bool asked = false;  // this round: command running, answered, or failed to start
    bool late = false;   // its command belongs to an earlier round
    int rounds = 0;      // started since its command last answered
};

struct InterfaceRefresh {
    std::string only = {};                           // only this interface, without listing
    std::optional<RunningCommand> list = {};         // "ip link", while it runs
    bool list_is_late = false;                       // it belongs to an earlier round
    std::vector<GatheredInterface> interfaces = {};  // as last listed
    RouteTable routes = {};
};

// Starts a round. Commands still running from the previous round continue.
void AskInterfaces(InterfaceRefresh& refresh);

// Collects the answers that have arrived, then starts the commands still to run. To keep a key from
// waiting, it starts only as many at once as fit into a few milliseconds.
Answers TakeAnswers(InterfaceRefresh& refresh, double now);

// Asks the kernel again about the known interfaces and the routes. If an interface's command is
// still running, what it said more than two rounds ago is dropped.
void AskKernel(InterfaceRefresh& refresh);

// What TakeAnswers is waiting for: appends the commands' pipes and returns the time, in
// MonotonicSeconds, at which it has work to do even without an answer.
double AwaitAnswers(const InterfaceRefresh& refresh, std::vector<pollfd>& pipes);

// Kills the running commands.
void StopAsking(InterfaceRefresh& refresh);

// Also forgets everything except the interfaces' names and hardware addresses.
void ForgetAnswers(InterfaceRefresh& refresh);

// Fills the record from what has been gathered so far.
void UnderstandGathered(const InterfaceRefresh& refresh, const GatheredInterface& interface,
                        InterfaceStatus& status);
