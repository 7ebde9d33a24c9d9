// The dialogs as they reach the terminal, opened from the main menu: the question before an action,
// and the box for typing a text. Their keys are tested in tests/ui/dialogs_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "main_menu_test.h"

namespace harness {
namespace {

// ---- the question ----

class Question : public testing::Test {
  protected:
    Question() { box.StandIn(kNetworkScript); }

    Machine box;
};

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
    EXPECT_EQ(t.Style(4), t.Style(2));
    EXPECT_FALSE(t.CursorVisible());
    EXPECT_EQ(t.CursorRow(), 0);
    EXPECT_EQ(t.CursorCol(), static_cast<int>(screen[0].size()));
    // It reappears when the terminal has room again, and still waits for an answer.
    for (const auto& [lines, columns] : {std::pair{1, 1}, {2, 80}, {24, 3}, {43, 132}}) {
        t.Resize(lines, columns);
        t.Settle();
        t.Resize(24, 80);
        t.WaitUntil([&] { return t.Screen() == screen; }, "the whole question");
    }
    EXPECT_TRUE(box.Calls().empty());
    t.Press("y");
    box.WaitForCalls(kNetworkScript, 1);
    WaitForMainMenu(t);
    t.WaitSelected("Bring down all interfaces");
}

TEST_F(Question, AClickOrADoubleClickAnswersOnce) {
    MainMenu t(box);
    OpenQuestion(t);
    t.Click(2, 5);
    box.WaitForCalls(kNetworkScript, 1);
    WaitForMainMenu(t);
    OpenQuestion(t);
    t.DoubleClick(2, 79);
    box.WaitForCalls(kNetworkScript, 2);
    WaitForMainMenu(t);
    for (const int column : {5, 79}) {
        OpenQuestion(t);
        t.DoubleClick(4, column);
        WaitForMainMenu(t);
    }
    EXPECT_EQ(box.Calls().size(), 2u);
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

// Waits until the entry line, from column 2 on and without trailing blanks, is this text.
void WaitForEntry(Terminal& t, const std::string& text, int cursor_column,
                  Place place = Place::current()) {
    const int line = (t.rows() - 6) / 2 + 4;  // the prompt has two lines
    const auto shown = [&] {
        std::string entry;
        for (int column = 2; column < t.cols() - 2; column++)
            entry += t.Cell(line, column).text;
        entry.erase(entry.find_last_not_of(' ') + 1);
        return entry == text && t.CursorRow() == line && t.CursorCol() == cursor_column;
    };
    t.WaitUntil(
        shown,
        "the entry \"" + text + "\" with the cursor in column " + std::to_string(cursor_column),
        Terminal::kPatience, place);
}

// The style of an entry bar with so many columns of text on a terminal of 80.
std::string BarStyle(int text_columns) {
    return "0-1 white/black; 2-" + std::to_string(text_columns + 1) +
           " white/blue bold underline; " + std::to_string(text_columns + 2) +
           "-77 white/blue underline; 78-79 white/black";
}

TEST(TextBox, CoversTheMiddleOfTheScreen) {
    Machine box;
    for (const auto& [rows, cols, top] :
         {std::tuple(24, 80, 9), {25, 80, 9}, {43, 132, 18}, {6, 80, 0}}) {
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
        EXPECT_EQ(t.CursorRow(), top + 4);
        EXPECT_EQ(t.CursorCol(), 2 + 9);
        EXPECT_TRUE(t.CursorVisible());
        // What the box does not cover stays visible.
        for (const std::string row : {"Tavrin 4 Network", "    Bring up all interfaces"})
            EXPECT_EQ(t.Shows(row), top > 0) << row;
        t.Press("<Esc>");
        t.WaitForGone(kHint);
        EXPECT_FALSE(t.CursorVisible());
    }
}

TEST(TextBox, HasABoldPromptAndAnUnderlinedEntryBar) {
    Machine box;
    MainMenu t(box);
    OpenTextBox(t);
    for (const int line : {9, 12, 14})
        EXPECT_EQ(t.Style(line), "0-79 white/black");
    EXPECT_EQ(t.Style(10), "0-1 white/black; 2-23 white/black bold; 24-79 white/black");
    EXPECT_EQ(t.Style(11), "0-1 white/black; 2-59 white/black bold; 60-79 white/black");
    EXPECT_EQ(t.Style(13), BarStyle(9));
    t.Press("ab<Left><Left><Left><Delete>");
    WaitForEntry(t, "appliancab", 10);
    EXPECT_EQ(t.Style(13), BarStyle(10));
}

TEST(TextBox, AcceptsTextBeyondAscii) {
    Machine box;
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
    EXPECT_EQ(t.Style(13), BarStyle(6));
    t.Press("<Enter>");
    t.WaitFor("for 'Bßhéne'");
    EXPECT_EQ(box.Sh("uname -n"), "Bßhéne\n");
    EXPECT_EQ(box.Read("/etc/hostname"), "Bßhéne\n");
}

// The real keys of a click and of keypad ENTER, which neither accept the entry nor change it.
TEST(TextBox, OtherKeysChangeNothing) {
    Machine box;
    MainMenu t(box);
    OpenTextBox(t);
    t.SendBytes("\x1bOM\x1b[1;5D");  // keypad ENTER, Ctrl-Left
    t.Click(13, 4);
    WaitOutClick(t);
    t.Press("Z");
    WaitForEntry(t, "applianceZ", 12);
}

}  // namespace
}  // namespace harness
