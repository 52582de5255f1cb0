#pragma once

// The one place where text changes encoding: UTF-8, UTF-16 and the single-byte code pages that
// strings accept, named by their Windows numbers. Every layer converts through here, so that a
// byte reads as the same character wherever it is read.
//
// Two kinds of conversion: the strict ones (decode, encode) fail on text the code page does not
// define, as a conversion asked to reject invalid characters does on Windows; the lenient ones
// (utf8ToUtf16 and its kin) are for the edges, where a text must come through whatever it holds,
// and put U+FFFD in place of each piece they cannot read.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace foundation::text
{
enum : uint32_t
{
    kDefaultCodePage = 0, // UTF-8 on every platform we build for
    kWindows1252 = 1252,
    kAscii = 20127,
    kLatin1 = 28591,
    kUtf8 = 65001,
};

constexpr char16_t kReplacement = 0xFFFD;

struct Utf8Sequence
{
    // The character, or -1 if the bytes do not form one.
    int32_t codePoint;
    // Bytes taken. For an invalid sequence, the longest start of a valid one found there (at
    // least 1), so that a truncated character becomes one replacement, not one per byte, as
    // Unicode recommends.
    uint32_t length;
};

// The sequence that starts at text[i], i < count. Overlong forms, encoded surrogates and values
// above U+10FFFF are invalid.
Utf8Sequence decodeUtf8(const char* text, size_t count, size_t i);
uint32_t utf8Length(char32_t codePoint);
// Writes utf8Length(codePoint) bytes.
void encodeUtf8(char32_t codePoint, char* out);

// The character at in[i], i < count, and the units it takes; a lone surrogate comes back as
// itself, for the caller to judge.
char32_t decodeUtf16(const char16_t* in, size_t count, size_t i, size_t& length);
// Writes one or two units; gives how many.
uint32_t encodeUtf16(char32_t codePoint, char16_t* out);

bool isKnownCodePage(uint32_t codePage);

// 8-bit text of a code page to UTF-16, or only the count with a null `out`. Gives the number of
// units, -1 for an unknown code page or bytes it does not define.
int64_t decode(uint32_t codePage, const char* in, size_t count, char16_t* out);
// UTF-16 to 8-bit text likewise. Into UTF-8 a lone surrogate fails; the single-byte code pages
// write '?' for what they cannot show, as Windows does by default.
int64_t encode(uint32_t codePage, const char16_t* in, size_t count, char* out);

std::u16string utf8ToUtf16(std::string_view text);
// A lone surrogate becomes U+FFFD.
std::string utf16ToUtf8(std::u16string_view text);
std::u16string cp1252ToUtf16(std::string_view bytes);
} // namespace foundation::text
