// render --wav: the real module's notes through the synthesizer, read back from the file. Compiled
// only in builds that make the module.

#ifdef TREMOLIN_MODULE_FILE

#include "tests/host/host_test_support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace
{
const std::string kModule = TREMOLIN_MODULE_FILE;

#ifndef _WIN32
struct Wav
{
    int format = 0; // 1 PCM, 3 float
    int channels = 0;
    int rate = 0;
    int bits = 0;
    std::vector<float> samples; // interleaved, -1..1
    size_t frames() const { return channels ? samples.size() / static_cast<size_t>(channels) : 0; }

    // The root mean square of both channels from `from` to `to` seconds.
    double loudness(double from, double to) const
    {
        const auto first = static_cast<size_t>(from * rate) * static_cast<size_t>(channels);
        const auto last =
            std::min(samples.size(), static_cast<size_t>(to * rate) * static_cast<size_t>(channels));
        double sum = 0.0;
        for (size_t i = first; i < last; ++i)
            sum += static_cast<double>(samples[i]) * samples[i];
        return last > first ? std::sqrt(sum / static_cast<double>(last - first)) : 0.0;
    }
    float peak() const
    {
        float top = 0.0f;
        for (float sample : samples)
            top = std::max(top, std::fabs(sample));
        return top;
    }
};

uint32_t little(const std::string& bytes, size_t at, int count)
{
    uint32_t value = 0;
    for (int i = count - 1; i >= 0; --i)
        value = value << 8 | static_cast<uint8_t>(bytes[at + static_cast<size_t>(i)]);
    return value;
}

// A plain reader of the two forms the host writes: 44 bytes of header, then the samples.
Wav readWav(const std::string& path)
{
    const std::string bytes = hosttest::readText(path);
    Wav wav;
    if (bytes.size() < 44 || bytes.compare(0, 4, "RIFF") != 0 || bytes.compare(8, 8, "WAVEfmt ") != 0 ||
        bytes.compare(36, 4, "data") != 0 || little(bytes, 4, 4) + 8 != bytes.size() ||
        little(bytes, 40, 4) + 44 != bytes.size())
    {
        ADD_FAILURE() << path << " is no WAV file as the host writes them";
        return wav;
    }
    wav.format = static_cast<int>(little(bytes, 20, 2));
    wav.channels = static_cast<int>(little(bytes, 22, 2));
    wav.rate = static_cast<int>(little(bytes, 24, 4));
    wav.bits = static_cast<int>(little(bytes, 34, 2));
    for (size_t at = 44; at + static_cast<size_t>(wav.bits / 8) <= bytes.size();
         at += static_cast<size_t>(wav.bits / 8))
    {
        if (wav.bits == 16)
            wav.samples.push_back(static_cast<float>(static_cast<int16_t>(little(bytes, at, 2))) / 32768.0f);
        else
        {
            const uint32_t bits = little(bytes, at, 4);
            float sample;
            std::memcpy(&sample, &bits, 4);
            wav.samples.push_back(sample);
        }
    }
    return wav;
}

#endif

// At 120 BPM a quarter lasts half a second: a note on the first and the fifth of eight quarters,
// each half a step long, then nothing; the pattern comes round again after four seconds.
void writeSparseProject(const hosttest::TempFolder& folder)
{
    hosttest::writeText(folder.file("sparse.tremolin"), "current 1\n"
                                                        "pattern 1  length 8  quantize 1/4  swing 0\n"
                                                        "  1  C3  110  0.5  0 0 -\n"
                                                        "  5  G3  110  0.5  0 0 -\n");
}

hosttest::CommandResult render(const hosttest::TempFolder& folder, std::vector<std::string> args)
{
    args.insert(args.begin(), {"render", "--module", kModule, "--settings", "settings", "--project",
                               "sparse.tremolin", "--tempo", "120"});
    return hosttest::runProgram(folder, TREMOLIN_HOST_PROGRAM, args);
}
} // namespace

#ifndef _WIN32
TEST(AudioRender, SoundsWhereNotesSoundAndIsSilentElsewhereWithoutClipping)
{
    hosttest::TempFolder folder;
    writeSparseProject(folder);
    const auto result = render(folder, {"--bars", "2", "--wav", "sparse.wav"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_NE(result.out.find("Wrote sparse.wav: 5.0 seconds"), std::string::npos) << result.out;
    const Wav wav = readWav(folder.file("sparse.wav"));
    EXPECT_EQ(wav.format, 1);
    EXPECT_EQ(wav.bits, 16);
    EXPECT_EQ(wav.channels, 2);
    EXPECT_EQ(wav.rate, 44100);
    // Two bars, and a second for the last note's release.
    EXPECT_EQ(wav.frames(), 5u * 44100u);
    const double quiet = 1e-4;
    EXPECT_GT(wav.loudness(0.02, 0.24), 100 * quiet) << "the C3";
    EXPECT_GT(wav.loudness(2.02, 2.24), 100 * quiet) << "the G3";
    EXPECT_LT(wav.loudness(1.2, 1.95), quiet) << "between the notes";
    EXPECT_LT(wav.loudness(3.2, 5.0), quiet) << "after the last note";
    EXPECT_LT(wav.peak(), 1.0f);
    EXPECT_GT(wav.peak(), 0.01f);

    // The float form: the same sound, with no rounding to 16 bits; another instrument differs.
    ASSERT_EQ(render(folder, {"--bars", "2", "--wav", "float.wav", "--float"}).exitCode, 0);
    const Wav floats = readWav(folder.file("float.wav"));
    EXPECT_EQ(floats.format, 3);
    EXPECT_EQ(floats.bits, 32);
    ASSERT_EQ(floats.samples.size(), wav.samples.size());
    EXPECT_NEAR(floats.loudness(0.02, 0.24), wav.loudness(0.02, 0.24), 1e-4);
    ASSERT_EQ(render(folder, {"--bars", "2", "--wav", "organ.wav", "--program", "20"}).exitCode, 0);
    EXPECT_NE(hosttest::readText(folder.file("organ.wav")), hosttest::readText(folder.file("sparse.wav")));
}

TEST(AudioRender, RefusesInOneSentenceAndLeavesNoFile)
{
    hosttest::TempFolder folder;
    writeSparseProject(folder);
    hosttest::writeText(folder.file("text.sf2"), "no soundfont");
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"--wav", "a.wav", "--soundfont", "missing.sf2"}, "The soundfont 'missing.sf2' does not exist"},
        {{"--wav", "a.wav", "--soundfont", "text.sf2"}, "it is no SoundFont 2 file"},
        {{"--wav", "gone/a.wav"}, "gone/a.wav"},
        {{"--wav", "sparse.tremolin"}, "is the project this render reads"},
        {{"--wav", "a.wav", "--out", "a.wav"}, "name the same file"},
    };
    const auto before = folder.names();
    for (const auto& [args, sentence] : cases)
    {
        const auto result = render(folder, args);
        EXPECT_EQ(result.exitCode, 1) << args[1];
        EXPECT_NE(result.err.find(sentence), std::string::npos) << result.err;
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        auto after = folder.names();
        std::erase(after, std::string("settings"));
        EXPECT_EQ(after.size(), before.size()) << "after " << args[1] << " " << args.back();
    }
}
#else
TEST(AudioRender, SaysThatAudioNeedsTheLinuxBuild)
{
    hosttest::TempFolder folder;
    writeSparseProject(folder);
    const auto result = render(folder, {"--wav", "a.wav"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.err.find("Audio renders need the Linux build"), std::string::npos) << result.err;
    EXPECT_FALSE(std::filesystem::exists(folder.file("a.wav")));
}
#endif
#endif
