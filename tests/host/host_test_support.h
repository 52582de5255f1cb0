#pragma once

// Helpers of the host's tests: a private folder per test, files, running the program, and
// reading MIDI files back through midicsv.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace hosttest
{
// A fresh folder, removed with everything in it at the end of the test.
class TempFolder
{
public:
    TempFolder()
    {
        std::random_device seed;
        const auto base = std::filesystem::temp_directory_path();
        for (;;)
        {
            path = base / ("tremolin-host-test-" + std::to_string(seed()));
            if (std::filesystem::create_directory(path)) break;
        }
    }
    ~TempFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    std::string file(const std::string& name) const { return (path / name).string(); }
    std::vector<std::string> names() const
    {
        std::vector<std::string> out;
        for (const auto& entry : std::filesystem::directory_iterator(path))
            out.push_back(entry.path().filename().string());
        return out;
    }

    std::filesystem::path path;
};

inline std::string readText(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeText(const std::string& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

struct CommandResult
{
    int exitCode = -1;
    std::string out;
    std::string err;
};

// Runs a shell command line in `folder`, collecting its exit code, stdout and stderr.
inline CommandResult run(const TempFolder& folder, const std::string& commandLine)
{
    const std::string out = folder.file(".out"), err = folder.file(".err"), code = folder.file(".code");
    const std::string line = "cd '" + folder.path.string() + "' && { " + commandLine + " ; } >'" + out +
                             "' 2>'" + err + "'; echo $? >'" + code + "'";
    std::system(line.c_str());
    CommandResult result;
    result.exitCode = std::atoi(readText(code).c_str());
    result.out = readText(out);
    result.err = readText(err);
    std::filesystem::remove(out);
    std::filesystem::remove(err);
    std::filesystem::remove(code);
    return result;
}

// The channel events of a MIDI file as midicsv prints them, without the track and file
// framing: "tick, Note_on_c, channel, note, velocity" and so on.
inline std::vector<std::string> midiEvents(const TempFolder& folder, const std::string& midiFile,
                                           std::vector<std::string>* meta = nullptr)
{
    const CommandResult csv = run(folder, "midicsv '" + midiFile + "'");
    EXPECT_EQ(csv.exitCode, 0) << "midicsv could not read " << midiFile << ": " << csv.err;
    std::vector<std::string> events;
    std::istringstream lines(csv.out);
    std::string line;
    while (std::getline(lines, line))
    {
        // "1, 480, Note_on_c, 0, 60, 100": drop the track number.
        const size_t comma = line.find(", ");
        if (comma == std::string::npos) continue;
        const std::string rest = line.substr(comma + 2);
        if (rest.find("_c, ") != std::string::npos)
            events.push_back(rest);
        else if (meta)
            meta->push_back(rest);
    }
    return events;
}
} // namespace hosttest
