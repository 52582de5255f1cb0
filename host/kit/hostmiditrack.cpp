#include "host/kit/hostmiditrack.h"

namespace hostkit
{
HostMidiTrack::HostMidiTrack() = default;

HostMidiTrack::~HostMidiTrack()
{
    for (HostMidiEvent* event : live)
        delete event;
}

tresult HostMidiTrack::queryInterface(const TUID iid, void** obj)
{
    if (!obj) return kInvalidArgument;
    if (FUnknown::iid.equals(iid) || IHostMidiTrack::iid.equals(iid))
    {
        addRef();
        *obj = static_cast<IHostMidiTrack*>(this);
        return kResultOk;
    }
    *obj = nullptr;
    return kNoInterface;
}

bool HostMidiTrack::isLive(HostMidiEvent* event) const
{
    return event && live.count(event) != 0;
}

HostMidiEvent* HostMidiTrack::createEvent(uint8_t status, int32_t data1, int32_t data2, int32_t length)
{
    auto* event = new HostMidiEvent{status, data1, data2, length, 0};
    std::lock_guard<std::mutex> guard(mutex);
    live.insert(event);
    return event;
}

HostMidiEvent* HostMidiTrack::makeIncoming(uint8_t status, int32_t data1, int32_t data2, int32_t time)
{
    auto* event = new HostMidiEvent{status, data1, data2, 0, time};
    std::lock_guard<std::mutex> guard(mutex);
    live.insert(event);
    return event;
}

tresult HostMidiTrack::releaseEvent(HostMidiEvent* event)
{
    std::lock_guard<std::mutex> guard(mutex);
    if (!isLive(event))
    {
        ++faultCount;
        return kInvalidArgument;
    }
    live.erase(event);
    delete event;
    return kResultOk;
}

tresult HostMidiTrack::sendEvent(HostMidiEvent* event)
{
    std::lock_guard<std::mutex> guard(mutex);
    if (!isLive(event))
    {
        ++faultCount;
        return kInvalidArgument;
    }
    output.push_back({event->status, event->data1, event->data2, event->length, event->time, false});
    return kResultOk;
}

tresult HostMidiTrack::forwardEvent(HostMidiEvent* event)
{
    std::lock_guard<std::mutex> guard(mutex);
    if (!isLive(event))
    {
        ++faultCount;
        return kInvalidArgument;
    }
    if (!forwarding) return kResultFalse;
    output.push_back({event->status, event->data1, event->data2, event->length, event->time, true});
    return kResultOk;
}

tresult HostMidiTrack::setEventTime(HostMidiEvent* event, int32_t ticks)
{
    std::lock_guard<std::mutex> guard(mutex);
    if (!isLive(event))
    {
        ++faultCount;
        return kInvalidArgument;
    }
    event->time = ticks;
    return kResultOk;
}

int32_t HostMidiTrack::eventStatus(HostMidiEvent* event)
{
    std::lock_guard<std::mutex> guard(mutex);
    if (!isLive(event))
    {
        ++faultCount;
        return 0;
    }
    // Channel messages without their channel; system messages as they are.
    return event->status < 0xF0 ? (event->status & 0xF0) : event->status;
}

int32_t HostMidiTrack::eventData1(HostMidiEvent* event)
{
    std::lock_guard<std::mutex> guard(mutex);
    if (!isLive(event))
    {
        ++faultCount;
        return 0;
    }
    return event->data1;
}

int32_t HostMidiTrack::getChannel()
{
    return channel;
}

tresult HostMidiTrack::getGridInfo(int32_t tick, HostGridInfo* info)
{
    if (!info) return kInvalidArgument;
    *info = HostGridInfo{};
    int32_t start = 0;
    const int32_t bar = ticksPerBar;
    if (origin == GridOrigin::BarStart && bar > 0)
    {
        // The bar that holds the tick, also before 0: the origin never lies after the tick.
        int64_t index = tick / bar;
        if (tick % bar < 0) --index;
        start = static_cast<int32_t>(index * bar);
        info->hostFields[0] = static_cast<int32_t>(index); // bar number from 0
    }
    info->hostFields[1] = bar;
    info->hostFields[2] = tick - start; // ticks into the bar
    info->origin = start;
    return kResultOk;
}

void HostMidiTrack::setChannel(int32_t newChannel)
{
    channel = newChannel < 0 ? -1 : (newChannel & 0x0F);
}

void HostMidiTrack::setGridOrigin(GridOrigin newOrigin)
{
    origin = newOrigin;
}

void HostMidiTrack::setTicksPerBar(int32_t ticks)
{
    ticksPerBar = ticks;
}

void HostMidiTrack::setForwarding(bool on)
{
    forwarding = on;
}

std::vector<TrackEvent> HostMidiTrack::events()
{
    std::lock_guard<std::mutex> guard(mutex);
    return output;
}

void HostMidiTrack::clearEvents()
{
    std::lock_guard<std::mutex> guard(mutex);
    output.clear();
}

std::vector<TrackEvent> HostMidiTrack::takeEvents()
{
    std::vector<TrackEvent> taken;
    std::lock_guard<std::mutex> guard(mutex);
    taken.swap(output);
    return taken;
}

int32_t HostMidiTrack::faults()
{
    std::lock_guard<std::mutex> guard(mutex);
    return faultCount;
}

int32_t HostMidiTrack::eventsAlive()
{
    std::lock_guard<std::mutex> guard(mutex);
    return static_cast<int32_t>(live.size());
}
} // namespace hostkit
