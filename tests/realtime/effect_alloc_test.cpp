#include "host/kit/hostcontext.h"
#include "host/kit/hostmiditrack.h"
#include "midiplugs/midiseq/pmidiseq.h"
#include "tests/realtime/alloccounter.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

using namespace hostkit;

namespace
{
// Everything a host calls on its event thread while the effect plays: pattern switches by
// note-on, parameter changes (and the refresh that comes back through them), the pattern
// operations behind the triggers, the transport, and the host kit's own track.
TEST(EffectAllocationTest, EventThreadCallsMakeNoHeapCall)
{
    HostOptions options;
    options.settingsPath = (std::filesystem::temp_directory_path() / "tremolin-alloc-test.settings").string();
    auto* host = new HostContext(options);
    auto* effect = static_cast<IMidiEffect*>(PMidiSeq::create(nullptr));
    ASSERT_EQ(effect->initialize(host), kResultOk);
    auto* seq = static_cast<PMidiSeq*>(effect);
    auto* controller = static_cast<IGenericPlugController*>(seq);
    auto value = [&](const char* name)
    {
        IHostValue* found = nullptr;
        controller->findValue(name, &found);
        return found;
    };
    IHostValue* length = value("Length");
    IHostValue* quantize = value("Quantize");
    IHostValue* swing = value("Swing");
    IHostValue* select = value("Pattern Select");
    const char* const triggers[] = {"Clear",           "Randomize",
                                    "Shift Octave Up", "Shift Octave Down",
                                    "Shift Time Left", "Shift Time Right",
                                    "Reverse",         "Copy",
                                    "Paste",           "About"};
    std::vector<IHostValue*> triggerValues;
    for (const char* name : triggers)
        triggerValues.push_back(value(name));
    IHostValue* lane = value("Param Select");

    // Patterns that differ, so that every switch changes all three of their values.
    for (int32_t p = 0; p < 8; ++p)
    {
        select->setInt(p + 1);
        length->setInt(3 + p);
        quantize->setInt(p % 11);
        swing->setInt(7 * p);
        value("Randomize")->setInt(1);
        value("Randomize")->setInt(0);
    }
    HostMidiTrack& track = host->track();
    std::vector<TrackEvent> sent;
    sent.reserve(HostMidiTrack::kOutputReserve);
    effect->reposition(0);
    int32_t played = 0;

    AllocationCount count;
    int32_t position = 0;
    for (int32_t round = 0; round < 40; ++round)
    {
        HostMidiEvent* noteOn = track.makeIncoming(0x90, 36 + round % 8, 100, position);
        effect->processEvent(noteOn);
        track.releaseEvent(noteOn);
        length->setInt(4 + round % 5);
        quantize->setInt(round % 11);
        swing->setInt(round);
        lane->setInt(round % 4);
        for (IHostValue* trigger : triggerValues)
        {
            trigger->setInt(1);
            trigger->setInt(0);
        }
        for (int32_t block = 0; block < 4; ++block, position += 90)
            effect->processRange(position, position + 90);
        if (round % 10 == 9) effect->reposition(position);
        track.takeEvents(sent);
        played += static_cast<int32_t>(sent.size());
    }
    select->setInt(3);
    const int64_t calls = count.stop();

    EXPECT_EQ(calls, 0) << (AllocationCount::seesMalloc() ? "heap calls" : "operator new calls");
    EXPECT_GT(played, 0) << "it played";
    EXPECT_EQ(seq->getEngine().currentPatternIndex(), 2);
    EXPECT_EQ(length->getInt(), seq->getEngine().currentPatternData().length);
    EXPECT_EQ(track.faults(), 0);
    EXPECT_EQ(track.eventsAlive(), 0);

    // The counter itself sees a heap call.
    AllocationCount probe;
    static int* volatile boxed;
    boxed = new int(1);
    delete boxed;
    EXPECT_GE(probe.stop(), 2);

    effect->terminate();
    effect->release();
    host->unbindValues();
    host->release();
    std::filesystem::remove(options.settingsPath);
}
} // namespace
