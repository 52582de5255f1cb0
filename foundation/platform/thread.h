#pragma once

// The operating system's half of threads: making, waiting for and steering them, the process's
// priority and processors, thread-local slots and the list of the process's threads.
//
// Thread priorities are given as the Windows values (-15 idle, -2 to 2, 15 time critical);
// POSIX turns them into nice values around the one the process's class stands for, and only
// a privileged process may go below its present nice value.

#include <cstdint>

namespace foundation::platform
{
using ThreadEntry = uint32_t (*)(void* argument);

struct Thread;

// Makes a thread that holds before `entry` until resumeThread, so that its name and priority can
// be set first, and gives its id. Null on failure.
Thread* createSuspendedThread(ThreadEntry entry, void* argument, uint32_t& threadId);
void resumeThread(Thread* thread);
// True if the thread has ended; kForever (0xFFFFFFFF) waits without end.
bool waitForThread(Thread* thread, uint32_t milliseconds);
// The value `entry` gave; false while the thread runs.
bool threadExitCode(Thread* thread, uint32_t& code);
// Lets go of the thread object; the thread itself runs on if it hasn't ended.
void closeThread(Thread* thread);
// Ends the thread at once and waits until it has ended. POSIX has no safe way to do that and
// gives false, with the thread untouched.
bool killThread(Thread* thread);
// Up to 15 bytes of the name show on Linux; Windows shows all of it where it can.
void setThreadName(Thread* thread, const char* name);
bool setThreadPriority(Thread* thread, int32_t priority);
bool setThreadAffinity(Thread* thread, uint64_t mask);

uint32_t currentThreadId();

// The processors the process may run on, one bit each (the first 64).
bool processAffinity(uint64_t& mask);
// Windows' priority classes (32 normal, 64 idle, 128 high, 16384 below normal, 32768 above
// normal). On POSIX the class is a nice value given to every thread of the process.
int32_t processPriorityClass();
bool setProcessPriorityClass(int32_t priorityClass);
// False where the platform has no dynamic boost to switch.
bool setProcessPriorityBoost(bool disable);

// The ids of the process's threads, at most `capacity`; -1 on failure.
int32_t listProcessThreads(uint32_t* ids, int32_t capacity);
// A handle to another thread of the process by which its priority can be set; null if it isn't
// there or can't be opened.
void* openThreadForPriority(uint32_t threadId);
bool setOpenedThreadPriority(void* opened, int32_t priority);
void closeOpenedThread(void* opened);

// Thread-local slots, each one pointer per thread, null at first.
bool allocateSlot(uint32_t& slot);
void freeSlot(uint32_t slot);
void* slotValue(uint32_t slot);
bool setSlotValue(uint32_t slot, void* value);
} // namespace foundation::platform
