// The state that the services screen shows, from marker files, configuration files, pid files, and
// whether the disk-management daemon runs. Only regular files count; a symbolic link does not, even
// to a regular file.
#pragma once

#include <string>

struct ServiceStates {
    bool ftp_enabled = false;
    bool ftp_present = false;
    bool ftp_tls = false;
    bool smb_enabled = false;
    bool smb_present = false;
    bool reporting_backend_off = false;
    bool reporting_ui_off = false;
    bool web_server_running = false;
    int volkeep_users = 0;
    bool volkeep_running = false;
    bool v5_running = false;
    bool reporting_running = false;
    bool caption_sync_installed = false;
    bool caption_sync_off = false;
    bool web_desktop_control = false;
    bool local_desktop_installed = false;
    bool vnc_enabled = false;
    bool vnc_password_set = false;
    bool vnc_installed = false;
};

// The services' settings files, renamed while the service is disabled.
constexpr const char* kFtpSettings = "/etc/vsftpd.conf";
constexpr const char* kSmbSettings = "/etc/samba/smb.conf";

// Marker files: the setting is whether the file exists.
constexpr const char* kReportingBackendOff = "/etc/TAVRIN/disable.reporting";
constexpr const char* kReportingUiOff = "/etc/TAVRIN/disable.reporting.ui";
constexpr const char* kCaptionSyncOff = "/etc/caption-sync.disabled";
constexpr const char* kWebDesktopControl = "/etc/local.desktop.webui.ctl";
constexpr const char* kVncEnabled = "/etc/local.desktop.vnc";

// True if lstat succeeds and reports a regular file.
bool IsRegularFile(const std::string& path);

// Creates an empty file with mode 0644, or empties an existing one. Failures are not reported.
// Never blocks, even if a pipe or device is in the file's place.
void CreateMarkerFile(const std::string& path);

ServiceStates ProbeServiceStates();
