#include "host/kit/hostcontext.h"

#include "host/kit/hostsettings.h"
#include "host/kit/hostvalue.h"
#include "host/kit/templateregistry.h"

namespace hostkit
{
HostContext::HostContext(HostOptions hostOptions)
    : options(std::move(hostOptions)),
      settingsFile(!options.settingsInFile        ? std::string()
                   : options.settingsPath.empty() ? HostSettings::defaultPath()
                                                  : options.settingsPath),
      midiTrack(new HostMidiTrack), templates(new TemplateRegistry), board(std::make_shared<DialogBoard>())
{
}

HostContext::~HostContext()
{
    for (HostValue* value : made)
    {
        value->unbind();
        value->release();
    }
    templates->release();
    midiTrack->release();
}

tresult HostContext::queryInterface(const TUID iid, void** obj)
{
    if (!obj) return kInvalidArgument;
    if (FUnknown::iid.equals(iid) || IHostContext::iid.equals(iid))
        *obj = static_cast<IHostContext*>(this);
    else if (IHostPlugSite::iid.equals(iid))
        *obj = static_cast<IHostPlugSite*>(this);
    else if (IHostObjectFactory::iid.equals(iid))
        *obj = static_cast<IHostObjectFactory*>(this);
    else if (IHostMidiTrack::iid.equals(iid))
        return midiTrack->queryInterface(iid, obj);
    else
    {
        *obj = nullptr;
        return kNoInterface;
    }
    addRef();
    return kResultOk;
}

tresult HostContext::hostIdle()
{
    ++idle;
    return kResultOk;
}

tresult HostContext::createObject(const TUID id, void** obj)
{
    if (!obj) return kInvalidArgument;
    *obj = nullptr;
    if (IHostSettings::iid.equals(id) || IHostStringSettings::iid.equals(id))
    {
        auto* settings = new HostSettings(settingsFile);
        *obj = static_cast<IHostStringSettings*>(settings);
        return kResultOk;
    }
    if (IHostTemplateRegistry::iid.equals(id))
    {
        // One registry per host, so that the host's own panels see what modules registered.
        return templates->queryInterface(id, obj);
    }
    if (IHostTemplateDialog::iid.equals(id))
    {
        *obj = static_cast<IHostTemplateDialog*>(new TemplateDialog(board, templates, options.language));
        return kResultOk;
    }
    if (IHostControllerValue::iid.equals(id) && !options.offerControllerValues) return kNoInterface;
    if (HostValue* value = HostValue::create(id))
    {
        value->addRef();
        {
            std::lock_guard<std::mutex> guard(mutex);
            made.push_back(value);
        }
        *obj = static_cast<IHostValue*>(value);
        return kResultOk;
    }
    return kNoInterface;
}

std::vector<HostValue*> HostContext::values()
{
    std::lock_guard<std::mutex> guard(mutex);
    return made;
}

void HostContext::unbindValues()
{
    std::lock_guard<std::mutex> guard(mutex);
    for (HostValue* value : made)
        value->unbind();
}
} // namespace hostkit
