#include "tests/support/platform/jackrecorder.h"

#include <jack/midiport.h>
#include <jack/transport.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <thread>

namespace testjack
{
namespace
{
// The library reports on stderr by itself while the server comes up; the tests say what failed.
void quiet(const char*) {}
} // namespace

JackRecorder::JackRecorder(const std::string& serverName, const char* clientName)
{
    jack_set_error_function(quiet);
    jack_set_info_function(quiet);
    for (int tries = 0; tries < 100 && !client; ++tries)
    {
        jack_status_t status{};
        client = jack_client_open(clientName, jack_options_t(JackNoStartServer | JackServerName), &status,
                                  serverName.c_str());
        if (!client) std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    if (!client) return;
    port = jack_port_register(client, "in", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
    jack_set_process_callback(client, process, this);
    jack_activate(client);
}

JackRecorder::~JackRecorder()
{
    if (!client) return;
    jack_deactivate(client);
    jack_client_close(client);
}

void JackRecorder::leadTempo(double beatsPerMinute)
{
    tempo.store(beatsPerMinute);
    jack_set_timebase_callback(client, 0, timebase, this);
}

bool JackRecorder::connectFrom(const std::string& source, double seconds)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (std::chrono::steady_clock::now() < deadline)
    {
        // A port exists a moment before its client is active, and JACK refuses to connect it until
        // then.
        if (jack_port_by_name(client, source.c_str()) &&
            jack_connect(client, source.c_str(), jack_port_name(port)) == 0)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

std::vector<Heard> JackRecorder::heard() const
{
    const size_t heardCount = count.load(std::memory_order_acquire);
    return std::vector<Heard>(log.begin(), log.begin() + static_cast<std::ptrdiff_t>(heardCount));
}

int JackRecorder::noteOns() const
{
    int ons = 0;
    const size_t heardCount = count.load(std::memory_order_acquire);
    for (size_t i = 0; i < heardCount; ++i)
        ons += log[i].noteOn();
    return ons;
}

int JackRecorder::process(jack_nframes_t frames, void* self)
{
    auto* rig = static_cast<JackRecorder*>(self);
    const int64_t base = jack_last_frame_time(rig->client);
    jack_position_t position;
    const bool rolling = jack_transport_query(rig->client, &position) == JackTransportRolling;
    if (rolling && rig->startFrame.load() < 0) rig->startFrame.store(base - int64_t(position.frame));
    if (!rolling && rig->startFrame.load() >= 0 && rig->stopFrame.load() < 0) rig->stopFrame.store(base);
    void* buffer = jack_port_get_buffer(rig->port, frames);
    const uint32_t events = jack_midi_get_event_count(buffer);
    for (uint32_t i = 0; i < events; ++i)
    {
        jack_midi_event_t event;
        const size_t at = rig->count.load(std::memory_order_relaxed);
        if (jack_midi_event_get(&event, buffer, i) != 0 || event.size != 3 || at >= rig->log.size()) continue;
        rig->log[at] = {base + event.time, event.buffer[0], event.buffer[1], event.buffer[2]};
        rig->count.store(at + 1, std::memory_order_release);
    }
    return 0;
}

void JackRecorder::timebase(jack_transport_state_t, jack_nframes_t, jack_position_t* position, int,
                            void* self)
{
    const double tempo = static_cast<JackRecorder*>(self)->tempo.load();
    const double beats = double(position->frame) / position->frame_rate * tempo / 60.0;
    position->valid = jack_position_bits_t(position->valid | JackPositionBBT);
    position->beats_per_bar = 4;
    position->beat_type = 4;
    position->ticks_per_beat = 1920;
    position->beats_per_minute = tempo;
    position->bar = int32_t(beats / 4) + 1;
    position->beat = int32_t(std::fmod(beats, 4.0)) + 1;
    position->tick = int32_t((beats - std::floor(beats)) * 1920.0);
    position->bar_start_tick = 0;
}

int sounding(const std::vector<Heard>& heard)
{
    int notes = 0;
    for (size_t i = 0; i < heard.size(); ++i)
    {
        notes += heard[i].noteOn() ? 1 : (heard[i].noteOff() ? -1 : 0);
        EXPECT_GE(notes, 0) << "a note-off of no note at " << i;
    }
    return notes;
}
} // namespace testjack
