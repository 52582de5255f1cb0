#pragma once

// The host's own controls, built on the toolkit's, that its panels and dialogs share.

#include "toolkit/cbitmap.h"
#include "toolkit/cbuttons.h"
#include "toolkit/cdrawcontext.h"

#include <algorithm>
#include <string>

namespace hostkit
{
// Which of the three pictures of a button's strip: at rest, under the pointer, held down.
inline int32_t pictureOf(float value, bool hovered)
{
    return value > 0.5f ? 2 : hovered ? 1 : 0;
}

inline void drawStripPicture(Plexel::CDrawContext* context, Plexel::CBitmap* strip, const Plexel::CRect& size,
                             int32_t picture, const char* fallbackTitle)
{
    const int32_t height = size.height();
    if (strip && height > 0)
    {
        const int32_t pictures = std::max(1, strip->height() / height);
        strip->draw(context, size, Plexel::CPoint(0, std::min(picture, pictures - 1) * height));
        return;
    }
    // No bitmap: a plain key, so that the button can still be found and pressed.
    context->setFillColor(picture == 2 ? Plexel::CColor{20, 26, 33, 255} : Plexel::CColor{60, 72, 86, 255});
    context->drawRect(size, Plexel::kDrawFilled);
    context->setFrameColor({5, 8, 12, 255});
    context->drawRect(size);
    context->setFont(Plexel::kFontSmaller);
    context->setFontColor({202, 210, 220, 255});
    context->drawString(fallbackTitle, size);
}

// The template's buttons, with the three pictures of their strips.
template <class Button> class StripButton : public Button
{
public:
    StripButton(const Plexel::CRect& size, CControlListener* listener, int32_t tag, Plexel::CBitmap* strip,
                std::string title)
        : Button(size, listener, tag, size.height(), strip), title(std::move(title))
    {
    }
    void draw(Plexel::CDrawContext* context) override
    {
        drawStripPicture(context, this->background(), this->size, pictureOf(this->value(), hovered),
                         title.c_str());
        this->setDirty(false);
    }
    int32_t onMouseEnter(Plexel::CPoint&, const int32_t&) override
    {
        hovered = true;
        this->invalidate();
        return Plexel::kMouseHandled;
    }
    int32_t onMouseLeave(Plexel::CPoint&, const int32_t&) override
    {
        hovered = false;
        this->invalidate();
        return Plexel::kMouseHandled;
    }
    Plexel::CView* clone() const override { return nullptr; }

private:
    std::string title;
    bool hovered = false;
};

} // namespace hostkit
