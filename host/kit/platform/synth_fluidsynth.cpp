#include "host/kit/platform/synth.h"

#include <fluidsynth.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace hostkit::platform
{
namespace
{
// Owns the settings and the synthesizer for one render.
struct Fluid
{
    fluid_settings_t* settings = nullptr;
    fluid_synth_t* synth = nullptr;
    ~Fluid()
    {
        if (synth) delete_fluid_synth(synth);
        if (settings) delete_fluid_settings(settings);
    }
};

// FluidSynth reports on stderr by itself; the program says what went wrong in its own words.
void quietLogs()
{
    for (int level : {FLUID_PANIC, FLUID_ERR, FLUID_WARN, FLUID_INFO, FLUID_DBG})
        fluid_set_log_function(level, nullptr, nullptr);
}

constexpr int kDrumChannel = 9;

// A SoundFont 2 file is a RIFF file of form "sfbk". Checked before FluidSynth sees the file: its
// loaders take other forms too, and complain on stderr about what they can't read.
bool isSoundfont(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    char head[12] = {};
    return in.read(head, sizeof head) && std::memcmp(head, "RIFF", 4) == 0 &&
           std::memcmp(head + 8, "sfbk", 4) == 0;
}
} // namespace

std::string defaultSoundfont()
{
    // Larger sets first: they sound better, and the small one is what a fresh machine has.
    for (const char* candidate :
         {"/usr/share/sounds/sf2/FluidR3_GM.sf2", "/usr/share/sounds/sf2/MuseScore_General.sf2",
          "/usr/share/sounds/sf2/default-GM.sf2", "/usr/share/soundfonts/default.sf2",
          "/usr/share/sounds/sf2/TimGM6mb.sf2"})
    {
        std::error_code ignored;
        if (std::filesystem::is_regular_file(candidate, ignored)) return candidate;
    }
    return {};
}

bool synthesize(const std::vector<MidiMessage>& timeline, double tempo, double seconds,
                const SynthSetup& setup, std::vector<float>& stereo, std::string& error)
{
    std::error_code ignored;
    if (setup.soundfont.empty())
    {
        error = "No General MIDI soundfont was found (scripts/setup-deps installs timgm6mb-soundfont); "
                "give one with --soundfont FILE.sf2.";
        return false;
    }
    if (!std::filesystem::is_regular_file(setup.soundfont, ignored))
    {
        error = "The soundfont '" + setup.soundfont + "' does not exist or is no file.";
        return false;
    }
    quietLogs();
    Fluid fluid;
    fluid.settings = new_fluid_settings();
    if (!fluid.settings)
    {
        error = "FluidSynth could not be started.";
        return false;
    }
    fluid_settings_setnum(fluid.settings, "synth.sample-rate", static_cast<double>(setup.sampleRate));
    fluid_settings_setnum(fluid.settings, "synth.gain", 1.0);
    fluid.synth = new_fluid_synth(fluid.settings);
    if (!fluid.synth)
    {
        error = "FluidSynth could not be started.";
        return false;
    }
    if (!isSoundfont(setup.soundfont) ||
        fluid_synth_sfload(fluid.synth, setup.soundfont.c_str(), 1) == FLUID_FAILED)
    {
        error = "The soundfont '" + setup.soundfont + "' could not be loaded: it is no SoundFont 2 file.";
        return false;
    }
    for (int channel = 0; channel < 16; ++channel)
        if (channel != kDrumChannel) fluid_synth_program_change(fluid.synth, channel, setup.program);

    const double framesPerTick = 60.0 / (tempo * 480.0) * static_cast<double>(setup.sampleRate);
    const auto total = static_cast<int64_t>(std::ceil(seconds * static_cast<double>(setup.sampleRate)));
    stereo.assign(static_cast<size_t>(std::max<int64_t>(total, 0)) * 2, 0.0f);
    int64_t frame = 0;
    const auto renderTo = [&](int64_t end)
    {
        end = std::min(end, total);
        while (frame < end)
        {
            const int count = static_cast<int>(std::min<int64_t>(end - frame, 4096));
            float* at = stereo.data() + 2 * frame;
            fluid_synth_write_float(fluid.synth, count, at, 0, 2, at, 1, 2);
            frame += count;
        }
    };
    for (const MidiMessage& message : timeline)
    {
        renderTo(static_cast<int64_t>(std::llround(static_cast<double>(message.tick) * framesPerTick)));
        const int channel = message.status & 0x0F;
        switch (message.status & 0xF0)
        {
        case 0x90:
            if (message.data2 > 0)
                fluid_synth_noteon(fluid.synth, channel, message.data1, message.data2);
            else
                fluid_synth_noteoff(fluid.synth, channel, message.data1);
            break;
        case 0x80:
            fluid_synth_noteoff(fluid.synth, channel, message.data1);
            break;
        case 0xB0:
            fluid_synth_cc(fluid.synth, channel, message.data1, message.data2);
            break;
        case 0xC0:
            fluid_synth_program_change(fluid.synth, channel, message.data1);
            break;
        case 0xE0:
            fluid_synth_pitch_bend(fluid.synth, channel, message.data1 | (message.data2 << 7));
            break;
        default:
            break;
        }
    }
    renderTo(total);

    // A dense chord can sum past full scale: the whole render is then turned down to 1 dB below
    // it, so that nothing clips and the balance within the piece stays as it was.
    float peak = 0.0f;
    for (float sample : stereo)
        peak = std::max(peak, std::fabs(sample));
    constexpr float kCeiling = 0.891f;
    if (peak > kCeiling)
        for (float& sample : stereo)
            sample *= kCeiling / peak;
    return true;
}
} // namespace hostkit::platform
