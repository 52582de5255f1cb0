#pragma once

// The host's own list of the 128 MIDI controllers, by their usual General MIDI names.

#include <cstdint>
#include <string>

namespace hostkit
{
enum : int32_t
{
    kMidiControllerCount = 128
};

// The name shown for controller `number` (0..127): "Modulation", "Volume", ..., or
// "Controller N" where no name is in common use. Empty outside 0..127.
std::u16string midiControllerName(int32_t number);
} // namespace hostkit
