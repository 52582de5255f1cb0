// The pending messages of a live output: their order at one tick, the note-offs that end a stop,
// and a full store that leaves a note out whole rather than leave it sounding.

#include "host/kit/liveschedule.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace hostkit;

namespace
{
TrackEvent note(int32_t time, int32_t key, int32_t length, int32_t velocity = 100)
{
    TrackEvent event;
    event.status = 0x92;
    event.data1 = key;
    event.data2 = velocity;
    event.length = length;
    event.time = time;
    return event;
}

std::string text(const LiveMessage& m)
{
    return std::to_string(m.tick) + ":" + std::to_string(m.bytes[0]) + "/" + std::to_string(m.bytes[1]);
}
} // namespace

TEST(LiveSchedule, SendsInTimeOrderWithAnEndingNoteBeforeAStrikeAtItsTick)
{
    LiveSchedule schedule;
    schedule.add(note(0, 60, 120));
    TrackEvent controller{0xB2, 71, 300, 0, 0, false}; // a value past 127 is held to it
    schedule.add(controller);
    schedule.add(note(120, 60, 0));  // struck again as the first ends; sounds for no time
    schedule.add(note(130, 200, 5)); // no note: left out
    schedule.add(note(130, 61, 5, 0));
    std::vector<std::string> sent;
    schedule.takeDue(120, [&](const LiveMessage& m) { sent.push_back(text(m)); });
    EXPECT_EQ(sent, (std::vector<std::string>{"0:146/60", "0:178/71"}));
    schedule.takeDue(121, [&](const LiveMessage& m) { sent.push_back(text(m)); });
    EXPECT_EQ(sent,
              (std::vector<std::string>{"0:146/60", "0:178/71", "120:130/60", "120:146/60", "120:130/60"}));
    EXPECT_EQ(schedule.pending(), 0u);
}

TEST(LiveSchedule, AStopEndsTheSoundingNotesOnlyAndAFullStoreDropsWholeNotes)
{
    LiveSchedule schedule;
    schedule.add(note(0, 60, 1000));
    schedule.add(note(50, 62, 1000)); // a swung step not yet sent when the stop comes
    std::vector<std::string> sent;
    schedule.takeDue(10, [&](const LiveMessage& m) { sent.push_back(text(m)); });
    schedule.takeNoteOffs([&](const LiveMessage& m) { sent.push_back(text(m)); });
    EXPECT_EQ(sent, (std::vector<std::string>{"0:146/60", "1000:130/60"}));
    EXPECT_EQ(schedule.pending(), 0u);

    for (int32_t i = 0; i < static_cast<int32_t>(LiveSchedule::kCapacity); ++i)
        schedule.add(note(i, 40 + i % 80, 100000));
    EXPECT_EQ(schedule.pending(), LiveSchedule::kCapacity);
    EXPECT_EQ(schedule.dropped(), static_cast<int64_t>(LiveSchedule::kCapacity / 2));
    int ons = 0, offs = 0;
    schedule.takeDue(INT64_MAX, [&](const LiveMessage& m) { (m.isNoteOff() ? offs : ons) += 1; });
    EXPECT_EQ(ons, offs);
}
