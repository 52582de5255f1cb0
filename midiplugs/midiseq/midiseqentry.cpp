#include "midiplugs/midiseq/pmidiseq.h"
#include "midiplugs/midiseq/psequencerview.h"
#include "module/moduleentry.h"
#include "toolkit/cbase.h"

void addModuleClasses(CPluginFactory& factory)
{
    // Filled once per process.
    static const PClassRecord record = []
    {
        PClassRecord r;
        kMidiSeqClassId.copyTo(r.classId);
        r.cardinality = 0x7FFFFFFF;
        copyField(r.category, sizeof r.category, "Midi Module Class");
        copyField(r.name, sizeof r.name, "Tremolin");
        return r;
    }();
    factory.addClass(&record, &PMidiSeq::create, nullptr);
}

bool startModule(void* moduleHandle)
{
    // Before the host opens an editor: the toolkit's windows and bitmaps belong to this file, and
    // the effect makes its editor through the maker that only this file links.
    Plexel::setModuleHandle(moduleHandle);
    setSeqEditorMaker(&makeSequencerEditor);
    return true;
}
