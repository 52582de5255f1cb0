#pragma once

// The LV2 plug-in: Tremolin's effect, loaded from the module file in the bundle through its class
// factory exactly as a host loads it, driven by an LV2 host. The adapter is the effect's host: a
// host kit context gives it the MIDI track, value objects and settings; the adapter turns the LV2
// host's position reports into tick ranges and transport calls, incoming note-ons into events,
// control ports into parameter changes, the module's timed notes into MIDI at their samples with
// their note-offs, and the effect's chunk into LV2 state.
//
// Threads: run() is the module's event thread. It makes no heap or system call, and the only locks
// it meets are the engine's (held by the editor for one edit or one paint's read) and the host
// kit's spin locks (held for a copy). Instantiation, state and the worker are the module's
// user-interface side: controller numbers, which the module takes only through its setup dialog,
// are changed there.

#include "host/kit/hostcontext.h"
#include "host/kit/moduleloader.h"
#include "lv2/instanceface.h"
#include "lv2/pendingnotes.h"
#include "lv2/ports.h"
#include "lv2/transportclock.h"

#include <lv2/atom/atom.h>
#include <lv2/core/lv2.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <memory>
#include <string>
#include <vector>

namespace tremolinlv2
{
class TremolinPlugin
{
public:
    // Null, with the reason in `error`, when the bundle's module can't be loaded or set up.
    static TremolinPlugin* create(double sampleRate, const char* bundlePath,
                                  const LV2_Feature* const* features, std::string& error);
    ~TremolinPlugin();

    void connect(uint32_t port, void* data);
    void activate();
    void run(uint32_t frames);

    LV2_State_Status save(LV2_State_Store_Function store, LV2_State_Handle handle);
    LV2_State_Status restore(LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle);
    LV2_Worker_Status work(const void* data, uint32_t size);

private:
    TremolinPlugin(double sampleRate, LV2_URID_Map* map);
    bool load(const std::string& bundlePath, std::string& error);

    // Plays the samples [from, to) of this block; `base` is the block's first sample.
    void play(int64_t base, uint32_t from, uint32_t to);
    void writeDue(int64_t base, int64_t end);
    void flushNotes(int64_t base, int64_t at);
    bool write(int64_t base, const MidiOut& event);
    void position(const LV2_Atom_Object* object, int64_t sample);
    void midiIn(const uint8_t* bytes, uint32_t size);
    void controls();
    // Sets the two controller numbers through the module's setup dialog, answered by the host's
    // scripted user: the one way the module takes them. Not on the audio thread.
    void applyControllers(int32_t first, int32_t second);

public:
    // First, so that the editor's library finds it at the handle (instance-access).
    InstanceFace face;

private:
    struct Uris
    {
        LV2_URID atomBlank, atomObject, atomFloat, atomDouble, atomInt, atomLong, atomChunk, atomSequence;
        LV2_URID midiEvent, timePosition;
        LV2_URID positionKeys[PositionReport::kFieldCount];
        LV2_URID chunkKey, controller1Key, controller2Key;
    };

    LV2_URID_Map* map;
    Uris uris{};
    LV2_Worker_Schedule* worker = nullptr;
    std::unique_ptr<hostkit::PluginModule> module;
    hostkit::HostContext* context = nullptr;
    IPlugController* controller = nullptr;
    IPersistentChunk* chunk = nullptr;
    IHostValue* values[kControlInputs] = {};

    const LV2_Atom_Sequence* events = nullptr;
    LV2_Atom_Sequence* midiOut = nullptr;
    const float* ports[kControlInputs] = {};
    float* currentPattern = nullptr;
    float lastPorts[kControlInputs] = {};
    // Port values are taken as they stand, not applied, at the first block and after a restore:
    // the state's own pattern and settings come first.
    bool portsFresh = true;
    int32_t wantedControllers[2] = {-1, -1};
    // The playing pattern as the output port shows it, read again only when it may have changed.
    float shownPattern = 1.0f;
    bool patternChanged = true;

    TransportClock clock;
    PendingNotes pending;
    std::vector<hostkit::TrackEvent> sent; // reserved once, drained every range
    uint32_t seenSends = 0;                // the track's count when it was last drained
    int32_t gridBar = 1920;                // the bar the track's grid counts in
    int64_t samples = 0;                   // since instantiation
    uint32_t written = 0;                  // bytes of midiOut's body in this block
    uint32_t capacity = 0;
    uint32_t blockFrames = 0;
};
} // namespace tremolinlv2
