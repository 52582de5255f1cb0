#include "host/kit/liveschedule.h"
#include "host/kit/platform/midiout_posix.h"
#include "host/kit/transport.h"

#include <alsa/asoundlib.h>

namespace hostkit::platform
{
namespace
{
// alsa-lib reports on stderr by itself; the program says what went wrong in its own words.
void quiet(const char*, int, const char*, int, const char*, ...) {}

class AlsaOutput final : public LiveOutput
{
public:
    ~AlsaOutput() override
    {
        stop();
        if (seq) snd_seq_close(seq);
    }

    bool open(const MidiOutSetup& setup, std::string& error)
    {
        snd_lib_error_set_handler(quiet);
        if (snd_seq_open(&seq, "default", SND_SEQ_OPEN_OUTPUT, 0) < 0)
        {
            seq = nullptr;
            error = "There is no ALSA sequencer on this machine (no /dev/snd/seq: load the snd-seq module) "
                    "to play into; play through --jack instead.";
            return false;
        }
        snd_seq_set_client_name(seq, setup.clientName.c_str());
        port = snd_seq_create_simple_port(seq, "out", SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ,
                                          SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_APPLICATION);
        queue = snd_seq_alloc_named_queue(seq, setup.clientName.c_str());
        if (port < 0 || queue < 0)
        {
            error = "The ALSA sequencer refused the program a port and a queue.";
            return false;
        }
        // The queue counts the module's own ticks, at the project's tempo.
        snd_seq_queue_tempo_t* tempo = nullptr;
        snd_seq_queue_tempo_alloca(&tempo);
        snd_seq_queue_tempo_set_tempo(tempo, static_cast<unsigned int>(60000000.0 / setup.tempo));
        snd_seq_queue_tempo_set_ppq(tempo, kTicksPerQuarter);
        if (snd_seq_set_queue_tempo(seq, queue, tempo) < 0)
        {
            error = "The ALSA sequencer refused the project's tempo.";
            return false;
        }
        // A block is handed over once the clock has passed its end: scheduling every message two
        // blocks later keeps each one ahead of the queue's clock, all by the same amount.
        latency = 2 * blockTicks(setup.tempo);
        if (!setup.connect.empty())
        {
            snd_seq_addr_t address{};
            if (snd_seq_parse_address(seq, &address, setup.connect.c_str()) < 0 ||
                snd_seq_connect_to(seq, port, address.client, address.port) < 0)
            {
                error = "There is no ALSA sequencer port '" + setup.connect +
                        "' to connect to; aconnect -o lists them.";
                return false;
            }
        }
        char text[64];
        std::snprintf(text, sizeof text, "ALSA sequencer port %d:%d", snd_seq_client_id(seq), port);
        portName = text;
        return true;
    }

    std::string name() const override { return portName; }
    bool keepsTime() const override { return false; }
    void start(TickSource&) override {}

    // The transport's thread: the schedule and alsa-lib's output buffer, made up front, hold
    // everything; the one system call is the write that hands the block to the sequencer.
    void send(const std::vector<TrackEvent>& events, int32_t, int32_t to) override
    {
        if (!running)
        {
            snd_seq_start_queue(seq, queue, nullptr);
            running = true;
        }
        for (const TrackEvent& event : events)
            schedule.add(event);
        schedule.takeDue(to, [this](const LiveMessage& m) { put(m, false); });
        last = to;
        snd_seq_drain_output(seq);
    }

    void relocated() override
    {
        endNotes();
        base += last + latency;
    }

    void stop() override
    {
        if (!running) return;
        endNotes();
        snd_seq_stop_queue(seq, queue, nullptr);
        snd_seq_drain_output(seq);
        running = false;
    }

    bool lost(std::string&) const override { return false; }

private:
    // What is on the queue plays out; then the notes that still sound end at once.
    void endNotes()
    {
        snd_seq_drain_output(seq);
        snd_seq_sync_output_queue(seq);
        schedule.takeNoteOffs([this](const LiveMessage& m) { put(m, true); });
        snd_seq_drain_output(seq);
    }

    void put(const LiveMessage& m, bool now)
    {
        snd_seq_event_t ev;
        snd_seq_ev_clear(&ev);
        snd_seq_ev_set_source(&ev, port);
        snd_seq_ev_set_subs(&ev);
        if (now)
            snd_seq_ev_set_direct(&ev);
        else
            snd_seq_ev_schedule_tick(&ev, queue, 0,
                                     static_cast<snd_seq_tick_time_t>(base + m.tick + latency));
        const int channel = m.bytes[0] & 0x0F;
        switch (m.bytes[0] & 0xF0)
        {
        case 0x80:
            snd_seq_ev_set_noteoff(&ev, channel, m.bytes[1], m.bytes[2]);
            break;
        case 0x90:
            snd_seq_ev_set_noteon(&ev, channel, m.bytes[1], m.bytes[2]);
            break;
        case 0xA0:
            snd_seq_ev_set_keypress(&ev, channel, m.bytes[1], m.bytes[2]);
            break;
        case 0xB0:
            snd_seq_ev_set_controller(&ev, channel, m.bytes[1], m.bytes[2]);
            break;
        case 0xC0:
            snd_seq_ev_set_pgmchange(&ev, channel, m.bytes[1]);
            break;
        case 0xD0:
            snd_seq_ev_set_chanpress(&ev, channel, m.bytes[1]);
            break;
        case 0xE0:
            snd_seq_ev_set_pitchbend(&ev, channel, (m.bytes[1] | (m.bytes[2] << 7)) - 8192);
            break;
        default:
            return;
        }
        snd_seq_event_output(seq, &ev);
    }

    snd_seq_t* seq = nullptr;
    int port = -1;
    int queue = -1;
    int32_t latency = 0;
    int64_t base = 0; // queue ticks before the last relocation
    int32_t last = 0;
    bool running = false;
    std::string portName;
    LiveSchedule schedule;
};
} // namespace

std::unique_ptr<LiveOutput> openAlsaOutput(const MidiOutSetup& setup, std::string& error)
{
    auto output = std::make_unique<AlsaOutput>();
    if (!output->open(setup, error)) return nullptr;
    return output;
}
} // namespace hostkit::platform
