#include "host/kit/hostcontext.h"
#include "host/kit/liveschedule.h"
#include "host/kit/livetransport.h"
#include "host/kit/periodplayer.h"
#include "midiplugs/midiseq/pmidiseq.h"
#include "tests/realtime/alloccounter.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <random>
#include <thread>

#ifndef _WIN32
#include "host/kit/platform/midiout.h"

#include <csignal>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;
#endif

using namespace hostkit;

namespace
{
// The effect behind a host context, with its values at hand, and patterns that differ so that
// every switch changes what plays.
class LiveRig
{
public:
    LiveRig()
    {
        options.settingsPath =
            (std::filesystem::temp_directory_path() / "tremolin-live-alloc.settings").string();
        host = new HostContext(options);
        effect = static_cast<IMidiEffect*>(PMidiSeq::create(nullptr));
        EXPECT_EQ(effect->initialize(host), kResultOk);
        host->track().setTicksPerBar(1920);
        for (int32_t p = 0; p < 4; ++p)
        {
            value("Pattern Select")->setInt(p + 1);
            value("Length")->setInt(4 + 3 * p);
            value("Quantize")->setInt(5 + p % 3);
            value("Swing")->setInt(20 * p);
            PSeqPattern& pattern = static_cast<PMidiSeq*>(effect)->getEngine().pattern(p);
            for (int32_t step = 0; step < kSeqStepCount; ++step)
            {
                pattern.setNote(step, step % 5 == 4 ? -1 : 40 + 3 * p + step);
                pattern.steps[step].controller1 = 1 + step;
                pattern.setTie(step, step % 7 == 3);
            }
        }
    }
    ~LiveRig()
    {
        effect->terminate();
        effect->release();
        host->unbindValues();
        host->release();
        std::filesystem::remove(options.settingsPath);
    }
    IHostValue* value(const char* name)
    {
        IHostValue* found = nullptr;
        static_cast<IGenericPlugController*>(static_cast<PMidiSeq*>(effect))->findValue(name, &found);
        return found;
    }
    // What a user does while it plays: another pattern, another length and swing, a pattern operation.
    void change(int32_t round)
    {
        value("Pattern Select")->setInt(1 + round % 4);
        value("Length")->setInt(3 + round % 13);
        value("Swing")->setInt(round % 50);
        IHostValue* operation = value(round % 2 ? "Shift Time Right" : "Reverse");
        operation->setInt(1);
        operation->setInt(0);
    }

    HostOptions options;
    HostContext* host = nullptr;
    IMidiEffect* effect = nullptr;
};

// A JACK client's process callback without the server: the period player over the transport,
// by its own clock and following a transport that starts, jumps, changes tempo and stops.
TEST(LiveOutputAllocationTest, TheJackCallbackMakesNoHeapCall)
{
    LiveRig rig;
    LiveTransport transport(rig.effect, rig.host->track(), 120.0, [](const std::vector<TrackEvent>&) {});
    PeriodPlayer own(480.0, 48000.0), following(480.0, 48000.0);
    own.start(transport);
    std::array<uint8_t, 3 * 4096> written{};
    size_t bytes = 0;
    int64_t messages = 0;
    const auto sink = [&](uint32_t frame, const uint8_t* data, size_t size)
    {
        EXPECT_LT(frame, 256u);
        for (size_t i = 0; i < size; ++i)
            written[(bytes + i) % written.size()] = data[i];
        bytes += size;
        ++messages;
    };

    AllocationCount count;
    for (int32_t round = 0; round < 200; ++round)
    {
        if (round % 10 == 0) rig.change(round / 10);
        own.period(256, nullptr, sink);
    }
    own.requestStop();
    own.period(256, nullptr, sink);
    following.start(transport);
    FollowedTransport jack;
    jack.rolling = true;
    jack.hasTicks = true;
    for (int32_t round = 0; round < 200; ++round)
    {
        if (round % 10 == 0) rig.change(round / 10);
        if (round == 50) jack.ticks = 7680.0;          // a relocation
        if (round == 100) jack.tempo = 90.0;           // the master's tempo
        jack.rolling = !(round >= 150 && round < 160); // a stop and a start
        following.period(256, &jack, sink);
        if (jack.rolling) jack.ticks += 256.0 * (jack.tempo > 0 ? jack.tempo : 480.0) * 8.0 / 48000.0;
    }
    const int64_t calls = count.stop();

    EXPECT_EQ(calls, 0) << (AllocationCount::seesMalloc() ? "heap calls" : "operator new calls");
    EXPECT_TRUE(own.stopped());
    EXPECT_GT(messages, 100) << "it played";
    EXPECT_EQ(own.dropped() + following.dropped(), 0);
    EXPECT_EQ(rig.host->track().faults(), 0);
    EXPECT_EQ(rig.host->track().eventsAlive(), 0);
}

// A fed output as the ALSA sender is, without the sequencer device: the transport's own thread
// plays blocks and hands them over, the output schedules them and their note-offs.
class ScheduledOutput final : public LiveOutput
{
public:
    std::string name() const override { return "test"; }
    bool keepsTime() const override { return false; }
    void start(TickSource&) override {}
    void send(const std::vector<TrackEvent>& events, int32_t, int32_t to) override
    {
        for (const TrackEvent& event : events)
            schedule.add(event);
        schedule.takeDue(to, [this](const LiveMessage& m) { put(m); });
    }
    void relocated() override
    {
        schedule.takeNoteOffs([this](const LiveMessage& m) { put(m); });
    }
    void stop() override { relocated(); }
    bool lost(std::string&) const override { return false; }

    void put(const LiveMessage& m)
    {
        ons += (m.bytes[0] & 0xF0) == 0x90;
        offs += (m.bytes[0] & 0xF0) == 0x80;
    }
    LiveSchedule schedule;
    std::atomic<int64_t> ons{0}, offs{0};
};

TEST(LiveOutputAllocationTest, TheTransportThreadFeedingAnOutputMakesNoHeapCall)
{
    LiveRig rig;
    ScheduledOutput output;
    // A fast tempo: many blocks, and notes sounding at every moment.
    LiveTransport transport(
        rig.effect, rig.host->track(), 999.0, [](const std::vector<TrackEvent>&) {}, &output);
    transport.start();
    std::this_thread::sleep_for(std::chrono::milliseconds(50)); // the threads are made and running

    AllocationCount count;
    for (int32_t round = 0; round < 50; ++round)
    {
        rig.change(round);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    const int64_t calls = count.stop();
    transport.stop();

    EXPECT_EQ(calls, 0) << (AllocationCount::seesMalloc() ? "heap calls" : "operator new calls");
    EXPECT_GT(output.ons.load(), 10) << "it played";
    EXPECT_EQ(output.ons.load(), output.offs.load()) << "every note ended at the stop";
    EXPECT_EQ(output.schedule.dropped(), 0);
}
#ifndef _WIN32
// The real JACK client on a dummy server of the test's own: every heap call on the server's
// real-time thread counts, from the process callback's first call into the transport on, through
// a run with pattern switches and parameter changes and the stop that ends the notes.
class WatchedSource final : public TickSource
{
public:
    explicit WatchedSource(LiveTransport& transport) : transport(transport) {}
    void locate(int32_t tick) override
    {
        AllocationCount::watchThisThread();
        transport.locate(tick);
    }
    void play(int32_t from, int32_t to, std::vector<TrackEvent>& events) override
    {
        AllocationCount::watchThisThread();
        transport.play(from, to, events);
        played.fetch_add(static_cast<int64_t>(events.size()));
        periods.fetch_add(1);
    }
    LiveTransport& transport;
    std::atomic<int64_t> periods{0}, played{0};
};

class DummyJack
{
public:
    DummyJack() : name("tremolin-alloc-" + std::to_string(std::random_device{}()))
    {
        setenv("JACK_DEFAULT_SERVER", name.c_str(), 1);
        std::vector<std::string> words = {"jackd", "-n", name, "-d", "dummy", "-r", "48000", "-p", "256"};
        std::vector<char*> argv;
        for (std::string& word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);
        if (posix_spawnp(&pid, "jackd", nullptr, nullptr, argv.data(), environ) != 0) pid = 0;
    }
    ~DummyJack()
    {
        if (pid > 0)
        {
            kill(pid, SIGTERM);
            int status = 0;
            waitpid(pid, &status, 0);
        }
        unsetenv("JACK_DEFAULT_SERVER");
    }
    std::string name;
    pid_t pid = 0;
};

TEST(LiveOutputAllocationTest, TheJackClientsRealTimeThreadMakesNoHeapCall)
{
    DummyJack server;
    ASSERT_GT(server.pid, 0) << "jackd could not be started";
    LiveRig rig;
    LiveTransport transport(rig.effect, rig.host->track(), 999.0);
    WatchedSource source(transport);
    platform::MidiOutSetup setup;
    setup.clientName = "tremolin-alloc";
    setup.tempo = 999.0;
    std::unique_ptr<LiveOutput> output;
    std::string error;
    for (int tries = 0; tries < 100 && !output; ++tries)
        if (!(output = platform::openMidiOutput(setup, error)))
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
    ASSERT_TRUE(output) << error;
    output->start(source);
    for (int tries = 0; tries < 200 && source.periods.load() < 10; ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    ASSERT_GE(source.periods.load(), 10) << "the callback did not run";

    AllocationCount count(AllocationCount::Threads::Watched);
    const int64_t before = source.periods.load();
    for (int32_t round = 0; round < 40; ++round)
    {
        rig.change(round);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    output->stop();
    const int64_t calls = count.stop();

    EXPECT_EQ(calls, 0) << (AllocationCount::seesMalloc() ? "heap calls" : "operator new calls");
    EXPECT_GT(source.periods.load() - before, 20) << "periods ran while counting";
    EXPECT_GT(source.played.load(), 20) << "it played";
    output.reset();
}
#endif
} // namespace
