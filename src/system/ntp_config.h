// The time servers in the configuration file of the NTP daemon.
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct NtpConfig {
    std::vector<std::string> servers;      // the text after "server", with options
    std::vector<std::string> other_lines;  // all other lines, unchanged
    bool unread = false;                   // the file exists but could not be read
};

// A line that starts with "server" and a blank or tab is a server line; if nothing follows, it is
// dropped. Indented and commented lines are other lines. A line longer than 1022 bytes is split.
NtpConfig ParseNtpConfig(std::string_view text);

// The other lines in order, then the servers in order.
std::string FormatNtpConfig(const NtpConfig& config);

// /etc/ntp.conf. If it can't be read, the result is empty. Writing replaces the whole file
// (util/save_file.h) and reports no failure. A file that exists but could not be read is not
// written, so that its lines are not lost.
NtpConfig ReadNtpConfig();
void WriteNtpConfig(const NtpConfig& config);
