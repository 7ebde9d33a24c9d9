// Shared by the tests of the services, the SMB/CIFS accounts and the VNC password: a machine whose
// services the test sets up, and ways to the services screen.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "actions.h"
#include "machine.h"
#include "terminal.h"

namespace services {

using namespace harness;

// The first line and column of the rows on the screen.
constexpr int kFirstLine = 4;
constexpr int kFirstColumn = 4;

constexpr const char* kFtp = "/etc/vsftpd.conf";
constexpr const char* kFtpParked = "/etc/vsftpd.conf.disabled";
constexpr const char* kSmb = "/etc/samba/smb.conf";
constexpr const char* kSmbParked = "/etc/samba/smb.conf.disabled";
constexpr const char* kBackendOff = "/etc/TAVRIN/disable.reporting";
constexpr const char* kUiOff = "/etc/TAVRIN/disable.reporting.ui";
constexpr const char* kWebServerPid = "/var/httpd.pid";
// The program uses /var/run, a link that would lead to the host's folder from outside.
constexpr const char* kV5Pid = "/run/tavrin.control.api.pid";
constexpr const char* kReportingPid = "/run/uwsgi.tavrin.reporting.pid";
constexpr const char* kPublicReportingPid = "/run/uwsgi.tavrin.reporting.public-uwsgi.pid";
constexpr const char* kCaptionSyncPid = "/run/tavrin.caption.synchronizer.pid";
constexpr const char* kCaptionSync = "/etc/init.d/service-caption-synchronizer";
constexpr const char* kCaptionSyncOff = "/etc/caption-sync.disabled";
constexpr const char* kWebControl = "/etc/local.desktop.webui.ctl";
constexpr const char* kLocalDesktop = "/usr/share/tavrin/local-desktop";
constexpr const char* kVncOn = "/etc/local.desktop.vnc";
constexpr const char* kVncPassword = "/etc/local.desktop.vnc.passwd";
constexpr const char* kVnc = "/usr/share/tavrin/local-desktop-vnc";

// Every file whose presence the screen shows.
inline const Words kProbed = {
    kFtp,          kFtpParked,    kSmb,          kSmbParked,          kBackendOff,  kUiOff,
    kWebServerPid, kV5Pid,        kReportingPid, kPublicReportingPid, kCaptionSync, kCaptionSyncOff,
    kWebControl,   kLocalDesktop, kVncOn,        kVncPassword,        kVnc};

// The screen of a machine that has none of them.
inline const Words kBareRows = {"Enable and initialize FTP service",
                                "Enable and initialize SMB/CIFS service",
                                "Disable reporting backend services",
                                "Disable reporting UI service",
                                "",
                                "Start web server",
                                "Start V5 interface",
                                "Start reporting service",
                                "",
                                "Start volkeep disk management",
                                "",
                                "Main menu"};

// A machine without any service. The services' scripts only record their calls and which of the
// files above existed meanwhile (Seen). Calls of mv and cp are recorded, too.
class ServicesBox : public Machine {
  public:
    ServicesBox() {
        std::string all;
        for (const std::string& path : kProbed)
            all += " " + path;
        Sh("rm -rf /etc/samba /etc/TAVRIN /etc/vsftpd.conf.example" + all +
           "; mkdir /etc/samba /etc/TAVRIN /mnt/seen; mkdir -p /usr/share/tavrin");
        look_ = "ls -d" + all + " 2>/dev/null >\"/mnt/seen/${0##*/} $1\"\n";
        for (const char* name : {"vsftpd", "smbd", "nmbd", "reporting-ingest", "reporting-rejoin",
                                 "tavrin4-reporting2"}) {
            Service(std::string("/etc/init.d/service-") + name);
        }
        ServiceWithPidFile("/etc/init.d/service-apache", kWebServerPid);
        ServiceWithPidFile("/etc/init.d/service-control-api", kV5Pid);
        ServiceWithPidFile("/etc/init.d/service-tavrin4-reporting", kReportingPid);
        ServiceWithPidFile("/etc/init.d/service-tavrin4-reporting-public", kPublicReportingPid);
        StandInScript("volkeep-start",
                      "setsid /sbin/volkeep infinity </dev/null >/dev/null 2>&1 &");
        StandInScript("volkeep-stop",
                      "killall -q volkeep; while killall -q -s 0 volkeep; do sleep 0.02; done");
        Record("mv");
        Record("cp");
    }

    // A service script that does nothing else.
    void Service(const std::string& path) { StandInScript(path, look_); }
    void ServiceWithPidFile(const std::string& path, const std::string& pid_file) {
        StandInScript(path, look_ + "[ $1 = start ] && : >" + pid_file + " || rm -f " + pid_file);
    }
    // The probed files that existed during the last run of the script, one per line.
    std::string Seen(const std::string& script_and_action, Place place = Place::current()) {
        return Read("/mnt/seen/" + script_and_action, place);
    }

    // Also creates the folder.
    void Make(const std::string& path, const std::string& content = "") {
        MakeDirectory(path.substr(0, path.rfind('/')));
        Write(path, content);
    }
    // Installs the daemon; RunVolkeep also starts it. The screen counts its processes.
    void InstallVolkeep() { Sh("cp /bin/sleep /usr/sbin/volkeep"); }
    void RunVolkeep() {
        InstallVolkeep();
        Sh("setsid /sbin/volkeep infinity </dev/null >/dev/null 2>&1 &"
           "until [ -n \"$(pidof volkeep)\" ]; do sleep 0.01; done");
    }
    bool VolkeepRuns() { return !Sh("pidof volkeep || true").empty(); }

    // The settings among the probed files; the others are pid files.
    Words Settings() {
        Words settings;
        for (const std::string& path : kProbed)
            if (!path.ends_with(".pid") && Exists(path)) settings.push_back(path);
        return settings;
    }
    // The permission bits, in octal.
    std::string ModeOf(const std::string& path) { return Sh("stat -c %a " + path); }

  private:
    std::string look_;
};

// The program with its services screen on the terminal, by default one that fits all rows.
class ServicesScreen : public Page {
  public:
    explicit ServicesScreen(Machine& box, const TerminalOptions& options = OfSize(30, 80),
                            Place place = Place::current())
        : Page(box, kServices, options, place) {}

    // Leaves the screen and opens it again, so that it probes the machine again.
    void Reopen(Place place = Place::current()) {
        Go("<Esc>", "Exit this program", place);
        Go("<Enter>", kServices.sign, place);
    }
};

// The rows on the screen without their indent; separators are "".
inline Words Rows(const Terminal& t) {
    Words rows;
    for (int line = kFirstLine; line < t.rows(); line++) {
        const std::string row = t.Row(line);
        rows.push_back(row.empty() ? row : row.substr(kFirstColumn));
    }
    while (!rows.empty() && rows.back().empty())
        rows.pop_back();
    return rows;
}

}  // namespace services
