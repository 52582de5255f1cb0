#pragma once

// Two bitmap fonts drawn into the pictures: a 5-pixel one for captions and step numbers and a
// 7-pixel one for the words on the buttons. Capitals, digits and a little punctuation; glyphs
// have their own widths, so M and W get room while I and 1 stay narrow.

#include "raster.h"

#include <string_view>

enum class PixelFont
{
    tiny,  // 5 rows
    label, // 7 rows
};

int fontHeight(PixelFont font);
int textWidth(PixelFont font, std::string_view text, int scale = 1);

// Draws the text with its top left corner at (x, y); each font pixel becomes a square of
// `scale` pixels. Characters the font lacks are drawn as a blank of three columns.
void drawText(Image& image, PixelFont font, int x, int y, std::string_view text, Rgb colour, int scale = 1);

// The text centred in the box (x, y, width, height); an odd pixel left over goes to the left.
void drawTextCentred(Image& image, PixelFont font, int x, int y, int width, int height, std::string_view text,
                     Rgb colour, int scale = 1);
