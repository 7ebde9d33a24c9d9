#include "product_line/edit_config.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "util/folder_fixtures.h"

namespace {

TEST(EditInterfaceConfigFile, OpensTheFileInViAndReturnsItsStatus) {
    const OwnCommand vi("vi", "printf '%s\\n' \"$@\" >\"${0%/*}/log\"; exit 3\n");
    const int status = EditInterfaceConfigFile("02:00:5E:00:53:01");
    EXPECT_EQ(ContentOf(vi.folder.Path("log")), "/etc/network/02:00:5E:00:53:01\n");
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 3);
}

}  // namespace
