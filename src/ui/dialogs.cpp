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
#include "util/wipe.h"

namespace {

constexpr int kBackspace = 8;
constexpr int kDelete = 127;
constexpr int kYesLine = 2;
constexpr int kNoLine = 4;
constexpr int kTextColumn = 2;
constexpr int kMostPasswordCharacters = 255;
constexpr std::size_t kMostInitialBytes = 254;
// Of 16 ms each.
constexpr int kCharacterWaits = 8;
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
    WINDOW* window;  // null when the terminal is too small
    int entry_line;
};

EntryBox OpenEntryBox(std::size_t prompt_lines) {
    const int n = static_cast<int>(prompt_lines);
    curs_set(1);
    return {subwin(stdscr, n + 4, COLS, (LINES - 4 - n) / 2, 0), n + 2};
}

void PaintEntryBox(WINDOW* window, const std::vector<std::string_view>& prompt) {
    wattrset(window, A_NORMAL);
    box(window, 0, 0);
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
    wrefresh(window);
    touchwin(stdscr);
    refresh();
}

void CloseEntryBox(EntryBox& entry) {
    if (entry.window != nullptr) delwin(entry.window);
    entry.window = nullptr;
    curs_set(0);
}

void WaitForAnyKey() {
    while (ReadKey() == ERR) {
    }
}

// ---- text ----

// As many whole characters of the value as a field's first text may have bytes.
std::string InitialText(const std::string& value) {
    std::size_t length = std::min(value.size(), kMostInitialBytes);
    const bool cut = length < value.size();
    while (cut && length > 0 && (static_cast<unsigned char>(value[length]) & 0xc0) == 0x80) {
        --length;
    }
    return value.substr(0, length);
}

FIELD* MakeEntryField(int line, const std::string& text) {
    FIELD* field = new_field(1, COLS - 2 * kTextColumn, line, kTextColumn, 0, 0);
    if (field == nullptr) return nullptr;
    set_field_back(field, A_UNDERLINE | PairAttribute(Colour::Selected));
    set_field_fore(field, A_BOLD);
    set_field_just(field, JUSTIFY_LEFT);
    set_field_buffer(field, 0, text.c_str());
    field_opts_on(field, O_VISIBLE | O_ACTIVE | O_PUBLIC | O_EDIT);
    field_opts_off(field, O_BLANK);
    return field;
}

std::string TrimmedText(FIELD* field) {
    std::string text = field_buffer(field, 0);
    return trim_space(text.data());
}

// Lets the operator edit the field in the window; whether the entry was accepted.
bool EditField(WINDOW* window, FIELD* field, const std::vector<std::string_view>& prompt) {
    FIELD* fields[] = {field, nullptr};
    FORM* form = new_form(fields);
    if (form == nullptr) return false;
    set_form_win(form, window);
    set_form_sub(form, window);
    post_form(form);
    form_driver(form, REQ_END_FIELD);
    form_driver(form, REQ_INS_MODE);
    PaintEntryBox(window, prompt);
    ShowEntryBox(window);
    bool running = true;
    bool cancelled = false;
    while (running) {
        FormHandleKey(form, running, cancelled);
        wrefresh(window);
    }
    unpost_form(form);
    free_form(form);
    return !cancelled;
}

// The byte that goes on a character of several bytes, which may come over a slow line; ERR when
// none does.
int NextByteOfCharacter() {
    for (int wait = 0; wait < kCharacterWaits; ++wait) {
        const int key = ReadKey();
        if (key >= 0x80 && key <= 0xff) return key;
        if (key != ERR) {
            ungetch(key);
            return ERR;
        }
    }
    return ERR;
}

// A byte beyond ASCII begins a character of several bytes on a UTF-8 terminal; the form takes whole
// characters only.
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
};

// ---- password ----

void PrintInEntryBar(const EntryBox& entry, int column, int attributes, const char* text) {
    wattrset(entry.window, attributes);
    mvwaddstr(entry.window, entry.entry_line, column, text);
}

void PaintEntryBar(const EntryBox& entry, int width) {
    const std::string bar(static_cast<std::size_t>(std::max(width, 0)), ' ');
    PrintInEntryBar(entry, kTextColumn,
                    static_cast<int>(A_UNDERLINE | PairAttribute(Colour::Selected)), bar.c_str());
    wmove(entry.window, entry.entry_line, kTextColumn);
}

void DropLastCharacter(const EntryBox& entry, std::string& value) {
    if (value.empty()) return;
    value.back() = '\0';
    value.pop_back();
    const int column = kTextColumn + static_cast<int>(value.size());
    PrintInEntryBar(entry, column, static_cast<int>(A_UNDERLINE | PairAttribute(Colour::Selected)),
                    " ");
    wmove(entry.window, entry.entry_line, column);
}

void AppendCharacter(const EntryBox& entry, int width, int key, std::string& value) {
    const int length = static_cast<int>(value.size());
    if (length >= width) return;
    PrintInEntryBar(entry, kTextColumn + length,
                    static_cast<int>(A_BOLD | A_UNDERLINE | PairAttribute(Colour::Selected)), "*");
    value += static_cast<char>(key);
}

// Takes keys until ENTER (true) or ESC (false).
bool TypePassword(const EntryBox& entry, int width, std::string& value) {
    for (;;) {
        const int key = ReadKey();
        if (key == kEscape) return false;
        if (key == '\n' || key == '\r') return true;
        if (key == kBackspace || key == KEY_DC || key == KEY_BACKSPACE || key == kDelete) {
            DropLastCharacter(entry, value);
        } else if (key >= 32 && key <= 126) {
            AppendCharacter(entry, width, key, value);
        }
        wrefresh(entry.window);
    }
}

}  // namespace

bool AskYesNo(std::string_view question) {
    Print(question);
    refresh();
    if (MouseAvailable) {
        attrset(A_BOLD);
        PrintAt(kYesLine, kTextColumn, "[ YES  ]");
        PrintAt(kNoLine, kTextColumn, "[  NO  ]");
    }
    Answer answer = Answer::None;
    while (answer == Answer::None)
        answer = AnswerOfKey(ReadKey());
    return answer == Answer::Yes;
}

bool AskYesNoOnBlankScreen(std::string_view question) {
    attrset(A_NORMAL);
    clear();
    // That line is below the screen: the move fails and the question stands at the top.
    move(LINES, 1);
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
    EntryBox entry = OpenEntryBox(lines.size());
    FIELD* field =
        entry.window != nullptr ? MakeEntryField(entry.entry_line, InitialText(value)) : nullptr;
    bool accepted = false;
    if (field == nullptr) {
        WaitForAnyKey();
    } else {
        accepted = EditField(entry.window, field, lines);
        if (accepted) value = TrimmedText(field);
        free_field(field);
    }
    CloseEntryBox(entry);
    return accepted;
}

bool PromptPassword(std::string_view prompt, std::string& value) {
    Wipe(value);
    // Growing would leave copies of the beginning behind.
    value.reserve(kMostPasswordCharacters + 1);
    const std::vector<std::string_view> lines = LinesOf(prompt);
    EntryBox entry = OpenEntryBox(lines.size());
    bool accepted = false;
    if (entry.window == nullptr) {
        WaitForAnyKey();
    } else {
        const int width = std::min(COLS - 2 * kTextColumn, kMostPasswordCharacters);
        PaintEntryBox(entry.window, lines);
        PaintEntryBar(entry, width);
        ShowEntryBox(entry.window);
        accepted = TypePassword(entry, width, value);
    }
    if (!accepted) Wipe(value);
    CloseEntryBox(entry);
    return accepted;
}

void WaitForEnter() {
    std::puts("Hit enter to continue");
    std::fflush(stdout);
    ReadLineRaw();
}

void WaitForEnterCurses() {
    Print("Hit enter to continue\n");
    refresh();
    WaitForKeyEnter();
}
