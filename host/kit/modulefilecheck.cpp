#include "host/kit/modulefilecheck.h"

#include <cstring>

namespace hostkit
{
namespace
{
// Reads integers of either byte order from a file whose length has been checked by the caller.
struct Bytes
{
    const uint8_t* data;
    size_t size;
    bool bigEndian;

    bool has(uint64_t offset, uint64_t length) const { return offset <= size && length <= size - offset; }
    uint64_t get(uint64_t offset, int width) const
    {
        uint64_t value = 0;
        for (int i = 0; i < width; ++i)
        {
            const uint64_t byte = data[offset + static_cast<uint64_t>(bigEndian ? i : width - 1 - i)];
            value = (value << 8) | byte;
        }
        return value;
    }
};

std::string cutShort(size_t size, uint64_t needed, const char* what)
{
    return "it ends at byte " + std::to_string(size) + ", but its " + what + " reach to byte " +
           std::to_string(needed);
}

bool elfIsWhole(const Bytes& file, std::string& reason)
{
    const bool wide = file.data[4] == 2;
    const size_t header = wide ? 64 : 52;
    if (!file.has(0, header))
    {
        reason = cutShort(file.size, header, "headers");
        return false;
    }
    const uint64_t tableOffset = wide ? file.get(32, 8) : file.get(28, 4);
    const uint64_t entrySize = file.get(wide ? 54 : 42, 2);
    const uint64_t entries = file.get(wide ? 56 : 44, 2);
    if (!file.has(tableOffset, entrySize * entries))
    {
        reason = cutShort(file.size, tableOffset + entrySize * entries, "program headers");
        return false;
    }
    if (entrySize < (wide ? 56u : 32u) && entries > 0)
    {
        reason = "its program headers have an impossible size";
        return false;
    }
    for (uint64_t i = 0; i < entries; ++i)
    {
        const uint64_t at = tableOffset + i * entrySize;
        const uint64_t type = file.get(at, 4);
        if (type != 1) continue; // only loadable segments are mapped from the file
        const uint64_t offset = wide ? file.get(at + 8, 8) : file.get(at + 4, 4);
        const uint64_t length = wide ? file.get(at + 32, 8) : file.get(at + 16, 4);
        if (!file.has(offset, length))
        {
            reason = cutShort(file.size, offset + length, "loadable segments");
            return false;
        }
    }
    return true;
}

bool peIsWhole(const Bytes& file, std::string& reason)
{
    if (!file.has(0, 64))
    {
        reason = cutShort(file.size, 64, "headers");
        return false;
    }
    const uint64_t pe = file.get(0x3C, 4);
    if (!file.has(pe, 24))
    {
        reason = cutShort(file.size, pe + 24, "headers");
        return false;
    }
    if (std::memcmp(file.data + pe, "PE\0\0", 4) != 0) return true; // an old DOS program: not ours to judge
    const uint64_t sections = file.get(pe + 6, 2);
    const uint64_t table = pe + 24 + file.get(pe + 20, 2);
    if (!file.has(table, sections * 40))
    {
        reason = cutShort(file.size, table + sections * 40, "section headers");
        return false;
    }
    for (uint64_t i = 0; i < sections; ++i)
    {
        const uint64_t at = table + i * 40;
        const uint64_t length = file.get(at + 16, 4);
        const uint64_t offset = file.get(at + 20, 4);
        if (length != 0 && !file.has(offset, length))
        {
            reason = cutShort(file.size, offset + length, "sections");
            return false;
        }
    }
    return true;
}
} // namespace

bool moduleFileIsWhole(const uint8_t* bytes, size_t size, std::string& reason)
{
    if (size >= 6 && std::memcmp(bytes,
                                 "\x7F"
                                 "ELF",
                                 4) == 0)
        return elfIsWhole({bytes, size, bytes[5] == 2}, reason);
    if (size >= 2 && bytes[0] == 'M' && bytes[1] == 'Z') return peIsWhole({bytes, size, false}, reason);
    if (size < 6 && size > 0 &&
        std::memcmp(bytes,
                    "\x7F"
                    "ELF",
                    size < 4 ? size : 4) == 0)
    {
        reason = cutShort(size, 6, "headers");
        return false;
    }
    return true;
}
} // namespace hostkit
