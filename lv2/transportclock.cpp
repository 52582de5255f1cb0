#include "lv2/transportclock.h"

#include <cmath>

namespace tremolinlv2
{
namespace
{
constexpr double kTicksPerWhole = 1920.0;
// Ticks beyond this are not played: the module counts in 32-bit ticks, and a range has to fit
// behind any position with room to spare (2^30 ticks are some 560 000 bars of 4/4).
constexpr double kTickLimit = 1073741824.0;
} // namespace

TransportClock::TransportClock(double rate) : sampleRate(rate > 0.0 && std::isfinite(rate) ? rate : 48000.0)
{
}

bool TransportClock::playable() const
{
    return std::isfinite(speed) && speed > 0.0 && std::isfinite(beatsPerMinute) && beatsPerMinute > 0.0 &&
           beatsPerMinute <= 100000.0 && std::isfinite(beatUnit) && beatUnit >= 1.0 && beatUnit <= 256.0 &&
           std::isfinite(beatsPerBar) && beatsPerBar > 0.0 && beatsPerBar <= 1024.0;
}

TransportClock::Change TransportClock::report(const PositionReport& r, int64_t sample)
{
    using F = PositionReport;
    if (r.has(F::kBeatsPerBar)) beatsPerBar = r[F::kBeatsPerBar];
    if (r.has(F::kBeatUnit)) beatUnit = r[F::kBeatUnit];
    if (r.has(F::kBeatsPerMinute)) beatsPerMinute = r[F::kBeatsPerMinute];
    if (r.has(F::kSpeed)) speed = r[F::kSpeed];

    const bool wasRolling = isRolling;
    const double ticksBefore = ticksPerSample;
    const double runningTick = anchorTick + static_cast<double>(sample - anchorSample) * ticksBefore;
    if (!playable())
    {
        if (wasRolling) stoppedAt = runningTick;
        isRolling = false;
        return wasRolling ? Change::Stop : Change::None;
    }

    const double ticksPerBeat = kTicksPerWhole / beatUnit;
    // Worked out again only when the tempo, speed or meter changed.
    if (beatsPerMinute != rateTempo || speed != rateSpeed || beatUnit != rateUnit || beatsPerBar != rateBar)
    {
        rateTempo = beatsPerMinute;
        rateSpeed = speed;
        rateUnit = beatUnit;
        rateBar = beatsPerBar;
        rateTicks = beatsPerMinute / 60.0 * ticksPerBeat * speed / sampleRate;
        barTicks = static_cast<int32_t>(std::lround(std::fmin(beatsPerBar * ticksPerBeat, kTickLimit)));
        if (barTicks < 1) barTicks = 1;
    }
    ticksPerSample = rateTicks;

    // The position the host names: bar and beat, else the whole beat count, else its frame at the
    // tempo; without any, the clock's own.
    std::optional<double> named;
    if (r.has(F::kBar) && r.has(F::kBarBeat))
        named = (r[F::kBar] * beatsPerBar + r[F::kBarBeat]) * ticksPerBeat;
    else if (r.has(F::kBeat))
        named = r[F::kBeat] * ticksPerBeat;
    else if (r.has(F::kFrame))
        named = r[F::kFrame] * ticksPerSample / speed;

    if (wasRolling)
    {
        // One step of the host's beat resolution (down to 1/1920 beat) or less is the same place.
        const double tolerance = ticksPerBeat / 1920.0 * 1.5 + 0.5;
        if (!named || std::fabs(*named - runningTick) <= tolerance)
        {
            if (ticksPerSample != ticksBefore)
            {
                anchorTick = runningTick;
                anchorSample = sample;
            }
            if (std::fabs(runningTick) >= kTickLimit)
            {
                isRolling = false;
                stoppedAt = runningTick;
                return Change::Stop;
            }
            return Change::None;
        }
    }

    const double tick = named ? *named : (stoppedAt ? *stoppedAt : 0.0);
    if (!std::isfinite(tick) || std::fabs(tick) >= kTickLimit)
    {
        // A place the module can't count to: silent until the host names a playable one.
        if (wasRolling) stoppedAt = runningTick;
        isRolling = false;
        return wasRolling ? Change::Stop : Change::None;
    }
    anchorTick = tick;
    anchorSample = sample;
    nextTick = static_cast<int32_t>(std::ceil(tick));
    isRolling = true;
    if (wasRolling) return Change::Jump;
    const bool inPlace = stoppedAt && std::fabs(*stoppedAt - tick) <= 0.5 + ticksPerBeat / 1920.0 * 1.5;
    return inPlace ? Change::Start : Change::StartMoved;
}

int32_t TransportClock::tickBefore(int64_t sample) const
{
    // The last tick whose first sample lies before `sample`, plus one.
    const double last = anchorTick + static_cast<double>(sample - 1 - anchorSample) * ticksPerSample;
    const double end = std::floor(last) + 1.0;
    if (end <= nextTick) return nextTick;
    if (end >= kTickLimit) return static_cast<int32_t>(kTickLimit);
    return static_cast<int32_t>(end);
}

int64_t TransportClock::sampleOf(double tick) const
{
    if (ticksPerSample <= 0.0) return anchorSample;
    const double offset = std::ceil((tick - anchorTick) / ticksPerSample);
    // Far beyond any block: held at a distance that still counts as "later".
    if (!(offset < 4.0e15)) return anchorSample + static_cast<int64_t>(4.0e15);
    if (!(offset > -4.0e15)) return anchorSample - static_cast<int64_t>(4.0e15);
    return anchorSample + static_cast<int64_t>(offset);
}
} // namespace tremolinlv2
