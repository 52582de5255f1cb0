#pragma once

// Views that paint a known colour or record what reaches them, shared by the toolkit's tests.

#include "toolkit/cbitmap.h"
#include "toolkit/cframe.h"
#include "toolkit/crender.h"

#include <string>
#include <vector>

namespace toolkit_test
{
using namespace Plexel;

// Fills its rectangle, grown by spill on every side, so that a missing clip shows.
class PaintView : public CView
{
public:
    PaintView(const CRect& r, CColor c, int32_t spill = 0) : CView(r), colour(c), spill(spill) {}
    void draw(CDrawContext* context) override
    {
        ++draws;
        CRect r = size;
        r.left -= spill;
        r.top -= spill;
        r.right += spill;
        r.bottom += spill;
        context->setFillColor(colour);
        context->drawRect(r, kDrawFilled);
        setDirty(false);
    }
    CColor colour;
    int32_t spill;
    int draws = 0;
};

// Records every event that reaches it as a line of text, with the point and the buttons.
class RecordingView : public CView
{
public:
    explicit RecordingView(const CRect& r, std::vector<std::string>* log = nullptr, std::string name = "v")
        : CView(r), log(log ? log : &ownLog), name(std::move(name))
    {
    }
    void note(const char* what, CPoint p, int32_t buttons)
    {
        log->push_back(name + " " + what + " " + std::to_string(p.x) + "," + std::to_string(p.y) + " " +
                       std::to_string(buttons));
    }
    int32_t onMouseDown(CPoint& where, const int32_t& buttons) override
    {
        note("down", where, buttons);
        return downResult;
    }
    int32_t onMouseUp(CPoint& where, const int32_t& buttons) override
    {
        note("up", where, buttons);
        return kMouseNotHandled;
    }
    int32_t onMouseMove(CPoint& where, const int32_t& buttons) override
    {
        note("move", where, buttons);
        return moveResult;
    }
    int32_t onMouseEnter(CPoint& where, const int32_t& buttons) override
    {
        note("enter", where, buttons);
        return 1;
    }
    int32_t onMouseLeave(CPoint& where, const int32_t& buttons) override
    {
        note("leave", where, buttons);
        return 1;
    }
    bool onWheel(const CPoint& where, float distance, const int32_t& buttons) override
    {
        note(("wheel" + std::to_string(int(distance))).c_str(), where, buttons);
        return true;
    }
    void onDragEnter(CDragContainer*, const CPoint& where) override { note("dragenter", where, 0); }
    void onDragLeave(CDragContainer*, const CPoint& where) override { note("dragleave", where, 0); }
    void onDragMove(CDragContainer*, const CPoint& where) override { note("dragmove", where, 0); }
    bool onDrop(CDragContainer*, const CPoint& where) override
    {
        note("drop", where, 0);
        return true;
    }
    int32_t onKeyDown(KeyCode& key) override
    {
        note("key", {key.character, 0}, 0);
        return keyResult;
    }
    void onFocusLost() override { note("focuslost", {}, 0); }

    std::vector<std::string> ownLog;
    std::vector<std::string>* log;
    std::string name;
    int32_t downResult = kMouseHandled;
    int32_t moveResult = kMouseHandled;
    int32_t keyResult = -1;
};

// A recording view that paints its rectangle in one colour and counts its paints, so that a test
// can tell from the screen which views drew.
class PaintingRecorder : public RecordingView
{
public:
    PaintingRecorder(const CRect& r, std::vector<std::string>* log, CColor c)
        : RecordingView(r, log), colour(c)
    {
    }
    void draw(CDrawContext* context) override
    {
        ++draws;
        context->setFillColor(colour);
        context->drawRect(size, kDrawFilled);
        setDirty(false);
    }
    CColor colour;
    int draws = 0;
};

// A frame without a window that keeps the rectangles that reach the end of invalidation.
class RecordingFrame : public CFrame
{
public:
    explicit RecordingFrame(const CRect& r) : CFrame(r, nullptr, nullptr) {}
    void invalidateRect(const CRect& rect) override
    {
        invalidated.push_back(rect);
        CFrame::invalidateRect(rect);
    }
    std::vector<CRect> invalidated;
};

inline bool sameColour(CColor a, CColor b, int tolerance = 0)
{
    auto within = [tolerance](int x, int y) { return x - y <= tolerance && y - x <= tolerance; };
    return within(a.red, b.red) && within(a.green, b.green) && within(a.blue, b.blue) &&
           within(a.alpha, b.alpha);
}

} // namespace toolkit_test
