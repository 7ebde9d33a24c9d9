#include "system/ntp_config.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "util/utility_fixtures.h"

namespace {

using Lines = std::vector<std::string>;

// The other lines, then the servers, each in brackets.
std::string Parts(const std::string& text) {
    const NtpConfig config = ParseNtpConfig(text);
    std::string parts = "lines";
    for (const std::string& line : config.other_lines)
        parts += " [" + line + "]";
    parts += " servers";
    for (const std::string& server : config.servers)
        parts += " [" + server + "]";
    return parts;
}

std::string Regrouped(const std::string& text) {
    return FormatNtpConfig(ParseNtpConfig(text));
}

TEST(ParseNtpConfig, AServerIsTheTextAfterTheKeywordWithOptions) {
    EXPECT_EQ(Parts("server a.example\n"), "lines servers [a.example]");
    EXPECT_EQ(Parts("server\ttime.example iburst\n"), "lines servers [time.example iburst]");
    EXPECT_EQ(Parts("server \t  10.0.0.1\tminpoll 4 # near\n"),
              "lines servers [10.0.0.1\tminpoll 4 # near]");
    EXPECT_EQ(Parts("server a  \t\n"), "lines servers [a  \t]");
}

TEST(ParseNtpConfig, AServerLineWithoutANameIsDropped) {
    for (const char* text : {"server \n", "server\t\n", "server   \t \n", "server ", "server \r\n"})
        EXPECT_EQ(Parts(text), "lines servers") << text;
    EXPECT_EQ(Regrouped("# a\nserver  \nserver b\n"), "# a\nserver b\n");
}

TEST(ParseNtpConfig, ALineThatDoesNotStartWithTheKeywordIsAnotherLine) {
    for (const char* line :
         {" server a", "\tserver a", "#server a", "# server a", "Server a", "SERVER a", "servers a",
          "server", "server-a", "serve r", "pool a", "restrict -4 default", "", "   "})
        EXPECT_EQ(Parts(std::string(line) + "\n"), "lines [" + std::string(line) + "] servers");
}

TEST(ParseNtpConfig, KeepsTheOrderOfBothKinds) {
    EXPECT_EQ(Parts("# 1\nserver b\n\nserver a\n# 2\nserver b\n"),
              "lines [# 1] [] [# 2] servers [b] [a] [b]");
}

TEST(ParseNtpConfig, LineEndsAreNotPartOfALine) {
    EXPECT_EQ(Parts("# 1\r\nserver a\r\n# 2\r\r\n"), "lines [# 1] [# 2] servers [a]");
    EXPECT_EQ(Parts("# 1\nserver a"), "lines [# 1] servers [a]");
    EXPECT_EQ(Parts("# a\rb\n"), "lines [# a\rb] servers");
    EXPECT_EQ(Parts(""), "lines servers");
    EXPECT_EQ(Parts("\n\n"), "lines [] [] servers");
}

TEST(ParseNtpConfig, ALineLongerThan1022BytesIsSplit) {
    const std::string keyword = "server ";
    const NtpConfig server = ParseNtpConfig(keyword + std::string(2000, 'a') + "\n");
    EXPECT_EQ(server.servers, Lines{std::string(1022 - keyword.size(), 'a')});
    EXPECT_EQ(server.other_lines, Lines{std::string(2000 - 1022 + keyword.size(), 'a')});

    const Lines fits = {std::string(1021, 'b'), "c"};
    EXPECT_EQ(ParseNtpConfig(fits[0] + "\nc\n").other_lines, fits);
    // The line feed alone is the second piece.
    const Lines just_too_long = {std::string(1022, 'b'), "", "c"};
    EXPECT_EQ(ParseNtpConfig(just_too_long[0] + "\nc\n").other_lines, just_too_long);

    // A piece that starts with the keyword is a server line.
    EXPECT_EQ(ParseNtpConfig(std::string(1022, '#') + "server x\n").servers, Lines{"x"});
}

TEST(FormatNtpConfig, OtherLinesComeFirstThenServers) {
    NtpConfig config;
    config.servers = {"a iburst", "b"};
    config.other_lines = {"# first", "", " server indented"};
    EXPECT_EQ(FormatNtpConfig(config), "# first\n\n server indented\nserver a iburst\nserver b\n");
}

TEST(FormatNtpConfig, EachKindMayBeMissing) {
    NtpConfig config;
    EXPECT_EQ(FormatNtpConfig(config), "");
    config.servers = {"a"};
    EXPECT_EQ(FormatNtpConfig(config), "server a\n");
    config = NtpConfig();
    config.other_lines = {"tos maxclock 11"};
    EXPECT_EQ(FormatNtpConfig(config), "tos maxclock 11\n");
}

TEST(FormatNtpConfig, MovesServersBelowTheOtherLines) {
    EXPECT_EQ(Regrouped("# near\nserver\ta iburst\n\n# far\n  server c\nserver   b"),
              "# near\n\n# far\n  server c\nserver a iburst\nserver b\n");
    const std::string grouped = "# x\n\nserver a\nserver b\n";
    EXPECT_EQ(Regrouped(grouped), grouped);
}

// The servers that a machine reads if this is its root folder.
std::string ServersRead(const std::string& root) {
    const Answer answer = AnswerInChild([&] { return EnterRoot(root); },
                                        [] {
                                            for (const std::string& name : ReadNtpConfig().servers)
                                                printf("[%s]", name.c_str());
                                            return 0L;
                                        });
    return answer.prepared == Prepared::kRefused ? "refused" : answer.output;
}

TEST(ReadNtpConfig, AFileThatCannotBeReadIsEmpty) {
    const TemporaryFolder root;
    const std::string servers = ServersRead(root.path);
    if (servers == "refused") GTEST_SKIP() << "only root can change its root folder";
    EXPECT_EQ(servers, "");
    std::filesystem::create_directories(root.Path("etc/ntp.conf"));
    EXPECT_EQ(ServersRead(root.path), "");
}

TEST(ReadNtpConfig, ReadsTheFile) {
    const TemporaryFolder root;
    root.File("etc/ntp.conf", "# x\nserver a\nserver b prefer\n");
    const std::string servers = ServersRead(root.path);
    if (servers == "refused") GTEST_SKIP() << "only root can change its root folder";
    EXPECT_EQ(servers, "[a][b prefer]");
}

}  // namespace
