#pragma once

// A General MIDI synthesizer for audio renders: plays a timeline of MIDI messages through a
// soundfont into samples. synth_fluidsynth.cpp answers it with FluidSynth on Linux;
// synth_win32.cpp says that audio renders need the Linux build.

#include "host/kit/midifile.h"

#include <cstdint>
#include <string>
#include <vector>

namespace hostkit::platform
{
struct SynthSetup
{
    std::string soundfont; // a .sf2 file; empty when none was found
    int32_t program = 0;   // 0..127, the General MIDI instrument of every melodic channel
    int32_t sampleRate = 44100;
};

// The largest General MIDI soundfont installed in the system's usual places, or empty.
std::string defaultSoundfont();

// Plays the timeline (480 ticks a quarter at `tempo`) for `seconds` into interleaved stereo
// samples. False with one sentence in `error` when the soundfont can't be loaded or there is no
// synthesizer on this platform.
bool synthesize(const std::vector<MidiMessage>& timeline, double tempo, double seconds,
                const SynthSetup& setup, std::vector<float>& stereo, std::string& error);
} // namespace hostkit::platform
