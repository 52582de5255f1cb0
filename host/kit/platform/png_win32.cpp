#include "host/kit/platform/editorwindow.h"

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
// Streams, which GDI+ saves to and reads from, come with COM.
#include <objidl.h>
// GDI+ through its flat functions; the C++ wrappers of the header are not used.
#include <gdiplus.h>

#include <cstring>
#include <string>

namespace hostkit::platform
{
namespace
{
using namespace Gdiplus;
using namespace Gdiplus::DllExports;

// GDI+ for the length of one picture. Its starts are counted, so this one neither needs nor
// disturbs the module's own.
class GdiplusSession
{
public:
    GdiplusSession()
    {
        GdiplusStartupInput input;
        started = GdiplusStartup(&token, &input, nullptr) == Ok;
    }
    ~GdiplusSession()
    {
        if (started) GdiplusShutdown(token);
    }
    GdiplusSession(const GdiplusSession&) = delete;
    GdiplusSession& operator=(const GdiplusSession&) = delete;

    bool started = false;

private:
    ULONG_PTR token = 0;
};

bool pngEncoder(CLSID& encoder)
{
    UINT count = 0, size = 0;
    if (GdipGetImageEncodersSize(&count, &size) != Ok || size == 0) return false;
    std::vector<uint8_t> buffer(size);
    auto* codecs = reinterpret_cast<ImageCodecInfo*>(buffer.data());
    if (GdipGetImageEncoders(count, size, codecs) != Ok) return false;
    for (UINT i = 0; i < count; ++i)
        if (codecs[i].MimeType && std::wcscmp(codecs[i].MimeType, L"image/png") == 0)
        {
            encoder = codecs[i].Clsid;
            return true;
        }
    return false;
}

// The stream's bytes from its start to its end.
bool streamBytes(IStream* stream, std::vector<uint8_t>& bytes)
{
    STATSTG status{};
    HGLOBAL memory = nullptr;
    if (FAILED(stream->Stat(&status, STATFLAG_NONAME)) || FAILED(GetHGlobalFromStream(stream, &memory)))
        return false;
    const auto* data = static_cast<const uint8_t*>(GlobalLock(memory));
    if (!data) return false;
    bytes.assign(data, data + status.cbSize.QuadPart);
    GlobalUnlock(memory);
    return true;
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
    GdiplusSession session;
    CLSID encoder;
    if (!session.started || !pngEncoder(encoder))
    {
        error = "GDI+ has no PNG encoder here.";
        return false;
    }
    // 32 bits per pixel without alpha keeps each pixel as 0x00RRGGBB, the picture's own form.
    std::vector<uint32_t> pixels = picture.pixels;
    GpBitmap* bitmap = nullptr;
    IStream* stream = nullptr;
    bool written = GdipCreateBitmapFromScan0(
                       picture.width, picture.height, picture.width * static_cast<INT>(sizeof(uint32_t)),
                       PixelFormat32bppRGB, reinterpret_cast<BYTE*>(pixels.data()), &bitmap) == Ok &&
                   SUCCEEDED(CreateStreamOnHGlobal(nullptr, TRUE, &stream)) &&
                   GdipSaveImageToStream(bitmap, stream, &encoder, nullptr) == Ok && streamBytes(stream, png);
    if (stream) stream->Release();
    if (bitmap) GdipDisposeImage(bitmap);
    if (!written)
    {
        png.clear();
        error = "GDI+ could not write the PNG of " + std::to_string(picture.width) + " by " +
                std::to_string(picture.height) + " pixels.";
    }
    return written;
}
} // namespace hostkit::platform
