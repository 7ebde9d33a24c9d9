// The program running for a long time, on a faster clock: it releases everything it takes.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <string>

#include "tour.h"

namespace harness::faults {
namespace {

// The resources of a process, according to the kernel.
struct Holdings {
    long descriptors = 0;
    long kilobytes = 0;  // private memory: heap, stack, written pages
    int children = 0;
};

Holdings HoldingsOf(const Terminal& t) {
    const std::string proc = "/proc/" + std::to_string(t.pid());
    Holdings holdings;
    for (const auto& entry : std::filesystem::directory_iterator(proc + "/fd")) {
        holdings.descriptors += entry.path().empty() ? 0 : 1;
    }
    std::istringstream status(ReadWhole(proc + "/status"));
    for (std::string word; status >> word;)
        if (word == "RssAnon:") status >> holdings.kilobytes;
    holdings.children = t.Children();
    return holdings;
}

size_t Refreshes(TourBox& box) {
    size_t refreshes = 0;
    for (const std::string& line : box.CallLines("ip"))
        refreshes += line == "ip link" ? 1 : 0;
    return refreshes;
}

constexpr const char* kStop = "/tmp/stop";

// Measured after this many refreshes and between two of them, to leave out what is held only during
// a refresh. The clock stands still, as on a busy computer one refresh follows the other.
Holdings HoldingsAfter(TourBox& box, Terminal& t, size_t refreshes) {
    box.WaitUntil([&] { return Refreshes(box) >= refreshes; },
                  std::to_string(refreshes) + " refreshes", 600);
    box.Write(kStop, "");
    box.WaitUntil([&] { return t.Children() == 0; }, "the commands to end");
    Holdings least = HoldingsOf(t);
    for (int look = 0; look < 300; ++look) {
        t.RunFor(0.005);
        const Holdings now = HoldingsOf(t);
        least.descriptors = std::min(least.descriptors, now.descriptors);
        least.kilobytes = std::min(least.kilobytes, now.kilobytes);
        least.children = std::min(least.children, now.children);
    }
    box.Remove(kStop);
    return least;
}

void Refresh(size_t warm, size_t refreshes) {
    TourBox box;
    // With another number, the folder is searched for the radio switch.
    box.Sh("cd /sys/class/net/wlan0/phy80211 && mv rfkill0 rfkill4");
    box.Record("ip");
    TerminalOptions options = AtAPrompt();
    options.environment = {{"FAST_CLOCK", "100"},
                           {"CLOCK_STOP", kStop},
                           {"LD_PRELOAD", FAULTS_CLOCK ":" FAULTS_CARDS}};
    Terminal t(box, options);
    t.WaitFor("1. wlan0");
    const Holdings early = HoldingsAfter(box, t, warm);
    const Holdings late = HoldingsAfter(box, t, refreshes);
    EXPECT_EQ(late.descriptors, early.descriptors);
    EXPECT_EQ(late.children, early.children);
    if (!HasSanitizers()) {  // they keep freed memory for a while
        EXPECT_LE(late.kilobytes, early.kilobytes + 64);
    }
    std::cout << "FAULTS refreshes: " << warm << " to " << refreshes << ": descriptors "
              << early.descriptors << " and " << late.descriptors << ", own memory "
              << early.kilobytes << " KB and " << late.kilobytes << " KB" << std::endl;
    t.Press("<Esc>");
    EXPECT_EQ(t.WaitExit(), Exited(0));
    ExpectTerminalAsBefore(t);
}

TEST(Refreshing, ForFiveMinutesLeaksNothing) {
    Refresh(20, 60);
}

TEST(WholeRefreshing, ForAnHourLeaksNothing) {
    Refresh(20, 720);
}

// What curses and the C library keep until the end is still reachable; nothing else may be lost.
TEST(WholeTourInValgrind, HasNoLeaksAndNoInvalidReads) {
    if (HasSanitizers()) GTEST_SKIP() << "not with sanitizers";
    TourBox box;
    TerminalOptions options;
    options.rows = 30;
    options.program = "/usr/bin/valgrind";
    options.arguments = {
        "--leak-check=full",   "--show-leak-kinds=definite",    "--errors-for-leak-kinds=definite",
        "--error-exitcode=99", "--child-silent-after-fork=yes", "--log-file=/tmp/valgrind",
        TestedProgram()};
    Terminal t(box, options);
    t.machine().Await([&] { return t.Shows("Exit this program"); }, 60);
    WalkTour(t);
    EXPECT_EQ(t.WaitExit(), Exited(0));
    EXPECT_TRUE(box.AllSaved());
    std::istringstream report(box.Read("/tmp/valgrind"));
    for (std::string line; std::getline(report, line);) {
        for (const char* figure : {"total heap", "definitely lost", "ERROR SUMMARY"}) {
            const size_t at = line.find(figure);
            if (at != std::string::npos)
                std::cout << "FAULTS valgrind: " << line.substr(at) << "\n";
        }
    }
}

}  // namespace
}  // namespace harness::faults
