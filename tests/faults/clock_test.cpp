// Setting the machine's clock while the program runs does not stop the refresh.
#include <gtest/gtest.h>

#include <vector>

#include "tour.h"

namespace harness::faults {
namespace {

struct Setting {
    const char* name;
    const char* seconds;
};
std::ostream& operator<<(std::ostream& out, const Setting& setting) {
    return out << setting.name;
}

class ClockSet : public testing::TestWithParam<Setting> {};

TEST_P(ClockSet, DelaysNoRefresh) {
    TourBox box;
    box.Record("ip");
    TerminalOptions options;
    options.environment = {{"CLOCK_FILE", "/run/clock"},
                           {"LD_PRELOAD", FAULTS_CLOCK ":" FAULTS_CARDS}};
    Terminal t(box, options);
    t.WaitFor("1. wlan0");
    t.Settle();
    box.Write("/run/clock", GetParam().seconds);
    t.Press("<Down>");  // otherwise the program would look at its clock only after the wait
    const auto lists = [&] {
        std::vector<double> seconds;
        for (const Call& call : box.Calls("ip"))
            if (call.Line() == "ip link") seconds.push_back(call.seconds);
        return seconds;
    };
    box.WaitUntil([&] { return lists().size() == 3; }, "two refreshes", 13);
    for (size_t i = 1; i < 3; ++i) {
        EXPECT_GE(lists()[i] - lists()[i - 1], 4.9);
        EXPECT_LE(lists()[i] - lists()[i - 1], 5.9);
    }
}

INSTANTIATE_TEST_SUITE_P(Clock, ClockSet,
                         testing::Values(Setting{"BackByAnHour", "-3600"},
                                         Setting{"BackByTenSeconds", "-10"},
                                         Setting{"ForwardByAnHour", "3600"}),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace harness::faults
