#include "midiplugs/midiseq/midiseqengine.h"
#include "tests/support/recordingtrack.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{
struct Played
{
    int32_t note;
    int32_t time;
    int32_t length;
};

class EngineTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        engine = std::make_unique<PMidiSeqEngine>();
        // A rising line so that each step is recognisable by its note.
        for (int32_t s = 0; s < kSeqStepCount; ++s)
            current().setNote(s, 40 + s);
    }
    void TearDown() override
    {
        EXPECT_EQ(track.protocolFaults, 0) << "events must be created, timed, sent, released";
    }

    PSeqPattern& current() { return engine->currentPatternData(); }

    std::vector<Played> played()
    {
        std::vector<Played> result;
        for (const RecordedEvent& e : track.notes())
            result.push_back({e.data1, e.time, e.length});
        return result;
    }

    std::unique_ptr<PMidiSeqEngine> engine;
    RecordingTrack track;
};

TEST_F(EngineTest, PlaysEachGridPointOnceAndLeavesThePointAtToForTheNextCall)
{
    engine->locate(0, &track);
    engine->process(0, 120, &track);
    ASSERT_EQ(played().size(), 1u);
    EXPECT_EQ(played()[0].note, 40);
    EXPECT_EQ(played()[0].time, 0);
    EXPECT_EQ(played()[0].length, 120);

    engine->process(120, 240, &track);
    ASSERT_EQ(played().size(), 2u);
    EXPECT_EQ(played()[1].note, 41);
    EXPECT_EQ(played()[1].time, 120);

    // A range that ends just before a grid point leaves it alone; the next range starts with it.
    track.clear();
    engine->process(240, 359, &track);
    engine->process(359, 361, &track);
    ASSERT_EQ(played().size(), 2u);
    EXPECT_EQ(played()[0].time, 240);
    EXPECT_EQ(played()[1].time, 360);

    // One long range plays all of its grid points.
    PMidiSeqEngine fresh;
    fresh.currentPatternData() = current();
    RecordingTrack other;
    fresh.process(0, 480, &other);
    ASSERT_EQ(other.notes().size(), 4u);
    EXPECT_EQ(other.notes()[3].data1, 43);
    EXPECT_EQ(other.notes()[3].time, 360);
    // With no swing the host's grid is never consulted while playing.
    EXPECT_EQ(other.gridQueries, 0);
}

TEST_F(EngineTest, StaysSilentAfterAJumpThatWasNotAnnounced)
{
    engine->locate(0, &track);
    engine->process(0, 120, &track);
    ASSERT_EQ(played().size(), 1u);

    // Forward: the engine waits for a locate that never comes, and keeps its place.
    engine->process(480, 600, &track);
    engine->process(600, 720, &track);
    EXPECT_EQ(played().size(), 1u);
    EXPECT_EQ(engine->nextPosition(), 120);
    EXPECT_EQ(engine->currentStep(), 1);

    engine->locate(600, &track);
    engine->process(600, 720, &track);
    ASSERT_EQ(played().size(), 2u);
    EXPECT_EQ(played()[1].note, 45); // 600 / 120 = step 5
    EXPECT_EQ(played()[1].time, 600);

    // Backward: nothing plays until the transport reaches the awaited grid point again.
    track.clear();
    engine->process(0, 120, &track);
    EXPECT_TRUE(played().empty());
    engine->process(720, 840, &track);
    ASSERT_EQ(played().size(), 1u);
    EXPECT_EQ(played()[0].note, 46);
}

TEST_F(EngineTest, LocateFindsTheStepDueAtOrAfterThePositionInPhaseWithTheOrigin)
{
    engine->locate(130, &track);
    EXPECT_EQ(engine->nextPosition(), 240);
    EXPECT_EQ(engine->currentStep(), 2);
    engine->locate(120, &track);
    EXPECT_EQ(engine->nextPosition(), 120);
    EXPECT_EQ(engine->currentStep(), 1);

    track.origin = 100;
    engine->locate(130, &track);
    EXPECT_EQ(engine->nextPosition(), 220);
    EXPECT_EQ(engine->currentStep(), 1);

    // The step counter wraps at the length: 16 steps of 120 ticks make a bar of 1920.
    track.origin = 0;
    engine->locate(1920 + 240, &track);
    EXPECT_EQ(engine->currentStep(), 2);
    engine->process(2160, 2280, &track);
    ASSERT_EQ(played().size(), 1u);
    EXPECT_EQ(played()[0].note, 42);

    // A host that reports an origin after the position still leaves a step inside the pattern.
    track.origin = 1000;
    engine->locate(0, &track);
    EXPECT_GE(engine->currentStep(), 0);
    EXPECT_LT(engine->currentStep(), 16);
}

TEST_F(EngineTest, SwingDelaysEverySecondGridLineCountedFromTheOrigin)
{
    current().swing = 1.0f;
    engine->locate(0, &track);
    engine->process(0, 480, &track);
    auto notes = played();
    ASSERT_EQ(notes.size(), 4u);
    EXPECT_EQ(notes[0].time, 0);
    EXPECT_EQ(notes[1].time, 160);
    EXPECT_EQ(notes[2].time, 240);
    EXPECT_EQ(notes[3].time, 400);
    // Swing moves the time only: the grid and the durations stay.
    EXPECT_EQ(notes[1].length, 120);
    EXPECT_EQ(engine->nextPosition(), 480);

    track.clear();
    engine->setSwing(0.5f);
    engine->locate(0, &track);
    engine->process(0, 240, &track);
    ASSERT_EQ(played().size(), 2u);
    EXPECT_EQ(played()[1].time, 140);

    // A delayed event may lie beyond `to`; it still goes out in this call.
    track.clear();
    engine->setSwing(1.0f);
    engine->locate(0, &track);
    engine->process(0, 121, &track);
    ASSERT_EQ(played().size(), 2u);
    EXPECT_EQ(played()[1].time, 160);

    // The pairs are counted from the host's origin: with the grid starting at 60, the line at
    // 180 is the second of its pair and 300 the first of the next.
    track.clear();
    track.origin = 60;
    engine->locate(60, &track);
    engine->process(60, 420, &track);
    notes = played();
    ASSERT_EQ(notes.size(), 3u);
    EXPECT_EQ(notes[0].time, 60);
    EXPECT_EQ(notes[1].time, 220);
    EXPECT_EQ(notes[2].time, 300);

    // An origin that is not on the pattern's grid: event times snap to the grid counted from it.
    track.clear();
    track.origin = 50;
    engine->locate(50, &track);
    engine->process(50, 290, &track);
    notes = played();
    ASSERT_EQ(notes.size(), 2u);
    EXPECT_EQ(notes[0].time, 50);
    EXPECT_EQ(notes[1].time, 210);

    // A tiny swing on a fine grid truncates to no delay at all.
    track.clear();
    track.origin = 0;
    engine->setQuantize(15);
    engine->setSwing(0.1f);
    engine->locate(0, &track);
    engine->process(0, 30, &track);
    ASSERT_EQ(played().size(), 2u);
    EXPECT_EQ(played()[1].time, 15);
}

TEST_F(EngineTest, TiedStepsExtendTheNoteBeforeThemUpToTheGateOfTheLastOne)
{
    PSeqPattern& p = current();
    p.length = 4;
    p.setGate(0, 0.5f);
    p.setTie(1, 1);
    p.setTie(2, 1);
    p.setGate(2, 0.25f);
    engine->locate(0, &track);
    engine->process(0, 480, &track);
    auto notes = played();
    ASSERT_EQ(notes.size(), 2u);
    EXPECT_EQ(notes[0].note, 40);
    EXPECT_EQ(notes[0].length, 270); // two steps of 120 and a quarter of the last
    EXPECT_EQ(notes[1].note, 43);
    EXPECT_EQ(notes[1].time, 360);

    // A chain that runs over the end of the pattern into its start.
    p.clear(false);
    p.setNote(3, 60);
    p.setTie(0, 1);
    p.setNote(0, 50); // a tied step's own note is never played
    track.clear();
    engine->locate(0, &track);
    engine->process(0, 960, &track);
    notes = played();
    ASSERT_EQ(notes.size(), 2u);
    EXPECT_EQ(notes[0].note, 60);
    EXPECT_EQ(notes[0].time, 360);
    EXPECT_EQ(notes[0].length, 240);
    EXPECT_EQ(notes[1].time, 840);

    // Ties on every other step: the note holds over the whole pattern.
    p.clear(false);
    p.length = 8;
    p.setNote(2, 70);
    for (int32_t s = 0; s < 8; ++s)
        if (s != 2) p.setTie(s, 1);
    p.setGate(1, 0.5f);
    track.clear();
    engine->locate(0, &track);
    engine->process(0, 960, &track);
    notes = played();
    ASSERT_EQ(notes.size(), 1u);
    EXPECT_EQ(notes[0].length, 7 * 120 + 60);

    // A gate of 0 still sends its note, with no length.
    p.clear(false);
    p.setNote(0, 72);
    p.setGate(0, 0.0f);
    track.clear();
    engine->locate(0, &track);
    engine->process(0, 120, &track);
    ASSERT_EQ(played().size(), 1u);
    EXPECT_EQ(played()[0].length, 0);
}

TEST_F(EngineTest, LengthOneRepeatsItsStepUnlessThatStepIsTied)
{
    current().length = 1;
    current().setGate(0, 0.5f);
    engine->locate(0, &track);
    engine->process(0, 360, &track);
    auto notes = played();
    ASSERT_EQ(notes.size(), 3u);
    for (const Played& n : notes)
    {
        EXPECT_EQ(n.note, 40);
        EXPECT_EQ(n.length, 60);
    }
    current().setTie(0, 1);
    track.clear();
    engine->process(360, 720, &track);
    EXPECT_TRUE(played().empty());
}

TEST_F(EngineTest, ControllersGoOutAtEveryStepWithAValueAfterTheNote)
{
    PSeqPattern& p = current();
    p.clear(false);
    p.setNote(0, 60);
    p.steps[0].controller1 = 10;
    p.steps[0].controller2 = 20;
    p.steps[1].controller2 = 5; // empty step
    p.setNote(2, 62);
    p.setTie(3, 1);
    p.steps[3].controller1 = 7; // tied step
    p.steps[4].controller1 = 0; // a zero is never sent
    engine->locate(0, &track);
    engine->process(0, 600, &track);

    ASSERT_EQ(track.sent.size(), 6u);
    EXPECT_TRUE(track.sent[0].isNote());
    EXPECT_EQ(track.sent[1].status, 0xB0);
    EXPECT_EQ(track.sent[1].data1, 71);
    EXPECT_EQ(track.sent[1].data2, 10);
    EXPECT_EQ(track.sent[1].length, 0);
    EXPECT_EQ(track.sent[2].data1, 74);
    EXPECT_EQ(track.sent[2].data2, 20);
    EXPECT_EQ(track.sent[3].data1, 74);
    EXPECT_EQ(track.sent[3].time, 120);
    EXPECT_TRUE(track.sent[4].isNote());
    EXPECT_EQ(track.sent[4].length, 240);
    EXPECT_EQ(track.sent[5].data1, 71);
    EXPECT_EQ(track.sent[5].time, 360);

    // The lane controllers are chosen per process.
    PMidiSeqEngine::setControllerNumber(0, 1);
    track.clear();
    engine->locate(0, &track);
    engine->process(0, 120, &track);
    PMidiSeqEngine::setControllerNumber(0, 71);
    ASSERT_EQ(track.controllers().size(), 2u);
    EXPECT_EQ(track.controllers()[0].data1, 1);
}

TEST_F(EngineTest, TheTracksChannelGoesIntoTheLowBitsOfEveryStatus)
{
    current().steps[0].controller1 = 1;
    track.channel = 5;
    engine->locate(0, &track);
    engine->process(0, 120, &track);
    ASSERT_EQ(track.sent.size(), 2u);
    EXPECT_EQ(track.sent[0].status, 0x95);
    EXPECT_EQ(track.sent[1].status, 0xB5);

    track.clear();
    track.channel = 0x13; // only the low four bits count
    engine->process(120, 240, &track);
    engine->locate(0, &track);
    engine->process(0, 120, &track);
    EXPECT_EQ(track.sent.back().status, 0xB3);

    track.clear();
    track.channel = -1;
    engine->locate(0, &track);
    engine->process(0, 120, &track);
    EXPECT_EQ(track.sent[0].status, 0x90);
    EXPECT_EQ(track.sent[1].status, 0xB0);
}

TEST_F(EngineTest, ChangesOfPatternLengthAndQuantizeTakeEffectInMidPattern)
{
    engine->pattern(1) = current();
    for (int32_t s = 0; s < kSeqStepCount; ++s)
        engine->pattern(1).setNote(s, 80 + s);

    engine->locate(0, &track);
    engine->process(0, 480, &track);
    engine->setCurrentPatternIndex(1);
    engine->process(480, 600, &track);
    ASSERT_EQ(played().size(), 5u);
    EXPECT_EQ(played()[4].note, 84); // pattern 1 from the step that was due

    // Out-of-range selections are ignored.
    engine->setCurrentPatternIndex(200);
    engine->setCurrentPatternIndex(-1);
    EXPECT_EQ(engine->currentPatternIndex(), 1);

    // A shorter length leaves the step behind it to play once, then wraps to the start.
    track.clear();
    engine->locate(1200, &track); // step 10
    engine->setLength(4);
    engine->process(1200, 1440, &track);
    ASSERT_EQ(played().size(), 2u);
    EXPECT_EQ(played()[0].note, 90);
    EXPECT_EQ(played()[1].note, 80);

    // A new quantize keeps the next grid point and spaces the following ones anew.
    track.clear();
    engine->setLength(16);
    engine->locate(0, &track);
    engine->process(0, 120, &track);
    engine->setQuantize(240);
    EXPECT_EQ(engine->nextPosition(), 120);
    engine->process(120, 600, &track);
    auto notes = played();
    ASSERT_EQ(notes.size(), 3u);
    EXPECT_EQ(notes[1].time, 120);
    EXPECT_EQ(notes[2].time, 360);
    EXPECT_EQ(notes[2].length, 240);
}

TEST_F(EngineTest, StepAtCountsFromThePresentPlace)
{
    engine->locate(240, &track); // step 2 due at 240
    EXPECT_EQ(engine->stepAt(240), 2);
    EXPECT_EQ(engine->stepAt(359), 2);
    EXPECT_EQ(engine->stepAt(360), 3);
    EXPECT_EQ(engine->stepAt(240 + 14 * 120), 0);
    EXPECT_EQ(engine->stepAt(0), 0);
    EXPECT_EQ(engine->stepAt(-120), 15);
}

TEST_F(EngineTest, QuantizeTableMapsTextsTicksAndIndexes)
{
    EXPECT_STREQ(PMidiSeqEngine::quantizeText(5), "1/16");
    EXPECT_EQ(PMidiSeqEngine::quantizeTicks(5), 120);
    EXPECT_STREQ(PMidiSeqEngine::quantizeText(2), "1/4T");
    EXPECT_EQ(PMidiSeqEngine::quantizeTicks(10), 15);
    for (int32_t i = 0; i < kQuantizeCount; ++i)
        EXPECT_EQ(PMidiSeqEngine::quantizeIndex(PMidiSeqEngine::quantizeTicks(i)), i);
    EXPECT_EQ(PMidiSeqEngine::quantizeIndex(100), 11);
}

TEST_F(EngineTest, DamagedPatternValuesNeitherCrashNorHang)
{
    PSeqPattern& p = current();
    engine->locate(0, &track);
    p.quantize = 0;
    engine->process(0, 480, &track);
    engine->locate(0, &track);
    p.quantize = 120;
    p.length = 0;
    engine->process(0, 480, &track);
    p.length = 40;
    engine->process(0, 480, &track);
    EXPECT_TRUE(track.sent.empty());

    // A step left behind a shortened length whose new pattern is tied all the way round.
    p.length = 16;
    engine->locate(1200, &track); // step 10
    p.length = 4;
    for (int32_t s = 0; s < 4; ++s)
        p.setTie(s, 1);
    engine->process(1200, 1320, &track);
    ASSERT_EQ(played().size(), 1u);
    EXPECT_EQ(played()[0].note, 50);
    EXPECT_EQ(played()[0].length, 4 * 120 + 120);

    // NaN gates and huge swing values give defined times and lengths.
    p.length = 4;
    for (int32_t s = 0; s < 4; ++s)
        p.setTie(s, 0);
    p.setGate(0, std::numeric_limits<float>::quiet_NaN());
    p.setGate(1, 1e30f);
    p.swing = 1e9f;
    track.clear();
    engine->locate(0, &track);
    engine->process(0, 240, &track);
    ASSERT_EQ(played().size(), 2u);
    EXPECT_EQ(played()[0].length, 0);

    // The end of the tick range: the grid wraps instead of running away.
    p.swing = 0.0f;
    track.clear();
    engine->locate(2147483520, &track);
    engine->process(2147483520, 2147483647, &track);
    engine->process(2147483520, 2147483647, &track);
    EXPECT_EQ(played().size(), 2u);
}
} // namespace
