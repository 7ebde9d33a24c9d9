// What the services screen shows, found by looking: marker files, configuration files and pid
// files, and whether the disk-management daemon runs. A file counts only when it is a regular file
// itself: a symbolic link to one does not.
#pragma once

#include <string>

struct ServiceStates {
    bool ftpEnabled = false;
    bool ftpPresent = false;
    bool ftpTls = false;
    bool smbEnabled = false;
    bool smbPresent = false;
    bool reportingBackendOff = false;
    bool reportingUiOff = false;
    bool webServerRunning = false;
    int volkeepUsers = 0;
    bool volkeepRunning = false;
    bool v5Running = false;
    bool reportingRunning = false;
    bool captionSyncInstalled = false;
    bool captionSyncOff = false;
    bool webDesktopControl = false;
    bool localDesktopInstalled = false;
    bool vncEnabled = false;
    bool vncPasswordSet = false;
    bool vncInstalled = false;
};

// The services' settings, which are parked under another name while the service is disabled.
constexpr const char* kFtpSettings = "/etc/vsftpd.conf";
constexpr const char* kSmbSettings = "/etc/samba/smb.conf";

// Marker files: their presence is the whole of the setting.
constexpr const char* kReportingBackendOff = "/etc/TAVRIN/disable.reporting";
constexpr const char* kReportingUiOff = "/etc/TAVRIN/disable.reporting.ui";
constexpr const char* kCaptionSyncOff = "/etc/caption-sync.disabled";
constexpr const char* kWebDesktopControl = "/etc/local.desktop.webui.ctl";
constexpr const char* kVncEnabled = "/etc/local.desktop.vnc";

// lstat succeeds and tells a regular file.
bool IsRegularFile(const std::string& path);

// Makes an empty file of mode 0644, or empties the one that is there. A failure is not reported,
// and nothing is waited for, whatever is in the file's place.
void CreateMarkerFile(const std::string& path);

ServiceStates ProbeServiceStates();
