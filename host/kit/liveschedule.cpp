#include "host/kit/liveschedule.h"

#include <algorithm>

namespace hostkit
{
namespace
{
uint8_t dataByte(int32_t value)
{
    return static_cast<uint8_t>(std::clamp(value, 0, 127));
}

bool before(const LiveMessage& a, const LiveMessage& b)
{
    if (a.tick != b.tick) return a.tick < b.tick;
    if (a.rank != b.rank) return a.rank < b.rank;
    return a.sequence < b.sequence;
}
} // namespace

void LiveSchedule::add(const TrackEvent& event)
{
    LiveMessage message;
    message.tick = event.time;
    message.rank = 1;
    message.bytes[0] = event.status;
    const uint8_t kind = event.status & 0xF0;
    if (kind == 0x90 && !event.forwarded)
    {
        if (event.data1 < 0 || event.data1 > 127 || event.data2 <= 0) return;
        if (count + 2 > kCapacity)
        {
            ++droppedNotes;
            return;
        }
        const int32_t length = std::max(event.length, 0);
        message.bytes[1] = static_cast<uint8_t>(event.data1);
        message.bytes[2] = dataByte(event.data2);
        message.size = 3;
        message.sequence = nextSequence++;
        insert(message);
        LiveMessage off = message;
        off.tick = static_cast<int64_t>(event.time) + length;
        off.bytes[0] = static_cast<uint8_t>(0x80 | (event.status & 0x0F));
        off.bytes[2] = 0;
        off.rank = length == 0 ? 2 : 0;
        off.sequence = nextSequence++;
        insert(off);
        return;
    }
    if (kind < 0x80 || kind == 0xF0) return; // no channel message
    // Program changes and channel pressure have one data byte; everything else of a channel two.
    message.size = (kind == 0xC0 || kind == 0xD0) ? 2 : 3;
    message.bytes[1] = dataByte(event.data1);
    message.bytes[2] = message.size == 3 ? dataByte(event.data2) : 0;
    message.sequence = nextSequence++;
    if (!insert(message)) ++droppedNotes;
}

bool LiveSchedule::insert(const LiveMessage& message)
{
    if (count >= kCapacity) return false;
    size_t at = count;
    while (at > 0 && before(message, messages[at - 1]))
    {
        messages[at] = messages[at - 1];
        --at;
    }
    messages[at] = message;
    ++count;
    return true;
}

bool LiveSchedule::waiting(uint32_t sequence) const
{
    for (size_t i = 0; i < count; ++i)
        if (messages[i].sequence == sequence && !messages[i].isNoteOff()) return true;
    return false;
}

void LiveSchedule::removeFront(size_t taken)
{
    if (taken == 0) return;
    std::copy(messages.begin() + static_cast<std::ptrdiff_t>(taken),
              messages.begin() + static_cast<std::ptrdiff_t>(count), messages.begin());
    count -= taken;
}
} // namespace hostkit
