#include "toolkit/cbitmap.h"

#include "toolkit/platform/draw.h"

namespace Plexel
{

//------------------------------------------------------------------------------------------------
// Drawing system

namespace
{
class DrawingSystem : public CBaseObject
{
public:
    DrawingSystem()
    {
        startNativeDrawing();
        ++starts;
    }
    ~DrawingSystem() override
    {
        // Platform fonts belong to the library and must go before it.
        freeStandardPlatformFonts();
        stopNativeDrawing();
    }
    static int32_t starts;
};
int32_t DrawingSystem::starts = 0;

DrawingSystem* drawingSystem = nullptr;
} // namespace

void acquireDrawingSystem()
{
    if (drawingSystem)
        drawingSystem->retain();
    else
        drawingSystem = new DrawingSystem;
}

void releaseDrawingSystem()
{
    if (!drawingSystem) return;
    if (drawingSystem->referenceCount() == 1)
    {
        DrawingSystem* last = drawingSystem;
        drawingSystem = nullptr;
        last->release();
    }
    else
        drawingSystem->release();
}

bool drawingSystemRunning()
{
    return drawingSystem != nullptr;
}

int32_t drawingSystemStarts()
{
    return DrawingSystem::starts;
}

//------------------------------------------------------------------------------------------------
// Resources

const char* const kResourceTypeData = "DATA";
const char* const kResourceTypeBitmap = "BITMAP";

namespace
{
ResourceFinder resourceFinder = nullptr;
}

void setResourceFinder(ResourceFinder finder)
{
    resourceFinder = finder;
}

bool findResource(const char* type, const CResourceDescription& description, const unsigned char** data,
                  uint32_t* size)
{
    if (!resourceFinder || !data || !size) return false;
    *data = nullptr;
    *size = 0;
    return resourceFinder(type, description, data, size) && *data && *size > 0;
}

//------------------------------------------------------------------------------------------------
// Bitmap

CBitmap::CBitmap(const CResourceDescription& description) : resourceDesc(description)
{
    acquireDrawingSystem();
    loadFromResource(description);
}

CBitmap::CBitmap(CFrame*, int32_t width, int32_t height) : resourceDesc(noResource())
{
    acquireDrawingSystem();
    image = createNativeImage(width, height);
    widthValue = nativeImageWidth(image);
    heightValue = nativeImageHeight(image);
}

CBitmap::CBitmap() : resourceDesc(noResource())
{
    acquireDrawingSystem();
}

CBitmap::~CBitmap()
{
    dispose();
    releaseDrawingSystem();
}

void CBitmap::draw(CDrawContext* context, const CRect& rect, const CPoint& offset)
{
    drawAlpha(context, rect, offset, 255);
}

void CBitmap::drawTransparent(CDrawContext* context, const CRect& rect, const CPoint& offset)
{
    drawAlpha(context, rect, offset, 255);
}

void CBitmap::drawAlpha(CDrawContext* context, const CRect& rect, const CPoint& offset, uint8_t alpha)
{
    if (!image || !context || !context->canDraw()) return;
    int32_t w = rect.width();
    int32_t h = rect.height();
    CRect src(offset.x, offset.y, offset.x + w, offset.y + h);
    CRect dst(rect.left + context->offset.x, rect.top + context->offset.y, 0, 0);
    dst.right = dst.left + w;
    dst.bottom = dst.top + h;
    context->graphics()->drawImage(image, src, dst, alpha);
}

void CBitmap::dispose()
{
    if (image)
    {
        destroyNativeImage(image);
        image = nullptr;
    }
    widthValue = 0;
    heightValue = 0;
}

bool CBitmap::loadFromResource(const CResourceDescription& description)
{
    dispose();
    const unsigned char* data = nullptr;
    uint32_t size = 0;
    // An image file with alpha first, then the plain bitmap that the module mostly carries.
    if (findResource(kResourceTypeData, description, &data, &size)) image = decodeNativeImage(data, size);
    if (!image && findResource(kResourceTypeBitmap, description, &data, &size))
        image = decodeNativeBitmap(data, size);
    if (!image) return false;
    widthValue = nativeImageWidth(image);
    heightValue = nativeImageHeight(image);
    return true;
}

bool CBitmap::loadFromPath(const char*)
{
    dispose();
    return false;
}

CColor CBitmap::pixel(int32_t x, int32_t y) const
{
    if (!image) return {0, 0, 0, 0};
    return nativeImagePixel(image, x, y);
}

bool CBitmap::writePng(const char* path) const
{
    return image && path && writeNativeImagePng(image, path);
}

//------------------------------------------------------------------------------------------------
// Offscreen context

COffscreenContext::COffscreenContext(CFrame* frame, int32_t width, int32_t height,
                                     const CColor& backgroundColor)
    : CDrawContext(frame, nullptr, nullptr), heightValue(height), widthValue(width),
      backgroundColorValue(backgroundColor)
{
    // A size below 1 goes into left or top, so that the clip is empty.
    CRect clip(width < 1 ? width : 0, height < 1 ? height : 0, width < 1 ? 0 : width,
               height < 1 ? 0 : height);
    setClipRect(clip);
    bitmapValue = new CBitmap(frame, width, height);
    adoptGraphics(createImageGraphics(bitmapValue->platformImage()));
}

COffscreenContext::COffscreenContext(CDrawContext* context, CBitmap* bitmap, bool drawInBitmap)
    : CDrawContext(context ? context->frame() : nullptr, nullptr, nullptr), backgroundBitmap(bitmap),
      heightValue(bitmap ? bitmap->height() : 20), widthValue(bitmap ? bitmap->width() : 20),
      drawInBitmap(drawInBitmap && bitmap)
{
    setClipRect(CRect(0, 0, widthValue, heightValue));
    if (this->drawInBitmap)
    {
        adoptGraphics(createImageGraphics(bitmap->platformImage()));
        return;
    }
    bitmapValue = new CBitmap(frame(), widthValue, heightValue);
    adoptGraphics(createImageGraphics(bitmapValue->platformImage()));
    if (bitmap)
        bitmap->draw(this, CRect(0, 0, widthValue, heightValue), CPoint());
    else
    {
        setFillColor(kColorBlack);
        drawRect(CRect(0, 0, widthValue, heightValue), kDrawFilled);
    }
}

COffscreenContext::~COffscreenContext()
{
    // The graphics draws into the bitmap's image, so it must go first.
    adoptGraphics(nullptr);
    if (bitmapValue) bitmapValue->release();
}

void COffscreenContext::copyTo(CDrawContext* destination, const CRect& rect, const CPoint& offset)
{
    if (bitmapValue) bitmapValue->draw(destination, rect, offset);
}

void COffscreenContext::copyFrom(CDrawContext*, const CRect&, const CPoint&) {}

} // namespace Plexel
