// Failing allocations, and failing closes of files, on a tour through every screen: the program
// ends properly, and all its files are intact.
#include <gtest/gtest.h>

#include <csignal>
#include <iostream>
#include <map>
#include <string>

#include "tour.h"

namespace harness::faults {
namespace {

// Sanitizers have their own memory, and close files of their own: these tests are not for them.
TerminalOptions Faulty(const std::string& fault) {
    TerminalOptions options;
    options.rows = 30;
    options.environment["FAULTY"] = fault;
    options.environment["LD_PRELOAD"] = FAULTS_FAULTY ":" FAULTS_CARDS;
    return options;
}

// If a box can't be shown, the keys typed ahead for it go to the menu, and may open it again.
constexpr const char* kNamedByKeysTypedAhead = "/etc/hostname holds:\napplianced\n";

// Tours with one failing request, and their results.
struct FaultyTours {
    TourBox box;
    std::map<int, int> endings = {};
    int failed = 0;

    // Returns false if there were fewer requests.
    bool Walk(const std::string& fault, void (*tour)(Terminal&) = RushTour) {
        box.Reset();
        box.Remove("/tmp/failed");
        Terminal t(box, Faulty(fault));
        tour(t);
        const Ending ending = EndTour(t);
        ++endings[ending.signal != 0 ? 128 + ending.signal : ending.status];
        std::string damage = box.Damage();
        if (tour == RushTour && damage == kNamedByKeysTypedAhead) damage.clear();
        damage += TerminalDamage(t);
        if (!IsOrderly(ending) || !damage.empty()) {
            ADD_FAILURE() << fault << ": " << ending << "\n" << damage;
        }
        if (!box.Exists("/tmp/failed")) return false;
        ++failed;
        return true;
    }
    void Report(const char* what) const {
        std::cout << "FAULTS " << what << ": " << failed << " injected; ended with";
        for (const auto& [status, count] : endings)
            std::cout << " " << status << " (" << count << ")";
        std::cout << std::endl;
    }
};

// Types the keys and waits; false if the program has ended.
bool Lives(Terminal& t, const char* keys) {
    t.Press(keys);
    t.Settle();
    return t.Running();
}

// Renames the computer if the box appears; otherwise leaves the screen.
void RenameTour(Terminal& t) {
    const auto begun = [&] { return !t.Running() || t.Shows("Exit this program"); };
    t.machine().Await(begun, Terminal::kPatience);
    if (!t.Running() || !Lives(t, "n<Enter>")) return;
    if (t.Shows("[ESC to cancel]")) {
        if (!Lives(t, "-2")) return;
        EXPECT_TRUE(t.Shows("appliance-2"));
        if (!Lives(t, "<Enter>")) return;
        EXPECT_EQ(t.machine().Read("/etc/hostname"), "appliance-2\n");
    } else if (!Lives(t, "<Esc>")) {
        return;
    }
    t.Press("e<Enter>");
    t.Settle();
}

TEST(Memory, NothingIsLostIfAllFurtherRequestsFail) {
    if (HasSanitizers()) return;
    FaultyTours tours;
    for (const char* request : {"20+", "1500+", "2500+", "4000+"})
        EXPECT_TRUE(tours.Walk(std::string("memory ") + request)) << request;
}

TEST(Memory, NothingIsLostIfOneRequestFails) {
    if (HasSanitizers()) return;
    FaultyTours tours;
    for (const char* request : {"30", "700", "1500", "2500", "4000"})
        EXPECT_TRUE(tours.Walk(std::string("memory ") + request)) << request;
}

TEST(Memory, NothingIsLostIfOneRequestOfAnEntryBoxFails) {
    if (HasSanitizers()) return;
    FaultyTours tours;
    for (int n = 1; n < 90; ++n)
        EXPECT_TRUE(tours.Walk("memory " + std::to_string(n), RenameTour)) << n;
}

// A shell that waits for a line, so that keys can be typed ahead, runs the program, and writes the
// unread keys to /run/left.
TerminalOptions FaultyInAShell(const std::string& fault) {
    TerminalOptions options = Faulty(fault);
    options.program = "/bin/sh";
    options.arguments = {
        "-c", "read -r go; " + TestedProgram() +
                  "; echo status $?; stty -icanon min 0 time 0; cat >/run/left; echo end"};
    return options;
}

// Keys typed ahead were meant for the program.
TEST(Memory, RefusedLeavesNoTypedKeyToTheShell) {
    if (HasSanitizers()) return;
    TourBox box;
    Terminal t(box, FaultyInAShell("memory 20+"));
    t.Press("<Enter>");
    t.WaitFor("Exit this program");
    box.Sh("kill -STOP $(pgrep -ox ifmenu)");
    t.Press("n<Enter>-2<Enter>t<Enter>n<Enter>reboot<Enter>");
    box.Sh("kill -CONT $(pgrep -ox ifmenu)");
    t.WaitFor("end");
    EXPECT_TRUE(t.Shows("Out of memory.") && t.Shows("status 1"));
    EXPECT_EQ(box.Read("/run/left"), "");
}

TEST(Memory, RefusedForTheFirstScreenLeavesNoTypedKeyToTheShell) {
    if (HasSanitizers()) return;
    TourBox box;
    Terminal t(box, FaultyInAShell("early 100+"));
    t.Press("<Enter>reboot<Enter>");
    t.WaitFor("end");
    EXPECT_TRUE(SaysTheTerminalIsUnknown(t) && t.Shows("status 1"));
    EXPECT_EQ(box.Read("/run/left"), "");
}

TEST(Stack, UsedUpLeavesATerminalToTypeOn) {
    if (HasSanitizers()) return;
    TourBox box;
    Terminal t(box, Faulty("stack"));
    t.WaitFor("Exit this program");
    t.Press("<Down><Down>");
    EXPECT_EQ(t.WaitExit(), Killed(SIGSEGV));
    EXPECT_EQ(TerminalDamage(t), "");
}

// There are many requests, so parallel jobs share them.
constexpr int kShares = 4;

class EarlyMemory : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Shares, EarlyMemory, testing::Range(0, kShares));

// Curses itself may crash on a refusal before its first screen appears.
TEST_P(EarlyMemory, AFailureBeforeTheFirstScreenLeavesLineMode) {
    if (HasSanitizers()) return;
    TourBox box;
    int failed = 0;
    for (int n = 1 + GetParam();; n += kShares) {
        box.Remove("/tmp/failed");
        Terminal t(box, Faulty("early " + std::to_string(n)));
        box.Await([&] { return !t.Running() || t.Shows("Exit this program"); },
                  Terminal::kPatience);
        EndTour(t);
        EXPECT_TRUE(t.LineMode()) << "request " << n;
        if (!box.Exists("/tmp/failed")) break;
        failed = n;
    }
    EXPECT_GT(failed, 100) << "there must be more requests than that";
}

class WholeMemory : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Whole, WholeMemory, testing::Range(0, kShares));

TEST_P(WholeMemory, NothingIsLostIfAnyRequestFails) {
    FaultyTours tours;
    for (int n = 1 + GetParam(); tours.Walk("memory " + std::to_string(n)); n += kShares) {
    }
    tours.Report("memory_once");
}

TEST(WholeMemoryForever, NothingIsLostIfAllRequestsFromAnyPointFail) {
    FaultyTours tours;
    for (int n = 1; tours.Walk("memory " + std::to_string(n) + "+"); n += 1 + n / 25) {
    }
    tours.Report("memory_forever");
}

TEST(WholeClosing, NothingIsLostIfAnyCloseFails) {
    FaultyTours tours;
    for (int n = 1; tours.Walk("close " + std::to_string(n)); ++n) {
    }
    tours.Report("close_EIO");
}

}  // namespace
}  // namespace harness::faults
