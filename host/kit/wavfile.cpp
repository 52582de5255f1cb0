#include "host/kit/wavfile.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace hostkit
{
namespace
{
// Writes in place into a buffer sized up front: one allocation for the whole file.
uint8_t* putLittle(uint8_t* at, uint32_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        *at++ = static_cast<uint8_t>(value >> (8 * i));
    return at;
}

uint8_t* putTag(uint8_t* at, const char* tag)
{
    std::memcpy(at, tag, 4);
    return at + 4;
}
} // namespace

std::vector<uint8_t> encodeWav(const std::vector<float>& interleaved, int32_t channels, int32_t sampleRate,
                               WavFormat format)
{
    const uint32_t sampleBytes = format == WavFormat::Pcm16 ? 2 : 4;
    const auto dataBytes = static_cast<uint32_t>(interleaved.size() * sampleBytes);
    const auto blockAlign = static_cast<uint32_t>(channels) * sampleBytes;
    std::vector<uint8_t> out(44 + static_cast<size_t>(dataBytes));
    uint8_t* at = out.data();
    at = putTag(at, "RIFF");
    at = putLittle(at, 36 + dataBytes, 4);
    at = putTag(at, "WAVE");
    at = putTag(at, "fmt ");
    at = putLittle(at, 16, 4);
    at = putLittle(at, format == WavFormat::Pcm16 ? 1 : 3, 2); // PCM, or IEEE float
    at = putLittle(at, static_cast<uint32_t>(channels), 2);
    at = putLittle(at, static_cast<uint32_t>(sampleRate), 4);
    at = putLittle(at, static_cast<uint32_t>(sampleRate) * blockAlign, 4);
    at = putLittle(at, blockAlign, 2);
    at = putLittle(at, sampleBytes * 8, 2);
    at = putTag(at, "data");
    at = putLittle(at, dataBytes, 4);
    for (float sample : interleaved)
    {
        if (format == WavFormat::Pcm16)
        {
            const float held = std::isfinite(sample) ? std::clamp(sample, -1.0f, 1.0f) : 0.0f;
            const auto value = static_cast<int16_t>(std::lround(held * 32767.0f));
            at = putLittle(at, static_cast<uint16_t>(value), 2);
        }
        else
        {
            uint32_t bits = 0;
            std::memcpy(&bits, &sample, 4);
            at = putLittle(at, bits, 4);
        }
    }
    return out;
}
} // namespace hostkit
