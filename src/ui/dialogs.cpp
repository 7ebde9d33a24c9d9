#include "ui/dialogs.h"

#include <curses.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <vector>

#include "ui/colours.h"
#include "ui/terminal.h"
#include "ui/text.h"
#include "util/clock.h"
#include "util/message.h"
#include "util/trim.h"

namespace {

constexpr int kBackspace = 8;
constexpr int kDelete = 127;
constexpr int kYesLine = 2;
constexpr int kNoLine = 4;
constexpr int kTextColumn = 2;
constexpr std::size_t kMostPasswordCharacters = 255;
constexpr std::size_t kMostInitialBytes = 254;
constexpr double kCharacterSeconds = 0.128;
constexpr std::string_view kCancelHint = " [ESC to cancel]";

enum class Answer { None, Yes, No };

Answer AnswerOfClick() {
    MEVENT event = {};
    if (getmouse(&event) != OK) return Answer::None;
    if ((event.bstate & (BUTTON1_CLICKED | BUTTON1_DOUBLE_CLICKED)) == 0) return Answer::None;
    if (event.y == kYesLine) return Answer::Yes;
    return event.y == kNoLine ? Answer::No : Answer::None;
}

Answer AnswerOfKey(int key) {
    switch (key) {
        case 'y':
        case 'Y':
            return Answer::Yes;
        case 'n':
        case 'N':
        case 'q':
        case kEscape:
        case kBackspace:
        case KEY_BACKSPACE:
            return Answer::No;
        case KEY_MOUSE:
            return AnswerOfClick();
        default:
            return Answer::None;
    }
}

std::vector<std::string_view> LinesOf(std::string_view prompt) {
    std::vector<std::string_view> lines;
    for (;;) {
        const std::size_t line_feed = prompt.find('\n');
        lines.push_back(prompt.substr(0, line_feed));
        if (line_feed == std::string_view::npos) return lines;
        prompt.remove_prefix(line_feed + 1);
    }
}

// The box of an entry dialog: a border, the prompt, an empty line, the entry line.
struct EntryBox {
    WINDOW* window;  // null if the terminal is too small
    int entry_line;
};

EntryBox OpenEntryBox(std::size_t prompt_lines) {
    const int n = static_cast<int>(prompt_lines);
    curs_set(1);
    return {subwin(stdscr, n + 4, COLS, (LINES - 4 - n) / 2, 0), n + 2};
}

void PaintEntryBox(WINDOW* window, const std::vector<std::string_view>& prompt) {
    wattrset(window, A_NORMAL);
    // With a single column, curses would write beyond its memory.
    if (getmaxx(window) > 1) box(window, 0, 0);
    wattrset(window, static_cast<int>(A_BOLD));
    for (std::size_t i = 0; i < prompt.size(); ++i) {
        if (wmove(window, static_cast<int>(i) + 1, kTextColumn) != ERR) {
            waddwstr(window, DisplayText(prompt[i]).c_str());
        }
    }
    wattrset(window, A_NORMAL);
    waddwstr(window, DisplayText(kCancelHint).c_str());
}

void ShowEntryBox(WINDOW* window) {
    touchwin(window);
    ShowWindow(window);
    touchwin(stdscr);
    ShowScreen();
}

// How an entry box ended.
enum class Outcome { Accepted, Cancelled, Resized };

struct TerminalSize {
    int lines = LINES;
    int columns = COLS;

    bool HasChanged() const { return lines != LINES || columns != COLS; }
};

// Shows the box until it is accepted or cancelled. After each change of the terminal's size it is
// drawn again on a blank screen, because curses moves or cuts the old cells.
template <typename ShowBox>
bool RunEntryBox(ShowBox show_box) {
    bool shown_before = false;
    Outcome outcome = show_box(shown_before);
    while (outcome == Outcome::Resized) {
        shown_before = true;
        erase();
        outcome = show_box(shown_before);
    }
    curs_set(0);
    return outcome == Outcome::Accepted;
}

// If the terminal is too small for a new box, any key cancels. If it becomes too small during an
// entry, wait for room; only ESC cancels.
Outcome WaitForRoom(bool shown_before) {
    for (;;) {
        const int key = ReadKey();
        if (key == KEY_RESIZE) return Outcome::Resized;
        if (key == kEscape || (key != ERR && !shown_before)) return Outcome::Cancelled;
    }
}

// ---- text ----

FIELD* MakeEntryField(int line) {
    FIELD* field = new_field(1, COLS - 2 * kTextColumn, line, kTextColumn, 0, 0);
    if (field == nullptr) return nullptr;
    set_field_back(field, A_UNDERLINE | PairAttribute(Colour::Selected));
    set_field_fore(field, A_BOLD);
    set_field_just(field, JUSTIFY_LEFT);
    field_opts_on(field, O_VISIBLE | O_ACTIVE | O_PUBLIC | O_EDIT);
    field_opts_off(field, O_BLANK);
    return field;
}

// What the operator edits, independent of the box that shows it.
struct TextEntry {
    std::string text;
    int cursor = -1;  // column; -1: after the text
};

// Reads the text of the field from its cells: field_buffer() allocates memory on each call, and
// crashes if there is none.
std::string FieldText(const FORM* form) {
    std::wstring cells(static_cast<std::size_t>(getmaxx(form->w)) * CCHARW_MAX, L'\0');
    mvwinnwstr(form->w, 0, 0, cells.data(), static_cast<int>(cells.size()));
    wmove(form->w, form->currow, form->curcol);
    return std::string(TrimEnd(BytesOf(cells.c_str()), kWhiteSpace));
}

void PlaceCursor(FORM* form, int column) {
    if (column < 0) {
        form_driver(form, REQ_END_FIELD);
        return;
    }
    form_driver(form, REQ_BEG_FIELD);
    while (form->curcol < column && form_driver(form, REQ_NEXT_CHAR) == E_OK) {
    }
}

// Shows the form with the entry in the window. Returns false, with no box visible, if memory is
// short.
bool ShowEntry(WINDOW* window, FORM* form, const std::vector<std::string_view>& prompt,
               const TextEntry& entry) {
    set_form_win(form, window);
    set_form_sub(form, window);
    if (post_form(form) != E_OK) return false;
    PaintEntryBox(window, prompt);
    // Only now, after the prompt: the field uses the window's cells, and text of a wrapped prompt
    // in them would be read as typed text.
    const std::string text = PrintableText(entry.text);
    if (set_field_buffer(current_field(form), 0, text.c_str()) != E_OK) {
        werase(window);
        return false;
    }
    PlaceCursor(form, entry.cursor);
    form_driver(form, REQ_INS_MODE);
    ShowEntryBox(window);
    return true;
}

// Passes keys to the form, and stores the changed entry.
Outcome EditEntry(WINDOW* window, FORM* form, TextEntry& entry) {
    const TerminalSize size;
    // Only a key changes the entry: a box too narrow for the text must not cut it.
    std::string shown = FieldText(form);
    int column = form->curcol;
    bool running = true;
    bool cancelled = false;
    while (running) {
        FormHandleKey(form, running, cancelled);
        if (size.HasChanged()) return Outcome::Resized;
        const std::string text = FieldText(form);
        // Unprintable bytes are kept until the entry changes.
        const bool is_shown_whole = PrintableText(entry.text) == entry.text;
        if (text != shown || (!running && is_shown_whole)) entry.text = shown = text;
        if (form->curcol != column) entry.cursor = column = form->curcol;
        ShowWindow(window);
    }
    return cancelled ? Outcome::Cancelled : Outcome::Accepted;
}

Outcome ShowTextBox(const std::vector<std::string_view>& prompt, TextEntry& entry,
                    bool shown_before) {
    const EntryBox box = OpenEntryBox(prompt.size());
    FIELD* fields[] = {box.window != nullptr ? MakeEntryField(box.entry_line) : nullptr, nullptr};
    FORM* form = fields[0] != nullptr ? new_form(fields) : nullptr;
    const Outcome outcome = form != nullptr && ShowEntry(box.window, form, prompt, entry)
                                ? EditEntry(box.window, form, entry)
                                : WaitForRoom(shown_before);
    unpost_form(form);
    free_form(form);
    free_field(fields[0]);
    delwin(box.window);
    return outcome;
}

// The next byte of a multi-byte character, which may arrive over a slow line; ERR if there is none.
int NextByteOfCharacter() {
    const int key = ReadKey({.until = MonotonicSeconds() + kCharacterSeconds});
    if (key >= 0x80 && key <= 0xff) return key;
    if (key != ERR) ungetch(key);
    return ERR;
}

// A byte beyond ASCII starts a multi-byte character on a UTF-8 terminal; the form accepts only
// whole characters.
void TypeCharacter(FORM* form, int key) {
    std::mbstate_t state = {};
    for (; key != ERR; key = NextByteOfCharacter()) {
        const char byte = static_cast<char>(key);
        wchar_t character = 0;
        const std::size_t length = std::mbrtowc(&character, &byte, 1, &state);
        if (length == 1) form_driver_w(form, OK, character);
        if (length != static_cast<std::size_t>(-2)) return;
    }
}

struct FormKey {
    int key;
    int requests[2];
};

constexpr FormKey kFormKeys[] = {
    {KEY_RIGHT, {REQ_NEXT_CHAR, 0}},
    {KEY_LEFT, {REQ_PREV_CHAR, 0}},
    {KEY_HOME, {REQ_BEG_FIELD, 0}},
    {KEY_END, {REQ_END_FIELD, 0}},
    {KEY_DC, {REQ_DEL_CHAR, 0}},
    {KEY_BACKSPACE, {REQ_PREV_CHAR, REQ_DEL_CHAR}},
    {kDelete, {REQ_PREV_CHAR, REQ_DEL_CHAR}},
    {kBackspace, {REQ_PREV_CHAR, REQ_DEL_CHAR}},
};

// ---- password ----

void PrintInEntryBar(const EntryBox& entry, int column, int attributes, const char* text) {
    wattrset(entry.window, attributes);
    mvwaddstr(entry.window, entry.entry_line, column, text);
}

void PaintEntryBar(const EntryBox& entry, std::size_t width) {
    const std::string bar(width, ' ');
    PrintInEntryBar(entry, kTextColumn,
                    static_cast<int>(A_UNDERLINE | PairAttribute(Colour::Selected)), bar.c_str());
    wmove(entry.window, entry.entry_line, kTextColumn);
}

void DropLastCharacter(const EntryBox& entry, Secret& value) {
    if (value.empty()) return;
    value.DropLast();
    const int column = kTextColumn + static_cast<int>(value.size());
    PrintInEntryBar(entry, column, static_cast<int>(A_UNDERLINE | PairAttribute(Colour::Selected)),
                    " ");
    wmove(entry.window, entry.entry_line, column);
}

void PrintAsterisks(const EntryBox& entry, std::size_t from, std::size_t count) {
    PrintInEntryBar(entry, kTextColumn + static_cast<int>(from),
                    static_cast<int>(A_BOLD | A_UNDERLINE | PairAttribute(Colour::Selected)),
                    std::string(count, '*').c_str());
}

void AppendCharacter(const EntryBox& entry, std::size_t width, int key, Secret& value) {
    if (value.size() >= width) return;
    PrintAsterisks(entry, value.size(), 1);
    const char character = static_cast<char>(key);
    value.Append({&character, 1});
}

// Handles keys until ENTER or ESC.
Outcome TypePassword(const EntryBox& entry, std::size_t width, Secret& value) {
    const TerminalSize size;
    for (;;) {
        const int key = ReadKey();
        if (size.HasChanged()) return Outcome::Resized;
        if (key == kEscape) return Outcome::Cancelled;
        if (key == '\n' || key == '\r') return Outcome::Accepted;
        if (key == kBackspace || key == KEY_DC || key == KEY_BACKSPACE || key == kDelete) {
            DropLastCharacter(entry, value);
        } else if (key >= 32 && key <= 126) {
            AppendCharacter(entry, width, key, value);
        }
        ShowWindow(entry.window);
    }
}

Outcome ShowPasswordBox(const std::vector<std::string_view>& prompt, Secret& value,
                        bool shown_before) {
    const EntryBox box = OpenEntryBox(prompt.size());
    if (box.window == nullptr) return WaitForRoom(shown_before);
    const std::size_t width = std::min(
        static_cast<std::size_t>(std::max(COLS - 2 * kTextColumn, 0)), kMostPasswordCharacters);
    // The window shares the screen's cells: without this, the rows behind the box would show in it.
    werase(box.window);
    PaintEntryBox(box.window, prompt);
    PaintEntryBar(box, width);
    PrintAsterisks(box, 0, std::min(value.size(), width));
    ShowEntryBox(box.window);
    const Outcome outcome = TypePassword(box, width, value);
    delwin(box.window);
    return outcome;
}

void BlankScreen() {
    attrset(A_NORMAL);
    clear();
    // That line is below the screen, so the move fails and the next text is printed at the top.
    move(LINES, 1);
}

void ShowQuestion(std::string_view question) {
    Print(question);
    ShowScreen();
    if (!MouseAvailable()) return;
    int line = 0;
    int column = 0;
    getyx(stdscr, line, column);
    attrset(A_BOLD);
    PrintAt(kYesLine, kTextColumn, "[ YES  ]");
    PrintAt(kNoLine, kTextColumn, "[  NO  ]");
    move(line, column);
}

}  // namespace

bool AskYesNo(std::string_view question) {
    ShowQuestion(question);
    Answer answer = Answer::None;
    while (answer == Answer::None) {
        const int key = ReadKey();
        if (key == KEY_RESIZE) {
            BlankScreen();
            ShowQuestion(question);
        }
        answer = AnswerOfKey(key);
    }
    return answer == Answer::Yes;
}

bool AskYesNoOnBlankScreen(std::string_view question) {
    BlankScreen();
    return AskYesNo(question);
}

void FormHandleKey(FORM* form, bool& running, bool& cancelled) {
    const int key = ReadKey();
    if (key == kEscape) {
        running = false;
        cancelled = true;
        return;
    }
    if (key == '\n' || key == '\r') {
        running = false;
        form_driver(form, REQ_VALIDATION);
        return;
    }
    for (const FormKey& entry : kFormKeys) {
        if (entry.key != key) continue;
        for (int request : entry.requests) {
            if (request != 0) form_driver(form, request);
        }
        return;
    }
    if (key >= 0x80 && key <= 0xff) {
        TypeCharacter(form, key);
    } else if (key < 0x80) {
        form_driver(form, key);
    }
}

bool PromptText(std::string_view prompt, std::string& value) {
    const std::vector<std::string_view> lines = LinesOf(prompt);
    TextEntry entry;
    entry.text = WholeCharacters(value, kMostInitialBytes);
    if (!RunEntryBox([&](bool shown_before) { return ShowTextBox(lines, entry, shown_before); }))
        return false;
    value = Trim(entry.text, kWhiteSpace);
    return true;
}

std::optional<Secret> PromptPassword(std::string_view prompt) {
    Secret value(kMostPasswordCharacters);
    const std::vector<std::string_view> lines = LinesOf(prompt);
    if (!RunEntryBox(
            [&](bool shown_before) { return ShowPasswordBox(lines, value, shown_before); })) {
        return std::nullopt;
    }
    return value;
}
