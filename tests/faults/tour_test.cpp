// The tour itself: it must reach every screen, so that its faults reach all of the program.
#include "tour.h"

#include <gtest/gtest.h>

namespace harness::faults {
namespace {

void ExpectAll(void (*walk)(Terminal& t)) {
    TourBox box;
    Terminal t(box, Hasty(box));
    walk(t);
    EXPECT_EQ(t.WaitExit(), Exited(0));
    EXPECT_EQ(TerminalDamage(t), "");
    EXPECT_EQ(box.Damage(), "");
    EXPECT_TRUE(box.AllSaved());
}

TEST(Tour, ReachesEveryScreenAndSavesEveryFile) {
    ExpectAll([](Terminal& t) { WalkTour(t, true); });
}

TEST(Tour, CanBeTypedAtOnce) {
    ExpectAll([](Terminal& t) {
        t.WaitFor("1. wlan0");
        RushTour(t);
    });
}

}  // namespace
}  // namespace harness::faults
