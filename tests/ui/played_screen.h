// A screen on which keys are typed, for what takes the keyboard until it returns (dialogs, the
// screen loop): each step of a script runs when the program is about to wait.
//
//     PlayedScreen screen;
//     screen.Play({[&] { EXPECT_EQ(screen.Line(2), "Question?"); screen.Type("y"); }});
//     EXPECT_TRUE(AskYesNo("Question?"));
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "ui/screen_fixture.h"

using Step = std::function<void()>;

// The terminal is standard input as long as the object lives.
class PlayedScreen : public UnseenScreen {
  public:
    explicit PlayedScreen(const char* type = "xterm-256color");
    ~PlayedScreen();
    PlayedScreen(const PlayedScreen&) = delete;
    PlayedScreen& operator=(const PlayedScreen&) = delete;

    // When the program waits although all steps have been taken, the test fails, and ESC is typed.
    void Play(std::vector<Step> script);
    [[nodiscard]] bool IsPlayed() const;

    void Type(std::string_view keys) const;
    void Type(int curses_key) const;
    void Mouse(int line, int column, mmask_t buttons) const;
    void Resize(int lines, int columns) const;

    // Lets that many seconds pass, as MonotonicSeconds tells.
    static void Pass(double seconds);

    // A step that types or does something, and nothing else.
    [[nodiscard]] Step Keys(std::string_view keys) const {
        return [this, keys] { Type(keys); };
    }
    [[nodiscard]] Step Key(int curses_key) const {
        return [this, curses_key] { Type(curses_key); };
    }

  private:
    int input_before;
};
