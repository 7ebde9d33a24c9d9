#include "app/system_screen.h"

#include "ui/screen_loop.h"

namespace {

struct State {};

constexpr Row<State> kRows[] = {{"Back to main menu", 1, 'b', Leave}};
static_assert(AreSound(kRows));

TitleLines Title(const State&) {
    return {"System"};
}

}  // namespace

void RunSystemScreen() {
    State state;
    RunScreen<State>({.rows = kRows, .title = Title, .layout = Layout::Narrow}, state);
}
