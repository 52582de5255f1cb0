#include "foundation/fstring.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

namespace
{
std::u16string u16(const char16_t* text)
{
    return text ? std::u16string(text) : std::u16string(u"<null>");
}

std::string s8(const char* text)
{
    return text ? std::string(text) : std::string("<null>");
}

// A counted object that takes text through IStringResult, as a host's string holder does, or,
// without `offersText`, an object that has no text face.
class TextHolder : public IStringResult
{
public:
    explicit TextHolder(bool offersText = true) : offersText(offersText) {}
    tresult queryInterface(const TUID iid, void** obj) override
    {
        if ((offersText && FUID(iid) == IStringResult::iid) || FUID(iid) == FUnknown::iid)
        {
            addRef();
            *obj = this;
            return kResultOk;
        }
        *obj = nullptr;
        return kNoInterface;
    }
    uint32_t addRef() override { return ++references; }
    uint32_t release() override { return --references; }
    tresult setText(const char16_t* t) override
    {
        text = t;
        return kResultOk;
    }

    bool offersText;
    uint32_t references = 1;
    std::u16string text;
};

class AttributeStore : public IAttributes
{
public:
    tresult getAttribute(const char* key, Variant& value) override
    {
        const auto found = values.find(key);
        if (found == values.end()) return kResultFalse;
        value = found->second;
        return kResultOk;
    }
    tresult setAttribute(const char* key, const Variant& value) override
    {
        values[key] = value; // the copy owns its text
        return kResultOk;
    }

    std::map<std::string, Variant> values;
};

TEST(StringTest, ReadingInTheOtherWidthConvertsInPlaceAndNeverGivesNull)
{
    String empty;
    EXPECT_TRUE(empty.isWideString());
    EXPECT_STREQ(empty.text8(), "");
    EXPECT_EQ(u16(empty.text16()), u"");
    EXPECT_EQ(empty.ptr(), nullptr);

    // "Grüße" in UTF-8: seven bytes, five characters.
    String text("Gr\xC3\xBC\xC3\x9F"
                "e",
                -1, true);
    EXPECT_FALSE(text.isWideString());
    EXPECT_EQ(text.getLength(), 7u);
    EXPECT_EQ(u16(text.text16()), u"Grüße");
    EXPECT_TRUE(text.isWideString());
    EXPECT_EQ(text.getLength(), 5u);
    EXPECT_EQ(s8(text.text8()), "Gr\xC3\xBC\xC3\x9F"
                                "e");
    EXPECT_FALSE(text.isWideString());
    EXPECT_EQ(text.getChar16(2), u'ü');
    EXPECT_TRUE(text.isWideString());
    EXPECT_EQ(text.getChar16(5), 0);

    // Bytes that are not UTF-8 can't be widened: the text stays as it was, and reads give "".
    String broken("ab\xC0\xAF", -1, true);
    EXPECT_EQ(u16(broken.text16()), u"");
    EXPECT_FALSE(broken.isWideString());
    EXPECT_EQ(s8(broken.text8()), "ab\xC0\xAF");

    // A view doesn't convert: the other width reads as empty.
    const ConstString view(u"wide");
    EXPECT_STREQ(view.text8(), "");
    EXPECT_EQ(view.getChar8(0), 0);
    EXPECT_EQ(view.getChar16(3), u'e');
    const ConstString none(static_cast<const char*>(nullptr));
    EXPECT_TRUE(none.isEmpty());
    EXPECT_STREQ(none.text8(), "");
}

TEST(StringTest, ViewsLookIntoTextThatLivesElsewhere)
{
    const char16_t* label = u"Controller 2";
    const ConstString whole(label);
    EXPECT_EQ(whole.ptr(), label);
    EXPECT_EQ(whole.getLength(), 12u);
    const ConstString tail(whole, 11);
    EXPECT_EQ(tail.ptr(), label + 11);
    EXPECT_EQ(u16(tail.text16()), u"2");
    EXPECT_EQ(ConstString(whole, 0).ptr(), label);
    EXPECT_EQ(ConstString(whole, -4).getLength(), 12u);
    const ConstString past(whole, 40);
    EXPECT_TRUE(past.isEmpty());
    EXPECT_EQ(u16(past.text16()), u"");

    const Variant value(label);
    EXPECT_EQ(ConstString(value).ptr(), label);
    EXPECT_TRUE(ConstString(value).isWideString());
    EXPECT_TRUE(ConstString(Variant(int64_t{3})).isEmpty());

    // A String copied from a view owns its own characters.
    const String owned(tail);
    EXPECT_NE(owned.ptr(), tail.ptr());
    EXPECT_EQ(owned.compare(tail), 0);
    const String cut(whole, 4);
    EXPECT_EQ(u16(cut.text16()), u"Cont");
}

TEST(StringTest, AssignTakesLengthAndWidthFromItsArguments)
{
    String s("abcdef", 3, true);
    EXPECT_EQ(s8(s.text8()), "abc");
    s.assign("xy\0z", 4, false);
    EXPECT_EQ(s.getLength(), 4u);
    EXPECT_EQ(s.getChar8(3), 'z');
    s.assign("ignored", -1, false); // unterminated without a count: nothing happens
    EXPECT_EQ(s.getLength(), 4u);
    s.assign(static_cast<const char*>(s.ptr()) + 1); // its own text, from inside the buffer
    EXPECT_EQ(s.getLength(), 1u);
    EXPECT_EQ(s.getChar8(0), 'y');

    s.assign(u"wide");
    EXPECT_TRUE(s.isWideString());
    s.assign("");
    EXPECT_FALSE(s.isWideString());
    EXPECT_EQ(s.ptr(), nullptr);
    s.assign(static_cast<const char16_t*>(nullptr));
    EXPECT_TRUE(s.isWideString());
    EXPECT_TRUE(s.isEmpty());

    s.assignChars(u'é', 3);
    EXPECT_EQ(u16(s.text16()), u"ééé");
    EXPECT_TRUE(s.assignUtf8("\xE2\x82\xAC 5"));
    EXPECT_TRUE(s.isWideString());
    EXPECT_EQ(u16(s.text16()), u"€ 5");
    EXPECT_FALSE(s.assignUtf8("\xE2\x82"));

    const uint8_t pascal[] = {3, 'a', 'b', 'c', 'd'};
    s.fromPascalString(pascal);
    EXPECT_EQ(s8(s.text8()), "abc");
    uint8_t out[257];
    String(u"Grüße").toPascalString(out);
    EXPECT_EQ(out[0], 7);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(out + 1)), "Gr\xC3\xBC\xC3\x9F"
                                                             "e");
    String(std::string(300, 'x').c_str()).toPascalString(out);
    EXPECT_EQ(out[0], 255);
    EXPECT_EQ(out[256], 0);
}

TEST(StringTest, CompareTreatsNullAndEmptyAlikeAndMeetsAcrossWidths)
{
    const String empty;
    EXPECT_EQ(empty.compare(ConstString(static_cast<const char*>(nullptr))), 0);
    EXPECT_EQ(empty.compare(ConstString("")), 0);
    EXPECT_EQ(ConstString("a").compare(ConstString()), 1);
    EXPECT_EQ(empty.compare(ConstString("a")), -1);

    const String name("Length", -1, true);
    EXPECT_NE(name.compare(ConstString("length")), 0);
    EXPECT_EQ(name.compare(ConstString("length"), ConstString::kCaseInsensitive), 0);
    EXPECT_EQ(name.compare(ConstString(u"Length")), 0);
    EXPECT_FALSE(name.isWideString()); // comparing doesn't convert the object
    EXPECT_LT(ConstString("abc").compare(ConstString(u"abd")), 0);
    EXPECT_GT(ConstString(u"abcd").compare(ConstString("abc")), 0);
    EXPECT_GT(ConstString("\xC3\xA9").compare(ConstString("z")), 0); // bytes compare unsigned

    // Case doesn't count beyond ASCII either, in 8-bit UTF-8 as in 16-bit text.
    EXPECT_EQ(ConstString("\xC3\x89"
                          "COLE")
                  .compare(ConstString("\xC3\xA9"
                                       "cole"),
                           1),
              0);
    EXPECT_EQ(ConstString(u"ŁÓDŹ").compare(ConstString("\xC5\x82\xC3\xB3"
                                                       "d\xC5\xBA"),
                                           1),
              0);

    EXPECT_EQ(ConstString("abcX").compareLimited(ConstString("abcY"), 3), 0);
    EXPECT_EQ(ConstString("ab").compareLimited(ConstString("abc"), 3), -1);
    EXPECT_EQ(ConstString("x").compareLimited(ConstString("y"), 0), 0);
    EXPECT_EQ(ConstString("prefix-value").compareAt(7, ConstString("VALUE"), -1, 1), 0);
    EXPECT_EQ(ConstString("abc").compareAt(3, ConstString("")), -1);
}

TEST(StringTest, NaturalOrderComparesRunsOfDigitsByValue)
{
    EXPECT_LT(ConstString("a2").compareNatural(ConstString("a10")), 0);
    EXPECT_GT(ConstString("a02").compareNatural(ConstString("a2")), 0);
    EXPECT_LT(ConstString("a02").compareNatural(ConstString("a3")), 0);
    EXPECT_EQ(ConstString("take 7 b").compareNatural(ConstString(u"take 7 b")), 0);
    EXPECT_LT(ConstString("take 7 a").compareNatural(ConstString(u"take 07 a")), 0);
    EXPECT_LT(ConstString("x9y").compareNatural(ConstString("x9y1")), 0);
    EXPECT_NE(ConstString("A1").compareNatural(ConstString("a1")), 0);
    EXPECT_EQ(ConstString("A1").compareNatural(ConstString("a1"), 1), 0);
    EXPECT_EQ(ConstString("").compareNatural(ConstString()), 0);
    EXPECT_EQ(ConstString("").compareNatural(ConstString("1")), -1);
}

TEST(StringTest, FindingGivesIndicesOfThisObject)
{
    const ConstString text("one two one two");
    EXPECT_EQ(text.find(0, ConstString("two")), 4);
    EXPECT_EQ(text.find(5, ConstString("two")), 12);
    EXPECT_EQ(text.find(-3, ConstString("one")), 0);
    EXPECT_EQ(text.find(0, ConstString("twofold"), 3), 4);
    EXPECT_EQ(text.find(5, ConstString("two"), -1, 0, 11), -1); // may not begin behind index 11
    EXPECT_EQ(text.find(5, ConstString("two"), -1, 0, 12), 12);
    EXPECT_EQ(text.find(0, ConstString("")), -1);
    EXPECT_EQ(text.find(0, ConstString("TWO"), -1, 1), 4);
    EXPECT_EQ(text.findLast(100, ConstString("one")), 8);
    EXPECT_EQ(text.findLast(7, ConstString("one")), 0);
    EXPECT_EQ(text.findLast(-1, ConstString("two")), 12);

    // A 16-bit needle in an 8-bit text: the index counts bytes of the text.
    const ConstString utf8("\xC3\xA4\xC3\xB6x\xC3\xBC");
    EXPECT_EQ(utf8.find(0, ConstString(u"x")), 4);
    EXPECT_EQ(utf8.find(0, ConstString(u"Ü"), -1, 1), 5);
    EXPECT_EQ(utf8.findChar(0, u'x'), 4);
    EXPECT_EQ(utf8.findChar(0, u'ü'), -1); // not one 8-bit character

    const ConstString letters(u"aAbBaA");
    EXPECT_EQ(letters.findChar(1, 'a'), 4);
    EXPECT_EQ(letters.findChar(1, 'a', 1), 1);
    EXPECT_EQ(letters.findChar(0, u'b', 0, 1), -1);
    EXPECT_EQ(letters.findCharLast(99, u'A'), 5);
    EXPECT_EQ(letters.findCharLast(3, 'a', 1), 1);
    EXPECT_EQ(letters.countChar('a'), 2);
    EXPECT_EQ(letters.countChar(u'a', 1, 1), 3);

    EXPECT_TRUE(text.startsWith(ConstString(u"ONE"), 1));
    EXPECT_TRUE(text.endsWith(ConstString("two")));
    EXPECT_FALSE(text.endsWith(ConstString("one")));
    EXPECT_FALSE(text.startsWith(ConstString("")));
    EXPECT_TRUE(ConstString("").startsWith(ConstString()));
    EXPECT_TRUE(text.contains(ConstString(u"e t")));
    EXPECT_FALSE(text.contains(ConstString("")));
    EXPECT_EQ(text.firstDifference(ConstString("one twx")), 6);
    EXPECT_EQ(ConstString("abc").firstDifference(ConstString("abcdef")), 3);
    EXPECT_EQ(ConstString("abc").firstDifference(ConstString(u"ABC"), 1), -1);
}

TEST(StringTest, CharacterTests)
{
    for (char16_t c : {u' ', u'\u00A0', u'\u2002', u'\u200B', u'\u202F', u'\u205F', u'\u3000'})
        EXPECT_TRUE(ConstString::isSpace(c)) << int(c);
    for (char16_t c : {u'\t', u'\u2001', u'\u200C'})
        EXPECT_FALSE(ConstString::isSpace(c)) << int(c);
    EXPECT_TRUE(ConstString::isSpace('\t'));

    EXPECT_TRUE(ConstString::isAlpha(u'ß'));
    EXPECT_TRUE(ConstString::isAlpha(u'Ж'));
    EXPECT_FALSE(ConstString::isAlpha(u'×'));
    EXPECT_FALSE(ConstString::isAlpha('\xE9'));
    EXPECT_TRUE(ConstString::isAlnum(u'7'));
    EXPECT_FALSE(ConstString::isDigit(u'\u0663')); // only ASCII digits make numbers here
    EXPECT_TRUE(ConstString::isUpper(u'Ä'));
    EXPECT_TRUE(ConstString::isLower(u'ŷ'));
    EXPECT_FALSE(ConstString::isUpper(u'1'));
    EXPECT_FALSE(ConstString::isAsciiChar('\x80'));

    EXPECT_TRUE(ConstString("plain").isAscii());
    EXPECT_FALSE(ConstString(u"naïve").isAscii());
    const ConstString text("a1");
    EXPECT_TRUE(text.isDigitAt(1));
    EXPECT_FALSE(text.isDigitAt(2));
    EXPECT_TRUE(text.isCharAt(0, u'a'));
    EXPECT_TRUE(text.isCharAt(7, '\0'));
    EXPECT_FALSE(text.isCharAt(7, 'a'));
    EXPECT_TRUE(ConstString(u"\u00E9").isCharAt(0, '\xE9')); // a single byte widens as Latin-1
}

TEST(StringTest, ScanningNumbers)
{
    int32_t i = 0;
    EXPECT_TRUE(ConstString("level 42 of 50").scanInt32(i));
    EXPECT_EQ(i, 42);
    EXPECT_TRUE(ConstString("level 42 of 50").scanInt32(i, 8));
    EXPECT_EQ(i, 50);
    EXPECT_FALSE(ConstString("level 42").scanInt32(i, 0, false));
    EXPECT_TRUE(ConstString(u"€ -17").scanInt32(i));
    EXPECT_EQ(i, -17);
    EXPECT_FALSE(ConstString("12").scanInt32(i, 2));
    EXPECT_TRUE(ConstString("4294967297").scanInt32(i)); // the low 32 bits are kept
    EXPECT_EQ(i, 1);
    uint32_t u = 0;
    EXPECT_TRUE(ConstString("-1").scanUInt32(u));
    EXPECT_EQ(u, 0xFFFFFFFFu);

    double d = 0;
    EXPECT_TRUE(ConstString("3,5").scanFloat(d));
    EXPECT_DOUBLE_EQ(d, 3.5);
    EXPECT_TRUE(ConstString(u"Tempo: 120,25 bpm").scanFloat(d));
    EXPECT_DOUBLE_EQ(d, 120.25);
    EXPECT_TRUE(ConstString("  -0.125").scanFloat(d, 0, false));
    EXPECT_DOUBLE_EQ(d, -0.125);
    EXPECT_FALSE(ConstString("none").scanFloat(d));

    int64_t big = 0;
    EXPECT_TRUE(ConstString::scanInt64(u"id 9007199254740993", big));
    EXPECT_EQ(big, 9007199254740993LL);
    uint64_t ubig = 0;
    EXPECT_TRUE(ConstString::scanUInt64("18446744073709551615", ubig));
    EXPECT_EQ(ubig, 18446744073709551615ULL);
    uint8_t byte = 0;
    EXPECT_TRUE(ConstString::scanHex("#1Fa", byte));
    EXPECT_EQ(byte, 0xFA);
    EXPECT_FALSE(ConstString::scanHex(u"#ff", byte, false));
    EXPECT_FALSE(ConstString::scanInt64(static_cast<const char*>(nullptr), big));

    const ConstString numbered("Take 007");
    EXPECT_EQ(numbered.getTrailingNumberIndex(), 5);
    EXPECT_EQ(numbered.getTrailingNumberIndex(3), 5);
    EXPECT_EQ(numbered.getTrailingNumberIndex(2), -1);
    EXPECT_EQ(numbered.getTrailingNumber(-1), 7);
    EXPECT_EQ(ConstString(u"Take").getTrailingNumber(-1), -1);
    EXPECT_EQ(ConstString("").getTrailingNumberIndex(), -1);
}

TEST(StringTest, PrintingNumbersKeepsTheWidthAndTrimsZeros)
{
    String s;
    ASSERT_TRUE(s.printFloat(3.0));
    EXPECT_EQ(u16(s.text16()), u"3.0");
    s.printFloat(-0.0625);
    EXPECT_EQ(u16(s.text16()), u"-0.0625");
    s.printFloat(1.0 / 3.0);
    EXPECT_EQ(u16(s.text16()), u"0.333333");
    s.printFloat(1e20);
    EXPECT_EQ(u16(s.text16()), u"100000000000000000000.0");

    String narrow("x", -1, true);
    narrow.printInt64(-9223372036854775807LL - 1);
    EXPECT_FALSE(narrow.isWideString());
    EXPECT_EQ(s8(narrow.text8()), "-9223372036854775808");
    s.printInt64(120);
    EXPECT_TRUE(s.isWideString());
    EXPECT_EQ(u16(s.text16()), u"120");
}

TEST(StringTest, PrintfTakesTheWidthOfItsFormatAndCutsAtTheBuffer)
{
    String s;
    ASSERT_TRUE(s.printf("%s=%05.1f|%-3d|%x", "gate", 2.5, 7, 255u));
    EXPECT_FALSE(s.isWideString());
    EXPECT_EQ(s8(s.text8()), "gate=002.5|7  |ff");

    ASSERT_TRUE(s.printf(u"%s/%hs %c%%%5.2s|%-4ls|%lld|%+.2e", u"Größe", "\xC3\xA9t\xC3\xA9", u'€', u"abc",
                         u"ab", -5LL, 1500.0));
    EXPECT_TRUE(s.isWideString());
    EXPECT_EQ(u16(s.text16()), u"Größe/été €%   ab|ab  |-5|+1.50e+03");
    s.printf(u"%*d|%-*s|%#o|%zu|%p", 4, 42, 3, u"x", 8u, size_t{9}, nullptr);
    EXPECT_EQ(u16(s.text16()).substr(0, 15), u"  42|x  |010|9|");
    s.printf(u"%s", u"\U0001F3B5 note");
    EXPECT_EQ(u16(s.text16()), u"\U0001F3B5 note");

    const std::string longText(5000, 'x');
    s.printf("%s", longText.c_str());
    EXPECT_EQ(s.getLength(), 4095u);
    const std::u16string longWide(5000, u'y');
    s.printf(u"%s!", longWide.c_str());
    EXPECT_EQ(s.getLength(), 4095u);
}

TEST(StringTest, IncrementTrailingNumberMakesNumberedNames)
{
    String s("Pattern", -1, true);
    ASSERT_TRUE(s.incrementTrailingNumber(2, u' ', 0, false));
    EXPECT_EQ(s8(s.text8()), "Pattern 01");
    ASSERT_TRUE(s.incrementTrailingNumber(2, u' ', 0, false));
    EXPECT_EQ(s8(s.text8()), "Pattern 02");
    s.assign("Pattern9");
    s.incrementTrailingNumber(2, u' ', 0, false);
    EXPECT_EQ(s8(s.text8()), "Pattern 10");
    s.assign("Take_7");
    s.incrementTrailingNumber(3, u'_', 0, true);
    EXPECT_EQ(s8(s.text8()), "Take_007");
    s.incrementTrailingNumber(0, 0, 40, false);
    EXPECT_EQ(s8(s.text8()), "Take_40");
    s.assign(u"");
    s.incrementTrailingNumber(2, u'-', 0, false);
    EXPECT_EQ(u16(s.text16()), u"01");

    s.assign("Keep 5");
    EXPECT_FALSE(s.incrementTrailingNumber(33, u' ', 0, false));
    EXPECT_EQ(s8(s.text8()), "Keep 5");
    ASSERT_TRUE(s.incrementTrailingNumber(32, u' ', 0, false));
    EXPECT_EQ(s.getLength(), 5u + 32u);
}

TEST(StringTest, AppendInsertReplaceAndRemove)
{
    String s;
    s.append(ConstString("abc"));
    EXPECT_FALSE(s.isWideString()); // an empty object takes the argument's width
    s.append(ConstString("defgh"), 2);
    EXPECT_EQ(s8(s.text8()), "abcde");
    s.appendChar('!', 2);
    EXPECT_EQ(s8(s.text8()), "abcde!!");
    s.appendChar(u'x');
    EXPECT_FALSE(s.isWideString());
    s.append(ConstString(u"ß"));
    EXPECT_TRUE(s.isWideString());
    EXPECT_EQ(u16(s.text16()), u"abcde!!xß");
    s.append(ConstString("\xE2\x82\xAC"));
    EXPECT_EQ(u16(s.text16()), u"abcde!!xß€");

    s.assign("0123456789");
    s.insert(11, ConstString("nothing"));
    EXPECT_EQ(s8(s.text8()), "0123456789");
    s.insert(10, ConstString("X"));
    s.insert(0, ConstString(static_cast<const char*>(nullptr)));
    EXPECT_EQ(s8(s.text8()), "0123456789X");
    s.replace(2, 3, ConstString("--"));
    EXPECT_EQ(s8(s.text8()), "01--56789X");
    s.replace(2, 0, ConstString("??"));
    s.replace(2, 2, ConstString(static_cast<const char*>(nullptr)));
    EXPECT_EQ(s8(s.text8()), "01--56789X");
    s.replace(4, -1, ConstString("end"), 2);
    EXPECT_EQ(s8(s.text8()), "01--en");
    s.remove(1, 2);
    EXPECT_EQ(s8(s.text8()), "0-en");
    s.remove(2);
    EXPECT_EQ(s8(s.text8()), "0-");
    s.remove(5);
    EXPECT_EQ(s8(s.text8()), "0-");

    // A 16-bit insertion widens an 8-bit text; the index still means the byte it named.
    s.assign("\xC3\xA4\xC3\xB6z");
    s.insert(4, ConstString(u"ü"));
    EXPECT_EQ(u16(s.text16()), u"äöüz");
}

TEST(StringTest, ReplacingAndRemovingTextAndCharacters)
{
    String s("a-b-c", -1, true);
    EXPECT_EQ(s.replaceText(ConstString("-"), ConstString("--"), true), 2);
    EXPECT_EQ(s8(s.text8()), "a--b--c");
    EXPECT_EQ(s.replaceText(ConstString("--"), ConstString("-"), false), 1);
    EXPECT_EQ(s8(s.text8()), "a-b--c");
    EXPECT_EQ(s.replaceText(ConstString(static_cast<const char*>(nullptr)), ConstString("x")), 0);
    EXPECT_EQ(s.removeText(ConstString("-")), 3);
    EXPECT_EQ(s8(s.text8()), "abc");

    // Arguments may be views of the text itself.
    String self("xyx", -1, true);
    EXPECT_EQ(self.replaceText(ConstString(self, 2), self, true), 2);
    EXPECT_EQ(s8(self.text8()), "xyxyxyx");

    // Characters are whole UTF-8 sequences, not bytes.
    String t("\xC3\xA9t\xC3\xA9 \xC3\xA0 Paris", -1, true);
    EXPECT_TRUE(t.removeChars(ConstString(u"é")));
    EXPECT_EQ(s8(t.text8()), "t \xC3\xA0 Paris");
    EXPECT_TRUE(t.replaceChars(ConstString("\xC3\xA0"
                                           "a"),
                               u'\0'));
    EXPECT_EQ(s8(t.text8()), "t   P ris");
    EXPECT_TRUE(t.replaceChars(ConstString(" "), u'·'));
    EXPECT_FALSE(t.isWideString());
    EXPECT_EQ(u16(t.text16()), u"t···P·ris");
    EXPECT_FALSE(t.removeChars(ConstString("q")));

    String trimmed("-- ab --", -1, true);
    EXPECT_TRUE(trimmed.trim(String::kGroupNotAlnum));
    EXPECT_EQ(s8(trimmed.text8()), "ab");
    String spaced(u"\u3000 Ton 1\u00A0", -1, true);
    EXPECT_TRUE(spaced.trim());
    EXPECT_EQ(u16(spaced.text16()), u"Ton 1");
    String mixed("\t a1 b2 \n", -1, true);
    EXPECT_TRUE(mixed.trim());
    EXPECT_EQ(s8(mixed.text8()), "a1 b2");
    EXPECT_TRUE(mixed.removeGroup(String::kGroupNotAlpha));
    EXPECT_EQ(s8(mixed.text8()), "ab");
    String letters("...", -1, true);
    EXPECT_TRUE(letters.trim(String::kGroupNotAlpha));
    EXPECT_TRUE(letters.isEmpty());
    // 16-bit white space is the set of space separators only: a tab stays.
    String tabbed(u" \tx ", -1, true);
    EXPECT_TRUE(tabbed.trim());
    EXPECT_EQ(u16(tabbed.text16()), u"\tx");
    // A character outside the 16-bit plane is one character in either width.
    String clef("a\xF0\x9D\x84\x9E"
                "b",
                -1, true);
    EXPECT_TRUE(clef.removeChars(ConstString(u"\U0001D11E")));
    EXPECT_EQ(s8(clef.text8()), "ab");
}

TEST(StringTest, SetCharAtExtendsWithBlanksAndCutsAtZero)
{
    String s("ab", -1, true);
    ASSERT_TRUE(s.setCharAt(5, 'x'));
    EXPECT_EQ(s8(s.text8()), "ab   x");
    ASSERT_TRUE(s.setCharAt(0, 'A'));
    ASSERT_TRUE(s.setCharAt(2, '\0'));
    EXPECT_EQ(s8(s.text8()), "Ab");
    EXPECT_EQ(s.getLength(), 2u);
    ASSERT_TRUE(s.setCharAt(1, u'ö'));
    EXPECT_TRUE(s.isWideString());
    EXPECT_EQ(u16(s.text16()), u"Aö");

    String empty;
    ASSERT_TRUE(empty.setCharAt(2, u'z'));
    EXPECT_EQ(u16(empty.text16()), u"  z");
}

TEST(StringTest, ChangingCaseReachesLatinLettersInBothWidths)
{
    String wide(u"Ärger über ŁÓDŹ ŒUVRE ÿ", -1, true);
    wide.toUpper();
    EXPECT_EQ(u16(wide.text16()), u"ÄRGER ÜBER ŁÓDŹ ŒUVRE Ÿ");
    wide.toLower();
    EXPECT_EQ(u16(wide.text16()), u"ärger über łódź œuvre ÿ");
    wide.toUpper(6);
    EXPECT_EQ(u16(wide.text16()), u"ärger Über łódź œuvre ÿ");

    // In 8-bit text the characters are changed within their UTF-8 sequences.
    String narrow("\xC3\xA9t\xC3\xA9 \xC5\x93uf", -1, true);
    narrow.toUpper();
    EXPECT_FALSE(narrow.isWideString());
    EXPECT_EQ(u16(narrow.text16()), u"ÉTÉ ŒUF");
    narrow.toLower(0);
    EXPECT_EQ(u16(narrow.text16()), u"éTÉ ŒUF");
}

// The tables of each code page are the codec's; here, how a String changes width around them.
TEST(StringTest, CodePagesConvertBothWaysAndFailWithoutHarm)
{
    String s("\x80 caf\xE9", -1, true);
    ASSERT_TRUE(s.toWide(1252));
    EXPECT_EQ(u16(s.text16()), u"€ café");
    ASSERT_TRUE(s.toMultiByte(65001));
    EXPECT_EQ(s8(s.text8()), "\xE2\x82\xAC caf\xC3\xA9");
    // From 8 bits to another code page goes through 16 bits.
    ASSERT_TRUE(s.toMultiByte(28591));
    EXPECT_EQ(s8(s.text8()), "? caf\xE9"); // Latin-1 has no euro sign
    EXPECT_FALSE(s.toMultiByte(437));      // not a code page we know
    EXPECT_EQ(s8(s.text8()), "? caf\xE9");

    // Text that is not valid in the code page leaves the string as it was.
    String bad("\xE2\x82", -1, true);
    EXPECT_FALSE(bad.toWide(65001));
    EXPECT_FALSE(bad.isWideString());
    EXPECT_EQ(s8(bad.text8()), "\xE2\x82");
    String ascii("caf\xE9", -1, true);
    EXPECT_FALSE(ascii.toWide(20127));
    String loneSurrogate(u"a\xD800"
                         "b",
                         -1, true);
    EXPECT_FALSE(loneSurrogate.toMultiByte(0));
    EXPECT_TRUE(loneSurrogate.isWideString());
    EXPECT_STREQ(loneSurrogate.text8(), "");

    String empty("", -1, true);
    EXPECT_TRUE(empty.toWide(0));
    EXPECT_TRUE(empty.isWideString());
}

TEST(StringTest, NormalizeComposesBaseLettersWithMarks)
{
    String s(u"Cafe\u0301 n\u0303 e\u0323\u0302 x\u0301", -1, true);
    EXPECT_FALSE(s.isNormalized());
    ASSERT_TRUE(s.normalize());
    EXPECT_EQ(u16(s.text16()), u"Café ñ ệ x\u0301");
    EXPECT_TRUE(s.isNormalized());

    String narrow("e\xCC\x81", -1, true);
    EXPECT_FALSE(narrow.normalize());
    EXPECT_EQ(narrow.getLength(), 3u);
    EXPECT_TRUE(String().normalize());
}

TEST(StringTest, CopyingOutAndMovingBuffers)
{
    const String wide(u"Grüße");
    char out8[32];
    char16_t out16[32];
    EXPECT_EQ(wide.copyTo8(out8, 2, 2), 4);
    EXPECT_EQ(std::string(out8), "\xC3\xBC\xC3\x9F");
    EXPECT_EQ(wide.copyTo16(out16, 3), 2);
    EXPECT_EQ(std::u16string(out16), u"ße");
    EXPECT_EQ(wide.copyTo16(out16, 9), 0);
    EXPECT_EQ(out16[0], 0);
    EXPECT_EQ(ConstString("ab\xC3\xA9").copyTo16(out16), 3);
    EXPECT_EQ(std::u16string(out16), u"abé");

    String part;
    ASSERT_TRUE(wide.extract(part, 1, 3));
    EXPECT_EQ(u16(part.text16()), u"rüß");
    EXPECT_FALSE(wide.extract(part, 5));
    EXPECT_EQ(u16(part.text16()), u"rüß");

    String a("first", -1, true);
    String b(u"second");
    a.swap(b);
    EXPECT_EQ(u16(a.text16()), u"second");
    EXPECT_EQ(s8(b.text8()), "first");
    a.take(b);
    EXPECT_EQ(s8(a.text8()), "first");
    EXPECT_TRUE(b.isEmpty());

    auto* raw = static_cast<char*>(a.detach());
    EXPECT_TRUE(a.isEmpty());
    EXPECT_STREQ(raw, "first");
    b.takeBuffer(raw, false);
    EXPECT_EQ(b.getLength(), 5u);
    EXPECT_EQ(b.ptr(), raw);

    String copy(b);
    EXPECT_NE(copy.ptr(), b.ptr());
    EXPECT_EQ(copy.compare(b), 0);
    String moved(std::move(copy));
    EXPECT_EQ(s8(moved.text8()), "first");

    String sized("abc", -1, true);
    ASSERT_TRUE(sized.resize(6, false, true));
    EXPECT_EQ(sized.getLength(), 3u);
    sized.updateLength();
    EXPECT_EQ(s8(sized.text8()), "abc   ");
    ASSERT_TRUE(sized.resize(2, false));
    EXPECT_EQ(s8(sized.text8()), "ab");
}

TEST(StringTest, HashFollowsTheCharacters)
{
    EXPECT_EQ(ConstString::hash("ab", 1000), (98u + 64u * 97u) % 1000u);
    EXPECT_EQ(ConstString::hash(u"ab", 1000), ConstString::hash("ab", 1000));
    EXPECT_EQ(ConstString::hash("\xFF", 1000), 4294967295u % 1000u); // the byte counts as -1
    EXPECT_EQ(ConstString::hash(u"\xFF", 1000), 255u);
    EXPECT_EQ(ConstString::hash("", 7), 0u);
    EXPECT_EQ(ConstString::hash("abc", 0), 0u);
    EXPECT_LT(ConstString::hash("a rather long name for a value", 31), 31u);
}

TEST(VariantTest, OwnershipOfTextAndObjects)
{
    const char* literal = "shared";
    Variant view(literal);
    EXPECT_FALSE(view.isOwner());
    EXPECT_EQ(view.getString8(), literal);
    Variant copy(view);
    EXPECT_TRUE(copy.isOwner());
    EXPECT_NE(copy.getString8(), literal);
    EXPECT_STREQ(copy.getString8(), "shared");
    Variant wide(u"wide");
    copy = wide;
    EXPECT_TRUE(copy.isOwner());
    EXPECT_NE(copy.getString16(), wide.getString16());
    EXPECT_EQ(u16(copy.getString16()), u"wide");
    EXPECT_EQ(copy.getString8(), nullptr);
    copy.clear();
    EXPECT_EQ(copy.getType(), 0);
    EXPECT_EQ(copy.getString8(), nullptr);

    TextHolder object(false);
    {
        Variant held(&object);
        EXPECT_EQ(object.references, 2u);
        Variant second(held);
        EXPECT_EQ(object.references, 3u);
        second = Variant(int64_t{4});
        EXPECT_EQ(object.references, 2u);
        EXPECT_EQ(second.getInt(), 4);
        Variant moved(std::move(held));
        EXPECT_EQ(object.references, 2u);
        EXPECT_TRUE(held.isEmpty());
    }
    EXPECT_EQ(object.references, 1u);

    // Strings go into variants and come back.
    String text(u"Gate");
    const Variant referring = text.toVariant();
    EXPECT_EQ(referring.getString16(), text.ptr());
    EXPECT_FALSE(referring.isOwner());
    EXPECT_EQ(u16(ConstString(referring).text16()), u"Gate");
    Variant owned;
    text.detachToVariant(owned);
    EXPECT_TRUE(owned.isOwner());
    EXPECT_TRUE(text.isEmpty());
    EXPECT_EQ(u16(String(owned).text16()), u"Gate");
    String none("", -1, true);
    none.detachToVariant(owned);
    EXPECT_FALSE(owned.isOwner());
    EXPECT_STREQ(owned.getString8(), "");

    String number;
    EXPECT_TRUE(number.assignVariant(Variant(int64_t{-12})));
    EXPECT_EQ(u16(number.text16()), u"-12");
    EXPECT_TRUE(number.assignVariant(Variant(0.5)));
    EXPECT_EQ(u16(number.text16()), u"0.5");
    EXPECT_FALSE(number.assignVariant(Variant(&object)));
    EXPECT_TRUE(number.isEmpty());
}

TEST(StringTest, ExchangeWithAttributeStoresAndTextObjects)
{
    AttributeStore store;
    String name("Controller 1", -1, true);
    ASSERT_TRUE(name.storeAttribute(&store, "name"));
    name.assign("changed");
    ASSERT_TRUE(name.loadAttribute(&store, "name"));
    EXPECT_EQ(s8(name.text8()), "Controller 1");
    EXPECT_FALSE(name.loadAttribute(&store, "missing"));
    EXPECT_EQ(s8(name.text8()), "Controller 1");
    store.values["count"] = Variant(int64_t{16});
    ASSERT_TRUE(name.loadAttribute(&store, "count"));
    EXPECT_EQ(s8(name.text8()), "16");
    EXPECT_FALSE(name.storeAttribute(nullptr, "x"));

    TextHolder holder;
    String label("Velocity", -1, true);
    ASSERT_TRUE(label.toStringObject(&holder));
    EXPECT_EQ(holder.text, u"Velocity");
    EXPECT_EQ(holder.references, 1u); // the face it asked for was given back
    TextHolder plain(false);
    EXPECT_FALSE(label.toStringObject(&plain));
    EXPECT_EQ(plain.references, 1u);
}

TEST(LiteralTableTest, WidenKeepsOneCopyPerLiteralAddress)
{
    static const char first[] = "1/16";
    static const char second[] = "1/16";
    const char16_t* a = widen(first);
    EXPECT_EQ(u16(a), u"1/16");
    EXPECT_EQ(widen(first), a);
    const char16_t* b = widen(second);
    EXPECT_NE(b, a);
    EXPECT_EQ(u16(b), u"1/16");
    EXPECT_EQ(widen(nullptr), nullptr);
    EXPECT_EQ(u16(widen("")), u"");

    static const char high[] = "\xE9";
    EXPECT_EQ(widen(high)[0], char16_t(0xFFE9)); // bytes widen as signed numbers
    EXPECT_EQ(LiteralTable::widenChar(','), u',');
    EXPECT_EQ(LiteralTable::widenChar('\xE9'), u'\u00E9');
}
} // namespace
