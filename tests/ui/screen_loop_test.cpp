#include "ui/screen_loop.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <string>
#include <vector>

#include "ui/played_screen.h"

namespace {

using Texts = std::vector<std::string>;

// ---- the table ----

struct State {
    Texts log;
    std::string word = "Start";
    bool shown = true;
    bool closed = false;
    bool warning = false;
    Texts listed = {"a", "b"};
};

Next Log(State& state, const std::string& what, Next next) {
    state.log.push_back(what);
    return next;
}

Next DoStay(State& state) {
    return Log(state, "stay", Next::Stay);
}

Next DoTurn(State& state) {
    return Log(state, "turn", Next::Rebuild);
}

Next OpenListed(State& state, std::size_t index) {
    return Log(state, "open " + std::to_string(index), Next::Paint);
}

void AddListed(Menu& menu, const State& state) {
    int id = 100;
    for (const std::string& label : state.listed)
        menu.AddItem(label, id++);
}

void AddInformationRow(Menu& menu, const State&) {
    menu.AddInformation("to read", -1);
}

std::string Word(const State& state) {
    return state.word;
}

constexpr Row<State> kRows[] = {
    {"", 0, 0, nullptr, {.add_list = AddInformationRow}},
    {"%s it", 1, 's', DoStay, {.word = Word, .help = "one\ntwo"}},
    {"Perhaps", 2, 'p', DoStay, {.shown = [](const State& state) { return state.shown; }}},
    kSeparator<State>,
    {"Closed", 3, 'c', DoStay, {.closed = [](const State& state) { return state.closed; }}},
    {"Warning", 4, 0, DoStay, {.warning = [](const State& state) { return state.warning; }}},
    {"Turn", 5, 't', nullptr, {.turn = DoTurn}},
    {"",
     100,
     0,
     nullptr,
     {.help = "of a list", .add_list = AddListed, .open = OpenListed, .most = 2}},
    {"Leave", 6, 'l', Leave<State>},
};
static_assert(AreSound(kRows));

constexpr bool IsSoundRow(const Row<State>& row) {
    const Row<State> rows[] = {row};
    return AreSound(rows);
}

static_assert(IsSoundRow({"a", 1, '0', DoStay}));
static_assert(!IsSoundRow({"a", 1, 'A', DoStay}), "a hot key is a lower-case letter");
static_assert(!IsSoundRow({"a", 1, ' ', DoStay}));
static_assert(!IsSoundRow({"a", 0, 0, DoStay}), "a row has an id");
static_assert(!IsSoundRow({"a", 1, 0, nullptr}), "a row acts");
static_assert(!IsSoundRow({"%s", 1, 0, DoStay}), "a place for a word has one");
static_assert(!IsSoundRow({"a", 1, 0, DoStay, {.word = Word}}), "a word has a place");
static_assert(!IsSoundRow({"", 0, 'a', nullptr}), "a separator has no hot key");
static_assert(!IsSoundRow({"", 0, 0, DoStay}), "and does nothing");

constexpr bool AreSoundTogether(const Row<State>& one, const Row<State>& other) {
    const Row<State> rows[] = {one, other};
    return AreSound(rows);
}

constexpr Row<State> ListFrom(int id) {
    return {"", id, 0, nullptr, {.add_list = AddListed, .open = OpenListed, .most = 3}};
}

static_assert(AreSoundTogether({"a", 1, 'a', DoStay}, {"b", 2, 'a', DoStay}), "two share a key");
static_assert(!AreSoundTogether({"a", 1, 0, DoStay}, {"b", 1, 0, DoStay}), "no two share an id");
static_assert(AreSoundTogether({"a", 6, 0, DoStay}, ListFrom(7)));
static_assert(!AreSoundTogether({"a", 7, 0, DoStay}, ListFrom(7)));
static_assert(!AreSoundTogether(ListFrom(7), {"a", 9, 0, DoStay}));
static_assert(AreSoundTogether(ListFrom(7), {"a", 10, 0, DoStay}));

Menu MenuOf(const State& state) {
    Menu menu;
    AddRows<State>(menu, kRows, state);
    return menu;
}

Texts Labels(const Menu& menu) {
    Texts labels;
    for (const MenuItem& item : menu.items)
        labels.push_back(item.label);
    return labels;
}

TEST(Rows, AreThoseOfTheTable) {
    const Menu menu = MenuOf({});
    EXPECT_EQ(Labels(menu), (Texts{"to read", "Start it", "Perhaps", "", "Closed", "Warning",
                                   "Turn", "a", "b", "Leave"}));
    EXPECT_EQ(menu.ItemAt(1)->id, 1);
    EXPECT_EQ(menu.ItemAt(1)->hot_key, 's');
    EXPECT_EQ(menu.ItemAt(1)->flags, 0);
    EXPECT_EQ(menu.ItemAt(3)->flags, MenuItem::kDim | MenuItem::kUnselectable);
    EXPECT_EQ(menu.ItemAt(7)->id, 100);
}

TEST(Rows, ShowTheState) {
    State state;
    state.word = "Stop";
    state.shown = false;
    state.closed = state.warning = true;
    state.listed = {};
    const Menu menu = MenuOf(state);
    EXPECT_EQ(Labels(menu),
              (Texts{"to read", "Stop it", "", "Closed", "Warning", "Turn", "Leave"}));
    EXPECT_TRUE(menu.ItemAt(3)->Has(MenuItem::kUnselectable));
    EXPECT_TRUE(menu.ItemAt(4)->Has(MenuItem::kMarked));
    EXPECT_FALSE(MenuOf({}).ItemAt(5)->Has(MenuItem::kMarked));
}

TEST(Rows, RunTheActionOfTheirId) {
    struct {
        int id;
        Next next;
        Texts log;
    } const kCases[] = {
        {1, Next::Stay, {"stay"}},
        {6, Next::Leave, {}},
        {100, Next::Paint, {"open 0"}},
        {101, Next::Paint, {"open 1"}},
        {102, Next::Stay, {}},  // beyond the end of the list
        {5, Next::Stay, {}},    // has only a turn action
        {0, Next::Stay, {}},
        {-1, Next::Stay, {}},
        {99, Next::Stay, {}},
    };
    for (const auto& row : kCases) {
        State state;
        EXPECT_EQ(Act<State>(kRows, row.id, state), row.next) << row.id;
        EXPECT_EQ(state.log, row.log) << row.id;
    }
}

TEST(Rows, TurnIfTheTableSaysSo) {
    State state;
    EXPECT_EQ(Turn<State>(kRows, 5, state), Next::Rebuild);
    EXPECT_EQ(state.log, Texts{"turn"});
    for (int id : {0, 1, 100, 77})
        EXPECT_EQ(Turn<State>(kRows, id, state), Next::Stay);
    EXPECT_EQ(state.log, Texts{"turn"});
}

TEST(Rows, HaveTheirHelp) {
    EXPECT_EQ(HelpOf<State>(kRows, 1), "one\ntwo");
    EXPECT_EQ(HelpOf<State>(kRows, 101), "of a list");
    EXPECT_EQ(HelpOf<State>(kRows, 2), "");
    EXPECT_EQ(HelpOf<State>(kRows, 77), "");
}

// ---- the loop ----

// A list of names between the rows "First" and "Leave".
class Loop : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(terminal.IsReady()); }
    void TearDown() override { EXPECT_TRUE(terminal.IsPlayed()) << "the loop ended too early"; }

    void Run(std::vector<Step> steps) {
        terminal.Play(std::move(steps));
        ScreenLoop(screen);
    }

    void AddRows(Menu& menu) {
        ++builds;
        if (is_empty) return;
        menu.SetHotKey(menu.AddItem("First", 1), 'f');
        for (const std::string& name : names) {
            const int index = menu.AddItem(name, 10 + menu.Count());
            menu.SetName(index, name);
            menu.AddInformation("of " + name, -1);
        }
        menu.SetHotKey(menu.AddItem("Leave", 2), 'l');
    }

    Next Act(int id) {
        log.push_back("act " + std::to_string(id));
        builds_at_act = builds;
        return id == 2 ? Next::Leave : next;
    }

    // The rows on the screen, with the selected one in brackets.
    [[nodiscard]] Texts OnScreen() const {
        Texts rows;
        for (int line = 4; line < LINES && !terminal.Line(line).empty(); ++line) {
            const std::string row = terminal.Line(line).substr(4);
            const auto style = terminal.Style(line, 5) & A_COLOR;
            const bool is_selected = style == PairAttribute(Colour::Selected) ||
                                     style == PairAttribute(Colour::SelectedHover);
            rows.push_back(is_selected ? "[" + row + "]" : row);
        }
        return rows;
    }

    // A step that checks something, then types.
    [[nodiscard]] Step SeeAndType(Texts rows, std::string_view keys) const {
        return [this, rows, keys] {
            EXPECT_EQ(OnScreen(), rows);
            terminal.Type(keys);
        };
    }

    PlayedScreen terminal;
    Texts names = {"a"};
    bool is_empty = false;
    Next next = Next::Stay;
    int builds = 0;
    int paints = 0;
    int builds_at_act = 0;
    Texts log;
    Screen screen = {.add_rows = [this](Menu& menu) { AddRows(menu); },
                     .act = [this](int id) { return Act(id); },
                     .turn =
                         [this](int id) {
                             log.push_back("turn " + std::to_string(id));
                             return next;
                         },
                     .help = [](int id) { return id == 1 ? "help of one\nand two" : ""; },
                     .title =
                         [this] {
                             ++paints;
                             return TitleLines{"Title", "of two lines"};
                         }};
};

constexpr std::string_view kEscapeKey = "\x1b";
constexpr std::string_view kDown = "\x1bOB";
constexpr std::string_view kUp = "\x1bOA";

TEST_F(Loop, PaintsTitleAndRowsOnce) {
    Run({[&] {
        EXPECT_EQ(terminal.Line(1), "Title");
        EXPECT_EQ(terminal.Line(2), "of two lines");
        EXPECT_EQ(OnScreen(), (Texts{"[First]", "a", "of a", "Leave"}));
        terminal.Type(kEscapeKey);
    }});
    EXPECT_EQ(builds, 1);
    EXPECT_EQ(paints, 1);
}

TEST_F(Loop, EscapeBackspaceOrALeavingRowEndsIt) {
    for (std::string_view keys : {kEscapeKey, std::string_view("\x7f"), std::string_view("l\r")})
        Run({terminal.Keys(keys)});
    EXPECT_EQ(log, Texts{"act 2"});
}

TEST_F(Loop, AnyKeyEndsItIfThereAreNoRows) {
    next = Next::Rebuild;
    Run({[&] {
             is_empty = true;
             terminal.Type("\r");
         },
         terminal.Keys("x")});
}

TEST_F(Loop, FollowsTheResultOfAnAction) {
    struct {
        Next next;
        int builds, paints;
    } const kCases[] = {{Next::Stay, 1, 1}, {Next::Paint, 1, 2}, {Next::Rebuild, 2, 2}};
    for (const auto& row : kCases) {
        for (std::string_view key : {std::string_view("\r"), std::string_view(" ")}) {
            builds = paints = 0;
            next = row.next;
            Run({terminal.Keys(key), terminal.Keys(kEscapeKey)});
            EXPECT_EQ(builds, row.builds);
            EXPECT_EQ(paints, row.paints);
        }
    }
}

TEST_F(Loop, LeftRightAndSpaceTurnTheSelectedRow) {
    Run({terminal.Key(KEY_LEFT), terminal.Key(KEY_RIGHT), terminal.Keys(kDown), terminal.Keys(" "),
         terminal.Keys(kEscapeKey)});
    EXPECT_EQ(log, (Texts{"turn 1", "turn 1", "turn 11"}));
}

TEST_F(Loop, AnInformationRowDoesNothing) {
    screen.add_rows = [](Menu& menu) {
        menu.AddInformation("to read", 7);
        menu.AddItem("other", 8);
    };
    Run({terminal.Key(KEY_HOME), terminal.Keys("\r"), terminal.Keys(kEscapeKey)});
    EXPECT_EQ(log, Texts{});
}

TEST_F(Loop, TheSelectionKeepsItsIndexWhenRowsAreRebuilt) {
    next = Next::Rebuild;
    Run({terminal.Keys(kDown),
         [&] {
             names = {"x", "a"};
             terminal.Type("\r");
         },
         SeeAndType({"First", "[x]", "of x", "a", "of a", "Leave"}, kEscapeKey)});
}

TEST_F(Loop, IfTheLastRowsAreGoneTheNewLastRowIsSelected) {
    names = {"a", "b", "c"};
    Run({terminal.Keys("l"), terminal.Keys(kUp),
         [&] {
             next = Next::Rebuild;
             names = {};
             terminal.Type("\r");
         },
         SeeAndType({"First", "[Leave]"}, kEscapeKey)});
}

TEST_F(Loop, AfterRowsAreGoneAsManyAsFitAreShown) {
    for (char name = 'b'; name <= 'n'; ++name)
        names.emplace_back(1, name);
    Run({terminal.Keys("l"), terminal.Keys(kUp),
         [&] {
             EXPECT_EQ(OnScreen().front(), "f");
             next = Next::Rebuild;
             names.resize(2);
             terminal.Type("\r");
         },
         SeeAndType({"First", "a", "of a", "b", "of b", "[Leave]"}, kEscapeKey)});
}

TEST_F(Loop, AdaptsToANewSize) {
    names = {"a", "b"};
    Run({terminal.Keys("l"), [&] { terminal.Resize(8, 40); },
         [&] {
             EXPECT_EQ(OnScreen(), (Texts{"b", "of b", "[Leave]"}));
             EXPECT_EQ(terminal.Line(2), "of two lines");
             terminal.Resize(24, 80);
         },
         SeeAndType({"First", "a", "of a", "b", "of b", "[Leave]"}, kEscapeKey)});
    EXPECT_EQ(builds, 1);
}

TEST_F(Loop, AClickOnTheSelectedRowActivatesIt) {
    Run({[&] { terminal.Mouse(5, 6, BUTTON1_CLICKED); },
         [&] { terminal.Mouse(5, 6, BUTTON1_CLICKED); }, terminal.Keys(kEscapeKey)});
    EXPECT_EQ(log, Texts{"act 11"});
}

TEST_F(Loop, ShowsTheHelpOfTheSelectedRow) {
    screen.layout = Layout::Help;
    Run({[&] {
             EXPECT_EQ(terminal.Line(19), "    help of one");
             EXPECT_EQ(terminal.Line(20), "    and two");
             terminal.Type(kDown);
         },
         [&] {
             EXPECT_EQ(terminal.Line(19) + terminal.Line(20), "");
             terminal.Type(kUp);
         },
         [&] {
             EXPECT_EQ(terminal.Line(19), "    help of one");
             terminal.Type(kEscapeKey);
         }});
}

TEST_F(Loop, ATableRunsAsAScreen) {
    State state;
    const auto looked = [](State& each) { each.log.emplace_back("look"); };
    const auto title = [](const State& each) { return TitleLines{"For " + each.word}; };
    terminal.Play({[&] {
                       EXPECT_EQ(terminal.Line(2), "For Start");
                       state.word = "Stop";
                       terminal.Type("t");
                   },
                   terminal.Keys(" "),
                   [&] {
                       EXPECT_EQ(terminal.Line(2), "For Stop");
                       EXPECT_EQ(terminal.Line(5), "    Stop it");
                       terminal.Type("s\r");
                   },
                   terminal.Keys("l\r")});
    RunScreen<State>({.rows = kRows, .title = title, .look = looked}, state);
    EXPECT_EQ(state.log, (Texts{"look", "turn", "look", "stay"}));
}

// ---- live facts ----

// Facts that the test supplies, through a pipe that the loop waits for.
class LiveLoop : public Loop {
  protected:
    LiveLoop() {
        if (pipe2(pipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) std::abort();
        screen.facts = &facts;
    }
    ~LiveLoop() override {
        close(pipe[0]);
        close(pipe[1]);
    }

    void Answer(Known known, bool late = false) {
        answers.known = known;
        answers.late = late;
        [[maybe_unused]] const ssize_t written = write(pipe[1], ".", 1);
    }

    // The first answer of the next round.
    void Ask() {
        log.emplace_back("ask");
        Answer(at_first);
    }

    Answers Take() {
        char byte = 0;
        while (read(pipe[0], &byte, 1) == 1) {
        }
        const Answers taken = answers;
        answers.late = false;
        return taken;
    }

    std::array<int, 2> pipe = {-1, -1};
    Answers answers;
    Known at_first = Known::Nothing;
    LiveFacts facts = {.forget = [this] { log.emplace_back("forget"); },
                       .ask = [this] { Ask(); },
                       .take = [this](double) { return Take(); },
                       .ask_kernel = [this] { log.emplace_back("kernel"); },
                       .stop = [this] { log.emplace_back("stop"); },
                       .await =
                           [this](Wake& wake) {
                               wake.answers.push_back({pipe[0], POLLIN, 0});
                           }};
};

const Texts kWhole = {"[First]", "a", "of a", "Leave"};

constexpr double kPatience = 0.5;
constexpr double kLongPatience = 5;
constexpr double kRound = 5;
constexpr double kAMoment = 0.01;

void LetPass(double seconds) {
    PlayedScreen::Pass(seconds);
}

TEST_F(LiveLoop, TheFirstRowsAreHeldBackUntilComplete) {
    Run({[&] {
             EXPECT_EQ(builds, 0);
             Answer(Known::Part);
         },
         [&] {
             EXPECT_EQ(builds, 0);
             EXPECT_EQ(OnScreen(), Texts{});
             Answer(Known::All);
         },
         SeeAndType(kWhole, kEscapeKey)});
    EXPECT_EQ(builds, 1);
    EXPECT_EQ(paints, 1);
    EXPECT_EQ(log, (Texts{"forget", "ask", "stop"}));
}

TEST_F(LiveLoop, FactsKnownAtOnceAreShownAtOnce) {
    at_first = Known::All;
    Run({SeeAndType(kWhole, kEscapeKey)});
    EXPECT_EQ(paints, 1);
}

TEST_F(LiveLoop, RowsAreHeldBackForHalfASecondAfterNews) {
    Run({[&] {
             LetPass(kPatience - kAMoment);
             Answer(Known::Part);
         },
         [&] {
             EXPECT_EQ(builds, 0);
             LetPass(kPatience - 2 * kAMoment);
             Answer(Known::Part);
         },
         [&] {
             EXPECT_EQ(builds, 0) << "rows must still be held back";
             LetPass(3 * kAMoment);
         },
         SeeAndType(kWhole, kEscapeKey)});
}

TEST_F(LiveLoop, RowsAreShownEvenWithoutAnAnswer) {
    Run({[&] { LetPass(kPatience); }, SeeAndType(kWhole, kEscapeKey)});
    EXPECT_EQ(builds, 1);
}

TEST_F(LiveLoop, LaterFactsAreShownAndTheSelectionFollows) {
    names = {};
    Run({[&] { LetPass(kPatience); }, SeeAndType({"[First]", "Leave"}, kDown),
         [&] {
             EXPECT_EQ(OnScreen(), (Texts{"First", "[Leave]"}));
             names = {"a"};
             Answer(Known::Part);
         },
         [&] {
             EXPECT_EQ(OnScreen(), (Texts{"First", "a", "of a", "[Leave]"}));
             names = {"a", "b"};
             Answer(Known::All);
         },
         SeeAndType({"First", "a", "of a", "b", "of b", "[Leave]"}, kEscapeKey)});
}

// ---- keys before the first rows ----

TEST_F(LiveLoop, KeysTypedAheadWaitForTheFirstRows) {
    Run({[&] {
             terminal.Type(kDown);
             terminal.Type("\r");
             LetPass(kPatience + kAMoment);
             Answer(Known::Nothing);
         },
         [&] {
             EXPECT_EQ(builds, 0) << "a key must wait for the rows it was typed for";
             LetPass(kLongPatience - kPatience - 3 * kAMoment);
             Answer(Known::Nothing);
         },
         [&] {
             EXPECT_EQ(builds, 0);
             Answer(Known::All);
         },
         terminal.Keys(kEscapeKey)});
    EXPECT_EQ(log, (Texts{"forget", "ask", "stop", "act 11", "stop"}));
}

TEST_F(LiveLoop, KeysTypedAheadAreDroppedAfterFiveSeconds) {
    Run({[&] {
             terminal.Type("l\r");
             LetPass(kLongPatience);
         },
         SeeAndType(kWhole, kEscapeKey)});
    EXPECT_EQ(builds_at_act, 0) << "nothing may be done";
}

TEST_F(LiveLoop, MouseMovementsAreNotKeysTypedAhead) {
    Run({[&] {
             terminal.Mouse(5, 6, REPORT_MOUSE_POSITION);
             LetPass(kPatience + kAMoment);
         },
         SeeAndType(kWhole, kEscapeKey)});
}

// ---- rows held back after an action ----

TEST_F(LiveLoop, AfterAnActionRowsAreHeldBackUntilComplete) {
    at_first = Known::All;
    next = Next::Rebuild;
    Run({[&] {
             at_first = Known::Nothing;
             terminal.Type("\r");
         },
         [&] {
             EXPECT_EQ(builds, 1);
             names = {"b"};
             Answer(Known::All);
         },
         SeeAndType({"[First]", "b", "of b", "Leave"}, kEscapeKey)});
    EXPECT_EQ(log, (Texts{"forget", "ask", "stop", "act 1", "forget", "ask", "stop"}));
    EXPECT_EQ(paints, 2);
}

TEST_F(LiveLoop, AKeyDoesNotWaitForHeldBackRows) {
    at_first = Known::All;
    next = Next::Rebuild;
    Run({[&] {
             at_first = Known::Nothing;
             terminal.Type("\r");
         },
         [&] {
             names = {};
             terminal.Type("l");
         },
         SeeAndType({"First", "[Leave]"}, kEscapeKey)});
}

TEST_F(LiveLoop, AnActionWhileRowsAreHeldBackAsksAgain) {
    at_first = Known::All;
    next = Next::Rebuild;
    Run({[&] {
             at_first = Known::Nothing;
             terminal.Type("\r");
         },
         terminal.Keys("\r"), [&] { Answer(Known::All); }, SeeAndType(kWhole, kEscapeKey)});
    EXPECT_EQ(log, (Texts{"forget", "ask", "stop", "act 1", "forget", "ask", "stop", "act 1",
                          "forget", "ask", "stop"}));
    EXPECT_EQ(paints, 2);
}

TEST_F(LiveLoop, MovingTheMouseDoesNotShowHeldBackRows) {
    at_first = Known::All;
    next = Next::Rebuild;
    Run({[&] {
             at_first = Known::Nothing;
             terminal.Type("\r");
         },
         [&] { terminal.Mouse(5, 6, REPORT_MOUSE_POSITION); },
         [&] {
             EXPECT_EQ(builds, 1);
             terminal.Mouse(5, 6, BUTTON1_PRESSED);
         },
         SeeAndType({"First", "[a]", "of a", "Leave"}, kEscapeKey)});
    EXPECT_EQ(builds, 2);
}

TEST_F(LiveLoop, TheRoundEndsBeforeAnActionRuns) {
    at_first = Known::All;
    Run({[&] {
             LetPass(kRound);
             at_first = Known::Part;
         },
         terminal.Keys("\r"), terminal.Keys(kEscapeKey)});
    EXPECT_EQ(log, (Texts{"forget", "ask", "ask", "stop", "act 1", "kernel", "ask", "stop"}))
        << "facts being gathered must be asked for again";
}

TEST_F(LiveLoop, OldFactsNeedMoreThanARepaint) {
    at_first = Known::All;
    next = Next::Paint;
    Run({terminal.Keys("\r"), terminal.Keys(kEscapeKey)});
    EXPECT_EQ(log, (Texts{"forget", "ask", "stop", "act 1", "stop"}));
    log.clear();
    screen.act = [&](int) {
        LetPass(kRound);
        return Next::Paint;
    };
    Run({terminal.Keys("\r"), terminal.Keys(kEscapeKey)});
    EXPECT_EQ(log, (Texts{"forget", "ask", "stop", "forget", "ask", "stop"}));
}

// ---- rounds ----

TEST_F(LiveLoop, ARoundStartsEveryFiveSecondsAndShowsCompleteFacts) {
    at_first = Known::All;
    Run({[&] {
             at_first = Known::Nothing;
             LetPass(kRound - kAMoment);
             terminal.Type("x");
         },
         [&] {
             EXPECT_EQ(log, (Texts{"forget", "ask"}));
             LetPass(2 * kAMoment);
         },
         [&] {
             EXPECT_EQ(log, (Texts{"forget", "ask", "ask"}));
             names = {"b"};
             Answer(Known::Part);
         },
         [&] {
             EXPECT_EQ(OnScreen(), kWhole);
             Answer(Known::All);
         },
         SeeAndType({"[First]", "b", "of b", "Leave"}, kEscapeKey)});
    EXPECT_EQ(paints, 2);
}

TEST_F(LiveLoop, AnActionDoesNotDelayTheNextRound) {
    at_first = Known::All;
    next = Next::Rebuild;
    Run({[&] {
             LetPass(kRound - 1);
             terminal.Type("\r");
         },
         [&] {
             EXPECT_EQ(log, (Texts{"forget", "ask", "stop", "act 1", "forget", "ask"}));
             LetPass(1);
             terminal.Type("x");
         },
         [&] {
             EXPECT_EQ(log.size(), 7u);
             EXPECT_EQ(log.back(), "ask");
             terminal.Type(kEscapeKey);
         }});
}

TEST_F(LiveLoop, AtTheEndOfARoundTheKernelIsAsked) {
    at_first = Known::All;
    Run({[&] {
             at_first = Known::Part;
             LetPass(kRound);
         },
         [&] {
             names = {"b"};
             LetPass(kRound);
         },
         SeeAndType({"[First]", "b", "of b", "Leave"}, kEscapeKey)});
    EXPECT_EQ(log, (Texts{"forget", "ask", "ask", "kernel", "ask", "stop"}));
}

TEST_F(LiveLoop, ALateAnswerIsShown) {
    at_first = Known::All;
    Run({[&] {
             names = {"b"};
             Answer(Known::All, true);
         },
         SeeAndType({"[First]", "b", "of b", "Leave"}, kEscapeKey)});
    EXPECT_EQ(builds, 2);
}

TEST_F(LiveLoop, AWaitingKeyIsHandledBeforeNewRowsAreShown) {
    at_first = Known::All;
    Run({[&] {
             at_first = Known::Nothing;
             LetPass(kRound);
         },
         terminal.Keys(kDown),
         [&] {
             names = {"x", "y"};
             terminal.Type("?\r");
             Answer(Known::All);
         },
         [&] {
             EXPECT_EQ(OnScreen().at(1), "[x]");
             terminal.Type(kEscapeKey);
         }});
    EXPECT_EQ(builds_at_act, 1);
    EXPECT_EQ(builds, 2);
}

TEST_F(LiveLoop, TheSelectionKeepsItsIndexOrFollowsItsRow) {
    for (bool follows : {false, true}) {
        at_first = Known::All;
        screen.follows_rows = follows;
        names = {"a"};
        Run({terminal.Keys(kDown),
             [&] {
                 names = {"x", "a"};
                 LetPass(kRound);
             },
             [&] {
                 EXPECT_EQ(OnScreen().at(follows ? 3 : 1), follows ? "[a]" : "[x]");
                 terminal.Type(kEscapeKey);
             }});
    }
}

}  // namespace
