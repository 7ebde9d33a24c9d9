// The services screen: which rows it shows and why, what each row does to the machine, and the demo
// appliance's own services.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <map>

#include "services_fixtures.h"

namespace services {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

// ---- rows ----

// If these files exist, rows of the bare machine are replaced by others.
struct Change {
    Words files;
    std::map<std::string, Words> instead;
};

Words Changed(const std::map<std::string, Words>& instead) {
    Words rows;
    for (const std::string& row : kBareRows) {
        const auto change = instead.find(row);
        const Words changed = change == instead.end() ? Words{row} : change->second;
        rows.insert(rows.end(), changed.begin(), changed.end());
    }
    return rows;
}

const char* const kNoFtp = "Enable and initialize FTP service";
const char* const kNoSmb = "Enable and initialize SMB/CIFS service";
const char* const kBackendRow = "Disable reporting backend services";
const char* const kUiRow = "Disable reporting UI service";
const char* const kWebRow = "Start web server";
const char* const kReportingRow = "Start reporting service";
const char* const kTlsRow = "Enable FTP SSL/TLS";

TEST(ServicesRows, AreComplete) {
    ServicesBox box;
    for (const std::string& path : kProbed)
        box.Make(path, path == kFtp ? "ssl_enable=YES\n" : "");
    box.RunVolkeep();
    ServicesScreen t(box);
    EXPECT_EQ(t.Row(2), "Services");
    EXPECT_EQ(Rows(t), (Words{"Disable FTP service",
                              "Disable FTP SSL/TLS",
                              "Disable SMB/CIFS service",
                              "Enable reporting backend services",
                              "Enable reporting UI service",
                              "Enable caption synchronization",
                              "",
                              "Disallow web interface to start/stop local desktop",
                              "Disable remote VNC access to local desktop",
                              "Set remote VNC access password",
                              "",
                              "Configure SMB/CIFS user accounts",
                              "",
                              "Stop web server",
                              "Stop V5 interface",
                              "Stop reporting service",
                              "",
                              "Stop volkeep disk management",
                              "",
                              "Main menu"}));
}

TEST(ServicesRows, FollowTheFiles) {
    const std::string control = "web interface to start/stop local desktop";
    const std::string setup = "Setup remote VNC access to local desktop";
    const std::string access = "remote VNC access to local desktop";
    const std::string password = "Set remote VNC access password";
    const Words with_accounts = {"Configure SMB/CIFS user accounts", "", kWebRow};
    const Change changes[] = {
        {{}, {}},
        {{kFtp}, {{kNoFtp, {"Disable FTP service", kTlsRow}}}},
        {{kFtpParked}, {{kNoFtp, {"Enable FTP service", kTlsRow}}}},
        {{kFtp, kFtpParked}, {{kNoFtp, {"Disable FTP service", kTlsRow}}}},
        {{kSmb}, {{kNoSmb, {"Disable SMB/CIFS service"}}, {kWebRow, with_accounts}}},
        {{kSmbParked}, {{kNoSmb, {"Enable SMB/CIFS service"}}, {kWebRow, with_accounts}}},
        {{kSmb, kSmbParked}, {{kNoSmb, {"Disable SMB/CIFS service"}}, {kWebRow, with_accounts}}},
        {{kBackendOff}, {{kBackendRow, {"Enable reporting backend services"}}}},
        {{kUiOff}, {{kUiRow, {"Enable reporting UI service"}}}},
        {{kCaptionSync}, {{kUiRow, {kUiRow, "Disable caption synchronization"}}}},
        {{kCaptionSync, kCaptionSyncOff}, {{kUiRow, {kUiRow, "Enable caption synchronization"}}}},
        {{kWebServerPid}, {{kWebRow, {"Stop web server"}}}},
        {{kV5Pid}, {{"Start V5 interface", {"Stop V5 interface"}}}},
        {{kReportingPid}, {{kReportingRow, {"Stop reporting service"}}}},
        {{kPublicReportingPid}, {{kReportingRow, {"Stop reporting service"}}}},
        {{kLocalDesktop}, {{kUiRow, {kUiRow, "", "Allow " + control}}}},
        {{kLocalDesktop, kWebControl}, {{kUiRow, {kUiRow, "", "Disallow " + control}}}},
        {{kVnc}, {{kUiRow, {kUiRow, "", setup}}}},
        {{kVnc, kVncOn}, {{kUiRow, {kUiRow, "", "Disable " + access}}}},
        {{kVnc, kVncPassword}, {{kUiRow, {kUiRow, "", "Enable " + access, password}}}},
        {{kVnc, kVncOn, kVncPassword}, {{kUiRow, {kUiRow, "", "Disable " + access, password}}}},
        {{kLocalDesktop, kVnc}, {{kUiRow, {kUiRow, "", "Allow " + control, setup}}}},
        // Settings of something that is not installed, and a process that no row depends on.
        {{kCaptionSyncOff, kCaptionSyncPid, kWebControl, kVncOn, kVncPassword}, {}},
        {{kLocalDesktop, kVncOn, kVncPassword}, {{kUiRow, {kUiRow, "", "Allow " + control}}}},
        {{kVnc, kWebControl}, {{kUiRow, {kUiRow, "", setup}}}},
    };
    ServicesBox box;
    ServicesScreen t(box);
    for (const Change& change : changes) {
        for (const std::string& file : change.files)
            box.Make(file);
        t.Reopen();
        EXPECT_EQ(Rows(t), Changed(change.instead)) << testing::PrintToString(change.files);
        for (const std::string& file : change.files)
            box.Remove(file);
    }
}

TEST(ServicesRows, OnlyRegularFilesCount) {
    ServicesBox box;
    ServicesScreen t(box);
    box.Write("/mnt/regular", "ssl_enable=YES\n");
    for (const char* kind : {"ln -s /mnt/regular ", "mkdir ", "mkfifo "}) {
        std::string make, remove = "rm -rf";
        for (const std::string& path : kProbed) {
            make += kind + path + "\n";
            remove += " " + path;
        }
        box.Sh(make);
        t.Reopen();
        EXPECT_EQ(Rows(t), kBareRows) << kind;
        box.Sh(remove);
    }
}

TEST(ServicesRows, ALinkedFtpConfigurationIsParkedButStillRead) {
    ServicesBox box;
    box.Make("/mnt/real.conf", "ssl_enable=YES\n");
    box.Make(kFtpParked, "ssl_enable=NO\n");
    box.Sh(std::string("ln -s /mnt/real.conf ") + kFtp);
    ServicesScreen t(box);
    EXPECT_EQ(Rows(t), Changed({{kNoFtp, {"Enable FTP service", "Disable FTP SSL/TLS"}}}));
}

// Neither its hot key nor the cursor keys nor the mouse can select it.
TEST(ServicesRows, TheReportingRowIsClosedWhenBothHalvesAreDisabled) {
    ServicesBox box;
    for (const std::string row : {kReportingRow, "Stop reporting service"}) {
        SCOPED_TRACE(row);
        if (row != kReportingRow) box.Make(kReportingPid);
        for (const Words& disabled : {Words{kBackendOff}, {kUiOff}, {kBackendOff, kUiOff}}) {
            for (const std::string& half : disabled)
                box.Make(half);
            const bool closed = disabled.size() == 2;
            ServicesScreen t(box);
            const int line = t.Find(row);
            EXPECT_EQ(t.Cell(line, kFirstColumn + 2).dim, closed);
            EXPECT_EQ(t.Cell(line, kFirstColumn + 2).bold, !closed);
            t.Press("ss");
            t.Settle();
            EXPECT_EQ(t.Selected(), closed ? kNoSmb : row);
            t.Press("5<Down>");
            t.Settle();
            EXPECT_EQ(t.Selected(), closed ? "Start volkeep disk management" : row);
            if (closed) {
                t.Click(line, kFirstColumn + 2);
                t.WaitSelected(kNoFtp);  // like any click outside the rows
            }
            for (const std::string& half : disabled)
                box.Remove(half);
        }
    }
    EXPECT_THAT(box.CallLines(), IsEmpty());
}

// ---- actions ----

// A row's action, and what becomes of the settings.
struct Switch {
    Action action;
    Words files;  // "+ file" is there afterwards, "- file" no longer
};

constexpr const char* kVolkeepQuestion =
    "Stopping this service will umount the main partition and everything using it! "
    "Are you sure?";

// Each row twice, there and back.
const Switch kSwitches[] = {
    {{.row = "Disable FTP service",
      .commands = {"/etc/init.d/service-vsftpd stop",
                   "mv -v /etc/vsftpd.conf /etc/vsftpd.conf.disabled"},
      .said = {"renamed '/etc/vsftpd.conf' -> '/etc/vsftpd.conf.disabled'"},
      .after = "Enable FTP service"},
     {"- /etc/vsftpd.conf", "+ /etc/vsftpd.conf.disabled"}},
    {{.row = "Enable FTP service",
      .commands = {"mv -v /etc/vsftpd.conf.disabled /etc/vsftpd.conf",
                   "/etc/init.d/service-vsftpd start"},
      .said = {"renamed '/etc/vsftpd.conf.disabled' -> '/etc/vsftpd.conf'"},
      .after = "Disable FTP service"},
     {"+ /etc/vsftpd.conf", "- /etc/vsftpd.conf.disabled"}},
    {{.row = "Enable FTP SSL/TLS",
      .commands = {"/etc/init.d/service-vsftpd stop", "/etc/init.d/service-vsftpd start"},
      .after = "Disable FTP SSL/TLS"},
     {}},
    {{.row = "Disable FTP SSL/TLS",
      .commands = {"/etc/init.d/service-vsftpd stop", "/etc/init.d/service-vsftpd start"},
      .after = "Enable FTP SSL/TLS"},
     {}},
    {{.row = "Disable SMB/CIFS service",
      .commands = {"/etc/init.d/service-smbd stop", "/etc/init.d/service-nmbd stop",
                   "mv -v /etc/samba/smb.conf /etc/samba/smb.conf.disabled"},
      .said = {"renamed '/etc/samba/smb.conf' -> '/etc/samba/smb.conf.disabled'"},
      .after = "Enable SMB/CIFS service"},
     {"- /etc/samba/smb.conf", "+ /etc/samba/smb.conf.disabled"}},
    {{.row = "Enable SMB/CIFS service",
      .commands = {"mv -v /etc/samba/smb.conf.disabled /etc/samba/smb.conf",
                   "/etc/init.d/service-smbd start", "/etc/init.d/service-nmbd start"},
      .said = {"renamed '/etc/samba/smb.conf.disabled' -> '/etc/samba/smb.conf'"},
      .after = "Disable SMB/CIFS service"},
     {"+ /etc/samba/smb.conf", "- /etc/samba/smb.conf.disabled"}},
    // Disabling these stops them at once, enabling starts nothing.
    {{.row = "Disable reporting backend services",
      .commands = {"/etc/init.d/service-tavrin4-reporting2 stop",
                   "/etc/init.d/service-tavrin4-reporting stop",
                   "/etc/init.d/service-reporting-ingest stop",
                   "/etc/init.d/service-reporting-rejoin stop"},
      .after = "Enable reporting backend services"},
     {"+ /etc/TAVRIN/disable.reporting"}},
    {{.row = "Enable reporting backend services", .after = "Disable reporting backend services"},
     {"- /etc/TAVRIN/disable.reporting"}},
    {{.row = "Disable reporting UI service",
      .commands = {"/etc/init.d/service-tavrin4-reporting-public stop"},
      .after = "Enable reporting UI service"},
     {"+ /etc/TAVRIN/disable.reporting.ui"}},
    {{.row = "Enable reporting UI service", .after = "Disable reporting UI service"},
     {"- /etc/TAVRIN/disable.reporting.ui"}},
    {{.row = "Disable caption synchronization",
      .commands = {"/etc/init.d/service-caption-synchronizer stop"},
      .after = "Enable caption synchronization"},
     {"+ /etc/caption-sync.disabled"}},
    {{.row = "Enable caption synchronization", .after = "Disable caption synchronization"},
     {"- /etc/caption-sync.disabled"}},
    {{.row = "Allow web interface to start/stop local desktop",
      .after = "Disallow web interface to start/stop local desktop"},
     {"+ /etc/local.desktop.webui.ctl"}},
    {{.row = "Disallow web interface to start/stop local desktop",
      .after = "Allow web interface to start/stop local desktop"},
     {"- /etc/local.desktop.webui.ctl"}},
    {{.row = "Enable remote VNC access to local desktop",
      .after = "Disable remote VNC access to local desktop"},
     {"+ /etc/local.desktop.vnc"}},
    {{.row = "Disable remote VNC access to local desktop",
      .commands = {"/usr/share/tavrin/local-desktop-vnc stop"},
      .after = "Enable remote VNC access to local desktop"},
     {"- /etc/local.desktop.vnc"}},
    {{.row = "Start web server",
      .commands = {"/etc/init.d/service-apache start"},
      .pause = 1,
      .after = "Stop web server"},
     {}},
    {{.row = "Stop web server",
      .commands = {"/etc/init.d/service-apache stop"},
      .pause = 1,
      .after = "Start web server"},
     {}},
    {{.row = "Start V5 interface",
      .commands = {"/etc/init.d/service-control-api start"},
      .pause = 1,
      .after = "Stop V5 interface"},
     {}},
    {{.row = "Stop V5 interface",
      .commands = {"/etc/init.d/service-control-api stop"},
      .pause = 1,
      .after = "Start V5 interface"},
     {}},
    // Three are started and five stopped: the other two start on their own.
    {{.row = "Start reporting service",
      .commands = {"/etc/init.d/service-tavrin4-reporting start",
                   "/etc/init.d/service-tavrin4-reporting2 start",
                   "/etc/init.d/service-tavrin4-reporting-public start"},
      .pause = 1,
      .after = "Stop reporting service"},
     {}},
    {{.row = "Stop reporting service",
      .commands = {"/etc/init.d/service-tavrin4-reporting stop",
                   "/etc/init.d/service-tavrin4-reporting2 stop",
                   "/etc/init.d/service-tavrin4-reporting-public stop",
                   "/etc/init.d/service-reporting-ingest stop",
                   "/etc/init.d/service-reporting-rejoin stop"},
      .pause = 1,
      .after = "Start reporting service"},
     {}},
    {{.row = "Start volkeep disk management",
      .commands = {"volkeep-start"},
      .pause = 1,
      .after = "Stop volkeep disk management"},
     {}},
    {{.row = "Stop volkeep disk management",
      .question = kVolkeepQuestion,
      .typed = "y",
      .commands = {"volkeep-stop"},
      .pause = 1,
      .after = "Start volkeep disk management"},
     {}},
};

// What has come ("+ ") and gone ("- ").
Words Difference(const Words& before, const Words& after) {
    Words difference;
    for (const std::string& path : kProbed) {
        const auto was = std::count(before.begin(), before.end(), path);
        const auto is = std::count(after.begin(), after.end(), path);
        if (was != is) difference.push_back((is > 0 ? "+ " : "- ") + path);
    }
    return difference;
}

TEST(ServicesActions, RunTheirCommandsAndChangeTheirSettings) {
    ServicesBox box;
    box.Make(kFtp, "ssl_enable=NO\n");
    box.Make(kSmb, "[global]\n");
    for (const char* path : {kLocalDesktop, kVncPassword})
        box.Make(path);
    box.Service(kCaptionSync);
    box.Service(kVnc);
    box.InstallVolkeep();
    ServicesScreen t(box, OfSize(30, 100));
    for (const auto& [action, files] : kSwitches) {
        const testing::ScopedTrace trace(__FILE__, __LINE__, action.row);
        const Words before = box.Settings();
        Do(t, action);
        EXPECT_EQ(Difference(before, box.Settings()), files);
        // A marker changes first: a script that checks must find it changed.
        if (files.size() != 1) continue;
        for (const std::string& command : action.commands) {
            const bool seen = testing::Value(box.Seen(command.substr(command.rfind('/') + 1)),
                                             HasSubstr(files[0].substr(2) + "\n"));
            EXPECT_EQ(seen, files[0][0] == '+') << command;
        }
    }
    EXPECT_EQ(box.Read(kFtp), "ssl_enable=NO\n");
    EXPECT_EQ(box.Read(kSmb), "[global]\n");
}

TEST(ServicesActions, SettingsAreInitializedFromTheExample) {
    ServicesBox box;
    box.StandIn("mv", "", 1);
    box.Write("/etc/vsftpd.conf.example", "ssl_enable=YES\n");
    box.Write("/etc/samba/smb.conf.example", "[global]\n");
    ServicesScreen t(box);
    Do(t, {.row = kNoFtp,
           .commands = {"mv -v /etc/vsftpd.conf.disabled /etc/vsftpd.conf",
                        "cp -v /etc/vsftpd.conf.example /etc/vsftpd.conf",
                        "/etc/init.d/service-vsftpd start"},
           .said = {"'/etc/vsftpd.conf.example' -> '/etc/vsftpd.conf'"},
           .after = "Disable FTP SSL/TLS"});
    Do(t, {.row = kNoSmb,
           .commands = {"mv -v /etc/samba/smb.conf.disabled /etc/samba/smb.conf",
                        "cp -v /etc/samba/smb.conf.example /etc/samba/smb.conf",
                        "/etc/init.d/service-smbd start", "/etc/init.d/service-nmbd start"},
           .said = {"'/etc/samba/smb.conf.example' -> '/etc/samba/smb.conf'"},
           .after = "Configure SMB/CIFS user accounts"});
    EXPECT_EQ(box.Read(kFtp), "ssl_enable=YES\n");
    EXPECT_EQ(box.Read(kSmb), "[global]\n");
}

// The services start nevertheless.
TEST(ServicesActions, WithoutAnExampleTheServicesStayUninitialized) {
    ServicesBox box;
    ServicesScreen t(box);
    for (const char* keys : {"f<Enter>", "s<Enter>"}) {
        t.Go(keys, kServices.sign);
        EXPECT_EQ(Rows(t), kBareRows);
    }
    EXPECT_EQ(box.Calls("/etc/init.d/service-vsftpd").size(), 1U);
    EXPECT_EQ(box.Calls("/etc/init.d/service-nmbd").size(), 1U);
}

TEST(ServicesActions, TheExampleDoesNotOverwriteNewSettings) {
    ServicesBox box;
    for (const char* settings : {kFtp, kSmb})
        box.Write(std::string(settings) + ".example", "example\n");
    ServicesScreen t(box);
    box.Make(kFtp, "own\n");
    Do(t, {.row = kNoFtp, .after = "Disable FTP service"});
    box.Make(kSmbParked, "parked\n");
    t.Reopen();
    box.Make(kSmb, "own\n");
    Do(t, {.row = "Enable SMB/CIFS service", .after = "Disable SMB/CIFS service"});
    EXPECT_EQ(box.Read(kFtp), "own\n");
    EXPECT_EQ(box.Read(kSmb), "own\n");
    EXPECT_EQ(box.Read(kSmbParked), "parked\n");
}

TEST(ServicesActions, ChangingFtpTlsStopsTheServerMeanwhile) {
    ServicesBox box;
    box.StandInScript("/etc/init.d/service-vsftpd", "/bin/cp /etc/vsftpd.conf /mnt/seen/at-$1");
    box.Make(kFtp, "listen=YES\nssl_enable=YES\n");
    box.Make(kFtpParked, "ssl_enable=YES\n");
    ServicesScreen t(box);
    t.Go("f<Down><Enter>", kTlsRow);
    EXPECT_EQ(box.Read("/mnt/seen/at-stop"), "listen=YES\nssl_enable=YES\n");
    EXPECT_EQ(box.Read("/mnt/seen/at-start"), "listen=YES\nssl_enable=NO\n");
    EXPECT_EQ(box.Read(kFtp), "listen=YES\nssl_enable=NO\n");
    EXPECT_EQ(box.Read(kFtpParked), "ssl_enable=YES\n");
}

TEST(ServicesActions, ChangingFtpTlsOfTheParkedFileRunsNothing) {
    ServicesBox box;
    box.Make(kFtpParked, "ssl_enable=NO\n");
    ServicesScreen t(box);
    t.Go("f<Down><Enter>", "Disable FTP SSL/TLS");
    EXPECT_EQ(box.Read(kFtpParked), "ssl_enable=YES\n");
    t.Go("<Enter>", kTlsRow);
    EXPECT_EQ(box.Read(kFtpParked), "ssl_enable=NO\n");
    EXPECT_EQ(box.Sh("ls /etc | grep vsftpd"), "vsftpd.conf.disabled\n");
    EXPECT_THAT(box.CallLines(), IsEmpty());
}

TEST(ServicesActions, AFailingCommandChangesNothingElse) {
    ServicesBox box;
    box.StandIn("/etc/init.d/service-tavrin4-reporting2", "", 1);
    box.Remove("/etc/init.d/service-reporting-ingest");
    ServicesScreen t(box);
    t.Go("b<Enter>", "Enable reporting backend services");
    EXPECT_EQ(Ran(box), (Words{"/etc/init.d/service-tavrin4-reporting2 stop",
                               "/etc/init.d/service-tavrin4-reporting stop",
                               "/etc/init.d/service-reporting-rejoin stop"}));
    EXPECT_FALSE(t.Shows("not found"));
}

// After a "no" nothing has changed, so the machine is not probed.
TEST(ServicesVolkeep, DecliningRunsAndProbesNothing) {
    ServicesBox box;
    box.RunVolkeep();
    ServicesScreen t(box, OfSize(30, 100));
    t.Go("d<Enter>", kVolkeepQuestion);
    t.Mark();
    box.Make(kWebServerPid);
    t.Go("n", "Stop volkeep disk management");
    EXPECT_EQ(t.Selected(), "Stop volkeep disk management");
    EXPECT_THAT(Rows(t), Contains(kWebRow));
    EXPECT_FALSE(LeftItsScreen(t));
    // The next action probes again.
    t.Go("u<Enter>", "Enable reporting UI service");
    EXPECT_TRUE(t.Shows("Stop web server"));
    EXPECT_EQ(Ran(box), Words{"/etc/init.d/service-tavrin4-reporting-public stop"});
}

// ---- probing ----

// Root finds its markers there, although the folder has no search bits.
TEST(ServicesProbes, TheFolderOfTheMarkersIsCreatedIfItIsMissing) {
    ServicesBox box;
    const auto folder = [&] { return box.Sh("stat -c '%F %a' /etc/TAVRIN; ls -A /etc/TAVRIN"); };
    box.Sh("chmod 700 /etc/TAVRIN; touch /etc/TAVRIN/other");
    ServicesScreen t(box);
    EXPECT_EQ(folder(), "directory 700\nother\n");
    box.Remove("/etc/TAVRIN");
    t.Reopen();
    EXPECT_EQ(folder(), "directory 644\n");
    t.Go("u<Enter>", "Enable reporting UI service");
    EXPECT_EQ(folder(), "directory 644\ndisable.reporting.ui\n");
}

// The system calls between two lines of a trace of the last entry into the screen, abbreviated:
// what is probed and how.
Words Probes(const std::string& trace) {
    Words probes;
    std::istringstream lines(trace.substr(trace.rfind("mkdir(\"/etc/TAVRIN\"")));
    for (std::string line; std::getline(lines, line);) {
        const size_t start = line.find('"');
        if (start == std::string::npos) continue;
        std::string path = line.substr(start + 1, line.find('"', start + 1) - start - 1);
        if (path.rfind("/var/run/", 0) == 0) path = path.substr(strlen("/var"));
        const bool opened = line.rfind("open", 0) == 0;
        const bool is_probe =
            line.rfind("lstat(", 0) == 0 || line.find("AT_SYMLINK_NOFOLLOW") != std::string::npos;
        const bool is_known = std::count(kProbed.begin(), kProbed.end(), path) > 0;
        if (is_probe && (is_known || path == kCaptionSyncPid)) {
            probes.push_back(path);
        } else if (opened && path == "/proc") {
            probes.emplace_back("the processes");
        } else if (opened && path.rfind(kFtp, 0) == 0) {
            probes.push_back("content of " + path);
        }
    }
    return probes;
}

// What the screen probes when it opens.
Words ProbesOnOpening(ServicesBox& box) {
    TerminalOptions options = OfSize(30, 80);
    options.program = "/usr/bin/strace";
    options.arguments = {
        "-D",           "-o", "/mnt/trace", "-e", "trace=mkdir,lstat,newfstatat,open,openat",
        TestedProgram()};
    // Leak detection does not work under a tracer.
    options.environment = {{"ASAN_OPTIONS", box.Environment()["ASAN_OPTIONS"] + ":detect_leaks=0"}};
    ServicesScreen t(box, options);
    EXPECT_THAT(box.Read("/mnt/trace"), HasSubstr("mkdir(\"/etc\", 0644)"));
    EXPECT_THAT(box.Read("/mnt/trace"), HasSubstr("mkdir(\"/etc/TAVRIN\", 0644)"));
    return Probes(box.Read("/mnt/trace"));
}

TEST(ServicesProbes, KeepTheirOrder) {
    ServicesBox box;
    EXPECT_EQ(ProbesOnOpening(box),
              (Words{kFtp, kFtpParked, kSmb, kSmbParked, kBackendOff, kUiOff, kWebServerPid,
                     "the processes", kV5Pid, kReportingPid, kPublicReportingPid, kCaptionSync,
                     kCaptionSyncOff, kCaptionSyncPid, kWebControl, kLocalDesktop, kVncOn,
                     kVncPassword, kVnc}));
    // If the first of two exists, the second is not probed; the FTP setting comes last.
    for (const char* path : {kFtp, kSmb, kReportingPid})
        box.Make(path);
    EXPECT_EQ(
        ProbesOnOpening(box),
        (Words{kFtp, kSmb, kBackendOff, kUiOff, kWebServerPid, "the processes", kV5Pid,
               kReportingPid, kCaptionSync, kCaptionSyncOff, kCaptionSyncPid, kWebControl,
               kLocalDesktop, kVncOn, kVncPassword, kVnc, std::string("content of ") + kFtp}));
}

// ---- the demo appliance's own services ----

// The appliance as it is, except for what the host's packages put into its folders.
class Appliance : public Machine {
  public:
    Appliance() { Sh("rm -f /etc/vsftpd.conf /etc/samba/smb.conf"); }
};

void Toggle(Terminal& t, const std::string& row, const std::string& after,
            Place place = Place::current()) {
    Select(t, row, place);
    t.Go("<Enter>", after, place);
}

TEST(ServicesOfTheAppliance, AreShownAsRunning) {
    Appliance box;
    ServicesScreen t(box);
    const auto state = [&](const std::string& pid_file) {
        return box.Sh("[ -f " + pid_file + " ] && echo pid file; kill -0 $(cat " + pid_file +
                      ") 2>/dev/null && echo process; true");
    };
    Toggle(t, "Start web server", "Stop web server");
    EXPECT_EQ(state(kWebServerPid), "pid file\nprocess\n");
    Toggle(t, "Stop web server", "Start web server");
    EXPECT_EQ(state(kWebServerPid), "");
    box.Sh("/etc/init.d/service-control-api start");
    t.Reopen();
    EXPECT_TRUE(t.Shows("Stop V5 interface"));
    // It has exited, but its pid file is still there, and that is what counts.
    box.Sh(std::string("kill $(cat ") + kV5Pid + ")");
    EXPECT_EQ(state(kV5Pid), "pid file\n");
    t.Reopen();
    Toggle(t, "Stop V5 interface", "Start V5 interface");
    EXPECT_EQ(state(kV5Pid), "");
}

TEST(ServicesOfTheAppliance, ReportingHonoursItsMarkers) {
    Appliance box;
    ServicesScreen t(box);
    Toggle(t, "Start reporting service", "Stop reporting service");
    EXPECT_TRUE(box.Exists(kReportingPid));
    EXPECT_TRUE(box.Exists(kPublicReportingPid));
    Toggle(t, "Disable reporting backend services", "Enable reporting backend services");
    EXPECT_FALSE(box.Exists(kReportingPid));
    EXPECT_TRUE(t.Shows("Stop reporting service"));
    Toggle(t, "Disable reporting UI service", "Enable reporting UI service");
    EXPECT_FALSE(box.Exists(kPublicReportingPid));
    EXPECT_TRUE(t.Cell(t.Find("Start reporting service"), kFirstColumn + 2).dim);
    Toggle(t, "Enable reporting UI service", "Disable reporting UI service");
    EXPECT_FALSE(box.Exists(kPublicReportingPid));
    Toggle(t, "Start reporting service", "Stop reporting service");
    EXPECT_FALSE(box.Exists(kReportingPid));
    EXPECT_TRUE(box.Exists(kPublicReportingPid));
}

TEST(ServicesOfTheAppliance, DiskManagementIsFoundByItsProcess) {
    Appliance box;
    ServicesScreen t(box, OfSize(30, 100));
    Toggle(t, "Start volkeep disk management", "Stop volkeep disk management");
    EXPECT_EQ(box.Sh("readlink /proc/$(pidof volkeep)/exe"), "/usr/sbin/volkeep\n");
    t.Go("d<Enter>", kVolkeepQuestion);
    t.Go("y", "Start volkeep disk management");
    EXPECT_EQ(box.Sh("pidof volkeep || echo none"), "none\n");
}

// The server's reply to a client that asks for TLS.
std::string AnswerToTls(Machine& box) {
    const std::string ask =
        "exec 3<>/dev/tcp/127.0.0.1/21 && printf 'AUTH TLS\\r\\nQUIT\\r\\n' >&3 && "
        "head -n 2 <&3 | tail -n 1";
    box.WaitUntil(
        [&] { return box.Sh("grep -c ':0015 00000000:0000 0A' /proc/net/tcp || true") != "0\n"; },
        "the FTP server to listen");
    return box.Sh("bash -c \"" + ask + "\"");
}

TEST(ServicesOfTheAppliance, TheFtpServerUsesTheSetting) {
    Appliance box;
    if (box.door().own_users) GTEST_SKIP() << "the server needs users other than root";
    ASSERT_EQ(box.Sh("command -v vsftpd"), "/usr/sbin/vsftpd\n");
    ServicesScreen t(box);
    Toggle(t, "Enable and initialize FTP service", "Disable FTP service");
    EXPECT_EQ(AnswerToTls(box), "530 Please login with USER and PASS.\r\n");
    Toggle(t, "Enable FTP SSL/TLS", "Disable FTP SSL/TLS");
    EXPECT_EQ(AnswerToTls(box), "234 Proceed with negotiation.\r\n");
    EXPECT_THAT(box.Sh("openssl s_client -nameopt RFC2253 -starttls ftp -connect 127.0.0.1:21 "
                       "</dev/null 2>&1"),
                HasSubstr("subject=CN=appliance"));
    Toggle(t, "Disable FTP SSL/TLS", "Enable FTP SSL/TLS");
    EXPECT_EQ(AnswerToTls(box), "530 Please login with USER and PASS.\r\n");
    Toggle(t, "Disable FTP service", "Enable FTP service");
    EXPECT_EQ(box.Sh("pidof vsftpd || echo none"), "none\n");
    EXPECT_EQ(box.Sh("diff /etc/vsftpd.conf.example /etc/vsftpd.conf.disabled"), "");
}

TEST(ServicesOfTheAppliance, CaptionSyncAndTheDesktopAreInstalled) {
    Appliance box;
    box.Sh(
        "/etc/init.d/service-caption-synchronizer start; touch /etc/local.desktop.vnc;"
        "/usr/share/tavrin/local-desktop-vnc start");
    ServicesScreen t(box);
    EXPECT_TRUE(box.Exists(kCaptionSyncPid));
    Toggle(t, "Disable caption synchronization", "Enable caption synchronization");
    EXPECT_FALSE(box.Exists(kCaptionSyncPid));
    Toggle(t, "Disable remote VNC access to local desktop",
           "Setup remote VNC access to local desktop");
    EXPECT_FALSE(box.Exists("/run/local-desktop-vnc.pid"));
    Toggle(t, "Enable and initialize SMB/CIFS service", "Disable SMB/CIFS service");
    EXPECT_TRUE(box.Exists("/run/smbd.pid"));
    EXPECT_TRUE(box.Exists("/run/nmbd.pid"));
    Toggle(t, "Disable SMB/CIFS service", "Enable SMB/CIFS service");
    EXPECT_FALSE(box.Exists("/run/smbd.pid"));
    EXPECT_FALSE(box.Exists("/run/nmbd.pid"));
}

}  // namespace
}  // namespace services
