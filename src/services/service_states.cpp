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
    // Without O_NONBLOCK a pipe in the file's place would hang the program.
    const int descriptor =
        open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0644);
    if (descriptor >= 0) close(descriptor);
}

ServiceStates ProbeServiceStates() {
    ServiceStates states;
    states.ftpEnabled = IsRegularFile(kFtpSettings);
    states.ftpPresent = states.ftpEnabled || IsRegularFile("/etc/vsftpd.conf.disabled");
    states.smbEnabled = IsRegularFile(kSmbSettings);
    states.smbPresent = states.smbEnabled || IsRegularFile("/etc/samba/smb.conf.disabled");
    states.reportingBackendOff = IsRegularFile(kReportingBackendOff);
    states.reportingUiOff = IsRegularFile(kReportingUiOff);
    states.webServerRunning = IsRegularFile("/var/httpd.pid");
    states.volkeepUsers = procfs_path_in_use("/sbin/volkeep");
    states.volkeepRunning = states.volkeepUsers > 0;
    states.v5Running = IsRegularFile("/var/run/tavrin.control.api.pid");
    states.reportingRunning = IsRegularFile("/var/run/uwsgi.tavrin.reporting.pid") ||
                              IsRegularFile("/var/run/uwsgi.tavrin.reporting.public-uwsgi.pid");
    states.captionSyncInstalled = IsRegularFile("/etc/init.d/service-caption-synchronizer");
    states.captionSyncOff = IsRegularFile(kCaptionSyncOff);
    // Looked at, but shown nowhere: caption synchronization can't be started from here.
    IsRegularFile("/var/run/tavrin.caption.synchronizer.pid");
    states.webDesktopControl = IsRegularFile(kWebDesktopControl);
    states.localDesktopInstalled = IsRegularFile("/usr/share/tavrin/local-desktop");
    states.vncEnabled = IsRegularFile(kVncEnabled);
    states.vncPasswordSet = IsRegularFile("/etc/local.desktop.vnc.passwd");
    states.vncInstalled = IsRegularFile("/usr/share/tavrin/local-desktop-vnc");
    states.ftpTls = states.ftpPresent && ReadFtpTls();
    return states;
}
