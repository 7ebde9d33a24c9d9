#include "util/read_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "util/utility_fixtures.h"

namespace {

using namespace std::string_literals;

TEST(ReadWholeFile, ReturnsEveryByte) {
    const TemporaryFolder folder;
    const std::string content = "a\n\0b\r\n\xff"s;
    EXPECT_EQ(ReadWholeFile(folder.File("f", content).c_str()), content);
}

TEST(ReadWholeFile, ReadsALargeFileToItsEnd) {
    const TemporaryFolder folder;
    std::string content;
    for (int i = 0; i < 100'000; ++i)
        content += std::to_string(i);
    EXPECT_EQ(ReadWholeFile(folder.File("f", content).c_str()), content);
}

TEST(ReadWholeFile, ReadsFilesThatReportNoSize) {
    const auto text = ReadWholeFile("/proc/self/status");
    ASSERT_TRUE(text.has_value());
    EXPECT_NE(text->find("\nPid:\t" + std::to_string(getpid()) + "\n"), std::string::npos);
}

// The kernel returns such a file page by page, however large the buffer.
TEST(ReadWholeFile, ContinuesAfterAShortRead) {
    const std::string text = ContentOf("/proc/crypto");
    if (text.size() < 8192) GTEST_SKIP() << "the file is too short on this system";
    EXPECT_EQ(ReadWholeFile("/proc/crypto"), text);
}

TEST(ReadWholeFile, APipeInPlaceOfTheFileDoesNotBlock) {
    const TemporaryFolder folder;
    const std::string fifo = folder.Path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(ReadWholeFile(fifo.c_str()).value_or(""), "");
}

TEST(ReadWholeFile, APipeWithASilentWriterDoesNotBlock) {
    const TemporaryFolder folder;
    const std::string fifo = folder.Path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const int writer = open(fifo.c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_EQ(ReadWholeFile(fifo.c_str()), std::nullopt);
    close(writer);
}

constexpr std::size_t kMost = 16 << 20;

TEST(ReadWholeFile, ReadsSixteenMebibytes) {
    const TemporaryFolder folder;
    const std::string file = folder.File("f", std::string(kMost, 'x'));
    EXPECT_EQ(ReadWholeFile(file.c_str()).value_or("").size(), kMost);
}

// Half a file must not pass for the whole: a save would lose the rest.
TEST(ReadWholeFile, ALongerFileReturnsNothing) {
    const TemporaryFolder folder;
    const std::string file = folder.File("f", std::string(kMost + 1, 'x'));
    EXPECT_EQ(ReadWholeFile(file.c_str()), std::nullopt);
    EXPECT_EQ(errno, EFBIG);
}

TEST(ReadWholeFile, AnEndlessFileReturnsNothing) {
    const TemporaryFolder folder;
    const std::string link = folder.Path("link");
    std::filesystem::create_symlink("/dev/zero", link);
    EXPECT_EQ(ReadWholeFile(link.c_str()), std::nullopt);
    EXPECT_EQ(errno, EFBIG);
}

TEST(ReadWholeFile, OnlyAFileIsRead) {
    const TemporaryFolder folder;
    EXPECT_EQ(ReadWholeFile(folder.File("f", "").c_str()), "");
    EXPECT_EQ(ReadWholeFile(folder.Path("missing").c_str()), std::nullopt);
    EXPECT_EQ(ReadWholeFile(folder.path.c_str()), std::nullopt);
}

TEST(ReadWholeFile, LeavesNoDescriptorOpen) {
    const TemporaryFolder folder;
    const std::string file = folder.File("f", "x");
    const int before = NextDescriptor();
    ReadWholeFile(file.c_str());
    ReadWholeFile(folder.path.c_str());
    EXPECT_EQ(NextDescriptor(), before);
}

}  // namespace
