// Small routines on C texts, files and processes which the tools of the product line share. Their
// names and their exact behaviour are the product line's, so a tool may rely on every detail here.
// This program's own screens use none of them.
//
//     char line[512];
//     while (fgets(line, sizeof line, file) != nullptr) {
//         chomp(line);
//         ...
//     }
//
// Nothing here keeps a state or writes a message about a failure: a failure is a result. All texts
// end with a NUL byte, and none of the pointers may be null.
#pragma once

#include <netinet/in.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>

// Cuts all carriage returns and line feeds off the end of the text, in any mixture. Those inside
// the text stay.
void chomp(char* text);

// White space, for these four, is exactly tab, line feed, carriage return and blank.
// The first other character of the text, or its end.
char* skip_space(char* text);
// Cuts trailing white space in place.
void trim_trailing_space(char* text);
// Both: cuts trailing white space and returns the first other character.
char* trim_space(char* text);
// Moves the text without its leading white space to its start.
void strip_leading_space(char* text);

// Whether any of the first `count` bytes is other than zero.
bool any_nonzero(const void* bytes, size_t count);

// Ends the text at its first line feed and returns what follows it; without a line feed, the
// text's end. Called again on what it returns, it walks a buffer line by line; the buffer is used
// up when the result is an empty text.
char* cut_line(char* text);

// Makes the text empty.
void clear_string(char* text);

// The text behind the prefix, letters of either case being equal; null when the text does not
// begin with it. Every text begins with the empty prefix.
const char* skip_prefix(const char* text, const char* prefix);

// Let a new program not have, or have, the descriptor. The result is fcntl's: 0, or -1 with errno
// set. The descriptor's flags are replaced as a whole.
int set_cloexec(int descriptor);
int clear_cloexec(int descriptor);

// Reads the beginning of a file, with a single read of at most n - 1 bytes, and puts a NUL behind
// it. -1, and the buffer as it was, when the file can't be opened; otherwise 0, with an empty text
// when the read fails. Nothing is read or stored when n is 0.
int read_small_file(const char* path, char* buffer, size_t n);

// Makes the text the whole content of a file, which is created with mode 0644 (less the umask)
// when missing. No line end is added. -1 when the file can't be opened, otherwise 0: whether the
// text went in, with its single write, is not told.
int write_small_file(const char* path, const char* text);

// The first 1023 bytes of a file up to a NUL byte, without line ends behind them; a file of several
// lines gives them all. Empty when the file can't be read.
std::string read_file_line(const char* path);

// Room for any text of format_size; the longest is "9223.372PB".
constexpr size_t kSizeTextBytes = 32;

// Writes a count of bytes for people: " bytes" up to 999, then KB, MB, GB, TB, PB by powers of
// 1000, with three decimals cut, not rounded: "999 bytes", "1.500KB", "1.234MB". Empty for a
// negative count. The buffer takes kSizeTextBytes.
void format_size(int64_t bytes, char* buffer);

// The text of format_size.
std::string format_size_string(int64_t bytes);

// Looks through /proc for a process whose first argument, without its folders, is exactly this
// name, and returns its pid: the first one in the folder's order, 0 when there is none or /proc
// can't be opened. Kernel threads have no arguments and so no name. Only the first 1022 bytes of a
// process's arguments count.
int find_process_by_name(const char* name);

// Runs the program arguments[0], a path, with these arguments (the last one null) and waits for its
// end, however long that takes. Returns the wait status, for WIFEXITED and its like; 1 is the exit
// status of a program that can't be run. -1 when there is no new process, or no status to wait for
// because the caller ignores SIGCHLD; the program has ended then, too. The first argument is for
// callers that hand a context along; it is not looked at.
int run_and_wait(const void* context, char* const arguments[]);

// Asks the kernel, on an open datagram socket, for the IPv4 addresses of eth0 to eth8 in this order
// and returns the first there is, in network byte order, after printing it on standard output:
// "Found: 192.0.2.1\n". 0, and nothing printed, when none of the nine has an address.
in_addr_t find_eth_ipv4(int datagram_socket);
