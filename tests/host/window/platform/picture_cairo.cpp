#include "../desktop.h"

#include <cairo.h>

namespace desktop
{
bool readPng(const std::string& path, Picture& picture)
{
    cairo_surface_t* surface = cairo_image_surface_create_from_png(path.c_str());
    const bool read = cairo_surface_status(surface) == CAIRO_STATUS_SUCCESS;
    if (read)
    {
        cairo_surface_flush(surface);
        picture.width = cairo_image_surface_get_width(surface);
        picture.height = cairo_image_surface_get_height(surface);
        const int stride = cairo_image_surface_get_stride(surface);
        const unsigned char* data = cairo_image_surface_get_data(surface);
        picture.pixels.clear();
        for (int y = 0; y < picture.height; ++y)
            for (int x = 0; x < picture.width; ++x)
                picture.pixels.push_back(reinterpret_cast<const uint32_t*>(data + y * stride)[x] & 0xFFFFFFu);
    }
    cairo_surface_destroy(surface);
    return read;
}
} // namespace desktop
