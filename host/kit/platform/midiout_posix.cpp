#include "host/kit/platform/midiout_posix.h"

namespace hostkit::platform
{
std::unique_ptr<LiveOutput> openMidiOutput(const MidiOutSetup& setup, std::string& error)
{
    switch (setup.kind)
    {
    case MidiOutSetup::Kind::Jack:
        return openJackOutput(setup, error);
    case MidiOutSetup::Kind::Alsa:
        return openAlsaOutput(setup, error);
    case MidiOutSetup::Kind::System:
        break;
    }
    error = "--midi-out is for the Windows build; on Linux play through --jack or --alsa.";
    return nullptr;
}

bool listMidiOutputs(std::vector<std::string>&, std::string& error)
{
    error = "--list-outputs is for the Windows build; on Linux list the ports to connect to with "
            "jack_lsp or aconnect -o.";
    return false;
}
} // namespace hostkit::platform
