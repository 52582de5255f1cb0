#include "midiplugs/midiseq/colorramp.h"

namespace
{
struct Stop
{
    float red, green, blue;
};
constexpr Stop kLow{40, 16, 16};
constexpr Stop kMiddle{171, 23, 17};
constexpr Stop kHigh{239, 201, 7};

uint8_t channel(float from, float to, float t)
{
    return uint8_t(int32_t((to - from) * t + from));
}
} // namespace

Plexel::CColor colorRamp(float value, bool opaque)
{
    // Values come from patterns that a project file may have damaged; keep them on the ramp.
    if (!(value >= 0.0f)) value = 0.0f;
    if (value > 1.0f) value = 1.0f;
    Stop from = kLow, to = kMiddle;
    float t = value * 2.0f;
    if (value > 0.5f)
    {
        from = kMiddle;
        to = kHigh;
        t = (value - 0.5f) * 2.0f;
    }
    return Plexel::CColor{channel(from.red, to.red, t), channel(from.green, to.green, t),
                          channel(from.blue, to.blue, t), uint8_t(opaque ? 245 : 155)};
}
