// Saves by the real program on unusual and failing file systems: the files of the host name and of
// a card's settings hold either the old content or the new.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/xattr.h>

#include <string>

#include "interface_fixtures.h"

namespace harness::one_card {
namespace {

// A file that the program saves, and the keys that save it. These steps wait only for texts: under
// a tracer it is not visible whether the program waits for a key.
struct Saved {
    const char* name;
    std::string path;
    std::string old_text, new_text;
    void (*change)(Terminal& t);  // starts on the main menu; does not wait for the save
    const char* afterwards;       // a text on the next screen
};

void SaveName(Terminal& t) {
    t.WaitFor("main menu for 'appliance'");
    t.Press("n<Enter>");
    t.WaitFor("[ESC to cancel]");
    t.Type("-2");
    t.WaitFor("appliance-2");
    t.Press("<Enter>");
}

void SaveSettings(Terminal& t) {
    t.WaitFor("    1. ");
    t.Press("1<Enter>");
    t.WaitFor("Network configuration: ");
    t.Press("c<Enter>");
    t.WaitFor(kEditorTitle);
    t.Press("h<Space>");
    t.WaitFor("Use DHCP gateway address:      no");
    t.Press("s<Enter>");
}

const Saved kHostName = {"HostName",      "/etc/hostname", "appliance\n",
                         "appliance-2\n", SaveName,        "main menu for 'appliance-2'"};
const Saved kCardSettings = {"Settings",   kSettings,
                             kPlain,       With(kPlain, "dhcp_gw", "0"),
                             SaveSettings, "Network configuration: "};

std::ostream& operator<<(std::ostream& out, const Saved& saved) {
    return out << saved.name;
}

class Save : public testing::TestWithParam<Saved> {
  protected:
    Save() { box.Write(file.path, file.old_text); }

    // Saves, and waits until the program has continued.
    void Change(const TerminalOptions& options = {}) {
        Terminal t(box, options);
        file.change(t);
        t.WaitFor(file.afterwards);
        if (options.program.empty()) t.Settle();
    }
    // The file's folder, for commands.
    std::string Folder() const { return file.path.substr(0, file.path.rfind('/')); }
    // What a save could leave behind in the folder.
    std::string Leftovers(const std::string& folder) {
        return box.Sh("ls -A " + folder + " | grep ifmenu || true");
    }

    const Saved& file = GetParam();
    Box box;
};

TEST_P(Save, KeepsModeAndOwners) {
    box.Sh("chmod 640 " + file.path + "; chown " + box.OtherOwners() + " " + file.path);
    Change();
    EXPECT_EQ(box.Read(file.path), file.new_text);
    EXPECT_EQ(box.Sh("stat -c '%a %u:%g %F' " + file.path),
              "640 " + box.OtherOwners() + " regular file\n");
    EXPECT_EQ(Leftovers(Folder()), "");
}

TEST_P(Save, FollowsALink) {
    box.Sh("mkdir /etc/elsewhere; mv " + file.path + " /etc/elsewhere/file; cd " + Folder() +
           "; ln -s $(realpath --relative-to=. /etc/elsewhere/file) " + file.path);
    const std::string link = box.Sh("readlink " + file.path);
    Change();
    EXPECT_EQ(box.Sh("readlink " + file.path), link);
    EXPECT_EQ(box.Read("/etc/elsewhere/file"), file.new_text);
    EXPECT_EQ(Leftovers("/etc/elsewhere"), "");
}

TEST_P(Save, WritesAFileThatIsAMountPoint) {
    box.Sh("mkdir /etc/elsewhere; cp " + file.path +
           " /etc/elsewhere/file; mount --bind "
           "/etc/elsewhere/file " +
           file.path);
    Change();
    EXPECT_EQ(box.Read(file.path), file.new_text);
    EXPECT_EQ(box.Read("/etc/elsewhere/file"), file.new_text);
    EXPECT_EQ(Leftovers(Folder()), "");
}

// The owner may write, user 1234 may read, the group and others nothing.
TEST_P(Save, KeepsTheAccessControlList) {
    const std::string list(
        "\2\0\0\0"
        "\x01\0\6\0\xff\xff\xff\xff"
        "\x02\0\4\0\xd2\4\0\0"
        "\x04\0\0\0\xff\xff\xff\xff"
        "\x10\0\4\0\xff\xff\xff\xff"
        "\x20\0\0\0\xff\xff\xff\xff",
        44);
    const std::string name = "system.posix_acl_access";
    if (setxattr(box.OutsidePath(file.path).c_str(), name.c_str(), list.data(), list.size(), 0) !=
        0)
        GTEST_SKIP() << "no access control lists on this system";
    Change();
    EXPECT_EQ(box.Read(file.path), file.new_text);
    std::string kept(100, ' ');
    const ssize_t size =
        getxattr(box.OutsidePath(file.path).c_str(), name.c_str(), kept.data(), kept.size());
    EXPECT_EQ(kept.substr(0, static_cast<size_t>(std::max<ssize_t>(size, 0))), list);
    EXPECT_EQ(box.Sh("stat -c %a " + file.path), "640\n");
}

TEST_P(Save, KeepsTheOldFileWhenAFileSizeLimitIsHit) {
    TerminalOptions options;
    options.program = "/bin/sh";
    options.arguments = {"-c", std::string("ulimit -f 0; exec ") + IFMENU_PROGRAM};
    Change(options);
    EXPECT_EQ(box.Read(file.path), file.old_text);
    EXPECT_EQ(Leftovers(Folder()), "");
}

TEST_P(Save, SucceedsWhereOwnersAndModesCannotBeSet) {
    if (!box.Sh("strace -o /dev/null true 2>&1 || echo no").empty())
        GTEST_SKIP() << "no strace on this system";
    TerminalOptions options;
    options.program = "/usr/bin/strace";
    options.arguments = {"-f",
                         "--seccomp-bpf",
                         "-qq",
                         "-o",
                         "/dev/null",
                         "-e",
                         "inject=fchown,fchmod:error=EPERM",
                         IFMENU_PROGRAM};
    Change(options);
    box.WaitUntil([&] { return box.Read(file.path) == file.new_text; }, "the save");
    EXPECT_EQ(box.Sh("stat -c %a " + file.path), "644\n");
    EXPECT_EQ(Leftovers(Folder()), "");
}

TEST_P(Save, KeepsTheOldFileOnAFullDisk) {
    box.Sh("mkdir /etc/full; mount -t tmpfs -o size=64k none /etc/full; mv " + file.path +
           " /etc/full/file; ln -s /etc/full/file " + file.path +
           "; cat /dev/zero >/etc/full/filler 2>/dev/null || true");
    Change();
    EXPECT_EQ(box.Read("/etc/full/file"), file.old_text);
    EXPECT_EQ(box.Sh("ls -A /etc/full"), "file\nfiller\n");
    // With free space again, the next save succeeds.
    box.Remove("/etc/full/filler");
    box.Sh("hostname appliance");
    Change();
    EXPECT_EQ(box.Read("/etc/full/file"), file.new_text);
}

TEST_P(Save, KeepsTheOldFileOnAReadOnlyDisk) {
    box.Sh("mkdir /etc/fixed; mount -t tmpfs none /etc/fixed; mv " + file.path +
           " /etc/fixed/file; ln -s /etc/fixed/file " + file.path +
           "; mount -o remount,bind,ro /etc/fixed");
    Change();
    EXPECT_EQ(box.Read("/etc/fixed/file"), file.old_text);
}

TEST_P(Save, LeavesAFolderInPlaceOfTheFileAlone) {
    box.Sh("rm " + file.path + "; mkdir " + file.path);
    box.Remove(kTemplate);
    Change();
    EXPECT_EQ(box.Sh("ls -A " + file.path), "");
    EXPECT_EQ(Leftovers(Folder()), "");
}

TEST_P(Save, CreatesAFileThatEverybodyMayRead) {
    box.Remove(file.path);
    box.Remove(kTemplate);
    Change();
    EXPECT_EQ(box.Read(file.path), file.new_text);
    EXPECT_EQ(box.Sh("stat -c '%a %u:%g' " + file.path), "644 0:0\n");
}

TEST_P(Save, RemovesWhatAPowerCutHasLeftBehind) {
    box.Write(Folder() + "/.ifmenu-Xy12zA", "half of it", 0600);
    Change();
    EXPECT_EQ(box.Read(file.path), file.new_text);
    EXPECT_EQ(Leftovers(Folder()), "");
}

// Killed before the new file is written, before it replaces the old one, and after that.
TEST_P(Save, KillingItLeavesTheOldFileOrTheNewOne) {
    if (!box.Sh("strace -o /dev/null true 2>&1 || echo no").empty())
        GTEST_SKIP() << "no strace on this system";
    box.Sh("chmod 640 " + file.path);
    const std::string inode = box.Sh("stat -c %i " + file.path);
    std::string contents;
    for (const char* fault :
         {"fchmod:signal=KILL", "fsync:signal=KILL", "rename,renameat,renameat2:signal=KILL",
          "fsync:signal=KILL:when=2"}) {
        box.Write(file.path, file.old_text, 0640);
        box.Sh("hostname appliance");
        TerminalOptions options;
        options.program = "/usr/bin/strace";
        options.arguments = {"-f",
                             "--seccomp-bpf",
                             "-qq",
                             "-o",
                             "/dev/null",
                             "-e",
                             std::string("inject=") + fault,
                             IFMENU_PROGRAM};
        Terminal t(box, options);
        file.change(t);
        EXPECT_EQ(t.WaitExit(), Killed(SIGKILL)) << fault;
        const std::string content = box.Read(file.path);
        EXPECT_TRUE(content == file.old_text || content == file.new_text) << fault << content;
        EXPECT_EQ(box.Sh("stat -c %a " + file.path), "640\n") << fault;
        contents += content == file.old_text ? "old " : "new ";
    }
    EXPECT_EQ(contents.substr(0, 8), "old old ");
    EXPECT_EQ(contents.substr(contents.size() - 4), "new ");
    box.Write(file.path, file.old_text, 0640);
    box.Sh("hostname appliance");
    Change();
    EXPECT_EQ(box.Read(file.path), file.new_text);
}

INSTANTIATE_TEST_SUITE_P(, Save, testing::Values(kHostName, kCardSettings),
                         [](const auto& one) { return std::string(one.param.name); });

}  // namespace
}  // namespace harness::one_card
