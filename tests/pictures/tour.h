// Every screen and dialog of the program, each reached by keys on the demo appliance.
#pragma once

#include <string>
#include <vector>

#include "snapshot.h"
#include "svg.h"

namespace pictures {

struct Drawn {
    std::string name;  // file name without extension
    Label label;
    Snapshot shot;
};

std::vector<Drawn> DrawScreens();

extern const char* const kGalleryHead;

}  // namespace pictures
