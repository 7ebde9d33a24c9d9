#include "util/command.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/time.h>

#include <cstdint>
#include <ctime>
#include <sstream>
#include <utility>

#include "util/clock.h"
#include "util/memory_fixtures.h"
#include "util/process_fixtures.h"
#include "util/signal_fixtures.h"
#include "util/signal_gate.h"
#include "util/utility_fixtures.h"

namespace {

using namespace std::string_literals;

// ---- the start of a command ----

// A command that prints the entry of its own shell in /proc.
constexpr const char* kOwnStatus = "while read -r line; do echo \"$line\"; done </proc/self/status";

std::string OutputOfRunCommand(const std::string& command) {
    const TemporaryFolder folder;
    RunCommand("{ " + command + "; } >" + folder.Path("output"));
    return ContentOf(folder.Path("output"));
}

std::string OutputOfCommandOutput(const std::string& command) {
    return CommandOutput(command).value_or("");
}

Secret SecretOf(std::string_view text) {
    Secret secret(text.size());
    secret.Append(text);
    return secret;
}

std::string OutputOfFeedCommand(const std::string& command) {
    const TemporaryFolder folder;
    FeedCommand("{ " + command + "; } >" + folder.Path("output"), SecretOf("input\n"));
    return ContentOf(folder.Path("output"));
}

void AwaitOutput(const RunningCommand& running) {
    pollfd output = {running.descriptor, POLLIN, 0};
    poll(&output, 1, -1);
}

// Its whole output; the command has ended.
std::string OutputOf(RunningCommand& running) {
    while (!ReadAvailable(running))
        AwaitOutput(running);
    waitpid(running.pid, nullptr, 0);
    return running.output;
}

std::string OutputOfStartCommand(const std::string& command) {
    auto running = StartCommand(command);
    if (!running) return "not started";
    const OpenSignalGate open;
    return OutputOf(*running);
}

struct Door {
    const char* name;
    std::string (*output_of)(const std::string&);
};

constexpr Door kDoors[] = {{"RunCommand", OutputOfRunCommand},
                           {"CommandOutput", OutputOfCommandOutput},
                           {"StartCommand", OutputOfStartCommand},
                           {"FeedCommand", OutputOfFeedCommand}};

// A signal mask in the entry, as the kernel prints it: bit n - 1 for signal n.
std::uint64_t SignalSet(const std::string& status, const std::string& name) {
    const std::size_t start = status.find(name + ":");
    if (start == std::string::npos) return ~std::uint64_t{0};
    return std::stoull(status.substr(start + name.size() + 1), nullptr, 16);
}

// A machine whose shell only prints its entry in the process table. Real shells don't show reliably
// how they were started: some reset SIGCHLD themselves, others don't.
Prepared EnterMachineWithReportingShell(const TemporaryFolder& folder) {
    const std::string shell = folder.File("sh", "#!/usr/bin/env -S cat /proc/self/status --\n");
    chmod(shell.c_str(), 0755);
    if (unshare(CLONE_NEWNS) != 0) return Prepared::kRefused;
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return Prepared::kRefused;
    if (mount(shell.c_str(), "/bin/sh", nullptr, MS_BIND, nullptr) != 0) return Prepared::kRefused;
    return Prepared::kYes;
}

// The ways to run a command, and their output, without the redirections of a real shell.
const Door kPlainDoors[] = {
    {"RunCommand",
     [](const std::string& command) {
         RunCommand(command);
         return std::string();
     }},
    {"CommandOutput", OutputOfCommandOutput},
    {"StartCommand", OutputOfStartCommand},
    {"FeedCommand",
     [](const std::string& command) {
         FeedCommand(command, Secret(0));
         return std::string();
     }},
};

TEST(Command, StartsWithDefaultSignalsInAnyShell) {
    for (const Door& door : kPlainDoors) {
        SCOPED_TRACE(door.name);
        const TemporaryFolder folder;
        const Answer answer =
            AnswerInChild([&] { return EnterMachineWithReportingShell(folder); },
                          [&] {
                              for (int number = 1; number <= SIGSYS; ++number)
                                  std::signal(number, SIG_IGN);
                              CloseSignalGate();
                              // That shell complains about its arguments.
                              dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
                              const std::string output = door.output_of("true");
                              fwrite(output.data(), 1, output.size(), stdout);
                              return 0L;
                          });
        SKIP_WHERE_REFUSED(answer);
        // Under nohup, commands ignore SIGHUP. Signals above SIGSYS belong to the C library.
        constexpr std::uint64_t kAll = (std::uint64_t{1} << SIGSYS) - 1;
        EXPECT_EQ(SignalSet(answer.output, "SigIgn") & kAll, std::uint64_t{1} << (SIGHUP - 1));
        EXPECT_EQ(SignalSet(answer.output, "SigBlk"), 0U);
    }
}

TEST(Command, StartsWithNoSignalBlocked) {
    const SavedSignalMask saved;
    CloseSignalGate();
    sigset_t held;
    sigemptyset(&held);
    sigaddset(&held, SIGUSR1);
    sigprocmask(SIG_BLOCK, &held, nullptr);
    for (const Door& door : kDoors) {
        SCOPED_TRACE(door.name);
        EXPECT_EQ(SignalSet(door.output_of(kOwnStatus), "SigBlk"), 0U);
    }
}

TEST(Command, IsRunByTheShellExactlyAsWritten) {
    for (const Door& door : kDoors) {
        SCOPED_TRACE(door.name);
        EXPECT_EQ(door.output_of("printf '%s|' \"$0\" 'a  b' $((1 + 1)) \\* \"\n\""),
                  "sh|a  b|2|*|\n|");
    }
}

TEST(Command, DoesNotChangeTheProgramsSignals) {
    const SignalAction child(SIGCHLD, SIG_IGN);
    const SignalAction interrupt(SIGINT, CountSignal);
    const SignalAction quit(SIGQUIT, CountSignal);
    const SavedSignalMask saved;
    CloseSignalGate();
    for (const Door& door : kDoors) {
        SCOPED_TRACE(door.name);
        door.output_of("true");
        struct sigaction action = {};
        sigaction(SIGCHLD, nullptr, &action);
        EXPECT_EQ(action.sa_handler, SIG_IGN);
        for (int number : {SIGINT, SIGQUIT}) {
            sigaction(number, nullptr, &action);
            EXPECT_EQ(action.sa_handler, &CountSignal) << number;
            EXPECT_TRUE(IsBlocked(number)) << number;
        }
    }
}

// Waits until the file exists, five seconds at most.
std::string UntilThere(const std::string& file) {
    return "n=0; while [ ! -e " + file + " ] && [ $n -lt 500 ]; do sleep 0.01; n=$((n + 1)); done";
}

std::string file_made_by_signal;

void MakeFile(int /*number*/) {
    close(open(file_made_by_signal.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
}

TEST(Command, EndingSignalsAreDeliveredWhileItRuns) {
    for (const Door& door : kDoors) {
        SCOPED_TRACE(door.name);
        const TemporaryFolder folder;
        file_made_by_signal = folder.Path("taken");
        const SavedSignalMask saved;
        const SignalAction taken(SIGTERM, MakeFile);
        CloseSignalGate();
        EXPECT_EQ(door.output_of("kill -TERM $PPID; " + UntilThere(file_made_by_signal) +
                                 "; [ -e " + file_made_by_signal + " ] && echo taken"),
                  "taken\n");
    }
}

TEST(Command, IsWaitedForIfTheKernelReapsChildren) {
    const SignalAction child(SIGCHLD, SIG_IGN);
    for (const Door& door : kDoors) {
        SCOPED_TRACE(door.name);
        const TemporaryFolder folder;
        door.output_of("exec >&- 2>&-; sleep 0.1; : >" + folder.Path("done"));
        EXPECT_TRUE(std::filesystem::exists(folder.Path("done")));
    }
}

TEST(Command, LeavesNoZombie) {
    for (const Door& door : kDoors) {
        SCOPED_TRACE(door.name);
        const Answer answer = AnswerInChild([&] {
            std::signal(SIGCHLD, SIG_DFL);
            door.output_of("exit 3");
            return long{waitpid(-1, nullptr, WNOHANG)};
        });
        EXPECT_EQ(answer.value, -1);
    }
}

TEST(Command, LeavesNoDescriptorOpen) {
    for (const Door& door : kDoors) {
        SCOPED_TRACE(door.name);
        const int before = NextDescriptor();
        door.output_of("true");
        EXPECT_EQ(NextDescriptor(), before);
    }
}

// ---- RunCommand ----

TEST(RunCommand, InterruptAndQuitGoOnlyToTheCommand) {
    const SignalAction interrupt(SIGINT, CountSignal);
    const SignalAction quit(SIGQUIT, CountSignal);
    const SavedSignalMask saved;
    CloseSignalGate();
    signals_counted = 0;
    // The command continues only once it sees that the signals were delivered.
    RunCommand(
        "kill -INT $PPID; kill -QUIT $PPID; n=0; while [ $n -lt 500 ] && "
        "! grep -q '^ShdPnd:.0*$' /proc/$PPID/status; do sleep 0.01; n=$((n + 1)); done");
    const OpenSignalGate open;
    EXPECT_EQ(signals_counted, 0);
}

TEST(RunCommand, UsesTheProgramsOwnOutputs) {
    const Answer answer = AnswerInChild([] {
        dup2(STDOUT_FILENO, STDERR_FILENO);
        RunCommand("echo out; echo err >&2");
        return 0L;
    });
    EXPECT_EQ(answer.output, "out\nerr\n");
}

TEST(RunCommand, ReturnsStatus127IfThereIsNoShell) {
    const TemporaryFolder empty;
    const Answer answer = AnswerInChild([&] { return EnterRoot(empty.path); },
                                        [] { return long{RunCommand("echo out")}; });
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.value, 127 << 8);
    EXPECT_EQ(answer.output, "");
}

TEST(RunCommand, ReturnsTheRawWaitStatus) {
    const SignalAction child(SIGCHLD, SIG_DFL);
    int status = RunCommand("exit 3");
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 3);
    status = RunCommand("kill -TERM $$");
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
    EXPECT_EQ(RunCommand("true"), 0);
}

TEST(RunCommand, HasNoStatusIfTheKernelReapsChildren) {
    const SignalAction child(SIGCHLD, SIG_IGN);
    EXPECT_EQ(RunCommand("true"), -1);
}

// ---- StartCommand ----

TEST(StartCommand, DoesNotWait) {
    const TemporaryFolder folder;
    auto running = StartCommand("echo first; " + UntilThere(folder.Path("go")) + "; echo last");
    ASSERT_TRUE(running.has_value());
    while (running->output.empty())
        ASSERT_FALSE(ReadAvailable(*running));
    EXPECT_EQ(running->output, "first\n");
    EXPECT_FALSE(ReadAvailable(*running));
    folder.File("go", "");
    EXPECT_EQ(OutputOf(*running), "first\nlast\n");
    EXPECT_EQ(running->descriptor, -1);
    EXPECT_TRUE(ReadAvailable(*running)) << "the output must stay complete";
}

TEST(StartCommand, RunsSeveralInParallel) {
    const TemporaryFolder folder;
    const std::string a = folder.Path("a");
    const std::string b = folder.Path("b");
    auto first = StartCommand(": >" + a + "; " + UntilThere(b) + "; [ -e " + b + " ] && echo met");
    auto second = StartCommand(": >" + b + "; " + UntilThere(a) + "; [ -e " + a + " ] && echo met");
    ASSERT_TRUE(first.has_value() && second.has_value());
    EXPECT_EQ(OutputOf(*first), "met\n");
    EXPECT_EQ(OutputOf(*second), "met\n");
}

TEST(StartCommand, EndlessOutputIsReadInPiecesAndAbandoned) {
    auto running = StartCommand("yes");
    ASSERT_TRUE(running.has_value());
    const pid_t pid = running->pid;
    AwaitOutput(*running);
    ASSERT_FALSE(ReadAvailable(*running));
    EXPECT_LE(running->output.size(), std::size_t{1} << 20)
        << "longer reading would make a key wait";
    while (!ReadAvailable(*running))
        AwaitOutput(*running);
    EXPECT_EQ(running->descriptor, -1);
    EXPECT_LT(running->output.size(), std::size_t{17} << 20);
    int status = 0;
    EXPECT_EQ(waitpid(pid, &status, 0), pid) << "it must end, because nobody reads its output";
}

// A shell that has written its output and waits for a child, which also holds the pipe open.
RunningCommand HangingCommand() {
    auto running = StartCommand("sleep 60 & echo up; wait");
    if (!running) std::abort();
    AwaitOutput(*running);
    return *running;
}

TEST(StartCommand, HasNoStandardInputAndItsOwnGroup) {
    EXPECT_EQ(OutputOfStartCommand("readlink /proc/self/fd/0"), "/dev/null\n");
    auto running = StartCommand("exec sleep 60");
    ASSERT_TRUE(running.has_value());
    EXPECT_EQ(getpgid(running->pid), running->pid);
    EndCommand(*running);
    waitpid(running->pid, nullptr, 0);
}

// Nobody continues a background command, and the program waits until it has started.
TEST(StartCommand, IsNotStoppedByACtrlZThatComesMeanwhile) {
    const Answer answer = AnswerInChild([] {
        setpgid(0, 0);
        CloseSignalGate();
        std::signal(SIGTSTP, [](int) {});
        const pid_t program = getpid();
        const pid_t hand = fork();
        if (hand == 0) {
            setpgid(0, 0);
            const double end = MonotonicSeconds() + 20;
            while (getppid() == program && MonotonicSeconds() < end)
                kill(-program, SIGTSTP);
            kill(program, SIGKILL);
            _exit(0);
        }
        long answered = 0;
        for (int run = 0; run < 200; ++run)
            answered += OutputOfCommandOutput("echo here") == "here\n" ? 1 : 0;
        kill(hand, SIGKILL);
        return answered;
    });
    EXPECT_EQ(answer.value, 200);
}

TEST(StartCommand, RecordsWhenItStarted) {
    const double before = MonotonicSeconds();
    auto running = StartCommand("exit");
    ASSERT_TRUE(running.has_value());
    EXPECT_GE(running->started, before);
    EXPECT_LE(running->started, MonotonicSeconds());
    EndCommand(*running);
    waitpid(running->pid, nullptr, 0);
}

TEST(EndCommand, KillsTheCommandWithItsChildrenAndClosesThePipe) {
    const SignalAction child(SIGCHLD, SIG_IGN);
    const int before = NextDescriptor();
    RunningCommand running = HangingCommand();
    EndCommand(running);
    EXPECT_EQ(running.descriptor, -1);
    EXPECT_TRUE(ReadAvailable(running));
    EndCommand(running);
    EXPECT_EQ(NextDescriptor(), before);
    EXPECT_TRUE(GroupEnds(running.pid));
}

// By then the pid may belong to another process.
TEST(EndCommand, DoesNothingOnceAllOutputWasRead) {
    const SignalAction child(SIGCHLD, SIG_IGN);
    auto running = StartCommand("exec >&-; exec sleep 60");
    ASSERT_TRUE(running.has_value());
    while (!ReadAvailable(*running))
        AwaitOutput(*running);
    EndCommand(*running);
    EndAllCommands();
    EXPECT_EQ(kill(running->pid, 0), 0);
    kill(-running->pid, SIGKILL);
    EXPECT_TRUE(GroupEnds(running->pid));
}

TEST(EndAllCommands, KillsEveryBackgroundCommand) {
    const SignalAction child(SIGCHLD, SIG_IGN);
    RunningCommand first = HangingCommand();
    RunningCommand second = HangingCommand();
    EndAllCommands();
    for (RunningCommand* running : {&first, &second}) {
        EXPECT_TRUE(GroupEnds(running->pid));
        EndCommand(*running);
    }
}

// ---- FeedCommand ----

constexpr std::string_view kPassword = "Tr0ub4dor&3";

TEST(FeedCommand, ReturnsTheStatusDespiteOtherChildren) {
    for (auto handler : {SIG_DFL, SIG_IGN}) {
        const SignalAction child(SIGCHLD, handler);
        const auto other = StartCommand("exit 3");
        Secret input(2);
        input.Append("7\n");
        const int status = FeedCommand("read -r word; exit $word", std::move(input));
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7) << status;
        struct sigaction after = {};
        sigaction(SIGCHLD, nullptr, &after);
        EXPECT_EQ(after.sa_handler, handler);
        ASSERT_TRUE(other.has_value());
        close(other->descriptor);
        const bool is_left = waitpid(other->pid, nullptr, 0) == other->pid;
        EXPECT_EQ(is_left, handler == SIG_DFL);
    }
}

TEST(AskBeside, ReturnsTheAnswer) {
    const auto is_a = [](const char* subject) { return subject == std::string("a"); };
    EXPECT_TRUE(AskBeside(is_a, "a"));
    EXPECT_FALSE(AskBeside(is_a, "b"));
}

TEST(FeedCommand, PassesTheTextAsStandardInput) {
    const TemporaryFolder folder;
    for (const std::string& text : {"pass word\n\0\xff"s, ""s, std::string(300'000, 'x')}) {
        FeedCommand("cat >" + folder.Path("input"), SecretOf(text));
        EXPECT_EQ(ContentOf(folder.Path("input")), text);
    }
}

TEST(FeedCommand, ConsumesTheSecret) {
    Secret secret = SecretOf("pass word");
    FeedCommand("cat >/dev/null", std::move(secret));
    EXPECT_TRUE(secret.empty());  // NOLINT(bugprone-use-after-move): this is the test
}

TEST(FeedCommand, TheTextIsErasedAsSoonAsTheCommandHasIt) {
    EXPECT_FALSE(StaysInMemory(kPassword, [] {
        // Once the program sleeps, it is waiting for the command to end.
        FeedCommand(
            "cat >/dev/null; until grep -q '^State:.S' /proc/$PPID/status; do :; done; "
            "kill -STOP $PPID",
            SecretOf(kPassword));
    }));
}

TEST(FeedCommand, TheTextIsErasedIfThereIsNoShell) {
    const TemporaryFolder empty;
    EXPECT_FALSE(StaysInMemory(kPassword, [&] {
        Secret secret = SecretOf(kPassword);
        if (EnterRoot(empty.path) == Prepared::kYes) FeedCommand("cat", std::move(secret));
        raise(SIGSTOP);
    }));
}

TEST(FeedCommand, SurvivesACommandThatDoesNotRead) {
    const SavedSignalMask saved;
    const SignalAction counted(SIGPIPE, CountSignal);
    signals_counted = 0;
    FeedCommand("exec <&-", SecretOf(std::string(300'000, 'x')));
    EXPECT_EQ(signals_counted, 0);
    EXPECT_FALSE(IsBlocked(SIGPIPE));
}

// ---- CommandOutput ----

TEST(CommandOutput, ReturnsTheStandardOutputWithoutStandardError) {
    EXPECT_EQ(CommandOutput("printf 'a\\nb\\000c'"), "a\nb\0c"s);
    EXPECT_EQ(CommandOutput("true"), "");
    EXPECT_EQ(CommandOutput("echo a; exit 1"), "a\n");
    EXPECT_EQ(CommandOutput("/no/such/command"), "");
    EXPECT_EQ(CommandOutput("echo a; sleep 0.05; echo b"), "a\nb\n");
    EXPECT_EQ(CommandOutput("readlink /proc/self/fd/2"), "/dev/null\n");
    EXPECT_EQ(CommandOutput("echo a; echo complaint >&2"), "a\n");
}

TEST(CommandOutput, ReadsMoreThanAPipeHolds) {
    const auto output = CommandOutput("head -c 1000000 /dev/zero | tr '\\0' x");
    ASSERT_TRUE(output.has_value());
    EXPECT_EQ(*output, std::string(1'000'000, 'x'));
}

TEST(CommandOutput, ReturnsNothingIfThereIsNoShell) {
    const TemporaryFolder empty;
    const Answer answer =
        AnswerInChild([&] { return EnterRoot(empty.path); },
                      [] { return CommandOutput("echo a").has_value() ? 1L : 0L; });
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.value, 0);
}

TEST(CommandOutput, ReturnsNothingIfThereCanBeNoPipe) {
    const Answer answer = AnswerInChild([] {
        rlimit limit = {};
        getrlimit(RLIMIT_NOFILE, &limit);
        const int used = dup(STDERR_FILENO);
        limit.rlim_cur = static_cast<rlim_t>(used) + 1;
        setrlimit(RLIMIT_NOFILE, &limit);
        return CommandOutput("echo a").has_value() ? 1L : 0L;
    });
    EXPECT_EQ(answer.value, 0);
}

// ---- ShellWord ----

TEST(ShellWord, LeavesPlainWordsUnchanged) {
    for (const char* name :
         {"eth0", "veth0@if5", "eth0.10", "br-lan", "a_b", "50%", "+1", "a,b", "/dev/null",
          "00:1A:2B:3C:4D:5E", "key=value",
          "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789%+,-./:=@_"}) {
        EXPECT_EQ(ShellWord(name), name);
    }
}

TEST(ShellWord, QuotesEverythingElse) {
    EXPECT_EQ(ShellWord("a b"), "'a b'");
    EXPECT_EQ(ShellWord("$HOME"), "'$HOME'");
    EXPECT_EQ(ShellWord("~"), "'~'");
    EXPECT_EQ(ShellWord(""), "''");
    constexpr std::string_view kPlainSigns = "%+,-./:=@_";
    for (char sign = '!'; sign <= '~'; ++sign) {
        if (isalnum(sign) != 0 || kPlainSigns.find(sign) != std::string_view::npos) continue;
        EXPECT_EQ(ShellWord(std::string(1, sign)).front(), '\'') << sign;
    }
}

TEST(QuotedWord, QuotesAnyText) {
    EXPECT_EQ(QuotedWord("eth0"), "'eth0'");
    EXPECT_EQ(QuotedWord(""), "''");
    EXPECT_EQ(QuotedWord("$HOME \"x\""), "'$HOME \"x\"'");
}

std::vector<std::string> HostileNames() {
    std::vector<std::string> names = {
        "",        " ",        "$(reboot)", "`id`",    "a;b", "a'b",         "''",        "'",
        "a\nb",    "\\",       "\\'",       "-n",      "*",   "~",           "#x",        "a\"b",
        "a|b",     "a&b",      "<a>b",      "{a,b}",   "[a]", "?",           "a b  c",    "\t",
        "$HOME",   "${x}",     "!!",        "\r\n",    "a\\", "'; reboot '", "\"$(id)\"", "\\n",
        "caf\xe9", "\xc3\xa9", "\x80\xff",  "a\x1b[2J"};
    for (int byte = 1; byte < 256; ++byte) {
        names.push_back(std::string(1, static_cast<char>(byte)));
        names.push_back("a" + names.back() + "b");
    }
    return names;
}

TEST(ShellWord, AnyTextReachesTheCommandAsOneWord) {
    std::string command = "printf '%s\\000'";
    std::string expected;
    for (const std::string& name : HostileNames()) {
        for (const std::string& word : {ShellWord(name), QuotedWord(name)}) {
            command.append(" ").append(word);
            expected.append(name).append(1, '\0');
        }
    }
    EXPECT_EQ(CommandOutput(command), expected);
}

TEST(ShellWord, IsExactlyOneWord) {
    for (const char* name : {"", " ", "a b", "*", "'", "$(echo a b)", "a\nb"}) {
        EXPECT_EQ(CommandOutput("set -- " + ShellWord(name) + "; echo $#"), "1\n") << name;
    }
}

// ---- Pause ----

TEST(Pause, LastsAtLeastAsLongAsRequested) {
    const double start = MonotonicSeconds();
    Pause(1);
    EXPECT_GE(MonotonicSeconds() - start, 1.0);
}

TEST(Pause, LastsAsLongDespiteSignals) {
    const SignalAction counted(SIGALRM, CountSignal);
    signals_counted = 0;
    itimerval often = {{0, 50'000}, {0, 50'000}};
    setitimer(ITIMER_REAL, &often, nullptr);
    const double start = MonotonicSeconds();
    Pause(1);
    const double seconds = MonotonicSeconds() - start;
    often = {};
    setitimer(ITIMER_REAL, &often, nullptr);
    EXPECT_GE(seconds, 1.0);
    EXPECT_GT(signals_counted, 0);
}

TEST(Pause, DeliversEndingSignals) {
    const SavedSignalMask saved;
    const SignalAction counted(SIGTERM, CountSignal);
    signals_counted = 0;
    CloseSignalGate();
    raise(SIGTERM);
    EXPECT_EQ(signals_counted, 0);
    Pause(0);
    EXPECT_EQ(signals_counted, 1);
}

}  // namespace
