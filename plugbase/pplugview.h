#pragma once

// The editor's base on the module's side: PPluginView answers every operation of IPlugView
// harmlessly, and PluginGUIEditor puts a toolkit frame into the host's window and serves the
// frame's idle and knob-mode questions.

#include "foundation/frefcounted.h"
#include "module/plugview.h"
#include "toolkit/cframe.h"

#include <atomic>
#include <cstdint>

class PMidiEffectBase;

class PPluginView : public IPlugView, public FRefCounted<PPluginView>
{
public:
    explicit PPluginView(const Plexel::CRect* rect = nullptr);

    tresult queryInterface(const TUID iid, void** obj) override;
    uint32_t addRef() override { return retain(); }
    uint32_t release() override { return drop(); }

    tresult supportsPlatformType(const char* type) override;
    tresult attachToParent(PNativeWindow parent, const char* type) override;
    tresult detachFromParent() override;
    tresult onHostWheel(float distance) override;
    tresult onKeyDown(char16_t character, int16_t virtualKey, int16_t modifiers) override;
    tresult serviceIdle() override;
    tresult reservedOperation2() override;
    tresult resizeTo(const PViewRect* rect) override;
    tresult reservedOperation3() override;
    tresult reservedOperation4() override;
    tresult reservedOperation5() override;
    tresult reservedOperation6() override;

    virtual ~PPluginView() = default;
    virtual tresult onIdle();

    const Plexel::CRect& viewRect() const { return rect; }
    PNativeWindow parentWindow() const { return parent; }

protected:
    Plexel::CRect rect;
    PNativeWindow parent = nullptr;
};

class PluginGUIEditor : public PPluginView, public Plexel::PlexelEditorInterface
{
public:
    PluginGUIEditor(const Plexel::CRect* rect, PMidiEffectBase* effect);
    ~PluginGUIEditor() override;
    PluginGUIEditor(const PluginGUIEditor&) = delete;
    PluginGUIEditor& operator=(const PluginGUIEditor&) = delete;

    tresult supportsPlatformType(const char* type) override;
    tresult attachToParent(PNativeWindow parent, const char* type) override;
    tresult onHostWheel(float distance) override;
    tresult resizeTo(const PViewRect* rect) override;
    // Serves the frame's window and repaints what is dirty: the host's periodic call.
    tresult serviceIdle() override;

    // Repaints views that are only marked dirty. Does nothing while doIdle is inside the host.
    virtual tresult idle();
    virtual PMidiEffectBase* effect() { return effectValue; }
    // One mode for every editor of the process.
    virtual int32_t setKnobMode(int32_t mode);

    // The type of the windows this build's editor lives in: "HWND" on Windows, "X11Window" on
    // Linux.
    static const char* platformType();

    // PlexelEditorInterface: a frame's long mouse loops call this to keep the host alive.
    void doIdle() override;
    int32_t knobMode() override;

    // Where doIdle reads the time and how it waits; tests put a clock of their own here.
    struct Clock
    {
        uint32_t (*ticks)();
        void (*sleep)(uint32_t milliseconds);
    };
    static void setClock(const Clock& clock);
    static Clock systemClock();

protected:
    // Where the platform lends the host's message loop (Windows), the frame's own window drives
    // idle with a timer, so that a host that knows only the view's operations still sees marked
    // views repainted. Called once the frame has its window, and before it goes.
    void startIdleTimer();
    void stopIdleTimer();
    static constexpr uint32_t kIdleTimerMilliseconds = 30;

    PMidiEffectBase* effectValue;
    uint32_t nextIdle;
    bool inIdle = false;

private:
    static void idleTick(void* editor);
    void* timerWindow = nullptr;
};
