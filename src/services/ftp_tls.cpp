#include "services/ftp_tls.h"

#include <strings.h>
#include <unistd.h>

#include <optional>

#include "util/lines.h"
#include "util/read_file.h"
#include "util/save_file.h"
#include "util/trim.h"

namespace {

constexpr std::size_t kLineSize = 1024;
constexpr std::string_view kKey = "ssl_enable";
constexpr const char* kPaths[] = {"/etc/vsftpd.conf", "/etc/vsftpd.conf.disabled"};

struct ConfigFile {
    const char* path;
    std::string text;
};

std::optional<ConfigFile> OpenConfig() {
    for (const char* path : kPaths) {
        if (auto text = ReadWholeFile(path)) return ConfigFile{path, std::move(*text)};
    }
    return std::nullopt;
}

std::string TemporaryName(const char* path) {
    return std::string(path) + ".tmp";
}

// The setting in one line; nothing if the line does not set it.
std::optional<bool> TlsInLine(std::string_view line) {
    line = TrimStart(line, kBlanks);
    const std::size_t equals = line.find('=');
    if (line.starts_with('#') || equals == std::string_view::npos) return std::nullopt;
    if (TrimEnd(line.substr(0, equals), kBlanks) != kKey) return std::nullopt;
    const std::string value(TrimStart(line.substr(equals + 1), kBlanks));
    return strcasecmp(value.c_str(), "YES") == 0 || value == "1";
}

// Stricter than the reader: at most one blank before "=".
bool IsRewritten(std::string_view line) {
    line = TrimStart(line, kBlanks);
    return line.starts_with("ssl_enable=") || line.starts_with("ssl_enable =");
}

}  // namespace

bool FtpTlsIn(std::string_view text) {
    bool enabled = false;
    std::string line;
    while (NextChompedLine(text, kLineSize, line))
        enabled = TlsInLine(line).value_or(enabled);
    return enabled;
}

std::string WithFtpTls(std::string_view text, bool enable) {
    std::string rewritten;
    std::string line;
    while (NextChompedLine(text, kLineSize, line)) {
        if (IsRewritten(line)) {
            rewritten += enable ? "ssl_enable=YES\n" : "ssl_enable=NO\n";
        } else {
            rewritten += line + '\n';
        }
    }
    return rewritten;
}

bool ReadFtpTls() {
    const auto config = OpenConfig();
    return config && FtpTlsIn(config->text);
}

void WriteFtpTls(bool enable) {
    const auto config = OpenConfig();
    if (!config) return;
    // A power cut may have left either of them, even if that file was then switched off or on.
    for (const char* path : kPaths)
        unlink(TemporaryName(path).c_str());
    SaveFileThrough(TemporaryName(config->path), config->path, WithFtpTls(config->text, enable));
}
