#include "plugbase/pplugview.h"

#include "plugbase/platform/editor.h"
#include "plugbase/pmidieffectbase.h"

#include <chrono>
#include <cstring>
#include <thread>

using Plexel::CRect;

//------------------------------------------------------------------------------------------------
// PPluginView

PPluginView::PPluginView(const CRect* initial)
{
    if (initial) rect = *initial;
}

tresult PPluginView::queryInterface(const TUID iid, void** obj)
{
    if (!obj) return kInvalidArgument;
    if (FUnknown::iid.equals(iid) || IPlugView::iid.equals(iid))
    {
        addRef();
        *obj = static_cast<IPlugView*>(this);
        return kResultOk;
    }
    *obj = nullptr;
    return kNoInterface;
}

tresult PPluginView::supportsPlatformType(const char*)
{
    return kNotImplemented;
}

tresult PPluginView::attachToParent(PNativeWindow window, const char*)
{
    parent = window;
    return kResultOk;
}

tresult PPluginView::detachFromParent()
{
    parent = nullptr;
    return kResultOk;
}

tresult PPluginView::onHostWheel(float)
{
    return kResultFalse;
}

tresult PPluginView::onKeyDown(char16_t, int16_t, int16_t)
{
    return kResultFalse;
}

tresult PPluginView::serviceIdle()
{
    return kResultFalse;
}

tresult PPluginView::reservedOperation2()
{
    return kResultFalse;
}

tresult PPluginView::resizeTo(const PViewRect*)
{
    return kResultOk;
}

tresult PPluginView::reservedOperation3()
{
    return kResultOk;
}

tresult PPluginView::reservedOperation4()
{
    return kResultFalse;
}

tresult PPluginView::reservedOperation5()
{
    return kResultFalse;
}

tresult PPluginView::reservedOperation6()
{
    return kResultFalse;
}

tresult PPluginView::onIdle()
{
    return kResultFalse;
}

//------------------------------------------------------------------------------------------------
// PluginGUIEditor

namespace
{
// Shared by every editor of the process, as hosts expect one knob behaviour everywhere.
int32_t sharedKnobMode = 0;

PluginGUIEditor::Clock editorClock = PluginGUIEditor::systemClock();

// The type must match with its terminator: case counts and nothing longer passes.
bool isOwnPlatformType(const char* type)
{
    return type && std::strcmp(type, plugbase::platform::platformType) == 0;
}
} // namespace

const char* PluginGUIEditor::platformType()
{
    return plugbase::platform::platformType;
}

PluginGUIEditor::Clock PluginGUIEditor::systemClock()
{
    // Milliseconds of a steady clock: the editor only measures spans between its calls.
    return {[]
            {
                using namespace std::chrono;
                return uint32_t(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
            },
            [](uint32_t milliseconds)
            { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }};
}

void PluginGUIEditor::setClock(const Clock& value)
{
    editorClock = value;
}

PluginGUIEditor::PluginGUIEditor(const CRect* initial, PMidiEffectBase* owner)
    : PPluginView(initial), effectValue(owner), nextIdle(editorClock.ticks())
{
    plugbase::platform::enterEditor();
}

PluginGUIEditor::~PluginGUIEditor()
{
    stopIdleTimer();
    plugbase::platform::leaveEditor();
}

void PluginGUIEditor::startIdleTimer()
{
    if (timerWindow || !frame) return;
    void* window = frame->nativeWindow();
    if (plugbase::platform::startIdleTimer(window, &PluginGUIEditor::idleTick, this, kIdleTimerMilliseconds))
        timerWindow = window;
}

void PluginGUIEditor::stopIdleTimer()
{
    if (!timerWindow) return;
    plugbase::platform::stopIdleTimer(timerWindow, this);
    timerWindow = nullptr;
}

void PluginGUIEditor::idleTick(void* editor)
{
    static_cast<PluginGUIEditor*>(editor)->idle();
}

tresult PluginGUIEditor::supportsPlatformType(const char* type)
{
    return isOwnPlatformType(type) ? kResultOk : kResultFalse;
}

tresult PluginGUIEditor::attachToParent(PNativeWindow window, const char* type)
{
    if (!isOwnPlatformType(type)) return kResultFalse;
    return PPluginView::attachToParent(window, type);
}

tresult PluginGUIEditor::onHostWheel(float distance)
{
    if (!frame) return kResultOk;
    // The host knows no pointer position; what lies at the frame's corner gets the turn.
    return frame->onWheel(Plexel::CPoint(0, 0), distance, 0) ? 1 : 0;
}

tresult PluginGUIEditor::resizeTo(const PViewRect* newRect)
{
    if (frame && newRect) frame->setSize(newRect->right - newRect->left, newRect->bottom - newRect->top);
    return kResultOk;
}

tresult PluginGUIEditor::serviceIdle()
{
    plugbase::platform::serviceWindows();
    idle();
    return kResultFalse;
}

tresult PluginGUIEditor::idle()
{
    if (!inIdle && frame) frame->idle();
    return kResultOk;
}

int32_t PluginGUIEditor::setKnobMode(int32_t mode)
{
    sharedKnobMode = mode;
    return 1;
}

int32_t PluginGUIEditor::knobMode()
{
    return sharedKnobMode;
}

void PluginGUIEditor::doIdle()
{
    uint32_t now = editorClock.ticks();
    // A caller spinning here is slowed down; the service itself runs about every 50 ms.
    if (now < nextIdle)
    {
        editorClock.sleep(4);
        now += 4;
        if (now < nextIdle - 50) return;
    }
    onIdle();
    plugbase::platform::dispatchOnePaint();
    inIdle = true;
    nextIdle = now + 100;
    if (effectValue)
        if (IHostPlugSite* site = effectValue->getPlugSite()) site->hostIdle();
    inIdle = false;
}
