#include "host/kit/hosttext.h"

#include <charconv>
#include <cmath>

namespace hostkit
{
namespace
{
// The 32 places where windows-1252 differs from Latin-1; 0 marks the five unassigned bytes,
// which become U+FFFD.
const char16_t kCp1252High[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178,
};

void appendUtf16(std::u16string& out, char32_t code)
{
    if (code < 0x10000)
    {
        out.push_back(static_cast<char16_t>(code));
        return;
    }
    code -= 0x10000;
    out.push_back(static_cast<char16_t>(0xD800 + (code >> 10)));
    out.push_back(static_cast<char16_t>(0xDC00 + (code & 0x3FF)));
}
} // namespace

std::u16string utf8ToUtf16(std::string_view text)
{
    std::u16string out;
    out.reserve(text.size());
    size_t i = 0;
    while (i < text.size())
    {
        const auto lead = static_cast<unsigned char>(text[i]);
        int extra = 0;
        char32_t code = 0;
        if (lead < 0x80)
            code = lead;
        else if ((lead & 0xE0) == 0xC0)
            extra = 1, code = lead & 0x1F;
        else if ((lead & 0xF0) == 0xE0)
            extra = 2, code = lead & 0x0F;
        else if ((lead & 0xF8) == 0xF0)
            extra = 3, code = lead & 0x07;
        else
        {
            out.push_back(0xFFFD);
            ++i;
            continue;
        }
        if (i + static_cast<size_t>(extra) >= text.size())
        {
            out.push_back(0xFFFD); // cut off at the end
            break;
        }
        bool valid = true;
        for (int k = 1; k <= extra; ++k)
        {
            const auto next = static_cast<unsigned char>(text[i + k]);
            if ((next & 0xC0) != 0x80)
            {
                valid = false;
                break;
            }
            code = (code << 6) | (next & 0x3F);
        }
        if (!valid || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
        {
            out.push_back(0xFFFD);
            ++i;
            continue;
        }
        appendUtf16(out, code);
        i += static_cast<size_t>(extra) + 1;
    }
    return out;
}

std::string utf16ToUtf8(std::u16string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i)
    {
        char32_t code = text[i];
        if (code >= 0xD800 && code <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] <= 0xDFFF)
        {
            code = 0x10000 + ((code - 0xD800) << 10) + (text[i + 1] - 0xDC00);
            ++i;
        }
        else if (code >= 0xD800 && code <= 0xDFFF)
            code = 0xFFFD; // a lone half of a pair
        if (code < 0x80)
            out.push_back(static_cast<char>(code));
        else if (code < 0x800)
        {
            out.push_back(static_cast<char>(0xC0 | (code >> 6)));
            out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        }
        else if (code < 0x10000)
        {
            out.push_back(static_cast<char>(0xE0 | (code >> 12)));
            out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        }
        else
        {
            out.push_back(static_cast<char>(0xF0 | (code >> 18)));
            out.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        }
    }
    return out;
}

std::u16string cp1252ToUtf16(std::string_view bytes)
{
    std::u16string out;
    out.reserve(bytes.size());
    for (char c : bytes)
    {
        const auto b = static_cast<unsigned char>(c);
        if (b >= 0x80 && b < 0xA0)
        {
            const char16_t mapped = kCp1252High[b - 0x80];
            out.push_back(mapped ? mapped : char16_t(0xFFFD));
        }
        else
            out.push_back(b);
    }
    return out;
}

void copyToBuffer(std::u16string_view text, char16_t* buffer, int32_t capacity)
{
    if (!buffer || capacity <= 0) return;
    const size_t count = std::min(text.size(), static_cast<size_t>(capacity - 1));
    text.copy(buffer, count);
    buffer[count] = 0;
}

std::u16string fromBuffer(const char16_t* text)
{
    return text ? std::u16string(text) : std::u16string();
}

std::optional<int64_t> parseInteger(std::string_view text)
{
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

std::optional<double> parseDouble(std::string_view text)
{
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

std::string formatFloat(float value)
{
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

std::string formatDouble(double value)
{
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}
std::string quotedWord(std::string_view word, size_t longest)
{
    static const char* const kHex = "0123456789ABCDEF";
    std::string out = "'";
    size_t i = 0;
    while (i < word.size())
    {
        if (i >= longest)
        {
            out += "...";
            break;
        }
        const auto byte = static_cast<uint8_t>(word[i]);
        // The length of a well-formed UTF-8 sequence here, 0 if there is none.
        size_t length = byte < 0x80                    ? 1
                        : byte >= 0xC2 && byte <= 0xDF ? 2
                        : byte >= 0xE0 && byte <= 0xEF ? 3
                        : byte >= 0xF0 && byte <= 0xF4 ? 4
                                                       : 0;
        if (length > word.size() - i) length = 0;
        for (size_t k = 1; k < length; ++k)
            if ((static_cast<uint8_t>(word[i + k]) & 0xC0) != 0x80) length = 0;
        // C0 and C1 controls (U+0080..U+009F is C2 80..C2 9F) and DEL can steer a terminal.
        const bool control = byte < 0x20 || byte == 0x7F ||
                             (length == 2 && byte == 0xC2 && static_cast<uint8_t>(word[i + 1]) < 0xA0);
        if (length == 0 || control)
        {
            const size_t count = length == 0 ? 1 : length;
            for (size_t k = 0; k < count; ++k)
            {
                const auto b = static_cast<uint8_t>(word[i + k]);
                out += "\\x";
                out += kHex[b >> 4];
                out += kHex[b & 15];
            }
            i += count;
            continue;
        }
        if (byte == '\\' || byte == '\'') out += '\\';
        out.append(word.substr(i, length));
        i += length;
    }
    return out + "'";
}
} // namespace hostkit
