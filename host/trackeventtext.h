#pragma once

// Events of the host's track as the program lists them, one line each: the tick, the position as
// bar.beat.tick in 4/4, what the event is, and its channel.

#include "host/kit/hostmiditrack.h"

#include <string>

namespace hostkit
{
// The heading over the lines of eventLine.
std::string eventHeading();
std::string eventLine(const TrackEvent& event);
} // namespace hostkit
