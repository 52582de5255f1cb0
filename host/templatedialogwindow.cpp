#include "host/templatedialogwindow.h"

#include "host/kit/hostcontext.h"
#include "host/kit/hosttext.h"
#include "host/kit/hostvalue.h"
#include "host/kit/platform/editorwindow.h"
#include "host/panel.h"
#include "host/panelcontrols.h"
#include "host/paneltemplate.h"
#include "module/effectinterfaces.h"
#include "toolkit/cframe.h"

#include <chrono>
#include <cstdio>
#include <memory>

namespace hostkit
{
using namespace Plexel;

namespace
{
using L = DialogLayout;

const CColor kFace{38, 47, 57, 255};
const CColor kWell{4, 8, 13, 255};
const CColor kInk{202, 210, 220, 255};
const CColor kChosen{247, 207, 84, 255};
const CColor kEdge{66, 79, 92, 255};

// A list of entries with a title row, a scroll bar and one chosen entry.
class ListBox : public CControl
{
public:
    ListBox(const CRect& size, const PanelNode& node, std::vector<std::string> entries, int32_t chosen)
        : CControl(size), entries(std::move(entries)),
          title(node.hasStyle("title") ? node.title : std::string()), border(node.hasStyle("border")),
          scrollBar(node.hasStyle("vscroll"))
    {
        setValue(float(chosen));
        // The chosen entry shows in the middle of the list, where the eye looks first.
        firstRow = std::clamp(chosen - visibleRows() / 2, 0, std::max(0, lastFirstRow()));
    }

    int32_t chosen() const { return static_cast<int32_t>(value()); }

    void draw(CDrawContext* context) override
    {
        context->setFillColor(kWell);
        context->drawRect(size, kDrawFilled);
        context->setFont(kFontSmall);
        if (!title.empty())
        {
            const CRect bar(size.left, size.top, size.right, size.top + L::kTitleHeight);
            context->setFillColor(kFace);
            context->drawRect(bar, kDrawFilled);
            context->setFontColor(kInk);
            context->drawString(title.c_str(), bar);
        }
        const CRect rows = rowArea();
        for (int32_t row = 0; row < visibleRows(); ++row)
        {
            const int32_t index = firstRow + row;
            if (index >= static_cast<int32_t>(entries.size())) break;
            const CRect line(rows.left, rows.top + row * L::kRowHeight, rows.right,
                             rows.top + (row + 1) * L::kRowHeight);
            if (index == chosen())
            {
                context->setFillColor({90, 70, 20, 255});
                context->drawRect(line, kDrawFilled);
            }
            context->setFontColor(index == chosen() ? kChosen : kInk);
            char number[16];
            std::snprintf(number, sizeof number, "%d", index);
            context->drawString(number, CRect(line.left + 2, line.top, line.left + 26, line.bottom), false,
                                kLeftText);
            context->drawString(entries[static_cast<size_t>(index)].c_str(),
                                CRect(line.left + 28, line.top, line.right - 2, line.bottom), false,
                                kLeftText);
        }
        if (scrollBar)
        {
            const CRect track = trackArea();
            context->setFillColor({17, 23, 30, 255});
            context->drawRect(track, kDrawFilled);
            context->setFillColor(kEdge);
            context->drawRect(thumbArea(), kDrawFilled);
        }
        if (border)
        {
            context->setFrameColor(kEdge);
            context->drawRect(size);
        }
        setDirty(false);
    }

    int32_t onMouseDown(CPoint& where, const int32_t& buttons) override
    {
        if (!(buttons & kButtonLeft)) return kMouseNotHandled;
        if (scrollBar && trackArea().pointInside(where))
        {
            const CRect thumb = thumbArea();
            dragOffset = thumb.pointInside(where) ? where.y - thumb.top : thumb.height() / 2;
            draggingThumb = true;
            onMouseMove(where, buttons);
            return kMouseHandled;
        }
        const CRect rows = rowArea();
        if (!rows.pointInside(where)) return kMouseHandledOnce;
        const int32_t index = firstRow + (where.y - rows.top) / L::kRowHeight;
        if (index >= 0 && index < static_cast<int32_t>(entries.size()) && index != chosen())
        {
            setValue(float(index));
            invalidate();
        }
        return kMouseHandledOnce;
    }
    int32_t onMouseMove(CPoint& where, const int32_t& buttons) override
    {
        if (!draggingThumb || !(buttons & kButtonLeft)) return kMouseNotHandled;
        const CRect track = trackArea();
        const int32_t travel = track.height() - thumbArea().height();
        if (travel > 0) scrollTo((where.y - dragOffset - track.top) * lastFirstRow() / travel);
        return kMouseHandled;
    }
    int32_t onMouseUp(CPoint&, const int32_t&) override
    {
        draggingThumb = false;
        return kMouseHandled;
    }
    bool onWheel(const CPoint&, float distance, const int32_t&) override
    {
        if (distance == 0.f) return false;
        scrollTo(firstRow + (distance > 0.f ? -L::kWheelRows : L::kWheelRows));
        return true;
    }
    CView* clone() const override { return nullptr; }

private:
    CRect rowArea() const
    {
        return CRect(size.left + 1, size.top + (title.empty() ? 1 : L::kTitleHeight),
                     size.right - (scrollBar ? L::kScrollWidth : 1), size.bottom - 1);
    }
    CRect trackArea() const
    {
        return CRect(size.right - L::kScrollWidth, size.top + (title.empty() ? 1 : L::kTitleHeight),
                     size.right - 1, size.bottom - 1);
    }
    CRect thumbArea() const
    {
        const CRect track = trackArea();
        const int32_t count = std::max<int32_t>(1, static_cast<int32_t>(entries.size()));
        const int32_t length = std::clamp(track.height() * visibleRows() / count, 12, track.height());
        const int32_t travel = track.height() - length;
        const int32_t top = lastFirstRow() > 0 ? track.top + travel * firstRow / lastFirstRow() : track.top;
        return CRect(track.left + 2, top, track.right - 2, top + length);
    }
    int32_t visibleRows() const { return std::max(1, rowArea().height() / L::kRowHeight); }
    int32_t lastFirstRow() const { return std::max(0, static_cast<int32_t>(entries.size()) - visibleRows()); }
    void scrollTo(int32_t row)
    {
        row = std::clamp(row, 0, lastFirstRow());
        if (row == firstRow) return;
        firstRow = row;
        invalidate();
    }

    std::vector<std::string> entries;
    std::string title;
    bool border;
    bool scrollBar;
    int32_t firstRow = 0;
    bool draggingThumb = false;
    int32_t dragOffset = 0;
};

// The OK and Cancel buttons report through this.
class Buttons : public CControlListener
{
public:
    void onValueChanged(CControl* control) override
    {
        if (control->value() > 0.5f) return; // the kick's 0 is its release
        answer = control->tag();
    }
    int32_t answer = -1; // 1 OK, 0 Cancel
};

HostValue* hostValueOf(HostContext* context, IHostValue* value)
{
    if (context)
        for (HostValue* made : context->values())
            if (static_cast<IHostValue*>(made) == value) return made;
    return nullptr;
}
} // namespace

bool presentTemplateDialog(const DialogRequest& request, HostContext* context, Panel* owner,
                           std::vector<std::string>& changed, const std::function<void()>& serveOthers)
{
    if (!request.shown || !request.controller) return false;
    std::vector<std::string> skipped;
    const PanelTemplate content = readPanelTemplate(*request.shown, skipped);

    // The lists and where they go; a dialog shows nothing else of a template.
    struct List
    {
        const PanelNode* node;
        IHostValue* value;
        ListBox* box = nullptr;
    };
    std::vector<List> lists;
    int32_t width = 0, height = 0;
    for (const PanelNode& node : content.children)
    {
        IHostValue* value = nullptr;
        if (node.kind != PanelNode::Kind::ListBox)
            skipped.push_back(quotedWord(node.name) + ": a dialog of this host shows list boxes only");
        else if (request.controller->findValue(node.name.c_str(), &value) != kResultOk || !value)
            skipped.push_back(quotedWord(node.name) + ", which names no parameter of the module");
        else if (node.left < 0 || node.top < 0 || node.width < 40 || node.height < 60 ||
                 node.left + node.width > 2000 || node.top + node.height > 1500)
            skipped.push_back(quotedWord(node.name) + ": its size is none a dialog can show");
        else
        {
            lists.push_back({&node, value});
            width = std::max(width, node.left + node.width);
            height = std::max(height, node.top + node.height);
        }
    }
    for (const std::string& part : skipped)
        std::fprintf(stderr, "tremolin-host: The dialog leaves out %s.\n", part.c_str());
    if (lists.empty()) return false;
    width = std::max(width, 2 * L::kButtonWidth + 3 * L::kButtonGap);
    height += L::kButtonBar;

    std::string error;
    platform::EditorWindow window({width, height, utf16ToUtf8(request.title), false, false}, error);
    if (!window.open() || !window.show(error))
    {
        std::fprintf(stderr, "tremolin-host: The dialog can't be shown: %s\n", error.c_str());
        return false;
    }
    auto* frame = new CFrame(CRect(0, 0, width, height), window.nativeHandle(), nullptr);
    frame->setBackgroundColor(kFace);
    for (List& list : lists)
    {
        const PanelNode& node = *list.node;
        std::vector<std::string> entries;
        if (HostValue* host = hostValueOf(context, list.value))
            for (const std::u16string& entry : host->entries())
                entries.push_back(utf16ToUtf8(entry));
        if (entries.empty())
            for (int32_t number = 0; number <= list.value->getMaxInt() && number < 1024; ++number)
                entries.push_back(std::to_string(number));
        list.box = new ListBox(CRect(node.left, node.top, node.left + node.width, node.top + node.height),
                               node, std::move(entries), list.value->getInt());
        frame->addView(list.box);
    }
    Buttons buttons;
    const int32_t top = height - L::kButtonBar + (L::kButtonBar - L::kButtonHeight) / 2;
    const int32_t cancelLeft = width - L::kButtonGap - L::kButtonWidth;
    const int32_t okLeft = cancelLeft - L::kButtonGap - L::kButtonWidth;
    frame->addView(new StripButton<CKickButton>(
        CRect(okLeft, top, okLeft + L::kButtonWidth, top + L::kButtonHeight), &buttons, 1, nullptr, "OK"));
    frame->addView(new StripButton<CKickButton>(
        CRect(cancelLeft, top, cancelLeft + L::kButtonWidth, top + L::kButtonHeight), &buttons, 0, nullptr,
        "Cancel"));
    frame->invalidate();

    if (owner) owner->holdInput(true);
    bool closed = false;
    while (buttons.answer < 0 && !closed)
    {
        processPlatformEvents(15);
        frame->idle();
        if (serveOthers) serveOthers();
        platform::WindowEvent event;
        while (window.nextEvent(event, 0))
            if (event.kind == platform::WindowEvent::Kind::Close ||
                (event.kind == platform::WindowEvent::Kind::Key &&
                 event.key == platform::WindowEvent::Key::Escape))
                closed = true;
    }
    const bool accepted = buttons.answer == 1;
    if (accepted)
        for (const List& list : lists)
        {
            list.value->setInt(list.box->chosen());
            changed.push_back(list.node->name);
        }
    frame->release();
    if (owner) owner->holdInput(false);
    return accepted;
}
} // namespace hostkit
