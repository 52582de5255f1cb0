#include "raster.h"

#include <algorithm>
#include <cmath>

namespace
{
uint8_t channel(float v)
{
    return static_cast<uint8_t>(std::clamp(std::lround(v), 0L, 255L));
}
} // namespace

Rgb mix(Rgb a, Rgb b, float t)
{
    return {channel(a.r + (b.r - a.r) * t), channel(a.g + (b.g - a.g) * t), channel(a.b + (b.b - a.b) * t)};
}

Rgb lighten(Rgb c, int amount)
{
    return {channel(float(c.r + amount)), channel(float(c.g + amount)), channel(float(c.b + amount))};
}

Image::Image(int width, int height, Rgb fill)
    : w(width), h(height), pixels(size_t(width) * size_t(height), fill)
{
}

Rgb Image::get(int x, int y) const
{
    if (x < 0 || y < 0 || x >= w || y >= h) return {};
    return pixels[size_t(y) * size_t(w) + size_t(x)];
}

void Image::set(int x, int y, Rgb c)
{
    if (x < 0 || y < 0 || x >= w || y >= h) return;
    pixels[size_t(y) * size_t(w) + size_t(x)] = c;
}

void Image::blend(int x, int y, Rgb c, float alpha)
{
    if (alpha <= 0.0f) return;
    set(x, y, alpha >= 1.0f ? c : mix(get(x, y), c, alpha));
}

void Image::fillRect(int x, int y, int width, int height, Rgb c)
{
    for (int yy = y; yy < y + height; ++yy)
        for (int xx = x; xx < x + width; ++xx)
            set(xx, yy, c);
}

void Image::blendRect(int x, int y, int width, int height, Rgb c, float alpha)
{
    for (int yy = y; yy < y + height; ++yy)
        for (int xx = x; xx < x + width; ++xx)
            blend(xx, yy, c, alpha);
}

void Image::hline(int x0, int x1, int y, Rgb c)
{
    for (int x = x0; x <= x1; ++x)
        set(x, y, c);
}

void Image::vline(int x, int y0, int y1, Rgb c)
{
    for (int y = y0; y <= y1; ++y)
        set(x, y, c);
}

void Image::verticalGradient(int x, int y, int width, int height, Rgb top, Rgb bottom)
{
    for (int row = 0; row < height; ++row)
    {
        const float t = height > 1 ? float(row) / float(height - 1) : 0.0f;
        fillRect(x, y + row, width, 1, mix(top, bottom, t));
    }
}

void Image::fillShape(int x, int y, int width, int height, const std::function<bool(float, float)>& inside,
                      Rgb c, float alpha)
{
    constexpr int kSamples = 4;
    for (int py = y; py < y + height; ++py)
    {
        for (int px = x; px < x + width; ++px)
        {
            int hits = 0;
            for (int sy = 0; sy < kSamples; ++sy)
                for (int sx = 0; sx < kSamples; ++sx)
                    if (inside(float(px) + (float(sx) + 0.5f) / kSamples,
                               float(py) + (float(sy) + 0.5f) / kSamples))
                        ++hits;
            blend(px, py, c, alpha * float(hits) / float(kSamples * kSamples));
        }
    }
}

void Image::fillPolygon(const std::vector<PointF>& points, Rgb c, float alpha)
{
    if (points.size() < 3) return;
    float left = points[0].x, right = points[0].x, top = points[0].y, bottom = points[0].y;
    for (const PointF& p : points)
    {
        left = std::min(left, p.x);
        right = std::max(right, p.x);
        top = std::min(top, p.y);
        bottom = std::max(bottom, p.y);
    }
    // Even-odd rule: a sample is inside when a ray to the right crosses the outline an odd
    // number of times.
    auto inside = [&points](float sx, float sy)
    {
        bool in = false;
        for (size_t i = 0, j = points.size() - 1; i < points.size(); j = i++)
        {
            const PointF& a = points[i];
            const PointF& b = points[j];
            if ((a.y > sy) != (b.y > sy) && sx < (b.x - a.x) * (sy - a.y) / (b.y - a.y) + a.x) in = !in;
        }
        return in;
    };
    const int x0 = int(std::floor(left)), y0 = int(std::floor(top));
    fillShape(x0, y0, int(std::ceil(right)) - x0 + 1, int(std::ceil(bottom)) - y0 + 1, inside, c, alpha);
}

void Image::fillRoundRect(float x, float y, float width, float height, float radius, Rgb c, float alpha)
{
    auto inside = [=](float sx, float sy)
    {
        if (sx < x || sy < y || sx > x + width || sy > y + height) return false;
        // Distance from the corner circle's centre, for samples in a corner square only.
        const float cx = std::clamp(sx, x + radius, x + width - radius);
        const float cy = std::clamp(sy, y + radius, y + height - radius);
        const float dx = sx - cx, dy = sy - cy;
        return dx * dx + dy * dy <= radius * radius;
    };
    const int x0 = int(std::floor(x)), y0 = int(std::floor(y));
    fillShape(x0, y0, int(std::ceil(x + width)) - x0 + 1, int(std::ceil(y + height)) - y0 + 1, inside, c,
              alpha);
}

void Image::fillCircle(float cx, float cy, float radius, Rgb c, float alpha)
{
    auto inside = [=](float sx, float sy)
    { return (sx - cx) * (sx - cx) + (sy - cy) * (sy - cy) <= radius * radius; };
    const int x0 = int(std::floor(cx - radius)), y0 = int(std::floor(cy - radius));
    const int size = int(std::ceil(2 * radius)) + 2;
    fillShape(x0, y0, size, size, inside, c, alpha);
}

void Image::paste(const Image& source, int x, int y)
{
    for (int yy = 0; yy < source.height(); ++yy)
        for (int xx = 0; xx < source.width(); ++xx)
            set(x + xx, y + yy, source.get(xx, yy));
}

Image Image::crop(int x, int y, int width, int height) const
{
    Image part(width, height);
    for (int yy = 0; yy < height; ++yy)
        for (int xx = 0; xx < width; ++xx)
            part.set(xx, yy, get(x + xx, y + yy));
    return part;
}

Image Image::scaled(int factor) const
{
    Image big(w * factor, h * factor);
    for (int y = 0; y < big.height(); ++y)
        for (int x = 0; x < big.width(); ++x)
            big.set(x, y, get(x / factor, y / factor));
    return big;
}
