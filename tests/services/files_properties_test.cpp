// Properties of the services' files in /etc, whatever they contain.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "net/interface_config.h"
#include "services/ftp_tls.h"
#include "services/services_fixtures.h"
#include "system/ntp_config.h"
#include "util/random_fixtures.h"

namespace services {
namespace {

constexpr const char* kNtpWords[] = {"server ",          "server\t", "pool ",     "#",
                                     "0.debian.example", " iburst",  "restrict ", " "};
constexpr const char* kFtpWords[] = {"ssl_enable=", "ssl_enable =", "ssl_enable", "YES", "NO",
                                     "#",           "listen=",      " ",          "=",   "1"};
constexpr const char* kSettingsWords[] = {"manage", "dhcp", " = ", "=", "1", "on", "#", "dns"};

std::vector<std::string> LinesOf(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        lines.back().resize(lines.back().find_last_not_of('\r') + 1);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

bool IsTlsLine(std::string line) {
    line.erase(0, line.find_first_not_of(" \t"));
    return line.rfind("ssl_enable=", 0) == 0 || line.rfind("ssl_enable =", 0) == 0;
}

TEST(NtpProperties, SavingTwiceGivesTheSameFile) {
    Random random;
    for (int i = 0; i < 1000 && !testing::Test::HasFailure(); ++i) {
        const std::string text = random.Lines(12, kNtpWords);
        const std::string once = FormatNtpConfig(ParseNtpConfig(text));
        EXPECT_EQ(FormatNtpConfig(ParseNtpConfig(once)), once) << testing::PrintToString(text);
    }
}

TEST(FtpTlsProperties, OnlySettingLinesChange) {
    Random random;
    for (int i = 0; i < 1000 && !testing::Test::HasFailure(); ++i) {
        const std::string text = random.Lines(12, kFtpWords);
        const bool enable = random.OneIn(2);
        std::vector<std::string> expected = LinesOf(text);
        for (std::string& line : expected) {
            if (IsTlsLine(line)) line = enable ? "ssl_enable=YES" : "ssl_enable=NO";
        }
        EXPECT_EQ(LinesOf(WithFtpTls(text, enable)), expected) << testing::PrintToString(text);
    }
}

// What others can see of a file: content, owner and time of the last change.
std::string Looks(const char* path) {
    struct stat about = {};
    if (stat(path, &about) != 0) return "missing";
    return std::to_string(about.st_ino) + " " + std::to_string(about.st_mode) + " " +
           std::to_string(about.st_mtim.tv_sec) + "." + std::to_string(about.st_mtim.tv_nsec) +
           " " + std::to_string(about.st_ctim.tv_nsec) + " " + ContentOf(path);
}

class ReadingProperties : public OwnSurroundings {};

TEST_F(ReadingProperties, ReadingNeverChangesAFile) {
    constexpr const char* kFiles[] = {"/etc/ntp.conf", "/etc/vsftpd.conf", "/etc/settings"};
    Random random;
    const std::string ntp = random.Lines(20, kNtpWords);
    const std::string ftp = random.Lines(20, kFtpWords);
    const std::string settings = random.Lines(20, kSettingsWords);
    const std::string said = InOwnRoot([&] {
        WriteFile(kFiles[0], ntp);
        WriteFile(kFiles[1], ftp);
        WriteFile(kFiles[2], settings);
        std::vector<std::string> before;
        for (const char* file : kFiles)
            before.push_back(Looks(file));
        ReadNtpConfig();
        ReadFtpTls();
        InterfaceConfig config;
        ReadInterfaceConfig(config, kFiles[2]);
        std::string changed;
        for (std::size_t i = 0; i < std::size(kFiles); ++i) {
            if (Looks(kFiles[i]) != before[i]) changed += kFiles[i];
        }
        std::size_t files = 0;
        for (const auto& each : std::filesystem::recursive_directory_iterator("/etc"))
            files += each.is_regular_file() ? 1 : 0;
        return changed + std::to_string(files) + " files";
    });
    EXPECT_EQ(said, "3 files");
}

}  // namespace
}  // namespace services
