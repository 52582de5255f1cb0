// Images as Cairo image surfaces: blank, decoded from the module's resources (PNG, and BMP of
// 24 and 32 bits), read back by pixel and written as PNG.

#include "toolkit/bmpfile.h"
#include "toolkit/platform/types_cairo.h"

#include <cstring>

namespace Plexel
{

namespace
{
NativeImage* wrap(cairo_surface_t* surface)
{
    if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS)
    {
        cairo_surface_destroy(surface);
        return nullptr;
    }
    return new NativeImage{surface};
}

struct ByteReader
{
    const unsigned char* data;
    uint32_t size;
    uint32_t position;
};

cairo_status_t readBytes(void* closure, unsigned char* out, unsigned int length)
{
    auto* r = static_cast<ByteReader*>(closure);
    if (length > r->size - r->position) return CAIRO_STATUS_READ_ERROR;
    std::memcpy(out, r->data + r->position, length);
    r->position += length;
    return CAIRO_STATUS_SUCCESS;
}

// Every image is kept as ARGB32, so that drawing and reading pixels have one format to serve.
NativeImage* asArgb(cairo_surface_t* decoded)
{
    if (cairo_surface_status(decoded) != CAIRO_STATUS_SUCCESS)
    {
        cairo_surface_destroy(decoded);
        return nullptr;
    }
    if (cairo_image_surface_get_format(decoded) == CAIRO_FORMAT_ARGB32) return new NativeImage{decoded};
    cairo_surface_t* argb = cairo_image_surface_create(
        CAIRO_FORMAT_ARGB32, cairo_image_surface_get_width(decoded), cairo_image_surface_get_height(decoded));
    cairo_t* cr = cairo_create(argb);
    cairo_set_source_surface(cr, decoded, 0, 0);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    cairo_paint(cr);
    cairo_destroy(cr);
    cairo_surface_destroy(decoded);
    return wrap(argb);
}

NativeImage* decodePng(const unsigned char* data, uint32_t size)
{
    ByteReader reader{data, size, 0};
    return asArgb(cairo_image_surface_create_from_png_stream(readBytes, &reader));
}

// A plain bitmap has no alpha channel, so 32-bit pixels come out opaque too.
NativeImage* decodeBmp(const unsigned char* data, uint32_t size)
{
    const BmpLayout bmp = readBmpLayout(data, size);
    if (!bmp.valid()) return nullptr;
    const int32_t width = bmp.width;
    const int32_t height = bmp.height;
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
    if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS)
    {
        cairo_surface_destroy(surface);
        return nullptr;
    }
    cairo_surface_flush(surface);
    unsigned char* out = cairo_image_surface_get_data(surface);
    const int outStride = cairo_image_surface_get_stride(surface);
    const int bytesPerPixel = bmp.bits / 8;
    for (int32_t y = 0; y < height; ++y)
    {
        const unsigned char* row = bmp.row(y);
        auto* target = reinterpret_cast<uint32_t*>(out + y * outStride);
        for (int32_t x = 0; x < width; ++x)
        {
            const unsigned char* p = row + x * bytesPerPixel;
            target[x] = 0xFF000000u | (uint32_t(p[2]) << 16) | (uint32_t(p[1]) << 8) | uint32_t(p[0]);
        }
    }
    cairo_surface_mark_dirty(surface);
    return new NativeImage{surface};
}
} // namespace

NativeImage* createNativeImage(int32_t width, int32_t height)
{
    return wrap(
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width > 0 ? width : 0, height > 0 ? height : 0));
}

NativeImage* decodeNativeImage(const unsigned char* data, uint32_t size)
{
    static const unsigned char pngSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    if (!data || size < 8) return nullptr;
    if (std::memcmp(data, pngSignature, 8) == 0) return decodePng(data, size);
    if (data[0] == 'B' && data[1] == 'M') return decodeBmp(data, size);
    return nullptr;
}

NativeImage* decodeNativeBitmap(const unsigned char* data, uint32_t size)
{
    if (!data) return nullptr;
    return decodeBmp(data, size);
}

void destroyNativeImage(NativeImage* image)
{
    if (!image) return;
    cairo_surface_destroy(image->surface);
    delete image;
}

int32_t nativeImageWidth(const NativeImage* image)
{
    return image ? cairo_image_surface_get_width(image->surface) : 0;
}

int32_t nativeImageHeight(const NativeImage* image)
{
    return image ? cairo_image_surface_get_height(image->surface) : 0;
}

CColor nativeImagePixel(NativeImage* image, int32_t x, int32_t y)
{
    if (!image || x < 0 || y < 0 || x >= nativeImageWidth(image) || y >= nativeImageHeight(image))
        return {0, 0, 0, 0};
    cairo_surface_flush(image->surface);
    const unsigned char* data = cairo_image_surface_get_data(image->surface);
    const int stride = cairo_image_surface_get_stride(image->surface);
    const uint32_t p = reinterpret_cast<const uint32_t*>(data + y * stride)[x];
    const uint32_t a = p >> 24;
    if (a == 0) return {0, 0, 0, 0};
    // Stored premultiplied; give back the straight colour.
    auto straight = [a](uint32_t c) { return uint8_t((c * 255 + a / 2) / a); };
    return {straight((p >> 16) & 0xFF), straight((p >> 8) & 0xFF), straight(p & 0xFF), uint8_t(a)};
}

bool writeNativeImagePng(NativeImage* image, const char* path)
{
    if (!image || !path) return false;
    return cairo_surface_write_to_png(image->surface, path) == CAIRO_STATUS_SUCCESS;
}

} // namespace Plexel
