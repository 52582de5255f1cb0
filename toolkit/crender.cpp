#include "toolkit/crender.h"

namespace Plexel
{

CBitmap* renderToBitmap(CView* view)
{
    if (!view) return nullptr;
    const CRect r = view->viewSize();
    auto* context = new COffscreenContext(view->frame(), r.width(), r.height(), kColorBlack);
    // The view draws in its parent's coordinates; move its top left to the surface's origin.
    context->offset = {-r.left, -r.top};
    context->setClipRect(r);
    view->drawInRect(context, r);
    CBitmap* result = context->bitmap();
    result->retain();
    context->release();
    return result;
}

bool renderToPng(CView* view, const char* path)
{
    CBitmap* bitmap = renderToBitmap(view);
    if (!bitmap) return false;
    bool written = bitmap->writePng(path);
    bitmap->release();
    return written;
}

} // namespace Plexel
