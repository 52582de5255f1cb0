#pragma once

// What a live MIDI output still has to send: the messages of a block that fall later than the
// block (a swung step), and above all the note-off of every note that sounds, since a module's
// note carries its length and no note-off of its own. A fixed store made up front, so that the
// real-time thread that feeds it and sends from it makes no heap call. When it is full a new note
// is left out whole, and so is a controller (counted in dropped()): a note that could not be ended must not
// begin.

#include "host/kit/hostmiditrack.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace hostkit
{
struct LiveMessage
{
    int64_t tick = 0;
    uint8_t bytes[3] = {};
    uint8_t size = 0;
    uint8_t rank =
        0; // at one tick: 0 a note-off of an earlier note, 1 the rest, 2 a note-off at its own note-on
    uint32_t sequence = 0; // the order of adding, which breaks the remaining ties

    bool isNoteOff() const { return (bytes[0] & 0xF0) == 0x80; }
};

class LiveSchedule
{
public:
    static constexpr size_t kCapacity = 2048;

    // Takes an event the module sent: a note-on becomes itself and its note-off at time +
    // length; a controller, or anything forwarded, goes out as it is. Notes outside 0..127 and
    // velocity 0 are left out, as in a file.
    void add(const TrackEvent& event);

    // Every message due before `end`, in time order, through send(const LiveMessage&), and off the
    // list.
    template <class Send> void takeDue(int64_t end, Send&& send)
    {
        size_t taken = 0;
        while (taken < count && messages[taken].tick < end)
            send(messages[taken++]);
        removeFront(taken);
    }

    // Ends everything: the note-offs of all notes that sound, now and in the order they would
    // have come, and drops what else was still to come. For a stop and for a jump in time.
    template <class Send> void takeNoteOffs(Send&& send)
    {
        for (size_t i = 0; i < count; ++i)
            if (messages[i].isNoteOff() && !waiting(messages[i].sequence - 1)) send(messages[i]);
        count = 0;
    }

    size_t pending() const { return count; }
    int64_t dropped() const { return droppedNotes; }

private:
    bool insert(const LiveMessage& message);
    // Whether the note-on with this sequence number is still to come: its note-off then ends
    // nothing.
    bool waiting(uint32_t sequence) const;
    void removeFront(size_t taken);

    std::array<LiveMessage, kCapacity> messages{}; // sorted by tick, rank, sequence
    size_t count = 0;
    uint32_t nextSequence = 0;
    int64_t droppedNotes = 0;
};
} // namespace hostkit
