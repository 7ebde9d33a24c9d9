#include "system/host_name.h"

#include <gtest/gtest.h>

#include "util/utility_fixtures.h"

namespace {

TEST(HostNameFrom, EveryBlankBecomesADash) {
    EXPECT_EQ(HostNameFrom("my box"), "my-box");
    EXPECT_EQ(HostNameFrom("a b  c"), "a-b--c");
    EXPECT_EQ(HostNameFrom(" "), "-");
}

TEST(HostNameFrom, NothingElseIsEnforced) {
    for (const char* name : {"", "box", "a_b-c.d", "a/b", "caf\xc3\xa9", "UPPER", "a;b", "a\tb"})
        EXPECT_EQ(HostNameFrom(name), name);
}

TEST(HostNameFrom, KeepsAtMost126Bytes) {
    EXPECT_EQ(HostNameFrom(std::string(126, 'a')), std::string(126, 'a'));
    EXPECT_LE(HostNameFrom(std::string(254, 'a')).size(), 127U);
}

// A machine with host names of its own: the kernel's, and an /etc/hostname in a folder.
Prepared EnterMachine(const std::string& root) {
    if (unshare(CLONE_NEWUTS) != 0) return Prepared::kRefused;
    return EnterRoot(root);
}

TEST(SetHostName, SetsTheKernelsNameAndWritesTheFile) {
    const TemporaryFolder root;
    const std::string file = root.File("etc/hostname", "appliance-with-a-long-name\n");
    const Answer answer = AnswerInChild([&] { return EnterMachine(root.path); },
                                        [] {
                                            SetHostName("my-box");
                                            printf("%s", HostName().c_str());
                                            return 0L;
                                        });
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.output, "my-box");
    EXPECT_EQ(ContentOf(file), "my-box\n");
}

TEST(SetHostName, ANameThatTheKernelRefusesIsStillWritten) {
    const TemporaryFolder root;
    const std::string file = root.File("etc/hostname", "");
    const std::string name(100, 'a');
    const Answer answer = AnswerInChild([&] { return EnterMachine(root.path); },
                                        [&] {
                                            const std::string before = HostName();
                                            SetHostName(name);
                                            return HostName() == before ? 1L : 0L;
                                        });
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.value, 1);
    EXPECT_EQ(ContentOf(file), name + "\n");
}

TEST(SetHostName, SetsTheKernelsNameEvenIfTheFileCannotBeWritten) {
    const TemporaryFolder root;
    const Answer answer = AnswerInChild([&] { return EnterMachine(root.path); },
                                        [] {
                                            SetHostName("my-box");
                                            printf("%s", HostName().c_str());
                                            return 0L;
                                        });
    SKIP_WHERE_REFUSED(answer);
    EXPECT_EQ(answer.output, "my-box");
    EXPECT_FALSE(std::filesystem::exists(root.Path("etc")));
}

}  // namespace
