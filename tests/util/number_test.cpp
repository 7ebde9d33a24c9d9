#include "util/number.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <string>

namespace {

using namespace std::string_literals;

TEST(ParseNumber, ReadsTheLeadingDigits) {
    for (const char* text : {"0", "7", "007", "42 and more", "42\t43", "1x", "2147483647", "-1",
                             "+5", " \t\n\v\f\r9", "-2147483648", "  -3"}) {
        EXPECT_EQ(ParseNumber(text), std::atoi(text)) << text;
    }
}

TEST(ParseNumber, ATextWithoutDigitsIsNotANumber) {
    for (const char* text : {"", " ", "x1", "-", "+", "+-1", "-+1", "- 1", "--1", "FAIL"})
        EXPECT_EQ(ParseNumber(text), std::nullopt) << text;
    EXPECT_EQ(ParseNumber("\0001"s), std::nullopt);
}

TEST(ParseNumber, ANumberThatDoesNotFitAnIntIsNone) {
    for (const char* text : {"2147483648", "-2147483649", "4294967296", "4294967297",
                             "18446744073709551617", "99999999999999999999999999 1"}) {
        EXPECT_EQ(ParseNumber(text), std::nullopt) << text;
    }
}

TEST(ParseNumber, DoesNotReadBeyondItsText) {
    EXPECT_EQ(ParseNumber(std::string_view("123456").substr(0, 3)), 123);
}

}  // namespace
