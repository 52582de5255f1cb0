// Images as GDI+ bitmaps: blank, decoded from the module's resources (an image file handed to
// GDI+ as a stream, or a plain bitmap resource), read back by pixel and written as PNG. Every
// image is kept as 32-bit ARGB, so that drawing and reading pixels have one format to serve.

#include "toolkit/bmpfile.h"
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

// A device-independent bitmap as a bitmap resource holds it, here also with a file header in
// front. GDI+ trusts the header's sizes; readBmpLayout has checked them against the bytes.
NativeImage* decodeDib(const unsigned char* data, uint32_t size)
{
    const BmpLayout bmp = readBmpLayout(data, size);
    if (!bmp.valid()) return nullptr;
    // The resource's bytes may sit at any address; GDI+ gets aligned copies of header and pixels.
    std::vector<unsigned char> info(bmp.info, bmp.info + bmp.infoSize);
    std::vector<unsigned char> pixels(bmp.pixels, bmp.pixels + uint64_t(bmp.stride) * uint64_t(bmp.height));
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
