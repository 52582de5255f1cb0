#pragma once

// `tremolin-host play`: the live transport without a window. The project plays at its tempo into
// a live MIDI output (JACK, the ALSA sequencer, a Windows MIDI device) for a number of bars or
// until Ctrl+C, and every note that sounds then gets its note-off.

#include "host/editsession.h"
#include "host/kit/platform/midiout.h"

#include <cstdint>
#include <optional>
#include <string>

namespace hostkit
{
struct PlayOptions : EditorSetup
{
    double tempo = 120.0;
    int32_t bars = 0;    // 0: until Ctrl+C
    int32_t pattern = 0; // 1..200 through "Pattern Select", 0 for the project's own
    int32_t channel = -1;
    bool print = false;
    std::optional<platform::MidiOutSetup> output;
};

// False with one sentence in `error`; reports on stdout what it plays into.
bool runPlay(const PlayOptions& options, std::string& error);
} // namespace hostkit
