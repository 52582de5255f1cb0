#include "midiplugs/midiseq/midiseqengine.h"
#include "tests/realtime/alloccounter.h"
#include "tests/support/recordingtrack.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{
TEST(EngineAllocationTest, PlayingAndLocatingAllocateNothing)
{
    auto engine = std::make_unique<PMidiSeqEngine>();
    PSeqPattern& p = engine->currentPatternData();
    for (int32_t s = 0; s < kSeqStepCount; ++s)
    {
        p.setNote(s, 50 + s);
        p.steps[s].controller1 = 1 + s;
        p.steps[s].controller2 = 100 - s;
        p.setTie(s, s % 3 == 2);
    }
    p.swing = 0.6f;
    RecordingTrack track(1 << 14);
    track.origin = 0;
    track.channel = 3;

    AllocationCount count;
    engine->locate(0, &track);
    for (int32_t position = 0; position < 7680; position += 37)
        engine->process(position, position + 37, &track);
    engine->locate(100, &track);
    engine->process(100, 1000, &track);
    EXPECT_EQ(count.stop(), 0);
    EXPECT_GT(track.sent.size(), 100u); // it did play
    EXPECT_EQ(track.protocolFaults, 0);
}
} // namespace
