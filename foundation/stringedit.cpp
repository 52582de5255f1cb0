// String's edits by character set and class, case and composition, printing of numbers and
// exchange through attributes.

#include "foundation/fstringdetail.h"
#include "foundation/textcodec.h"

#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <cstring>

using namespace fstringdetail;

namespace
{
bool inGroup(uint32_t cp, int32_t group, bool wide)
{
    switch (group)
    {
    case String::kGroupSpace:
        return (!wide && cp < 0x80) ? isCSpace(cp) : isSpaceSeparator(cp);
    case String::kGroupNotAlnum:
        return !(isLetter(cp) || isCDigit(cp));
    case String::kGroupNotAlpha:
        return !isLetter(cp);
    default:
        return false;
    }
}

bool inSet(const TextRun& set, uint32_t cp)
{
    for (uint32_t i = 0; i < set.count;)
    {
        uint32_t len = 1;
        if (charAt(set.data, set.count, set.wide, i, len) == cp) return true;
        i += len;
    }
    return false;
}
} // namespace

// Walks the characters (whole UTF-8 sequences and surrogate pairs) and drops, replaces or trims
// those of a set or a group. A replacement of -1 removes.
bool String::keepCharacters(const ConstString* set, int32_t group, int32_t replacement, bool trimOnly)
{
    if (!buffer || length == 0) return false;
    TextRun members(set ? *set : ConstString());
    if (set && members.count == 0) return false;
    const auto matches = [&](uint32_t cp) { return set ? inSet(members, cp) : inGroup(cp, group, isWide); };

    char encoded[4] = {};
    uint32_t replacementUnits = 0;
    if (replacement >= 0)
    {
        if (isWide)
            replacementUnits = 1;
        else
        {
            const uint32_t cp = (replacement >= 0xD800 && replacement < 0xE000) ? '?' : replacement;
            foundation::text::encodeUtf8(cp, encoded);
            replacementUnits = foundation::text::utf8Length(cp);
        }
    }

    uint32_t keepFrom = length;
    uint32_t keepTo = 0;
    uint64_t newLength = 0;
    bool changed = false;
    for (uint32_t i = 0; i < length;)
    {
        uint32_t len = 1;
        const uint32_t cp = charAt(buffer, length, isWide, i, len);
        if (!matches(cp))
        {
            if (keepFrom == length) keepFrom = i;
            keepTo = i + len;
            newLength += len;
        }
        else
        {
            changed = true;
            newLength += replacement >= 0 ? replacementUnits : 0;
        }
        i += len;
    }
    if (trimOnly)
    {
        if (keepFrom == length) keepFrom = keepTo = 0;
        if (keepFrom == 0 && keepTo == length) return false;
        return splice(keepTo, length - keepTo, nullptr, 0) && splice(0, keepFrom, nullptr, 0);
    }
    if (!changed || newLength > kMaxLength) return false;
    const size_t unit = unitSize(isWide);
    auto* copy = static_cast<char*>(allocText(newLength, isWide));
    if (!copy) return false;
    uint32_t out = 0;
    for (uint32_t i = 0; i < length;)
    {
        uint32_t len = 1;
        const uint32_t cp = charAt(buffer, length, isWide, i, len);
        if (!matches(cp))
        {
            std::memcpy(copy + out * unit, static_cast<const char*>(buffer) + i * unit, len * unit);
            out += len;
        }
        else if (replacement >= 0)
        {
            if (isWide)
                reinterpret_cast<char16_t*>(copy)[out] = static_cast<char16_t>(replacement);
            else
                std::memcpy(copy + out, encoded, replacementUnits);
            out += replacementUnits;
        }
        i += len;
    }
    std::memset(copy + out * unit, 0, unit);
    install(copy, out, isWide);
    return true;
}

bool String::replaceChars(const ConstString& set, char16_t replacement)
{
    return keepCharacters(&set, 0, replacement ? replacement : u' ', false);
}

bool String::removeChars(const ConstString& set)
{
    return keepCharacters(&set, 0, -1, false);
}

bool String::trim(int32_t group)
{
    return keepCharacters(nullptr, group, -1, true);
}

bool String::removeGroup(int32_t group)
{
    return keepCharacters(nullptr, group, -1, false);
}

bool String::setUnitAt(uint32_t index, uint32_t unit)
{
    if (unit == 0)
    {
        if (index < length) return splice(index, length - index, nullptr, 0);
        return true;
    }
    if (index < length)
    {
        if (isWide)
            static_cast<char16_t*>(buffer)[index] = static_cast<char16_t>(unit);
        else
            static_cast<char*>(buffer)[index] = static_cast<char>(unit);
        return true;
    }
    // Past the end the gap fills with blanks.
    if (index >= kMaxLength) return false;
    if (!resize(index + 1, isWide, true)) return false;
    if (isWide)
        static_cast<char16_t*>(buffer)[index] = static_cast<char16_t>(unit);
    else
        static_cast<char*>(buffer)[index] = static_cast<char>(unit);
    length = index + 1;
    return true;
}

bool String::setCharAt(uint32_t index, char c)
{
    if (!prepareFor(isWide && length > 0)) return false;
    return setUnitAt(index, static_cast<uint8_t>(c));
}

bool String::setCharAt(uint32_t index, char16_t c)
{
    if ((length == 0 || c >= 0x80) && !prepareFor(true)) return false;
    return setUnitAt(index, c);
}

bool String::changeCase(bool upper, int64_t onlyIndex)
{
    if (!buffer || length == 0 || onlyIndex >= length) return false;
    if (isWide)
        changeCase16(static_cast<char16_t*>(buffer), length, upper, onlyIndex);
    else
        changeCase8(static_cast<char*>(buffer), length, upper, onlyIndex);
    return true;
}

String& String::toLower()
{
    changeCase(false, -1);
    return *this;
}

String& String::toLower(uint32_t index)
{
    changeCase(false, index);
    return *this;
}

String& String::toUpper()
{
    changeCase(true, -1);
    return *this;
}

String& String::toUpper(uint32_t index)
{
    changeCase(true, index);
    return *this;
}

bool String::toWide(uint32_t codePage)
{
    return convertToWide(codePage);
}

bool String::toMultiByte(uint32_t codePage)
{
    return convertToMultiByte(codePage);
}

bool String::normalize()
{
    if (!isWide) return false;
    if (!buffer) return true;
    const uint32_t n = composeUnits(static_cast<char16_t*>(buffer), length);
    if (n != length)
    {
        // Keep the storage exact.
        String composed(buffer16(), static_cast<int32_t>(n), false);
        if (composed.getLength() != n)
        {
            static_cast<char16_t*>(buffer)[n] = 0;
            length = n;
            return true;
        }
        take(composed);
    }
    return true;
}

bool String::isNormalized() const
{
    if (!isWide) return false;
    if (!buffer) return true;
    for (uint32_t i = 1; i < length; ++i)
    {
        const char16_t c = buffer16()[i];
        if (c >= 0x300 && c < 0x370)
        {
            // A composition may follow another one, so the run is folded on a copy.
            String copy(*this);
            return copy.getLength() == length &&
                   composeUnits(static_cast<char16_t*>(copy.buffer), length) == length;
        }
    }
    return true;
}

bool String::assignNumberText(const char* digits)
{
    const uint32_t n = scanLength(digits);
    if (!isWide)
    {
        assign(digits);
        return length == n;
    }
    char16_t wide[512];
    for (uint32_t i = 0; i <= n && i < 512; ++i)
        wide[i] = static_cast<uint8_t>(digits[i]);
    assign(wide, static_cast<int32_t>(n), false);
    return length == n;
}

bool String::printInt64(int64_t value)
{
    char digits[32];
    std::snprintf(digits, sizeof digits, "%" PRId64, value);
    return assignNumberText(digits);
}

bool String::printFloat(double value)
{
    // Six places as "%lf" gives them, but with "." whatever locale the host has set.
    char digits[400];
    const auto result = std::to_chars(digits, digits + sizeof digits - 1, value, std::chars_format::fixed, 6);
    if (result.ec != std::errc()) return false;
    *result.ptr = 0;
    if (char* point = std::strchr(digits, '.'))
    {
        char* end = result.ptr;
        while (end > point + 2 && end[-1] == '0')
            --end;
        *end = 0;
    }
    return assignNumberText(digits);
}

bool String::incrementTrailingNumber(uint32_t width, char16_t separator, int32_t minimum, bool applyOnly)
{
    if (width > 32) return false;
    uint32_t number = 1;
    uint32_t cut = length;
    const int32_t digits = getTrailingNumberIndex(0);
    if (digits >= 0)
    {
        number = static_cast<uint32_t>(getTrailingNumber(0));
        if (!applyOnly) ++number;
        cut = static_cast<uint32_t>(digits);
        if (separator && cut > 0 && isCharAt(cut - 1, separator)) --cut;
    }
    if (minimum > 0 && number < static_cast<uint32_t>(minimum)) number = static_cast<uint32_t>(minimum);

    char formatted[48];
    std::snprintf(formatted, sizeof formatted, "%0*u", static_cast<int>(width), number);
    String result(*this, static_cast<int32_t>(cut));
    if (result.getLength() != cut) return false;
    if (separator && cut > 0) result.appendChar(separator);
    const uint32_t expected = result.getLength() + scanLength(formatted);
    result.append(ConstString(formatted));
    if (result.getLength() != expected) return false;
    take(result);
    return true;
}

bool String::loadAttribute(IAttributes* object, const char* key)
{
    if (!object || !key) return false;
    Variant value;
    if (object->getAttribute(key, value) != kResultOk) return false;
    return assignVariant(value);
}

bool String::storeAttribute(IAttributes* object, const char* key)
{
    if (!object || !key) return false;
    const Variant value = toVariant();
    return object->setAttribute(key, value) == kResultOk;
}

bool String::toStringObject(FUnknown* object)
{
    if (!object) return false;
    void* face = nullptr;
    if (object->queryInterface(IStringResult::iid, &face) != kResultOk || !face) return false;
    auto* result = static_cast<IStringResult*>(face);
    const tresult taken = result->setText(text16());
    result->release();
    return taken == kResultOk;
}
