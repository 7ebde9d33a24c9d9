// An invisible curses screen of 24 lines by 80 columns, for checking cell by cell what a menu
// draws, and for sending it mouse events.
#pragma once

#include <curses.h>

#include <cstdio>
#include <string>

#include "ui/colours.h"

class UnseenScreen {
  public:
    explicit UnseenScreen(const char* terminal = "/dev/null", const char* type = "xterm-256color")
        : in(std::fopen(terminal, "re")), out(std::fopen(terminal, "we")) {
        use_env(FALSE);
        screen = newterm(type, out, in);
        if (screen == nullptr) return;
        set_term(screen);
        StartColours();
        keypad(stdscr, TRUE);
        timeout(0);
        has_mouse_events = mousemask(ALL_MOUSE_EVENTS | REPORT_MOUSE_POSITION, nullptr) != 0;
        clear();
        refresh();
    }
    ~UnseenScreen() {
        // Curses keeps the screen until the process ends: delscreen() leaks memory since 6.6.
        if (screen != nullptr) endwin();
        std::fclose(in);
        std::fclose(out);
    }
    UnseenScreen(const UnseenScreen&) = delete;
    UnseenScreen& operator=(const UnseenScreen&) = delete;

    [[nodiscard]] bool IsReady() const {
        return screen != nullptr && LINES == 24 && COLS == 80 && has_mouse_events;
    }

    // Fills every cell with the character.
    static void Fill(char character) {
        attrset(A_NORMAL);
        for (int line = 0; line < LINES; ++line)
            mvhline(line, 0, static_cast<unsigned char>(character), COLS);
    }

    // The ASCII characters of a line, without trailing blanks.
    static std::string Line(int line) {
        std::string text;
        for (int column = 0; column < COLS; ++column)
            text += Character(line, column);
        text.erase(text.find_last_not_of(' ') + 1);
        return text;
    }

    static char Character(int line, int column) {
        return static_cast<char>(mvinch(line, column) & A_CHARTEXT);
    }

    // Attributes and colour pair in one, as attrset() takes them.
    static unsigned Style(int line, int column) {
        return static_cast<unsigned>(mvinch(line, column) & A_ATTRIBUTES);
    }

    // Makes getmouse() return this event.
    static void SendMouse(int line, int column, mmask_t buttons) {
        MEVENT event = {};
        event.x = column;
        event.y = line;
        event.bstate = buttons;
        ungetmouse(&event);
    }

  private:
    std::FILE* in;
    std::FILE* out;
    SCREEN* screen = nullptr;
    bool has_mouse_events = false;
};
