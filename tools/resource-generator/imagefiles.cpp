#include "imagefiles.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace
{
void put16(std::vector<uint8_t>& out, uint32_t v)
{
    out.push_back(uint8_t(v));
    out.push_back(uint8_t(v >> 8));
}

void put32(std::vector<uint8_t>& out, uint32_t v)
{
    put16(out, v & 0xFFFF);
    put16(out, v >> 16);
}

void put32BigEndian(std::vector<uint8_t>& out, uint32_t v)
{
    out.push_back(uint8_t(v >> 24));
    out.push_back(uint8_t(v >> 16));
    out.push_back(uint8_t(v >> 8));
    out.push_back(uint8_t(v));
}

uint32_t crc32(const uint8_t* data, size_t size)
{
    static const std::array<uint32_t, 256> table = []
    {
        std::array<uint32_t, 256> t{};
        for (uint32_t n = 0; n < 256; ++n)
        {
            uint32_t c = n;
            for (int k = 0; k < 8; ++k)
                c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            t[n] = c;
        }
        return t;
    }();
    uint32_t c = 0xFFFFFFFFu;
    for (size_t i = 0; i < size; ++i)
        c = table[(c ^ data[i]) & 0xFF] ^ (c >> 8);
    return c ^ 0xFFFFFFFFu;
}

uint32_t adler32(const std::vector<uint8_t>& data)
{
    uint32_t a = 1, b = 0;
    for (uint8_t byte : data)
    {
        a = (a + byte) % 65521;
        b = (b + a) % 65521;
    }
    return (b << 16) | a;
}

void putChunk(std::vector<uint8_t>& out, const char type[4], const std::vector<uint8_t>& data)
{
    put32BigEndian(out, uint32_t(data.size()));
    const size_t typeAt = out.size();
    out.insert(out.end(), type, type + 4);
    out.insert(out.end(), data.begin(), data.end());
    put32BigEndian(out, crc32(out.data() + typeAt, out.size() - typeAt));
}
} // namespace

std::vector<uint8_t> encodeBmp(const Image& image)
{
    const uint32_t stride = (uint32_t(image.width()) * 3 + 3) & ~3u;
    const uint32_t pixelBytes = stride * uint32_t(image.height()) + 2;
    const uint32_t offset = 14 + 40;

    std::vector<uint8_t> out;
    out.reserve(offset + pixelBytes);
    out.push_back('B');
    out.push_back('M');
    put32(out, offset + pixelBytes);
    put32(out, 0); // reserved
    put32(out, offset);

    put32(out, 40);
    put32(out, uint32_t(image.width()));
    put32(out, uint32_t(image.height())); // positive: bottom-up rows
    put16(out, 1);                        // planes
    put16(out, 24);
    put32(out, 0); // uncompressed
    put32(out, pixelBytes);
    put32(out, 2835); // 72 dots per inch
    put32(out, 2835);
    put32(out, 0); // no palette
    put32(out, 0);

    for (int y = image.height() - 1; y >= 0; --y)
    {
        const size_t rowStart = out.size();
        for (int x = 0; x < image.width(); ++x)
        {
            const Rgb c = image.get(x, y);
            out.push_back(c.b);
            out.push_back(c.g);
            out.push_back(c.r);
        }
        out.resize(rowStart + stride, 0);
    }
    out.push_back(0);
    out.push_back(0);
    return out;
}

std::vector<uint8_t> encodePng(const Image& image)
{
    std::vector<uint8_t> raw;
    raw.reserve(size_t(image.height()) * (size_t(image.width()) * 3 + 1));
    for (int y = 0; y < image.height(); ++y)
    {
        raw.push_back(0); // filter: none
        for (int x = 0; x < image.width(); ++x)
        {
            const Rgb c = image.get(x, y);
            raw.insert(raw.end(), {c.r, c.g, c.b});
        }
    }

    std::vector<uint8_t> zlib{0x78, 0x01};
    for (size_t at = 0; at < raw.size() || at == 0;)
    {
        const size_t size = std::min<size_t>(65535, raw.size() - at);
        const bool last = at + size == raw.size();
        zlib.push_back(last ? 1 : 0);
        put16(zlib, uint32_t(size));
        put16(zlib, uint32_t(~size & 0xFFFF));
        zlib.insert(zlib.end(), raw.begin() + long(at), raw.begin() + long(at + size));
        at += size;
        if (last) break;
    }
    put32BigEndian(zlib, adler32(raw));

    std::vector<uint8_t> header;
    put32BigEndian(header, uint32_t(image.width()));
    put32BigEndian(header, uint32_t(image.height()));
    header.insert(header.end(), {8, 2, 0, 0, 0}); // 8 bits, RGB, deflate, no filter set, no interlace

    std::vector<uint8_t> out{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    putChunk(out, "IHDR", header);
    putChunk(out, "IDAT", zlib);
    putChunk(out, "IEND", {});
    return out;
}

bool writeFile(const std::string& path, const std::vector<uint8_t>& bytes)
{
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
    {
        std::fprintf(stderr, "Can't write %s: %s.\n", path.c_str(), std::strerror(errno));
        return false;
    }
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    const bool closed = std::fclose(file) == 0;
    if (!written || !closed)
    {
        std::fprintf(stderr, "Can't write %s: the disk refused the data.\n", path.c_str());
        return false;
    }
    return true;
}
