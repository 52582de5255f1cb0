#include "toolkit_helpers.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <utility>
#include <vector>

using namespace toolkit_test;

namespace
{
using Bytes = std::vector<unsigned char>;
std::map<std::pair<std::string, int32_t>, Bytes> resources;

bool findInTable(const char* type, const CResourceDescription& d, const unsigned char** data, uint32_t* size)
{
    if (!d.isNumber()) return false;
    auto it = resources.find({type, d.id.number});
    if (it == resources.end()) return false;
    *data = it->second.data();
    *size = uint32_t(it->second.size());
    return true;
}

void put32(Bytes& b, uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        b.push_back(uint8_t(v >> (8 * i)));
}
void put16(Bytes& b, uint16_t v)
{
    b.push_back(uint8_t(v));
    b.push_back(uint8_t(v >> 8));
}

// A 3 by 2 bitmap: top row red, green, blue; bottom row white, black, grey. The fourth byte
// of 32-bit pixels is 0, which a plain bitmap does not read as alpha.
Bytes bmp(int bits, bool fileHeader, bool topDown)
{
    const CColor rows[2][3] = {{kColorRed, kColorGreen, kColorBlue}, {kColorWhite, kColorBlack, kColorGrey}};
    const int stride = ((3 * bits + 31) / 32) * 4;
    Bytes pixels;
    for (int r = 0; r < 2; ++r)
    {
        const CColor* row = rows[topDown ? r : 1 - r];
        size_t start = pixels.size();
        for (int x = 0; x < 3; ++x)
        {
            pixels.push_back(row[x].blue);
            pixels.push_back(row[x].green);
            pixels.push_back(row[x].red);
            if (bits == 32) pixels.push_back(0);
        }
        while (pixels.size() - start < size_t(stride))
            pixels.push_back(0);
    }
    Bytes b;
    if (fileHeader)
    {
        b.push_back('B');
        b.push_back('M');
        put32(b, uint32_t(14 + 40 + pixels.size()));
        put32(b, 0);
        put32(b, 14 + 40);
    }
    put32(b, 40);
    put32(b, 3);
    put32(b, uint32_t(topDown ? -2 : 2));
    put16(b, 1);
    put16(b, uint16_t(bits));
    for (int i = 0; i < 6; ++i)
        put32(b, 0);
    b.insert(b.end(), pixels.begin(), pixels.end());
    return b;
}

// The file's bytes; the file is closed before it goes, as Windows requires.
Bytes takeFile(const std::filesystem::path& path)
{
    Bytes bytes;
    {
        std::ifstream in(path, std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    std::filesystem::remove(path);
    return bytes;
}

// A PNG with alpha, made by the toolkit itself: a 4 by 4 image whose left half is opaque red
// and whose right half is blue at alpha 128.
Bytes pngWithAlpha()
{
    auto* context = new COffscreenContext(nullptr, 4, 4);
    context->setFillColor(kColorRed);
    context->drawRect(CRect(0, 0, 2, 4), kDrawFilled);
    context->setFillColor(CColor{0, 0, 255, 128});
    context->drawRect(CRect(2, 0, 4, 4), kDrawFilled);
    auto path =
        std::filesystem::temp_directory_path() /
        ("toolkit-alpha-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + ".png");
    EXPECT_TRUE(context->bitmap()->writePng(path.string().c_str()));
    context->release();
    return takeFile(path);
}

class BitmapTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        resources.clear();
        setResourceFinder(findInTable);
    }
    void TearDown() override { setResourceFinder(nullptr); }
};

struct Canvas
{
    Canvas(int32_t w, int32_t h, CColor background) : context(new COffscreenContext(nullptr, w, h))
    {
        context->setFillColor(background);
        context->drawRect(CRect(0, 0, w, h), kDrawFilled);
    }
    ~Canvas() { context->release(); }
    CColor at(int32_t x, int32_t y) const { return context->bitmap()->pixel(x, y); }
    COffscreenContext* context;
};
} // namespace

TEST_F(BitmapTest, PlainBitmapsOfTwentyFourAndThirtyTwoBitsLoadOpaque)
{
    int32_t number = 1000;
    for (int bits : {24, 32})
        for (bool header : {true, false})
            for (bool topDown : {false, true})
            {
                resources[{kResourceTypeBitmap, number}] = bmp(bits, header, topDown);
                auto* b = new CBitmap(CResourceDescription(number));
                SCOPED_TRACE(std::to_string(bits) + (header ? " with header" : " bare") +
                             (topDown ? " top-down" : ""));
                ASSERT_EQ(b->width(), 3);
                ASSERT_EQ(b->height(), 2);
                EXPECT_EQ(b->pixel(0, 0), kColorRed);
                EXPECT_EQ(b->pixel(2, 0), kColorBlue);
                EXPECT_EQ(b->pixel(1, 1), kColorBlack);
                EXPECT_EQ(b->pixel(2, 1), kColorGrey);
                b->release();
                ++number;
            }

    // A damaged bitmap is no image, and no fault.
    Bytes cut = bmp(24, true, false);
    cut.resize(cut.size() - 5);
    resources[{kResourceTypeBitmap, 2000}] = cut;
    auto* broken = new CBitmap(CResourceDescription(2000));
    EXPECT_EQ(broken->width(), 0);
    broken->release();
}

TEST_F(BitmapTest, AnImageWithAlphaComesFirstAndKeepsItsAlpha)
{
    resources[{kResourceTypeData, 7}] = pngWithAlpha();
    resources[{kResourceTypeBitmap, 7}] = bmp(24, false, false);
    auto* b = new CBitmap(CResourceDescription(7));
    ASSERT_EQ(b->width(), 4);
    EXPECT_EQ(b->pixel(0, 0), kColorRed);
    EXPECT_TRUE(sameColour(b->pixel(3, 3), CColor{0, 0, 255, 128}, 1));

    // Drawn over white, the translucent half blends; draw and drawTransparent agree.
    Canvas plain(6, 4, kColorWhite), transparent(6, 4, kColorWhite);
    b->draw(plain.context, CRect(0, 0, 4, 4));
    b->drawTransparent(transparent.context, CRect(0, 0, 4, 4));
    EXPECT_EQ(plain.at(1, 1), kColorRed);
    EXPECT_TRUE(sameColour(plain.at(3, 1), CColor{127, 127, 255, 255}, 2));
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 6; ++x)
            EXPECT_EQ(plain.at(x, y), transparent.at(x, y));
    b->release();
}

TEST_F(BitmapTest, DrawingTakesTheSourceOffsetAndLeavesWhatLiesBeyondTheImage)
{
    resources[{kResourceTypeBitmap, 1}] = bmp(24, true, false);
    auto* b = new CBitmap(CResourceDescription(1));
    Canvas c(10, 10, kColorYellow);
    c.context->offset = {2, 2};
    b->draw(c.context, CRect(0, 0, 8, 8), CPoint(1, 0));
    EXPECT_EQ(c.at(2, 2), kColorGreen);
    EXPECT_EQ(c.at(3, 2), kColorBlue);
    EXPECT_EQ(c.at(3, 3), kColorGrey);
    EXPECT_EQ(c.at(4, 2), kColorYellow);
    EXPECT_EQ(c.at(2, 4), kColorYellow);
    EXPECT_EQ(c.at(1, 1), kColorYellow);

    Canvas faded(3, 2, kColorWhite), none(3, 2, kColorWhite);
    b->drawAlpha(faded.context, CRect(0, 0, 3, 2), CPoint(), 128);
    b->drawAlpha(none.context, CRect(0, 0, 3, 2), CPoint(), 0);
    EXPECT_TRUE(sameColour(faded.at(1, 1), CColor{127, 127, 127, 255}, 2));
    EXPECT_TRUE(sameColour(faded.at(0, 0), CColor{255, 127, 127, 255}, 2));
    EXPECT_EQ(none.at(0, 0), kColorWhite);
    EXPECT_EQ(none.at(1, 1), kColorWhite);
    b->release();
}

TEST_F(BitmapTest, AnUnknownNumberGivesAnEmptyBitmapThatDrawsNothing)
{
    auto* b = new CBitmap(CResourceDescription(4711));
    EXPECT_EQ(b->width(), 0);
    EXPECT_EQ(b->height(), 0);
    Canvas c(4, 4, kColorWhite);
    b->draw(c.context, CRect(0, 0, 4, 4));
    EXPECT_EQ(c.at(1, 1), kColorWhite);
    EXPECT_FALSE(b->loadFromPath("/nonexistent.png"));
    b->release();

    // A description by name reaches the finder too, which here knows none.
    auto* named = new CBitmap(CResourceDescription("background"));
    EXPECT_EQ(named->width(), 0);
    named->release();
}

TEST_F(BitmapTest, OffscreenSurfacesStartTransparentAndCopyOnlyWhatTheyHold)
{
    auto* empty = new COffscreenContext(nullptr, 0, 0);
    empty->setFillColor(kColorRed);
    empty->drawRect(CRect(0, 0, 10, 10), kDrawFilled);
    EXPECT_EQ(empty->bitmap()->width(), 0);
    CRect clip;
    EXPECT_TRUE(empty->copyClipRect(clip).isEmpty());
    empty->release();

    auto* source = new COffscreenContext(nullptr, 4, 4, kColorRed);
    EXPECT_EQ(source->bitmap()->pixel(0, 0), (CColor{0, 0, 0, 0}));
    EXPECT_EQ(source->backgroundColor(), kColorRed);
    source->setFillColor(kColorBlue);
    source->drawRect(CRect(0, 0, 4, 4), kDrawFilled);
    Canvas target(10, 10, kColorWhite);
    // The rectangle reaches past the 4 by 4 surface: only the surface's pixels arrive.
    source->copyTo(target.context, CRect(2, 2, 10, 10), CPoint(1, 1));
    EXPECT_EQ(target.at(2, 2), kColorBlue);
    EXPECT_EQ(target.at(4, 4), kColorBlue);
    EXPECT_EQ(target.at(5, 5), kColorWhite);
    EXPECT_EQ(target.at(1, 1), kColorWhite);
    source->release();

    // Over a given bitmap: straight into it, or into a copy.
    auto* bitmap = new CBitmap(nullptr, 5, 5);
    auto* direct = new COffscreenContext(target.context, bitmap, true);
    direct->setFillColor(kColorGreen);
    direct->drawRect(CRect(0, 0, 1, 1), kDrawFilled);
    EXPECT_EQ(bitmap->pixel(0, 0), kColorGreen);
    EXPECT_EQ(direct->bitmap(), nullptr);
    direct->release();
    auto* copy = new COffscreenContext(target.context, bitmap, false);
    EXPECT_EQ(copy->bitmap()->pixel(0, 0), kColorGreen);
    copy->setFillColor(kColorRed);
    copy->drawRect(CRect(0, 0, 1, 1), kDrawFilled);
    EXPECT_EQ(bitmap->pixel(0, 0), kColorGreen);
    copy->release();
    bitmap->release();
}

TEST_F(BitmapTest, TheDrawingSystemRunsWhileAFrameOrBitmapNeedsIt)
{
    ASSERT_FALSE(drawingSystemRunning());
    const int32_t starts = drawingSystemStarts();
    auto* first = new CFrame(CRect(0, 0, 10, 10), nullptr, nullptr);
    auto* second = new CFrame(CRect(0, 0, 10, 10), nullptr, nullptr);
    auto* bitmap = new CBitmap(nullptr, 2, 2);
    EXPECT_EQ(drawingSystemStarts(), starts + 1);
    delete first;
    delete second;
    EXPECT_TRUE(drawingSystemRunning());

    auto* text = new COffscreenContext(nullptr, 20, 20);
    text->setFontColor(kColorBlack);
    text->drawStringAt("x", {2, 15}, true);
    EXPECT_TRUE(kFontSystem->hasPlatformFont());
    text->release();
    bitmap->release();
    EXPECT_FALSE(drawingSystemRunning());
    // Going down drops the standard fonts' platform fonts; coming up makes new ones on use.
    EXPECT_FALSE(kFontSystem->hasPlatformFont());

    auto* again = new CBitmap(nullptr, 1, 1);
    EXPECT_EQ(drawingSystemStarts(), starts + 2);
    again->release();
}

TEST_F(BitmapTest, AViewTreeRendersToAPngFileThatLoadsBackAsTheSamePicture)
{
    CFrame frame(CRect(0, 0, 30, 20), nullptr, nullptr);
    frame.setBackgroundColor(kColorWhite);
    frame.addView(new PaintView(CRect(10, 5, 20, 15), kColorBlue));
    auto path = std::filesystem::temp_directory_path() / "toolkit-render-test.png";
    ASSERT_TRUE(renderToPng(&frame, path.string().c_str()));
    EXPECT_FALSE(renderToPng(nullptr, path.string().c_str()));
    EXPECT_FALSE(renderToPng(&frame, "/nonexistent-folder/x.png"));
    resources[{kResourceTypeData, 9}] = takeFile(path);
    auto* loaded = new CBitmap(CResourceDescription(9));
    ASSERT_EQ(loaded->width(), 30);
    ASSERT_EQ(loaded->height(), 20);
    EXPECT_EQ(loaded->pixel(15, 10), kColorBlue);
    EXPECT_EQ(loaded->pixel(9, 10), kColorWhite);
    EXPECT_EQ(loaded->pixel(20, 15), kColorWhite);
    loaded->release();

    // A child renders alone, moved to the picture's origin.
    CBitmap* child = renderToBitmap(frame.childAt(0));
    EXPECT_EQ(child->width(), 10);
    EXPECT_EQ(child->pixel(0, 0), kColorBlue);
    EXPECT_EQ(child->pixel(9, 9), kColorBlue);
    child->release();
}
