// Saves by the real program on unusual and failing file systems: the files of the host name, of a
// card's settings and of the time servers hold either the old content or the new.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/xattr.h>

#include <string>
#include <utility>
#include <vector>

#include "interface_fixtures.h"

namespace harness::one_card {
namespace {

// A file that the program saves, and the way there from the main menu: keys, and what they show.
struct Saved {
    const char* name;
    std::string path;
    std::string old_text, new_text;
    std::vector<std::pair<const char*, const char*>> steps;
};

const Saved kSaved[] = {
    {"HostName",
     "/etc/hostname",
     "appliance\n",
     "appliance-2\n",
     {{"n<Enter>", "[ESC to cancel]"}, {"-2<Enter>", "main menu for 'appliance-2'"}}},
    {"Settings",
     kSettings,
     kPlain,
     With(kPlain, "dhcp_gw", "0"),
     {{"1<Enter>", kScreenTitle}, {"c<Enter>", kEditorTitle}, {"h<Space>s<Enter>", kScreenTitle}}},
    {"TimeServers",
     "/etc/ntp.conf",
     "# near\nserver a\n",
     "# near\nserver a\nserver b\n",
     {{"t<Enter>n<Enter>", "New server name?"},
      {"b<Enter>", "Server b"},
      {"s<Enter>", kQuestion},
      {"y", "Server b"}}},
};

std::ostream& operator<<(std::ostream& out, const Saved& saved) {
    return out << saved.name;
}

class Save : public testing::TestWithParam<Saved> {
  protected:
    Save() { box.Write(file.path, file.old_text); }

    void Change(const TerminalOptions& options = {}) {
        Terminal t(box, options);
        t.WaitFor("main menu for 'appliance'");
        WaitForMenu(t, file.steps[0].first);
        for (const auto& [keys, sign] : file.steps)
            t.Go(keys, sign);
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

TEST_P(Save, FollowsALink) {
    box.Sh("mkdir /etc/elsewhere; mv " + file.path + " /etc/elsewhere/file; cd " + Folder() +
           "; ln -s $(realpath --relative-to=. /etc/elsewhere/file) " + file.path);
    const std::string link = box.Sh("readlink " + file.path);
    Change();
    EXPECT_EQ(box.Sh("readlink " + file.path), link);
    EXPECT_EQ(box.Read("/etc/elsewhere/file"), file.new_text);
    EXPECT_EQ(Leftovers("/etc/elsewhere"), "");
}

// The owner may write, user 1234 may read, the group and others nothing.
TEST_P(Save, KeepsModeOwnersAndAccessControlList) {
    const std::string list(
        "\2\0\0\0"
        "\x01\0\6\0\xff\xff\xff\xff"
        "\x02\0\4\0\xd2\4\0\0"
        "\x04\0\0\0\xff\xff\xff\xff"
        "\x10\0\4\0\xff\xff\xff\xff"
        "\x20\0\0\0\xff\xff\xff\xff",
        44);
    const char* name = "system.posix_acl_access";
    box.Sh("chmod 640 " + file.path + "; chown " + box.OtherOwners() + " " + file.path);
    const std::string path = box.OutsidePath(file.path);
    const bool has_lists = setxattr(path.c_str(), name, list.data(), list.size(), 0) == 0;
    Change();
    EXPECT_EQ(box.Read(file.path), file.new_text);
    EXPECT_EQ(box.Sh("stat -c '%a %u:%g %F' " + file.path),
              "640 " + box.OtherOwners() + " regular file\n");
    EXPECT_EQ(Leftovers(Folder()), "");
    if (!has_lists) GTEST_SKIP() << "no access control lists on this system";
    std::string kept(list.size(), ' ');
    EXPECT_EQ(getxattr(path.c_str(), name, kept.data(), kept.size()), 44);
    EXPECT_EQ(kept, list);
}

TEST_P(Save, KeepsTheOldFileWhenAFileSizeLimitIsHit) {
    TerminalOptions options;
    options.program = "/bin/sh";
    options.arguments = {"-c", "ulimit -f 0; exec " + TestedProgram()};
    Change(options);
    EXPECT_EQ(box.Read(file.path), file.old_text);
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

TEST_P(Save, RemovesWhatAPowerCutHasLeftBehind) {
    box.Write(Folder() + "/.ifmenu-Xy12zA", "half of it", 0600);
    Change();
    EXPECT_EQ(box.Read(file.path), file.new_text);
    EXPECT_EQ(Leftovers(Folder()), "");
}

INSTANTIATE_TEST_SUITE_P(, Save, testing::ValuesIn(kSaved),
                         [](const auto& one) { return std::string(one.param.name); });

}  // namespace
}  // namespace harness::one_card
