// The draw context's platform half on Cairo. The toolkit's pixel model puts a one-pixel pen at
// integer coordinates on exactly one row of pixels, as the Windows half does; Cairo puts pixel
// centres at half coordinates, so strokes move by half a pixel and fills stay where they are.

#include "foundation/textcodec.h"
#include "toolkit/platform/types_cairo.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

namespace Plexel
{

namespace
{
constexpr double kPi = 3.14159265358979323846;

void setSource(cairo_t* cr, uint32_t argb)
{
    cairo_set_source_rgba(cr, double((argb >> 16) & 0xFF) / 255.0, double((argb >> 8) & 0xFF) / 255.0,
                          double(argb & 0xFF) / 255.0, double(argb >> 24) / 255.0);
}

// Cairo puts itself in a lasting error state on invalid UTF-8, after which it draws nothing at
// all in that context. Text is checked by the one decoder the code base has, which refuses
// overlong forms, encoded surrogates and values past U+10FFFF; each bad sequence shows as the
// replacement character, as everywhere else text is read leniently. Valid text is passed as it is.
class DrawableUtf8
{
public:
    explicit DrawableUtf8(const char* text) : given(text)
    {
        const size_t count = std::strlen(text);
        size_t i = 0;
        for (foundation::text::Utf8Sequence s; i < count; i += s.length)
            if ((s = foundation::text::decodeUtf8(text, count, i)).codePoint < 0) break;
        if (i == count) return;
        repaired.assign(text, i);
        while (i < count)
        {
            const foundation::text::Utf8Sequence s = foundation::text::decodeUtf8(text, count, i);
            if (s.codePoint >= 0)
                repaired.append(text + i, s.length);
            else
                repaired.append("\xEF\xBF\xBD");
            i += s.length;
        }
        given = repaired.c_str();
    }
    const char* text() const { return given; }

private:
    const char* given;
    std::string repaired;
};

// The parameter of the point of an ellipse that lies at a geometric angle from its centre, so
// that arcs of ellipses start and end on the rays the angles give.
double ellipseParameter(double angle, double rx, double ry)
{
    double t = std::atan2(rx * std::sin(angle), ry * std::cos(angle));
    double correction = std::remainder(t - angle, 2.0 * kPi);
    return angle + correction;
}

class CairoGraphics : public NativeGraphics
{
public:
    explicit CairoGraphics(cairo_t* context) : cr(context)
    {
        if (cr)
        {
            cairo_set_antialias(cr, CAIRO_ANTIALIAS_NONE);
            cairo_set_line_cap(cr, CAIRO_LINE_CAP_BUTT);
            cairo_set_line_join(cr, CAIRO_LINE_JOIN_MITER);
            cairo_set_operator(cr, CAIRO_OPERATOR_OVER);
        }
    }
    ~CairoGraphics() override
    {
        if (cr) cairo_destroy(cr);
    }

    bool hasSurface() const override { return cr != nullptr; }

    void setClip(const CRect& r) override
    {
        if (!cr) return;
        cairo_reset_clip(cr);
        cairo_new_path(cr);
        cairo_rectangle(cr, r.left, r.top, std::max(0, r.width()), std::max(0, r.height()));
        cairo_clip(cr);
    }
    void setPenColor(uint32_t argb) override { pen = argb; }
    void setFillColor(uint32_t argb) override { fill = argb; }
    void setFontColor(uint32_t argb) override { text = argb; }
    void setLineWidth(float width) override { lineWidth = width; }
    void setDashed(bool value) override { dotted = value; }
    void setAntialias(bool on) override
    {
        antialias = on;
        if (cr) cairo_set_antialias(cr, on ? CAIRO_ANTIALIAS_DEFAULT : CAIRO_ANTIALIAS_NONE);
    }

    void drawLine(CPoint from, CPoint to) override
    {
        if (!cr) return;
        cairo_new_path(cr);
        cairo_move_to(cr, from.x + 0.5, from.y + 0.5);
        cairo_line_to(cr, to.x + 0.5, to.y + 0.5);
        stroke();
    }
    void fillRect(float x, float y, float w, float h) override
    {
        if (!cr) return;
        cairo_new_path(cr);
        cairo_rectangle(cr, x, y, w, h);
        fillPath(CAIRO_FILL_RULE_WINDING);
    }
    void strokeRect(float x, float y, float w, float h) override
    {
        if (!cr) return;
        cairo_new_path(cr);
        cairo_rectangle(cr, x + 0.5, y + 0.5, w, h);
        stroke();
    }
    void fillEllipse(int32_t x, int32_t y, int32_t w, int32_t h) override
    {
        if (!cr || !ellipsePath(x, y, w, h, 0.0, 0.0, 2.0 * kPi, false)) return;
        fillPath(CAIRO_FILL_RULE_WINDING);
    }
    void strokeEllipse(int32_t x, int32_t y, int32_t w, int32_t h) override
    {
        if (!cr || !ellipsePath(x, y, w, h, 0.5, 0.0, 2.0 * kPi, false)) return;
        cairo_close_path(cr);
        stroke();
    }
    void fillPolygon(const NativePointF* points, int32_t count) override
    {
        if (!cr || count < 1) return;
        polygonPath(points, count, 0.0, true);
        fillPath(CAIRO_FILL_RULE_EVEN_ODD);
    }
    void strokePolygon(const NativePointF* points, int32_t count, bool closed) override
    {
        if (!cr || count < 1) return;
        polygonPath(points, count, 0.5, closed);
        stroke();
    }
    void fillArc(float x, float y, float w, float h, float start, float sweep) override
    {
        if (!cr || !arcPath(x, y, w, h, start, sweep, 0.0)) return;
        fillPath(CAIRO_FILL_RULE_EVEN_ODD);
    }
    void strokeArc(float x, float y, float w, float h, float start, float sweep) override
    {
        if (!cr || !arcPath(x, y, w, h, start, sweep, 0.5)) return;
        stroke();
    }

    float measureString(NativeFont* font, const char* utf8) override
    {
        if (!cr || !font || !utf8) return -1.f;
        if (!*utf8) return 0.f;
        const DrawableUtf8 drawable(utf8);
        selectFont(font, true);
        cairo_text_extents_t extents;
        cairo_text_extents(cr, drawable.text(), &extents);
        return float(extents.x_advance);
    }
    float fontHeight(NativeFont* font) override
    {
        if (!cr || !font) return 0.f;
        selectFont(font, true);
        cairo_font_extents_t extents;
        cairo_font_extents(cr, &extents);
        return float(extents.height);
    }
    void drawString(NativeFont* font, const char* utf8, float x, float y, bool smooth) override
    {
        if (!cr || !font || !utf8 || !*utf8) return;
        const DrawableUtf8 drawable(utf8);
        utf8 = drawable.text();
        selectFont(font, smooth);
        cairo_font_extents_t fe;
        cairo_font_extents(cr, &fe);
        setSource(cr, text);
        const double baseline = y + fe.ascent;
        cairo_new_path(cr);
        cairo_move_to(cr, x, baseline);
        cairo_show_text(cr, utf8);
        if (font->underline)
        {
            cairo_text_extents_t te;
            cairo_text_extents(cr, utf8, &te);
            const double thickness = std::max(1.0, std::round(font->size / 14.0));
            const double top = std::round(baseline + std::max(1.0, fe.descent / 3.0));
            cairo_new_path(cr);
            cairo_rectangle(cr, x, top, te.x_advance, thickness);
            cairo_fill(cr);
        }
    }

    void drawImage(NativeImage* image, const CRect& src, const CRect& dst, uint8_t alpha) override
    {
        if (!cr || !image || dst.width() <= 0 || dst.height() <= 0) return;
        cairo_save(cr);
        cairo_set_source_surface(cr, image->surface, dst.left - src.left, dst.top - src.top);
        // No scaling takes place, and the image's edge must not bleed: nearest pixel, no repeat.
        cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_NEAREST);
        cairo_pattern_set_extend(cairo_get_source(cr), CAIRO_EXTEND_NONE);
        cairo_new_path(cr);
        cairo_rectangle(cr, dst.left, dst.top, dst.width(), dst.height());
        if (alpha == 255)
            cairo_fill(cr);
        else
        {
            cairo_clip(cr);
            cairo_paint_with_alpha(cr, double(alpha) / 255.0);
        }
        cairo_restore(cr);
    }

private:
    void stroke()
    {
        setSource(cr, pen);
        const double width = lineWidth > 0.f ? double(lineWidth) : 1.0;
        cairo_set_line_width(cr, width);
        if (dotted)
        {
            // Dots as long as the pen is wide, with gaps of the same length.
            const double dash[] = {width, width};
            cairo_set_dash(cr, dash, 2, 0.0);
        }
        else
            cairo_set_dash(cr, nullptr, 0, 0.0);
        cairo_stroke(cr);
    }
    void fillPath(cairo_fill_rule_t rule)
    {
        setSource(cr, fill);
        cairo_set_fill_rule(cr, rule);
        cairo_fill(cr);
    }
    bool ellipsePath(double x, double y, double w, double h, double shift, double from, double to,
                     bool keepOpen)
    {
        if (w <= 0 || h <= 0) return false;
        cairo_new_path(cr);
        cairo_save(cr);
        cairo_translate(cr, x + shift + w / 2.0, y + shift + h / 2.0);
        cairo_scale(cr, w / 2.0, h / 2.0);
        if (to >= from)
            cairo_arc(cr, 0.0, 0.0, 1.0, from, to);
        else
            cairo_arc_negative(cr, 0.0, 0.0, 1.0, from, to);
        cairo_restore(cr);
        (void)keepOpen;
        return true;
    }
    bool arcPath(float x, float y, float w, float h, float start, float sweep, double shift)
    {
        if (w <= 0.f || h <= 0.f) return false;
        const double rx = w / 2.0;
        const double ry = h / 2.0;
        const double a0 = double(start) * kPi / 180.0;
        const double a1 = double(start + sweep) * kPi / 180.0;
        double t0 = ellipseParameter(a0, rx, ry);
        double t1 = ellipseParameter(a1, rx, ry);
        // The parameter keeps the angle's turns, so a sweep of a full circle or more stays one.
        if (std::fabs(sweep) >= 360.f) t1 = t0 + (sweep > 0 ? 2.0 * kPi : -2.0 * kPi);
        return ellipsePath(x, y, w, h, shift, t0, t1, true);
    }
    void polygonPath(const NativePointF* points, int32_t count, double shift, bool closed)
    {
        cairo_new_path(cr);
        cairo_move_to(cr, points[0].x + shift, points[0].y + shift);
        for (int32_t i = 1; i < count; ++i)
            cairo_line_to(cr, points[i].x + shift, points[i].y + shift);
        if (closed) cairo_close_path(cr);
    }
    void selectFont(NativeFont* font, bool smooth)
    {
        cairo_set_font_face(cr, font->face);
        cairo_set_font_size(cr, font->size);
        cairo_font_options_t* options = cairo_font_options_create();
        cairo_font_options_set_antialias(options, smooth ? CAIRO_ANTIALIAS_GRAY : CAIRO_ANTIALIAS_NONE);
        cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_ON);
        cairo_set_font_options(cr, options);
        cairo_font_options_destroy(options);
    }

    cairo_t* cr;
    uint32_t pen = 0xFF000000;
    uint32_t fill = 0xFF000000;
    uint32_t text = 0xFF000000;
    float lineWidth = 1.f;
    bool dotted = false;
    bool antialias = false;
};
} // namespace

NativeGraphics* createNativeGraphics(PlatformHandle systemContext, PlatformHandle window)
{
    if (systemContext) return new CairoGraphics(cairo_reference(static_cast<cairo_t*>(systemContext)));
    if (window)
    {
        if (cairo_surface_t* surface = createWindowSurface(window))
        {
            cairo_t* cr = cairo_create(surface);
            cairo_surface_destroy(surface);
            return new CairoGraphics(cr);
        }
    }
    return new CairoGraphics(nullptr);
}

NativeGraphics* createImageGraphics(NativeImage* image)
{
    if (!image) return new CairoGraphics(nullptr);
    return new CairoGraphics(cairo_create(image->surface));
}

//------------------------------------------------------------------------------------------------
// Fonts: fontconfig resolves the family through Cairo's own font selection, with its
// metric-compatible aliases; a family it does not know falls back to the sans serif default.

NativeFont* createNativeFont(const char* family, int32_t pixelSize, NativeFontStyle style)
{
    cairo_font_slant_t slant =
        style == NativeFontStyle::italic ? CAIRO_FONT_SLANT_ITALIC : CAIRO_FONT_SLANT_NORMAL;
    cairo_font_weight_t weight =
        style == NativeFontStyle::bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL;
    const char* name = family && *family ? family : "sans-serif";
    auto* font = new NativeFont;
    font->face = cairo_toy_font_face_create(name, slant, weight);
    if (cairo_font_face_status(font->face) != CAIRO_STATUS_SUCCESS)
    {
        cairo_font_face_destroy(font->face);
        font->face = cairo_toy_font_face_create("sans-serif", slant, weight);
    }
    font->size = pixelSize > 0 ? double(pixelSize) : 1.0;
    font->underline = style == NativeFontStyle::underline;
    return font;
}

void destroyNativeFont(NativeFont* font)
{
    if (!font) return;
    cairo_font_face_destroy(font->face);
    delete font;
}

// Cairo needs no start-up; its caches live as long as the process.
void startNativeDrawing() {}

void stopNativeDrawing() {}

} // namespace Plexel
