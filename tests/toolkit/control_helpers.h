#pragma once

// A listener and an editor that log what controls tell them, and image strips made in the test,
// shared by the tests of the controls.

#include "toolkit/ccontrol.h"
#include "toolkit_helpers.h"

#include <cstdio>
#include <initializer_list>
#include <string>
#include <vector>

namespace toolkit_test
{

using Log = std::vector<std::string>;

class LoggingListener : public CControlListener
{
public:
    explicit LoggingListener(Log* log) : log(log) {}
    void onValueChanged(CControl* control) override
    {
        char text[32];
        std::snprintf(text, sizeof text, "value %.3f", double(control->value()));
        log->push_back(text);
    }
    int32_t onModifierClick(CControl*, int32_t buttons) override
    {
        log->push_back("modifier " + std::to_string(buttons));
        return takesModifierClicks;
    }
    void onBeginEdit(CControl*) override { log->push_back("begin"); }
    void onEndEdit(CControl*) override { log->push_back("end"); }

    Log* log;
    int32_t takesModifierClicks = 0;
};

// Stands for the host's editor: the knob mode, the idle calls and the edit brackets by tag.
class LoggingEditor : public PlexelEditorInterface
{
public:
    explicit LoggingEditor(Log* log) : log(log) {}
    void doIdle() override { log->push_back("idle"); }
    int32_t knobMode() override { return mode; }
    void beginEdit(int32_t tag) override { log->push_back("host begin " + std::to_string(tag)); }
    void endEdit(int32_t tag) override { log->push_back("host end " + std::to_string(tag)); }

    Log* log;
    int32_t mode = kCircularMode;
};

// A frame without a window whose editor and listener share one log.
struct ControlBench
{
    explicit ControlBench(CRect r = CRect(0, 0, 200, 200)) : editor(&log), listener(&log)
    {
        frame = new CFrame(r, nullptr, &editor);
    }
    ~ControlBench() { delete frame; }
    int32_t press(int32_t x, int32_t y, int32_t buttons = kButtonLeft)
    {
        CPoint p(x, y);
        return frame->onMouseDown(p, buttons);
    }
    int32_t move(int32_t x, int32_t y, int32_t buttons = kButtonLeft)
    {
        CPoint p(x, y);
        return frame->onMouseMove(p, buttons);
    }
    int32_t release(int32_t x, int32_t y, int32_t buttons = kButtonLeft)
    {
        CPoint p(x, y);
        return frame->onMouseUp(p, buttons);
    }
    // The log since the last call, and a fresh start.
    Log take()
    {
        Log out;
        out.swap(log);
        return out;
    }

    Log log;
    LoggingEditor editor;
    LoggingListener listener;
    CFrame* frame;
};

// Images of width by imageHeight, one above the other, each filled with its colour.
inline CBitmap* makeStrip(int32_t width, int32_t imageHeight, std::initializer_list<CColor> colours)
{
    auto* bitmap = new CBitmap(nullptr, width, imageHeight * int32_t(colours.size()));
    auto* painter = new COffscreenContext(nullptr, bitmap, true);
    int32_t top = 0;
    for (CColor c : colours)
    {
        painter->setFillColor(c);
        painter->drawRect(CRect(0, top, width, top + imageHeight), kDrawFilled);
        top += imageHeight;
    }
    painter->release();
    return bitmap;
}

// The view drawn offscreen, its top left at (0, 0), probed view-relative.
struct Shot
{
    explicit Shot(CView* view) : bitmap(renderToBitmap(view)) {}
    ~Shot() { bitmap->release(); }
    Shot(const Shot&) = delete;
    Shot& operator=(const Shot&) = delete;
    CColor at(int32_t x, int32_t y) const { return bitmap->pixel(x, y); }
    CBitmap* bitmap;
};

} // namespace toolkit_test
