#include "ui/dialogs.h"

#include <gtest/gtest.h>

#include <vector>

#include "ui/played_screen.h"
#include "ui/terminal.h"
#include "util/locale_fixtures.h"
#include "util/memory_fixtures.h"

namespace {

constexpr std::string_view kEscapeKey = "\x1b";
constexpr std::string_view kUnknownSequence = "\x1b[1;99P";
constexpr std::string_view kHome = "\x1bOH";

class Dialog : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(screen.IsReady()); }
    void TearDown() override {
        EXPECT_TRUE(screen.IsPlayed()) << "the dialog ended too early";
        EXPECT_EQ(curs_set(0), 0) << "the cursor must be hidden";
    }

    // A line of the box, without its border.
    [[nodiscard]] static std::string InBox(int line) {
        std::string text = PlayedScreen::Line(line).substr(2);
        text.resize(std::min(text.find_last_not_of("x ") + 1, text.size()));
        return text;
    }

    PlayedScreen screen;
};

// ---- questions ----

class Question : public Dialog {};

TEST_F(Question, AcceptsTheAnsweringKeys) {
    struct {
        std::string_view keys;
        bool answer;
    } const kCases[] = {{"y", true},  {"Y", true},   {"n", false},    {"N", false},
                        {"q", false}, {"\b", false}, {"\x7f", false}, {kEscapeKey, false}};
    for (const auto& row : kCases) {
        screen.Play({screen.Keys(row.keys)});
        EXPECT_EQ(AskYesNo(), row.answer) << testing::PrintToString(row.keys);
        EXPECT_TRUE(screen.IsPlayed());
    }
    screen.Play({screen.Key(KEY_BACKSPACE)});
    EXPECT_FALSE(AskYesNo());
}

TEST_F(Question, IgnoresAllOtherKeys) {
    std::vector<Step> steps;
    for (std::string_view keys : {std::string_view("\r"), std::string_view("\n"),
                                  std::string_view(" x0Q1\t"), kUnknownSequence})
        steps.push_back(screen.Keys(keys));
    for (int key : {KEY_UP, KEY_DOWN, KEY_LEFT, KEY_RIGHT, KEY_HOME, KEY_END, KEY_PPAGE, KEY_NPAGE,
                    KEY_ENTER, KEY_DC, KEY_IC, KEY_F(1), KEY_F(10), 1})
        steps.push_back(screen.Key(key));
    steps.push_back(screen.Keys("y"));
    screen.Play(steps);
    EXPECT_TRUE(AskYesNo());
}

TEST_F(Question, IsAskedAtTheCursor) {
    move(7, 3);
    screen.Play({[&] {
        EXPECT_EQ(screen.Line(7), "   Remove it?");
        screen.Type("y");
    }});
    AskYesNo("Remove it?");
    EXPECT_EQ(screen.Line(7), "   Remove it?") << "repainting is up to the caller";
    move(9, 0);
    screen.Play({screen.Keys("y")});
    AskYesNo();
    EXPECT_EQ(screen.Line(9), "Are you sure? [y/n]");
}

TEST_F(Question, OnABlankScreenIsAtTheTop) {
    PlayedScreen::Fill('#');
    screen.Play({screen.Keys("y")});
    EXPECT_TRUE(AskYesNoOnBlankScreen("Remove it?"));
    EXPECT_EQ(screen.Line(0), "Remove it?");
    for (int line : {1, 3, 5, 23})
        EXPECT_EQ(screen.Line(line), "") << line;
}

TEST_F(Question, HasAButtonForEachAnswer) {
    struct {
        int line, column;
        mmask_t buttons;
        bool answer;
    } const kCases[] = {
        {2, 3, BUTTON1_CLICKED, true},        {4, 3, BUTTON1_CLICKED, false},
        {2, 79, BUTTON1_CLICKED, true},       {4, 0, BUTTON1_CLICKED, false},
        {2, 3, BUTTON1_DOUBLE_CLICKED, true},
    };
    for (const auto& row : kCases) {
        screen.Play({[&] {
            EXPECT_EQ(screen.Line(2), "  [ YES  ]");
            EXPECT_EQ(screen.Line(4), "  [  NO  ]");
            screen.Mouse(row.line, row.column, row.buttons);
        }});
        EXPECT_EQ(AskYesNoOnBlankScreen(), row.answer) << row.line << " " << row.column;
    }
}

TEST_F(Question, IgnoresOtherMouseEvents) {
    screen.Play(
        {[&] { screen.Mouse(3, 3, BUTTON1_CLICKED); }, [&] { screen.Mouse(1, 3, BUTTON1_CLICKED); },
         [&] { screen.Mouse(2, 3, BUTTON1_PRESSED); }, [&] { screen.Mouse(2, 3, BUTTON3_CLICKED); },
         [&] { screen.Mouse(4, 3, REPORT_MOUSE_POSITION); }, screen.Keys("y")});
    EXPECT_TRUE(AskYesNoOnBlankScreen());
}

TEST_F(Question, StaysVisibleWhenTheSizeChanges) {
    move(20, 0);
    screen.Play({[&] { screen.Resize(10, 30); },
                 [&] {
                     EXPECT_EQ(screen.Line(0), "Remove it?");
                     EXPECT_EQ(screen.Line(2), "  [ YES  ]");
                     screen.Type("y");
                 }});
    EXPECT_TRUE(AskYesNo("Remove it?"));
}

TEST(QuestionWithoutAMouse, HasNoButtons) {
    PlayedScreen screen("vt100");
    screen.Play({[&] {
        EXPECT_EQ(screen.Line(0), "Are you sure? [y/n]");
        EXPECT_EQ(screen.Line(2) + screen.Line(4), "");
        screen.Type("y");
    }});
    EXPECT_TRUE(AskYesNoOnBlankScreen());
}

// ---- a line of text ----

// A box with a one-line prompt, on 24 lines.
constexpr int kPromptLine = 10;
constexpr int kEntryLine = 12;

class TextBox : public Dialog {
  protected:
    // The value after these keys, one step each; "(cancelled)" if the dialog was cancelled.
    std::string Typed(std::string value, const std::vector<std::string_view>& keys) {
        std::vector<Step> steps;
        for (std::string_view each : keys)
            steps.push_back(screen.Keys(each));
        screen.Play(steps);
        return PromptText("Name", value) ? value : "(cancelled) " + value;
    }
};

TEST_F(TextBox, ShowsThePromptAndTheValueWithTheCursor) {
    std::string value = "tavrin";
    screen.Play({[&] {
        EXPECT_EQ(InBox(kPromptLine), "Name [ESC to cancel]");
        EXPECT_EQ(InBox(kEntryLine), "tavrin");
        EXPECT_EQ(curs_set(1), 1);
        screen.Type("\r");
    }});
    EXPECT_TRUE(PromptText("Name", value));
    EXPECT_EQ(value, "tavrin");
}

TEST_F(TextBox, HasALineForEachLineOfThePrompt) {
    std::string value;
    screen.Play({[&] {
                     EXPECT_EQ(InBox(9), "One?");
                     EXPECT_EQ(InBox(10), "");
                     EXPECT_EQ(InBox(11), "three [ESC to cancel]");
                     EXPECT_EQ(InBox(12), "");
                     screen.Type("v");
                 },
                 [&] {
                     EXPECT_EQ(InBox(13), "v");
                     screen.Type("\r");
                 }});
    EXPECT_TRUE(PromptText("One?\n\nthree", value));
    EXPECT_EQ(value, "v");
}

TEST_F(TextBox, EnterStoresTheTrimmedText) {
    EXPECT_EQ(Typed("", {"a b", "\r"}), "a b");
    EXPECT_EQ(Typed("", {"q?*[]{}'\"\\$`;&|", "\r"}), "q?*[]{}'\"\\$`;&|");
    EXPECT_EQ(Typed("", {"  a  ", "\n"}), "a");
    EXPECT_EQ(Typed("old", {"\r"}), "old");
    EXPECT_EQ(Typed(" old ", {"\r"}), "old");
    EXPECT_EQ(Typed("old", {"er", "\r"}), "older");
}

TEST_F(TextBox, BlanksBeforeTheValueAreNotShown) {
    std::string value = "  old";
    screen.Play({[&] {
        EXPECT_EQ(InBox(kEntryLine), "old");
        screen.Type("\r");
    }});
    EXPECT_TRUE(PromptText("Name", value));
    EXPECT_EQ(value, "old");
}

TEST_F(TextBox, EscapeKeepsTheValue) {
    EXPECT_EQ(Typed("old", {"er", kEscapeKey}), "(cancelled) old");
}

TEST_F(TextBox, HandlesTheEditingKeys) {
    struct {
        std::vector<int> keys;
        const char* value;
    } const kCases[] = {
        {{'x'}, "abcx"},
        {{KEY_LEFT, 'x'}, "abxc"},
        {{KEY_LEFT, KEY_LEFT, KEY_RIGHT, 'x'}, "abxc"},
        {{KEY_HOME, 'x'}, "xabc"},
        {{KEY_HOME, KEY_END, 'x'}, "abcx"},
        {{KEY_HOME, KEY_DC}, "bc"},
        {{KEY_BACKSPACE}, "ab"},
        {{127}, "ab"},
        {{8}, "ab"},
        {{KEY_LEFT, KEY_BACKSPACE}, "ac"},
        // The step to the left fails, and the deletion after it removes the first character.
        {{KEY_HOME, KEY_BACKSPACE}, "bc"},
        {{KEY_LEFT, KEY_DC}, "ab"},
        {{KEY_DC}, "abc"},
        {{KEY_HOME, KEY_RIGHT, 'x', ' ', 'y'}, "ax ybc"},
        {{KEY_LEFT, KEY_UP, KEY_DOWN, KEY_PPAGE, KEY_NPAGE, KEY_IC, '\t', KEY_F(1), KEY_F(12), 'x'},
         "abxc"},
        {{KEY_ENTER, KEY_MOUSE, 1, 7, 21, 23, 24, 'x'}, "abcx"},
    };
    for (const auto& row : kCases) {
        std::vector<Step> steps;
        for (int key : row.keys)
            steps.push_back(screen.Key(key));
        steps.push_back(screen.Keys("\r"));
        screen.Play(steps);
        std::string value = "abc";
        EXPECT_TRUE(PromptText("Name", value));
        EXPECT_EQ(value, row.value) << testing::PrintToString(row.keys);
    }
}

TEST_F(TextBox, UnknownKeysTypeNothing) {
    EXPECT_EQ(Typed("abc", {kUnknownSequence, "\r"}), "abc");
}

TEST_F(TextBox, HoldsOnlyWhatFits) {
    EXPECT_EQ(Typed(std::string(80, 'a'), {"\r"}), std::string(76, 'a'));
    EXPECT_EQ(Typed(std::string(75, 'a'), {"bc", "\r"}), std::string(75, 'a') + "b");
    EXPECT_EQ(Typed(std::string(75, 'a'), {kHome, "bc", "\r"}), "b" + std::string(75, 'a'))
        << "nothing is pushed out of the entry";
}

TEST_F(TextBox, StartsWithAtMost254Bytes) {
    resizeterm(24, 300);
    flushinp();
    EXPECT_EQ(Typed(std::string(260, 'a'), {"\r"}), std::string(254, 'a'));
}

TEST_F(TextBox, AcceptsCharactersOfSeveralBytes) {
    const Characters utf8("C.UTF-8");
    ASSERT_TRUE(utf8.available);
    EXPECT_EQ(Typed("", {"caf", "\xc3\xa9", "s", "\r"}), "caf\xc3\xa9s");
    EXPECT_EQ(Typed("", {"\xe6", "\x97", "\xa5", "x", "\r"}), "\xe6\x97\xa5x")
        << "characters may arrive byte by byte";
    EXPECT_EQ(Typed("", {"\xc3", "x", "\r"}), "x") << "an incomplete character is dropped";
    EXPECT_EQ(Typed("", {"\xff", "x", "\r"}), "x");
}

TEST_F(TextBox, KeepsUnprintableBytesUntilTheEntryIsEdited) {
    const std::string value = "a\x1b[2J\xff";
    screen.Play({[&] {
        EXPECT_EQ(InBox(kEntryLine), "a?[2J?");
        screen.Type("\r");
    }});
    std::string kept = value;
    EXPECT_TRUE(PromptText("Name", kept));
    EXPECT_EQ(kept, value);
    EXPECT_EQ(Typed(value, {"x", "\r"}), "a?[2J?x");
}

TEST_F(TextBox, AdaptsToANewSize) {
    std::string value = "tavrin";
    PlayedScreen::Fill('#');
    screen.Play({screen.Keys("-studio"), screen.Key(KEY_LEFT), [&] { screen.Resize(12, 40); },
                 [&] {
                     EXPECT_EQ(InBox(4), "Name [ESC to cancel]");
                     EXPECT_EQ(InBox(6), "tavrin-studio");
                     EXPECT_EQ(screen.Line(0), "");
                     screen.Type("x");
                 },
                 [&] { screen.Resize(24, 10); }, [&] { screen.Resize(24, 80); },
                 screen.Keys("\r")});
    EXPECT_TRUE(PromptText("Name", value));
    EXPECT_EQ(value, "tavrin-studixo");
    screen.Play({screen.Key(KEY_HOME), [&] { screen.Resize(12, 40); }, screen.Keys("a "),
                 screen.Keys("\r")});
    EXPECT_TRUE(PromptText("Name", value));
    EXPECT_EQ(value, "a tavrin-studixo");
}

TEST_F(TextBox, OnATerminalThatIsTooSmallAnyKeyCancels) {
    resizeterm(5, 80);
    flushinp();
    EXPECT_EQ(Typed("old", {"er", "\r"}), "older");
    resizeterm(4, 80);
    flushinp();
    for (std::string_view key : {std::string_view("x"), std::string_view("\r"), kUnknownSequence})
        EXPECT_EQ(Typed("old", {key}), "(cancelled) old");
}

TEST_F(TextBox, IsKeptWhileTheTerminalIsTooSmall) {
    std::string value = "old";
    screen.Play({screen.Keys("er"), [&] { screen.Resize(4, 80); }, screen.Keys("x"),
                 screen.Keys("\r"), [&] { screen.Resize(24, 80); }, screen.Keys("!"),
                 screen.Keys("\r")});
    EXPECT_TRUE(PromptText("Name", value));
    EXPECT_EQ(value, "older!");
    screen.Play({[&] { screen.Resize(4, 80); }, screen.Keys(kEscapeKey)});
    EXPECT_FALSE(PromptText("Name", value));
    EXPECT_EQ(value, "older!");
}

TEST_F(TextBox, FormHandleKeyReportsHowTheEntryEnds) {
    FIELD* fields[] = {new_field(1, 10, 0, 0, 0, 0), nullptr};
    FORM* form = new_form(fields);
    post_form(form);
    struct {
        std::string_view keys;
        bool running, cancelled;
    } const kCases[] = {{"a", true, false}, {"\r", false, false}, {kEscapeKey, false, true}};
    for (const auto& row : kCases) {
        bool running = true;
        bool cancelled = false;
        screen.Play({screen.Keys(row.keys)});
        FormHandleKey(form, running, cancelled);
        EXPECT_EQ(running, row.running) << row.keys;
        EXPECT_EQ(cancelled, row.cancelled) << row.keys;
        if (row.running) continue;
        EXPECT_EQ(std::string(field_buffer(fields[0], 0)), "a         ");
    }
    unpost_form(form);
    free_form(form);
    free_field(fields[0]);
}

// ---- a password ----

constexpr std::string_view kPassword = "Tr0ub4dor&3";

class PasswordBox : public Dialog {
  protected:
    std::string Typed(const std::vector<std::string_view>& keys) {
        std::vector<Step> steps;
        for (std::string_view each : keys)
            steps.push_back(screen.Keys(each));
        screen.Play(steps);
        const std::optional<Secret> password = PromptPassword("Password");
        return password ? std::string(password->text()) : "(cancelled)";
    }
};

TEST_F(PasswordBox, ShowsAsterisks) {
    screen.Play({[&] {
                     EXPECT_EQ(InBox(kPromptLine), "Password [ESC to cancel]");
                     EXPECT_EQ(InBox(kEntryLine), "");
                     EXPECT_EQ(curs_set(1), 1);
                     screen.Type("secret");
                 },
                 [&] {
                     EXPECT_EQ(InBox(kEntryLine), "******");
                     screen.Type("\x7f");
                 },
                 [&] {
                     EXPECT_EQ(InBox(kEntryLine), "*****");
                     screen.Type("\r");
                 }});
    const std::optional<Secret> password = PromptPassword("Password");
    ASSERT_TRUE(password.has_value());
    EXPECT_EQ(password->text(), "secre");
}

TEST_F(PasswordBox, AcceptsPrintableAscii) {
    EXPECT_EQ(Typed({"a B~!\"\\", "\r"}), "a B~!\"\\");
    EXPECT_EQ(Typed({"  a ", "\n"}), "  a ") << "blanks are part of a password";
    EXPECT_EQ(Typed({"\r"}), "");
    EXPECT_EQ(Typed({"a\tb\xc3\xa9\x01", kUnknownSequence, "c\r"}), "abc");
    EXPECT_EQ(Typed({"abc", kEscapeKey}), "(cancelled)");
    EXPECT_EQ(Typed({"\b", "abc\b\x7f", "d\r"}), "ad");
}

TEST_F(PasswordBox, AcceptsAsManyCharactersAsFit) {
    EXPECT_EQ(Typed({std::string(80, 'a'), "\r"}), std::string(76, 'a'));
    resizeterm(24, 300);
    flushinp();
    EXPECT_EQ(Typed({std::string(260, 'a'), "\r"}), std::string(255, 'a'));
}

TEST_F(PasswordBox, AdaptsToANewSize) {
    screen.Play({screen.Keys("secret"), [&] { screen.Resize(12, 40); },
                 [&] {
                     EXPECT_EQ(InBox(4), "Password [ESC to cancel]");
                     EXPECT_EQ(InBox(6), "******");
                     screen.Resize(4, 40);
                 },
                 screen.Keys("x\r"), [&] { screen.Resize(24, 80); }, screen.Keys("!\r")});
    const std::optional<Secret> password = PromptPassword("Password");
    ASSERT_TRUE(password.has_value());
    EXPECT_EQ(password->text(), "secret!");
}

TEST_F(PasswordBox, OnATerminalThatIsTooSmallAnyKeyCancels) {
    resizeterm(4, 80);
    flushinp();
    EXPECT_EQ(Typed({"x"}), "(cancelled)");
}

TEST(PromptPassword, KeepsNoCopy) {
    for (std::string_view last : {std::string_view("\r"), kEscapeKey}) {
        EXPECT_FALSE(StaysInMemory(kPassword, [&] {
            PlayedScreen screen;
            screen.Play({screen.Keys(kOverwrittenByHeap), screen.Keys(kPassword),
                         [&] { screen.Resize(12, 40); }, screen.Keys(last)});
            const bool is_given = PromptPassword("Password").has_value();
            if (is_given != (last == "\r")) std::abort();
            raise(SIGSTOP);
        })) << last;
    }
}

}  // namespace
