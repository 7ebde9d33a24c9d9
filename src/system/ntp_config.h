// The time servers in the NTP daemon's configuration file.
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct NtpConfig {
    std::vector<std::string> servers;      // what follows "server", options included
    std::vector<std::string> other_lines;  // every other line, as it stands
    bool unread = false;                   // the file is there, but could not be read
};

// A line that begins with "server" and a blank or tab is a server's; one with nothing behind that
// is dropped. Indented and commented lines are other lines. Lines beyond 1022 bytes count as
// several.
NtpConfig ParseNtpConfig(std::string_view text);

// The other lines in their order, then the servers in theirs.
std::string FormatNtpConfig(const NtpConfig& config);

// /etc/ntp.conf: empty when it can't be read; rewritten as a whole (util/save_file.h), a failure is
// not reported. One that is there and could not be read is not rewritten: its lines would be lost.
NtpConfig ReadNtpConfig();
void WriteNtpConfig(const NtpConfig& config);
