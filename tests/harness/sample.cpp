// A small full-screen program for the harness's own tests.
//
// It draws one line in each style. From row 12 on, it adds a line for every key: curses' name of
// the key; for mouse events the position and the button state. Keys: q exits with status 3, e
// leaves curses, runs "pause-command" and comes back, a kills the program with SIGABRT.
#include <curses.h>
#include <locale.h>
#include <stdlib.h>

#include <string>

namespace {

constexpr int kFirstLogRow = 12;

void DrawStyles() {
    erase();
    mvaddstr(0, 0, "plain");
    const struct {
        const char* text;
        attr_t attributes;
    } lines[] = {
        {"bold", A_BOLD},
        {"dim", A_DIM},
        {"reverse", A_REVERSE},
        {"underline", A_UNDERLINE},
        {"yellow dim", static_cast<attr_t>(COLOR_PAIR(3)) | A_DIM},
        {"selected", static_cast<attr_t>(COLOR_PAIR(2)) | A_BOLD},
    };
    int row = 1;
    for (const auto& line : lines) {
        attrset(line.attributes);
        mvaddstr(row++, 0, line.text);
    }
    attrset(A_NORMAL);
    mvaddstr(7, 0, "caf\xC3\xA9 \xE6\x97\xA5 end");
    mvprintw(9, 0, "size %d by %d", LINES, COLS);
}

std::string MouseText() {
    MEVENT event;
    if (getmouse(&event) != OK) return "mouse: none";
    std::string text = "mouse " + std::to_string(event.y) + "," + std::to_string(event.x);
    if (event.bstate & BUTTON1_PRESSED) text += " pressed";
    if (event.bstate & BUTTON1_RELEASED) text += " released";
    if (event.bstate & BUTTON1_CLICKED) text += " clicked";
    if (event.bstate & BUTTON1_DOUBLE_CLICKED) text += " double";
    if (event.bstate & REPORT_MOUSE_POSITION) text += " moved";
    return text;
}

}  // namespace

int main() {
    setlocale(LC_CTYPE, "");
    set_escdelay(25);
    initscr();
    start_color();
    use_default_colors();
    init_pair(2, COLOR_WHITE, COLOR_BLUE);
    init_pair(3, COLOR_YELLOW, COLOR_BLACK);
    keypad(stdscr, TRUE);
    nonl();
    cbreak();
    noecho();
    curs_set(0);
    timeout(16);
    mousemask(ALL_MOUSE_EVENTS | REPORT_MOUSE_POSITION, nullptr);
    DrawStyles();
    int row = kFirstLogRow;
    for (;;) {
        refresh();
        const int key = getch();
        if (key == ERR) continue;
        if (key == 'q') break;
        if (key == 'a') abort();
        if (key == 'e') {
            endwin();
            if (system("pause-command before 'and after'") != 0) return 9;
            refresh();
        }
        if (key == KEY_RESIZE) DrawStyles();
        move(row++, 0);
        clrtoeol();
        printw("key %s", key == KEY_MOUSE ? MouseText().c_str() : keyname(key));
    }
    endwin();
    return 3;
}
