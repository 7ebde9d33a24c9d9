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
    bool Walk(const std::string& fault) {
        box.Reset();
        box.Remove("/tmp/failed");
        TerminalOptions options = Traced(box);
        options.environment["FAULTY"] = fault;
        options.environment["LD_PRELOAD"] = FAULTS_FAULTY ":" FAULTS_CARDS;
        Terminal t(box, options);
        RushTour(t);
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

// Before the first screen stands, curses itself may not outlive a refusal.
constexpr int kFirstScreenStands = 600;

TEST(Memory, RefusedForeverNothingIsLost) {
    if (kHasSanitizer) return;
    FaultyTours tours;
    // Not one alone while an entry box is open: then the forms library itself may crash.
    for (const char* request : {"700+", "2000+", "3000+", "4500+"})
        EXPECT_TRUE(tours.Walk(std::string("memory ") + request)) << request;
}

TEST(WholeMemory, RefusedAnywhereNothingIsLost) {
    FaultyTours tours;
    for (int n = kFirstScreenStands; tours.Walk("memory " + std::to_string(n)); n += 1 + n / 50) {
    }
    tours.Report("memory_once");
}

TEST(WholeMemory, RefusedForeverFromAnywhereOnNothingIsLost) {
    FaultyTours tours;
    for (int n = kFirstScreenStands; tours.Walk("memory " + std::to_string(n) + "+");
         n += 1 + n / 25) {
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
