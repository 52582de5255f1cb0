#include "host/kit/hostcontext.h"
#include "plugbase/pmidieffectbase.h"
#include "plugbase/pplugview.h"
#include "toolkit/cframe.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <unistd.h>

using namespace Plexel;
using hostkit::HostContext;
using hostkit::HostOptions;

namespace
{
// A clock the test sets by hand, with a record of the sleeps asked for.
uint32_t fakeNow = 0;
uint32_t sleptFor = 0;
uint32_t fakeTicks()
{
    return fakeNow;
}
void fakeSleep(uint32_t milliseconds)
{
    sleptFor += milliseconds;
}

struct FakeClock
{
    explicit FakeClock(uint32_t start)
    {
        fakeNow = start;
        sleptFor = 0;
        PluginGUIEditor::setClock({fakeTicks, fakeSleep});
    }
    ~FakeClock() { PluginGUIEditor::setClock(PluginGUIEditor::systemClock()); }
};

// A view that counts the repaints it asks for.
struct CountingView : CView
{
    CountingView() : CView(CRect(0, 0, 10, 10)) {}
    void invalidate() override
    {
        ++invalidations;
        CView::invalidate();
    }
    int invalidations = 0;
};

// An editor whose frame has no native window, with one counting view in it.
struct Editor : PluginGUIEditor
{
    explicit Editor(PMidiEffectBase* effect = nullptr) : PluginGUIEditor(nullptr, effect) {}
    void attachFrame()
    {
        frame = new CFrame(CRect(0, 0, 100, 50), nullptr, this);
        view = new CountingView;
        frame->addView(view);
    }
    ~Editor() override
    {
        if (frame) frame->release();
    }
    uint32_t nextIdleTick() const { return nextIdle; }
    CountingView* view = nullptr;
};

// The host's side: its plug site counts hostIdle calls, and a hook runs inside them.
struct Host
{
    Host()
    {
        HostOptions options;
        options.settingsPath =
            (std::filesystem::temp_directory_path() / ("tremolin-view-" + std::to_string(::getpid())))
                .string();
        context = new HostContext(options);
        effect = new PMidiEffectBase;
        effect->initialize(context);
    }
    ~Host()
    {
        effect->terminate();
        effect->release();
        context->release();
    }
    HostContext* context;
    PMidiEffectBase* effect;
};
} // namespace

TEST(PlugView, PlatformTypeMustMatchExactly)
{
    const char* own = PluginGUIEditor::platformType();
    std::string lower = own, longer = std::string(own) + " ";
    for (char& c : lower)
        c = char(std::tolower(c));

    Editor editor;
    EXPECT_EQ(editor.supportsPlatformType(own), kResultOk);
    for (const char* other : {lower.c_str(), longer.c_str(), "", static_cast<const char*>(nullptr)})
    {
        EXPECT_EQ(editor.supportsPlatformType(other), kResultFalse);
        EXPECT_EQ(editor.attachToParent(reinterpret_cast<PNativeWindow>(42), other), kResultFalse);
        EXPECT_EQ(editor.parentWindow(), nullptr) << "a refused type stores nothing";
    }
    EXPECT_EQ(editor.attachToParent(reinterpret_cast<PNativeWindow>(42), own), kResultOk);
    EXPECT_EQ(editor.parentWindow(), reinterpret_cast<PNativeWindow>(42));
    EXPECT_EQ(editor.detachFromParent(), kResultOk);
    EXPECT_EQ(editor.parentWindow(), nullptr);

    // The plain view knows no window system at all.
    auto* plain = new PPluginView;
    for (const char* type : {own, lower.c_str(), ""})
        EXPECT_EQ(plain->supportsPlatformType(type), kNotImplemented);
    EXPECT_EQ(plain->onHostWheel(1.0f), kResultFalse);
    EXPECT_EQ(plain->onKeyDown(0, kPlugKeyUp, 0), kResultFalse);
    EXPECT_EQ(plain->resizeTo(nullptr), kResultOk);
    EXPECT_EQ(plain->serviceIdle(), kResultFalse);
    plain->release();
}

TEST(PlugView, CountsReferencesAndAnswersOnlyItsTwoInterfaces)
{
    auto* view = new PPluginView;
    void* out = reinterpret_cast<void*>(1);
    EXPECT_EQ(view->queryInterface(IPlugView::iid, &out), kResultOk);
    EXPECT_EQ(out, static_cast<IPlugView*>(view));
    EXPECT_EQ(view->queryInterface(FUnknown::iid, &out), kResultOk);
    EXPECT_EQ(view->queryInterface(IViewBuilder::iid, &out), kNoInterface);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(view->addRef(), 4u);
    EXPECT_EQ(view->release(), 3u);
    EXPECT_EQ(view->release(), 2u);
    EXPECT_EQ(view->release(), 1u);
    EXPECT_EQ(view->release(), 0u);
}

TEST(PlugView, WorksWithoutAFrameBeforeAttachAndAfterDetach)
{
    Editor editor;
    PViewRect rect{0, 0, 300, 100};
    EXPECT_EQ(editor.onHostWheel(1.0f), kResultOk);
    EXPECT_EQ(editor.resizeTo(&rect), kResultOk);
    EXPECT_EQ(editor.idle(), kResultOk);
    EXPECT_EQ(editor.serviceIdle(), kResultFalse);

    editor.attachFrame();
    // Nothing lies at the frame's corner, so the host's wheel goes nowhere.
    EXPECT_EQ(editor.onHostWheel(1.0f), kResultOk);
    editor.view->setDirty(true);
    EXPECT_EQ(editor.idle(), kResultOk);
    EXPECT_EQ(editor.view->invalidations, 1) << "idle repaints views that are only marked dirty";
    EXPECT_EQ(editor.resizeTo(&rect), kResultOk);
    EXPECT_EQ(editor.frame->viewSize().width(), 300);
    EXPECT_EQ(editor.viewRect().width(), 0) << "the view's own rectangle stays";
}

TEST(PlugView, IdleServiceRunsAboutEveryFiftyMillisecondsAndSlowsSpinners)
{
    Host host;
    FakeClock clock(1000);
    Editor editor(host.effect);
    EXPECT_EQ(editor.nextIdleTick(), 1000u);

    // Right after construction the service runs in full, without a sleep.
    editor.doIdle();
    EXPECT_EQ(sleptFor, 0u);
    EXPECT_EQ(host.context->idleCalls(), 1);
    EXPECT_EQ(editor.nextIdleTick(), 1100u);

    // Too early: sleep and go back.
    fakeNow = 1000;
    editor.doIdle();
    EXPECT_EQ(sleptFor, 4u);
    EXPECT_EQ(host.context->idleCalls(), 1);

    // Within 50 ms of the next service after the sleep: it runs.
    fakeNow = 1047;
    editor.doIdle();
    EXPECT_EQ(sleptFor, 8u);
    EXPECT_EQ(host.context->idleCalls(), 2);
    EXPECT_EQ(editor.nextIdleTick(), 1151u);

    fakeNow = 1200;
    editor.doIdle();
    EXPECT_EQ(sleptFor, 8u) << "no sleep once the time has come";
    EXPECT_EQ(host.context->idleCalls(), 3);
}

TEST(PlugView, KnobModeIsOneForTheProcess)
{
    Editor first, second;
    EXPECT_EQ(first.setKnobMode(2), 1);
    EXPECT_EQ(second.knobMode(), 2);
    second.setKnobMode(0);
    EXPECT_EQ(first.knobMode(), 0);
}
