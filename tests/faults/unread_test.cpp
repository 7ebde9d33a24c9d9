// Files that exist but can't be read for a moment.
#include <gtest/gtest.h>

#include <string>

#include "tour.h"

namespace harness::faults {
namespace {

// The screen then shows no servers; a save would lose all lines of the file.
TEST(TimeServers, AreNotOverwrittenIfTheyCouldNotBeRead) {
    for (const char* call : {"openat:error=EMFILE", "read:error=EIO"}) {
        TourBox box;
        TerminalOptions options = Traced(box, "openat,read", call);
        options.arguments.insert(options.arguments.begin(), {"-P", "/etc/ntp.conf"});
        Terminal t(box, options);
        t.WaitFor("Exit this program");
        t.Press("t<Enter>");
        t.WaitFor("Add new server");
        EXPECT_FALSE(t.Shows("time.example.org"));
        t.Press("n<Enter>other.example.org<Enter>");
        t.WaitFor("Server other.example.org");
        t.Press("s<Enter>y");
        t.WaitFor("Server other.example.org");
        t.Press("m<Enter><Esc>");
        EXPECT_EQ(t.WaitExit(), Exited(0));
        EXPECT_TRUE(box.NtpUntouched()) << box.Read("/etc/ntp.conf");
    }
}

}  // namespace
}  // namespace harness::faults
