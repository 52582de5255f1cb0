#pragma once

// RIFF WAVE files of interleaved samples: 16-bit PCM, or 32-bit float for those who mix further.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace hostkit
{
enum class WavFormat
{
    Pcm16,
    Float32
};

// Samples outside -1..1 are held to full scale in the 16-bit form.
std::vector<uint8_t> encodeWav(const std::vector<float>& interleaved, int32_t channels, int32_t sampleRate,
                               WavFormat format);
} // namespace hostkit
