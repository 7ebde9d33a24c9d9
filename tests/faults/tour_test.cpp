// The tour itself: it must reach every screen, so that its faults reach all of the program.
#include "tour.h"

#include <gtest/gtest.h>

namespace harness::faults {
namespace {

TEST(Tour, ReachesEveryScreenAndSavesEveryFile) {
    TourBox box;
    Terminal t(box, Hasty(box));
    WalkTour(t, true);
    EXPECT_EQ(t.WaitExit(), Exited(0));
    EXPECT_EQ(TerminalDamage(t), "");
    EXPECT_EQ(box.Damage(), "");
    EXPECT_TRUE(box.AllSaved());
}

TEST(Tour, CanBeTypedAtOnce) {
    TourBox box;
    Terminal t(box, Hasty(box));
    RushTour(t);
    EXPECT_EQ(t.WaitExit(), Exited(0));
    EXPECT_EQ(TerminalDamage(t), "");
    EXPECT_EQ(box.Damage(), "");
    EXPECT_TRUE(box.AllSaved());
}

}  // namespace
}  // namespace harness::faults
