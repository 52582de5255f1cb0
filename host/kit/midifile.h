#pragma once

// Turns what a module sent to the track into a Standard MIDI File. A module's note carries its
// length; the file needs a note-on and a note-off, so each note becomes a pair.

#include "host/kit/hostmiditrack.h"

#include <cstdint>
#include <string>
#include <vector>

namespace hostkit
{
struct MidiMessage
{
    int64_t tick = 0;
    uint8_t status = 0;
    uint8_t data1 = 0;
    uint8_t data2 = 0;
};

// Note-ons with their note-offs at time + length, controllers and forwarded messages, in time
// order. At one tick a note-off of an earlier note comes before anything else, so that a key
// struck again at the moment it ends sounds anew; a note of length 0 ends right after it starts.
// Notes outside 0..127 can't be written and are left out; values are held to 0..127.
std::vector<MidiMessage> midiTimeline(const std::vector<TrackEvent>& events);

// Format 0, one track, 480 ticks per quarter, with the tempo, a 4/4 time signature and the
// track's name at tick 0.
std::vector<uint8_t> writeMidiFile(const std::vector<MidiMessage>& timeline, double tempoBpm,
                                   const std::string& trackName = "Tremolin");
} // namespace hostkit
