// Commands and machines that misbehave: whatever a command does, every screen appears, handles keys
// and can be left.
#include <gtest/gtest.h>

#include <string>

#include "tour.h"

namespace harness::faults {
namespace {

// A misbehaving command, as a script.
struct Oddity {
    const char* name;
    const char* script;
};

std::ostream& operator<<(std::ostream& out, const Oddity& oddity) {
    return out << oddity.name;
}

constexpr Oddity kOddities[] = {
    {"AMegabyteOfLines", "yes 'words without a meaning: here' | head -c 1000000"},
    {"AMegabyteWithoutALineEnd", "head -c 1000000 /dev/zero | tr '\\0' x"},
    {"AMegabyteOfNoise", "head -c 1000000 /dev/urandom | tr '\\016\\017\\033\\233' x"},
    {"KilledInTheMiddle", "printf 'half a li'; kill -KILL $$"},
    {"Crashing", "kill -SEGV $$"},
    {"Failing", "echo no >&2; exit 3"},
    {"Silent", ":"},
    {"ClosingItsOutputBeforeItEnds", "exec >&- 2>&-; sleep 0.2"},
};

class OddCommand : public testing::TestWithParam<Oddity> {
  protected:
    TourBox box;
};

INSTANTIATE_TEST_SUITE_P(Commands, OddCommand, testing::ValuesIn(kOddities),
                         testing::PrintToStringParamName());

// Commands that run in the background.
TEST_P(OddCommand, DoesNotHarmTheScreensThatRunIt) {
    for (const char* name : {"wpa_cli", "pdbedit"})
        box.StandInScript(name, GetParam().script);
    Terminal t(box, AtAPrompt());
    t.WaitFor("1. wlan0");
    t.Press("1<Enter>w<Enter>");
    t.WaitFor("Wireless access points for wlan0");
    t.Press("<End><Down>r<Enter>");
    t.WaitFor("Network configuration: wlan0");
    // From now on the list of interfaces may be missing, but the menu is there.
    box.StandInScript("ip", GetParam().script);
    t.Press("m<Enter>s<Enter>");
    t.WaitFor("Configure SMB/CIFS user accounts");
    t.Press("ss<Enter>");
    t.WaitFor("SMB/CIFS configuration");
    t.Press("r<Enter>");
    t.WaitFor("Configure SMB/CIFS user accounts");
    t.Press("m<Enter>");
    t.WaitFor("Bring up all interfaces");
    t.Press("d<Enter>n");
    t.WaitFor("Bring up all interfaces");
    t.Press("<Esc>");
    EXPECT_EQ(t.WaitExit(), Exited(0));
    ExpectTerminalAsBefore(t);
}

// Commands that run on the plain terminal.
class OddCommandOnTheTerminal : public OddCommand {};

constexpr Oddity kTerminalOddities[] = {
    {"ALongLineWithoutAnEnd", "head -c 100000 /dev/zero | tr '\\0' x"},
    {"KilledInTheMiddle", "printf 'half a li'; kill -KILL $$"},
    {"ClosingItsOutputBeforeItEnds", "exec >&- 2>&-; sleep 0.2"},
};

INSTANTIATE_TEST_SUITE_P(Commands, OddCommandOnTheTerminal, testing::ValuesIn(kTerminalOddities),
                         testing::PrintToStringParamName());

TEST_P(OddCommandOnTheTerminal, DoesNotHarmTheNextScreen) {
    box.StandInScript(kNetwork, GetParam().script);
    Terminal t(box, AtAPrompt());
    // The address is the last to arrive.
    t.WaitFor("2001:db8::7/64");
    t.Settle();
    const std::vector<std::string> look = Look(t);
    t.Press("u<Enter>y");
    t.WaitUntil([&] { return !box.Calls(kNetwork).empty(); }, "the command");
    t.WaitUntil([&] { return t.AltScreen() && t.Shows("Exit this program"); }, "the menu");
    t.Press("<Home>");
    t.WaitUntil([&] { return Look(t) == look; }, "the menu as it was");
    t.Press("<Esc>");
    EXPECT_EQ(t.WaitExit(), Exited(0));
    EXPECT_EQ(TerminalDamage(t), "");
}

// The program waits for the command to end: Ctrl-C ends both.
TEST(EndlessCommand, InTheBackgroundEndsWithTheProgramOnCtrlC) {
    TourBox box;
    box.StandInScript("wpa_cli", "exec >&- 2>&-; echo $$ >/tmp/endless; exec sleep 1000");
    Terminal t(box, AtAPrompt());
    t.WaitFor("1. wlan0");
    t.Press("1<Enter>w<Enter>");
    box.WaitForCalls("wpa_cli", 1);
    box.WaitUntil([&] { return box.Exists("/tmp/endless") && !box.Read("/tmp/endless").empty(); },
                  "the command's number");
    t.Press("<C-c>");
    EXPECT_EQ(t.WaitExit(), Exited(130));
    ExpectTerminalAsBefore(t);
    box.WaitUntil(
        [&] {
            return box.Sh("kill -0 $(cat /tmp/endless) 2>/dev/null && echo runs || true").empty();
        },
        "the command's end");
}

TEST(EndlessCommand, BeforeTheFirstScreenEndsWithTheProgramOnCtrlC) {
    TourBox box;
    box.StandInScript("ip", "exec sleep 1000");
    Terminal t(box, AtAPrompt());
    box.WaitForCalls("ip", 1);
    t.Press("<C-c>");
    EXPECT_EQ(t.WaitExit(), Exited(130));
    ExpectTerminalAsBefore(t);
}

// ---- a machine that lacks something ----

// A tour whose steps may all fail.
void ExpectATour(TourBox& box, TerminalOptions options, bool listed = false) {
    Terminal t(box, options);
    if (listed) t.WaitFor("1. wlan0");
    RushTour(t);
    EXPECT_TRUE(IsOrderly(EndTour(t)));
    EXPECT_EQ(TerminalDamage(t), "");
    EXPECT_EQ(box.Damage(), "");
}

TEST(PoorMachine, WithoutAnyCommandEveryScreenAppears) {
    TourBox box;
    box.Sh("rm -rf /etc/init.d/*");
    TerminalOptions options = Hasty(box);
    options.environment["PATH"] = "/nowhere";
    ExpectATour(box, options);
    EXPECT_NE(box.Read("/etc/ntp.conf").find("ntp.example.net"), std::string::npos);
}

TEST(PoorMachine, WithoutAShellEveryScreenAppears) {
    TourBox box;
    Terminal t(box, Hasty(box));
    t.WaitFor("Exit this program");
    // There is no other shell: from now on only the machine's files can be checked.
    box.Sh("mount --bind /dev/null /usr/bin/dash");
    WalkTour(t);
    EXPECT_TRUE(IsOrderly(EndTour(t)));
    EXPECT_EQ(TerminalDamage(t), "");
    EXPECT_EQ(box.Damage(), "");
}

TEST(PoorMachine, WithoutProcEveryScreenAppears) {
    TourBox box;
    TerminalOptions options = AtAPrompt();
    options.environment = WithoutLeakSearch(box);  // leak detection needs /proc
    Terminal t(box, options);
    t.WaitFor("1. wlan0");
    box.Sh("mount -t tmpfs none /proc");
    t.Press("s<Enter>");
    t.WaitFor("Start volkeep disk management");
    t.Press("m<Enter>d<Enter>n");
    t.WaitFor("IPv4: 10.1.2.3");
    t.Press("1<Enter>");
    t.WaitFor("Network configuration: wlan0");
    t.Press("m<Enter>i<Enter>");
    t.WaitFor("Ping test");
    t.Press("m<Enter>");
    t.WaitFor("Exit this program");
    t.Press("<Esc>");
    box.Sh("/usr/bin/umount /proc");
    EXPECT_EQ(t.WaitExit(), Exited(0));
    ExpectTerminalAsBefore(t);
}

// The limit applies to the commands, too: most of them fail.
TEST(PoorMachine, WithALimitOnTheSizeOfFilesNothingIsSavedAndNothingLost) {
    TourBox box;
    TerminalOptions options;
    options.rows = 30;
    options.environment = WithoutLeakSearch(box);
    options.program = "/bin/sh";
    options.arguments = {"-c", "ulimit -f 0; exec " + TestedProgram()};
    ExpectATour(box, options, true);
    EXPECT_TRUE(box.AllUntouched());
}

// Nothing reads or writes these pipes, so a blocking open would never return. (Files that commands
// copy to are left out.)
TEST(PoorMachine, WithPipesInThePlaceOfItsFilesEveryScreenComesUp) {
    TourBox box;
    for (const char* file : {"/etc/hostname", "/etc/ntp.conf", "/etc/local.desktop.vnc",
                             "/etc/local.desktop.webui.ctl", "/etc/TAVRIN/disable.reporting",
                             "/etc/TAVRIN/disable.reporting.ui", "/etc/caption-sync.disabled",
                             "/var/network/02:00:00:00:10:40/wpa_supplicant.pid",
                             "/sys/class/net/wlan0/phy80211/rfkill0/state",
                             "/sys/class/net/wlan0/phy80211/rfkill0/hard",
                             "/sys/class/net/wlan0/phy80211/rfkill0/soft"}) {
        box.Remove(file);
        box.Sh(std::string("mkfifo ") + file);
    }
    Terminal t(box, Hasty(box));
    WalkTour(t);
    EXPECT_TRUE(IsOrderly(EndTour(t)));
    EXPECT_EQ(TerminalDamage(t), "");
}

TEST(PoorMachine, OnAReadOnlyDiskNothingIsSavedAndNothingLost) {
    TourBox box;
    box.Sh("mount --bind /etc /etc; mount -o remount,bind,ro /etc");
    ExpectATour(box, Hasty(box));
    EXPECT_EQ(box.Read("/etc/ntp.conf").find("ntp.example.net"), std::string::npos);
}

TEST(PoorMachine, OnAFullDiskNothingIsSavedAndNothingLost) {
    TourBox box;
    box.Sh(
        "mkdir /mnt/etc; mount -t tmpfs -o size=16m none /mnt/etc; cp -a /etc/. /mnt/etc;"
        "mount --bind /mnt/etc /etc; cat /dev/zero >/etc/filler 2>/dev/null || true");
    ExpectATour(box, Hasty(box));
    EXPECT_EQ(box.Read("/etc/ntp.conf").find("ntp.example.net"), std::string::npos);
}

}  // namespace
}  // namespace harness::faults
