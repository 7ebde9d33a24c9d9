#include "ui/colours.h"

#include <curses.h>

#include <algorithm>
#include <iterator>

namespace {

struct Pair {
    Colour colour;
    short foreground;
    short background;
    unsigned plain;  // on a terminal without colours
};

constexpr Pair kPairs[] = {
    {Colour::Text, COLOR_WHITE, COLOR_BLACK, A_NORMAL},
    {Colour::Selected, COLOR_WHITE, COLOR_BLUE, A_REVERSE},
    {Colour::Hover, COLOR_YELLOW, COLOR_BLACK, A_BLINK},
    {Colour::SelectedHover, COLOR_CYAN, COLOR_BLUE, A_REVERSE | A_BLINK},
    {Colour::Inactive, COLOR_GREEN, COLOR_BLACK, A_NORMAL},
    {Colour::Warning, COLOR_RED, COLOR_BLACK, A_UNDERLINE},
};

}  // namespace

void StartColours() {
    start_color();
    // The background is the terminal's default, which curses sets to these colours: erased lines
    // and lines that are scrolled in have them. A colour pair would be painted over each once more.
    assume_default_colors(COLOR_WHITE, COLOR_BLACK);
    for (const Pair& pair : kPairs) {
        init_pair(static_cast<short>(pair.colour), pair.foreground, pair.background);
    }
}

unsigned PairAttribute(Colour colour) {
    if (has_colors()) return static_cast<unsigned>(COLOR_PAIR(static_cast<int>(colour)));
    const auto* pair = std::find_if(std::begin(kPairs), std::end(kPairs),
                                    [&](const Pair& each) { return each.colour == colour; });
    return pair->plain;
}

unsigned HotKeyAttribute(bool selected) {
    if (!has_colors()) return A_BOLD | A_UNDERLINE | (selected ? A_REVERSE : A_NORMAL);
    return selected ? A_REVERSE : PairAttribute(Colour::Hover) | A_BOLD;
}
