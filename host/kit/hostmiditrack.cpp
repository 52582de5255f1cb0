#include "host/kit/hostmiditrack.h"

#include <cstddef>
#include <functional>
#include <mutex>

namespace hostkit
{
HostMidiTrack::HostMidiTrack()
    : store(new HostMidiEvent[kEventCapacity]), inUse(new bool[kEventCapacity]()),
      freeSlots(new int32_t[kEventCapacity]), freeCount(kEventCapacity)
{
    for (int32_t i = 0; i < kEventCapacity; ++i)
        freeSlots[i] = kEventCapacity - 1 - i;
    output.reserve(kOutputReserve);
}

HostMidiTrack::~HostMidiTrack() = default;

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

// Any pointer a module hands back is checked against the store without being followed: one that
// the track never made, or made and took back, is a fault.
bool HostMidiTrack::isLive(HostMidiEvent* event) const
{
    const std::less<const HostMidiEvent*> before;
    const HostMidiEvent* first = store.get();
    if (!event || before(event, first) || !before(event, first + kEventCapacity)) return false;
    const auto offset = reinterpret_cast<uintptr_t>(event) - reinterpret_cast<uintptr_t>(first);
    if (offset % sizeof(HostMidiEvent) != 0) return false;
    return inUse[offset / sizeof(HostMidiEvent)];
}

HostMidiEvent* HostMidiTrack::allocate(const HostMidiEvent& initial)
{
    std::lock_guard<SpinLock> guard(mutex);
    // With every event out the track makes no more, as a host with a full event pool refuses.
    if (freeCount == 0) return nullptr;
    const int32_t slot = freeSlots[--freeCount];
    inUse[slot] = true;
    store[slot] = initial;
    return &store[slot];
}

HostMidiEvent* HostMidiTrack::createEvent(uint8_t status, int32_t data1, int32_t data2, int32_t length)
{
    return allocate({status, data1, data2, length, 0});
}

HostMidiEvent* HostMidiTrack::makeIncoming(uint8_t status, int32_t data1, int32_t data2, int32_t time)
{
    return allocate({status, data1, data2, 0, time});
}

tresult HostMidiTrack::releaseEvent(HostMidiEvent* event)
{
    std::lock_guard<SpinLock> guard(mutex);
    if (!isLive(event))
    {
        ++faultCount;
        return kInvalidArgument;
    }
    const auto slot = static_cast<int32_t>(event - store.get());
    inUse[slot] = false;
    freeSlots[freeCount++] = slot;
    return kResultOk;
}

tresult HostMidiTrack::sendEvent(HostMidiEvent* event)
{
    std::lock_guard<SpinLock> guard(mutex);
    if (!isLive(event))
    {
        ++faultCount;
        return kInvalidArgument;
    }
    output.push_back({event->status, event->data1, event->data2, event->length, event->time, false});
    sends.fetch_add(1, std::memory_order_relaxed);
    return kResultOk;
}

tresult HostMidiTrack::forwardEvent(HostMidiEvent* event)
{
    std::lock_guard<SpinLock> guard(mutex);
    if (!isLive(event))
    {
        ++faultCount;
        return kInvalidArgument;
    }
    if (!forwarding) return kResultFalse;
    output.push_back({event->status, event->data1, event->data2, event->length, event->time, true});
    sends.fetch_add(1, std::memory_order_relaxed);
    return kResultOk;
}

tresult HostMidiTrack::setEventTime(HostMidiEvent* event, int32_t ticks)
{
    std::lock_guard<SpinLock> guard(mutex);
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
    std::lock_guard<SpinLock> guard(mutex);
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
    std::lock_guard<SpinLock> guard(mutex);
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
    // Reserved before the lock is taken, so the event thread never spins through an allocation.
    std::vector<TrackEvent> copy;
    for (;;)
    {
        size_t wanted;
        {
            std::lock_guard<SpinLock> guard(mutex);
            wanted = output.size();
        }
        copy.reserve(wanted + 64);
        std::lock_guard<SpinLock> guard(mutex);
        if (output.size() <= copy.capacity())
        {
            copy.assign(output.begin(), output.end());
            return copy;
        }
    }
}

void HostMidiTrack::clearEvents()
{
    std::lock_guard<SpinLock> guard(mutex);
    output.clear();
}

std::vector<TrackEvent> HostMidiTrack::takeEvents()
{
    std::vector<TrackEvent> taken;
    taken.reserve(kOutputReserve);
    takeEvents(taken);
    return taken;
}

void HostMidiTrack::takeEvents(std::vector<TrackEvent>& into)
{
    into.clear();
    std::lock_guard<SpinLock> guard(mutex);
    into.assign(output.begin(), output.end());
    output.clear(); // keeps its reserve
}

int32_t HostMidiTrack::faults()
{
    std::lock_guard<SpinLock> guard(mutex);
    return faultCount;
}

int32_t HostMidiTrack::eventsAlive()
{
    std::lock_guard<SpinLock> guard(mutex);
    return kEventCapacity - freeCount;
}
} // namespace hostkit
