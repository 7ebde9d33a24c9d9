// Gathering the facts of all interfaces without holding up the operator: the `ip` commands run
// beside the program, at the same time, and their answers are taken as they come.
//
//     InterfaceRefresh refresh;
//     StartRefresh(refresh);
//     while (!ContinueRefresh(refresh)) { ...answer keys, or AwaitAnswers(...)... }
//     use(refresh.interfaces);
//
// More interfaces than 4096 are not looked at.
//
// One packet socket serves a whole refresh. The kernel waits out a grace period when it is closed;
// a child does that waiting.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "net/interface_status.h"
#include "util/command.h"

struct GatheredInterface {
    std::string name;
    InterfaceFacts facts;
    std::optional<RunningCommand> addresses = std::nullopt;  // "ip addr ...", while it runs
};

struct InterfaceRefresh {
    bool running = false;
    bool complete = false;               // all answers are there
    bool listed = false;                 // the interfaces are known, and what the kernel says
    bool news = false;                   // that has just become so
    std::optional<RunningCommand> list;  // "ip link", while it runs
    std::vector<GatheredInterface> interfaces;  // in the order listed
    std::size_t asked = 0;                      // how many of them have been asked about
};

// Begins anew: with the interfaces that "ip link" lists, or with the one named. What may still be
// running is abandoned.
void StartRefresh(InterfaceRefresh& refresh);
void StartRefresh(InterfaceRefresh& refresh, const std::string& name);

// Takes the answers that have come. True once, when the last one has; false, too, when nothing is
// running.
bool ContinueRefresh(InterfaceRefresh& refresh);

// Waits until ContinueRefresh has something to do or the descriptor `keyboard` (-1: none) has
// input; ending signals are let in meanwhile. False when neither was so within that time.
bool AwaitAnswers(const InterfaceRefresh& refresh, int keyboard, double seconds);

// Waits for the answers of a refresh that is running.
void FinishRefresh(InterfaceRefresh& refresh);

// Forgets what was gathered, and what may still be running: it has become old.
void AbandonRefresh(InterfaceRefresh& refresh);

// Whether the interfaces have become known since the last call.
bool TakeNews(InterfaceRefresh& refresh);

// Puts what was gathered so far into the record, with the gateway from RouteTable
// (net/route_table.h), which should have been refreshed just before.
void UnderstandGathered(const GatheredInterface& interface, InterfaceStatus& status);

// All at once for one interface: asks, waits for the answers, and fills the record.
void ProbeInterfaceStatus(const std::string& name, InterfaceStatus& status);
