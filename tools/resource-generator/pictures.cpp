#include "pictures.h"

#include "pixelfont.h"

#include <cstdint>
#include <functional>
#include <string>

namespace
{
// ---- The sequencer view's backdrop --------------------------------------------------------------

// The view paints its cells, notes and bars on top of this picture, so these colours are the
// ones its own drawing was matched to: the cells behind the pattern's length use the field
// colour, and the second pass of a darkened note the beat column's.
constexpr Rgb kField{0, 13, 26};
constexpr Rgb kSeparator{44, 59, 64};
constexpr Rgb kBeatColumn{4, 23, 42};
constexpr Rgb kBeatSeparator{45, 66, 77};
constexpr Rgb kStepNumber{98, 103, 114}; // the colour of the note names in the key column
constexpr Rgb kBeatStepNumber{158, 168, 180};
constexpr Rgb kTie{222, 184, 72};

// The view is 603 by 230. Step s sits at x 22 + 18 s in the note grid (after its key column
// at x 4), in the tie lane and in the bars alike; a cell's left pixel column is its separator.
constexpr int kViewWidth = 603;
constexpr int kViewHeight = 230;
constexpr int kKeyColumnX = 4;
constexpr int kFirstStepX = 22;
constexpr int kStepWidth = 18;
constexpr int kSteps = 32;
constexpr int kStepsPerBeat = 8;
constexpr int kGridTop = 14; // twelve rows of 10 pixels
constexpr int kGridBottom = 134;
constexpr int kTieTop = 141; // one row of 12 pixels
constexpr int kTieBottom = 153;
constexpr int kBarsTop = 160; // bars of 68 pixels
constexpr int kBarsBottom = 228;

int stepX(int step)
{
    return kFirstStepX + step * kStepWidth;
}

bool isBeat(int step)
{
    return step % kStepsPerBeat == 0;
}

// Columns with their separators over the rows top..bottom - 1, closed on the right after the
// last step.
void drawColumns(Image& image, int top, int bottom)
{
    for (int step = 0; step < kSteps; ++step)
    {
        image.fillRect(stepX(step) + 1, top, kStepWidth - 1, bottom - top,
                       isBeat(step) ? kBeatColumn : kField);
        image.vline(stepX(step), top, bottom - 1, isBeat(step) ? kBeatSeparator : kSeparator);
    }
    image.vline(stepX(kSteps), top, bottom - 1, kSeparator);
}

// A horizontal line that takes, over each column, that column's separator colour.
void drawClosingLine(Image& image, int y, int fromX)
{
    image.hline(fromX, stepX(0) - 1, y, kSeparator);
    for (int step = 0; step < kSteps; ++step)
        image.hline(stepX(step), stepX(step + 1) - 1, y, isBeat(step) ? kBeatSeparator : kSeparator);
    image.set(stepX(kSteps), y, kSeparator);
}

Image drawBackdrop()
{
    Image image(kViewWidth, kViewHeight, kField);
    drawColumns(image, kGridTop, kGridBottom);
    drawColumns(image, kTieTop, kTieBottom);
    drawColumns(image, kBarsTop, kBarsBottom);
    // The grid's lines run over the key column too, which belongs to the note matrix.
    drawClosingLine(image, kGridTop - 1, kKeyColumnX);
    drawClosingLine(image, kGridBottom, kKeyColumnX);
    drawClosingLine(image, kBarsTop - 1, stepX(0));
    drawClosingLine(image, kBarsBottom, stepX(0));

    // Step numbers count from 1, as users count beats; the first step of each beat is brighter.
    for (int step = 0; step < kSteps; ++step)
    {
        const std::string number = std::to_string(step + 1);
        const int width = textWidth(PixelFont::tiny, number);
        drawText(image, PixelFont::tiny, stepX(step) + kStepWidth / 2 - width / 2, 5, number,
                 isBeat(step) ? kBeatStepNumber : kStepNumber);
    }
    return image;
}

// The tie mark covers a whole cell of the tie lane: it repeats the cell's separator and field so
// that a tied step keeps its column, and draws a slur, open to the top, as scores write ties.
Image drawTieMark()
{
    Image image(kStepWidth, kTieBottom - kTieTop, kField);
    image.vline(0, 0, image.height() - 1, kSeparator);
    auto slur = [](float x, float y)
    {
        const float ox = (x - 9.5f) / 7.5f, oy = (y - 3.0f) / 6.5f;
        const float ix = (x - 9.5f) / 7.0f, iy = (y - 2.0f) / 5.2f;
        return y > 3.0f && ox * ox + oy * oy <= 1.0f && ix * ix + iy * iy > 1.0f;
    };
    image.fillShape(0, 0, image.width(), image.height(), slur, kTie);
    return image;
}

// ---- The panel ----------------------------------------------------------------------------------

struct Box
{
    int x, y, w, h;
};

// Where the template puts things, in panel coordinates (group offsets added in).
constexpr int kPanelWidth = 670;
constexpr int kPanelHeight = 364;
constexpr Box kSequencer{36, 44, kViewWidth, kViewHeight};
constexpr Box kOctaveUp{24, 17, 32, 20};
constexpr Box kOctaveDown{57, 17, 32, 20};
constexpr Box kShiftLeft{90, 17, 32, 20};
constexpr Box kShiftRight{123, 17, 32, 20};
constexpr Box kReverse{156, 17, 79, 20};
constexpr Box kLength{463, 18, 38, 18};
constexpr Box kQuantize{512, 18, 40, 18};
constexpr Box kSwingText{561, 20, 20, 13};
constexpr Box kSwingSlider{584, 21, 56, 12};
constexpr Box kLaneSelect{49, 296, 78, 16};
constexpr Box kController{133, 294, 46, 20};
constexpr Box kPatternSelect{271, 296, 35, 16};
constexpr Box kCopy{314, 294, 44, 20};
constexpr Box kPaste{360, 294, 44, 20};
constexpr Box kRandomize{406, 294, 44, 20};
constexpr Box kClear{452, 294, 45, 20};
constexpr int kButtonHeight = 20;
constexpr int kSliderHandleWidth = 8;
constexpr int kSliderHandleHeight = 11;

constexpr Rgb kPanelTop{38, 47, 57};
constexpr Rgb kPanelBottom{21, 27, 34};
constexpr Rgb kEdgeLight{66, 79, 92};
constexpr Rgb kEdgeDark{6, 9, 13};
constexpr Rgb kTray{13, 18, 24};
constexpr Rgb kWell{4, 8, 13};
constexpr Rgb kCaption{118, 133, 149};
constexpr Rgb kTitle{198, 206, 216};
constexpr Rgb kInk{202, 210, 220};
constexpr Rgb kInkHover{247, 207, 84};
constexpr Rgb kInkPressed{255, 222, 120};
constexpr Rgb kInkShadow{8, 11, 15};

// The value colours of the notes and bars: dark red through red to amber.
Rgb valueColour(float value)
{
    constexpr Rgb low{40, 16, 16}, middle{171, 23, 17}, high{239, 201, 7};
    return value <= 0.5f ? mix(low, middle, value * 2.0f) : mix(middle, high, (value - 0.5f) * 2.0f);
}

uint32_t hash(int x, int y)
{
    uint32_t h = uint32_t(x) * 374761393u + uint32_t(y) * 668265263u;
    h = (h ^ (h >> 13)) * 1274126177u;
    return h ^ (h >> 16);
}

std::function<bool(float, float)> roundRect(float x, float y, float w, float h, float r)
{
    return [=](float sx, float sy)
    {
        if (sx < x || sy < y || sx > x + w || sy > y + h) return false;
        const float cx = sx < x + r ? x + r : (sx > x + w - r ? x + w - r : sx);
        const float cy = sy < y + r ? y + r : (sy > y + h - r ? y + h - r : sy);
        return (sx - cx) * (sx - cx) + (sy - cy) * (sy - cy) <= r * r;
    };
}

// A one-pixel ring `margin` pixels outside the box: dark above and left, light below and
// right for a recess.
void ring(Image& image, Box b, int margin, Rgb topLeft, Rgb bottomRight)
{
    const int x0 = b.x - margin, y0 = b.y - margin;
    const int x1 = b.x + b.w - 1 + margin, y1 = b.y + b.h - 1 + margin;
    image.hline(x0, x1, y0, topLeft);
    image.vline(x0, y0, y1, topLeft);
    image.hline(x0 + 1, x1, y1, bottomRight);
    image.vline(x1, y0 + 1, y1, bottomRight);
}

// The dark display behind a number field, sunk into the panel.
void well(Image& image, Box b)
{
    image.fillRect(b.x, b.y, b.w, b.h, kWell);
    ring(image, b, 1, {2, 4, 7}, {56, 68, 80});
    image.hline(b.x, b.x + b.w - 1, b.y, {10, 15, 21}); // a faint glass edge
}

// The recess the buttons of a group sit in: the gaps between the keys show it.
void tray(Image& image, Box b)
{
    image.fillRoundRect(float(b.x - 3), float(b.y - 2), float(b.w + 6), float(b.h + 5), 4.0f, {52, 63, 75});
    image.fillRoundRect(float(b.x - 3), float(b.y - 3), float(b.w + 6), float(b.h + 5), 4.0f, kTray);
}

void screw(Image& image, float cx, float cy)
{
    image.fillCircle(cx, cy + 0.5f, 4.0f, {58, 70, 82});
    image.fillCircle(cx, cy, 4.0f, {8, 11, 15});
    image.fillCircle(cx, cy, 3.2f, {74, 86, 98});
    image.fillCircle(cx + 0.4f, cy + 0.6f, 2.6f, {52, 62, 73});
    image.fillPolygon(
        {{cx - 2.6f, cy + 1.6f}, {cx + 1.6f, cy - 2.6f}, {cx + 2.6f, cy - 1.6f}, {cx - 1.6f, cy + 2.6f}},
        {14, 18, 24});
}

void captionCentred(Image& image, Box over, int y, const char* text)
{
    drawTextCentred(image, PixelFont::tiny, over.x, y, over.w, fontHeight(PixelFont::tiny), text, kCaption);
}

Image drawPanel(const Image& backdrop)
{
    Image image(kPanelWidth, kPanelHeight);
    // A dark brushed plate: a gradient with a little grain, so that it does not band.
    for (int y = 0; y < kPanelHeight; ++y)
    {
        const Rgb base = mix(kPanelTop, kPanelBottom, float(y) / float(kPanelHeight - 1));
        const int streak = int(hash(0, y) % 3) - 1;
        for (int x = 0; x < kPanelWidth; ++x)
            image.set(x, y, lighten(base, streak + int(hash(x, y) % 3) - 1));
    }
    ring(image, {1, 1, kPanelWidth - 2, kPanelHeight - 2}, 1, kEdgeLight, kEdgeDark);

    // The sequencer view, sunk into the plate. The backdrop is painted in too, so that the
    // panel looks whole even before the view is there.
    image.paste(backdrop, kSequencer.x, kSequencer.y);
    ring(image, kSequencer, 1, {2, 4, 7}, {2, 4, 7});
    ring(image, kSequencer, 2, {12, 16, 21}, {70, 83, 97});

    tray(image, {kOctaveUp.x, kOctaveUp.y, kReverse.x + kReverse.w - kOctaveUp.x, kButtonHeight});
    tray(image, kController);
    tray(image, {kCopy.x, kCopy.y, kClear.x + kClear.w - kCopy.x, kButtonHeight});

    for (Box b : {kLength, kQuantize, kSwingText, kLaneSelect, kPatternSelect})
        well(image, b);
    captionCentred(image, kLength, 9, "STEPS");
    captionCentred(image, kQuantize, 9, "QUANTIZE");
    captionCentred(image, {kSwingText.x, 0, kSwingSlider.x + kSwingSlider.w - kSwingText.x, 0}, 9, "SWING");
    captionCentred(image, {kOctaveUp.x, 0, kOctaveDown.x + kOctaveDown.w - kOctaveUp.x, 0}, 7, "OCTAVE");
    captionCentred(image, {kShiftLeft.x, 0, kShiftRight.x + kShiftRight.w - kShiftLeft.x, 0}, 7, "SHIFT");
    drawText(image, PixelFont::tiny, kLaneSelect.x - 6 - textWidth(PixelFont::tiny, "LANE"), 302, "LANE",
             kCaption);

    for (float x : {9.0f, float(kPanelWidth) - 9.0f})
        for (float y : {9.0f, float(kPanelHeight) - 10.0f})
            screw(image, x, y);

    // The foot: a groove, a row of little bars in the value colours, and the name.
    image.hline(14, kPanelWidth - 15, 326, {9, 12, 17});
    image.hline(14, kPanelWidth - 15, 327, {50, 61, 73});
    const float levels[] = {0.95f, 0.35f, 0.6f, 0.25f, 0.8f,  0.4f, 0.65f, 0.3f,
                            1.0f,  0.45f, 0.7f, 0.2f,  0.85f, 0.5f, 0.6f,  0.35f};
    for (int i = 0; i < 16; ++i)
    {
        const int height = int(16.0f * levels[i]) + 1;
        image.fillRect(kSequencer.x + i * 5, 352 - height, 4, height, valueColour(levels[i]));
    }
    const char* title = "TREMOLIN";
    const int titleWidth = textWidth(PixelFont::label, title, 2);
    const int titleX = kSequencer.x + kSequencer.w - titleWidth;
    drawText(image, PixelFont::label, titleX, 336 + 1, title, kInkShadow, 2);
    drawText(image, PixelFont::label, titleX, 336, title, kTitle, 2);
    const char* subtitle = "MIDI STEP SEQUENCER";
    drawText(image, PixelFont::tiny, titleX - 10 - textWidth(PixelFont::tiny, subtitle), 345, subtitle,
             kCaption);
    return image;
}

// ---- Buttons ------------------------------------------------------------------------------------

// The strip of a switch holds three pictures of the button's size, top to bottom: at rest, under
// the pointer, and held down.
enum class ButtonState
{
    normal,
    hover,
    pressed,
};

// Draws the button's symbol into a picture of the button's size, shifted by (dx, dy).
using Symbol = std::function<void(Image&, int dx, int dy, Rgb ink)>;

void drawKey(Image& key, ButtonState state)
{
    const float w = float(key.width()), h = float(key.height());
    Rgb top{66, 79, 92}, bottom{40, 49, 59};
    if (state == ButtonState::hover)
    {
        top = {84, 100, 116};
        bottom = {50, 62, 74};
    }
    else if (state == ButtonState::pressed)
    {
        top = {20, 26, 33};
        bottom = {33, 41, 50};
    }
    key.fillShape(0, 0, key.width(), key.height(), roundRect(0.0f, 0.0f, w, h, 3.5f), {5, 8, 12});
    const auto face = roundRect(1.0f, 1.0f, w - 2.0f, h - 2.0f, 2.5f);
    for (int row = 1; row < key.height() - 1; ++row)
        key.fillShape(0, row, key.width(), 1, face, mix(top, bottom, float(row - 1) / (h - 3.0f)));
    if (state == ButtonState::pressed)
    {
        key.fillShape(0, 1, key.width(), 1, face, {4, 6, 9}, 0.8f);
        key.fillShape(0, 2, key.width(), 1, face, {4, 6, 9}, 0.35f);
    }
    else
    {
        key.fillShape(0, 1, key.width(), 1, face, lighten(top, 34), 0.8f);
        key.fillShape(0, key.height() - 2, key.width(), 1, face, {10, 13, 18}, 0.5f);
    }
    if (state == ButtonState::hover)
    {
        // A thin amber rim says the button will take the click.
        key.fillShape(0, key.height() - 2, key.width(), 1, roundRect(2.5f, 0.0f, w - 5.0f, h, 0.0f),
                      kInkHover, 0.55f);
    }
}

Image drawButtonStrip(const Image& panel, Box b, const Symbol& symbol)
{
    Image strip(b.w, 3 * kButtonHeight);
    const ButtonState states[] = {ButtonState::normal, ButtonState::hover, ButtonState::pressed};
    for (int i = 0; i < 3; ++i)
    {
        Image key = panel.crop(b.x, b.y, b.w, kButtonHeight);
        drawKey(key, states[i]);
        const int dy = states[i] == ButtonState::pressed ? 1 : 0;
        const Rgb ink = states[i] == ButtonState::normal  ? kInk
                        : states[i] == ButtonState::hover ? kInkHover
                                                          : kInkPressed;
        symbol(key, 0, dy + 1, kInkShadow);
        symbol(key, 0, dy, ink);
        strip.paste(key, 0, i * kButtonHeight);
    }
    return strip;
}

Symbol word(const char* text)
{
    return [text](Image& key, int dx, int dy, Rgb ink)
    { drawTextCentred(key, PixelFont::label, dx, dy, key.width(), key.height(), text, ink); };
}

// A solid triangle pointing up or down next to "OCT".
Symbol octave(bool up)
{
    return [up](Image& key, int dx, int dy, Rgb ink)
    {
        const int textW = textWidth(PixelFont::tiny, "OCT");
        const float triangleW = 9.0f;
        const float left = float(dx) + (float(key.width()) - (triangleW + 3.0f + float(textW))) / 2.0f;
        const float top = 7.0f + float(dy), bottom = 13.0f + float(dy);
        if (up)
            key.fillPolygon({{left, bottom}, {left + triangleW, bottom}, {left + triangleW / 2, top}}, ink);
        else
            key.fillPolygon({{left, top}, {left + triangleW, top}, {left + triangleW / 2, bottom}}, ink);
        drawText(key, PixelFont::tiny, int(left + triangleW) + 3, 8 + dy, "OCT", ink);
    };
}

// An arrow along the time axis, pointing left or right.
void arrow(Image& key, float tipX, float cy, float length, bool left, Rgb ink, float head = 5.0f,
           float half = 4.0f)
{
    const float dir = left ? 1.0f : -1.0f; // from the tip toward the tail
    const float neck = tipX + dir * head;
    const float tail = tipX + dir * length;
    key.fillPolygon({{tipX, cy}, {neck, cy - half}, {neck, cy + half}}, ink);
    const float x0 = left ? neck - 0.5f : tail, x1 = left ? tail : neck + 0.5f;
    key.fillPolygon({{x0, cy - 1.0f}, {x1, cy - 1.0f}, {x1, cy + 1.0f}, {x0, cy + 1.0f}}, ink);
}

Symbol shift(bool left)
{
    return [left](Image& key, int dx, int dy, Rgb ink)
    {
        const float cx = float(key.width()) / 2.0f + float(dx), cy = 10.0f + float(dy);
        arrow(key, left ? cx - 8.0f : cx + 8.0f, cy, 16.0f, left, ink, 6.0f, 4.5f);
    };
}

// Two arrows running against each other, then the word.
Symbol reverse()
{
    return [](Image& key, int dx, int dy, Rgb ink)
    {
        const char* text = "REVERSE";
        const float iconW = 12.0f;
        const float left =
            float(dx) + float(key.width() - (12 + 5 + textWidth(PixelFont::label, text))) / 2.0f;
        arrow(key, left + iconW, 7.0f + float(dy), iconW, false, ink, 4.0f, 3.0f);
        arrow(key, left, 13.0f + float(dy), iconW, true, ink, 4.0f, 3.0f);
        drawText(key, PixelFont::label, int(left + iconW) + 5, 6 + dy, text, ink);
    };
}

// ---- Slider -------------------------------------------------------------------------------------

// Two pictures of the slider's size: the empty groove above, and the same groove filled with the
// value colours below, for the part of the track up to the handle.
Image drawSlider(const Image& panel)
{
    const Box s = kSwingSlider;
    Image strip(s.w, 2 * s.h);
    for (int lit = 0; lit < 2; ++lit)
    {
        Image track = panel.crop(s.x, s.y, s.w, s.h);
        track.fillShape(0, 0, s.w, s.h, roundRect(1.0f, 3.0f, float(s.w) - 2.0f, 6.0f, 3.0f), {54, 66, 78});
        track.fillShape(0, 0, s.w, s.h, roundRect(1.0f, 2.0f, float(s.w) - 2.0f, 6.0f, 3.0f), {3, 5, 8});
        const auto inner = roundRect(2.0f, 3.0f, float(s.w) - 4.0f, 4.0f, 2.0f);
        for (int x = 0; x < s.w; ++x)
        {
            const Rgb fill = lit ? valueColour(0.15f + 0.85f * float(x) / float(s.w - 1)) : Rgb{17, 23, 30};
            track.fillShape(x, 0, 1, s.h, inner, fill);
        }
        // Ticks at both ends of the handle's travel and in the middle.
        for (int x : {kSliderHandleWidth / 2, s.w / 2, s.w - kSliderHandleWidth / 2 - 1})
            track.vline(x, 10, 11, {84, 98, 112});
        strip.paste(track, 0, lit * s.h);
    }
    return strip;
}

Image drawSliderHandle(const Image& slider)
{
    const float w = kSliderHandleWidth, h = kSliderHandleHeight;
    Image handle =
        slider.crop(kSwingSlider.w / 2 - kSliderHandleWidth / 2, 0, kSliderHandleWidth, kSliderHandleHeight);
    handle.fillShape(0, 0, handle.width(), handle.height(), roundRect(0.0f, 0.0f, w, h, 1.8f), {5, 8, 12});
    const auto face = roundRect(1.0f, 1.0f, w - 2.0f, h - 2.0f, 1.0f);
    for (int row = 1; row < handle.height() - 1; ++row)
        handle.fillShape(0, row, handle.width(), 1, face,
                         mix({214, 220, 226}, {112, 122, 134}, float(row - 1) / (h - 3)));
    handle.vline(3, 3, 7, {52, 60, 70});
    handle.vline(4, 3, 7, {236, 240, 244});
    return handle;
}
} // namespace

std::vector<Picture> drawPictures()
{
    const Image backdrop = drawBackdrop();
    const Image panel = drawPanel(backdrop);
    const Image slider = drawSlider(panel);

    std::vector<Picture> pictures;
    pictures.push_back({200, false, "bmPanel.bmp", panel});
    pictures.push_back({201, false, "bmSwingSlider.bmp", slider});
    pictures.push_back({202, false, "bmSwingSliderHandle.bmp", drawSliderHandle(slider)});
    pictures.push_back({203, false, "bmOctaveUp.bmp", drawButtonStrip(panel, kOctaveUp, octave(true))});
    pictures.push_back({205, false, "bmOctaveDown.bmp", drawButtonStrip(panel, kOctaveDown, octave(false))});
    pictures.push_back({207, false, "bmShiftLeft.bmp", drawButtonStrip(panel, kShiftLeft, shift(true))});
    pictures.push_back({209, false, "bmShiftRight.bmp", drawButtonStrip(panel, kShiftRight, shift(false))});
    pictures.push_back({211, false, "bmReverse.bmp", drawButtonStrip(panel, kReverse, reverse())});
    pictures.push_back(
        {223, false, "bmControllerSetup.bmp", drawButtonStrip(panel, kController, word("SETUP"))});
    pictures.push_back({225, false, "bmCopy.bmp", drawButtonStrip(panel, kCopy, word("COPY"))});
    pictures.push_back({227, false, "bmPaste.bmp", drawButtonStrip(panel, kPaste, word("PASTE"))});
    pictures.push_back({229, false, "bmRandomize.bmp", drawButtonStrip(panel, kRandomize, word("RANDOM"))});
    pictures.push_back({231, false, "bmClear.bmp", drawButtonStrip(panel, kClear, word("CLEAR"))});
    pictures.push_back({1000, true, "bmSequencerBackdrop.bmp", backdrop});
    pictures.push_back({1001, true, "bmTieMark.bmp", drawTieMark()});
    return pictures;
}

Image drawPanelPreview(const std::vector<Picture>& pictures)
{
    auto find = [&pictures](int number) -> const Image&
    {
        for (const Picture& p : pictures)
            if (p.number == number) return p.image;
        return pictures.front().image;
    };
    Image image = find(200);
    const std::pair<int, Box> buttons[] = {
        {203, kOctaveUp},   {205, kOctaveDown}, {207, kShiftLeft}, {209, kShiftRight}, {211, kReverse},
        {223, kController}, {225, kCopy},       {227, kPaste},     {229, kRandomize},  {231, kClear}};
    int shown = 0;
    for (const auto& [number, box] : buttons)
    {
        // One button in its hover picture and one held down, to see them in place.
        const int state = shown == 2 ? 1 : (shown == 7 ? 2 : 0);
        image.paste(find(number).crop(0, state * kButtonHeight, box.w, kButtonHeight), box.x, box.y);
        ++shown;
    }
    const Image& slider = find(201);
    const int handleX = 20;
    image.paste(slider.crop(0, kSwingSlider.h, handleX + 4, kSwingSlider.h), kSwingSlider.x, kSwingSlider.y);
    image.paste(slider.crop(handleX + 4, 0, kSwingSlider.w - handleX - 4, kSwingSlider.h),
                kSwingSlider.x + handleX + 4, kSwingSlider.y);
    image.paste(find(202), kSwingSlider.x + handleX, kSwingSlider.y);

    // A pattern of 16 steps in the sequencer view: notes at their gate and velocity, a few ties,
    // bars of the velocity lane, and the darkened cells behind the length.
    const int ox = kSequencer.x, oy = kSequencer.y;
    const int length = 16;
    const int rows[32] = {3, 5, 7, 3, 8, 8, 1, 10, 3, 5, 7, 2, 6, 4, 0, 11,
                          4, 6, 9, 2, 3, 5, 8, 1,  4, 4, 7, 3, 9, 5, 6, 2};
    for (int step = 0; step < kSteps; ++step)
    {
        const float velocity = 0.25f + 0.7f * float((step * 7) % 11) / 10.0f;
        const float gate = step % 3 == 0 ? 1.0f : 0.6f;
        const bool inside = step < length;
        const int cellX = ox + kKeyColumnX + (step + 1) * kStepWidth;
        if (!inside)
            for (int row = 0; row < 12; ++row)
                image.fillRect(cellX, oy + kGridTop + row * 10, kStepWidth, 10, kField);
        const int noteY = oy + kGridTop + rows[step] * 10;
        const int width = int(float(kStepWidth) * gate);
        image.blendRect(cellX, noteY, width, 10, inside ? valueColour(velocity) : Rgb{30, 38, 40},
                        155.0f / 255);
        image.blendRect(cellX, noteY, width - 1, 10, inside ? valueColour(velocity) : Rgb{4, 23, 42},
                        245.0f / 255);
        const int barX = ox + stepX(step);
        if (!inside) image.fillRect(barX, oy + kBarsTop, kStepWidth, kBarsBottom - kBarsTop, kField);
        const int barTop = kBarsTop + int(68.0f * (1.0f - velocity));
        image.blendRect(barX, oy + barTop, kStepWidth, kBarsBottom - barTop,
                        inside ? valueColour(velocity) : Rgb{30, 38, 40}, 155.0f / 255);
        image.blendRect(barX, oy + barTop, kStepWidth - 1, kBarsBottom - barTop,
                        inside ? valueColour(velocity) : Rgb{4, 23, 42}, 245.0f / 255);
    }
    for (int step : {4, 5, 12})
        image.paste(find(1001), ox + stepX(step), oy + kTieTop);
    const char* names[12] = {"C5", "B4", "A4", "G4", "F4", "E4", "D4", "C4", "B3", "A3", "G3", "F3"};
    for (int row = 0; row < 12; ++row)
        drawText(image, PixelFont::tiny, ox + kKeyColumnX + 2, oy + kGridTop + row * 10 + 3, names[row],
                 kStepNumber);
    return image;
}
