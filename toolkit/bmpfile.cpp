#include "toolkit/bmpfile.h"

namespace Plexel
{
namespace
{
uint32_t readLe32(const uint8_t* p)
{
    return uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
}

uint16_t readLe16(const uint8_t* p)
{
    return uint16_t(p[0] | (p[1] << 8));
}

constexpr uint32_t kFileHeaderSize = 14;
constexpr uint32_t kInfoHeaderSize = 40;
constexpr uint32_t kUncompressed = 0;
constexpr uint32_t kBitFields = 3;
// Larger pictures are taken as damage: no editor carries one.
constexpr int32_t kLargestSide = 32768;
} // namespace

BmpLayout readBmpLayout(const uint8_t* data, uint32_t size)
{
    BmpLayout layout;
    if (!data) return layout;
    uint32_t headerAt = 0;
    uint64_t pixelsAt = 0;
    const bool fileHeader = size >= 2 && data[0] == 'B' && data[1] == 'M';
    if (fileHeader)
    {
        if (size < kFileHeaderSize + kInfoHeaderSize) return layout;
        pixelsAt = readLe32(data + 10);
        headerAt = kFileHeaderSize;
    }
    if (size < headerAt + kInfoHeaderSize) return layout;
    const uint8_t* h = data + headerAt;
    const uint32_t headerSize = readLe32(h);
    if (headerSize < kInfoHeaderSize || headerSize > size - headerAt) return layout;
    const int32_t width = int32_t(readLe32(h + 4));
    const int32_t rawHeight = int32_t(readLe32(h + 8));
    const uint16_t bits = readLe16(h + 14);
    const uint32_t compression = readLe32(h + 16);
    const uint32_t colorsUsed = readLe32(h + 32);
    if (width <= 0 || width > kLargestSide || rawHeight == 0 || rawHeight < -kLargestSide ||
        rawHeight > kLargestSide || (bits != 24 && bits != 32))
        return layout;
    if (!(compression == kUncompressed || (compression == kBitFields && bits == 32))) return layout;

    uint64_t infoSize = uint64_t(headerSize) + uint64_t(colorsUsed) * 4u;
    // An old-style header with bit fields keeps its three colour masks behind it.
    if (compression == kBitFields && headerSize == kInfoHeaderSize) infoSize += 12;
    if (headerAt + infoSize > size) return layout;
    if (!fileHeader) pixelsAt = infoSize;
    const uint64_t stride = ((uint64_t(width) * bits + 31) / 32) * 4;
    const int32_t height = rawHeight < 0 ? -rawHeight : rawHeight;
    if (pixelsAt + stride * uint64_t(height) > size) return layout;

    layout.width = width;
    layout.height = height;
    layout.topDown = rawHeight < 0;
    layout.bits = bits;
    layout.stride = uint32_t(stride);
    layout.info = h;
    layout.infoSize = uint32_t(infoSize);
    layout.pixels = data + pixelsAt;
    return layout;
}
} // namespace Plexel
