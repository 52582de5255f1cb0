#include "midiplugs/midiseq/pmidiseq.h"
#include "module/moduleentry.h"

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
