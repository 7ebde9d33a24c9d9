// Hostile texts reach files and tools unchanged, and nobody else may write what the program
// creates.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "machine.h"
#include "terminal.h"

namespace harness {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Everything that a shell interprets, with "reboot" as the harm.
constexpr const char* kHostile = "$(reboot)`reboot`;reboot|reboot&'\"\\*>x #~";

constexpr const char* kMenuTitle = "Network configuration main menu for";
constexpr const char* kNtpTitle = "Network Time Protocol configuration:";

// A machine that records whether harm was done.
class WatchedBox : public Machine {
  public:
    WatchedBox() { StandIn("reboot"); }

    void ExpectUnharmed(Place place = Place::current()) {
        EXPECT_THAT(Calls("reboot"), IsEmpty());
        Sh("! test -e /x && ! test -e x", place);
    }
};

// Clears an entry box and types another text.
void Enter(Terminal& t, const std::string& text, Place place = Place::current()) {
    t.WaitFor("[ESC to cancel]", Terminal::kPatience, place);
    std::string keys = "<Home>";
    for (int i = 0; i < 78; i++)
        keys += "<Delete>";
    t.Press(keys, place);
    t.Type(text);
    t.Press("<Enter>", place);
    t.WaitForGone("[ESC to cancel]", Terminal::kPatience, place);
}

// ---- texts that a shell would run ----

TEST(Hostile, AComputerNameRunsNothing) {
    WatchedBox box;
    Terminal t(box);
    t.WaitFor(kMenuTitle);
    t.Press("n<Enter>");
    Enter(t, kHostile);
    t.WaitFor("main menu for '$(reboot)`reboot`");
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
    Terminal t(box);
    t.WaitFor(kMenuTitle);
    t.Press("t<Enter>");
    t.WaitFor(kNtpTitle);
    EXPECT_TRUE(t.Shows(kHostile));
    t.Press("n<Enter>");
    Enter(t, "two.$(reboot)");
    t.WaitFor("Server two.$(reboot)");
    t.Press("s<Enter>");
    t.WaitFor("Are you sure?");
    t.Press("y");
    const std::string saved = std::string("# ") + kHostile + "\n" + line + "server two.$(reboot)\n";
    box.WaitUntil([&] { return box.Read("/etc/ntp.conf") == saved; }, "the saved servers");
    box.ExpectUnharmed();
}

TEST(Hostile, ASettingIsOneLineOfItsFile) {
    WatchedBox box;
    box.Sh("ip link add eth0 address 02:00:00:00:00:01 type bridge");
    box.StandIn("/etc/init.d/network");
    const std::string file = "/etc/network/02:00:00:00:00:01";
    box.Write(file, std::string("manage = 1\nstatic ip = ") + kHostile + "\ndns = `reboot`\n");
    Terminal t(box);
    t.WaitFor("1. eth0");
    t.Press("1<Enter>");
    t.WaitFor("Edit configuration");
    t.Press("c<Enter>");
    t.WaitFor(kHostile);
    t.Press("g<Enter>");
    Enter(t, "$(reboot)'`reboot`");
    t.WaitFor("$(reboot)'`reboot`");
    t.Press("s<Enter>");
    t.WaitFor("Edit configuration");
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
        std::vector<std::string> words;
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
        Terminal t(box);
        t.WaitFor(kMenuTitle);
        t.Press("s<Enter>");
        t.WaitFor("Configure SMB/CIFS user accounts");
        t.Settle();
        t.Press("ss<Enter>");
        t.WaitFor("Configure user '");
        t.Press("<End><Enter>");
        t.WaitFor("Return to SMB/CIFS configuration menu");
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
    TerminalOptions wide;
    wide.cols = 100;
    Terminal t(box, wide);
    t.WaitFor(kMenuTitle);
    t.Press("s<Enter>");
    t.WaitFor("Configure SMB/CIFS user accounts");
    t.Settle();
    t.Press("ss<Enter>");
    t.WaitFor("Create user");
    t.Press("c<Enter>");
    Enter(t, name);
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
    unmasked.arguments = {"-c", "umask 000; exec \"$0\"", IFMENU_PROGRAM};
    unmasked.rows = 40;
    Terminal t(box, unmasked);
    t.WaitFor("1. eth0");
    t.Press("n<Enter>");
    Enter(t, "studio");
    t.WaitFor("main menu for 'studio'");
    t.Press("t<Enter>");
    t.WaitFor(kNtpTitle);
    t.Press("n<Enter>");
    Enter(t, "time.example");
    t.WaitFor("Server time.example");
    t.Press("s<Enter>");
    t.WaitFor("Are you sure?");
    t.Press("y");
    t.WaitFor("Server time.example");
    t.Press("m<Enter>");
    t.WaitFor("1. eth0");
    t.Press("1<Enter>");
    t.WaitFor("Edit configuration");
    t.Press("c<Enter>");
    t.WaitFor("Save changes");
    t.Press("s<Enter>");
    t.WaitFor("Edit configuration");
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
