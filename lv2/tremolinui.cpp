// The editor for X11 hosts: the module's own sequencer view, placed into the host's parent window
// through the view's attachToParent("X11Window") and served from the host's idle callback (the
// view keeps its own display connection, which no host loop reaches). It needs the plug-in
// instance itself (instance-access): without it the editor declines and the host shows its own
// controls for the ports.

#include "foundation/funknown.h"
#include "lv2/instanceface.h"
#include "lv2/platform/childwindow.h"
#include "module/plugview.h"

#include <lv2/core/lv2.h>
#include <lv2/instance-access/instance-access.h>
#include <lv2/ui/ui.h>

#include <cstdio>
#include <cstring>

namespace tremolinlv2
{
namespace
{
constexpr int32_t kEditorWidth = 603;
constexpr int32_t kEditorHeight = 230;

struct Editor
{
    IPlugView* view = nullptr;
    bool attached = false;
};

void close(Editor* editor)
{
    if (editor->view)
    {
        if (editor->attached) editor->view->detachFromParent();
        editor->view->release();
    }
    delete editor;
}

LV2UI_Handle instantiate(const LV2UI_Descriptor*, const char*, const char*, LV2UI_Write_Function,
                         LV2UI_Controller, LV2UI_Widget* widget, const LV2_Feature* const* features)
{
    void* parent = nullptr;
    const InstanceFace* face = nullptr;
    const LV2UI_Resize* resize = nullptr;
    for (int i = 0; features && features[i]; ++i)
    {
        const char* uri = features[i]->URI;
        if (std::strcmp(uri, LV2_UI__parent) == 0)
            parent = features[i]->data;
        else if (std::strcmp(uri, LV2_INSTANCE_ACCESS_URI) == 0)
            face = static_cast<const InstanceFace*>(features[i]->data);
        else if (std::strcmp(uri, LV2_UI__resize) == 0)
            resize = static_cast<const LV2UI_Resize*>(features[i]->data);
    }
    if (!parent || !face || face->magic != kInstanceMagic || !face->effect)
    {
        std::fprintf(stderr,
                     "Tremolin.lv2: the editor needs the host's parent window and the plug-in instance; "
                     "use the host's controls instead.\n");
        return nullptr;
    }

    auto* editor = new Editor;
    IViewBuilder* builder = queryFace<IViewBuilder>(face->effect);
    const PViewRect rect{0, 0, kEditorWidth, kEditorHeight};
    if (builder)
    {
        if (builder->createView("SequencerView", &rect, &editor->view) != kResultOk) editor->view = nullptr;
        builder->release();
    }
    if (!editor->view || editor->view->supportsPlatformType(kPlatformTypeX11Window) != kResultOk ||
        editor->view->attachToParent(parent, kPlatformTypeX11Window) != kResultOk)
    {
        std::fprintf(stderr, "Tremolin.lv2: the module made no editor for an X11 window.\n");
        close(editor);
        return nullptr;
    }
    editor->attached = true;
    // Once served, the editor's window exists on the server for other connections to see.
    editor->view->serviceIdle();
    const uintptr_t child = platform::topChildWindow(reinterpret_cast<uintptr_t>(parent));
    *widget = reinterpret_cast<LV2UI_Widget>(child ? child : reinterpret_cast<uintptr_t>(parent));
    if (resize) resize->ui_resize(resize->handle, kEditorWidth, kEditorHeight);
    return editor;
}

void cleanup(LV2UI_Handle handle)
{
    close(static_cast<Editor*>(handle));
}

// The view reads the effect itself; port values need no echo.
void portEvent(LV2UI_Handle, uint32_t, uint32_t, uint32_t, const void*) {}

int idle(LV2UI_Handle handle)
{
    static_cast<Editor*>(handle)->view->serviceIdle();
    return 0;
}

int resized(LV2UI_Feature_Handle handle, int width, int height)
{
    if (width <= 0 || height <= 0) return 1;
    const PViewRect rect{0, 0, width, height};
    static_cast<Editor*>(handle)->view->resizeTo(&rect);
    return 0;
}

const void* extensionData(const char* uri)
{
    static const LV2UI_Idle_Interface idleInterface{idle};
    static const LV2UI_Resize resizeInterface{nullptr, resized};
    if (std::strcmp(uri, LV2_UI__idleInterface) == 0) return &idleInterface;
    if (std::strcmp(uri, LV2_UI__resize) == 0) return &resizeInterface;
    return nullptr;
}

const LV2UI_Descriptor descriptor{kUiUri, instantiate, cleanup, portEvent, extensionData};
} // namespace
} // namespace tremolinlv2

extern "C" LV2_SYMBOL_EXPORT const LV2UI_Descriptor* lv2ui_descriptor(uint32_t index)
{
    return index == 0 ? &tremolinlv2::descriptor : nullptr;
}
