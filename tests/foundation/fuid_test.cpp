#include "foundation/fuid.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace
{
const uint8_t intValueBytes[16] = {0x33, 0x1E, 0x7B, 0x03, 0x64, 0xF3, 0x39, 0x45,
                                   0x92, 0xF2, 0x09, 0xB8, 0x26, 0x02, 0xC8, 0x0B};

TEST(FUIDTest, WordsAndBytesDescribeTheSameIdentifier)
{
    FUID fromBytes(intValueBytes);
    EXPECT_EQ(fromBytes.getWord1(), 0x037B1E33u);
    EXPECT_EQ(fromBytes.getWord2(), 0xF3644539u);
    EXPECT_EQ(fromBytes.getWord3(), 0x92F209B8u);
    EXPECT_EQ(fromBytes.getWord4(), 0x2602C80Bu);

    FUID fromWords(fromBytes.getWord1(), fromBytes.getWord2(), fromBytes.getWord3(), fromBytes.getWord4());
    EXPECT_EQ(0, std::memcmp(fromWords.data, intValueBytes, 16));
    EXPECT_TRUE(fromWords.equals(intValueBytes));
    EXPECT_EQ(fromWords.compare(fromBytes), 0);

    TUID out;
    fromWords.copyTo(out);
    EXPECT_EQ(0, std::memcmp(out, intValueBytes, 16));

    FUID none(nullptr);
    EXPECT_FALSE(none.isValid());
    EXPECT_FALSE(FUID().isValid());
    none = intValueBytes;
    EXPECT_TRUE(none.isValid());
    none = static_cast<const uint8_t*>(nullptr);
    EXPECT_FALSE(none.isValid());
}

TEST(FUIDTest, TextFormsRoundTripAndCheckOnlyTheLength)
{
    const FUID id(intValueBytes);
    char plain[33];
    char braced[39];
    id.toText(plain);
    id.toBracedText(braced);
    EXPECT_STREQ(plain, "037B1E33F364453992F209B82602C80B");
    EXPECT_STREQ(braced, "{037B1E33-F364-4539-92F2-09B82602C80B}");
    id.toText(nullptr); // no effect, no fault

    FUID back;
    ASSERT_TRUE(back.fromText(plain));
    EXPECT_EQ(back, id);
    back = FUID();
    ASSERT_TRUE(back.fromBracedText(braced));
    EXPECT_EQ(back, id);

    // Lower case is read; the separators are never looked at.
    back = FUID();
    ASSERT_TRUE(back.fromBracedText("[037b1e33#f364#4539#92f2#09b82602c80b]"));
    EXPECT_EQ(back, id);

    EXPECT_FALSE(back.fromText(nullptr));
    EXPECT_FALSE(back.fromText(""));
    EXPECT_FALSE(back.fromText("037B1E33F364453992F209B82602C80"));
    EXPECT_FALSE(back.fromBracedText(plain));
    EXPECT_EQ(back, id); // refusals leave the identifier alone
}

TEST(FUIDTest, GeneratedIdentifiersAreNewVersionFourAndOrdered)
{
    FUID a;
    FUID b;
    ASSERT_TRUE(a.generate());
    ASSERT_TRUE(b.generate());
    EXPECT_TRUE(a.isValid());
    EXPECT_NE(a, b);
    EXPECT_EQ(a.getWord2() & 0xF000u, 0x4000u); // version in the third group
    EXPECT_EQ(a.data[8] & 0xC0u, 0x80u);
    EXPECT_EQ(a.compare(b), -b.compare(a));

    // Ordering reads bytes 0..7 as one little-endian word first: byte 7 outweighs byte 0.
    uint8_t low[16] = {0xFF};
    uint8_t high[16] = {};
    high[7] = 1;
    EXPECT_EQ(FUID(low).compare(FUID(high)), -1);
    EXPECT_EQ(FUID(high).compare(FUID(low)), 1);
}

TEST(FUIDTest, PrintAsWritesTheFourWordsInEachSourceStyle)
{
    const FUID id(intValueBytes);
    char line[128];
    id.printAs(line, 0);
    EXPECT_STREQ(line, "INLINE_UID (0x037B1E33, 0xF3644539, 0x92F209B8, 0x2602C80B)");
    id.printAs(line, 1);
    EXPECT_EQ(std::string(line).rfind("DECLARE_UID (0x037B1E33", 0), 0u);
    id.printAs(line, 2);
    EXPECT_EQ(std::string(line).rfind("FUID (0x037B1E33", 0), 0u);
    id.printAs(line, 7);
    EXPECT_STREQ(line, "DECLARE_CLASS_IID (Interface, 0x037B1E33, 0xF3644539, 0x92F209B8, 0x2602C80B)");
}
} // namespace
