#include "ui/colours.h"

#include <curses.h>

namespace {

struct Pair {
    Colour colour;
    short foreground;
    short background;
};

constexpr Pair kPairs[] = {
    {Colour::Text, COLOR_WHITE, COLOR_BLACK},     {Colour::Selected, COLOR_WHITE, COLOR_BLUE},
    {Colour::Hover, COLOR_YELLOW, COLOR_BLACK},   {Colour::SelectedHover, COLOR_CYAN, COLOR_BLUE},
    {Colour::Inactive, COLOR_GREEN, COLOR_BLACK}, {Colour::Warning, COLOR_RED, COLOR_BLACK},
};

}  // namespace

void StartColours() {
    start_color();
    bkgd(PairAttribute(Colour::Text));
    for (const Pair& pair : kPairs) {
        init_pair(static_cast<short>(pair.colour), pair.foreground, pair.background);
    }
}

unsigned PairAttribute(Colour colour) {
    return static_cast<unsigned>(COLOR_PAIR(static_cast<int>(colour)));
}
