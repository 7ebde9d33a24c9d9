#include "services/services_screen.h"

#include <sys/stat.h>
#include <unistd.h>

#include <initializer_list>
#include <string>
#include <utility>

#include "services/ftp_tls.h"
#include "services/service_states.h"
#include "services/smb_accounts_screen.h"
#include "services/vnc_password.h"
#include "ui/dialogs.h"
#include "ui/plain_steps.h"
#include "ui/screen_loop.h"
#include "util/command.h"

namespace {

using State = ServiceStates;

// ---- actions ----

// FTP and SMB/CIFS are enabled only if there are still no settings. If some have appeared since the
// rows were built, the command would overwrite them with the example; the rebuilt row shows them.
Next ToggleFtp(State& state) {
    if (state.ftp_enabled) {
        return RunUpdate(
            {{"/etc/init.d/service-vsftpd stop; "
              "mv -v /etc/vsftpd.conf /etc/vsftpd.conf.disabled"}});
    }
    if (IsRegularFile(kFtpSettings)) return Next::Rebuild;
    return RunUpdate(
        {{"mv -v /etc/vsftpd.conf.disabled /etc/vsftpd.conf || "
          "cp -v /etc/vsftpd.conf.example /etc/vsftpd.conf; "
          "/etc/init.d/service-vsftpd start"}});
}

Next ToggleFtpTls(State& state) {
    RunUpdate([&] {
        if (state.ftp_enabled) RunCommand("/etc/init.d/service-vsftpd stop");
        WriteFtpTls(!state.ftp_tls);
        if (state.ftp_enabled) RunCommand("/etc/init.d/service-vsftpd start");
    });
    return Next::Rebuild;
}

Next ToggleSmb(State& state) {
    if (state.smb_enabled) {
        return RunUpdate(
            {{"/etc/init.d/service-smbd stop; /etc/init.d/service-nmbd stop; "
              "mv -v /etc/samba/smb.conf /etc/samba/smb.conf.disabled"}});
    }
    if (IsRegularFile(kSmbSettings)) return Next::Rebuild;
    return RunUpdate(
        {{"mv -v /etc/samba/smb.conf.disabled /etc/samba/smb.conf || "
          "cp -v /etc/samba/smb.conf.example /etc/samba/smb.conf; "
          "/etc/init.d/service-smbd start; /etc/init.d/service-nmbd start"}});
}

Next ToggleMarker(bool present, const char* marker) {
    if (present) {
        unlink(marker);
    } else {
        CreateMarkerFile(marker);
    }
    return Next::Rebuild;
}

// For markers that disable something: enabling starts nothing, disabling stops at once.
Next ToggleDisabled(bool disabled, const char* marker, std::initializer_list<Step> stop) {
    ToggleMarker(disabled, marker);
    return disabled ? Next::Rebuild : RunSteps(stop);
}

Next ToggleReportingBackend(State& state) {
    return ToggleDisabled(state.reporting_backend_off, kReportingBackendOff,
                          {{"/etc/init.d/service-tavrin4-reporting2 stop"},
                           {"/etc/init.d/service-tavrin4-reporting stop"},
                           {"/etc/init.d/service-reporting-ingest stop"},
                           {"/etc/init.d/service-reporting-rejoin stop"}});
}

Next ToggleReportingUi(State& state) {
    return ToggleDisabled(state.reporting_ui_off, kReportingUiOff,
                          {{"/etc/init.d/service-tavrin4-reporting-public stop"}});
}

Next ToggleCaptionSync(State& state) {
    return ToggleDisabled(state.caption_sync_off, kCaptionSyncOff,
                          {{"/etc/init.d/service-caption-synchronizer stop"}});
}

Next ToggleWebDesktopControl(State& state) {
    return ToggleMarker(state.web_desktop_control, kWebDesktopControl);
}

// Whether a password was entered and set.
bool AskVncPassword(const char* prompt) {
    std::optional<Secret> password = PromptPassword(prompt);
    if (!password || password->empty()) return false;
    SetVncPassword(std::move(*password));
    return true;
}

Next ToggleVnc(State& state) {
    if (state.vnc_enabled) {
        unlink(kVncEnabled);
        return RunSteps({{"/usr/share/tavrin/local-desktop-vnc stop"}});
    }
    if (state.vnc_password_set || AskVncPassword("Set VNC password")) CreateMarkerFile(kVncEnabled);
    return Next::Rebuild;
}

Next ChangeVncPassword(State&) {
    AskVncPassword("Change VNC password.\nPassword takes effect when VNC server is started.");
    return Next::Rebuild;
}

Next ConfigureSmbAccounts(State&) {
    RunSmbAccountsScreen();
    return Next::Rebuild;
}

Next ToggleWebServer(State& state) {
    return RunSteps({{state.web_server_running ? "/etc/init.d/service-apache stop"
                                               : "/etc/init.d/service-apache start",
                      "", 1}});
}

Next ToggleV5(State& state) {
    return RunSteps({{state.v5_running ? "/etc/init.d/service-control-api stop"
                                       : "/etc/init.d/service-control-api start",
                      "", 1}});
}

Next ToggleReporting(State& state) {
    if (state.reporting_running) {
        return RunSteps({{"/etc/init.d/service-tavrin4-reporting stop"},
                         {"/etc/init.d/service-tavrin4-reporting2 stop"},
                         {"/etc/init.d/service-tavrin4-reporting-public stop"},
                         {"/etc/init.d/service-reporting-ingest stop"},
                         {"/etc/init.d/service-reporting-rejoin stop", "", 1}});
    }
    return RunSteps({{"/etc/init.d/service-tavrin4-reporting start"},
                     {"/etc/init.d/service-tavrin4-reporting2 start"},
                     {"/etc/init.d/service-tavrin4-reporting-public start", "", 1}});
}

Next ToggleVolkeep(State& state) {
    if (!state.volkeep_running) return RunSteps({{"volkeep-start", "", 1}});
    if (AskYesNoOnBlankScreen("Stopping this service will umount the main partition and "
                              "everything using it! Are you sure?")) {
        return RunSteps({{"volkeep-stop", "", 1}});
    }
    // Nothing has changed, so there is nothing to probe.
    return Next::Paint;
}

// ---- words: what activating a row does ----

const char* EnableWord(bool enabled, bool present) {
    if (enabled) return "Disable";
    return present ? "Enable" : "Enable and initialize";
}

std::string FtpWord(const State& state) {
    return EnableWord(state.ftp_enabled, state.ftp_present);
}

std::string SmbWord(const State& state) {
    return EnableWord(state.smb_enabled, state.smb_present);
}

std::string VncWord(const State& state) {
    if (!state.vnc_enabled && !state.vnc_password_set) return "Setup";
    return state.vnc_enabled ? "Disable" : "Enable";
}

template <bool State::*kFlag>
std::string DisableIf(const State& state) {
    return state.*kFlag ? "Disable" : "Enable";
}

template <bool State::*kFlag>
std::string EnableIf(const State& state) {
    return state.*kFlag ? "Enable" : "Disable";
}

template <bool State::*kFlag>
std::string StopIf(const State& state) {
    return state.*kFlag ? "Stop" : "Start";
}

template <bool State::*kFlag>
std::string DisallowIf(const State& state) {
    return state.*kFlag ? "Disallow" : "Allow";
}

// ---- rows ----

template <bool State::*kFlag>
bool If(const State& state) {
    return state.*kFlag;
}

bool HasDesktop(const State& state) {
    return state.local_desktop_installed || state.vnc_installed;
}

bool HasVncPassword(const State& state) {
    return state.vnc_installed && state.vnc_password_set;
}

// With both halves disabled there is nothing to start or stop.
bool ReportingIsOff(const State& state) {
    return state.reporting_backend_off && state.reporting_ui_off;
}

// Three rows share the hot key s: pressing it again selects the next one.
// clang-format off
constexpr Row<State> kRows[] = {
    {"%s FTP service", 21, 'f', ToggleFtp, {.word = FtpWord}},
    {"%s FTP SSL/TLS", 22, 0, ToggleFtpTls,
     {.word = DisableIf<&State::ftp_tls>, .shown = If<&State::ftp_present>}},
    {"%s SMB/CIFS service", 20, 's', ToggleSmb, {.word = SmbWord}},
    {"%s reporting backend services", 18, 'b', ToggleReportingBackend,
     {.word = EnableIf<&State::reporting_backend_off>}},
    {"%s reporting UI service", 19, 'u', ToggleReportingUi,
     {.word = EnableIf<&State::reporting_ui_off>}},
    {"%s caption synchronization", 32, 'c', ToggleCaptionSync,
     {.word = EnableIf<&State::caption_sync_off>, .shown = If<&State::caption_sync_installed>}},
    {"", 0, 0, nullptr, {.shown = HasDesktop}},
    {"%s web interface to start/stop local desktop", 35, 'l', ToggleWebDesktopControl,
     {.word = DisallowIf<&State::web_desktop_control>, .shown = If<&State::local_desktop_installed>}},
    {"%s remote VNC access to local desktop", 34, 'v', ToggleVnc,
     {.word = VncWord, .shown = If<&State::vnc_installed>}},
    {"Set remote VNC access password", 36, 0, ChangeVncPassword, {.shown = HasVncPassword}},
    kSeparator<State>,
    {"Configure SMB/CIFS user accounts", 23, 's', ConfigureSmbAccounts,
     {.shown = If<&State::smb_present>}},
    {"", 0, 0, nullptr, {.shown = If<&State::smb_present>}},
    {"%s web server", 29, 'w', ToggleWebServer, {.word = StopIf<&State::web_server_running>}},
    {"%s V5 interface", 30, '5', ToggleV5, {.word = StopIf<&State::v5_running>}},
    {"%s reporting service", 31, 's', ToggleReporting,
     {.word = StopIf<&State::reporting_running>, .closed = ReportingIsOff}},
    kSeparator<State>,
    {"%s volkeep disk management", 33, 'd', ToggleVolkeep,
     {.word = StopIf<&State::volkeep_running>}},
    kSeparator<State>,
    {"Main menu", 1, 'm', Leave},
};
// clang-format on
static_assert(AreSound(kRows));

void Look(State& state) {
    state = ProbeServiceStates();
}

TitleLines Title(const State&) {
    return {"Services"};
}

}  // namespace

void RunServicesScreen() {
    // The folder of the markers. The product line creates it without search bits; root needs none.
    mkdir("/etc", 0644);
    mkdir("/etc/TAVRIN", 0644);
    State state;
    RunScreen<State>({.rows = kRows, .title = Title, .look = Look}, state);
}
