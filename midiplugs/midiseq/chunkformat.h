#pragma once

// The project chunk as a host stores it, the one description of its layout that the module and
// tremolin-host share: "TrMo", the version, 200 patterns of 32 steps (note, velocity, gate,
// two controller values, tie: six 32-bit fields each) followed by length, quantize and swing,
// then the current pattern and 128 reserved bytes. Every word is big-endian.

#include <cstdint>

enum : int32_t
{
    kChunkMagic = 0x54724D6F, // "TrMo"
    kChunkVersion = 261,
    kChunkPatternCount = 200,
    kChunkStepCount = 32,
    kChunkStepBytes = 6 * 4,
    kChunkPatternBytes = kChunkStepCount * kChunkStepBytes + 3 * 4, // 780
    kChunkReservedSize = 128,
    kChunkSize = 2 * 4 + kChunkPatternCount * kChunkPatternBytes + 4 + kChunkReservedSize, // 156140
};
static_assert(kChunkSize == 156140, "hosts keep chunks of exactly this size");
