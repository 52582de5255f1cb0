#include "host/kit/hosttext.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace hostkit
{
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
