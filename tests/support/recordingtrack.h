#pragma once

// A MIDI track in the host's place that records what the module sends. It allocates nothing
// while the module plays (events come from a fixed pool, the log is reserved up front), so it can
// stand in allocation counts and on the real-time path of concurrency tests.

#include "module/hostinterfaces.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

struct RecordedEvent
{
    int32_t status = 0;
    int32_t data1 = 0;
    int32_t data2 = 0;
    int32_t length = 0;
    int32_t time = 0;

    bool isNote() const { return (status & 0xF0) == 0x90; }
    bool isController() const { return (status & 0xF0) == 0xB0; }
};

class RecordingTrack : public IHostMidiTrack
{
public:
    explicit RecordingTrack(size_t capacity = 4096);

    tresult queryInterface(const TUID iid, void** obj) override;
    uint32_t addRef() override { return ++references; }
    uint32_t release() override { return --references; }

    HostMidiEvent* createEvent(uint8_t status, int32_t data1, int32_t data2, int32_t length) override;
    tresult releaseEvent(HostMidiEvent* event) override;
    tresult sendEvent(HostMidiEvent* event) override;
    tresult forwardEvent(HostMidiEvent* event) override;
    tresult setEventTime(HostMidiEvent* event, int32_t ticks) override;
    int32_t eventStatus(HostMidiEvent* event) override;
    int32_t eventData1(HostMidiEvent* event) override;
    int32_t getChannel() override { return channel; }
    tresult getGridInfo(int32_t tick, HostGridInfo* info) override;

    // An incoming event of the host's, for the module's processEvent.
    HostMidiEvent* incoming(uint8_t status, int32_t data1, int32_t data2);

    std::vector<RecordedEvent> notes() const;
    std::vector<RecordedEvent> controllers() const;
    void clear();

    std::vector<RecordedEvent> sent;      // in the order they were sent
    std::vector<RecordedEvent> forwarded; // passed on unchanged
    int32_t channel = -1;
    int32_t origin = 0;
    // When set, gives the grid origin for a tick instead of `origin`.
    std::function<int32_t(int32_t)> originAt;
    int32_t gridQueries = 0;
    // Calls out of the order create, setEventTime, sendEvent, releaseEvent; events left unreleased;
    // sends beyond the reserved capacity.
    int32_t protocolFaults = 0;
    uint32_t references = 1;

private:
    struct Slot
    {
        RecordedEvent event;
        int stage = 0; // 0 free, 1 created, 2 timed, 3 sent
    };
    Slot* slotOf(HostMidiEvent* event);

    Slot pool[8];
    Slot incomingSlot;
};
