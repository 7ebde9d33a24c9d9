// The VNC password for the local desktop: setting it up, changing it, and who can see it.
#include <gmock/gmock.h>

#include <csignal>

#include "lifecycle_fixtures.h"
#include "services_fixtures.h"

namespace services {
namespace {

using testing::Contains;

constexpr const char* kSetup = "Setup remote VNC access to local desktop";
constexpr const char* kEnable = "Enable remote VNC access to local desktop";
constexpr const char* kDisable = "Disable remote VNC access to local desktop";
constexpr const char* kChange = "Set remote VNC access password";

// VNC access is installed. The tool records the state of the password file while it runs.
class VncBox : public ServicesBox {
  public:
    VncBox() {
        Service(kVnc);
        StandInScript("vncpasswd",
                      "stat -c '%a %u' /etc/local.desktop.vnc.passwd >/mnt/seen/mode; printf made");
    }
    void SetPassword(mode_t mode = 0400) { Write(kVncPassword, "old", mode); }
    std::string OldPasswordFiles() { return Sh("ls -A /etc | grep passwd.old || true"); }
};

// Sets the first password, or changes it.
void SetPassword(Terminal& t, const std::string& row, const std::string& password,
                 Place place = Place::current()) {
    Select(t, row, place);
    t.Go("<Enter>", "[ESC to cancel]", place);
    t.Type(password);
    t.Press("<Enter>", place);
    t.WaitForGone("[ESC to cancel]", Terminal::kPatience, place);
    t.Go("", kServices.sign, place);
}

// ---- setting it ----

// Enabling does not start the server. Files created later are readable by everybody again.
TEST(VncSetup, SetsThePasswordAndEnablesAccess) {
    VncBox box;
    ServicesScreen t(box);
    Do(t, {.row = kSetup,
           .question = "Set VNC password [ESC to cancel]",
           .typed = "secret<Enter>",
           .commands = {"vncpasswd -f"},
           .after = kDisable});
    EXPECT_EQ(box.Read(kVncPassword), "made");
    EXPECT_EQ(box.ModeOf(kVncPassword), "400\n");
    EXPECT_EQ(box.Read(kVncOn), "");
    EXPECT_EQ(box.ModeOf(kVncOn), "644\n");
    EXPECT_THAT(Rows(t), Contains(kChange));
}

// Only the file shows what the tool has done.
TEST(VncSetup, AFailureOfTheToolIsNotReported) {
    VncBox box;
    box.StandIn("vncpasswd", "", 1);
    ServicesScreen t(box);
    SetPassword(t, kSetup, "secret");
    EXPECT_THAT(Rows(t), Contains(kDisable));
    EXPECT_EQ(box.Read(kVncPassword), "");
    EXPECT_EQ(box.ModeOf(kVncPassword), "400\n");
    EXPECT_TRUE(box.Exists(kVncOn));
}

TEST(VncChange, ReplacesOnlyThePassword) {
    for (const char* access : {kDisable, kEnable}) {
        VncBox box;
        box.SetPassword();
        if (access == kDisable) box.Make(kVncOn);
        ServicesScreen t(box);
        Do(t, {.row = kChange,
               .question = "Password takes effect when VNC server is started. [ESC to cancel]",
               .typed = "better<Enter>",
               .commands = {"vncpasswd -f"},
               .after = access});
        // An end takes back only unfinished changes.
        t.Press("<C-c>");
        EXPECT_EQ(t.WaitExit(), Exited(130));
        EXPECT_EQ(box.Read(kVncPassword), "made");
        EXPECT_EQ(box.ModeOf(kVncPassword), "400\n");
        EXPECT_EQ(box.Exists(kVncOn), access == kDisable);
    }
}

TEST(VncChange, AFailureOfTheToolKeepsTheOldPassword) {
    for (const char* script : {"exit 1", "printf half; exit 1", "printf half; kill -KILL $$"}) {
        SCOPED_TRACE(script);
        VncBox box;
        box.SetPassword();
        box.StandInScript("vncpasswd", script);
        ServicesScreen t(box);
        SetPassword(t, kChange, "better");
        EXPECT_EQ(box.Read(kVncPassword), "old");
        EXPECT_EQ(box.ModeOf(kVncPassword), "400\n");
        EXPECT_EQ(box.OldPasswordFiles(), "");
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
            Select(t, has_old ? kChange : kSetup);
            t.Go("<Enter>", "[ESC to cancel]");
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
            EXPECT_EQ(box.OldPasswordFiles(), "");
        }
    }
}

// A power cut while the tool was running has left the old file under its other name.
TEST(VncChange, RemovesWhatAPowerCutHasLeft) {
    VncBox box;
    box.Write("/etc/.local.desktop.vnc.passwd.old", "old", 0400);
    ServicesScreen t(box);
    SetPassword(t, kSetup, "better");
    EXPECT_EQ(box.Read(kVncPassword), "made");
    EXPECT_EQ(box.OldPasswordFiles(), "");
}

// A process that has the old file open, or a second name of the file, keeps the old password.
TEST(VncChange, CreatesANewFile) {
    VncBox box;
    box.SetPassword(0644);
    box.Sh(std::string("ln ") + kVncPassword + " /etc/second");
    ServicesScreen t(box);
    SetPassword(t, kChange, "better");
    EXPECT_EQ(box.Read("/etc/second"), "old");
    EXPECT_EQ(box.Read(kVncPassword), "made");
    EXPECT_EQ(box.ModeOf(kVncPassword), "400\n");
    EXPECT_EQ(box.OldPasswordFiles(), "");
}

// If the file is a link to another place, the link stays. An empty view-only password, as the tool
// writes it, is removed there, too.
TEST(VncChange, FollowsALink) {
    VncBox box;
    box.Write("/etc/elsewhere", "old", 0644);
    box.Sh(std::string("ln -s elsewhere ") + kVncPassword);
    box.StandInScript("vncpasswd", R"(printf 'password\132\262\315\300\272\334\257\023')");
    ServicesScreen t(box);
    SetPassword(t, kSetup, "better");
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
        SetPassword(t, is_there ? kChange : kSetup, "secret");
        EXPECT_THAT(box.Read("/mnt/seen/mode"),
                    testing::AnyOf("600 0\n", "400 0\n"));  // while the tool was running
        EXPECT_EQ(box.ModeOf(kVncPassword), "400\n");
        EXPECT_EQ(box.Read(kVncPassword), "made");
    }
}

// ---- the real tool ----

TEST(VncRealTool, CreatesTheFileFromTheTypedPassword) {
    ServicesBox box;
    box.Make(kVnc);
    ASSERT_EQ(box.Sh("command -v vncpasswd"), "/usr/bin/vncpasswd\n");
    ServicesScreen t(box);
    SetPassword(t, kSetup, "hello123");
    // The password, encrypted with the key that all VNC programs share. The empty view-only
    // password that the tool adds is gone.
    EXPECT_EQ(box.Sh(std::string("od -An -tx1 ") + kVncPassword), " 83 9e 10 63 0d 24 87 30\n");
    EXPECT_EQ(box.ModeOf(kVncPassword), "400\n");
    SetPassword(t, kChange, "Another one, longer");
    EXPECT_EQ(box.Sh(std::string(
                         "printf 'Another one, longer\\n\\n' | vncpasswd -f | head -c 8 | cmp - ") +
                     kVncPassword),
              "");
    EXPECT_EQ(box.ModeOf(kVncPassword), "400\n");
}

}  // namespace
}  // namespace services
