#include "midiplugs/midiseq/pmidiseq.h"
#include "tests/support/recordingtrack.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

namespace
{
// Effects are counted objects; the test holds the creator's reference.
struct Effect
{
    Effect() : seq(new PMidiSeq) {}
    ~Effect() { seq->release(); }
    PMidiSeq* operator->() const { return seq; }
    PMidiSeq* seq;
};

std::vector<uint8_t> chunkOf(PMidiSeq* effect)
{
    std::vector<uint8_t> bytes(kChunkSize, 0xEE);
    int32_t size = 0;
    EXPECT_EQ(effect->getChunk(bytes.data(), &size), kResultOk);
    EXPECT_EQ(size, kChunkSize);
    return bytes;
}

int32_t bigEndianAt(const std::vector<uint8_t>& b, size_t offset)
{
    return int32_t(uint32_t(b[offset]) << 24 | uint32_t(b[offset + 1]) << 16 | uint32_t(b[offset + 2]) << 8 |
                   uint32_t(b[offset + 3]));
}

void putBigEndian(std::vector<uint8_t>& b, size_t offset, int32_t value)
{
    for (int i = 0; i < 4; ++i)
        b[offset + i] = uint8_t(uint32_t(value) >> (24 - 8 * i));
}

size_t patternOffset(int32_t p)
{
    return 8 + 780 * size_t(p);
}

TEST(ChunkTest, AFreshEffectWritesDefaultPatternsBigEndian)
{
    Effect effect;
    int32_t size = 0;
    EXPECT_EQ(effect->getChunk(nullptr, &size), kResultOk);
    EXPECT_EQ(size, kChunkSize);
    EXPECT_EQ(effect->getChunk(nullptr, nullptr), kResultOk);

    const std::vector<uint8_t> b = chunkOf(effect.seq);
    const uint8_t head[8] = {0x54, 0x72, 0x4D, 0x6F, 0x00, 0x00, 0x01, 0x05};
    EXPECT_EQ(0, std::memcmp(b.data(), head, 8));
    for (int32_t p = 0; p < kSeqPatternCount; ++p)
    {
        const size_t at = patternOffset(p);
        for (int32_t s = 0; s < kSeqStepCount; ++s)
        {
            const size_t step = at + 24 * size_t(s);
            ASSERT_EQ(bigEndianAt(b, step), -1);
            ASSERT_EQ(bigEndianAt(b, step + 4), 64);
            ASSERT_EQ(bigEndianAt(b, step + 8), 0x3F800000); // 1.0f
            ASSERT_EQ(bigEndianAt(b, step + 12) | bigEndianAt(b, step + 16) | bigEndianAt(b, step + 20), 0);
        }
        ASSERT_EQ(bigEndianAt(b, at + 768), 16);
        ASSERT_EQ(bigEndianAt(b, at + 772), 120);
        ASSERT_EQ(bigEndianAt(b, at + 776), 0);
    }
    EXPECT_EQ(bigEndianAt(b, 156008), 0);
    for (size_t i = 156012; i < size_t(kChunkSize); ++i)
        ASSERT_EQ(b[i], 0) << "reserved byte " << i;
}

TEST(ChunkTest, WrittenAndReadBackEveryFieldSurvivesExceptTheSwingTruncation)
{
    Effect source;
    std::mt19937 random(7);
    PMidiSeqEngine& engine = source->getEngine();
    for (int32_t p = 0; p < kSeqPatternCount; ++p)
    {
        PSeqPattern& pattern = engine.pattern(p);
        for (PSeqStep& step : pattern.steps)
        {
            step.note = int32_t(random() % 86) + 23;
            step.velocity = int32_t(random() % 128);
            step.gate = float(random() % 1000) / 999.0f;
            step.controller1 = int32_t(random() % 128);
            step.controller2 = int32_t(random() % 128);
            step.tie = int32_t(random() % 2);
        }
        pattern.length = 1 + int32_t(random() % 32);
        pattern.quantize = PMidiSeqEngine::quantizeTicks(int32_t(random() % kQuantizeCount));
        pattern.swing = float(p % 101) / 100.0f; // as the parameter makes it
    }
    engine.setCurrentPatternIndex(137);
    const std::vector<uint8_t> bytes = chunkOf(source.seq);

    Effect target;
    EXPECT_EQ(target->setChunk(bytes.data(), kChunkSize), kResultOk);
    PMidiSeqEngine& restored = target->getEngine();
    EXPECT_EQ(restored.currentPatternIndex(), 137);
    for (int32_t p = 0; p < kSeqPatternCount; ++p)
    {
        const PSeqPattern& a = engine.pattern(p);
        const PSeqPattern& b = restored.pattern(p);
        ASSERT_EQ(0, std::memcmp(a.steps, b.steps, sizeof a.steps)) << "pattern " << p;
        ASSERT_EQ(a.length, b.length);
        ASSERT_EQ(a.quantize, b.quantize);
        const int32_t percent = p % 101;
        const int32_t expected = (percent == 53 || percent == 59) ? percent - 1 : percent;
        ASSERT_EQ(b.swing, static_cast<float>(float(expected) / 100.0)) << "swing of pattern " << p;
    }
    // And the second generation is byte for byte the first, truncation included.
    std::vector<uint8_t> again = chunkOf(target.seq);
    Effect third;
    third->setChunk(again.data(), kChunkSize);
    EXPECT_EQ(chunkOf(third.seq), again);
}

TEST(ChunkTest, RefusedChunksChangeNothing)
{
    Effect effect;
    effect->getEngine().pattern(3).setNote(5, 77);
    std::vector<uint8_t> good = chunkOf(effect.seq);
    Effect other;
    std::vector<uint8_t> mine = chunkOf(other.seq);
    other->getEngine().pattern(0).setNote(0, 50);
    mine = chunkOf(other.seq);

    EXPECT_EQ(other->setChunk(nullptr, kChunkSize), kResultFalse);
    EXPECT_EQ(other->setChunk(good.data(), kChunkSize - 1), kResultFalse);
    std::vector<uint8_t> bad = good;
    bad[3] ^= 1;
    EXPECT_EQ(other->setChunk(bad.data(), kChunkSize), kResultFalse);
    bad = good;
    putBigEndian(bad, 4, 262);
    EXPECT_EQ(other->setChunk(bad.data(), kChunkSize), kResultFalse);
    EXPECT_EQ(chunkOf(other.seq), mine);

    // A larger block is taken; what lies behind the fields is not looked at.
    std::vector<uint8_t> longer = good;
    longer.resize(kChunkSize + 1000, 0x5A);
    EXPECT_EQ(other->setChunk(longer.data(), int32_t(longer.size())), kResultOk);
    EXPECT_EQ(other->getEngine().pattern(3).note(5), 77);
}

TEST(ChunkTest, DamagedFieldsAreBroughtIntoRangeSoThatPlayingIsSafe)
{
    Effect source;
    std::vector<uint8_t> b = chunkOf(source.seq);
    putBigEndian(b, patternOffset(0) + 768, 0);    // length
    putBigEndian(b, patternOffset(0) + 772, 0);    // quantize
    putBigEndian(b, patternOffset(1) + 768, 999);  // length
    putBigEndian(b, patternOffset(1) + 772, -120); // quantize
    putBigEndian(b, patternOffset(2) + 772, 100);  // not in the table, but usable
    putBigEndian(b, 156008, 4000);                 // current pattern

    Effect target;
    ASSERT_EQ(target->setChunk(b.data(), kChunkSize), kResultOk);
    PMidiSeqEngine& engine = target->getEngine();
    EXPECT_EQ(engine.pattern(0).length, 1);
    EXPECT_EQ(engine.pattern(0).quantize, 120);
    EXPECT_EQ(engine.pattern(1).length, 32);
    EXPECT_EQ(engine.pattern(1).quantize, 120);
    EXPECT_EQ(engine.pattern(2).quantize, 100);
    EXPECT_EQ(engine.currentPatternIndex(), 199);

    putBigEndian(b, 156008, -5);
    ASSERT_EQ(target->setChunk(b.data(), kChunkSize), kResultOk);
    EXPECT_EQ(engine.currentPatternIndex(), 0);

    // The repaired pattern plays.
    engine.pattern(0).setNote(0, 60);
    RecordingTrack track;
    engine.locate(0, &track);
    engine.process(0, 240, &track);
    EXPECT_EQ(track.notes().size(), 2u);
}
} // namespace
