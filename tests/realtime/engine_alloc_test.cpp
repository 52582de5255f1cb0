#include "midiplugs/midiseq/midiseqengine.h"
#include "tests/support/recordingtrack.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <new>

// Counts every allocation of the process while a test asks for it. The engine runs on the host's
// event thread, where a call into the allocator can stall for as long as it likes.
namespace
{
std::atomic<bool> counting{false};
std::atomic<int64_t> allocations{0};

void* allocate(std::size_t size)
{
    if (counting.load(std::memory_order_relaxed)) allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
} // namespace

void* operator new(std::size_t size)
{
    return allocate(size);
}
void* operator new[](std::size_t size)
{
    return allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    try
    {
        return allocate(size);
    }
    catch (...)
    {
        return nullptr;
    }
}
void operator delete(void* p) noexcept
{
    std::free(p);
}
void operator delete[](void* p) noexcept
{
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept
{
    std::free(p);
}

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

    allocations = 0;
    counting = true;
    engine->locate(0, &track);
    for (int32_t position = 0; position < 7680; position += 37)
        engine->process(position, position + 37, &track);
    engine->locate(100, &track);
    engine->process(100, 1000, &track);
    counting = false;

    EXPECT_EQ(allocations.load(), 0);
    EXPECT_GT(track.sent.size(), 100u); // it did play
    EXPECT_EQ(track.protocolFaults, 0);

    // The counter itself works: an allocation while counting is seen.
    counting = true;
    auto probe = std::make_unique<int>(1);
    counting = false;
    EXPECT_EQ(allocations.load(), 1);
}
} // namespace
