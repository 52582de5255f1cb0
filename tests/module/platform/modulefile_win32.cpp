// Tremolin.dll as Windows and a host see it: the resource section through the system's resource
// calls and through the effect, the version block through the version API, and the manifest.

#include "foundation/textcodec.h"
#include "host/kit/moduleloader.h"
#include "module/effectinterfaces.h"
#include "module/pluginfactory.h"
#include "toolkit/cbitmap.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#ifndef TREMOLIN_MODULE_PATH
#error "the tests need the path of the built module"
#endif

namespace
{
// Windows keeps the module's resources under German (Germany), the manifest under English (US).
constexpr WORD kResourceLanguage = MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN);
constexpr WORD kManifestLanguage = MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US);
// Resource types by number: RT_BITMAP, RT_RCDATA, RT_VERSION, RT_MANIFEST, as resources.list
// writes them.
constexpr int kBitmapType = 2;
constexpr int kDataType = 10;
constexpr int kVersionType = 16;
constexpr int kManifestType = 24;
// A bitmap resource is the BMP file without its file header.
constexpr size_t kBitmapFileHeader = 14;

std::wstring widen(const std::string& text)
{
    const std::u16string wide = foundation::text::utf8ToUtf16(text);
    return std::wstring(wide.begin(), wide.end());
}

std::string fileBytes(const std::string& name)
{
    std::ifstream in(std::string(TREMOLIN_RESOURCE_DIR) + "/" + name, std::ios::binary);
    EXPECT_TRUE(in) << name;
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct Listed
{
    int type;
    int number;
    std::string file;
};

// The resources as the source tree lists them for both platforms.
std::vector<Listed> listedResources()
{
    std::istringstream lines(fileBytes("resources.list"));
    std::vector<Listed> out;
    std::string line;
    while (std::getline(lines, line))
    {
        Listed entry;
        char file[256] = {};
        if (std::sscanf(line.c_str(), "%d %d %255s", &entry.type, &entry.number, file) == 3)
        {
            entry.file = file;
            out.push_back(entry);
        }
    }
    return out;
}

// The bytes of a resource under one language of the loaded DLL; false when it isn't there.
bool sectionBytes(HMODULE dll, int type, int number, WORD language, std::string& bytes)
{
    HRSRC found = FindResourceExW(dll, MAKEINTRESOURCEW(type), MAKEINTRESOURCEW(number), language);
    if (!found) return false;
    HGLOBAL loaded = LoadResource(dll, found);
    const void* data = loaded ? LockResource(loaded) : nullptr;
    if (!data) return false;
    bytes.assign(static_cast<const char*>(data), SizeofResource(dll, found));
    return true;
}

class ModuleFileTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { dll = LoadLibraryW(widen(TREMOLIN_MODULE_PATH).c_str()); }
    static void TearDownTestSuite()
    {
        if (dll) FreeLibrary(dll);
        dll = nullptr;
    }
    void SetUp() override { ASSERT_TRUE(dll) << "LoadLibraryW failed with " << GetLastError(); }

    static HMODULE dll;
};
HMODULE ModuleFileTest::dll = nullptr;

TEST_F(ModuleFileTest, EveryListedResourceCarriesItsFileUnderItsTypeNumberAndLanguage)
{
    const std::vector<Listed> listed = listedResources();
    ASSERT_EQ(listed.size(), 17u);
    for (const Listed& entry : listed)
    {
        SCOPED_TRACE(entry.file);
        std::string file = fileBytes(entry.file);
        if (entry.type == kBitmapType) file.erase(0, kBitmapFileHeader);
        std::string bytes;
        ASSERT_TRUE(sectionBytes(dll, entry.type, entry.number, kResourceLanguage, bytes));
        EXPECT_EQ(bytes.size(), file.size());
        EXPECT_TRUE(bytes == file) << "bytes differ from the file";
        // A lookup in the thread's own language falls back to the one the module has.
        HRSRC plain = FindResourceW(dll, MAKEINTRESOURCEW(entry.number), MAKEINTRESOURCEW(entry.type));
        ASSERT_TRUE(plain);
        EXPECT_EQ(SizeofResource(dll, plain), file.size());
    }

    std::string none;
    EXPECT_FALSE(sectionBytes(dll, kDataType, 204, kResourceLanguage, none)) << "between two bitmaps";
    EXPECT_FALSE(sectionBytes(dll, kBitmapType, 1002, kResourceLanguage, none)) << "the about picture";
    EXPECT_FALSE(sectionBytes(dll, kDataType, 1000, kResourceLanguage, none)) << "the backdrop is no data";
    EXPECT_FALSE(sectionBytes(dll, kDataType, 1, kManifestLanguage, none)) << "the template in English";
}

TEST_F(ModuleFileTest, HostGetsTheTemplateAndPanelBitmapsFromTheEffectAsTheFilesBytes)
{
    std::string error;
    std::unique_ptr<hostkit::PluginModule> module = hostkit::PluginModule::load(TREMOLIN_MODULE_PATH, error);
    ASSERT_TRUE(module) << error;
    IMidiEffect* effect = module->instantiate(kMidiSeqClassId, error);
    ASSERT_TRUE(effect) << error;
    void* face = nullptr;
    ASSERT_EQ(effect->queryInterface(IUIFactory2::iid, &face), kResultOk);
    auto* ui = static_cast<IUIFactory2*>(face);

    int checked = 0;
    for (const Listed& entry : listedResources())
    {
        if (entry.type != kDataType) continue;
        SCOPED_TRACE(entry.file);
        const std::string file = fileBytes(entry.file);
        const std::string number = std::to_string(entry.number);
        int32_t size = -1;
        ASSERT_EQ(ui->getResource(number.c_str(), nullptr, &size), kResultOk);
        ASSERT_EQ(size_t(size), file.size());
        std::string bytes(size_t(size), '\0');
        ASSERT_EQ(ui->getResource(number.c_str(), bytes.data(), &size), kResultOk);
        EXPECT_TRUE(bytes == file) << "bytes differ from the file";
        ++checked;
    }
    EXPECT_EQ(checked, 15);

    // The view's pictures are bitmap resources; the host can't ask for them as data.
    int32_t size = -1;
    EXPECT_EQ(ui->getResource("1000", nullptr, &size), kResultFalse);

    const std::string editor = fileBytes("editor.xml");
    char name[64] = {};
    std::string text(editor.size(), '\0');
    size = int32_t(text.size());
    ASSERT_EQ(ui->getTemplate("editor", name, text.data(), &size), kResultOk);
    EXPECT_STREQ(name, "Tremolin");
    EXPECT_TRUE(text == editor);

    ui->release();
    module->destroy(effect);
    module->unload();
}

namespace
{
HMODULE finderModule = nullptr;

// The toolkit's way to the images, served from the loaded DLL's section by the system's calls.
bool findInSection(const char* type, const Plexel::CResourceDescription& description,
                   const unsigned char** data, uint32_t* size)
{
    const int kind = std::string(type) == Plexel::kResourceTypeBitmap ? kBitmapType : kDataType;
    HRSRC found =
        FindResourceW(finderModule, MAKEINTRESOURCEW(description.id.number), MAKEINTRESOURCEW(kind));
    HGLOBAL loaded = found ? LoadResource(finderModule, found) : nullptr;
    *data = loaded ? static_cast<const unsigned char*>(LockResource(loaded)) : nullptr;
    *size = found ? SizeofResource(finderModule, found) : 0;
    return *data != nullptr;
}

// How many pixels of an image differ from the 24-bit bottom-up BMP file it was made from.
int pixelsUnlike(const Plexel::CBitmap& image, const std::string& file)
{
    auto le32 = [&](size_t at)
    {
        return int32_t(uint8_t(file[at]) | uint8_t(file[at + 1]) << 8 | uint8_t(file[at + 2]) << 16 |
                       uint32_t(uint8_t(file[at + 3])) << 24);
    };
    const int32_t pixelsAt = le32(10), width = le32(18), height = le32(22);
    EXPECT_EQ(image.width(), width);
    EXPECT_EQ(image.height(), height);
    const size_t stride = (size_t(width) * 3 + 3) / 4 * 4;
    int unlike = 0;
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x)
        {
            const size_t at = size_t(pixelsAt) + size_t(height - 1 - y) * stride + size_t(x) * 3;
            const Plexel::CColor expected{uint8_t(file[at + 2]), uint8_t(file[at + 1]), uint8_t(file[at]),
                                          255};
            unlike += image.pixel(x, y) != expected;
        }
    return unlike;
}
} // namespace

// The view's pictures are bitmap resources (the BMP without its file header); the panel's are
// whole BMP files among the data, which GDI+ reads through a stream over the section.
TEST_F(ModuleFileTest, ImagesInTheSectionDecodeToTheFilesPixels)
{
    finderModule = dll;
    Plexel::setResourceFinder(findInSection);
    for (const Listed& entry : listedResources())
    {
        if (entry.number != 1000 && entry.number != 1001 && entry.number != 200 && entry.number != 202)
            continue;
        SCOPED_TRACE(entry.file);
        auto* image = new Plexel::CBitmap(Plexel::CResourceDescription(entry.number));
        ASSERT_GT(image->width(), 0);
        EXPECT_EQ(pixelsUnlike(*image, fileBytes(entry.file)), 0);
        image->release();
    }
    // A number in neither place: an empty image, no failure.
    auto* missing = new Plexel::CBitmap(Plexel::CResourceDescription(1002));
    EXPECT_EQ(missing->width(), 0);
    EXPECT_EQ(missing->height(), 0);
    missing->release();
    Plexel::setResourceFinder(nullptr);
}

TEST_F(ModuleFileTest, VersionBlockNamesTheReleaseAndDescribesTheFile)
{
    std::string block;
    ASSERT_TRUE(sectionBytes(dll, kVersionType, 1, kResourceLanguage, block));
    EXPECT_EQ(block.size(), 848u);

    const std::wstring path = widen(TREMOLIN_MODULE_PATH);
    const DWORD size = GetFileVersionInfoSizeW(path.c_str(), nullptr);
    ASSERT_GT(size, 0u);
    std::vector<char> info(size);
    ASSERT_TRUE(GetFileVersionInfoW(path.c_str(), 0, size, info.data()));

    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    ASSERT_TRUE(VerQueryValueW(info.data(), L"\\", reinterpret_cast<void**>(&fixed), &length));
    ASSERT_GE(length, sizeof(VS_FIXEDFILEINFO));
    EXPECT_EQ(fixed->dwSignature, 0xFEEF04BDu);
    // 1.2.1.42 as two words of two 16-bit halves each.
    EXPECT_EQ(fixed->dwFileVersionMS, 0x00010002u);
    EXPECT_EQ(fixed->dwFileVersionLS, 0x0001002Au);
    EXPECT_EQ(fixed->dwProductVersionMS, 0x00010002u);
    EXPECT_EQ(fixed->dwProductVersionLS, 0x0001002Au);
    EXPECT_EQ(fixed->dwFileType, DWORD(VFT_DLL));

    struct Translation
    {
        WORD language;
        WORD codePage;
    }* translation = nullptr;
    ASSERT_TRUE(VerQueryValueW(info.data(), L"\\VarFileInfo\\Translation",
                               reinterpret_cast<void**>(&translation), &length));
    ASSERT_GE(length, sizeof(Translation));
    EXPECT_EQ(translation->language, kResourceLanguage);

    auto text = [&](const wchar_t* key) -> std::wstring
    {
        wchar_t query[80];
        swprintf(query, 80, L"\\StringFileInfo\\%04x%04x\\%ls", translation->language, translation->codePage,
                 key);
        wchar_t* value = nullptr;
        UINT chars = 0;
        if (!VerQueryValueW(info.data(), query, reinterpret_cast<void**>(&value), &chars) || !value)
            return L"(missing)";
        return value;
    };
    EXPECT_EQ(text(L"FileDescription"), L"MIDI Effect Plug-In");
    EXPECT_EQ(text(L"FileVersion"), L"1.2.1.42");
    EXPECT_EQ(text(L"ProductVersion"), L"1.2.1.42");
    EXPECT_EQ(text(L"OriginalFilename"), L"Tremolin.dll");
}

TEST_F(ModuleFileTest, ManifestAsksForTheCallersRightsOnly)
{
    std::string manifest;
    ASSERT_TRUE(sectionBytes(dll, kManifestType, 2, kManifestLanguage, manifest));
    EXPECT_EQ(manifest.size(), 406u);
    EXPECT_TRUE(manifest == fileBytes("tremolin.manifest"));
    EXPECT_NE(manifest.find(R"(<requestedExecutionLevel level="asInvoker" uiAccess="false">)"),
              std::string::npos)
        << manifest;
    std::string other;
    EXPECT_FALSE(sectionBytes(dll, kManifestType, 2, kResourceLanguage, other));
    EXPECT_FALSE(sectionBytes(dll, kManifestType, 1, kManifestLanguage, other)) << "a program's number";
}
} // namespace
