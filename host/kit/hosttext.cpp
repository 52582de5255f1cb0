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
} // namespace hostkit
