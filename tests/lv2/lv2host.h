#pragma once

// A small LV2 host for the tests, over lilv: loads Tremolin.lv2 from the build tree, hands it a URID
// map and a worker (whose jobs run between blocks, on the test's thread), feeds MIDI and
// time:Position atoms at frames of a block and collects the MIDI it writes, with each event's
// sample counted from the instance's start.

#include <lilv/lilv.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace lv2test
{
struct Position
{
    std::optional<double> bar, barBeat, beat, beatsPerBar, beatUnit, beatsPerMinute, speed;
    std::optional<int64_t> frame;
};

// A position report of a rolling (or stopped) 4/4 transport at a tempo.
Position rollingAt(double bar, double barBeat, double tempo = 120.0, double speed = 1.0);

struct MidiEvent
{
    int64_t sample = 0;
    std::vector<uint8_t> bytes;
    bool noteOn() const { return bytes.size() == 3 && (bytes[0] & 0xF0) == 0x90 && bytes[2] > 0; }
    bool noteOff() const { return bytes.size() == 3 && (bytes[0] & 0xF0) == 0x80; }
    bool controller() const { return bytes.size() == 3 && (bytes[0] & 0xF0) == 0xB0; }
};

// The keys of the instance's state, by URI, as the plug-in stored them.
struct StoredValue
{
    uint32_t type = 0;
    std::vector<uint8_t> bytes;
};
using StoredState = std::map<std::string, StoredValue>;

class Lv2Host
{
public:
    static constexpr const char* kPluginUri = "https://tremolin.invalid/lv2/tremolin";

    // The world with the build tree's bundle and the system's LV2 schemas.
    explicit Lv2Host(double sampleRate = 48000.0, bool withWorker = true);
    ~Lv2Host();
    Lv2Host(const Lv2Host&) = delete;
    Lv2Host& operator=(const Lv2Host&) = delete;

    bool loaded() const { return instance != nullptr; }
    const LilvPlugin* plugin() const { return pluginObject; }
    LilvWorld* lilvWorld() { return world; }

    // What the next block brings, at a frame within it.
    void position(uint32_t frame, const Position& position);
    void midi(uint32_t frame, const std::vector<uint8_t>& bytes);
    // Any atom, type by URI, body as given: for the tests of bad input.
    void atom(uint32_t frame, const std::string& type, const std::vector<uint8_t>& body);
    // A raw event frame that may lie outside the block or before the previous one.
    void rawFrame(int64_t frame, const std::string& type, const std::vector<uint8_t>& body);
    void control(uint32_t port, float value) { controls[port] = value; }
    float output(uint32_t port) const { return controls[port]; }

    // Runs one block and gives its MIDI; the worker's jobs run after it.
    std::vector<MidiEvent> run(uint32_t frames);
    // Runs blocks of `block` frames until `total` frames have passed, collecting the MIDI.
    std::vector<MidiEvent> runFor(int64_t total, uint32_t block);
    // One block without reading its output or serving the worker: the host's side makes no heap
    // call here.
    void runOnly(uint32_t frames);
    int64_t samples() const { return sampleCount; }
    // Bytes the output buffer offers per block.
    void setOutputCapacity(uint32_t bytes) { outputCapacity = bytes; }

    // Through the plug-in's state interface.
    bool save(StoredState& state);
    // The LV2 status of the restore.
    int restore(const StoredState& state);
    uint32_t urid(const std::string& uri);

    LilvInstance* lilvInstance() { return instance; }

private:
    void append(int64_t frame, uint32_t type, const std::vector<uint8_t>& body);
    struct Features;

    LilvWorld* world = nullptr;
    const LilvPlugin* pluginObject = nullptr;
    LilvInstance* instance = nullptr;
    std::unique_ptr<Features> features;
    std::vector<uint64_t> input; // 8-byte aligned
    std::vector<uint64_t> outputBuffer;
    uint32_t outputCapacity = 65536;
    std::vector<float> controls;
    int64_t sampleCount = 0;
};

// Every note-on followed by its note-off on the same key and channel, none left sounding, none
// ended twice; the first fault as a sentence, empty if none.
std::string unbalancedNotes(const std::vector<MidiEvent>& events);
} // namespace lv2test
