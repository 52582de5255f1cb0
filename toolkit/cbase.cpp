#include "toolkit/cbase.h"

namespace Plexel
{

const char* const kMsgCheckIfViewContainer = "kMsgCheckIfViewContainer";
const char* const kMsgNewFocusView = "kMsgNewFocusView";
const char* const kMsgOldFocusView = "kMsgOldFocusView";
const char* const kMsgLooseFocus = "LooseFocus";

namespace
{
PlatformHandle moduleHandle = nullptr;
}

void setModuleHandle(PlatformHandle module)
{
    moduleHandle = module;
}

PlatformHandle getModuleHandle()
{
    return moduleHandle;
}

int32_t CBaseObject::handleMessage(CBaseObject*, const char*)
{
    return kMessageIgnored;
}

CRect& CRect::offset(int32_t dx, int32_t dy)
{
    left += dx;
    right += dx;
    top += dy;
    bottom += dy;
    return *this;
}

bool CRect::pointInside(const CPoint& p) const
{
    return p.x >= left && p.x < right && p.y >= top && p.y < bottom;
}

bool CRect::isEmpty() const
{
    return right <= left || bottom <= top;
}

CRect& CRect::bound(const CRect& r)
{
    if (left < r.left) left = r.left;
    if (top < r.top) top = r.top;
    if (right > r.right) right = r.right;
    if (bottom > r.bottom) bottom = r.bottom;
    if (bottom < top) bottom = top;
    if (right < left) right = left;
    return *this;
}

CRect& CRect::unite(const CRect& r)
{
    if (r.left < left) left = r.left;
    if (r.top < top) top = r.top;
    if (r.right > right) right = r.right;
    if (r.bottom > bottom) bottom = r.bottom;
    return *this;
}

} // namespace Plexel
