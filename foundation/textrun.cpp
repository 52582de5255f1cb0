// Text of either width as the string operations see it: characters read across both widths,
// private copies converted for one operation, and the runs that comparing and finding walk.

#include "foundation/fstringdetail.h"
#include "foundation/textcodec.h"

namespace fstringdetail
{
namespace codec = foundation::text;

// The code point at `i` of a text of either width. Invalid 8-bit bytes read as Latin-1, lone
// surrogates as themselves.
uint32_t charAt(const void* text, uint32_t count, bool wide, uint32_t i, uint32_t& len)
{
    if (wide)
    {
        size_t units = 1;
        const char32_t cp = codec::decodeUtf16(static_cast<const char16_t*>(text), count, i, units);
        len = static_cast<uint32_t>(units);
        return cp;
    }
    const char* s = static_cast<const char*>(text);
    const codec::Utf8Sequence sequence = codec::decodeUtf8(s, count, i);
    if (sequence.codePoint < 0)
    {
        len = 1;
        return static_cast<uint8_t>(s[i]);
    }
    len = sequence.length;
    return static_cast<uint32_t>(sequence.codePoint);
}

// Heap copies in the other width; null on failure.
char16_t* convertToWideText(uint32_t codePage, const char* in, uint32_t count, uint32_t& outCount)
{
    const int64_t n = codec::decode(codePage, in, count, nullptr);
    if (n < 0 || n > ConstString::kMaxLength) return nullptr;
    auto* out = static_cast<char16_t*>(allocText(static_cast<uint64_t>(n), true));
    if (!out) return nullptr;
    codec::decode(codePage, in, count, out);
    out[n] = 0;
    outCount = static_cast<uint32_t>(n);
    return out;
}

char* convertToNarrowText(uint32_t codePage, const char16_t* in, uint32_t count, uint32_t& outCount)
{
    const int64_t n = codec::encode(codePage, in, count, nullptr);
    if (n < 0 || n > ConstString::kMaxLength) return nullptr;
    auto* out = static_cast<char*>(allocText(static_cast<uint64_t>(n), false));
    if (!out) return nullptr;
    codec::encode(codePage, in, count, out);
    out[n] = 0;
    outCount = static_cast<uint32_t>(n);
    return out;
}

// Widens for comparing only: invalid UTF-8 bytes are taken as Latin-1 rather than failing, so
// that any two texts can be compared.
char16_t* widenLeniently(const char* in, uint32_t count, uint32_t& outCount)
{
    uint64_t n = 0;
    for (uint32_t i = 0; i < count;)
    {
        uint32_t len = 1;
        n += charAt(in, count, false, i, len) >= 0x10000 ? 2 : 1;
        i += len;
    }
    auto* out = static_cast<char16_t*>(allocText(n, true));
    if (!out) return nullptr;
    uint32_t k = 0;
    for (uint32_t i = 0; i < count;)
    {
        uint32_t len = 1;
        k += codec::encodeUtf16(charAt(in, count, false, i, len), out + k);
        i += len;
    }
    out[k] = 0;
    outCount = k;
    return out;
}

// Changes case in place without changing the byte length of any character: a mapping that
// would need more or fewer bytes in UTF-8 is left out. Invalid bytes are treated as Latin-1.
void changeCase8(char* text, uint32_t count, bool upper, int64_t onlyIndex)
{
    for (uint32_t i = 0; i < count;)
    {
        const codec::Utf8Sequence sequence = codec::decodeUtf8(text, count, i);
        const int32_t cp = sequence.codePoint;
        const uint32_t len = cp < 0 ? 1 : sequence.length;
        if (onlyIndex < 0 || onlyIndex == i)
        {
            if (cp < 0)
            {
                const uint32_t mapped = caseOf(static_cast<uint8_t>(text[i]), upper);
                if (mapped >= 0x80 && mapped <= 0xFF) text[i] = static_cast<char>(mapped);
            }
            else
            {
                const uint32_t mapped = caseOf(static_cast<uint32_t>(cp), upper);
                if (mapped != static_cast<uint32_t>(cp) && codec::utf8Length(mapped) == len)
                    codec::encodeUtf8(mapped, text + i);
            }
        }
        i += len;
    }
}

void changeCase16(char16_t* text, uint32_t count, bool upper, int64_t onlyIndex)
{
    for (uint32_t i = 0; i < count; ++i)
        if (onlyIndex < 0 || onlyIndex == i) text[i] = static_cast<char16_t>(caseOf(text[i], upper));
}

// The form in which characters are compared when case doesn't count. A lone byte folds like
// an invalid byte inside an 8-bit text.
uint32_t foldUnit(uint32_t unit, bool wide)
{
    const uint32_t lower = lowerOf(unit);
    if (!wide && unit >= 0x80) return lower <= 0xFF ? lower : unit;
    return lower;
}

// Brings `other` to the width of `self` for an operation whose indices refer to `self`. If the
// other cannot be had in 8 bits, `widenSelf` lets the self side become wide instead.
bool matchWidth(TextRun& self, TextRun& other, bool widenSelf)
{
    if (self.wide == other.wide) return true;
    if (self.wide) return other.toWidth(true, true);
    if (other.toWidth(false, false)) return true;
    return widenSelf && self.toWidth(true, true);
}

bool unitsEqual(const TextRun& a, uint32_t ai, const TextRun& b, uint32_t bi, uint32_t n)
{
    if (a.wide) return std::memcmp(a.s16() + ai, b.s16() + bi, n * sizeof(char16_t)) == 0;
    return std::memcmp(a.s8() + ai, b.s8() + bi, n) == 0;
}

// Like the C library's bounded comparison: unit by unit up to `limit` (-1 for no limit), the
// end of a text reading as 0. Both runs have one width.
int32_t compareRuns(const TextRun& a, const TextRun& b, int64_t limit)
{
    for (uint64_t i = 0; limit < 0 || i < static_cast<uint64_t>(limit); ++i)
    {
        const uint32_t ca = i < a.count ? a.unit(static_cast<uint32_t>(i)) : 0;
        const uint32_t cb = i < b.count ? b.unit(static_cast<uint32_t>(i)) : 0;
        if (ca != cb) return ca < cb ? -1 : 1;
        if (ca == 0) return 0;
    }
    return 0;
}

int32_t findInRun(const TextRun& hay, const TextRun& needle, int64_t start, int64_t last)
{
    if (needle.count == 0 || needle.count > hay.count) return -1;
    if (start < 0) start = 0;
    const int64_t maxStart = static_cast<int64_t>(hay.count) - needle.count;
    if (last < 0 || last > maxStart) last = maxStart;
    for (int64_t i = start; i <= last; ++i)
        if (unitsEqual(hay, static_cast<uint32_t>(i), needle, 0, needle.count))
            return static_cast<int32_t>(i);
    return -1;
}
} // namespace fstringdetail
