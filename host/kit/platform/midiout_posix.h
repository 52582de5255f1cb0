#pragma once

// The Linux kinds of live output, which midiout_posix.cpp chooses between.

#include "host/kit/platform/midiout.h"

namespace hostkit::platform
{
std::unique_ptr<LiveOutput> openJackOutput(const MidiOutSetup& setup, std::string& error);
std::unique_ptr<LiveOutput> openAlsaOutput(const MidiOutSetup& setup, std::string& error);
} // namespace hostkit::platform
