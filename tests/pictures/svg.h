// Terminals drawn as SVG: a window with a title bar, and in it the cells, each at its place
// whatever the viewer's font is. The result depends on nothing but the arguments; every run of
// characters stands on a line of its own, so that a change of the screen is a change of few lines.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "snapshot.h"

namespace pictures {

// What a picture is called in its title bar, and what it shows for those who do not see it.
struct Label {
    std::string title;
    std::string description;
};

std::string StillPicture(const Snapshot& shot, const Label& label);

// One moment of a moving picture. All are of one size.
struct Frame {
    Snapshot shot;
    std::vector<std::string> keys;  // what is pressed next, as written on the keys
    std::string caption;            // what that is for
    double seconds = 1;
};

// Shows the frames one after the other and begins again, without a script. Viewers that animate
// nothing show the first one, those asked for little motion the last.
std::string MovingPicture(const std::vector<Frame>& frames, const Label& label);

// The markup of one row, a line each; nothing for a blank one. Its top left corner is at 0, 0.
std::vector<std::string> RowMarkup(const Snapshot& shot, int row);

}  // namespace pictures
