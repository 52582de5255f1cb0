// Drags of other programs into the view tree. A drag offers text or files; text wins when it
// offers both. Dropped shell links are handed on as what they point to. The views' answers do
// not reach the system: a view cannot refuse a drag by its result.

#include "toolkit/platform/dragdrop_win32.h"

#include "foundation/textcodec.h"
#include "toolkit/cview.h"
#include "toolkit/platform/frame.h"

#include <shlobj.h>
#include <shobjidl.h>
#include <windows.h>

#include <string>
#include <string_view>

namespace Plexel
{

namespace
{
FORMATETC textFormat()
{
    return {CF_UNICODETEXT, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
}

FORMATETC fileFormat()
{
    return {CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
}

std::string narrow(const wchar_t* text, size_t length)
{
    static_assert(sizeof(wchar_t) == sizeof(char16_t), "the Windows calls take UTF-16");
    return foundation::text::utf16ToUtf8(
        std::u16string_view(reinterpret_cast<const char16_t*>(text), length));
}

bool isShellLink(const wchar_t* path)
{
    const wchar_t* dot = wcsrchr(path, L'.');
    return dot && lstrcmpiW(dot, L".lnk") == 0;
}

// Replaces the path of a shell link by the path of its target. Any failure leaves the path as
// it was: a broken link is handed on as itself.
void resolveLink(wchar_t* path, int capacity)
{
    IShellLinkW* link = nullptr;
    if (FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                reinterpret_cast<void**>(&link))))
        return;
    IPersistFile* file = nullptr;
    if (SUCCEEDED(link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file))))
    {
        // No user interface; any match; half a second at most to look for a moved target.
        const DWORD resolveFlags = SLR_NO_UI | SLR_ANY_MATCH | (500u << 16);
        wchar_t target[1024];
        if (SUCCEEDED(file->Load(path, 0)) && SUCCEEDED(link->Resolve(nullptr, resolveFlags)) &&
            link->GetPath(target, 1024, nullptr, SLGP_SHORTPATH) == S_OK && target[0])
            lstrcpynW(path, target, capacity);
        file->Release();
    }
    link->Release();
}

class WinDragContainer : public CDragContainer
{
public:
    explicit WinDragContainer(IDataObject* data) : data(data)
    {
        if (!data) return;
        FORMATETC format = textFormat();
        STGMEDIUM medium{};
        if (data->GetData(&format, &medium) == S_OK)
        {
            count = 1;
            ReleaseStgMedium(&medium);
            return;
        }
        format = fileFormat();
        if (data->GetData(&format, &medium) == S_OK)
        {
            if (medium.hGlobal)
                count = int32_t(DragQueryFileW(static_cast<HDROP>(medium.hGlobal), 0xFFFFFFFF, nullptr, 0));
            ReleaseStgMedium(&medium);
        }
    }

    const char* firstItem(int32_t& size, int32_t& type) override
    {
        iterator = 0;
        return nextItem(size, type);
    }

    const char* nextItem(int32_t& size, int32_t& type) override
    {
        if (!data)
        {
            type = kError;
            return nullptr;
        }
        lastItem.clear();
        size = 0;
        type = kUnknown;
        FORMATETC format = textFormat();
        STGMEDIUM medium{};
        bool text = data->GetData(&format, &medium) == S_OK;
        if (!text)
        {
            format = fileFormat();
            if (data->GetData(&format, &medium) != S_OK) return nullptr;
        }
        if (!medium.hGlobal)
        {
            ReleaseStgMedium(&medium);
            return nullptr;
        }
        const char* result = nullptr;
        const int32_t index = iterator++;
        if (text)
        {
            // The text is one item.
            if (index == 0)
            {
                const auto* chars = static_cast<const wchar_t*>(GlobalLock(medium.hGlobal));
                const SIZE_T bytes = GlobalSize(medium.hGlobal);
                if (chars && bytes != 0)
                {
                    lastItem = narrow(chars, wcsnlen(chars, bytes / sizeof(wchar_t)));
                    size = int32_t(lastItem.size());
                    type = kText;
                    result = lastItem.c_str();
                }
                GlobalUnlock(medium.hGlobal);
            }
        }
        else
        {
            wchar_t path[1024];
            if (DragQueryFileW(static_cast<HDROP>(medium.hGlobal), UINT(index), path, 1024) != 0)
            {
                if (isShellLink(path)) resolveLink(path, 1024);
                lastItem = narrow(path, wcslen(path));
                size = int32_t(lastItem.size());
                type = kFile;
                result = lastItem.c_str();
            }
        }
        ReleaseStgMedium(&medium);
        return result;
    }

    int32_t itemType() override
    {
        if (!data) return kError;
        FORMATETC format = textFormat();
        STGMEDIUM medium{};
        if (data->GetData(&format, &medium) != S_OK) return 0;
        ReleaseStgMedium(&medium);
        return 1;
    }

    int32_t itemCount() override { return count; }

private:
    IDataObject* data;
    int32_t count = 0;
    int32_t iterator = 0;
    std::string lastItem;
};

// The drag that is over one of the process's frames, from its entry to its leave or drop.
CDragContainer* currentDrag = nullptr;

void endDrag()
{
    if (currentDrag)
    {
        currentDrag->release();
        currentDrag = nullptr;
    }
}

// One effect of those the source allows: copy before move before link.
void reduceEffect(DWORD* effect)
{
    if (!effect) return;
    if (*effect & DROPEFFECT_COPY)
        *effect = DROPEFFECT_COPY;
    else if (*effect & DROPEFFECT_MOVE)
        *effect = DROPEFFECT_MOVE;
    else if (*effect & DROPEFFECT_LINK)
        *effect = DROPEFFECT_LINK;
}

class CDropTarget : public IDropTarget
{
public:
    explicit CDropTarget(FrameEvents* frame) : frame(frame) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override
    {
        if (!out) return E_POINTER;
        if (IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, IID_IDropTarget))
        {
            *out = static_cast<IDropTarget*>(this);
            AddRef();
            return S_OK;
        }
        *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ULONG(++references); }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const int32_t left = --references;
        if (left <= 0) delete this;
        return ULONG(left > 0 ? left : 0);
    }

    // The point of the system's calls is in screen coordinates; the frame's own idea of where
    // the pointer is serves instead.
    HRESULT STDMETHODCALLTYPE DragEnter(IDataObject* data, DWORD, POINTL, DWORD* effect) override
    {
        if (!data || !frame)
        {
            if (effect) *effect = DROPEFFECT_NONE;
            return S_OK;
        }
        endDrag();
        currentDrag = new WinDragContainer(data);
        frame->windowDragEnter(currentDrag, where());
        reduceEffect(effect);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE DragOver(DWORD, POINTL, DWORD* effect) override
    {
        if (currentDrag && frame)
        {
            frame->windowDragMove(currentDrag, where());
            reduceEffect(effect);
        }
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE DragLeave() override
    {
        if (currentDrag && frame)
        {
            frame->windowDragLeave(currentDrag, where());
            endDrag();
        }
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Drop(IDataObject*, DWORD, POINTL, DWORD*) override
    {
        if (currentDrag && frame)
        {
            frame->windowDrop(currentDrag, where());
            endDrag();
        }
        return S_OK;
    }

private:
    virtual ~CDropTarget() = default;

    CPoint where() const { return frame->windowPointer(); }

    int32_t references = 0;
    FrameEvents* frame;
};
} // namespace

IDropTarget* createDropTarget(FrameEvents* frame)
{
    IDropTarget* target = new CDropTarget(frame);
    target->AddRef();
    return target;
}

CDragContainer* createDragContainer(IDataObject* data)
{
    return new WinDragContainer(data);
}

} // namespace Plexel
