#pragma once

// Typed binary streams. OrnFileStream lays every primitive down in a fixed form (see the write
// operations) on top of two raw operations; OrnMemoryStream replaces the raw operations with a
// buffer in memory, its own growing one or a fixed one the caller lends it. The project's state
// chunk is written and read through a fixed memory stream with the byte order switch on.
//
// Nothing here throws: failures are return values. Typed operations give false; raw ones give a
// byte count, 0 on a memory stream that cannot serve, -1 on a file stream without a file.

#include "foundation/ornpath.h"
#include "foundation/ornplugobject.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace foundation::platform
{
struct File;
}

// The native stream under an OrnFileStream. Seek modes: 0 from the start, 1 from the position,
// 2 from the end.
class IOrnFileStream
{
public:
    virtual ~IOrnFileStream() {}

    virtual bool isOpen() = 0;
    virtual bool setSize(int64_t newSize) = 0;
    virtual int64_t getSize() = 0;
    virtual int64_t tell() = 0;
    virtual void rewind() = 0;
    // Gives the new position, or -1.
    virtual int64_t seek(int64_t offset, int32_t mode) = 0;
    virtual void flush() = 0;
    // Each gives the number of bytes moved; 0 after a failure.
    virtual int64_t write(const void* buffer, int64_t count) = 0;
    virtual int64_t read(void* buffer, int64_t count) = 0;
    // Carry an object to and from the stream; no stream of ours does that.
    virtual bool writeObject(OrnPlugObject* object) = 0;
    virtual bool readObject(OrnPlugObject* object) = 0;
};

// A file of the operating system. Made by the file system's openFile, which also opens it.
class OrnNativeFileStream : public IOrnFileStream
{
public:
    explicit OrnNativeFileStream(const OrnPath* path);
    ~OrnNativeFileStream() override;
    OrnNativeFileStream(const OrnNativeFileStream&) = delete;
    OrnNativeFileStream& operator=(const OrnNativeFileStream&) = delete;

    // Mode 1 opens an existing file for reading, mode 2 creates or empties one for writing (and
    // reading back). False, with the error noted, if the file cannot be opened.
    bool open(int32_t mode);

    bool isOpen() override;
    // The position stays where it was.
    bool setSize(int64_t newSize) override;
    int64_t getSize() override;
    int64_t tell() override;
    void rewind() override;
    int64_t seek(int64_t offset, int32_t mode) override;
    void flush() override;
    int64_t write(const void* buffer, int64_t count) override;
    int64_t read(void* buffer, int64_t count) override;
    bool writeObject(OrnPlugObject*) override { return false; }
    bool readObject(OrnPlugObject*) override { return false; }

    // The operating system's code of the last failure (errno or GetLastError), 0 before any.
    int32_t getLastError() const { return lastError; }

private:
    OrnPath path;
    foundation::platform::File* file = nullptr;
    int32_t lastError = 0;
};

// Told how far a copy has come, and asked after each block whether to go on.
class IOrnCopyProgress
{
public:
    virtual void setCopied(int64_t bytesCopied) = 0;
    virtual bool shouldStop() = 0;
};

// The process-wide file system, reached through ornFileSystem.
class IOrnFileSystem
{
public:
    virtual ~IOrnFileSystem() {}

    virtual bool exists(const OrnPath* path) = 0;
    virtual bool isFolder(const OrnPath* path) = 0;
    // The path's text as the file calls take it, into a buffer of 1024 bytes.
    virtual void getNativePath(char* buffer, const OrnPath* path) = 0;
    // Copies in blocks of 16384 bytes; true if every byte arrived. False at once without a
    // progress object.
    virtual bool copyFile(const OrnPath* source, const OrnPath* destination, IOrnCopyProgress* progress) = 0;
    // The last change of the file, in 100-ns units since 1601-01-01 UTC; 0 if there is none.
    virtual int64_t fileTime(const OrnPath* path) = 0;
    // An open native stream (mode 1 read, 2 write), owned by the caller, or null.
    virtual IOrnFileStream* openFile(const OrnPath* path, int32_t mode) = 0;
};

extern IOrnFileSystem* ornFileSystem;

class OrnFileStream : public OrnPlugObject
{
public:
    static constexpr int64_t kReadAheadSize = 65536;
    static constexpr int64_t kDefaultBlockSize = 16384;

    explicit OrnFileStream(const OrnPath* path = nullptr);
    virtual ~OrnFileStream();
    OrnFileStream(const OrnFileStream&) = delete;
    OrnFileStream& operator=(const OrnFileStream&) = delete;

    // Copies the path's text; null leaves the path as it is.
    virtual void setPath(const OrnPath* newPath);
    // Mode 1 to read, 2 to write. True if there is a native stream afterwards.
    virtual bool open(int32_t mode);
    virtual void close();
    // The logical position: what the reader has been given, not what was fetched ahead.
    virtual int64_t tell();
    virtual void rewind();
    // Gives the file's new position. While read-ahead bytes are waiting, a target among them
    // (mode 2 counts it as the file's size minus the offset) is reached without the file, and
    // the offset passed in is given back instead.
    virtual int64_t seek(int64_t offset, int32_t mode);
    // Drops what was fetched ahead; the file's position stays where the fetching left it.
    virtual void flush();
    virtual bool setSize(int64_t newSize);
    // The file's size less the read-ahead bytes still waiting; 0 without a file.
    virtual int64_t getSize();
    // 0 lays values down as a little-endian machine holds them; anything else reverses the
    // bytes of every 2, 4 and 8-byte value on write and read, which gives big-endian data.
    virtual void setByteOrder(uint16_t order);
    virtual uint16_t getByteOrder() const;

    // The characters, and the terminator if wanted; no length in front. Gives the bytes written.
    virtual int64_t writeString(const char* text, bool withTerminator);
    virtual bool writeBytes(const void* buffer, int64_t count);
    // Gives a byte count, not an item count.
    virtual int64_t writeItems(const void* buffer, int64_t itemSize, int64_t itemCount);
    virtual bool writeDouble(double value);
    virtual bool writeFloat(float value);
    virtual bool writeInt32(int32_t value);
    virtual bool writeUInt32(uint32_t value);
    virtual bool writeInt16(int16_t value);
    virtual bool writeUInt16(uint16_t value);
    // The text, then a single byte 10.
    virtual bool writeLine(const char* text);
    // Reads up to byte 10, 13 or 0 (taken, not stored) or the end of the data. Stores at most
    // `size` bytes, always terminated: when the buffer fills, the terminator takes the last place
    // and the rest of the line waits for the next call. Gives the length of the text.
    virtual int32_t readLine(char* buffer, int32_t size);
    virtual bool readBytes(void* buffer, int64_t count);
    virtual int64_t readItems(void* buffer, int64_t itemSize, int64_t itemCount);
    virtual bool writeInt8(int8_t value);
    virtual bool readInt8(int8_t& value);
    virtual bool writeUInt8(uint8_t value);
    virtual bool readUInt8(uint8_t& value);
    virtual bool writeChar8(char value);
    virtual bool readChar8(char& value);
    virtual bool writeUChar8(unsigned char value);
    virtual bool readUChar8(unsigned char& value);
    // The 32-bit and wider reads leave `value` alone when they fail; the 16-bit and 8-bit ones
    // read into it directly, so a short read can change some of its bytes.
    virtual bool readDouble(double& value);
    virtual bool readFloat(float& value);
    virtual bool readInt32(int32_t& value);
    virtual bool readUInt32(uint32_t& value);
    virtual bool readInt16(int16_t& value);
    virtual bool readUInt16(uint16_t& value);
    virtual bool hasLine(char* buffer, int32_t size);
    virtual int64_t readRaw(void* buffer, int64_t count);
    virtual int64_t writeRaw(const void* buffer, int64_t count);
    virtual bool isOk() const;
    // On: reads are served from a buffer of 64 KiB filled ahead. Off: straight from the file.
    virtual void setReadAhead(bool on);
    virtual void setBlockSize(int64_t newBlockSize);
    virtual int64_t getBlockSize() const;

protected:
    IOrnFileStream* stream = nullptr;
    uint8_t* readAheadBuffer = nullptr;
    // Bytes of the read-ahead buffer not yet delivered; they lie at its end.
    int64_t readAheadCount = 0;
    uint16_t byteOrder = 0;
    OrnPath path;

private:
    template <class V> bool writeValue(V value);
    template <class V> bool readValueThroughLocal(V& value);
    template <class V> bool readValueInPlace(V& value);
};

// A stream in memory. Owned (the default constructor): the stream allocates its buffer and grows
// it in whole multiples of the block size, never by doubling; a stream that is to take much data
// raises the block size first. Fixed (over the caller's buffer): all of the buffer counts as
// content from the start, nothing grows, and the caller keeps the buffer alive.
//
// A growth that fails puts an owned stream into a failed state for good: writes give 0, isOk is
// false, size and cursor are 0.
class OrnMemoryStream : public OrnFileStream
{
public:
    OrnMemoryStream();
    OrnMemoryStream(void* buffer, int32_t bufferSize);
    ~OrnMemoryStream() override;

    int64_t tell() override;
    void rewind() override;
    // Modes 0 and 1 take any position; a read from beyond the end comes back to the end, and a
    // write there extends the data over the gap. Mode 2 goes no further than the end.
    int64_t seek(int64_t offset, int32_t mode) override;
    int64_t getSize() override;
    // A null buffer skips the bytes.
    int64_t readRaw(void* buffer, int64_t count) override;
    // A null buffer moves the cursor (and grows the stream) without copying.
    int64_t writeRaw(const void* buffer, int64_t count) override;
    bool isOk() const override;
    // No lower limit, but an owned stream cannot grow with a block size under 1.
    void setBlockSize(int64_t newBlockSize) override;
    int64_t getBlockSize() const override;

    uint8_t* getMemory() const { return memory; }
    // The bytes the buffer can hold.
    int64_t getCapacity() const { return memorySize; }
    // The end of the data.
    int64_t getDataSize() const { return size; }
    // Never beyond the buffer's capacity nor below 0.
    void setDataSize(int64_t newSize);

private:
    uint8_t* memory = nullptr;
    int64_t memorySize = 0;
    int64_t size = 0;
    int64_t cursor = 0;
    int64_t blockSize = kDefaultBlockSize;
    bool ownMemory = true;
    bool allocationError = false;
};

// A block with its 32-bit size in front, so that a reader can skip what it does not know.
class OrnSizedBlock
{
public:
    explicit OrnSizedBlock(OrnFileStream* blockStream) : stream(blockStream) {}

    // Writing: remembers the position and writes a placeholder for the size.
    bool begin();
    // Writes the size into the placeholder and gives it; 0 if begin was not called.
    int32_t end();
    // Reading: takes the size and notes where the block ends.
    bool beginRead();
    // Where the block read ends, -1 before beginRead.
    int64_t getEnd() const { return endPosition; }
    // Moves the stream behind the block read.
    bool skipToEnd();

private:
    OrnFileStream* stream;
    int64_t start = -1;
    int64_t endPosition = -1;
};

// Owned buffers of the streams. A block is laid out like a file-layer object (see OrnPlugObject),
// and the byte 0xAA marks the start of every 4096-byte stretch, so a fresh block never reads as
// zeros. A failed allocation gives null and raises a flag that one read-and-clear gives back.
class OrnBlockAllocator
{
public:
    constexpr OrnBlockAllocator() {}

    static OrnBlockAllocator& get();

    void* allocate(std::size_t bytes);
    // Room for `count` 32-bit items; null for 0.
    void* allocateItems(std::size_t count);
    void free(void* block);
    // True if an allocation failed since the last call.
    bool takeFailure();

private:
    std::atomic<bool> failed{false};
};

struct OrnMemoryStatus
{
    uint64_t totalPhysical = 0;
    uint64_t availablePhysical = 0;
    uint64_t totalVirtual = 0;
    uint64_t availableVirtual = 0;
    // Share of physical memory in use, 0 to 1.
    float physicalLoad = 0.0f;
    // Share of the process's address space in use, 0 to 1.
    float virtualLoad = 0.0f;
};

// Fills the status from the operating system; false, with zeros, if it would not tell.
bool queryMemoryStatus(OrnMemoryStatus& status);
// Sets the process-wide low-memory flag (available physical memory under 1,000,000 bytes) and
// gives it.
bool testLowMemory();
bool isLowMemory();
