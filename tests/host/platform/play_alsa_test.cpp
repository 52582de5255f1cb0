// tremolin-host play --alsa, heard by a sequencer client of the test's own: the events of a render
// of the same project at the queue ticks they were scheduled for. Needs the sequencer device;
// without one the program must say so in one sentence, and the test of the port is skipped.

#ifdef TREMOLIN_MODULE_FILE

#include "host/render.h"
#include "tests/host/host_test_support.h"

#include <gtest/gtest.h>

#include <alsa/asoundlib.h>

#include <filesystem>

namespace
{
const std::string kModule = TREMOLIN_MODULE_FILE;
const std::string kDemo = TREMOLIN_SOURCE_DIR "/examples/demo.tremolin";

std::vector<std::string> play(const hosttest::TempFolder& folder, const std::vector<std::string>& more,
                              hosttest::CommandResult& result)
{
    std::vector<std::string> args = {"play",       "--module", kModule,  "--project", kDemo,
                                     "--settings", "settings", "--bars", "2",         "--alsa"};
    args.insert(args.end(), more.begin(), more.end());
    result = hosttest::runProgram(folder, TREMOLIN_HOST_PROGRAM, args);
    return args;
}
} // namespace

TEST(PlayAlsa, TwoBarsOfTheDemoArriveAsRenderedOnTheQueuesTicks)
{
    hosttest::TempFolder folder;
    hosttest::CommandResult result;
    if (!std::filesystem::exists("/dev/snd/seq"))
    {
        play(folder, {}, result);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_NE(result.err.find("There is no ALSA sequencer on this machine"), std::string::npos)
            << result.err;
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        GTEST_SKIP()
            << "This machine has no ALSA sequencer (/dev/snd/seq is missing): the port can't be heard "
               "here; checked only that play --alsa says so in one sentence.";
    }

    snd_seq_t* seq = nullptr;
    ASSERT_GE(snd_seq_open(&seq, "default", SND_SEQ_OPEN_INPUT, SND_SEQ_NONBLOCK), 0);
    snd_seq_set_client_name(seq, "tremolin-test-listener");
    snd_seq_set_client_pool_input(seq, 2000);
    const int port =
        snd_seq_create_simple_port(seq, "in", SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE,
                                   SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_APPLICATION);
    ASSERT_GE(port, 0);
    const std::string address = std::to_string(snd_seq_client_id(seq)) + ":" + std::to_string(port);
    play(folder, {"--connect", address}, result);
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_NE(result.out.find("into ALSA sequencer port"), std::string::npos) << result.out;

    struct Heard
    {
        int64_t tick;
        int type, note, value;
    };
    std::vector<Heard> heard;
    snd_seq_event_t* event = nullptr;
    while (snd_seq_event_input(seq, &event) >= 0 && event)
    {
        if (event->type == SND_SEQ_EVENT_NOTEON || event->type == SND_SEQ_EVENT_NOTEOFF)
            heard.push_back(
                {event->time.tick, event->type, event->data.note.note, event->data.note.velocity});
        else if (event->type == SND_SEQ_EVENT_CONTROLLER)
            heard.push_back({event->time.tick, event->type, static_cast<int>(event->data.control.param),
                             event->data.control.value});
    }
    snd_seq_close(seq);

    hostkit::RenderOptions options;
    options.modulePath = kModule;
    options.bars = 2;
    options.settingsPath = folder.file("settings");
    std::string error;
    ASSERT_TRUE(hostkit::loadProjectFile(kDemo, options.project, error)) << error;
    hostkit::RenderResult rendered;
    ASSERT_TRUE(hostkit::renderProject(options, rendered, error)) << error;

    // The note-ons and controllers in order, each at its tick plus the one offset of the queue.
    std::vector<Heard> starts;
    for (const Heard& h : heard)
        if (h.type != SND_SEQ_EVENT_NOTEOFF) starts.push_back(h);
    ASSERT_EQ(starts.size(), rendered.events.size());
    const int64_t offset = starts.front().tick - rendered.events.front().time;
    for (size_t i = 0; i < starts.size(); ++i)
    {
        const hostkit::TrackEvent& want = rendered.events[i];
        EXPECT_EQ(starts[i].type, want.isNoteOn() ? SND_SEQ_EVENT_NOTEON : SND_SEQ_EVENT_CONTROLLER) << i;
        EXPECT_EQ(starts[i].note, want.data1) << i;
        EXPECT_EQ(starts[i].value, want.data2) << i;
        EXPECT_EQ(starts[i].tick - offset, want.time) << i;
    }
    // Every note ended: in time where it ends within the bars, at the stop otherwise.
    EXPECT_EQ(std::count_if(heard.begin(), heard.end(),
                            [](const Heard& h) { return h.type == SND_SEQ_EVENT_NOTEON; }),
              std::count_if(heard.begin(), heard.end(),
                            [](const Heard& h) { return h.type == SND_SEQ_EVENT_NOTEOFF; }));
}
#endif
