// Draws the module's pictures and writes them as the BMP files that the resource list embeds.
// The files are committed; run this again after changing a picture:
//
//   tremolin_resource_generator <resource folder> [<preview folder>]
//
// With a preview folder it also writes each picture as PNG, small ones enlarged, and the whole
// panel as a host would show it, for looking at.

#include "imagefiles.h"
#include "pictures.h"

#include <cstdio>
#include <string>

int main(int argc, char** argv)
{
    if (argc < 2 || argc > 3)
    {
        std::fprintf(stderr, "Usage: %s <output folder> [<preview folder>]\n", argv[0]);
        return 2;
    }
    const std::string output = argv[1];
    const std::vector<Picture> pictures = drawPictures();
    for (const Picture& p : pictures)
        if (!writeFile(output + "/" + p.file, encodeBmp(p.image))) return 1;

    if (argc == 3)
    {
        const std::string previews = argv[2];
        for (const Picture& p : pictures)
        {
            const int scale = p.image.width() < 100 ? 6 : (p.image.width() < 700 ? 2 : 1);
            const std::string name = p.file.substr(0, p.file.size() - 4) + ".png";
            if (!writeFile(previews + "/" + name, encodePng(p.image.scaled(scale)))) return 1;
        }
        const Image panel = drawPanelPreview(pictures);
        if (!writeFile(previews + "/panel-preview.png", encodePng(panel)) ||
            !writeFile(previews + "/panel-preview-x2.png", encodePng(panel.scaled(2))))
            return 1;
    }
    return 0;
}
