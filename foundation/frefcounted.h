#pragma once

// The reference count that every counted object of this project keeps: it starts at 1 for its
// maker, and the last release deletes the object. Counts move atomically, because a host may take
// and drop references on any of its threads. A class derives from it with itself as `Self` and
// answers addRef/release with retain/drop.

#include <atomic>
#include <cstdint>

template <class Self> class FRefCounted
{
protected:
    FRefCounted() = default;
    ~FRefCounted() = default;

    uint32_t retain() { return count.fetch_add(1, std::memory_order_relaxed) + 1; }
    uint32_t drop()
    {
        // acq_rel: the deleting thread must see every write made under the other references.
        const uint32_t left = count.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) delete static_cast<Self*>(this);
        return left;
    }
    uint32_t references() const { return count.load(std::memory_order_relaxed); }

private:
    std::atomic<uint32_t> count{1};
};
