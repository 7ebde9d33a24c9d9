// What `main` does around the main menu: arguments, the right to run, signals, the terminal.
#pragma once

// Whether an argument asks for help: one or more dashes followed by "help". All others are ignored.
bool AsksForHelp(const char* argument);

// The usage text, and the refusal to those who are not root, to standard error.
void PrintUsage();
void PrintRootRefusal();

// SIGCHLD is ignored, so that the kernel reaps children. SIGINT, SIGQUIT, SIGTERM and SIGHUP go to
// OnTerminateSignal (a SIGHUP that was ignored when the program was started stays ignored), and
// are let in only while the program waits (util/signal_gate.h). Descriptors 0 to 2 that are closed
// are opened on /dev/null, so that no file of ours takes their place. What the program and its
// commands make can be written by nobody else, whatever the umask was. When memory runs out,
// OnMemoryExhausted is called. A signal that ends programs and is not meant for the operator
// (SIGSEGV, SIGABRT, SIGUSR1, SIGXCPU and their like) ends it, but restores the terminal before.
void PrepareProcess();

// Called when there is no memory for the program's own records: restores the terminal, says so and
// ends the program with 1. A save that was under way has left the old file or the new one.
[[noreturn]] void OnMemoryExhausted();

// Restores the terminal and ends the program with 128 + signal; what was typed ahead is dropped.
// Gives itself five seconds: a clean-up that hangs is ended by SIGALRM. Any other signal number is
// ignored.
void OnTerminateSignal(int signal_number);

// The one preparation of the file system, at every start: the settings folder and the file that
// the wireless start-up expects in it.
void PrepareSettingsFolder();

// For a TERM that begins with "xterm" (ignoring case), chooses the terminal type that reports every
// mouse motion, "xterm-1003". Where the system lacks that entry, TERM stays what it was.
void ChooseTerminalType();

// Curses, colours, keyboard and mouse, as every screen relies on them. Characters are those of the
// operator's locale; numbers keep their point.
void StartTerminal();
