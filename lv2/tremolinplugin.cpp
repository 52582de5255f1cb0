#include "lv2/tremolinplugin.h"

#include "foundation/funknown.h"
#include "module/pluginfactory.h"

#include <lv2/atom/util.h>
#include <lv2/midi/midi.h>
#include <lv2/time/time.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <optional>

namespace tremolinlv2
{
namespace
{
// The effect's parameters behind the control inputs, in port order.
const char* const kParameterNames[kControlInputs] = {"Pattern Select",
                                                     "Length",
                                                     "Quantize",
                                                     "Swing",
                                                     "Param Select",
                                                     "Controller1",
                                                     "Controller2",
                                                     "Shift Octave Up",
                                                     "Shift Octave Down",
                                                     "Shift Time Left",
                                                     "Shift Time Right",
                                                     "Reverse",
                                                     "Randomize",
                                                     "Clear",
                                                     "Copy",
                                                     "Paste"};

constexpr int32_t kQuantizeEntries = 11;
constexpr int32_t kLaneEntries = 4;

template <class T> void releaseFace(T*& face)
{
    if (face) face->release();
    face = nullptr;
}

// The body of an atom as a T, if the atom is of `type` and long enough.
template <class T> std::optional<double> bodyAs(const LV2_Atom* atom, LV2_URID type)
{
    if (atom->type != type || atom->size < sizeof(T)) return std::nullopt;
    T value;
    std::memcpy(&value, LV2_ATOM_BODY_CONST(atom), sizeof value);
    return static_cast<double>(value);
}

// A number of any of the four numeric atom types; nothing for anything else or a short body.
std::optional<double> numberOf(const LV2_Atom* atom, LV2_URID floatType, LV2_URID doubleType,
                               LV2_URID intType, LV2_URID longType)
{
    if (auto value = bodyAs<float>(atom, floatType)) return value;
    if (auto value = bodyAs<double>(atom, doubleType)) return value;
    if (auto value = bodyAs<int32_t>(atom, intType)) return value;
    return bodyAs<int64_t>(atom, longType);
}

int32_t clampToInt(float value, int32_t low, int32_t high)
{
    const long rounded = std::lround(std::fmin(std::fmax(value, float(low)), float(high)));
    return static_cast<int32_t>(rounded);
}
} // namespace

TremolinPlugin::TremolinPlugin(double sampleRate, LV2_URID_Map* uridMap) : map(uridMap), clock(sampleRate)
{
    auto id = [this](const char* uri) { return map->map(map->handle, uri); };
    uris.atomBlank = id(LV2_ATOM__Blank);
    uris.atomObject = id(LV2_ATOM__Object);
    uris.atomFloat = id(LV2_ATOM__Float);
    uris.atomDouble = id(LV2_ATOM__Double);
    uris.atomInt = id(LV2_ATOM__Int);
    uris.atomLong = id(LV2_ATOM__Long);
    uris.atomChunk = id(LV2_ATOM__Chunk);
    uris.atomSequence = id(LV2_ATOM__Sequence);
    uris.midiEvent = id(LV2_MIDI__MidiEvent);
    uris.timePosition = id(LV2_TIME__Position);
    // In the order of PositionReport's fields.
    const char* const positionKeys[PositionReport::kFieldCount] = {
        LV2_TIME__bar,      LV2_TIME__barBeat,        LV2_TIME__beat,  LV2_TIME__beatsPerBar,
        LV2_TIME__beatUnit, LV2_TIME__beatsPerMinute, LV2_TIME__speed, LV2_TIME__frame};
    for (uint32_t i = 0; i < PositionReport::kFieldCount; ++i)
        uris.positionKeys[i] = id(positionKeys[i]);
    uris.chunkKey = id(kChunkKey);
    uris.controller1Key = id(kController1Key);
    uris.controller2Key = id(kController2Key);
}

TremolinPlugin* TremolinPlugin::create(double sampleRate, const char* bundlePath,
                                       const LV2_Feature* const* features, std::string& error)
{
    LV2_URID_Map* map = nullptr;
    LV2_Worker_Schedule* worker = nullptr;
    for (int i = 0; features && features[i]; ++i)
    {
        if (std::strcmp(features[i]->URI, LV2_URID__map) == 0)
            map = static_cast<LV2_URID_Map*>(features[i]->data);
        else if (std::strcmp(features[i]->URI, LV2_WORKER__schedule) == 0)
            worker = static_cast<LV2_Worker_Schedule*>(features[i]->data);
    }
    if (!map)
    {
        error = "The host gave Tremolin no URID map, which it needs.";
        return nullptr;
    }
    if (!bundlePath)
    {
        error = "The host gave Tremolin no bundle path.";
        return nullptr;
    }
    auto* plugin = new TremolinPlugin(sampleRate, map);
    plugin->worker = worker;
    if (!plugin->load(bundlePath, error))
    {
        delete plugin;
        return nullptr;
    }
    return plugin;
}

bool TremolinPlugin::load(const std::string& bundlePath, std::string& error)
{
    std::string path = bundlePath;
    if (!path.empty() && path.back() != '/') path += '/';
    path += kModuleFile;
    module = hostkit::PluginModule::load(path, error);
    if (!module) return false;

    hostkit::HostOptions options;
    // The controller numbers travel in the LV2 state, not in a settings file of the user's.
    options.settingsInFile = false;
    context = new hostkit::HostContext(options);
    hostkit::HostMidiTrack& track = context->track();
    track.setGridOrigin(hostkit::HostMidiTrack::GridOrigin::BarStart);
    track.setTicksPerBar(clock.ticksPerBar());
    track.setForwarding(false);

    IMidiEffect* effect = module->instantiate(kMidiSeqClassId, error);
    if (!effect || !module->initialize(effect, static_cast<IHostContext*>(context), error)) return false;
    controller = queryFace<IPlugController>(effect);
    chunk = queryFace<IPersistentChunk>(effect);
    if (!controller || !chunk)
    {
        error = "The module in " + bundlePath + " is no Tremolin: its effect lacks parameters or a chunk.";
        return false;
    }
    for (uint32_t i = 0; i < kControlInputs; ++i)
        if (controller->findValue(kParameterNames[i], &values[i]) != kResultOk || !values[i])
        {
            error = "The module in " + bundlePath + " has no parameter \"" + kParameterNames[i] + "\".";
            return false;
        }
    sent.reserve(hostkit::HostMidiTrack::kOutputReserve);
    face.effect = effect;
    return true;
}

TremolinPlugin::~TremolinPlugin()
{
    face.effect = nullptr;
    releaseFace(controller);
    releaseFace(chunk);
    // The effect gives its references to the context back in terminate, so the module goes first.
    if (module) module->unload();
    module.reset();
    if (context)
    {
        context->unbindValues();
        context->release();
    }
}

void TremolinPlugin::connect(uint32_t port, void* data)
{
    if (port == kPortEvents)
        events = static_cast<const LV2_Atom_Sequence*>(data);
    else if (port == kPortMidiOut)
        midiOut = static_cast<LV2_Atom_Sequence*>(data);
    else if (port == kPortCurrentPattern)
        currentPattern = static_cast<float*>(data);
    else if (port >= kFirstControl && port < kPortCurrentPattern)
        ports[port - kFirstControl] = static_cast<const float*>(data);
}

void TremolinPlugin::activate()
{
    // The host stopped calling run for a while: what was owed then is not owed now.
    pending.clear();
}

void TremolinPlugin::run(uint32_t frames)
{
    capacity = 0;
    written = 0;
    blockFrames = frames;
    if (midiOut && midiOut->atom.size < sizeof(LV2_Atom_Sequence_Body))
        midiOut->atom.size = 0; // no room even for an empty sequence: nothing is written
    else if (midiOut)
    {
        capacity = midiOut->atom.size;
        midiOut->atom.type = uris.atomSequence;
        midiOut->atom.size = sizeof(LV2_Atom_Sequence_Body);
        midiOut->body.unit = 0;
        midiOut->body.pad = 0;
        written = sizeof(LV2_Atom_Sequence_Body);
    }
    controls();

    const int64_t base = samples;
    uint32_t cursor = 0;
    if (events && events->atom.size >= sizeof(LV2_Atom_Sequence_Body))
    {
        const auto* begin = reinterpret_cast<const uint8_t*>(&events->body);
        const uint8_t* end = begin + events->atom.size;
        const uint8_t* at = begin + sizeof(LV2_Atom_Sequence_Body);
        while (at + sizeof(LV2_Atom_Event) <= end)
        {
            // Some hosts hand buffers on 4-byte boundaries: the head, with its 64-bit time, is
            // copied rather than read in place.
            LV2_Atom_Event head;
            std::memcpy(&head, at, sizeof head);
            const LV2_Atom_Event* event = &head;
            const uint8_t* body = at + sizeof(LV2_Atom_Event);
            // An event that claims more than the sequence holds ends the reading.
            if (event->body.size > static_cast<size_t>(end - body)) break;
            // Out of order or outside the block: at the nearest time that keeps the order.
            const int64_t time = std::clamp<int64_t>(event->time.frames, cursor, frames);
            const auto frame = static_cast<uint32_t>(time);
            if (frame > cursor)
            {
                play(base, cursor, frame);
                cursor = frame;
            }
            if (event->body.type == uris.midiEvent)
                midiIn(body, event->body.size);
            else if ((event->body.type == uris.atomObject || event->body.type == uris.atomBlank) &&
                     event->body.size >= sizeof(LV2_Atom_Object_Body))
            {
                const auto* object =
                    reinterpret_cast<const LV2_Atom_Object*>(at + offsetof(LV2_Atom_Event, body));
                if (object->body.otype == uris.timePosition) position(object, base + frame);
            }
            at = body + lv2_atom_pad_size(event->body.size);
        }
    }
    play(base, cursor, frames);

    if (patternChanged)
    {
        // Only a note-on, the port or a restore selects a pattern.
        shownPattern = static_cast<float>(values[kPortPattern - kFirstControl]->getInt());
        patternChanged = false;
    }
    if (currentPattern) *currentPattern = shownPattern;
    if (midiOut && capacity > 0) midiOut->atom.size = written;
    samples += frames;
}

void TremolinPlugin::controls()
{
    for (uint32_t i = 0; i < kControlInputs; ++i)
    {
        if (!ports[i]) continue;
        const float value = *ports[i];
        // Most blocks change nothing: that is the first test.
        if ((value == lastPorts[i] && !portsFresh) || !std::isfinite(value)) continue;
        lastPorts[i] = value;
        const uint32_t port = kFirstControl + i;
        // At the first block and after a restore the other ports are taken as they stand; a
        // pressed trigger is a press whenever it comes.
        if (portsFresh && port < kFirstTrigger) continue;
        if (port >= kFirstTrigger)
        {
            // A press: the host sets the trigger and drops it back to 0 itself.
            if (value > 0.5f)
            {
                values[i]->setInt(1);
                values[i]->setInt(0);
            }
        }
        else if (port == kPortController1 || port == kPortController2)
        {
            wantedControllers[port - kPortController1] = clampToInt(value, 0, 127);
            const int32_t first = wantedControllers[0] >= 0
                                      ? wantedControllers[0]
                                      : values[kPortController1 - kFirstControl]->getInt();
            const int32_t second = wantedControllers[1] >= 0
                                       ? wantedControllers[1]
                                       : values[kPortController2 - kFirstControl]->getInt();
            const int32_t message[2] = {first, second};
            if (worker) worker->schedule_work(worker->handle, sizeof message, message);
        }
        else if (port == kPortQuantize)
            values[i]->setInt(clampToInt(value, 0, kQuantizeEntries - 1));
        else if (port == kPortLane)
            values[i]->setInt(clampToInt(value, 0, kLaneEntries - 1));
        else
        {
            values[i]->setInt(clampToInt(value, -1000000, 1000000));
            patternChanged = patternChanged || port == kPortPattern;
        }
    }
    portsFresh = false;
}

void TremolinPlugin::midiIn(const uint8_t* bytes, uint32_t size)
{
    // The module reads note-ons only (and swallows all else); nothing else need reach it.
    if (size != 3 || (bytes[0] & 0xF0) != 0x90 || bytes[1] > 127 || bytes[2] > 127) return;
    hostkit::HostMidiTrack& track = context->track();
    HostMidiEvent* event = track.makeIncoming(bytes[0], bytes[1], bytes[2], clock.position());
    if (!event) return;
    face.effect->processEvent(event);
    track.releaseEvent(event);
    patternChanged = true;
}

void TremolinPlugin::position(const LV2_Atom_Object* object, int64_t sample)
{
    PositionReport report;
    const auto* objectEnd = reinterpret_cast<const uint8_t*>(object) + sizeof(LV2_Atom) + object->atom.size;
    LV2_ATOM_OBJECT_FOREACH(object, property)
    {
        // A property that claims more than the object holds ends the reading.
        const auto* valueBody = reinterpret_cast<const uint8_t*>(&property->value) + sizeof(LV2_Atom);
        if (valueBody > objectEnd || property->value.size > size_t(objectEnd - valueBody)) break;
        uint32_t field = 0;
        while (field < PositionReport::kFieldCount && uris.positionKeys[field] != property->key)
            ++field;
        if (field == PositionReport::kFieldCount) continue;
        const std::optional<double> number =
            numberOf(&property->value, uris.atomFloat, uris.atomDouble, uris.atomInt, uris.atomLong);
        if (number) report.set(PositionReport::Field(field), *number);
    }
    const int64_t base = samples;
    const TransportClock::Change change = clock.report(report, sample);
    // The grid the module swings on and locates by is the bar the host counts in.
    if (clock.ticksPerBar() != gridBar)
    {
        gridBar = clock.ticksPerBar();
        context->track().setTicksPerBar(gridBar);
    }
    switch (change)
    {
    case TransportClock::Change::None:
        break;
    case TransportClock::Change::Stop:
        flushNotes(base, sample);
        break;
    case TransportClock::Change::Start:
        face.effect->resume(clock.position());
        break;
    case TransportClock::Change::StartMoved:
        face.effect->restart(clock.position());
        break;
    case TransportClock::Change::Jump:
        flushNotes(base, sample);
        face.effect->reposition(clock.position());
        break;
    }
}

void TremolinPlugin::play(int64_t base, uint32_t from, uint32_t to)
{
    if (clock.rolling())
    {
        const int32_t start = clock.position();
        const int32_t end = clock.tickBefore(base + to);
        if (end > start)
        {
            face.effect->processRange(start, end);
            clock.advanceTo(end);
            hostkit::HostMidiTrack& track = context->track();
            // Most ranges of a small block hold no step: then there is nothing to take.
            if (track.sentCount() != seenSends)
            {
                seenSends = track.sentCount();
                track.takeEvents(sent);
            }
            else
                sent.clear();
            const int64_t first = base + from;
            for (const hostkit::TrackEvent& event : sent)
            {
                if (event.forwarded) continue;
                const int64_t at = std::max(first, clock.sampleOf(event.time));
                if (event.isNoteOn())
                {
                    if (event.data1 < 0 || event.data1 > 127 || event.data2 <= 0) continue;
                    const auto velocity = static_cast<uint8_t>(std::min(event.data2, 127));
                    const int64_t off =
                        std::max(at, clock.sampleOf(double(event.time) + double(std::max(event.length, 0))));
                    pending.addNote(at, off, event.status, static_cast<uint8_t>(event.data1), velocity);
                }
                else if (event.isController())
                {
                    if (event.data1 < 0 || event.data1 > 127) continue;
                    const auto value = static_cast<uint8_t>(std::clamp(event.data2, 0, 127));
                    pending.addController(at, event.status, static_cast<uint8_t>(event.data1), value);
                }
            }
        }
    }
    writeDue(base, base + to);
}

void TremolinPlugin::writeDue(int64_t base, int64_t end)
{
    MidiOut event;
    while (pending.takeDue(end, event))
        if (!write(base, event) && (event.bytes[0] & 0xF0) == 0x90)
            pending.forgetNote(event.sample, event.bytes[0], event.bytes[1]);
}

void TremolinPlugin::flushNotes(int64_t base, int64_t at)
{
    writeDue(base, at);
    MidiOut event;
    while (pending.takeFlush(at, event))
        write(base, event);
}

bool TremolinPlugin::write(int64_t base, const MidiOut& event)
{
    if (!midiOut || capacity == 0) return false;
    const uint32_t needed = lv2_atom_pad_size(sizeof(LV2_Atom_Event) + 3);
    if (written + needed > capacity) return false;
    LV2_Atom_Event head;
    // Within the block: a stop the host reported at its very end ends the notes in its last frame.
    head.time.frames = std::clamp<int64_t>(event.sample - base, 0, blockFrames > 0 ? blockFrames - 1 : 0);
    head.body.type = uris.midiEvent;
    head.body.size = 3;
    // Past the sequence's head, in the host's buffer: an address, not a member of the head.
    auto* out = reinterpret_cast<uint8_t*>(reinterpret_cast<uintptr_t>(midiOut) + sizeof(LV2_Atom) + written);
    std::memcpy(out, &head, sizeof head);
    std::memcpy(out + sizeof head, event.bytes, 3);
    written += needed;
    return true;
}

LV2_State_Status TremolinPlugin::save(LV2_State_Store_Function store, LV2_State_Handle handle)
{
    int32_t size = 0;
    chunk->getChunk(nullptr, &size);
    if (size <= 0) return LV2_STATE_ERR_UNKNOWN;
    std::vector<uint8_t> bytes(static_cast<size_t>(size));
    if (chunk->getChunk(bytes.data(), &size) != kResultOk) return LV2_STATE_ERR_UNKNOWN;
    const uint32_t flags = LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE;
    LV2_State_Status status = store(handle, uris.chunkKey, bytes.data(), bytes.size(), uris.atomChunk, flags);
    if (status != LV2_STATE_SUCCESS) return status;
    const int32_t first = values[kPortController1 - kFirstControl]->getInt();
    const int32_t second = values[kPortController2 - kFirstControl]->getInt();
    status = store(handle, uris.controller1Key, &first, sizeof first, uris.atomInt, flags);
    if (status != LV2_STATE_SUCCESS) return status;
    return store(handle, uris.controller2Key, &second, sizeof second, uris.atomInt, flags);
}

LV2_State_Status TremolinPlugin::restore(LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle)
{
    // Everything is looked at before anything is taken, so that a foreign or damaged state
    // changes nothing.
    size_t size = 0;
    uint32_t type = 0;
    uint32_t flags = 0;
    int32_t expected = 0;
    chunk->getChunk(nullptr, &expected);
    const void* bytes = retrieve(handle, uris.chunkKey, &size, &type, &flags);
    if (bytes && (type != uris.atomChunk || size != static_cast<size_t>(expected)))
        return LV2_STATE_ERR_BAD_TYPE;
    const size_t chunkSize = size;

    int32_t numbers[2] = {values[kPortController1 - kFirstControl]->getInt(),
                          values[kPortController2 - kFirstControl]->getInt()};
    bool anyNumber = false;
    const LV2_URID keys[2] = {uris.controller1Key, uris.controller2Key};
    for (int i = 0; i < 2; ++i)
    {
        const void* number = retrieve(handle, keys[i], &size, &type, &flags);
        if (!number) continue;
        int32_t value = -1;
        if (type != uris.atomInt || size != sizeof value) return LV2_STATE_ERR_BAD_TYPE;
        std::memcpy(&value, number, sizeof value);
        if (value < 0 || value > 127) return LV2_STATE_ERR_BAD_TYPE;
        numbers[i] = value;
        anyNumber = true;
    }

    if (bytes)
    {
        // The module checks the chunk's mark and version and refuses it as a whole.
        std::vector<uint8_t> copy(static_cast<const uint8_t*>(bytes),
                                  static_cast<const uint8_t*>(bytes) + chunkSize);
        if (chunk->setChunk(copy.data(), static_cast<int32_t>(copy.size())) != kResultOk)
            return LV2_STATE_ERR_UNKNOWN;
    }
    if (anyNumber) applyControllers(numbers[0], numbers[1]);
    portsFresh = true;
    patternChanged = true;
    return LV2_STATE_SUCCESS;
}

LV2_Worker_Status TremolinPlugin::work(const void* data, uint32_t size)
{
    int32_t numbers[2];
    if (!data || size != sizeof numbers) return LV2_WORKER_ERR_UNKNOWN;
    std::memcpy(numbers, data, sizeof numbers);
    applyControllers(numbers[0], numbers[1]);
    return LV2_WORKER_SUCCESS;
}

void TremolinPlugin::applyControllers(int32_t first, int32_t second)
{
    first = std::clamp(first, 0, 127);
    second = std::clamp(second, 0, 127);
    values[kPortController1 - kFirstControl]->setInt(first);
    values[kPortController2 - kFirstControl]->setInt(second);
    context->dialogs().setScript({{{"Controller1", first}, {"Controller2", second}}, true});
    IHostValue* config = nullptr;
    if (controller->findValue("Config", &config) == kResultOk && config)
    {
        config->setInt(1);
        config->setInt(0);
    }
}
} // namespace tremolinlv2
