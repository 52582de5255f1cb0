#pragma once

// Base of the file layer's objects (streams and paths). It gives them one class-level allocator:
// each object sits on a 64-byte boundary, and the three machine words in front of it record,
// from the nearest, the heap address of the block, zero, and the size asked for. The whole block
// is given back through that heap address.
//
// The allocator never throws: a new-expression of a file-layer object gives null when memory is
// short, and the constructor is not run.

#include <cstddef>
#include <new>

class OrnPlugObject
{
public:
    static void* operator new(std::size_t size) noexcept;
    static void* operator new(std::size_t size, const std::nothrow_t&) noexcept;
    static void* operator new[](std::size_t size) noexcept;
    static void* operator new[](std::size_t size, const std::nothrow_t&) noexcept;
    static void operator delete(void* block) noexcept;
    static void operator delete(void* block, const std::nothrow_t&) noexcept;
    static void operator delete[](void* block) noexcept;
    static void operator delete[](void* block, const std::nothrow_t&) noexcept;
};
