// A typical journey, as an animated picture: a new card gets a fixed address.
#pragma once

#include <vector>

#include "svg.h"

namespace pictures {

extern const Label kJourneyLabel;

std::vector<Frame> RecordJourney();

}  // namespace pictures
