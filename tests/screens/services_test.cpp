// The services screen: which rows it shows and why, what each row does to the machine, and the demo
// appliance's own services.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>

#include "services_fixtures.h"

namespace services {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// ---- rows ----

// If these files exist, `row` of the bare machine's rows is replaced by `instead`.
struct Change {
    Words files;
    std::string row;
    Words instead;
};

Words Changed(const Change& change) {
    Words rows;
    for (const std::string& row : kBareRows) {
        if (row == change.row) {
            rows.insert(rows.end(), change.instead.begin(), change.instead.end());
        } else {
            rows.push_back(row);
        }
    }
    return rows;
}

const char* const kNoFtp = "Enable and initialize FTP service";
const char* const kNoSmb = "Enable and initialize SMB/CIFS service";
const char* const kUiRow = "Disable reporting UI service";

// The row of the accounts is further down, so another row's change describes it.
void ExpectChanges(const std::vector<Change>& changes) {
    ServicesBox box;
    ServicesScreen t(box);
    for (const Change& change : changes) {
        SCOPED_TRACE(testing::PrintToString(change.files));
        for (const std::string& file : change.files)
            box.Make(file);
        t.Reopen();
        EXPECT_EQ(Rows(t), Changed(change));
        for (const std::string& file : change.files)
            box.Remove(file);
    }
    t.Reopen();
    EXPECT_EQ(Rows(t), kBareRows);
}

TEST(ServicesRows, AreThoseOfABareMachine) {
    ServicesBox box;
    ServicesScreen t(box);
    EXPECT_EQ(Rows(t), kBareRows);
}

TEST(ServicesRows, AreComplete) {
    ServicesBox box;
    for (const std::string& path : kProbed)
        box.Make(path, path == kFtp ? "ssl_enable=YES\n" : "");
    box.RunVolkeep();
    ServicesScreen t(box);
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

TEST(ServicesRows, ShowTheFtpServer) {
    ExpectChanges({{{kFtp}, kNoFtp, {"Disable FTP service", "Enable FTP SSL/TLS"}},
                   {{kFtpParked}, kNoFtp, {"Enable FTP service", "Enable FTP SSL/TLS"}},
                   {{kFtp, kFtpParked}, kNoFtp, {"Disable FTP service", "Enable FTP SSL/TLS"}}});
}

TEST(ServicesRows, ShowTheSmbServer) {
    ServicesBox box;
    ServicesScreen t(box);
    const auto with_accounts = [](const std::string& service) {
        Words rows = Changed({{}, kNoSmb, {service}});
        const auto place = std::find(rows.begin(), rows.end(), "Start web server");
        rows.insert(place, {"Configure SMB/CIFS user accounts", ""});
        return rows;
    };
    box.Make(kSmbParked);
    t.Reopen();
    EXPECT_EQ(Rows(t), with_accounts("Enable SMB/CIFS service"));
    box.Make(kSmb);
    t.Reopen();
    EXPECT_EQ(Rows(t), with_accounts("Disable SMB/CIFS service"));
    box.Remove(kSmbParked);
    t.Reopen();
    EXPECT_EQ(Rows(t), with_accounts("Disable SMB/CIFS service"));
}

TEST(ServicesRows, ShowWhatIsDisabled) {
    ExpectChanges(
        {{{kBackendOff},
          "Disable reporting backend services",
          {"Enable reporting backend services"}},
         {{kUiOff}, kUiRow, {"Enable reporting UI service"}},
         {{kCaptionSync}, kUiRow, {kUiRow, "Disable caption synchronization"}},
         {{kCaptionSync, kCaptionSyncOff}, kUiRow, {kUiRow, "Enable caption synchronization"}},
         {{kCaptionSyncOff}, kUiRow, {kUiRow}}});
}

TEST(ServicesRows, ShowWhatIsRunning) {
    ExpectChanges({{{kWebServerPid}, "Start web server", {"Stop web server"}},
                   {{kV5Pid}, "Start V5 interface", {"Stop V5 interface"}},
                   {{kReportingPid}, "Start reporting service", {"Stop reporting service"}},
                   {{kPublicReportingPid}, "Start reporting service", {"Stop reporting service"}},
                   {{kReportingPid, kPublicReportingPid},
                    "Start reporting service",
                    {"Stop reporting service"}},
                   // Running, but no row depends on it.
                   {{kCaptionSyncPid}, kUiRow, {kUiRow}}});
}

TEST(ServicesRows, ShowTheLocalDesktopAndItsRemoteAccess) {
    const std::string control = "web interface to start/stop local desktop";
    const std::string setup = "Setup remote VNC access to local desktop";
    const std::string access = "remote VNC access to local desktop";
    const std::string password = "Set remote VNC access password";
    ExpectChanges({
        {{kLocalDesktop}, kUiRow, {kUiRow, "", "Allow " + control}},
        {{kLocalDesktop, kWebControl}, kUiRow, {kUiRow, "", "Disallow " + control}},
        {{kVnc}, kUiRow, {kUiRow, "", setup}},
        {{kVnc, kVncOn}, kUiRow, {kUiRow, "", "Disable " + access}},
        {{kVnc, kVncPassword}, kUiRow, {kUiRow, "", "Enable " + access, password}},
        {{kVnc, kVncOn, kVncPassword}, kUiRow, {kUiRow, "", "Disable " + access, password}},
        {{kLocalDesktop, kVnc}, kUiRow, {kUiRow, "", "Allow " + control, setup}},
        // Settings of something that is not installed.
        {{kWebControl, kVncOn, kVncPassword}, kUiRow, {kUiRow}},
        {{kLocalDesktop, kVncOn, kVncPassword}, kUiRow, {kUiRow, "", "Allow " + control}},
        {{kVnc, kWebControl}, kUiRow, {kUiRow, "", setup}},
    });
}

TEST(ServicesRows, OnlyRegularFilesCount) {
    ServicesBox box;
    ServicesScreen t(box);
    box.Write("/mnt/regular", "ssl_enable=YES\n");
    for (const char* kind : {"ln -s /mnt/regular", "ln -s /mnt/missing", "mkdir", "mkfifo",
                             "ln -s /dev/null", "mknod --mode=644 $path c 1 3 #"}) {
        SCOPED_TRACE(kind);
        std::string make = "mkdir -p /etc/TAVRIN;";
        std::string remove = "rm -rf";
        for (const std::string& path : kProbed) {
            make += " path=" + path + "; " + kind + " $path\n";
            remove += " " + path;
        }
        if (std::string(kind).rfind("mknod", 0) == 0 && box.door().own_users) continue;
        box.Sh(make);
        t.Reopen();
        EXPECT_EQ(Rows(t), kBareRows);
        box.Sh(remove);
    }
}

TEST(ServicesRows, ALinkedFtpConfigurationIsParkedButStillRead) {
    ServicesBox box;
    box.Make("/mnt/real.conf", "ssl_enable=YES\n");
    box.Make(kFtpParked, "ssl_enable=NO\n");
    box.Sh(std::string("ln -s /mnt/real.conf ") + kFtp);
    ServicesScreen t(box);
    EXPECT_EQ(Rows(t), Changed({{}, kNoFtp, {"Enable FTP service", "Disable FTP SSL/TLS"}}));
}

TEST(ServicesRows, ShowTheTlsSettingOfEitherFile) {
    struct Setting {
        const char* file;
        const char* text;
        Words rows;
    };
    const Setting settings[] = {
        {kFtp, "listen=YES\nssl_enable=YES\n", {"Disable FTP service", "Disable FTP SSL/TLS"}},
        {kFtp, " ssl_enable =1\n", {"Disable FTP service", "Disable FTP SSL/TLS"}},
        {kFtp, "ssl_enable=yes", {"Disable FTP service", "Disable FTP SSL/TLS"}},
        {kFtp, "ssl_enable=YES \n", {"Disable FTP service", "Enable FTP SSL/TLS"}},
        {kFtp, "#ssl_enable=YES\n", {"Disable FTP service", "Enable FTP SSL/TLS"}},
        {kFtpParked,
         "ssl_enable=NO\nssl_enable=YES\n",
         {"Enable FTP service", "Disable FTP SSL/TLS"}},
        {kFtpParked, "ssl_enable=NO\n", {"Enable FTP service", "Enable FTP SSL/TLS"}},
    };
    ServicesBox box;
    ServicesScreen t(box);
    for (const Setting& setting : settings) {
        box.Make(setting.file, setting.text);
        t.Reopen();
        EXPECT_EQ(Rows(t), Changed({{}, kNoFtp, setting.rows})) << setting.text;
        box.Remove(setting.file);
    }
}

TEST(ServicesRows, ShowDiskManagementByItsProcess) {
    ServicesBox box;
    // Another program of the same name is not the daemon; nor does the daemon's file alone count.
    box.InstallVolkeep();
    box.Sh(
        "mkdir /mnt/other; cp /bin/sleep /mnt/other/volkeep;"
        "setsid /mnt/other/volkeep infinity </dev/null >/dev/null 2>&1 &");
    ServicesScreen t(box);
    EXPECT_EQ(Rows(t), kBareRows);
    box.RunVolkeep();
    t.Reopen();
    const Change running = {{}, "Start volkeep disk management", {"Stop volkeep disk management"}};
    EXPECT_EQ(Rows(t), Changed(running));
    // An update replaces the program of the running daemon.
    box.Sh("rm /usr/sbin/volkeep; cp /bin/sleep /usr/sbin/volkeep");
    t.Reopen();
    EXPECT_EQ(Rows(t), Changed(running));
    box.Sh("killall volkeep; while killall -q -s 0 volkeep; do sleep 0.02; done");
    t.Reopen();
    EXPECT_EQ(Rows(t), kBareRows);
}

// ---- looks ----

constexpr const char* kAllFiles[] = {kFtp, kSmb, kCaptionSync, kLocalDesktop, kVnc, kVncPassword};

void InstallAll(ServicesBox& box) {
    for (const char* path : kAllFiles)
        box.Make(path);
}

TEST(ServicesLook, TitleAndRowsFillTheScreen) {
    ServicesBox box;
    for (const auto& [rows, cols] : {std::pair{24, 80}, {43, 132}}) {
        SCOPED_TRACE(cols);
        ServicesScreen t(box, OfSize(rows, cols));
        EXPECT_EQ(t.Row(0) + t.Row(1) + t.Row(3), "");
        EXPECT_EQ(t.Row(2), "Services");
        EXPECT_EQ(t.Cell(2, 0).Style(), "white/black");
        // A selected row reaches from column 4 to the last column but one.
        EXPECT_EQ(t.SelectedRow(), kFirstLine);
        EXPECT_NE(t.Cell(kFirstLine, 3).bg, kBlue);
        for (int col = 4; col < cols - 1; col++) {
            if (t.Cell(kFirstLine, col).reverse) continue;  // the hot key
            EXPECT_EQ(t.Cell(kFirstLine, col).bg, kBlue) << col;
        }
        EXPECT_NE(t.Cell(kFirstLine, cols - 1).bg, kBlue);
        const Cell unselected = t.Cell(kFirstLine + 1, kFirstColumn);
        EXPECT_EQ(unselected.Style(), "white/black bold");
    }
}

TEST(ServicesLook, HotKeysAreMarked) {
    struct Mark {
        const char* row;
        char letter;  // as shown in the row; 0 for none
        int column;   // in the row
    };
    const Mark marks[] = {{"Disable FTP service", 'F', 8},
                          {"Enable FTP SSL/TLS", 0, 0},
                          {"Disable SMB/CIFS service", 's', 2},
                          {"Disable reporting backend services", 'b', 4},
                          {"Disable reporting UI service", 'U', 18},
                          {"Disable caption synchronization", 'c', 8},
                          {"Allow web interface to start/stop local desktop", 'l', 1},
                          {"Enable remote VNC access to local desktop", 'V', 14},
                          {"Set remote VNC access password", 0, 0},
                          {"Configure SMB/CIFS user accounts", 'S', 10},
                          {"Start web server", 'w', 6},
                          {"Start V5 interface", '5', 7},
                          {"Start reporting service", 'S', 0},
                          {"Start volkeep disk management", 'd', 14},
                          {"Main menu", 'M', 0}};
    ServicesBox box;
    InstallAll(box);
    ServicesScreen t(box);
    t.Press("<Down>");  // the row without a hot key
    t.WaitSelected("Enable FTP SSL/TLS");
    for (const Mark& mark : marks) {
        const int line = t.Find(mark.row);
        ASSERT_GE(line, 0) << mark.row;
        Words yellow;
        for (int col = 0; col < t.cols(); col++) {
            const Cell cell = t.Cell(line, col);
            if (cell.fg == kYellow || cell.reverse) {
                yellow.push_back(cell.text + " " + std::to_string(col) + " " + cell.Style());
            }
        }
        Words expected;
        if (mark.letter != 0) {
            expected.push_back(std::string(1, mark.letter) + " " +
                               std::to_string(kFirstColumn + mark.column) + " yellow/black bold");
        }
        EXPECT_EQ(yellow, expected) << mark.row;
    }
}

TEST(ServicesLook, ASmallTerminalScrolls) {
    ServicesBox box;
    InstallAll(box);
    ServicesScreen t(box, OfSize(12, 40));  // room for seven rows
    EXPECT_EQ(Rows(t).size(), 6u);          // the seventh is a separator
    EXPECT_EQ(Rows(t).front(), "Disable FTP service");
    t.Press("<Up>");
    t.WaitSelected("Main menu");
    EXPECT_EQ(t.SelectedRow(), 10);
    EXPECT_EQ(t.Row(2), "Services");
    EXPECT_EQ(t.Row(11), "");
    EXPECT_EQ(Rows(t), (Words{"Start web server", "Start V5 interface", "Start reporting service",
                              "", "Start volkeep disk management", "", "Main menu"}));
}

TEST(ServicesLook, ALongRowIsCutAtTheEdge) {
    ServicesBox box;
    box.Make(kLocalDesktop);
    ServicesScreen t(box, OfSize(24, 30));
    EXPECT_THAT(Rows(t), Contains("Allow web interface to st"));
}

TEST(ServicesLook, ResizingRepaintsWithoutProbing) {
    ServicesBox box;
    ServicesScreen t(box, OfSize(24, 80));
    box.Make(kWebServerPid);
    t.Resize(40, 120);
    t.WaitUntil([&] { return t.Cell(kFirstLine, 118).bg == kBlue; }, "rows of the new width");
    t.Settle();
    EXPECT_EQ(Rows(t), kBareRows);
    t.Resize(9, 30);
    t.WaitUntil([&] { return t.Row(8).empty(); }, "rows of the new height");
    t.Settle();
    EXPECT_EQ(Rows(t), (Words{"Enable and initialize FTP", "Enable and initialize SMB",
                              "Disable reporting backend", "Disable reporting UI serv"}));
    t.Resize(30, 80);
    t.WaitFor("Main menu");
    t.Reopen();
    EXPECT_THAT(Rows(t), Contains("Stop web server"));
}

// ---- keys and the mouse ----

TEST(ServicesKeys, SelectTheirRows) {
    ServicesBox box;
    InstallAll(box);
    ServicesScreen t(box);
    const std::pair<const char*, const char*> keys[] = {
        {"b", "Disable reporting backend services"},
        {"u", "Disable reporting UI service"},
        {"c", "Disable caption synchronization"},
        {"l", "Allow web interface to start/stop local desktop"},
        {"v", "Enable remote VNC access to local desktop"},
        {"w", "Start web server"},
        {"5", "Start V5 interface"},
        {"d", "Start volkeep disk management"},
        {"m", "Main menu"},
        {"f", "Disable FTP service"},
    };
    for (const auto& [key, row] : keys) {
        t.Press(key);
        t.Settle();
        EXPECT_EQ(t.Selected(), row) << key;
        // Pressed again, it stays: no other row has the key.
        t.Press(key);
        t.Settle();
        EXPECT_EQ(t.Selected(), row) << key;
    }
    EXPECT_THAT(box.CallLines(), IsEmpty());
}

TEST(ServicesKeys, ThreeRowsShareAHotKey) {
    ServicesBox box;
    InstallAll(box);
    ServicesScreen t(box);
    for (int round = 0; round < 2; round++) {
        for (const char* row : {"Disable SMB/CIFS service", "Configure SMB/CIFS user accounts",
                                "Start reporting service"}) {
            t.Press("s");
            t.Settle();
            EXPECT_EQ(t.Selected(), row);
        }
    }
}

TEST(ServicesKeys, TwoRowsHaveNoHotKey) {
    ServicesBox box;
    InstallAll(box);
    ServicesScreen t(box);
    for (const char* key : {"t", "p", "e", "o", "r", "i", "a", "n", "x", "1", "S"}) {
        t.Press(key);
        t.Settle();
        EXPECT_EQ(t.Selected(), "Disable FTP service") << key;
    }
}

TEST(ServicesKeys, TheReportingRowIsClosedWhenBothHalvesAreDisabled) {
    ServicesBox box;
    box.Make(kSmb);
    for (const char* pid_file : {"", kReportingPid}) {
        SCOPED_TRACE(pid_file);
        const std::string row =
            *pid_file == '\0' ? "Start reporting service" : "Stop reporting service";
        if (*pid_file != '\0') box.Make(pid_file);
        // One half alone does not close the row.
        for (const char* half : {kBackendOff, kUiOff}) {
            box.Make(half);
            ServicesScreen t(box);
            EXPECT_TRUE(t.Cell(t.Find(row), kFirstColumn + 2).bold);
            t.Press("sss");
            t.Settle();
            EXPECT_EQ(t.Selected(), row);
            box.Remove(half);
        }
        box.Make(kBackendOff);
        box.Make(kUiOff);
        ServicesScreen t(box);
        const int line = t.Find(row);
        ASSERT_GE(line, 0);
        EXPECT_TRUE(t.Cell(line, kFirstColumn + 2).dim);
        EXPECT_FALSE(t.Cell(line, kFirstColumn + 2).bold);
        // Its hot key skips it, and so do the arrow keys and the mouse.
        t.Press("sss");
        t.Settle();
        EXPECT_EQ(t.Selected(), "Disable SMB/CIFS service");
        t.Press("5<Down>");
        t.Settle();
        EXPECT_EQ(t.Selected(), "Start volkeep disk management");
        t.Press("<Up>");
        t.Settle();
        EXPECT_EQ(t.Selected(), "Start V5 interface");
        t.Click(line, kFirstColumn + 2);
        // A click outside all rows selects the first.
        t.WaitUntil([&] { return t.SelectedRow() == kFirstLine; }, "the first row to be selected");
        box.Remove(kBackendOff);
        box.Remove(kUiOff);
    }
    EXPECT_THAT(box.CallLines(), IsEmpty());
}

TEST(ServicesKeys, EnterOnASeparatorDoesNothing) {
    ServicesBox box;
    ServicesScreen t(box, OfSize(10, 80));  // room for five rows
    // A page key selects the last row of the page, then moves on by a page less one row.
    for (int page = 0; page < 2; page++) {
        t.Press("<PageDown>");
        t.Settle();
        EXPECT_EQ(t.SelectedRow(), 8);
        EXPECT_EQ(t.Selected(), "");
        t.Press("<Enter>");
        t.Settle();
        EXPECT_EQ(t.Row(2), "Services");
        EXPECT_EQ(t.SelectedRow(), 8);
    }
    EXPECT_THAT(box.CallLines(), IsEmpty());
}

TEST(ServicesKeys, AClickSelectsAndAClickOnTheSelectedRowActs) {
    ServicesBox box;
    ServicesScreen t(box);
    const int line = t.Find("Disable reporting UI service");
    t.Click(line, 10);
    t.WaitSelected("Disable reporting UI service");
    t.Settle();
    EXPECT_FALSE(box.Exists(kUiOff));
    t.Click(line, 10);
    t.WaitFor("Enable reporting UI service");
    EXPECT_TRUE(box.Exists(kUiOff));
}

TEST(ServicesKeys, LeaveTheScreen) {
    ServicesBox box;
    ServicesScreen t(box);
    for (const char* keys : {"m<Enter>", "<Esc>", "<Backspace>"}) {
        t.Press(keys);
        t.WaitFor("Exit this program");
        EXPECT_EQ(t.Selected(), "Services") << keys;
        t.Press("<Enter>");
        WaitForTitle(t, "Services");
    }
    EXPECT_THAT(box.CallLines(), IsEmpty());
}

// ---- actions ----

struct Deed {
    const char* row;
    Words calls;
    const char* after;  // a row that the screen shows only afterwards
};

constexpr double kPauseSeconds = 1.0;

// Activates the row, and checks the commands, their terminal, and that the screen is back at once
// or after the pause.
void Do(ServicesBox& box, Terminal& t, const Deed& deed, bool pauses = false,
        Place place = Place::Here()) {
    const testing::ScopedTrace from(place.file, place.line, deed.row);
    ASSERT_THAT(Rows(t), Not(Contains(deed.after)));
    Select(t, deed.row, place);
    box.ForgetCalls();
    t.Mark();
    t.Press("<Enter>", place);
    t.WaitUntil([&] { return testing::Value(Rows(t), Contains(deed.after)); }, deed.after,
                Terminal::kPatience, place);
    const double back = Now();
    t.Settle(Terminal::kPatience, place);
    EXPECT_EQ(box.CallLines(), deed.calls);
    EXPECT_EQ(t.Row(2), "Services");
    EXPECT_EQ(LeftItsScreen(t), !deed.calls.empty());
    EXPECT_THAT(t.Output(), Not(HasSubstr("enter to continue")));
    const std::vector<Call> calls = box.Calls();
    ExpectPlainTerminal(calls, place);
    if (calls.empty()) return;
    const double since_last = back - calls.back().seconds;
    const double in_all = back - calls.front().seconds;
    if (pauses) {
        EXPECT_GE(since_last, kPauseSeconds);
        EXPECT_LT(in_all, 2 * kPauseSeconds);
    } else {
        EXPECT_LT(in_all, kPauseSeconds);
    }
}

void DoWithPause(ServicesBox& box, Terminal& t, const Deed& deed, Place place = Place::Here()) {
    Do(box, t, deed, true, place);
}

TEST(ServicesActions, FtpSettingsAreParkedAndRestored) {
    ServicesBox box;
    box.Make(kFtp, "listen=YES\n");
    ServicesScreen t(box);
    Do(box, t,
       {"Disable FTP service",
        {"/etc/init.d/service-vsftpd stop", "mv -v /etc/vsftpd.conf /etc/vsftpd.conf.disabled"},
        "Enable FTP service"});
    EXPECT_FALSE(box.Exists(kFtp));
    EXPECT_EQ(box.Read(kFtpParked), "listen=YES\n");
    EXPECT_EQ(box.Seen("service-vsftpd stop"), "/etc/vsftpd.conf\n");
    // The output of the commands goes to the plain terminal.
    EXPECT_THAT(t.Output(), HasSubstr("'/etc/vsftpd.conf' -> '/etc/vsftpd.conf.disabled'"));
    EXPECT_FALSE(t.Shows("->"));
    Do(box, t,
       {"Enable FTP service",
        {"mv -v /etc/vsftpd.conf.disabled /etc/vsftpd.conf", "/etc/init.d/service-vsftpd start"},
        "Disable FTP service"});
    EXPECT_FALSE(box.Exists(kFtpParked));
    EXPECT_EQ(box.Read(kFtp), "listen=YES\n");
    EXPECT_EQ(box.Seen("service-vsftpd start"), "/etc/vsftpd.conf\n");
}

TEST(ServicesActions, FtpIsInitializedFromTheExample) {
    ServicesBox box;
    box.Write("/etc/vsftpd.conf.example", "listen=NO\nssl_enable=YES\n");
    ServicesScreen t(box);
    Do(box, t,
       {"Enable and initialize FTP service",
        {"mv -v /etc/vsftpd.conf.disabled /etc/vsftpd.conf",
         "cp -v /etc/vsftpd.conf.example /etc/vsftpd.conf", "/etc/init.d/service-vsftpd start"},
        "Disable FTP SSL/TLS"});
    EXPECT_EQ(box.Read(kFtp), "listen=NO\nssl_enable=YES\n");
    EXPECT_TRUE(box.Exists("/etc/vsftpd.conf.example"));
}

TEST(ServicesActions, WithoutAnExampleTheServicesStayUninitialized) {
    ServicesBox box;
    ServicesScreen t(box);
    t.Press("<Enter>");
    box.WaitForCalls("/etc/init.d/service-vsftpd", 1);
    t.Settle();
    t.Press("s<Enter>");
    box.WaitForCalls("/etc/init.d/service-nmbd", 1);
    t.Settle();
    EXPECT_EQ(box.CallLines(),
              (Words{"mv -v /etc/vsftpd.conf.disabled /etc/vsftpd.conf",
                     "cp -v /etc/vsftpd.conf.example /etc/vsftpd.conf",
                     "/etc/init.d/service-vsftpd start",
                     "mv -v /etc/samba/smb.conf.disabled /etc/samba/smb.conf",
                     "cp -v /etc/samba/smb.conf.example /etc/samba/smb.conf",
                     "/etc/init.d/service-smbd start", "/etc/init.d/service-nmbd start"}));
    t.WaitFor("Main menu");
    EXPECT_EQ(Rows(t), kBareRows);
}

TEST(ServicesActions, SmbSettingsAreParkedAndRestored) {
    ServicesBox box;
    box.Make(kSmb, "[global]\n");
    ServicesScreen t(box);
    Do(box, t,
       {"Disable SMB/CIFS service",
        {"/etc/init.d/service-smbd stop", "/etc/init.d/service-nmbd stop",
         "mv -v /etc/samba/smb.conf /etc/samba/smb.conf.disabled"},
        "Enable SMB/CIFS service"});
    EXPECT_EQ(box.Read(kSmbParked), "[global]\n");
    EXPECT_EQ(box.Seen("service-nmbd stop"), "/etc/samba/smb.conf\n");
    Do(box, t,
       {"Enable SMB/CIFS service",
        {"mv -v /etc/samba/smb.conf.disabled /etc/samba/smb.conf", "/etc/init.d/service-smbd start",
         "/etc/init.d/service-nmbd start"},
        "Disable SMB/CIFS service"});
    EXPECT_EQ(box.Read(kSmb), "[global]\n");
    EXPECT_EQ(box.Seen("service-smbd start"), "/etc/samba/smb.conf\n");
}

TEST(ServicesActions, SmbIsInitializedFromTheExample) {
    ServicesBox box;
    box.Write("/etc/samba/smb.conf.example", "[global]\n# example\n");
    ServicesScreen t(box);
    Do(box, t,
       {"Enable and initialize SMB/CIFS service",
        {"mv -v /etc/samba/smb.conf.disabled /etc/samba/smb.conf",
         "cp -v /etc/samba/smb.conf.example /etc/samba/smb.conf", "/etc/init.d/service-smbd start",
         "/etc/init.d/service-nmbd start"},
        "Configure SMB/CIFS user accounts"});
    EXPECT_EQ(box.Read(kSmb), "[global]\n# example\n");
}

TEST(ServicesActions, TheExampleDoesNotOverwriteNewSettings) {
    ServicesBox box;
    for (const char* settings : {kFtp, kSmb})
        box.Write(std::string(settings) + ".example", "example\n");
    ServicesScreen t(box);
    for (const char* settings : {kFtp, kSmb})
        box.Make(settings, "own\n");
    Do(box, t, {"Enable and initialize FTP service", {}, "Disable FTP service"});
    box.Remove(kSmb);
    box.Make(kSmbParked, "parked\n");
    t.Press("m<Enter>s<Enter>");
    t.WaitFor("Enable SMB/CIFS service");
    t.Settle();
    box.Make(kSmb, "own\n");
    Do(box, t, {"Enable SMB/CIFS service", {}, "Disable SMB/CIFS service"});
    EXPECT_EQ(box.Read(kFtp), "own\n");
    EXPECT_EQ(box.Read(kSmb), "own\n");
    EXPECT_EQ(box.Read(kSmbParked), "parked\n");
}

TEST(ServicesActions, ChangingFtpTlsStopsTheServerMeanwhile) {
    ServicesBox box;
    box.StandInScript("/etc/init.d/service-vsftpd", "/bin/cp /etc/vsftpd.conf /mnt/seen/at-$1");
    box.Make(kFtp, "# The server\r\n  ssl_enable = YES\n\tlisten=YES");
    box.Make(kFtpParked, "ssl_enable=YES\n");
    ServicesScreen t(box);
    const Words around = {"/etc/init.d/service-vsftpd stop", "/etc/init.d/service-vsftpd start"};
    Do(box, t, {"Disable FTP SSL/TLS", around, "Enable FTP SSL/TLS"});
    EXPECT_EQ(box.Read("/mnt/seen/at-stop"), "# The server\r\n  ssl_enable = YES\n\tlisten=YES");
    EXPECT_EQ(box.Read("/mnt/seen/at-start"), "# The server\nssl_enable=NO\n\tlisten=YES\n");
    EXPECT_EQ(box.Read(kFtp), "# The server\nssl_enable=NO\n\tlisten=YES\n");
    Do(box, t, {"Enable FTP SSL/TLS", around, "Disable FTP SSL/TLS"});
    EXPECT_EQ(box.Read(kFtp), "# The server\nssl_enable=YES\n\tlisten=YES\n");
    EXPECT_EQ(box.Read(kFtpParked), "ssl_enable=YES\n");
    EXPECT_FALSE(box.Exists("/etc/vsftpd.conf.tmp"));
}

TEST(ServicesActions, ChangingFtpTlsOfTheParkedFileRunsNothing) {
    ServicesBox box;
    box.Make(kFtpParked, "ssl_enable=NO\nssl_enable=0\n");
    ServicesScreen t(box);
    Choose(t, "Enable FTP SSL/TLS");
    t.WaitFor("Disable FTP SSL/TLS");
    EXPECT_EQ(box.Read(kFtpParked), "ssl_enable=YES\nssl_enable=YES\n");
    EXPECT_FALSE(box.Exists(kFtp));
    EXPECT_THAT(box.CallLines(), IsEmpty());
    Choose(t, "Disable FTP SSL/TLS");
    t.WaitFor("Enable FTP SSL/TLS");
    EXPECT_EQ(box.Read(kFtpParked), "ssl_enable=NO\nssl_enable=NO\n");
    EXPECT_EQ(box.Sh("ls /etc | grep vsftpd"), "vsftpd.conf.disabled\n");
    EXPECT_THAT(box.CallLines(), IsEmpty());
}

// There is no line to change, so the server is restarted for nothing.
TEST(ServicesActions, FtpTlsWithoutASettingStaysOff) {
    ServicesBox box;
    box.Make(kFtp, "listen=YES\n");
    ServicesScreen t(box);
    Choose(t, "Enable FTP SSL/TLS");
    box.WaitForCalls("/etc/init.d/service-vsftpd", 2);
    t.WaitFor("Enable FTP SSL/TLS");
    t.Settle();
    EXPECT_EQ(box.CallLines(),
              (Words{"/etc/init.d/service-vsftpd stop", "/etc/init.d/service-vsftpd start"}));
    EXPECT_EQ(box.Read(kFtp), "listen=YES\n");
}

TEST(ServicesActions, DisablingReportingStopsItAndEnablingStartsNothing) {
    ServicesBox box;
    ServicesScreen t(box);
    Do(box, t,
       {"Disable reporting backend services",
        {"/etc/init.d/service-tavrin4-reporting2 stop",
         "/etc/init.d/service-tavrin4-reporting stop", "/etc/init.d/service-reporting-ingest stop",
         "/etc/init.d/service-reporting-rejoin stop"},
        "Enable reporting backend services"});
    EXPECT_EQ(box.Read(kBackendOff), "");
    EXPECT_EQ(box.ModeOf(kBackendOff), "644\n");
    // A script that checks must find it disabled.
    EXPECT_THAT(box.Seen("service-tavrin4-reporting2 stop"), HasSubstr(kBackendOff));
    Do(box, t,
       {"Disable reporting UI service",
        {"/etc/init.d/service-tavrin4-reporting-public stop"},
        "Enable reporting UI service"});
    EXPECT_EQ(box.Read(kUiOff), "");
    EXPECT_EQ(box.ModeOf(kUiOff), "644\n");
    EXPECT_THAT(box.Seen("service-tavrin4-reporting-public stop"), HasSubstr(kUiOff));
    Do(box, t, {"Enable reporting backend services", {}, "Disable reporting backend services"});
    EXPECT_FALSE(box.Exists(kBackendOff));
    EXPECT_TRUE(box.Exists(kUiOff));
    Do(box, t, {"Enable reporting UI service", {}, "Disable reporting UI service"});
    EXPECT_FALSE(box.Exists(kUiOff));
}

TEST(ServicesActions, DisablingCaptionSyncStopsItAndEnablingStartsNothing) {
    ServicesBox box;
    box.Service(kCaptionSync);
    ServicesScreen t(box);
    Do(box, t,
       {"Disable caption synchronization",
        {"/etc/init.d/service-caption-synchronizer stop"},
        "Enable caption synchronization"});
    EXPECT_EQ(box.Read(kCaptionSyncOff), "");
    EXPECT_EQ(box.ModeOf(kCaptionSyncOff), "644\n");
    EXPECT_THAT(box.Seen("service-caption-synchronizer stop"), HasSubstr(kCaptionSyncOff));
    Do(box, t, {"Enable caption synchronization", {}, "Disable caption synchronization"});
    EXPECT_FALSE(box.Exists(kCaptionSyncOff));
}

TEST(ServicesActions, WebDesktopControlIsOnlyAMarker) {
    ServicesBox box;
    box.Make(kLocalDesktop);
    ServicesScreen t(box);
    Do(box, t,
       {"Allow web interface to start/stop local desktop",
        {},
        "Disallow web interface to start/stop local desktop"});
    EXPECT_EQ(box.Read(kWebControl), "");
    EXPECT_EQ(box.ModeOf(kWebControl), "644\n");
    Do(box, t,
       {"Disallow web interface to start/stop local desktop",
        {},
        "Allow web interface to start/stop local desktop"});
    EXPECT_FALSE(box.Exists(kWebControl));
}

TEST(ServicesActions, TheWebServerStartsAndStopsWithAPause) {
    ServicesBox box;
    ServicesScreen t(box);
    DoWithPause(box, t,
                {"Start web server", {"/etc/init.d/service-apache start"}, "Stop web server"});
    DoWithPause(box, t,
                {"Stop web server", {"/etc/init.d/service-apache stop"}, "Start web server"});
}

TEST(ServicesActions, TheV5InterfaceStartsAndStopsWithAPause) {
    ServicesBox box;
    ServicesScreen t(box);
    DoWithPause(
        box, t,
        {"Start V5 interface", {"/etc/init.d/service-control-api start"}, "Stop V5 interface"});
    DoWithPause(
        box, t,
        {"Stop V5 interface", {"/etc/init.d/service-control-api stop"}, "Start V5 interface"});
}

// Three are started and five stopped: the other two start on their own.
TEST(ServicesActions, ReportingStartsAndStopsWithAPause) {
    ServicesBox box;
    ServicesScreen t(box);
    DoWithPause(box, t,
                {"Start reporting service",
                 {"/etc/init.d/service-tavrin4-reporting start",
                  "/etc/init.d/service-tavrin4-reporting2 start",
                  "/etc/init.d/service-tavrin4-reporting-public start"},
                 "Stop reporting service"});
    DoWithPause(
        box, t,
        {"Stop reporting service",
         {"/etc/init.d/service-tavrin4-reporting stop",
          "/etc/init.d/service-tavrin4-reporting2 stop",
          "/etc/init.d/service-tavrin4-reporting-public stop",
          "/etc/init.d/service-reporting-ingest stop", "/etc/init.d/service-reporting-rejoin stop"},
         "Start reporting service"});
}

TEST(ServicesActions, ThePauseIsOnThePlainTerminal) {
    ServicesBox box;
    ServicesScreen t(box);
    Choose(t, "Start web server");
    box.WaitForCalls("/etc/init.d/service-apache", 1);
    t.WaitUntil([&] { return t.Children() == 0; }, "the end of the command");
    EXPECT_TRUE(t.LineMode());
    EXPECT_FALSE(t.AltScreen());
    EXPECT_FALSE(t.Shows("Services"));
    t.WaitFor("Stop web server");
    EXPECT_FALSE(t.LineMode());
    EXPECT_TRUE(t.AltScreen());
}

TEST(ServicesActions, AFailingCommandChangesNothingElse) {
    ServicesBox box;
    for (const char* script :
         {"tavrin4-reporting2", "tavrin4-reporting", "reporting-ingest", "reporting-rejoin"}) {
        box.StandIn(std::string("/etc/init.d/service-") + script, "it failed\n", 1);
    }
    box.Remove("/etc/init.d/service-reporting-ingest");
    ServicesScreen t(box);
    Choose(t, "Disable reporting backend services");
    t.WaitFor("Enable reporting backend services");
    t.Settle();
    EXPECT_EQ(box.CallLines(), (Words{"/etc/init.d/service-tavrin4-reporting2 stop",
                                      "/etc/init.d/service-tavrin4-reporting stop",
                                      "/etc/init.d/service-reporting-rejoin stop"}));
    EXPECT_FALSE(t.Shows("it failed"));
    EXPECT_FALSE(t.Shows("not found"));
}

TEST(ServicesActions, AMarkerThatCannotBeCreatedIsNotReported) {
    ServicesBox box;
    // There is a file in place of the folder of the markers.
    box.Remove("/etc/TAVRIN");
    box.Write("/etc/TAVRIN", "");
    ServicesScreen t(box);
    Choose(t, "Disable reporting UI service");
    box.WaitForCalls("/etc/init.d/service-tavrin4-reporting-public", 1);
    t.WaitFor("Main menu");
    t.Settle();
    EXPECT_EQ(Rows(t), kBareRows);
}

// ---- disk management ----

constexpr const char* kVolkeepQuestion =
    "Stopping this service will umount the main partition and everything using it! "
    "Are you sure?";

TEST(ServicesVolkeep, StartsWithoutAQuestion) {
    ServicesBox box;
    box.InstallVolkeep();
    ServicesScreen t(box);
    DoWithPause(
        box, t,
        {"Start volkeep disk management", {"volkeep-start"}, "Stop volkeep disk management"});
    EXPECT_THAT(t.Output(), Not(HasSubstr("Are you sure")));
    EXPECT_TRUE(box.VolkeepRuns());
}

TEST(ServicesVolkeep, AsksBeforeItStops) {
    ServicesBox box;
    box.RunVolkeep();
    ServicesScreen t(box, OfSize(30, 100));
    Choose(t, "Stop volkeep disk management");
    t.WaitFor("Are you sure?");
    t.Settle();
    EXPECT_EQ(t.Row(0), kVolkeepQuestion);
    EXPECT_EQ(t.Row(2), "  [ YES  ]");
    EXPECT_EQ(t.Row(4), "  [  NO  ]");
    EXPECT_EQ(t.Row(1) + t.Row(3) + t.Row(5) + t.Row(20), "");
    t.Press("<Enter>x");
    t.Settle();
    EXPECT_EQ(t.Row(0), kVolkeepQuestion);
    EXPECT_THAT(box.CallLines(), IsEmpty());
    t.Press("y");
    box.WaitForCalls("volkeep-stop", 1);
    t.WaitFor("Start volkeep disk management");
    const double back = Now();
    EXPECT_GE(back - box.Calls("volkeep-stop")[0].seconds, kPauseSeconds);
    EXPECT_EQ(box.CallLines(), Words{"volkeep-stop"});
    ExpectPlainTerminal(box.Calls());
    EXPECT_FALSE(box.VolkeepRuns());
}

TEST(ServicesVolkeep, DecliningRunsAndProbesNothing) {
    ServicesBox box;
    box.RunVolkeep();
    ServicesScreen t(box, OfSize(30, 100));
    for (const char* no : {"n", "N", "q", "<Esc>", "<Backspace>"}) {
        SCOPED_TRACE(no);
        Choose(t, "Stop volkeep disk management");
        t.WaitFor("Are you sure?");
        t.Mark();
        // What has happened meanwhile is not shown yet.
        box.Make(kWebServerPid);
        t.Press(no);
        WaitForTitle(t, "Services");
        t.Settle();
        EXPECT_EQ(t.Selected(), "Stop volkeep disk management");
        EXPECT_THAT(Rows(t), Contains("Start web server"));
        EXPECT_FALSE(t.Shows("Are you sure?"));
        EXPECT_FALSE(LeftItsScreen(t));
        box.Remove(kWebServerPid);
    }
    // Nor is it shown later: only the next action probes again.
    box.Make(kWebServerPid);
    t.Press("u<Enter>");
    t.WaitFor("Enable reporting UI service");
    EXPECT_TRUE(t.Shows("Stop web server"));
    EXPECT_EQ(box.CallLines(), Words{"/etc/init.d/service-tavrin4-reporting-public stop"});
    EXPECT_TRUE(box.VolkeepRuns());
}

// ---- probing ----

TEST(ServicesProbes, TheFolderOfTheMarkersIsCreated) {
    ServicesBox box;
    box.Remove("/etc/TAVRIN");
    ServicesScreen t(box);
    EXPECT_EQ(box.Sh("stat -c '%F %a' /etc/TAVRIN; ls -A /etc/TAVRIN"), "directory 644\n");
    // Root finds its markers, although the folder has no search bits.
    t.Press("u<Enter>");
    t.WaitFor("Enable reporting UI service");
    EXPECT_EQ(box.Sh("ls -A /etc/TAVRIN"), "disable.reporting.ui\n");
}

TEST(ServicesProbes, AnExistingFolderOfTheMarkersIsKept) {
    ServicesBox box;
    box.Sh("chmod 700 /etc/TAVRIN; touch /etc/TAVRIN/other");
    ServicesScreen t(box);
    EXPECT_EQ(box.Sh("stat -c '%F %a' /etc/TAVRIN; ls -A /etc/TAVRIN"), "directory 700\nother\n");
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
        "-D", "-o", "/mnt/trace", "-e", "trace=mkdir,lstat,newfstatat,open,openat", IFMENU_PROGRAM};
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
            Place place = Place::Here()) {
    Choose(t, row, place);
    t.WaitFor(after, Terminal::kPatience, place);
    t.Settle(Terminal::kPatience, place);
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
    Choose(t, "Stop volkeep disk management");
    t.WaitFor(kVolkeepQuestion);
    t.Press("y");
    t.WaitFor("Start volkeep disk management");
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
