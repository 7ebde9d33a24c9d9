// A screen with scripted keys, for functions that take the keyboard until they return (dialogs, the
// screen loop). Each step of the script runs when the program is about to wait for a key.
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

// Standard input is this terminal while the object lives.
class PlayedScreen : public UnseenScreen {
  public:
    explicit PlayedScreen(const char* type = "xterm-256color");
    ~PlayedScreen();
    PlayedScreen(const PlayedScreen&) = delete;
    PlayedScreen& operator=(const PlayedScreen&) = delete;

    // If the program waits after the last step, the test fails, and ESC is typed.
    void Play(std::vector<Step> script);
    [[nodiscard]] bool IsPlayed() const;

    void Type(std::string_view keys) const;
    void Type(int curses_key) const;
    void Mouse(int line, int column, mmask_t buttons) const;
    void Resize(int lines, int columns) const;

    // Advances MonotonicSeconds by that many seconds.
    static void Pass(double seconds);

    // A step that only types, or only does something.
    [[nodiscard]] Step Keys(std::string_view keys) const {
        return [this, keys] { Type(keys); };
    }
    [[nodiscard]] Step Key(int curses_key) const {
        return [this, curses_key] { Type(curses_key); };
    }

  private:
    int input_before;
};
