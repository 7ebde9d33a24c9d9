// The screen of the time servers: its rows, adding and editing, what a save writes, and what
// stopping and starting the service runs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "machine.h"
#include "terminal.h"

namespace harness {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kFile = "/etc/ntp.conf";
constexpr const char* kService = "/etc/init.d/service-ntpd";
constexpr const char* kTitle = "Network Time Protocol configuration:";
constexpr const char* kMenuTitle = "Tavrin 4 Network configuration utility";
constexpr const char* kQuestion = "Are you sure? [y/n]";
constexpr const char* kAddPrompt = "New server name?";
constexpr const char* kEditPrompt = "Edit server name. Delete all text to remove entry.";

constexpr int kTop = 4;
constexpr int kLeft = 4;

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
constexpr const char* kMixedRegrouped =
    "# near\n"
    "\n"
    "# far\n"
    " server indented.example.org\n"
    "driftfile /var/lib/ntp/drift\n"
    "server time1.example.org iburst\n"
    "server time2.example.org\n";

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

void WaitForRows(Terminal& t, Place place = Place::current()) {
    t.WaitFor(kTitle, Terminal::kPatience, place);
    t.WaitFor("Start NTP service", Terminal::kPatience, place);
    t.Settle(Terminal::kPatience, place);
}

void Open(Terminal& t, Place place = Place::current()) {
    t.WaitFor(kMenuTitle, Terminal::kPatience, place);
    t.Press("t<Enter>", place);
    t.WaitFor(kTitle, Terminal::kPatience, place);
    t.Settle(Terminal::kPatience, place);
}

class NtpPage : public Terminal {
  public:
    explicit NtpPage(Machine& box, const TerminalOptions& options = {},
                     Place place = Place::current())
        : Terminal(box, options, place) {
        Open(*this, place);
    }
};

// The server rows on the screen.
std::vector<std::string> Servers(const Terminal& t) {
    std::vector<std::string> servers;
    const std::string start = "    Server ";
    for (int row = kTop; row < t.rows() && t.Row(row).rfind(start, 0) == 0; row++)
        servers.push_back(t.Row(row).substr(start.size()));
    return servers;
}

// The rows with their styles, for checking that nothing has changed.
std::vector<std::string> Look(const Terminal& t) {
    std::vector<std::string> look;
    for (int row = 0; row < t.rows(); row++)
        look.push_back(t.Row(row) + " | " + t.Style(row));
    return look;
}

// Presses the keys that open an entry box, and types the text into it.
void OpenPrompt(Terminal& t, const std::string& keys, const std::string& prompt,
                Place place = Place::current()) {
    t.Press(keys + "<Enter>", place);
    t.WaitFor(prompt, Terminal::kPatience, place);
    t.Settle(Terminal::kPatience, place);
}

void ClosePrompt(Terminal& t, const std::string& key, const std::string& prompt,
                 Place place = Place::current()) {
    t.Press(key, place);
    t.WaitForGone(prompt, Terminal::kPatience, place);
    WaitForRows(t, place);
}

void Add(Terminal& t, const std::string& name, Place place = Place::current()) {
    OpenPrompt(t, "n", kAddPrompt, place);
    t.Type(name);
    ClosePrompt(t, "<Enter>", kAddPrompt, place);
}

// Selects a server's row with the keys, clears the entry and types another.
void Edit(Terminal& t, const std::string& keys, size_t old_length, const std::string& text,
          Place place = Place::current()) {
    OpenPrompt(t, keys, kEditPrompt, place);
    for (size_t i = 0; i < old_length; i++)
        t.Press("<Backspace>", place);
    t.Type(text);
    ClosePrompt(t, "<Enter>", kEditPrompt, place);
}

void Ask(Terminal& t, const std::string& keys, Place place = Place::current()) {
    t.Press(keys, place);
    t.WaitFor(kQuestion, Terminal::kPatience, place);
}

void Answer(Terminal& t, const std::string& key, Place place = Place::current()) {
    t.Press(key, place);
    WaitForRows(t, place);
}

void Save(Terminal& t, Place place = Place::current()) {
    Ask(t, "s<Enter>", place);
    Answer(t, "y", place);
}

// ---- what it shows ----

TEST(NtpScreen, ShowsTheServersOfTheFileAndItsActions) {
    Box box;
    for (const auto& [rows, cols] : {std::pair{24, 80}, {43, 132}}) {
        NtpPage t(box, OfSize(rows, cols));
        std::vector<std::string> screen = {
            "",
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
            "    Main menu",
        };
        screen.resize(static_cast<size_t>(rows));
        EXPECT_EQ(t.Screen(), screen);
        EXPECT_FALSE(t.CursorVisible());
        EXPECT_EQ(t.Cell(2, 0).Style(), "white/black");
        // The selected row is highlighted over COLS - 5 columns.
        EXPECT_EQ(t.SelectedRow(), kTop);
        EXPECT_EQ(t.Cell(kTop, kLeft).Style(), "white/blue bold");
        EXPECT_EQ(t.Cell(kTop, kLeft - 1).bg, kBlack);
        EXPECT_EQ(t.Cell(kTop, cols - 2).bg, kBlue);
        EXPECT_EQ(t.Cell(kTop, cols - 1).bg, kBlack);
        EXPECT_EQ(t.Cell(kTop + 1, kLeft).Style(), "white/black bold");
        // Servers have no hot key.
        for (int col = kLeft; col < kLeft + 31; col++)
            EXPECT_NE(t.Cell(kTop + 1, col).fg, kYellow);
    }
}

TEST(NtpScreen, HotKeysSelectAndAreMarked) {
    Box box;
    NtpPage t(box);
    const struct {
        const char* label;
        const char* key;
        const char* mark;
        int column;
    } rows[] = {{"Add new server", "n", "n", 4},
                {"Save changes", "s", "S", 0},
                {"Stop NTP service", "o", "o", 2},
                {"Start NTP service", "a", "a", 2},
                {"Main menu", "m", "M", 0}};
    for (const auto& row : rows) {
        const Cell mark = t.Cell(t.Find(row.label), kLeft + row.column);
        EXPECT_EQ(mark.text, row.mark) << row.label;
        EXPECT_EQ(mark.Style(), "yellow/black bold") << row.label;
    }
    for (const auto& row : rows) {
        t.Press(row.key);
        t.WaitSelected(row.label);
    }
    t.Press("<Down>");
    t.WaitSelected("Server time1.example.org iburst");
    t.Press("<Up><Up>");
    t.WaitSelected("Start NTP service");
}

TEST(NtpScreen, WithoutServersNoSeparatorComesFirst) {
    for (const char* text : {"", "# only a remark\n"}) {
        Box box(text);
        NtpPage t(box);
        EXPECT_EQ(t.Row(kTop), "    Add new server");
        EXPECT_EQ(t.Row(kTop + 4), "");
        EXPECT_EQ(t.Row(kTop + 5), "    Main menu");
        EXPECT_EQ(t.Selected(), "Add new server");
    }
}

// As many rows as fit; the list scrolls with the selection.
TEST(NtpScreen, ALongListScrolls) {
    std::string text;
    for (int i = 1; i <= 30; i++)
        text += "server s" + std::to_string(i) + "\n";
    Box box(text);
    NtpPage t(box);
    EXPECT_EQ(Servers(t).size(), 19U);
    EXPECT_EQ(t.Row(23), "");
    t.Press("<Up>");
    t.WaitSelected("Main menu");
    EXPECT_EQ(t.SelectedRow(), 22);
    EXPECT_EQ(t.Row(kTop), "    Server s19");
}

// ---- leaving ----

TEST(NtpScreen, ItsRowEscAndBackspaceLeaveIt) {
    Box box;
    Terminal t(box);
    for (const char* keys : {"m<Enter>", "<Esc>", "<Backspace>"}) {
        Open(t);
        t.Press(keys);
        t.WaitFor(kMenuTitle);
        EXPECT_FALSE(t.Shows(kTitle)) << keys;
    }
    t.Press("e<Enter>");
    EXPECT_EQ(t.WaitExit(), Exited(0));
    EXPECT_EQ(box.Read(kFile), kMixed);
}

TEST(NtpScreen, UnsavedEditsAreDiscardedWithoutAWarning) {
    Box box;
    NtpPage t(box);
    Add(t, "time3.example.org");
    t.Press("m<Enter>");
    t.WaitFor(kMenuTitle);
    EXPECT_EQ(box.Read(kFile), kMixed);
    Open(t);
    EXPECT_THAT(Servers(t), ElementsAre("time1.example.org iburst", "time2.example.org"));
}

TEST(NtpScreen, TheFileIsReadOnceWhenTheScreenOpens) {
    Box box("server old\n");
    NtpPage t(box);
    box.Write(kFile, "server new\n");
    Ask(t, "s<Enter>");
    Answer(t, "n");
    EXPECT_THAT(Servers(t), ElementsAre("old"));
    Add(t, "other");
    EXPECT_THAT(Servers(t), ElementsAre("old", "other"));
    t.Press("<Esc>");
    Open(t);
    EXPECT_THAT(Servers(t), ElementsAre("new"));
}

// ---- adding ----

TEST(NtpScreen, AddingAsksWithAnEmptyBoxAndAppends) {
    Box box;
    NtpPage t(box);
    OpenPrompt(t, "n", "New server name? [ESC to cancel]");
    EXPECT_EQ(t.CursorCol(), 2);
    t.Type("  time3.example.org prefer  ");
    ClosePrompt(t, "<Enter>", kAddPrompt);
    EXPECT_THAT(Servers(t), ElementsAre("time1.example.org iburst", "time2.example.org",
                                        "time3.example.org prefer"));
    EXPECT_EQ(t.Row(kTop + 3), "");
    EXPECT_EQ(t.Row(kTop + 4), "    Add new server");
    EXPECT_EQ(box.Read(kFile), kMixed);
}

TEST(NtpScreen, TheFirstServerBringsTheSeparator) {
    Box box("");
    NtpPage t(box);
    Add(t, "a.example.org");
    EXPECT_EQ(t.Row(kTop), "    Server a.example.org");
    EXPECT_EQ(t.Row(kTop + 1), "");
    EXPECT_EQ(t.Row(kTop + 2), "    Add new server");
}

// Every way to leave the box without a change: the box disappears, and nothing else changes.
TEST(NtpScreen, ACancelledEmptyOrKnownNameChangesNothing) {
    Box box;
    NtpPage t(box);
    Add(t, "unsaved");
    box.Write(kFile, "server new\n");
    t.Press("n");
    t.WaitSelected("Add new server");
    t.Settle();
    const std::vector<std::string> before = Look(t);
    const struct {
        const char* typed;
        const char* key;
    } ways[] = {{"time4.example.org", "<Esc>"},
                {"", "<Esc>"},
                {"", "<Enter>"},
                {"   ", "<Enter>"},
                {"unsaved", "<Enter>"},
                {" time2.example.org ", "<Enter>"},
                {"time1.example.org iburst", "<Enter>"}};
    for (const auto& way : ways) {
        OpenPrompt(t, "", kAddPrompt);
        t.Type(way.typed);
        ClosePrompt(t, way.key, kAddPrompt);
        EXPECT_EQ(Look(t), before) << "'" << way.typed << "' " << way.key;
        EXPECT_FALSE(t.CursorVisible());
    }
    EXPECT_THAT(box.CallLines(), IsEmpty());
}

TEST(NtpScreen, ANameThatDiffersInOneByteIsNotADuplicate) {
    Box box("server a.example\n");
    NtpPage t(box);
    for (const char* name : {"A.example", "a.exampl", "a.example."})
        Add(t, name);
    EXPECT_THAT(Servers(t), ElementsAre("a.example", "A.example", "a.exampl", "a.example."));
}

// ---- editing ----

TEST(NtpScreen, EditingStartsWithTheOldNameAndReplacesIt) {
    Box box;
    NtpPage t(box);
    OpenPrompt(t, "", std::string(kEditPrompt) + " [ESC to cancel]");
    EXPECT_TRUE(t.Shows("time1.example.org iburst"));
    EXPECT_EQ(t.CursorCol(), 2 + 24);
    t.Type(" prefer");
    ClosePrompt(t, "<Enter>", kEditPrompt);
    EXPECT_THAT(Servers(t), ElementsAre("time1.example.org iburst prefer", "time2.example.org"));
    EXPECT_EQ(t.SelectedRow(), kTop);
}

TEST(NtpScreen, DeletingAllTextRemovesTheServer) {
    Box box("server a\nserver b\nserver c\n");
    NtpPage t(box);
    Edit(t, "<Down>", 1, "");
    EXPECT_THAT(Servers(t), ElementsAre("a", "c"));
    t.WaitSelected("Server c");
    // Blanks alone count as no text.
    Edit(t, "", 1, "   ");
    EXPECT_THAT(Servers(t), ElementsAre("a"));
    EXPECT_EQ(t.Row(kTop + 2), "    Add new server");
    Edit(t, "<Home>", 1, "");
    EXPECT_THAT(Servers(t), IsEmpty());
    EXPECT_EQ(t.Row(kTop), "    Add new server");
    Save(t);
    EXPECT_EQ(box.Read(kFile), "");
}

TEST(NtpScreen, EditingMayMakeADuplicate) {
    Box box("server a\nserver b\n");
    NtpPage t(box);
    Edit(t, "<Down>", 1, "a");
    EXPECT_THAT(Servers(t), ElementsAre("a", "a"));
    Save(t);
    EXPECT_EQ(box.Read(kFile), "server a\nserver a\n");
}

TEST(NtpScreen, ACancelledEditChangesNothing) {
    Box box;
    NtpPage t(box);
    Edit(t, "<Down>", 17, "unsaved");
    box.Write(kFile, "server new\n");
    const std::vector<std::string> before = Look(t);
    OpenPrompt(t, "", kEditPrompt);
    t.Type("-typed");
    ClosePrompt(t, "<Esc>", kEditPrompt);
    EXPECT_EQ(Look(t), before);
    OpenPrompt(t, "", kEditPrompt);
    for (int i = 0; i < 7; i++)
        t.Press("<Backspace>");
    ClosePrompt(t, "<Esc>", kEditPrompt);
    EXPECT_EQ(Look(t), before);
    EXPECT_THAT(Servers(t), ElementsAre("time1.example.org iburst", "unsaved"));
}

TEST(NtpScreen, TheFirst512ServersCanBeEdited) {
    std::string text;
    for (int i = 1; i <= 514; i++)
        text += "server s" + std::to_string(i) + "\n";
    Box box(text);
    NtpPage t(box);
    t.Press("<End><Up><Up><Up><Up><Up>");
    t.WaitSelected("Server s514");
    t.Press("<Enter><Up>");
    t.WaitSelected("Server s513");
    t.Press("<Enter>");
    t.Settle();
    EXPECT_FALSE(t.Shows(kEditPrompt));
    EXPECT_EQ(t.Selected(), "Server s513");
    Edit(t, "<Up>", 4, "last");
    EXPECT_EQ(t.Selected(), "Server last");
    // One more can still be added, and all are saved.
    Add(t, "s515");
    Save(t);
    text.replace(text.find("s512"), 4, "last");
    EXPECT_EQ(box.Read(kFile), text + "server s515\n");
}

// ---- saving ----

TEST(NtpScreen, SavingRegroupsTheFile) {
    Box box;
    NtpPage t(box);
    Ask(t, "s<Enter>");
    EXPECT_EQ(t.Row(0), kQuestion);
    EXPECT_FALSE(t.Shows(kTitle));
    EXPECT_FALSE(t.Shows("Server"));
    t.Mark();
    Answer(t, "y");
    EXPECT_EQ(box.Read(kFile), kMixedRegrouped);
    // Curses stays active, and no message is shown.
    EXPECT_THAT(t.Output(), Not(HasSubstr("\x1b[?1049l")));
    EXPECT_THAT(Servers(t), ElementsAre("time1.example.org iburst", "time2.example.org"));
    EXPECT_EQ(t.Selected(), "Save changes");
    EXPECT_THAT(box.CallLines(), IsEmpty());
}

TEST(NtpScreen, SavesAddedEditedAndRemovedServersExactly) {
    Box box("# caf\xc3\xa9 \xff\r\nserver a\nserver b\r\n\tserver tab\nserver c\ndisable monitor");
    NtpPage t(box);
    Edit(t, "", 1, "a2 key 5");
    Edit(t, "<Down>", 1, "");
    Add(t, "d iburst");
    Save(t);
    EXPECT_EQ(box.Read(kFile),
              "# caf\xc3\xa9 \xff\n\tserver tab\ndisable monitor\n"
              "server a2 key 5\nserver c\nserver d iburst\n");
    EXPECT_THAT(box.CallLines(), IsEmpty());
}

TEST(NtpScreen, ADeclinedSaveKeepsFileAndEdits) {
    Box box;
    NtpPage t(box);
    Add(t, "time3.example.org");
    for (const char* key : {"n", "N", "q", "<Esc>", "<Backspace>"}) {
        Ask(t, "s<Enter>");
        Answer(t, key);
        EXPECT_EQ(box.Read(kFile), kMixed) << key;
        EXPECT_EQ(Servers(t).size(), 3U) << key;
    }
    Save(t);
    EXPECT_EQ(box.Read(kFile), std::string(kMixedRegrouped) + "server time3.example.org\n");
}

TEST(NtpScreen, SavingCreatesAMissingFileWithOnlyServerLines) {
    Box box("");
    NtpPage t(box);
    Add(t, "time1.example.org");
    Add(t, "10.0.0.1 iburst");
    Save(t);
    EXPECT_EQ(box.Read(kFile), "server time1.example.org\nserver 10.0.0.1 iburst\n");
    EXPECT_EQ(box.Sh("stat -c '%a %u:%g' /etc/ntp.conf"), "644 0:0\n");
}

TEST(NtpScreen, SavingFollowsALinkAndKeepsModeAndOwners) {
    Box box;
    box.Sh(
        "mkdir /etc/elsewhere; mv /etc/ntp.conf /etc/elsewhere/time; "
        "chmod 640 /etc/elsewhere/time; chown 12:34 /etc/elsewhere/time; "
        "ln -s elsewhere/time /etc/ntp.conf");
    const std::string modes = box.Sh("stat -c '%a %u:%g' /etc/elsewhere/time");
    NtpPage t(box);
    Save(t);
    EXPECT_EQ(box.Sh("readlink /etc/ntp.conf"), "elsewhere/time\n");
    EXPECT_EQ(box.Read("/etc/elsewhere/time"), kMixedRegrouped);
    EXPECT_EQ(box.Sh("stat -c '%a %u:%g' /etc/elsewhere/time"), modes);
    EXPECT_EQ(box.Sh("ls -A /etc/elsewhere"), "time\n");
}

// Nothing is lost and nothing is reported; the edits can still be saved.
TEST(NtpScreen, AFailedSaveKeepsTheOldFileAndTheEdits) {
    Box box;
    box.Sh(
        "mkdir /etc/full; mount -t tmpfs -o size=64k none /etc/full; "
        "mv /etc/ntp.conf /etc/full/time; ln -s /etc/full/time /etc/ntp.conf; "
        "cat /dev/zero >/etc/full/filler 2>/dev/null || true");
    NtpPage t(box);
    Add(t, "time3.example.org");
    const std::vector<std::string> before = Servers(t);
    Save(t);
    EXPECT_EQ(box.Read("/etc/full/time"), kMixed);
    EXPECT_EQ(box.Sh("ls -A /etc/full"), "filler\ntime\n");
    EXPECT_EQ(Servers(t), before);

    box.Remove("/etc/full/filler");
    Save(t);
    EXPECT_EQ(box.Read("/etc/full/time"),
              std::string(kMixedRegrouped) + "server time3.example.org\n");
}

TEST(NtpScreen, AFolderInPlaceOfTheFileIsLeftAlone) {
    Box box("");
    box.MakeDirectory(kFile);
    NtpPage t(box);
    EXPECT_EQ(t.Row(kTop), "    Add new server");
    Add(t, "a");
    Save(t);
    EXPECT_EQ(box.Sh("ls -A /etc/ntp.conf; ls -A /etc | grep ifmenu || true"), "");
    EXPECT_THAT(Servers(t), ElementsAre("a"));
}

// ---- the service ----

TEST(NtpScreen, StopsAndStartsTheServiceOnThePlainTerminal) {
    Box box;
    // The script waits until the test has checked the screen. The operator sees none of its output.
    box.StandInScript(kService,
                      "echo loud; echo louder >&2\n"
                      "while ! rm /tmp/open 2>/dev/null; do sleep 0.02; done\n"
                      "exit 1\n");
    NtpPage t(box);
    Add(t, "unsaved");
    const struct {
        const char* keys;
        const char* message;
        const char* argument;
    } actions[] = {{"o<Enter>", "Stopping NTP service...", "stop"},
                   {"a<Enter>", "Starting NTP service...", "start"}};
    for (const auto& action : actions) {
        box.ForgetCalls();
        Ask(t, action.keys);
        EXPECT_EQ(t.Row(0), kQuestion);
        EXPECT_FALSE(t.Shows("NTP service"));
        t.Mark();
        t.Press("y");
        box.WaitForCalls(kService, 1);
        t.WaitFor(action.message);
        EXPECT_TRUE(t.LineMode());
        EXPECT_FALSE(t.AltScreen());
        box.Write("/tmp/open", "");
        WaitForRows(t);
        const std::vector<Call> calls = box.Calls();
        ASSERT_EQ(calls.size(), 1U) << box.CallLog();
        EXPECT_EQ(calls[0].Line(), std::string(kService) + " " + action.argument);
        EXPECT_EQ(calls[0].mode, Mode::kLine);
        EXPECT_THAT(t.Output(), Not(HasSubstr("loud")));
        EXPECT_FALSE(t.LineMode());
        EXPECT_EQ(Servers(t).size(), 3U);
    }
    EXPECT_EQ(box.Read(kFile), kMixed);
}

TEST(NtpScreen, OnlyItsMessagesGoToStandardError) {
    Box box;
    box.StandIn(kService, "said\n");
    TerminalOptions options;
    options.program = "/bin/sh";
    options.arguments = {"-c", "exec \"$0\" 2>/run/messages", IFMENU_PROGRAM};
    NtpPage t(box, options);
    for (const char* keys : {"o<Enter>", "a<Enter>", "s<Enter>"}) {
        Ask(t, keys);
        Answer(t, "y");
    }
    EXPECT_EQ(box.Read("/run/messages"), "Stopping NTP service...\nStarting NTP service...\n");
    EXPECT_THAT(box.CallLines(),
                ElementsAre("/etc/init.d/service-ntpd stop", "/etc/init.d/service-ntpd start"));
}

TEST(NtpScreen, ADeclinedStopOrStartRunsNothing) {
    Box box;
    NtpPage t(box);
    Add(t, "unsaved");
    for (const char* keys : {"o<Enter>", "a<Enter>"}) {
        Ask(t, keys);
        t.Mark();
        Answer(t, "n");
        EXPECT_THAT(t.Output(), Not(HasSubstr("NTP service...")));
        EXPECT_EQ(Servers(t).size(), 3U);
    }
    EXPECT_THAT(box.CallLines(), IsEmpty());
}

TEST(NtpScreen, AMissingServiceScriptChangesNothing) {
    Box box;
    box.Remove(kService);
    NtpPage t(box);
    const std::vector<std::string> rows = Servers(t);
    t.Mark();
    for (const char* keys : {"o<Enter>", "a<Enter>"}) {
        Ask(t, keys);
        Answer(t, "y");
        EXPECT_EQ(Servers(t), rows);
    }
    EXPECT_THAT(t.Output(), Not(HasSubstr("not found")));
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
    NtpPage t(box);
    Edit(t, "", 9, "");
    Edit(t, "", 10, "192.0.2.11 iburst");
    Add(t, "192.0.2.12 prefer");
    Save(t);
    Ask(t, "a<Enter>");
    Answer(t, "y");
    std::string peers;
    const auto listed = [&] {
        peers = box.Sh("ntpq -pn 127.0.0.1 2>&1 || true");
        return peers.find("192.0.2.12") != std::string::npos;
    };
    box.WaitUntil(listed, "the daemon to list its servers");
    EXPECT_THAT(peers, HasSubstr("192.0.2.11"));
    EXPECT_THAT(peers, Not(HasSubstr("192.0.2.9")));
    EXPECT_THAT(peers, Not(HasSubstr("192.0.2.10")));
    Ask(t, "o<Enter>");
    Answer(t, "y");
    box.WaitUntil([&] { return box.Sh("pidof ntpd || true").empty(); }, "the daemon to end");
}

// ---- other kinds of file ----

TEST(NtpScreen, AnEndlessFileIsNeitherReadNorOverwritten) {
    Box box("");
    box.Sh(std::string("ln -s /dev/zero ") + kFile);
    Terminal t(box);
    Open(t);
    t.Press("n<Enter>");
    t.WaitFor(kAddPrompt);
    t.Type("time.example.org");
    t.Press("<Enter>");
    t.WaitFor("Server time.example.org");
    t.Press("s<Enter>");
    t.WaitFor(kQuestion);
    t.Press("y");
    WaitForRows(t);
    EXPECT_EQ(box.Sh(std::string("readlink ") + kFile), "/dev/zero\n");
}

TEST(NtpScreen, APipeInPlaceOfTheFileDoesNotBlock) {
    Box box("");
    box.Sh(std::string("mkfifo ") + kFile);
    Terminal t(box);
    Open(t);
    t.Press("s<Enter>");
    t.WaitFor(kQuestion);
    t.Press("y");
    WaitForRows(t);
    t.Press("m<Enter>");
    t.WaitFor(kMenuTitle);
}

}  // namespace
}  // namespace harness
