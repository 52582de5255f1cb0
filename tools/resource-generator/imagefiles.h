#pragma once

// The files the generator writes: 24-bit BMP for the module, PNG for looking at the pictures.

#include "raster.h"

#include <cstdint>
#include <string>
#include <vector>

// A complete BMP file: file header, info header, bottom-up rows padded to four bytes, and two
// zero bytes at the end. The module's bitmaps have always carried those two bytes, and the
// resource sizes that hosts see count them. bfSize is the whole file; biSizeImage is all that
// follows the pixel offset, the two bytes included.
std::vector<uint8_t> encodeBmp(const Image& image);

// An 8-bit RGB PNG whose image data is deflate's stored blocks: no compression, and so no
// library, but a file that every viewer opens.
std::vector<uint8_t> encodePng(const Image& image);

// False, with the reason on stderr, when the file can't be written.
bool writeFile(const std::string& path, const std::vector<uint8_t>& bytes);
