#include "foundation/fstring.h"
#include "foundation/textcodec.h"

#include <gtest/gtest.h>

#include <string>

using namespace foundation::text;

namespace
{
std::u16string strictUtf8(const std::string& bytes, bool& ok)
{
    const int64_t n = decode(kUtf8, bytes.data(), bytes.size(), nullptr);
    ok = n >= 0;
    std::u16string out(ok ? size_t(n) : 0, u'\0');
    if (ok) decode(kUtf8, bytes.data(), bytes.size(), out.data());
    return out;
}
} // namespace

TEST(TextCodec, Windows1252UnassignedBytesAreTheirC1ControlsBothWays)
{
    std::string all;
    for (int b = 0; b < 256; ++b)
        all.push_back(static_cast<char>(b));
    std::u16string wide(256, u'\0');
    ASSERT_EQ(decode(kWindows1252, all.data(), all.size(), wide.data()), 256);
    EXPECT_EQ(cp1252ToUtf16(all), wide) << "the lenient form reads every byte as the strict one";
    EXPECT_EQ(wide[0x80], u'\u20AC');
    EXPECT_EQ(wide[0x9F], u'\u0178');
    for (int b : {0x81, 0x8D, 0x8F, 0x90, 0x9D})
        EXPECT_EQ(wide[b], char16_t(b)) << std::hex << b;
    for (int b = 0xA0; b < 256; ++b)
        EXPECT_EQ(wide[b], char16_t(b)) << std::hex << b;

    std::string back(256, '\0');
    ASSERT_EQ(encode(kWindows1252, wide.data(), wide.size(), back.data()), 256);
    EXPECT_EQ(back, all) << "every byte comes back, the unassigned ones too";
    char unmapped = 0;
    const char16_t notInPage = u'\u0100';
    encode(kWindows1252, &notInPage, 1, &unmapped);
    EXPECT_EQ(unmapped, '?');

    // Strings convert through the same table.
    String s("\x81\x8D\x8F\x90\x9D", -1, true);
    ASSERT_TRUE(s.toWide(kWindows1252));
    EXPECT_EQ(std::u16string(s.text16()), u"\u0081\u008D\u008F\u0090\u009D");
}

TEST(TextCodec, InvalidUtf8FailsStrictlyAndBecomesOneReplacementPerPiece)
{
    const struct
    {
        std::string bytes;
        std::u16string lenient;
    } cases[] = {
        {"\xC0\xAF", u"\uFFFD\uFFFD"},                     // overlong '/'
        {"\xE0\x80\xAF", u"\uFFFD\uFFFD\uFFFD"},           // overlong in three bytes
        {"\xF0\x80\x80\xAF", u"\uFFFD\uFFFD\uFFFD\uFFFD"}, // and in four
        {"\xED\xA0\x80x", u"\uFFFD\uFFFD\uFFFDx"},         // an encoded surrogate
        {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"}, // above U+10FFFF
        {"\xF5\x80", u"\uFFFD\uFFFD"},
        {"a\xE2\x82", u"a\uFFFD"},       // cut off at the end: one piece
        {"\xF0\x9F\x98 b", u"\uFFFD b"}, // cut off before other text
        {"\x80\xFF", u"\uFFFD\uFFFD"},   // a stray continuation, a byte never used
    };
    for (const auto& c : cases)
    {
        bool ok = true;
        strictUtf8(c.bytes, ok);
        EXPECT_FALSE(ok) << c.bytes;
        EXPECT_EQ(utf8ToUtf16(c.bytes), c.lenient) << c.bytes;
    }

    // The edges of what is valid.
    bool ok = false;
    EXPECT_EQ(strictUtf8("\xC2\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", ok), u"\u0080\uD7FF\uE000\uFFFF");
    EXPECT_TRUE(ok);
    EXPECT_EQ(strictUtf8("\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", ok), u"\U00010000\U0010FFFF");
    EXPECT_TRUE(ok);
}

TEST(TextCodec, EveryCodePointRoundTripsAndLoneSurrogatesDoNot)
{
    for (char32_t cp = 0; cp <= 0x10FFFF; ++cp)
    {
        if (cp >= 0xD800 && cp < 0xE000) continue;
        char bytes[4];
        encodeUtf8(cp, bytes);
        const uint32_t n = utf8Length(cp);
        char16_t units[2] = {};
        const int64_t count = decode(kUtf8, bytes, n, units);
        ASSERT_EQ(count, cp < 0x10000 ? 1 : 2) << std::hex << uint32_t(cp);
        char again[4] = {};
        ASSERT_EQ(encode(kUtf8, units, size_t(count), again), int64_t(n)) << std::hex << uint32_t(cp);
        ASSERT_EQ(std::string(again, n), std::string(bytes, n)) << std::hex << uint32_t(cp);
    }

    const std::u16string lone = u"a\xD800"
                                u"b\xDC00";
    EXPECT_EQ(encode(kUtf8, lone.data(), lone.size(), nullptr), -1);
    EXPECT_EQ(utf16ToUtf8(lone), "a\xEF\xBF\xBD"
                                 "b\xEF\xBF\xBD");
    EXPECT_EQ(utf16ToUtf8(u"\U0001D11E"), "\xF0\x9D\x84\x9E");

    const char high = '\xE9';
    const char16_t e = u'\u00E9';
    char narrow = 0;
    EXPECT_EQ(decode(kAscii, &high, 1, nullptr), -1);
    EXPECT_EQ(decode(437, &high, 1, nullptr), -1) << "not a code page we know";
    EXPECT_EQ(encode(437, &e, 1, nullptr), -1);
    ASSERT_EQ(encode(kLatin1, &e, 1, &narrow), 1);
    EXPECT_EQ(narrow, high);
}
