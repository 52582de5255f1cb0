#pragma once

// Images that views draw, drawing surfaces over an image, the module's resources as the toolkit
// reads them, and the reference count that keeps the platform's drawing library running.

#include "toolkit/cdrawcontext.h"

#include <cstdint>

namespace Plexel
{

struct NativeImage;

//------------------------------------------------------------------------------------------------
// The drawing library runs from the first acquire to the last release, and can come up again
// later: the host opens and closes editors. Every frame and every bitmap holds a reference.
void acquireDrawingSystem();
void releaseDrawingSystem();
bool drawingSystemRunning();
// How often the drawing library has been started in this process.
int32_t drawingSystemStarts();

//------------------------------------------------------------------------------------------------
// Where an image comes from: a resource number, or a name.
struct CResourceDescription
{
    int32_t kind = 0; // 0: a number; 2 with number 0: no resource; otherwise a name
    union
    {
        int32_t number;
        const char* name;
    } id{0};

    CResourceDescription() = default;
    CResourceDescription(int32_t resourceNumber) : kind(0) { id.number = resourceNumber; }
    CResourceDescription(const char* resourceName) : kind(1) { id.name = resourceName; }
    bool isNumber() const { return kind == 0; }
};

inline CResourceDescription noResource()
{
    CResourceDescription d;
    d.kind = 2;
    d.id.number = 0;
    return d;
}

// The two kinds of resource that hold images: a generic one read as an image file (with alpha),
// and a plain bitmap.
extern const char* const kResourceTypeData;
extern const char* const kResourceTypeBitmap;

// Finds a resource of the module: true with its bytes, which stay valid for the life of the
// process. The module registers the finder over its embedded table.
using ResourceFinder = bool (*)(const char* type, const CResourceDescription& description,
                                const unsigned char** data, uint32_t* size);
void setResourceFinder(ResourceFinder finder);
bool findResource(const char* type, const CResourceDescription& description, const unsigned char** data,
                  uint32_t* size);

//------------------------------------------------------------------------------------------------
class CBitmap : public CBaseObject
{
public:
    // Loads from the module's resources: the way the program gets all its images.
    explicit CBitmap(const CResourceDescription& description);
    // A blank image, all pixels transparent black. The frame plays no part.
    CBitmap(CFrame* frame, int32_t width, int32_t height);
    CBitmap();
    ~CBitmap() override;
    CBitmap(const CBitmap&) = delete;
    CBitmap& operator=(const CBitmap&) = delete;

    virtual void draw(CDrawContext* context, const CRect& rect, const CPoint& offset = CPoint());
    // The image's own alpha says what shows: the same as draw.
    virtual void drawTransparent(CDrawContext* context, const CRect& rect, const CPoint& offset = CPoint());
    // Rect is in the context's coordinates, offset a position in the image. No scaling: what
    // rect holds beyond the image is left as it was.
    virtual void drawAlpha(CDrawContext* context, const CRect& rect, const CPoint& offset, uint8_t alpha);
    virtual void dispose();
    virtual bool loadFromResource(const CResourceDescription& description);
    // Files are not loaded.
    virtual bool loadFromPath(const char* path);

    int32_t width() const { return widthValue; }
    int32_t height() const { return heightValue; }
    const CResourceDescription& resourceDescription() const { return resourceDesc; }
    void setTransparentColor(const CColor& color) { transparentColorValue = color; }
    CColor transparentColor() const { return transparentColorValue; }

    NativeImage* platformImage() const { return image; }
    // The straight colour of one pixel; transparent black outside the image.
    CColor pixel(int32_t x, int32_t y) const;
    bool writePng(const char* path) const;

private:
    CResourceDescription resourceDesc;
    int32_t widthValue = 0;
    int32_t heightValue = 0;
    CColor transparentColorValue = kColorTransparent;
    NativeImage* image = nullptr;
};

//------------------------------------------------------------------------------------------------
// A context that draws into a bitmap of its own, used as a back buffer and to render offscreen.
class COffscreenContext : public CDrawContext
{
public:
    // The surface starts fully transparent; the background colour is kept, not painted.
    COffscreenContext(CFrame* frame, int32_t width, int32_t height,
                      const CColor& backgroundColor = kColorBlack);
    // Over a given bitmap: straight into it with drawInBitmap, else into a copy of it (or into
    // a black surface of 20 by 20 without a bitmap).
    COffscreenContext(CDrawContext* context, CBitmap* bitmap, bool drawInBitmap);
    ~COffscreenContext() override;

    // Puts the surface onto destination: offset is the position in the surface that lands on
    // rect's top left, rect is in the destination's coordinates.
    void copyTo(CDrawContext* destination, const CRect& rect, const CPoint& offset = CPoint());
    void copyFrom(CDrawContext* source, const CRect& rect, const CPoint& offset = CPoint());

    int32_t width() const { return widthValue; }
    int32_t height() const { return heightValue; }
    // The surface: null while drawing straight into a given bitmap.
    CBitmap* bitmap() const { return bitmapValue; }
    CColor backgroundColor() const { return backgroundColorValue; }

private:
    CBitmap* bitmapValue = nullptr;
    CBitmap* backgroundBitmap = nullptr;
    int32_t heightValue = 0;
    int32_t widthValue = 0;
    bool drawInBitmap = false;
    CColor backgroundColorValue = kColorBlack;
};

} // namespace Plexel
