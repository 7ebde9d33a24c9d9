// The one door to other programs: shell commands, run by /bin/sh -c exactly as written.
//
// A command starts with no signal held back, and with SIGCHLD, SIGINT, SIGQUIT, SIGPIPE, SIGXFSZ
// and SIGALRM at their defaults, whatever this program or its parent does with them: start-up
// scripts whose shell hands an ignored SIGCHLD on misread their own children, and Ctrl-C must end a
// command that hangs. The operator sees what the command itself prints.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>

#include "util/secret.h"

// Runs the command on the program's own terminal and waits for it, as system() does: while it
// runs, SIGINT and SIGQUIT go to the command alone. Returns the raw wait status; -1 when the
// command can't be started or when the kernel has reaped it itself, as it does for a program that
// ignores SIGCHLD.
int RunCommand(const char* command);
inline int RunCommand(const std::string& command) {
    return RunCommand(command.c_str());
}

// A command that runs beside the program: its output comes through a pipe, its standard error is
// dropped (the screen is up, and a complaint would land in the middle of it), and it has no
// standard input (the keys are the program's). It and its children are a process group of their
// own, so that they can be ended together.
struct RunningCommand {
    pid_t pid = -1;
    int descriptor = -1;  // of the pipe; -1 when all has been read
    double started = 0;   // as MonotonicSeconds tells (util/clock.h)
    std::string output;   // what has been read so far
};

// Nothing when it can't be started.
std::optional<RunningCommand> StartCommand(const std::string& command);

// Takes what the command has written meanwhile, without waiting. True when it has closed its
// output, which then is whole, or when that has become longer than 16 MiB: no listing is that long,
// and the command is ended.
bool ReadAvailable(RunningCommand& command);

// Ends the command, with all that it has started, and stops listening to it. One that has closed
// its output is ended, too: it may hang all the same.
void EndCommand(RunningCommand& command);

// The same for every command that still runs beside the program, which is about to end.
void EndAllCommands();

// Runs the command beside the program and returns what it wrote to standard output; nothing when it
// can't be started. Waits for it; ending signals are let in meanwhile.
std::optional<std::string> CommandOutput(const std::string& command);

// Runs the command on the program's own terminal with that text as its standard input, and waits
// for it. The text is gone as soon as the command has it, or can't be started. A command that does
// not read it all is not told. Returns the raw wait status; -1 when the command can't be started.
int FeedCommand(const std::string& command, Secret input);

// A name as one word of a shell command: unchanged when it consists of letters, digits and
// "%+,-./:=@_" only, which no shell takes for more than a word; otherwise in single quotes.
std::string ShellWord(std::string_view name);

// Any text as one word in single quotes.
std::string QuotedWord(std::string_view text);

// Asks the question of that subject in a child process, for what may take for ever inside the C
// library: ending signals are let in while the program waits. False when there can be no child.
bool AskBeside(bool (*question)(const char* subject), const std::string& subject);

// Waits at least that many seconds; ending signals are let in meanwhile.
void Pause(unsigned seconds);
