#include "tests/lv2/lv2host.h"

#include <lv2/atom/atom.h>
#include <lv2/atom/forge.h>
#include <lv2/atom/util.h>
#include <lv2/midi/midi.h>
#include <lv2/state/state.h>
#include <lv2/time/time.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <set>

namespace lv2test
{
Position rollingAt(double bar, double barBeat, double tempo, double speed)
{
    Position p;
    p.bar = bar;
    p.barBeat = barBeat;
    p.beatsPerBar = 4.0;
    p.beatUnit = 4.0;
    p.beatsPerMinute = tempo;
    p.speed = speed;
    return p;
}

struct Lv2Host::Features
{
    std::map<std::string, uint32_t> ids;
    std::vector<std::string> names{""};
    LV2_URID_Map map{this,
                     [](LV2_URID_Map_Handle h, const char* uri) -> LV2_URID
                     {
                         auto* self = static_cast<Features*>(h);
                         auto [at, added] = self->ids.emplace(uri, uint32_t(self->names.size()));
                         if (added) self->names.push_back(uri);
                         return at->second;
                     }};
    LV2_URID_Unmap unmap{this,
                         [](LV2_URID_Unmap_Handle h, LV2_URID id) -> const char*
                         {
                             auto* self = static_cast<Features*>(h);
                             return id < self->names.size() ? self->names[id].c_str() : nullptr;
                         }};
    std::deque<std::vector<uint8_t>> jobs;
    LV2_Worker_Schedule schedule{this, [](LV2_Worker_Schedule_Handle h, uint32_t size, const void* data)
                                 {
                                     auto* self = static_cast<Features*>(h);
                                     const auto* bytes = static_cast<const uint8_t*>(data);
                                     self->jobs.emplace_back(bytes, bytes + size);
                                     return LV2_WORKER_SUCCESS;
                                 }};
    LV2_Feature mapFeature{LV2_URID__map, &map};
    LV2_Feature unmapFeature{LV2_URID__unmap, &unmap};
    LV2_Feature workerFeature{LV2_WORKER__schedule, &schedule};
    std::vector<const LV2_Feature*> list;
};

Lv2Host::Lv2Host(double sampleRate, bool withWorker) : features(std::make_unique<Features>())
{
    // The build tree's bundle and the LV2 schemas the system has, and nothing a user installed.
    setenv("LV2_PATH", (std::string(TREMOLIN_LV2_BUNDLE_PARENT) + ":/usr/lib/lv2").c_str(), 1);
    world = lilv_world_new();
    lilv_world_load_all(world);
    LilvNode* uri = lilv_new_uri(world, kPluginUri);
    pluginObject = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world), uri);
    lilv_node_free(uri);
    features->list = {&features->mapFeature, &features->unmapFeature};
    if (withWorker) features->list.push_back(&features->workerFeature);
    features->list.push_back(nullptr);
    if (!pluginObject) return;
    instance = lilv_plugin_instantiate(pluginObject, sampleRate, features->list.data());
    if (!instance) return;
    controls.assign(lilv_plugin_get_num_ports(pluginObject), 0.0f);
    // Every control at its default, as hosts start.
    std::vector<float> defaults(controls.size(), 0.0f);
    lilv_plugin_get_port_ranges_float(pluginObject, nullptr, nullptr, defaults.data());
    for (size_t i = 0; i < controls.size(); ++i)
        if (!std::isnan(defaults[i])) controls[i] = defaults[i];
    input.assign(8192, 0);
    outputBuffer.assign(65536 / 8 + 8, 0);
    for (uint32_t i = 0; i < controls.size(); ++i)
        lilv_instance_connect_port(instance, i, &controls[i]);
    lilv_instance_connect_port(instance, 0, input.data());
    lilv_instance_connect_port(instance, 1, outputBuffer.data());
    auto* seq = reinterpret_cast<LV2_Atom_Sequence*>(input.data());
    seq->atom.type = urid(LV2_ATOM__Sequence);
    seq->atom.size = sizeof(LV2_Atom_Sequence_Body);
    lilv_instance_activate(instance);
}

Lv2Host::~Lv2Host()
{
    if (instance)
    {
        lilv_instance_deactivate(instance);
        lilv_instance_free(instance);
    }
    lilv_world_free(world);
}

uint32_t Lv2Host::urid(const std::string& uri)
{
    return features->map.map(features->map.handle, uri.c_str());
}

void Lv2Host::append(int64_t frame, uint32_t type, const std::vector<uint8_t>& body)
{
    auto* seq = reinterpret_cast<LV2_Atom_Sequence*>(input.data());
    auto* event = reinterpret_cast<LV2_Atom_Event*>(reinterpret_cast<uint8_t*>(&seq->body) + seq->atom.size);
    event->time.frames = frame;
    event->body.type = type;
    event->body.size = static_cast<uint32_t>(body.size());
    if (!body.empty()) std::memcpy(event + 1, body.data(), body.size());
    seq->atom.size += lv2_atom_pad_size(sizeof(LV2_Atom_Event) + body.size());
}

void Lv2Host::position(uint32_t frame, const Position& p)
{
    uint8_t buffer[512];
    LV2_Atom_Forge forge;
    lv2_atom_forge_init(&forge, &features->map);
    lv2_atom_forge_set_buffer(&forge, buffer, sizeof buffer);
    LV2_Atom_Forge_Frame object;
    lv2_atom_forge_object(&forge, &object, 0, urid(LV2_TIME__Position));
    auto real = [&](const char* key, const std::optional<double>& value, bool asDouble)
    {
        if (!value) return;
        lv2_atom_forge_key(&forge, urid(key));
        if (asDouble)
            lv2_atom_forge_double(&forge, *value);
        else
            lv2_atom_forge_float(&forge, float(*value));
    };
    if (p.bar)
    {
        lv2_atom_forge_key(&forge, urid(LV2_TIME__bar));
        lv2_atom_forge_long(&forge, int64_t(*p.bar));
    }
    real(LV2_TIME__barBeat, p.barBeat, false);
    real(LV2_TIME__beat, p.beat, true);
    real(LV2_TIME__beatsPerBar, p.beatsPerBar, false);
    if (p.beatUnit)
    {
        lv2_atom_forge_key(&forge, urid(LV2_TIME__beatUnit));
        lv2_atom_forge_int(&forge, int32_t(*p.beatUnit));
    }
    real(LV2_TIME__beatsPerMinute, p.beatsPerMinute, false);
    real(LV2_TIME__speed, p.speed, false);
    if (p.frame)
    {
        lv2_atom_forge_key(&forge, urid(LV2_TIME__frame));
        lv2_atom_forge_long(&forge, *p.frame);
    }
    lv2_atom_forge_pop(&forge, &object);
    const auto* atom = reinterpret_cast<const LV2_Atom*>(buffer);
    const auto* body = reinterpret_cast<const uint8_t*>(atom + 1);
    append(frame, atom->type, std::vector<uint8_t>(body, body + atom->size));
}

void Lv2Host::midi(uint32_t frame, const std::vector<uint8_t>& bytes)
{
    append(frame, urid(LV2_MIDI__MidiEvent), bytes);
}

void Lv2Host::atom(uint32_t frame, const std::string& type, const std::vector<uint8_t>& body)
{
    append(frame, urid(type), body);
}

void Lv2Host::rawFrame(int64_t frame, const std::string& type, const std::vector<uint8_t>& body)
{
    append(frame, urid(type), body);
}

std::vector<MidiEvent> Lv2Host::run(uint32_t frames)
{
    auto* out = reinterpret_cast<LV2_Atom_Sequence*>(outputBuffer.data());
    out->atom.type = 0;
    out->atom.size = outputCapacity;
    lilv_instance_run(instance, frames);

    std::vector<MidiEvent> events;
    const uint32_t midiType = urid(LV2_MIDI__MidiEvent);
    LV2_ATOM_SEQUENCE_FOREACH(out, event)
    {
        if (event->body.type != midiType) continue;
        const auto* bytes = reinterpret_cast<const uint8_t*>(event + 1);
        events.push_back(
            {sampleCount + event->time.frames, std::vector<uint8_t>(bytes, bytes + event->body.size)});
    }
    auto* seq = reinterpret_cast<LV2_Atom_Sequence*>(input.data());
    seq->atom.size = sizeof(LV2_Atom_Sequence_Body);
    sampleCount += frames;

    auto* worker = static_cast<const LV2_Worker_Interface*>(
        lilv_instance_get_extension_data(instance, LV2_WORKER__interface));
    while (worker && !features->jobs.empty())
    {
        const std::vector<uint8_t> job = features->jobs.front();
        features->jobs.pop_front();
        worker->work(
            lilv_instance_get_handle(instance),
            [](LV2_Worker_Respond_Handle, uint32_t, const void*) { return LV2_WORKER_SUCCESS; }, nullptr,
            uint32_t(job.size()), job.data());
    }
    return events;
}

void Lv2Host::runOnly(uint32_t frames)
{
    auto* out = reinterpret_cast<LV2_Atom_Sequence*>(outputBuffer.data());
    out->atom.size = outputCapacity;
    lilv_instance_run(instance, frames);
    reinterpret_cast<LV2_Atom_Sequence*>(input.data())->atom.size = sizeof(LV2_Atom_Sequence_Body);
    sampleCount += frames;
}

std::vector<MidiEvent> Lv2Host::runFor(int64_t total, uint32_t block)
{
    std::vector<MidiEvent> all;
    for (int64_t done = 0; done < total; done += block)
    {
        const auto events = run(uint32_t(std::min<int64_t>(block, total - done)));
        all.insert(all.end(), events.begin(), events.end());
    }
    return all;
}

bool Lv2Host::save(StoredState& state)
{
    const auto* face = static_cast<const LV2_State_Interface*>(
        lilv_instance_get_extension_data(instance, LV2_STATE__interface));
    if (!face) return false;
    struct Context
    {
        Lv2Host* host;
        StoredState* state;
    } context{this, &state};
    state.clear();
    const LV2_State_Status status = face->save(
        lilv_instance_get_handle(instance),
        [](LV2_State_Handle h, uint32_t key, const void* value, size_t size, uint32_t type, uint32_t)
        {
            auto* c = static_cast<Context*>(h);
            const auto* bytes = static_cast<const uint8_t*>(value);
            (*c->state)[c->host->features->names.at(key)] = {type, std::vector<uint8_t>(bytes, bytes + size)};
            return LV2_STATE_SUCCESS;
        },
        &context, LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE, nullptr);
    return status == LV2_STATE_SUCCESS;
}

int Lv2Host::restore(const StoredState& state)
{
    const auto* face = static_cast<const LV2_State_Interface*>(
        lilv_instance_get_extension_data(instance, LV2_STATE__interface));
    if (!face) return -1;
    struct Context
    {
        Lv2Host* host;
        const StoredState* state;
    } context{this, &state};
    return face->restore(
        lilv_instance_get_handle(instance),
        [](LV2_State_Handle h, uint32_t key, size_t* size, uint32_t* type, uint32_t* flags) -> const void*
        {
            auto* c = static_cast<Context*>(h);
            const auto found = c->state->find(c->host->features->names.at(key));
            if (found == c->state->end()) return nullptr;
            *size = found->second.bytes.size();
            *type = found->second.type;
            *flags = LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE;
            static const uint8_t nothing = 0;
            return found->second.bytes.empty() ? &nothing : found->second.bytes.data();
        },
        &context, 0, nullptr);
}

std::string unbalancedNotes(const std::vector<MidiEvent>& events)
{
    std::set<std::pair<int, int>> sounding;
    for (const MidiEvent& e : events)
    {
        const std::pair<int, int> key{e.bytes[0] & 0x0F, e.bytes.size() > 1 ? e.bytes[1] : -1};
        if (e.noteOn() && !sounding.insert(key).second)
            return "note " + std::to_string(key.second) + " starts again at sample " +
                   std::to_string(e.sample) + " while it sounds";
        if (e.noteOff() && sounding.erase(key) == 0)
            return "note " + std::to_string(key.second) + " ends at sample " + std::to_string(e.sample) +
                   " without sounding";
    }
    if (!sounding.empty()) return "note " + std::to_string(sounding.begin()->second) + " is left sounding";
    return "";
}
} // namespace lv2test
