#pragma once

// The context a module is initialized with: one object that answers IHostContext, IHostPlugSite
// and IHostObjectFactory, and hands out the host's MIDI track. Everything a module creates
// through the factory comes from here: value objects, settings over the host's settings file,
// the shared translation registry and scripted template dialogs.

#include "foundation/frefcounted.h"
#include "host/kit/hostmiditrack.h"
#include "host/kit/templatedialog.h"
#include "module/hostinterfaces.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace hostkit
{
class HostValue;
class TemplateRegistry;

struct HostOptions
{
    // The settings file; empty: HostSettings::defaultPath().
    std::string settingsPath;
    // False for a host that keeps a module's settings in its own project instead (a plug-in
    // adapter): the module then gets a store that keeps nothing, and no file is read or written.
    bool settingsInFile = true;
    // Language of the host's texts, a key of the modules' language tables.
    std::string language = "us";
    // A host without its own controller list makes modules fall back to plain ranges.
    bool offerControllerValues = true;
};

class HostContext final : public IHostContext,
                          public IHostPlugSite,
                          public IHostObjectFactory,
                          public FRefCounted<HostContext>
{
public:
    // One reference, the caller's.
    explicit HostContext(HostOptions options = {});

    tresult queryInterface(const TUID iid, void** obj) override;
    uint32_t addRef() override { return retain(); }
    uint32_t release() override { return drop(); }

    tresult hostIdle() override;
    tresult createObject(const TUID id, void** obj) override;

    // Not counted: they live as long as the context.
    HostMidiTrack& track() { return *midiTrack; }
    TemplateRegistry& registry() { return *templates; }
    DialogBoard& dialogs() { return *board; }
    const std::string& settingsPath() const { return settingsFile; }

    // Every value object handed out so far, in order of creation.
    std::vector<HostValue*> values();
    // Forgets the listeners of all values, so that a module that is gone is never called.
    void unbindValues();
    int32_t idleCalls() const { return idle; }

private:
    ~HostContext();
    friend class FRefCounted<HostContext>;

    const HostOptions options;
    const std::string settingsFile;
    HostMidiTrack* midiTrack;
    TemplateRegistry* templates;
    std::shared_ptr<DialogBoard> board;
    std::mutex mutex;
    std::vector<HostValue*> made; // one reference each
    std::atomic<int32_t> idle{0};
};
} // namespace hostkit
