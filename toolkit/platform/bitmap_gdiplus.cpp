// Images as GDI+ bitmaps: blank, decoded from the module's resources (an image file handed to
// GDI+ as a stream, or a plain bitmap resource), read back by pixel and written as PNG. Every
// image is kept as 32-bit ARGB, so that drawing and reading pixels have one format to serve.

#include "toolkit/platform/resourcestream_win32.h"
#include "toolkit/platform/types_gdiplus.h"

#include <cstring>
#include <vector>

namespace Plexel
{

namespace
{
using namespace gdip;

// Takes an ARGB copy of a decoded bitmap and lets go of the original, which may still refer to
// the bytes or the stream it came from.
NativeImage* adopt(GpBitmap* decoded)
{
    if (!decoded) return nullptr;
    UINT width = 0, height = 0;
    GdipGetImageWidth(decoded, &width);
    GdipGetImageHeight(decoded, &height);
    GpBitmap* copy = nullptr;
    if (width == 0 || height == 0 ||
        GdipCloneBitmapAreaI(0, 0, INT(width), INT(height), PixelFormat32bppARGB, decoded, &copy) != Ok)
        copy = nullptr;
    GdipDisposeImage(decoded);
    if (!copy) return nullptr;
    return new NativeImage{copy, int32_t(width), int32_t(height)};
}

uint32_t readLe32(const unsigned char* p)
{
    return uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
}

uint16_t readLe16(const unsigned char* p)
{
    return uint16_t(p[0] | (p[1] << 8));
}

// A device-independent bitmap as a bitmap resource holds it: the info header and the pixels,
// here also with a file header in front. GDI+ trusts the header's sizes, so they are checked
// against the bytes first. Uncompressed 24 and 32 bits per pixel, or 32 with bit fields.
NativeImage* decodeDib(const unsigned char* data, uint32_t size)
{
    uint32_t headerAt = 0;
    uint32_t pixelsAt = 0;
    const bool fileHeader = size >= 2 && data[0] == 'B' && data[1] == 'M';
    if (fileHeader)
    {
        if (size < 14 + 40) return nullptr;
        pixelsAt = readLe32(data + 10);
        headerAt = 14;
    }
    if (size < headerAt + 40) return nullptr;
    const unsigned char* h = data + headerAt;
    const uint32_t headerSize = readLe32(h);
    if (headerSize < 40 || headerSize > size - headerAt) return nullptr;
    const int32_t width = int32_t(readLe32(h + 4));
    const int32_t rawHeight = int32_t(readLe32(h + 8));
    const uint16_t bits = readLe16(h + 14);
    const uint32_t compression = readLe32(h + 16);
    const uint32_t colorsUsed = readLe32(h + 32);
    if (width <= 0 || width > 32768 || rawHeight == 0 || rawHeight < -32768 || rawHeight > 32768 ||
        (bits != 24 && bits != 32))
        return nullptr;
    if (!(compression == BI_RGB || (compression == BI_BITFIELDS && bits == 32))) return nullptr;
    const uint64_t height = uint64_t(rawHeight < 0 ? -int64_t(rawHeight) : int64_t(rawHeight));
    uint64_t infoSize = uint64_t(headerSize) + uint64_t(colorsUsed) * 4u;
    if (compression == BI_BITFIELDS && headerSize == 40)
        infoSize += 12; // the three colour masks follow the header
    if (headerAt + infoSize > size) return nullptr;
    if (!fileHeader) pixelsAt = uint32_t(infoSize);
    const uint64_t stride = ((uint64_t(width) * bits + 31) / 32) * 4;
    if (uint64_t(pixelsAt) + stride * height > size) return nullptr;

    // The resource's bytes may sit at any address; GDI+ gets aligned copies of header and pixels.
    std::vector<unsigned char> info(h, h + infoSize);
    std::vector<unsigned char> pixels(data + pixelsAt, data + pixelsAt + stride * height);
    GpBitmap* decoded = nullptr;
    if (GdipCreateBitmapFromGdiDib(reinterpret_cast<const BITMAPINFO*>(info.data()), pixels.data(),
                                   &decoded) != Ok)
        return nullptr;
    return adopt(decoded);
}

bool pngEncoder(CLSID& out)
{
    UINT count = 0, bytes = 0;
    if (GdipGetImageEncodersSize(&count, &bytes) != Ok || count == 0) return false;
    std::vector<unsigned char> buffer(bytes);
    auto* codecs = reinterpret_cast<ImageCodecInfo*>(buffer.data());
    if (GdipGetImageEncoders(count, bytes, codecs) != Ok) return false;
    for (UINT i = 0; i < count; ++i)
        if (codecs[i].MimeType && std::wcscmp(codecs[i].MimeType, L"image/png") == 0)
        {
            out = codecs[i].Clsid;
            return true;
        }
    return false;
}
} // namespace

NativeImage* createNativeImage(int32_t width, int32_t height)
{
    width = width > 0 ? width : 0;
    height = height > 0 ? height : 0;
    if (width == 0 || height == 0) return new NativeImage{nullptr, width, height};
    GpBitmap* bitmap = nullptr;
    if (GdipCreateBitmapFromScan0(width, height, 0, PixelFormat32bppARGB, nullptr, &bitmap) != Ok)
        return nullptr;
    // The library does not promise cleared memory.
    GpGraphics* graphics = nullptr;
    if (GdipGetImageGraphicsContext(bitmap, &graphics) == Ok)
    {
        GdipGraphicsClear(graphics, 0);
        GdipDeleteGraphics(graphics);
    }
    return new NativeImage{bitmap, width, height};
}

NativeImage* decodeNativeImage(const unsigned char* data, uint32_t size)
{
    if (!data || size == 0) return nullptr;
    auto* stream = new ResourceStream(data, size);
    GpBitmap* decoded = nullptr;
    if (GdipCreateBitmapFromStreamICM(stream, &decoded) != Ok) decoded = nullptr;
    NativeImage* image = adopt(decoded);
    stream->Release();
    return image;
}

NativeImage* decodeNativeBitmap(const unsigned char* data, uint32_t size)
{
    return data ? decodeDib(data, size) : nullptr;
}

void destroyNativeImage(NativeImage* image)
{
    if (!image) return;
    if (image->bitmap) GdipDisposeImage(image->bitmap);
    delete image;
}

int32_t nativeImageWidth(const NativeImage* image)
{
    return image ? image->width : 0;
}

int32_t nativeImageHeight(const NativeImage* image)
{
    return image ? image->height : 0;
}

CColor nativeImagePixel(NativeImage* image, int32_t x, int32_t y)
{
    if (!image || !image->bitmap || x < 0 || y < 0 || x >= image->width || y >= image->height)
        return {0, 0, 0, 0};
    ARGB argb = 0;
    if (GdipBitmapGetPixel(image->bitmap, x, y, &argb) != Ok || (argb >> 24) == 0) return {0, 0, 0, 0};
    return {uint8_t(argb >> 16), uint8_t(argb >> 8), uint8_t(argb), uint8_t(argb >> 24)};
}

bool writeNativeImagePng(NativeImage* image, const char* path)
{
    std::wstring widePath;
    CLSID encoder;
    if (!image || !image->bitmap || !path || !widen(path, widePath) || widePath.empty() ||
        !pngEncoder(encoder))
        return false;
    return GdipSaveImageToFile(image->bitmap, widePath.c_str(), &encoder, nullptr) == Ok;
}

} // namespace Plexel
