#include "net/rfkill.h"

#include <gtest/gtest.h>

#include <climits>

#include "util/utility_fixtures.h"

namespace {

TEST(RfkillFolder, IsTheFirstSwitchOfTheCard) {
    EXPECT_EQ(RfkillFolder("wlan0"), "/sys/class/net/wlan0/phy80211/rfkill0");
}

TEST(ReadIntFile, ReadsANumber) {
    struct {
        std::string content;
        int value;
    } const kCases[] = {
        {"0\n", 0},
        {"1\n", 1},
        {"2", 2},
        {"-1\n", -1},
        {"  12 34\n", 12},
        {"7x\n", 7},
        {"", 0},                                  // empty
        {"\n5\n", 0},                             // the first line counts
        {"soft\n", 0},                            // as atoi reads it
        {std::string(60, ' ') + "12345\n", 123},  // of at most 63 characters
        {std::string(62, ' ') + "12345\n", 1},
        {std::string(63, ' ') + "12345\n", 0},
    };
    const TemporaryFolder folder;
    for (const auto& row : kCases)
        EXPECT_EQ(ReadIntFile(folder.File("state", row.content)), row.value) << row.content;
}

TEST(ReadIntFile, IsMinusOneForAMissingFile) {
    const TemporaryFolder folder;
    EXPECT_EQ(ReadIntFile(folder.Path("state")), -1);
    EXPECT_EQ(ReadIntFile(folder.Path("no/such/folder/state")), -1);
}

TEST(ReadIntFile, AFolderOpensButHasNoLine) {
    const TemporaryFolder folder;
    EXPECT_EQ(ReadIntFile(folder.path), 0);
}

TEST(WriteIntFile, WritesANumberAndALineFeed) {
    const TemporaryFolder folder;
    const std::string file = folder.Path("soft");
    for (const auto& [value, content] : {std::pair{0, "0\n"},
                                         {1, "1\n"},
                                         {-1, "-1\n"},
                                         {INT_MAX, "2147483647\n"},
                                         {INT_MIN, "-2147483648\n"}}) {
        WriteIntFile(file, value);
        EXPECT_EQ(ContentOf(file), content);
    }
}

TEST(WriteIntFile, ReplacesALongerText) {
    const TemporaryFolder folder;
    const std::string file = folder.File("soft", "what was there\nbefore\n");
    WriteIntFile(file, 1);
    EXPECT_EQ(ContentOf(file), "1\n");
}

TEST(WriteIntFile, WithoutItsFolderDoesNothing) {
    const TemporaryFolder folder;
    WriteIntFile(folder.Path("missing/soft"), 1);
    EXPECT_FALSE(std::filesystem::exists(folder.Path("missing")));
}

TEST(HasRfkill, AWireHasNone) {
    EXPECT_FALSE(HasRfkill("lo"));
}

TEST(HasRfkill, OnlyAFolderCounts) {
    const TemporaryFolder root;
    root.File("sys/class/net/wlan0/phy80211/rfkill0/state", "1\n");
    root.File("sys/class/net/wlan1/phy80211/rfkill0", "1\n");
    const Answer answer =
        AnswerInChild([&] { return EnterRoot(root.path); },
                      [] { return HasRfkill("wlan0") && !HasRfkill("wlan1") ? 1L : 0L; });
    if (answer.prepared == Prepared::kRefused) GTEST_SKIP() << "only root changes its root";
    EXPECT_EQ(answer.value, 1);
}

}  // namespace
