#pragma once

// The host's musical clock: 480 ticks a quarter, bars of 4/4, and blocks of 512 samples at
// 44.1 kHz, as the host's transport hands them to a module.

#include <cstdint>

namespace hostkit
{
enum : int32_t
{
    kTicksPerQuarter = 480,
    kTicksPerBar = 4 * kTicksPerQuarter,
    kBlockSamples = 512,
    kSampleRate = 44100,
};

// The ticks of one block at this tempo; at least 1.
int32_t blockTicks(double tempo);
} // namespace hostkit
