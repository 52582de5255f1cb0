#include "lv2/ports.h"
#include "tests/lv2/lv2host.h"
#include "tests/realtime/alloccounter.h"

#include <lv2/atom/atom.h>
#include <lv2/midi/midi.h>
#include <lv2/time/time.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

using namespace lv2test;
using namespace tremolinlv2;

namespace
{
void randomize(Lv2Host& host)
{
    // Notes on every step of the first pattern, so that anything left hanging shows.
    host.control(kPortRandomize, 1.0f);
    host.run(32);
    host.control(kPortRandomize, 0.0f);
}

std::vector<uint8_t> bytesOf(double value)
{
    std::vector<uint8_t> bytes(sizeof value);
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

// MIDI of every size and kind, other atoms, positions with no, zero, negative or endless tempo,
// meters of nothing, places no counter reaches, and events out of order or past the block: the
// plug-in goes on, and every note it starts it ends.
TEST(Lv2InputTest, BadInputNeitherCrashesNorLeavesNotes)
{
    Lv2Host host(44100.0);
    ASSERT_TRUE(host.loaded());
    randomize(host);
    std::mt19937 random(17);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    std::vector<Position> odd;
    for (double tempo : {0.0, -120.0, nan, inf, 1e-9, 1e9})
        odd.push_back(rollingAt(1, 0, tempo));
    for (double speed : {-1.0, nan, inf, 1e-12, 50.0})
        odd.push_back(rollingAt(2, 1, 120.0, speed));
    Position meter = rollingAt(3, 0);
    meter.beatUnit = 0;
    odd.push_back(meter);
    meter.beatUnit = 4;
    meter.beatsPerBar = -3;
    odd.push_back(meter);
    for (double bar : {1e12, -1e12, 9.2e18, 559240.0})
        odd.push_back(rollingAt(bar, 0.5));
    Position frameOnly;
    frameOnly.frame = std::numeric_limits<int64_t>::max();
    frameOnly.speed = 1;
    odd.push_back(frameOnly);
    Position beatOnly;
    beatOnly.beat = -1e300;
    odd.push_back(beatOnly);

    std::vector<MidiEvent> all;
    for (int round = 0; round < 60; ++round)
    {
        host.position(0, rollingAt(round % 7, 0.25 * (round % 5)));
        for (int i = 0; i < 6; ++i)
        {
            std::vector<uint8_t> midi(random() % 9);
            for (uint8_t& byte : midi)
                byte = uint8_t(random());
            host.midi(uint32_t(random() % 256), midi);
        }
        // Back to the first pattern, the one with notes, by note-ons out of order and outside the block.
        host.midi(256, {0x90, 36, 1});
        host.atom(10, LV2_ATOM__Float, {0, 0, 0x80, 0x3F});
        host.atom(11, LV2_ATOM__Object, {1, 2, 3});        // shorter than an object's head
        host.atom(12, LV2_TIME__Position, bytesOf(120.0)); // a type no atom has
        // A position whose tempo claims more bytes than the object holds.
        std::vector<uint8_t> object(8 + 16 + 4, 0);
        const uint32_t head[] = {0,    host.urid(LV2_TIME__Position), host.urid(LV2_TIME__beatsPerMinute), 0,
                                 4000, host.urid(LV2_ATOM__Float)};
        std::memcpy(object.data(), head, sizeof head);
        host.atom(13, LV2_ATOM__Object, object);
        host.rawFrame(-5, LV2_MIDI__MidiEvent, {0x90, 36, 100});
        host.rawFrame(1 << 30, LV2_MIDI__MidiEvent, {0x90, 36, 100});
        host.control(kPortSwing, float(round % 3) * 50.0f);
        host.control(kPortQuantize, round % 2 ? 1e9f : -5.0f);
        host.control(kPortLength, std::numeric_limits<float>::quiet_NaN());
        for (uint32_t block : {4096u, 1u})
        {
            const auto events = host.run(block);
            all.insert(all.end(), events.begin(), events.end());
        }
        host.position(100, odd[size_t(round) % odd.size()]);
        host.rawFrame(50, LV2_MIDI__MidiEvent, {0x90, 36, 100});
        const auto events = host.run(511);
        all.insert(all.end(), events.begin(), events.end());
    }
    host.position(0, rollingAt(0, 0, 120.0, 0.0));
    const auto last = host.run(64);
    all.insert(all.end(), last.begin(), last.end());
    EXPECT_GT(std::count_if(all.begin(), all.end(), [](const MidiEvent& e) { return e.noteOn(); }), 10)
        << "it played";
    EXPECT_EQ(unbalancedNotes(all), "");
    for (size_t i = 1; i < all.size(); ++i)
        ASSERT_LE(all[i - 1].sample, all[i].sample) << "events in order";
}

// An output buffer with room for a few events: notes that don't fit are not begun, so none is
// left without its end.
TEST(Lv2InputTest, AFullOutputDropsNotesWhole)
{
    Lv2Host host(48000.0);
    ASSERT_TRUE(host.loaded());
    randomize(host);
    host.control(kPortQuantize, 10.0f); // 1/128: many events a block
    host.run(32);
    host.setOutputCapacity(8 + 24 * 3);
    host.position(0, rollingAt(0, 0));
    std::vector<MidiEvent> all = host.runFor(48000, 1024);
    host.setOutputCapacity(65536);
    host.position(0, rollingAt(2, 0, 120.0, 0.0));
    const auto last = host.run(64);
    all.insert(all.end(), last.begin(), last.end());
    EXPECT_GT(all.size(), 10u);
    EXPECT_EQ(unbalancedNotes(all), "");
}

// run() with everything a host brings: positions, jumps, stops and starts, note-ons that switch
// patterns, parameter changes and pattern operations from the ports, swung notes held over
// blocks.
TEST(Lv2InputTest, RunMakesNoHeapCall)
{
    Lv2Host host(48000.0);
    ASSERT_TRUE(host.loaded());
    for (int p = 1; p <= 4; ++p)
    {
        host.control(kPortPattern, float(p));
        host.control(kPortSwing, 30.0f * float(p));
        host.run(16);
        randomize(host);
    }
    host.control(kPortPattern, 1.0f);
    host.run(16);
    // Once through everything before counting: the lazily made parts of the libraries.
    host.position(0, rollingAt(0, 0));
    host.runFor(4096, 256);

    int64_t calls = 0;
    for (int round = 0; round < 80; ++round)
    {
        if (round % 10 == 0) host.position(3, rollingAt(round % 4, 1.5));
        if (round % 10 == 7) host.position(9, rollingAt(1, 0, 120.0, 0.0));
        if (round % 10 == 8) host.position(0, rollingAt(1, 0, 97.0));
        host.midi(5, {0x90, uint8_t(36 + round % 4), 100});
        host.control(kPortLength, float(8 + round % 9));
        host.control(kPortQuantize, float(round % 11));
        host.control(kPortSwing, float(round));
        host.control(kPortLane, float(round % 4));
        host.control(kFirstTrigger + uint32_t(round % 9), round % 2 ? 1.0f : 0.0f);
        // Only the plug-in's run is counted, not the test's host around it.
        AllocationCount count;
        host.runOnly(256);
        calls += count.stop();
    }
    EXPECT_EQ(calls, 0) << (AllocationCount::seesMalloc() ? "heap calls" : "operator new calls");
}
} // namespace
