#pragma once

// Live MIDI out to synthesizers and other programs. midiout_posix.cpp opens the Linux kinds:
// midiout_jack.cpp a JACK client with one MIDI output port, which keeps time in its process
// callback (by its own clock or following JACK's transport); midiout_alsa.cpp an ALSA sequencer
// port, fed by the transport's thread and scheduled on a queue at the tempo. midiout_win32.cpp
// opens a device of the system's MIDI output (midiOutOpen).

#include "host/kit/liveoutput.h"

#include <memory>
#include <string>
#include <vector>

namespace hostkit::platform
{
struct MidiOutSetup
{
    enum class Kind
    {
        Jack,
        Alsa,
        System // the Windows MIDI output
    };
    Kind kind = Kind::Jack;
    std::string clientName = "tremolin"; // how JACK and ALSA list the program
    std::string connect;                 // JACK: a port; ALSA: CLIENT:PORT; empty for none
    std::string device;                  // Windows: a device's name or number
    bool followTransport = false;        // JACK: play when JACK's transport rolls, where it stands
    double tempo = 120.0;
};

// Null with one sentence in `error` when the kind is not on this platform, the server or device
// is not there, or the port to connect to does not exist.
std::unique_ptr<LiveOutput> openMidiOutput(const MidiOutSetup& setup, std::string& error);

// The system's MIDI output devices by number, from 0 (Windows); false with one sentence when the
// platform has no such list.
bool listMidiOutputs(std::vector<std::string>& names, std::string& error);
} // namespace hostkit::platform
