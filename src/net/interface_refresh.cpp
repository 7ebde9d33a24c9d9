#include "net/interface_refresh.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <utility>

#include "net/interface_table.h"
#include "net/route_table.h"
#include "util/signal_gate.h"

namespace {

// Commands that run at the same time, and how many of them are started before the next key may be
// answered.
constexpr std::ptrdiff_t kMostCommands = 64;
constexpr std::size_t kStartsAtOnce = 4;
// No key is answered while the kernel is asked about them all.
constexpr std::size_t kMostListed = 4096;

// Closes the socket in a child: whoever closes it last waits for the kernel. The child closes it
// when it ends, and ends when the pipe does, after the program has closed its own.
void CloseBeside(int socket) {
    if (socket < 0) return;
    int pipe_ends[2] = {-1, -1};
    const bool has_pipe = pipe2(pipe_ends, O_CLOEXEC) == 0;
    if (has_pipe && fork() == 0) {
        close(pipe_ends[1]);
        char nothing = 0;
        while (read(pipe_ends[0], &nothing, 1) < 0 && errno == EINTR) {
        }
        _exit(0);
    }
    close(socket);
    if (!has_pipe) return;
    close(pipe_ends[0]);
    close(pipe_ends[1]);
}

void AskKernel(InterfaceRefresh& refresh) {
    const int packet_socket = OpenPacketSocket();
    for (GatheredInterface& interface : refresh.interfaces) {
        interface.facts = AskInterface(interface.name, packet_socket);
    }
    CloseBeside(packet_socket);
}

std::ptrdiff_t RunningCommands(const InterfaceRefresh& refresh) {
    return std::count_if(refresh.interfaces.begin(), refresh.interfaces.end(),
                         [](const GatheredInterface& each) { return each.addresses.has_value(); });
}

void StartCommands(InterfaceRefresh& refresh, std::size_t starts) {
    std::ptrdiff_t running = RunningCommands(refresh);
    const std::size_t end = std::min(refresh.interfaces.size(), refresh.asked + starts);
    while (refresh.asked < end && running < kMostCommands) {
        GatheredInterface& interface = refresh.interfaces[refresh.asked++];
        interface.addresses = StartCommand(GlobalAddressCommand(interface.name));
        if (interface.addresses) ++running;
    }
}

// The commands first: they run while the kernel is asked.
void AskAll(InterfaceRefresh& refresh) {
    StartCommands(refresh, kStartsAtOnce);
    AskKernel(refresh);
    refresh.listed = refresh.news = true;
}

void TakeList(InterfaceRefresh& refresh) {
    for (std::string& name : ParseInterfaceList(refresh.list->output)) {
        if (refresh.interfaces.size() == kMostListed) break;
        refresh.interfaces.push_back({.name = std::move(name), .facts = {}});
    }
    refresh.list.reset();
    AskAll(refresh);
}

void TakeAddresses(GatheredInterface& interface) {
    if (!interface.addresses || !ReadAvailable(*interface.addresses)) return;
    interface.facts.global_addresses = std::move(interface.addresses->output);
    interface.addresses.reset();
}

bool CanStartMore(const InterfaceRefresh& refresh) {
    return refresh.asked < refresh.interfaces.size() && RunningCommands(refresh) < kMostCommands;
}

}  // namespace

void StartRefresh(InterfaceRefresh& refresh) {
    AbandonRefresh(refresh);
    refresh.running = true;
    refresh.list = StartCommand("ip link");
}

void StartRefresh(InterfaceRefresh& refresh, const std::string& name) {
    AbandonRefresh(refresh);
    refresh.running = true;
    refresh.interfaces.push_back({.name = name, .facts = {}});
    AskAll(refresh);
}

bool ContinueRefresh(InterfaceRefresh& refresh) {
    if (!refresh.running) return false;
    if (refresh.list) {
        if (!ReadAvailable(*refresh.list)) return false;
        TakeList(refresh);
    }
    for (GatheredInterface& interface : refresh.interfaces)
        TakeAddresses(interface);
    StartCommands(refresh, kStartsAtOnce);
    refresh.complete = refresh.asked == refresh.interfaces.size() && RunningCommands(refresh) == 0;
    refresh.running = !refresh.complete;
    return refresh.complete;
}

bool AwaitAnswers(const InterfaceRefresh& refresh, int keyboard, double seconds) {
    if (!refresh.running || CanStartMore(refresh)) return true;
    std::vector<pollfd> awaited = {{keyboard, POLLIN, 0}};
    if (refresh.list) awaited.push_back({refresh.list->descriptor, POLLIN, 0});
    for (const GatheredInterface& interface : refresh.interfaces) {
        if (interface.addresses) awaited.push_back({interface.addresses->descriptor, POLLIN, 0});
    }
    return PollWithOpenGate(awaited.data(), awaited.size(),
                            static_cast<int>(std::ceil(seconds * 1000))) != 0;
}

void FinishRefresh(InterfaceRefresh& refresh) {
    constexpr int kNoKeyboard = -1;
    constexpr double kLong = 3600;
    while (refresh.running && !ContinueRefresh(refresh))
        AwaitAnswers(refresh, kNoKeyboard, kLong);
}

void AbandonRefresh(InterfaceRefresh& refresh) {
    if (refresh.list) Abandon(*refresh.list);
    for (GatheredInterface& interface : refresh.interfaces) {
        if (interface.addresses) Abandon(*interface.addresses);
    }
    refresh = {};
}

bool TakeNews(InterfaceRefresh& refresh) {
    return std::exchange(refresh.news, false);
}

void UnderstandGathered(const GatheredInterface& interface, InterfaceStatus& status) {
    const RouteEntry* route = FindGateway(interface.name);
    UnderstandInterface(interface.facts, route != nullptr ? route->gateway : 0, status);
}

void ProbeInterfaceStatus(const std::string& name, InterfaceStatus& status) {
    InterfaceRefresh refresh;
    StartRefresh(refresh, name);
    FinishRefresh(refresh);
    UnderstandGathered(refresh.interfaces.front(), status);
}
