// ConstString: comparing, finding, testing and copying out text of either width.

#include "foundation/fstringdetail.h"
#include "foundation/textcodec.h"

#include <cstring>

using namespace fstringdetail;

namespace
{
template <class C> uint32_t hashText(const C* text, uint32_t modulus)
{
    if (!text || modulus == 0) return 0;
    uint32_t h = 0;
    for (; *text; ++text)
    {
        // A 32-bit sum that wraps, with 8-bit characters sign-extended.
        const uint32_t c = sizeof(C) == 1
                               ? static_cast<uint32_t>(static_cast<int32_t>(static_cast<signed char>(*text)))
                               : static_cast<uint32_t>(*text);
        h = static_cast<uint32_t>(c + (h << 6)) % modulus;
    }
    return h;
}
} // namespace

ConstString::ConstString(const char* text)
    : buffer(const_cast<char*>(text)), length(scanLength(text)), isWide(0)
{
}

ConstString::ConstString(const char16_t* text)
    : buffer(const_cast<char16_t*>(text)), length(scanLength(text)), isWide(1)
{
}

ConstString::ConstString(const ConstString& other, int32_t start)
    : buffer(other.buffer), length(other.length), isWide(other.isWide)
{
    if (start >= 1 && buffer)
    {
        const uint32_t skip = static_cast<uint32_t>(start) < length ? static_cast<uint32_t>(start) : length;
        buffer = static_cast<char*>(buffer) + skip * unitSize(isWide);
        length = length - skip;
    }
}

ConstString::ConstString(const Variant& value) : buffer(nullptr), length(0), isWide(0)
{
    if (value.isString8())
    {
        buffer = const_cast<char*>(value.getString8());
        length = scanLength(value.getString8());
    }
    else if (value.isString16())
    {
        buffer = const_cast<char16_t*>(value.getString16());
        length = scanLength(value.getString16());
        isWide = 1;
    }
}

const char* ConstString::text8() const
{
    return (!isWide && buffer) ? buffer8() : kEmpty8;
}

const char16_t* ConstString::text16() const
{
    return (isWide && buffer) ? buffer16() : kEmpty16;
}

char ConstString::getChar8(uint32_t index) const
{
    return (!isWide && buffer && index < length) ? buffer8()[index] : 0;
}

char16_t ConstString::getChar16(uint32_t index) const
{
    return (isWide && buffer && index < length) ? buffer16()[index] : 0;
}

int32_t ConstString::compare(const ConstString& other, int32_t mode) const
{
    return compareLimited(other, -1, mode);
}

int32_t ConstString::compareLimited(const ConstString& other, int32_t count, int32_t mode) const
{
    if (count == 0) return 0;
    if (other.isEmpty()) return isEmpty() ? 0 : 1;
    if (isEmpty()) return -1;
    TextRun a(*this);
    TextRun b(other);
    // Texts of different widths meet in 16 bits, where every 8-bit text has a form.
    if (a.wide != b.wide) (a.wide ? b : a).toWidth(true, true);
    if (a.wide != b.wide) return a.count < b.count ? -1 : 1; // only if the heap is exhausted
    if (mode != kCaseSensitive)
    {
        a.fold();
        b.fold();
    }
    return compareRuns(a, b, count);
}

int32_t ConstString::compareAt(uint32_t index, const ConstString& other, int32_t count, int32_t mode) const
{
    if (index >= length) return -1;
    const ConstString rest(*this, static_cast<int32_t>(index));
    return rest.compareLimited(other, count, mode);
}

int32_t ConstString::compareNatural(const ConstString& other, int32_t mode) const
{
    if (other.isEmpty()) return isEmpty() ? 0 : 1;
    if (isEmpty()) return -1;
    TextRun a(*this);
    TextRun b(other);
    if (a.wide != b.wide) (a.wide ? b : a).toWidth(true, true);
    if (a.wide != b.wide) return a.count < b.count ? -1 : 1;
    if (mode != kCaseSensitive)
    {
        a.fold();
        b.fold();
    }
    uint32_t i = 0;
    uint32_t j = 0;
    while (i < a.count && j < b.count)
    {
        const uint32_t ca = a.unit(i);
        const uint32_t cb = b.unit(j);
        if (isCDigit(ca) && isCDigit(cb))
        {
            uint32_t zerosA = 0;
            uint32_t zerosB = 0;
            while (i < a.count && a.unit(i) == '0')
                ++i, ++zerosA;
            while (j < b.count && b.unit(j) == '0')
                ++j, ++zerosB;
            uint32_t endA = i;
            uint32_t endB = j;
            while (endA < a.count && isCDigit(a.unit(endA)))
                ++endA;
            while (endB < b.count && isCDigit(b.unit(endB)))
                ++endB;
            // Without front zeros the longer run is the larger number; runs of one length
            // compare digit by digit.
            if (endA - i != endB - j) return endA - i < endB - j ? -1 : 1;
            for (; i < endA; ++i, ++j)
                if (a.unit(i) != b.unit(j)) return a.unit(i) < b.unit(j) ? -1 : 1;
            if (zerosA != zerosB) return zerosA < zerosB ? -1 : 1;
            j = endB;
            continue;
        }
        if (ca != cb) return ca < cb ? -1 : 1;
        ++i;
        ++j;
    }
    if (i < a.count) return 1;
    if (j < b.count) return -1;
    return 0;
}

bool ConstString::startsWith(const ConstString& other, int32_t mode) const
{
    if (other.isEmpty()) return isEmpty();
    TextRun self(*this);
    TextRun start(other);
    if (!matchWidth(self, start, true) || start.count > self.count) return false;
    if (mode != kCaseSensitive)
    {
        self.fold();
        start.fold();
    }
    return unitsEqual(self, 0, start, 0, start.count);
}

bool ConstString::endsWith(const ConstString& other, int32_t mode) const
{
    if (other.isEmpty()) return isEmpty();
    TextRun self(*this);
    TextRun end(other);
    if (!matchWidth(self, end, true) || end.count > self.count) return false;
    if (mode != kCaseSensitive)
    {
        self.fold();
        end.fold();
    }
    return unitsEqual(self, self.count - end.count, end, 0, end.count);
}

bool ConstString::contains(const ConstString& other, int32_t mode) const
{
    return find(0, other, -1, mode) >= 0;
}

int32_t ConstString::firstDifference(const ConstString& other, int32_t mode) const
{
    TextRun self(*this);
    TextRun peer(other);
    if (!matchWidth(self, peer, true)) return 0;
    if (mode != kCaseSensitive)
    {
        self.fold();
        peer.fold();
    }
    const uint32_t common = self.count < peer.count ? self.count : peer.count;
    uint32_t i = 0;
    while (i < common && self.unit(i) == peer.unit(i))
        ++i;
    if (i == self.count && i == peer.count) return -1;
    return static_cast<int32_t>(i);
}

int32_t ConstString::find(int32_t start, const ConstString& other, int32_t count, int32_t mode,
                          int32_t end) const
{
    TextRun self(*this);
    TextRun needle(other);
    needle.limit(count);
    if (needle.count == 0 || self.count == 0 || !matchWidth(self, needle, false)) return -1;
    if (mode != kCaseSensitive)
    {
        self.fold();
        needle.fold();
    }
    return findInRun(self, needle, start, end);
}

int32_t ConstString::findLast(int32_t start, const ConstString& other, int32_t count, int32_t mode) const
{
    TextRun self(*this);
    TextRun needle(other);
    needle.limit(count);
    if (needle.count == 0 || needle.count > self.count || !matchWidth(self, needle, false)) return -1;
    if (mode != kCaseSensitive)
    {
        self.fold();
        needle.fold();
    }
    int64_t from = (start < 0 || static_cast<uint32_t>(start) >= self.count) ? self.count - 1 : start;
    const int64_t maxStart = static_cast<int64_t>(self.count) - needle.count;
    if (from > maxStart) from = maxStart;
    for (int64_t i = from; i >= 0; --i)
        if (unitsEqual(self, static_cast<uint32_t>(i), needle, 0, needle.count))
            return static_cast<int32_t>(i);
    return -1;
}

namespace
{
// A character in the width of a text: 8-bit characters widen as Latin-1, and a 16-bit
// character has an 8-bit form only if it is ASCII. -1 if there is none.
int64_t charInWidth(uint32_t c, bool charIsWide, bool textIsWide)
{
    if (charIsWide == textIsWide || textIsWide) return c;
    return c < 0x80 ? static_cast<int64_t>(c) : -1;
}

// Walks the units of `text` from `first` to `last` in the given direction and gives the index of
// the first that equals `c`, or the number of them with `countAll`.
int32_t scanForChar(const ConstString& text, uint32_t c, bool charIsWide, int32_t mode, int64_t first,
                    int64_t last, int step, bool countAll)
{
    TextRun run(text);
    const int64_t unit = charInWidth(c, charIsWide, run.wide);
    if (unit < 0 || run.count == 0) return countAll ? 0 : -1;
    uint32_t wanted = static_cast<uint32_t>(unit);
    if (mode != ConstString::kCaseSensitive)
    {
        run.fold();
        wanted = foldUnit(wanted, run.wide);
    }
    int32_t found = 0;
    for (int64_t i = first; step > 0 ? i <= last : i >= last; i += step)
        if (run.unit(static_cast<uint32_t>(i)) == wanted)
        {
            if (!countAll) return static_cast<int32_t>(i);
            ++found;
        }
    return countAll ? found : -1;
}
} // namespace

int32_t ConstString::findChar(int32_t start, char c, int32_t mode, int32_t end) const
{
    const int64_t last = (end >= 0 && static_cast<uint32_t>(end) < length) ? end : int64_t(length) - 1;
    return scanForChar(*this, static_cast<uint8_t>(c), false, mode, start < 0 ? 0 : start, last, 1, false);
}

int32_t ConstString::findChar(int32_t start, char16_t c, int32_t mode, int32_t end) const
{
    const int64_t last = (end >= 0 && static_cast<uint32_t>(end) < length) ? end : int64_t(length) - 1;
    return scanForChar(*this, c, true, mode, start < 0 ? 0 : start, last, 1, false);
}

int32_t ConstString::findCharLast(int32_t start, char c, int32_t mode) const
{
    const int64_t first = (start < 0 || static_cast<uint32_t>(start) >= length) ? int64_t(length) - 1 : start;
    return scanForChar(*this, static_cast<uint8_t>(c), false, mode, first, 0, -1, false);
}

int32_t ConstString::findCharLast(int32_t start, char16_t c, int32_t mode) const
{
    const int64_t first = (start < 0 || static_cast<uint32_t>(start) >= length) ? int64_t(length) - 1 : start;
    return scanForChar(*this, c, true, mode, first, 0, -1, false);
}

int32_t ConstString::countChar(char c, int32_t start, int32_t mode) const
{
    return scanForChar(*this, static_cast<uint8_t>(c), false, mode, start < 0 ? 0 : start,
                       int64_t(length) - 1, 1, true);
}

int32_t ConstString::countChar(char16_t c, int32_t start, int32_t mode) const
{
    return scanForChar(*this, c, true, mode, start < 0 ? 0 : start, int64_t(length) - 1, 1, true);
}

bool ConstString::isAscii() const
{
    for (uint32_t i = 0; buffer && i < length; ++i)
        if ((isWide ? buffer16()[i] : static_cast<uint8_t>(buffer8()[i])) >= 0x80) return false;
    return true;
}

bool ConstString::isDigitAt(uint32_t index) const
{
    if (!buffer || index >= length) return false;
    return isCDigit(isWide ? buffer16()[index] : static_cast<uint8_t>(buffer8()[index]));
}

bool ConstString::isCharAt(uint32_t index, char c) const
{
    if (!buffer || index >= length) return c == 0;
    const uint32_t unit = isWide ? buffer16()[index] : static_cast<uint8_t>(buffer8()[index]);
    return unit == static_cast<uint8_t>(c);
}

bool ConstString::isCharAt(uint32_t index, char16_t c) const
{
    if (!buffer || index >= length) return c == 0;
    const int64_t wanted = charInWidth(c, true, isWide);
    const uint32_t unit = isWide ? buffer16()[index] : static_cast<uint8_t>(buffer8()[index]);
    return wanted >= 0 && unit == wanted;
}

bool ConstString::isSpace(char c)
{
    return isCSpace(static_cast<uint8_t>(c));
}

bool ConstString::isSpace(char16_t c)
{
    return isSpaceSeparator(c);
}

bool ConstString::isAlpha(char c)
{
    const auto u = static_cast<uint8_t>(c);
    return u < 0x80 && isLetter(u);
}

bool ConstString::isAlpha(char16_t c)
{
    return isLetter(c);
}

bool ConstString::isAlnum(char c)
{
    return isAlpha(c) || isDigit(c);
}

bool ConstString::isAlnum(char16_t c)
{
    return isAlpha(c) || isDigit(c);
}

bool ConstString::isDigit(char c)
{
    return isCDigit(static_cast<uint8_t>(c));
}

bool ConstString::isDigit(char16_t c)
{
    return isCDigit(c);
}

bool ConstString::isAsciiChar(char c)
{
    return static_cast<uint8_t>(c) < 0x80;
}

bool ConstString::isAsciiChar(char16_t c)
{
    return c < 0x80;
}

bool ConstString::isUpper(char c)
{
    return c >= 'A' && c <= 'Z';
}

bool ConstString::isUpper(char16_t c)
{
    return lowerOf(c) != c;
}

bool ConstString::isLower(char c)
{
    return c >= 'a' && c <= 'z';
}

bool ConstString::isLower(char16_t c)
{
    return upperOf(c) != c;
}

uint32_t ConstString::hash(const char* text, uint32_t modulus)
{
    return hashText(text, modulus);
}

uint32_t ConstString::hash(const char16_t* text, uint32_t modulus)
{
    return hashText(text, modulus);
}

int32_t ConstString::copyTo8(char* out, uint32_t start, int32_t count) const
{
    if (!out) return 0;
    out[0] = 0;
    if (!buffer || start >= length) return 0;
    uint32_t n = length - start;
    if (count >= 0 && static_cast<uint32_t>(count) < n) n = static_cast<uint32_t>(count);
    if (!isWide)
    {
        std::memcpy(out, buffer8() + start, n);
        out[n] = 0;
        return static_cast<int32_t>(n);
    }
    const int64_t written =
        foundation::text::encode(foundation::text::kDefaultCodePage, buffer16() + start, n, nullptr);
    if (written < 0) return 0;
    foundation::text::encode(foundation::text::kDefaultCodePage, buffer16() + start, n, out);
    out[written] = 0;
    return static_cast<int32_t>(written);
}

int32_t ConstString::copyTo16(char16_t* out, uint32_t start, int32_t count) const
{
    if (!out) return 0;
    out[0] = 0;
    if (!buffer || start >= length) return 0;
    uint32_t n = length - start;
    if (count >= 0 && static_cast<uint32_t>(count) < n) n = static_cast<uint32_t>(count);
    if (isWide)
    {
        std::memcpy(out, buffer16() + start, n * sizeof(char16_t));
        out[n] = 0;
        return static_cast<int32_t>(n);
    }
    const int64_t written =
        foundation::text::decode(foundation::text::kDefaultCodePage, buffer8() + start, n, nullptr);
    if (written < 0) return 0;
    foundation::text::decode(foundation::text::kDefaultCodePage, buffer8() + start, n, out);
    out[written] = 0;
    return static_cast<int32_t>(written);
}

bool ConstString::extract(String& out, uint32_t start, int32_t count) const
{
    if (!buffer || start >= length) return false;
    uint32_t n = length - start;
    if (count >= 0 && static_cast<uint32_t>(count) < n) n = static_cast<uint32_t>(count);
    const ConstString rest(*this, static_cast<int32_t>(start));
    String copy(rest, static_cast<int32_t>(n));
    if (copy.getLength() != n) return false;
    out.take(copy);
    return true;
}

void ConstString::toPascalString(uint8_t* out) const
{
    if (!out) return;
    TextRun run(*this);
    if (!run.toWidth(false, false)) run.count = 0;
    const uint32_t n = run.count < 255 ? run.count : 255;
    out[0] = static_cast<uint8_t>(n);
    if (n) std::memcpy(out + 1, run.s8(), n);
    out[1 + n] = 0;
}

Variant ConstString::toVariant() const
{
    if (isWide) return Variant(buffer ? buffer16() : kEmpty16);
    return Variant(buffer ? buffer8() : kEmpty8);
}
