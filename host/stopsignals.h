#pragma once

// Ctrl+C, a polite kill or a closed terminal ask a session to end as its own way out does: the
// editor saves the work, the player ends every sounding note. While a StopSignals lives, those
// signals only raise a flag that the session's loop reads.

namespace hostkit
{
class StopSignals
{
public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    // Whether one of the signals came since this guard was made.
    static bool raised();

private:
    void (*previous[3])(int) = {};
};
} // namespace hostkit
