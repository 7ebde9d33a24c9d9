// Every unit test must leave as many files open as it found: the program runs for months.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace {

// The terminal of a played screen stays open.
std::ptrdiff_t OpenFiles() {
    return std::count_if(std::filesystem::directory_iterator("/proc/self/fd"), {},
                         [](const auto& each) { return !each.is_character_file(); });
}

class OpenFilesCheck : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override { before_ = OpenFiles(); }
    void OnTestEnd(const testing::TestInfo&) override {
        EXPECT_EQ(OpenFiles(), before_) << "open files";
    }

    std::ptrdiff_t before_ = 0;
};

const bool is_checked = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new OpenFilesCheck);
    return true;
}();

}  // namespace
