#include "lv2/pendingnotes.h"

namespace tremolinlv2
{
namespace
{
bool before(int64_t sampleA, int32_t rankA, int64_t sampleB, int32_t rankB)
{
    return sampleA < sampleB || (sampleA == sampleB && rankA < rankB);
}
} // namespace

void PendingNotes::insert(const Entry& entry)
{
    // After every entry that is not later: events of one sample keep the order they came in.
    int32_t at = count;
    while (at > 0 &&
           before(entry.event.sample, entry.rank, entries[at - 1].event.sample, entries[at - 1].rank))
    {
        entries[at] = entries[at - 1];
        --at;
    }
    entries[at] = entry;
    ++count;
}

void PendingNotes::removeAt(int32_t index)
{
    for (int32_t i = index; i + 1 < count; ++i)
        entries[i] = entries[i + 1];
    --count;
}

bool PendingNotes::addNote(int64_t on, int64_t off, uint8_t status, uint8_t note, uint8_t velocity)
{
    if (count + 2 > kCapacity)
    {
        ++refusedNotes;
        return false;
    }
    if (off < on) off = on;
    const uint8_t channel = status & 0x0F;
    insert({{on, {static_cast<uint8_t>(0x90 | channel), note, velocity}}, on, 1});
    // A note of no length still ends after it began, at the same sample.
    insert({{off, {static_cast<uint8_t>(0x80 | channel), note, 0}}, on, off == on ? 2 : 0});
    return true;
}

bool PendingNotes::addController(int64_t at, uint8_t status, uint8_t number, uint8_t value)
{
    if (count + 1 > kCapacity) return false;
    insert({{at, {status, number, value}}, at, 1});
    return true;
}

bool PendingNotes::takeDue(int64_t end, MidiOut& out)
{
    if (count == 0 || entries[0].event.sample >= end) return false;
    const Entry first = entries[0];
    if ((first.event.bytes[0] & 0xF0) == 0x90)
    {
        // A later end of an earlier note on this key goes out now, before the new start.
        for (int32_t i = 1; i < count; ++i)
        {
            const Entry& other = entries[i];
            if (isNoteOff(other) && other.noteOn < first.event.sample &&
                (other.event.bytes[0] & 0x0F) == (first.event.bytes[0] & 0x0F) &&
                other.event.bytes[1] == first.event.bytes[1])
            {
                out = other.event;
                out.sample = first.event.sample;
                removeAt(i);
                return true;
            }
        }
    }
    out = first.event;
    removeAt(0);
    return true;
}

void PendingNotes::forgetNote(int64_t on, uint8_t status, uint8_t note)
{
    for (int32_t i = 0; i < count; ++i)
    {
        const Entry& entry = entries[i];
        if (isNoteOff(entry) && entry.noteOn == on && (entry.event.bytes[0] & 0x0F) == (status & 0x0F) &&
            entry.event.bytes[1] == note)
        {
            removeAt(i);
            return;
        }
    }
}

bool PendingNotes::takeFlush(int64_t at, MidiOut& out)
{
    while (count > 0)
    {
        const Entry entry = entries[0];
        removeAt(0);
        // Whatever began before `at` has been written; the rest never sounded.
        if (isNoteOff(entry) && entry.noteOn < at)
        {
            out = entry.event;
            out.sample = at;
            return true;
        }
    }
    return false;
}
} // namespace tremolinlv2
