#include "foundation/fstringdetail.h"
#include "foundation/textcodec.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>

using namespace fstringdetail;

namespace
{
// Formatting with a 16-bit format. The numbers are formatted by the C library from a narrow
// copy of each conversion; text and characters are handled here because the library has no
// 16-bit formatting that is the same on both platforms.

class WideSink
{
public:
    WideSink(char16_t* o, uint32_t c) : out(o), capacity(c) {}
    void put(uint32_t unit)
    {
        if (count + 1 < capacity) out[count++] = static_cast<char16_t>(unit);
    }
    void putAscii(const char* text)
    {
        for (; *text; ++text)
            put(static_cast<uint8_t>(*text));
    }
    void pad(int64_t n)
    {
        for (; n > 0; --n)
            put(' ');
    }
    uint32_t finish()
    {
        out[count] = 0;
        return count;
    }

private:
    char16_t* out;
    uint32_t capacity;
    uint32_t count = 0;
};

enum class LengthModifier
{
    none,
    hh,
    h,
    l,
    ll,
    j,
    z,
    t,
    L
};

// Units of a text argument, up to `max` (-1 for all); 8-bit text counts as it will be widened.
uint32_t countArgumentUnits(const void* text, bool wide, int64_t max)
{
    uint32_t n = 0;
    const uint32_t size =
        wide ? scanLength(static_cast<const char16_t*>(text)) : scanLength(static_cast<const char*>(text));
    for (uint32_t i = 0; i < size && (max < 0 || n < max);)
    {
        uint32_t len = 1;
        const uint32_t cp = charAt(text, size, wide, i, len);
        const uint32_t units = wide ? len : (cp >= 0x10000 ? 2 : 1);
        if (max >= 0 && n + units > max) break;
        n += units;
        i += len;
    }
    return n;
}

void putArgumentText(WideSink& sink, const void* text, bool wide, uint32_t units)
{
    const uint32_t size =
        wide ? scanLength(static_cast<const char16_t*>(text)) : scanLength(static_cast<const char*>(text));
    uint32_t n = 0;
    for (uint32_t i = 0; i < size && n < units;)
    {
        uint32_t len = 1;
        char16_t pair[2];
        const uint32_t written = foundation::text::encodeUtf16(charAt(text, size, wide, i, len), pair);
        for (uint32_t k = 0; k < written; ++k)
            sink.put(pair[k]);
        n += written;
        i += len;
    }
}

// One conversion of a format as the parser read it. `text` holds its flags, width and precision
// in the C library's spelling, so that numbers can be handed on to the library.
struct Conversion
{
    char text[64] = {'%'};
    size_t size = 1;
    bool left = false;
    int64_t width = -1;
    int64_t precision = -1;
    LengthModifier length = LengthModifier::none;
    char16_t type = 0;

    // Appends to `text` what snprintf writes, keeping it terminated.
    // Every caller passes a literal; clang cannot see through the template that it does.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    template <class... Args> void add(const char* format, Args... args)
    {
        const int n = std::snprintf(text + size, sizeof text - size, format, args...);
        if (n > 0) size = std::min(sizeof text - 1, size + static_cast<size_t>(n));
    }
#pragma GCC diagnostic pop
};

int64_t readNumber(const char16_t*& f)
{
    int64_t n = 0;
    for (; *f >= u'0' && *f <= u'9'; ++f)
        n = std::min<int64_t>(n * 10 + (*f - u'0'), 4096); // more than the buffer holds anyway
    return n;
}

// Reads the conversion that follows a '%', taking the widths given as '*' from the arguments.
// Gives the position behind it, or null if the format ends inside it.
const char16_t* parseConversion(const char16_t* f, va_list* ap, Conversion& c)
{
    while (*f == u'-' || *f == u'+' || *f == u' ' || *f == u'#' || *f == u'0')
    {
        c.left = c.left || *f == u'-';
        if (c.size < 16) c.text[c.size++] = static_cast<char>(*f);
        ++f;
    }
    if (*f == u'*')
    {
        c.width = va_arg(*ap, int);
        if (c.width < 0)
        {
            c.left = true;
            c.width = -c.width;
            c.text[c.size++] = '-';
        }
        ++f;
    }
    else if (*f >= u'0' && *f <= u'9')
        c.width = readNumber(f);
    if (*f == u'.')
    {
        ++f;
        if (*f == u'*')
        {
            c.precision = va_arg(*ap, int);
            ++f;
        }
        else
            c.precision = readNumber(f);
    }
    if (*f == u'h')
        c.length = (*++f == u'h') ? (++f, LengthModifier::hh) : LengthModifier::h;
    else if (*f == u'l')
        c.length = (*++f == u'l') ? (++f, LengthModifier::ll) : LengthModifier::l;
    else if (*f == u'j' || *f == u'z' || *f == u't' || *f == u'L')
    {
        c.length = *f == u'j'   ? LengthModifier::j
                   : *f == u'z' ? LengthModifier::z
                   : *f == u't' ? LengthModifier::t
                                : LengthModifier::L;
        ++f;
    }
    c.type = *f;
    if (!c.type) return nullptr;
    if (c.width >= 0) c.add("%d", static_cast<int>(c.width));
    if (c.precision >= 0) c.add(".%d", static_cast<int>(c.precision));
    return f + 1;
}

long long signedArgument(LengthModifier length, va_list* ap)
{
    switch (length)
    {
    case LengthModifier::hh:
        return static_cast<signed char>(va_arg(*ap, int));
    case LengthModifier::h:
        return static_cast<short>(va_arg(*ap, int));
    case LengthModifier::l:
        return va_arg(*ap, long);
    case LengthModifier::ll:
    case LengthModifier::L:
        return va_arg(*ap, long long);
    case LengthModifier::j:
        return va_arg(*ap, std::intmax_t);
    case LengthModifier::z:
    case LengthModifier::t:
        return va_arg(*ap, std::ptrdiff_t);
    default:
        return va_arg(*ap, int);
    }
}

unsigned long long unsignedArgument(LengthModifier length, va_list* ap)
{
    switch (length)
    {
    case LengthModifier::hh:
        return static_cast<unsigned char>(va_arg(*ap, unsigned int));
    case LengthModifier::h:
        return static_cast<unsigned short>(va_arg(*ap, unsigned int));
    case LengthModifier::l:
        return va_arg(*ap, unsigned long);
    case LengthModifier::ll:
    case LengthModifier::L:
        return va_arg(*ap, unsigned long long);
    case LengthModifier::j:
        return va_arg(*ap, std::uintmax_t);
    case LengthModifier::z:
    case LengthModifier::t:
        return va_arg(*ap, size_t);
    default:
        return va_arg(*ap, unsigned int);
    }
}

// Writes one conversion with its argument; one the formatter doesn't know is copied as it
// stands in the format, from `start` to `end`.
void emitConversion(WideSink& sink, Conversion& c, va_list* ap, const char16_t* start, const char16_t* end)
{
    char number[512];
    switch (c.type)
    {
    case u'd':
    case u'i':
        c.add("lld");
        std::snprintf(number, sizeof number, c.text, signedArgument(c.length, ap));
        sink.putAscii(number);
        break;
    case u'u':
    case u'o':
    case u'x':
    case u'X':
        c.add("ll%c", static_cast<char>(c.type));
        std::snprintf(number, sizeof number, c.text, unsignedArgument(c.length, ap));
        sink.putAscii(number);
        break;
    case u'f':
    case u'F':
    case u'e':
    case u'E':
    case u'g':
    case u'G':
    case u'a':
    case u'A':
        if (c.length == LengthModifier::L)
        {
            c.add("L%c", static_cast<char>(c.type));
            std::snprintf(number, sizeof number, c.text, va_arg(*ap, long double));
        }
        else
        {
            c.add("%c", static_cast<char>(c.type));
            std::snprintf(number, sizeof number, c.text, va_arg(*ap, double));
        }
        sink.putAscii(number);
        break;
    case u'p':
        c.add("p");
        std::snprintf(number, sizeof number, c.text, va_arg(*ap, void*));
        sink.putAscii(number);
        break;
    case u'c':
    case u'C':
    {
        const int ch = va_arg(*ap, int);
        const bool narrow = (c.type == u'c') == (c.length == LengthModifier::h);
        if (!c.left) sink.pad(c.width - 1);
        sink.put(narrow ? static_cast<uint8_t>(ch) : static_cast<char16_t>(ch));
        if (c.left) sink.pad(c.width - 1);
        break;
    }
    case u's':
    case u'S':
    {
        // %s is text of the format's width; h asks for 8-bit, l for 16-bit text.
        const bool narrow = c.type == u's' ? c.length == LengthModifier::h : c.length != LengthModifier::l;
        const void* text = va_arg(*ap, const void*);
        if (!text) text = narrow ? static_cast<const void*>("(null)") : static_cast<const void*>(u"(null)");
        const uint32_t units = countArgumentUnits(text, !narrow, c.precision);
        if (!c.left) sink.pad(c.width - units);
        putArgumentText(sink, text, !narrow, units);
        if (c.left) sink.pad(c.width - units);
        break;
    }
    case u'n':
        (void)va_arg(*ap, void*); // a count written back through a pointer has no use here
        break;
    default:
        for (const char16_t* p = start; p < end; ++p)
            sink.put(*p);
    }
}

uint32_t formatWide(char16_t* out, uint32_t capacity, const char16_t* f, va_list* ap)
{
    WideSink sink(out, capacity);
    while (*f)
    {
        if (*f != u'%')
        {
            sink.put(*f++);
            continue;
        }
        const char16_t* start = f++;
        if (*f == u'%')
        {
            sink.put(u'%');
            ++f;
            continue;
        }
        Conversion conversion;
        f = parseConversion(f, ap, conversion);
        if (!f) break;
        emitConversion(sink, conversion, ap, start, f);
    }
    return sink.finish();
}
} // namespace

bool String::printf(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const bool done = vprintf(format, args);
    va_end(args);
    return done;
}

bool String::printf(const char16_t* format, ...)
{
    va_list args;
    va_start(args, format);
    const bool done = vprintf(format, args);
    va_end(args);
    return done;
}

bool String::vprintf(const char* format, va_list args)
{
    if (!format) return false;
    char text[4096];
    if (std::vsnprintf(text, sizeof text, format, args) < 0) return false;
    const uint32_t n = scanLength(text);
    assign(text);
    return length == n && !isWide;
}

bool String::vprintf(const char16_t* format, va_list args)
{
    if (!format) return false;
    char16_t text[4096];
    va_list copy;
    va_copy(copy, args);
    const uint32_t n = formatWide(text, 4096, format, &copy);
    va_end(copy);
    assign(text);
    return length == n && isWide;
}
