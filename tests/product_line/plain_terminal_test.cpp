#include "product_line/plain_terminal.h"

#include <gtest/gtest.h>

#include "ui/played_screen.h"
#include "util/utility_fixtures.h"

namespace {

// Waits in a child process with the pipe as standard input; returns what is left in the pipe.
std::string LeftAfter(void (*wait)(), const std::string& input) {
    Pipe pipe;
    pipe.Write(input);
    pipe.CloseWriter();
    return AnswerInChild([&] {
               dup2(pipe.Reader(), STDIN_FILENO);
               wait();
               std::fputs(pipe.ReadToEnd().c_str(), stdout);
               return 0L;
           })
        .output;
}

TEST(ReadLineRaw, StopsReadingAtALineEnd) {
    EXPECT_EQ(LeftAfter(ReadLineRaw, "\nrest"), "rest");
    EXPECT_EQ(LeftAfter(ReadLineRaw, "\rrest"), "rest");
    EXPECT_EQ(LeftAfter(ReadLineRaw, "abc\x1b[A\nrest\n"), "rest\n");
    EXPECT_EQ(LeftAfter(ReadLineRaw, "abc\r\nrest"), "\nrest");
}

TEST(ReadLineRaw, AReadErrorEndsTheWait) {
    const Answer answer = AnswerInChild([] {
        dup2(open("/", O_RDONLY | O_DIRECTORY), STDIN_FILENO);
        ReadLineRaw();
        return 1L;
    });
    EXPECT_EQ(answer.value, 1);
}

TEST(ReadLineRaw, TheProgramEndsWithItsInput) {
    EXPECT_EXIT(
        {
            dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
            ReadLineRaw();
            _exit(0);
        },
        testing::ExitedWithCode(1), "");
}

TEST(WaitForEnterCurses, OnlyALineEndEndsTheWait) {
    for (const char* line_end : {"\r", "\n"}) {
        PlayedScreen screen;
        screen.Play({[&] {
                         EXPECT_EQ(screen.Line(0), "Hit enter to continue");
                         screen.Type("x");
                     },
                     screen.Keys(line_end)});
        WaitForEnterCurses();
        EXPECT_TRUE(screen.IsPlayed());
    }
}

TEST(WaitForEnter, SaysWhatItWaitsForAndWaits) {
    EXPECT_EQ(LeftAfter(WaitForEnter, "x\nrest"), "Hit enter to continue\nrest");
}

}  // namespace
