#include "net/rfkill.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <climits>

#include "util/utility_fixtures.h"

namespace {

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
        {"\n5\n", 0},                             // only the first line counts
        {"soft\n", 0},                            // like atoi
        {std::string(60, ' ') + "12345\n", 123},  // at most 63 characters
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

TEST(ReadIntFile, AFolderReadsAsZero) {
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

TEST(WriteIntFile, DoesNothingIfTheFolderIsMissing) {
    const TemporaryFolder folder;
    WriteIntFile(folder.Path("missing/soft"), 1);
    EXPECT_FALSE(std::filesystem::exists(folder.Path("missing")));
}

TEST(ReadIntFile, APipeInPlaceOfTheFileDoesNotBlock) {
    const TemporaryFolder folder;
    const std::string pipe = folder.Path("soft");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(ReadIntFile(pipe), 0);
    WriteIntFile(pipe, 1);
}

TEST(RfkillFolder, AWiredCardHasNone) {
    EXPECT_EQ(RfkillFolder("lo"), "");
}

TEST(RfkillFolder, ANameWithASlashHasNone) {
    const TemporaryFolder root;
    root.File("sys/class/net/wlan0/phy80211/rfkill0/state", "1\n");
    root.File("tmp/x/phy80211/rfkill0/state", "1\n");
    const Answer answer =
        AnswerInChild([&] { return EnterRoot(root.path); },
                      [] { return RfkillFolder("../../../tmp/x").empty() ? 1L : 0L; });
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.value, 1);
}

TEST(RfkillFolder, IsTheLowestNumberThereIs) {
    const TemporaryFolder root;
    for (const char* folder :
         {"wlan0/phy80211/rfkill0", "wlan0/phy80211/rfkill7", "wlan1/phy80211/rfkill12",
          "wlan1/phy80211/rfkill4", "wlan1/phy80211/rfkillx", "wlan2/phy80211"})
        root.File(std::string("sys/class/net/") + folder + "/state", "1\n");
    root.File("sys/class/net/wlan3/phy80211/rfkill0", "1\n");  // only a folder counts
    const Answer answer =
        AnswerInChild([&] { return EnterRoot(root.path); },
                      [] {
                          for (const char* name : {"wlan0", "wlan1", "wlan2", "wlan3"})
                              printf("%s\n", RfkillFolder(name).c_str());
                          return 0L;
                      });
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.output,
              "/sys/class/net/wlan0/phy80211/rfkill0\n"
              "/sys/class/net/wlan1/phy80211/rfkill4\n\n\n");
}

}  // namespace
