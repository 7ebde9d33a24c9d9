// Ending a test from within the harness, with the test's own line in the report.
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace harness {

// Where in the test a helper was called: taken as a default argument, Place::current().
struct Place {
    const char* file;
    int line;
    static constexpr Place current(const char* file = __builtin_FILE(),
                                   int line = __builtin_LINE()) {
        return {file, line};
    }
    static constexpr Place Here(const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
        return {file, line};
    }
};

// Reports a failure at the place and ends the test, as a fatal assertion would.
[[noreturn]] inline void Fail(const std::string& message, const Place& place) {
    const testing::TestPartResult result(testing::TestPartResult::kFatalFailure, place.file,
                                         place.line, message.c_str());
    GTEST_MESSAGE_AT_(place.file, place.line, message.c_str(),
                      testing::TestPartResult::kFatalFailure);
    throw testing::AssertionException(result);
}

// Skips the rest of the test: what it needs is not to be had here, and that is nobody's fault.
[[noreturn]] inline void Skip(const std::string& message, const Place& place) {
    const testing::TestPartResult result(testing::TestPartResult::kSkip, place.file, place.line,
                                         message.c_str());
    GTEST_MESSAGE_AT_(place.file, place.line, message.c_str(), testing::TestPartResult::kSkip);
    throw testing::AssertionException(result);
}

}  // namespace harness
