#include "host/render.h"

#include "host/kit/hostcontext.h"
#include "host/kit/hostsettings.h"
#include "host/kit/midifile.h"
#include "host/kit/moduleloader.h"
#include "host/kit/platform/synth.h"

#include <algorithm>
#include <cmath>

namespace hostkit
{
namespace
{
// Holds the one reference of a counted object of the host's for a scope.
template <class T> struct Counted
{
    T* object;
    ~Counted()
    {
        if (object) object->release();
    }
};

// The module's controller lanes come from its settings, where a user can write any number; one
// outside 0..127 is no controller, and the module keeps its default lane for it.
void checkControllerSettings(const std::string& path, std::vector<std::string>& warnings)
{
    auto* settings = new HostSettings(path.empty() ? HostSettings::defaultPath() : path);
    for (const char* key : {"Controller1", "Controller2"})
    {
        int32_t number = 0;
        if (settings->readInt("Tremolin", key, &number) && (number < 0 || number > 127))
            warnings.push_back("The setting " + std::string(key) + " = " + std::to_string(number) + " in '" +
                               settings->path() + "' is no MIDI controller (0 to 127); the default is used.");
    }
    settings->release();
}

} // namespace

IMidiEffect* startEffect(PluginModule& module, HostContext& context, const Project& project, int32_t pattern,
                         std::string& error)
{
    IMidiEffect* effect = module.instantiate(kMidiSeqClassId, error);
    if (!effect || !module.initialize(effect, static_cast<IHostContext*>(&context), error)) return nullptr;

    {
        Counted<IPersistentChunk> chunk{queryFace<IPersistentChunk>(effect)};
        if (!chunk.object)
        {
            error = "The module's effect can't take a project: it has no state chunk.";
            return nullptr;
        }
        const std::vector<uint8_t> bytes = encodeChunk(project);
        if (chunk.object->setChunk(bytes.data(), static_cast<int32_t>(bytes.size())) != kResultOk)
        {
            error = "The module refused the project's chunk.";
            return nullptr;
        }
    }

    if (pattern != 0)
    {
        Counted<IPlugController> controller{queryFace<IPlugController>(effect)};
        IHostValue* select = nullptr;
        if (!controller.object || controller.object->findValue("Pattern Select", &select) != kResultOk ||
            !select)
        {
            error = "The module's effect has no \"Pattern Select\" parameter.";
            return nullptr;
        }
        select->setInt(pattern);
    }
    return effect;
}

namespace
{
// Everything between loading and unloading; the caller unloads whatever happens here.
bool play(PluginModule& module, HostContext& context, const RenderOptions& options, RenderResult& result,
          std::string& error)
{
    HostMidiTrack& track = context.track();
    IMidiEffect* effect = startEffect(module, context, options.project, options.pattern, error);
    if (!effect) return false;

    effect->reposition(0);

    std::vector<PatternSwitch> switches = options.switches;
    std::stable_sort(switches.begin(), switches.end(),
                     [](const PatternSwitch& a, const PatternSwitch& b) { return a.bar < b.bar; });
    const int64_t total = static_cast<int64_t>(options.bars) * kTicksPerBar;
    if (total > INT32_MAX)
    {
        error = "That many bars run past the host's tick range.";
        return false;
    }
    const int32_t block = blockTicks(options.tempo);
    const auto channelBits = static_cast<uint8_t>(options.channel < 0 ? 0 : (options.channel & 0x0F));
    size_t next = 0;
    int32_t position = 0;
    while (position < total)
    {
        // Switches due now go in before the block that starts here.
        while (next < switches.size() &&
               static_cast<int64_t>(switches[next].bar - 1) * kTicksPerBar <= position)
        {
            HostMidiEvent* noteOn = track.makeIncoming(static_cast<uint8_t>(0x90 | channelBits),
                                                       switches[next].note, 100, position);
            effect->processEvent(noteOn);
            track.releaseEvent(noteOn);
            ++next;
        }
        int64_t end = std::min<int64_t>(static_cast<int64_t>(position) + block, total);
        if (next < switches.size())
            end = std::min<int64_t>(end, static_cast<int64_t>(switches[next].bar - 1) * kTicksPerBar);
        effect->processRange(position, static_cast<int32_t>(end));
        position = static_cast<int32_t>(end);
    }

    result.events = track.events();
    return true;
}
} // namespace

bool renderProject(const RenderOptions& options, RenderResult& result, std::string& error)
{
    result = RenderResult{};
    if (options.bars < 1 || options.bars > 100000)
    {
        error = "The number of bars must lie between 1 and 100000.";
        return false;
    }
    std::unique_ptr<PluginModule> module = PluginModule::load(options.modulePath, error);
    if (!module) return false;
    checkControllerSettings(options.settingsPath, result.warnings);

    HostOptions hostOptions;
    hostOptions.settingsPath = options.settingsPath;
    auto* context = new HostContext(hostOptions);
    context->track().setChannel(options.channel);
    context->track().setTicksPerBar(kTicksPerBar);
    context->track().setGridOrigin(HostMidiTrack::GridOrigin::BarStart);

    const bool played = play(*module, *context, options, result, error);
    // The effect gives its references to the context back in terminate, so the module goes first.
    module->unload();
    result.trackFaults = context->track().faults() + context->track().eventsAlive();
    context->release();
    return played;
}

double audioSeconds(const std::vector<TrackEvent>& events, int32_t bars, double tempo)
{
    int64_t end = static_cast<int64_t>(bars) * kTicksPerBar;
    for (const TrackEvent& event : events)
        if (event.isNoteOn() && !event.forwarded)
            end = std::max<int64_t>(end, static_cast<int64_t>(event.time) + std::max(event.length, 0));
    return static_cast<double>(end) * 60.0 / (tempo * static_cast<double>(kTicksPerQuarter)) + 1.0;
}

bool renderAudio(const std::vector<TrackEvent>& events, int32_t bars, double tempo,
                 const AudioOptions& options, std::vector<uint8_t>& wav, std::string& error)
{
    platform::SynthSetup setup;
    setup.soundfont = options.soundfont.empty() ? platform::defaultSoundfont() : options.soundfont;
    setup.program = options.program;
    setup.sampleRate = kSampleRate;
    std::vector<float> stereo;
    if (!platform::synthesize(midiTimeline(events), tempo, audioSeconds(events, bars, tempo), setup, stereo,
                              error))
        return false;
    wav = encodeWav(stereo, 2, kSampleRate, options.format);
    return true;
}
} // namespace hostkit
