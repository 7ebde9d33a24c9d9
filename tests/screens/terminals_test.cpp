// The terminals of operators: types, locales and sizes, resizing at any moment, stopping and
// continuing in a shell.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <memory>

#include "lifecycle_fixtures.h"

namespace harness::lifecycle {
namespace {

// ---- types and locales ----

class TerminalOfEveryType : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Terminals, TerminalOfEveryType, testing::ValuesIn(kTypes), TypeName);

constexpr const char* kMainMenuRows[] = {
    "",
    "Tavrin 4 Network configuration utility",
    "Network configuration main menu for 'appliance'",
    "Select network interface and hit ENTER to configure it.",
    "",
    "    Bring up all interfaces",
    "    Bring down all interfaces",
    "    Update interfaces from config",
    "    Change computer name",
    "    Network Time Protocol settings",
    "    Flush/reset DNS cache",
    "    Services",
    "    Diagnostics",
    "",
    "    1. eth0    02:00:00:00:00:01  Disconnected",
    "",
    "    Exit this program",
};

// Visits the places and compares the words shown there.
void ExpectTheSameWords(Machine& box, const TerminalOptions& options) {
    Terminal t(box, AtAPrompt(options));
    GoTo(t, kListedMenu);
    for (size_t row = 0; row < std::size(kMainMenuRows); row++)
        EXPECT_EQ(t.Row(static_cast<int>(row)), kMainMenuRows[row]);

    GoTo(t, kYesNo);
    EXPECT_EQ(t.Row(0), "Are you sure? [y/n]");
    const bool has_mouse = options.term != "vt220";
    EXPECT_EQ(t.Row(2), has_mouse ? "  [ YES  ]" : "");
    EXPECT_EQ(t.Row(4), has_mouse ? "  [  NO  ]" : "");
    t.Press("n");

    GoTo(t, kTextEntry);
    EXPECT_EQ(t.FindColumn("New computer host name"), 2);
    EXPECT_EQ(t.FindColumn("Use only letters, numbers, underscores, dashes, or periods "
                           "[ESC to cancel]"),
              2);
    EXPECT_EQ(t.Find("Use only"), t.Find("New computer") + 1);
    EXPECT_EQ(t.CursorRow(), t.Find("Use only") + 2);
    EXPECT_EQ(t.CursorCol(), 2 + static_cast<int>(std::string("appliance").size()));
    EXPECT_TRUE(t.CursorVisible());
    t.Press("<Esc>");
    t.WaitForGone(kTextEntry.sign);

    GoTo(t, kEditor);
    EXPECT_EQ(t.Row(1), "Configuration for eth0 (02:00:00:00:00:01)");
    EXPECT_EQ(t.Row(7), "    Use DHCP:                      yes");
    t.Press("<Esc>");
    t.WaitFor(kInterface.sign);
    t.Press("<Esc>");
    t.WaitFor(kMainMenu.sign);
    t.Press("<Esc>");
    EXPECT_EQ(t.WaitExit(), Exited(0));
    EXPECT_TRUE(t.LineMode());
    EXPECT_EQ(PrivateModes(t.Output()), kUsualModes);
}

TEST_P(TerminalOfEveryType, ShowsTheSameWordsInEveryLocale) {
    OneCard box;
    box.Sh("ip link set eth0 address 02:00:00:00:00:01");
    TerminalOptions options = OfType(GetParam());
    for (const char* locale : {"C.UTF-8", "C"}) {
        SCOPED_TRACE(locale);
        options.environment = {{"LANG", locale}};
        ExpectTheSameWords(box, options);
    }
    SCOPED_TRACE("Latin-1");
    options.latin1 = true;
    options.environment = box.Latin1Locale();
    ExpectTheSameWords(box, options);
}

TEST(Locales, AMissingLocaleDoesNotCrash) {
    OneCard box;
    box.Sh("ip link set eth0 address 02:00:00:00:00:01");
    TerminalOptions options;
    options.environment = {{"LANG", "no_SUCH.locale"}, {"LC_ALL", "xx_YY.UTF-8"}};
    ExpectTheSameWords(box, options);
}

TEST_P(TerminalOfEveryType, RestoresTheTerminal) {
    OneCard box;
    for (const Stop& stop : kStops) {
        SCOPED_TRACE(stop.name);
        Terminal t(box, AtAPrompt(OfType(GetParam())));
        GoTo(t, stop);
        t.Press("<C-c>");
        EXPECT_EQ(t.WaitExit(), Exited(130));
        ExpectModesAsBefore(t);
    }
}

// Types without colours, without a hidden cursor, with unusual keys.
TEST(PoorTerminals, DoNotCrash) {
    Machine box;
    for (const char* term : {"vt52", "vt100", "ansi", "sun", "wy50"}) {
        SCOPED_TRACE(term);
        Terminal t(box, OfType(term));
        t.WaitUntil([&] { return t.Output().find("Tavrin 4") != std::string::npos; }, "the title");
        t.Press("<Esc>");
        EXPECT_EQ(t.WaitExit(), Exited(0));
        EXPECT_TRUE(t.LineMode());
    }
}

// ---- sizes ----

struct Size {
    int cols, rows;
};

std::ostream& operator<<(std::ostream& out, const Size& size) {
    return out << size.cols << "x" << size.rows;
}

std::string SizeName(const testing::TestParamInfo<Size>& info) {
    return testing::PrintToString(info.param);
}

constexpr Size kUsual = {80, 24}, kLarge = {132, 43}, kHuge = {300, 100};
constexpr Size kSmallSizes[] = {{20, 10}, {10, 20}, {10, 5}, {5, 10},
                                {80, 1},  {1, 24},  {2, 2},  {1, 1}};

class TerminalOfEverySize : public testing::TestWithParam<Size> {};
INSTANTIATE_TEST_SUITE_P(Terminals, TerminalOfEverySize,
                         testing::Values(kUsual, kLarge, kHuge, Size{20, 10}, Size{10, 20},
                                         Size{10, 5}, Size{5, 10}, Size{80, 1}, Size{1, 24},
                                         Size{2, 2}, Size{1, 1}, Size{0, 0}, Size{80, 0},
                                         Size{0, 24}),
                         SizeName);

// For Walk: cancels the entry. On a terminal too small for it the first key has already cancelled
// it.
const std::string kLeaveEntry = "leave the entry";

// Presses the keys one by one, each after the effect of the previous one.
void Walk(Terminal& t, const std::vector<std::string>& keys) {
    for (const std::string& key : keys) {
        if (key != kLeaveEntry) {
            t.Press(key);
        } else if (t.CursorVisible()) {
            t.Press("<Esc>");
        }
        t.Settle();
        ASSERT_TRUE(t.Running()) << "after " << key;
    }
}

const std::vector<std::string> kWalks[] = {
    // the list
    {"<End>", "<PageUp>", "<PageDown>", "<Home>", "<Up>", "<Down>", "<Up>", "s", "1"},
    // the question
    {"d", "<Enter>", "x", "n"},
    // the entry
    {"n", "<Enter>", "a", "<Left>", "b", "<Delete>", kLeaveEntry},
    // the interface and its settings
    {"1", "<Enter>", "<Down>", "c", "<Enter>", "o", "<Space>", "i", "<Enter>", "1", "<Left>",
     kLeaveEntry, "<End>", "<PageUp>", "<Esc>", "<Up>", "<Esc>"},
};

TEST_P(TerminalOfEverySize, ShowsEveryScreen) {
    OneCard box;
    box.StandIn(kNetwork);
    Terminal t(box, OfSize(GetParam().rows, GetParam().cols));
    // Some sizes do not show the words, so wait for a settled screen.
    t.Settle();
    for (const auto& walk : kWalks) {
        Walk(t, walk);
        if (HasFatalFailure()) return;
    }
    for (const auto& [row, col] : {std::pair{0, 0}, {GetParam().rows / 2, GetParam().cols / 2}})
        t.Click(row, col);
    t.Settle();
    t.Press("<Home>s<Esc>");
    EXPECT_EQ(t.WaitExit(), Exited(0));
    EXPECT_TRUE(t.LineMode());
    EXPECT_EQ(box.Sh("hostname"), "appliance\n");
}

// The title block, and a list COLS - 5 wide from column 4 on.
void ExpectMainMenuFits(Terminal& t, Place place = Place::current()) {
    const testing::ScopedTrace from(place.file, place.line, "");
    EXPECT_EQ(t.Row(1), "Tavrin 4 Network configuration utility");
    EXPECT_EQ(t.Row(2), "Network configuration main menu for 'appliance'");
    EXPECT_EQ(t.Row(3), "Select network interface and hit ENTER to configure it.");
    EXPECT_EQ(t.Row(5), "    Bring up all interfaces");
    const int last = t.cols() - 2;
    const int row = t.SelectedRow();
    EXPECT_EQ(t.Cell(row, last).bg, kBlue);
    EXPECT_EQ(t.Cell(row, last + 1).bg, kBlack);
}

// A serial line reports no size; then the terminal type's size is used.
TEST(Sizes, WithoutASizeTheTerminalTypesSizeIsUsed) {
    Machine box;
    TerminalOptions options = OfSize(0, 0);
    for (const char* term : {"xterm-256color", "vt220"}) {
        options.term = term;
        Terminal t(box, options);
        GoTo(t, kMainMenu);
        EXPECT_EQ(t.Row(1), "Tavrin 4 Network configuration utility");
        EXPECT_EQ(t.Row(5), "    Bring up all interfaces");
        t.Press("<Esc>");
        EXPECT_EQ(t.WaitExit(), Exited(0));
    }
}

// ---- resizing ----

class WhileResizing : public testing::TestWithParam<Stop> {};
INSTANTIATE_TEST_SUITE_P(Terminals, WhileResizing, testing::ValuesIn(kStops), StopName);

TEST_P(WhileResizing, NothingCrashesAndTheMenuFitsInTheEnd) {
    OneCard box;
    Terminal t(box);
    GoTo(t, GetParam());
    for (const Size& size : kSmallSizes) {
        for (const Size& next : {size, kLarge}) {
            t.Resize(next.rows, next.cols);
            t.Press("<Down>");
            t.Settle();
            ASSERT_TRUE(t.Running()) << size;
        }
    }
    // A key may have left the screen: rows are held back then, and ESC would end the program.
    const auto shown = [&] {
        return std::find_if(std::begin(kStops), std::end(kStops),
                            [&](const Stop& stop) { return t.Shows(stop.sign); });
    };
    const Stop* last = std::end(kStops);
    while (last != std::begin(kStops)) {
        if (last != std::end(kStops)) t.Press("<Esc>");
        t.WaitUntil([&] { return shown() != last && shown() != std::end(kStops); }, "a screen");
        last = shown();
    }
    t.Press("<Home>");  // the small terminals have scrolled the list
    t.WaitFor(kMainMenu.sign);
    t.WaitSelected("Bring up all interfaces");
    ExpectMainMenuFits(t);
    EXPECT_EQ(box.Sh("hostname"), "appliance\n");
}

// Long before the refresh that happens every five seconds.
constexpr double kSoon = 2;

TEST(Resizing, RepaintsTheMainMenu) {
    Machine box;
    Terminal t(box);
    GoTo(t, kMainMenu);
    for (const Size& size : {kLarge, kUsual, kHuge, kUsual}) {
        t.Resize(size.rows, size.cols);
        const int last = size.cols - 2;
        t.WaitUntil([&] { return t.Cell(5, last).bg == kBlue && t.Cell(5, last + 1).bg == kBlack; },
                    "the list to be as wide as the terminal", kSoon);
        t.WaitFor(kMainMenu.sign);
        t.Settle();
        ExpectMainMenuFits(t);
    }
}

TEST(Resizing, ManyTimesAtOnce) {
    Machine box;
    Terminal t(box);
    GoTo(t, kMainMenu);
    for (int round = 0; round < 50; round++) {
        for (const Size& size : kSmallSizes)
            t.Resize(size.rows + round % 7, size.cols + round % 5);
    }
    t.Resize(kLarge.rows, kLarge.cols);
    t.WaitUntil([&] { return t.Cell(5, kLarge.cols - 2).bg == kBlue; }, "the list's new width",
                kSoon);
    t.WaitFor(kMainMenu.sign);
    t.Settle();
    ExpectMainMenuFits(t);
}

TEST(Resizing, IsNoticedAtAnyMomentOfTheStart) {
    Machine box;
    for (int milliseconds = 0; milliseconds < 40; milliseconds += 5) {
        SCOPED_TRACE(milliseconds);
        Terminal t(box);
        t.RunFor(milliseconds / 1000.0);
        t.Resize(kLarge.rows, kLarge.cols);
        t.WaitUntil([&] { return t.Cell(5, kLarge.cols - 2).bg == kBlue; }, "the list's width",
                    kSoon);
    }
}

TEST(Resizing, DuringACommandIsNoticedAfterIt) {
    Machine box;
    Gate gate(box);
    box.StandInScript(kNetwork, Gate::kWait);
    Terminal t(box);
    for (const Size& size : {kLarge, kUsual}) {
        t.WaitFor(kMainMenu.sign);
        t.Press("d<Enter>y");
        gate.AwaitScript();
        t.Resize(size.rows, size.cols);
        gate.Open();
        t.WaitFor(kMainMenu.sign);
        t.WaitUntil([&] { return t.Cell(t.SelectedRow(), size.cols - 2).bg == kBlue; },
                    "the list's new width");
        t.Settle();
        ExpectMainMenuFits(t);
        t.Press("<Home>");
    }
}

// ---- stopped and continued ----

// A shell with job control, in which the operator has started the program.
class UnderAShell : public testing::Test {
  protected:
    UnderAShell() {
        TerminalOptions options;
        options.program = "/bin/sh";
        options.arguments = {"-c", std::string(kKeepModes) + "exec /bin/sh -i"};
        options.environment = {{"PS1", kPrompt}, {"ENV", ""}, {"IFMENU", TestedProgram()}};
        t = std::make_unique<Terminal>(box, options);
        t->WaitFor(kPromptSeen);
        t->Type("\"$IFMENU\"\r");
    }

    // The process that sleeps on this terminal is the shell, so nothing shows when the program has
    // finished drawing: give it a moment.
    void GoUnderShell(const Stop& stop) {
        WaitForMenu(*t, stop.keys);
        t->Press(stop.keys);
        t->WaitFor(stop.sign);
        t->RunFor(0.1);
    }

    // Presses Ctrl-Z, and expects the shell on a terminal as it was before.
    void StopIt() {
        t->Press("<C-z>");
        t->WaitFor("Stopped");
        t->WaitUntil([this] { return t->Row(t->CursorRow()) == kPromptSeen; }, "a new prompt");
        ExpectModesAsBefore(*t);
        EXPECT_EQ(t->Row(0).rfind(kPromptSeen, 0), 0u) << "the screen as it was before";
    }

    void AwaitStopped() {
        const auto stopped = [this] {
            const std::string states = box.Sh("cat /proc/[0-9]*/stat 2>/dev/null; true");
            return states.find("(ifmenu) T ") != std::string::npos;
        };
        box.WaitUntil(stopped, "the program to stop");
    }

    // Afterwards the shell prints the program's exit status.
    void ContinueIt() { t->Type("fg; echo status $?\r"); }

    static constexpr const char* kPrompt = "appliance:~# ";
    static constexpr const char* kPromptSeen = "appliance:~#";
    OneCard box;
    std::unique_ptr<Terminal> t;
};

class UnderAShellAtEveryStop : public UnderAShell, public testing::WithParamInterface<Stop> {};
INSTANTIATE_TEST_SUITE_P(Terminals, UnderAShellAtEveryStop, testing::ValuesIn(kStops), StopName);

TEST_P(UnderAShellAtEveryStop, StoppingAndContinuingRestoresEverything) {
    GoUnderShell(GetParam());
    const std::vector<std::string> look = Look(*t);
    const std::set<int> modes = PrivateModes(t->Output());
    for (int round = 0; round < 2; round++) {
        StopIt();
        ContinueIt();
        t->WaitUntil([&] { return t->AltScreen() && Look(*t) == look; }, "the screen as it was");
        t->WaitUntil([&] { return PrivateModes(t->Output()) == modes; }, "the modes as they were");
        EXPECT_FALSE(t->LineMode());
    }
    t->Press("<C-c>");
    t->WaitFor("status 130");
    EXPECT_FALSE(t->AltScreen());
    EXPECT_EQ(PrivateModes(t->Output()), kUsualModes);
}

TEST_F(UnderAShell, EntriesQuestionsKeysAndTheMouseContinue) {
    box.StandIn(kNetwork);
    GoUnderShell(kTextEntry);
    t->Type("-one");
    t->WaitFor("appliance-one");
    StopIt();
    ContinueIt();
    t->WaitFor("appliance-one");
    t->Type("-two");
    t->WaitFor("appliance-one-two");
    t->Press("<Enter>");
    t->WaitFor("main menu for 'appliance-one-two'");

    GoUnderShell(kYesNo);
    StopIt();
    EXPECT_EQ(box.Calls(kNetwork).size(), 0u);
    ContinueIt();
    t->WaitFor(kYesNo.sign);
    t->Press("y");
    t->WaitFor(kMainMenu.sign);
    EXPECT_EQ(box.Calls(kNetwork).size(), 1u);

    t->Press("s");
    t->WaitSelected("Services");
    t->Click(t->Find("Diagnostics"), 10);
    t->WaitSelected("Diagnostics");
    t->Press("<Esc>");
    t->WaitFor("status 0");
}

TEST_F(UnderAShell, ARunningCommandStopsAndContinuesWithIt) {
    Gate gate(box);
    box.StandInScript(kNetwork, Gate::kWait);
    GoUnderShell(kListedMenu);
    const std::vector<std::string> look = Look(*t);
    t->Press("<Down><Enter>y");
    gate.AwaitScript();
    StopIt();
    gate.Open();
    ContinueIt();
    t->WaitFor("Bring down all interfaces");
    t->Press("<Up>");
    t->WaitUntil([&] { return Look(*t) == look; }, "the main menu as it was");
    EXPECT_FALSE(t->LineMode());
    EXPECT_FALSE(t->CursorVisible());
    EXPECT_EQ(t->MouseReporting(), (std::vector<int>{1003, 1006}));
}

TEST_F(UnderAShell, ANewSizeIsNoticedAfterContinuing) {
    GoUnderShell(kMainMenu);
    StopIt();
    t->Resize(kLarge.rows, kLarge.cols);
    ContinueIt();
    t->WaitUntil([&] { return t->Cell(5, kLarge.cols - 2).bg == kBlue; }, "the list's new width");
    t->WaitFor(kMainMenu.sign);
    ExpectMainMenuFits(*t);
}

TEST_F(UnderAShell, EndingSignalsEndItWhileItIsStopped) {
    GoUnderShell(kMainMenu);
    StopIt();
    t->Type("kill -TERM %1\r");
    ContinueIt();
    t->WaitFor("status 143");
    ExpectModesAsBefore(*t);
}

TEST_F(UnderAShell, AStopDuringAPauseOnlyProlongsIt) {
    box.StandIn("killall");
    box.StandIn("/etc/init.d/service-nscd");
    GoUnderShell(kMainMenu);
    t->Press("f<Enter>y");
    t->WaitFor("Restarting DNS cache...");
    box.WaitForCalls("killall", 1);
    StopIt();
    EXPECT_EQ(box.Calls("/etc/init.d/service-nscd").size(), 0u);
    ContinueIt();
    t->WaitFor(kMainMenu.sign);
    EXPECT_EQ(box.Calls("/etc/init.d/service-nscd").size(), 1u);
    t->Press("s");
    t->WaitSelected("Services");
}

TEST_F(UnderAShell, ContinuedInTheBackgroundItStopsAgain) {
    GoUnderShell(kMainMenu);
    const std::vector<std::string> look = Look(*t);
    StopIt();
    t->Type("bg\r");
    t->WaitFor("[1] \"${IFMENU}\"");
    AwaitStopped();
    ContinueIt();
    t->WaitUntil([&] { return t->AltScreen() && Look(*t) == look; }, "the screen as it was");
    t->Press("s");
    t->WaitSelected("Services");
}

TEST_F(UnderAShell, EndsWithTheTerminalWhileItIsStopped) {
    GoUnderShell(kMainMenu);
    StopIt();
    t->HangUp();
    const auto gone = [this] {
        const std::string names = "\n" + box.Sh("cat /proc/[0-9]*/comm 2>/dev/null; true");
        return names.find("\nifmenu\n") == std::string::npos;
    };
    box.WaitUntil(gone, "the stopped program's end", 1);
}

TEST_F(UnderAShell, StartedInTheBackgroundItWaitsForTheForeground) {
    GoUnderShell(kMainMenu);
    t->Press("<Esc>");
    t->WaitUntil([this] { return t->Row(t->CursorRow()) == kPromptSeen; }, "a new prompt");
    t->Type("\"$IFMENU\" &\r");
    AwaitStopped();
    EXPECT_TRUE(t->LineMode());
    ContinueIt();
    t->WaitFor(kMainMenu.sign);
    t->WaitUntil([this] { return !t->CursorVisible() && !t->LineMode(); }, "the open screen");
    ExpectMainMenuFits(*t);
    t->Press("<Esc>");
    t->WaitFor("status 0");
    EXPECT_TRUE(t->LineMode());
}

// Without a shell above it nobody could continue the program.
TEST(WithoutAShell, CtrlZDoesNotStopIt) {
    OneCard box;
    for (const Stop& stop : kStops) {
        SCOPED_TRACE(stop.name);
        Terminal t(box);
        GoTo(t, stop);
        const std::vector<std::string> look = Look(t);
        t.Press("<C-z>");
        t.Settle();
        t.WaitUntil([&] { return t.AltScreen() && Look(t) == look; }, "the screen as it was");
        t.Press("<C-c>");
        EXPECT_EQ(t.WaitExit(), Exited(130));
    }
}

TEST(WithoutAShell, StoppingFromOutsideKeepsTheScreen) {
    Machine box;
    Terminal t(box);
    GoTo(t, kMainMenu);
    const std::vector<std::string> look = Look(t);
    t.Signal(SIGSTOP);
    t.Type("s");
    t.Signal(SIGCONT);
    t.WaitSelected("Services");
    t.Press("<Home>");
    t.WaitSelected("Bring up");
    EXPECT_EQ(Look(t), look);
}

}  // namespace
}  // namespace harness::lifecycle
