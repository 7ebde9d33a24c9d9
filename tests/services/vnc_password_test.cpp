#include "services/vnc_password.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

const std::string kHello = "\x83\x9e\x10\x63\x0d\x24\x87\x30";
const std::string kEmpty = "\x5a\xb2\xcd\xc0\xba\xdc\xaf\x13";

TEST(BytesToKeep, DropsAnEmptySecondPassword) {
    EXPECT_EQ(BytesToKeep(kHello + kEmpty), 8U);
    EXPECT_EQ(BytesToKeep(kEmpty + kEmpty), 8U);
}

TEST(BytesToKeep, KeepsEverythingElse) {
    for (const std::string& bytes :
         {""s, "made"s, kHello, kEmpty, kHello + kHello, kEmpty + kHello, kHello + kEmpty + "\n",
          kHello + kEmpty + kEmpty, kHello + kEmpty.substr(0, 7), "x" + kHello + kEmpty}) {
        EXPECT_EQ(BytesToKeep(bytes), bytes.size()) << testing::PrintToString(bytes);
    }
}

}  // namespace
