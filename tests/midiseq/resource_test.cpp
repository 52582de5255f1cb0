#include "plugbase/moduleresources.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <map>
#include <regex>
#include <string>
#include <vector>

namespace
{
struct Sized
{
    int32_t type;
    int32_t number;
    int32_t bytes;
    int32_t width; // 0 for resources that are not pictures
    int32_t height;
};

// Hosts ask for the size before the bytes and know these numbers; the pictures' sizes are those
// of the controls that show them.
constexpr Sized kResources[] = {
    {kResourceData, 1, 3201, 0, 0},         {kResourceData, 2, 290, 0, 0},
    {kResourceData, 200, 732424, 670, 364}, {kResourceData, 201, 4088, 56, 24},
    {kResourceData, 202, 320, 8, 11},       {kResourceData, 203, 5816, 32, 60},
    {kResourceData, 205, 5816, 32, 60},     {kResourceData, 207, 5816, 32, 60},
    {kResourceData, 209, 5816, 32, 60},     {kResourceData, 211, 14456, 79, 60},
    {kResourceData, 223, 8456, 46, 60},     {kResourceData, 225, 7976, 44, 60},
    {kResourceData, 227, 7976, 44, 60},     {kResourceData, 229, 7976, 44, 60},
    {kResourceData, 231, 8216, 45, 60},     {kResourceBitmap, 1000, 416802, 603, 230},
    {kResourceBitmap, 1001, 714, 18, 12},
};

uint32_t le32(const uint8_t* p)
{
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

uint16_t le16(const uint8_t* p)
{
    return uint16_t(p[0] | p[1] << 8);
}

// A 24-bit picture read from a resource: a BMP file, or, for a bitmap resource, the same without
// its file header. Pixels are addressed top-down, as the views draw them.
struct Picture
{
    int32_t width = 0;
    int32_t height = 0;
    const uint8_t* pixels = nullptr;
    uint32_t stride = 0;
    bool bottomUp = true;

    std::string at(int x, int y) const
    {
        const uint8_t* p = pixels + size_t(stride) * size_t(bottomUp ? height - 1 - y : y) + size_t(x) * 3;
        return std::to_string(p[2]) + "," + std::to_string(p[1]) + "," + std::to_string(p[0]);
    }
};

// Checks every header field against the resource's bytes; fails the test and gives an empty
// picture when they disagree.
Picture readPicture(int32_t type, int32_t number)
{
    SCOPED_TRACE("resource " + std::to_string(number));
    PModuleResource resource;
    if (!findModuleResource(type, number, resource))
    {
        ADD_FAILURE() << "missing";
        return {};
    }
    const uint8_t* bytes = resource.bytes;
    const uint32_t size = uint32_t(resource.size);
    uint32_t infoAt = 0;
    uint32_t pixelsAt = 40;
    if (type == kResourceData)
    {
        if (size < 54 || bytes[0] != 'B' || bytes[1] != 'M')
        {
            ADD_FAILURE() << "not a BMP file";
            return {};
        }
        EXPECT_EQ(le32(bytes + 2), size) << "bfSize";
        pixelsAt = le32(bytes + 10);
        EXPECT_EQ(pixelsAt, 54u) << "bfOffBits: no palette in a 24-bit file";
        infoAt = 14;
    }
    else
    {
        // Windows hands a bitmap resource over from the info header on.
        EXPECT_FALSE(size >= 2 && bytes[0] == 'B' && bytes[1] == 'M')
            << "file header left in a bitmap resource";
    }
    if (size < infoAt + 40)
    {
        ADD_FAILURE() << "too short for a header";
        return {};
    }
    const uint8_t* info = bytes + infoAt;
    EXPECT_EQ(le32(info), 40u) << "biSize";
    Picture picture;
    picture.width = int32_t(le32(info + 4));
    const int32_t rawHeight = int32_t(le32(info + 8));
    picture.bottomUp = rawHeight > 0;
    picture.height = picture.bottomUp ? rawHeight : -rawHeight;
    EXPECT_EQ(le16(info + 12), 1) << "planes";
    EXPECT_EQ(le16(info + 14), 24) << "bits per pixel";
    EXPECT_EQ(le32(info + 16), 0u) << "compression";
    EXPECT_EQ(le32(info + 32), 0u) << "palette entries";
    EXPECT_EQ(le32(info + 20), size - pixelsAt) << "biSizeImage: everything after the pixel offset";
    picture.stride = (uint32_t(picture.width) * 3 + 3) & ~3u;
    const uint64_t needed = uint64_t(pixelsAt) + uint64_t(picture.stride) * uint64_t(picture.height);
    if (picture.width <= 0 || picture.height <= 0 || needed > size)
    {
        ADD_FAILURE() << picture.width << " by " << picture.height << " does not fit in " << size << " bytes";
        return {};
    }
    picture.pixels = bytes + pixelsAt;
    return picture;
}

TEST(ResourceTest, EveryResourceHasItsSizeEveryPictureItsHeaderAndNoOthersAnswer)
{
    for (const Sized& r : kResources)
    {
        PModuleResource resource;
        ASSERT_TRUE(findModuleResource(r.type, r.number, resource)) << r.number;
        EXPECT_EQ(resource.size, r.bytes) << r.number;
        if (r.width == 0) continue;
        const Picture picture = readPicture(r.type, r.number);
        EXPECT_EQ(picture.width, r.width) << r.number;
        EXPECT_EQ(picture.height, r.height) << r.number;
    }
    PModuleResource resource;
    EXPECT_FALSE(findModuleResource(kResourceData, 204, resource)) << "between two bitmaps";
    EXPECT_FALSE(findModuleResource(kResourceBitmap, 1002, resource)) << "the about picture is not carried";
    // The view's bitmaps are not data: a host asking for 1000 by number finds nothing.
    EXPECT_FALSE(findModuleResource(kResourceData, 1000, resource));
    EXPECT_FALSE(findModuleResource(kResourceBitmap, 200, resource));
}

TEST(ResourceTest, BackdropLaysColumnsAndLinesUnderTheCellsOfTheView)
{
    const Picture backdrop = readPicture(kResourceBitmap, 1000);
    ASSERT_TRUE(backdrop.pixels);
    const std::string field = "0,13,26", separator = "44,59,64";
    const std::string beatColumn = "4,23,42", beatSeparator = "45,66,77";

    // Step s is the cell at x 22 + 18 s in the note grid (rows 14..133), the tie lane
    // (141..152) and the bars (160..227); each cell starts with its separator.
    for (int y : {14, 70, 133, 141, 152, 160, 200, 227})
    {
        for (int step = 0; step < 32; ++step)
        {
            SCOPED_TRACE("step " + std::to_string(step) + ", y " + std::to_string(y));
            const int x = 22 + 18 * step;
            const bool beat = step % 8 == 0;
            EXPECT_EQ(backdrop.at(x, y), beat ? beatSeparator : separator);
            EXPECT_EQ(backdrop.at(x + 1, y), beat ? beatColumn : field);
            EXPECT_EQ(backdrop.at(x + 17, y), beat ? beatColumn : field);
        }
        EXPECT_EQ(backdrop.at(598, y), separator) << "after the last step, y " << y;
        EXPECT_EQ(backdrop.at(600, y), field) << y;
    }
    EXPECT_EQ(backdrop.at(12, 70), field) << "key column";

    // The grid and the bars are closed above and below, in the colour of each column's separator.
    for (int y : {13, 134, 159, 228})
    {
        EXPECT_EQ(backdrop.at(22 + 9, y), beatSeparator) << y;
        EXPECT_EQ(backdrop.at(40 + 9, y), separator) << y;
        EXPECT_EQ(backdrop.at(22 + 18 * 24 + 5, y), beatSeparator) << y;
        EXPECT_EQ(backdrop.at(597, y), separator) << y;
    }

    // Every step has its number above the grid, inside its own column.
    for (int step = 0; step < 32; ++step)
    {
        int ink = 0;
        for (int y = 0; y < 13; ++y)
            for (int x = 22 + 18 * step + 1; x < 22 + 18 * step + 18; ++x)
                ink += backdrop.at(x, y) != field;
        EXPECT_GT(ink, 3) << "number of step " << step;
    }

    // The tie mark fills a cell of the tie lane; it must show a sign, not just the cell.
    const Picture tie = readPicture(kResourceBitmap, 1001);
    ASSERT_TRUE(tie.pixels);
    int sign = 0;
    for (int y = 0; y < tie.height; ++y)
        for (int x = 1; x < tie.width; ++x)
            sign += tie.at(x, y) != field;
    EXPECT_GT(sign, 12);
}

struct Rect
{
    int x = 0, y = 0, w = 0, h = 0;
};

Rect parseSize(const std::string& text)
{
    Rect r;
    EXPECT_EQ(std::sscanf(text.c_str(), "%d ,%d ,%d ,%d", &r.x, &r.y, &r.w, &r.h), 4) << text;
    return r;
}

TEST(ResourceTest, TemplateBitmapsAreCarriedAndFitTheControlsThatShowThem)
{
    PModuleResource resource;
    ASSERT_TRUE(findModuleResource(kResourceData, 1, resource));
    const std::string text(reinterpret_cast<const char*>(resource.bytes), size_t(resource.size));

    struct Tag
    {
        std::string name;
        std::map<std::string, std::string> attributes;
        Rect absolute; // `size` moved by the groups around the element
        bool sized = false;
        std::string inTemplate;
    };
    std::vector<Tag> tags;
    std::vector<std::pair<int, int>> origins{{0, 0}};
    std::string currentTemplate;
    const std::regex tagPattern(R"(<(/?)(\w+)([^>]*?)(/?)>)");
    const std::regex attributePattern(R"re((\w+)="([^"]*)")re");
    for (auto it = std::sregex_iterator(text.begin(), text.end(), tagPattern); it != std::sregex_iterator();
         ++it)
    {
        const std::smatch& m = *it;
        if (m[1] == "/")
        {
            ASSERT_GT(origins.size(), 1u) << "unbalanced </" << m[2] << ">";
            origins.pop_back();
            continue;
        }
        Tag tag;
        tag.name = m[2];
        const std::string body = m[3];
        for (auto a = std::sregex_iterator(body.begin(), body.end(), attributePattern);
             a != std::sregex_iterator(); ++a)
            tag.attributes[(*a)[1]] = (*a)[2];
        if (tag.name == "template") currentTemplate = tag.attributes["name"];
        tag.inTemplate = currentTemplate;
        std::pair<int, int> origin = origins.back();
        if (tag.attributes.count("size"))
        {
            const Rect r = parseSize(tag.attributes["size"]);
            tag.absolute = {origin.first + r.x, origin.second + r.y, r.w, r.h};
            tag.sized = true;
            origin = {tag.absolute.x, tag.absolute.y};
        }
        if (tag.name == "template") origin = {0, 0};
        if (m[4] != "/") origins.push_back(origin);
        tags.push_back(tag);
    }
    ASSERT_EQ(origins.size(), 1u) << "unclosed elements";

    std::map<std::string, Picture> bitmaps;
    for (const Tag& tag : tags)
    {
        if (tag.name != "bitmap") continue;
        const std::string& path = tag.attributes.at("path");
        const int number = std::atoi(path.c_str());
        ASSERT_EQ(std::to_string(number), path) << "a bitmap's path is its resource number";
        bitmaps[tag.attributes.at("name")] = readPicture(kResourceData, number);
    }
    EXPECT_EQ(bitmaps.size(), 13u);

    auto bitmap = [&bitmaps](const std::string& name) -> const Picture*
    {
        auto found = bitmaps.find(name);
        return found == bitmaps.end() ? nullptr : &found->second;
    };
    const Picture* panel = nullptr;
    int checkedSwitches = 0;
    for (const Tag& tag : tags)
    {
        SCOPED_TRACE("<" + tag.name + " " + (tag.attributes.count("name") ? tag.attributes.at("name") : "") +
                     ">");
        for (const char* attribute : {"bitmap", "background", "handle"})
        {
            if (tag.attributes.count(attribute))
            {
                EXPECT_TRUE(bitmap(tag.attributes.at(attribute))) << attribute << " names no bitmap";
            }
        }

        if (tag.name == "template")
            panel = tag.attributes.count("background") ? bitmap(tag.attributes.at("background")) : nullptr;
        if (tag.name == "switch" && bitmap(tag.attributes.at("bitmap")))
        {
            // Three pictures of the control's size, one above the other.
            const Picture* strip = bitmap(tag.attributes.at("bitmap"));
            EXPECT_EQ(strip->width, tag.absolute.w);
            EXPECT_EQ(strip->height, 3 * tag.absolute.h);
            ++checkedSwitches;
        }
        if (tag.name == "slider" && bitmap(tag.attributes.at("background")) &&
            bitmap(tag.attributes.at("handle")))
        {
            const Picture* track = bitmap(tag.attributes.at("background"));
            const Picture* handle = bitmap(tag.attributes.at("handle"));
            EXPECT_EQ(track->width, tag.absolute.w);
            EXPECT_EQ(track->height, 2 * tag.absolute.h);
            EXPECT_LE(handle->height, tag.absolute.h);
            EXPECT_LT(handle->width, tag.absolute.w);
        }
        if (panel && panel->pixels && tag.sized && tag.inTemplate == "Tremolin")
        {
            EXPECT_GE(tag.absolute.x, 0);
            EXPECT_GE(tag.absolute.y, 0);
            EXPECT_LE(tag.absolute.x + tag.absolute.w, panel->width) << "runs off the panel";
            EXPECT_LE(tag.absolute.y + tag.absolute.h, panel->height) << "runs off the panel";
        }
    }
    EXPECT_EQ(checkedSwitches, 10);

    // The three pictures of each button must differ, or the button shows no hover or press.
    for (const auto& [name, strip] : bitmaps)
    {
        if (!strip.pixels || strip.height != 60) continue;
        auto differs = [&strip](int a, int b)
        {
            for (int y = 0; y < 20; ++y)
                for (int x = 0; x < strip.width; ++x)
                    if (strip.at(x, a * 20 + y) != strip.at(x, b * 20 + y)) return true;
            return false;
        };
        EXPECT_TRUE(differs(0, 1)) << name << ": hover looks like rest";
        EXPECT_TRUE(differs(1, 2)) << name << ": pressed looks like hover";
        EXPECT_TRUE(differs(0, 2)) << name << ": pressed looks like rest";
    }
}
} // namespace
