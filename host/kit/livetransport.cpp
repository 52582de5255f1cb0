#include "host/kit/livetransport.h"

#include <algorithm>

#include "host/kit/transport.h"

#include <chrono>
#include <climits>

namespace hostkit
{
LiveTransport::LiveTransport(IMidiEffect* effect, HostMidiTrack& track, double tempo, Listener listener,
                             LiveOutput* output)
    : effect(effect), track(track), tempo(tempo), listener(std::move(listener)), output(output)
{
}

LiveTransport::~LiveTransport()
{
    stop();
}

void LiveTransport::setIncomingNotes(std::vector<std::pair<int32_t, int32_t>> notes)
{
    if (clock.joinable() || reporter.joinable()) return;
    std::stable_sort(notes.begin(), notes.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    incoming = std::move(notes);
}

void LiveTransport::start()
{
    if (clock.joinable() || reporter.joinable() || stopped) return;
    if (listener) reporter = std::thread([this] { report(); });
    if (output && output->keepsTime())
        output->start(*this);
    else
        clock = std::thread([this] { run(); });
}

void LiveTransport::stop()
{
    {
        std::lock_guard<std::mutex> guard(mutex);
        if (stopped) return;
        stopped = stopping = true;
    }
    wake.notify_all();
    if (clock.joinable()) clock.join();
    if (output) output->stop();
    // Nothing plays any more: the reporter hands over the last events and ends.
    {
        std::lock_guard<std::mutex> guard(mutex);
        reported = true;
    }
    wake.notify_all();
    if (reporter.joinable()) reporter.join();
}

void LiveTransport::locate(int32_t tick)
{
    effect->reposition(tick);
    next.store(tick);
    // After a jump the notes from there on come again, as a keyboard part of a looped song does.
    nextIncoming = static_cast<size_t>(std::lower_bound(incoming.begin(), incoming.end(), tick,
                                                        [](const std::pair<int32_t, int32_t>& note,
                                                           int32_t at) { return note.first < at; }) -
                                       incoming.begin());
}

void LiveTransport::play(int32_t from, int32_t to, std::vector<TrackEvent>& events)
{
    if (end > 0 && to > end) to = end;
    if (to <= from)
    {
        events.clear();
        return;
    }
    // A note due now comes in before the block, from the store the track made up front.
    while (nextIncoming < incoming.size() && incoming[nextIncoming].first <= from)
    {
        HostMidiEvent* noteOn = track.makeIncoming(0x90, incoming[nextIncoming].second, 100, from);
        if (noteOn)
        {
            effect->processEvent(noteOn);
            track.releaseEvent(noteOn);
        }
        ++nextIncoming;
    }
    effect->processRange(from, to);
    next.store(to);
    track.takeEvents(events);
    if (listener)
    {
        size_t written = ringWritten.load(std::memory_order_relaxed);
        for (const TrackEvent& event : events)
        {
            if (written - ringRead.load(std::memory_order_acquire) >= kRingSize)
            {
                ringMissed.fetch_add(1, std::memory_order_relaxed);
                continue;
            }
            ring[written % kRingSize] = event;
            ++written;
        }
        ringWritten.store(written, std::memory_order_release);
    }
    if (end > 0 && to >= end) done.store(true);
}

void LiveTransport::run()
{
    using Clock = std::chrono::steady_clock;
    const int32_t block = blockTicks(tempo);
    const double ticksPerSecond = tempo / 60.0 * static_cast<double>(kTicksPerQuarter);
    const auto period = std::chrono::microseconds(1000000LL * kBlockSamples / kSampleRate);

    Clock::time_point origin = Clock::now();
    int32_t position = 0;
    locate(position);
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
                locate(position);
                if (output) output->relocated();
                break;
            }
            play(position, position + block, sent);
            if (output) output->send(sent, position, position + block);
            position += block;
        }
        lock.lock();
        wake.wait_for(lock, period, [this] { return stopping; });
    }
}

void LiveTransport::drain(std::vector<TrackEvent>& into)
{
    into.clear();
    const size_t written = ringWritten.load(std::memory_order_acquire);
    size_t read = ringRead.load(std::memory_order_relaxed);
    for (; read != written; ++read)
        into.push_back(ring[read % kRingSize]);
    ringRead.store(read, std::memory_order_release);
}

void LiveTransport::report()
{
    std::vector<TrackEvent> events;
    events.reserve(kRingSize);
    std::unique_lock<std::mutex> lock(mutex);
    for (;;)
    {
        const bool last = reported;
        lock.unlock();
        drain(events);
        if (!events.empty()) listener(events);
        lock.lock();
        if (last) break;
        wake.wait_for(lock, std::chrono::milliseconds(10), [this] { return reported; });
    }
}
} // namespace hostkit
