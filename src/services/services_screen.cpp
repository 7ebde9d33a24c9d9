#include "services/services_screen.h"

#include <curses.h>
#include <sys/stat.h>
#include <unistd.h>

#include <initializer_list>
#include <string>

#include "services/ftp_tls.h"
#include "services/service_states.h"
#include "services/smb_accounts_screen.h"
#include "services/vnc_password.h"
#include "ui/dialogs.h"
#include "ui/screen_loop.h"
#include "ui/terminal.h"
#include "util/command.h"

namespace {

using States = ServiceStates;

// ---- actions ----

void RunOnPlainTerminal(std::initializer_list<const char*> commands, unsigned pause_seconds = 0) {
    ShellEscape([&] {
        for (const char* command : commands)
            RunCommand(command);
        if (pause_seconds > 0) Pause(pause_seconds);
    });
}

void Leave(Menu& menu, const States&) {
    menu.running = false;
}

// FTP and SMB/CIFS are enabled only while there still are no settings: where they have come since
// the row was made, the command would put the example in their place. The next row tells of them.
void ToggleFtp(Menu&, const States& states) {
    if (states.ftpEnabled) {
        RunOnPlainTerminal(
            {"/etc/init.d/service-vsftpd stop; "
             "mv -v /etc/vsftpd.conf /etc/vsftpd.conf.disabled"});
    } else if (!IsRegularFile(kFtpSettings)) {
        RunOnPlainTerminal(
            {"mv -v /etc/vsftpd.conf.disabled /etc/vsftpd.conf || "
             "cp -v /etc/vsftpd.conf.example /etc/vsftpd.conf; "
             "/etc/init.d/service-vsftpd start"});
    }
}

void ToggleFtpTls(Menu&, const States& states) {
    ShellEscape([&] {
        if (states.ftpEnabled) RunCommand("/etc/init.d/service-vsftpd stop");
        WriteFtpTls(!states.ftpTls);
        if (states.ftpEnabled) RunCommand("/etc/init.d/service-vsftpd start");
    });
}

void ToggleSmb(Menu&, const States& states) {
    if (states.smbEnabled) {
        RunOnPlainTerminal(
            {"/etc/init.d/service-smbd stop; /etc/init.d/service-nmbd stop; "
             "mv -v /etc/samba/smb.conf /etc/samba/smb.conf.disabled"});
    } else if (!IsRegularFile(kSmbSettings)) {
        RunOnPlainTerminal(
            {"mv -v /etc/samba/smb.conf.disabled /etc/samba/smb.conf || "
             "cp -v /etc/samba/smb.conf.example /etc/samba/smb.conf; "
             "/etc/init.d/service-smbd start; /etc/init.d/service-nmbd start"});
    }
}

// For the markers that disable something: enabling starts nothing, disabling stops at once.
void ToggleDisabled(bool disabled, const char* marker,
                    std::initializer_list<const char*> stop_commands) {
    if (disabled) {
        unlink(marker);
        return;
    }
    CreateMarkerFile(marker);
    RunOnPlainTerminal(stop_commands);
}

void ToggleReportingBackend(Menu&, const States& states) {
    ToggleDisabled(
        states.reportingBackendOff, kReportingBackendOff,
        {"/etc/init.d/service-tavrin4-reporting2 stop",
         "/etc/init.d/service-tavrin4-reporting stop", "/etc/init.d/service-reporting-ingest stop",
         "/etc/init.d/service-reporting-rejoin stop"});
}

void ToggleReportingUi(Menu&, const States& states) {
    ToggleDisabled(states.reportingUiOff, kReportingUiOff,
                   {"/etc/init.d/service-tavrin4-reporting-public stop"});
}

void ToggleCaptionSync(Menu&, const States& states) {
    ToggleDisabled(states.captionSyncOff, kCaptionSyncOff,
                   {"/etc/init.d/service-caption-synchronizer stop"});
}

void ToggleWebDesktopControl(Menu&, const States& states) {
    if (states.webDesktopControl) {
        unlink(kWebDesktopControl);
    } else {
        CreateMarkerFile(kWebDesktopControl);
    }
}

// Whether a password was typed and set.
bool AskVncPassword(const char* prompt) {
    std::string password;
    const bool typed = PromptPassword(prompt, password) && !password.empty();
    if (typed) SetVncPassword(password);
    return typed;
}

void ToggleVnc(Menu&, const States& states) {
    if (states.vncEnabled) {
        unlink(kVncEnabled);
        RunOnPlainTerminal({"/usr/share/tavrin/local-desktop-vnc stop"});
    } else if (states.vncPasswordSet || AskVncPassword("Set VNC password")) {
        CreateMarkerFile(kVncEnabled);
    }
}

void ChangeVncPassword(Menu&, const States& states) {
    if (!states.vncPasswordSet) return;
    AskVncPassword("Change VNC password.\nPassword takes effect when VNC server is started.");
}

void ConfigureSmbAccounts(Menu&, const States& states) {
    if (states.smbPresent) RunSmbAccountsScreen();
}

void ToggleWebServer(Menu&, const States& states) {
    RunOnPlainTerminal({states.webServerRunning ? "/etc/init.d/service-apache stop"
                                                : "/etc/init.d/service-apache start"},
                       1);
}

void ToggleV5(Menu&, const States& states) {
    RunOnPlainTerminal({states.v5Running ? "/etc/init.d/service-control-api stop"
                                         : "/etc/init.d/service-control-api start"},
                       1);
}

void ToggleReporting(Menu&, const States& states) {
    if (states.reportingRunning) {
        RunOnPlainTerminal({"/etc/init.d/service-tavrin4-reporting stop",
                            "/etc/init.d/service-tavrin4-reporting2 stop",
                            "/etc/init.d/service-tavrin4-reporting-public stop",
                            "/etc/init.d/service-reporting-ingest stop",
                            "/etc/init.d/service-reporting-rejoin stop"},
                           1);
    } else {
        RunOnPlainTerminal({"/etc/init.d/service-tavrin4-reporting start",
                            "/etc/init.d/service-tavrin4-reporting2 start",
                            "/etc/init.d/service-tavrin4-reporting-public start"},
                           1);
    }
}

void ToggleVolkeep(Menu& menu, const States& states) {
    if (!states.volkeepRunning) {
        RunOnPlainTerminal({"volkeep-start"}, 1);
    } else if (AskYesNoOnBlankScreen("Stopping this service will umount the main partition and "
                                     "everything using it! Are you sure?")) {
        RunOnPlainTerminal({"volkeep-stop"}, 1);
    } else {
        // Nothing has changed, so nothing is probed again.
        menu.rebuild = false;
        menu.redraw = true;
    }
}

// ---- rows ----

const char* FtpWord(const States& states) {
    if (states.ftpEnabled) return "Disable";
    return states.ftpPresent ? "Enable" : "Enable and initialize";
}

const char* SmbWord(const States& states) {
    if (states.smbEnabled) return "Disable";
    return states.smbPresent ? "Enable" : "Enable and initialize";
}

// The word of a row that offers the one thing while the flag is set and the other otherwise.
template <bool States::*kFlag, const char* const& kWhenSet, const char* const& kOtherwise>
const char* WordBy(const States& states) {
    return states.*kFlag ? kWhenSet : kOtherwise;
}

constexpr const char* kEnable = "Enable";
constexpr const char* kDisable = "Disable";
constexpr const char* kStart = "Start";
constexpr const char* kStop = "Stop";
constexpr const char* kAllow = "Allow";
constexpr const char* kDisallow = "Disallow";

template <bool States::*kFlag>
bool If(const States& states) {
    return states.*kFlag;
}

bool IfDesktopOrVnc(const States& states) {
    return states.localDesktopInstalled || states.vncInstalled;
}

bool IfVncIsSetUp(const States& states) {
    return states.vncInstalled && (states.vncEnabled || states.vncPasswordSet);
}

bool IfVncIsNotSetUp(const States& states) {
    return states.vncInstalled && !states.vncEnabled && !states.vncPasswordSet;
}

bool IfVncHasPassword(const States& states) {
    return states.vncInstalled && states.vncPasswordSet;
}

// With both its halves disabled there is nothing to start or stop.
bool ReportingIsOff(const States& states) {
    return states.reportingBackendOff && states.reportingUiOff;
}

struct Row {
    bool (*shown)(const States&);        // null: always
    const char* (*word)(const States&);  // takes the place of "%s"; null: the label is fixed
    const char* label;                   // null: a separator
    int id;
    int hot_key;
    void (*act)(Menu&, const States&);
    bool (*closed)(const States&) = nullptr;  // shown, but not to be chosen
};

constexpr Row kSeparator = {nullptr, nullptr, nullptr, 0, 0, nullptr};

// Each word names what activating the row will do. Three rows share the key s: pressing it again
// moves on.
constexpr Row kRows[] = {
    {nullptr, FtpWord, "%s FTP service", 21, 'f', ToggleFtp},
    {If<&States::ftpPresent>, WordBy<&States::ftpTls, kDisable, kEnable>, "%s FTP SSL/TLS", 22, 0,
     ToggleFtpTls},
    {nullptr, SmbWord, "%s SMB/CIFS service", 20, 's', ToggleSmb},
    {nullptr, WordBy<&States::reportingBackendOff, kEnable, kDisable>,
     "%s reporting backend services", 18, 'b', ToggleReportingBackend},
    {nullptr, WordBy<&States::reportingUiOff, kEnable, kDisable>, "%s reporting UI service", 19,
     'u', ToggleReportingUi},
    {If<&States::captionSyncInstalled>, WordBy<&States::captionSyncOff, kEnable, kDisable>,
     "%s caption synchronization", 32, 'c', ToggleCaptionSync},
    {IfDesktopOrVnc, nullptr, nullptr, 0, 0, nullptr},
    {If<&States::localDesktopInstalled>, WordBy<&States::webDesktopControl, kDisallow, kAllow>,
     "%s web interface to start/stop local desktop", 35, 'l', ToggleWebDesktopControl},
    {IfVncIsSetUp, WordBy<&States::vncEnabled, kDisable, kEnable>,
     "%s remote VNC access to local desktop", 34, 'v', ToggleVnc},
    {IfVncIsNotSetUp, nullptr, "Setup remote VNC access to local desktop", 34, 'v', ToggleVnc},
    {IfVncHasPassword, nullptr, "Set remote VNC access password", 36, 0, ChangeVncPassword},
    kSeparator,
    {If<&States::smbPresent>, nullptr, "Configure SMB/CIFS user accounts", 23, 's',
     ConfigureSmbAccounts},
    {If<&States::smbPresent>, nullptr, nullptr, 0, 0, nullptr},
    {nullptr, WordBy<&States::webServerRunning, kStop, kStart>, "%s web server", 29, 'w',
     ToggleWebServer},
    {nullptr, WordBy<&States::v5Running, kStop, kStart>, "%s V5 interface", 30, '5', ToggleV5},
    {nullptr, WordBy<&States::reportingRunning, kStop, kStart>, "%s reporting service", 31, 's',
     ToggleReporting, ReportingIsOff},
    kSeparator,
    {nullptr, WordBy<&States::volkeepRunning, kStop, kStart>, "%s volkeep disk management", 33, 'd',
     ToggleVolkeep},
    kSeparator,
    {nullptr, nullptr, "Main menu", 1, 'm', Leave},
};

std::string LabelOf(const Row& row, const States& states) {
    std::string label = row.label;
    if (row.word != nullptr) label.replace(label.find("%s"), 2, row.word(states));
    return label;
}

void AddRow(Menu& menu, const Row& row, const States& states) {
    if (row.label == nullptr) {
        menu.AddSeparator();
        return;
    }
    const std::string label = LabelOf(row, states);
    const bool closed = row.closed != nullptr && row.closed(states);
    menu.SetHotKey(closed ? menu.AddInformation(label, row.id) : menu.AddItem(label, row.id),
                   row.hot_key);
}

void AddRows(Menu& menu, States& states) {
    states = ProbeServiceStates();
    for (const Row& row : kRows) {
        if (row.shown == nullptr || row.shown(states)) AddRow(menu, row, states);
    }
}

void Paint(Menu& menu) {
    menu.SetPosition(4, 4);
    menu.SetSize(COLS - 5, LINES - 5);
    PaintTitle(menu, 2, "Services");
}

void Act(Menu& menu, const MenuItem& item, const States& states) {
    for (const Row& row : kRows) {
        if (row.id != item.id || row.act == nullptr) continue;
        menu.rebuild = true;
        row.act(menu, states);
        return;
    }
}

}  // namespace

void RunServicesScreen() {
    // For the markers; the mode without search bits is the product line's.
    mkdir("/etc", 0644);
    mkdir("/etc/TAVRIN", 0644);
    States states;
    ScreenLoop({.add_rows = [&](Menu& menu) { AddRows(menu, states); },
                .paint = Paint,
                .act = [&](Menu& menu, const MenuItem& item) { Act(menu, item, states); }});
}
