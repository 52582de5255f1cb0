// Numbers read out of strings, as the C library's scanning formats would read them but without
// the process's locale.

#include "foundation/fstringdetail.h"

#include <charconv>
#include <cstdlib>
#include <cstring>

using namespace fstringdetail;

namespace
{
// A text of either width as 8-bit characters at the same indices, for number scanning: the
// characters a number is made of are all ASCII, anything else becomes a byte that stops a scan.
class ScanCopy
{
public:
    ScanCopy(const void* text, uint32_t count, bool wide, uint32_t from)
    {
        const uint32_t n = from < count ? count - from : 0;
        copy = static_cast<char*>(allocText(n, false));
        if (!copy) return;
        for (uint32_t i = 0; i < n; ++i)
        {
            const uint32_t u = wide ? static_cast<const char16_t*>(text)[from + i]
                                    : static_cast<uint8_t>(static_cast<const char*>(text)[from + i]);
            copy[i] = u < 0x80 ? static_cast<char>(u) : '\x01';
        }
        copy[n] = 0;
        size = n;
    }
    ~ScanCopy() { std::free(copy); }
    ScanCopy(const ScanCopy&) = delete;
    ScanCopy& operator=(const ScanCopy&) = delete;

    char* copy = nullptr;
    uint32_t size = 0;
};

// One number at the start of `text`, read as the C library's formats read it: leading white
// space, a sign, digits. Out-of-range values stop at the largest value, as the library does.
bool parseInt64(const char* text, int64_t& value)
{
    char* end = nullptr;
    const long long v = std::strtoll(text, &end, 10);
    if (end == text) return false;
    value = v;
    return true;
}

bool parseUInt64(const char* text, uint64_t& value, int base)
{
    char* end = nullptr;
    const unsigned long long v = std::strtoull(text, &end, base);
    if (end == text) return false;
    value = v;
    return true;
}

// Reads a decimal number with "." as its point whatever the process's locale says.
bool parseDouble(const char* text, double& value)
{
    const char* p = text;
    while (*p && isCSpace(static_cast<uint8_t>(*p)))
        ++p;
    bool negative = false;
    if (*p == '+' || *p == '-')
    {
        negative = *p == '-';
        ++p;
        if (*p == '+' || *p == '-') return false;
    }
    const char* end = p + std::strlen(p);
    double v = 0;
    const auto result = std::from_chars(p, end, v, std::chars_format::general);
    if (result.ptr == p) return false;
    if (result.ec == std::errc::result_out_of_range)
        v = std::strtod(p, nullptr); // gives the infinity or zero the library's scan gives
    value = negative ? -v : v;
    return true;
}

template <class Parse> bool scanOnFrom(const char* text, uint32_t count, bool scanOn, Parse parse)
{
    for (uint32_t i = 0; i < count; ++i)
    {
        if (parse(text + i)) return true;
        if (!scanOn) return false;
    }
    return false;
}

template <class C, class Parse> bool scanStatic(const C* text, bool scanOn, Parse parse)
{
    if (!text) return false;
    const uint32_t n = scanLength(text);
    if constexpr (sizeof(C) == 1)
        return scanOnFrom(text, n, scanOn, parse);
    else
    {
        ScanCopy copy(text, n, true, 0);
        return copy.copy && scanOnFrom(copy.copy, copy.size, scanOn, parse);
    }
}
} // namespace

bool ConstString::scanInt32(int32_t& value, uint32_t offset, bool scanOn) const
{
    if (!buffer || offset >= length) return false;
    ScanCopy copy(buffer, length, isWide, offset);
    int64_t v = 0;
    if (!copy.copy ||
        !scanOnFrom(copy.copy, copy.size, scanOn, [&v](const char* p) { return parseInt64(p, v); }))
        return false;
    value = static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(v)));
    return true;
}

bool ConstString::scanUInt32(uint32_t& value, uint32_t offset, bool scanOn) const
{
    if (!buffer || offset >= length) return false;
    ScanCopy copy(buffer, length, isWide, offset);
    uint64_t v = 0;
    if (!copy.copy ||
        !scanOnFrom(copy.copy, copy.size, scanOn, [&v](const char* p) { return parseUInt64(p, v, 10); }))
        return false;
    value = static_cast<uint32_t>(v);
    return true;
}

bool ConstString::scanFloat(double& value, uint32_t offset, bool scanOn) const
{
    if (!buffer || offset >= length) return false;
    ScanCopy copy(buffer, length, isWide, offset);
    if (!copy.copy) return false;
    // A decimal comma reads like a point, whichever convention the text was written in.
    const char16_t comma = isWide ? LiteralTable::widenChar(',') : u',';
    for (uint32_t i = 0; i < copy.size; ++i)
    {
        const uint32_t unit = isWide ? buffer16()[offset + i] : static_cast<uint8_t>(buffer8()[offset + i]);
        if (unit == comma)
        {
            copy.copy[i] = '.';
            break;
        }
    }
    double v = 0;
    if (!scanOnFrom(copy.copy, copy.size, scanOn, [&v](const char* p) { return parseDouble(p, v); }))
        return false;
    value = v;
    return true;
}

bool ConstString::scanInt64(const char* text, int64_t& value, bool scanOn)
{
    return scanStatic(text, scanOn, [&value](const char* p) { return parseInt64(p, value); });
}

bool ConstString::scanInt64(const char16_t* text, int64_t& value, bool scanOn)
{
    return scanStatic(text, scanOn, [&value](const char* p) { return parseInt64(p, value); });
}

bool ConstString::scanUInt64(const char* text, uint64_t& value, bool scanOn)
{
    return scanStatic(text, scanOn, [&value](const char* p) { return parseUInt64(p, value, 10); });
}

bool ConstString::scanUInt64(const char16_t* text, uint64_t& value, bool scanOn)
{
    return scanStatic(text, scanOn, [&value](const char* p) { return parseUInt64(p, value, 10); });
}

namespace
{
bool parseHexByte(const char* p, uint8_t& value)
{
    uint64_t v = 0;
    if (!parseUInt64(p, v, 16)) return false;
    value = static_cast<uint8_t>(v);
    return true;
}
} // namespace

bool ConstString::scanHex(const char* text, uint8_t& value, bool scanOn)
{
    return scanStatic(text, scanOn, [&value](const char* p) { return parseHexByte(p, value); });
}

bool ConstString::scanHex(const char16_t* text, uint8_t& value, bool scanOn)
{
    return scanStatic(text, scanOn, [&value](const char* p) { return parseHexByte(p, value); });
}

int32_t ConstString::getTrailingNumberIndex(uint32_t width) const
{
    if (!buffer || length == 0) return -1;
    uint32_t start = length;
    while (start > 0 && isDigitAt(start - 1))
        --start;
    if (start == length || (width != 0 && length - start != width)) return -1;
    return static_cast<int32_t>(start);
}

int64_t ConstString::getTrailingNumber(int64_t fallback) const
{
    const int32_t start = getTrailingNumberIndex(0);
    if (start < 0) return fallback;
    ScanCopy copy(buffer, length, isWide, static_cast<uint32_t>(start));
    int64_t value = fallback;
    if (!copy.copy || !parseInt64(copy.copy, value)) return fallback;
    return value;
}
