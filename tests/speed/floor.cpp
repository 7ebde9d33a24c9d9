// The minimum cost of a full-screen list with this curses: the rows of a file, in the program's
// colours (or attributes, without colours); for a cursor key it repaints two rows and moves the
// cursor to the selected one; 'r' repaints everything. Any time that the program takes beyond this
// is its own.
//
//     floor ROWS      three title lines, then rows: hot key or '-', 's' (selectable) or 'd' (dim),
//     text
#include <curses.h>

#include <cctype>
#include <clocale>
#include <cstdio>
#include <cstring>

static char titles[3][256];
static char rows[2048][256];
static int count;

static attr_t RowLook(bool selected) {
    if (has_colors()) return static_cast<attr_t>(COLOR_PAIR(selected ? 2 : 1));
    return selected ? A_REVERSE : A_NORMAL;
}

static attr_t LetterLook(bool selected) {
    if (!has_colors()) return A_BOLD | A_UNDERLINE | (selected ? A_REVERSE : A_NORMAL);
    return selected ? A_REVERSE : static_cast<attr_t>(COLOR_PAIR(3)) | A_BOLD;
}

static void DrawRow(int row, int selection) {
    const char* text = rows[row];
    const attr_t weight = text[1] == 's' ? A_BOLD : A_DIM;
    attrset(RowLook(row == selection) | weight);
    mvprintw(5 + row, 4, "%-*.*s", COLS - 5, COLS - 5, text + 2);
    if (text[0] == '-') return;
    const char key[] = {text[0], static_cast<char>(std::toupper(text[0])), '\0'};
    const char* letter = std::strpbrk(text + 2, key);
    if (letter == nullptr) return;
    attrset(LetterLook(row == selection));
    mvaddch(5 + row, static_cast<int>(4 + (letter - text - 2)), static_cast<chtype>(*letter));
}

static void DrawAll(int selection) {
    attrset(static_cast<attr_t>(COLOR_PAIR(1)));
    clear();
    for (int i = 0; i < 3; ++i)
        mvaddstr(1 + i, 0, titles[i]);
    for (int row = 0; row < count && row < LINES - 6; ++row)
        DrawRow(row, selection);
    move(5 + selection, 4);
    refresh();
}

static bool ReadLine(std::FILE* file, char (&line)[256]) {
    if (std::fgets(line, sizeof line, file) == nullptr) return false;
    line[std::strcspn(line, "\n")] = '\0';
    return true;
}

int main(int argc, char** argv) {
    std::FILE* file = argc == 2 ? std::fopen(argv[1], "r") : nullptr;
    if (file == nullptr) return 1;
    for (char(&title)[256] : titles)
        ReadLine(file, title);
    while (count < 2048 && ReadLine(file, rows[count]))
        ++count;
    std::fclose(file);

    std::setlocale(LC_CTYPE, "");
    initscr();
    start_color();
    const short pairs[3][2] = {
        {COLOR_WHITE, COLOR_BLACK}, {COLOR_WHITE, COLOR_BLUE}, {COLOR_YELLOW, COLOR_BLACK}};
    for (short i = 0; i < 3; ++i)
        init_pair(static_cast<short>(i + 1), pairs[i][0], pairs[i][1]);
    assume_default_colors(COLOR_WHITE, COLOR_BLACK);
    keypad(stdscr, TRUE);
    nonl();
    cbreak();
    noecho();
    timeout(16);
    mousemask(ALL_MOUSE_EVENTS | REPORT_MOUSE_POSITION, nullptr);
    curs_set(0);
    int selection = 0;
    DrawAll(selection);
    for (;;) {
        const int key = getch();
        if (key == 'r') DrawAll(selection);
        if (key != KEY_DOWN && key != KEY_UP) continue;
        const int before = selection;
        selection += key == KEY_DOWN ? 1 : -1;
        DrawRow(before, selection);
        DrawRow(selection, selection);
        move(5 + selection, 4);
    }
}
