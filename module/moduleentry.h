#pragma once

// The three exports of a module file. The product built into the file adds its classes to the
// factory through addModuleClasses and starts itself in startModule, both of which it defines.

#include "module/cpluginfactory.h"

#if defined(_WIN32)
#define TREMOLIN_EXPORT extern "C" __declspec(dllexport)
#else
#define TREMOLIN_EXPORT extern "C" __attribute__((visibility("default")))
#endif

TREMOLIN_EXPORT IPluginFactory* GetPluginFactory();
TREMOLIN_EXPORT bool InitDll();
TREMOLIN_EXPORT bool ExitDll();

// Called once for each new factory.
void addModuleClasses(CPluginFactory& factory);

// Called from InitDll with the module file's own handle, before the host makes anything; false
// refuses the load. The product starts here whatever it needs beyond the factory (its toolkit).
bool startModule(void* moduleHandle);

// The module file's own handle: on Windows the instance handle that the system gave the entry
// point when the process attached, elsewhere the address at which the file is mapped.
void* moduleInstanceHandle();
