// System calls that fail, one at a time, on a tour through every screen: the program ends properly,
// every file that it saves is the old or the new one, and the terminal is as before.
#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "seed.h"
#include "tour.h"

namespace harness::faults {
namespace {

// How a system call fails.
struct Fault {
    const char* call;
    const char* error;
};

std::ostream& operator<<(std::ostream& out, const Fault& fault) {
    return out << fault.call << "_" << fault.error;
}

constexpr Fault kFaults[] = {
    {"openat", "EMFILE"},     {"openat", "EACCES"},   {"read", "EIO"},
    {"read", "EINTR"},        {"write", "ENOSPC"},    {"write", "EINTR"},
    {"clone", "EAGAIN"},      {"clone3", "EAGAIN"},   {"pipe2", "EMFILE"},
    {"socket", "EMFILE"},     {"socket", "EPERM"},    {"connect", "EACCES"},
    {"ioctl", "EIO"},         {"ioctl", "ENODEV"},    {"rename", "ENOSPC"},
    {"rename", "EBUSY"},      {"fsync", "EIO"},       {"unlink", "EPERM"},
    {"chmod", "EPERM"},       {"fchmod", "EPERM"},    {"fchown", "EPERM"},
    {"mkdir", "EACCES"},      {"wait4", "EINTR"},     {"wait4", "ECHILD"},
    {"newfstatat", "EACCES"}, {"readlink", "EACCES"}, {"readlinkat", "EACCES"},
    {"getdents64", "EIO"},    {"fcntl", "EINVAL"},    {"lseek", "ESPIPE"},
    {"sethostname", "EPERM"}, {"poll", "EINTR"},      {"poll", "ENOMEM"},
    {"ppoll", "EINTR"},       {"ppoll", "ENOMEM"},    {"prlimit64", "EPERM"},
    {"mmap", "ENOMEM"},       {"access", "EACCES"},   {"clock_nanosleep", "EINTR"},
};

// A sanitizer ends the program if it gets no memory itself.
bool IsLeftOut(const Fault& fault) {
#ifdef __SANITIZE_ADDRESS__
    return fault.call == std::string("mmap");
#else
    return fault.call == nullptr;
#endif
}

// The names of the calls on an undisturbed tour, in order.
std::vector<std::string> CallsOfATour(TourBox& box, void (*tour)(Terminal&)) {
    Terminal t(box, Traced(box, "/.*"));
    tour(t);
    EXPECT_EQ(t.WaitExit(), Exited(0));
    std::vector<std::string> calls;
    std::istringstream trace(box.Read(kTrace));
    for (std::string line; std::getline(trace, line);)
        calls.push_back(line.substr(0, line.find('(')));
    return calls;
}

// Which occurrences of a call to disturb. The first ones are left out: the loader makes them,
// before the program runs its first command.
struct Occurrences {
    int first;
    int last;
};

Occurrences OccurrencesOf(const std::string& call, const std::vector<std::string>& calls) {
    const auto start = std::find_if(calls.begin(), calls.end(),
                                    [](const auto& each) { return each.starts_with("clone"); });
    return {1 + static_cast<int>(std::count(calls.begin(), start, call)),
            static_cast<int>(std::count(calls.begin(), calls.end(), call))};
}

// The line of the trace with the injected error; empty if the program made fewer calls.
std::string InjectedCall(TourBox& box, const std::string& call) {
    std::istringstream trace(box.Read(kTrace));
    for (std::string line; std::getline(trace, line);) {
        if (line.starts_with(call + "(") && line.find("(INJECTED)") != std::string::npos)
            return line;
    }
    return "";
}

// A terminal can't be restored if it refuses settings, or loses what is written to it.
bool IsOfTheTerminal(const std::string& call) {
    return call.starts_with("write(1, ") || call.find("TCSETS") != std::string::npos;
}

// A tour with one failing call; false if the program did not make that many calls.
bool TourWithFault(TourBox& box, const Fault& fault, int occurrence, void (*tour)(Terminal&),
                   std::map<int, int>& endings) {
    box.Reset();
    const std::string which = ":when=" + std::to_string(occurrence);
    Terminal t(box,
               Traced(box, fault.call, std::string(fault.call) + ":error=" + fault.error + which));
    tour(t);
    const Ending ending = EndTour(t);
    ++endings[ending.signal != 0 ? 128 + ending.signal : ending.status];
    const std::string injected = InjectedCall(box, fault.call);
    const std::string damage = box.Damage() + (IsOfTheTerminal(injected) ? "" : TerminalDamage(t));
    if (!IsOrderly(ending) || !damage.empty()) {
        ADD_FAILURE() << fault << which << ": " << ending << "\n"
                      << injected << "\n"
                      << damage
                      << t.Output().substr(std::max<size_t>(t.Output().size(), 300) - 300);
    }
    return !injected.empty();
}

TEST(Faults, TheProgramSurvivesSomeOfEachKind) {
    Chance chance(Game::kSame);
    TourBox box;
    const std::vector<std::string> calls = CallsOfATour(box, RushTour);
    std::map<int, int> endings;
    for (const Fault& fault : kFaults) {
        const Occurrences range = OccurrencesOf(fault.call, calls);
        if (IsLeftOut(fault) || range.last < range.first || chance.Between(0, 3) != 0) continue;
        TourWithFault(box, fault, chance.Between(range.first, range.last), RushTour, endings);
    }
}

class WholeTour : public testing::TestWithParam<Fault> {};

TEST_P(WholeTour, SurvivesEachFault) {
    if (IsLeftOut(GetParam())) GTEST_SKIP() << "not with a sanitizer";
    TourBox box;
    const Occurrences range = OccurrencesOf(GetParam().call, CallsOfATour(box, RushTour));
    std::map<int, int> endings;
    int injected = 0;
    for (int n = range.first;
         TourWithFault(box, GetParam(), n, RushTour, endings) || n < range.last; ++n)
        ++injected;
    std::cout << "FAULTS " << GetParam() << ": " << injected << " injected; ended with";
    for (const auto& [status, count] : endings)
        std::cout << " " << status << " (" << count << ")";
    std::cout << std::endl;
}

INSTANTIATE_TEST_SUITE_P(Whole, WholeTour, testing::ValuesIn(kFaults),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace harness::faults
