#pragma once

// The host's transport as the module's ticks (480 a quarter). A host reports its position now and
// then (time:Position: bar, beat in the bar, meter, tempo, speed, frame); between reports the
// clock runs on from an anchor, a tick at a sample of the adapter's own exact sample count, so
// that steps land on their sample and never drift over a long song, whatever resolution the host
// gives its beat in. A report that agrees with the running clock changes nothing but the tempo; one
// that does not is a jump (a relocation or a loop), and a change of speed starts or stops it.

#include <cstdint>
#include <optional>

namespace tremolinlv2
{
// The fields of one position report; a host may leave any of them out.
struct PositionReport
{
    enum Field : uint32_t
    {
        kBar,
        kBarBeat,
        kBeat,
        kBeatsPerBar,
        kBeatUnit,
        kBeatsPerMinute,
        kSpeed,
        kFrame,
        kFieldCount
    };
    double values[kFieldCount];
    uint32_t present = 0;

    void set(Field field, double value)
    {
        values[field] = value;
        present |= 1u << field;
    }
    bool has(Field field) const { return (present >> field) & 1u; }
    double operator[](Field field) const { return values[field]; }
};

class TransportClock
{
public:
    // What the module must hear after a report.
    enum class Change
    {
        None,       // still rolling on, or still stopped
        Stop,       // it stopped (or its position can't be played): end the notes, play nothing
        Start,      // it started where it stopped: resume at `position()`
        StartMoved, // it started somewhere else: restart at `position()`
        Jump,       // it jumped while rolling: end the notes, reposition at `position()`
    };

    explicit TransportClock(double sampleRate);

    // A report that came at `sample`.
    Change report(const PositionReport& report, int64_t sample);

    bool rolling() const { return isRolling; }
    // The tick from which the next range plays.
    int32_t position() const { return nextTick; }
    // The end of the range that plays up to (not including) `sample`: every tick before it falls
    // on a sample before `sample`. Can be `position()` itself when no whole tick is due.
    int32_t tickBefore(int64_t sample) const;
    // The range up to `end` is played: the next starts there.
    void advanceTo(int32_t end) { nextTick = end; }
    // The first sample at or after the tick.
    int64_t sampleOf(double tick) const;
    // The bar in ticks, for the grid the module swings on.
    int32_t ticksPerBar() const { return barTicks; }

private:
    bool playable() const;

    const double sampleRate;
    double beatsPerBar = 4.0;
    double beatUnit = 4.0;
    double beatsPerMinute = 120.0;
    double speed = 0.0;
    int32_t barTicks = 1920;
    // The inputs of the last rate worked out, and the rate.
    double rateTempo = 0.0, rateSpeed = 0.0, rateUnit = 0.0, rateBar = 0.0, rateTicks = 0.0;

    bool isRolling = false;
    double anchorTick = 0.0;
    int64_t anchorSample = 0;
    double ticksPerSample = 0.0;
    int32_t nextTick = 0;
    // Where it stopped, to tell a start in place from one elsewhere.
    std::optional<double> stoppedAt;
};
} // namespace tremolinlv2
