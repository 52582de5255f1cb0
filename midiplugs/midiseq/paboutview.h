#pragma once

// The overlay over the note grid that shows a picture, half transparent, with the version line.
// It is always in the tree but paints nothing and takes no mouse until it is shown; a press on
// it closes it.

#include "toolkit/cview.h"

class PAboutView : public Plexel::CView
{
public:
    // Takes its own reference on `image`.
    PAboutView(const Plexel::CRect& rect, Plexel::CBitmap* image);
    ~PAboutView() override;

    void show();
    void hide();
    bool isShown() const { return shown; }

    void draw(Plexel::CDrawContext* context) override;
    int32_t onMouseDown(Plexel::CPoint& where, const int32_t& buttons) override;
    bool hitTest(const Plexel::CPoint& where, const int32_t buttons = -1) override;

private:
    Plexel::CBitmap* image;
    bool shown = false;
};
