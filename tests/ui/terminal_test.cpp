// The routines of the plain terminal.
#include "ui/terminal.h"

#include <gtest/gtest.h>

#include "ui/screen_fixture.h"
#include "util/signal_fixtures.h"
#include "util/signal_gate.h"
#include "util/utility_fixtures.h"

namespace {

// Standard input from the pipe in a child process; returns what is left in it after the wait.
std::string LeftAfterWait(const std::string& input) {
    Pipe pipe;
    pipe.Write(input);
    pipe.CloseWriter();
    return AnswerInChild([] { return Prepared::kYes; },
                         [&] {
                             dup2(pipe.Reader(), STDIN_FILENO);
                             ReadLineRaw();
                             std::string left;
                             char byte = 0;
                             while (read(STDIN_FILENO, &byte, 1) == 1)
                                 left += byte;
                             fwrite(left.data(), 1, left.size(), stdout);
                             return 0L;
                         })
        .output;
}

TEST(ReadLineRaw, ReadsUpToALineEndAndNotBeyond) {
    EXPECT_EQ(LeftAfterWait("\nrest"), "rest");
    EXPECT_EQ(LeftAfterWait("\rrest"), "rest");
    EXPECT_EQ(LeftAfterWait("abc\x1b[A\nrest\n"), "rest\n");
    EXPECT_EQ(LeftAfterWait("abc\r\nrest"), "\nrest");
}

TEST(ReadLineRaw, AReadErrorEndsTheWait) {
    const Answer answer = AnswerInChild([] { return Prepared::kYes; },
                                        [] {
                                            const int folder = open("/", O_RDONLY | O_DIRECTORY);
                                            dup2(folder, STDIN_FILENO);
                                            ReadLineRaw();
                                            return 1L;
                                        });
    EXPECT_EQ(answer.value, 1);
}

TEST(ReadLineRaw, WhereThereIsNoMoreInputTheProgramEnds) {
    EXPECT_EXIT(
        {
            dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
            ReadLineRaw();
            _exit(0);
        },
        testing::ExitedWithCode(1), "");
}

TEST(ReadKey, AnEndingSignalGoesBeforeTheKeysBehindIt) {
    const UnseenScreen screen;
    ASSERT_TRUE(screen.IsReady());
    const SavedSignalMask saved;
    const SignalAction counted(SIGINT, CountSignal);
    signals_counted = 0;
    CloseSignalGate();
    raise(SIGINT);
    ungetch('x');
    EXPECT_EQ(ReadKey(), 'x');
    EXPECT_EQ(signals_counted, 1);
}

TEST(EndProgram, EndsWithTheStatusWhereThereIsNoScreenYet) {
    EXPECT_EXIT(EndProgram(130), testing::ExitedWithCode(130), "");
    EXPECT_EXIT(EndProgram(1), testing::ExitedWithCode(1), "");
}

}  // namespace
