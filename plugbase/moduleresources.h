#pragma once

// The resources carried inside the module file: the panel template, the string table and the
// bitmaps, found by type and number.

#include <cstdint>

enum : int32_t
{
    kResourceBitmap = 2,
    kResourceData = 10, // raw bytes
    kResourceVersion = 16,
    kResourceManifest = 24,
};

struct PModuleResource
{
    const uint8_t* bytes = nullptr;
    int32_t size = 0;
};

// False when the module carries no such resource.
bool findModuleResource(int32_t type, int32_t number, PModuleResource& resource);

// A row of the table that the Linux build compiles into the module; the list ends with a row
// whose `begin` is null.
struct PEmbeddedResource
{
    int32_t type;
    int32_t number;
    const unsigned char* begin;
    const unsigned char* end;
};
extern const PEmbeddedResource kEmbeddedResources[];
