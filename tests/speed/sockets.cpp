// What a refresh asks of the kernel, and that messages of its commands do not reach the screen.
//
// The kernel waits some 10 ms when a packet socket is closed: a refresh may use only one, and the
// program itself must not wait.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "network.h"
#include "sections.h"
#include "spawn.h"
#include "terminal.h"

namespace {

constexpr int kCards = 8;
constexpr const char* kStrace = "/usr/bin/strace";
constexpr const char* kTraces = "/tmp/traces";
constexpr const char* kComplaint = "ip has something to complain about";

// The program under strace, with a file of system calls for each process. Its clock is not a fast
// one: a traced refresh is slow, and one that is not complete when the next is due queries the
// kernel again.
Command Traced() {
    std::filesystem::create_directory(kTraces);
    Command command = TheProgram();
    command.words = {kStrace, "-ff", "-T", "-s", "200", "-o", std::string(kTraces) + "/trace"};
    for (const char* word : {"-e", "trace=execve,socket,close,ioctl", "-e", "signal=none"})
        command.words.emplace_back(word);
    command.words.emplace_back(harness::TestedProgram());
    return command;
}

struct Calls {
    int refreshes = 0;
    int packet_sockets = 0;
    int queries = 0;
    double longest_close = 0;  // of a packet socket, by the program itself
};

bool Contains(const std::string& line, const std::string& text) {
    return line.find(text) != std::string::npos;
}

// "socket(AF_PACKET, SOCK_RAW|SOCK_CLOEXEC, htons(ETH_P_IP)) = 5 <0.000123>"
int ResultOf(const std::string& line) {
    return std::atoi(line.c_str() + line.rfind('=') + 1);
}

double SecondsOf(const std::string& line) {
    return std::atof(line.c_str() + line.rfind('<') + 1);
}

void Count(const std::string& trace, Calls& calls) {
    const bool is_program = Contains(trace, "execve(\"" + harness::TestedProgram());
    std::istringstream lines(trace);
    std::string line;
    std::string close_packet_socket = "none yet";
    while (std::getline(lines, line)) {
        if (Contains(line, "\"" + ListCommand() + "\"]")) ++calls.refreshes;
        if (Contains(line, ", SIOC")) ++calls.queries;
        if (Contains(line, "socket(AF_PACKET")) {
            ++calls.packet_sockets;
            close_packet_socket = "close(" + std::to_string(ResultOf(line)) + ")";
        }
        if (is_program && Contains(line, close_packet_socket)) {
            calls.longest_close = std::max(calls.longest_close, SecondsOf(line));
            close_packet_socket = "none any more";
        }
    }
}

Calls Trace() {
    constexpr double kOneMoreRefresh = 5.5;
    const LastRow last = LastRowOf(kCards);
    {
        Watched program(Traced());
        program.WaitForRow(last.line, last.text);
        program.ReadFor(kOneMoreRefresh);
    }
    Calls calls;
    for (const auto& file : std::filesystem::directory_iterator(kTraces))
        Count(harness::ReadWhole(file.path().string()), calls);
    std::filesystem::remove_all(kTraces);
    return calls;
}

bool ShowsComplaints() {
    Command command = WithFastClock(TheProgram(), 10);
    command.environment["PATH"] = PathWith(
        StandIn("ip", "echo " + std::string(kComplaint) + " >&2; PATH=${PATH#*:} exec ip \"$@\""));
    const LastRow last = LastRowOf(kCards);
    Watched program(command);
    program.WaitForRow(last.line, last.text);
    program.ReadFor(1);
    return program.EverShowed(kComplaint);
}

}  // namespace

Figures MeasureSockets(const Amounts&) {
    EnterNetwork(kCards);
    const Calls calls = Trace();
    return {{.what = "Packet sockets in a refresh",
             .program = std::to_string(calls.packet_sockets) + " in " +
                        std::to_string(calls.refreshes) + " refreshes",
             .measured = static_cast<double>(calls.packet_sockets) / calls.refreshes,
             .most = 1,
             .unit = "sockets",
             .exact = true},
            {.what = "Queries to the kernel for an interface",
             .measured = static_cast<double>(calls.queries) / calls.refreshes / kCards,
             .most = 6,
             .unit = "queries",
             .exact = true},
            {.what = "Longest wait of the program itself to close one",
             .program = Milliseconds(calls.longest_close),
             .measured = calls.longest_close * 1e3,
             .most = 5,
             .unit = "ms"},
            {.what = "Complaints of `ip` on the screen",
             .measured = ShowsComplaints() ? 1.0 : 0.0,
             .most = 0,
             .unit = "seen",
             .exact = true}};
}
