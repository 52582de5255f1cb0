#include "host/panel.h"

#include "host/kit/hostcontext.h"
#include "host/kit/hosttext.h"
#include "host/kit/hostvalue.h"
#include "host/panelcontrols.h"
#include "module/effectinterfaces.h"
#include "toolkit/cbitmap.h"
#include "toolkit/cbuttons.h"
#include "toolkit/cdrawcontext.h"
#include "toolkit/cframe.h"
#include "toolkit/coptionmenu.h"
#include "toolkit/cparamdisplay.h"
#include "toolkit/cslider.h"
#include "toolkit/ctextedit.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <mutex>

namespace hostkit
{
using namespace Plexel;
using Clock = std::chrono::steady_clock;

namespace
{
// A button that repeats waits this long before its first repeat, then repeats at this pace.
constexpr auto kRepeatDelay = std::chrono::milliseconds(400);
constexpr auto kRepeatPeriod = std::chrono::milliseconds(120);
// Pixels of a vertical drag per step of a number field.
constexpr int32_t kDragPixelsPerStep = 4;

std::mutex resourceMutex;
std::map<int32_t, std::vector<uint8_t>>& panelResources()
{
    static std::map<int32_t, std::vector<uint8_t>> resources;
    return resources;
}

bool findPanelResource(const char* type, const CResourceDescription& description, const unsigned char** data,
                       uint32_t* size)
{
    if (description.kind != 0 || std::string(type) != kResourceTypeData) return false;
    std::lock_guard<std::mutex> guard(resourceMutex);
    const auto found = panelResources().find(description.id.number);
    if (found == panelResources().end() || found->second.empty()) return false;
    *data = found->second.data();
    *size = static_cast<uint32_t>(found->second.size());
    return true;
}

// The template names its fonts and colours by words a host knows; these are ours.
CColor colourNamed(const std::string& name)
{
    if (name == "datafieldless") return {247, 207, 84, 255}; // the amber of a lit display
    return {202, 210, 220, 255};                             // the panel's ink
}

CFontDesc* fontNamed(const std::string& name)
{
    return name == "data" ? kFontSmall : kFontNormal;
}

// A value field: the wheel and a vertical drag step the number, a click without a drag opens
// the entry field for typing one.
class ValueBox : public CTextEdit
{
public:
    ValueBox(const CRect& size, CControlListener* listener, int32_t tag)
        : CTextEdit(size, listener, tag, "", nullptr, kStyleNoFrame)
    {
    }

    bool typedChange() const { return typing; }

    int32_t onMouseDown(CPoint& where, const int32_t& buttons) override
    {
        if (!(buttons & kButtonLeft) || isEditing()) return kMouseNotHandled;
        startY = where.y;
        startValue = value();
        dragged = false;
        return kMouseHandled;
    }
    int32_t onMouseMove(CPoint& where, const int32_t& buttons) override
    {
        if (!(buttons & kButtonLeft)) return kMouseNotHandled;
        const int32_t steps = (startY - where.y) / kDragPixelsPerStep;
        if (steps != 0) dragged = true;
        if (dragged) step(startValue + float(steps) - value());
        return kMouseHandled;
    }
    int32_t onMouseUp(CPoint& where, const int32_t&) override
    {
        if (!dragged)
        {
            const int32_t left = kButtonLeft;
            CTextEdit::onMouseDown(where, left);
        }
        return kMouseHandled;
    }
    bool onWheel(const CPoint&, float distance, const int32_t&) override
    {
        if (distance == 0.f) return false;
        step(distance > 0.f ? 1.f : -1.f);
        return true;
    }
    void onFocusLost() override
    {
        typing = true;
        CTextEdit::onFocusLost();
        typing = false;
    }
    CView* clone() const override { return nullptr; }

private:
    void step(float by)
    {
        if (by == 0.f) return;
        setValue(value() + by);
        if (listenerValue) listenerValue->onValueChanged(this);
    }

    int32_t startY = 0;
    float startValue = 0.f;
    bool dragged = false;
    bool typing = false;
};

// The slider's background strip holds two pictures: the empty track, and the lit one that a
// "split" slider shows up to its handle.
class PanelSlider : public CHorizontalSlider
{
public:
    PanelSlider(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* handle, CBitmap* back,
                bool split)
        : CHorizontalSlider(size, listener, tag,
                            CPoint(0, handle ? (size.height() - handle->height()) / 2 : 0), size.width(),
                            handle, back, CPoint(), kSliderHorizontal | kSliderOriginStart),
          split(split)
    {
    }

    void draw(CDrawContext* context) override
    {
        CBitmap* back = background();
        const CRect knob = handleRect();
        if (back)
        {
            back->draw(context, size, CPoint());
            if (split && back->height() >= 2 * size.height())
            {
                CRect lit = size;
                lit.right = std::min(size.right, (knob.left + knob.right) / 2);
                back->draw(context, lit, CPoint(0, size.height()));
            }
        }
        else
        {
            context->setFillColor({3, 5, 8, 255});
            context->drawRect(CRect(size.left, size.top + size.height() / 2 - 2, size.right,
                                    size.top + size.height() / 2 + 2),
                              kDrawFilled);
        }
        if (handle)
            handle->drawTransparent(context, knob, CPoint());
        else
        {
            context->setFillColor({202, 210, 220, 255});
            context->drawRect(CRect(knob.left, size.top, knob.left + 6, size.bottom), kDrawFilled);
        }
        setDirty(false);
    }
    CView* clone() const override { return nullptr; }

private:
    bool split;
};

// A group takes the pointer only where its children are: the template lays groups over each other
// (the preset section's row spans the length, quantize and swing controls).
void fitMouseArea(CViewContainer* group)
{
    const CRect at = group->viewSize();
    CRect area(-2, -2, -3, -3); // holds no point
    bool any = false;
    for (int32_t i = 0; i < group->childCount(); ++i)
    {
        CRect child = group->childAt(i)->viewSize();
        child.offset(at.left, at.top);
        if (!any)
            area = child;
        else
            area = CRect(std::min(area.left, child.left), std::min(area.top, child.top),
                         std::max(area.right, child.right), std::max(area.bottom, child.bottom));
        any = true;
    }
    group->setMouseArea(area);
}

// A group that lays its children out by its style: "hcenter" keeps each centred across it.
class AlignGroup : public CViewContainer
{
public:
    AlignGroup(const CRect& size, CFrame* frame, bool centre) : CViewContainer(size, frame), centre(centre)
    {
        setTransparent(true);
    }
    void setViewSize(const CRect& rect, bool invalidate = true) override
    {
        CViewContainer::setViewSize(rect, invalidate);
        layOut(rect, invalidate);
    }
    void layOut(const CRect& rect, bool invalidate = false)
    {
        if (!centre) return;
        for (int32_t i = 0; i < childCount(); ++i)
        {
            CView* child = childAt(i);
            CRect r = child->viewSize();
            const int32_t width = r.width();
            r.left = (rect.width() - width) / 2;
            r.right = r.left + width;
            child->setViewSize(r, invalidate);
            child->setMouseArea(r);
        }
        fitMouseArea(this);
    }
    CView* clone() const override { return nullptr; }

private:
    bool centre;
};

// Lies under everything and counts the frame's paints of the panel, for whoever waits for them.
class PaintWitness : public CView
{
public:
    PaintWitness(const CRect& size, int32_t& count) : CView(size), count(count)
    {
        setTransparent(true);
        setMouseEnabled(false);
        setMouseArea(CRect(-2, -2, -3, -3));
    }
    void draw(CDrawContext*) override
    {
        ++count;
        setDirty(false);
    }
    CView* clone() const override { return nullptr; }

private:
    int32_t& count;
};

int32_t autosizeOf(const PanelNode& node)
{
    if (node.attaches("all")) return kAutosizeLeft | kAutosizeTop | kAutosizeRight | kAutosizeBottom;
    int32_t flags = 0;
    if (node.attaches("left")) flags |= kAutosizeLeft;
    if (node.attaches("top")) flags |= kAutosizeTop;
    if (node.attaches("right")) flags |= kAutosizeRight;
    if (node.attaches("bottom")) flags |= kAutosizeBottom;
    return flags;
}

std::string displayTextOf(IHostValue* value)
{
    char16_t text[IHostValue::kDisplayTextSize] = {};
    value->getDisplayText(text);
    text[IHostValue::kDisplayTextSize - 1] = 0;
    return utf16ToUtf8(text);
}
} // namespace

void addPanelResource(int32_t number, std::vector<uint8_t> bytes)
{
    std::lock_guard<std::mutex> guard(resourceMutex);
    panelResources()[number] = std::move(bytes);
    setResourceFinder(findPanelResource);
}

namespace
{
// The bitmap of a name, fetched from the module the first time; null (and said) when it can't
// be had.
CBitmap* bitmapNamed(const TemplateSet& set, IUIFactory2* resources, const std::string& name,
                     std::vector<std::pair<std::string, void*>>& cache, std::vector<std::string>& skipped)
{
    if (name.empty()) return nullptr;
    for (const auto& [known, bitmap] : cache)
        if (known == name) return static_cast<CBitmap*>(bitmap);
    CBitmap* bitmap = nullptr;
    const auto listed = set.bitmaps.find(name);
    const std::optional<int64_t> number =
        listed == set.bitmaps.end() ? std::nullopt : parseInteger(listed->second);
    if (listed == set.bitmaps.end())
        skipped.push_back("the bitmap " + quotedWord(name) + ", which the template does not list");
    else if (!number || *number < 0 || *number > INT32_MAX)
        skipped.push_back("the bitmap " + quotedWord(name) + ": its path " + quotedWord(listed->second) +
                          " is no resource number");
    else
    {
        int32_t size = 0;
        std::vector<uint8_t> bytes;
        if (resources && resources->getResource(listed->second.c_str(), nullptr, &size) == kResultOk &&
            size > 0 && size <= 64 * 1024 * 1024)
        {
            bytes.resize(static_cast<size_t>(size));
            if (resources->getResource(listed->second.c_str(), bytes.data(), &size) != kResultOk ||
                size != static_cast<int32_t>(bytes.size()))
                bytes.clear();
        }
        if (bytes.empty())
            skipped.push_back("the bitmap " + quotedWord(name) + ": the module has no resource " +
                              quotedWord(listed->second));
        else
        {
            addPanelResource(static_cast<int32_t>(*number), std::move(bytes));
            bitmap = new CBitmap(CResourceDescription(static_cast<int32_t>(*number)));
            if (bitmap->width() <= 0)
            {
                skipped.push_back("the bitmap " + quotedWord(name) + ": resource " +
                                  quotedWord(listed->second) + " is no picture the host reads");
                bitmap->release();
                bitmap = nullptr;
            }
        }
    }
    cache.emplace_back(name, bitmap);
    return bitmap;
}
} // namespace

// A control's tip shows below it once the pointer has rested on it a moment, and goes when the
// pointer leaves or presses.
class Panel::Tips : public MouseObserver
{
public:
    void onViewEntered(CView* view, CFrame*) override
    {
        hide();
        const auto found =
            std::find_if(texts.begin(), texts.end(), [&](const auto& tip) { return tip.first == view; });
        over = found == texts.end() ? nullptr : view;
        since = Clock::now();
    }
    void onViewExited(CView*, CFrame*) override
    {
        hide();
        over = nullptr;
    }
    void onFrameMouseMoved(CFrame*, const CPoint&) override {}
    void onFrameMouseDown(CFrame*, const CPoint&) override
    {
        hide();
        over = nullptr;
    }

    void add(CView* view, const std::string& text)
    {
        if (!text.empty()) texts.emplace_back(view, text);
    }
    // Called at each idle: shows the tip of the control rested on.
    void serve(CFrame* frame)
    {
        if (!over || shown || Clock::now() - since < std::chrono::milliseconds(600)) return;
        const auto found =
            std::find_if(texts.begin(), texts.end(), [&](const auto& tip) { return tip.first == over; });
        if (found == texts.end()) return;
        CPoint corner(0, over->viewSize().height() + 4);
        over->localToFrame(corner);
        CRect place(0, 0, 0, 16);
        if (CDrawContext* context = frame->createDrawContext())
        {
            context->setFont(kFontSmaller);
            place.right = context->stringWidth(found->second.c_str()) + 10;
            context->release();
        }
        const CRect panel = frame->viewSize();
        place.offset(
            std::clamp(corner.x + over->viewSize().left, 0, std::max(0, panel.width() - place.width())),
            std::clamp(corner.y + over->viewSize().top, 0, std::max(0, panel.height() - place.height())));
        auto* label = new CTextLabel(place, found->second.c_str(), nullptr, 0);
        label->setFont(kFontSmaller);
        label->setFontColor({20, 24, 30, 255});
        label->setBackColor({236, 226, 190, 255});
        label->setFrameColor({60, 60, 60, 255});
        label->setMouseEnabled(false);
        label->setMouseArea(CRect(-2, -2, -3, -3));
        frame->addView(label);
        label->invalidate();
        shown = label;
        host = frame;
    }
    void hide()
    {
        if (!shown) return;
        CView* going = shown;
        shown = nullptr;
        going->invalidate();
        host->removeView(going);
    }

private:
    std::vector<std::pair<CView*, std::string>> texts;
    CView* over = nullptr;
    CView* shown = nullptr;
    CFrame* host = nullptr;
    Clock::time_point since;
};

struct Panel::Binding
{
    PanelNode::Kind kind;
    std::string parameter;
    bool repeat = false;
    IHostValue* value = nullptr;
    int32_t minimum = 0;
    CControl* control = nullptr; // owned by the tree
    int32_t shown = INT32_MIN;
    std::string shownText;
    std::vector<std::u16string> shownEntries;
    bool held = false;
    bool pressPending = false;
    Clock::time_point nextRepeat;
};

class Panel::Listener : public CControlListener
{
public:
    explicit Listener(Panel& panel) : panel(panel) {}
    void onValueChanged(CControl* control) override { panel.controlChanged(control->tag()); }

private:
    Panel& panel;
};

Panel::Panel(const TemplateSet& set, const std::string& templateName, PanelServices services)
    : services(std::move(services)), listener(std::make_unique<Listener>(*this)),
      tips(std::make_unique<Tips>()), set(&set)
{
    wantedName = templateName;
    panelTemplate = set.find(templateName);
    if (!panelTemplate)
    {
        skip("the whole panel: the template has none named " + quotedWord(templateName));
        return;
    }
    CBitmap* back =
        bitmapNamed(set, this->services.resources, panelTemplate->background, bitmaps, skippedParts);
    if (back)
    {
        panelWidth = back->width();
        panelHeight = back->height();
    }
    else
    {
        // Without a background the panel is as large as what it holds.
        for (const PanelNode& node : panelTemplate->children)
        {
            panelWidth = std::max(panelWidth, node.left + node.width);
            panelHeight = std::max(panelHeight, node.top + node.height);
        }
    }
    if (panelWidth <= 0 || panelHeight <= 0 || panelWidth > 8192 || panelHeight > 8192)
    {
        skip("the panel, which has no size the host can show");
        panelWidth = panelHeight = 0;
        return;
    }
    findModuleViews(panelTemplate->children, 0, 0);
}

void Panel::findModuleViews(const std::vector<PanelNode>& nodes, int32_t originX, int32_t originY)
{
    for (const PanelNode& node : nodes)
    {
        if (node.kind == PanelNode::Kind::ModuleView && node.width > 0 && node.height > 0)
            places.push_back({node.name, originX + node.left, originY + node.top, node.width, node.height});
        findModuleViews(node.children, originX + node.left, originY + node.top);
    }
}

Panel::~Panel()
{
    holdInput(false);
    if (tips) tips->hide();
    if (frameView) frameView->release();
    for (auto& [name, bitmap] : bitmaps)
        if (bitmap) static_cast<CBitmap*>(bitmap)->release();
}

std::vector<std::string> Panel::boundParameters() const
{
    std::vector<std::string> names;
    for (const auto& binding : bindings)
        names.push_back(binding->parameter);
    return names;
}

bool Panel::open(void* parentWindow, std::string& error)
{
    if (!panelTemplate)
    {
        error = "The module's template has no panel named " + quotedWord(wantedName) + ".";
        return false;
    }
    if (panelWidth <= 0)
    {
        error = "The module's panel has no size the host can show.";
        return false;
    }
    CBitmap* back = bitmapNamed(*set, services.resources, panelTemplate->background, bitmaps, skippedParts);
    frameView = new CFrame(CRect(0, 0, panelWidth, panelHeight), parentWindow, nullptr);
    if (back) frameView->setBackground(back);
    frameView->setBackgroundColor({21, 27, 34, 255});
    frameView->addView(new PaintWitness(CRect(0, 0, panelWidth, panelHeight), paintCount));
    frameView->setMouseObserver(tips.get());
    addChildren(panelTemplate->children, frameView, 0, 0, panelWidth, panelHeight);
    for (auto& binding : bindings)
        poll(*binding);
    frameView->invalidate();
    return true;
}

void Panel::addChildren(const std::vector<PanelNode>& nodes, CView* container, int32_t originX,
                        int32_t originY, int32_t limitWidth, int32_t limitHeight)
{
    for (const PanelNode& node : nodes)
    {
        const CRect rect(node.left, node.top, node.left + node.width, node.top + node.height);
        const std::string what = node.name.empty() ? "a group" : quotedWord(node.name);
        if (node.sized && (rect.right <= 0 || rect.bottom <= 0 || rect.left >= limitWidth ||
                           rect.top >= limitHeight || node.width == 0 || node.height == 0))
        {
            skip(what + ": it lies outside what encloses it");
            continue;
        }
        CView* view = makeNode(node, rect, originX, originY);
        if (!view) continue;
        view->setAutosize(autosizeOf(node));
        static_cast<CViewContainer*>(container)->addView(view);
        if (node.kind == PanelNode::Kind::Group || node.kind == PanelNode::Kind::Align)
        {
            addChildren(node.children, view, originX + node.left, originY + node.top, node.width,
                        node.height);
            if (node.kind == PanelNode::Kind::Align)
            {
                // Laid out once now that its children are in.
                CRect once = view->viewSize();
                static_cast<AlignGroup*>(view)->layOut(once);
            }
            fitMouseArea(static_cast<CViewContainer*>(view));
        }
    }
}

CView* Panel::makeNode(const PanelNode& node, const CRect& rect, int32_t originX, int32_t originY)
{
    using K = PanelNode::Kind;
    switch (node.kind)
    {
    case K::Group:
    {
        auto* group = new CViewContainer(rect, frameView);
        group->setTransparent(true);
        return group;
    }
    case K::Align:
        return new AlignGroup(rect, frameView, node.hasStyle("hcenter"));
    case K::HostView:
    {
        CView* section = services.hostSection ? services.hostSection(node, rect) : nullptr;
        if (!section) skip(quotedWord(node.name) + ", a section this host does not have");
        return section;
    }
    case K::ModuleView:
    {
        // The module's own view goes into a window of the host's over this place.
        (void)originX;
        (void)originY;
        auto* place = new CView(rect);
        place->setTransparent(true);
        place->setMouseEnabled(false);
        return place;
    }
    case K::Label:
    {
        auto* label = new CTextLabel(rect, node.title.c_str(), nullptr, kStyleNoFrame);
        label->setTransparent(true);
        label->setFont(fontNamed(node.font));
        label->setFontColor(colourNamed(node.color));
        label->setHorizontalAlign(node.just == "center" ? kCenterText : kLeftText);
        return label;
    }
    default:
        return makeControl(node, rect);
    }
}

CView* Panel::makeControl(const PanelNode& node, const CRect& rect)
{
    using K = PanelNode::Kind;
    IHostValue* value = nullptr;
    if (!services.controller || services.controller->findValue(node.name.c_str(), &value) != kResultOk ||
        !value)
    {
        skip(quotedWord(node.name) + ", which names no parameter of the module");
        return nullptr;
    }
    auto binding = std::make_unique<Binding>();
    binding->kind = node.kind;
    binding->parameter = node.name;
    binding->value = value;
    if (services.context)
        for (HostValue* made : services.context->values())
            if (static_cast<IHostValue*>(made) == value) binding->minimum = made->minInt();
    const int32_t tag = static_cast<int32_t>(bindings.size());

    CControl* control = nullptr;
    switch (node.kind)
    {
    case K::ValueBox:
    case K::Text:
    {
        CParamDisplay* display = node.kind == K::ValueBox
                                     ? static_cast<CParamDisplay*>(new ValueBox(rect, listener.get(), tag))
                                     : new CTextLabel(rect, "", nullptr, kStyleNoFrame);
        display->setTransparent(node.hasStyle("transparent"));
        display->setFont(fontNamed(node.font));
        display->setFontColor(colourNamed(node.color));
        display->setBackColor({4, 8, 13, 255});
        display->setHorizontalAlign(node.just == "left" ? kLeftText : kCenterText);
        control = display;
        break;
    }
    case K::OptionMenu:
    {
        auto* menu = new COptionMenu(rect, listener.get(), tag, nullptr, nullptr, kStyleNoFrame);
        menu->setTransparent(node.hasStyle("transparent"));
        menu->setFont(fontNamed(node.font));
        menu->setFontColor(colourNamed(node.color));
        menu->setHorizontalAlign(node.just == "left" ? kLeftText : kCenterText);
        control = menu;
        break;
    }
    case K::Slider:
    {
        CBitmap* back = bitmapNamed(*set, services.resources, node.background, bitmaps, skippedParts);
        CBitmap* handle = bitmapNamed(*set, services.resources, node.handle, bitmaps, skippedParts);
        control = new PanelSlider(rect, listener.get(), tag, handle, back, node.hasStyle("split"));
        break;
    }
    case K::Switch:
    {
        CBitmap* strip = bitmapNamed(*set, services.resources, node.bitmap, bitmaps, skippedParts);
        binding->repeat = node.hasStyle("repeat");
        if (binding->repeat)
            control = new StripButton<CMovieButton>(rect, listener.get(), tag, strip, node.tip);
        else
            control = new StripButton<CKickButton>(rect, listener.get(), tag, strip, node.tip);
        break;
    }
    case K::ListBox:
        skip(quotedWord(node.name) + ": a list box belongs in a dialog, not on the panel");
        return nullptr;
    default:
        return nullptr;
    }
    binding->control = control;
    bindings.push_back(std::move(binding));
    tips->add(control, node.tip);
    return control;
}

void Panel::controlChanged(int32_t index)
{
    if (index < 0 || index >= static_cast<int32_t>(bindings.size())) return;
    Binding& binding = *bindings[static_cast<size_t>(index)];
    CControl* control = binding.control;
    IHostValue* value = binding.value;
    using K = PanelNode::Kind;
    switch (binding.kind)
    {
    case K::Switch:
        if (binding.repeat)
        {
            // A press acts at once and then again while it is held; the release only stops it.
            binding.held = control->value() > 0.5f;
            if (!binding.held) return;
            binding.nextRepeat = Clock::now() + kRepeatDelay;
        }
        else if (control->value() <= 0.5f)
            return; // the kick's pulse: its 1 acts, its 0 is the button coming back up
        // Pressed at the next idle, outside the window system's handling of the click: what the
        // module does then may run a dialog of its own, and the click's pointer grab is over.
        binding.pressPending = true;
        return;
    case K::ValueBox:
    {
        auto* box = static_cast<ValueBox*>(control);
        if (box->typedChange())
        {
            if (const std::optional<int64_t> number = parseInteger(box->textOf()))
                value->setInt(static_cast<int32_t>(std::clamp<int64_t>(*number, INT32_MIN, INT32_MAX)));
            binding.shownText.clear(); // whatever was typed, the value's own text comes back
        }
        else
            value->setInt(static_cast<int32_t>(std::lround(control->value())));
        break;
    }
    case K::OptionMenu:
        value->setInt(static_cast<int32_t>(std::lround(control->value())));
        break;
    case K::Slider:
    {
        const int32_t span = value->getMaxInt() - binding.minimum;
        value->setInt(binding.minimum + static_cast<int32_t>(std::lround(control->value() * float(span))));
        break;
    }
    default:
        break;
    }
    if (binding.kind != K::Switch) poll(binding);
}

void Panel::poll(Binding& binding)
{
    using K = PanelNode::Kind;
    CControl* control = binding.control;
    IHostValue* value = binding.value;
    switch (binding.kind)
    {
    case K::ValueBox:
    case K::Text:
    {
        const std::string text = displayTextOf(value);
        const int32_t now = value->getInt();
        if (text != binding.shownText)
        {
            binding.shownText = text;
            if (binding.kind == K::ValueBox)
                static_cast<ValueBox*>(control)->setText(text.c_str());
            else
                static_cast<CTextLabel*>(control)->setText(text.c_str());
            control->invalidate();
        }
        if (now != binding.shown)
        {
            binding.shown = now;
            control->setValue(float(now));
        }
        break;
    }
    case K::OptionMenu:
    {
        auto* menu = static_cast<COptionMenu*>(control);
        std::vector<std::u16string> entries;
        if (services.context)
            for (HostValue* made : services.context->values())
                if (static_cast<IHostValue*>(made) == value) entries = made->entries();
        const int32_t now = value->getInt();
        if (entries != binding.shownEntries)
        {
            binding.shownEntries = entries;
            menu->removeAllEntries();
            for (const std::u16string& entry : entries)
                menu->addEntry(utf16ToUtf8(entry).c_str());
            binding.shown = INT32_MIN;
        }
        if (now != binding.shown)
        {
            binding.shown = now;
            menu->setValue(float(now));
            menu->invalidate();
        }
        break;
    }
    case K::Slider:
    {
        const int32_t now = value->getInt();
        if (now != binding.shown)
        {
            binding.shown = now;
            const int32_t span = value->getMaxInt() - binding.minimum;
            control->setValue(span > 0 ? float(now - binding.minimum) / float(span) : 0.f);
            control->invalidate();
        }
        break;
    }
    case K::Switch:
        if (binding.pressPending)
        {
            binding.pressPending = false;
            value->setInt(1);
            value->setInt(0);
        }
        else if (binding.held && control->value() > 0.5f && Clock::now() >= binding.nextRepeat)
        {
            value->setInt(1);
            value->setInt(0);
            binding.nextRepeat = Clock::now() + kRepeatPeriod;
        }
        else if (control->value() <= 0.5f)
            binding.held = false;
        break;
    default:
        break;
    }
}

void Panel::idle()
{
    if (!frameView) return;
    // Where the toolkit has a connection of its own (X11) the panel serves it; elsewhere the
    // host's message loop already hands the panel's window its messages, keys left to the host.
    if (platformEventDescriptor() >= 0)
        processPlatformEvents(0);
    else
        paintPlatformDamage();
    for (auto& binding : bindings)
        poll(*binding);
    tips->serve(frameView);
    frameView->idle();
}

void Panel::holdInput(bool hold)
{
    if (!frameView || hold == (inputHolder != nullptr)) return;
    if (hold)
    {
        // A modal view that no point hits takes every press and lets none through.
        inputHolder = new CView(CRect());
        if (!frameView->setModalView(inputHolder))
        {
            inputHolder->release();
            inputHolder = nullptr;
        }
        return;
    }
    frameView->setModalView(nullptr);
    inputHolder->release();
    inputHolder = nullptr;
}

void Panel::resize(int32_t width, int32_t height)
{
    if (!frameView) return;
    width = std::max(width, 1);
    height = std::max(height, 1);
    // The frame's window follows the host's window; the toolkit keeps the tree's size when the
    // window above is much larger than the frame was, which the host's own window just became,
    // so the tree is sized here.
    frameView->setSize(width, height);
    const CRect now = frameView->viewSize();
    if (now.width() != width || now.height() != height)
        frameView->setViewSize(CRect(0, 0, width, height), true);
    frameView->invalidate();
}
} // namespace hostkit
