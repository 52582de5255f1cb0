#pragma once

// The lock of the running system and its scope guard. The engine takes the lock on the host's
// event thread for every range it plays, so it must stay cheap when uncontended and must never
// allocate: the platform's recursive lock lives inside the object.

class ILock
{
public:
    virtual void lock() = 0;
    virtual void unlock() = 0;
    virtual bool tryLock() = 0;
};

class FLock : public ILock
{
public:
    // The name only documents the owner; it is not kept.
    explicit FLock(const char* name = nullptr);
    ~FLock();
    FLock(const FLock&) = delete;
    FLock& operator=(const FLock&) = delete;

    // May be taken again by the thread that holds it; each lock needs its unlock.
    void lock() override;
    void unlock() override;
    // Never blocks: true if the lock was taken.
    bool tryLock() override;

private:
    // Storage for the platform's recursive lock (a critical section or a pthread mutex).
    alignas(16) unsigned char section[64];
};

// Holds a lock for the life of a scope, also when the scope is left by an exception.
class FLockGuard
{
public:
    explicit FLockGuard(ILock* l) : held(l)
    {
        if (held) held->lock();
    }
    explicit FLockGuard(ILock& l) : FLockGuard(&l) {}
    ~FLockGuard()
    {
        if (held) held->unlock();
    }
    FLockGuard(const FLockGuard&) = delete;
    FLockGuard& operator=(const FLockGuard&) = delete;

private:
    ILock* held;
};
