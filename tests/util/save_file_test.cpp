#include "util/save_file.h"

#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>

#include "save_file_fixtures.h"

namespace {

using namespace faults;

// The old content is longer, so its end shows if a file is overwritten but not truncated.
const std::string kOld = "manage = 1\ndhcp = 0\nstatic ip = 192.0.2.1\ngateway = 192.0.2.254\n";
const std::string kNew = "manage = 0\ndhcp = 1\nstatic ip = \nnat role = lan\n";

using Names = std::set<std::string>;

// "saved" or "refused", in a process prepared like this.
std::string SavedAfter(const std::function<void()>& prepare, const std::function<bool()>& save) {
    return AnswerOfChild([&] {
               prepare();
               return std::string(save() ? "saved" : "refused");
           })
        .value_or("died");
}

// ---- undisturbed saves ----

TEST(SaveFile, ReplacesTheWholeContent) {
    const TemporaryFolder folder;
    const std::string path = folder.Path("settings");
    for (const std::string& text :
         {kNew, kOld, std::string(), std::string("\0\n\xff", 3), std::string(3000000, 'x'), kNew}) {
        EXPECT_TRUE(SaveFile(path, text));
        EXPECT_EQ(ContentOf(path), text);
        EXPECT_EQ(NamesIn(folder.path), Names{"settings"});
    }
}

TEST(SaveFile, ANewFileGetsItsModeFromTheUmask) {
    const TemporaryFolder folder;
    const mode_t before = umask(0027);
    const std::string narrow = folder.Path("narrow");
    EXPECT_TRUE(SaveFile(narrow, kNew));
    umask(0);
    const std::string wide = folder.Path("wide");
    EXPECT_TRUE(SaveFile(wide, kNew));
    EXPECT_EQ(umask(before), 0U) << "the process's umask must not change";
    EXPECT_EQ(ModeOf(narrow), 0640U);
    EXPECT_EQ(ModeOf(wide), 0666U);
    EXPECT_EQ(ContentOf(narrow), kNew);
}

TEST(SaveFile, AnOldFileKeepsItsMode) {
    const TemporaryFolder folder;
    const std::string path = folder.File("settings", kOld);
    for (mode_t mode : {0600U, 0644U, 0666U, 0400U, 0755U, 04711U, 02770U}) {
        if (mode > 0777 && geteuid() != 0)
            continue;  // only root can write without losing these bits
        ASSERT_EQ(chmod(path.c_str(), mode), 0);
        EXPECT_TRUE(SaveFile(path, kNew));
        EXPECT_EQ(ModeOf(path), mode);
    }
}

TEST(SaveFile, AnOldFileKeepsItsOwners) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
    const TemporaryFolder folder;
    const std::string path = folder.File("settings", kOld);
    ASSERT_EQ(chown(path.c_str(), 1234, 4321), 0);
    ASSERT_EQ(chmod(path.c_str(), 06750), 0);
    EXPECT_TRUE(SaveFile(path, kNew));
    EXPECT_EQ(OwnersOf(path), "1234:4321");
    EXPECT_EQ(ModeOf(path), 06750U);
    EXPECT_EQ(ContentOf(path), kNew);
}

// Some file systems refuse an owner or a mode, or accept it and do not keep it. A broken disk is
// another matter.
TEST(SaveFile, AFileIsOverwrittenIfItsOwnerOrItsModeIsNotKept) {
    if (!CanDeny()) GTEST_SKIP() << "calls can't be filtered here";
    if (geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
    const TemporaryFolder folder;
    const std::string path = folder.File("settings", kOld);
    ASSERT_EQ(chown(path.c_str(), 1234, 4321), 0);
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    const ino_t inode = InodeOf(path);
    for (const int call : {SYS_fchown, SYS_fchmod}) {
        for (const int error : {0, EPERM, EIO}) {
            SCOPED_TRACE(std::to_string(call) + ": " + std::to_string(error));
            MakeFile(path, kOld);
            EXPECT_EQ(SavedAfter([&] { Deny({{.call = call, .error = error}}); },
                                 [&] { return SaveFile(path, kNew); }),
                      error == EIO ? "refused" : "saved");
            EXPECT_EQ(ContentOf(path), error == EIO ? kOld : kNew);
            EXPECT_EQ(OwnersOf(path), "1234:4321");
            EXPECT_EQ(ModeOf(path), 0640U);
            EXPECT_EQ(InodeOf(path), inode);
        }
    }
}

// Nobody gains read access: with an access control list, the group bits of the mode are its mask,
// not the rights of the group.
TEST(SaveFile, AnOldFileKeepsItsAccessControlListAndItsOtherAttributes) {
    const TemporaryFolder folder;
    const std::string path = folder.File("settings", kOld);
    if (!SetAttribute(path, kAccessList, OneMoreReader()))
        GTEST_SKIP() << "no access control lists on this system";
    ASSERT_EQ(ModeOf(path), 0640U);
    const bool has_others = SetAttribute(path, "user.origin", "by hand");
    EXPECT_TRUE(SaveFile(path, kNew));
    EXPECT_EQ(ContentOf(path), kNew);
    EXPECT_EQ(AttributeOf(path, kAccessList), OneMoreReader());
    EXPECT_EQ(ModeOf(path), 0640U);
    if (has_others) {
        EXPECT_EQ(AttributeOf(path, "user.origin"), "by hand");
    }
    EXPECT_EQ(NamesIn(folder.path), Names{"settings"});
}

TEST(SaveFile, AnOldFileInheritsNoRightsFromItsFolder) {
    const TemporaryFolder folder;
    const std::string path = folder.File("settings", kOld);
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    if (!SetAttribute(folder.path, kHandedDown, OneMoreReader()))
        GTEST_SKIP() << "no access control lists on this system";
    EXPECT_TRUE(SaveFile(path, kNew));
    EXPECT_EQ(AttributeOf(path, kAccessList), "none");
    EXPECT_EQ(ModeOf(path), 0640U);
}

TEST(SaveFile, AFileIsOverwrittenIfItsAttributesCannotBeCopied) {
    if (!CanDeny()) GTEST_SKIP() << "calls can't be filtered here";
    const TemporaryFolder folder;
    const std::string path = folder.File("settings", kOld);
    if (!SetAttribute(path, kAccessList, OneMoreReader()))
        GTEST_SKIP() << "no access control lists on this system";
    const ino_t inode = InodeOf(path);
    for (const int call : {SYS_fsetxattr, SYS_flistxattr, SYS_fgetxattr}) {
        const int error = call == SYS_fsetxattr ? EOPNOTSUPP : EPERM;
        EXPECT_EQ(SavedAfter([&] { Deny({{.call = call, .error = error}}); },
                             [&] { return SaveFile(path, kNew); }),
                  "saved");
        EXPECT_EQ(ContentOf(path), kNew);
        EXPECT_EQ(InodeOf(path), inode);
        EXPECT_EQ(AttributeOf(path, kAccessList), OneMoreReader());
        EXPECT_EQ(NamesIn(folder.path), Names{"settings"});
        MakeFile(path, kOld);
    }
}

// ---- file size limits ----

std::string SavedWithin(rlim_t bytes, const std::function<bool()>& save) {
    const auto set_limit = [&] {
        const rlimit limit = {bytes, bytes};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0) std::abort();
        std::signal(SIGXFSZ, SIG_IGN);
    };
    return SavedAfter(set_limit, save);
}

TEST(SaveFile, ALimitOnTheSizeOfFilesKeepsTheOldFile) {
    const TemporaryFolder folder;
    const std::string path = folder.File("settings", kOld);
    for (const rlim_t limit : {rlim_t{0}, rlim_t{kNew.size() - 1}}) {
        EXPECT_EQ(SavedWithin(limit, [&] { return SaveFile(path, kNew); }), "refused");
        EXPECT_EQ(SavedWithin(limit, [&] { return SaveFileThrough(path + ".tmp", path, kNew); }),
                  "refused");
        EXPECT_EQ(ContentOf(path), kOld);
        EXPECT_EQ(NamesIn(folder.path), Names{"settings"});
    }
    EXPECT_EQ(SavedWithin(kNew.size(), [&] { return SaveFile(path, kNew); }), "saved");
    EXPECT_EQ(ContentOf(path), kNew);
}

// ---- a file system without owners or modes ----

std::string SavedWithoutOwnersAndModes(const std::function<bool()>& save) {
    return SavedAfter([] { Deny(OwnersAndModes()); }, save);
}

TEST(SaveFile, AFileWithoutOwnersAndModesIsReplaced) {
    if (!CanDeny()) GTEST_SKIP() << "calls can't be filtered here";
    const TemporaryFolder folder;
    const std::string path = folder.File("settings", kOld);
    ASSERT_EQ(chmod(path.c_str(), 0600), 0);  // as every file on a FAT disk has
    const ino_t inode = InodeOf(path);
    EXPECT_EQ(SavedWithoutOwnersAndModes([&] { return SaveFile(path, kNew); }), "saved");
    EXPECT_EQ(ContentOf(path), kNew);
    EXPECT_NE(InodeOf(path), inode);
    EXPECT_EQ(NamesIn(folder.path), Names{"settings"});
}

TEST(SaveFile, AFileWhoseModeCannotBeSetIsWrittenInPlace) {
    if (!CanDeny()) GTEST_SKIP() << "calls can't be filtered here";
    const TemporaryFolder folder;
    const std::string path = folder.File("settings", kOld);
    ASSERT_EQ(chmod(path.c_str(), 0644), 0);
    for (const bool through : {false, true}) {
        MakeFile(path, kOld);
        const ino_t inode = InodeOf(path);
        const auto save = [&] {
            return through ? SaveFileThrough(path + ".tmp", path, kNew) : SaveFile(path, kNew);
        };
        EXPECT_EQ(SavedWithoutOwnersAndModes(save), "saved");
        EXPECT_EQ(ContentOf(path), kNew);
        EXPECT_EQ(InodeOf(path), inode);
        EXPECT_EQ(ModeOf(path), 0644U);
        EXPECT_EQ(NamesIn(folder.path), Names{"settings"});
    }
}

TEST(SaveFile, ANewFileIsCreatedWithoutOwnersAndModes) {
    if (!CanDeny()) GTEST_SKIP() << "calls can't be filtered here";
    const TemporaryFolder folder;
    const std::string path = folder.Path("settings");
    EXPECT_EQ(SavedWithoutOwnersAndModes([&] { return SaveFile(path, kNew); }), "saved");
    EXPECT_EQ(ContentOf(path), kNew);
}

// ---- remains of interrupted saves ----

TEST(SaveFile, RemovesWhatEarlierSavesHaveLeftBehind) {
    const TemporaryFolder folder;
    const std::string path = folder.File("settings", kOld);
    folder.File(".ifmenu-aB3xY9", "half");
    folder.File(".ifmenu-000000", "");
    const Names others = {".ifmenu-", ".ifmenu-aB3xY", ".ifmenu-aB3xY99", "ifmenu-aB3xY9"};
    for (const std::string& name : others)
        folder.File(name, "not ours");
    std::filesystem::create_directory(folder.Path(".ifmenu-folder"));
    std::filesystem::create_symlink("settings", folder.Path(".ifmenu-a_link"));
    ASSERT_EQ(mkfifo(folder.Path(".ifmenu-a_pipe").c_str(), 0600), 0);
    EXPECT_TRUE(SaveFile(path, kNew));
    Names expected = others;
    expected.insert({"settings", ".ifmenu-folder", ".ifmenu-a_link", ".ifmenu-a_pipe"});
    EXPECT_EQ(NamesIn(folder.path), expected);
    EXPECT_EQ(ContentOf(path), kNew);
}

TEST(SaveFile, LeavesTheUnfinishedFileOfAnotherSaveAlone) {
    const TemporaryFolder folder;
    const std::string path = folder.File("settings", kOld);
    const std::string other = folder.File(".ifmenu-aB3xY9", "half");
    const int descriptor = open(other.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(flock(descriptor, LOCK_EX), 0);
    EXPECT_TRUE(SaveFile(path, kNew));
    EXPECT_TRUE(std::filesystem::exists(other));
    close(descriptor);
    EXPECT_TRUE(SaveFile(path, kNew));
    EXPECT_FALSE(std::filesystem::exists(other));
}

TEST(SaveFile, APathWithoutAFolderIsRelativeToTheWorkingFolder) {
    const TemporaryFolder folder;
    const std::string before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path);
    EXPECT_TRUE(SaveFile("settings", kNew));
    std::filesystem::current_path(before);
    EXPECT_EQ(ContentOf(folder.Path("settings")), kNew);
    EXPECT_EQ(NamesIn(folder.path), Names{"settings"});
}

// ---- links ----

struct LinkCase {
    const char* target;  // of the link "folder/link"; a leading "/" means the test's folder
    const char* file;    // the target file
};

// The link is in its own folder, so that a relative target is not relative to the working folder.
void ExpectSavedThroughLink(const LinkCase& one, bool exists) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder.Path("folder/below"));
    const std::string target = *one.target == '/' ? folder.path + one.target : one.target;
    const std::string link = folder.Path("folder/link");
    std::filesystem::create_symlink(target, link);
    const std::string file = folder.Path(one.file);
    if (exists) {
        MakeFile(file, kOld);
        ASSERT_EQ(chmod(file.c_str(), 0604), 0);
    }
    EXPECT_TRUE(SaveFile(link, kNew)) << target;
    ASSERT_TRUE(std::filesystem::is_symlink(link)) << target;
    EXPECT_EQ(std::filesystem::read_symlink(link), target);
    ASSERT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(file))) << target;
    EXPECT_EQ(ContentOf(file), kNew) << target;
    if (exists) {
        EXPECT_EQ(ModeOf(file), 0604U) << target;
    }
}

constexpr LinkCase kLinkCases[] = {
    {"settings", "folder/settings"},     {"./below/settings", "folder/below/settings"},
    {"../settings", "settings"},         {"below/../../settings", "settings"},
    {"/settings", "settings"},           {"/folder/below/settings", "folder/below/settings"},
    {"/folder/../settings", "settings"},
};

TEST(SaveFile, ALinkStaysALinkToTheSavedFile) {
    for (const LinkCase& one : kLinkCases) {
        for (const bool exists : {true, false})
            ExpectSavedThroughLink(one, exists);
    }
}

TEST(SaveFile, AChainOfLinksIsFollowed) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder.Path("one"));
    std::filesystem::create_directories(folder.Path("two/three"));
    const std::string first = folder.Path("one/first");
    std::filesystem::create_symlink(folder.Path("two/second"), first);
    std::filesystem::create_symlink("three/third", folder.Path("two/second"));
    std::filesystem::create_symlink("../settings", folder.Path("two/three/third"));
    const std::string file = folder.File("two/settings", kOld);
    EXPECT_TRUE(SaveFile(first, kNew));
    for (const char* link : {"one/first", "two/second", "two/three/third"}) {
        EXPECT_TRUE(std::filesystem::is_symlink(folder.Path(link))) << link;
    }
    EXPECT_EQ(ContentOf(file), kNew);
    EXPECT_FALSE(std::filesystem::is_symlink(file));
}

TEST(SaveFile, ALinkToAFolderIsFollowed) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder.Path("real/deep"));
    std::filesystem::create_directory_symlink("real/deep", folder.Path("etc"));
    std::filesystem::create_symlink("../settings", folder.Path("etc/link"));
    MakeFile(folder.Path("real/settings"), kOld);
    EXPECT_TRUE(SaveFile(folder.Path("etc/link"), kNew));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.Path("etc")));
    EXPECT_EQ(ContentOf(folder.Path("real/settings")), kNew);
    EXPECT_EQ(NamesIn(folder.path), (Names{"etc", "real"}));
}

TEST(SaveFile, ALoopOfLinksIsLeftAlone) {
    const TemporaryFolder folder;
    const std::string itself = folder.Path("itself");
    const std::string other = folder.Path("other");
    std::filesystem::create_symlink("itself", itself);
    std::filesystem::create_symlink("another", other);
    std::filesystem::create_symlink("other", folder.Path("another"));
    EXPECT_FALSE(SaveFile(itself, kNew));
    EXPECT_FALSE(SaveFile(other, kNew));
    EXPECT_TRUE(std::filesystem::is_symlink(itself));
    EXPECT_TRUE(std::filesystem::is_symlink(other));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.Path("another")));
    EXPECT_EQ(NamesIn(folder.path), (Names{"another", "itself", "other"}));
}

TEST(SaveFile, ALinkIntoAMissingFolderIsLeftAlone) {
    const TemporaryFolder folder;
    const std::string link = folder.Path("link");
    std::filesystem::create_symlink("missing/settings", link);
    EXPECT_FALSE(SaveFile(link, kNew));
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(NamesIn(folder.path), Names{"link"});
}

// ---- other kinds of file ----

TEST(SaveFile, AFolderInPlaceOfTheFileIsLeftAlone) {
    const TemporaryFolder folder;
    const std::string path = folder.Path("settings");
    std::filesystem::create_directory(path);
    MakeFile(path + "/inside", kOld);
    EXPECT_FALSE(SaveFile(path, kNew));
    EXPECT_EQ(ContentOf(path + "/inside"), kOld);
    EXPECT_EQ(NamesIn(folder.path), Names{"settings"});
    EXPECT_EQ(NamesIn(path), Names{"inside"});
}

TEST(SaveFile, AMissingFolderIsNotCreated) {
    const TemporaryFolder folder;
    EXPECT_FALSE(SaveFile(folder.Path("missing/settings"), kNew));
    EXPECT_EQ(NamesIn(folder.path), Names{});
}

TEST(SaveFile, ADeviceIsWrittenTo) {
    const TemporaryFolder folder;
    const std::string path = folder.Path("pipe");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    EXPECT_TRUE(SaveFile(path, kNew));
    std::string got(kNew.size() + 10, ' ');
    const ssize_t count = read(reader, got.data(), got.size());
    close(reader);
    EXPECT_EQ(got.substr(0, static_cast<size_t>(std::max<ssize_t>(count, 0))), kNew);
    EXPECT_TRUE(std::filesystem::is_fifo(path));
    EXPECT_EQ(NamesIn(folder.path), Names{"pipe"});
}

TEST(SaveFile, ALinkedDeviceStaysADevice) {
    const TemporaryFolder folder;
    const std::string null = folder.Path("null");
    const std::string full = folder.Path("full");
    std::filesystem::create_symlink("/dev/null", null);
    std::filesystem::create_symlink("/dev/full", full);
    EXPECT_TRUE(SaveFile(null, kNew));
    EXPECT_FALSE(SaveFile(full, kNew));
    EXPECT_TRUE(std::filesystem::is_character_file(null));
    EXPECT_TRUE(std::filesystem::is_character_file(full));
    EXPECT_EQ(NamesIn(folder.path), (Names{"full", "null"}));
}

TEST(SaveFile, APipeWithoutAReaderDoesNotBlock) {
    const TemporaryFolder folder;
    const std::string path = folder.Path("pipe");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_FALSE(SaveFile(path, kNew));
    EXPECT_TRUE(std::filesystem::is_fifo(path));
}

// ---- killed saves ----

// Kills saves, each one call later than the previous, until one succeeds, and checks each result.
// Returns how many were killed.
size_t KillAtEveryCall(const std::function<void()>& prepare, const std::function<bool()>& save,
                       const std::function<void(const Trial&)>& look) {
    for (size_t at = 0;; at++) {
        prepare();
        const Trial trial = RunWith(Fault{.at = at, .error = 0}, save);
        if (!trial.hit) {
            EXPECT_EQ(trial.ending, Ending::kSaved);
            return at;
        }
        EXPECT_EQ(trial.ending, Ending::kKilled) << "call " << at;
        look(trial);
    }
}

// Makes saves fail at every call with each of these errors, and checks each result, given the
// number of the system call and whether the file was saved. Returns how many calls failed.
size_t FailAtEveryCall(const std::vector<int>& errors, const std::function<void()>& prepare,
                       const std::function<bool()>& save,
                       const std::function<void(int, bool)>& look) {
    size_t hits = 0;
    for (int error : errors) {
        for (size_t at = 0;; at++) {
            prepare();
            const Trial trial = RunWith(Fault{.at = at, .error = error}, save);
            if (!trial.hit) break;
            hits++;
            const testing::ScopedTrace context(__FILE__, __LINE__,
                                               "call " + std::to_string(at) + " (number " +
                                                   std::to_string(trial.calls[at]) +
                                                   ") fails with " + std::to_string(error));
            EXPECT_TRUE(trial.ending == Ending::kSaved || trial.ending == Ending::kRefused);
            look(trial.calls[at], trial.ending == Ending::kSaved);
        }
    }
    return hits;
}

class SaveFileFaults : public testing::Test {
  protected:
    void SetUp() override {
        if (!FaultsWork()) GTEST_SKIP() << "this kernel can't report calls to another process";
    }

    // Besides the file and a link to it, there may only be the new file, under a name that scripts
    // ignore.
    void ExpectOldOrNew(const std::string& context) {
        const std::string content = ContentOf(path_);
        EXPECT_TRUE(content == kOld || content == kNew) << context << ":\n" << content;
        EXPECT_EQ(ModeOf(path_), 0640U) << context;
        for (const std::string& name : NamesIn(folder_.path)) {
            EXPECT_TRUE(name == "settings" || name.front() == '.') << context << ": " << name;
        }
    }
    // A killed save leaves nothing in the folder, except just before the rename.
    void ExpectNothingLeftButBeforeTheExchange(const std::function<bool()>& save) {
        const auto unnamed = AnswerOfChild([&] {
            return std::string(open(folder_.path.c_str(), O_TMPFILE | O_WRONLY, 0600) < 0 ? ""
                                                                                          : "yes");
        });
        if (unnamed != "yes") GTEST_SKIP() << "all files have names here";
        size_t left = 0;
        const auto look = [&](const Trial& trial) {
            const bool is_clean = NamesIn(folder_.path) == Names{"settings"};
            if (!is_clean) left++;
            EXPECT_TRUE(is_clean || IsRename(trial.Last())) << "call " << trial.Last();
        };
        KillAtEveryCall([&] { StartAgain(); }, save, look);
        EXPECT_EQ(left, 1U);
    }
    // The next save removes what a killed one has left, with and without unnamed files.
    void ExpectNothingLeftByTheNext(const std::function<bool(const std::string&)>& save) {
        for (const bool has_unnamed : {true, false}) {
            StartAgain();
            const auto killed_save = [&] {
                if (!has_unnamed) Deny({UnnamedFiles()});
                return save(kNew);
            };
            for (size_t at = 0; RunWith(Fault{.at = at, .error = 0}, killed_save).hit; at++) {
                EXPECT_TRUE(save(kOld));
                EXPECT_EQ(NamesIn(folder_.path), Names{"settings"}) << "call " << at;
                EXPECT_EQ(ContentOf(path_), kOld);
                EXPECT_EQ(ModeOf(path_), 0640U);
            }
        }
    }
    void StartAgain() {
        for (const std::string& name : NamesIn(folder_.path))
            std::filesystem::remove_all(folder_.Path(name));
        MakeFile(path_, kOld);
        chmod(path_.c_str(), 0640);
    }

    TemporaryFolder folder_;
    std::string path_ = folder_.Path("settings");
};

TEST_F(SaveFileFaults, AKillLeavesTheOldFileOrTheNewOne) {
    size_t old = 0;
    const auto look = [&](const Trial& trial) {
        ExpectOldOrNew("killed at call " + std::to_string(trial.calls.size() - 1));
        if (ContentOf(path_) == kOld) old++;
    };
    const size_t kills =
        KillAtEveryCall([&] { StartAgain(); }, [&] { return SaveFile(path_, kNew); }, look);
    EXPECT_EQ(ContentOf(path_), kNew);
    EXPECT_GT(old, 0U);
    EXPECT_LT(old, kills) << "kills after the exchange must leave the new file";
}

TEST_F(SaveFileFaults, AKillNeverLeavesPartOfANewFile) {
    const auto prepare = [&] {
        StartAgain();
        std::filesystem::remove(path_);
    };
    const auto look = [&](const Trial& trial) {
        const bool there = std::filesystem::exists(path_);
        EXPECT_TRUE(!there || ContentOf(path_) == kNew) << "call " << trial.calls.size() - 1;
    };
    EXPECT_GT(KillAtEveryCall(
                  prepare, [&] { return SaveFile(path_, kNew); }, look),
              0U);
}

// The new file has its temporary name only until it is renamed.
TEST_F(SaveFileFaults, OnlyAKillBeforeTheExchangeLeavesAnotherFile) {
    ExpectNothingLeftButBeforeTheExchange([&] { return SaveFile(path_, kNew); });
}

TEST_F(SaveFileFaults, TheNextSaveCleansUpAfterAKilledOne) {
    ExpectNothingLeftByTheNext([&](const std::string& text) { return SaveFile(path_, text); });
}

TEST_F(SaveFileFaults, WithoutUnnamedFilesAKillLeavesTheOldFileOrTheNewOne) {
    const auto save = [&] {
        Deny({UnnamedFiles()});
        return SaveFile(path_, kNew);
    };
    const auto look = [&](const Trial& trial) {
        ExpectOldOrNew("killed at call " + std::to_string(trial.calls.size() - 1));
    };
    EXPECT_GT(KillAtEveryCall([&] { StartAgain(); }, save, look), 0U);
    EXPECT_EQ(ContentOf(path_), kNew);
}

TEST_F(SaveFileFaults, AKillLeavesALinkToTheOldFileOrTheNewOne) {
    const std::string link = folder_.Path(".link");
    const auto prepare = [&] {
        StartAgain();
        std::filesystem::create_symlink("settings", link);
    };
    const auto look = [&](const Trial& trial) {
        ExpectOldOrNew("killed at call " + std::to_string(trial.calls.size() - 1));
        EXPECT_TRUE(std::filesystem::is_symlink(link));
    };
    EXPECT_GT(KillAtEveryCall(
                  prepare, [&] { return SaveFile(link, kNew); }, look),
              0U);
}

// After a power cut, only what was written to the disk is there: the complete new file must be on
// the disk before it replaces the old one, and the rename before the save returns.
TEST_F(SaveFileFaults, TheNewFileIsOnDiskBeforeItReplacesTheOldOne) {
    for (bool exists : {true, false}) {
        StartAgain();
        if (!exists) std::filesystem::remove(path_);
        const Trial trial = RunWith({}, [&] { return SaveFile(path_, kNew); });
        ASSERT_EQ(trial.ending, Ending::kSaved);
        const auto exchange = std::find_if(trial.calls.begin(), trial.calls.end(), IsRename);
        ASSERT_NE(exchange, trial.calls.end());
        const auto last_write =
            std::find_if(std::make_reverse_iterator(exchange), trial.calls.rend(), IsWrite).base();
        EXPECT_NE(std::find_if(last_write, exchange, IsSync), exchange);
        EXPECT_NE(std::find_if(exchange, trial.calls.end(), IsSync), trial.calls.end());
        EXPECT_EQ(std::find_if(exchange, trial.calls.end(), IsWrite), trial.calls.end());
    }
}

// ---- failing calls ----

TEST_F(SaveFileFaults, AFailingCallLeavesTheOldFileOrTheNewOne) {
    const auto look = [&](int call, bool saved) {
        EXPECT_EQ(ContentOf(path_), saved ? kNew : kOld);
        EXPECT_EQ(ModeOf(path_), 0640U);
        if (!IsUnlink(call)) {
            EXPECT_EQ(NamesIn(folder_.path), Names{"settings"});
        }
    };
    EXPECT_GT(FailAtEveryCall(
                  {EIO, ENOSPC, EACCES, EROFS, EBUSY, EINTR}, [&] { StartAgain(); },
                  [&] { return SaveFile(path_, kNew); }, look),
              9U);
}

TEST_F(SaveFileFaults, AFailingCallNeverLeavesPartOfANewFile) {
    const auto prepare = [&] {
        StartAgain();
        std::filesystem::remove(path_);
    };
    const auto look = [&](int /*call*/, bool saved) {
        EXPECT_EQ(NamesIn(folder_.path), saved ? Names{"settings"} : Names{});
        EXPECT_EQ(ContentOf(path_), saved ? kNew : "");
    };
    EXPECT_GT(
        FailAtEveryCall(
            {EIO, ENOSPC, EACCES, EROFS}, prepare, [&] { return SaveFile(path_, kNew); }, look),
        9U);
}

TEST_F(SaveFileFaults, AnInterruptedWriteIsContinued) {
    StartAgain();
    const Trial whole = RunWith({}, [&] { return SaveFile(path_, kNew); });
    const auto at = std::find_if(whole.calls.begin(), whole.calls.end(), IsWrite);
    ASSERT_NE(at, whole.calls.end());
    StartAgain();
    const auto number = static_cast<size_t>(at - whole.calls.begin());
    const Trial trial =
        RunWith(Fault{.at = number, .error = EINTR}, [&] { return SaveFile(path_, kNew); });
    ASSERT_TRUE(trial.hit);
    EXPECT_EQ(trial.ending, Ending::kSaved);
    EXPECT_EQ(ContentOf(path_), kNew);
}

// ---- saves through a given temporary file ----

class SaveFileThroughFaults : public SaveFileFaults {
  protected:
    const std::string temporary_ = path_ + ".tmp";
    const std::function<bool()> save_ = [temporary = temporary_, path = path_] {
        return SaveFileThrough(temporary, path, kNew);
    };
};

TEST_F(SaveFileThroughFaults, AnUndisturbedSaveReplacesTheFile) {
    for (bool leftover : {false, true}) {
        StartAgain();
        if (leftover) MakeFile(temporary_, std::string(9000, 'x'));
        EXPECT_TRUE(save_());
        EXPECT_EQ(ContentOf(path_), kNew);
        EXPECT_EQ(ModeOf(path_), 0640U);
        EXPECT_EQ(NamesIn(folder_.path), Names{"settings"});
    }
}

TEST_F(SaveFileThroughFaults, ALinkUnderTheTemporaryNameIsNotFollowed) {
    StartAgain();
    const std::string elsewhere = folder_.path + "/elsewhere";
    MakeFile(elsewhere, "other");
    std::filesystem::create_symlink(elsewhere, temporary_);
    EXPECT_TRUE(save_());
    EXPECT_EQ(ContentOf(elsewhere), "other");
    EXPECT_EQ(ContentOf(path_), kNew);
    EXPECT_EQ(NamesIn(folder_.path), (Names{"elsewhere", "settings"}));
}

TEST_F(SaveFileThroughFaults, AKillLeavesTheOldFileOrTheNewOne) {
    const auto look = [&](const Trial& trial) {
        const std::string content = ContentOf(path_);
        EXPECT_TRUE(content == kOld || content == kNew) << "call " << trial.calls.size() - 1;
        EXPECT_EQ(ModeOf(path_), 0640U) << "call " << trial.calls.size() - 1;
    };
    EXPECT_GT(KillAtEveryCall([&] { StartAgain(); }, save_, look), 0U);
    EXPECT_EQ(ContentOf(path_), kNew);
}

TEST_F(SaveFileThroughFaults, AKillLeavesNothingElseButBetweenTheNewNameAndTheExchange) {
    ExpectNothingLeftButBeforeTheExchange(save_);
}

TEST_F(SaveFileThroughFaults, AKilledSaveLeavesNothingBehindTheNext) {
    ExpectNothingLeftByTheNext(
        [&](const std::string& text) { return SaveFileThrough(temporary_, path_, text); });
}

TEST_F(SaveFileThroughFaults, AFailingCallLeavesTheOldFileOrTheNewOne) {
    const auto look = [&](int call, bool saved) {
        EXPECT_EQ(ContentOf(path_), saved ? kNew : kOld);
        EXPECT_EQ(ModeOf(path_), 0640U);
        // If it could not replace the old file, the new one stays beside it.
        const bool waits = IsRename(call);
        EXPECT_EQ(NamesIn(folder_.path),
                  waits ? (Names{"settings", "settings.tmp"}) : Names{"settings"});
        EXPECT_EQ(ContentOf(temporary_), waits ? kNew : "");
    };
    EXPECT_GT(FailAtEveryCall(
                  {EIO, ENOSPC, EACCES}, [&] { StartAgain(); }, save_, look),
              9U);
}

// ---- disks ----

class SaveFileDisks : public testing::Test {
  protected:
    void SetUp() override {
        if (!PrivateMountsWork()) GTEST_SKIP() << "this system refuses private mounts";
    }

    // The answer of a child with private mounts.
    static std::string Inside(const std::function<std::string()>& question) {
        return AnswerOfChild([&] { return EnterPrivateMounts() ? question() : "no mounts"; })
            .value_or("died");
    }

    // "saved" or "refused", and the mode and content of the file after a save.
    static std::string SavedText(const std::string& path, const std::string& text) {
        const std::string word = SaveFile(path, text) ? "saved" : "refused";
        char mode[16];
        std::snprintf(mode, sizeof mode, " %o ", ModeOf(path));
        return word + mode + ContentOf(path);
    }

    TemporaryFolder folder_;
    std::string path_ = folder_.Path("settings");
};

TEST_F(SaveFileDisks, ADiskThatTakesNoMoreKeepsTheOldFile) {
    const auto make_read_only = [](const std::string& folder) {
        MountOver(folder, folder);
        MakeReadOnly(folder);
    };
    const struct {
        const char* what;
        const char* options;
        std::function<void(const std::string&)> spoil;
    } kDisks[] = {
        {"full", "size=64k", FillUp},
        {"with inodes for the folder and one file", "size=64k,nr_inodes=2", [](const auto&) {}},
        {"read-only", "size=64k", make_read_only},
    };
    for (const auto& disk : kDisks) {
        const std::string answer = Inside([&] {
            MountTmpfs(folder_.path, disk.options);
            MakeFile(path_, kOld);
            chmod(path_.c_str(), 0640);
            disk.spoil(folder_.path);
            const Names before = NamesIn(folder_.path);
            const std::string saved = SavedText(path_, kNew);
            return NamesIn(folder_.path) == before ? saved : "left something";
        });
        EXPECT_EQ(answer, "refused 640 " + kOld) << disk.what;
    }
}

TEST_F(SaveFileDisks, AFullDiskLeavesNoEmptyFile) {
    const std::string answer = Inside([&] {
        MountTmpfs(folder_.path, "size=64k");
        FillUp(folder_.path);
        const bool saved = SaveFile(path_, kNew);
        return std::string(saved ? "saved" : "refused") + " " +
               std::to_string(NamesIn(folder_.path).size());
    });
    EXPECT_EQ(answer, "refused 1");
}

// From a full disk to one with enough space, block by block.
TEST_F(SaveFileDisks, ADiskThatFillsUpKeepsTheOldFile) {
    const std::string text(size_t{5} * 4096, 'n');
    size_t saved = 0;
    size_t refused = 0;
    for (int blocks = 1; blocks <= 8; blocks++) {
        const std::string answer = Inside([&] {
            MountTmpfs(folder_.path, "size=" + std::to_string(4 * blocks) + "k");
            MakeFile(path_, kOld);
            return SavedText(path_, text).substr(0, 5000) +
                   std::to_string(NamesIn(folder_.path).size());
        });
        if (answer == "refused 644 " + kOld + "1") refused++;
        if (answer == "saved 644 " + text.substr(0, 5000 - 10) + "1") saved++;
    }
    EXPECT_EQ(saved + refused, 8U);
    EXPECT_EQ(refused, 5U) << "the old file takes one block";
}

TEST_F(SaveFileDisks, AFileThatIsAMountPointIsWritten) {
    MakeFile(path_, kOld);
    chmod(path_.c_str(), 0640);
    for (const std::string& text : {kNew, std::string("short\n"), std::string(20000, 'n'), kOld}) {
        const ino_t inode = InodeOf(path_);
        const std::string answer = Inside([&] {
            MountOver(path_, path_);
            return SavedText(path_, text);
        });
        EXPECT_EQ(answer, "saved 640 " + text);
        EXPECT_EQ(ContentOf(path_), text);
        EXPECT_EQ(InodeOf(path_), inode);
        EXPECT_EQ(NamesIn(folder_.path), Names{"settings"});
    }
}

TEST_F(SaveFileDisks, AMountPointKeepsItsContentUnderALimit) {
    MakeFile(path_, kOld);
    for (const size_t limit : {size_t{0}, kNew.size(), kOld.size() - 1}) {
        const std::string answer = Inside([&] {
            MountOver(path_, path_);
            return SavedWithin(limit, [&] { return SaveFile(path_, kNew); });
        });
        EXPECT_EQ(answer, "refused");
        EXPECT_EQ(ContentOf(path_), kOld);
    }
}

TEST_F(SaveFileDisks, AWritableFileInAReadOnlyFolderIsWritten) {
    const std::string elsewhere = folder_.File("elsewhere", kOld);
    std::filesystem::create_directory(folder_.Path("etc"));
    const std::string path = folder_.File("etc/settings", "");
    for (const std::string& text : {kNew, std::string("short\n"), kOld}) {
        const std::string answer = Inside([&] {
            MountOver(folder_.Path("etc"), folder_.Path("etc"));
            MakeReadOnly(folder_.Path("etc"));
            MountOver(elsewhere, path);
            return SavedText(path, text);
        });
        EXPECT_EQ(answer, "saved 644 " + text);
        EXPECT_EQ(ContentOf(elsewhere), text);
    }
}

TEST_F(SaveFileDisks, AMountPointOnAFullDiskHasTheOldContentOrTheNew) {
    const std::string big(9000, 'n');
    for (const std::string& text : {kNew, big}) {
        const std::string answer = Inside([&] {
            MountTmpfs(folder_.path, "size=64k");
            MakeFile(path_, kOld);
            MountOver(path_, path_);
            FillUp(folder_.path);
            return SavedText(path_, text);
        });
        EXPECT_TRUE(answer == "refused 644 " + kOld || answer == "saved 644 " + text) << answer;
    }
}

// Root may write everywhere. Other users may have access to the file, but not to its folder.
TEST_F(SaveFileDisks, AFileInAClosedFolderIsWritten) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    MakeFile(path_, kOld);
    ASSERT_EQ(chown(path_.c_str(), 65534, 65534), 0);
    ASSERT_EQ(chmod(folder_.path.c_str(), 0755), 0);
    for (const std::string& text : {kNew, std::string("short\n")}) {
        const auto answer = AnswerOfChild([&] {
            if (setgid(65534) != 0 || setuid(65534) != 0) return std::string("still root");
            return SavedText(path_, text);
        });
        EXPECT_EQ(answer, "saved 644 " + text);
    }
    EXPECT_EQ(OwnersOf(path_), "65534:65534");
}

// A file overwritten in place has the old or the new settings at any moment. Empty lines may follow
// the new ones; every reader ignores them.
TEST_F(SaveFileDisks, AKillLeavesAMountPointWithOldOrNewSettings) {
    if (!FaultsWork()) GTEST_SKIP() << "this kernel can't report calls to another process";
    for (const std::string& text : {kOld + kNew, kNew, std::string("manage = 0\n")}) {
        const auto answer = AnswerOfChild([&] {
            if (!EnterPrivateMounts()) return std::string("no mounts");
            MakeFile(path_, kOld);
            MountOver(path_, path_);
            std::string found;
            for (size_t at = 0;; at++) {
                MakeFile(path_, kOld);
                const Trial trial =
                    RunWith(Fault{.at = at, .error = 0}, [&] { return SaveFile(path_, text); });
                if (!trial.hit)
                    return found + (trial.ending == Ending::kSaved ? "saved" : "refused");
                const std::string content = ContentOf(path_);
                const bool is_new = content.substr(0, text.size()) == text &&
                                    content.find_first_not_of('\n', text.size()) == content.npos;
                if (content != kOld && !is_new)
                    return "after call " + std::to_string(at) + ":\n" + content;
                if (is_new) found = "new, ";
            }
        });
        EXPECT_EQ(answer, "new, saved");
        EXPECT_EQ(ContentOf(path_), text);
    }
}

}  // namespace
