#include "host/kit/midicontrollers.h"

#include "host/kit/hosttext.h"

namespace hostkit
{
namespace
{
struct NamedController
{
    int32_t number;
    const char* name;
};

// Controllers without a name of their own here are shown by number. 71 and 74 carry the names
// under which synthesizers usually map them to their filter.
const NamedController kNames[] = {
    {0, "Bank Select"},
    {1, "Modulation"},
    {2, "Breath Controller"},
    {4, "Foot Controller"},
    {5, "Portamento Time"},
    {6, "Data Entry"},
    {7, "Volume"},
    {8, "Balance"},
    {10, "Pan"},
    {11, "Expression"},
    {12, "Effect Control 1"},
    {13, "Effect Control 2"},
    {16, "General Purpose 1"},
    {17, "General Purpose 2"},
    {18, "General Purpose 3"},
    {19, "General Purpose 4"},
    {32, "Bank Select LSB"},
    {33, "Modulation LSB"},
    {34, "Breath Controller LSB"},
    {36, "Foot Controller LSB"},
    {37, "Portamento Time LSB"},
    {38, "Data Entry LSB"},
    {39, "Volume LSB"},
    {40, "Balance LSB"},
    {42, "Pan LSB"},
    {43, "Expression LSB"},
    {44, "Effect Control 1 LSB"},
    {45, "Effect Control 2 LSB"},
    {64, "Sustain"},
    {65, "Portamento"},
    {66, "Sostenuto"},
    {67, "Soft Pedal"},
    {68, "Legato Footswitch"},
    {69, "Hold 2"},
    {70, "Sound Variation"},
    {71, "Resonance"},
    {72, "Release Time"},
    {73, "Attack Time"},
    {74, "Brightness"},
    {75, "Decay Time"},
    {76, "Vibrato Rate"},
    {77, "Vibrato Depth"},
    {78, "Vibrato Delay"},
    {79, "Sound Controller 10"},
    {80, "General Purpose 5"},
    {81, "General Purpose 6"},
    {82, "General Purpose 7"},
    {83, "General Purpose 8"},
    {84, "Portamento Control"},
    {88, "High Resolution Velocity"},
    {91, "Reverb Depth"},
    {92, "Tremolo Depth"},
    {93, "Chorus Depth"},
    {94, "Detune Depth"},
    {95, "Phaser Depth"},
    {96, "Data Increment"},
    {97, "Data Decrement"},
    {98, "NRPN LSB"},
    {99, "NRPN MSB"},
    {100, "RPN LSB"},
    {101, "RPN MSB"},
    {120, "All Sound Off"},
    {121, "Reset All Controllers"},
    {122, "Local Control"},
    {123, "All Notes Off"},
    {124, "Omni Mode Off"},
    {125, "Omni Mode On"},
    {126, "Mono Mode On"},
    {127, "Poly Mode On"},
};
} // namespace

std::u16string midiControllerName(int32_t number)
{
    if (number < 0 || number >= kMidiControllerCount) return {};
    for (const NamedController& entry : kNames)
        if (entry.number == number) return utf8ToUtf16(entry.name);
    return utf8ToUtf16("Controller " + std::to_string(number));
}
} // namespace hostkit
