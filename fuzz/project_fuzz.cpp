// Feeds arbitrary text to the host's project reader. Whatever it accepts must survive a round
// trip: written back as text and as a chunk, it reads as the same project.

#include "host/projectfile.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

using namespace hostkit;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    Project project;
    std::string error;
    if (!readProjectText(text, project, error)) return 0;

    Project again;
    if (!readProjectText(writeProjectText(project), again, error) || !(again == project)) std::abort();
    const std::vector<uint8_t> chunk = encodeChunk(project);
    Project decoded;
    if (!decodeChunk(chunk.data(), chunk.size(), decoded, error) || !(decoded == project)) std::abort();
    return 0;
}
