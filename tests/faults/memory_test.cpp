// Memory that is refused on a tour through every screen, and files that fail while they are closed:
// the program ends in order, and all its files are whole.
#include <gtest/gtest.h>

#include <iostream>
#include <map>
#include <string>

#include "tour.h"

namespace bench::faults {
namespace {

// A sanitizer brings its own memory, and closes what it likes.
#ifdef __SANITIZE_ADDRESS__
constexpr bool kHasSanitizer = true;
#else
constexpr bool kHasSanitizer = false;
#endif

// Tours on which one request fails, and what became of them.
struct FaultyTours {
    TourBox box;
    std::map<int, int> endings = {};
    int failed = 0;

    // False when there were fewer requests.
    bool Walk(const std::string& fault, void (*tour)(Terminal&) = RushTour) {
        box.Reset();
        box.Remove("/tmp/failed");
        TerminalOptions options = Traced(box);
        options.environment["FAULTY"] = fault;
        options.environment["LD_PRELOAD"] = FAULTS_FAULTY ":" FAULTS_CARDS;
        Terminal t(box, options);
        tour(t);
        const Ending ending = EndTour(t);
        ++endings[ending.signal != 0 ? 128 + ending.signal : ending.status];
        const std::string damage = TerminalDamage(t) + box.Damage();
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

// Renames the computer, and looks before each step as an operator does: a box that could not be
// shown is left.
void RenameTour(Terminal& t) {
    const auto begun = [&] { return !t.Running() || t.Shows("Exit this program"); };
    t.machine().Await(begun, Terminal::kPatience);
    for (const char* keys : {"n<Enter>", "-", "2", "<Enter>", "<Esc>", "e<Enter>"}) {
        if (!t.Running()) return;
        if (keys[0] != 'n' && keys[0] != 'e' && !t.Shows("[ESC to cancel]")) keys = "<Esc>";
        t.Press(keys);
        t.Settle();
    }
}

TEST(Memory, RefusedForeverNothingIsLost) {
    if (kHasSanitizer) return;
    FaultyTours tours;
    for (const char* request : {"20+", "1500+", "2500+", "4000+"})
        EXPECT_TRUE(tours.Walk(std::string("memory ") + request)) << request;
}

TEST(Memory, RefusedOnceNothingIsLost) {
    if (kHasSanitizer) return;
    FaultyTours tours;
    for (const char* request : {"30", "700", "1500", "2500", "4000"})
        EXPECT_TRUE(tours.Walk(std::string("memory ") + request)) << request;
}

TEST(Memory, RefusedOnceAroundAnEntryBoxNothingIsLost) {
    if (kHasSanitizer) return;
    FaultyTours tours;
    for (int n = 1; n < 90; ++n)
        EXPECT_TRUE(tours.Walk("memory " + std::to_string(n), RenameTour)) << n;
}

// Curses itself may not outlive a refusal before its first screen stands.
TEST(WholeMemory, RefusedBeforeTheFirstScreenLeavesLineMode) {
    TourBox box;
    int n = 0;
    for (bool failed = true; failed; ++n) {
        box.Remove("/tmp/failed");
        TerminalOptions options = Traced(box);
        options.environment["FAULTY"] = "early " + std::to_string(n + 1);
        options.environment["LD_PRELOAD"] = FAULTS_FAULTY ":" FAULTS_CARDS;
        Terminal t(box, options);
        t.machine().Await([&] { return !t.Running() || t.Shows("Exit this program"); },
                          Terminal::kPatience);
        failed = box.Exists("/tmp/failed");
        EndTour(t);
        EXPECT_TRUE(t.LineMode()) << n + 1;
    }
    std::cout << "FAULTS memory_early: " << n - 1 << " injected" << std::endl;
}

TEST(WholeMemory, RefusedAnywhereNothingIsLost) {
    FaultyTours tours;
    for (int n = 1; tours.Walk("memory " + std::to_string(n)); ++n) {
    }
    tours.Report("memory_once");
}

TEST(WholeMemory, RefusedForeverFromAnywhereOnNothingIsLost) {
    FaultyTours tours;
    for (int n = 1; tours.Walk("memory " + std::to_string(n) + "+"); n += 1 + n / 25) {
    }
    tours.Report("memory_forever");
}

TEST(WholeClosing, FailingAnywhereLosesNothing) {
    FaultyTours tours;
    for (int n = 1; tours.Walk("close " + std::to_string(n)); ++n) {
    }
    tours.Report("close_EIO");
}

}  // namespace
}  // namespace bench::faults
