#include "host/kit/periodplayer.h"
#include "host/kit/platform/midiout_posix.h"

#include <jack/jack.h>
#include <jack/midiport.h>
#include <jack/transport.h>

#include <chrono>
#include <thread>

namespace hostkit::platform
{
namespace
{
// The JACK library reports on stderr by itself; the program says what went wrong in its own words.
void quiet(const char*) {}

class JackOutput final : public LiveOutput
{
public:
    ~JackOutput() override
    {
        stop();
        if (client) jack_client_close(client);
    }

    bool open(const MidiOutSetup& setup, std::string& error)
    {
        jack_set_error_function(quiet);
        jack_set_info_function(quiet);
        jack_status_t status{};
        client = jack_client_open(setup.clientName.c_str(), JackNoStartServer, &status);
        if (!client)
        {
            error = "No JACK server is running; start one first (for example jackd -d alsa) or play through "
                    "--alsa.";
            return false;
        }
        follow = setup.followTransport;
        player =
            std::make_unique<PeriodPlayer>(setup.tempo, static_cast<double>(jack_get_sample_rate(client)));
        port = jack_port_register(client, "out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
        if (!port || jack_set_process_callback(client, process, this) != 0)
        {
            error = "The JACK server refused the program a MIDI output port.";
            return false;
        }
        jack_on_shutdown(client, serverGone, this);
        if (jack_activate(client) != 0)
        {
            error = "The JACK server did not start the program's client.";
            return false;
        }
        active = true;
        if (!setup.connect.empty() && jack_connect(client, jack_port_name(port), setup.connect.c_str()) != 0)
        {
            error = "There is no JACK MIDI input '" + setup.connect +
                    "' to connect to; jack_lsp lists the ports.";
            return false;
        }
        return true;
    }

    std::string name() const override { return std::string("JACK port ") + jack_port_name(port); }
    bool keepsTime() const override { return true; }
    void start(TickSource& source) override
    {
        player->start(source);
        started = true;
    }
    void send(const std::vector<TrackEvent>&, int32_t, int32_t) override {}
    void relocated() override {}

    void stop() override
    {
        if (!active) return;
        player->requestStop();
        if (!started)
        {
            jack_deactivate(client);
            active = false;
            return;
        }
        // The note-offs go out in the next period; one more period after it and they have
        // reached whoever reads the port. A server that went away sends nothing more.
        using Clock = std::chrono::steady_clock;
        const Clock::time_point giveUp = Clock::now() + std::chrono::seconds(2);
        int64_t flushedAt = -1;
        while (!gone.load() && Clock::now() < giveUp)
        {
            if (flushedAt < 0 && player->stopped()) flushedAt = periods.load();
            if (flushedAt >= 0 && periods.load() > flushedAt + 1) break;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        jack_deactivate(client);
        active = false;
    }

    bool lost(std::string& why) const override
    {
        if (!gone.load()) return false;
        why = "The JACK server went away.";
        return true;
    }

private:
    // JACK's real-time thread: no heap call, no lock, no system call of ours.
    static int process(jack_nframes_t frames, void* self)
    {
        auto* out = static_cast<JackOutput*>(self);
        void* buffer = jack_port_get_buffer(out->port, frames);
        jack_midi_clear_buffer(buffer);
        FollowedTransport followed;
        if (out->follow)
        {
            jack_position_t position{};
            followed.rolling = jack_transport_query(out->client, &position) == JackTransportRolling;
            followed.frame = position.frame;
            if ((position.valid & JackPositionBBT) && position.beat_type > 0 && position.ticks_per_beat > 0)
            {
                // Bars and beats from the timebase master, in quarters of 480 ticks.
                const double quarters = 4.0 / static_cast<double>(position.beat_type);
                const double beats =
                    static_cast<double>(position.bar - 1) * static_cast<double>(position.beats_per_bar) +
                    static_cast<double>(position.beat - 1) +
                    static_cast<double>(position.tick) / position.ticks_per_beat;
                followed.hasTicks = true;
                followed.ticks = beats * quarters * 480.0;
                followed.tempo = position.beats_per_minute * quarters;
            }
        }
        out->player->period(frames, out->follow ? &followed : nullptr,
                            [&](uint32_t frame, const uint8_t* bytes, size_t size)
                            {
                                if (jack_midi_event_write(buffer, frame, bytes, size) != 0)
                                    out->overflows.fetch_add(1, std::memory_order_relaxed);
                            });
        out->periods.fetch_add(1, std::memory_order_release);
        return 0;
    }

    static void serverGone(void* self) { static_cast<JackOutput*>(self)->gone.store(true); }

    jack_client_t* client = nullptr;
    jack_port_t* port = nullptr;
    std::unique_ptr<PeriodPlayer> player;
    bool follow = false;
    bool active = false;
    bool started = false;
    std::atomic<bool> gone{false};
    std::atomic<int64_t> periods{0};
    std::atomic<int64_t> overflows{0};
};
} // namespace

std::unique_ptr<LiveOutput> openJackOutput(const MidiOutSetup& setup, std::string& error)
{
    auto output = std::make_unique<JackOutput>();
    if (!output->open(setup, error)) return nullptr;
    return output;
}
} // namespace hostkit::platform
