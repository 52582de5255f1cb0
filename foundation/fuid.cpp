#include "foundation/fuid.h"
#include "foundation/platform/uid.h"

#include <cstdio>
#include <cstring>

namespace
{
void putWord(uint8_t* bytes, uint32_t word, bool leastSignificantFirst)
{
    for (int i = 0; i < 4; ++i)
    {
        const int shift = leastSignificantFirst ? 8 * i : 8 * (3 - i);
        bytes[i] = static_cast<uint8_t>(word >> shift);
    }
}

uint32_t wordFrom(const uint8_t* b, int i0, int i1, int i2, int i3)
{
    return (uint32_t(b[i0]) << 24) | (uint32_t(b[i1]) << 16) | (uint32_t(b[i2]) << 8) | uint32_t(b[i3]);
}

uint64_t littleEndianWord(const uint8_t* bytes)
{
    uint64_t word = 0;
    for (int i = 7; i >= 0; --i)
        word = (word << 8) | bytes[i];
    return word;
}

// Hex text of `count` bytes starting at `from`, two digits each.
void bytesToHex(const uint8_t* from, int count, char* out)
{
    for (int i = 0; i < count; ++i)
        std::snprintf(out + 2 * i, 3, "%02X", from[i]);
}

// Reads `digits` hex characters at `text` as a number. Like "%x" the run may be cut short by a
// character that is not a digit, and a field without digits reads as 0: only the length of the
// whole text is ever checked.
uint32_t scanHex(const char* text, int digits)
{
    char field[9] = {};
    std::memcpy(field, text, static_cast<size_t>(digits));
    unsigned int parsed = 0;
    if (std::sscanf(field, "%x", &parsed) != 1) return 0;
    return parsed;
}

// The three numeric groups and the eight plain bytes, read from their character positions.
void readGroups(FUID& id, const char* text, int first, int second, int third, const int bytePositions[8])
{
    const uint32_t word1 = scanHex(text + first, 8);
    const uint32_t group2 = scanHex(text + second, 4);
    const uint32_t group3 = scanHex(text + third, 4);
    uint8_t bytes[16];
    putWord(bytes, word1, true);
    bytes[4] = static_cast<uint8_t>(group2);
    bytes[5] = static_cast<uint8_t>(group2 >> 8);
    bytes[6] = static_cast<uint8_t>(group3);
    bytes[7] = static_cast<uint8_t>(group3 >> 8);
    for (int i = 0; i < 8; ++i)
        bytes[8 + i] = static_cast<uint8_t>(scanHex(text + bytePositions[i], 2));
    std::memcpy(id.data, bytes, 16);
}
} // namespace

FUID::FUID()
{
    std::memset(data, 0, sizeof data);
}

FUID::FUID(const uint8_t* bytes)
{
    if (bytes)
        std::memcpy(data, bytes, sizeof data);
    else
        std::memset(data, 0, sizeof data);
}

FUID::FUID(const FUID& other)
{
    std::memcpy(data, other.data, sizeof data);
}

FUID::FUID(uint32_t word1, uint32_t word2, uint32_t word3, uint32_t word4)
{
    putWord(data, word1, true);
    data[4] = static_cast<uint8_t>(word2 >> 16);
    data[5] = static_cast<uint8_t>(word2 >> 24);
    data[6] = static_cast<uint8_t>(word2);
    data[7] = static_cast<uint8_t>(word2 >> 8);
    putWord(data + 8, word3, false);
    putWord(data + 12, word4, false);
}

FUID::~FUID() = default;

bool FUID::generate()
{
    uint8_t fresh[16];
    if (!foundation::platform::generate(fresh)) return false;
    std::memcpy(data, fresh, sizeof data);
    return true;
}

bool FUID::isValid() const
{
    for (uint8_t b : data)
        if (b != 0) return true;
    return false;
}

FUID& FUID::operator=(const FUID& other)
{
    if (this != &other) std::memcpy(data, other.data, sizeof data);
    return *this;
}

FUID& FUID::operator=(const uint8_t* bytes)
{
    if (bytes)
        std::memmove(data, bytes, sizeof data);
    else
        std::memset(data, 0, sizeof data);
    return *this;
}

bool FUID::equals(const uint8_t* bytes) const
{
    return bytes && std::memcmp(data, bytes, sizeof data) == 0;
}

void FUID::copyTo(TUID out) const
{
    std::memcpy(out, data, sizeof data);
}

uint32_t FUID::getWord1() const
{
    return wordFrom(data, 3, 2, 1, 0);
}

uint32_t FUID::getWord2() const
{
    return wordFrom(data, 5, 4, 7, 6);
}

uint32_t FUID::getWord3() const
{
    return wordFrom(data, 8, 9, 10, 11);
}

uint32_t FUID::getWord4() const
{
    return wordFrom(data, 12, 13, 14, 15);
}

int32_t FUID::compare(const FUID& other) const
{
    for (int half = 0; half < 2; ++half)
    {
        const uint64_t mine = littleEndianWord(data + 8 * half);
        const uint64_t theirs = littleEndianWord(other.data + 8 * half);
        if (mine != theirs) return mine < theirs ? -1 : 1;
    }
    return 0;
}

void FUID::toText(char* out) const
{
    if (!out) return;
    char tail[17];
    bytesToHex(data + 8, 8, tail);
    std::snprintf(out, 33, "%08X%04X%04X%s", static_cast<unsigned>(getWord1()),
                  static_cast<unsigned>(data[4] | (data[5] << 8)),
                  static_cast<unsigned>(data[6] | (data[7] << 8)), tail);
}

bool FUID::fromText(const char* text)
{
    if (!text || std::strlen(text) != 32) return false;
    static const int positions[8] = {16, 18, 20, 22, 24, 26, 28, 30};
    readGroups(*this, text, 0, 8, 12, positions);
    return true;
}

void FUID::toBracedText(char* out) const
{
    if (!out) return;
    char pair[5];
    char six[13];
    bytesToHex(data + 8, 2, pair);
    bytesToHex(data + 10, 6, six);
    std::snprintf(out, 39, "{%08X-%04X-%04X-%s-%s}", static_cast<unsigned>(getWord1()),
                  static_cast<unsigned>(data[4] | (data[5] << 8)),
                  static_cast<unsigned>(data[6] | (data[7] << 8)), pair, six);
}

bool FUID::fromBracedText(const char* text)
{
    if (!text || std::strlen(text) != 38) return false;
    static const int positions[8] = {20, 22, 25, 27, 29, 31, 33, 35};
    readGroups(*this, text, 1, 10, 15, positions);
    return true;
}

void FUID::printAs(char* out, int32_t style) const
{
    const char* format;
    switch (style)
    {
    case 0:
        format = "INLINE_UID (0x%08X, 0x%08X, 0x%08X, 0x%08X)";
        break;
    case 1:
        format = "DECLARE_UID (0x%08X, 0x%08X, 0x%08X, 0x%08X)";
        break;
    case 2:
        format = "FUID (0x%08X, 0x%08X, 0x%08X, 0x%08X)";
        break;
    default:
        format = "DECLARE_CLASS_IID (Interface, 0x%08X, 0x%08X, 0x%08X, 0x%08X)";
        break;
    }
    char local[128];
    char* target = out ? out : local;
    // Callers' buffers are sized for the longest style; the local one is too.
    std::snprintf(target, sizeof local, format, static_cast<unsigned>(getWord1()),
                  static_cast<unsigned>(getWord2()), static_cast<unsigned>(getWord3()),
                  static_cast<unsigned>(getWord4()));
    if (!out)
    {
        std::strcat(local, "\n");
        foundation::platform::debugOutput(local);
    }
}
