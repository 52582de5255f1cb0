#include "foundation/fstreams.h"
#include "foundation/ornpath.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{
namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;

Bytes bytesOf(const uint8_t* data, size_t count)
{
    return Bytes(data, data + count);
}

// A content in which no two nearby positions look alike, so a read from the wrong place shows.
Bytes patterned(size_t count)
{
    Bytes content(count);
    for (size_t i = 0; i < count; ++i)
        content[i] = uint8_t(i * 31 + (i >> 9));
    return content;
}

std::string utf8(const fs::path& path)
{
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

TEST(MemoryStreamTest, ByteOrderSwitchReversesEveryWideValue)
{
    auto write = [](OrnMemoryStream& stream, int16_t order)
    {
        stream.setByteOrder(order);
        stream.writeUInt8(0xAB);
        stream.writeInt16(0x1234);
        stream.writeInt32(261);
        stream.writeFloat(1.0f);
        stream.writeDouble(1.0);
    };
    uint8_t big[19] = {};
    OrnMemoryStream bigStream(big, sizeof big);
    write(bigStream, 1);
    EXPECT_EQ(bytesOf(big, sizeof big), (Bytes{0xAB, 0x12, 0x34, 0x00, 0x00, 0x01, 0x05, 0x3F, 0x80, 0x00,
                                               0x00, 0x3F, 0xF0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00}));
    uint8_t little[19] = {};
    OrnMemoryStream littleStream(little, sizeof little);
    EXPECT_EQ(littleStream.getByteOrder(), 0);
    write(littleStream, 0);
    EXPECT_EQ(bytesOf(little, sizeof little),
              (Bytes{0xAB, 0x34, 0x12, 0x05, 0x01, 0x00, 0x00, 0x00, 0x00, 0x80, 0x3F, 0x00, 0x00, 0x00, 0x00,
                     0x00, 0x00, 0xF0, 0x3F}));

    // Read across: big-endian bytes read as little-endian.
    int32_t i32 = 0;
    bigStream.seek(3, 0);
    bigStream.setByteOrder(0);
    EXPECT_TRUE(bigStream.readInt32(i32));
    EXPECT_EQ(i32, 0x05010000);

    // Raw bytes are never turned round.
    OrnMemoryStream raw;
    raw.setByteOrder(1);
    const Bytes block = patterned(128);
    EXPECT_EQ(raw.writeRaw(block.data(), 128), 128);
    EXPECT_EQ(bytesOf(raw.getMemory(), 128), block);
}

TEST(MemoryStreamTest, FixedStreamCountsTheWholeBufferAsContent)
{
    uint8_t storage[12];
    std::memset(storage, 0x11, sizeof storage);
    OrnMemoryStream stream(storage, 8);
    EXPECT_EQ(stream.getSize(), 8);
    EXPECT_TRUE(stream.isOk());

    int32_t value = 0;
    EXPECT_TRUE(stream.readInt32(value));
    EXPECT_EQ(value, 0x11111111);
    EXPECT_TRUE(stream.readInt32(value));
    value = 77;
    EXPECT_FALSE(stream.readInt32(value));
    EXPECT_EQ(value, 77);
    EXPECT_EQ(stream.tell(), 8);

    // Two bytes left: the raw read gives what there is, the typed one fails and leaves the value.
    uint8_t four[4] = {};
    stream.seek(6, 0);
    EXPECT_EQ(stream.readRaw(four, 4), 2);
    EXPECT_EQ(stream.tell(), 8);
    stream.seek(6, 0);
    EXPECT_FALSE(stream.readInt32(value));
    EXPECT_EQ(value, 77);
    EXPECT_EQ(stream.tell(), 8);

    // A writer overwrites from the front and the size stays that of the buffer.
    stream.rewind();
    EXPECT_TRUE(stream.writeInt32(0x04030201));
    EXPECT_EQ(storage[0], 1);
    EXPECT_EQ(storage[3], 4);
    EXPECT_EQ(stream.getSize(), 8);

    // Nothing goes beyond the caller's buffer.
    stream.seek(6, 0);
    EXPECT_FALSE(stream.writeInt32(-1));
    EXPECT_EQ(bytesOf(storage + 6, 6), (Bytes{0x11, 0x11, 0x11, 0x11, 0x11, 0x11}));
    EXPECT_EQ(stream.getSize(), 8);
    EXPECT_TRUE(stream.isOk());
}

TEST(MemoryStreamTest, OwnedStreamGrowsByWholeBlocks)
{
    OrnMemoryStream small;
    EXPECT_EQ(small.getMemory(), nullptr);
    EXPECT_EQ(small.getSize(), 0);
    EXPECT_EQ(small.getBlockSize(), 16384);
    EXPECT_TRUE(small.writeUInt8(1));
    EXPECT_EQ(small.getCapacity(), 16384);

    OrnMemoryStream large;
    const Bytes content = patterned(16385);
    EXPECT_EQ(large.writeRaw(content.data(), 16385), 16385);
    EXPECT_EQ(large.getCapacity(), 32768);
    // A write that only moves the end grows without copying anything.
    EXPECT_EQ(large.writeRaw(nullptr, 20000), 20000);
    EXPECT_EQ(large.getSize(), 36385);
    EXPECT_EQ(large.getCapacity(), 49152);
    EXPECT_EQ(bytesOf(large.getMemory(), 16385), content);

    OrnMemoryStream stepped;
    stepped.setBlockSize(100);
    stepped.writeRaw(content.data(), 250);
    EXPECT_EQ(stepped.getCapacity(), 300);
    stepped.writeRaw(content.data(), 60);
    EXPECT_EQ(stepped.getCapacity(), 400);

    // A write behind a gap: the bytes of the gap are those of a fresh block, which is marked.
    OrnMemoryStream gap;
    EXPECT_EQ(gap.seek(100, 0), 100);
    EXPECT_TRUE(gap.writeUInt8(9));
    EXPECT_EQ(gap.getSize(), 101);
    EXPECT_EQ(gap.getMemory()[0], 0xAA);
    EXPECT_EQ(gap.getMemory()[100], 9);

    gap.setDataSize(50);
    EXPECT_EQ(gap.getDataSize(), 50);
    gap.setDataSize(1 << 20);
    EXPECT_EQ(gap.getDataSize(), 16384);
}

TEST(MemoryStreamTest, SeekingAndReadingAroundTheEnd)
{
    OrnMemoryStream stream;
    const Bytes ten = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    stream.writeRaw(ten.data(), 10);

    uint8_t byte = 0;
    EXPECT_EQ(stream.seek(-1, 2), 9);
    EXPECT_TRUE(stream.readUInt8(byte));
    EXPECT_EQ(byte, 9);
    EXPECT_EQ(stream.seek(5, 2), 10);
    EXPECT_EQ(stream.seek(-3, 1), 7);
    EXPECT_EQ(stream.seek(4, 9), 7); // an unknown mode leaves the cursor

    // Beyond the end is a legal place until the next read, which comes back to the end.
    EXPECT_EQ(stream.seek(20, 0), 20);
    EXPECT_EQ(stream.readRaw(&byte, 1), 0);
    EXPECT_EQ(stream.tell(), 10);
    // A write there extends the data over the gap.
    stream.seek(3, 1);
    EXPECT_TRUE(stream.writeUInt8(1));
    EXPECT_EQ(stream.getSize(), 14);

    // A read before the start finds nothing either.
    stream.seek(-5, 0);
    EXPECT_EQ(stream.readRaw(&byte, 1), 0);
    EXPECT_EQ(stream.tell(), 14);

    stream.rewind();
    EXPECT_EQ(stream.readRaw(nullptr, 3), 3);
    EXPECT_TRUE(stream.readUInt8(byte));
    EXPECT_EQ(byte, 3);
}

TEST(MemoryStreamTest, FailedGrowthLeavesTheStreamFailedForGood)
{
    OrnMemoryStream stream;
    EXPECT_TRUE(stream.writeInt32(5));
    // Without a block size nothing can grow, but the room there is can still be used.
    stream.setBlockSize(0);
    EXPECT_EQ(stream.getBlockSize(), 0);
    EXPECT_TRUE(stream.writeInt32(6));
    EXPECT_EQ(stream.getSize(), 8);

    const Bytes content = patterned(20000);
    EXPECT_EQ(stream.writeRaw(content.data(), 20000), 0);
    EXPECT_FALSE(stream.isOk());
    EXPECT_EQ(stream.getSize(), 0);
    EXPECT_EQ(stream.tell(), 0);
    EXPECT_EQ(stream.getMemory(), nullptr);

    stream.setBlockSize(16384);
    EXPECT_EQ(stream.writeRaw(content.data(), 4), 0);
    EXPECT_FALSE(stream.writeInt32(1));
    int32_t value = 3;
    EXPECT_FALSE(stream.readInt32(value));
    EXPECT_EQ(value, 3);
}

TEST(StreamTest, StringsAndLines)
{
    OrnMemoryStream stream;
    EXPECT_EQ(stream.writeString("ab", false), 2);
    EXPECT_EQ(stream.writeString("cd", true), 3);
    EXPECT_TRUE(stream.writeLine("one"));
    EXPECT_TRUE(stream.writeBytes("two\r\nthree", 10));
    EXPECT_EQ(stream.writeItems("\n", 1, 1), 1);
    EXPECT_EQ(stream.writeString(nullptr, true), 0);
    EXPECT_EQ(stream.getSize(), 2 + 3 + 4 + 10 + 1);

    stream.rewind();
    char line[16];
    EXPECT_EQ(stream.readLine(line, sizeof line), 4);
    EXPECT_STREQ(line, "abcd");
    EXPECT_EQ(stream.readLine(line, sizeof line), 3);
    EXPECT_STREQ(line, "one");
    EXPECT_TRUE(stream.hasLine(line, sizeof line));
    EXPECT_STREQ(line, "two");
    // The line feed behind a carriage return makes an empty line of its own.
    EXPECT_EQ(stream.readLine(line, sizeof line), 0);
    EXPECT_STREQ(line, "");
    EXPECT_EQ(stream.readLine(line, sizeof line), 5);
    EXPECT_STREQ(line, "three");
    EXPECT_FALSE(stream.hasLine(line, sizeof line));

    // A line longer than the buffer: the text is cut and terminated, and reading goes on from
    // where it stopped.
    OrnMemoryStream longer;
    longer.writeLine("abcdefg");
    longer.rewind();
    char four[4];
    EXPECT_EQ(longer.readLine(four, sizeof four), 3);
    EXPECT_STREQ(four, "abc");
    EXPECT_EQ(longer.readLine(four, sizeof four), 3);
    EXPECT_STREQ(four, "efg");

    char bytes[6] = {};
    longer.rewind();
    EXPECT_TRUE(longer.readBytes(bytes, 5));
    EXPECT_STREQ(bytes, "abcde");
    EXPECT_EQ(longer.readItems(bytes, 2, 2), 3);
}

TEST(StreamTest, SizedBlockCanBeSkippedByAReader)
{
    OrnMemoryStream stream;
    stream.setByteOrder(1);
    stream.writeInt32(1);
    OrnSizedBlock writer(&stream);
    EXPECT_EQ(writer.end(), 0); // not begun
    ASSERT_TRUE(writer.begin());
    stream.writeInt32(10);
    stream.writeDouble(2.0);
    EXPECT_EQ(writer.end(), 12);
    EXPECT_EQ(stream.tell(), 20);
    stream.writeInt32(99);

    stream.rewind();
    int32_t value = 0;
    stream.readInt32(value);
    OrnSizedBlock reader(&stream);
    EXPECT_EQ(reader.getEnd(), -1);
    ASSERT_TRUE(reader.beginRead());
    EXPECT_EQ(reader.getEnd(), 20);
    EXPECT_TRUE(reader.skipToEnd());
    EXPECT_TRUE(stream.readInt32(value));
    EXPECT_EQ(value, 99);
}

TEST(FileStreamTest, AStreamWithoutAFileRefusesEverything)
{
    OrnFileStream stream;
    EXPECT_FALSE(stream.isOk());
    EXPECT_EQ(stream.tell(), -1);
    EXPECT_EQ(stream.getSize(), 0);
    EXPECT_EQ(stream.seek(0, 0), -1);
    EXPECT_FALSE(stream.setSize(10));
    EXPECT_FALSE(stream.writeInt32(1));
    int32_t value = 5;
    EXPECT_FALSE(stream.readInt32(value));
    EXPECT_EQ(value, 5);
    char c = 'q';
    EXPECT_FALSE(stream.readChar8(c));
    EXPECT_EQ(c, 'q');
    uint8_t byte = 0;
    EXPECT_EQ(stream.readRaw(&byte, 1), -1);
    EXPECT_EQ(stream.writeRaw(&byte, 1), -1);
    // No path, nothing to open.
    EXPECT_FALSE(stream.open(1));
    EXPECT_EQ(ornFileSystem->openFile(nullptr, 1), nullptr);
}

class StreamFileTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        std::random_device random;
        folder = fs::temp_directory_path() /
                 ("tremolin-streams-" + std::to_string(random()) + std::to_string(random()));
        ASSERT_TRUE(fs::create_directories(folder));
    }

    void TearDown() override
    {
        std::error_code ignored;
        fs::remove_all(folder, ignored);
    }

    OrnPath pathOf(const fs::path& name) const
    {
        OrnPath path;
        path.setRawText(utf8(folder / name).c_str());
        return path;
    }

    Bytes fileContent(const fs::path& name) const
    {
        std::ifstream in(folder / name, std::ios::binary);
        return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }

    void makeFile(const fs::path& name, const Bytes& content) const
    {
        std::ofstream out(folder / name, std::ios::binary);
        out.write(reinterpret_cast<const char*>(content.data()), std::streamsize(content.size()));
    }

    fs::path folder;
};

TEST_F(StreamFileTest, PathsThatCannotBeOpened)
{
    makeFile("there.bin", {1, 2, 3});
    const OrnPath missing = pathOf("missing.bin");
    const OrnPath inMissingFolder = pathOf(fs::path("nowhere") / "file.bin");
    const OrnPath existing = pathOf("there.bin");
    OrnPath folderPath;
    folderPath.setRawText(utf8(folder).c_str());

    EXPECT_FALSE(OrnFileStream(&missing).open(1));
    EXPECT_FALSE(OrnFileStream(&inMissingFolder).open(2));
    EXPECT_FALSE(OrnFileStream(&folderPath).open(1));
    EXPECT_FALSE(OrnFileStream(&folderPath).open(2));
    EXPECT_FALSE(OrnFileStream(&existing).open(3));
    EXPECT_FALSE(fs::exists(folder / "missing.bin"));

    // What a stream without a file refuses is checked above; the one that could not open keeps
    // its path, and pointed at a file that exists, it opens.
    OrnFileStream failed(&missing);
    EXPECT_FALSE(failed.open(1));
    failed.setPath(&existing);
    EXPECT_TRUE(failed.open(1));
    EXPECT_EQ(failed.getSize(), 3);
}

TEST_F(StreamFileTest, TypedValuesRoundTripThroughAFileInBothByteOrders)
{
    for (uint16_t order : {uint16_t(0), uint16_t(1)})
    {
        SCOPED_TRACE(order);
        const OrnPath path = pathOf("values.bin");
        {
            OrnFileStream out(&path);
            ASSERT_TRUE(out.open(2));
            out.setByteOrder(order);
            EXPECT_TRUE(out.writeInt8(-5));
            EXPECT_TRUE(out.writeUInt8(200));
            EXPECT_TRUE(out.writeInt16(-2));
            EXPECT_TRUE(out.writeUInt16(0xBEEF));
            EXPECT_TRUE(out.writeInt32(261));
            EXPECT_TRUE(out.writeUInt32(0xDEADBEEF));
            EXPECT_TRUE(out.writeFloat(1.0f));
            EXPECT_TRUE(out.writeDouble(-2.5));
            EXPECT_TRUE(out.writeChar8('x'));
            EXPECT_TRUE(out.writeUChar8(0xFE));
            EXPECT_EQ(out.writeString("hi", true), 3);
            EXPECT_EQ(out.tell(), 31);
        }

        const Bytes written = fileContent("values.bin");
        ASSERT_EQ(written.size(), 31u);
        EXPECT_EQ(written[6], order ? 0x00 : 0x05); // the order reaches the file

        OrnFileStream in(&path);
        ASSERT_TRUE(in.open(1));
        in.setByteOrder(order);
        int8_t i8 = 0;
        uint8_t u8 = 0;
        int16_t i16 = 0;
        uint16_t u16 = 0;
        int32_t i32 = 0;
        uint32_t u32 = 0;
        float f = 0;
        double d = 0;
        char c = 0;
        unsigned char uc = 0;
        char text[3] = {};
        EXPECT_TRUE(in.readInt8(i8) && in.readUInt8(u8) && in.readInt16(i16) && in.readUInt16(u16) &&
                    in.readInt32(i32) && in.readUInt32(u32) && in.readFloat(f) && in.readDouble(d) &&
                    in.readChar8(c) && in.readUChar8(uc) && in.readBytes(text, 3));
        EXPECT_EQ(i8, -5);
        EXPECT_EQ(u8, 200);
        EXPECT_EQ(i16, -2);
        EXPECT_EQ(u16, 0xBEEF);
        EXPECT_EQ(i32, 261);
        EXPECT_EQ(u32, 0xDEADBEEFu);
        EXPECT_EQ(f, 1.0f);
        EXPECT_EQ(d, -2.5);
        EXPECT_EQ(c, 'x');
        EXPECT_EQ(uc, 0xFE);
        EXPECT_STREQ(text, "hi");
        EXPECT_FALSE(in.readInt32(i32));
        EXPECT_EQ(i32, 261);
    }
}

TEST_F(StreamFileTest, ReadAheadServesSeeksInsideAndOutsideItsBuffer)
{
    const int64_t kSize = 200000;
    const Bytes content = patterned(kSize);
    makeFile("big.bin", content);
    const OrnPath path = pathOf("big.bin");
    OrnFileStream stream(&path);
    ASSERT_TRUE(stream.open(1));
    stream.setReadAhead(true);

    auto byteAt = [&](int64_t position) -> int
    {
        uint8_t byte = 0;
        if (stream.tell() != position || !stream.readUInt8(byte)) return -1;
        return byte;
    };

    uint32_t first = 0;
    ASSERT_TRUE(stream.readUInt32(first));
    EXPECT_EQ(first, uint32_t(content[0] | content[1] << 8 | content[2] << 16 | uint32_t(content[3]) << 24));
    EXPECT_EQ(stream.tell(), 4);

    // Forward inside what was fetched.
    EXPECT_EQ(stream.seek(1000, 0), 1000);
    EXPECT_EQ(byteAt(1000), content[1000]);
    stream.seek(500, 1);
    EXPECT_EQ(byteAt(1501), content[1501]);
    // Back behind the reader, and a relative seek far beyond the buffer.
    EXPECT_EQ(stream.seek(10, 0), 10);
    EXPECT_EQ(byteAt(10), content[10]);
    EXPECT_EQ(stream.seek(100000, 1), 100011);
    EXPECT_EQ(byteAt(100011), content[100011]);

    // A read that runs out of the buffer and needs a second fill.
    Bytes piece(70000);
    EXPECT_EQ(stream.readRaw(piece.data(), 70000), 70000);
    EXPECT_EQ(piece, Bytes(content.begin() + 100012, content.begin() + 170012));
    EXPECT_EQ(stream.tell(), 170012);

    // A read larger than the buffer goes straight to the file.
    stream.seek(0, 0);
    Bytes most(150000);
    EXPECT_EQ(stream.readRaw(most.data(), 150000), 150000);
    EXPECT_EQ(most, Bytes(content.begin(), content.begin() + 150000));
    EXPECT_EQ(stream.tell(), 150000);

    // From the end, with the buffer holding the file's tail.
    stream.seek(190000, 0);
    EXPECT_EQ(byteAt(190000), content[190000]);
    EXPECT_EQ(stream.seek(-4, 2), kSize - 4);
    uint32_t last = 0;
    EXPECT_TRUE(stream.readUInt32(last));
    EXPECT_EQ(last, uint32_t(content[kSize - 4] | content[kSize - 3] << 8 | content[kSize - 2] << 16 |
                             uint32_t(content[kSize - 1]) << 24));
    // From the end is past the end for a positive offset, buffered or not.
    for (const bool buffered : {true, false})
    {
        stream.seek(190000, 0);
        if (buffered)
        {
            EXPECT_EQ(byteAt(190000), content[190000]);
        }
        stream.seek(4, 2);
        EXPECT_EQ(stream.tell(), kSize + 4) << buffered;
    }
    stream.seek(kSize - 2, 0);
    EXPECT_FALSE(stream.readUInt32(last));

    stream.setReadAhead(false);
    stream.seek(5, 0);
    EXPECT_EQ(byteAt(5), content[5]);
}

TEST_F(StreamFileTest, ReadLineTakesCarriageReturnsAndLineFeeds)
{
    const std::string text = "first\r\nsecond\nthird\r\n" + std::string(100, 'x') + "\nlast";
    makeFile("lines.txt", Bytes(text.begin(), text.end()));
    const OrnPath path = pathOf("lines.txt");
    for (bool readAhead : {false, true})
    {
        SCOPED_TRACE(readAhead);
        OrnFileStream stream(&path);
        ASSERT_TRUE(stream.open(1));
        stream.setReadAhead(readAhead);
        std::vector<std::string> lines;
        char line[128];
        for (int i = 0; i < 8; ++i)
        {
            const int32_t length = stream.readLine(line, sizeof line);
            EXPECT_EQ(length, int32_t(std::strlen(line)));
            lines.push_back(line);
        }
        EXPECT_EQ(lines, (std::vector<std::string>{"first", "", "second", "third", "", std::string(100, 'x'),
                                                   "last", ""}));
        EXPECT_FALSE(stream.hasLine(line, sizeof line));
    }

    // writeLine ends with a line feed alone.
    const OrnPath written = pathOf("written.txt");
    {
        OrnFileStream out(&written);
        ASSERT_TRUE(out.open(2));
        EXPECT_TRUE(out.writeLine("alpha"));
        EXPECT_TRUE(out.writeLine(""));
    }
    const Bytes expected = {'a', 'l', 'p', 'h', 'a', 10, 10};
    EXPECT_EQ(fileContent("written.txt"), expected);
}

TEST_F(StreamFileTest, SetSizeCutsAndExtendsAFileInPlace)
{
    const OrnPath path = pathOf("sized.bin");
    OrnFileStream stream(&path);
    ASSERT_TRUE(stream.open(2));
    const Bytes content = patterned(100);
    EXPECT_TRUE(stream.writeBytes(content.data(), 100));
    EXPECT_TRUE(stream.setSize(40));
    EXPECT_EQ(stream.getSize(), 40);
    EXPECT_EQ(stream.tell(), 100);
    EXPECT_TRUE(stream.setSize(64));
    EXPECT_EQ(stream.getSize(), 64);
    // A file opened for writing can be read back.
    stream.rewind();
    Bytes back(40);
    EXPECT_EQ(stream.readRaw(back.data(), 40), 40);
    EXPECT_EQ(back, Bytes(content.begin(), content.begin() + 40));
    stream.close();
    EXPECT_EQ(fs::file_size(folder / "sized.bin"), 64u);
}

class RecordingProgress : public IOrnCopyProgress
{
public:
    explicit RecordingProgress(int stopAfter = -1) : stopAfter(stopAfter) {}
    void setCopied(int64_t bytesCopied) override { reported.push_back(bytesCopied); }
    bool shouldStop() override { return int(reported.size()) == stopAfter; }

    std::vector<int64_t> reported;
    int stopAfter;
};

TEST_F(StreamFileTest, CopyFileMovesEveryByteAndReportsProgress)
{
    const Bytes content = patterned(40000);
    makeFile("source.bin", content);
    const OrnPath source = pathOf("source.bin");
    const OrnPath copy = pathOf("copy.bin");

    RecordingProgress progress;
    EXPECT_TRUE(ornFileSystem->copyFile(&source, &copy, &progress));
    EXPECT_EQ(progress.reported, (std::vector<int64_t>{16384, 32768, 40000}));
    EXPECT_EQ(fileContent("copy.bin"), content);

    RecordingProgress stopping(1);
    const OrnPath partial = pathOf("partial.bin");
    EXPECT_FALSE(ornFileSystem->copyFile(&source, &partial, &stopping));
    EXPECT_EQ(fs::file_size(folder / "partial.bin"), 16384u);

    EXPECT_FALSE(ornFileSystem->copyFile(&source, &copy, nullptr));

    const OrnPath missing = pathOf("missing.bin");
    const OrnPath never = pathOf("never.bin");
    EXPECT_FALSE(ornFileSystem->copyFile(&missing, &never, &progress));
    EXPECT_FALSE(fs::exists(folder / "never.bin"));

    // Onto itself would empty the source first.
    EXPECT_FALSE(ornFileSystem->copyFile(&source, &source, &progress));
    EXPECT_EQ(fileContent("source.bin"), content);

    makeFile("empty.bin", {});
    const OrnPath empty = pathOf("empty.bin");
    const OrnPath emptyCopy = pathOf("empty-copy.bin");
    EXPECT_TRUE(ornFileSystem->copyFile(&empty, &emptyCopy, &progress));
    EXPECT_TRUE(fs::exists(folder / "empty-copy.bin"));
    EXPECT_EQ(fs::file_size(folder / "empty-copy.bin"), 0u);
}

TEST_F(StreamFileTest, FileSystemAnswersAboutRealPaths)
{
    makeFile("old.bin", {1});
    makeFile("new.bin", {2});
    const auto now = fs::file_time_type::clock::now();
    fs::last_write_time(folder / "old.bin", now - std::chrono::hours(2));
    fs::last_write_time(folder / "new.bin", now - std::chrono::hours(1));

    const OrnPath oldFile = pathOf("old.bin");
    const OrnPath newFile = pathOf("new.bin");
    const OrnPath missing = pathOf("missing.bin");
    OrnPath folderPath;
    folderPath.setRawText(utf8(folder).c_str());

    EXPECT_TRUE(ornFileSystem->exists(&oldFile));
    EXPECT_TRUE(ornFileSystem->exists(&folderPath));
    EXPECT_FALSE(ornFileSystem->exists(&missing));
    EXPECT_FALSE(ornFileSystem->exists(nullptr));
    EXPECT_TRUE(ornFileSystem->isFolder(&folderPath));
    EXPECT_FALSE(ornFileSystem->isFolder(&oldFile));
    EXPECT_FALSE(ornFileSystem->isFolder(&missing));

    const int64_t oldTime = ornFileSystem->fileTime(&oldFile);
    const int64_t newTime = ornFileSystem->fileTime(&newFile);
    EXPECT_GT(oldTime, 0);
    EXPECT_EQ(newTime - oldTime, int64_t(3600) * 10000000); // 100-ns units
    EXPECT_EQ(ornFileSystem->fileTime(&missing), 0);

    char native[OrnPath::kBlockSize];
    ornFileSystem->getNativePath(native, &oldFile);
    EXPECT_STREQ(native, oldFile.getText());

    // Names outside ASCII travel as UTF-8.
    const fs::path name = fs::path(u8"s\u00fc\u00df.bin");
    const OrnPath accented = pathOf(name);
    {
        OrnFileStream out(&accented);
        ASSERT_TRUE(out.open(2));
        EXPECT_TRUE(out.writeInt32(7));
    }
    EXPECT_TRUE(fs::exists(folder / name));
    EXPECT_TRUE(ornFileSystem->exists(&accented));
}

TEST(OrnPlugObjectTest, ObjectsSitOnSixtyFourBytesWithTheirFrameInFront)
{
    std::vector<OrnMemoryStream*> streams;
    for (int i = 0; i < 8; ++i)
    {
        OrnMemoryStream* stream = new OrnMemoryStream;
        ASSERT_NE(stream, nullptr);
        const uintptr_t address = reinterpret_cast<uintptr_t>(stream);
        const uintptr_t* words = reinterpret_cast<const uintptr_t*>(stream);
        EXPECT_EQ(address % 64, 0u);
        EXPECT_EQ(words[-3], sizeof(OrnMemoryStream));
        EXPECT_EQ(words[-2], 0u);
        EXPECT_EQ(address, (words[-1] + 128) & ~uintptr_t(63));
        streams.push_back(stream);
    }
    for (OrnMemoryStream* stream : streams)
        delete stream;

    OrnPath* path = new OrnPath;
    path->setRawText("C:\\x.bin");
    path->addRef();
    EXPECT_EQ(path->getRefCount(), 2);
    path->release();
    EXPECT_EQ(path->getRefCount(), 1);
    path->release(); // the last one frees it; the leak checker would see it otherwise
}

TEST(OrnBlockAllocatorTest, FreshBlocksAreMarkedAndFailuresReportedOnce)
{
    OrnBlockAllocator& allocator = OrnBlockAllocator::get();
    allocator.takeFailure();

    uint8_t* block = static_cast<uint8_t*>(allocator.allocate(10000));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 64, 0u);
    EXPECT_EQ(block[0], 0xAA);
    EXPECT_EQ(block[4096], 0xAA);
    EXPECT_EQ(block[8192], 0xAA);
    allocator.free(block);

    void* items = allocator.allocateItems(3);
    ASSERT_NE(items, nullptr);
    EXPECT_EQ(static_cast<const uintptr_t*>(items)[-3], 12u);
    allocator.free(items);
    EXPECT_EQ(allocator.allocateItems(0), nullptr);
    EXPECT_FALSE(allocator.takeFailure());

    EXPECT_EQ(allocator.allocate(SIZE_MAX), nullptr);
    EXPECT_TRUE(allocator.takeFailure());
    EXPECT_FALSE(allocator.takeFailure());
    EXPECT_EQ(allocator.allocateItems(SIZE_MAX / 2), nullptr);
    EXPECT_TRUE(allocator.takeFailure());
    allocator.free(nullptr);
}

TEST(MemoryStatusTest, FiguresAreConsistent)
{
    OrnMemoryStatus status;
    ASSERT_TRUE(queryMemoryStatus(status));
    EXPECT_GT(status.totalPhysical, 0u);
    EXPECT_GT(status.availablePhysical, 0u);
    EXPECT_LE(status.availablePhysical, status.totalPhysical);
    EXPECT_GT(status.availableVirtual, 0u);
    EXPECT_LE(status.availableVirtual, status.totalVirtual);
    EXPECT_GE(status.physicalLoad, 0.0f);
    EXPECT_LE(status.physicalLoad, 1.0f);
    EXPECT_GT(status.virtualLoad, 0.0f); // this very process uses some of its address space
    EXPECT_LE(status.virtualLoad, 1.0f);

    // A machine that runs the tests has more than a megabyte free.
    EXPECT_FALSE(testLowMemory());
    EXPECT_FALSE(isLowMemory());
}

TEST(OrnPathTest, TextIsKeptInAFixedBlock)
{
    OrnPath path;
    char out[OrnPath::kBlockSize];
    EXPECT_TRUE(path.isEmpty());
    EXPECT_EQ(path.getText(), nullptr);
    EXPECT_EQ(path.getStoredSize(), 1024);
    EXPECT_FALSE(path.equalsText(""));
    path.copyText(out);
    EXPECT_STREQ(out, "");

    path.setRawText("C:\\data\\set.bin");
    EXPECT_FALSE(path.isEmpty());
    EXPECT_FALSE(path.equalsText("C:\\data\\set.bi"));
    EXPECT_EQ(path.getStoredSize(), 16);

    OrnPath copy(path);
    EXPECT_TRUE(copy == path);
    EXPECT_NE(copy.getText(), path.getText());
    EXPECT_FALSE(OrnPath() == OrnPath());

    // A shorter text leaves nothing of the longer one behind its terminator.
    path.setRawText(path.getText() + 3);
    EXPECT_STREQ(path.getText(), "data\\set.bin");
    EXPECT_EQ(path.getText()[14], 0);

    const std::string tooLong(2000, 'a');
    path.setRawText(tooLong.c_str());
    EXPECT_EQ(std::strlen(path.getText()), 1023u);
    EXPECT_EQ(path.getStoredSize(), 1024);

    EXPECT_FALSE(path.setNativeText(nullptr));
    EXPECT_EQ(path.getText(), nullptr);
    EXPECT_TRUE(path.setNativeText(""));
    EXPECT_TRUE(path.isEmpty());
    EXPECT_EQ(path.getStoredSize(), 1);
}
} // namespace
