#include "host/playsession.h"

#include "host/kit/hostcontext.h"
#include "host/kit/livetransport.h"
#include "host/kit/moduleloader.h"
#include "host/kit/platform/hostplatform.h"
#include "host/projectfile.h"
#include "host/render.h"
#include "host/stopsignals.h"
#include "host/trackeventtext.h"

#include <chrono>
#include <cstdio>
#include <thread>

namespace hostkit
{
namespace
{
void say(const std::string& line)
{
    const std::string text = line + "\n";
    platform::writeStandardOutput(text.data(), text.size());
}

// What the module made, its context and the output: taken down in the order they need.
struct Session
{
    std::unique_ptr<PluginModule> module;
    HostContext* context = nullptr;
    ~Session()
    {
        // The effect gives its references to the context back in terminate, so the module goes
        // first.
        if (module) module->unload();
        if (context)
        {
            context->unbindValues();
            context->release();
        }
    }
};
} // namespace

bool runPlay(const PlayOptions& options, std::string& error)
{
    Project project;
    if (!loadProjectFile(options.projectPath, project, error)) return false;
    Session session;
    session.module = PluginModule::load(options.modulePath, error);
    if (!session.module) return false;
    HostOptions hostOptions;
    hostOptions.settingsPath = options.settingsPath;
    session.context = new HostContext(hostOptions);
    HostMidiTrack& track = session.context->track();
    track.setChannel(options.channel);
    track.setTicksPerBar(kTicksPerBar);
    track.setGridOrigin(HostMidiTrack::GridOrigin::BarStart);
    IMidiEffect* effect = startEffect(*session.module, *session.context, project, options.pattern, error);
    if (!effect) return false;

    std::unique_ptr<LiveOutput> output;
    if (options.output)
    {
        output = platform::openMidiOutput(*options.output, error);
        if (!output) return false;
    }
    LiveTransport::Listener listener;
    if (options.print)
    {
        listener = [](const std::vector<TrackEvent>& events)
        {
            for (const TrackEvent& event : events)
                say(eventLine(event));
        };
    }
    LiveTransport transport(effect, track, options.tempo, listener, output.get());
    if (options.bars > 0) transport.setEnd(options.bars * kTicksPerBar);

    char line[160];
    std::snprintf(line, sizeof line, " at %g BPM%s; ", options.tempo,
                  options.output && options.output->followTransport ? " when JACK's transport rolls" : "");
    const std::string until = options.bars > 0
                                  ? "for " + std::to_string(options.bars) +
                                        (options.bars == 1 ? " bar" : " bars") + ", Ctrl+C stops sooner."
                                  : "Ctrl+C stops.";
    say("Playing " + options.projectPath + " into " + (output ? output->name() : std::string("the listing")) +
        line + until);
    if (options.print) say(eventHeading());

    std::string lost;
    {
        StopSignals signals;
        transport.start();
        while (!StopSignals::raised() && !transport.finished() && !(output && output->lost(lost)))
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        transport.stop();
    }
    if (!lost.empty())
    {
        error = lost;
        return false;
    }
    const double bars = static_cast<double>(transport.position()) / static_cast<double>(kTicksPerBar);
    char done[96];
    std::snprintf(done, sizeof done, "Stopped after %.2f bars; every note has ended.", bars);
    say(done);
    return true;
}
} // namespace hostkit
