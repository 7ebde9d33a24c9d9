// The program with a real supplicant and its real client. The supplicant is a wired one on a tap,
// because not every kernel can simulate wireless cards; the test supplies the scan results. After
// each action the supplicant's configuration file is checked.
#include "wireless_fixtures.h"

namespace wireless {
namespace {

constexpr const char* kClient = "/usr/sbin/wpa_cli";
constexpr const char* kDaemon = "/usr/sbin/wpa_supplicant -B -D wired -i wlan0 -c /etc/wpa.conf";
constexpr const char* kConfig = "/etc/wpa.conf";
constexpr const char* kHead = "ctrl_interface=/run/wpa_supplicant\nap_scan=0\n";
constexpr const char* kSaved = "ctrl_interface=/run/wpa_supplicant\nap_scan=0\nupdate_config=1\n";

// A network in the file: its lines in order, trimmed.
std::string Network(const Words& lines) {
    std::string text = "\nnetwork={\n";
    for (const std::string& line : lines)
        text += line + "\n";
    return text + "}\n";
}
const Words kAttic = {"ssid=\"attic\"", "psk=\"under the roof\"", "key_mgmt=WPA-PSK"};

Words With(Words lines, const std::string& line) {
    lines.push_back(line);
    return lines;
}

class SupplicantBox : public Machine {
  public:
    SupplicantBox() {
        if (!Exists(kClient)) Skip("no wpasupplicant on this system", Place::current());
        AddTap("wlan0");
        Sh("ip link set wlan0 address 02:1a:2b:3c:4d:5e up; mkdir -p /var/network/"
           "02:1a:2b:3c:4d:5e /mnt/air");
        Cards("wlan0 name IEEE 802.11\n");
        Write(kConfig, kHead + Network(kAttic), 0600);
        SetSeen("");
        SkipWhereItCannotStart();
        // What the start-up script would do.
        StandInScript(kNetwork, kDaemon + std::string(" -P ") + kPidFile);
        StandInScript("wpa_cli", "if [ \"$3\" = scan_result ]; then cat /mnt/air/seen; else exec " +
                                     std::string(kClient) + " \"$@\"; fi");
    }
    // Some releases of the supplicant need the kernel's wireless support even for a wired card.
    void SkipWhereItCannotStart() {
        const std::string end =
            " && wpa_cli -i wlan0 terminate && while [ -e /run/wpa_supplicant/wlan0 ]; do sleep "
            "0.01; done";
        const std::string said = Sh(kDaemon + (" 2>&1" + end) + " || true");
        if (said.find("'nl80211' generic netlink not found") != std::string::npos)
            Skip("this supplicant needs a kernel with wireless cards", Place::current());
    }
    void SetSeen(const std::string& rows) {
        Write("/mnt/air/seen", "bssid / frequency / signal level / flags / ssid\n" + rows);
    }
    // The configuration file without indentation and without the supplicant's own defaults.
    std::string Config() { return Sh("sed -e '/mesh_fwding=/d' -e 's/^[ \\t]*//' /etc/wpa.conf"); }
    void WaitForConfig(const std::string& text, Place place = Place::current()) {
        WaitUntil([&] { return Config() == text; }, "the configuration\n" + text,
                  Terminal::kPatience, place);
    }
    // The supplicant's networks, as its client prints them.
    void WaitForNetworks(const std::string& rows, Place place = Place::current()) {
        const std::string listing = "network id / ssid / bssid / flags\n" + rows;
        const auto listed = [&] {
            return Sh(std::string(kClient) + " -i wlan0 list_networks") == listing;
        };
        WaitUntil(listed, "the supplicant's networks\n" + rows, Terminal::kPatience, place);
    }
};

const Words kHomeNetwork = {"ssid=\"home\"", "bssid=00:11:22:33:44:55", "psk=\"under the stairs\"",
                            "key_mgmt=WPA-PSK"};
constexpr const char* kNewHome = "    NEW  00:11:22:33:44:55   home";
constexpr const char* kKnownHome = "         00:11:22:33:44:55   home";
constexpr const char* kKnownAttic = "          (any)              attic";

TEST(RealSupplicant, AddsANewNetworkAndForgetsIt) {
    SupplicantBox box;
    box.SetSeen(Seen(kHome, "home"));
    List t(box);
    EXPECT_EQ(box.CallLines(kNetwork), Words{"/etc/init.d/network start wlan0"});
    EXPECT_EQ(t.Row(kFirstNetwork), kKnownAttic);
    EXPECT_EQ(t.Row(kFirstNetwork + 1), kNewHome);

    OpenNetwork(t, 1);
    Join(t, "under the stairs");
    t.WaitFor("Return to wifi menu");
    EXPECT_EQ(t.Row(kFirstNetwork), kKnownAttic);
    EXPECT_EQ(t.Row(kFirstNetwork + 1), kKnownHome);
    EXPECT_EQ(box.Config(), kSaved + Network(With(kAttic, "disabled=1")) + Network(kHomeNetwork));
    box.WaitForNetworks("0\tattic\tany\t[DISABLED]\n1\thome\t00:11:22:33:44:55\t[CURRENT]\n");

    OpenNetwork(t, 1);
    t.Go("cc<Enter>", "Are you sure? [y/n]");
    t.Go("y", "Return to wifi menu");
    EXPECT_EQ(t.Row(kFirstNetwork + 1), kNewHome) << "it is still on the air";
    EXPECT_EQ(box.Config(), kSaved + Network(With(kAttic, "disabled=1")));
    box.WaitForNetworks("0\tattic\tany\t[DISABLED]\n");
}

TEST(RealSupplicant, ConnectsToOneNetworkToNoneOrToAny) {
    SupplicantBox box;
    box.Write(kConfig, kHead + Network(kAttic) + Network(kHomeNetwork), 0600);
    List t(box);
    box.WaitForNetworks("0\tattic\tany\t[CURRENT]\n1\thome\t00:11:22:33:44:55\t\n");

    OpenNetwork(t, 1);
    t.Go("c<Enter>", "Return to wifi menu");
    const std::string only_home =
        kSaved + Network(With(kAttic, "disabled=1")) + Network(kHomeNetwork);
    EXPECT_EQ(box.Config(), only_home);
    box.WaitForNetworks("0\tattic\tany\t[DISABLED]\n1\thome\t00:11:22:33:44:55\t[CURRENT]\n");

    t.Go("d<Enter>", kInterface);
    EXPECT_EQ(box.Config(), only_home);
    box.WaitForNetworks("0\tattic\tany\t[DISABLED]\n1\thome\t00:11:22:33:44:55\t\n");

    t.Go("w<Enter>", kKnownHome);
    t.Press("a<Enter>");
    box.WaitForConfig(kSaved + Network(kAttic) + Network(kHomeNetwork));
    box.WaitForNetworks("0\tattic\tany\t[CURRENT]\n1\thome\t00:11:22:33:44:55\t\n");
}

TEST(RealSupplicant, ShowsThatItRefusesAShortPassword) {
    SupplicantBox box;
    box.SetSeen(Seen(kHome, "home"));
    List t(box);
    OpenNetwork(t, 1);
    Join(t, "7 chars");
    box.WaitForConfig(kSaved + Network(With(kAttic, "disabled=1")));
    const Words replies = {"Connecting to access point 00:11:22:33:44:55 'home'...",
                           "OK",
                           "OK",
                           "OK",
                           "FAIL",
                           "OK",
                           "OK",
                           "OK",
                           "OK"};
    t.WaitUntil([&] { return Lines(t) == replies; }, "the supplicant's replies");
}

TEST(RealSupplicant, PrintsNamesBeyondAsciiWithBackslashes) {
    SupplicantBox box;
    box.Write(kConfig, kHead + Network({"ssid=6772c3bc6e", "key_mgmt=NONE"}), 0600);
    List t(box);
    EXPECT_EQ(t.Row(kFirstNetwork), "          (any)              gr\\xc3\\xbcn");
    OpenNetwork(t, 0);
    EXPECT_EQ(t.Row(kFirstLine + 1), "    SSID: 'gr\\xc3\\xbcn'");
}

// The manual's advice for machines with other users: the password is in no argument.
TEST(RealSupplicant, ItsClientReadsAPasswordFromStandardInput) {
    SupplicantBox box;
    box.Sh(std::string(kNetwork) + " start wlan0");
    box.WaitUntil([&] { return box.Exists("/run/wpa_supplicant/wlan0"); }, "the supplicant");
    box.Sh(std::string("printf '%s\\n' 'set_network 0 psk \"over the roof\"' "
                       "'set update_config 1' save_config quit | ") +
           kClient + " -i wlan0");
    box.WaitForConfig(kSaved +
                      Network({"ssid=\"attic\"", "psk=\"over the roof\"", "key_mgmt=WPA-PSK"}));
}

}  // namespace
}  // namespace wireless
