#pragma once

// The plug-in's ports, in the order of the bundle's description (Tremolin.ttl.in).

#include <cstdint>

namespace tremolinlv2
{
enum Port : uint32_t
{
    kPortEvents = 0, // atom input: MIDI and time:Position
    kPortMidiOut,    // atom output: the sequencer's notes and controllers
    kPortPattern,    // Pattern Select, 1..200
    kPortLength,     // 1..32
    kPortQuantize,   // index into the eleven step sizes
    kPortSwing,      // 0..100
    kPortLane,       // Param Select: the lane the editor's bars show
    kPortController1,
    kPortController2,
    kPortOctaveUp, // triggers of the pattern operations, kPortOctaveUp..kPortPaste
    kPortOctaveDown,
    kPortTimeLeft,
    kPortTimeRight,
    kPortReverse,
    kPortRandomize,
    kPortClear,
    kPortCopy,
    kPortPaste,
    kPortCurrentPattern, // control output: the pattern playing, 1..200
    kPortCount
};

inline constexpr uint32_t kFirstControl = kPortPattern;
inline constexpr uint32_t kFirstTrigger = kPortOctaveUp;
inline constexpr uint32_t kControlInputs = kPortCurrentPattern - kFirstControl;
} // namespace tremolinlv2
