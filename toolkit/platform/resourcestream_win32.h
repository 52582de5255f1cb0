#pragma once

// A resource's bytes as a read-only stream, the way GDI+ takes an image file. Reads are all or
// nothing, and seeking from the end is not served: GDI+ reads an image file front to back and
// needs neither. The bytes stay with the caller and must outlive the stream.

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <objidl.h>
#include <windows.h>

#include <atomic>
#include <cstdint>

namespace Plexel
{

class ResourceStream : public IStream
{
public:
    // One reference, the caller's.
    ResourceStream(const unsigned char* data, uint32_t size) : data(data), size(size) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG count, ULONG* read) override;
    HRESULT STDMETHODCALLTYPE Write(const void*, ULONG, ULONG*) override;
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* newPosition) override;
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER) override;
    HRESULT STDMETHODCALLTYPE CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override;
    HRESULT STDMETHODCALLTYPE Commit(DWORD) override;
    HRESULT STDMETHODCALLTYPE Revert() override;
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override;
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override;
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* stat, DWORD) override;
    HRESULT STDMETHODCALLTYPE Clone(IStream**) override;

private:
    virtual ~ResourceStream() = default;

    const unsigned char* data;
    uint32_t size;
    uint32_t position = 0;
    std::atomic<ULONG> references{1};
};

} // namespace Plexel
