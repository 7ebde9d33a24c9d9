// Unmounting: which lines of /proc/mounts count, and what happens to real mounts.
#include "product_line/unmount.h"

#include <ostream>
#include <vector>

#include "services/services_fixtures.h"

namespace {

using services::InOwnRoot;
using services::WriteFile;

std::string Parsed(std::string_view line) {
    const auto mounted = ParseMountLine(line);
    if (!mounted) return "nothing";
    return mounted->device + "|" + mounted->mount_point + "|" + mounted->type;
}

// ---- lines ----

TEST(ParseMountLine, TakesDeviceMountPointAndType) {
    EXPECT_EQ(Parsed("/dev/sda1 /media ext4 rw,relatime 0 0\n"), "/dev/sda1|/media|ext4");
    EXPECT_EQ(Parsed("/dev/mapper/vg-media /srv/media xfs rw 0 0"),
              "/dev/mapper/vg-media|/srv/media|xfs");
}

TEST(ParseMountLine, SkipsBlanksAndTabs) {
    EXPECT_EQ(Parsed(" \t /dev/sda1  \t/media \t ext4  rw 0 0\n"), "/dev/sda1|/media|ext4");
}

// Only a blank ends a field.
TEST(ParseMountLine, ATabAloneDoesNotSeparateFields) {
    EXPECT_EQ(Parsed("/dev/sda1\t/media ext4 rw 0 0\n"), "/dev/sda1\t/media|ext4|rw");
    EXPECT_EQ(Parsed("/dev/sda1\t/media\text4\trw\n"), "nothing");
}

TEST(ParseMountLine, NeedsFourFields) {
    for (const char* line : {"", "\n", " \n", "/dev/sda1\n", "/dev/sda1 /media\n",
                             "/dev/sda1 /media ext4\n", "/dev/sda1 /media ext4"}) {
        EXPECT_EQ(Parsed(line), "nothing") << line;
    }
    EXPECT_EQ(Parsed("/dev/sda1 /media ext4 rw"), "/dev/sda1|/media|ext4");
}

TEST(ParseMountLine, SkipsWhatIsNotADevice) {
    for (const char* line :
         {"tmpfs /run tmpfs rw 0 0\n", "proc /proc proc rw 0 0\n", "/dev /dev devtmpfs rw 0 0\n",
          "/device/sda1 /media ext4 rw 0 0\n", "dev/sda1 /media ext4 rw 0 0\n",
          "server:/dev/sda1 /media nfs rw 0 0\n", "/Dev/sda1 /media ext4 rw 0 0\n"}) {
        EXPECT_EQ(Parsed(line), "nothing") << line;
    }
}

TEST(ParseMountLine, SkipsOnlyTheRootFileSystem) {
    EXPECT_EQ(Parsed("/dev/sda1 / ext4 rw 0 0\n"), "nothing");
    EXPECT_EQ(Parsed("/dev/sda1 // ext4 rw 0 0\n"), "/dev/sda1|//|ext4");
    EXPECT_EQ(Parsed("/dev/sda1 /root ext4 rw 0 0\n"), "/dev/sda1|/root|ext4");
}

TEST(ParseMountLine, KeepsTheKernelsEscapes) {
    EXPECT_EQ(Parsed("/dev/sda1 /my\\040media ext4 rw 0 0\n"), "/dev/sda1|/my\\040media|ext4");
}

// ---- real mounts ----

using UnmountDevices = services::OwnSurroundings;

constexpr const char* kHome = "\x1b[H\x1b[J";
constexpr const char* kPause = "Hit enter to continue\n";

void Mount(const char* device, const char* mount_point) {
    std::filesystem::create_directory(mount_point);
    if (mount(device, mount_point, "tmpfs", 0, nullptr) != 0) _exit(1);
}

// The output when ENTER was typed ahead; `left` gets what is still mounted.
std::string Unmounting() {
    WriteFile("/tmp/input", "\n");
    const int input = open("/tmp/input", O_RDONLY | O_CLOEXEC);
    const int output = open("/tmp/output", O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    UnmountDeviceMounts();
    std::fflush(stdout);
    return ContentOf("/tmp/output");
}

// The devices still mounted.
std::string Mounted() {
    std::ifstream mounts("/proc/mounts");
    std::string all;
    for (std::string line; std::getline(mounts, line);) {
        if (line.rfind("/dev/", 0) == 0) all += line.substr(0, line.find(' ')) + " ";
    }
    return all;
}

TEST_F(UnmountDevices, UnmountsEveryDeviceButTheRoot) {
    const std::string said = InOwnRoot([] {
        Mount("/dev/made1", "/a");
        Mount("made2", "/b");
        Mount("/dev/made3", "/c");
        const std::string printed = Unmounting();
        return printed + "left: " + Mounted();
    });
    EXPECT_EQ(said, std::string(kHome) +
                        "Unmounting: /dev/made1 -> /a [tmpfs] OK\n"
                        "Unmounting: /dev/made3 -> /c [tmpfs] OK\n" +
                        kPause + "left: ");
}

TEST_F(UnmountDevices, SaysWhyADeviceStaysMounted) {
    const std::string said = InOwnRoot([] {
        Mount("/dev/made1", "/a");
        Mount("/dev/made2", "/b");
        const int busy = open("/a", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (busy < 0) return std::string();
        const std::string printed = Unmounting();
        return printed + "left: " + Mounted();
    });
    EXPECT_EQ(said, std::string(kHome) +
                        "Unmounting: /dev/made1 -> /a [tmpfs] Device or resource busy\n"
                        "Unmounting: /dev/made2 -> /b [tmpfs] OK\n" +
                        kPause + "left: /dev/made1 ");
}

TEST_F(UnmountDevices, OnlyWaitsIfMountsCannotBeListed) {
    const std::string said = InOwnRoot([] {
        Mount("/dev/made1", "/a");
        umount2("/proc", MNT_DETACH);
        const std::string printed = Unmounting();
        mount("none", "/proc", "proc", 0, nullptr);
        return printed + "left: " + Mounted();
    });
    EXPECT_EQ(said, std::string(kHome) + kPause + "left: /dev/made1 ");
}

}  // namespace
