#pragma once

// A MIDI track that only counts what it is sent, for benchmarks and fuzzing, where recording
// would cost more than the code being measured.

#include "module/hostinterfaces.h"

#include <cstdint>

class NullTrack : public IHostMidiTrack
{
public:
    tresult queryInterface(const TUID, void** obj) override
    {
        *obj = nullptr;
        return kNoInterface;
    }
    uint32_t addRef() override { return 1; }
    uint32_t release() override { return 1; }
    HostMidiEvent* createEvent(uint8_t status, int32_t data1, int32_t data2, int32_t length) override
    {
        checksum += uint32_t(status) + uint32_t(data1) + uint32_t(data2) + uint32_t(length);
        return reinterpret_cast<HostMidiEvent*>(&checksum);
    }
    tresult releaseEvent(HostMidiEvent*) override { return kResultOk; }
    tresult sendEvent(HostMidiEvent*) override
    {
        ++sent;
        return kResultOk;
    }
    tresult forwardEvent(HostMidiEvent*) override { return kResultOk; }
    tresult setEventTime(HostMidiEvent*, int32_t ticks) override
    {
        checksum += uint32_t(ticks);
        return kResultOk;
    }
    int32_t eventStatus(HostMidiEvent*) override { return 0; }
    int32_t eventData1(HostMidiEvent*) override { return 0; }
    int32_t getChannel() override { return channel; }
    tresult getGridInfo(int32_t, HostGridInfo* info) override
    {
        info->origin = origin;
        return kResultOk;
    }

    int64_t sent = 0;
    uint32_t checksum = 0;
    int32_t channel = 2;
    int32_t origin = 0;
};
