#pragma once

// Where the live transport's MIDI goes: a synthesizer behind JACK, the ALSA sequencer or a
// Windows MIDI device (host/kit/platform/midiout.h opens one). Two kinds of output meet here:
//
// - One that keeps time itself (JACK): its real-time thread asks the transport, through a
//   TickSource, for the ticks of each period, and places the events at their frames.
// - One that is fed (ALSA, Windows): the transport's own thread hands it each block's events.
//
// Either way every sounding note gets its note-off when playing stops or jumps.

#include "host/kit/hostmiditrack.h"

#include <cstdint>
#include <string>
#include <vector>

namespace hostkit
{
// The transport as an output that keeps time sees it; called on that output's real-time thread.
class TickSource
{
public:
    virtual ~TickSource() = default;
    // The transport moved to `tick` (a relocation, or the start).
    virtual void locate(int32_t tick) = 0;
    // Plays the ticks from `from` up to `to` and gives what the module sent, in `events` (whose
    // capacity must hold them: no heap call here).
    virtual void play(int32_t from, int32_t to, std::vector<TrackEvent>& events) = 0;
};

class LiveOutput
{
public:
    virtual ~LiveOutput() = default;

    // What the console calls it: "JACK port tremolin:out".
    virtual std::string name() const = 0;
    // True for an output that keeps time (it calls the source), false for one that is fed.
    virtual bool keepsTime() const = 0;

    // From now on the output calls `source` on its real-time thread; keepsTime() only. The source
    // must stay until stop has returned.
    virtual void start(TickSource& source) = 0;
    // A block of ticks [from, to) and what the module sent in it, on the transport's thread; fed
    // outputs only.
    virtual void send(const std::vector<TrackEvent>& events, int32_t from, int32_t to) = 0;
    // The transport jumped: the notes that sound end now. Fed outputs only.
    virtual void relocated() = 0;

    // Stops playing: the note-off of every note that sounds goes out, and this returns once it
    // has (or the device is gone). No call of the source follows.
    virtual void stop() = 0;
    // Whether the output stopped by itself (the JACK server went away); `why` says so.
    virtual bool lost(std::string& why) const = 0;
};
} // namespace hostkit
