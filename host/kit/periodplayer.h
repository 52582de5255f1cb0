#pragma once

// The heart of an output that keeps time, such as a JACK client: each period of frames it asks the
// transport for the ticks that the period covers, by its own clock at the project's tempo or by
// a transport it follows, and hands back each message at the frame where it falls. Everything
// runs on the output's real-time thread and makes no heap call: the events go into a vector
// reserved up front, the pending ones into a LiveSchedule.

#include "host/kit/liveoutput.h"
#include "host/kit/liveschedule.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cmath>
#include <cstdint>
#include <vector>

namespace hostkit
{
// Where a followed transport stands at the start of a period.
struct FollowedTransport
{
    bool rolling = false;
    // The position in ticks (480 a quarter) from the transport's bars and beats, when it has a
    // master that keeps them; else the frame it is at.
    bool hasTicks = false;
    double ticks = 0.0;
    int64_t frame = 0;
    double tempo = 0.0; // quarters a minute from the master; 0 for none
};

class PeriodPlayer
{
public:
    PeriodPlayer(double tempo, double sampleRate) : tempo(tempo), sampleRate(sampleRate)
    {
        events.reserve(HostMidiTrack::kOutputReserve);
    }

    // From the user-interface thread: the source to call from the next period on.
    void start(TickSource& source) { current.store(&source, std::memory_order_release); }
    // From the user-interface thread: the next period ends every note and plays no more.
    void requestStop() { stopping.store(true, std::memory_order_release); }
    // True once the note-offs of the stop have gone out in a period.
    bool stopped() const { return flushed.load(std::memory_order_acquire); }
    int64_t dropped() const { return schedule.dropped(); }

    // One period of `frames`. Without `followed` the clock is the player's own, from tick 0 at
    // the project's tempo. sink(uint32_t frame, const uint8_t* bytes, size_t size) gets the
    // messages in time order.
    template <class Sink> void period(uint32_t frames, const FollowedTransport* followed, Sink&& sink)
    {
        TickSource* source = current.load(std::memory_order_acquire);
        if (!source || frames == 0) return;
        const auto now = [&](const LiveMessage& m) { sink(0u, m.bytes, static_cast<size_t>(m.size)); };
        if (stopping.load(std::memory_order_acquire))
        {
            if (!flushed.load(std::memory_order_relaxed))
            {
                schedule.takeNoteOffs(now);
                flushed.store(true, std::memory_order_release);
            }
            return;
        }

        double rate = tempo;
        if (followed)
        {
            if (!followed->rolling)
            {
                // Stopped: what sounds ends, and nothing plays until it rolls again.
                if (rolling) schedule.takeNoteOffs(now);
                rolling = false;
                return;
            }
            if (followed->tempo > 0.0) rate = followed->tempo;
            const double at = followed->hasTicks ? followed->ticks
                                                 : static_cast<double>(followed->frame) * ticksPerFrame(rate);
            // A start, or a jump of more than a tick from where the last period ended.
            if (!rolling || std::fabs(at - cursor) > 1.0) moveTo(*source, at, now);
            rolling = true;
        }
        else if (!started)
        {
            moveTo(*source, 0.0, now);
        }
        started = true;

        const double step = ticksPerFrame(rate);
        const double end = cursor + static_cast<double>(frames) * step;
        if (end >= static_cast<double>(INT32_MAX - (1 << 20)))
        {
            // Days of playing: start over at 0 as a looping host does.
            moveTo(*source, 0.0, now);
            return;
        }
        const auto to = static_cast<int32_t>(std::floor(end));
        if (to > played)
        {
            source->play(played, to, events);
            played = to;
            for (const TrackEvent& event : events)
                schedule.add(event);
        }
        uint32_t last = 0;
        schedule.takeDue(static_cast<int64_t>(std::ceil(end)),
                         [&](const LiveMessage& m)
                         {
                             const double offset = (static_cast<double>(m.tick) - cursor) / step;
                             auto frame = static_cast<uint32_t>(
                                 std::clamp(offset, 0.0, static_cast<double>(frames - 1)));
                             frame = std::max(frame, last); // never earlier than the message before
                             last = frame;
                             sink(frame, m.bytes, static_cast<size_t>(m.size));
                         });
        cursor = end;
    }

private:
    double ticksPerFrame(double quarterTempo) const { return quarterTempo / 60.0 * 480.0 / sampleRate; }

    template <class Now> void moveTo(TickSource& source, double at, Now&& now)
    {
        schedule.takeNoteOffs(now);
        const auto tick =
            static_cast<int32_t>(std::clamp(std::ceil(at), 0.0, static_cast<double>(INT32_MAX / 2)));
        source.locate(tick);
        cursor = at;
        played = tick;
    }

    const double tempo;
    const double sampleRate;
    std::atomic<TickSource*> current{nullptr};
    std::atomic<bool> stopping{false};
    std::atomic<bool> flushed{false};
    bool started = false;
    bool rolling = false;
    double cursor = 0.0; // the tick at the first frame of the coming period
    int32_t played = 0;  // where the next range to play starts
    std::vector<TrackEvent> events;
    LiveSchedule schedule;
};
} // namespace hostkit
