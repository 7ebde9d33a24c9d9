// Small C routines for texts, files and processes that the tools of the product line share. Names
// and exact behaviour are the product line's, so its tools may rely on every detail. The screens of
// this program use none of them.
//
//     char line[512];
//     while (fgets(line, sizeof line, file) != nullptr) {
//         chomp(line);
//         ...
//     }
//
// The routines keep no state and print no error messages; failures are returned. All texts end in a
// NUL byte, and no pointer may be null.
#pragma once

#include <netinet/in.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>

// Removes all carriage returns and line feeds, in any mixture, from the end of the text. Those
// inside the text stay.
void chomp(char* text);

// For these four, white space is exactly tab, line feed, carriage return and blank.
// Returns the first other character of the text, or its end.
char* skip_space(char* text);
// Cuts trailing white space, in place.
void trim_trailing_space(char* text);
// Both: cuts trailing white space and returns the first other character.
char* trim_space(char* text);
// Removes leading white space by moving the rest to the start of the text.
void strip_leading_space(char* text);

// Whether any of the first `count` bytes is not zero.
bool any_nonzero(const void* bytes, size_t count);

// Ends the text at its first line feed and returns what follows; without a line feed, returns the
// end of the text. Calling it again on the result walks a buffer line by line, until the result is
// empty.
char* cut_line(char* text);

// Makes the text empty.
void clear_string(char* text);

// The text after the prefix, compared ignoring case; null if the text does not start with it. Every
// text starts with the empty prefix.
const char* skip_prefix(const char* text, const char* prefix);

// Close the descriptor on exec, or keep it open. Replace all descriptor flags. Return what fcntl
// returns: 0, or -1 with errno set.
int set_cloexec(int descriptor);
int clear_cloexec(int descriptor);

// Reads the start of a file, with a single read of at most n - 1 bytes, and appends a NUL. Returns
// -1 if the file can't be opened, and leaves the buffer unchanged; otherwise 0, with an empty text
// if the read fails. If n is 0, reads and stores nothing.
int read_small_file(const char* path, char* buffer, size_t n);

// Writes the text to a file, replacing its content, with a single write and no added line end. A
// missing file is created with mode 0644 (less the umask). Returns -1 if the file can't be opened,
// otherwise 0, even if the write fails.
int write_small_file(const char* path, const char* text);

// The first 1023 bytes of a file, up to a NUL byte, without trailing line ends. Despite its name it
// returns several lines if the file has them. Empty if the file can't be read.
std::string read_file_line(const char* path);

// Enough for any text of format_size; the longest is "9223.372PB".
constexpr size_t kSizeTextBytes = 32;

// Formats a byte count for people: " bytes" up to 999, then KB, MB, GB, TB, PB in powers of 1000
// with three decimals, truncated: "999 bytes", "1.500KB", "1.234MB". Empty if the count is
// negative. The buffer must hold kSizeTextBytes.
void format_size(int64_t bytes, char* buffer);

// The text of format_size.
std::string format_size_string(int64_t bytes);

// The pid of the first process, in /proc order, whose first argument without its folders is exactly
// this name; 0 if there is none or /proc can't be opened. Kernel threads have no arguments and
// never match. Only the first 1022 bytes of a process's arguments are read.
int find_process_by_name(const char* name);

// Runs the program at the path arguments[0] with these arguments (null-terminated) and waits for
// it, without a time limit. Returns the wait status, for WIFEXITED and the like; a program that
// can't be run exits with status 1. Returns -1 if no process can be created, or if there is no
// status because the caller ignores SIGCHLD; even then the program has ended. `context` is ignored;
// it is there for callers that pass one along.
int run_and_wait(const void* context, char* const arguments[]);

// The first IPv4 address of eth0 to eth8, in this order, in network byte order, queried with
// SIOCGIFADDR on an open datagram socket. Also prints it to standard output: "Found: 192.0.2.1\n".
// If none of them has an address, returns 0 and prints nothing.
in_addr_t find_eth_ipv4(int datagram_socket);
