#include "net/interface_refresh.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "net/interface_list.h"
#include "util/clock.h"

namespace {

constexpr double kHangSeconds = 10;
constexpr int kTooManyRounds = 3;
// How long to start commands before looking for the next key.
constexpr double kStartSeconds = 0.004;
// How many commands run at the same time.
constexpr std::ptrdiff_t kMostCommands = 64;
// No key is answered while the kernel is asked about all of them.
constexpr std::size_t kMostListed = 4096;

bool HasHung(const RunningCommand& command, double now) {
    return now - command.started >= kHangSeconds;
}

std::ptrdiff_t RunningCommands(const InterfaceRefresh& refresh) {
    return std::count_if(refresh.interfaces.begin(), refresh.interfaces.end(),
                         [](const GatheredInterface& each) { return each.command.has_value(); });
}

bool MustBeAsked(const GatheredInterface& interface) {
    return !interface.asked && !interface.command;
}

// If the list is late, the interfaces known so far are queried.
bool MayAsk(const InterfaceRefresh& refresh) {
    return !refresh.list || refresh.list_is_late;
}

bool CanStartMore(const InterfaceRefresh& refresh) {
    return MayAsk(refresh) &&
           std::any_of(refresh.interfaces.begin(), refresh.interfaces.end(), MustBeAsked) &&
           RunningCommands(refresh) < kMostCommands;
}

void StartAsking(GatheredInterface& interface) {
    interface.command = StartCommand(GlobalAddressCommand(interface.name));
    interface.asked = true;
    if (interface.command) interface.facts.addresses_asked = true;
}

void StartCommands(InterfaceRefresh& refresh) {
    const double end = MonotonicSeconds() + kStartSeconds;
    std::ptrdiff_t running = RunningCommands(refresh);
    for (GatheredInterface& interface : refresh.interfaces) {
        if (!MustBeAsked(interface)) continue;
        if (running >= kMostCommands || MonotonicSeconds() >= end) return;
        StartAsking(interface);
        ++running;
    }
}

GatheredInterface TakeInterface(InterfaceRefresh& refresh, const std::string& name) {
    for (GatheredInterface& known : refresh.interfaces) {
        if (known.name == name) return std::exchange(known, {});
    }
    return {.name = name};
}

// An interface that is still listed keeps what is known about it.
void TakeList(InterfaceRefresh& refresh, const std::vector<std::string>& names) {
    std::vector<GatheredInterface> listed;
    for (const std::string& name : names) {
        if (listed.size() == kMostListed) break;
        listed.push_back(TakeInterface(refresh, name));
    }
    for (GatheredInterface& gone : refresh.interfaces) {
        if (gone.command) EndCommand(*gone.command);
    }
    refresh.interfaces = std::move(listed);
    // Started first, so that the commands run while the kernel is asked.
    StartCommands(refresh);
    AskKernel(refresh);
}

void AskForList(InterfaceRefresh& refresh) {
    refresh.list = StartCommand("ip link");
    if (!refresh.list) TakeList(refresh, {});
}

// True if a late answer has arrived.
bool TakeListAnswer(InterfaceRefresh& refresh, double now) {
    if (!refresh.list) return false;
    if (ReadAvailable(*refresh.list)) {
        const std::string output = std::move(refresh.list->output);
        EndCommand(*refresh.list);
        refresh.list.reset();
        TakeList(refresh, ParseInterfaceList(output));
        return std::exchange(refresh.list_is_late, false);
    }
    if (HasHung(*refresh.list, now)) {
        EndCommand(*refresh.list);
        AskForList(refresh);
    }
    return false;
}

// True if a late answer has arrived.
bool TakeAddresses(GatheredInterface& interface, double now) {
    if (!interface.command) return false;
    if (ReadAvailable(*interface.command)) {
        interface.facts.global_addresses = std::move(interface.command->output);
        interface.rounds = 0;
        EndCommand(*interface.command);
        interface.command.reset();
        return std::exchange(interface.late, false);
    }
    if (HasHung(*interface.command, now)) {
        EndCommand(*interface.command);
        StartAsking(interface);
    }
    return false;
}

bool IsAwaited(const GatheredInterface& interface) {
    return !interface.late && (interface.command || !interface.asked);
}

void KeepAddresses(const GatheredInterface& before, GatheredInterface& interface) {
    interface.facts.addresses_asked = before.facts.addresses_asked;
    const bool too_old = interface.command && interface.rounds >= kTooManyRounds;
    if (!too_old) interface.facts.global_addresses = before.facts.global_addresses;
}

}  // namespace

void AskInterfaces(InterfaceRefresh& refresh) {
    for (GatheredInterface& interface : refresh.interfaces) {
        interface.late = interface.command.has_value();
        interface.asked = interface.late;
        ++interface.rounds;
    }
    refresh.list_is_late = refresh.list.has_value();
    if (!refresh.only.empty()) {
        TakeList(refresh, {refresh.only});
    } else if (!refresh.list) {
        AskForList(refresh);
    }
}

Answers TakeAnswers(InterfaceRefresh& refresh, double now) {
    Answers answers;
    answers.late = TakeListAnswer(refresh, now);
    for (GatheredInterface& interface : refresh.interfaces)
        answers.late = TakeAddresses(interface, now) || answers.late;
    if (!MayAsk(refresh)) return answers;
    StartCommands(refresh);
    const bool awaits =
        std::any_of(refresh.interfaces.begin(), refresh.interfaces.end(), IsAwaited);
    // Without a list, there may be interfaces that nobody has asked about.
    if (refresh.list) {
        answers.known = awaits ? Known::Nothing : Known::Part;
    } else {
        answers.known = awaits ? Known::Part : Known::All;
    }
    return answers;
}

void AskKernel(InterfaceRefresh& refresh) {
    const KernelSockets sockets;
    for (GatheredInterface& interface : refresh.interfaces) {
        const GatheredInterface before = {.name = {}, .facts = interface.facts};
        interface.facts = AskInterface(interface.name, sockets);
        KeepAddresses(before, interface);
    }
    refresh.routes = ReadRouteTable();
}

double AwaitAnswers(const InterfaceRefresh& refresh, std::vector<pollfd>& pipes) {
    if (CanStartMore(refresh)) return 0;
    double until = std::numeric_limits<double>::infinity();
    const auto await = [&](const std::optional<RunningCommand>& command) {
        if (!command) return;
        pipes.push_back({command->descriptor, POLLIN, 0});
        until = std::min(until, command->started + kHangSeconds);
    };
    await(refresh.list);
    for (const GatheredInterface& interface : refresh.interfaces)
        await(interface.command);
    return until;
}

void StopAsking(InterfaceRefresh& refresh) {
    if (refresh.list) EndCommand(*refresh.list);
    refresh.list.reset();
    for (GatheredInterface& interface : refresh.interfaces) {
        if (interface.command) EndCommand(*interface.command);
        interface.command.reset();
    }
}

void ForgetAnswers(InterfaceRefresh& refresh) {
    StopAsking(refresh);
    for (GatheredInterface& interface : refresh.interfaces) {
        const auto hardware_address = interface.facts.hardware_address;
        interface = {.name = interface.name};
        interface.facts.hardware_address = hardware_address;
    }
    refresh.routes.clear();
}

void UnderstandGathered(const InterfaceRefresh& refresh, const GatheredInterface& interface,
                        InterfaceStatus& status) {
    UnderstandInterface(interface.facts, FindGateway(refresh.routes, interface.name), status);
}
