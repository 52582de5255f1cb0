#pragma once

// The MIDI the adapter owes the host: note-ons and controller events that fall in a later block
// (a swung step, the rest of a block's range), and the note-off of every note, which the module
// never sends itself (its notes carry their lengths). A fixed store, so that the audio thread
// makes no heap call; kept in the order of output. A note is taken only with room for its
// note-off, so the store never leaves a note sounding.

#include <cstdint>

namespace tremolinlv2
{
struct MidiOut
{
    int64_t sample = 0; // on the adapter's own count of samples since instantiation
    uint8_t bytes[3] = {};
};

class PendingNotes
{
public:
    static constexpr int32_t kCapacity = 1024;

    // A note-on at `on` and its note-off at `off` (not before `on`); false, and nothing kept, when
    // the store has no room for both.
    bool addNote(int64_t on, int64_t off, uint8_t status, uint8_t note, uint8_t velocity);
    bool addController(int64_t at, uint8_t status, uint8_t number, uint8_t value);

    // Takes the next event due before `end` into `out`; false when none is due. A note-on first
    // ends a note of the same key and channel that is still sounding, so that the two never
    // overlap on one key.
    bool takeDue(int64_t end, MidiOut& out);
    // A note-on that could not be written: its note-off is dropped too.
    void forgetNote(int64_t on, uint8_t status, uint8_t note);
    // Stop or jump at `at`: every note that sounds gets its note-off, one by one into `out`; what
    // has not started yet is dropped. False when nothing is left.
    bool takeFlush(int64_t at, MidiOut& out);
    void clear() { count = 0; }

    int32_t size() const { return count; }
    // Notes refused for want of room since the start.
    int64_t refused() const { return refusedNotes; }

private:
    struct Entry
    {
        MidiOut event;
        int64_t noteOn = 0; // for a note-off: when its note began
        int32_t rank = 0;   // order within one sample: other notes' ends, starts, zero-length ends
    };
    void insert(const Entry& entry);
    void removeAt(int32_t index);
    static bool isNoteOff(const Entry& entry) { return (entry.event.bytes[0] & 0xF0) == 0x80; }

    Entry entries[kCapacity];
    int32_t count = 0;
    int64_t refusedNotes = 0;
};
} // namespace tremolinlv2
