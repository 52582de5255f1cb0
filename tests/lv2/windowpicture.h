#pragma once

// The screenshot probe of the editor tests: what a window on the display ($DISPLAY) shows.

#include <cstdint>
#include <string>
#include <vector>

namespace lv2test
{
struct WindowPicture
{
    int width = 0;
    int height = 0;
    std::vector<uint32_t> pixels; // 0xRRGGBB
};

// The pixels of the first window, at any depth, whose name starts with `prefix`, waiting up to
// `seconds` for it to exist and to be at least `minWidth` wide; false if none came.
bool pictureOfWindow(const std::string& prefix, int minWidth, double seconds, WindowPicture& picture);
} // namespace lv2test
