// The FTP server's setting: what counts as on, what a rewrite keeps, which of the two files is
// used, and that no save loses one.
#include "services/ftp_tls.h"

#include <algorithm>
#include <vector>

#include "services/services_fixtures.h"

namespace {

using namespace std::string_literals;
using services::InOwnRoot;
using services::WriteFile;

std::string Letters(std::size_t count) {
    return std::string(count, 'x');
}

// ---- reading ----

struct Reading {
    std::string text;
    bool enabled;
};

TEST(FtpTlsIn, TakesYesInAnyCaseOrOne) {
    const Reading readings[] = {
        {"ssl_enable=YES\n", true},   {"ssl_enable=yes\n", true}, {"ssl_enable=yEs\n", true},
        {"ssl_enable=1\n", true},     {"ssl_enable=NO\n", false}, {"ssl_enable=0\n", false},
        {"ssl_enable=\n", false},     {"ssl_enable=2\n", false},  {"ssl_enable=11\n", false},
        {"ssl_enable=01\n", false},   {"ssl_enable=Y\n", false},  {"ssl_enable=YESS\n", false},
        {"ssl_enable=true\n", false}, {"ssl_enable=on\n", false},
    };
    for (const Reading& reading : readings)
        EXPECT_EQ(FtpTlsIn(reading.text), reading.enabled) << reading.text;
}

TEST(FtpTlsIn, IgnoresBlanksOnlyAroundTheKeyAndBeforeTheValue) {
    const Reading readings[] = {
        {"  ssl_enable=YES\n", true},
        {"\t \tssl_enable=YES\n", true},
        {"ssl_enable =1\n", true},
        {"ssl_enable  =YES\n", true},
        {"ssl_enable\t=YES\n", true},
        {"ssl_enable= YES\n", true},
        {"ssl_enable=\t YES\n", true},
        {" \tssl_enable \t= \tYES\n", true},
        {"ssl_enable=YES \n", false},
        {"ssl_enable=YES\t\n", false},
        {"ssl_enable=1 \n", false},
        {"ssl_enable=YES # really\n", false},
        {"\v"
         "ssl_enable=YES\n",
         false},
        {"ssl_enable=\vYES\n", false},
        {"ssl enable=YES\n", false},
    };
    for (const Reading& reading : readings)
        EXPECT_EQ(FtpTlsIn(reading.text), reading.enabled) << reading.text;
}

TEST(FtpTlsIn, TakesOnlyTheExactKey) {
    for (const char* text :
         {"", "\n", "=YES\n", "ssl_enable\n", "ssl_enable YES\n", "SSL_ENABLE=YES\n",
          "Ssl_enable=YES\n", "ssl_enable2=YES\n", "xssl_enable=YES\n", "ssl_enable==YES\n",
          "ssl_enable=YES=1\n", "x=ssl_enable=YES\n", "anonymous_enable=YES\n"}) {
        EXPECT_FALSE(FtpTlsIn(text)) << text;
    }
}

TEST(FtpTlsIn, SkipsComments) {
    EXPECT_FALSE(FtpTlsIn("#ssl_enable=YES\n"));
    EXPECT_FALSE(FtpTlsIn(" \t# ssl_enable=YES\n"));
    EXPECT_TRUE(FtpTlsIn("ssl_enable=YES\n#ssl_enable=NO\n"));
}

TEST(FtpTlsIn, LastLineWins) {
    EXPECT_TRUE(FtpTlsIn("ssl_enable=NO\nlisten=YES\nssl_enable=YES\n"));
    EXPECT_FALSE(FtpTlsIn("ssl_enable=YES\nlisten=YES\nssl_enable=NO\n"));
    EXPECT_FALSE(FtpTlsIn("ssl_enable=YES\nssl_enable=\n"));
    EXPECT_TRUE(FtpTlsIn("ssl_enable=NO\n  ssl_enable = 1"));
}

TEST(FtpTlsIn, TakesAnyLineEnd) {
    EXPECT_TRUE(FtpTlsIn("ssl_enable=YES"));
    EXPECT_TRUE(FtpTlsIn("ssl_enable=YES\r\n"));
    EXPECT_TRUE(FtpTlsIn("\r\n\nssl_enable=YES\r\r\n"));
    EXPECT_FALSE(FtpTlsIn("listen=NO\rssl_enable=YES\n"));
}

TEST(FtpTlsIn, ALongLineIsSplit) {
    EXPECT_FALSE(FtpTlsIn("#" + Letters(1021) + "ssl_enable=YES\n"));
    EXPECT_TRUE(FtpTlsIn("#" + Letters(1022) + "ssl_enable=YES\n"));
    // What does not fit belongs to the next line.
    EXPECT_FALSE(FtpTlsIn(std::string(1010, ' ') + "ssl_enable=YES\n"));
    EXPECT_TRUE(FtpTlsIn(std::string(1009, ' ') + "ssl_enable=YES\n"));
    EXPECT_TRUE(FtpTlsIn(std::string(1009, ' ') + "ssl_enable=YESSIR\n"));
}

TEST(FtpTlsIn, APieceEndsAtANulByte) {
    EXPECT_TRUE(FtpTlsIn("ssl_enable=YES\0 or not\n"s));
    EXPECT_FALSE(FtpTlsIn("ssl_\0enable=YES\n"s));
}

// ---- rewriting ----

struct Rewriting {
    std::string before;
    std::string after;  // with TLS off
};

void ExpectRewritten(const std::vector<Rewriting>& rewritings) {
    for (const Rewriting& rewriting : rewritings)
        EXPECT_EQ(WithFtpTls(rewriting.before, false), rewriting.after) << rewriting.before;
}

TEST(WithFtpTls, WritesCapitals) {
    EXPECT_EQ(WithFtpTls("ssl_enable=no\n", true), "ssl_enable=YES\n");
    EXPECT_EQ(WithFtpTls("ssl_enable=yes\n", false), "ssl_enable=NO\n");
    EXPECT_EQ(WithFtpTls("ssl_enable=yes\n", true), "ssl_enable=YES\n");
}

TEST(WithFtpTls, ReplacesTheWholeLine) {
    ExpectRewritten({{"ssl_enable=\n", "ssl_enable=NO\n"},
                     {"ssl_enable=YES and more # words\n", "ssl_enable=NO\n"},
                     {"ssl_enable=YES \n", "ssl_enable=NO\n"},
                     {"ssl_enable =YES\n", "ssl_enable=NO\n"},
                     {"ssl_enable = YES\n", "ssl_enable=NO\n"},
                     {"  \tssl_enable = YES\n", "ssl_enable=NO\n"}});
}

TEST(WithFtpTls, ReplacesEveryLine) {
    EXPECT_EQ(WithFtpTls("ssl_enable=NO\nlisten=YES\nssl_enable=YES\n", false),
              "ssl_enable=NO\nlisten=YES\nssl_enable=NO\n");
    EXPECT_EQ(WithFtpTls("ssl_enable=NO\nssl_enable =1\n\tssl_enable=x\n", true),
              "ssl_enable=YES\nssl_enable=YES\nssl_enable=YES\n");
}

// The reader accepts the first three, the writer does not.
TEST(WithFtpTls, LeavesOtherLinesAlone) {
    for (const char* text :
         {"ssl_enable  =YES\n", "ssl_enable\t=YES\n", "ssl_enable \t=YES\n", "#ssl_enable=YES\n",
          "  # ssl_enable=YES\n", "SSL_ENABLE=YES\n", "ssl_enable2=YES\n", "ssl_enable\n",
          "xssl_enable=YES\n", "\vssl_enable=YES\n", "listen=YES\n", "\n", " \t\n", "=\n", "",
          "  listen = YES  \n\tlocal_enable=YES\t\n"}) {
        EXPECT_EQ(WithFtpTls(text, false), text);
        EXPECT_EQ(WithFtpTls(text, true), text);
    }
}

TEST(WithFtpTls, EveryLineEndsInALineFeed) {
    ExpectRewritten({{"listen=YES", "listen=YES\n"},
                     {"ssl_enable=YES", "ssl_enable=NO\n"},
                     {"a\r\nssl_enable=YES\r\nb\r\r\n", "a\nssl_enable=NO\nb\n"},
                     {"a\rb\n", "a\rb\n"}});
}

TEST(WithFtpTls, ALongLineIsSplit) {
    ExpectRewritten(
        {{Letters(1022) + "\n", Letters(1022) + "\n"},
         {Letters(1023), Letters(1023) + "\n"},
         // The line feed after a full buffer is a line of its own.
         {Letters(1023) + "\nlisten=YES\n", Letters(1023) + "\n\nlisten=YES\n"},
         {Letters(1024) + "\n", Letters(1023) + "\nx\n"},
         {Letters(3000) + "\nssl_enable=YES\n",
          Letters(1023) + "\n" + Letters(1023) + "\n" + Letters(954) + "\nssl_enable=NO\n"}});
}

// ---- the files ----

using FtpTlsFile = services::OwnSurroundings;

constexpr const char* kActive = "/etc/vsftpd.conf";
constexpr const char* kParked = "/etc/vsftpd.conf.disabled";

// The files in /etc as "name=content", sorted by name.
std::string Etc() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator("/etc"))
        names.push_back(entry.path().string());
    std::sort(names.begin(), names.end());
    std::string all;
    for (const std::string& name : names) {
        const bool is_folder = std::filesystem::is_directory(name);
        all += name + "=" + (is_folder ? "folder" : ContentOf(name)) + ";";
    }
    return all;
}

TEST_F(FtpTlsFile, TheActiveFileComesFirst) {
    const std::string said = InOwnRoot([] {
        WriteFile(kActive, "ssl_enable=YES\n");
        WriteFile(kParked, "ssl_enable=NO\n");
        const bool before = ReadFtpTls();
        WriteFtpTls(false);
        return std::to_string(before) + " " + Etc();
    });
    EXPECT_EQ(said,
              "1 /etc/vsftpd.conf=ssl_enable=NO\n;/etc/vsftpd.conf.disabled=ssl_enable=NO\n;");
}

TEST_F(FtpTlsFile, TheParkedFileIsUsedIfThereIsNoActiveOne) {
    const std::string said = InOwnRoot([] {
        WriteFile(kParked, "listen=YES\nssl_enable=NO");
        const bool before = ReadFtpTls();
        WriteFtpTls(true);
        return std::to_string(before) + std::to_string(ReadFtpTls()) + " " + Etc();
    });
    EXPECT_EQ(said, "01 /etc/vsftpd.conf.disabled=listen=YES\nssl_enable=YES\n;");
}

TEST_F(FtpTlsFile, WithoutEitherFileNoneIsCreated) {
    const std::string said = InOwnRoot([] {
        WriteFtpTls(true);
        return std::to_string(ReadFtpTls()) + Etc();
    });
    EXPECT_EQ(said, "0");
}

TEST_F(FtpTlsFile, KeepsItsMode) {
    const std::string said = InOwnRoot([] {
        WriteFile(kActive, "ssl_enable=NO\n");
        chmod(kActive, 0640);
        WriteFtpTls(true);
        struct stat about = {};
        stat(kActive, &about);
        return std::to_string(about.st_mode & 07777) + " " + ContentOf(kActive);
    });
    EXPECT_EQ(said, std::to_string(0640) + " ssl_enable=YES\n");
}

TEST_F(FtpTlsFile, IfTheTemporaryFileCannotBeCreatedNothingChanges) {
    for (const char* path : {kActive, kParked}) {
        const std::string said = InOwnRoot([path] {
            WriteFile(path, "ssl_enable=NO\n");
            std::filesystem::create_directory(std::string(path) + ".tmp");
            WriteFtpTls(true);
            return Etc();
        });
        EXPECT_EQ(said, std::string(path) + "=ssl_enable=NO\n;" + path + ".tmp=folder;");
    }
}

// Also under the name that goes with the other file.
TEST_F(FtpTlsFile, RemovesWhatAPowerCutHasLeft) {
    const std::string said = InOwnRoot([] {
        WriteFile(kActive, "ssl_enable=NO\n");
        for (const char* path : {kActive, kParked})
            WriteFile(std::string(path) + ".tmp", "half");
        WriteFtpTls(true);
        return Etc();
    });
    EXPECT_EQ(said, "/etc/vsftpd.conf=ssl_enable=YES\n;");
}

TEST_F(FtpTlsFile, OnAFullDiskTheOldFileStaysIntact) {
    const std::string old = "ssl_enable=NO\n# " + std::string(20000, 'x') + "\n";
    const std::string said = InOwnRoot([&] {
        if (mount("none", "/etc", "tmpfs", 0, "size=32k") != 0) return std::string("no mount");
        WriteFile(kActive, old);
        WriteFtpTls(true);
        return ContentOf(kActive);
    });
    EXPECT_EQ(said, old);
}

}  // namespace
