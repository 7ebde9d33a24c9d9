#include "tour.h"

#include <sys/stat.h>
#include <sys/xattr.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace harness::faults {
namespace {

constexpr const char* kSettings = "/etc/network/02:00:00:00:10:40";
constexpr double kLegSeconds = 20;
constexpr double kStartSeconds = 5;

std::string Settings(const std::string& gateway, const std::string& address) {
    return "manage = 1\ndhcp = 1\ndhcp6 = 0\ndhcp_gw = " + gateway +
           "\nenable_ip6 = 1\ndisabled = 0\nstatic ip = " + address +
           "\nipv6_router_adv = 1\nstatic ip netmask = 255.255.255.0\nstatic ip6 = \ngateway = \n"
           "dns = \nnat enable = 0\nnat role = \n";
}

struct SavedFile {
    const char* path;
    std::string before, after;
    mode_t mode;
    bool has_list = false;  // one more reader; the mode's middle digit is the list's mask
};

const SavedFile kNtp = {
    "/etc/ntp.conf", "driftfile /var/lib/ntp/drift\nserver time.example.org iburst\n",
    "driftfile /var/lib/ntp/drift\nserver time.example.org iburst\nserver ntp.example.net\n", 0640,
    true};

const SavedFile kSaved[] = {
    {"/etc/hostname", "appliance\n", "appliance-2\n", 0644},
    kNtp,
    {kSettings, Settings("1", ""), Settings("0", "10.9.8.7"), 0600},
    {"/etc/vsftpd.conf", "listen=YES\nssl_enable=NO\n", "listen=YES\nssl_enable=YES\n", 0640, true},
};

// The settings may have any combination of the tour's changes: each setting may be changed or not.
bool IsWhole(const SavedFile& file, const std::string& text) {
    if (text == file.before || text == file.after) return true;
    if (std::string(file.path) != kSettings) return false;
    return text == Settings("0", "") || text == Settings("1", "10.9.8.7");
}

mode_t ModeOf(const Machine& box, const std::string& path) {
    struct stat about {};
    stat(box.OutsidePath(path).c_str(), &about);
    return about.st_mode & 07777;
}

constexpr const char* kAccessList = "system.posix_acl_access";

// The owner may write, user 1234 may read, the group and all others have no access.
const std::string kOneMoreReader(
    "\2\0\0\0"
    "\x01\0\6\0\xff\xff\xff\xff"
    "\x02\0\4\0\xd2\4\0\0"
    "\x04\0\0\0\xff\xff\xff\xff"
    "\x10\0\4\0\xff\xff\xff\xff"
    "\x20\0\0\0\xff\xff\xff\xff",
    44);

std::string ListOf(const Machine& box, const std::string& path) {
    char list[100];
    const ssize_t size = getxattr(box.OutsidePath(path).c_str(), kAccessList, list, sizeof list);
    return std::string(list, static_cast<size_t>(std::max<ssize_t>(size, 0)));
}

}  // namespace

TourBox::TourBox() {
    Reset();
}

void TourBox::Reset() {
    for (const std::string& path : Leftovers())
        Remove(path);
    for (const char* path : {"/etc/vsftpd.conf.disabled", "/etc/samba/smb.conf.disabled",
                             "/etc/local.desktop.webui.ctl", "/etc/TAVRIN/disable.reporting.ui"})
        Remove(path);
    WriteSettings();
    for (const SavedFile& file : kSaved) {
        Write(file.path, file.before, file.mode);
        if (!file.has_list) continue;
        has_lists_ = setxattr(OutsidePath(file.path).c_str(), kAccessList, kOneMoreReader.data(),
                              kOneMoreReader.size(), 0) == 0;
    }
    Write("/sys/class/net/wlan0/phy80211/rfkill0/soft", "0\n");
    Sh("hostname appliance");
    ForgetCalls();
}

std::vector<std::string> TourBox::Leftovers() const {
    std::vector<std::string> leftovers;
    for (const std::string folder : {"/etc/", "/etc/network/"}) {
        for (const auto& entry : std::filesystem::directory_iterator(OutsidePath(folder))) {
            const std::string name = entry.path().filename().string();
            if (name.starts_with(".ifmenu-") || name.ends_with(".tmp") ||
                name == ".local.desktop.vnc.passwd.old")
                leftovers.push_back(folder + name);
        }
    }
    return leftovers;
}

std::string TourBox::Damage(const std::string& failed_call) {
    std::string damage;
    for (const SavedFile& file : kSaved) {
        const std::string parked = std::string(file.path) + ".disabled";
        const std::string path = Exists(parked) && !Exists(file.path) ? parked : file.path;
        const std::string text = Exists(path) ? Read(path) : "(missing)\n";
        if (!IsWhole(file, text)) damage += path + " holds:\n" + text;
        if (Exists(path) && ModeOf(*this, path) != file.mode)
            damage += path + " has another mode\n";
        if (Exists(path) && file.has_list && has_lists_ && ListOf(*this, path) != kOneMoreReader)
            damage += path + " has another access control list\n";
    }
    for (const std::string& path : Leftovers()) {
        if (path.find(".ifmenu-") == std::string::npos &&
            failed_call.find('"' + path + '"') != std::string::npos)
            continue;
        damage += path + " was left behind\n";
    }
    return damage;
}

bool TourBox::AllSaved() {
    return std::all_of(std::begin(kSaved), std::end(kSaved),
                       [this](const SavedFile& file) { return Read(file.path) == file.after; });
}

bool TourBox::AllUntouched() {
    return std::all_of(std::begin(kSaved), std::end(kSaved),
                       [this](const SavedFile& file) { return Read(file.path) == file.before; });
}

bool TourBox::NtpUntouched() {
    return Read(kNtp.path) == kNtp.before;
}

const std::vector<Leg>& Tour() {
    static const std::vector<Leg> tour = {
        {"", "Exit this program"},
        {"n<Enter>", "New computer host name"},
        {"-2<Enter>", "main menu for 'appliance-2'"},
        {"d<Enter>", "Are you sure? [y/n]"},
        {"y", "Tavrin 4"},
        {"f<Enter>", "Are you sure? [y/n]"},
        {"y", "Tavrin 4"},
        {"t<Enter>", "Network Time Protocol configuration:"},
        {"n<Enter>ntp.example.net<Enter>", "Server ntp.example.net"},
        {"s<Enter>", "Are you sure? [y/n]"},
        {"y", "Server ntp.example.net"},
        {"o<Enter>", "Are you sure? [y/n]"},
        {"y", "Server ntp.example.net"},
        {"m<Enter>i<Enter>", "Diagnostics"},
        {"r<Enter>", "Hit ENTER to continue."},
        {"<Enter>p<Enter>", "Hit ENTER to continue."},
        {"<Enter>m<Enter>", "Tavrin 4"},
        {"s<Enter>", "Disable FTP service"},
        {"f<Enter>", "Enable FTP service"},
        {"f<Enter>", "Disable FTP service"},
        {"<Down><Enter>", "Disable FTP SSL/TLS"},
        {"b<Enter>b<Enter>l<Enter>", "Disallow web interface"},
        {"v<Enter>v<Enter>", "Disable remote VNC"},
        {"<Down><Enter>", "Change VNC password."},
        {"secret12<Enter>", "Set remote VNC access password"},
        {"s<Enter>", "Create user"},
        {"c<Enter>", "Enter user account."},
        {"<Enter>", "Configure user 'editor'"},
        {"<End><Enter>p<Enter>", "SMB/CIFS account password?"},
        {"secret12<Enter>", "Configure user 'editor'"},
        {"<Enter>", "SMB/CIFS user 'editor' configuration"},
        {"d<Enter>", "Configure user 'editor'"},
        {"r<Enter>w<Enter>d<Enter>", "Start volkeep disk management"},
        {"m<Enter>1<Enter>", "Network configuration: wlan0"},
        {"r<Enter>", "Disable soft RF-kill"},
        {"u<Enter>", "Are you sure? [y/n]"},
        {"y", "Network configuration: wlan0"},
        {"c<Enter>", "Configuration for wlan0"},
        {"h<Space>i<Enter>", "[ESC to cancel]"},
        {"10.9.8.7<Enter>", "10.9.8.7"},
        {"s<Enter>", "Network configuration: wlan0"},
        {"w<Enter>", "Backstage"},
        {"s<Enter><End><Enter>", "SSID: 'studio'"},
        {"r<Enter>", "Backstage"},
        {"<End><Up><Enter>", "SSID: 'Backstage'"},
        {"c<Enter>", "Access point password?"},
        {"secret12<Enter>", "Backstage"},
        {"r<Enter>", "Network configuration: wlan0"},
        {"m<Enter>", "Tavrin 4"},
        {"e<Enter>", ""},
    };
    return tour;
}

void WalkTour(Terminal& t, bool watched) {
    for (const Leg& leg : Tour()) {
        if (!t.Running()) return;
        t.Press(leg.keys);
        if (watched) t.WaitFor(leg.sign);
        t.Settle(kLegSeconds);
    }
}

void RushTour(Terminal& t) {
    std::string keys;
    for (const Leg& leg : Tour())
        keys += leg.keys;
    const auto begun = [&] { return !t.Running() || t.Shows("Exit this program"); };
    t.machine().Await(begun, kStartSeconds);
    t.Press(keys);
    t.Settle(kLegSeconds);
}

TerminalOptions Hasty(const Machine& box, const FailingCall& fault) {
    TerminalOptions options;
    options.rows = 30;
    // A fault may cause leaks.
    options.environment = WithoutLeakSearch(box);
    options.program = FAULTS_INJECT;
    options.arguments = {std::to_string(fault.call), std::to_string(fault.when),
                         std::to_string(fault.error), TestedProgram()};
    return options;
}

TerminalOptions Traced(const Machine& box, const std::string& calls, const std::string& injection) {
    TerminalOptions options;
    options.rows = 30;
    // Leak detection does not work under a tracer.
    options.environment = WithoutLeakSearch(box);
    options.program = "/usr/bin/strace";
    // -DDD: the tracer is a separate process, and the program stays a direct child of the terminal.
    options.arguments = {"-DDD",        "-qq", "-s",   "400", "-e",
                         "signal=none", "-o",  kTrace, "-e",  "inject=clock_nanosleep:retval=0"};
    const auto add = [&](const std::string& expression) {
        options.arguments.insert(options.arguments.end(), {"-e", expression});
    };
    add("trace=clock_nanosleep," + calls);
    if (!injection.empty()) add("inject=" + injection);
    options.arguments.push_back(TestedProgram());
    return options;
}

Ending EndTour(Terminal& t) {
    // The first Ctrl-C may go to a command.
    for (int i = 0; i < 4 && t.Running(); ++i) {
        t.Press("<C-c>");
        t.machine().Await([&] { return !t.Running(); }, 1);
    }
    return t.WaitExit();
}

bool IsOrderly(const Ending& ending) {
    return ending == Exited(0) || ending == Exited(1) || ending == Exited(130);
}

std::string TerminalDamage(Terminal& t) {
    std::ostringstream damage;
    if (!t.LineMode()) damage << "the terminal is not in line mode\n";
    if (!t.CursorVisible()) damage << "the cursor is hidden\n";
    if (t.AltScreen()) damage << "the screen is still up\n";
    if (!t.MouseReporting().empty()) damage << "the mouse is still reported\n";
    if (!KeypadSendsDigits(t.Output())) damage << "the keypad sends no digits\n";
    return damage.str();
}

}  // namespace harness::faults
