#include "util/assertion.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>

namespace {

TEST(FailAssertion, ReportsLikeTheCLibraryAndAborts) {
    EXPECT_EXIT(FailAssertion("i < 64", 1859, "void UpdateRouteInfo()"),
                testing::KilledBySignal(SIGABRT),
                "ifmenu:1859: void UpdateRouteInfo\\(\\): Assertion `i < 64' failed\\.\n$");
}

TEST(FailAssertion, LeavesTheScreenBeforeReporting) {
    before_assertion_report = [] { std::fputs("screen left\n", stderr); };
    EXPECT_EXIT(FailAssertion("a", 1, "void f()"), testing::KilledBySignal(SIGABRT),
                "^screen left\n[^\n]*ifmenu:1: void f\\(\\): Assertion `a' failed\\.\n$");
    before_assertion_report = nullptr;
}

}  // namespace
