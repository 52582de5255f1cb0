#pragma once

// The host's transport in real time, as a host's event thread runs it. By its own clock it calls
// processRange from tick 0 over consecutive blocks of the ticks that one block of 512 samples at
// 44.1 kHz covers at the tempo, each once the wall clock has reached its end, on a thread of its
// own, and feeds each block's events to a live output if there is one. An output that keeps time
// itself (JACK) calls the transport instead, from its real-time thread, through TickSource.
//
// Neither thread makes a heap call. The events also go, through a fixed ring, to a listener that
// runs on a third thread of its own, where it may print and allocate as it likes.

#include "host/kit/hostmiditrack.h"
#include "host/kit/liveoutput.h"
#include "module/effectinterfaces.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace hostkit
{
class LiveTransport final : public TickSource
{
public:
    using Listener = std::function<void(const std::vector<TrackEvent>&)>;

    // Nothing runs before start. The effect, the track and the output must outlive the transport.
    LiveTransport(IMidiEffect* effect, HostMidiTrack& track, double tempo, Listener listener = {},
                  LiveOutput* output = nullptr);
    ~LiveTransport() override;
    LiveTransport(const LiveTransport&) = delete;
    LiveTransport& operator=(const LiveTransport&) = delete;

    // Note-ons that reach the effect's processEvent on the transport's thread, each before the
    // first block at or after its tick, as a keyboard's would: (tick, note). Given before start.
    void setIncomingNotes(std::vector<std::pair<int32_t, int32_t>> notes);
    // Plays up to this tick and no further (0: on and on); set before start.
    void setEnd(int32_t tick) { end = tick; }
    void start();
    // Returns once the last call to the effect is made and the output has ended every note.
    void stop();
    // The tick where the next block starts.
    int32_t position() const { return next.load(); }
    // True once the end set with setEnd has been played.
    bool finished() const { return done.load(); }
    // Events the listener missed because it fell behind by more than the ring holds.
    int64_t missed() const { return ringMissed.load(); }

    void locate(int32_t tick) override;
    void play(int32_t from, int32_t to, std::vector<TrackEvent>& events) override;

private:
    void run();
    void report();
    void drain(std::vector<TrackEvent>& into);

    IMidiEffect* const effect;
    HostMidiTrack& track;
    const double tempo;
    const Listener listener;
    LiveOutput* const output;
    int32_t end = 0;
    std::thread clock;
    std::thread reporter;
    std::mutex mutex;
    std::condition_variable wake;
    bool stopping = false; // the clock's thread ends
    bool reported = false; // the reporter's thread ends, after the last events
    bool stopped = false;  // stop has run; the transport does not start again
    std::atomic<int32_t> next{0};
    std::vector<std::pair<int32_t, int32_t>> incoming; // sorted by tick
    size_t nextIncoming = 0;                           // played on the thread that plays
    std::atomic<bool> done{false};

    // Events on their way to the listener: written by the playing thread only, read by the
    // reporter only.
    static constexpr size_t kRingSize = 4096;
    std::array<TrackEvent, kRingSize> ring{};
    std::atomic<size_t> ringWritten{0};
    std::atomic<size_t> ringRead{0};
    std::atomic<int64_t> ringMissed{0};
};
} // namespace hostkit
