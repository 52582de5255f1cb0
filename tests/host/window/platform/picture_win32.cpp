#include "../desktop.h"

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
// GDI+ reads the picture through its flat functions.
#include <gdiplus.h>

#include <filesystem>

namespace desktop
{
using namespace Gdiplus;
using namespace Gdiplus::DllExports;

bool readPng(const std::string& path, Picture& picture)
{
    GdiplusStartupInput input;
    ULONG_PTR token = 0;
    if (GdiplusStartup(&token, &input, nullptr) != Ok) return false;
    GpBitmap* bitmap = nullptr;
    bool read = GdipCreateBitmapFromFile(std::filesystem::path(path).wstring().c_str(), &bitmap) == Ok;
    UINT width = 0, height = 0;
    read = read && GdipGetImageWidth(bitmap, &width) == Ok && GdipGetImageHeight(bitmap, &height) == Ok;
    const GpRect all(0, 0, static_cast<INT>(width), static_cast<INT>(height));
    BitmapData data{};
    read = read && GdipBitmapLockBits(bitmap, &all, ImageLockModeRead, PixelFormat32bppRGB, &data) == Ok;
    if (read)
    {
        picture.width = static_cast<int>(width);
        picture.height = static_cast<int>(height);
        picture.pixels.clear();
        for (UINT y = 0; y < height; ++y)
        {
            const auto* row = reinterpret_cast<const uint32_t*>(static_cast<const uint8_t*>(data.Scan0) +
                                                                static_cast<ptrdiff_t>(y) * data.Stride);
            for (UINT x = 0; x < width; ++x)
                picture.pixels.push_back(row[x] & 0xFFFFFFu);
        }
        GdipBitmapUnlockBits(bitmap, &data);
    }
    if (bitmap) GdipDisposeImage(bitmap);
    GdiplusShutdown(token);
    return read;
}
} // namespace desktop
