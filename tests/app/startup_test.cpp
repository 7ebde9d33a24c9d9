// Start-up steps that need no terminal.
#include "app/startup.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "util/assertion.h"
#include "util/signal_fixtures.h"
#include "util/utility_fixtures.h"

namespace {

// ---- arguments ----

TEST(AsksForHelp, OneOrMoreDashesAndHelpDo) {
    for (const char* argument : {"-help", "--help", "---help", "----------help"})
        EXPECT_TRUE(AsksForHelp(argument)) << argument;
}

TEST(AsksForHelp, NothingElseDoes) {
    for (const char* argument :
         {"help", "", "-", "--", "-h", "--hel", "--helpx", "--help ", "--HELP", "--help=x",
          " --help", "-help-", "-- help", "x--help", "-?"}) {
        EXPECT_FALSE(AsksForHelp(argument)) << argument;
    }
}

void ExpectComplaint(void (*print)(), const char* regex) {
    EXPECT_EXIT(
        {
            print();
            _exit(0);
        },
        testing::ExitedWithCode(0), regex);
}

TEST(PrintUsage, NamesTheCaptureTool) {
    ExpectComplaint(PrintUsage, "^orb-cap-ui \\[options\\]\nTavrin 4 Capture Collection UI\n$");
}

TEST(PrintRootRefusal, SaysHowToRunTheProgram) {
    ExpectComplaint(PrintRootRefusal,
                    "^Ifmenu must be run as root or sudo\\.\n"
                    "If you are authorized to, please run me as follows:\n"
                    "\n"
                    "# sudo ifmenu\n"
                    "\n$");
}

// ---- signals ----

// Prints the alarm that is set when the program ends.
void PrintAlarmAtExit() {
    std::atexit([] { fprintf(stderr, "alarm in %u", alarm(0)); });
}

TEST(OnTerminateSignal, EndsTheProgramWithTheSignalsStatus) {
    for (int number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP})
        EXPECT_EXIT(OnTerminateSignal(number), testing::ExitedWithCode(128 + number), "");
}

TEST(OnTerminateSignal, GivesTheCleanUpFiveSeconds) {
    EXPECT_EXIT(
        {
            PrintAlarmAtExit();
            OnTerminateSignal(SIGINT);
        },
        testing::ExitedWithCode(130), "^alarm in 5$");
}

TEST(OnTerminateSignal, IgnoresEveryOtherSignal) {
    for (int number : {SIGUSR1, SIGALRM, SIGCHLD, SIGTSTP, 0, -1}) {
        OnTerminateSignal(number);
        EXPECT_EQ(alarm(0), 0U) << number;
    }
}

// Whether the condition holds in a prepared process.
bool AfterPreparation(
    const std::function<bool()>& condition, const std::function<void()>& before = [] {}) {
    return AnswerInChild(
               [&] {
                   for (int number : {SIGCHLD, SIGINT, SIGQUIT, SIGTERM, SIGHUP})
                       std::signal(number, SIG_DFL);
                   before();
                   PrepareProcess();
                   return Prepared::kYes;
               },
               [&] { return condition() ? 1L : 0L; })
               .value == 1;
}

bool IsHandled(int number) {
    struct sigaction action = {};
    sigaction(number, nullptr, &action);
    return action.sa_handler == OnTerminateSignal;
}

bool IsIgnored(int number) {
    struct sigaction action = {};
    sigaction(number, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

TEST(PrepareProcess, HandlesAndBlocksEndingSignals) {
    for (int number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
        EXPECT_TRUE(AfterPreparation([=] { return IsHandled(number) && IsBlocked(number); }))
            << number;
    }
    EXPECT_TRUE(AfterPreparation([] { return IsIgnored(SIGCHLD) && !IsBlocked(SIGCHLD); }));
    EXPECT_FALSE(AfterPreparation([] { return IsBlocked(SIGALRM); }));
}

TEST(PrepareProcess, OnlyAnIgnoredHangUpStaysIgnored) {
    EXPECT_TRUE(
        AfterPreparation([] { return IsIgnored(SIGHUP); }, [] { std::signal(SIGHUP, SIG_IGN); }));
    EXPECT_TRUE(
        AfterPreparation([] { return IsHandled(SIGINT); }, [] { std::signal(SIGINT, SIG_IGN); }));
}

TEST(PrepareProcess, ClosedDescriptorsAreOpenedOnDevNull) {
    EXPECT_TRUE(AfterPreparation([] { return open("/dev/null", O_RDONLY) > STDERR_FILENO; },
                                 [] {
                                     close(STDIN_FILENO);
                                     close(STDERR_FILENO);
                                 }));
}

// ---- terminal type ----

// A root folder that contains only an entry for "xterm-1003"; "" if there is no tic.
std::string RootWithMouseTerminal(const TemporaryFolder& root) {
    const std::string source =
        root.File("source", "xterm-1003|for the test, am, cols#80, lines#24, clear=\\E[H\\E[2J,\n");
    const std::string folder = root.Path("usr/share/terminfo");
    std::filesystem::create_directories(folder);
    const std::string command = "tic -o " + folder + " " + source + " >/dev/null 2>&1";
    return std::system(command.c_str()) == 0 ? root.path : "";
}

// TERM after the choice, given TERM before it; null means not set.
Answer TerminalChosen(const std::string& root, const char* type) {
    return AnswerInChild([&] { return EnterRoot(root); },
                         [&] {
                             for (const char* name : {"TERMINFO", "TERMINFO_DIRS", "HOME", "TERM"})
                                 unsetenv(name);
                             if (type != nullptr) setenv("TERM", type, 1);
                             ChooseTerminalType();
                             const char* chosen = std::getenv("TERM");
                             printf("%s", chosen == nullptr ? "(none)" : chosen);
                             return 0L;
                         });
}

TEST(ChooseTerminalType, ChoosesMouseMotionForEveryXterm) {
    const TemporaryFolder folder;
    const std::string root = RootWithMouseTerminal(folder);
    if (root.empty()) GTEST_SKIP() << "no tic on this system";
    for (const char* type :
         {"xterm", "xterm-256color", "XTERM-256color", "xTermite", "xterm-1003"}) {
        const Answer answer = TerminalChosen(root, type);
        SKIP_WHERE_REFUSED(answer);
        EXPECT_EQ(answer.output, "xterm-1003") << type;
    }
}

TEST(ChooseTerminalType, LeavesOtherTerminalsAlone) {
    const TemporaryFolder folder;
    const std::string root = RootWithMouseTerminal(folder);
    if (root.empty()) GTEST_SKIP() << "no tic on this system";
    for (const char* type :
         {"screen", "linux", "vt220", "", "xter", "rxvt", "tmux-xterm", " xterm"}) {
        const Answer answer = TerminalChosen(root, type);
        SKIP_WHERE_REFUSED(answer);
        EXPECT_EQ(answer.output, type);
    }
    EXPECT_EQ(TerminalChosen(root, nullptr).output, "(none)");
}

TEST(ChooseTerminalType, KeepsTheOperatorsTypeIfTheEntryIsMissing) {
    const TemporaryFolder folder;
    for (const char* type : {"xterm", "XTERM-256color", "screen"}) {
        const Answer answer = TerminalChosen(folder.path, type);
        SKIP_WHERE_REFUSED(answer);
        EXPECT_EQ(answer.output, type);
    }
}

}  // namespace
