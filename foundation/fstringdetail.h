#pragma once

// Helpers shared by the files that make up ConstString, String and Variant; nothing outside them
// includes this.

#include "foundation/fstring.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace fstringdetail
{
inline constexpr char kEmpty8[1] = {0};
inline constexpr char16_t kEmpty16[1] = {0};

inline uint32_t scanLength(const char* text)
{
    if (!text) return 0;
    const size_t n = std::strlen(text);
    return n > ConstString::kMaxLength ? ConstString::kMaxLength : static_cast<uint32_t>(n);
}

inline uint32_t scanLength(const char16_t* text)
{
    if (!text) return 0;
    size_t n = 0;
    while (text[n] && n < ConstString::kMaxLength)
        ++n;
    return static_cast<uint32_t>(n);
}

// Room for `count` characters and the terminator; null if the heap has none.
inline void* allocText(uint64_t count, bool wide)
{
    if (count > ConstString::kMaxLength) return nullptr;
    return std::malloc((count + 1) * (wide ? sizeof(char16_t) : sizeof(char)));
}

inline size_t unitSize(bool wide)
{
    return wide ? sizeof(char16_t) : sizeof(char);
}

// Character classes and case, from unicodetables.cpp.
uint32_t lowerOf(uint32_t c);
uint32_t upperOf(uint32_t c);
uint32_t caseOf(uint32_t c, bool upper);
bool isLetter(uint32_t c);
bool isSpaceSeparator(uint32_t c);
bool isCDigit(uint32_t c);
bool isCSpace(uint32_t c);
// Composes base letters with the marks behind them, in place; gives the new count.
uint32_t composeUnits(char16_t* units, uint32_t count);

// Text of either width, from textrun.cpp.
uint32_t charAt(const void* text, uint32_t count, bool wide, uint32_t i, uint32_t& len);
char16_t* convertToWideText(uint32_t codePage, const char* in, uint32_t count, uint32_t& outCount);
char* convertToNarrowText(uint32_t codePage, const char16_t* in, uint32_t count, uint32_t& outCount);
char16_t* widenLeniently(const char* in, uint32_t count, uint32_t& outCount);
void changeCase8(char* text, uint32_t count, bool upper, int64_t onlyIndex);
void changeCase16(char16_t* text, uint32_t count, bool upper, int64_t onlyIndex);
uint32_t foldUnit(uint32_t unit, bool wide);

// A run of characters taken from a text, which can be turned into a private copy in the other
// width or in lower case for one operation.
class TextRun
{
public:
    explicit TextRun(const ConstString& s)
        : data(s.ptr()), count(s.ptr() ? s.getLength() : 0), wide(s.isWideString())
    {
    }
    TextRun(const void* p, uint32_t n, bool w) : data(p), count(p ? n : 0), wide(w) {}
    ~TextRun() { std::free(owned); }
    TextRun(const TextRun&) = delete;
    TextRun& operator=(const TextRun&) = delete;

    const char* s8() const { return static_cast<const char*>(data); }
    const char16_t* s16() const { return static_cast<const char16_t*>(data); }
    uint32_t unit(uint32_t i) const { return wide ? s16()[i] : static_cast<uint8_t>(s8()[i]); }
    bool isNull() const { return data == nullptr; }

    void limit(int32_t max)
    {
        if (max >= 0 && static_cast<uint32_t>(max) < count) count = static_cast<uint32_t>(max);
    }

    // `lenient` takes invalid bytes as Latin-1; otherwise they fail the conversion.
    bool toWidth(bool w, bool lenient)
    {
        if (w == wide || count == 0)
        {
            wide = w;
            if (count == 0 && data)
                data = w ? static_cast<const void*>(kEmpty16) : static_cast<const void*>(kEmpty8);
            return true;
        }
        uint32_t n = 0;
        void* copy = nullptr;
        if (w)
            copy = lenient ? widenLeniently(s8(), count, n) : convertToWideText(0, s8(), count, n);
        else
            copy = convertToNarrowText(0, s16(), count, n);
        if (!copy) return false;
        adopt(copy, n, w);
        return true;
    }

    bool fold()
    {
        if (!makeOwned()) return false;
        if (wide)
            for (uint32_t i = 0; i < count; ++i)
                static_cast<char16_t*>(owned)[i] = static_cast<char16_t>(lowerOf(s16()[i]));
        else
            changeCase8(static_cast<char*>(owned), count, false, -1);
        return true;
    }

    // A private copy, so that the run stays valid while the text it came from changes.
    bool makeOwned()
    {
        if (owned || !data) return true;
        void* copy = allocText(count, wide);
        if (!copy) return false;
        std::memcpy(copy, data, count * unitSize(wide));
        std::memset(static_cast<char*>(copy) + count * unitSize(wide), 0, unitSize(wide));
        adopt(copy, count, wide);
        return true;
    }

    const void* data;
    uint32_t count;
    bool wide;

private:
    void adopt(void* p, uint32_t n, bool w)
    {
        std::free(owned);
        owned = p;
        data = p;
        count = n;
        wide = w;
    }

    void* owned = nullptr;
};

bool matchWidth(TextRun& self, TextRun& other, bool widenSelf);
bool unitsEqual(const TextRun& a, uint32_t ai, const TextRun& b, uint32_t bi, uint32_t n);
int32_t compareRuns(const TextRun& a, const TextRun& b, int64_t limit);
int32_t findInRun(const TextRun& hay, const TextRun& needle, int64_t start, int64_t last);
} // namespace fstringdetail
