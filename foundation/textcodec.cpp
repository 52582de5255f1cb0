#include "foundation/textcodec.h"

namespace foundation::text
{
namespace
{
// The 32 places where windows-1252 differs from Latin-1. The five bytes the code page leaves
// unassigned (0x81, 0x8D, 0x8F, 0x90, 0x9D) become the C1 controls of the same number, as Windows'
// own table has them: String::toWide(1252) must give what MultiByteToWideChar gives there, which
// converts them without an error even when asked to reject invalid characters, and so they also
// come back to the same byte when narrowed again.
const char16_t kWindows1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

char16_t fromWindows1252(uint8_t b)
{
    return b >= 0x80 && b < 0xA0 ? kWindows1252High[b - 0x80] : char16_t(b);
}

char toWindows1252(char16_t u)
{
    if (u < 0x80 || (u >= 0xA0 && u <= 0xFF)) return static_cast<char>(u);
    for (int k = 0; k < 32; ++k)
        if (kWindows1252High[k] == u) return static_cast<char>(0x80 + k);
    return '?';
}

bool isSurrogate(char32_t cp)
{
    return cp >= 0xD800 && cp < 0xE000;
}
} // namespace

Utf8Sequence decodeUtf8(const char* text, size_t count, size_t i)
{
    const auto byte = [&](size_t k) { return static_cast<uint8_t>(text[k]); };
    const uint8_t b0 = byte(i);
    if (b0 < 0x80) return {b0, 1};
    uint32_t need = 0;
    uint32_t cp = 0;
    // The second byte's range shuts out overlong forms, surrogates and values past U+10FFFF.
    uint8_t lo = 0x80;
    uint8_t hi = 0xBF;
    if (b0 >= 0xC2 && b0 <= 0xDF)
    {
        need = 1;
        cp = b0 & 0x1F;
    }
    else if (b0 >= 0xE0 && b0 <= 0xEF)
    {
        need = 2;
        cp = b0 & 0x0F;
        if (b0 == 0xE0)
            lo = 0xA0;
        else if (b0 == 0xED)
            hi = 0x9F;
    }
    else if (b0 >= 0xF0 && b0 <= 0xF4)
    {
        need = 3;
        cp = b0 & 0x07;
        if (b0 == 0xF0)
            lo = 0x90;
        else if (b0 == 0xF4)
            hi = 0x8F;
    }
    else
        return {-1, 1};
    for (uint32_t k = 1; k <= need; ++k)
    {
        if (i + k >= count) return {-1, k};
        const uint8_t b = byte(i + k);
        if (b < (k == 1 ? lo : 0x80) || b > (k == 1 ? hi : 0xBF)) return {-1, k};
        cp = (cp << 6) | (b & 0x3F);
    }
    return {static_cast<int32_t>(cp), need + 1};
}

uint32_t utf8Length(char32_t cp)
{
    return cp < 0x80 ? 1 : cp < 0x800 ? 2 : cp < 0x10000 ? 3 : 4;
}

void encodeUtf8(char32_t cp, char* out)
{
    const uint32_t n = utf8Length(cp);
    if (n == 1)
    {
        out[0] = static_cast<char>(cp);
        return;
    }
    static const uint8_t lead[5] = {0, 0, 0xC0, 0xE0, 0xF0};
    for (uint32_t k = n - 1; k > 0; --k)
    {
        out[k] = static_cast<char>(0x80 | (cp & 0x3F));
        cp >>= 6;
    }
    out[0] = static_cast<char>(lead[n] | cp);
}

char32_t decodeUtf16(const char16_t* in, size_t count, size_t i, size_t& length)
{
    const char16_t u = in[i];
    length = 1;
    if (u >= 0xD800 && u < 0xDC00 && i + 1 < count && in[i + 1] >= 0xDC00 && in[i + 1] < 0xE000)
    {
        length = 2;
        return 0x10000 + ((u - 0xD800u) << 10) + (in[i + 1] - 0xDC00u);
    }
    return u;
}

uint32_t encodeUtf16(char32_t cp, char16_t* out)
{
    if (cp < 0x10000)
    {
        out[0] = static_cast<char16_t>(cp);
        return 1;
    }
    out[0] = static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10));
    out[1] = static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF));
    return 2;
}

bool isKnownCodePage(uint32_t codePage)
{
    return codePage == kDefaultCodePage || codePage == kUtf8 || codePage == kWindows1252 ||
           codePage == kLatin1 || codePage == kAscii;
}

int64_t decode(uint32_t codePage, const char* in, size_t count, char16_t* out)
{
    if (!isKnownCodePage(codePage)) return -1;
    const bool utf8 = codePage == kDefaultCodePage || codePage == kUtf8;
    int64_t n = 0;
    for (size_t i = 0; i < count;)
    {
        const uint8_t b = static_cast<uint8_t>(in[i]);
        char32_t cp = b;
        size_t length = 1;
        if (b >= 0x80)
        {
            if (utf8)
            {
                const Utf8Sequence s = decodeUtf8(in, count, i);
                if (s.codePoint < 0) return -1;
                cp = static_cast<char32_t>(s.codePoint);
                length = s.length;
            }
            else if (codePage == kWindows1252)
                cp = fromWindows1252(b);
            else if (codePage == kAscii)
                return -1;
        }
        char16_t units[2];
        const uint32_t written = encodeUtf16(cp, units);
        if (out)
            for (uint32_t k = 0; k < written; ++k)
                out[n + k] = units[k];
        n += written;
        i += length;
    }
    return n;
}

int64_t encode(uint32_t codePage, const char16_t* in, size_t count, char* out)
{
    if (!isKnownCodePage(codePage)) return -1;
    const bool utf8 = codePage == kDefaultCodePage || codePage == kUtf8;
    int64_t n = 0;
    for (size_t i = 0; i < count;)
    {
        if (utf8)
        {
            size_t length = 1;
            const char32_t cp = decodeUtf16(in, count, i, length);
            if (isSurrogate(cp)) return -1;
            if (out) encodeUtf8(cp, out + n);
            n += utf8Length(cp);
            i += length;
            continue;
        }
        // Unit by unit: each half of a pair is a character these pages lack.
        const char16_t u = in[i++];
        char b = '?';
        if (u < 0x80 || (codePage == kLatin1 && u <= 0xFF))
            b = static_cast<char>(u);
        else if (codePage == kWindows1252)
            b = toWindows1252(u);
        if (out) out[n] = b;
        ++n;
    }
    return n;
}

std::u16string utf8ToUtf16(std::string_view text)
{
    std::u16string out;
    out.reserve(text.size());
    char16_t units[2];
    for (size_t i = 0; i < text.size();)
    {
        const Utf8Sequence s = decodeUtf8(text.data(), text.size(), i);
        const char32_t cp = s.codePoint < 0 ? kReplacement : static_cast<char32_t>(s.codePoint);
        out.append(units, encodeUtf16(cp, units));
        i += s.length;
    }
    return out;
}

std::string utf16ToUtf8(std::u16string_view text)
{
    std::string out;
    out.reserve(text.size());
    char bytes[4];
    for (size_t i = 0; i < text.size();)
    {
        size_t length = 1;
        char32_t cp = decodeUtf16(text.data(), text.size(), i, length);
        if (isSurrogate(cp)) cp = kReplacement;
        encodeUtf8(cp, bytes);
        out.append(bytes, utf8Length(cp));
        i += length;
    }
    return out;
}

std::u16string cp1252ToUtf16(std::string_view bytes)
{
    std::u16string out;
    out.reserve(bytes.size());
    for (char c : bytes)
        out.push_back(fromWindows1252(static_cast<uint8_t>(c)));
    return out;
}
} // namespace foundation::text
