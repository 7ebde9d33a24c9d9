// The only way to run other programs: shell commands, run by /bin/sh -c exactly as written.
//
// A command starts with no signals blocked and all of them at their defaults, however this program
// or its parent handles them: with SIGCHLD ignored, start-up scripts in some shells misread the
// status of their children, and Ctrl-C must end a hanging command. Only SIGHUP stays ignored if the
// parent ignores it (nohup), and is ignored while it is held (util/signal_gate.h). The operator
// sees what the command itself prints.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>

#include "util/secret.h"

// Runs the command on the program's own terminal and waits for it, like system(): meanwhile SIGINT
// and SIGQUIT go only to the command. Returns the raw wait status (exit status 127 if there is no
// shell), or -1 if no process can be created or the kernel has reaped it, as it does for a program
// that ignores SIGCHLD.
int RunCommand(const char* command);
inline int RunCommand(const std::string& command) {
    return RunCommand(command.c_str());
}

// A command that runs in the background. Its output comes through a pipe; its standard error is
// dropped, because a message would appear in the middle of the screen; it has no standard input,
// because the keys belong to the program. It and its children are a process group of their own, so
// that they can be killed together.
struct RunningCommand {
    pid_t pid = -1;
    int descriptor = -1;  // of the pipe; -1 once all has been read
    double started = 0;   // in MonotonicSeconds (util/clock.h)
    std::string output;   // the output read so far
};

// Returns nothing if the command can't be started.
std::optional<RunningCommand> StartCommand(const std::string& command);

// Reads what the command has written so far, without waiting. Returns true once the output is
// complete because the command has closed it. Also returns true if the output exceeds 16 MiB, and
// kills the command: no real listing is that long.
bool ReadAvailable(RunningCommand& command);

// Kills the command with everything it started, and closes the pipe. Also works if the command has
// closed its output, since it may still hang.
void EndCommand(RunningCommand& command);

// Does so for every command still running in the background, before the program exits.
void EndAllCommands();

// Runs the command in the background, waits for it, and returns its standard output; nothing if it
// can't be started. Ending signals are delivered meanwhile.
std::optional<std::string> CommandOutput(const std::string& command);

// Runs the command on the program's own terminal with the text as its standard input, and waits for
// it. The text is erased as soon as the command has it or can't be started. A command that does not
// read it all is not reported. Returns the raw wait status (exit status 127 if there is no shell),
// or -1 if no process can be created.
int FeedCommand(const std::string& command, Secret input);

// A name as one word of a shell command. Names of letters, digits and "%+,-./:=@_" mean only
// themselves to every shell and are returned unchanged; others are put in single quotes.
std::string ShellWord(std::string_view name);

// Any text as one word, in single quotes.
std::string QuotedWord(std::string_view text);

// Calls `question` with the subject in a child process and returns its answer. For C library calls
// that may block for a long time: ending signals are delivered while the program waits. Returns
// false if no child can be created.
bool AskBeside(bool (*question)(const char* subject), const std::string& subject);

// Waits for at least that many seconds; ending signals are delivered meanwhile.
void Pause(unsigned seconds);
