// Ends a test from within the harness and reports the test's own line.
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace harness {

// The caller of a helper in the test, taken as a default argument: Place::current().
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

// Reports a failure at that place and ends the test, like a fatal assertion.
[[noreturn]] inline void Fail(const std::string& message, const Place& place) {
    const testing::TestPartResult result(testing::TestPartResult::kFatalFailure, place.file,
                                         place.line, message.c_str());
    GTEST_MESSAGE_AT_(place.file, place.line, message.c_str(),
                      testing::TestPartResult::kFatalFailure);
    throw testing::AssertionException(result);
}

// Skips the rest of the test because this system lacks something that it needs.
[[noreturn]] inline void Skip(const std::string& message, const Place& place) {
    const testing::TestPartResult result(testing::TestPartResult::kSkip, place.file, place.line,
                                         message.c_str());
    GTEST_MESSAGE_AT_(place.file, place.line, message.c_str(), testing::TestPartResult::kSkip);
    throw testing::AssertionException(result);
}

}  // namespace harness
