// What `main` does before the main menu: arguments, the root check, signals, the terminal.
#pragma once

// Whether the argument asks for help: one or more dashes followed by "help". Other arguments are
// ignored.
bool AsksForHelp(const char* argument);

// Print the usage text, or the refusal for users other than root, to standard error.
void PrintUsage();
void PrintRootRefusal();

// Prepares signals, descriptors and the umask:
//
// - SIGCHLD is ignored, so the kernel reaps children.
// - SIGINT, SIGQUIT, SIGTERM and SIGHUP go to OnTerminateSignal and are delivered only while the
//   program waits (util/signal_gate.h). SIGHUP stays ignored if it was ignored at the start.
// - Signals that end a program and are not meant for the operator (SIGSEGV, SIGABRT, SIGUSR1,
//   SIGXCPU and the like) still end it, but restore the terminal first.
// - Closed descriptors 0 to 2 are opened on /dev/null, so that no other file gets their numbers.
// - The umask is extended: only the owner may write the files that the program and its commands
//   create.
// - When memory runs out, OnMemoryExhausted is called.
void PrepareProcess();

// Called when an allocation fails: restores the terminal, prints a message and exits with status 1.
// A save in progress leaves either the old or the new file.
[[noreturn]] void OnMemoryExhausted();

// Restores the terminal, drops typed-ahead keys and exits with status 128 + signal. SIGALRM ends a
// clean-up that takes longer than five seconds. Any other signal number is ignored.
void OnTerminateSignal(int signal_number);

// Creates the settings folder and the file in it that the wireless start-up expects. Runs at every
// start; nothing else is created in advance.
void PrepareSettingsFolder();

// If TERM begins with "xterm" (ignoring case), sets it to "xterm-1003", the terminal type that
// reports every mouse motion. TERM is left alone if the system lacks that entry.
void ChooseTerminalType();

// Sets up curses, colours, keyboard and mouse for all screens. Characters follow the operator's
// locale; numbers keep the decimal point.
void StartTerminal();
