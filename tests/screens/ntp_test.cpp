// The screen of the time servers: its rows, adding and editing, what a save writes, and what
// stopping and starting the service runs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "actions.h"

namespace harness {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kFile = "/etc/ntp.conf";
constexpr const char* kService = "/etc/init.d/service-ntpd";
constexpr const char* kQuestion = "Are you sure? [y/n]";

constexpr int kTop = 4;

// Comments between the servers, an option, an indented server line, and one without a server.
constexpr const char* kMixed =
    "# near\n"
    "server\ttime1.example.org iburst\n"
    "\n"
    "# far\n"
    " server indented.example.org\n"
    "server   \n"
    "server time2.example.org\n"
    "driftfile /var/lib/ntp/drift\n";
// The same, saved with the second server replaced.
constexpr const char* kMixedRegrouped =
    "# near\n"
    "\n"
    "# far\n"
    " server indented.example.org\n"
    "driftfile /var/lib/ntp/drift\n"
    "server time1.example.org iburst\n"
    "server time3.example.org iburst\n";

// A machine with that text in the file, or no file for "". The service's script only records its
// calls.
class Box : public Machine {
  public:
    explicit Box(const std::string& text = kMixed) {
        if (text.empty()) {
            Remove(kFile);
        } else {
            Write(kFile, text);
        }
        StandIn(kService);
    }
};

// The server rows on the screen.
Words Servers(const Terminal& t) {
    Words servers;
    const std::string start = "    Server ";
    for (int row = kTop; row < t.rows() && t.Row(row).starts_with(start); row++)
        servers.push_back(t.Row(row).substr(start.size()));
    return servers;
}

// The rows with their styles, for checking that nothing has changed.
Words Look(const Terminal& t) {
    Words look;
    for (int row = 0; row < t.rows(); row++)
        look.push_back(t.Row(row) + " | " + t.Style(row));
    return look;
}

// Opens the entry box of the row, types the text behind what is there, and presses the last key.
void Enter(Terminal& t, const std::string& keys, const std::string& text,
           const std::string& last = "<Enter>", Place place = Place::current()) {
    t.Go(keys + "<Enter>", "[ESC to cancel]", place);
    t.Type(text);
    t.Press(last, place);
    t.WaitForGone("[ESC to cancel]", Terminal::kPatience, place);
    t.Go("", kTimeServers.sign, place);
}

void Add(Terminal& t, const std::string& name, Place place = Place::current()) {
    Enter(t, "n", name, "<Enter>", place);
}

// Selects a server's row with the keys, clears its text and types another.
void Edit(Terminal& t, const std::string& keys, size_t old_length, const std::string& text,
          Place place = Place::current()) {
    Enter(t, keys, std::string(old_length, '\x7f') + text, "<Enter>", place);
}

void Save(Terminal& t, Place place = Place::current()) {
    t.Go("s<Enter>", kQuestion, place);
    t.Go("y", kTimeServers.sign, place);
}

// ---- what it shows ----

TEST(NtpScreen, ShowsTheServersOfTheFileAndItsActions) {
    Box box;
    Page t(box, kTimeServers);
    Words screen = {"",
                    "",
                    "Network Time Protocol configuration:",
                    "",
                    "    Server time1.example.org iburst",
                    "    Server time2.example.org",
                    "",
                    "    Add new server",
                    "    Save changes",
                    "    Stop NTP service",
                    "    Start NTP service",
                    "",
                    "    Main menu"};
    screen.resize(24);
    EXPECT_EQ(t.Screen(), screen);
    EXPECT_EQ(t.Cell(2, 0).Style(), "white/black");
    EXPECT_FALSE(t.CursorVisible());
}

TEST(NtpScreen, WithoutServersNoSeparatorComesFirst) {
    Box box("# only a remark\n");
    Page t(box, kTimeServers);
    EXPECT_EQ(t.Row(kTop), "    Add new server");
    EXPECT_EQ(t.Row(kTop + 5), "    Main menu");
    EXPECT_EQ(t.Selected(), "Add new server");
    Add(t, "a.example.org");
    EXPECT_EQ(t.Row(kTop), "    Server a.example.org");
    EXPECT_EQ(t.Row(kTop + 1), "");
    EXPECT_EQ(t.Row(kTop + 2), "    Add new server");
}

// As many rows as fit; the list scrolls with the selection.
TEST(NtpScreen, ALongListScrolls) {
    std::string text;
    for (int i = 1; i <= 30; i++)
        text += "server s" + std::to_string(i) + "\n";
    Box box(text);
    Page t(box, kTimeServers);
    EXPECT_EQ(Servers(t).size(), 19U);
    EXPECT_EQ(t.Row(23), "");
    t.Press("<Up>");
    t.WaitSelected("Main menu");
    EXPECT_EQ(t.SelectedRow(), 22);
    EXPECT_EQ(t.Row(kTop), "    Server s19");
}

TEST(NtpScreen, TheFileIsReadOnceWhenTheScreenOpens) {
    Box box("server old\n");
    Page t(box, kTimeServers);
    box.Write(kFile, "server new\n");
    t.Go("s<Enter>", kQuestion);
    t.Go("n", kTimeServers.sign);
    EXPECT_THAT(Servers(t), ElementsAre("old"));
    Add(t, "other");
    EXPECT_THAT(Servers(t), ElementsAre("old", "other"));
    // Leaving discards what is not saved, without a warning.
    t.Go("m<Enter>", "Tavrin 4");
    GoTo(t, kTimeServers);
    EXPECT_THAT(Servers(t), ElementsAre("new"));
    EXPECT_EQ(box.Read(kFile), "server new\n");
}

// ---- adding ----

TEST(NtpScreen, AddingAsksWithAnEmptyBoxAndAppends) {
    Box box;
    Page t(box, kTimeServers);
    t.Go("n<Enter>", "New server name? [ESC to cancel]");
    EXPECT_EQ(t.CursorCol(), 2);
    t.Go("  time3.example.org prefer  <Enter>", "Server time3.example.org prefer");
    EXPECT_THAT(Servers(t), ElementsAre("time1.example.org iburst", "time2.example.org",
                                        "time3.example.org prefer"));
    EXPECT_EQ(box.Read(kFile), kMixed);
    // A name that differs in one byte is not a duplicate.
    for (const char* name : {"TIME3.example.org prefer", "time3.example.org prefe"})
        Add(t, name);
    EXPECT_EQ(Servers(t).size(), 5U);
}

TEST(NtpScreen, ACancelledEmptyOrKnownNameChangesNothing) {
    Box box;
    Page t(box, kTimeServers);
    Add(t, "unsaved");
    box.Write(kFile, "server new\n");
    t.Press("n");
    t.Settle();
    const Words before = Look(t);
    const std::pair<const char*, const char*> ways[] = {{"time4.example.org", "<Esc>"},
                                                        {"", "<Enter>"},
                                                        {"   ", "<Enter>"},
                                                        {"unsaved", "<Enter>"},
                                                        {" time2.example.org ", "<Enter>"},
                                                        {"time1.example.org iburst", "<Enter>"}};
    for (const auto& [typed, key] : ways) {
        Enter(t, "", typed, key);
        EXPECT_EQ(Look(t), before) << "'" << typed << "' " << key;
        EXPECT_FALSE(t.CursorVisible());
    }
    EXPECT_THAT(box.CallLines(), IsEmpty());
}

// ---- editing ----

TEST(NtpScreen, EditingStartsWithTheOldNameAndReplacesIt) {
    Box box;
    Page t(box, kTimeServers);
    t.Go("<Enter>", "Edit server name. Delete all text to remove entry. [ESC to cancel]");
    EXPECT_EQ(t.CursorCol(), 2 + 24);
    t.Go(" prefer<Enter>", "Server time1.example.org iburst prefer");
    EXPECT_EQ(t.SelectedRow(), kTop);
    // It may make a duplicate.
    Edit(t, "<Down>", 17, "time1.example.org iburst prefer");
    EXPECT_THAT(Servers(t),
                ElementsAre("time1.example.org iburst prefer", "time1.example.org iburst prefer"));
}

TEST(NtpScreen, DeletingAllTextRemovesTheServer) {
    Box box("server a\nserver b\nserver c\n");
    Page t(box, kTimeServers);
    Edit(t, "<Down>", 1, "");
    EXPECT_THAT(Servers(t), ElementsAre("a", "c"));
    t.WaitSelected("Server c");
    // Blanks alone count as no text.
    Edit(t, "", 1, "   ");
    EXPECT_THAT(Servers(t), ElementsAre("a"));
    EXPECT_EQ(t.Row(kTop + 2), "    Add new server");
    Edit(t, "<Home>", 1, "");
    EXPECT_EQ(t.Row(kTop), "    Add new server");
    Save(t);
    EXPECT_EQ(box.Read(kFile), "");
}

TEST(NtpScreen, ACancelledEditChangesNothing) {
    Box box;
    Page t(box, kTimeServers);
    Edit(t, "<Down>", 17, "unsaved");
    box.Write(kFile, "server new\n");
    const Words before = Look(t);
    for (const char* typed : {"-typed", "\x7f\x7f\x7f\x7f\x7f\x7f\x7f"}) {
        Enter(t, "", typed, "<Esc>");
        EXPECT_EQ(Look(t), before);
    }
    EXPECT_THAT(Servers(t), ElementsAre("time1.example.org iburst", "unsaved"));
}

TEST(NtpScreen, TheFirst512ServersCanBeEdited) {
    std::string text;
    for (int i = 1; i <= 514; i++)
        text += "server s" + std::to_string(i) + "\n";
    Box box(text);
    Page t(box, kTimeServers);
    t.Press("<End><Up><Up><Up><Up><Up><Enter>");
    t.WaitSelected("Server s514");
    t.Press("<Up><Enter>");
    t.Settle();
    EXPECT_EQ(t.Selected(), "Server s513");
    EXPECT_FALSE(t.Shows("[ESC to cancel]"));
    Edit(t, "<Up>", 4, "last");
    EXPECT_EQ(t.Selected(), "Server last");
    // One more can still be added, and all are saved.
    Add(t, "s515");
    Save(t);
    text.replace(text.find("s512"), 4, "last");
    EXPECT_EQ(box.Read(kFile), text + "server s515\n");
}

// ---- saving ----

TEST(NtpScreen, SavingRegroupsTheFileAfterAYes) {
    Box box;
    Page t(box, kTimeServers);
    Edit(t, "<Down>", 17, "");
    Add(t, "time3.example.org iburst");
    Action save = {.row = "Save changes",
                   .question = kQuestion,
                   .typed = "n",
                   .after = "Server time3.example.org iburst"};
    Do(t, save);
    EXPECT_EQ(box.Read(kFile), kMixed);
    save.typed = "y";
    Do(t, save);
    EXPECT_EQ(box.Read(kFile), kMixedRegrouped);
    EXPECT_EQ(t.Selected(), "Save changes");
}

TEST(NtpScreen, AFolderOrAPipeInPlaceOfTheFileIsLeftAlone) {
    for (const std::string make : {"mkdir ", "mkfifo "}) {
        Box box("");
        box.Sh(make + kFile);
        const std::string look = std::string("ls -A /etc; stat -c %F ") + kFile;
        const std::string before = box.Sh(look);
        Page t(box, kTimeServers);
        EXPECT_EQ(t.Row(kTop), "    Add new server");
        Add(t, "a");
        Save(t);
        EXPECT_EQ(box.Sh(look), before);
        EXPECT_THAT(Servers(t), ElementsAre("a"));
    }
}

TEST(NtpScreen, AnEndlessFileIsNeitherReadNorOverwritten) {
    Box box("");
    box.Sh(std::string("ln -s /dev/zero ") + kFile);
    Page t(box, kTimeServers);
    Add(t, "time.example.org");
    Save(t);
    EXPECT_EQ(box.Sh(std::string("readlink ") + kFile), "/dev/zero\n");
}

// ---- the service ----

// The operator sees the message, but none of the script's output. Unsaved changes stay.
TEST(NtpScreen, StopsAndStartsTheServiceOnThePlainTerminal) {
    Box box;
    box.StandInScript(kService, "echo loud; echo louder >&2; exit 1\n");
    Page t(box, kTimeServers);
    Add(t, "unsaved");
    for (const std::string word : {"stop", "start"}) {
        const std::string verb = word == "stop" ? "Stop" : "Start";
        const std::string message = word == "stop" ? "Stopping" : "Starting";
        Do(t, {.row = verb + " NTP service",
               .question = kQuestion,
               .typed = "y",
               .commands = {"/etc/init.d/service-ntpd " + word},
               .said = {message + " NTP service..."},
               .after = "Server unsaved"});
        Do(t, {.row = verb + " NTP service",
               .question = kQuestion,
               .typed = "n",
               .after = "Server unsaved"});
    }
    EXPECT_EQ(box.Read(kFile), kMixed);
    box.Remove(kService);
    t.Mark();
    t.Go("o<Enter>", kQuestion);
    t.Go("y", kTimeServers.sign);
    EXPECT_EQ(Said(t), Words{"Stopping NTP service..."});
}

TEST(NtpScreen, OnlyItsMessagesGoToStandardError) {
    Box box;
    box.StandIn(kService, "said\n");
    TerminalOptions options;
    options.program = "/bin/sh";
    options.arguments = {"-c", "exec \"$0\" 2>/run/messages", TestedProgram()};
    Page t(box, kTimeServers, options);
    for (const char* keys : {"o<Enter>", "a<Enter>", "s<Enter>"}) {
        t.Go(keys, kQuestion);
        t.Go("y", kTimeServers.sign);
    }
    EXPECT_EQ(box.Read("/run/messages"), "Stopping NTP service...\nStarting NTP service...\n");
}

// ---- the real daemon ----

TEST(NtpScreen, ARealDaemonReadsTheSavedFileAndListsItsServers) {
    // Without the right to query, which the first line grants, it would list nothing.
    Box box("restrict 127.0.0.1\nserver 192.0.2.9\nserver 192.0.2.10\n");
    if (box.Sh("command -v ntpd && command -v ntpq || true").find("ntpq") == std::string::npos)
        GTEST_SKIP() << "no time daemon on this system";
    box.StandInScript(kService,
                      "case $1 in\n"
                      "start) ntpd -c /etc/ntp.conf -p /run/ntpd.pid ;;\n"
                      "stop) kill $(cat /run/ntpd.pid) ;;\n"
                      "esac\n");
    Page t(box, kTimeServers);
    Edit(t, "", 9, "");
    Edit(t, "", 10, "192.0.2.11 iburst");
    Add(t, "192.0.2.12 prefer");
    Save(t);
    t.Go("a<Enter>", kQuestion);
    t.Go("y", kTimeServers.sign);
    std::string peers;
    const auto listed = [&] {
        peers = box.Sh("ntpq -pn 127.0.0.1 2>&1 || true");
        return peers.find("192.0.2.12") != std::string::npos;
    };
    box.WaitUntil(listed, "the daemon to list its servers");
    EXPECT_THAT(peers, HasSubstr("192.0.2.11"));
    EXPECT_THAT(peers, Not(HasSubstr("192.0.2.9")));
    EXPECT_THAT(peers, Not(HasSubstr("192.0.2.10")));
    t.Go("o<Enter>", kQuestion);
    t.Go("y", kTimeServers.sign);
    box.WaitUntil([&] { return box.Sh("pidof ntpd || true").empty(); }, "the daemon to end");
}

}  // namespace
}  // namespace harness
