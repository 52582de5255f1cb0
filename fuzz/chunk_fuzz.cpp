// Feeds arbitrary project chunks to the effect in the stand-in host, then drives it as a host
// would (pattern-selecting note-ons, parameter changes taken from the input's last bytes) and plays
// it: whatever a damaged or hostile project holds, the module must neither crash nor hang its host.

#include "host/kit/hostcontext.h"
#include "host/kit/hostmiditrack.h"
#include "midiplugs/midiseq/pmidiseq.h"
#include "tests/support/nulltrack.h"

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace
{
// Most random inputs would fail the magic and the size test; give the body a valid head and
// repeat it to the full size so that every field gets fuzzed.
std::vector<uint8_t> chunkFrom(const uint8_t* data, size_t size)
{
    std::vector<uint8_t> chunk(kChunkSize, 0);
    const uint8_t head[8] = {0x54, 0x72, 0x4D, 0x6F, 0x00, 0x00, 0x01, 0x05};
    if (size > 0 && data[0] == 0xFF)
    {
        // Now and then the raw bytes, so that the refusals are fuzzed too.
        std::memcpy(chunk.data(), data + 1, std::min(size - 1, chunk.size()));
        chunk.resize(size - 1);
        return chunk;
    }
    std::memcpy(chunk.data(), head, 8);
    for (size_t i = 8; size > 0 && i < chunk.size(); ++i)
        chunk[i] = data[(i - 8) % size];
    return chunk;
}
// A host of its own for every input, so that no input leaves anything behind for the next.
hostkit::HostContext* newHost()
{
    hostkit::HostOptions options;
    options.settingsPath = (std::filesystem::temp_directory_path() / "tremolin-chunk-fuzz.settings").string();
    return new hostkit::HostContext(options);
}

// The input's last bytes, two at a time: a parameter and its new value, or a note-on.
void driveAsAHost(PMidiSeq* effect, hostkit::HostMidiTrack& track, const uint8_t* data, size_t size)
{
    const size_t count = size < 64 ? size : 64;
    const uint8_t* script = data + size - count;
    for (size_t i = 0; i + 1 < count; i += 2)
    {
        const int32_t tag = script[i] % 20;
        const int32_t value = int8_t(script[i + 1]);
        if (tag >= kTagCount)
        {
            HostMidiEvent* event = track.makeIncoming(tag == kTagCount ? 0x90 : 0x80, value & 0x7F, 100, 0);
            effect->processEvent(event);
            track.releaseEvent(event);
            continue;
        }
        IHostValue* found = nullptr;
        if (IHostValue* v = (effect->getValueAt(tag, &found), found)) v->setInt(value);
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::vector<uint8_t> chunk = chunkFrom(data, size);
    hostkit::HostContext* host = newHost();
    PMidiSeq* effect = new PMidiSeq;
    effect->initialize(host);
    effect->setChunk(chunk.data(), static_cast<int32_t>(chunk.size()));
    driveAsAHost(effect, host->track(), data, size);

    NullTrack track;
    PMidiSeqEngine& engine = effect->getEngine();
    // Play a little of several patterns, with the origin and range taken from the input.
    int32_t origin = 0;
    int32_t start = 0;
    if (size >= 8)
    {
        std::memcpy(&origin, data, 4);
        std::memcpy(&start, data + 4, 4);
    }
    track.origin = origin;
    for (int32_t p = 0; p < 4; ++p)
    {
        engine.setCurrentPatternIndex((engine.currentPatternIndex() + p * 37) % kSeqPatternCount);
        engine.locate(start, &track);
        for (int32_t block = 0; block < 16; ++block)
        {
            const int64_t from = int64_t(start) + block * 240;
            if (from + 240 > INT32_MAX) break;
            engine.process(int32_t(from), int32_t(from + 240), &track);
        }
        // A position a little ahead, without running past the end of the host's tick range.
        engine.stepAt(start > INT32_MAX - 1000 ? start : start + 1000);
    }
    std::vector<uint8_t> back(kChunkSize);
    int32_t backSize = 0;
    effect->getChunk(back.data(), &backSize);
    effect->terminate();
    effect->release();
    host->unbindValues();
    host->release();
    return 0;
}
