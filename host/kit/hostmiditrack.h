#pragma once

// The host's MIDI track: makes the event objects a module fills, records every event that it
// sends (or forwards) with its time, hands incoming events to processEvent, and answers grid
// queries.

#include "foundation/frefcounted.h"
#include "module/hostinterfaces.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <unordered_set>
#include <vector>

// The host's event object. Modules only ever hold the pointer.
struct HostMidiEvent
{
    uint8_t status = 0; // with the channel bits as the module gave them
    int32_t data1 = 0;
    int32_t data2 = 0;
    int32_t length = 0; // ticks; a note carries its own duration
    int32_t time = 0;
};

namespace hostkit
{
// One event on the track's output, in the order of sending.
struct TrackEvent
{
    uint8_t status = 0;
    int32_t data1 = 0;
    int32_t data2 = 0;
    int32_t length = 0;
    int32_t time = 0;
    bool forwarded = false; // passed on from the input rather than made by the module

    bool isNoteOn() const { return (status & 0xF0) == 0x90; }
    bool isController() const { return (status & 0xF0) == 0xB0; }
    int32_t channel() const { return status & 0x0F; }
};

class HostMidiTrack final : public IHostMidiTrack, public FRefCounted<HostMidiTrack>
{
public:
    // Where the grid that getGridInfo reports starts: at the bar that holds the tick, or at 0.
    enum class GridOrigin
    {
        BarStart,
        Zero
    };

    HostMidiTrack();

    tresult queryInterface(const TUID iid, void** obj) override;
    uint32_t addRef() override { return retain(); }
    uint32_t release() override { return drop(); }

    HostMidiEvent* createEvent(uint8_t status, int32_t data1, int32_t data2, int32_t length) override;
    tresult releaseEvent(HostMidiEvent* event) override;
    tresult sendEvent(HostMidiEvent* event) override;
    tresult forwardEvent(HostMidiEvent* event) override;
    tresult setEventTime(HostMidiEvent* event, int32_t ticks) override;
    int32_t eventStatus(HostMidiEvent* event) override;
    int32_t eventData1(HostMidiEvent* event) override;
    int32_t getChannel() override;
    tresult getGridInfo(int32_t tick, HostGridInfo* info) override;

    // An incoming event for the module's processEvent, stamped at `time`; give it back with
    // releaseEvent when the module is done.
    HostMidiEvent* makeIncoming(uint8_t status, int32_t data1, int32_t data2, int32_t time);

    // 0..15, or negative for a track without a channel.
    void setChannel(int32_t channel);
    void setGridOrigin(GridOrigin origin);
    void setTicksPerBar(int32_t ticks);
    // When off, forwardEvent refuses and records nothing.
    void setForwarding(bool on);

    std::vector<TrackEvent> events();
    void clearEvents();
    // The events sent since the last call, taken off the track in one step, so that a reader on
    // another thread neither misses one nor sees one twice.
    std::vector<TrackEvent> takeEvents();
    // Calls with an event the track never made or has already taken back; events made and
    // never given back.
    int32_t faults();
    int32_t eventsAlive();

private:
    ~HostMidiTrack();
    friend class FRefCounted<HostMidiTrack>;
    bool isLive(HostMidiEvent* event) const;

    std::mutex mutex;
    std::unordered_set<HostMidiEvent*> live;
    std::vector<TrackEvent> output;
    int32_t faultCount = 0;
    std::atomic<int32_t> channel{-1};
    std::atomic<GridOrigin> origin{GridOrigin::BarStart};
    std::atomic<int32_t> ticksPerBar{1920};
    std::atomic<bool> forwarding{true};
};
} // namespace hostkit
