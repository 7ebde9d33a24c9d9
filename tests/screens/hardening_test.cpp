// Hostile texts reach files and tools unchanged, and nobody else may write what the program
// creates.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "actions.h"

namespace harness {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Everything that a shell interprets, with "reboot" as the harm.
constexpr const char* kHostile = "$(reboot)`reboot`;reboot|reboot&'\"\\*>x #~";

constexpr Stop kHostName = {"HostName", "n<Enter>", "New computer host name"};
constexpr Stop kSettings = {"Settings", "1<Enter>c<Enter>", "Configuration for eth0"};

// A machine that records whether harm was done.
class WatchedBox : public Machine {
  public:
    WatchedBox() { StandIn("reboot"); }

    void ExpectUnharmed(Place place = Place::current()) {
        EXPECT_THAT(Calls("reboot"), IsEmpty());
        Sh("! test -e /x && ! test -e x", place);
    }
};

// Clears an entry box, types another text, and waits until the screen shows the result.
void Enter(Terminal& t, const std::string& text, const std::string& result,
           Place place = Place::current()) {
    t.WaitFor("[ESC to cancel]", Terminal::kPatience, place);
    std::string keys = "<Home>";
    for (int i = 0; i < 78; i++)
        keys += "<Delete>";
    t.Press(keys, place);
    t.Type(text);
    t.Go("<Enter>", result, place);
}

// ---- texts that a shell would run ----

TEST(Hostile, AComputerNameRunsNothing) {
    WatchedBox box;
    Page t(box, kHostName);
    Enter(t, kHostile, "main menu for '$(reboot)`reboot`");
    std::string name = kHostile;
    name.replace(name.find(' '), 1, "-");
    EXPECT_EQ(box.Read("/etc/hostname"), name + "\n");
    EXPECT_EQ(box.Sh("hostname"), name + "\n");
    box.ExpectUnharmed();
}

TEST(Hostile, ATimeServerIsOneLineOfItsFile) {
    WatchedBox box;
    const std::string line = std::string("server ") + kHostile + "\n";
    box.Write("/etc/ntp.conf", std::string("# ") + kHostile + "\n" + line);
    box.StandIn("/etc/init.d/service-ntpd");
    Page t(box, kTimeServers);
    EXPECT_TRUE(t.Shows(kHostile));
    t.Press("n<Enter>");
    Enter(t, "two.$(reboot)", "Server two.$(reboot)");
    t.Go("s<Enter>", "Are you sure?");
    t.Go("y", kTimeServers.sign);
    EXPECT_EQ(box.Read("/etc/ntp.conf"),
              std::string("# ") + kHostile + "\n" + line + "server two.$(reboot)\n");
    box.ExpectUnharmed();
}

TEST(Hostile, ASettingIsOneLineOfItsFile) {
    WatchedBox box;
    box.Sh("ip link add eth0 address 02:00:00:00:00:01 type bridge");
    box.StandIn("/etc/init.d/network");
    const std::string file = "/etc/network/02:00:00:00:00:01";
    box.Write(file, std::string("manage = 1\nstatic ip = ") + kHostile + "\ndns = `reboot`\n");
    Page t(box, kSettings);
    EXPECT_TRUE(t.Shows(kHostile));
    t.Press("g<Enter>");
    Enter(t, "$(reboot)'`reboot`", "$(reboot)'`reboot`");
    t.Go("s<Enter>", "Edit configuration");
    const std::string saved = box.Read(file);
    EXPECT_THAT(saved, testing::HasSubstr(std::string("\nstatic ip = ") + kHostile + "\n"));
    EXPECT_THAT(saved, testing::HasSubstr("\ngateway = $(reboot)'`reboot`\n"));
    EXPECT_THAT(saved, testing::HasSubstr("\ndns = `reboot`\n"));
    box.ExpectUnharmed();
}

// The file server's tool may list any name, except one with a colon or a line end.
TEST(Hostile, AnAccountIsOneWordInEveryCommand) {
    const std::string name = kHostile;
    struct Action {
        const char* keys;
        const char* flags;
        Words words;
    };
    for (const Action& action :
         {Action{"e<Enter>", "DU", {"-e", name}}, Action{"d<Enter>", "U", {"-d", name}},
          Action{"r<Enter>y", "U", {"-x", name}},
          Action{"p<Enter>secret<Enter>", "U", {"-a", "-s", name}}}) {
        WatchedBox box;
        box.Write("/etc/samba/smb.conf", "");
        box.StandIn("pdbedit", "---------------\nUnix username:        " + name +
                                   "\nAccount Flags:        [" + action.flags + "]\n");
        box.StandIn("smbpasswd");
        Page t(box, kSmbAccounts);
        t.Go("<End><Enter>", "Return to SMB/CIFS configuration menu");
        t.Press(action.keys);
        box.WaitForCalls("smbpasswd", 1);
        EXPECT_EQ(box.Calls("smbpasswd")[0].args, action.words) << action.keys;
        box.ExpectUnharmed();
    }
}

TEST(Hostile, ANewAccountIsOneWordInItsCommand) {
    WatchedBox box;
    const std::string name = "a'$(reboot)`reboot`;reboot\"\\";
    box.Write("/etc/samba/smb.conf", "");
    box.Write("/etc/passwd", box.Read("/etc/passwd") + name + ":x:4711:4711::/:/bin/sh\n");
    box.StandIn("pdbedit");
    box.StandIn("smbpasswd");
    Page t(box, kSmbAccounts, OfSize(24, 100));
    t.Press("c<Enter>");
    Enter(t, name, kSmbAccounts.sign);
    box.WaitForCalls("smbpasswd", 1);
    EXPECT_THAT(box.Calls("smbpasswd")[0].args, ElementsAre("-a", "-d", "-n", name));
    box.ExpectUnharmed();
}

// ---- rights on files ----

// Started by a shell with umask 0, the program and its commands create and change no file that
// anybody else may write.
TEST(Rights, NoFileIsWritableByOthers) {
    Machine box;
    box.Sh("ip link add eth0 address 02:00:00:00:00:01 type bridge");
    box.Sh("rm -f /etc/network/02* /etc/network/default.wireless /etc/hostname /etc/ntp.conf");
    // Everything written from now on has a later time.
    box.Sh(
        "touch /mnt/start; until [ -n \"$(find /mnt/now -newer /mnt/start 2>/dev/null)\" ];"
        "do touch /mnt/now; done");
    TerminalOptions unmasked;
    unmasked.program = "/bin/sh";
    unmasked.arguments = {"-c", "umask 000; exec \"$0\"", TestedProgram()};
    unmasked.rows = 40;
    Page t(box, kHostName, unmasked);
    Enter(t, "studio", "main menu for 'studio'");
    GoTo(t, kTimeServers);
    t.Press("n<Enter>");
    Enter(t, "time.example", "Server time.example");
    t.Go("s<Enter>", "Are you sure?");
    t.Go("y", kTimeServers.sign);
    t.Go("m<Enter>", "1. eth0");
    GoTo(t, kSettings);
    t.Go("s<Enter>", "Edit configuration");
    const std::string files =
        box.Sh("find /etc -newer /mnt/start -type f -printf '%p %m\\n' | sort");
    for (const char* made :
         {"/etc/hostname 644\n", "/etc/ntp.conf 644\n", "/etc/network/02:00:00:00:00:01 644\n",
          "/etc/network/default.wireless 644\n"})
        EXPECT_THAT(files, testing::HasSubstr(made));
    EXPECT_EQ(box.Sh("find /etc -newer /mnt/start ! -type l -perm /022"), "");
}

}  // namespace
}  // namespace harness
