#pragma once

// Plays a project through a module the way a host's transport does, and keeps what it sent:
// load the module, make and initialize the effect, hand it the project's chunk, optionally select
// a pattern, reposition to 0, then play the bars in host-sized blocks of ticks, with pattern
// switches as incoming note-ons at the start of their bars.

#include "host/kit/hostmiditrack.h"
#include "host/kit/transport.h"
#include "host/kit/wavfile.h"
#include "host/projectfile.h"
#include "module/effectinterfaces.h"

#include <cstdint>
#include <string>
#include <vector>

namespace hostkit
{
class HostContext;
class PluginModule;

struct PatternSwitch
{
    int32_t bar = 1; // counted from 1
    int32_t note = 36;
};

struct RenderOptions
{
    std::string modulePath;
    Project project;
    int32_t bars = 4;
    double tempo = 120.0;
    int32_t pattern = 0;  // 1..200 through "Pattern Select", 0 to leave the project's own
    int32_t channel = -1; // 0..15, or negative for a track without a channel
    std::vector<PatternSwitch> switches;
    std::string settingsPath; // empty: the user's settings file
};

struct RenderResult
{
    std::vector<TrackEvent> events;    // in the order the module sent them
    int32_t trackFaults = 0;           // events the module misused
    std::vector<std::string> warnings; // sentences about settings the module can't use
};

// Makes the module's effect and readies it to play the project, as render and play do:
// instantiate, initialize with the context, the project's chunk, and the pattern (1..200)
// through "Pattern Select" unless it is 0. Null with one sentence in `error`; the module keeps
// what it made either way, for its unload.
IMidiEffect* startEffect(PluginModule& module, HostContext& context, const Project& project, int32_t pattern,
                         std::string& error);

// False with one sentence in `error` if the module can't be loaded, refuses the chunk or lacks
// what rendering needs.
bool renderProject(const RenderOptions& options, RenderResult& result, std::string& error);

struct AudioOptions
{
    std::string soundfont; // empty: the system's General MIDI soundfont
    int32_t program = 0;   // 0..127, the General MIDI instrument
    WavFormat format = WavFormat::Pcm16;
};

// How long an audio render of the events lasts: to the end of the bars, or of the last note if
// that rings on longer, and one second more for the last notes' release.
double audioSeconds(const std::vector<TrackEvent>& events, int32_t bars, double tempo);

// The events through a General MIDI synthesizer, as the bytes of a stereo WAV file at 44.1 kHz.
// False with one sentence in `error` when no soundfont is found or it can't be loaded.
bool renderAudio(const std::vector<TrackEvent>& events, int32_t bars, double tempo,
                 const AudioOptions& options, std::vector<uint8_t>& wav, std::string& error);
} // namespace hostkit
