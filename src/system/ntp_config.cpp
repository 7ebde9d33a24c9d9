#include "system/ntp_config.h"

#include <cerrno>

#include "util/lines.h"
#include "util/read_file.h"
#include "util/save_file.h"
#include "util/trim.h"

namespace {

constexpr std::size_t kLineSize = 1023;
constexpr const char* kPath = "/etc/ntp.conf";

bool IsServerLine(std::string_view line) {
    return line.starts_with("server ") || line.starts_with("server\t");
}

void TakeLine(std::string_view line, NtpConfig& config) {
    if (!IsServerLine(line)) {
        config.other_lines.emplace_back(line);
        return;
    }
    const std::string_view server =
        TrimStart(line.substr(std::string_view("server ").size()), kBlanks);
    if (!server.empty()) config.servers.emplace_back(server);
}

}  // namespace

NtpConfig ParseNtpConfig(std::string_view text) {
    NtpConfig config;
    std::string line;
    while (NextChompedLine(text, kLineSize, line))
        TakeLine(line, config);
    return config;
}

std::string FormatNtpConfig(const NtpConfig& config) {
    std::string text;
    for (const std::string& line : config.other_lines)
        text += line + "\n";
    for (const std::string& server : config.servers)
        text += "server " + server + "\n";
    return text;
}

NtpConfig ReadNtpConfig() {
    if (const auto text = ReadWholeFile(kPath)) return ParseNtpConfig(*text);
    NtpConfig config;
    config.unread = errno != ENOENT;
    return config;
}

void WriteNtpConfig(const NtpConfig& config) {
    if (!config.unread) SaveFile(kPath, FormatNtpConfig(config));
}
