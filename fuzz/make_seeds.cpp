// Writes the fuzzers' seed corpora from real inputs: the demo project as a chunk and as text, a
// project with every field at its limits (and one with every field at its floor). A fuzzer that starts
// from these reaches the deep branches at once instead of searching for a valid header.

#include "host/projectfile.h"

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

using namespace hostkit;

namespace
{
bool writeFile(const std::string& path, const std::string& bytes)
{
    std::ofstream out(path, std::ios::binary);
    out.write(bytes.data(), std::streamsize(bytes.size()));
    return bool(out);
}

// The chunk fuzzer takes its input as raw chunk bytes when the first byte is 0xFF.
std::string rawChunk(const Project& project)
{
    const std::vector<uint8_t> chunk = encodeChunk(project);
    std::string bytes(1, '\xFF');
    bytes.append(chunk.begin(), chunk.end());
    return bytes;
}

Project atTheLimits(bool high)
{
    Project project;
    for (ProjectPattern& pattern : project.patterns)
    {
        for (ProjectStep& step : pattern.steps)
        {
            step.note = high ? 127 : 0;
            step.velocity = high ? 127 : 0;
            step.gate = high ? std::numeric_limits<float>::max() : 0.0f;
            step.controller1 = high ? 127 : 0;
            step.controller2 = high ? 127 : 0;
            step.tie = high ? 1 : 0;
        }
        pattern.length = high ? 32 : 1;
        pattern.quantize = high ? std::numeric_limits<int32_t>::max() : 1;
        pattern.swing = high ? 100 : 0;
    }
    project.current = high ? 199 : 0;
    return project;
}
} // namespace

int main(int argc, char** argv)
{
    if (argc != 4)
    {
        std::fprintf(stderr, "usage: make_seeds DEMO CHUNK_DIR PROJECT_DIR\n");
        return 2;
    }
    const std::string demoPath = argv[1], chunkDir = argv[2], projectDir = argv[3];
    Project demo;
    std::string error;
    if (!loadProjectFile(demoPath, demo, error))
    {
        std::fprintf(stderr, "make_seeds: %s\n", error.c_str());
        return 1;
    }
    std::ifstream demoText(demoPath, std::ios::binary);
    const std::string demoSource{std::istreambuf_iterator<char>(demoText), {}};
    bool ok = writeFile(chunkDir + "/demo", rawChunk(demo)) &&
              writeFile(chunkDir + "/high", rawChunk(atTheLimits(true))) &&
              writeFile(chunkDir + "/low", rawChunk(atTheLimits(false))) &&
              writeFile(projectDir + "/demo", demoSource) &&
              writeFile(projectDir + "/high", writeProjectText(atTheLimits(true))) &&
              writeFile(projectDir + "/low", writeProjectText(atTheLimits(false)));
    return ok ? 0 : 1;
}
