// Uses the program on the machine like an operator, and reports for each check whether it passed.
//
//     ifmenu_vm FOLDER [CHECK...]      only the checks whose names start like this
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "machine.h"
#include "screen.h"

namespace vm {
namespace {

using Words = std::vector<std::string>;

constexpr const char* kEth0File = "/etc/network/02:00:00:00:10:20";

std::string Trim(const std::string& text) {
    const size_t first = text.find_first_not_of(" \n");
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(" \n") + 1 - first);
}

void Same(const std::string& what, const std::string& expected, const std::string& seen) {
    Require(expected == seen, what + "\nexpected: " + expected + "\nseen:     " + seen);
}

void AwaitSh(Machine& machine, const std::string& command) {
    int status = 0;
    std::string last;
    const auto holds = [&] {
        last = machine.Run(command, status);
        return status == 0;
    };
    if (!Await(holds)) throw Failure("never succeeds: " + command + "\n" + last);
}

// ---- networks on the air ----

constexpr const char* kBackToInterface = "Bring up this interfaces";

void OpenInterface(Line& line, const std::string& name) {
    line.WaitFor(". " + name);
    std::string number;
    for (int row = 0; row < kRows; row++) {
        const size_t at = line.Row(row).find(". " + name + " ");
        if (at != std::string::npos) number = line.Row(row).substr(at - 1, 1);
    }
    line.Press(number + "<Enter>");
    line.WaitFor("Network configuration: " + name);
    line.WaitFor(kBackToInterface);
}

void OpenList(Line& line) {
    line.Open();
    OpenInterface(line, "wlan0");
    line.Press("w<Enter>");
    line.WaitFor("Return to wifi menu");
}

void ScanUntil(Line& line, const std::string& text) {
    for (int tries = 0; tries < 6 && !line.Shows(text); tries++) {
        line.Press("s<Enter>");
        line.WaitFor("Scanning for access points...");
        line.WaitFor("Return to wifi menu");
    }
    line.WaitFor(text);
}

// The index of the first network in the list whose row contains the text.
int PlaceOf(Line& line, const std::string& text) {
    line.WaitFor(text);
    constexpr int kFirst = 10;
    for (int row = kFirst; row < kRows; row++) {
        if (line.Row(row).find(text) != std::string::npos) return row - kFirst;
    }
    throw Failure("not among the networks: " + text + "\n" + line.Text());
}

void OpenNetwork(Line& line, const std::string& text) {
    std::string keys = "r<Down><Down><Down><Down>";
    for (int i = PlaceOf(line, text); i > 0; i--)
        keys += "<Down>";
    line.Press(keys + "<Enter>");
    line.WaitFor("Return to wifi ap menu");
}

void Join(Line& line, const std::string& text, const std::string& password) {
    OpenNetwork(line, text);
    line.Press("c<Enter>");
    line.WaitFor("Access point password?");
    line.Type(password + "\r");
    line.WaitFor("Connecting to access point");
    line.WaitFor("Return to wifi menu");
}

std::string OnNetwork(const std::string& name) {
    return "iw dev wlan0 link | grep -qF 'SSID: " + name + "'";
}

void NothingJoined(Machine& machine) {
    // Association comes before the passphrase is checked, and proves nothing. 25 seconds are enough
    // for the steps of several attempts.
    Require(!machine.Holds("for second in $(seq 25); do wpa_cli -i wlan0 status | "
                           "grep -q wpa_state=COMPLETED && exit; sleep 1; done; false"),
            "joined: " + machine.Sh("iw dev wlan0 link"));
}

void JoinStudio(Machine& machine, Line& line) {
    OpenList(line);
    ScanUntil(line, "studio");
    Join(line, "studio", "quiet on the set");
    AwaitSh(machine, OnNetwork("studio"));
}

void CheckRows(Machine& machine, Line& line) {
    JoinStudio(machine, line);
    AwaitSh(machine, "ip -4 -oneline addr show dev wlan0 | grep -q inet");
    line.Press("r<Enter>");
    line.WaitFor(kBackToInterface);
    line.Press("m<Enter>");
    line.WaitFor("Exit this program");
    for (const char* name : {"eth0", "wlan0"}) {
        const std::string dev = name;
        const std::string mac =
            Trim(machine.Sh("cat /sys/class/net/" + dev + "/address | tr a-f A-F"));
        line.WaitFor(". " + dev);
        line.WaitFor(mac + "  Link active  Interface up");
        const std::string address = Trim(machine.Sh("ip -4 -oneline addr show dev " + dev +
                                                    " | sed 's/.*inet \\([0-9.]*\\).*/\\1/'"));
        line.WaitFor(
            "IPv4: " + address + "   netmask: 255.255.255.0  gateway: " +
            Trim(machine.Sh("ip -4 route show default dev " + dev + " | cut -d ' ' -f 3")));
    }
    const std::string point =
        Trim(machine.Sh("iw dev wlan0 link | sed -n 's/Connected to \\([0-9a-f:]*\\).*/\\1/p' | "
                        "tr a-f A-F"));
    const std::string mhz =
        Trim(machine.Sh("iw dev wlan0 link | sed -n 's/.*freq: \\([0-9]*\\).*/\\1/p'"));
    line.WaitFor("Wireless: 'studio' @" + mhz.substr(0, 1) + "." + mhz.substr(1) + "GHz A/P " +
                 point + " Enabled: Yes, RF-Kill: off");
    line.WaitFor("WARNING: Multiple gateways active");
}

void CheckWrongPassphrase(Machine& machine, Line& line) {
    OpenList(line);
    ScanUntil(line, "Backstage");
    Join(line, "Backstage", "in front of it");
    NothingJoined(machine);
}

void CheckShortPassphrase(Machine& machine, Line& line) {
    JoinStudio(machine, line);
    ScanUntil(line, "Backstage");
    Join(line,
         "NEW  " + Trim(machine.Sh("wpa_cli -i wlan0 scan_result | grep Backstage | cut -f 1")),
         "7 chars");
    AwaitSh(machine, "iw dev wlan0 link | grep -q Not");
    AwaitSh(machine, "sed -n '/studio/,/}/p' /etc/network/*.wireless | grep -q disabled=1");
    line.Press("a<Enter>");
    line.WaitFor("Allowing any access point...");
    line.WaitFor("Return to wifi menu");
    AwaitSh(machine, OnNetwork("studio"));
}

void CheckNewAddress(Machine& machine, Line& line) {
    JoinStudio(machine, line);
    AwaitSh(machine, "ip -4 addr show dev wlan0 | grep -q 'inet 10.0.0.1'");
    ScanUntil(line, "Backstage");
    Join(line, "Backstage", "behind the stage");
    AwaitSh(machine, OnNetwork("Backstage"));
    AwaitSh(machine, "ip -4 addr show dev wlan0 | grep -q 'inet 10.0.1.1'");
    Same("one address", "1", Trim(machine.Sh("ip -4 addr show dev wlan0 | grep -c inet")));
    Same("its gateway", "10.0.1.1",
         Trim(machine.Sh("ip route show default dev wlan0 | cut -d ' ' -f 3")));
}

void JoinsByAddress(Machine& machine, Line& line, const std::string& shown, const std::string& seen,
                    const std::string& password) {
    OpenList(line);
    ScanUntil(line, shown);
    Join(line, shown, password);
    AwaitSh(machine, OnNetwork(seen));
    ScanUntil(line, shown);
    Require(line.Row(10 + PlaceOf(line, shown)).find("NEW") != std::string::npos,
            "not listed as new:\n" + line.Text());
    line.WaitFor("(no SSID)");
    bool known = false;
    for (int row = 10; row < kRows; row++) {
        const std::string text = line.Row(row);
        if (text.find("(no SSID)") != std::string::npos && text.find("NEW") == std::string::npos)
            known = true;
    }
    Require(known, "not listed as known:\n" + line.Text());
}

void CheckUtf8Name(Machine& machine, Line& line) {
    JoinsByAddress(machine, line, "Caf\\xc3\\xa9", "Caf\\xc3\\xa9", "croissant au beurre");
}

void CheckQuotedName(Machine& machine, Line& line) {
    JoinsByAddress(machine, line, "Tom's", "Tom", "up the stairs");
}

void CheckForget(Machine& machine, Line& line) {
    JoinStudio(machine, line);
    OpenNetwork(
        line,
        "     " + Trim(machine.Sh("wpa_cli -i wlan0 list_networks | grep studio | cut -f 3")));
    line.Press("cc<Enter>");
    line.WaitFor("Are you sure? [y/n]");
    line.Press("y");
    line.WaitFor("Removing access point");
    line.WaitFor("Return to wifi menu");
    AwaitSh(machine, "! grep -q studio /etc/network/*.wireless");
    AwaitSh(machine, "iw dev wlan0 link | grep -q Not");
    AwaitSh(machine, "! wpa_cli -i wlan0 list_networks | grep -q studio");
}

// Runs the manual's commands for a network of this name.
void JoinsByTheManual(Machine& machine, const std::string& network) {
    const std::string block =
        "awk '/^[.]Bd/ { block = \"\" } /^wpa_cli/ { block = block $0 \"\\n\" } /^[.]Ed/ && "
        "index(block, \"\\\"" +
        network + "\\\"\") { printf \"%s\", block }' /vm/ifmenu-recipes.7";
    Require(machine.Sh(block).find("select_network") != std::string::npos,
            "the manual has no commands for " + network);
    const std::string id = Trim(machine.Sh("wpa_cli -i wlan0 add_network"));
    machine.Sh(block + " | grep -v add_network | sed 's/\\\\e/\\\\/g; s/_network [0-9]*/_network " +
               id + "/' | sh");
    AwaitSh(machine, OnNetwork(network));
    machine.Sh("wpa_cli -i wlan0 remove_network " + id);
}

void CheckManual(Machine& machine, Line&) {
    for (const char* network : {"guests", "attic", "cellar"})
        JoinsByTheManual(machine, network);
}

// ---- the rfkill switch ----

void SwitchRadio(Machine& machine, Line& line) {
    line.Open();
    OpenInterface(line, "wlan0");
    line.WaitFor("Enable soft RF-kill");
    line.Press("r<Enter>");
    line.WaitFor("Disable soft RF-kill");
    Same("the kernel's switch", "1",
         Trim(machine.Sh("cat /sys/class/net/wlan0/phy80211/rfkill*/soft")));
    line.WaitFor("Enabled: No, RF-Kill: S/W");
    line.Press("r<Enter>");
    line.WaitFor("Enable soft RF-kill");
    Same("the kernel's switch", "0",
         Trim(machine.Sh("cat /sys/class/net/wlan0/phy80211/rfkill*/soft")));
    line.WaitFor("Enabled: Yes, RF-Kill: off");
}

void CheckRadioKill(Machine& machine, Line& line) {
    Require(machine.Holds("[ -d /sys/class/net/wlan0/phy80211/rfkill0 ]"), "no rfkill0");
    SwitchRadio(machine, line);
}

void CheckOtherRadioKill(Machine& machine, Line& line) {
    machine.Sh("/etc/init.d/network stop wlan0; /vm/air; /etc/init.d/network start wlan0");
    Require(machine.Holds("[ ! -d /sys/class/net/wlan0/phy80211/rfkill0 ]"), "still rfkill0");
    SwitchRadio(machine, line);
}

// ---- the settings ----

struct Setting {
    const char* name;
    const char* base;    // lines that differ from the template beforehand
    int row;             // row in the editor
    const char* text;    // the typed text; "" for a switch
    const char* line;    // line in the file afterwards
    const char* effect;  // holds after the interface was updated
};

constexpr const char* kStatic = "dhcp = 0\\nstatic ip = 192.168.10.20\\n";

const Setting kSettings[] = {
    {"disabled", kStatic, 0, "", "disabled = 1", "! ip link show dev eth0 up | grep -q eth0"},
    {"manage", kStatic, 1, "", "manage = 0", "ip addr show dev eth0 | grep -q 192.168.10.77"},
    {"enable_ip6", kStatic, 2, "", "enable_ip6 = 0",
     "[ $(cat /proc/sys/net/ipv6/conf/eth0/disable_ipv6) = 1 ]"},
    {"dhcp", "dhcp = 0\\n", 3, "", "dhcp = 1",
     "ip addr show dev eth0 | grep -q 'inet 192.168.10.1'"},
    {"dhcp_gw", "", 4, "", "dhcp_gw = 0",
     "ip addr show dev eth0 | grep -q 'inet 192' && [ -z \"$(ip -4 route show default dev eth0)\" "
     "]"},
    {"dhcp6", kStatic, 5, "", "dhcp6 = 1",
     "ip addr show dev eth0 | grep -q 'inet6 2001:db8:10::1[0-9a-f][0-9a-f]/'"},
    {"ipv6_router_adv", kStatic, 6, "", "ipv6_router_adv = 0",
     "[ $(cat /proc/sys/net/ipv6/conf/eth0/accept_ra) = 0 ] && ! ip addr show dev eth0 | grep -q "
     "2001"},
    {"static ip", "dhcp = 0\\n", 7, "192.168.10.30", "static ip = 192.168.10.30",
     "ip addr show dev eth0 | grep -q 192.168.10.30/24"},
    {"static ip netmask", kStatic, 8, "255.255.0.0", "static ip netmask = 255.255.0.0",
     "ip addr show dev eth0 | grep -q 192.168.10.20/16"},
    {"gateway", kStatic, 9, "192.168.10.1", "gateway = 192.168.10.1",
     "ip route show default dev eth0 | grep -q 192.168.10.1"},
    {"dns", kStatic, 10, "192.168.10.1", "dns = 192.168.10.1",
     "getent hosts router.example | grep -q 192.168.10.1"},
    {"static ip6", kStatic, 11, "2001:db8:10::30/64", "static ip6 = 2001:db8:10::30/64",
     "ip addr show dev eth0 | grep -q 2001:db8:10::30/64"},
    {"nat enable", "dhcp = 0\\nnat role = lan\\n", 12, "", "nat enable = 1",
     "nft list set ip tavrin_nat lan | grep -q eth0"},
    {"nat role", "dhcp = 0\\nnat enable = 1\\n", 13, "", "nat role = public",
     "nft list set ip tavrin_nat public | grep -q eth0"},
};

void CheckSetting(Machine& machine, Line& line, const Setting& setting) {
    machine.Sh(std::string("{ cat /etc/network/example; printf '") + setting.base + "'; } >" +
               kEth0File + "; ip addr add 192.168.10.77/24 dev eth0 2>/dev/null; true");
    line.Press("c<Enter>");
    line.WaitFor("Save changes");
    std::string keys;
    for (int i = 0; i < setting.row; i++)
        keys += "<Down>";
    if (*setting.text == '\0') {
        line.Press(keys + "<Space>");
    } else {
        line.Press(keys + "<Enter>");
        for (int i = 0; i < 16; i++)
            line.Press("<Backspace>");
        line.Type(std::string(setting.text) + "\r");
        line.WaitFor(setting.text);
    }
    line.Press("s<Enter>");
    line.WaitFor(kBackToInterface);
    Require(machine.Holds(std::string("grep -qx '") + setting.line + " *' " + kEth0File),
            std::string("not in the file: ") + setting.line + "\n" +
                machine.Sh(std::string("cat ") + kEth0File));
    line.Press("uu<Enter>");
    line.WaitFor("Are you sure? [y/n]");
    line.Press("y");
    line.WaitForGone("Are you sure? [y/n]");
    line.WaitFor(kBackToInterface);
    AwaitSh(machine, setting.effect);
}

void CheckSettings(Machine& machine, Line& line) {
    line.Open();
    OpenInterface(line, "eth0");
    for (const Setting& setting : kSettings) {
        try {
            CheckSetting(machine, line, setting);
            printf("      %s\n", setting.name);
        } catch (const Failure& failure) {
            throw Failure(std::string(setting.name) + ": " + failure.what());
        }
    }
}

// Cuts the power twenty times, each time a little later after a save was requested.
void CheckPowerCuts(Machine& machine, Line& line) {
    line.Open();
    OpenInterface(line, "eth0");
    machine.Sh(std::string("{ cat /etc/network/example; printf '") + kStatic + "'; } >" +
               kEth0File);
    line.Press("c<Enter>");
    line.WaitFor("Save changes");
    line.Press("<Space>s<Enter>");
    line.WaitFor(kBackToInterface);
    machine.Sh("sync");
    const std::string before = machine.Sh(std::string("cat ") + kEth0File);
    line.Press("c<Enter>");
    line.WaitFor("Save changes");
    line.Press("<Space>s");
    line.WaitSelected("Save changes");
    machine.Save("saving");
    line.Press("<Enter>");
    line.WaitFor(kBackToInterface);
    const std::string after = machine.Sh(std::string("cat ") + kEth0File);
    Require(before != after, "the save changes nothing");
    int old = 0;
    int changed = 0;
    const std::string image = machine.folder() + "/cut";
    for (int cut = 0; cut < 20; cut++) {
        machine.Load("saving");
        line.Press("<Enter>");
        std::this_thread::sleep_for(std::chrono::milliseconds(4 * cut));
        machine.Monitor("stop");
        const std::string look = "qemu-img convert -U -O raw '" + machine.folder() +
                                 "/settings.qcow2' '" + image + "' && { e2fsck -fy '" + image +
                                 "' >'" + image + ".fsck' 2>&1; debugfs -R 'cat " +
                                 std::string(kEth0File).substr(std::strlen("/etc/network")) +
                                 "' '" + image + "' 2>/dev/null; }";
        FILE* pipe = popen(look.c_str(), "r");
        std::string text;
        char bytes[4096];
        for (size_t got = 0; (got = fread(bytes, 1, sizeof bytes, pipe)) > 0;)
            text.append(bytes, got);
        pclose(pipe);
        Require(text == before || text == after,
                "torn by power cut " + std::to_string(cut) + ":\n" + text);
        (text == before ? old : changed)++;
    }
    printf("      %d with the old settings, %d with the new ones\n", old, changed);
}

// ---- terminals ----

void CheckCursorAtRow(const Screen& screen) {
    const int row = screen.Selected();
    Require(row >= 0, "no row is displayed as selected:\n" + screen.Text());
    const auto column = static_cast<int>(screen.Row(row).find_first_not_of(' '));
    Same("the cursor", std::to_string(row) + "," + std::to_string(column),
         std::to_string(screen.cursor_row()) + "," + std::to_string(screen.cursor_column()));
}

// The selected row is distinguishable from the others, and moves.
void SelectionShows(Screen& screen) {
    screen.WaitSelected("Bring up all interfaces");
    screen.Press("<Down>");
    screen.WaitSelected("Bring down all interfaces");
}

void CheckNoColours(Machine&, Line& line) {
    line.Open();
    SelectionShows(line);
    int colours = 0;
    for (int row = 0; row < kRows; row++) {
        for (int column = 0; column < kColumns; column++) {
            const harness::Cell cell = line.emulator().At(row, column);
            if (cell.fg != harness::kDefault || cell.bg != harness::kDefault) colours++;
        }
    }
    Same("coloured cells", "0", std::to_string(colours));
    line.Press("<End>");
    line.WaitSelected("Exit this program");
    line.Press("<Home>");
    line.WaitSelected("Bring up all interfaces");
}

void CheckColours(Machine& machine, Line&) {
    Line coloured(machine.line(), "linux");
    coloured.Open();
    SelectionShows(coloured);
    const harness::Cell cell = coloured.emulator().At(coloured.Selected(), 8);
    Same("the selected row", "white/blue", cell.Style().substr(0, 10));
}

void CheckCursor(Machine& machine, Line& line) {
    line.Open();
    SelectionShows(line);
    CheckCursorAtRow(line);
    Console console(machine);
    console.Type("ifmenu");
    console.Press("<Enter>");
    console.WaitFor("1. eth0");
    SelectionShows(console);
    CheckCursorAtRow(console);
}

void CheckSlowLine(Machine& machine, Line& line) {
    line.Type("stty 9600\r");
    line.Open();
    Same("the line's speed", "speed 9600 baud;",
         machine.Sh("stty -F /dev/ttyS1 | head -n 1").substr(0, 16));
    line.Look();
    const size_t before = line.bytes();
    line.Press("<Down>");
    line.WaitSelected("Bring down all interfaces");
    // At ten bits per byte a move takes less than a quarter of a second.
    const size_t bytes = line.bytes() - before;
    Require(bytes > 0 && bytes <= 240, std::to_string(bytes) + " bytes for a move");
    line.Press("s<Enter>");
    line.WaitFor("Main menu");
}

std::string Settled(Screen& screen) {
    std::string last;
    for (int same = 0; same < 10;) {
        screen.Look();
        same = screen.Text() == last ? same + 1 : 0;
        last = screen.Text();
    }
    return last;
}

// The messages may have been painted over by the time the shell looks.
void KernelSpeaks(Machine& machine) {
    machine.Sh(
        "until grep -aq 'radio: message 6' /dev/vcs1; do for i in 1 2 3 4 5 6; do "
        "echo \"<2>radio: message $i\" >/dev/kmsg; done; done");
}

// On the services screen, which does not refresh, and in a dialog.
void CheckKernelMessages(Machine& machine, Line&) {
    machine.Sh("dmesg -n 7");
    Console console(machine);
    console.Type("ifmenu");
    console.Press("<Enter>");
    console.WaitFor("1. eth0");
    const auto recovers = [&](const std::string& where) {
        const std::string before = Settled(console);
        KernelSpeaks(machine);
        console.WaitForGone("radio: message");
        Same(where, before, Settled(console));
    };
    console.Press("s<Enter>");
    console.WaitFor("FTP service");
    recovers("Services");
    console.Press("m<Enter>");
    console.WaitFor("1. eth0");
    console.Press("n<Enter>");
    console.WaitFor("New computer host name");
    recovers("the dialog");
}

// On a line that is no console, where nothing else repaints the screen.
void CheckCtrlL(Machine& machine, Line& line) {
    const auto recovers = [&](const std::string& where) {
        const std::string before = Settled(line);
        machine.Sh(
            "for i in 1 2 3 4 5 6; do printf '\\r\\nradio: message %s' $i; done >/dev/ttyS1");
        line.WaitFor("radio: message 6");
        line.Press("<C-l>");
        line.WaitForGone("radio: message");
        Same(where, before, Settled(line));
    };
    line.Open();
    line.Press("s<Enter>");
    line.WaitFor("FTP service");
    recovers("Services");
    line.Press("m<Enter>");
    line.WaitFor("Exit this program");
    line.Press("n<Enter>");
    line.WaitFor("New computer host name");
    recovers("the dialog");
}

void CheckHangUp(Machine& machine, Line&) {
    machine.Sh("modprobe ftdi_sio");
    const std::string path = machine.folder() + "/usb.socket";
    unlink(path.c_str());
    machine.Monitor("chardev-add socket,id=usb,path=" + path + ",server=on,wait=off");
    machine.Monitor("device_add usb-serial,chardev=usb,id=cable");
    Socket socket(path);
    AwaitSh(machine, "[ -c /dev/ttyUSB0 ]");
    machine.Sh(
        "setsid agetty --autologin root -L 115200 ttyUSB0 vt220 </dev/null >/dev/null 2>&1 &");
    Line line(socket, "vt220");
    line.WaitFor("#");
    line.Open();
    Require(machine.Holds("pidof ifmenu"), "the program does not run");
    machine.Monitor("device_del cable");
    AwaitSh(machine, "[ ! -c /dev/ttyUSB0 ] || ! pidof ifmenu");
    AwaitSh(machine, "! pidof ifmenu");
}

// ---- services ----

void OpenServices(Line& line) {
    line.Open();
    line.Press("s<Enter>");
    line.WaitFor("FTP service");
}

void CheckSmb(Machine& machine, Line&) {
    Line line(machine.line(), "linux");
    OpenServices(line);
    line.Choose("SMB/CIFS service");
    line.WaitFor("Disable SMB/CIFS service");
    line.Choose("Configure SMB/CIFS user accounts");
    line.WaitFor("Create user");
    line.Press("c<Enter>");
    line.WaitFor("Enter user account.");
    for (int i = 0; i < 8; i++)
        line.Press("<Backspace>");
    line.Type("editor\r");
    line.WaitFor("Configure user 'editor' [account disabled] [no password]");
    const auto client = [&](const std::string& password) {
        return "smbclient //127.0.0.1/media -U 'editor%" + password + "' -c ls 2>&1";
    };
    const auto set_password = [&] {
        line.Choose("Configure user 'editor'");
        line.WaitFor("Set password");
        line.Press("p<Enter>");
        line.WaitFor("SMB/CIFS account password?");
        line.Type("cut and paste\r");
        line.WaitFor("Configure user 'editor'");
        line.WaitForGone("[account disabled]");
    };
    set_password();
    AwaitSh(machine, client("cut and paste") + " | grep -q film");
    Require(machine.Holds(client("something else") + " | grep -q LOGON_FAILURE"),
            "another password is accepted");
    line.Choose("Configure user 'editor'");
    line.WaitFor("Disable account");
    line.Press("d<Enter>");
    line.WaitFor("Configure user 'editor' [account disabled]");
    AwaitSh(machine, client("cut and paste") + " | grep -q ACCOUNT_DISABLED");
    set_password();
    AwaitSh(machine, client("cut and paste") + " | grep -q film");
}

void CheckVnc(Machine& machine, Line&) {
    Line line(machine.line(), "linux");
    OpenServices(line);
    line.Choose("Setup remote VNC access");
    line.WaitFor("Set VNC password");
    line.Type("cutpaste\r");
    line.WaitFor("Disable remote VNC access");
    Same("its file", "400", Trim(machine.Sh("stat -c %a /etc/local.desktop.vnc.passwd")));
    // The viewer's window is on a second desktop. vncpasswd itself adds an empty password for those
    // who may only watch.
    machine.Sh(
        "cd /run && echo cutpaste | vncpasswd -f >right && echo otherone | vncpasswd -f >wrong && "
        "printf 'cutpaste\\n\\n' | vncpasswd -f | tail -c 8 >empty && [ $(wc -c <empty) = 8 ]");
    machine.Sh(
        "cd /run; for desktop in ':1 -rfbauth /etc/local.desktop.vnc.passwd' "
        "':2 -SecurityTypes None'; do setsid Xtigervnc $desktop >desktop${desktop%% *} 2>&1 "
        "</dev/null & done");
    AwaitSh(machine, "[ $(cat /run/desktop:* | grep -ic 'created VNC server') = 2 ]");
    const auto lets_in = [&](const std::string& password) {
        const std::string log = "/run/viewer." + password;
        machine.Sh("DISPLAY=:2 setsid xtigervncviewer -Log '*:stderr:100' -passwd /run/" +
                   password + " 127.0.0.1:1 >" + log + " 2>&1 </dev/null &");
        AwaitSh(machine, "grep -Eiq 'authentication success|auth.* fail' " + log);
        return machine.Holds("grep -iq 'authentication success' " + log);
    };
    Require(lets_in("right"), "the typed password is refused");
    Require(!lets_in("wrong"), "another password is accepted");
    Require(!lets_in("empty"), "an empty password is accepted");
}

// ---- running the checks ----

struct Check {
    const char* name;
    const char* what;
    void (*run)(Machine&, Line&);
};

const Check kChecks[] = {
    {"rows", "The rows match ip and iw after joining with the right passphrase", CheckRows},
    {"wrong", "A wrong passphrase joins no network", CheckWrongPassphrase},
    {"short", "A short passphrase loses the joined network until any is allowed",
     CheckShortPassphrase},
    {"address", "A card that changes its network gets a new address", CheckNewAddress},
    {"utf8", "A network with a non-ASCII name is joined by its address", CheckUtf8Name},
    {"quoted", "A network with a quoted name is joined by its address", CheckQuotedName},
    {"forget", "Forgetting a network leaves it and removes it from the file", CheckForget},
    {"manual", "The manual's commands join open, hidden and WPA3 networks", CheckManual},
    {"rfkill", "The soft RF-kill switch, called rfkill0", CheckRadioKill},
    {"renumbered", "The soft RF-kill switch with another number", CheckOtherRadioKill},
    {"settings", "Each of the fourteen settings takes effect", CheckSettings},
    {"messages", "The screen recovers from kernel messages on the console", CheckKernelMessages},
    {"repaint", "Ctrl-L repaints the whole screen", CheckCtrlL},
    {"colours", "The selected row is visible with colours", CheckColours},
    {"plain", "The selected row is visible without colours; HOME and END work", CheckNoColours},
    {"cursor", "The cursor is on the selected row, on the line and the console", CheckCursor},
    {"slow", "The program works at 9,600 baud", CheckSlowLine},
    {"power", "Twenty power cuts around a save tear no file", CheckPowerCuts},
    {"hangup", "The program ends when its line hangs up", CheckHangUp},
    {"smb", "SMB accounts work with a real server and client", CheckSmb},
    {"vnc", "The VNC password works with a real server and viewer", CheckVnc},
};

bool Wanted(const Check& check, const Words& names) {
    if (names.empty()) return true;
    for (const std::string& name : names) {
        if (std::string(check.name).rfind(name, 0) == 0) return true;
    }
    return false;
}

// Every check starts with the machine as it was after its start.
int RunChecks(const std::string& folder, const Words& names) {
    printf("Starting the machine ...\n");
    Machine machine(folder);
    printf("%s%s\n", machine.Sh("echo \"Linux $(uname -r), $(cat /etc/debian_version)\"").c_str(),
           machine.emulated() ? "emulated" : "with KVM");
    Line(machine.line(), "vt220").WaitFor("#");
    machine.Save("ready");
    int failed = 0;
    int passed = 0;
    for (const Check& check : kChecks) {
        if (!Wanted(check, names)) continue;
        try {
            machine.Load("ready");
            Line line(machine.line(), "vt220");
            check.run(machine, line);
            passed++;
            printf("passed: %s (%s)\n", check.what, check.name);
        } catch (const Failure& failure) {
            failed++;
            printf("FAILED: %s (%s)\n%s\n", check.what, check.name, failure.what());
        }
    }
    printf("%d passed, %d failed\n", passed, failed);
    return failed == 0 && passed > 0 ? 0 : 1;
}

}  // namespace
}  // namespace vm

int main(int argc, char** argv) {
    setvbuf(stdout, nullptr, _IOLBF, 0);
    if (argc < 2) {
        fprintf(stderr, "usage: ifmenu_vm FOLDER [CHECK...]\n");
        return 2;
    }
    try {
        return vm::RunChecks(argv[1], vm::Words(argv + 2, argv + argc));
    } catch (const vm::Failure& failure) {
        printf("%s\n", failure.what());
        return 1;
    }
}
