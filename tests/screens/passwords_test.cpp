// The passwords that operators type, of SMB accounts, VNC and wireless networks: how they are
// entered, who gets them, and that no trace of them remains.
#include <gmock/gmock.h>

#include <cstring>

#include "actions.h"
#include "full_machine.h"
#include "secret.h"

namespace harness {
namespace {

using testing::IsEmpty;

constexpr const char* kVncOn = "/etc/local.desktop.vnc";
constexpr const char* kVncPassword = "/etc/local.desktop.vnc.passwd";

struct Entry {
    Stop stop;           // the entry box; its sign is the last line of the prompt
    const char* before;  // the lines above it
    const char* tool;    // the command that gets the password
    const char* back;    // shown afterwards
};

constexpr Entry kSmb = {
    {"Smb", "s<Enter>ss<Enter><End><Enter>p<Enter>", "SMB/CIFS account password?"},
    "",
    "smbpasswd -a -s editor",
    "Return to services menu"};
constexpr Entry kVncSetup = {{"VncSetup", "s<Enter>v<Enter>", "Set VNC password"},
                             "",
                             "vncpasswd -f",
                             "Disable remote VNC access"};
constexpr Entry kVncChange = {
    {"VncChange", "s<Enter>v<Down><Enter>", "Password takes effect when VNC server is started."},
    "Change VNC password.",
    "vncpasswd -f",
    "FTP service"};
constexpr Entry kWireless = {
    {"Wireless", "1<Enter>w<Enter><End><Enter>c<Enter>", "Access point password?"},
    "",
    "wpa_cli -i wlan0 set_network 1 psk",
    "Return to wifi menu"};

std::ostream& operator<<(std::ostream& out, const Entry& entry) {
    return out << entry.stop;
}

// The longest possible password of a wireless network: the longer it is, the more copies a careless
// buffer leaves.
constexpr const char* kSecret = "Quux7-Zebra#Plinth_42;vortex Jib9+Wharf%Sphinx!K0bold/Myrrh&Ew3";

class Password : public testing::TestWithParam<Entry> {
  protected:
    Password() {
        Prepare();
        box.MakeDirectory("/mnt/seen");
        // The tools record the arguments and environments of all processes, and their input. With
        // the secret in their hands, they wait at the gate if there is one.
        const std::string look =
            "cat /proc/[0-9]*/cmdline /proc/[0-9]*/environ 2>/dev/null >\"/mnt/seen/$3 $5\"\n";
        const std::string wait =
            "[ ! -p /mnt/gate ] || { touch /mnt/has-read; read -r _ </mnt/gate; }\n";
        for (const char* tool : {"smbpasswd", "vncpasswd"})
            box.StandInScript(tool, look + "cat >/mnt/input\n" + wait);
        box.StandInScript(
            "wpa_cli",
            look +
                "case $3 in\n"
                "scan_result) printf 'bssid\\n02:00:00:00:20:07\\t2412\\t-58\\t[ESS]\\tnet\\n' ;;\n"
                "add_network) cat /mnt/number 2>/dev/null || echo 1 ;;\n"
                "enable_network) " +
                wait + ";;\nesac\n");
    }

    // The first settings; to set VNC up, without its password.
    void Prepare() {
        box.WriteSettings();
        for (const char* file : {kVncOn, kVncPassword})
            if (Is(kVncSetup)) box.Remove(file);
    }
    bool Is(const Entry& other) const { return std::string(entry.stop.name) == other.stop.name; }
    void TypeAndAccept(Terminal& t, const std::string& password = kSecret) {
        t.Type(password);
        t.Press("<Enter>");
        t.WaitUntil(
            [&] { return t.AltScreen() && !t.Shows(entry.stop.sign) && t.Shows(entry.back); },
            entry.back);
        t.Settle();
    }
    // The password as the tool got it.
    std::string Given() {
        for (const Call& call : box.Calls("wpa_cli"))
            if (call.args.size() == 6 && call.args[4] == "psk") return call.args[5];
        return box.Exists("/mnt/input") ? box.Read("/mnt/input") : "(none)";
    }
    // The same for this password.
    std::string Expected(const std::string& password) const {
        const std::string tool = entry.tool;
        if (tool.starts_with("smbpasswd")) return password + "\n" + password + "\n";
        if (tool.starts_with("vncpasswd")) return password + std::string(13, '\n');
        return "\"" + password + "\"";
    }

    const Entry& entry = GetParam();
    FullMachine box;
};

INSTANTIATE_TEST_SUITE_P(, Password, testing::Values(kSmb, kVncSetup, kVncChange, kWireless),
                         testing::PrintToStringParamName());

// ---- the entry ----

TEST_P(Password, IsTypedAsAsterisksOnABlueLine) {
    Page t(box, entry.stop);
    const int prompt = t.Find(entry.stop.sign), line = prompt + 2;
    const int hint = static_cast<int>(strlen(entry.stop.sign)) + 3;
    EXPECT_EQ(t.FindColumn(std::string(entry.stop.sign) + " [ESC to cancel]"), 2);
    if (*entry.before != '\0') {
        EXPECT_EQ(t.Find(entry.before), prompt - 1);
    }
    EXPECT_TRUE(t.Cell(prompt, 2).bold);
    EXPECT_FALSE(t.Cell(prompt, hint).bold);
    EXPECT_TRUE(t.CursorVisible());
    t.Type("secret");
    t.WaitFor("******");
    EXPECT_EQ(t.FindColumn("******"), 2);
    EXPECT_FALSE(t.Shows("*******"));
    for (const int column : {1, 2, 77, 78})
        EXPECT_EQ(t.Cell(line, column).bg == kBlue, column == 2 || column == 77) << column;
    EXPECT_EQ(t.Cell(line, 2).Style(), "white/blue bold underline");
    EXPECT_EQ(t.CursorRow(), line);
    EXPECT_EQ(t.CursorCol(), 8);
    t.Press("<Backspace><Delete>");
    t.WaitForGone("*****");
    EXPECT_EQ(t.CursorCol(), 6);
}

TEST_P(Password, IsLimitedToTextAndDeletingKeys) {
    Page t(box, entry.stop);
    t.Press("<Backspace><Delete>");
    t.SendBytes("\x08\x7f");
    t.Type("a x'");
    t.SendBytes("\x7f\x7f");  // "a "
    t.Press("b<Left><Right><Up><Down><Home><End><PageUp><PageDown><Tab><F5><C-a>$(id)");
    t.SendBytes("\xc3\xa9\xff\x80\x08");
    TypeAndAccept(t, ";c");
    EXPECT_EQ(Given(), Expected("a b$(id;c"));
}

TEST_P(Password, CancelledOrEmptyItGoesNowhere) {
    Page t(box, entry.stop);
    for (const char* keys : {"<Esc>", "abc<Esc>", "<Enter>", "ab<Backspace><Backspace><Enter>"}) {
        // A network may be open.
        if (Is(kWireless) && std::string(keys).ends_with("<Enter>")) continue;
        box.ForgetCalls();
        t.Mark();
        t.Press(keys);
        t.WaitForGone(entry.stop.sign);
        t.Settle();
        EXPECT_FALSE(LeftItsScreen(t)) << keys;
        EXPECT_FALSE(t.CursorVisible());
        EXPECT_THAT(box.CallLines(), IsEmpty());
        t.Go("<Enter>", entry.stop.sign);
    }
    EXPECT_EQ(box.Exists(kVncOn), !Is(kVncSetup));
}

// ---- traces ----

TEST_P(Password, ReachesOnlyItsTool) {
    Page t(box, entry.stop);
    TypeAndAccept(t);
    EXPECT_EQ(Given(), Expected(kSecret));
    const std::string psk = Is(kWireless) ? "set_network psk\n" : "";
    EXPECT_EQ(box.Sh("cd /mnt/seen; grep -al Quux7 * || true"), psk)
        << "in the arguments or the environment of a process";
    bool called = false;
    for (const Call& call : box.Calls()) {
        const bool is_tool = call.Line().starts_with(entry.tool);
        called = called || is_tool;
        EXPECT_EQ(call.Line().find("Quux7") != std::string::npos, is_tool && !psk.empty()) << call;
    }
    EXPECT_TRUE(called);
    // Nor is it in any file, or on the screen.
    EXPECT_EQ(box.Sh("grep -arl Quux7 /mnt/.layers /run /dev/shm || true"), "");
    EXPECT_EQ(t.Output().find("Quux7"), std::string::npos);
}

TEST_P(Password, IsErasedWhenItIsAcceptedOrCancelled) {
    for (const bool accepted : {true, false}) {
        Prepare();
        Page t(box, entry.stop);
        t.Type(kSecret);
        t.WaitFor(std::string(strlen(kSecret), '*'));
        t.Settle();
        EXPECT_NE(TracesOfSecret(t, kSecret), Words())
            << "the search must find a password that is there";
        if (accepted) {
            TypeAndAccept(t, "");
        } else {
            t.Press("<Esc>");
            t.WaitForGone(entry.stop.sign);
            t.Settle();
        }
        EXPECT_EQ(TracesOfSecret(t, kSecret), Words());
    }
}

TEST_P(Password, IsErasedAsSoonAsTheToolHasIt) {
    box.Sh("mkfifo /mnt/gate");
    Page t(box, entry.stop);
    t.Type(kSecret);
    t.Press("<Enter>");
    box.WaitUntil([&] { return box.Exists("/mnt/has-read"); }, "the tool to have it");
    EXPECT_EQ(Given(), Expected(kSecret));
    EXPECT_EQ(TracesOfSecret(t, kSecret), Words());
    box.Write("/mnt/gate", "\n");
    t.WaitFor(entry.back);
}

class WirelessPassword : public Password {};
INSTANTIATE_TEST_SUITE_P(, WirelessPassword, testing::Values(kWireless),
                         testing::PrintToStringParamName());

TEST_P(WirelessPassword, IsErasedIfTheSupplicantRefusesTheNetwork) {
    box.Write("/mnt/number", "FAIL\n");
    Page t(box, entry.stop);
    t.Type(kSecret);
    t.Press("<Enter>");
    t.WaitForGone(entry.stop.sign);
    t.Settle();
    EXPECT_EQ(Given(), "(none)");
    EXPECT_EQ(TracesOfSecret(t, kSecret), Words());
}

TEST_P(WirelessPassword, IsErasedIfItCannotBeQuoted) {
    box.Sh("mkfifo /mnt/gate");
    Page t(box, entry.stop);
    t.Type(kSecret + std::string("\""));
    t.Press("<Enter>");
    box.WaitUntil([&] { return box.Exists("/mnt/has-read"); }, "the next command");
    EXPECT_EQ(Given(), "(none)");
    EXPECT_EQ(TracesOfSecret(t, kSecret), Words());
    box.Write("/mnt/gate", "\n");
}

}  // namespace
}  // namespace harness
