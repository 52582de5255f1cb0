#include "host/kit/wavfile.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace hostkit
{
namespace
{
void putLittle(std::vector<uint8_t>& out, uint32_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

void putTag(std::vector<uint8_t>& out, const char* tag)
{
    out.insert(out.end(), tag, tag + 4);
}
} // namespace

std::vector<uint8_t> encodeWav(const std::vector<float>& interleaved, int32_t channels, int32_t sampleRate,
                               WavFormat format)
{
    const uint32_t sampleBytes = format == WavFormat::Pcm16 ? 2 : 4;
    const auto dataBytes = static_cast<uint32_t>(interleaved.size() * sampleBytes);
    const auto blockAlign = static_cast<uint32_t>(channels) * sampleBytes;
    std::vector<uint8_t> out;
    out.reserve(44 + dataBytes);
    putTag(out, "RIFF");
    putLittle(out, 36 + dataBytes, 4);
    putTag(out, "WAVE");
    putTag(out, "fmt ");
    putLittle(out, 16, 4);
    putLittle(out, format == WavFormat::Pcm16 ? 1 : 3, 2); // PCM, or IEEE float
    putLittle(out, static_cast<uint32_t>(channels), 2);
    putLittle(out, static_cast<uint32_t>(sampleRate), 4);
    putLittle(out, static_cast<uint32_t>(sampleRate) * blockAlign, 4);
    putLittle(out, blockAlign, 2);
    putLittle(out, sampleBytes * 8, 2);
    putTag(out, "data");
    putLittle(out, dataBytes, 4);
    for (float sample : interleaved)
    {
        if (format == WavFormat::Pcm16)
        {
            const float held = std::isfinite(sample) ? std::clamp(sample, -1.0f, 1.0f) : 0.0f;
            const auto value = static_cast<int16_t>(std::lround(held * 32767.0f));
            putLittle(out, static_cast<uint16_t>(value), 2);
        }
        else
        {
            uint32_t bits = 0;
            std::memcpy(&bits, &sample, 4);
            putLittle(out, bits, 4);
        }
    }
    return out;
}
} // namespace hostkit
