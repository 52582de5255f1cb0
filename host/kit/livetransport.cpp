#include "host/kit/livetransport.h"

#include <algorithm>

#include "host/kit/transport.h"

#include <chrono>
#include <climits>

namespace hostkit
{
LiveTransport::LiveTransport(IMidiEffect* effect, HostMidiTrack& track, double tempo, Listener listener)
    : effect(effect), track(track), tempo(tempo), listener(std::move(listener))
{
}

LiveTransport::~LiveTransport()
{
    stop();
}

void LiveTransport::setIncomingNotes(std::vector<std::pair<int32_t, int32_t>> notes)
{
    if (thread.joinable()) return;
    std::stable_sort(notes.begin(), notes.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    incoming = std::move(notes);
}

void LiveTransport::start()
{
    if (thread.joinable()) return;
    stopping = false;
    thread = std::thread([this] { run(); });
}

void LiveTransport::stop()
{
    {
        std::lock_guard<std::mutex> guard(mutex);
        stopping = true;
    }
    wake.notify_all();
    if (thread.joinable()) thread.join();
}

void LiveTransport::run()
{
    using Clock = std::chrono::steady_clock;
    const int32_t block = blockTicks(tempo);
    const double ticksPerSecond = tempo / 60.0 * static_cast<double>(kTicksPerQuarter);
    const auto period = std::chrono::microseconds(1000000LL * kBlockSamples / kSampleRate);

    Clock::time_point origin = Clock::now();
    int32_t position = 0;
    size_t nextIncoming = 0;
    effect->reposition(position);
    // Made before the first block: taking the sent events then costs no heap call.
    std::vector<TrackEvent> sent;
    sent.reserve(HostMidiTrack::kOutputReserve);
    std::unique_lock<std::mutex> lock(mutex);
    while (!stopping)
    {
        lock.unlock();
        // Whole blocks only, as a host plays them; the clock decides how many are due, so that a
        // late wake-up catches up instead of slowing the music down.
        const double elapsed = std::chrono::duration<double>(Clock::now() - origin).count();
        const auto due = static_cast<int64_t>(elapsed * ticksPerSecond);
        while (static_cast<int64_t>(position) + block <= due)
        {
            if (position > INT32_MAX - 2 * block)
            {
                // Days of playing at a high tempo: start over at 0 as a looping host does.
                origin = Clock::now();
                position = 0;
                effect->reposition(position);
                break;
            }
            // A note due now comes in before the block, from the store the track made up front.
            while (nextIncoming < incoming.size() && incoming[nextIncoming].first <= position)
            {
                HostMidiEvent* noteOn =
                    track.makeIncoming(0x90, incoming[nextIncoming].second, 100, position);
                if (noteOn)
                {
                    effect->processEvent(noteOn);
                    track.releaseEvent(noteOn);
                }
                ++nextIncoming;
            }
            effect->processRange(position, position + block);
            position += block;
        }
        next.store(position);
        track.takeEvents(sent);
        if (listener && !sent.empty()) listener(sent);
        lock.lock();
        wake.wait_for(lock, period, [this] { return stopping; });
    }
}
} // namespace hostkit
