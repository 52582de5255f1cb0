#include "host/kit/midifile.h"

#include <algorithm>
#include <cmath>

namespace hostkit
{
namespace
{
// The largest tick a file can reach: its delta times have at most four 7-bit bytes.
const int64_t kLastTick = 0x0FFFFFFF;

uint8_t dataByte(int32_t value)
{
    return static_cast<uint8_t>(value < 0 ? 0 : (value > 127 ? 127 : value));
}

struct Ordered
{
    MidiMessage message;
    int rank; // 0: note-off of an earlier note; 1: everything else; 2: a note-off at its own note-on's tick
    size_t sequence;
};

void putVariable(std::vector<uint8_t>& out, uint64_t value)
{
    uint8_t bytes[10];
    int count = 0;
    do
    {
        bytes[count++] = static_cast<uint8_t>(value & 0x7F);
        value >>= 7;
    } while (value && count < 10);
    while (count > 1)
        out.push_back(static_cast<uint8_t>(bytes[--count] | 0x80));
    out.push_back(bytes[0]);
}

void putBig(std::vector<uint8_t>& out, uint32_t value, int bytes)
{
    for (int i = bytes - 1; i >= 0; --i)
        out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}
} // namespace

std::vector<MidiMessage> midiTimeline(const std::vector<TrackEvent>& events)
{
    std::vector<Ordered> ordered;
    ordered.reserve(events.size() * 2);
    for (size_t i = 0; i < events.size(); ++i)
    {
        const TrackEvent& event = events[i];
        const int64_t time = std::clamp<int64_t>(event.time, 0, kLastTick);
        const size_t sequence = 2 * i;
        if (event.isNoteOn() && !event.forwarded)
        {
            // Velocity 0 is a note-off in a file: such a note sounds nothing and has no pair.
            if (event.data1 < 0 || event.data1 > 127 || event.data2 <= 0) continue;
            const auto channel = static_cast<uint8_t>(event.status & 0x0F);
            const auto note = static_cast<uint8_t>(event.data1);
            ordered.push_back({{time, event.status, note, dataByte(event.data2)}, 1, sequence});
            const int64_t length = std::max<int32_t>(0, event.length);
            const int64_t end = std::min(time + length, kLastTick);
            // An off at a later tick goes before that tick's note-ons; one that the end of the
            // tick range pulled onto its own note-on's tick goes after everything there.
            ordered.push_back(
                {{end, static_cast<uint8_t>(0x80 | channel), note, 0}, end > time ? 0 : 2, sequence + 1});
            continue;
        }
        if (event.status < 0x80 || event.status >= 0xF0)
            continue; // no channel message: nothing a format 0 file can carry as it stands
        ordered.push_back({{time, event.status, dataByte(event.data1), dataByte(event.data2)}, 1, sequence});
    }
    std::sort(ordered.begin(), ordered.end(),
              [](const Ordered& a, const Ordered& b)
              {
                  if (a.message.tick != b.message.tick) return a.message.tick < b.message.tick;
                  if (a.rank != b.rank) return a.rank < b.rank;
                  return a.sequence < b.sequence;
              });
    std::vector<MidiMessage> out;
    out.reserve(ordered.size());
    for (const Ordered& entry : ordered)
        out.push_back(entry.message);
    return out;
}

std::vector<uint8_t> writeMidiFile(const std::vector<MidiMessage>& timeline, double tempoBpm,
                                   const std::string& trackName)
{
    std::vector<uint8_t> track;
    // Tick 0: name, tempo, time signature.
    track.push_back(0);
    track.push_back(0xFF);
    track.push_back(0x03);
    putVariable(track, trackName.size());
    track.insert(track.end(), trackName.begin(), trackName.end());

    const double micros = std::round(60000000.0 / tempoBpm);
    const auto perQuarter = static_cast<uint32_t>(std::clamp(micros, 1.0, 16777215.0));
    track.insert(track.end(), {0x00, 0xFF, 0x51, 0x03});
    putBig(track, perQuarter, 3);
    track.insert(track.end(), {0x00, 0xFF, 0x58, 0x04, 0x04, 0x02, 0x18, 0x08});

    int64_t last = 0;
    for (const MidiMessage& message : timeline)
    {
        putVariable(track, static_cast<uint64_t>(message.tick - last));
        last = message.tick;
        track.push_back(message.status);
        track.push_back(message.data1);
        // Program change and channel pressure carry one data byte.
        const uint8_t kind = message.status & 0xF0;
        if (kind != 0xC0 && kind != 0xD0) track.push_back(message.data2);
    }
    track.insert(track.end(), {0x00, 0xFF, 0x2F, 0x00});

    std::vector<uint8_t> file = {'M', 'T', 'h', 'd', 0, 0, 0, 6, 0, 0, 0, 1};
    putBig(file, 480, 2);
    file.insert(file.end(), {'M', 'T', 'r', 'k'});
    putBig(file, static_cast<uint32_t>(track.size()), 4);
    file.insert(file.end(), track.begin(), track.end());
    return file;
}
} // namespace hostkit
