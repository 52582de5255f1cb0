#include "tests/support/recordingtrack.h"

RecordingTrack::RecordingTrack(size_t capacity)
{
    sent.reserve(capacity);
    forwarded.reserve(64);
}

tresult RecordingTrack::queryInterface(const TUID iid, void** obj)
{
    if (FUnknown::iid.equals(iid) || IHostMidiTrack::iid.equals(iid))
    {
        addRef();
        *obj = static_cast<IHostMidiTrack*>(this);
        return kResultOk;
    }
    *obj = nullptr;
    return kNoInterface;
}

RecordingTrack::Slot* RecordingTrack::slotOf(HostMidiEvent* event)
{
    auto* slot = reinterpret_cast<Slot*>(event);
    if (slot == &incomingSlot) return slot;
    for (Slot& candidate : pool)
        if (&candidate == slot) return slot;
    return nullptr;
}

HostMidiEvent* RecordingTrack::createEvent(uint8_t status, int32_t data1, int32_t data2, int32_t length)
{
    for (Slot& slot : pool)
    {
        if (slot.stage == 0)
        {
            slot.event = RecordedEvent{status, data1, data2, length, 0};
            slot.stage = 1;
            return reinterpret_cast<HostMidiEvent*>(&slot);
        }
    }
    ++protocolFaults; // the module keeps events alive that it should have released
    return reinterpret_cast<HostMidiEvent*>(&incomingSlot);
}

tresult RecordingTrack::setEventTime(HostMidiEvent* event, int32_t ticks)
{
    Slot* slot = slotOf(event);
    if (!slot || slot->stage != 1)
    {
        ++protocolFaults;
        return kInvalidArgument;
    }
    slot->event.time = ticks;
    slot->stage = 2;
    return kResultOk;
}

tresult RecordingTrack::sendEvent(HostMidiEvent* event)
{
    Slot* slot = slotOf(event);
    if (!slot || slot->stage != 2)
    {
        ++protocolFaults;
        return kInvalidArgument;
    }
    if (sent.size() < sent.capacity())
        sent.push_back(slot->event);
    else
        ++protocolFaults;
    slot->stage = 3;
    return kResultOk;
}

tresult RecordingTrack::releaseEvent(HostMidiEvent* event)
{
    Slot* slot = slotOf(event);
    if (!slot || slot->stage != 3)
    {
        ++protocolFaults;
        return kInvalidArgument;
    }
    slot->stage = 0;
    return kResultOk;
}

tresult RecordingTrack::forwardEvent(HostMidiEvent* event)
{
    Slot* slot = slotOf(event);
    if (!slot) return kInvalidArgument;
    if (forwarded.size() < forwarded.capacity()) forwarded.push_back(slot->event);
    return kResultOk;
}

int32_t RecordingTrack::eventStatus(HostMidiEvent* event)
{
    Slot* slot = slotOf(event);
    return slot ? (slot->event.status & 0xF0) : 0;
}

int32_t RecordingTrack::eventData1(HostMidiEvent* event)
{
    Slot* slot = slotOf(event);
    return slot ? slot->event.data1 : 0;
}

tresult RecordingTrack::getGridInfo(int32_t tick, HostGridInfo* info)
{
    ++gridQueries;
    info->origin = originAt ? originAt(tick) : origin;
    return kResultOk;
}

HostMidiEvent* RecordingTrack::incoming(uint8_t status, int32_t data1, int32_t data2)
{
    incomingSlot.event = RecordedEvent{status, data1, data2, 0, 0};
    incomingSlot.stage = 0;
    return reinterpret_cast<HostMidiEvent*>(&incomingSlot);
}

std::vector<RecordedEvent> RecordingTrack::notes() const
{
    std::vector<RecordedEvent> result;
    for (const RecordedEvent& e : sent)
        if (e.isNote()) result.push_back(e);
    return result;
}

std::vector<RecordedEvent> RecordingTrack::controllers() const
{
    std::vector<RecordedEvent> result;
    for (const RecordedEvent& e : sent)
        if (e.isController()) result.push_back(e);
    return result;
}

void RecordingTrack::clear()
{
    sent.clear();
    forwarded.clear();
    gridQueries = 0;
}
