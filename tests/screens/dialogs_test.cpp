// The dialogs, opened from the main menu: the question before an action, and the box for typing a
// text.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "main_menu_test.h"

namespace harness {
namespace {

// ---- the question ----

class Question : public testing::Test {
  protected:
    Question() { box.StandIn(kNetworkScript); }

    void ExpectStillAsking(Terminal& t, const std::string& after) {
        t.Settle();
        EXPECT_EQ(t.Row(0), "Are you sure? [y/n]") << "after " << after;
        EXPECT_TRUE(box.Calls().empty()) << "after " << after;
    }

    Machine box;
};

TEST_F(Question, ReappearsWhenTheTerminalHasRoomAgain) {
    MainMenu t(box);
    OpenQuestion(t);
    t.WaitFor("[  NO  ]");
    const std::vector<std::string> screen = t.Screen();
    for (const auto& [lines, columns] : {std::pair{1, 1}, {2, 80}, {24, 3}}) {
        t.Resize(lines, columns);
        t.Settle();
        t.Resize(24, 80);
        t.WaitUntil([&] { return t.Screen() == screen; }, "the whole question");
    }
    EXPECT_EQ(t.Style(2), "0-1 white/black; 2-9 white/black bold; 10-79 white/black");
    t.Press("n");
    WaitForMainMenu(t);
}

TEST_F(Question, IsAtTheTopLeftWithTwoButtonsAndNothingElse) {
    MainMenu t(box);
    OpenQuestion(t);
    t.WaitFor("[  NO  ]");
    std::vector<std::string> screen(24);
    screen[0] = "Are you sure? [y/n]";
    screen[2] = "  [ YES  ]";
    screen[4] = "  [  NO  ]";
    EXPECT_EQ(t.Screen(), screen);
    EXPECT_EQ(t.Style(0), "0-79 white/black");
    EXPECT_EQ(t.Style(2), "0-1 white/black; 2-9 white/black bold; 10-79 white/black");
    EXPECT_EQ(t.Style(4), "0-1 white/black; 2-9 white/black bold; 10-79 white/black");
    EXPECT_FALSE(t.CursorVisible());
}

TEST_F(Question, HasNoButtonsWithoutAMouse) {
    TerminalOptions options;
    options.term = "vt220";
    MainMenu t(box, options);
    OpenQuestion(t);
    ExpectStillAsking(t, "opening");
    std::vector<std::string> screen(24);
    screen[0] = "Are you sure? [y/n]";
    EXPECT_EQ(t.Screen(), screen);
    // On this terminal backspace is ^H; its delete key is not an answer.
    t.SendBytes("\x7f");
    ExpectStillAsking(t, "DEL");
    t.SendBytes("\b");
    WaitForMainMenu(t);
    EXPECT_TRUE(box.Calls().empty());
}

TEST_F(Question, YesKeysRunTheAction) {
    MainMenu t(box);
    size_t calls = 0;
    for (const char* key : {"y", "Y"}) {
        OpenQuestion(t);
        t.Press(key);
        box.WaitForCalls(kNetworkScript, ++calls);
        WaitForMainMenu(t);
    }
    EXPECT_EQ(box.Calls().size(), 2u);
}

TEST_F(Question, NoKeysRunNothing) {
    MainMenu t(box);
    for (const char* key : {"n", "N", "q", "<Esc>", "<C-h>", "<Backspace>"}) {
        OpenQuestion(t);
        t.Press(key);
        WaitForMainMenu(t);
        t.WaitSelected("Bring down all interfaces");
    }
    EXPECT_TRUE(box.Calls().empty());
}

TEST_F(Question, IgnoresOtherKeys) {
    MainMenu t(box);
    OpenQuestion(t);
    for (const char* keys :
         {"<Enter>", "<C-j>", "<Space>", "Q", "o", "e", "1", "<Tab>", "<Up><Down><Left><Right>",
          "<Home><End><PageUp><PageDown>", "<Delete><Insert>", "<F1><F10>", "<C-a>"}) {
        t.Press(keys);
        ExpectStillAsking(t, keys);
    }
    t.SendBytes("\x1bOM\x1b[1;5D");  // keypad ENTER, Ctrl-Left
    ExpectStillAsking(t, "other keys");
    t.Press("n");
    WaitForMainMenu(t);
}

struct Spot {
    int line, column;
};

TEST_F(Question, AClickAnywhereOnTheYesLineIsYes) {
    MainMenu t(box);
    size_t calls = 0;
    for (const Spot& spot : {Spot{2, 5}, Spot{2, 0}, Spot{2, 79}}) {
        OpenQuestion(t);
        t.Click(spot.line, spot.column);
        box.WaitForCalls(kNetworkScript, ++calls);
        WaitForMainMenu(t);
    }
    EXPECT_EQ(box.Calls().size(), 3u);
}

TEST_F(Question, AClickAnywhereOnTheNoLineIsNo) {
    MainMenu t(box);
    for (const Spot& spot : {Spot{4, 5}, Spot{4, 0}, Spot{4, 79}}) {
        OpenQuestion(t);
        t.Click(spot.line, spot.column);
        WaitForMainMenu(t);
    }
    EXPECT_TRUE(box.Calls().empty());
}

TEST_F(Question, ADoubleClickAnswersOnce) {
    MainMenu t(box);
    OpenQuestion(t);
    t.DoubleClick(2, 5);
    box.WaitForCalls(kNetworkScript, 1);
    WaitForMainMenu(t);
    OpenQuestion(t);
    t.DoubleClick(4, 5);
    WaitForMainMenu(t);
    EXPECT_EQ(box.Calls().size(), 1u);
}

TEST_F(Question, IgnoresOtherClicks) {
    MainMenu t(box);
    OpenQuestion(t);
    for (const Spot& spot : {Spot{0, 5}, Spot{3, 5}, Spot{5, 5}, Spot{23, 5}}) {
        t.Click(spot.line, spot.column);
        WaitOutClick(t);
        ExpectStillAsking(t, "a click on line " + std::to_string(spot.line));
    }
    t.Hover(2, 5);
    WaitOutClick(t);
    ExpectStillAsking(t, "pointing");
    t.MousePress(2, 5);
    WaitOutClick(t);
    t.MouseRelease(2, 5);
    WaitOutClick(t);
    ExpectStillAsking(t, "pressing and, later, releasing");
    t.SendBytes("\x1b[<2;6;3M\x1b[<2;6;3m");  // right button
    WaitOutClick(t);
    ExpectStillAsking(t, "a click of the right button");
    t.Press("n");
    WaitForMainMenu(t);
}

TEST_F(Question, WorksOnAnyTerminalSize) {
    MainMenu t(box, OfSize(4, 10));
    t.Press("d<Enter>");
    t.WaitFor("re? [y/n]");
    EXPECT_EQ(t.Row(0), "Are you su");
    EXPECT_EQ(t.Row(2), "  [ YES  ]");
    EXPECT_EQ(t.Row(3), "");
    t.Resize(1, 3);
    t.Press("x");
    t.Resize(24, 80);
    t.Press("xn");
    WaitForMainMenu(t);
    t.WaitSelected("Bring down all interfaces");
    EXPECT_TRUE(box.Calls().empty());
}

// ---- the text box ----

constexpr const char* kHint = " [ESC to cancel]";
constexpr const char* kFirstPromptLine = "New computer host name";
constexpr const char* kSecondPromptLine =
    "Use only letters, numbers, underscores, dashes, or periods";

void OpenTextBox(Terminal& t, Place place = Place::current()) {
    t.Press("n<Enter>", place);
    t.WaitFor(kHint, Terminal::kPatience, place);
}

std::string Repeated(const char* text, int times) {
    std::string whole;
    for (int i = 0; i < times; i++)
        whole += text;
    return whole;
}

std::string Padded(std::string text, size_t columns) {
    text.resize(std::max(columns, text.size()), ' ');
    return text;
}

// The typed text: the entry line from column 2 on, without trailing blanks.
std::string Entry(const Terminal& t, int line) {
    std::string text;
    for (int column = 2; column < t.cols() - 2; column++)
        text += t.Cell(line, column).text;
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

// The entry line of a box with a two-line prompt: four lines below the top of the box.
int EntryLine(const Terminal& t) {
    return (t.rows() - 6) / 2 + 4;
}

// The box for renaming the computer, initially named "appliance".
class TextBox : public testing::Test {
  protected:
    std::string KernelName() {
        std::string name = box.Sh("uname -n");
        name.pop_back();
        return name;
    }

    void WaitForEntry(Terminal& t, const std::string& text, int cursor_column,
                      Place place = Place::current()) {
        const int line = EntryLine(t);
        t.WaitUntil(
            [&] {
                return Entry(t, line) == text && t.CursorRow() == line &&
                       t.CursorCol() == cursor_column;
            },
            "the entry \"" + text + "\" with the cursor in column " + std::to_string(cursor_column),
            Terminal::kPatience, place);
    }

    // Opens the box, presses the keys, checks the entry, and cancels.
    void Try(Terminal& t, const std::string& keys, const std::string& text, int cursor_column,
             Place place = Place::current()) {
        OpenTextBox(t, place);
        WaitForEntry(t, "appliance", 11, place);
        t.Press(keys, place);
        WaitForEntry(t, text, cursor_column, place);
        t.Press("<Esc>", place);
        t.WaitForGone(kHint, Terminal::kPatience, place);
    }

    Machine box;
};

TEST_F(TextBox, CoversTheMiddleOfTheScreen) {
    for (const auto& [rows, cols, top] : {std::tuple(24, 80, 9), {25, 80, 9}, {43, 132, 18}}) {
        MainMenu t(box, OfSize(rows, cols));
        OpenTextBox(t);
        const size_t inside = static_cast<size_t>(cols - 2);
        const std::string bar = Repeated("─", cols - 2);
        EXPECT_EQ(t.Row(top), "┌" + bar + "┐");
        EXPECT_EQ(t.Row(top + 1), "│" + Padded(" " + std::string(kFirstPromptLine), inside) + "│");
        EXPECT_EQ(t.Row(top + 2),
                  "│" + Padded(" " + std::string(kSecondPromptLine) + kHint, inside) + "│");
        EXPECT_EQ(t.Row(top + 3), "│" + Padded("", inside) + "│");
        EXPECT_EQ(t.Row(top + 4), "│" + Padded(" appliance", inside) + "│");
        EXPECT_EQ(t.Row(top + 5), "└" + bar + "┘");
        // What the box does not cover stays visible.
        EXPECT_EQ(t.Row(1), "Tavrin 4 Network configuration utility");
        EXPECT_EQ(t.Row(kFirstLine), "    Bring up all interfaces");
        EXPECT_EQ(t.CursorRow(), top + 4);
        EXPECT_EQ(t.CursorCol(), 2 + 9);
        EXPECT_TRUE(t.CursorVisible());
        t.Press("<Esc>");
        t.WaitForGone(kHint);
        EXPECT_FALSE(t.CursorVisible());
    }
}

TEST_F(TextBox, HasABoldPromptAndAnUnderlinedEntryBar) {
    MainMenu t(box);
    OpenTextBox(t);
    EXPECT_EQ(t.Style(9), "0-79 white/black");
    EXPECT_EQ(t.Style(10), "0-1 white/black; 2-23 white/black bold; 24-79 white/black");
    EXPECT_EQ(t.Style(11), "0-1 white/black; 2-59 white/black bold; 60-79 white/black");
    EXPECT_EQ(t.Style(12), "0-79 white/black");
    EXPECT_EQ(t.Style(13),
              "0-1 white/black; 2-10 white/blue bold underline; 11-77 white/blue underline; "
              "78-79 white/black");
    EXPECT_EQ(t.Style(14), "0-79 white/black");
    t.Press("ab<Left><Left><Left><Delete>");
    WaitForEntry(t, "appliancab", 10);
    EXPECT_EQ(t.Style(13),
              "0-1 white/black; 2-11 white/blue bold underline; 12-77 white/blue underline; "
              "78-79 white/black");
}

TEST_F(TextBox, EditingKeysWork) {
    MainMenu t(box);
    Try(t, "x-Y_0.", "appliancex-Y_0.", 17);
    Try(t, "<Left><Left>X", "applianXce", 10);
    Try(t, "<Left><Left><Left><Right>X", "applianXce", 10);
    Try(t, "<Home>X", "Xappliance", 3);
    Try(t, "<Home><End>X", "applianceX", 12);
    Try(t, "<Home><Delete><Delete>", "pliance", 2);
    Try(t, "<Left><Delete>", "applianc", 10);
    Try(t, "<Delete>", "appliance", 11);
    Try(t, "<Backspace><Backspace>", "applian", 9);
    Try(t, "<Left><Backspace>", "appliane", 9);
    Try(t, "<Home><Right>a b", "aa bppliance", 6);
    Try(t, "q?*[]{}'\"\\$`;&|", "applianceq?*[]{}'\"\\$`;&|", 26);
}

// There the step to the left fails, and the deletion after it removes the first character.
TEST_F(TextBox, BackspaceAtTheStartDeletesTheFirstCharacter) {
    MainMenu t(box);
    Try(t, "<Home><Backspace>", "ppliance", 2);
}

TEST_F(TextBox, OtherKeysChangeNothing) {
    MainMenu t(box);
    Try(t, "<Left><Up><Down><PageUp><PageDown><Insert><Tab><F1><F12><C-a><C-u><C-w><C-x>Z",
        "appliancZe", 11);
    OpenTextBox(t);
    t.SendBytes("\x1bOM\x1b[1;5D");  // keypad ENTER, Ctrl-Left
    t.Click(EntryLine(t), 4);
    WaitOutClick(t);
    t.Press("Z");
    WaitForEntry(t, "applianceZ", 12);
}

TEST_F(TextBox, EnterAcceptsAndEscapeKeepsTheOldText) {
    MainMenu t(box);
    OpenTextBox(t);
    t.Press("<Home>new-<Esc>");
    t.WaitForGone(kHint);
    t.WaitFor("for 'appliance'");
    EXPECT_EQ(KernelName(), "appliance");
    EXPECT_EQ(box.Read("/etc/hostname"), "appliance\n");
    for (const char* enter : {"\r", "\n"}) {
        OpenTextBox(t);
        t.Press("<End>x");
        t.SendBytes(enter);
        t.WaitForGone(kHint);
        EXPECT_FALSE(t.CursorVisible());
    }
    t.WaitFor("for 'appliancexx'");
    EXPECT_EQ(KernelName(), "appliancexx");
    EXPECT_EQ(box.Read("/etc/hostname"), "appliancexx\n");
}

TEST_F(TextBox, AnUnchangedEntryIsAcceptedUnchanged) {
    MainMenu t(box);
    box.Write("/etc/hostname", "other\n");
    OpenTextBox(t);
    t.Press("<Enter>");
    t.WaitForGone(kHint);
    EXPECT_EQ(KernelName(), "appliance");
    EXPECT_EQ(box.Read("/etc/hostname"), "appliance\n");
}

TEST_F(TextBox, BlanksAroundTheEntryAreDropped) {
    MainMenu t(box);
    OpenTextBox(t);
    t.Press("<Home><Space><Space><End><Space><Space><Enter>");
    t.WaitForGone(kHint);
    EXPECT_EQ(KernelName(), "appliance");
    EXPECT_EQ(box.Read("/etc/hostname"), "appliance\n");
}

TEST_F(TextBox, AnEntryIsLimitedToTheBar) {
    MainMenu t(box, OfSize(24, 60));  // an entry bar of 56 columns
    OpenTextBox(t);
    const std::string full = "<" + std::string(46, '-') + "appliance";
    t.Press("<Home>");
    t.Type("<" + std::string(80, '-'));
    t.WaitUntil([&] { return Entry(t, EntryLine(t)) == full; }, "the bar full, nothing pushed out");
    t.Press("<Enter>");
    t.WaitForGone(kHint);
    EXPECT_EQ(KernelName(), full);
    EXPECT_EQ(box.Read("/etc/hostname"), full + "\n");
}

TEST_F(TextBox, AnOldTextLongerThanTheBarIsCut) {
    const std::string name = "abcdefghijklmnopqrstuvwxyz-0123456789-ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    SetHostName(box, name);
    MainMenu t(box, OfSize(24, 60));  // an entry bar of 56 columns
    OpenTextBox(t);
    t.WaitUntil([&] { return Entry(t, EntryLine(t)) == name.substr(0, 56); }, "56 characters");
    t.Press("<Enter>");
    t.WaitForGone(kHint);
    EXPECT_EQ(KernelName(), name.substr(0, 56));
}

TEST_F(TextBox, AcceptsTextBeyondAscii) {
    SetHostName(box, "Bühne");
    MainMenu t(box);
    OpenTextBox(t);
    WaitForEntry(t, "Bühne", 7);
    t.Press("<Left><Left>");
    t.Type("é箱");
    WaitForEntry(t, "Bühé箱ne", 8);
    t.Press("<Backspace><Home><Right><Delete>");
    WaitForEntry(t, "Bhéne", 3);
    t.Type("ß");
    WaitForEntry(t, "Bßhéne", 4);
    EXPECT_EQ(t.Style(13),
              "0-1 white/black; 2-7 white/blue bold underline; 8-77 white/blue underline; "
              "78-79 white/black");
    t.Press("<Enter>");
    t.WaitFor("for 'Bßhéne'");
    EXPECT_EQ(KernelName(), "Bßhéne");
    EXPECT_EQ(box.Read("/etc/hostname"), "Bßhéne\n");
}

TEST_F(TextBox, KeepsUnprintableBytesUntilTheEntryChanges) {
    const std::string latin1 = "B\xfchne\t7";
    SetHostName(box, latin1);
    MainMenu t(box);
    OpenTextBox(t);
    WaitForEntry(t, "B?hne?7", 9);
    t.Press("<Enter>");
    t.WaitForGone(kHint);
    EXPECT_EQ(KernelName(), latin1);
    EXPECT_EQ(box.Read("/etc/hostname"), latin1 + "\n");
    OpenTextBox(t);
    WaitForEntry(t, "B?hne?7", 9);
    t.Press("<Backspace>x<Enter>");
    t.WaitForGone(kHint);
    EXPECT_EQ(KernelName(), "B?hne?x");
}

// Over a slow line the bytes of a character arrive one by one.
TEST_F(TextBox, ACharacterMayArriveByteByByte) {
    MainMenu t(box);
    OpenTextBox(t);
    t.SendSlowly("ß箱", 30);
    t.Press("!");
    WaitForEntry(t, "applianceß箱!", 15);
    // An incomplete character must not swallow the next key.
    t.SendBytes("\xc3");
    t.Press("x");
    WaitForEntry(t, "applianceß箱!x", 16);
    t.SendBytes("\xff\x80");
    t.Press("<Left><Left>y");
    WaitForEntry(t, "applianceß箱y!x", 15);
}

// That key only ends the wait: it neither leaves the menu nor selects a row.
TEST_F(TextBox, WithoutRoomAnyKeyCancels) {
    MainMenu t(box, OfSize(5, 80));
    for (const char* key : {"e", "<Esc>", "<Enter>"}) {
        t.Press("n<Enter>");
        t.WaitUntil([&] { return t.CursorVisible(); }, "the wait for a key");
        t.Press(key);
        t.WaitUntil([&] { return !t.CursorVisible(); },
                    std::string("the end of the wait by ") + key);
    }
    EXPECT_EQ(KernelName(), "appliance");
    // "Change computer name" is still selected.
    t.Press("<Enter>");
    t.WaitUntil([&] { return t.CursorVisible(); }, "the wait for a key");
    t.Press("xe<Enter>");
    EXPECT_EQ(t.WaitExit(), Exited(0));
}

TEST_F(TextBox, WorksOnSixLines) {
    MainMenu t(box, OfSize(6, 80));
    OpenTextBox(t);
    EXPECT_EQ(t.Row(0), "┌" + Repeated("─", 78) + "┐");
    EXPECT_EQ(t.Row(5), "└" + Repeated("─", 78) + "┘");
    t.Press("2<Enter>");
    t.WaitFor("for 'appliance2'");
}

TEST_F(TextBox, WorksOnAFewColumns) {
    for (const int columns : {6, 5, 4, 1}) {
        Terminal t(box, OfSize(24, columns));
        t.Press("n<Enter>");
        t.WaitUntil([&] { return t.CursorVisible(); }, "the box");
        t.Press("<Esc>");
        t.WaitUntil([&] { return !t.CursorVisible(); }, "the end of the box");
        t.Press("e<Enter>");
        EXPECT_EQ(t.WaitExit(), Exited(0)) << columns;
    }
    EXPECT_EQ(KernelName(), "appliance");
}

TEST_F(TextBox, SurvivesResizing) {
    MainMenu t(box);
    OpenTextBox(t);
    t.Resize(10, 20);
    t.Press("a");
    t.Settle();
    t.Resize(3, 5);
    t.Press("b");
    t.Settle();
    t.Resize(40, 100);
    t.WaitFor(" [ESC to cancel]");
    t.Press("c<Enter>");
    WaitForMainMenu(t);
    t.WaitSelected("Change computer name");
    EXPECT_EQ(t.Style(kFirstLine + 3),
              "0-3 white/black; 4-6 white/blue bold; 7 white/black reverse; "
              "8-98 white/blue bold; 99 white/black");
    EXPECT_FALSE(t.CursorVisible());
}

TEST_F(TextBox, APromptThatWrapsOverTheEntryIsNotReadAsTheEntry) {
    MainMenu t(box, OfSize(12, 24));
    t.Press("n<Enter>");
    t.WaitUntil([&] { return t.CursorVisible(); }, "a box");
    t.Press("x<Enter>");
    t.WaitUntil([&] { return !t.CursorVisible(); }, "no box");
    EXPECT_EQ(box.Read("/etc/hostname"), "appliancex\n");
}

TEST_F(TextBox, AnEntrySurvivesATerminalThatIsTooSmall) {
    MainMenu t(box);
    OpenTextBox(t);
    t.Press("yz<Left>");
    t.Settle();
    for (const auto& [lines, columns] : {std::pair(11, 80), std::pair(10, 15), std::pair(3, 5)}) {
        t.Resize(lines, columns);
        t.Settle();
    }
    t.Resize(24, 80);
    t.WaitFor(" [ESC to cancel]");
    t.Press("x<Enter>");
    WaitForMainMenu(t);
    EXPECT_EQ(box.Read("/etc/hostname"), "applianceyxz\n");
}

}  // namespace
}  // namespace harness
