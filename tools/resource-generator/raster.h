#pragma once

// A plain RGB raster with the few drawing operations the module's pictures need. Shapes are
// anti-aliased by supersampling so that small glyphs and rounded keys stay clean at 1:1.

#include <cstdint>
#include <functional>
#include <vector>

struct Rgb
{
    uint8_t r = 0;
    uint8_t g = 0;
    uint8_t b = 0;

    friend bool operator==(const Rgb&, const Rgb&) = default;
};

// Linear mix of two colours: t 0 gives a, 1 gives b.
Rgb mix(Rgb a, Rgb b, float t);
Rgb lighten(Rgb c, int amount);

struct PointF
{
    float x = 0;
    float y = 0;
};

class Image
{
public:
    Image() = default;
    Image(int width, int height, Rgb fill = {});

    int width() const { return w; }
    int height() const { return h; }

    // Reads outside the raster give black; writes outside it are dropped, so callers can
    // draw shapes that run over the edge.
    Rgb get(int x, int y) const;
    void set(int x, int y, Rgb c);
    void blend(int x, int y, Rgb c, float alpha);

    void fillRect(int x, int y, int width, int height, Rgb c);
    void blendRect(int x, int y, int width, int height, Rgb c, float alpha);
    void hline(int x0, int x1, int y, Rgb c); // x0..x1 inclusive
    void vline(int x, int y0, int y1, Rgb c); // y0..y1 inclusive
    void verticalGradient(int x, int y, int width, int height, Rgb top, Rgb bottom);

    // Covers every pixel of the box (x, y, width, height) by the share of its 4 x 4 sample
    // points for which `inside` is true, in colour c at the given opacity.
    void fillShape(int x, int y, int width, int height, const std::function<bool(float, float)>& inside,
                   Rgb c, float alpha = 1.0f);
    void fillPolygon(const std::vector<PointF>& points, Rgb c, float alpha = 1.0f);
    void fillRoundRect(float x, float y, float width, float height, float radius, Rgb c, float alpha = 1.0f);
    void fillCircle(float cx, float cy, float radius, Rgb c, float alpha = 1.0f);

    void paste(const Image& source, int x, int y);
    Image crop(int x, int y, int width, int height) const;
    Image scaled(int factor) const; // nearest neighbour, for looking at small pictures

private:
    int w = 0;
    int h = 0;
    std::vector<Rgb> pixels;
};
