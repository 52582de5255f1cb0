#include "foundation/fstreams.h"

#include "foundation/platform/file.h"
#include "foundation/platform/memory.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace
{
// Room taken in front of every file-layer block: enough for the alignment and the three words.
constexpr std::size_t kFrontRoom = 128;
constexpr std::size_t kAlignment = 64;
// Every stretch of this size in a fresh owned buffer starts with kFreshMark.
constexpr std::size_t kMarkStride = 4096;
constexpr uint8_t kFreshMark = 0xAA;
constexpr int64_t kCopyBlock = 16384;
constexpr uint64_t kLowMemoryLimit = 1000000;

// The block starts at heap + 128 rounded down to 64 bytes; the words in front of it hold, from
// the nearest, the heap address, zero, and the size asked for.
void* allocateFramed(std::size_t bytes)
{
    if (bytes > SIZE_MAX - kFrontRoom) return nullptr;
    void* heap = std::malloc(bytes + kFrontRoom);
    if (!heap) return nullptr;
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(heap);
    const std::size_t offset = kFrontRoom - (address + kFrontRoom) % kAlignment;
    char* block = static_cast<char*>(heap) + offset;
    std::uintptr_t* words = reinterpret_cast<std::uintptr_t*>(block);
    words[-1] = address;
    words[-2] = 0;
    words[-3] = bytes;
    return block;
}

void freeFramed(void* block)
{
    if (block) std::free(reinterpret_cast<void*>(static_cast<std::uintptr_t*>(block)[-1]));
}

void reverseBytes(void* data, std::size_t width)
{
    uint8_t* bytes = static_cast<uint8_t*>(data);
    std::reverse(bytes, bytes + width);
}

class OrnNativeFileSystem final : public IOrnFileSystem
{
public:
    constexpr OrnNativeFileSystem() {}

    bool exists(const OrnPath* path) override
    {
        return path && foundation::platform::pathExists(path->getText());
    }

    bool isFolder(const OrnPath* path) override
    {
        return path && foundation::platform::pathIsFolder(path->getText());
    }

    void getNativePath(char* buffer, const OrnPath* path) override
    {
        if (!buffer) return;
        if (path)
            path->getNativeText(buffer);
        else
            buffer[0] = 0;
    }

    bool copyFile(const OrnPath* source, const OrnPath* destination, IOrnCopyProgress* progress) override
    {
        if (!progress || !source || !destination) return false;
        // The destination is emptied when it opens; a file copied onto itself would be lost.
        if (source->equalsText(destination->getText())) return false;
        OrnFileStream from(source);
        OrnFileStream to(destination);
        if (!from.open(1) || !to.open(2)) return false;
        std::unique_ptr<uint8_t[]> block(new (std::nothrow) uint8_t[kCopyBlock]);
        if (!block) return false;
        const int64_t total = from.getSize();
        int64_t copied = 0;
        while (copied < total)
        {
            const int64_t piece = std::min(kCopyBlock, total - copied);
            if (from.readRaw(block.get(), piece) != piece || to.writeRaw(block.get(), piece) != piece) break;
            copied += piece;
            progress->setCopied(copied);
            if (progress->shouldStop()) break;
        }
        from.close();
        to.close();
        return total >= 0 && copied == total;
    }

    int64_t fileTime(const OrnPath* path) override
    {
        return path ? foundation::platform::modificationTime(path->getText()) : 0;
    }

    IOrnFileStream* openFile(const OrnPath* path, int32_t mode) override
    {
        if (!path) return nullptr;
        OrnNativeFileStream* opened = new (std::nothrow) OrnNativeFileStream(path);
        if (opened && !opened->open(mode))
        {
            delete opened;
            opened = nullptr;
        }
        return opened;
    }
};

constinit OrnNativeFileSystem theFileSystem;
constinit OrnBlockAllocator theBlockAllocator;
std::atomic<bool> lowMemory{false};
} // namespace

IOrnFileSystem* ornFileSystem = &theFileSystem;

// ---------------------------------------------------------------------------------------------
// OrnPlugObject

void* OrnPlugObject::operator new(std::size_t size) noexcept
{
    return allocateFramed(size);
}

void* OrnPlugObject::operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return allocateFramed(size);
}

void* OrnPlugObject::operator new[](std::size_t size) noexcept
{
    return allocateFramed(size);
}

void* OrnPlugObject::operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return allocateFramed(size);
}

void OrnPlugObject::operator delete(void* block) noexcept
{
    freeFramed(block);
}

void OrnPlugObject::operator delete(void* block, const std::nothrow_t&) noexcept
{
    freeFramed(block);
}

void OrnPlugObject::operator delete[](void* block) noexcept
{
    freeFramed(block);
}

void OrnPlugObject::operator delete[](void* block, const std::nothrow_t&) noexcept
{
    freeFramed(block);
}

// ---------------------------------------------------------------------------------------------
// OrnNativeFileStream

OrnNativeFileStream::OrnNativeFileStream(const OrnPath* madeFor)
{
    if (madeFor) path = *madeFor;
}

OrnNativeFileStream::~OrnNativeFileStream()
{
    foundation::platform::closeFile(file);
}

bool OrnNativeFileStream::open(int32_t mode)
{
    foundation::platform::closeFile(file);
    char text[OrnPath::kBlockSize];
    path.getNativeText(text);
    file = foundation::platform::openFile(text, mode, lastError);
    return file != nullptr;
}

bool OrnNativeFileStream::isOpen()
{
    return file != nullptr;
}

bool OrnNativeFileStream::setSize(int64_t newSize)
{
    return file && foundation::platform::resizeFile(file, newSize, lastError);
}

int64_t OrnNativeFileStream::getSize()
{
    return file ? foundation::platform::fileSize(file, lastError) : -1;
}

int64_t OrnNativeFileStream::tell()
{
    return file ? foundation::platform::seekFile(file, 0, 1, lastError) : -1;
}

void OrnNativeFileStream::rewind()
{
    if (file) foundation::platform::seekFile(file, 0, 0, lastError);
}

int64_t OrnNativeFileStream::seek(int64_t offset, int32_t mode)
{
    return file ? foundation::platform::seekFile(file, offset, mode, lastError) : -1;
}

void OrnNativeFileStream::flush()
{
    // Writes go straight to the operating system; there is nothing held back here.
}

int64_t OrnNativeFileStream::write(const void* buffer, int64_t count)
{
    if (!file || !buffer || count < 1) return 0;
    return foundation::platform::writeFile(file, buffer, count, lastError);
}

int64_t OrnNativeFileStream::read(void* buffer, int64_t count)
{
    if (!file || !buffer || count < 1) return 0;
    return foundation::platform::readFile(file, buffer, count, lastError);
}

// ---------------------------------------------------------------------------------------------
// OrnFileStream

OrnFileStream::OrnFileStream(const OrnPath* filePath)
{
    if (filePath) path = *filePath;
}

OrnFileStream::~OrnFileStream()
{
    OrnFileStream::close();
    delete[] readAheadBuffer;
}

void OrnFileStream::setPath(const OrnPath* newPath)
{
    if (newPath) path = *newPath;
}

bool OrnFileStream::open(int32_t mode)
{
    if (!stream && ornFileSystem) stream = ornFileSystem->openFile(&path, mode);
    return stream != nullptr;
}

void OrnFileStream::close()
{
    delete stream;
    stream = nullptr;
    // Whatever was fetched ahead belonged to the file just closed.
    readAheadCount = 0;
}

int64_t OrnFileStream::tell()
{
    return (stream ? stream->tell() : -1) - readAheadCount;
}

void OrnFileStream::rewind()
{
    readAheadCount = 0;
    if (stream) stream->rewind();
}

int64_t OrnFileStream::seek(int64_t offset, int32_t mode)
{
    if (readAheadCount == 0) return stream ? stream->seek(offset, mode) : -1;

    const int64_t position = tell();
    int64_t target;
    if (mode == 1)
        target = position + offset;
    else if (mode == 2)
        target = stream->getSize() + offset; // as the file itself counts from its end
    else
        target = offset;

    // A target inside what is still buffered needs no trip to the file.
    if (target >= position && target <= position + readAheadCount)
    {
        readAheadCount = position + readAheadCount - target;
        return target; // the new position, as the file itself answers
    }
    // The file stands ahead of the reader by what is buffered; a relative seek must start from
    // where the reader is.
    if (mode == 1) stream->seek(position, 0);
    readAheadCount = 0;
    return stream->seek(offset, mode);
}

void OrnFileStream::flush()
{
    readAheadCount = 0;
    if (stream) stream->flush();
}

bool OrnFileStream::setSize(int64_t newSize)
{
    return stream && stream->setSize(newSize);
}

int64_t OrnFileStream::getSize()
{
    return (stream ? stream->getSize() : 0) - readAheadCount;
}

void OrnFileStream::setByteOrder(uint16_t order)
{
    byteOrder = order;
}

uint16_t OrnFileStream::getByteOrder() const
{
    return byteOrder;
}

int64_t OrnFileStream::writeString(const char* text, bool withTerminator)
{
    if (!text) return 0;
    return writeRaw(text, int64_t(std::strlen(text)) + (withTerminator ? 1 : 0));
}

bool OrnFileStream::writeBytes(const void* buffer, int64_t count)
{
    return writeItems(buffer, 1, count) == count;
}

int64_t OrnFileStream::writeItems(const void* buffer, int64_t itemSize, int64_t itemCount)
{
    if (itemSize < 0 || itemCount < 0 || (itemSize > 0 && itemCount > INT64_MAX / itemSize)) return 0;
    return writeRaw(buffer, itemSize * itemCount);
}

template <class V> bool OrnFileStream::writeValue(V value)
{
    if (!isOk()) return false;
    uint8_t bytes[sizeof(V)];
    std::memcpy(bytes, &value, sizeof(V));
    if (byteOrder != 0) reverseBytes(bytes, sizeof(V));
    return writeRaw(bytes, sizeof(V)) == int64_t(sizeof(V));
}

template <class V> bool OrnFileStream::readValueThroughLocal(V& value)
{
    if (!isOk()) return false;
    uint8_t bytes[sizeof(V)];
    if (readRaw(bytes, sizeof(V)) != int64_t(sizeof(V))) return false;
    if (byteOrder != 0) reverseBytes(bytes, sizeof(V));
    std::memcpy(&value, bytes, sizeof(V));
    return true;
}

template <class V> bool OrnFileStream::readValueInPlace(V& value)
{
    if (!isOk()) return false;
    if (readRaw(&value, sizeof(V)) != int64_t(sizeof(V))) return false;
    if (byteOrder != 0) reverseBytes(&value, sizeof(V));
    return true;
}

bool OrnFileStream::writeDouble(double value)
{
    return writeValue(value);
}

bool OrnFileStream::writeFloat(float value)
{
    return writeValue(value);
}

bool OrnFileStream::writeInt32(int32_t value)
{
    return writeValue(value);
}

bool OrnFileStream::writeUInt32(uint32_t value)
{
    return writeValue(value);
}

bool OrnFileStream::writeInt16(int16_t value)
{
    return writeValue(value);
}

bool OrnFileStream::writeUInt16(uint16_t value)
{
    return writeValue(value);
}

bool OrnFileStream::writeLine(const char* text)
{
    writeString(text, false);
    const char end = 10;
    return writeRaw(&end, 1) == 1;
}

int32_t OrnFileStream::readLine(char* buffer, int32_t size)
{
    if (!buffer || size < 1) return 0;
    int32_t length = 0;
    while (length < size)
    {
        char c;
        if (readRaw(&c, 1) != 1 || c == 10 || c == 13 || c == 0) break;
        buffer[length++] = c;
    }
    if (length == size) --length;
    buffer[length] = 0;
    return length;
}

bool OrnFileStream::readBytes(void* buffer, int64_t count)
{
    return readItems(buffer, 1, count) == count;
}

int64_t OrnFileStream::readItems(void* buffer, int64_t itemSize, int64_t itemCount)
{
    if (itemSize < 0 || itemCount < 0 || (itemSize > 0 && itemCount > INT64_MAX / itemSize)) return 0;
    return readRaw(buffer, itemSize * itemCount);
}

bool OrnFileStream::writeInt8(int8_t value)
{
    return writeValue(value);
}

bool OrnFileStream::readInt8(int8_t& value)
{
    return readValueInPlace(value);
}

bool OrnFileStream::writeUInt8(uint8_t value)
{
    return writeValue(value);
}

bool OrnFileStream::readUInt8(uint8_t& value)
{
    return readValueInPlace(value);
}

bool OrnFileStream::writeChar8(char value)
{
    return writeInt8(static_cast<int8_t>(value));
}

bool OrnFileStream::readChar8(char& value)
{
    int8_t read = static_cast<int8_t>(value);
    const bool done = readInt8(read);
    value = static_cast<char>(read);
    return done;
}

bool OrnFileStream::writeUChar8(unsigned char value)
{
    return writeUInt8(value);
}

bool OrnFileStream::readUChar8(unsigned char& value)
{
    return readUInt8(value);
}

bool OrnFileStream::readDouble(double& value)
{
    return readValueThroughLocal(value);
}

bool OrnFileStream::readFloat(float& value)
{
    return readValueThroughLocal(value);
}

bool OrnFileStream::readInt32(int32_t& value)
{
    return readValueThroughLocal(value);
}

bool OrnFileStream::readUInt32(uint32_t& value)
{
    return readValueThroughLocal(value);
}

bool OrnFileStream::readInt16(int16_t& value)
{
    return readValueInPlace(value);
}

bool OrnFileStream::readUInt16(uint16_t& value)
{
    return readValueInPlace(value);
}

bool OrnFileStream::hasLine(char* buffer, int32_t size)
{
    return readLine(buffer, size) > 0;
}

int64_t OrnFileStream::readRaw(void* buffer, int64_t count)
{
    if (!stream) return -1;
    if (!readAheadBuffer) return stream->read(buffer, count);
    if (count < 1 || !buffer) return 0;

    uint8_t* out = static_cast<uint8_t*>(buffer);
    int64_t delivered = 0;
    for (;;)
    {
        if (readAheadCount > 0)
        {
            const int64_t piece = std::min(readAheadCount, count - delivered);
            std::memcpy(out + delivered, readAheadBuffer + kReadAheadSize - readAheadCount, size_t(piece));
            readAheadCount -= piece;
            delivered += piece;
        }
        if (delivered == count) return delivered;

        // A large rest would only pass through the buffer; it goes to the caller directly.
        const int64_t wanted = count - delivered;
        if (wanted > kReadAheadSize) return delivered + stream->read(out + delivered, wanted);

        const int64_t position = stream->tell();
        const int64_t fileSize = stream->getSize();
        const int64_t amount = std::min(kReadAheadSize, fileSize - position);
        if (position < 0 || fileSize < 0 || amount <= 0) return 0;
        if (stream->read(readAheadBuffer + kReadAheadSize - amount, amount) != amount) return 0;
        readAheadCount = amount;
    }
}

int64_t OrnFileStream::writeRaw(const void* buffer, int64_t count)
{
    return stream ? stream->write(buffer, count) : -1;
}

bool OrnFileStream::isOk() const
{
    return stream != nullptr;
}

void OrnFileStream::setReadAhead(bool on)
{
    if (on)
    {
        if (!readAheadBuffer) readAheadBuffer = new (std::nothrow) uint8_t[kReadAheadSize]();
    }
    else
    {
        delete[] readAheadBuffer;
        readAheadBuffer = nullptr;
    }
    readAheadCount = 0;
}

void OrnFileStream::setBlockSize(int64_t) {}

int64_t OrnFileStream::getBlockSize() const
{
    return kDefaultBlockSize;
}

// ---------------------------------------------------------------------------------------------
// OrnMemoryStream

OrnMemoryStream::OrnMemoryStream() = default;

OrnMemoryStream::OrnMemoryStream(void* buffer, int32_t bufferSize)
    : memory(static_cast<uint8_t*>(buffer)), memorySize(bufferSize > 0 ? bufferSize : 0), size(memorySize),
      ownMemory(false)
{
}

OrnMemoryStream::~OrnMemoryStream()
{
    if (ownMemory && memory) OrnBlockAllocator::get().free(memory);
}

int64_t OrnMemoryStream::tell()
{
    return cursor;
}

void OrnMemoryStream::rewind()
{
    cursor = 0;
}

int64_t OrnMemoryStream::seek(int64_t offset, int32_t mode)
{
    switch (mode)
    {
    case 0:
        cursor = offset;
        break;
    case 1:
        cursor += offset;
        break;
    case 2:
        cursor = size + offset;
        if (cursor > size) cursor = size;
        break;
    default:
        break;
    }
    return cursor;
}

int64_t OrnMemoryStream::getSize()
{
    return size;
}

int64_t OrnMemoryStream::readRaw(void* buffer, int64_t count)
{
    if (!memory) return 0;
    // Nothing lies before the start; such a read ends where every read that finds nothing does.
    if (cursor >= 0)
    {
        if (count > size - cursor) count = size - cursor;
        if (count > 0)
        {
            if (buffer) std::memcpy(buffer, memory + cursor, size_t(count));
            cursor += count;
            return count;
        }
    }
    cursor = size;
    return 0;
}

int64_t OrnMemoryStream::writeRaw(const void* buffer, int64_t count)
{
    if (allocationError) return 0;
    if (count < 0 || cursor > INT64_MAX - count) return 0;
    // A fixed stream has no room beyond the caller's buffer, and nothing may be written there.
    if (!ownMemory && cursor >= 0 && count > memorySize - cursor) return 0;

    if (cursor + count > size) size = cursor + count;

    if (ownMemory && size > memorySize)
    {
        // Grow by whole blocks, never by doubling. A block size under 1 cannot grow anything and
        // counts as a failed growth.
        int64_t capacity = std::max(memorySize, blockSize);
        bool possible = blockSize > 0;
        if (possible && size > capacity)
        {
            const int64_t blocks = (size - capacity) / blockSize + ((size - capacity) % blockSize ? 1 : 0);
            possible = blocks <= (INT64_MAX - capacity) / blockSize;
            if (possible) capacity += blocks * blockSize;
        }
        uint8_t* fresh = nullptr;
        if (possible && uint64_t(capacity) <= SIZE_MAX)
            fresh = static_cast<uint8_t*>(OrnBlockAllocator::get().allocate(size_t(capacity)));
        if (fresh)
        {
            if (memory) std::memcpy(fresh, memory, size_t(memorySize));
            OrnBlockAllocator::get().free(memory);
            memory = fresh;
            memorySize = capacity;
        }
        else
        {
            OrnBlockAllocator::get().free(memory);
            memory = nullptr;
            // The failed state is for good, whatever the capacity was before.
            allocationError = true;
        }
    }

    if (memory)
    {
        if (cursor >= 0 && buffer && count >= 1) std::memcpy(memory + cursor, buffer, size_t(count));
        cursor += count;
        if (cursor > size) size = cursor;
        return count;
    }
    if (memorySize > 0) allocationError = true;
    memorySize = 0;
    size = 0;
    cursor = 0;
    return 0;
}

bool OrnMemoryStream::isOk() const
{
    return !allocationError;
}

void OrnMemoryStream::setBlockSize(int64_t newBlockSize)
{
    blockSize = newBlockSize;
}

int64_t OrnMemoryStream::getBlockSize() const
{
    return blockSize;
}

void OrnMemoryStream::setDataSize(int64_t newSize)
{
    size = std::clamp<int64_t>(newSize, 0, memorySize);
}

// ---------------------------------------------------------------------------------------------
// OrnSizedBlock

bool OrnSizedBlock::begin()
{
    if (!stream) return false;
    start = stream->tell();
    return stream->writeInt32(0);
}

int32_t OrnSizedBlock::end()
{
    if (!stream || start < 0) return 0;
    const int64_t endOfBlock = stream->tell();
    const int32_t blockSize = int32_t(endOfBlock - start - 4);
    stream->seek(start, 0);
    stream->writeInt32(blockSize);
    stream->seek(endOfBlock, 0);
    return blockSize;
}

bool OrnSizedBlock::beginRead()
{
    if (!stream) return false;
    start = stream->tell();
    int32_t blockSize = 0;
    if (!stream->readInt32(blockSize)) return false;
    endPosition = start + blockSize + 4;
    return true;
}

bool OrnSizedBlock::skipToEnd()
{
    return stream && endPosition >= 0 && stream->seek(endPosition, 0) == endPosition;
}

// ---------------------------------------------------------------------------------------------
// OrnBlockAllocator

OrnBlockAllocator& OrnBlockAllocator::get()
{
    return theBlockAllocator;
}

void* OrnBlockAllocator::allocate(std::size_t bytes)
{
    uint8_t* block = static_cast<uint8_t*>(allocateFramed(bytes));
    if (!block)
    {
        failed.store(true, std::memory_order_relaxed);
        return nullptr;
    }
    for (std::size_t at = 0; at < bytes; at += kMarkStride)
        block[at] = kFreshMark;
    return block;
}

void* OrnBlockAllocator::allocateItems(std::size_t count)
{
    if (count == 0) return nullptr;
    if (count > SIZE_MAX / 4)
    {
        failed.store(true, std::memory_order_relaxed);
        return nullptr;
    }
    return allocate(count * 4);
}

void OrnBlockAllocator::free(void* block)
{
    freeFramed(block);
}

bool OrnBlockAllocator::takeFailure()
{
    return failed.exchange(false, std::memory_order_relaxed);
}

// ---------------------------------------------------------------------------------------------
// Memory status

bool queryMemoryStatus(OrnMemoryStatus& status)
{
    status = OrnMemoryStatus();
    foundation::platform::MemoryFigures figures;
    if (!foundation::platform::queryMemory(figures)) return false;
    status.totalPhysical = figures.totalPhysical;
    status.availablePhysical = figures.availablePhysical;
    status.totalVirtual = figures.totalVirtual;
    status.availableVirtual = figures.availableVirtual;
    status.physicalLoad = static_cast<float>(figures.loadPercent / 100.0);
    if (figures.totalVirtual > 0 && figures.availableVirtual <= figures.totalVirtual)
        status.virtualLoad = static_cast<float>(double(figures.totalVirtual - figures.availableVirtual) /
                                                double(figures.totalVirtual));
    return true;
}

bool testLowMemory()
{
    OrnMemoryStatus status;
    const bool low = queryMemoryStatus(status) && status.availablePhysical < kLowMemoryLimit;
    lowMemory.store(low, std::memory_order_relaxed);
    return low;
}

bool isLowMemory()
{
    return lowMemory.load(std::memory_order_relaxed);
}
