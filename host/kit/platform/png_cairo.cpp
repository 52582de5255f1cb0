#include "host/kit/platform/editorwindow.h"

#include <cairo.h>

#include <cstring>

namespace hostkit::platform
{
namespace
{
cairo_status_t append(void* closure, const unsigned char* data, unsigned int length)
{
    auto* bytes = static_cast<std::vector<uint8_t>*>(closure);
    bytes->insert(bytes->end(), data, data + length);
    return CAIRO_STATUS_SUCCESS;
}
} // namespace

bool encodePng(const Picture& picture, std::vector<uint8_t>& png, std::string& error)
{
    png.clear();
    if (!picture.complete())
    {
        error = "There is no picture to write.";
        return false;
    }
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, picture.width, picture.height);
    if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS)
    {
        error = "Cairo can't make a picture of " + std::to_string(picture.width) + " by " +
                std::to_string(picture.height) + " pixels.";
        cairo_surface_destroy(surface);
        return false;
    }
    cairo_surface_flush(surface);
    unsigned char* data = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    // RGB24 keeps each pixel as a native 32-bit 0x00RRGGBB, the form of the picture's pixels.
    for (int32_t row = 0; row < picture.height; ++row)
        std::memcpy(data + static_cast<size_t>(row) * static_cast<size_t>(stride),
                    picture.pixels.data() + static_cast<size_t>(row) * static_cast<size_t>(picture.width),
                    static_cast<size_t>(picture.width) * sizeof(uint32_t));
    cairo_surface_mark_dirty(surface);
    const cairo_status_t status = cairo_surface_write_to_png_stream(surface, append, &png);
    cairo_surface_destroy(surface);
    if (status != CAIRO_STATUS_SUCCESS)
    {
        error = std::string("Cairo could not write the PNG: ") + cairo_status_to_string(status) + ".";
        png.clear();
        return false;
    }
    return true;
}
} // namespace hostkit::platform
