#pragma once

// The host's transport in real time, as a host's event thread runs it: from tick 0 it calls
// processRange over consecutive blocks of the ticks that one block of 512 samples at 44.1 kHz
// covers at the tempo, each once the wall clock has reached its end, on a thread of its own. The
// events the module sends go to a listener on that thread, block by block.

#include "host/kit/hostmiditrack.h"
#include "module/effectinterfaces.h"

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
class LiveTransport
{
public:
    using Listener = std::function<void(const std::vector<TrackEvent>&)>;

    // Nothing runs before start. The effect and the track must outlive the transport.
    LiveTransport(IMidiEffect* effect, HostMidiTrack& track, double tempo, Listener listener = {});
    ~LiveTransport();
    LiveTransport(const LiveTransport&) = delete;
    LiveTransport& operator=(const LiveTransport&) = delete;

    // Note-ons that reach the effect's processEvent on the transport's thread, each before the
    // first block at or after its tick, as a keyboard's would: (tick, note). Given before start.
    void setIncomingNotes(std::vector<std::pair<int32_t, int32_t>> notes);
    void start();
    // Returns once the thread has made its last call to the effect.
    void stop();
    // The tick where the next block starts.
    int32_t position() const { return next.load(); }

private:
    void run();

    IMidiEffect* const effect;
    HostMidiTrack& track;
    const double tempo;
    const Listener listener;
    std::thread thread;
    std::mutex mutex;
    std::condition_variable wake;
    bool stopping = false;
    std::atomic<int32_t> next{0};
    std::vector<std::pair<int32_t, int32_t>> incoming; // sorted by tick
};
} // namespace hostkit
