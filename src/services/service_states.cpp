#include "services/service_states.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "services/ftp_tls.h"
#include "services/process_usage.h"

bool IsRegularFile(const std::string& path) {
    struct stat about = {};
    return lstat(path.c_str(), &about) == 0 && S_ISREG(about.st_mode);
}

void CreateMarkerFile(const std::string& path) {
    // Without O_NONBLOCK a pipe in place of the file would hang the program.
    const int descriptor =
        open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0644);
    if (descriptor >= 0) close(descriptor);
}

ServiceStates ProbeServiceStates() {
    ServiceStates states;
    states.ftp_enabled = IsRegularFile(kFtpSettings);
    states.ftp_present = states.ftp_enabled || IsRegularFile("/etc/vsftpd.conf.disabled");
    states.smb_enabled = IsRegularFile(kSmbSettings);
    states.smb_present = states.smb_enabled || IsRegularFile("/etc/samba/smb.conf.disabled");
    states.reporting_backend_off = IsRegularFile(kReportingBackendOff);
    states.reporting_ui_off = IsRegularFile(kReportingUiOff);
    states.web_server_running = IsRegularFile("/var/httpd.pid");
    states.volkeep_users = procfs_path_in_use("/sbin/volkeep");
    states.volkeep_running = states.volkeep_users > 0;
    states.v5_running = IsRegularFile("/var/run/tavrin.control.api.pid");
    states.reporting_running = IsRegularFile("/var/run/uwsgi.tavrin.reporting.pid") ||
                               IsRegularFile("/var/run/uwsgi.tavrin.reporting.public-uwsgi.pid");
    states.caption_sync_installed = IsRegularFile("/etc/init.d/service-caption-synchronizer");
    states.caption_sync_off = IsRegularFile(kCaptionSyncOff);
    // No row shows whether caption synchronization runs: it can't be started or stopped here.
    IsRegularFile("/var/run/tavrin.caption.synchronizer.pid");
    states.web_desktop_control = IsRegularFile(kWebDesktopControl);
    states.local_desktop_installed = IsRegularFile("/usr/share/tavrin/local-desktop");
    states.vnc_enabled = IsRegularFile(kVncEnabled);
    states.vnc_password_set = IsRegularFile("/etc/local.desktop.vnc.passwd");
    states.vnc_installed = IsRegularFile("/usr/share/tavrin/local-desktop-vnc");
    states.ftp_tls = states.ftp_present && ReadFtpTls();
    return states;
}
