// The editor commands where no window is involved: command lines they refuse, and the transport
// that plays while the user edits.

#include "host/kit/hostcontext.h"
#include "host/kit/livetransport.h"
#include "host/kit/moduleloader.h"
#include "host/render.h"
#include "tests/host/host_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

using namespace hostkit;

namespace
{
const std::string kProgram = TREMOLIN_HOST_PROGRAM;
const std::string kFake = hosttest::fakeModule(1);
} // namespace

TEST(EditCommand, CommandLinesThatCantBeFollowedAreUsageErrors)
{
    hosttest::TempFolder folder;
    const auto noOut = hosttest::runProgram(folder, kProgram, {"snapshot", "--module", kFake});
    EXPECT_EQ(noOut.exitCode, 2);
    EXPECT_NE(noOut.err.find("snapshot needs --out FILE.png"), std::string::npos) << noOut.err;
    const auto badTempo = hosttest::runProgram(folder, kProgram, {"edit", "--tempo", "1000"});
    EXPECT_EQ(badTempo.exitCode, 2);
    EXPECT_NE(badTempo.err.find("--tempo takes beats per minute from 20 to 999"), std::string::npos);
    // The live outputs that edit and play share.
    for (const auto& [args, sentence] : std::vector<std::pair<std::vector<std::string>, std::string>>{
             {{"edit", "--jack", "--alsa"}, "choose one output"},
             {{"play", "--connect", "x:in", "--print"}, "--connect goes with --jack or --alsa"},
             {{"edit", "--alsa", "--follow-transport"}, "--follow-transport goes with --jack"},
             {{"play", "--bars", "2"}, "play needs an output"},
             {{"play", "--jack", "--list-outputs"}, "--list-outputs stands alone"}})
    {
        const auto refused = hosttest::runProgram(folder, kProgram, args);
        EXPECT_EQ(refused.exitCode, 2) << args[1];
        EXPECT_NE(refused.err.find(sentence), std::string::npos) << refused.err;
    }
    EXPECT_TRUE(folder.names().empty()) << "nothing written";
}

TEST(LiveTransport, PlaysConsecutiveBlocksFromTickZeroUntilStopped)
{
    // The fake effect sends a note on every quarter from the position it was told, so gaps,
    // repeats or a wrong start show as missing, doubled or shifted notes.
    std::string error;
    auto module = PluginModule::load(kFake, error);
    ASSERT_TRUE(module) << error;
    HostOptions options;
    hosttest::TempFolder folder;
    options.settingsPath = folder.file("settings");
    auto* context = new HostContext(options);
    IMidiEffect* effect = module->instantiate(kMidiSeqClassId, error);
    ASSERT_TRUE(effect && module->initialize(effect, context, error)) << error;

    std::mutex mutex;
    std::condition_variable arrived;
    std::vector<TrackEvent> heard;
    std::thread::id listenerThread;
    LiveTransport transport(effect, context->track(), 999.0,
                            [&](const std::vector<TrackEvent>& events)
                            {
                                std::lock_guard<std::mutex> guard(mutex);
                                listenerThread = std::this_thread::get_id();
                                heard.insert(heard.end(), events.begin(), events.end());
                                arrived.notify_all();
                            });
    const auto quarters = [&]
    {
        return std::count_if(heard.begin(), heard.end(),
                             [](const TrackEvent& e) { return e.isNoteOn() && e.data1 == 60; });
    };
    transport.start();
    {
        std::unique_lock<std::mutex> lock(mutex);
        ASSERT_TRUE(arrived.wait_for(lock, std::chrono::seconds(20), [&] { return quarters() >= 5; }));
    }
    transport.stop();
    const size_t atStop = heard.size();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(heard.size(), atStop) << "nothing plays after stop";
    EXPECT_TRUE(context->track().events().empty()) << "every event went to the listener";
    EXPECT_NE(listenerThread, std::this_thread::get_id());

    int32_t expected = 0;
    for (const TrackEvent& event : heard)
        if (event.isNoteOn() && event.data1 == 60)
        {
            EXPECT_EQ(event.time, expected);
            expected += 480;
        }
    EXPECT_EQ(transport.position() % blockTicks(999.0), 0);
    EXPECT_GE(transport.position(), expected - 480);

    module->unload();
    context->release();
}
