#include "plugbase/moduleresources.h"

// On Linux the resources are compiled into the library as a table.
bool findModuleResource(int32_t type, int32_t number, PModuleResource& resource)
{
    for (const PEmbeddedResource* row = kEmbeddedResources; row->begin; ++row)
    {
        if (row->type == type && row->number == number)
        {
            resource.bytes = row->begin;
            resource.size = static_cast<int32_t>(row->end - row->begin);
            return true;
        }
    }
    return false;
}
