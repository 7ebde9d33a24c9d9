// What counts as an existing file, and how marker files are created.
#include "services/service_states.h"

#include <sys/socket.h>
#include <sys/un.h>

#include "services/services_fixtures.h"
#include "util/utility_fixtures.h"

namespace {

using services::WriteFile;

TEST(IsRegularFile, OnlyARegularFileCounts) {
    const TemporaryFolder folder;
    const std::string path = folder.path + "/entry";
    EXPECT_FALSE(IsRegularFile(path));
    WriteFile(path, "");
    EXPECT_TRUE(IsRegularFile(path));
    EXPECT_FALSE(IsRegularFile(path + "/below"));
    EXPECT_FALSE(IsRegularFile(path + "/"));
    EXPECT_FALSE(IsRegularFile(folder.path));
    EXPECT_FALSE(IsRegularFile("/dev/null"));
    EXPECT_FALSE(IsRegularFile(""));
}

TEST(IsRegularFile, ALinkToAFileDoesNotCount) {
    const TemporaryFolder folder;
    WriteFile(folder.path + "/file", "");
    std::filesystem::create_symlink("file", folder.path + "/link");
    EXPECT_FALSE(IsRegularFile(folder.path + "/link"));
    std::filesystem::create_symlink("missing", folder.path + "/dangling");
    EXPECT_FALSE(IsRegularFile(folder.path + "/dangling"));
    std::filesystem::create_hard_link(folder.path + "/file", folder.path + "/second");
    EXPECT_TRUE(IsRegularFile(folder.path + "/second"));
}

TEST(IsRegularFile, PipesAndSocketsDoNotCount) {
    const TemporaryFolder folder;
    const std::string pipe = folder.path + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_FALSE(IsRegularFile(pipe));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s/socket", folder.path.c_str());
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_FALSE(IsRegularFile(address.sun_path));
    close(descriptor);
}

TEST(IsRegularFile, NeedsNoPermissionOnTheFile) {
    const TemporaryFolder folder;
    const std::string path = folder.path + "/file";
    WriteFile(path, "");
    ASSERT_EQ(chmod(path.c_str(), 0), 0);
    EXPECT_TRUE(IsRegularFile(path));
}

// ---- marker files ----

mode_t ModeOf(const std::string& path) {
    struct stat about = {};
    return stat(path.c_str(), &about) == 0 ? about.st_mode & 07777 : 0;
}

struct Umask {
    explicit Umask(mode_t mask) : before(umask(mask)) {}
    ~Umask() { umask(before); }
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;

    mode_t before;
};

TEST(CreateMarkerFile, CreatesAnEmptyFileThatAllMayRead) {
    const TemporaryFolder folder;
    for (mode_t mask : {mode_t{0}, mode_t{022}}) {
        const Umask guard(mask);
        const std::string path = folder.path + "/marker" + std::to_string(mask);
        CreateMarkerFile(path);
        EXPECT_TRUE(IsRegularFile(path));
        EXPECT_EQ(ContentOf(path), "");
        EXPECT_EQ(ModeOf(path), mode_t{0644});
    }
    const Umask guard(077);
    CreateMarkerFile(folder.path + "/private");
    EXPECT_EQ(ModeOf(folder.path + "/private"), mode_t{0600});
}

TEST(CreateMarkerFile, EmptiesAnExistingFile) {
    const TemporaryFolder folder;
    const std::string path = folder.path + "/marker";
    WriteFile(path, "something\n");
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    CreateMarkerFile(path);
    EXPECT_EQ(ContentOf(path), "");
    EXPECT_EQ(ModeOf(path), mode_t{0640});
}

TEST(CreateMarkerFile, AFailureIsNotReported) {
    const TemporaryFolder folder;
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    CreateMarkerFile(folder.path + "/none/marker");
    CreateMarkerFile(folder.path);
    CreateMarkerFile("");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(std::filesystem::is_empty(folder.path));
}

TEST(CreateMarkerFile, APipeInPlaceOfTheFileDoesNotBlock) {
    const TemporaryFolder folder;
    const std::string pipe = folder.path + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EXIT(
        {
            alarm(5);
            CreateMarkerFile(pipe);
            _exit(0);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
}

TEST(CreateMarkerFile, LeavesNoDescriptorOpen) {
    const TemporaryFolder folder;
    const int before = NextDescriptor();
    for (int i = 0; i < 5; i++)
        CreateMarkerFile(folder.path + "/marker");
    EXPECT_EQ(NextDescriptor(), before);
}

}  // namespace
