// Drags of other programs on Windows: the items a drag offers, shell links among dropped files,
// and the drop target that routes a drag to the view under the pointer.

#include "../toolkit_helpers.h"
#include "toolkit/platform/dragdrop_win32.h"

#include <gtest/gtest.h>

#include <shlobj.h>
#include <shobjidl.h>
#include <windows.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

using namespace toolkit_test;

namespace
{
// The data of a drag as another program offers it: text, files, both or neither.
class OfferedData : public IDataObject
{
public:
    OfferedData(std::wstring text, std::vector<std::wstring> files)
        : text(std::move(text)), files(std::move(files))
    {
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override
    {
        if (IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, IID_IDataObject))
        {
            *out = this;
            return S_OK;
        }
        *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    HRESULT STDMETHODCALLTYPE GetData(FORMATETC* format, STGMEDIUM* medium) override
    {
        if (!(format->tymed & TYMED_HGLOBAL)) return DV_E_TYMED;
        std::vector<char> bytes;
        if (format->cfFormat == CF_UNICODETEXT && !text.empty())
            append(bytes, text.c_str(), text.size() + 1);
        else if (format->cfFormat == CF_HDROP && !files.empty())
        {
            DROPFILES header{};
            header.pFiles = sizeof(DROPFILES);
            header.fWide = TRUE;
            bytes.assign(reinterpret_cast<char*>(&header), reinterpret_cast<char*>(&header) + sizeof(header));
            for (const auto& f : files)
                append(bytes, f.c_str(), f.size() + 1);
            append(bytes, L"", 1);
        }
        else
            return DV_E_FORMATETC;
        HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes.size());
        std::memcpy(GlobalLock(memory), bytes.data(), bytes.size());
        GlobalUnlock(memory);
        medium->tymed = TYMED_HGLOBAL;
        medium->hGlobal = memory;
        medium->pUnkForRelease = nullptr;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetDataHere(FORMATETC*, STGMEDIUM*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE QueryGetData(FORMATETC*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetCanonicalFormatEtc(FORMATETC*, FORMATETC*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetData(FORMATETC*, STGMEDIUM*, BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EnumFormatEtc(DWORD, IEnumFORMATETC**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DUnadvise(DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EnumDAdvise(IEnumSTATDATA**) override { return E_NOTIMPL; }

private:
    static void append(std::vector<char>& bytes, const wchar_t* chars, size_t count)
    {
        const char* p = reinterpret_cast<const char*>(chars);
        bytes.insert(bytes.end(), p, p + count * sizeof(wchar_t));
    }
    std::wstring text;
    std::vector<std::wstring> files;
};

std::vector<std::string> walk(CDragContainer* drag, std::vector<int32_t>* types = nullptr)
{
    std::vector<std::string> items;
    int32_t size = 0, type = 0;
    for (const char* item = drag->firstItem(size, type); item; item = drag->nextItem(size, type))
    {
        EXPECT_EQ(size, int32_t(std::strlen(item)));
        items.push_back(item);
        if (types) types->push_back(type);
    }
    if (types) types->push_back(type);
    return items;
}

std::wstring longPath(const std::string& utf8)
{
    wchar_t wide[1024], full[1024];
    MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, wide, 1024);
    return GetLongPathNameW(wide, full, 1024) ? full : wide;
}

struct Ole
{
    Ole() { OleInitialize(nullptr); }
    ~Ole() { OleUninitialize(); }
};
} // namespace

TEST(DragDropWin32Test, ADragOffersItsTextOrItsFilesAndEachWalkStartsAgain)
{
    OfferedData text(L"Gr\u00fc\u00dfe \u266a", {});
    CDragContainer* drag = createDragContainer(&text);
    EXPECT_EQ(drag->itemCount(), 1);
    EXPECT_EQ(drag->itemType(), 1);
    std::vector<int32_t> types;
    EXPECT_EQ(walk(drag, &types), std::vector<std::string>{"Gr\xc3\xbc\xc3\x9f"
                                                           "e \xe2\x99\xaa"});
    EXPECT_EQ(types, (std::vector<int32_t>{CDragContainer::kText, CDragContainer::kUnknown}));
    drag->release();

    OfferedData files(L"", {L"C:\\a.mid", L"C:\\b.txt", L"C:\\c"});
    drag = createDragContainer(&files);
    EXPECT_EQ(drag->itemCount(), 3);
    EXPECT_EQ(drag->itemType(), 0);
    types.clear();
    EXPECT_EQ(walk(drag, &types), (std::vector<std::string>{"C:\\a.mid", "C:\\b.txt", "C:\\c"}));
    EXPECT_EQ(types, (std::vector<int32_t>{0, 0, 0, CDragContainer::kUnknown}));
    EXPECT_EQ(walk(drag).size(), 3u);
    drag->release();

    // Text wins over files.
    OfferedData both(L"words", {L"C:\\a.mid"});
    drag = createDragContainer(&both);
    EXPECT_EQ(drag->itemCount(), 1);
    EXPECT_EQ(walk(drag), std::vector<std::string>{"words"});
    drag->release();

    OfferedData nothing(L"", {});
    drag = createDragContainer(&nothing);
    EXPECT_EQ(drag->itemCount(), 0);
    types.clear();
    EXPECT_TRUE(walk(drag, &types).empty());
    EXPECT_EQ(types, std::vector<int32_t>{CDragContainer::kUnknown});
    drag->release();

    drag = createDragContainer(nullptr);
    EXPECT_EQ(drag->itemType(), CDragContainer::kError);
    types.clear();
    EXPECT_TRUE(walk(drag, &types).empty());
    EXPECT_EQ(types, std::vector<int32_t>{CDragContainer::kError});
    drag->release();
}

TEST(DragDropWin32Test, DroppedShellLinksComeAsTheirTargetsAndBrokenOnesAsThemselves)
{
    Ole ole;
    const auto folder = std::filesystem::temp_directory_path() / "toolkit-drop";
    std::filesystem::create_directories(folder);
    const auto target = folder / "pattern.mid";
    std::ofstream(target) << "MThd";
    const auto link = folder / "PATTERN.LNK";
    IShellLinkW* shellLink = nullptr;
    ASSERT_EQ(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                               reinterpret_cast<void**>(&shellLink)),
              S_OK);
    shellLink->SetPath(target.c_str());
    IPersistFile* file = nullptr;
    ASSERT_EQ(shellLink->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file)), S_OK);
    ASSERT_EQ(file->Save(link.c_str(), TRUE), S_OK);
    file->Release();
    shellLink->Release();
    // A file that says it is a link and is none.
    const auto broken = folder / "broken.lnk";
    std::ofstream(broken) << "not a link";

    OfferedData dropped(L"", {link.wstring(), broken.wstring()});
    CDragContainer* drag = createDragContainer(&dropped);
    const auto items = walk(drag);
    drag->release();
    ASSERT_EQ(items.size(), 2u);
    EXPECT_EQ(lstrcmpiW(longPath(items[0]).c_str(), target.c_str()), 0) << items[0];
    EXPECT_EQ(longPath(items[1]), broken.wstring());
    std::filesystem::remove_all(folder);
}

TEST(DragDropWin32Test, TheDropTargetTakesADragToTheViewUnderThePointer)
{
    WNDCLASSW c{};
    c.lpfnWndProc = DefWindowProcW;
    c.hInstance = GetModuleHandleW(nullptr);
    c.lpszClassName = L"ToolkitDropHost";
    RegisterClassW(&c);
    HWND host = CreateWindowExW(WS_EX_NOACTIVATE, c.lpszClassName, L"host", WS_POPUP, 100, 80, 160, 120,
                                nullptr, nullptr, c.hInstance, nullptr);
    ShowWindow(host, SW_SHOWNOACTIVATE);
    auto* frame = new CFrame(CRect(0, 0, 160, 120), host, nullptr);
    HWND window = static_cast<HWND>(frame->nativeWindow());
    std::vector<std::string> log;
    frame->addView(new RecordingView(CRect(80, 0, 160, 120), &log));

    // The frame offers its window to the system's drags for as long as it is drop-active.
    EXPECT_TRUE(frame->isDropActive());
    IDropTarget* target = createDropTarget(frame);
    EXPECT_EQ(RegisterDragDrop(window, target), DRAGDROP_E_ALREADYREGISTERED);

    SetCursorPos(100 + 120, 80 + 40);
    OfferedData text(L"words", {});
    const POINTL screen{0, 0};
    DWORD effect = DROPEFFECT_MOVE;
    // Without an entry first, a move changes nothing.
    EXPECT_EQ(target->DragOver(0, screen, &effect), S_OK);
    EXPECT_EQ(effect, DWORD(DROPEFFECT_MOVE));
    EXPECT_TRUE(log.empty());

    effect = DROPEFFECT_COPY | DROPEFFECT_MOVE | DROPEFFECT_LINK;
    EXPECT_EQ(target->DragEnter(&text, 0, screen, &effect), S_OK);
    EXPECT_EQ(effect, DWORD(DROPEFFECT_COPY));
    effect = DROPEFFECT_MOVE | DROPEFFECT_LINK;
    target->DragOver(0, screen, &effect);
    EXPECT_EQ(effect, DWORD(DROPEFFECT_MOVE));
    effect = DROPEFFECT_MOVE | DROPEFFECT_LINK;
    target->Drop(&text, 0, screen, &effect);
    EXPECT_EQ(effect, DWORD(DROPEFFECT_MOVE | DROPEFFECT_LINK));
    EXPECT_EQ(log, (std::vector<std::string>{"v dragenter 120,40 0", "v dragmove 120,40 0", "v drop 120,40 0",
                                             "v dragleave 120,40 0"}));

    log.clear();
    effect = DROPEFFECT_LINK;
    target->DragEnter(&text, 0, screen, &effect);
    EXPECT_EQ(effect, DWORD(DROPEFFECT_LINK));
    target->DragLeave();
    effect = DROPEFFECT_COPY;
    target->DragEnter(nullptr, 0, screen, &effect);
    EXPECT_EQ(effect, DWORD(DROPEFFECT_NONE));
    EXPECT_EQ(log, (std::vector<std::string>{"v dragenter 120,40 0", "v dragleave 120,40 0"}));
    target->Release();

    EXPECT_TRUE(frame->setDropActive(false));
    EXPECT_EQ(RevokeDragDrop(window), DRAGDROP_E_NOTREGISTERED);
    delete frame;
    DestroyWindow(host);

    // Without a window there is nothing to offer, and nothing to take back.
    CFrame bare(CRect(0, 0, 10, 10), nullptr, nullptr);
    EXPECT_TRUE(bare.setDropActive(false));
    EXPECT_FALSE(bare.setDropActive(true));
}
