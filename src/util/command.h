// The one door to other programs: shell commands, run by /bin/sh -c exactly as written.
//
// A command starts with SIGCHLD, SIGINT and SIGQUIT at their defaults and no signal held back,
// whatever this program does with them: start-up scripts whose shell hands an ignored SIGCHLD on
// misread their own children, and Ctrl-C must end a command that hangs. Exit statuses are
// hardly ever looked at; the operator sees what the command itself prints.
#pragma once

#include <sys/types.h>

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

// Runs the command on the program's own terminal and waits for it, as system() does: while it
// runs, SIGINT and SIGQUIT go to the command alone. Returns the raw wait status; -1 when the
// command can't be started or when the kernel has reaped it itself, as it does for a program that
// ignores SIGCHLD.
int RunCommand(const std::string& command);

// A command that runs beside the program: its output comes through a pipe, its standard error is
// dropped (the screen is up, and a complaint would land in the middle of it).
struct RunningCommand {
    pid_t pid = -1;
    int descriptor = -1;  // of the pipe; -1 when all has been read
    std::string output;   // what has been read so far
};

// Nothing when it can't be started.
std::optional<RunningCommand> StartCommand(const std::string& command);

// Takes what the command has written meanwhile, without waiting. True when it has closed its
// output, which then is whole, or when that has become longer than 16 MiB: no listing is, and the
// rest is not wanted.
bool ReadAvailable(RunningCommand& command);

// Stops listening to the command.
void Abandon(RunningCommand& command);

// Runs the command and returns what it wrote to standard output; nothing when it can't be
// started. Its standard error is dropped, too.
std::optional<std::string> CommandOutput(const std::string& command);

// Runs the command on the program's own terminal with those texts, one after another, as its
// standard input, and waits for it. No copy of them is made: they may be secrets. The text
// `secret`, if there is one, is wiped as soon as the command has them, or can't be started. A
// command that does not read them all is not told. Returns the raw wait status, also while the
// program ignores SIGCHLD; -1 when the command can't be started.
int FeedCommand(const std::string& command, std::initializer_list<std::string_view> input,
                std::string* secret = nullptr);

// A name as one word of a shell command: unchanged when it consists of letters, digits and
// "%+,-./:=@_" only, which no shell takes for more than a word; otherwise in single quotes.
std::string ShellWord(std::string_view name);

// Any text as one word in single quotes.
std::string QuotedWord(std::string_view text);

// Waits at least that many seconds; ending signals are let in meanwhile.
void Pause(unsigned seconds);
