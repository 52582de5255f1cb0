// The one reader of bitmap headers: every size a header claims is held against the bytes, since
// the system decoders behind it trust them.

#include "toolkit/bmpfile.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

using namespace Plexel;

namespace
{
using Bytes = std::vector<uint8_t>;

void put(Bytes& b, size_t at, uint32_t value, int bytes = 4)
{
    for (int i = 0; i < bytes; ++i)
        b[at + size_t(i)] = uint8_t(value >> (8 * i));
}

// A bare 3 by 2 bitmap of `bits`, with `extra` bytes of masks or colours between header and rows.
Bytes dib(uint16_t bits, int32_t height = 2, uint32_t compression = 0, uint32_t extra = 0)
{
    const uint32_t stride = ((3u * bits + 31) / 32) * 4;
    Bytes b(40 + extra + stride * 2u, 0);
    put(b, 0, 40);
    put(b, 4, 3);
    put(b, 8, uint32_t(height));
    put(b, 12, 1, 2);
    put(b, 14, bits, 2);
    put(b, 16, compression);
    b[40 + extra] = 0xAB; // the first byte of the first stored row
    return b;
}
} // namespace

TEST(BmpFile, RowsAreFoundWithAndWithoutFileHeaderAndInEitherOrder)
{
    Bytes bare = dib(24);
    BmpLayout layout = readBmpLayout(bare.data(), uint32_t(bare.size()));
    ASSERT_TRUE(layout.valid());
    EXPECT_EQ(layout.stride, 12u); // 9 bytes padded to a multiple of 4
    EXPECT_EQ(layout.row(1), bare.data() + 40) << "bottom-up: the first stored row is the lowest";

    Bytes topDown = dib(32, -2);
    layout = readBmpLayout(topDown.data(), uint32_t(topDown.size()));
    ASSERT_TRUE(layout.valid());
    EXPECT_EQ(layout.height, 2);
    EXPECT_EQ(layout.row(0), topDown.data() + 40);

    // Bit fields behind an old-style header: the three masks sit between header and rows.
    Bytes fields = dib(32, 2, 3, 12);
    layout = readBmpLayout(fields.data(), uint32_t(fields.size()));
    ASSERT_TRUE(layout.valid());
    EXPECT_EQ(layout.infoSize, 52u);
    EXPECT_EQ(*layout.row(1), 0xAB);

    // With a file header the rows are where its offset says.
    Bytes file(14, 0);
    file[0] = 'B';
    file[1] = 'M';
    put(file, 10, 14 + 40 + 4);
    Bytes body = dib(24);
    body.insert(body.begin() + 40, 4, 0);
    file.insert(file.end(), body.begin(), body.end());
    layout = readBmpLayout(file.data(), uint32_t(file.size()));
    ASSERT_TRUE(layout.valid());
    EXPECT_EQ(*layout.row(1), 0xAB);
}

TEST(BmpFile, HeadersThatPromiseMoreThanTheBytesOrAnUnreadFormatAreRefused)
{
    const std::vector<std::pair<const char*, std::function<void(Bytes&)>>> damages = {
        {"rows cut short", [](Bytes& b) { b.pop_back(); }},
        {"header larger than the bytes", [](Bytes& b) { put(b, 0, 4000); }},
        {"colour table past the end", [](Bytes& b) { put(b, 32, 1000); }},
        {"16 bits per pixel", [](Bytes& b) { put(b, 14, 16, 2); }},
        {"run-length compressed", [](Bytes& b) { put(b, 16, 1); }},
        {"bit fields at 24 bits", [](Bytes& b) { put(b, 16, 3); }},
        {"no width", [](Bytes& b) { put(b, 4, 0); }},
        {"negative width", [](Bytes& b) { put(b, 4, uint32_t(-3)); }},
        {"no height", [](Bytes& b) { put(b, 8, 0); }},
        {"most negative height", [](Bytes& b) { put(b, 8, 0x80000000u); }},
        {"absurd width", [](Bytes& b) { put(b, 4, 40000); }},
        {"only a header", [](Bytes& b) { b.resize(39); }},
    };
    for (const auto& [what, damage] : damages)
    {
        Bytes b = dib(24);
        damage(b);
        EXPECT_FALSE(readBmpLayout(b.data(), uint32_t(b.size())).valid()) << what;
    }
    Bytes file(20, 0);
    file[0] = 'B';
    file[1] = 'M';
    EXPECT_FALSE(readBmpLayout(file.data(), uint32_t(file.size())).valid()) << "a file header alone";
    EXPECT_FALSE(readBmpLayout(nullptr, 100).valid());
}
