#pragma once

// A row of equal-width vertical bars whose heights the user draws with the mouse. The view knows
// nothing of what the bars stand for: a data source counts them, paints each and takes each
// value.

#include "toolkit/cview.h"

#include <cstdint>

namespace Plexel
{

enum : uint32_t
{
    kBarsDrawGrid = 1, // separators under the bars
};

// The data source of a bars view. The source outlives the view; barsId is the number the source
// gave the view.
class IBarsDef
{
public:
    virtual int32_t getBarCount(int32_t barsId);
    // The rectangle is in the coordinates of context.
    virtual void drawBar(int32_t barsId, int32_t index, CDrawContext* context, const CRect& rect) = 0;
    // value runs from 0.0 at the bottom to 1.0 at the top; flags are the mouse word's buttons and
    // modifiers. True if this bar must be repainted.
    virtual bool onBarEvent(int32_t barsId, int32_t index, float value, uint32_t flags);

protected:
    // A view never owns its source.
    ~IBarsDef() = default;
};

// What the width leaves over after the division by the bar count is a strip at the right that
// belongs to no bar. The view paints no background: what lies behind the bars is its parent's.
class CBarsView : public CView
{
public:
    CBarsView(const CRect& rect, IBarsDef* source, uint32_t flags, int32_t barsId);
    ~CBarsView() override;
    CBarsView(const CBarsView&) = delete;
    CBarsView& operator=(const CBarsView&) = delete;

    int32_t barWidth();
    // In the parent's coordinates.
    CRect barRect(int32_t index);

    void draw(CDrawContext* context) override;
    int32_t onMouseDown(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseUp(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseMove(CPoint& where, const int32_t& buttons) override;

protected:
    IBarsDef* source;
    uint32_t flags;
    int32_t barsId;

public:
    CColor gridColor = kColorWhite;

protected:
    // What this gesture sent last, so that a pointer that stays on one value sends it once.
    int32_t lastBar = -1;
    float lastValue = -1.0f;
};

} // namespace Plexel
