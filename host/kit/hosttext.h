#pragma once

// Text conversions the host needs at its edges: the module speaks 8-bit names and 16-bit display
// texts, files are UTF-8, and the translation table comes in windows-1252. The encodings
// themselves are foundation's, so that the host reads a byte as the module's strings do.

#include "foundation/textcodec.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace hostkit
{
using foundation::text::cp1252ToUtf16;
using foundation::text::utf16ToUtf8;
using foundation::text::utf8ToUtf16;

// Copies `text` into a module's buffer of `capacity` characters, always terminated.
void copyToBuffer(std::u16string_view text, char16_t* buffer, int32_t capacity);
std::u16string fromBuffer(const char16_t* text);

// A word from a file for a message, in single quotes: control characters, escape sequences and
// bytes that are no UTF-8 as \xNN, and a long word cut after `longest` bytes with "...", so that
// a damaged file can neither steer the terminal nor flood it.
std::string quotedWord(std::string_view word, size_t longest = 40);

// Whole-text number parsing: no sign or digit may be left over, nothing may be missing.
std::optional<int64_t> parseInteger(std::string_view text);
std::optional<double> parseDouble(std::string_view text);
// The shortest decimal text that reads back as exactly this value; NaN and infinities as
// "nan", "inf" and "-inf".
std::string formatFloat(float value);
std::string formatDouble(double value);
} // namespace hostkit
