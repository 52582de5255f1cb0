#include "midiplugs/midiseq/paboutview.h"

#include "toolkit/cbitmap.h"
#include "toolkit/cdrawcontext.h"

#include <cstdio>

using namespace Plexel;

namespace
{
constexpr uint8_t kPictureAlpha = 150;
constexpr const char* kVersion = "1.2.1.42";
} // namespace

PAboutView::PAboutView(const CRect& rect, CBitmap* picture) : CView(rect), image(picture)
{
    if (image) image->retain();
    setMouseArea(CRect());
}

PAboutView::~PAboutView()
{
    if (image) image->release();
}

void PAboutView::show()
{
    shown = true;
    setMouseArea(size);
    invalidate();
}

void PAboutView::hide()
{
    shown = false;
    setMouseArea(CRect());
    invalidate();
}

void PAboutView::draw(CDrawContext* context)
{
    if (!shown) return;
    // The picture is read from where the overlay lies in the frame, so a picture of the frame's
    // size lines up with what is behind it.
    if (image) image->drawAlpha(context, size, CPoint(size.left, size.top), kPictureAlpha);
    context->setFont(kFontSmall, 0, -1);
    context->setFontColor(kColorBlack);
    char text[64];
    std::snprintf(text, sizeof text, "Version: %s", kVersion);
    // Centred on the overlay's size but from the frame's corner: the line sits a little up and to
    // the left of the overlay's middle.
    context->drawString(text, CRect(0, 0, size.width(), size.height()), false, kCenterText);
    setDirty(false);
}

bool PAboutView::hitTest(const CPoint& where, const int32_t)
{
    if (!shown) return false;
    const CRect& area = mouseArea();
    return where.x >= area.left && where.x <= area.right && where.y >= area.top && where.y <= area.bottom;
}

int32_t PAboutView::onMouseDown(CPoint&, const int32_t&)
{
    if (shown) hide();
    return kMouseHandledOnce;
}
