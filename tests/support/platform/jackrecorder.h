#pragma once

// A JACK client of a test's own, on a server the test started (jackd -n NAME -d dummy): it records
// what reaches its MIDI input "in" with the frame each message was due at, and it can roll, stop
// and move the transport, as its timebase master if asked. The process callback takes no lock and
// makes no heap call, so it never makes the server drop the client under load.

#include <jack/jack.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

namespace testjack
{
struct Heard
{
    int64_t frame = 0;
    uint8_t status = 0, data1 = 0, data2 = 0;

    bool noteOn() const { return (status & 0xF0) == 0x90 && data2 > 0; }
    bool noteOff() const { return (status & 0xF0) == 0x80; }
};

class JackRecorder
{
public:
    // Opens `clientName` on the server `serverName`, trying for five seconds while it comes up.
    JackRecorder(const std::string& serverName, const char* clientName);
    ~JackRecorder();
    JackRecorder(const JackRecorder&) = delete;
    JackRecorder& operator=(const JackRecorder&) = delete;

    bool ready() const { return client != nullptr; }
    // Becomes the transport's timebase: 4/4 at `tempo`, the beat in whole 1/1920.
    void leadTempo(double tempo);
    // Connects `port` to the input once its client is active, waiting up to `seconds`.
    bool connectFrom(const std::string& port, double seconds);
    void roll() { jack_transport_start(client); }
    void halt() { jack_transport_stop(client); }
    void moveTo(jack_nframes_t frame) { jack_transport_locate(client, frame); }

    std::vector<Heard> heard() const;
    int noteOns() const;
    // The frame at which the transport's frame 0 rolled, and the first at which it stood still
    // after rolling; -1 before.
    int64_t startedAt() const { return startFrame.load(); }
    int64_t stoppedAt() const { return stopFrame.load(); }

private:
    static int process(jack_nframes_t frames, void* self);
    static void timebase(jack_transport_state_t, jack_nframes_t, jack_position_t* position, int, void* self);

    jack_client_t* client = nullptr;
    jack_port_t* port = nullptr;
    std::atomic<double> tempo{120.0};
    std::array<Heard, 8192> log{};
    std::atomic<size_t> count{0};
    std::atomic<int64_t> startFrame{-1};
    std::atomic<int64_t> stopFrame{-1};
};

// The notes left sounding after what was heard (note-ons less note-offs); a note-off of no note
// fails the test.
int sounding(const std::vector<Heard>& heard);
} // namespace testjack
