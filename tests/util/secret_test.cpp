#include "util/secret.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>

#include <string>
#include <utility>

#include "util/memory_fixtures.h"

namespace {

constexpr std::string_view kText = "Tr0ub4dor&3";

Secret Typed() {
    Secret secret(48);
    secret.Append(kOverwrittenByHeap);
    secret.Append(kText);
    return secret;
}

TEST(Secret, HoldsAppendedTextUpToItsSize) {
    Secret secret(5);
    EXPECT_TRUE(secret.empty());
    secret.Append("ab");
    secret.Append({"\0d", 2});
    EXPECT_EQ(secret.text(), std::string_view("ab\0d", 4));
    EXPECT_EQ(secret.size(), 4U);
    secret.Append("efg");
    EXPECT_EQ(secret.text(), std::string_view("ab\0de", 5));
    secret.Append("h");
    EXPECT_EQ(secret.size(), 5U);
    EXPECT_EQ(secret.c_str()[5], '\0');
    EXPECT_FALSE(secret.empty());
}

TEST(Secret, DropsItsLastByteAndOverwritesIt) {
    Secret secret(4);
    secret.DropLast();
    EXPECT_TRUE(secret.empty());
    secret.Append("ab");
    secret.DropLast();
    EXPECT_EQ(secret.text(), "a");
    EXPECT_EQ(secret.c_str()[1], '\0');
    secret.Append("c");
    EXPECT_STREQ(secret.c_str(), "ac");
}

TEST(Secret, StaysAtOneAddress) {
    Secret secret = Typed();
    const char* place = secret.c_str();
    const Secret other = std::move(secret);
    EXPECT_EQ(other.c_str(), place);
    EXPECT_TRUE(other.text().ends_with(kText));
}

TEST(Secret, AMovedFromSecretIsEmptyAndHasNoRoom) {
    Secret secret = Typed();
    const Secret other = std::move(secret);
    // NOLINTBEGIN(bugprone-use-after-move,clang-analyzer-cplusplus.Move): this is the test.
    secret.Append("more");
    secret.DropLast();
    EXPECT_TRUE(secret.empty());
    EXPECT_EQ(secret.size(), 0U);
    EXPECT_STREQ(secret.c_str(), "");
    // NOLINTEND(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
}

TEST(Secret, IsInMemoryWhileItLives) {
    EXPECT_TRUE(StaysInMemory(kText, [] {
        const Secret secret = Typed();
        raise(SIGSTOP);
    }));
    EXPECT_TRUE(StaysInMemory(kText, [] { delete new std::string(kText.data(), 11); }))
        << "the remains of a text must be found";
}

TEST(Secret, LeavesNothingInMemory) {
    const struct {
        const char* what;
        void (*work)();
    } kCases[] = {
        {"after its end", [] { Typed(); }},
        {"after another has taken its place",
         [] {
             Secret secret = Typed();
             secret = Secret(0);
             raise(SIGSTOP);
         }},
        {"after a move",
         [] {
             Secret secret = Typed();
             Secret(std::move(secret));
             raise(SIGSTOP);
         }},
        {"after more than there was room for",
         [] {
             Secret secret = Typed();
             for (int i = 0; i < 4; ++i)
                 secret.Append(kText);
         }},
    };
    for (const auto& row : kCases)
        EXPECT_FALSE(StaysInMemory(kText, row.work)) << row.what;
}

TEST(Secret, NobodyCanDumpTheProgramWhileThereIsOne) {
    const auto is_dumpable = [] { return prctl(PR_GET_DUMPABLE) == 1; };
    EXPECT_TRUE(is_dumpable());
    {
        Secret first(8);
        EXPECT_FALSE(is_dumpable());
        const Secret second = std::move(first);
        EXPECT_FALSE(is_dumpable());
    }
    EXPECT_TRUE(is_dumpable());
}

}  // namespace
