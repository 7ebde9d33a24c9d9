#include "stage.h"

namespace pictures {
namespace {

// Replaces the cable to the demo's router, whose traffic differs from run to run.
constexpr const char* kCable = R"(
index=$(cat /sys/class/net/eth1/ifindex)
ip link delete eth1
ip link add eth1 index "$index" address 02:00:00:00:10:21 type bridge
)";

// Removes what the packages of this computer leave in /etc, and sets up the services.
constexpr const char* kServices = R"(
rm -rf /etc/vsftpd.conf* /etc/samba /etc/TAVRIN /etc/local.desktop.vnc* /etc/local.desktop.webui.ctl
mkdir /etc/samba
: >/etc/samba/smb.conf
echo ssl_enable=NO >/etc/vsftpd.conf
/etc/init.d/service-apache start
/etc/init.d/service-control-api start
)";

constexpr const char* kAccounts =
    "---------------\n"
    "Unix username:        editor\n"
    "Account Flags:        [U          ]\n"
    "---------------\n"
    "Unix username:        ingest\n"
    "Account Flags:        [DU         ]\n"
    "---------------\n"
    "Unix username:        root\n"
    "Account Flags:        [DU         ]\n";

// What the cards answer. The wireless card is the same as in the demo. The links of the others are
// fixed here because not every kernel can create the demo's cards.
constexpr const char* kCards =
    "eth0 link 1\n"
    "br0 link 0\n"
    "wlan0 name IEEE 802.11\n"
    "wlan0 essid studio\n"
    "wlan0 freq 2437 6\n"
    "wlan0 ap 02:00:00:00:20:01\n"
    "wlan0 link 1\n";

constexpr const char* kGate = "/mnt/gate";

}  // namespace

Stage::Stage() : Machine(harness::Kind::kDemo) {
    ShowLink(false);
    Sh(kCable);
    Sh(kServices);
    StandIn("pdbedit", kAccounts);
}

void Stage::ShowLink(bool link) {
    Cards(std::string(kCards) + "eth1 link " + (link ? "1\n" : "0\n"));
}

void Stage::HoldNetworkScript() {
    Sh(std::string("mv /etc/init.d/network /etc/init.d/network.real; mkfifo ") + kGate);
    StandInScript("/etc/init.d/network",
                  "/etc/init.d/network.real \"$@\"\n"
                  "[ $1 = stop ] || read -r _ </mnt/gate\n");
}

void Stage::Continue() {
    Sh(std::string("echo >") + kGate);
}

harness::TerminalOptions OptionsOf(int rows, int cols) {
    harness::TerminalOptions options;
    options.rows = rows;
    options.cols = cols;
    return options;
}

void Go(harness::Terminal& terminal, const std::string& keys, const std::string& wait_for) {
    terminal.Press(keys);
    terminal.WaitFor(wait_for);
    if (terminal.AltScreen()) terminal.Settle();
}

}  // namespace pictures
