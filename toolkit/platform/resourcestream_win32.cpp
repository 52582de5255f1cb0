#include "toolkit/platform/resourcestream_win32.h"

#include <cstring>

namespace Plexel
{

namespace
{
constexpr HRESULT kNotImplemented = HRESULT(0x80004001L);
constexpr HRESULT kNoInterface = HRESULT(0x80004002L);
constexpr HRESULT kInvalidFunction = HRESULT(0x80030001L);
} // namespace

HRESULT ResourceStream::QueryInterface(REFIID id, void** out)
{
    if (!out) return E_POINTER;
    if (IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, IID_IStream) || IsEqualIID(id, IID_ISequentialStream))
    {
        *out = static_cast<IStream*>(this);
        AddRef();
        return S_OK;
    }
    return kNoInterface;
}

ULONG ResourceStream::AddRef()
{
    return ++references;
}

ULONG ResourceStream::Release()
{
    const ULONG left = --references;
    if (left == 0) delete this;
    return left;
}

HRESULT ResourceStream::Read(void* buffer, ULONG count, ULONG* read)
{
    if (uint64_t(position) + count > size)
    {
        // Nothing was read, and a caller that looks at the count must not take stale memory.
        if (read) *read = 0;
        return S_FALSE;
    }
    if (count > 0) std::memcpy(buffer, data + position, count);
    position += count;
    if (read) *read = count;
    return S_OK;
}

HRESULT ResourceStream::Write(const void*, ULONG, ULONG*)
{
    return kNotImplemented;
}

HRESULT ResourceStream::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* newPosition)
{
    HRESULT result = S_OK;
    switch (origin)
    {
    case STREAM_SEEK_SET:
        if (move.QuadPart < 0 || move.QuadPart >= LONGLONG(size))
            result = S_FALSE;
        else
            position = uint32_t(move.QuadPart);
        break;
    case STREAM_SEEK_CUR:
        // Compared against what lies before and after the position, so that no move can
        // overflow a sum.
        if (move.QuadPart < -LONGLONG(position) || move.QuadPart >= LONGLONG(size) - LONGLONG(position))
            result = S_FALSE;
        else
            position = uint32_t(LONGLONG(position) + move.QuadPart);
        break;
    case STREAM_SEEK_END:
        result = S_FALSE;
        break;
    default:
        return kInvalidFunction;
    }
    if (newPosition) newPosition->QuadPart = position;
    return result;
}

HRESULT ResourceStream::SetSize(ULARGE_INTEGER)
{
    return kNotImplemented;
}

HRESULT ResourceStream::CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*)
{
    return kNotImplemented;
}

HRESULT ResourceStream::Commit(DWORD)
{
    return kNotImplemented;
}

HRESULT ResourceStream::Revert()
{
    position = 0;
    return S_OK;
}

HRESULT ResourceStream::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD)
{
    return kNotImplemented;
}

HRESULT ResourceStream::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD)
{
    return kNotImplemented;
}

HRESULT ResourceStream::Stat(STATSTG* stat, DWORD)
{
    if (!stat) return E_POINTER;
    std::memset(stat, 0, sizeof(*stat));
    stat->cbSize.QuadPart = size;
    return S_OK;
}

HRESULT ResourceStream::Clone(IStream**)
{
    return kNotImplemented;
}

} // namespace Plexel
