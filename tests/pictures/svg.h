// Draws terminals as SVG: a window with a title bar and, in it, the cells, each in its place
// whatever font the viewer uses. The result depends only on the arguments. Each run of characters
// is a line of the file, so a change of the screen changes few lines.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "snapshot.h"

namespace pictures {

// The text in the title bar of a picture, and its description for people who can't see it.
struct Label {
    std::string title;
    std::string description;
};

std::string StillPicture(const Snapshot& shot, const Label& label);

// One frame of an animated picture. All frames have the same size.
struct Frame {
    Snapshot shot;
    std::vector<std::string> keys;  // the keys pressed next, as labelled
    std::string caption;            // why they are pressed
    double seconds = 1;
};

// Shows the frames one after the other in a loop, without a script. Viewers without animation show
// the first frame; viewers set to reduced motion show the last.
std::string MovingPicture(const std::vector<Frame>& frames, const Label& label);

// The markup of one row, with one run per line; nothing for a blank row. Its top left corner is at
// 0, 0.
std::vector<std::string> RowMarkup(const Snapshot& shot, int row);

}  // namespace pictures
