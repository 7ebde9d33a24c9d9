// Gathering the facts of all interfaces without holding up the operator: the `ip` commands run
// beside the program, at the same time, and their answers are taken as they come, in rounds.
//
//     InterfaceRefresh refresh;                      // or {.only = "eth0"}
//     AskInterfaces(refresh);
//     while (TakeAnswers(refresh, MonotonicSeconds()).known != Known::All) { ... }
//     use(refresh.interfaces);
//
// A command that hangs holds nothing up. A round waits for the answers that it has asked for
// itself; what an earlier one has asked for may come late. After ten seconds a command is ended,
// with all that it has started, and asked anew.
//
// More interfaces than 4096 are not looked at.
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
    bool asked = false;  // in this round: its command runs, has answered, or can't be started
    bool late = false;   // its command is an earlier round's
    int rounds = 0;      // begun since its command answered last
};

struct InterfaceRefresh {
    std::string only = {};                           // this interface instead of those listed
    std::optional<RunningCommand> list = {};         // "ip link", while it runs
    bool list_is_late = false;                       // it is an earlier round's
    std::vector<GatheredInterface> interfaces = {};  // as last listed
    RouteTable routes = {};
};

// Begins a round. Commands of the last one that still run go on.
void AskInterfaces(InterfaceRefresh& refresh);

// Takes the answers that have come, and starts the commands that are to be asked: as many as can be
// started before a key would have to wait.
Answers TakeAnswers(InterfaceRefresh& refresh, double now);

// Asks the kernel anew about the interfaces that are known, and for the routes. While a command
// runs, what it told more than two rounds ago is dropped.
void AskKernel(InterfaceRefresh& refresh);

// What TakeAnswers waits for: adds the pipes of the commands, and returns the moment when it has
// something to do anyway, as MonotonicSeconds tells.
double AwaitAnswers(const InterfaceRefresh& refresh, std::vector<pollfd>& pipes);

// Ends the commands that run.
void StopAsking(InterfaceRefresh& refresh);

// The same, and forgets all but the interfaces' names and hardware addresses.
void ForgetAnswers(InterfaceRefresh& refresh);

// Puts what was gathered so far into the record.
void UnderstandGathered(const InterfaceRefresh& refresh, const GatheredInterface& interface,
                        InterfaceStatus& status);
