#pragma once

// The host's MIDI track: makes the event objects a module fills, records every event that it
// sends (or forwards) with its time, hands incoming events to processEvent, and answers grid
// queries. Everything a module calls runs on the host's event thread, so the events come from a
// store made up front and the track's lock spins instead of sleeping: no call makes a heap or
// system call while the output stays within its reserve.

#include "foundation/frefcounted.h"
#include "host/kit/spinlock.h"
#include "module/hostinterfaces.h"

#include <atomic>
#include <cstdint>
#include <memory>
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
    // Events alive at once: the engine holds one at a time, a host a few incoming ones.
    static constexpr int32_t kEventCapacity = 256;
    // Events kept before a reader takes them; a live reader drains them every block, and only an
    // offline render that reads at the end goes past this (the store then grows).
    static constexpr size_t kOutputReserve = 1 << 15;

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
    // The same into the caller's vector, which makes no heap call while its capacity holds them
    // (reserve kOutputReserve once): for a reader on the event thread.
    void takeEvents(std::vector<TrackEvent>& into);
    // Calls with an event the track never made or has already taken back; events made and
    // never given back.
    int32_t faults();
    int32_t eventsAlive();
    // Events sent or forwarded since the track was made, without taking the lock: a reader on the
    // event thread that sees no change need not take them.
    uint32_t sentCount() const { return sends.load(std::memory_order_relaxed); }

private:
    ~HostMidiTrack();
    friend class FRefCounted<HostMidiTrack>;
    bool isLive(HostMidiEvent* event) const;
    HostMidiEvent* allocate(const HostMidiEvent& initial);

    SpinLock mutex;
    std::unique_ptr<HostMidiEvent[]> store;
    std::unique_ptr<bool[]> inUse;
    std::unique_ptr<int32_t[]> freeSlots; // a stack of free indices into store
    int32_t freeCount = 0;
    std::vector<TrackEvent> output;
    int32_t faultCount = 0;
    std::atomic<int32_t> channel{-1};
    std::atomic<GridOrigin> origin{GridOrigin::BarStart};
    std::atomic<int32_t> ticksPerBar{1920};
    std::atomic<bool> forwarding{true};
    std::atomic<uint32_t> sends{0};
};
} // namespace hostkit
