#pragma once

// Device-independent bitmaps as resources and files hold them, read once for both platforms' image
// halves: the info header with its colour masks, and the rows of pixels, with or without the file
// header in front. Only what the module carries is taken: 24 and 32 bits per pixel, uncompressed
// or 32-bit bit fields (read as the usual BGRX), bottom-up or top-down. Every size in the headers is
// checked against the bytes, because the system decoders trust them.

#include <cstdint>

namespace Plexel
{
struct BmpLayout
{
    int32_t width = 0;
    int32_t height = 0; // rows, always positive
    bool topDown = false;
    uint16_t bits = 0;   // 24 or 32
    uint32_t stride = 0; // bytes from one stored row to the next
    // The info header and what follows it up to the pixels (masks, colour table).
    const uint8_t* info = nullptr;
    uint32_t infoSize = 0;
    // The first stored row; null when the bytes are none of the bitmaps above.
    const uint8_t* pixels = nullptr;

    bool valid() const { return pixels != nullptr; }
    // The row `y` counted from the top of the picture.
    const uint8_t* row(int32_t y) const
    {
        return pixels + uint64_t(stride) * uint64_t(topDown ? y : height - 1 - y);
    }
};

BmpLayout readBmpLayout(const uint8_t* data, uint32_t size);
} // namespace Plexel
