#pragma once

// Every picture the module carries: the panel with its buttons and slider for the host's
// template, and the backdrop and tie mark that the sequencer view loads for itself.

#include "raster.h"

#include <string>
#include <vector>

struct Picture
{
    int number;       // resource number
    bool rawBitmap;   // a bitmap resource, which the module holds without the file header
    std::string file; // name of the BMP file next to the template
    Image image;
};

std::vector<Picture> drawPictures();

// The panel as a host would show it, with the buttons and slider in place and a few notes,
// ties and bars in the sequencer view: only for looking at, never shipped.
Image drawPanelPreview(const std::vector<Picture>& pictures);
