#include "host/kit/platform/synth.h"

namespace hostkit::platform
{
std::string defaultSoundfont()
{
    return {};
}

bool synthesize(const std::vector<MidiMessage>&, double, double, const SynthSetup&, std::vector<float>&,
                std::string& error)
{
    error = "Audio renders need the Linux build of tremolin-host, which plays through FluidSynth; "
            "render --out FILE.mid and play that file in any synthesizer instead.";
    return false;
}
} // namespace hostkit::platform
