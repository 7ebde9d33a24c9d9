// Ending a test from within the bench, with the test's own line in the report.
#pragma once

#include <gtest/gtest.h>

#include <source_location>
#include <string>

namespace bench {

// Where in the test a helper was called: taken as a default argument.
using Place = std::source_location;

// Reports a failure at the place and ends the test, as a fatal assertion would.
[[noreturn]] inline void Fail(const std::string& message, const Place& place) {
    const testing::TestPartResult result(testing::TestPartResult::kFatalFailure, place.file_name(),
                                         static_cast<int>(place.line()), message.c_str());
    ADD_FAILURE_AT(place.file_name(), static_cast<int>(place.line())) << message;
    throw testing::AssertionException(result);
}

// Skips the rest of the test: what it needs is not to be had here, and that is nobody's fault.
[[noreturn]] inline void Skip(const std::string& message, const Place& place) {
    const int line = static_cast<int>(place.line());
    const testing::TestPartResult result(testing::TestPartResult::kSkip, place.file_name(), line,
                                         message.c_str());
    GTEST_MESSAGE_AT_(place.file_name(), line, message.c_str(), testing::TestPartResult::kSkip);
    throw testing::AssertionException(result);
}

}  // namespace bench
