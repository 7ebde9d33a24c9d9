// The VNC password for the local desktop: setting it up, changing it, and who can see it.
#include <gmock/gmock.h>

#include <csignal>
#include <cstring>

#include "lifecycle_fixtures.h"
#include "services_fixtures.h"

namespace services {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kSetup = "Setup remote VNC access to local desktop";
constexpr const char* kEnable = "Enable remote VNC access to local desktop";
constexpr const char* kDisable = "Disable remote VNC access to local desktop";
constexpr const char* kChange = "Set remote VNC access password";

// The password line, then twelve empty lines.
std::string InputFor(const std::string& password) {
    return password + "\n\n\n\n\n\n\n\n\n\n\n\n\n";
}

// VNC access is installed. The tool records its input, and the state of the password file while it
// runs.
class VncBox : public ServicesBox {
  public:
    VncBox() {
        Service(kVnc);
        StandInScript("vncpasswd",
                      "stat -c '%a %u' /etc/local.desktop.vnc.passwd >>/mnt/seen/modes\n" +
                          LookAtProcesses("/mnt/seen/processes") +
                          "cat >/mnt/seen/input\n"
                          "printf made\n");
    }
    std::string Input() { return Read("/mnt/seen/input"); }
    void SetPassword(mode_t mode = 0400) { Write(kVncPassword, "old", mode); }
};

// Opens the password box of a row.
void Ask(Terminal& t, const std::string& row, const std::string& prompt,
         Place place = Place::Here()) {
    Choose(t, row, place);
    t.WaitFor(prompt, Terminal::kPatience, place);
    t.Settle(Terminal::kPatience, place);
}

void AskForSetup(Terminal& t, Place place = Place::Here()) {
    Ask(t, kSetup, "Set VNC password", place);
}

void AskForChange(Terminal& t, Place place = Place::Here()) {
    Ask(t, kChange, "Change VNC password.", place);
}

// ---- setup ----

TEST(VncSetup, AsksWithABox) {
    VncBox box;
    ServicesScreen t(box, OfSize(24, 80));
    AskForSetup(t);
    EXPECT_EQ(t.Row(10).substr(strlen("│")),
              " Set VNC password [ESC to cancel]" + std::string(45, ' ') + "│");
    EXPECT_TRUE(t.Cell(10, 2).bold);
    EXPECT_FALSE(t.Cell(10, 2 + 17).bold);
    EXPECT_TRUE(t.CursorVisible());
    t.Type("abc");
    t.WaitFor("***");
    t.Settle();
    EXPECT_EQ(t.Cell(12, 2).text + t.Cell(12, 4).text + t.Cell(12, 5).text, "** ");
    EXPECT_EQ(t.Cell(12, 2).Style(), "white/blue bold underline");
    EXPECT_FALSE(t.Shows("abc"));
}

TEST(VncSetup, TheToolGetsThePasswordThroughAPipe) {
    VncBox box;
    ServicesScreen t(box);
    AskForSetup(t);
    t.Mark();
    t.Type("pass word'$(id)");
    t.Press("<Enter>");
    t.WaitFor(kDisable);
    t.Settle();
    EXPECT_EQ(box.CallLines(), Words{"vncpasswd -f"});
    ExpectPlainTerminal(box.Calls());
    EXPECT_TRUE(LeftItsScreen(t));
    EXPECT_EQ(box.Input(), InputFor("pass word'$(id)"));
    EXPECT_EQ(box.Read(kVncPassword), "made");
    EXPECT_EQ(box.ModeOf(kVncPassword), "400\n");
    // A file that everybody may read enables access, but the server is not started.
    EXPECT_EQ(box.Read(kVncOn), "");
    EXPECT_EQ(box.ModeOf(kVncOn), "644\n");
    EXPECT_THAT(Rows(t), Contains(kChange));
    EXPECT_THAT(Rows(t), Not(Contains(kSetup)));
    EXPECT_FALSE(t.CursorVisible());
}

TEST(VncSetup, AnEmptyOrCancelledPasswordChangesNothing) {
    VncBox box;
    ServicesScreen t(box);
    for (const char* keys :
         {"<Enter>", "<Esc>", "secret<Esc>", "ab<Backspace><Backspace><Enter>"}) {
        SCOPED_TRACE(keys);
        AskForSetup(t);
        t.Mark();
        t.Press(keys);
        t.WaitForGone("Set VNC password");
        t.Settle();
        EXPECT_THAT(Rows(t), Contains(kSetup));
        EXPECT_FALSE(box.Exists(kVncPassword));
        EXPECT_FALSE(box.Exists(kVncOn));
        EXPECT_FALSE(LeftItsScreen(t));
        EXPECT_FALSE(t.CursorVisible());
    }
    EXPECT_THAT(box.CallLines(), IsEmpty());
}

TEST(VncSetup, BlanksCountAsAPassword) {
    VncBox box;
    ServicesScreen t(box);
    AskForSetup(t);
    t.Type("  ");
    t.Press("<Enter>");
    t.WaitFor(kDisable);
    EXPECT_EQ(box.Input(), InputFor("  "));
}

// Only the file shows what the tool has done.
TEST(VncSetup, AFailureOfTheToolIsNotReported) {
    VncBox box;
    box.StandIn("vncpasswd", "", 1);
    ServicesScreen t(box);
    AskForSetup(t);
    t.Type("secret");
    t.Press("<Enter>");
    t.WaitFor(kDisable);
    EXPECT_EQ(box.Read(kVncPassword), "");
    EXPECT_EQ(box.ModeOf(kVncPassword), "400\n");
    EXPECT_TRUE(box.Exists(kVncOn));
}

TEST(VncSetup, TheToolNeedNotReadAllItsInput) {
    VncBox box;
    box.StandIn("vncpasswd", "made");
    ServicesScreen t(box, OfSize(30, 270));
    AskForSetup(t);
    t.Type(std::string(255, 'x'));
    t.Press("<Enter>");
    t.WaitFor(kDisable);
    EXPECT_EQ(box.Read(kVncPassword), "made");
}

TEST(VncSetup, OnATerminalTooSmallForTheBoxAnyKeyCancels) {
    VncBox box;
    ServicesScreen t(box, OfSize(4, 30));  // no row is visible
    t.Press("v<Enter>");
    t.Settle();
    t.Press("x");
    t.Settle();
    EXPECT_FALSE(t.CursorVisible());
    t.Press("<Esc>");
    t.WaitFor("Tavrin 4");
    EXPECT_THAT(box.CallLines(), IsEmpty());
    EXPECT_FALSE(box.Exists(kVncOn));
}

// ---- enabling and disabling ----

TEST(VncAccess, OnlyAMarkerEnablesIt) {
    VncBox box;
    box.SetPassword();
    ServicesScreen t(box);
    Select(t, kEnable);
    t.Mark();
    t.Press("<Enter>");
    t.WaitFor(kDisable);
    EXPECT_EQ(box.Read(kVncOn), "");
    EXPECT_EQ(box.ModeOf(kVncOn), "644\n");
    EXPECT_THAT(box.CallLines(), IsEmpty());
    EXPECT_FALSE(LeftItsScreen(t));
}

TEST(VncAccess, DisablingItStopsTheServer) {
    VncBox box;
    box.SetPassword();
    box.Make(kVncOn);
    ServicesScreen t(box);
    Choose(t, kDisable);
    t.WaitFor(kEnable);
    t.Settle();
    EXPECT_EQ(box.CallLines(), Words{"/usr/share/tavrin/local-desktop-vnc stop"});
    ExpectPlainTerminal(box.Calls());
    EXPECT_FALSE(box.Exists(kVncOn));
    // The marker was gone when the server was stopped; the password stays.
    EXPECT_THAT(box.Seen("local-desktop-vnc stop"), HasSubstr(kVncPassword));
    EXPECT_THAT(box.Seen("local-desktop-vnc stop"), Not(HasSubstr("/etc/local.desktop.vnc\n")));
    EXPECT_EQ(box.Read(kVncPassword), "old");
    EXPECT_THAT(Rows(t), Contains(kChange));
}

TEST(VncAccess, WithoutAPasswordItReturnsToSetup) {
    VncBox box;
    box.Make(kVncOn);
    ServicesScreen t(box);
    EXPECT_THAT(Rows(t), Not(Contains(kChange)));
    Choose(t, kDisable);
    t.WaitFor(kSetup);
    EXPECT_EQ(box.CallLines(), Words{"/usr/share/tavrin/local-desktop-vnc stop"});
}

TEST(VncAccess, APipeInPlaceOfTheMarkerDoesNotBlock) {
    VncBox box;
    box.SetPassword();
    box.Sh(std::string("mkfifo ") + kVncOn);
    ServicesScreen t(box);
    Choose(t, kEnable);
    t.Settle();
    t.Press("<Home>m<Enter>");
    t.WaitFor("Tavrin 4");
    t.Settle();
    t.Signal(SIGTERM);
    EXPECT_EQ(t.WaitExit(5), Exited(128 + SIGTERM));
}

// ---- changing the password ----

TEST(VncChange, AsksWithATwoLinePrompt) {
    VncBox box;
    box.SetPassword();
    ServicesScreen t(box, OfSize(24, 80));
    AskForChange(t);
    EXPECT_THAT(t.Row(10), HasSubstr("│ Change VNC password."));
    EXPECT_THAT(t.Row(11),
                HasSubstr(" Password takes effect when VNC server is started. [ESC to cancel]"));
    t.Type("x");
    t.WaitFor("*");
    EXPECT_EQ(t.Cell(13, 2).text, "*");
}

TEST(VncChange, ReplacesOnlyThePassword) {
    for (bool enabled : {false, true}) {
        SCOPED_TRACE(enabled);
        VncBox box;
        box.SetPassword();
        if (enabled) box.Make(kVncOn);
        ServicesScreen t(box);
        AskForChange(t);
        t.Type("better");
        t.Press("<Enter>");
        box.WaitForCalls("vncpasswd", 1);
        WaitForTitle(t, "Services");
        t.Settle();
        EXPECT_EQ(box.CallLines(), Words{"vncpasswd -f"});
        ExpectPlainTerminal(box.Calls());
        EXPECT_EQ(box.Input(), InputFor("better"));
        EXPECT_EQ(box.Read(kVncPassword), "made");
        EXPECT_EQ(box.ModeOf(kVncPassword), "400\n");
        EXPECT_EQ(box.Exists(kVncOn), enabled);
        EXPECT_THAT(Rows(t), Contains(enabled ? kDisable : kEnable));
    }
}

TEST(VncChange, AnEmptyOrCancelledPasswordKeepsTheOldOne) {
    VncBox box;
    box.SetPassword();
    ServicesScreen t(box);
    for (const char* keys : {"<Enter>", "better<Esc>"}) {
        AskForChange(t);
        t.Mark();
        t.Press(keys);
        t.WaitForGone("Change VNC password.");
        t.Settle();
        EXPECT_FALSE(LeftItsScreen(t)) << keys;
        EXPECT_EQ(box.Read(kVncPassword), "old") << keys;
    }
    EXPECT_THAT(box.CallLines(), IsEmpty());
}

TEST(VncChange, AFailureOfTheToolKeepsTheOldPassword) {
    for (const char* script : {"exit 1", "printf half; exit 1", "printf half; kill -KILL $$"}) {
        SCOPED_TRACE(script);
        VncBox box;
        box.SetPassword();
        box.StandInScript("vncpasswd", script);
        ServicesScreen t(box);
        AskForChange(t);
        t.Type("better");
        t.Press("<Enter>");
        box.WaitForCalls("vncpasswd", 1);
        WaitForTitle(t, "Services");
        t.Settle();
        EXPECT_EQ(box.Read(kVncPassword), "old");
        EXPECT_EQ(box.ModeOf(kVncPassword), "400\n");
        EXPECT_EQ(box.Sh("ls -A /etc | grep passwd.old || true"), "");
    }
}

// Whatever the tool writes after that.
TEST(VncChange, AnEndBeforeTheToolsKeepsTheOldPassword) {
    for (const bool has_old : {true, false}) {
        for (const bool typed : {true, false}) {
            SCOPED_TRACE(testing::Message() << has_old << typed);
            VncBox box;
            if (has_old) box.SetPassword();
            lifecycle::Gate gate(box);
            box.StandInScript("vncpasswd", std::string(lifecycle::Gate::kWait) +
                                               "; printf made; : >/tmp/written");
            ServicesScreen t(box);
            has_old ? AskForChange(t) : AskForSetup(t);
            t.Type("better");
            t.Press("<Enter>");
            gate.AwaitScript();
            if (typed) {
                t.Press("<C-c>");
            } else {
                t.Signal(SIGTERM);
            }
            EXPECT_EQ(t.WaitExit(), Exited(typed ? 130 : 143));
            gate.Open();
            if (!typed) box.WaitUntil([&] { return box.Exists("/tmp/written"); }, "the tool");
            EXPECT_EQ(box.Sh(std::string("cat ") + kVncPassword + " || true"),
                      has_old ? "old" : "");
            EXPECT_EQ(box.Exists(kVncPassword), has_old);
            EXPECT_EQ(box.Sh("ls -A /etc | grep passwd.old || true"), "");
        }
    }
}

// A power cut while the tool was running has left the old file under its other name.
TEST(VncChange, RemovesWhatAPowerCutHasLeft) {
    VncBox box;
    box.Write("/etc/.local.desktop.vnc.passwd.old", "old", 0400);
    ServicesScreen t(box);
    AskForSetup(t);
    t.Type("better");
    t.Press("<Enter>");
    t.WaitFor(kDisable);
    EXPECT_EQ(box.Read(kVncPassword), "made");
    EXPECT_EQ(box.Sh("ls -A /etc | grep passwd.old || true"), "");
}

// A process that has the old file open, or a second name of the file, keeps the old password.
TEST(VncChange, CreatesANewFile) {
    VncBox box;
    box.SetPassword(0644);
    box.Sh(std::string("ln ") + kVncPassword + " /etc/second");
    ServicesScreen t(box);
    AskForChange(t);
    t.Type("better");
    t.Press("<Enter>");
    box.WaitForCalls("vncpasswd", 1);
    WaitForTitle(t, "Services");
    t.Settle();
    EXPECT_EQ(box.Read("/etc/second"), "old");
    EXPECT_EQ(box.Read(kVncPassword), "made");
    EXPECT_EQ(box.ModeOf(kVncPassword), "400\n");
    EXPECT_EQ(box.Sh("ls -A /etc | grep passwd.old || true"), "");
}

// If the file is a link to another place, the link stays. An empty view-only password, as the tool
// writes it, is removed there, too.
TEST(VncChange, FollowsALink) {
    VncBox box;
    box.Write("/etc/elsewhere", "old", 0644);
    box.Sh(std::string("ln -s elsewhere ") + kVncPassword);
    box.StandInScript("vncpasswd", R"(printf 'password\132\262\315\300\272\334\257\023')");
    ServicesScreen t(box);
    AskForSetup(t);
    t.Type("better");
    t.Press("<Enter>");
    t.WaitFor(kDisable);
    EXPECT_EQ(box.Sh(std::string("readlink ") + kVncPassword), "elsewhere\n");
    EXPECT_EQ(box.Read("/etc/elsewhere"), "password");
    EXPECT_EQ(box.ModeOf("/etc/elsewhere"), "400\n");
}

// ---- secrecy ----

TEST(VncSecrecy, OnlyTheOwnerCanEverReadTheFile) {
    for (const char* before : {"none", "644", "666", "400"}) {
        SCOPED_TRACE(before);
        VncBox box;
        const bool is_there = std::string(before) != "none";
        if (is_there) box.SetPassword(static_cast<mode_t>(std::stoi(before, nullptr, 8)));
        ServicesScreen t(box);
        if (is_there) {
            AskForChange(t);
        } else {
            AskForSetup(t);
        }
        t.Type("secret");
        t.Press("<Enter>");
        box.WaitForCalls("vncpasswd", 1);
        WaitForTitle(t, "Services");
        t.Settle();
        EXPECT_THAT(box.Read("/mnt/seen/modes"),
                    testing::AnyOf("600 0\n", "400 0\n"));  // while the tool was running
        EXPECT_EQ(box.ModeOf(kVncPassword), "400\n");
        EXPECT_EQ(box.Read(kVncPassword), "made");
        // Files created afterwards are readable by everybody again.
        if (is_there) {
            Choose(t, kEnable);
            t.WaitFor(kDisable);
        }
        EXPECT_EQ(box.ModeOf(kVncOn), "644\n");
    }
}

TEST(VncSecrecy, ThePasswordIsNotInTheArgumentsOrEnvironmentOfAnyProcess) {
    VncBox box;
    ServicesScreen t(box);
    AskForSetup(t);
    t.Type(kSecret);
    t.Press("<Enter>");
    t.WaitFor(kDisable);
    EXPECT_EQ(box.Input(), InputFor(kSecret));
    const std::string processes = box.Read("/mnt/seen/processes");
    EXPECT_THAT(processes, HasSubstr("vncpasswd -f"));  // checked while the tool was running
    EXPECT_THAT(processes, Not(HasSubstr("Quux7")));
    // Nor is it in any file other than the stand-in's record, or on the screen.
    EXPECT_EQ(box.Sh("grep -arl Quux7 /mnt/.layers /run /dev/shm /mnt/seen | "
                     "grep -v seen/input || true"),
              "");
    EXPECT_THAT(t.Output(), Not(HasSubstr("Quux7")));
}

TEST(VncSecrecy, ASetPasswordIsErasedFromTheProgram) {
    VncBox box;
    ServicesScreen t(box);
    AskForSetup(t);
    t.Type(kSecret);
    t.WaitFor(std::string(strlen(kSecret), '*'));
    t.Settle();
    EXPECT_NE(TracesOfSecret(t, kSecret), Words{})
        << "the search must find a password that is there";
    t.Press("<Enter>");
    t.WaitFor(kDisable);
    t.Settle();
    EXPECT_EQ(TracesOfSecret(t, kSecret), Words{});
}

TEST(VncSecrecy, ThePasswordIsErasedAsSoonAsTheToolHasIt) {
    VncBox box;
    box.StandInScript("vncpasswd", kReadAndWait);
    ServicesScreen t(box);
    AskForSetup(t);
    t.Type(kSecret);
    t.Press("<Enter>");
    WaitForReader(box);
    EXPECT_EQ(TracesOfSecret(t, kSecret), Words{});
    ReleaseReader(box);
    t.WaitFor(kDisable);
}

TEST(VncSecrecy, ACancelledPasswordIsErasedFromTheProgram) {
    VncBox box;
    box.SetPassword();
    ServicesScreen t(box);
    AskForChange(t);
    t.Type(kSecret);
    t.Press("<Esc>");
    t.WaitForGone("Change VNC password.");
    t.Settle();
    EXPECT_EQ(TracesOfSecret(t, kSecret), Words{});
}

// ---- the real tool ----

TEST(VncRealTool, CreatesTheFileFromTheTypedPassword) {
    ServicesBox box;
    box.Make(kVnc);
    ASSERT_EQ(box.Sh("command -v vncpasswd"), "/usr/bin/vncpasswd\n");
    ServicesScreen t(box);
    AskForSetup(t);
    t.Type("hello123");
    t.Press("<Enter>");
    t.WaitFor(kDisable);
    // The password, encrypted with the key that all VNC programs share. The empty view-only
    // password that the tool adds is gone.
    EXPECT_EQ(box.Sh(std::string("od -An -tx1 ") + kVncPassword), " 83 9e 10 63 0d 24 87 30\n");
    EXPECT_EQ(box.ModeOf(kVncPassword), "400\n");
    AskForChange(t);
    t.Type("Another one, longer");
    t.Press("<Enter>");
    WaitForTitle(t, "Services");
    box.WaitUntil([&] { return t.Children() == 0; }, "the end of the tool");
    t.Settle();
    EXPECT_EQ(box.Sh(std::string(
                         "printf 'Another one, longer\\n\\n' | vncpasswd -f | head -c 8 | cmp - ") +
                     kVncPassword),
              "");
    EXPECT_EQ(box.ModeOf(kVncPassword), "400\n");
}

}  // namespace
}  // namespace services
