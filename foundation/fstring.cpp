// String's storage: making, assigning, moving, converting between widths and splicing text; and
// the table of widened literals.

#include "foundation/fstring.h"
#include "foundation/fstringdetail.h"

#include <cstring>
#include <utility>

using namespace fstringdetail;

String::String()
{
    isWide = 1;
}

String::String(const char* text, int32_t count, bool terminated)
{
    assign(text, count, terminated);
}

String::String(const char16_t* text, int32_t count, bool terminated)
{
    isWide = 1;
    assign(text, count, terminated);
}

String::String(const Variant& value)
{
    isWide = 1;
    assignVariant(value);
}

String::String(const ConstString& other, int32_t count)
{
    isWide = other.isWideString();
    assign(other, count);
}

String::String(const String& other) : ConstString()
{
    isWide = other.isWide;
    assign(other);
}

String::String(String&& other) noexcept : ConstString()
{
    take(other);
}

String& String::operator=(const String& other)
{
    if (this != &other) assign(other);
    return *this;
}

String& String::operator=(String&& other) noexcept
{
    take(other);
    return *this;
}

String::~String()
{
    std::free(buffer);
}

void String::install(void* heapText, uint32_t newLength, bool wide) const
{
    if (heapText != buffer) std::free(buffer);
    buffer = heapText;
    length = newLength;
    isWide = wide;
    if (newLength == 0 && buffer)
    {
        // An empty string holds no buffer at all.
        std::free(buffer);
        buffer = nullptr;
    }
}

bool String::convertToWide(uint32_t codePage) const
{
    if (isWide) return true;
    if (!buffer || length == 0)
    {
        install(nullptr, 0, true);
        return true;
    }
    uint32_t n = 0;
    char16_t* converted = convertToWideText(codePage, buffer8(), length, n);
    if (!converted) return false;
    install(converted, n, true);
    return true;
}

bool String::convertToMultiByte(uint32_t codePage) const
{
    if (!buffer || length == 0)
    {
        install(nullptr, 0, false);
        return true;
    }
    if (!isWide)
    {
        if (codePage == 0) return true;
        // From the default code page to another one goes through 16 bits.
        uint32_t wideCount = 0;
        char16_t* wide = convertToWideText(0, buffer8(), length, wideCount);
        if (!wide) return false;
        uint32_t n = 0;
        char* converted = convertToNarrowText(codePage, wide, wideCount, n);
        std::free(wide);
        if (!converted) return false;
        install(converted, n, false);
        return true;
    }
    uint32_t n = 0;
    char* converted = convertToNarrowText(codePage, buffer16(), length, n);
    if (!converted) return false;
    install(converted, n, false);
    return true;
}

const char* String::text8() const
{
    convertToMultiByte(0);
    return ConstString::text8();
}

const char16_t* String::text16() const
{
    convertToWide(0);
    return ConstString::text16();
}

char String::getChar8(uint32_t index) const
{
    convertToMultiByte(0);
    return ConstString::getChar8(index);
}

char16_t String::getChar16(uint32_t index) const
{
    convertToWide(0);
    return ConstString::getChar16(index);
}

namespace
{
// The length an assignment takes, or -1 if it does nothing.
template <class C> int64_t assignedLength(const C* text, int32_t count, bool terminated)
{
    if (terminated)
    {
        const uint32_t n = scanLength(text);
        return (count >= 0 && static_cast<uint32_t>(count) < n) ? count : n;
    }
    if (count < 0) return -1;
    return text ? count : 0;
}
} // namespace

String& String::assign(const char* text, int32_t count, bool terminated)
{
    if (text && text == buffer) return *this;
    const int64_t n = assignedLength(text, count, terminated);
    if (n < 0) return *this;
    if (n == 0)
    {
        install(nullptr, 0, false);
        return *this;
    }
    char* copy = static_cast<char*>(allocText(static_cast<uint64_t>(n), false));
    if (!copy) return *this;
    std::memcpy(copy, text, static_cast<size_t>(n));
    copy[n] = 0;
    install(copy, static_cast<uint32_t>(n), false);
    return *this;
}

String& String::assign(const char16_t* text, int32_t count, bool terminated)
{
    if (text && text == buffer) return *this;
    const int64_t n = assignedLength(text, count, terminated);
    if (n < 0) return *this;
    if (n == 0)
    {
        install(nullptr, 0, true);
        return *this;
    }
    char16_t* copy = static_cast<char16_t*>(allocText(static_cast<uint64_t>(n), true));
    if (!copy) return *this;
    std::memcpy(copy, text, static_cast<size_t>(n) * sizeof(char16_t));
    copy[n] = 0;
    install(copy, static_cast<uint32_t>(n), true);
    return *this;
}

String& String::assign(const ConstString& other, int32_t count)
{
    uint32_t n = other.ptr() ? other.getLength() : 0;
    if (count >= 0 && static_cast<uint32_t>(count) < n) n = static_cast<uint32_t>(count);
    if (other.isWideString())
        return assign(static_cast<const char16_t*>(other.ptr()), static_cast<int32_t>(n), false);
    return assign(static_cast<const char*>(other.ptr()), static_cast<int32_t>(n), false);
}

String& String::assignChars(char c, uint32_t count)
{
    if (count == 0 || count > kMaxLength)
    {
        if (count == 0) install(nullptr, 0, false);
        return *this;
    }
    char* copy = static_cast<char*>(allocText(count, false));
    if (!copy) return *this;
    std::memset(copy, c, count);
    copy[count] = 0;
    install(copy, count, false);
    return *this;
}

String& String::assignChars(char16_t c, uint32_t count)
{
    if (count == 0 || count > kMaxLength)
    {
        if (count == 0) install(nullptr, 0, true);
        return *this;
    }
    char16_t* copy = static_cast<char16_t*>(allocText(count, true));
    if (!copy) return *this;
    for (uint32_t i = 0; i < count; ++i)
        copy[i] = c;
    copy[count] = 0;
    install(copy, count, true);
    return *this;
}

bool String::assignUtf8(const char* text)
{
    String utf8(text);
    if (text && utf8.getLength() != scanLength(text)) return false;
    if (!utf8.convertToWide(65001)) return false;
    take(utf8);
    return true;
}

bool String::assignVariant(const Variant& value)
{
    if (value.isString8())
    {
        const char* text = value.getString8();
        assign(text);
        return length == scanLength(text);
    }
    if (value.isString16())
    {
        const char16_t* text = value.getString16();
        assign(text);
        return length == scanLength(text);
    }
    if (value.isInt()) return printInt64(value.getInt());
    if (value.isFloat()) return printFloat(value.getFloat());
    install(nullptr, 0, isWide);
    return false;
}

String& String::fromPascalString(const uint8_t* text)
{
    if (text) assign(reinterpret_cast<const char*>(text) + 1, text[0], false);
    return *this;
}

void String::takeBuffer(void* heapText, bool wide)
{
    if (heapText == buffer) return;
    const uint32_t n = wide ? scanLength(static_cast<const char16_t*>(heapText))
                            : scanLength(static_cast<const char*>(heapText));
    install(heapText, n, wide);
}

void String::swap(String& other)
{
    void* b = buffer;
    const uint32_t n = length;
    const uint32_t w = isWide;
    buffer = other.buffer;
    length = other.length;
    isWide = other.isWide;
    other.buffer = b;
    other.length = n;
    other.isWide = w;
}

void String::take(String& other)
{
    if (&other == this) return;
    std::free(buffer);
    buffer = other.buffer;
    length = other.length;
    isWide = other.isWide;
    other.buffer = nullptr;
    other.length = 0;
}

void* String::detach()
{
    void* b = buffer;
    buffer = nullptr;
    length = 0;
    return b;
}

void String::detachToVariant(Variant& value)
{
    const bool wide = isWide;
    void* b = detach();
    if (wide)
    {
        if (b)
            value.takeString16(static_cast<char16_t*>(b));
        else
            value.setString16(kEmpty16);
    }
    else
    {
        if (b)
            value.takeString8(static_cast<char*>(b));
        else
            value.setString8(kEmpty8);
    }
}

bool String::splice(uint32_t index, uint32_t removeCount, const void* chars, uint32_t count)
{
    if (index > length) return false;
    if (removeCount > length - index) removeCount = length - index;
    const uint64_t newLength = uint64_t(length) - removeCount + count;
    if (newLength > kMaxLength) return false;
    if (newLength == 0)
    {
        install(nullptr, 0, isWide);
        return true;
    }
    const size_t unit = unitSize(isWide);
    auto* copy = static_cast<char*>(allocText(newLength, isWide));
    if (!copy) return false;
    const auto* old = static_cast<const char*>(buffer);
    if (index) std::memcpy(copy, old, index * unit);
    if (count) std::memcpy(copy + index * unit, chars, count * unit);
    const uint32_t tail = length - index - removeCount;
    if (tail) std::memcpy(copy + (index + count) * unit, old + (index + removeCount) * unit, tail * unit);
    std::memset(copy + newLength * unit, 0, unit);
    install(copy, static_cast<uint32_t>(newLength), isWide);
    return true;
}

bool String::prepareFor(bool wideArgument)
{
    if (!buffer || length == 0)
    {
        install(nullptr, 0, wideArgument);
        return true;
    }
    if (wideArgument && !isWide) return convertToWide(0);
    return true;
}

namespace
{
// The number of 16-bit units the first `bytes` bytes of a UTF-8 text become; an index into an
// 8-bit text moves with it when the text is widened.
uint32_t unitsOfBytes(const char* text, uint32_t count, uint32_t bytes)
{
    uint32_t units = 0;
    for (uint32_t i = 0; i < bytes && i < count;)
    {
        uint32_t len = 1;
        units += charAt(text, count, false, i, len) >= 0x10000 ? 2 : 1;
        i += len;
    }
    return units;
}
} // namespace

String& String::append(const ConstString& text, int32_t count)
{
    return insert(length, text, count);
}

String& String::appendChar(char c, uint32_t count)
{
    if (count == 0) return *this;
    String chars;
    // A wide object takes the byte as Latin-1, like every single 8-bit character.
    if (isWide && length > 0)
        chars.assignChars(static_cast<char16_t>(static_cast<uint8_t>(c)), count);
    else
        chars.assignChars(c, count);
    if (chars.getLength() == count) insert(length, chars);
    return *this;
}

String& String::appendChar(char16_t c, uint32_t count)
{
    if (count == 0) return *this;
    String chars;
    // An ASCII character goes into an 8-bit object as it is, without making it wide.
    if (c < 0x80 && !isWide && length > 0)
        chars.assignChars(static_cast<char>(c), count);
    else
        chars.assignChars(c, count);
    if (chars.getLength() == count) insert(length, chars);
    return *this;
}

String& String::insert(uint32_t index, const ConstString& text, int32_t count)
{
    if (index <= length && text.ptr()) spliceText(index, 0, text, count);
    return *this;
}

String& String::replace(uint32_t index, int32_t count, const ConstString& text, int32_t textCount)
{
    if (index > length || count == 0 || !text.ptr()) return *this;
    const uint32_t removeCount = (count < 0 || static_cast<uint32_t>(count) > length - index)
                                     ? length - index
                                     : static_cast<uint32_t>(count);
    spliceText(index, removeCount, text, textCount);
    return *this;
}

bool String::spliceText(uint32_t index, uint32_t removeCount, const ConstString& text, int32_t textCount)
{
    TextRun run(text);
    run.limit(textCount);
    if (run.count == 0 && removeCount == 0) return true;
    if (!isWide && run.wide && length > 0)
    {
        const uint32_t newIndex = unitsOfBytes(buffer8(), length, index);
        const uint32_t newRemove = unitsOfBytes(buffer8() + index, length - index, removeCount);
        if (!convertToWide(0)) return false;
        index = newIndex;
        removeCount = newRemove;
    }
    else if (!prepareFor(run.wide))
        return false;
    return run.toWidth(isWide, false) && splice(index, removeCount, run.data, run.count);
}

String& String::remove(uint32_t index, int32_t count)
{
    if (index >= length || count == 0) return *this;
    const uint32_t n = (count < 0 || static_cast<uint32_t>(count) > length - index)
                           ? length - index
                           : static_cast<uint32_t>(count);
    splice(index, n, nullptr, 0);
    return *this;
}

bool String::resize(uint32_t newLength, bool wide, bool fill)
{
    if (newLength > kMaxLength) return false;
    if (newLength == 0)
    {
        install(nullptr, 0, wide);
        return true;
    }
    void* copy = allocText(newLength, wide);
    if (!copy) return false;
    uint32_t kept = 0;
    if (buffer && static_cast<bool>(isWide) == wide)
    {
        kept = length < newLength ? length : newLength;
        std::memcpy(copy, buffer, kept * unitSize(wide));
    }
    for (uint32_t i = kept; i < newLength; ++i)
    {
        if (wide)
            static_cast<char16_t*>(copy)[i] = fill ? u' ' : 0;
        else
            static_cast<char*>(copy)[i] = fill ? ' ' : 0;
    }
    if (wide)
        static_cast<char16_t*>(copy)[newLength] = 0;
    else
        static_cast<char*>(copy)[newLength] = 0;
    const uint32_t keptLength = length < newLength ? length : newLength;
    std::free(buffer);
    buffer = copy;
    isWide = wide;
    length = keptLength;
    return true;
}

void String::updateLength()
{
    if (!buffer)
    {
        length = 0;
        return;
    }
    install(buffer, isWide ? scanLength(buffer16()) : scanLength(buffer8()), isWide);
}

int32_t String::replaceText(const ConstString& from, const ConstString& to, bool all)
{
    if (!from.ptr() || !to.ptr() || from.getLength() == 0 || isEmpty()) return 0;
    TextRun search(from);
    TextRun insertion(to);
    // Either may be a view of this very text, which the first replacement frees.
    if (!search.makeOwned() || !insertion.makeOwned()) return 0;
    if (insertion.wide && !isWide && !convertToWide(0)) return 0;
    if (!search.toWidth(isWide, false) || !insertion.toWidth(isWide, false)) return 0;
    int32_t replaced = 0;
    int64_t position = 0;
    while (true)
    {
        const TextRun self(buffer, length, isWide);
        const int32_t found = findInRun(self, search, position, -1);
        if (found < 0 || !splice(static_cast<uint32_t>(found), search.count, insertion.data, insertion.count))
            break;
        ++replaced;
        if (!all) break;
        position = int64_t(found) + insertion.count;
    }
    return replaced;
}

int32_t String::removeText(const ConstString& text)
{
    return replaceText(text, text.isWideString() ? ConstString(kEmpty16) : ConstString(kEmpty8), true);
}

// ---------------------------------------------------------------------------------------------
// LiteralTable

LiteralTable& LiteralTable::instance()
{
    // Made at the first use, which falls into the module's load; torn down when it unloads.
    static LiteralTable table;
    return table;
}

LiteralTable::~LiteralTable()
{
    for (auto& entry : texts)
        std::free(entry.second);
}

const char16_t* LiteralTable::widen(const char* literal)
{
    if (!literal) return nullptr;
    auto& table = instance().texts;
    const auto found = table.find(literal);
    if (found != table.end()) return found->second;
    const uint32_t n = scanLength(literal);
    auto* copy = static_cast<char16_t*>(allocText(n, true));
    if (!copy) return kEmpty16;
    for (uint32_t i = 0; i < n; ++i)
        copy[i] = static_cast<char16_t>(static_cast<signed char>(literal[i]));
    copy[n] = 0;
    table.emplace(literal, copy);
    return copy;
}

char16_t LiteralTable::widenChar(char c)
{
    auto& table = instance().chars;
    const auto found = table.find(c);
    if (found != table.end()) return found->second;
    const char16_t wide = static_cast<uint8_t>(c);
    table.emplace(c, wide);
    return wide;
}
