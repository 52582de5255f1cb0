#include "host/kit/liveschedule.h"
#include "host/kit/platform/midiout.h"
#include "host/kit/platform/widetext_win32.h"

#include <windows.h>

#include <mmsystem.h>

#include <algorithm>
#include <cctype>

namespace hostkit::platform
{
namespace
{
std::vector<std::string> deviceNames()
{
    std::vector<std::string> names;
    const UINT count = midiOutGetNumDevs();
    for (UINT i = 0; i < count; ++i)
    {
        MIDIOUTCAPSW caps{};
        if (midiOutGetDevCapsW(i, &caps, sizeof caps) == MMSYSERR_NOERROR)
            names.push_back(narrow(caps.szPname));
        else
            names.push_back("(device " + std::to_string(i) + ")");
    }
    return names;
}

std::string folded(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// A device of the system's MIDI output, fed by the transport's thread: each block's messages go
// out when the block is handed over, so their timing is that of the blocks (about 12 ms).
class SystemOutput final : public LiveOutput
{
public:
    ~SystemOutput() override
    {
        stop();
        if (handle) midiOutClose(handle);
    }

    bool open(const MidiOutSetup& setup, std::string& error)
    {
        const std::vector<std::string> names = deviceNames();
        const std::string& wanted = setup.device;
        size_t index = names.size();
        const bool number =
            !wanted.empty() && wanted.size() < 4 &&
            std::all_of(wanted.begin(), wanted.end(), [](unsigned char c) { return std::isdigit(c); });
        if (number)
            index = static_cast<size_t>(std::stoi(wanted));
        else
            for (size_t i = 0; i < names.size() && index == names.size(); ++i)
                if (folded(names[i]) == folded(wanted)) index = i;
        if (index >= names.size())
        {
            error = "There is no MIDI output '" + wanted + "'; tremolin-host play --list-outputs lists them.";
            return false;
        }
        if (midiOutOpen(&handle, static_cast<UINT>(index), 0, 0, CALLBACK_NULL) != MMSYSERR_NOERROR)
        {
            handle = nullptr;
            error =
                "The MIDI output '" + names[index] + "' could not be opened; another program may hold it.";
            return false;
        }
        deviceName = names[index];
        return true;
    }

    std::string name() const override { return "MIDI output " + deviceName; }
    bool keepsTime() const override { return false; }
    void start(TickSource&) override {}

    void send(const std::vector<TrackEvent>& events, int32_t, int32_t to) override
    {
        running = true;
        for (const TrackEvent& event : events)
            schedule.add(event);
        schedule.takeDue(to, [this](const LiveMessage& m) { put(m); });
    }

    void relocated() override
    {
        schedule.takeNoteOffs([this](const LiveMessage& m) { put(m); });
    }

    void stop() override
    {
        if (!running) return;
        relocated();
        running = false;
    }

    bool lost(std::string&) const override { return false; }

private:
    void put(const LiveMessage& m)
    {
        const DWORD message = static_cast<DWORD>(m.bytes[0]) | static_cast<DWORD>(m.bytes[1]) << 8 |
                              static_cast<DWORD>(m.bytes[2]) << 16;
        midiOutShortMsg(handle, message);
    }

    HMIDIOUT handle = nullptr;
    bool running = false;
    std::string deviceName;
    LiveSchedule schedule;
};
} // namespace

std::unique_ptr<LiveOutput> openMidiOutput(const MidiOutSetup& setup, std::string& error)
{
    if (setup.kind != MidiOutSetup::Kind::System)
    {
        error = "--jack and --alsa are for the Linux build; on Windows play through --midi-out NAME|NUMBER "
                "(tremolin-host play --list-outputs lists the devices).";
        return nullptr;
    }
    auto output = std::make_unique<SystemOutput>();
    if (!output->open(setup, error)) return nullptr;
    return output;
}

bool listMidiOutputs(std::vector<std::string>& names, std::string&)
{
    names = deviceNames();
    return true;
}
} // namespace hostkit::platform
