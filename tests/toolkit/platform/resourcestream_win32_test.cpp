// The stream that hands resource bytes to GDI+: reads are all or nothing, seeks stay inside the
// bytes, and what it does not serve answers with the system's own codes.

#include "toolkit/platform/resourcestream_win32.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

using Plexel::ResourceStream;

namespace
{
const unsigned char kBytes[10] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};

struct Stream
{
    Stream() : stream(new ResourceStream(kBytes, sizeof(kBytes))) {}
    ~Stream() { stream->Release(); }
    ResourceStream* operator->() const { return stream; }

    HRESULT seek(LONGLONG move, DWORD origin, ULONGLONG& at)
    {
        LARGE_INTEGER distance;
        distance.QuadPart = move;
        ULARGE_INTEGER reported;
        reported.QuadPart = 12345;
        const HRESULT result = stream->Seek(distance, origin, &reported);
        at = reported.QuadPart;
        return result;
    }
    // The next byte, read to find out where the stream stands without trusting Seek's answer.
    int next()
    {
        unsigned char byte = 0xEE;
        return stream->Read(&byte, 1, nullptr) == S_OK ? byte : -1;
    }

    ResourceStream* stream;
};
} // namespace

TEST(ResourceStreamTest, ReadsAreAllOrNothingAndSeeksStayInsideTheBytes)
{
    Stream s;
    std::array<unsigned char, 16> buffer{};
    ULONG read = 99;
    EXPECT_EQ(s->Read(buffer.data(), 4, &read), S_OK);
    EXPECT_EQ(read, 4u);
    EXPECT_EQ(buffer[3], 3);

    // Seven asked, six left: nothing is read and the position stays.
    buffer.fill(0xEE);
    EXPECT_EQ(s->Read(buffer.data(), 7, &read), S_FALSE);
    EXPECT_EQ(read, 0u);
    EXPECT_EQ(buffer[0], 0xEE);
    EXPECT_EQ(s.next(), 4);
    // Exactly what is left is a whole read; after it even one byte is too many.
    EXPECT_EQ(s->Read(buffer.data(), 5, &read), S_OK);
    EXPECT_EQ(buffer[4], 9);
    EXPECT_EQ(s.next(), -1);

    ULONGLONG at = 0;
    EXPECT_EQ(s.seek(9, STREAM_SEEK_SET, at), S_OK);
    EXPECT_EQ(at, 9u);
    EXPECT_EQ(s.next(), 9);
    // Seeking to the end itself fails, from the start or from the position, and so does a move
    // before the start; the position stays and is reported.
    EXPECT_EQ(s.seek(10, STREAM_SEEK_SET, at), S_FALSE);
    EXPECT_EQ(at, 10u);
    EXPECT_EQ(s.seek(2, STREAM_SEEK_SET, at), S_OK);
    EXPECT_EQ(s.seek(8, STREAM_SEEK_CUR, at), S_FALSE);
    EXPECT_EQ(s.seek(-3, STREAM_SEEK_CUR, at), S_FALSE);
    EXPECT_EQ(s.seek(-1, STREAM_SEEK_SET, at), S_FALSE);
    EXPECT_EQ(at, 2u);
    EXPECT_EQ(s.seek(7, STREAM_SEEK_CUR, at), S_OK);
    EXPECT_EQ(at, 9u);
    EXPECT_EQ(s.seek(-9, STREAM_SEEK_CUR, at), S_OK);
    EXPECT_EQ(at, 0u);
    // Moves too large for any sum are refused, not wrapped around.
    EXPECT_EQ(s.seek(0x7FFFFFFFFFFFFFFFLL, STREAM_SEEK_CUR, at), S_FALSE);
    EXPECT_EQ(s.seek(-0x7FFFFFFFFFFFFFFFLL - 1, STREAM_SEEK_CUR, at), S_FALSE);
    EXPECT_EQ(at, 0u);
    // From the end is not served; an origin that does not exist is the system's invalid function.
    EXPECT_EQ(s.seek(-1, STREAM_SEEK_END, at), S_FALSE);
    EXPECT_EQ(s.seek(0, 7, at), HRESULT(0x80030001L));
    EXPECT_EQ(s->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr), S_OK);

    EXPECT_EQ(s.seek(6, STREAM_SEEK_SET, at), S_OK);
    EXPECT_EQ(s->Revert(), S_OK);
    EXPECT_EQ(s.next(), 0);
}

TEST(ResourceStreamTest, ItIsAReadOnlyStreamWithItsSizeAndACountedLife)
{
    Stream s;
    IUnknown* face = nullptr;
    for (REFIID id : {IID_IUnknown, IID_IStream, IID_ISequentialStream})
    {
        face = nullptr;
        ASSERT_EQ(s->QueryInterface(id, reinterpret_cast<void**>(&face)), S_OK);
        EXPECT_EQ(face, static_cast<IUnknown*>(static_cast<IStream*>(s.stream)));
        EXPECT_EQ(face->Release(), 1u);
    }
    // Another interface: no such interface, and the caller's pointer is left alone.
    void* other = &face;
    EXPECT_EQ(s->QueryInterface(IID_IDataObject, &other), HRESULT(0x80004002L));
    EXPECT_EQ(other, static_cast<void*>(&face));
    EXPECT_EQ(s->AddRef(), 2u);
    EXPECT_EQ(s->Release(), 1u);

    STATSTG stat;
    std::memset(&stat, 0xAB, sizeof(stat));
    ASSERT_EQ(s->Stat(&stat, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(stat.cbSize.QuadPart, sizeof(kBytes));
    EXPECT_EQ(stat.pwcsName, nullptr);
    EXPECT_EQ(stat.type, 0u);

    const HRESULT notImplemented = HRESULT(0x80004001L);
    ULONG written = 0;
    EXPECT_EQ(s->Write(kBytes, 1, &written), notImplemented);
    EXPECT_EQ(s->SetSize(ULARGE_INTEGER{}), notImplemented);
    EXPECT_EQ(s->CopyTo(nullptr, ULARGE_INTEGER{}, nullptr, nullptr), notImplemented);
    EXPECT_EQ(s->Commit(0), notImplemented);
    EXPECT_EQ(s->LockRegion(ULARGE_INTEGER{}, ULARGE_INTEGER{}, 0), notImplemented);
    EXPECT_EQ(s->UnlockRegion(ULARGE_INTEGER{}, ULARGE_INTEGER{}, 0), notImplemented);
    IStream* copy = nullptr;
    EXPECT_EQ(s->Clone(&copy), notImplemented);
    EXPECT_EQ(copy, nullptr);
    // Writing failed, so the bytes read are still the resource's.
    EXPECT_EQ(s.next(), 0);
}
