#include "foundation/fstring.h"

#include <charconv>
#include <cinttypes>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace
{
const char kEmpty8[1] = {0};
const char16_t kEmpty16[1] = {0};

uint32_t scanLength(const char* text)
{
    if (!text) return 0;
    const size_t n = std::strlen(text);
    return n > ConstString::kMaxLength ? ConstString::kMaxLength : static_cast<uint32_t>(n);
}

uint32_t scanLength(const char16_t* text)
{
    if (!text) return 0;
    size_t n = 0;
    while (text[n] && n < ConstString::kMaxLength)
        ++n;
    return static_cast<uint32_t>(n);
}

// Room for `count` characters and the terminator; null if the heap has none.
void* allocText(uint64_t count, bool wide)
{
    if (count > ConstString::kMaxLength) return nullptr;
    return std::malloc((count + 1) * (wide ? sizeof(char16_t) : sizeof(char)));
}

size_t unitSize(bool wide)
{
    return wide ? sizeof(char16_t) : sizeof(char);
}

// ---------------------------------------------------------------------------------------------
// Character tables. Simple one-to-one case mappings are stored as runs: every `stride`-th code
// point from `first` to `last` maps to itself plus `delta`.

struct CaseRun
{
    uint16_t first;
    uint16_t last;
    uint16_t stride;
    int16_t delta;
};

struct CharRange
{
    uint16_t first;
    uint16_t last;
};

// A base character and a combining mark that compose into one precomposed character.
struct Composition
{
    uint16_t base;
    uint16_t mark;
    uint16_t composed;
};

// Generated from the Unicode character database: simple case mappings, letters, and the
// canonical compositions of Latin letters with one combining mark.
const CaseRun kToLowerRuns[] = {
    {0x00C0, 0x00D6, 1, 32},   {0x00D8, 0x00DE, 1, 32},    {0x0100, 0x012E, 2, 1},
    {0x0132, 0x0136, 2, 1},    {0x0139, 0x0147, 2, 1},     {0x014A, 0x0176, 2, 1},
    {0x0178, 0x0178, 1, -121}, {0x0179, 0x017D, 2, 1},     {0x0181, 0x0181, 1, 210},
    {0x0182, 0x0184, 2, 1},    {0x0186, 0x0186, 1, 206},   {0x0187, 0x0187, 1, 1},
    {0x0189, 0x018A, 1, 205},  {0x018B, 0x018B, 1, 1},     {0x018E, 0x018E, 1, 79},
    {0x018F, 0x018F, 1, 202},  {0x0190, 0x0190, 1, 203},   {0x0191, 0x0191, 1, 1},
    {0x0193, 0x0193, 1, 205},  {0x0194, 0x0194, 1, 207},   {0x0196, 0x0196, 1, 211},
    {0x0197, 0x0197, 1, 209},  {0x0198, 0x0198, 1, 1},     {0x019C, 0x019C, 1, 211},
    {0x019D, 0x019D, 1, 213},  {0x019F, 0x019F, 1, 214},   {0x01A0, 0x01A4, 2, 1},
    {0x01A6, 0x01A6, 1, 218},  {0x01A7, 0x01A7, 1, 1},     {0x01A9, 0x01A9, 1, 218},
    {0x01AC, 0x01AC, 1, 1},    {0x01AE, 0x01AE, 1, 218},   {0x01AF, 0x01AF, 1, 1},
    {0x01B1, 0x01B2, 1, 217},  {0x01B3, 0x01B5, 2, 1},     {0x01B7, 0x01B7, 1, 219},
    {0x01B8, 0x01B8, 1, 1},    {0x01BC, 0x01BC, 1, 1},     {0x01C4, 0x01C4, 1, 2},
    {0x01C5, 0x01C5, 1, 1},    {0x01C7, 0x01C7, 1, 2},     {0x01C8, 0x01C8, 1, 1},
    {0x01CA, 0x01CA, 1, 2},    {0x01CB, 0x01DB, 2, 1},     {0x01DE, 0x01EE, 2, 1},
    {0x01F1, 0x01F1, 1, 2},    {0x01F2, 0x01F4, 2, 1},     {0x01F6, 0x01F6, 1, -97},
    {0x01F7, 0x01F7, 1, -56},  {0x01F8, 0x021E, 2, 1},     {0x0220, 0x0220, 1, -130},
    {0x0222, 0x0232, 2, 1},    {0x023A, 0x023A, 1, 10795}, {0x023B, 0x023B, 1, 1},
    {0x023D, 0x023D, 1, -163}, {0x023E, 0x023E, 1, 10792}, {0x0241, 0x0241, 1, 1},
    {0x0243, 0x0243, 1, -195}, {0x0244, 0x0244, 1, 69},    {0x0245, 0x0245, 1, 71},
    {0x0246, 0x024E, 2, 1},    {0x0370, 0x0372, 2, 1},     {0x0376, 0x0376, 1, 1},
    {0x037F, 0x037F, 1, 116},  {0x0386, 0x0386, 1, 38},    {0x0388, 0x038A, 1, 37},
    {0x038C, 0x038C, 1, 64},   {0x038E, 0x038F, 1, 63},    {0x0391, 0x03A1, 1, 32},
    {0x03A3, 0x03AB, 1, 32},   {0x03CF, 0x03CF, 1, 8},     {0x03D8, 0x03EE, 2, 1},
    {0x03F4, 0x03F4, 1, -60},  {0x03F7, 0x03F7, 1, 1},     {0x03F9, 0x03F9, 1, -7},
    {0x03FA, 0x03FA, 1, 1},    {0x03FD, 0x03FF, 1, -130},  {0x0400, 0x040F, 1, 80},
    {0x0410, 0x042F, 1, 32},   {0x0460, 0x0480, 2, 1},     {0x048A, 0x04BE, 2, 1},
    {0x04C0, 0x04C0, 1, 15},   {0x04C1, 0x04CD, 2, 1},     {0x04D0, 0x052E, 2, 1},
    {0x1E00, 0x1E94, 2, 1},    {0x1E9E, 0x1E9E, 1, -7615}, {0x1EA0, 0x1EFE, 2, 1},
};
const CaseRun kToUpperRuns[] = {
    {0x00B5, 0x00B5, 1, 743}, {0x00E0, 0x00F6, 1, -32},   {0x00F8, 0x00FE, 1, -32},
    {0x00FF, 0x00FF, 1, 121}, {0x0101, 0x012F, 2, -1},    {0x0131, 0x0131, 1, -232},
    {0x0133, 0x0137, 2, -1},  {0x013A, 0x0148, 2, -1},    {0x014B, 0x0177, 2, -1},
    {0x017A, 0x017E, 2, -1},  {0x017F, 0x017F, 1, -300},  {0x0180, 0x0180, 1, 195},
    {0x0183, 0x0185, 2, -1},  {0x0188, 0x0188, 1, -1},    {0x018C, 0x018C, 1, -1},
    {0x0192, 0x0192, 1, -1},  {0x0195, 0x0195, 1, 97},    {0x0199, 0x0199, 1, -1},
    {0x019A, 0x019A, 1, 163}, {0x019E, 0x019E, 1, 130},   {0x01A1, 0x01A5, 2, -1},
    {0x01A8, 0x01A8, 1, -1},  {0x01AD, 0x01AD, 1, -1},    {0x01B0, 0x01B0, 1, -1},
    {0x01B4, 0x01B6, 2, -1},  {0x01B9, 0x01B9, 1, -1},    {0x01BD, 0x01BD, 1, -1},
    {0x01BF, 0x01BF, 1, 56},  {0x01C5, 0x01C5, 1, -1},    {0x01C6, 0x01C6, 1, -2},
    {0x01C8, 0x01C8, 1, -1},  {0x01C9, 0x01C9, 1, -2},    {0x01CB, 0x01CB, 1, -1},
    {0x01CC, 0x01CC, 1, -2},  {0x01CE, 0x01DC, 2, -1},    {0x01DD, 0x01DD, 1, -79},
    {0x01DF, 0x01EF, 2, -1},  {0x01F2, 0x01F2, 1, -1},    {0x01F3, 0x01F3, 1, -2},
    {0x01F5, 0x01F5, 1, -1},  {0x01F9, 0x021F, 2, -1},    {0x0223, 0x0233, 2, -1},
    {0x023C, 0x023C, 1, -1},  {0x023F, 0x0240, 1, 10815}, {0x0242, 0x0242, 1, -1},
    {0x0247, 0x024F, 2, -1},  {0x0371, 0x0373, 2, -1},    {0x0377, 0x0377, 1, -1},
    {0x037B, 0x037D, 1, 130}, {0x03AC, 0x03AC, 1, -38},   {0x03AD, 0x03AF, 1, -37},
    {0x03B1, 0x03C1, 1, -32}, {0x03C2, 0x03C2, 1, -31},   {0x03C3, 0x03CB, 1, -32},
    {0x03CC, 0x03CC, 1, -64}, {0x03CD, 0x03CE, 1, -63},   {0x03D0, 0x03D0, 1, -62},
    {0x03D1, 0x03D1, 1, -57}, {0x03D5, 0x03D5, 1, -47},   {0x03D6, 0x03D6, 1, -54},
    {0x03D7, 0x03D7, 1, -8},  {0x03D9, 0x03EF, 2, -1},    {0x03F0, 0x03F0, 1, -86},
    {0x03F1, 0x03F1, 1, -80}, {0x03F2, 0x03F2, 1, 7},     {0x03F3, 0x03F3, 1, -116},
    {0x03F5, 0x03F5, 1, -96}, {0x03F8, 0x03F8, 1, -1},    {0x03FB, 0x03FB, 1, -1},
    {0x0430, 0x044F, 1, -32}, {0x0450, 0x045F, 1, -80},   {0x0461, 0x0481, 2, -1},
    {0x048B, 0x04BF, 2, -1},  {0x04C2, 0x04CE, 2, -1},    {0x04CF, 0x04CF, 1, -15},
    {0x04D1, 0x052F, 2, -1},  {0x1E01, 0x1E95, 2, -1},    {0x1E9B, 0x1E9B, 1, -59},
    {0x1EA1, 0x1EFF, 2, -1},
};
const CharRange kLetterRanges[] = {
    {0x00AA, 0x00AA}, {0x00B5, 0x00B5}, {0x00BA, 0x00BA}, {0x00C0, 0x00D6}, {0x00D8, 0x00F6},
    {0x00F8, 0x02C1}, {0x02C6, 0x02D1}, {0x02E0, 0x02E4}, {0x02EC, 0x02EC}, {0x02EE, 0x02EE},
    {0x0370, 0x0374}, {0x0376, 0x0377}, {0x037A, 0x037D}, {0x037F, 0x037F}, {0x0386, 0x0386},
    {0x0388, 0x038A}, {0x038C, 0x038C}, {0x038E, 0x03A1}, {0x03A3, 0x03F5}, {0x03F7, 0x0481},
    {0x048A, 0x052F}, {0x05D0, 0x05EA}, {0x0620, 0x064A}, {0x1E00, 0x1F15}, {0x1F18, 0x1F1D},
    {0x1F20, 0x1F45}, {0x1F48, 0x1F4D}, {0x1F50, 0x1F57}, {0x1F59, 0x1F59}, {0x1F5B, 0x1F5B},
    {0x1F5D, 0x1F5D}, {0x1F5F, 0x1F7D}, {0x1F80, 0x1FB4}, {0x1FB6, 0x1FBC}, {0x1FBE, 0x1FBE},
    {0x1FC2, 0x1FC4}, {0x1FC6, 0x1FCC}, {0x1FD0, 0x1FD3}, {0x1FD6, 0x1FDB}, {0x1FE0, 0x1FEC},
    {0x1FF2, 0x1FF4}, {0x1FF6, 0x1FFC}, {0x3041, 0x3096}, {0x30A1, 0x30FA}, {0x3400, 0x4DBF},
    {0x4E00, 0x9FFF}, {0xAC00, 0xD7A3}, {0xFF21, 0xFF3A}, {0xFF41, 0xFF5A},
};
const Composition kCompositions[] = {
    {0x0041, 0x0300, 0x00C0}, {0x0041, 0x0301, 0x00C1}, {0x0041, 0x0302, 0x00C2}, {0x0041, 0x0303, 0x00C3},
    {0x0041, 0x0304, 0x0100}, {0x0041, 0x0306, 0x0102}, {0x0041, 0x0307, 0x0226}, {0x0041, 0x0308, 0x00C4},
    {0x0041, 0x0309, 0x1EA2}, {0x0041, 0x030A, 0x00C5}, {0x0041, 0x030C, 0x01CD}, {0x0041, 0x030F, 0x0200},
    {0x0041, 0x0311, 0x0202}, {0x0041, 0x0323, 0x1EA0}, {0x0041, 0x0325, 0x1E00}, {0x0041, 0x0328, 0x0104},
    {0x0042, 0x0307, 0x1E02}, {0x0042, 0x0323, 0x1E04}, {0x0042, 0x0331, 0x1E06}, {0x0043, 0x0301, 0x0106},
    {0x0043, 0x0302, 0x0108}, {0x0043, 0x0307, 0x010A}, {0x0043, 0x030C, 0x010C}, {0x0043, 0x0327, 0x00C7},
    {0x0044, 0x0307, 0x1E0A}, {0x0044, 0x030C, 0x010E}, {0x0044, 0x0323, 0x1E0C}, {0x0044, 0x0327, 0x1E10},
    {0x0044, 0x032D, 0x1E12}, {0x0044, 0x0331, 0x1E0E}, {0x0045, 0x0300, 0x00C8}, {0x0045, 0x0301, 0x00C9},
    {0x0045, 0x0302, 0x00CA}, {0x0045, 0x0303, 0x1EBC}, {0x0045, 0x0304, 0x0112}, {0x0045, 0x0306, 0x0114},
    {0x0045, 0x0307, 0x0116}, {0x0045, 0x0308, 0x00CB}, {0x0045, 0x0309, 0x1EBA}, {0x0045, 0x030C, 0x011A},
    {0x0045, 0x030F, 0x0204}, {0x0045, 0x0311, 0x0206}, {0x0045, 0x0323, 0x1EB8}, {0x0045, 0x0327, 0x0228},
    {0x0045, 0x0328, 0x0118}, {0x0045, 0x032D, 0x1E18}, {0x0045, 0x0330, 0x1E1A}, {0x0046, 0x0307, 0x1E1E},
    {0x0047, 0x0301, 0x01F4}, {0x0047, 0x0302, 0x011C}, {0x0047, 0x0304, 0x1E20}, {0x0047, 0x0306, 0x011E},
    {0x0047, 0x0307, 0x0120}, {0x0047, 0x030C, 0x01E6}, {0x0047, 0x0327, 0x0122}, {0x0048, 0x0302, 0x0124},
    {0x0048, 0x0307, 0x1E22}, {0x0048, 0x0308, 0x1E26}, {0x0048, 0x030C, 0x021E}, {0x0048, 0x0323, 0x1E24},
    {0x0048, 0x0327, 0x1E28}, {0x0048, 0x032E, 0x1E2A}, {0x0049, 0x0300, 0x00CC}, {0x0049, 0x0301, 0x00CD},
    {0x0049, 0x0302, 0x00CE}, {0x0049, 0x0303, 0x0128}, {0x0049, 0x0304, 0x012A}, {0x0049, 0x0306, 0x012C},
    {0x0049, 0x0307, 0x0130}, {0x0049, 0x0308, 0x00CF}, {0x0049, 0x0309, 0x1EC8}, {0x0049, 0x030C, 0x01CF},
    {0x0049, 0x030F, 0x0208}, {0x0049, 0x0311, 0x020A}, {0x0049, 0x0323, 0x1ECA}, {0x0049, 0x0328, 0x012E},
    {0x0049, 0x0330, 0x1E2C}, {0x004A, 0x0302, 0x0134}, {0x004B, 0x0301, 0x1E30}, {0x004B, 0x030C, 0x01E8},
    {0x004B, 0x0323, 0x1E32}, {0x004B, 0x0327, 0x0136}, {0x004B, 0x0331, 0x1E34}, {0x004C, 0x0301, 0x0139},
    {0x004C, 0x030C, 0x013D}, {0x004C, 0x0323, 0x1E36}, {0x004C, 0x0327, 0x013B}, {0x004C, 0x032D, 0x1E3C},
    {0x004C, 0x0331, 0x1E3A}, {0x004D, 0x0301, 0x1E3E}, {0x004D, 0x0307, 0x1E40}, {0x004D, 0x0323, 0x1E42},
    {0x004E, 0x0300, 0x01F8}, {0x004E, 0x0301, 0x0143}, {0x004E, 0x0303, 0x00D1}, {0x004E, 0x0307, 0x1E44},
    {0x004E, 0x030C, 0x0147}, {0x004E, 0x0323, 0x1E46}, {0x004E, 0x0327, 0x0145}, {0x004E, 0x032D, 0x1E4A},
    {0x004E, 0x0331, 0x1E48}, {0x004F, 0x0300, 0x00D2}, {0x004F, 0x0301, 0x00D3}, {0x004F, 0x0302, 0x00D4},
    {0x004F, 0x0303, 0x00D5}, {0x004F, 0x0304, 0x014C}, {0x004F, 0x0306, 0x014E}, {0x004F, 0x0307, 0x022E},
    {0x004F, 0x0308, 0x00D6}, {0x004F, 0x0309, 0x1ECE}, {0x004F, 0x030B, 0x0150}, {0x004F, 0x030C, 0x01D1},
    {0x004F, 0x030F, 0x020C}, {0x004F, 0x0311, 0x020E}, {0x004F, 0x031B, 0x01A0}, {0x004F, 0x0323, 0x1ECC},
    {0x004F, 0x0328, 0x01EA}, {0x0050, 0x0301, 0x1E54}, {0x0050, 0x0307, 0x1E56}, {0x0052, 0x0301, 0x0154},
    {0x0052, 0x0307, 0x1E58}, {0x0052, 0x030C, 0x0158}, {0x0052, 0x030F, 0x0210}, {0x0052, 0x0311, 0x0212},
    {0x0052, 0x0323, 0x1E5A}, {0x0052, 0x0327, 0x0156}, {0x0052, 0x0331, 0x1E5E}, {0x0053, 0x0301, 0x015A},
    {0x0053, 0x0302, 0x015C}, {0x0053, 0x0307, 0x1E60}, {0x0053, 0x030C, 0x0160}, {0x0053, 0x0323, 0x1E62},
    {0x0053, 0x0326, 0x0218}, {0x0053, 0x0327, 0x015E}, {0x0054, 0x0307, 0x1E6A}, {0x0054, 0x030C, 0x0164},
    {0x0054, 0x0323, 0x1E6C}, {0x0054, 0x0326, 0x021A}, {0x0054, 0x0327, 0x0162}, {0x0054, 0x032D, 0x1E70},
    {0x0054, 0x0331, 0x1E6E}, {0x0055, 0x0300, 0x00D9}, {0x0055, 0x0301, 0x00DA}, {0x0055, 0x0302, 0x00DB},
    {0x0055, 0x0303, 0x0168}, {0x0055, 0x0304, 0x016A}, {0x0055, 0x0306, 0x016C}, {0x0055, 0x0308, 0x00DC},
    {0x0055, 0x0309, 0x1EE6}, {0x0055, 0x030A, 0x016E}, {0x0055, 0x030B, 0x0170}, {0x0055, 0x030C, 0x01D3},
    {0x0055, 0x030F, 0x0214}, {0x0055, 0x0311, 0x0216}, {0x0055, 0x031B, 0x01AF}, {0x0055, 0x0323, 0x1EE4},
    {0x0055, 0x0324, 0x1E72}, {0x0055, 0x0328, 0x0172}, {0x0055, 0x032D, 0x1E76}, {0x0055, 0x0330, 0x1E74},
    {0x0056, 0x0303, 0x1E7C}, {0x0056, 0x0323, 0x1E7E}, {0x0057, 0x0300, 0x1E80}, {0x0057, 0x0301, 0x1E82},
    {0x0057, 0x0302, 0x0174}, {0x0057, 0x0307, 0x1E86}, {0x0057, 0x0308, 0x1E84}, {0x0057, 0x0323, 0x1E88},
    {0x0058, 0x0307, 0x1E8A}, {0x0058, 0x0308, 0x1E8C}, {0x0059, 0x0300, 0x1EF2}, {0x0059, 0x0301, 0x00DD},
    {0x0059, 0x0302, 0x0176}, {0x0059, 0x0303, 0x1EF8}, {0x0059, 0x0304, 0x0232}, {0x0059, 0x0307, 0x1E8E},
    {0x0059, 0x0308, 0x0178}, {0x0059, 0x0309, 0x1EF6}, {0x0059, 0x0323, 0x1EF4}, {0x005A, 0x0301, 0x0179},
    {0x005A, 0x0302, 0x1E90}, {0x005A, 0x0307, 0x017B}, {0x005A, 0x030C, 0x017D}, {0x005A, 0x0323, 0x1E92},
    {0x005A, 0x0331, 0x1E94}, {0x0061, 0x0300, 0x00E0}, {0x0061, 0x0301, 0x00E1}, {0x0061, 0x0302, 0x00E2},
    {0x0061, 0x0303, 0x00E3}, {0x0061, 0x0304, 0x0101}, {0x0061, 0x0306, 0x0103}, {0x0061, 0x0307, 0x0227},
    {0x0061, 0x0308, 0x00E4}, {0x0061, 0x0309, 0x1EA3}, {0x0061, 0x030A, 0x00E5}, {0x0061, 0x030C, 0x01CE},
    {0x0061, 0x030F, 0x0201}, {0x0061, 0x0311, 0x0203}, {0x0061, 0x0323, 0x1EA1}, {0x0061, 0x0325, 0x1E01},
    {0x0061, 0x0328, 0x0105}, {0x0062, 0x0307, 0x1E03}, {0x0062, 0x0323, 0x1E05}, {0x0062, 0x0331, 0x1E07},
    {0x0063, 0x0301, 0x0107}, {0x0063, 0x0302, 0x0109}, {0x0063, 0x0307, 0x010B}, {0x0063, 0x030C, 0x010D},
    {0x0063, 0x0327, 0x00E7}, {0x0064, 0x0307, 0x1E0B}, {0x0064, 0x030C, 0x010F}, {0x0064, 0x0323, 0x1E0D},
    {0x0064, 0x0327, 0x1E11}, {0x0064, 0x032D, 0x1E13}, {0x0064, 0x0331, 0x1E0F}, {0x0065, 0x0300, 0x00E8},
    {0x0065, 0x0301, 0x00E9}, {0x0065, 0x0302, 0x00EA}, {0x0065, 0x0303, 0x1EBD}, {0x0065, 0x0304, 0x0113},
    {0x0065, 0x0306, 0x0115}, {0x0065, 0x0307, 0x0117}, {0x0065, 0x0308, 0x00EB}, {0x0065, 0x0309, 0x1EBB},
    {0x0065, 0x030C, 0x011B}, {0x0065, 0x030F, 0x0205}, {0x0065, 0x0311, 0x0207}, {0x0065, 0x0323, 0x1EB9},
    {0x0065, 0x0327, 0x0229}, {0x0065, 0x0328, 0x0119}, {0x0065, 0x032D, 0x1E19}, {0x0065, 0x0330, 0x1E1B},
    {0x0066, 0x0307, 0x1E1F}, {0x0067, 0x0301, 0x01F5}, {0x0067, 0x0302, 0x011D}, {0x0067, 0x0304, 0x1E21},
    {0x0067, 0x0306, 0x011F}, {0x0067, 0x0307, 0x0121}, {0x0067, 0x030C, 0x01E7}, {0x0067, 0x0327, 0x0123},
    {0x0068, 0x0302, 0x0125}, {0x0068, 0x0307, 0x1E23}, {0x0068, 0x0308, 0x1E27}, {0x0068, 0x030C, 0x021F},
    {0x0068, 0x0323, 0x1E25}, {0x0068, 0x0327, 0x1E29}, {0x0068, 0x032E, 0x1E2B}, {0x0068, 0x0331, 0x1E96},
    {0x0069, 0x0300, 0x00EC}, {0x0069, 0x0301, 0x00ED}, {0x0069, 0x0302, 0x00EE}, {0x0069, 0x0303, 0x0129},
    {0x0069, 0x0304, 0x012B}, {0x0069, 0x0306, 0x012D}, {0x0069, 0x0308, 0x00EF}, {0x0069, 0x0309, 0x1EC9},
    {0x0069, 0x030C, 0x01D0}, {0x0069, 0x030F, 0x0209}, {0x0069, 0x0311, 0x020B}, {0x0069, 0x0323, 0x1ECB},
    {0x0069, 0x0328, 0x012F}, {0x0069, 0x0330, 0x1E2D}, {0x006A, 0x0302, 0x0135}, {0x006A, 0x030C, 0x01F0},
    {0x006B, 0x0301, 0x1E31}, {0x006B, 0x030C, 0x01E9}, {0x006B, 0x0323, 0x1E33}, {0x006B, 0x0327, 0x0137},
    {0x006B, 0x0331, 0x1E35}, {0x006C, 0x0301, 0x013A}, {0x006C, 0x030C, 0x013E}, {0x006C, 0x0323, 0x1E37},
    {0x006C, 0x0327, 0x013C}, {0x006C, 0x032D, 0x1E3D}, {0x006C, 0x0331, 0x1E3B}, {0x006D, 0x0301, 0x1E3F},
    {0x006D, 0x0307, 0x1E41}, {0x006D, 0x0323, 0x1E43}, {0x006E, 0x0300, 0x01F9}, {0x006E, 0x0301, 0x0144},
    {0x006E, 0x0303, 0x00F1}, {0x006E, 0x0307, 0x1E45}, {0x006E, 0x030C, 0x0148}, {0x006E, 0x0323, 0x1E47},
    {0x006E, 0x0327, 0x0146}, {0x006E, 0x032D, 0x1E4B}, {0x006E, 0x0331, 0x1E49}, {0x006F, 0x0300, 0x00F2},
    {0x006F, 0x0301, 0x00F3}, {0x006F, 0x0302, 0x00F4}, {0x006F, 0x0303, 0x00F5}, {0x006F, 0x0304, 0x014D},
    {0x006F, 0x0306, 0x014F}, {0x006F, 0x0307, 0x022F}, {0x006F, 0x0308, 0x00F6}, {0x006F, 0x0309, 0x1ECF},
    {0x006F, 0x030B, 0x0151}, {0x006F, 0x030C, 0x01D2}, {0x006F, 0x030F, 0x020D}, {0x006F, 0x0311, 0x020F},
    {0x006F, 0x031B, 0x01A1}, {0x006F, 0x0323, 0x1ECD}, {0x006F, 0x0328, 0x01EB}, {0x0070, 0x0301, 0x1E55},
    {0x0070, 0x0307, 0x1E57}, {0x0072, 0x0301, 0x0155}, {0x0072, 0x0307, 0x1E59}, {0x0072, 0x030C, 0x0159},
    {0x0072, 0x030F, 0x0211}, {0x0072, 0x0311, 0x0213}, {0x0072, 0x0323, 0x1E5B}, {0x0072, 0x0327, 0x0157},
    {0x0072, 0x0331, 0x1E5F}, {0x0073, 0x0301, 0x015B}, {0x0073, 0x0302, 0x015D}, {0x0073, 0x0307, 0x1E61},
    {0x0073, 0x030C, 0x0161}, {0x0073, 0x0323, 0x1E63}, {0x0073, 0x0326, 0x0219}, {0x0073, 0x0327, 0x015F},
    {0x0074, 0x0307, 0x1E6B}, {0x0074, 0x0308, 0x1E97}, {0x0074, 0x030C, 0x0165}, {0x0074, 0x0323, 0x1E6D},
    {0x0074, 0x0326, 0x021B}, {0x0074, 0x0327, 0x0163}, {0x0074, 0x032D, 0x1E71}, {0x0074, 0x0331, 0x1E6F},
    {0x0075, 0x0300, 0x00F9}, {0x0075, 0x0301, 0x00FA}, {0x0075, 0x0302, 0x00FB}, {0x0075, 0x0303, 0x0169},
    {0x0075, 0x0304, 0x016B}, {0x0075, 0x0306, 0x016D}, {0x0075, 0x0308, 0x00FC}, {0x0075, 0x0309, 0x1EE7},
    {0x0075, 0x030A, 0x016F}, {0x0075, 0x030B, 0x0171}, {0x0075, 0x030C, 0x01D4}, {0x0075, 0x030F, 0x0215},
    {0x0075, 0x0311, 0x0217}, {0x0075, 0x031B, 0x01B0}, {0x0075, 0x0323, 0x1EE5}, {0x0075, 0x0324, 0x1E73},
    {0x0075, 0x0328, 0x0173}, {0x0075, 0x032D, 0x1E77}, {0x0075, 0x0330, 0x1E75}, {0x0076, 0x0303, 0x1E7D},
    {0x0076, 0x0323, 0x1E7F}, {0x0077, 0x0300, 0x1E81}, {0x0077, 0x0301, 0x1E83}, {0x0077, 0x0302, 0x0175},
    {0x0077, 0x0307, 0x1E87}, {0x0077, 0x0308, 0x1E85}, {0x0077, 0x030A, 0x1E98}, {0x0077, 0x0323, 0x1E89},
    {0x0078, 0x0307, 0x1E8B}, {0x0078, 0x0308, 0x1E8D}, {0x0079, 0x0300, 0x1EF3}, {0x0079, 0x0301, 0x00FD},
    {0x0079, 0x0302, 0x0177}, {0x0079, 0x0303, 0x1EF9}, {0x0079, 0x0304, 0x0233}, {0x0079, 0x0307, 0x1E8F},
    {0x0079, 0x0308, 0x00FF}, {0x0079, 0x0309, 0x1EF7}, {0x0079, 0x030A, 0x1E99}, {0x0079, 0x0323, 0x1EF5},
    {0x007A, 0x0301, 0x017A}, {0x007A, 0x0302, 0x1E91}, {0x007A, 0x0307, 0x017C}, {0x007A, 0x030C, 0x017E},
    {0x007A, 0x0323, 0x1E93}, {0x007A, 0x0331, 0x1E95}, {0x00C2, 0x0300, 0x1EA6}, {0x00C2, 0x0301, 0x1EA4},
    {0x00C2, 0x0303, 0x1EAA}, {0x00C2, 0x0309, 0x1EA8}, {0x00C4, 0x0304, 0x01DE}, {0x00C5, 0x0301, 0x01FA},
    {0x00C6, 0x0301, 0x01FC}, {0x00C6, 0x0304, 0x01E2}, {0x00C7, 0x0301, 0x1E08}, {0x00CA, 0x0300, 0x1EC0},
    {0x00CA, 0x0301, 0x1EBE}, {0x00CA, 0x0303, 0x1EC4}, {0x00CA, 0x0309, 0x1EC2}, {0x00CF, 0x0301, 0x1E2E},
    {0x00D4, 0x0300, 0x1ED2}, {0x00D4, 0x0301, 0x1ED0}, {0x00D4, 0x0303, 0x1ED6}, {0x00D4, 0x0309, 0x1ED4},
    {0x00D5, 0x0301, 0x1E4C}, {0x00D5, 0x0304, 0x022C}, {0x00D5, 0x0308, 0x1E4E}, {0x00D6, 0x0304, 0x022A},
    {0x00D8, 0x0301, 0x01FE}, {0x00DC, 0x0300, 0x01DB}, {0x00DC, 0x0301, 0x01D7}, {0x00DC, 0x0304, 0x01D5},
    {0x00DC, 0x030C, 0x01D9}, {0x00E2, 0x0300, 0x1EA7}, {0x00E2, 0x0301, 0x1EA5}, {0x00E2, 0x0303, 0x1EAB},
    {0x00E2, 0x0309, 0x1EA9}, {0x00E4, 0x0304, 0x01DF}, {0x00E5, 0x0301, 0x01FB}, {0x00E6, 0x0301, 0x01FD},
    {0x00E6, 0x0304, 0x01E3}, {0x00E7, 0x0301, 0x1E09}, {0x00EA, 0x0300, 0x1EC1}, {0x00EA, 0x0301, 0x1EBF},
    {0x00EA, 0x0303, 0x1EC5}, {0x00EA, 0x0309, 0x1EC3}, {0x00EF, 0x0301, 0x1E2F}, {0x00F4, 0x0300, 0x1ED3},
    {0x00F4, 0x0301, 0x1ED1}, {0x00F4, 0x0303, 0x1ED7}, {0x00F4, 0x0309, 0x1ED5}, {0x00F5, 0x0301, 0x1E4D},
    {0x00F5, 0x0304, 0x022D}, {0x00F5, 0x0308, 0x1E4F}, {0x00F6, 0x0304, 0x022B}, {0x00F8, 0x0301, 0x01FF},
    {0x00FC, 0x0300, 0x01DC}, {0x00FC, 0x0301, 0x01D8}, {0x00FC, 0x0304, 0x01D6}, {0x00FC, 0x030C, 0x01DA},
    {0x0102, 0x0300, 0x1EB0}, {0x0102, 0x0301, 0x1EAE}, {0x0102, 0x0303, 0x1EB4}, {0x0102, 0x0309, 0x1EB2},
    {0x0103, 0x0300, 0x1EB1}, {0x0103, 0x0301, 0x1EAF}, {0x0103, 0x0303, 0x1EB5}, {0x0103, 0x0309, 0x1EB3},
    {0x0112, 0x0300, 0x1E14}, {0x0112, 0x0301, 0x1E16}, {0x0113, 0x0300, 0x1E15}, {0x0113, 0x0301, 0x1E17},
    {0x014C, 0x0300, 0x1E50}, {0x014C, 0x0301, 0x1E52}, {0x014D, 0x0300, 0x1E51}, {0x014D, 0x0301, 0x1E53},
    {0x015A, 0x0307, 0x1E64}, {0x015B, 0x0307, 0x1E65}, {0x0160, 0x0307, 0x1E66}, {0x0161, 0x0307, 0x1E67},
    {0x0168, 0x0301, 0x1E78}, {0x0169, 0x0301, 0x1E79}, {0x016A, 0x0308, 0x1E7A}, {0x016B, 0x0308, 0x1E7B},
    {0x017F, 0x0307, 0x1E9B}, {0x01A0, 0x0300, 0x1EDC}, {0x01A0, 0x0301, 0x1EDA}, {0x01A0, 0x0303, 0x1EE0},
    {0x01A0, 0x0309, 0x1EDE}, {0x01A0, 0x0323, 0x1EE2}, {0x01A1, 0x0300, 0x1EDD}, {0x01A1, 0x0301, 0x1EDB},
    {0x01A1, 0x0303, 0x1EE1}, {0x01A1, 0x0309, 0x1EDF}, {0x01A1, 0x0323, 0x1EE3}, {0x01AF, 0x0300, 0x1EEA},
    {0x01AF, 0x0301, 0x1EE8}, {0x01AF, 0x0303, 0x1EEE}, {0x01AF, 0x0309, 0x1EEC}, {0x01AF, 0x0323, 0x1EF0},
    {0x01B0, 0x0300, 0x1EEB}, {0x01B0, 0x0301, 0x1EE9}, {0x01B0, 0x0303, 0x1EEF}, {0x01B0, 0x0309, 0x1EED},
    {0x01B0, 0x0323, 0x1EF1}, {0x01B7, 0x030C, 0x01EE}, {0x01EA, 0x0304, 0x01EC}, {0x01EB, 0x0304, 0x01ED},
    {0x0226, 0x0304, 0x01E0}, {0x0227, 0x0304, 0x01E1}, {0x0228, 0x0306, 0x1E1C}, {0x0229, 0x0306, 0x1E1D},
    {0x022E, 0x0304, 0x0230}, {0x022F, 0x0304, 0x0231}, {0x0292, 0x030C, 0x01EF}, {0x1E36, 0x0304, 0x1E38},
    {0x1E37, 0x0304, 0x1E39}, {0x1E5A, 0x0304, 0x1E5C}, {0x1E5B, 0x0304, 0x1E5D}, {0x1E62, 0x0307, 0x1E68},
    {0x1E63, 0x0307, 0x1E69}, {0x1EA0, 0x0302, 0x1EAC}, {0x1EA0, 0x0306, 0x1EB6}, {0x1EA1, 0x0302, 0x1EAD},
    {0x1EA1, 0x0306, 0x1EB7}, {0x1EB8, 0x0302, 0x1EC6}, {0x1EB9, 0x0302, 0x1EC7}, {0x1ECC, 0x0302, 0x1ED8},
    {0x1ECD, 0x0302, 0x1ED9},
};

template <size_t N> uint32_t mapByRuns(const CaseRun (&runs)[N], uint32_t c)
{
    size_t lo = 0;
    size_t hi = N;
    while (lo < hi)
    {
        const size_t mid = (lo + hi) / 2;
        if (runs[mid].first <= c)
            lo = mid + 1;
        else
            hi = mid;
    }
    if (lo == 0) return c;
    const CaseRun& run = runs[lo - 1];
    if (c > run.last || (c - run.first) % run.stride != 0) return c;
    return static_cast<uint32_t>(static_cast<int32_t>(c) + run.delta);
}

uint32_t lowerOf(uint32_t c)
{
    if (c < 0x80) return (c >= 'A' && c <= 'Z') ? c + 32 : c;
    return c > 0xFFFF ? c : mapByRuns(kToLowerRuns, c);
}

uint32_t upperOf(uint32_t c)
{
    if (c < 0x80) return (c >= 'a' && c <= 'z') ? c - 32 : c;
    return c > 0xFFFF ? c : mapByRuns(kToUpperRuns, c);
}

uint32_t caseOf(uint32_t c, bool upper)
{
    return upper ? upperOf(c) : lowerOf(c);
}

bool isLetter(uint32_t c)
{
    if (c < 0x80) return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    size_t lo = 0;
    size_t hi = sizeof kLetterRanges / sizeof kLetterRanges[0];
    while (lo < hi)
    {
        const size_t mid = (lo + hi) / 2;
        if (kLetterRanges[mid].last < c)
            lo = mid + 1;
        else
            hi = mid;
    }
    return lo < sizeof kLetterRanges / sizeof kLetterRanges[0] && kLetterRanges[lo].first <= c;
}

bool isSpaceSeparator(uint32_t c)
{
    return c == 32 || c == 160 || (c >= 8194 && c <= 8203) || c == 8239 || c == 8287 || c == 12288;
}

bool isCDigit(uint32_t c)
{
    return c >= '0' && c <= '9';
}

bool isCSpace(uint32_t c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// The precomposed form of base + mark, or 0.
uint32_t composeOf(uint32_t base, uint32_t mark)
{
    size_t lo = 0;
    size_t hi = sizeof kCompositions / sizeof kCompositions[0];
    while (lo < hi)
    {
        const size_t mid = (lo + hi) / 2;
        const Composition& e = kCompositions[mid];
        if (e.base < base || (e.base == base && e.mark < mark))
            lo = mid + 1;
        else
            hi = mid;
    }
    if (lo < sizeof kCompositions / sizeof kCompositions[0] && kCompositions[lo].base == base &&
        kCompositions[lo].mark == mark)
        return kCompositions[lo].composed;
    return 0;
}

// Composes in place; gives the new count.
uint32_t composeUnits(char16_t* units, uint32_t count)
{
    uint32_t out = 0;
    for (uint32_t i = 0; i < count; ++i)
    {
        const char16_t c = units[i];
        if (out > 0 && c >= 0x300 && c < 0x370)
        {
            const uint32_t composed = composeOf(units[out - 1], c);
            if (composed)
            {
                units[out - 1] = static_cast<char16_t>(composed);
                continue;
            }
        }
        units[out++] = c;
    }
    return out;
}

// ---------------------------------------------------------------------------------------------
// Encodings. 8-bit text in the default code page is UTF-8, so that text reads the same on both
// platforms.

// The code point of the UTF-8 sequence at `i`, or -1 if the bytes there don't form a valid one;
// `len` is the sequence's length, 1 for an invalid byte.
int32_t decodeUtf8(const char* text, uint32_t count, uint32_t i, uint32_t& len)
{
    const auto byte = [&](uint32_t k) { return static_cast<uint8_t>(text[k]); };
    const uint8_t b0 = byte(i);
    len = 1;
    if (b0 < 0x80) return b0;
    uint32_t need = 0;
    uint32_t cp = 0;
    uint8_t lo = 0x80;
    uint8_t hi = 0xBF;
    if (b0 >= 0xC2 && b0 <= 0xDF)
    {
        need = 1;
        cp = b0 & 0x1F;
    }
    else if (b0 >= 0xE0 && b0 <= 0xEF)
    {
        need = 2;
        cp = b0 & 0x0F;
        if (b0 == 0xE0)
            lo = 0xA0; // no overlong forms
        else if (b0 == 0xED)
            hi = 0x9F; // no surrogates
    }
    else if (b0 >= 0xF0 && b0 <= 0xF4)
    {
        need = 3;
        cp = b0 & 0x07;
        if (b0 == 0xF0)
            lo = 0x90;
        else if (b0 == 0xF4)
            hi = 0x8F; // nothing beyond U+10FFFF
    }
    else
        return -1;
    if (i + need >= count) return -1;
    for (uint32_t k = 1; k <= need; ++k)
    {
        const uint8_t b = byte(i + k);
        if (b < (k == 1 ? lo : 0x80) || b > (k == 1 ? hi : 0xBF)) return -1;
        cp = (cp << 6) | (b & 0x3F);
    }
    len = need + 1;
    return static_cast<int32_t>(cp);
}

// The code point at `i` of a text of either width. Invalid 8-bit bytes read as Latin-1, lone
// surrogates as themselves.
uint32_t charAt(const void* text, uint32_t count, bool wide, uint32_t i, uint32_t& len)
{
    if (wide)
    {
        const char16_t* s = static_cast<const char16_t*>(text);
        const char16_t u = s[i];
        len = 1;
        if (u >= 0xD800 && u < 0xDC00 && i + 1 < count && s[i + 1] >= 0xDC00 && s[i + 1] < 0xE000)
        {
            len = 2;
            return 0x10000 + ((u - 0xD800u) << 10) + (s[i + 1] - 0xDC00u);
        }
        return u;
    }
    const char* s = static_cast<const char*>(text);
    const int32_t cp = decodeUtf8(s, count, i, len);
    return cp < 0 ? static_cast<uint8_t>(s[i]) : static_cast<uint32_t>(cp);
}

uint32_t utf8Length(uint32_t cp)
{
    return cp < 0x80 ? 1 : cp < 0x800 ? 2 : cp < 0x10000 ? 3 : 4;
}

void encodeUtf8(uint32_t cp, char* out)
{
    const uint32_t n = utf8Length(cp);
    if (n == 1)
    {
        out[0] = static_cast<char>(cp);
        return;
    }
    static const uint8_t lead[5] = {0, 0, 0xC0, 0xE0, 0xF0};
    for (uint32_t k = n - 1; k > 0; --k)
    {
        out[k] = static_cast<char>(0x80 | (cp & 0x3F));
        cp >>= 6;
    }
    out[0] = static_cast<char>(lead[n] | cp);
}

const char16_t kWindows1252High[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                       0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                       0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                       0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

enum class CodePage
{
    utf8,
    windows1252,
    latin1,
    ascii,
    unknown
};

CodePage codePageOf(uint32_t codePage)
{
    switch (codePage)
    {
    case 0:
    case 65001:
        return CodePage::utf8;
    case 1252:
        return CodePage::windows1252;
    case 28591:
        return CodePage::latin1;
    case 20127:
        return CodePage::ascii;
    default:
        return CodePage::unknown;
    }
}

// Converts 8-bit text to UTF-16, or only counts with a null `out`. Gives the number of units,
// -1 for a byte sequence the code page doesn't define or an unknown code page.
int64_t decodeCodePage(uint32_t codePage, const char* in, uint32_t count, char16_t* out)
{
    const CodePage page = codePageOf(codePage);
    if (page == CodePage::unknown) return -1;
    int64_t n = 0;
    for (uint32_t i = 0; i < count;)
    {
        const uint8_t b = static_cast<uint8_t>(in[i]);
        uint32_t cp = b;
        uint32_t len = 1;
        if (b >= 0x80)
        {
            switch (page)
            {
            case CodePage::utf8:
            {
                const int32_t decoded = decodeUtf8(in, count, i, len);
                if (decoded < 0) return -1;
                cp = static_cast<uint32_t>(decoded);
                break;
            }
            case CodePage::windows1252:
                if (b < 0xA0) cp = kWindows1252High[b - 0x80];
                break;
            case CodePage::ascii:
                return -1;
            default:
                break;
            }
        }
        if (cp >= 0x10000)
        {
            if (out)
            {
                out[n] = static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10));
                out[n + 1] = static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF));
            }
            n += 2;
        }
        else
        {
            if (out) out[n] = static_cast<char16_t>(cp);
            ++n;
        }
        i += len;
    }
    return n;
}

// Converts UTF-16 to 8-bit text, or only counts with a null `out`. Into UTF-8 a lone surrogate
// fails the conversion; the single-byte code pages write '?' for what they cannot show.
int64_t encodeCodePage(uint32_t codePage, const char16_t* in, uint32_t count, char* out)
{
    const CodePage page = codePageOf(codePage);
    if (page == CodePage::unknown) return -1;
    int64_t n = 0;
    for (uint32_t i = 0; i < count;)
    {
        const char16_t u = in[i];
        if (page == CodePage::utf8)
        {
            uint32_t len = 1;
            const uint32_t cp = charAt(in, count, true, i, len);
            if (cp >= 0xD800 && cp < 0xE000) return -1;
            if (out) encodeUtf8(cp, out + n);
            n += utf8Length(cp);
            i += len;
            continue;
        }
        char b = '?';
        if (u < 0x80)
            b = static_cast<char>(u);
        else if (page == CodePage::latin1 && u <= 0xFF)
            b = static_cast<char>(u);
        else if (page == CodePage::windows1252)
        {
            if (u >= 0xA0 && u <= 0xFF)
                b = static_cast<char>(u);
            else
                for (int k = 0; k < 32; ++k)
                    if (kWindows1252High[k] == u) b = static_cast<char>(0x80 + k);
        }
        if (out) out[n] = b;
        ++n;
        ++i;
    }
    return n;
}

// Heap copies in the other width; null on failure.
char16_t* convertToWideText(uint32_t codePage, const char* in, uint32_t count, uint32_t& outCount)
{
    const int64_t n = decodeCodePage(codePage, in, count, nullptr);
    if (n < 0 || n > ConstString::kMaxLength) return nullptr;
    auto* out = static_cast<char16_t*>(allocText(static_cast<uint64_t>(n), true));
    if (!out) return nullptr;
    decodeCodePage(codePage, in, count, out);
    out[n] = 0;
    outCount = static_cast<uint32_t>(n);
    return out;
}

char* convertToNarrowText(uint32_t codePage, const char16_t* in, uint32_t count, uint32_t& outCount)
{
    const int64_t n = encodeCodePage(codePage, in, count, nullptr);
    if (n < 0 || n > ConstString::kMaxLength) return nullptr;
    auto* out = static_cast<char*>(allocText(static_cast<uint64_t>(n), false));
    if (!out) return nullptr;
    encodeCodePage(codePage, in, count, out);
    out[n] = 0;
    outCount = static_cast<uint32_t>(n);
    return out;
}

// Widens for comparing only: invalid UTF-8 bytes are taken as Latin-1 rather than failing, so
// that any two texts can be compared.
char16_t* widenLeniently(const char* in, uint32_t count, uint32_t& outCount)
{
    uint64_t n = 0;
    for (uint32_t i = 0; i < count;)
    {
        uint32_t len = 1;
        n += charAt(in, count, false, i, len) >= 0x10000 ? 2 : 1;
        i += len;
    }
    auto* out = static_cast<char16_t*>(allocText(n, true));
    if (!out) return nullptr;
    uint32_t k = 0;
    for (uint32_t i = 0; i < count;)
    {
        uint32_t len = 1;
        const uint32_t cp = charAt(in, count, false, i, len);
        if (cp >= 0x10000)
        {
            out[k++] = static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10));
            out[k++] = static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF));
        }
        else
            out[k++] = static_cast<char16_t>(cp);
        i += len;
    }
    out[k] = 0;
    outCount = k;
    return out;
}

// Changes case in place without changing the byte length of any character: a mapping that
// would need more or fewer bytes in UTF-8 is left out. Invalid bytes are treated as Latin-1.
void changeCase8(char* text, uint32_t count, bool upper, int64_t onlyIndex)
{
    for (uint32_t i = 0; i < count;)
    {
        uint32_t len = 1;
        const int32_t cp = decodeUtf8(text, count, i, len);
        if (onlyIndex < 0 || onlyIndex == i)
        {
            if (cp < 0)
            {
                const uint32_t mapped = caseOf(static_cast<uint8_t>(text[i]), upper);
                if (mapped >= 0x80 && mapped <= 0xFF) text[i] = static_cast<char>(mapped);
            }
            else
            {
                const uint32_t mapped = caseOf(static_cast<uint32_t>(cp), upper);
                if (mapped != static_cast<uint32_t>(cp) && utf8Length(mapped) == len)
                    encodeUtf8(mapped, text + i);
            }
        }
        i += len;
    }
}

void changeCase16(char16_t* text, uint32_t count, bool upper, int64_t onlyIndex)
{
    for (uint32_t i = 0; i < count; ++i)
        if (onlyIndex < 0 || onlyIndex == i) text[i] = static_cast<char16_t>(caseOf(text[i], upper));
}

// The form in which characters are compared when case doesn't count. A lone byte folds like
// an invalid byte inside an 8-bit text.
uint32_t foldUnit(uint32_t unit, bool wide)
{
    const uint32_t lower = lowerOf(unit);
    if (!wide && unit >= 0x80) return lower <= 0xFF ? lower : unit;
    return lower;
}

// ---------------------------------------------------------------------------------------------

// A run of characters taken from a text, which can be turned into a private copy in the other
// width or in lower case for one operation.
class TextRun
{
public:
    explicit TextRun(const ConstString& s)
        : data(s.ptr()), count(s.ptr() ? s.getLength() : 0), wide(s.isWideString())
    {
    }
    TextRun(const void* p, uint32_t n, bool w) : data(p), count(p ? n : 0), wide(w) {}
    ~TextRun() { std::free(owned); }
    TextRun(const TextRun&) = delete;
    TextRun& operator=(const TextRun&) = delete;

    const char* s8() const { return static_cast<const char*>(data); }
    const char16_t* s16() const { return static_cast<const char16_t*>(data); }
    uint32_t unit(uint32_t i) const { return wide ? s16()[i] : static_cast<uint8_t>(s8()[i]); }
    bool isNull() const { return data == nullptr; }

    void limit(int32_t max)
    {
        if (max >= 0 && static_cast<uint32_t>(max) < count) count = static_cast<uint32_t>(max);
    }

    // `lenient` takes invalid bytes as Latin-1; otherwise they fail the conversion.
    bool toWidth(bool w, bool lenient)
    {
        if (w == wide || count == 0)
        {
            wide = w;
            if (count == 0 && data)
                data = w ? static_cast<const void*>(kEmpty16) : static_cast<const void*>(kEmpty8);
            return true;
        }
        uint32_t n = 0;
        void* copy = nullptr;
        if (w)
            copy = lenient ? widenLeniently(s8(), count, n) : convertToWideText(0, s8(), count, n);
        else
            copy = convertToNarrowText(0, s16(), count, n);
        if (!copy) return false;
        adopt(copy, n, w);
        return true;
    }

    bool fold()
    {
        if (!makeOwned()) return false;
        if (wide)
            for (uint32_t i = 0; i < count; ++i)
                static_cast<char16_t*>(owned)[i] = static_cast<char16_t>(lowerOf(s16()[i]));
        else
            changeCase8(static_cast<char*>(owned), count, false, -1);
        return true;
    }

    // A private copy, so that the run stays valid while the text it came from changes.
    bool makeOwned()
    {
        if (owned || !data) return true;
        void* copy = allocText(count, wide);
        if (!copy) return false;
        std::memcpy(copy, data, count * unitSize(wide));
        std::memset(static_cast<char*>(copy) + count * unitSize(wide), 0, unitSize(wide));
        adopt(copy, count, wide);
        return true;
    }

    const void* data;
    uint32_t count;
    bool wide;

private:
    void adopt(void* p, uint32_t n, bool w)
    {
        std::free(owned);
        owned = p;
        data = p;
        count = n;
        wide = w;
    }

    void* owned = nullptr;
};

// Brings `other` to the width of `self` for an operation whose indices refer to `self`. If the
// other cannot be had in 8 bits, `widenSelf` lets the self side become wide instead.
bool matchWidth(TextRun& self, TextRun& other, bool widenSelf)
{
    if (self.wide == other.wide) return true;
    if (self.wide) return other.toWidth(true, true);
    if (other.toWidth(false, false)) return true;
    return widenSelf && self.toWidth(true, true);
}

bool unitsEqual(const TextRun& a, uint32_t ai, const TextRun& b, uint32_t bi, uint32_t n)
{
    if (a.wide) return std::memcmp(a.s16() + ai, b.s16() + bi, n * sizeof(char16_t)) == 0;
    return std::memcmp(a.s8() + ai, b.s8() + bi, n) == 0;
}

// Like the C library's bounded comparison: unit by unit up to `limit` (-1 for no limit), the
// end of a text reading as 0. Both runs have one width.
int32_t compareRuns(const TextRun& a, const TextRun& b, int64_t limit)
{
    for (uint64_t i = 0; limit < 0 || i < static_cast<uint64_t>(limit); ++i)
    {
        const uint32_t ca = i < a.count ? a.unit(static_cast<uint32_t>(i)) : 0;
        const uint32_t cb = i < b.count ? b.unit(static_cast<uint32_t>(i)) : 0;
        if (ca != cb) return ca < cb ? -1 : 1;
        if (ca == 0) return 0;
    }
    return 0;
}

int32_t findInRun(const TextRun& hay, const TextRun& needle, int64_t start, int64_t last)
{
    if (needle.count == 0 || needle.count > hay.count) return -1;
    if (start < 0) start = 0;
    const int64_t maxStart = static_cast<int64_t>(hay.count) - needle.count;
    if (last < 0 || last > maxStart) last = maxStart;
    for (int64_t i = start; i <= last; ++i)
        if (unitsEqual(hay, static_cast<uint32_t>(i), needle, 0, needle.count))
            return static_cast<int32_t>(i);
    return -1;
}

// A text of either width as 8-bit characters at the same indices, for number scanning: the
// characters a number is made of are all ASCII, anything else becomes a byte that stops a scan.
class ScanCopy
{
public:
    ScanCopy(const void* text, uint32_t count, bool wide, uint32_t from)
    {
        const uint32_t n = from < count ? count - from : 0;
        copy = static_cast<char*>(allocText(n, false));
        if (!copy) return;
        for (uint32_t i = 0; i < n; ++i)
        {
            const uint32_t u = wide ? static_cast<const char16_t*>(text)[from + i]
                                    : static_cast<uint8_t>(static_cast<const char*>(text)[from + i]);
            copy[i] = u < 0x80 ? static_cast<char>(u) : '\x01';
        }
        copy[n] = 0;
        size = n;
    }
    ~ScanCopy() { std::free(copy); }
    ScanCopy(const ScanCopy&) = delete;
    ScanCopy& operator=(const ScanCopy&) = delete;

    char* copy = nullptr;
    uint32_t size = 0;
};

// One number at the start of `text`, read as the C library's formats read it: leading white
// space, a sign, digits. Out-of-range values stop at the largest value, as the library does.
bool parseInt64(const char* text, int64_t& value)
{
    char* end = nullptr;
    const long long v = std::strtoll(text, &end, 10);
    if (end == text) return false;
    value = v;
    return true;
}

bool parseUInt64(const char* text, uint64_t& value, int base)
{
    char* end = nullptr;
    const unsigned long long v = std::strtoull(text, &end, base);
    if (end == text) return false;
    value = v;
    return true;
}

// Reads a decimal number with "." as its point whatever the process's locale says.
bool parseDouble(const char* text, double& value)
{
    const char* p = text;
    while (*p && isCSpace(static_cast<uint8_t>(*p)))
        ++p;
    bool negative = false;
    if (*p == '+' || *p == '-')
    {
        negative = *p == '-';
        ++p;
        if (*p == '+' || *p == '-') return false;
    }
    const char* end = p + std::strlen(p);
    double v = 0;
    const auto result = std::from_chars(p, end, v, std::chars_format::general);
    if (result.ptr == p) return false;
    if (result.ec == std::errc::result_out_of_range)
        v = std::strtod(p, nullptr); // gives the infinity or zero the library's scan gives
    value = negative ? -v : v;
    return true;
}

template <class Parse> bool scanOnFrom(const char* text, uint32_t count, bool scanOn, Parse parse)
{
    for (uint32_t i = 0; i < count; ++i)
    {
        if (parse(text + i)) return true;
        if (!scanOn) return false;
    }
    return false;
}

template <class C, class Parse> bool scanStatic(const C* text, bool scanOn, Parse parse)
{
    if (!text) return false;
    const uint32_t n = scanLength(text);
    if constexpr (sizeof(C) == 1)
        return scanOnFrom(text, n, scanOn, parse);
    else
    {
        ScanCopy copy(text, n, true, 0);
        return copy.copy && scanOnFrom(copy.copy, copy.size, scanOn, parse);
    }
}

template <class C> uint32_t hashText(const C* text, uint32_t modulus)
{
    if (!text || modulus == 0) return 0;
    uint32_t h = 0;
    for (; *text; ++text)
    {
        // A 32-bit sum that wraps, with 8-bit characters sign-extended.
        const uint32_t c = sizeof(C) == 1
                               ? static_cast<uint32_t>(static_cast<int32_t>(static_cast<signed char>(*text)))
                               : static_cast<uint32_t>(*text);
        h = static_cast<uint32_t>(c + (h << 6)) % modulus;
    }
    return h;
}

// ---------------------------------------------------------------------------------------------
// Formatting with a 16-bit format. The numbers are formatted by the C library from a narrow
// copy of each conversion; text and characters are handled here because the library has no
// 16-bit formatting that is the same on both platforms.

class WideSink
{
public:
    WideSink(char16_t* o, uint32_t c) : out(o), capacity(c) {}
    void put(uint32_t unit)
    {
        if (count + 1 < capacity) out[count++] = static_cast<char16_t>(unit);
    }
    void putAscii(const char* text)
    {
        for (; *text; ++text)
            put(static_cast<uint8_t>(*text));
    }
    void pad(int64_t n)
    {
        for (; n > 0; --n)
            put(' ');
    }
    uint32_t finish()
    {
        out[count] = 0;
        return count;
    }

private:
    char16_t* out;
    uint32_t capacity;
    uint32_t count = 0;
};

enum class LengthModifier
{
    none,
    hh,
    h,
    l,
    ll,
    j,
    z,
    t,
    L
};

// Units of a text argument, up to `max` (-1 for all); 8-bit text counts as it will be widened.
uint32_t countArgumentUnits(const void* text, bool wide, int64_t max)
{
    uint32_t n = 0;
    const uint32_t size =
        wide ? scanLength(static_cast<const char16_t*>(text)) : scanLength(static_cast<const char*>(text));
    for (uint32_t i = 0; i < size && (max < 0 || n < max);)
    {
        uint32_t len = 1;
        const uint32_t cp = charAt(text, size, wide, i, len);
        const uint32_t units = wide ? len : (cp >= 0x10000 ? 2 : 1);
        if (max >= 0 && n + units > max) break;
        n += units;
        i += len;
    }
    return n;
}

void putArgumentText(WideSink& sink, const void* text, bool wide, uint32_t units)
{
    const uint32_t size =
        wide ? scanLength(static_cast<const char16_t*>(text)) : scanLength(static_cast<const char*>(text));
    uint32_t n = 0;
    for (uint32_t i = 0; i < size && n < units;)
    {
        uint32_t len = 1;
        const uint32_t cp = charAt(text, size, wide, i, len);
        if (cp >= 0x10000)
        {
            sink.put(0xD800 + ((cp - 0x10000) >> 10));
            sink.put(0xDC00 + ((cp - 0x10000) & 0x3FF));
            n += 2;
        }
        else
        {
            sink.put(cp);
            ++n;
        }
        i += len;
    }
}

uint32_t formatWide(char16_t* out, uint32_t capacity, const char16_t* f, va_list* ap)
{
    WideSink sink(out, capacity);
    while (*f)
    {
        if (*f != u'%')
        {
            sink.put(*f++);
            continue;
        }
        const char16_t* conversionStart = f++;
        if (*f == u'%')
        {
            sink.put(u'%');
            ++f;
            continue;
        }
        char conversionText[64] = {'%'};
        size_t k = 1;
        bool left = false;
        while (*f == u'-' || *f == u'+' || *f == u' ' || *f == u'#' || *f == u'0')
        {
            left = left || *f == u'-';
            if (k < 16) conversionText[k++] = static_cast<char>(*f);
            ++f;
        }
        int64_t width = -1;
        if (*f == u'*')
        {
            width = va_arg(*ap, int);
            if (width < 0)
            {
                left = true;
                width = -width;
                conversionText[k++] = '-';
            }
            ++f;
        }
        else
            for (; *f >= u'0' && *f <= u'9'; ++f)
            {
                width = (width < 0 ? 0 : width) * 10 + (*f - u'0');
                if (width > 4096) width = 4096; // more than the buffer holds anyway
            }
        int64_t precision = -1;
        if (*f == u'.')
        {
            ++f;
            precision = 0;
            if (*f == u'*')
            {
                precision = va_arg(*ap, int);
                ++f;
            }
            else
                for (; *f >= u'0' && *f <= u'9'; ++f)
                {
                    precision = precision * 10 + (*f - u'0');
                    if (precision > 4096) precision = 4096;
                }
        }
        LengthModifier length = LengthModifier::none;
        if (*f == u'h')
            length = (*++f == u'h') ? (++f, LengthModifier::hh) : LengthModifier::h;
        else if (*f == u'l')
            length = (*++f == u'l') ? (++f, LengthModifier::ll) : LengthModifier::l;
        else if (*f == u'j' || *f == u'z' || *f == u't' || *f == u'L')
        {
            length = *f == u'j'   ? LengthModifier::j
                     : *f == u'z' ? LengthModifier::z
                     : *f == u't' ? LengthModifier::t
                                  : LengthModifier::L;
            ++f;
        }
        const char16_t conversion = *f;
        if (!conversion) break;
        ++f;
        if (width >= 0)
            k += static_cast<size_t>(
                std::snprintf(conversionText + k, sizeof conversionText - k, "%d", static_cast<int>(width)));
        if (precision >= 0)
            k += static_cast<size_t>(std::snprintf(conversionText + k, sizeof conversionText - k, ".%d",
                                                   static_cast<int>(precision)));
        char number[512];
        switch (conversion)
        {
        case u'd':
        case u'i':
        {
            long long v = 0;
            switch (length)
            {
            case LengthModifier::hh:
                v = static_cast<signed char>(va_arg(*ap, int));
                break;
            case LengthModifier::h:
                v = static_cast<short>(va_arg(*ap, int));
                break;
            case LengthModifier::l:
                v = va_arg(*ap, long);
                break;
            case LengthModifier::ll:
            case LengthModifier::L:
                v = va_arg(*ap, long long);
                break;
            case LengthModifier::j:
                v = va_arg(*ap, std::intmax_t);
                break;
            case LengthModifier::z:
            case LengthModifier::t:
                v = va_arg(*ap, std::ptrdiff_t);
                break;
            default:
                v = va_arg(*ap, int);
            }
            std::snprintf(conversionText + k, sizeof conversionText - k, "lld");
            std::snprintf(number, sizeof number, conversionText, v);
            sink.putAscii(number);
            break;
        }
        case u'u':
        case u'o':
        case u'x':
        case u'X':
        {
            unsigned long long v = 0;
            switch (length)
            {
            case LengthModifier::hh:
                v = static_cast<unsigned char>(va_arg(*ap, unsigned int));
                break;
            case LengthModifier::h:
                v = static_cast<unsigned short>(va_arg(*ap, unsigned int));
                break;
            case LengthModifier::l:
                v = va_arg(*ap, unsigned long);
                break;
            case LengthModifier::ll:
            case LengthModifier::L:
                v = va_arg(*ap, unsigned long long);
                break;
            case LengthModifier::j:
                v = va_arg(*ap, std::uintmax_t);
                break;
            case LengthModifier::z:
            case LengthModifier::t:
                v = va_arg(*ap, size_t);
                break;
            default:
                v = va_arg(*ap, unsigned int);
            }
            std::snprintf(conversionText + k, sizeof conversionText - k, "ll%c",
                          static_cast<char>(conversion));
            std::snprintf(number, sizeof number, conversionText, v);
            sink.putAscii(number);
            break;
        }
        case u'f':
        case u'F':
        case u'e':
        case u'E':
        case u'g':
        case u'G':
        case u'a':
        case u'A':
            if (length == LengthModifier::L)
            {
                std::snprintf(conversionText + k, sizeof conversionText - k, "L%c",
                              static_cast<char>(conversion));
                std::snprintf(number, sizeof number, conversionText, va_arg(*ap, long double));
            }
            else
            {
                std::snprintf(conversionText + k, sizeof conversionText - k, "%c",
                              static_cast<char>(conversion));
                std::snprintf(number, sizeof number, conversionText, va_arg(*ap, double));
            }
            sink.putAscii(number);
            break;
        case u'p':
            std::snprintf(conversionText + k, sizeof conversionText - k, "p");
            std::snprintf(number, sizeof number, conversionText, va_arg(*ap, void*));
            sink.putAscii(number);
            break;
        case u'c':
        case u'C':
        {
            const int c = va_arg(*ap, int);
            const bool narrow = (conversion == u'c') == (length == LengthModifier::h);
            if (!left) sink.pad(width - 1);
            sink.put(narrow ? static_cast<uint8_t>(c) : static_cast<char16_t>(c));
            if (left) sink.pad(width - 1);
            break;
        }
        case u's':
        case u'S':
        {
            // %s is text of the format's width; h asks for 8-bit, l for 16-bit text.
            const bool narrow =
                conversion == u's' ? length == LengthModifier::h : length != LengthModifier::l;
            const void* text = va_arg(*ap, const void*);
            if (!text)
                text = narrow ? static_cast<const void*>("(null)") : static_cast<const void*>(u"(null)");
            const uint32_t units = countArgumentUnits(text, !narrow, precision);
            if (!left) sink.pad(width - units);
            putArgumentText(sink, text, !narrow, units);
            if (left) sink.pad(width - units);
            break;
        }
        case u'n':
            (void)va_arg(*ap, void*); // a count written back through a pointer has no use here
            break;
        default:
            for (const char16_t* p = conversionStart; p < f; ++p)
                sink.put(*p);
        }
    }
    return sink.finish();
}
} // namespace

// ---------------------------------------------------------------------------------------------
// Variant

namespace
{
template <class C> C* duplicateText(const C* text)
{
    const uint32_t n = scanLength(text);
    auto* copy = static_cast<C*>(allocText(n, sizeof(C) == 2));
    if (!copy) return nullptr;
    std::memcpy(copy, text, n * sizeof(C));
    copy[n] = 0;
    return copy;
}
} // namespace

Variant::Variant(const char* text) : type(text ? kString8 : 0)
{
    payload.string8 = text;
}

Variant::Variant(const char16_t* text) : type(text ? kString16 : 0)
{
    payload.string16 = text;
}

Variant::Variant(FUnknown* object) : type(0)
{
    payload.intValue = 0;
    setObject(object, true);
}

Variant::Variant(const Variant& other) : type(0)
{
    payload.intValue = 0;
    const uint16_t kind = other.type & ~kOwner;
    if (kind & kString8)
    {
        if (char* copy = duplicateText(other.payload.string8)) takeString8(copy);
    }
    else if (kind & kString16)
    {
        if (char16_t* copy = duplicateText(other.payload.string16)) takeString16(copy);
    }
    else if (kind & kObject)
        setObject(other.payload.object, true);
    else
    {
        type = kind;
        payload = other.payload;
    }
}

Variant::Variant(Variant&& other) noexcept : type(other.type), payload(other.payload)
{
    other.type = 0;
    other.payload.intValue = 0;
}

Variant& Variant::operator=(const Variant& other)
{
    if (this != &other)
    {
        Variant copy(other);
        *this = std::move(copy);
    }
    return *this;
}

Variant& Variant::operator=(Variant&& other) noexcept
{
    if (this != &other)
    {
        clear();
        type = other.type;
        payload = other.payload;
        other.type = 0;
        other.payload.intValue = 0;
    }
    return *this;
}

Variant::~Variant()
{
    clear();
}

void Variant::clear()
{
    if (type & kOwner)
    {
        if (type & kString8)
            std::free(const_cast<char*>(payload.string8));
        else if (type & kString16)
            std::free(const_cast<char16_t*>(payload.string16));
        else if ((type & kObject) && payload.object)
            payload.object->release();
    }
    type = 0;
    payload.intValue = 0;
}

void Variant::setInt(int64_t value)
{
    clear();
    type = kInteger;
    payload.intValue = value;
}

void Variant::setFloat(double value)
{
    clear();
    type = kFloat;
    payload.floatValue = value;
}

void Variant::setString8(const char* text)
{
    clear();
    if (!text) return;
    type = kString8;
    payload.string8 = text;
}

void Variant::setString16(const char16_t* text)
{
    clear();
    if (!text) return;
    type = kString16;
    payload.string16 = text;
}

void Variant::setObject(FUnknown* object, bool addReference)
{
    clear();
    if (!object) return;
    if (addReference) object->addRef();
    type = kObject | kOwner;
    payload.object = object;
}

void Variant::takeString8(char* text)
{
    clear();
    if (!text) return;
    type = kString8 | kOwner;
    payload.string8 = text;
}

void Variant::takeString16(char16_t* text)
{
    clear();
    if (!text) return;
    type = kString16 | kOwner;
    payload.string16 = text;
}

// ---------------------------------------------------------------------------------------------
// ConstString

ConstString::ConstString(const char* text)
    : buffer(const_cast<char*>(text)), length(scanLength(text)), isWide(0)
{
}

ConstString::ConstString(const char16_t* text)
    : buffer(const_cast<char16_t*>(text)), length(scanLength(text)), isWide(1)
{
}

ConstString::ConstString(const ConstString& other, int32_t start)
    : buffer(other.buffer), length(other.length), isWide(other.isWide)
{
    if (start >= 1 && buffer)
    {
        const uint32_t skip = static_cast<uint32_t>(start) < length ? static_cast<uint32_t>(start) : length;
        buffer = static_cast<char*>(buffer) + skip * unitSize(isWide);
        length = length - skip;
    }
}

ConstString::ConstString(const Variant& value) : buffer(nullptr), length(0), isWide(0)
{
    if (value.isString8())
    {
        buffer = const_cast<char*>(value.getString8());
        length = scanLength(value.getString8());
    }
    else if (value.isString16())
    {
        buffer = const_cast<char16_t*>(value.getString16());
        length = scanLength(value.getString16());
        isWide = 1;
    }
}

const char* ConstString::text8() const
{
    return (!isWide && buffer) ? buffer8() : kEmpty8;
}

const char16_t* ConstString::text16() const
{
    return (isWide && buffer) ? buffer16() : kEmpty16;
}

char ConstString::getChar8(uint32_t index) const
{
    return (!isWide && buffer && index < length) ? buffer8()[index] : 0;
}

char16_t ConstString::getChar16(uint32_t index) const
{
    return (isWide && buffer && index < length) ? buffer16()[index] : 0;
}

int32_t ConstString::compare(const ConstString& other, int32_t mode) const
{
    return compareLimited(other, -1, mode);
}

int32_t ConstString::compareLimited(const ConstString& other, int32_t count, int32_t mode) const
{
    if (count == 0) return 0;
    if (other.isEmpty()) return isEmpty() ? 0 : 1;
    if (isEmpty()) return -1;
    TextRun a(*this);
    TextRun b(other);
    // Texts of different widths meet in 16 bits, where every 8-bit text has a form.
    if (a.wide != b.wide) (a.wide ? b : a).toWidth(true, true);
    if (a.wide != b.wide) return a.count < b.count ? -1 : 1; // only if the heap is exhausted
    if (mode != kCaseSensitive)
    {
        a.fold();
        b.fold();
    }
    return compareRuns(a, b, count);
}

int32_t ConstString::compareAt(uint32_t index, const ConstString& other, int32_t count, int32_t mode) const
{
    if (index >= length) return -1;
    const ConstString rest(*this, static_cast<int32_t>(index));
    return rest.compareLimited(other, count, mode);
}

int32_t ConstString::compareNatural(const ConstString& other, int32_t mode) const
{
    if (other.isEmpty()) return isEmpty() ? 0 : 1;
    if (isEmpty()) return -1;
    TextRun a(*this);
    TextRun b(other);
    if (a.wide != b.wide) (a.wide ? b : a).toWidth(true, true);
    if (a.wide != b.wide) return a.count < b.count ? -1 : 1;
    if (mode != kCaseSensitive)
    {
        a.fold();
        b.fold();
    }
    uint32_t i = 0;
    uint32_t j = 0;
    while (i < a.count && j < b.count)
    {
        const uint32_t ca = a.unit(i);
        const uint32_t cb = b.unit(j);
        if (isCDigit(ca) && isCDigit(cb))
        {
            uint32_t zerosA = 0;
            uint32_t zerosB = 0;
            while (i < a.count && a.unit(i) == '0')
                ++i, ++zerosA;
            while (j < b.count && b.unit(j) == '0')
                ++j, ++zerosB;
            uint32_t endA = i;
            uint32_t endB = j;
            while (endA < a.count && isCDigit(a.unit(endA)))
                ++endA;
            while (endB < b.count && isCDigit(b.unit(endB)))
                ++endB;
            // Without front zeros the longer run is the larger number; runs of one length
            // compare digit by digit.
            if (endA - i != endB - j) return endA - i < endB - j ? -1 : 1;
            for (; i < endA; ++i, ++j)
                if (a.unit(i) != b.unit(j)) return a.unit(i) < b.unit(j) ? -1 : 1;
            if (zerosA != zerosB) return zerosA < zerosB ? -1 : 1;
            j = endB;
            continue;
        }
        if (ca != cb) return ca < cb ? -1 : 1;
        ++i;
        ++j;
    }
    if (i < a.count) return 1;
    if (j < b.count) return -1;
    return 0;
}

bool ConstString::startsWith(const ConstString& other, int32_t mode) const
{
    if (other.isEmpty()) return isEmpty();
    TextRun self(*this);
    TextRun start(other);
    if (!matchWidth(self, start, true) || start.count > self.count) return false;
    if (mode != kCaseSensitive)
    {
        self.fold();
        start.fold();
    }
    return unitsEqual(self, 0, start, 0, start.count);
}

bool ConstString::endsWith(const ConstString& other, int32_t mode) const
{
    if (other.isEmpty()) return isEmpty();
    TextRun self(*this);
    TextRun end(other);
    if (!matchWidth(self, end, true) || end.count > self.count) return false;
    if (mode != kCaseSensitive)
    {
        self.fold();
        end.fold();
    }
    return unitsEqual(self, self.count - end.count, end, 0, end.count);
}

bool ConstString::contains(const ConstString& other, int32_t mode) const
{
    return find(0, other, -1, mode) >= 0;
}

int32_t ConstString::firstDifference(const ConstString& other, int32_t mode) const
{
    TextRun self(*this);
    TextRun peer(other);
    if (!matchWidth(self, peer, true)) return 0;
    if (mode != kCaseSensitive)
    {
        self.fold();
        peer.fold();
    }
    const uint32_t common = self.count < peer.count ? self.count : peer.count;
    uint32_t i = 0;
    while (i < common && self.unit(i) == peer.unit(i))
        ++i;
    if (i == self.count && i == peer.count) return -1;
    return static_cast<int32_t>(i);
}

int32_t ConstString::find(int32_t start, const ConstString& other, int32_t count, int32_t mode,
                          int32_t end) const
{
    TextRun self(*this);
    TextRun needle(other);
    needle.limit(count);
    if (needle.count == 0 || self.count == 0 || !matchWidth(self, needle, false)) return -1;
    if (mode != kCaseSensitive)
    {
        self.fold();
        needle.fold();
    }
    return findInRun(self, needle, start, end);
}

int32_t ConstString::findLast(int32_t start, const ConstString& other, int32_t count, int32_t mode) const
{
    TextRun self(*this);
    TextRun needle(other);
    needle.limit(count);
    if (needle.count == 0 || needle.count > self.count || !matchWidth(self, needle, false)) return -1;
    if (mode != kCaseSensitive)
    {
        self.fold();
        needle.fold();
    }
    int64_t from = (start < 0 || static_cast<uint32_t>(start) >= self.count) ? self.count - 1 : start;
    const int64_t maxStart = static_cast<int64_t>(self.count) - needle.count;
    if (from > maxStart) from = maxStart;
    for (int64_t i = from; i >= 0; --i)
        if (unitsEqual(self, static_cast<uint32_t>(i), needle, 0, needle.count))
            return static_cast<int32_t>(i);
    return -1;
}

namespace
{
// A character in the width of a text: 8-bit characters widen as Latin-1, and a 16-bit
// character has an 8-bit form only if it is ASCII. -1 if there is none.
int64_t charInWidth(uint32_t c, bool charIsWide, bool textIsWide)
{
    if (charIsWide == textIsWide || textIsWide) return c;
    return c < 0x80 ? static_cast<int64_t>(c) : -1;
}

// Walks the units of `text` from `first` to `last` in the given direction and gives the index of
// the first that equals `c`, or the number of them with `countAll`.
int32_t scanForChar(const ConstString& text, uint32_t c, bool charIsWide, int32_t mode, int64_t first,
                    int64_t last, int step, bool countAll)
{
    TextRun run(text);
    const int64_t unit = charInWidth(c, charIsWide, run.wide);
    if (unit < 0 || run.count == 0) return countAll ? 0 : -1;
    uint32_t wanted = static_cast<uint32_t>(unit);
    if (mode != ConstString::kCaseSensitive)
    {
        run.fold();
        wanted = foldUnit(wanted, run.wide);
    }
    int32_t found = 0;
    for (int64_t i = first; step > 0 ? i <= last : i >= last; i += step)
        if (run.unit(static_cast<uint32_t>(i)) == wanted)
        {
            if (!countAll) return static_cast<int32_t>(i);
            ++found;
        }
    return countAll ? found : -1;
}
} // namespace

int32_t ConstString::findChar(int32_t start, char c, int32_t mode, int32_t end) const
{
    const int64_t last = (end >= 0 && static_cast<uint32_t>(end) < length) ? end : int64_t(length) - 1;
    return scanForChar(*this, static_cast<uint8_t>(c), false, mode, start < 0 ? 0 : start, last, 1, false);
}

int32_t ConstString::findChar(int32_t start, char16_t c, int32_t mode, int32_t end) const
{
    const int64_t last = (end >= 0 && static_cast<uint32_t>(end) < length) ? end : int64_t(length) - 1;
    return scanForChar(*this, c, true, mode, start < 0 ? 0 : start, last, 1, false);
}

int32_t ConstString::findCharLast(int32_t start, char c, int32_t mode) const
{
    const int64_t first = (start < 0 || static_cast<uint32_t>(start) >= length) ? int64_t(length) - 1 : start;
    return scanForChar(*this, static_cast<uint8_t>(c), false, mode, first, 0, -1, false);
}

int32_t ConstString::findCharLast(int32_t start, char16_t c, int32_t mode) const
{
    const int64_t first = (start < 0 || static_cast<uint32_t>(start) >= length) ? int64_t(length) - 1 : start;
    return scanForChar(*this, c, true, mode, first, 0, -1, false);
}

int32_t ConstString::countChar(char c, int32_t start, int32_t mode) const
{
    return scanForChar(*this, static_cast<uint8_t>(c), false, mode, start < 0 ? 0 : start,
                       int64_t(length) - 1, 1, true);
}

int32_t ConstString::countChar(char16_t c, int32_t start, int32_t mode) const
{
    return scanForChar(*this, c, true, mode, start < 0 ? 0 : start, int64_t(length) - 1, 1, true);
}

bool ConstString::isAscii() const
{
    for (uint32_t i = 0; buffer && i < length; ++i)
        if ((isWide ? buffer16()[i] : static_cast<uint8_t>(buffer8()[i])) >= 0x80) return false;
    return true;
}

bool ConstString::isDigitAt(uint32_t index) const
{
    if (!buffer || index >= length) return false;
    return isCDigit(isWide ? buffer16()[index] : static_cast<uint8_t>(buffer8()[index]));
}

bool ConstString::isCharAt(uint32_t index, char c) const
{
    if (!buffer || index >= length) return c == 0;
    const uint32_t unit = isWide ? buffer16()[index] : static_cast<uint8_t>(buffer8()[index]);
    return unit == static_cast<uint8_t>(c);
}

bool ConstString::isCharAt(uint32_t index, char16_t c) const
{
    if (!buffer || index >= length) return c == 0;
    const int64_t wanted = charInWidth(c, true, isWide);
    const uint32_t unit = isWide ? buffer16()[index] : static_cast<uint8_t>(buffer8()[index]);
    return wanted >= 0 && unit == wanted;
}

bool ConstString::isSpace(char c)
{
    return isCSpace(static_cast<uint8_t>(c));
}

bool ConstString::isSpace(char16_t c)
{
    return isSpaceSeparator(c);
}

bool ConstString::isAlpha(char c)
{
    const auto u = static_cast<uint8_t>(c);
    return u < 0x80 && isLetter(u);
}

bool ConstString::isAlpha(char16_t c)
{
    return isLetter(c);
}

bool ConstString::isAlnum(char c)
{
    return isAlpha(c) || isDigit(c);
}

bool ConstString::isAlnum(char16_t c)
{
    return isAlpha(c) || isDigit(c);
}

bool ConstString::isDigit(char c)
{
    return isCDigit(static_cast<uint8_t>(c));
}

bool ConstString::isDigit(char16_t c)
{
    return isCDigit(c);
}

bool ConstString::isAsciiChar(char c)
{
    return static_cast<uint8_t>(c) < 0x80;
}

bool ConstString::isAsciiChar(char16_t c)
{
    return c < 0x80;
}

bool ConstString::isUpper(char c)
{
    return c >= 'A' && c <= 'Z';
}

bool ConstString::isUpper(char16_t c)
{
    return lowerOf(c) != c;
}

bool ConstString::isLower(char c)
{
    return c >= 'a' && c <= 'z';
}

bool ConstString::isLower(char16_t c)
{
    return upperOf(c) != c;
}

bool ConstString::scanInt32(int32_t& value, uint32_t offset, bool scanOn) const
{
    if (!buffer || offset >= length) return false;
    ScanCopy copy(buffer, length, isWide, offset);
    int64_t v = 0;
    if (!copy.copy ||
        !scanOnFrom(copy.copy, copy.size, scanOn, [&v](const char* p) { return parseInt64(p, v); }))
        return false;
    value = static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(v)));
    return true;
}

bool ConstString::scanUInt32(uint32_t& value, uint32_t offset, bool scanOn) const
{
    if (!buffer || offset >= length) return false;
    ScanCopy copy(buffer, length, isWide, offset);
    uint64_t v = 0;
    if (!copy.copy ||
        !scanOnFrom(copy.copy, copy.size, scanOn, [&v](const char* p) { return parseUInt64(p, v, 10); }))
        return false;
    value = static_cast<uint32_t>(v);
    return true;
}

bool ConstString::scanFloat(double& value, uint32_t offset, bool scanOn) const
{
    if (!buffer || offset >= length) return false;
    ScanCopy copy(buffer, length, isWide, offset);
    if (!copy.copy) return false;
    // A decimal comma reads like a point, whichever convention the text was written in.
    const char16_t comma = isWide ? LiteralTable::widenChar(',') : u',';
    for (uint32_t i = 0; i < copy.size; ++i)
    {
        const uint32_t unit = isWide ? buffer16()[offset + i] : static_cast<uint8_t>(buffer8()[offset + i]);
        if (unit == comma)
        {
            copy.copy[i] = '.';
            break;
        }
    }
    double v = 0;
    if (!scanOnFrom(copy.copy, copy.size, scanOn, [&v](const char* p) { return parseDouble(p, v); }))
        return false;
    value = v;
    return true;
}

bool ConstString::scanInt64(const char* text, int64_t& value, bool scanOn)
{
    return scanStatic(text, scanOn, [&value](const char* p) { return parseInt64(p, value); });
}

bool ConstString::scanInt64(const char16_t* text, int64_t& value, bool scanOn)
{
    return scanStatic(text, scanOn, [&value](const char* p) { return parseInt64(p, value); });
}

bool ConstString::scanUInt64(const char* text, uint64_t& value, bool scanOn)
{
    return scanStatic(text, scanOn, [&value](const char* p) { return parseUInt64(p, value, 10); });
}

bool ConstString::scanUInt64(const char16_t* text, uint64_t& value, bool scanOn)
{
    return scanStatic(text, scanOn, [&value](const char* p) { return parseUInt64(p, value, 10); });
}

namespace
{
bool parseHexByte(const char* p, uint8_t& value)
{
    uint64_t v = 0;
    if (!parseUInt64(p, v, 16)) return false;
    value = static_cast<uint8_t>(v);
    return true;
}
} // namespace

bool ConstString::scanHex(const char* text, uint8_t& value, bool scanOn)
{
    return scanStatic(text, scanOn, [&value](const char* p) { return parseHexByte(p, value); });
}

bool ConstString::scanHex(const char16_t* text, uint8_t& value, bool scanOn)
{
    return scanStatic(text, scanOn, [&value](const char* p) { return parseHexByte(p, value); });
}

int32_t ConstString::getTrailingNumberIndex(uint32_t width) const
{
    if (!buffer || length == 0) return -1;
    uint32_t start = length;
    while (start > 0 && isDigitAt(start - 1))
        --start;
    if (start == length || (width != 0 && length - start != width)) return -1;
    return static_cast<int32_t>(start);
}

int64_t ConstString::getTrailingNumber(int64_t fallback) const
{
    const int32_t start = getTrailingNumberIndex(0);
    if (start < 0) return fallback;
    ScanCopy copy(buffer, length, isWide, static_cast<uint32_t>(start));
    int64_t value = fallback;
    if (!copy.copy || !parseInt64(copy.copy, value)) return fallback;
    return value;
}

uint32_t ConstString::hash(const char* text, uint32_t modulus)
{
    return hashText(text, modulus);
}

uint32_t ConstString::hash(const char16_t* text, uint32_t modulus)
{
    return hashText(text, modulus);
}

int32_t ConstString::copyTo8(char* out, uint32_t start, int32_t count) const
{
    if (!out) return 0;
    out[0] = 0;
    if (!buffer || start >= length) return 0;
    uint32_t n = length - start;
    if (count >= 0 && static_cast<uint32_t>(count) < n) n = static_cast<uint32_t>(count);
    if (!isWide)
    {
        std::memcpy(out, buffer8() + start, n);
        out[n] = 0;
        return static_cast<int32_t>(n);
    }
    const int64_t written = encodeCodePage(0, buffer16() + start, n, nullptr);
    if (written < 0) return 0;
    encodeCodePage(0, buffer16() + start, n, out);
    out[written] = 0;
    return static_cast<int32_t>(written);
}

int32_t ConstString::copyTo16(char16_t* out, uint32_t start, int32_t count) const
{
    if (!out) return 0;
    out[0] = 0;
    if (!buffer || start >= length) return 0;
    uint32_t n = length - start;
    if (count >= 0 && static_cast<uint32_t>(count) < n) n = static_cast<uint32_t>(count);
    if (isWide)
    {
        std::memcpy(out, buffer16() + start, n * sizeof(char16_t));
        out[n] = 0;
        return static_cast<int32_t>(n);
    }
    const int64_t written = decodeCodePage(0, buffer8() + start, n, nullptr);
    if (written < 0) return 0;
    decodeCodePage(0, buffer8() + start, n, out);
    out[written] = 0;
    return static_cast<int32_t>(written);
}

bool ConstString::extract(String& out, uint32_t start, int32_t count) const
{
    if (!buffer || start >= length) return false;
    uint32_t n = length - start;
    if (count >= 0 && static_cast<uint32_t>(count) < n) n = static_cast<uint32_t>(count);
    const ConstString rest(*this, static_cast<int32_t>(start));
    String copy(rest, static_cast<int32_t>(n));
    if (copy.getLength() != n) return false;
    out.take(copy);
    return true;
}

void ConstString::toPascalString(uint8_t* out) const
{
    if (!out) return;
    TextRun run(*this);
    if (!run.toWidth(false, false)) run.count = 0;
    const uint32_t n = run.count < 255 ? run.count : 255;
    out[0] = static_cast<uint8_t>(n);
    if (n) std::memcpy(out + 1, run.s8(), n);
    out[1 + n] = 0;
}

Variant ConstString::toVariant() const
{
    if (isWide) return Variant(buffer ? buffer16() : kEmpty16);
    return Variant(buffer ? buffer8() : kEmpty8);
}

// ---------------------------------------------------------------------------------------------
// String

String::String()
{
    isWide = 1;
}

String::String(const char* text, int32_t count, bool terminated)
{
    assign(text, count, terminated);
}

String::String(const char16_t* text, int32_t count, bool terminated)
{
    isWide = 1;
    assign(text, count, terminated);
}

String::String(const Variant& value)
{
    isWide = 1;
    assignVariant(value);
}

String::String(const ConstString& other, int32_t count)
{
    isWide = other.isWideString();
    assign(other, count);
}

String::String(const String& other) : ConstString()
{
    isWide = other.isWide;
    assign(other);
}

String::String(String&& other) noexcept : ConstString()
{
    take(other);
}

String& String::operator=(const String& other)
{
    if (this != &other) assign(other);
    return *this;
}

String& String::operator=(String&& other) noexcept
{
    take(other);
    return *this;
}

String::~String()
{
    std::free(buffer);
}

void String::install(void* heapText, uint32_t newLength, bool wide) const
{
    if (heapText != buffer) std::free(buffer);
    buffer = heapText;
    length = newLength;
    isWide = wide;
    if (newLength == 0 && buffer)
    {
        // An empty string holds no buffer at all.
        std::free(buffer);
        buffer = nullptr;
    }
}

bool String::convertToWide(uint32_t codePage) const
{
    if (isWide) return true;
    if (!buffer || length == 0)
    {
        install(nullptr, 0, true);
        return true;
    }
    uint32_t n = 0;
    char16_t* converted = convertToWideText(codePage, buffer8(), length, n);
    if (!converted) return false;
    install(converted, n, true);
    return true;
}

bool String::convertToMultiByte(uint32_t codePage) const
{
    if (!buffer || length == 0)
    {
        install(nullptr, 0, false);
        return true;
    }
    if (!isWide)
    {
        if (codePage == 0) return true;
        // From the default code page to another one goes through 16 bits.
        uint32_t wideCount = 0;
        char16_t* wide = convertToWideText(0, buffer8(), length, wideCount);
        if (!wide) return false;
        uint32_t n = 0;
        char* converted = convertToNarrowText(codePage, wide, wideCount, n);
        std::free(wide);
        if (!converted) return false;
        install(converted, n, false);
        return true;
    }
    uint32_t n = 0;
    char* converted = convertToNarrowText(codePage, buffer16(), length, n);
    if (!converted) return false;
    install(converted, n, false);
    return true;
}

const char* String::text8() const
{
    convertToMultiByte(0);
    return ConstString::text8();
}

const char16_t* String::text16() const
{
    convertToWide(0);
    return ConstString::text16();
}

char String::getChar8(uint32_t index) const
{
    convertToMultiByte(0);
    return ConstString::getChar8(index);
}

char16_t String::getChar16(uint32_t index) const
{
    convertToWide(0);
    return ConstString::getChar16(index);
}

namespace
{
// The length an assignment takes, or -1 if it does nothing.
template <class C> int64_t assignedLength(const C* text, int32_t count, bool terminated)
{
    if (terminated)
    {
        const uint32_t n = scanLength(text);
        return (count >= 0 && static_cast<uint32_t>(count) < n) ? count : n;
    }
    if (count < 0) return -1;
    return text ? count : 0;
}
} // namespace

String& String::assign(const char* text, int32_t count, bool terminated)
{
    if (text && text == buffer) return *this;
    const int64_t n = assignedLength(text, count, terminated);
    if (n < 0) return *this;
    if (n == 0)
    {
        install(nullptr, 0, false);
        return *this;
    }
    char* copy = static_cast<char*>(allocText(static_cast<uint64_t>(n), false));
    if (!copy) return *this;
    std::memcpy(copy, text, static_cast<size_t>(n));
    copy[n] = 0;
    install(copy, static_cast<uint32_t>(n), false);
    return *this;
}

String& String::assign(const char16_t* text, int32_t count, bool terminated)
{
    if (text && text == buffer) return *this;
    const int64_t n = assignedLength(text, count, terminated);
    if (n < 0) return *this;
    if (n == 0)
    {
        install(nullptr, 0, true);
        return *this;
    }
    char16_t* copy = static_cast<char16_t*>(allocText(static_cast<uint64_t>(n), true));
    if (!copy) return *this;
    std::memcpy(copy, text, static_cast<size_t>(n) * sizeof(char16_t));
    copy[n] = 0;
    install(copy, static_cast<uint32_t>(n), true);
    return *this;
}

String& String::assign(const ConstString& other, int32_t count)
{
    uint32_t n = other.ptr() ? other.getLength() : 0;
    if (count >= 0 && static_cast<uint32_t>(count) < n) n = static_cast<uint32_t>(count);
    if (other.isWideString())
        return assign(static_cast<const char16_t*>(other.ptr()), static_cast<int32_t>(n), false);
    return assign(static_cast<const char*>(other.ptr()), static_cast<int32_t>(n), false);
}

String& String::assignChars(char c, uint32_t count)
{
    if (count == 0 || count > kMaxLength)
    {
        if (count == 0) install(nullptr, 0, false);
        return *this;
    }
    char* copy = static_cast<char*>(allocText(count, false));
    if (!copy) return *this;
    std::memset(copy, c, count);
    copy[count] = 0;
    install(copy, count, false);
    return *this;
}

String& String::assignChars(char16_t c, uint32_t count)
{
    if (count == 0 || count > kMaxLength)
    {
        if (count == 0) install(nullptr, 0, true);
        return *this;
    }
    char16_t* copy = static_cast<char16_t*>(allocText(count, true));
    if (!copy) return *this;
    for (uint32_t i = 0; i < count; ++i)
        copy[i] = c;
    copy[count] = 0;
    install(copy, count, true);
    return *this;
}

bool String::assignUtf8(const char* text)
{
    String utf8(text);
    if (text && utf8.getLength() != scanLength(text)) return false;
    if (!utf8.convertToWide(65001)) return false;
    take(utf8);
    return true;
}

bool String::assignVariant(const Variant& value)
{
    if (value.isString8())
    {
        const char* text = value.getString8();
        assign(text);
        return length == scanLength(text);
    }
    if (value.isString16())
    {
        const char16_t* text = value.getString16();
        assign(text);
        return length == scanLength(text);
    }
    if (value.isInt()) return printInt64(value.getInt());
    if (value.isFloat()) return printFloat(value.getFloat());
    install(nullptr, 0, isWide);
    return false;
}

String& String::fromPascalString(const uint8_t* text)
{
    if (text) assign(reinterpret_cast<const char*>(text) + 1, text[0], false);
    return *this;
}

void String::takeBuffer(void* heapText, bool wide)
{
    if (heapText == buffer) return;
    const uint32_t n = wide ? scanLength(static_cast<const char16_t*>(heapText))
                            : scanLength(static_cast<const char*>(heapText));
    install(heapText, n, wide);
}

void String::swap(String& other)
{
    void* b = buffer;
    const uint32_t n = length;
    const uint32_t w = isWide;
    buffer = other.buffer;
    length = other.length;
    isWide = other.isWide;
    other.buffer = b;
    other.length = n;
    other.isWide = w;
}

void String::take(String& other)
{
    if (&other == this) return;
    std::free(buffer);
    buffer = other.buffer;
    length = other.length;
    isWide = other.isWide;
    other.buffer = nullptr;
    other.length = 0;
}

void* String::detach()
{
    void* b = buffer;
    buffer = nullptr;
    length = 0;
    return b;
}

void String::detachToVariant(Variant& value)
{
    const bool wide = isWide;
    void* b = detach();
    if (wide)
    {
        if (b)
            value.takeString16(static_cast<char16_t*>(b));
        else
            value.setString16(kEmpty16);
    }
    else
    {
        if (b)
            value.takeString8(static_cast<char*>(b));
        else
            value.setString8(kEmpty8);
    }
}

bool String::splice(uint32_t index, uint32_t removeCount, const void* chars, uint32_t count)
{
    if (index > length) return false;
    if (removeCount > length - index) removeCount = length - index;
    const uint64_t newLength = uint64_t(length) - removeCount + count;
    if (newLength > kMaxLength) return false;
    if (newLength == 0)
    {
        install(nullptr, 0, isWide);
        return true;
    }
    const size_t unit = unitSize(isWide);
    auto* copy = static_cast<char*>(allocText(newLength, isWide));
    if (!copy) return false;
    const auto* old = static_cast<const char*>(buffer);
    if (index) std::memcpy(copy, old, index * unit);
    if (count) std::memcpy(copy + index * unit, chars, count * unit);
    const uint32_t tail = length - index - removeCount;
    if (tail) std::memcpy(copy + (index + count) * unit, old + (index + removeCount) * unit, tail * unit);
    std::memset(copy + newLength * unit, 0, unit);
    install(copy, static_cast<uint32_t>(newLength), isWide);
    return true;
}

bool String::prepareFor(bool wideArgument)
{
    if (!buffer || length == 0)
    {
        install(nullptr, 0, wideArgument);
        return true;
    }
    if (wideArgument && !isWide) return convertToWide(0);
    return true;
}

namespace
{
// The number of 16-bit units the first `bytes` bytes of a UTF-8 text become; an index into an
// 8-bit text moves with it when the text is widened.
uint32_t unitsOfBytes(const char* text, uint32_t count, uint32_t bytes)
{
    uint32_t units = 0;
    for (uint32_t i = 0; i < bytes && i < count;)
    {
        uint32_t len = 1;
        units += charAt(text, count, false, i, len) >= 0x10000 ? 2 : 1;
        i += len;
    }
    return units;
}
} // namespace

String& String::append(const ConstString& text, int32_t count)
{
    return insert(length, text, count);
}

String& String::appendChar(char c, uint32_t count)
{
    if (count == 0) return *this;
    String chars;
    // A wide object takes the byte as Latin-1, like every single 8-bit character.
    if (isWide && length > 0)
        chars.assignChars(static_cast<char16_t>(static_cast<uint8_t>(c)), count);
    else
        chars.assignChars(c, count);
    if (chars.getLength() == count) insert(length, chars);
    return *this;
}

String& String::appendChar(char16_t c, uint32_t count)
{
    if (count == 0) return *this;
    String chars;
    // An ASCII character goes into an 8-bit object as it is, without making it wide.
    if (c < 0x80 && !isWide && length > 0)
        chars.assignChars(static_cast<char>(c), count);
    else
        chars.assignChars(c, count);
    if (chars.getLength() == count) insert(length, chars);
    return *this;
}

String& String::insert(uint32_t index, const ConstString& text, int32_t count)
{
    if (index <= length && text.ptr()) spliceText(index, 0, text, count);
    return *this;
}

String& String::replace(uint32_t index, int32_t count, const ConstString& text, int32_t textCount)
{
    if (index > length || count == 0 || !text.ptr()) return *this;
    const uint32_t removeCount = (count < 0 || static_cast<uint32_t>(count) > length - index)
                                     ? length - index
                                     : static_cast<uint32_t>(count);
    spliceText(index, removeCount, text, textCount);
    return *this;
}

bool String::spliceText(uint32_t index, uint32_t removeCount, const ConstString& text, int32_t textCount)
{
    TextRun run(text);
    run.limit(textCount);
    if (run.count == 0 && removeCount == 0) return true;
    if (!isWide && run.wide && length > 0)
    {
        const uint32_t newIndex = unitsOfBytes(buffer8(), length, index);
        const uint32_t newRemove = unitsOfBytes(buffer8() + index, length - index, removeCount);
        if (!convertToWide(0)) return false;
        index = newIndex;
        removeCount = newRemove;
    }
    else if (!prepareFor(run.wide))
        return false;
    return run.toWidth(isWide, false) && splice(index, removeCount, run.data, run.count);
}

String& String::remove(uint32_t index, int32_t count)
{
    if (index >= length || count == 0) return *this;
    const uint32_t n = (count < 0 || static_cast<uint32_t>(count) > length - index)
                           ? length - index
                           : static_cast<uint32_t>(count);
    splice(index, n, nullptr, 0);
    return *this;
}

bool String::resize(uint32_t newLength, bool wide, bool fill)
{
    if (newLength > kMaxLength) return false;
    if (newLength == 0)
    {
        install(nullptr, 0, wide);
        return true;
    }
    void* copy = allocText(newLength, wide);
    if (!copy) return false;
    uint32_t kept = 0;
    if (buffer && static_cast<bool>(isWide) == wide)
    {
        kept = length < newLength ? length : newLength;
        std::memcpy(copy, buffer, kept * unitSize(wide));
    }
    for (uint32_t i = kept; i < newLength; ++i)
    {
        if (wide)
            static_cast<char16_t*>(copy)[i] = fill ? u' ' : 0;
        else
            static_cast<char*>(copy)[i] = fill ? ' ' : 0;
    }
    if (wide)
        static_cast<char16_t*>(copy)[newLength] = 0;
    else
        static_cast<char*>(copy)[newLength] = 0;
    const uint32_t keptLength = length < newLength ? length : newLength;
    std::free(buffer);
    buffer = copy;
    isWide = wide;
    length = keptLength;
    return true;
}

void String::updateLength()
{
    if (!buffer)
    {
        length = 0;
        return;
    }
    install(buffer, isWide ? scanLength(buffer16()) : scanLength(buffer8()), isWide);
}

int32_t String::replaceText(const ConstString& from, const ConstString& to, bool all)
{
    if (!from.ptr() || !to.ptr() || from.getLength() == 0 || isEmpty()) return 0;
    TextRun search(from);
    TextRun insertion(to);
    // Either may be a view of this very text, which the first replacement frees.
    if (!search.makeOwned() || !insertion.makeOwned()) return 0;
    if (insertion.wide && !isWide && !convertToWide(0)) return 0;
    if (!search.toWidth(isWide, false) || !insertion.toWidth(isWide, false)) return 0;
    int32_t replaced = 0;
    int64_t position = 0;
    while (true)
    {
        const TextRun self(buffer, length, isWide);
        const int32_t found = findInRun(self, search, position, -1);
        if (found < 0 || !splice(static_cast<uint32_t>(found), search.count, insertion.data, insertion.count))
            break;
        ++replaced;
        if (!all) break;
        position = int64_t(found) + insertion.count;
    }
    return replaced;
}

int32_t String::removeText(const ConstString& text)
{
    return replaceText(text, text.isWideString() ? ConstString(kEmpty16) : ConstString(kEmpty8), true);
}

namespace
{
bool inGroup(uint32_t cp, int32_t group, bool wide)
{
    switch (group)
    {
    case String::kGroupSpace:
        return (!wide && cp < 0x80) ? isCSpace(cp) : isSpaceSeparator(cp);
    case String::kGroupNotAlnum:
        return !(isLetter(cp) || isCDigit(cp));
    case String::kGroupNotAlpha:
        return !isLetter(cp);
    default:
        return false;
    }
}

bool inSet(const TextRun& set, uint32_t cp)
{
    for (uint32_t i = 0; i < set.count;)
    {
        uint32_t len = 1;
        if (charAt(set.data, set.count, set.wide, i, len) == cp) return true;
        i += len;
    }
    return false;
}
} // namespace

// Walks the characters (whole UTF-8 sequences and surrogate pairs) and drops, replaces or trims
// those of a set or a group. A replacement of -1 removes.
bool String::keepCharacters(const ConstString* set, int32_t group, int32_t replacement, bool trimOnly)
{
    if (!buffer || length == 0) return false;
    TextRun members(set ? *set : ConstString());
    if (set && members.count == 0) return false;
    const auto matches = [&](uint32_t cp) { return set ? inSet(members, cp) : inGroup(cp, group, isWide); };

    char encoded[4] = {};
    uint32_t replacementUnits = 0;
    if (replacement >= 0)
    {
        if (isWide)
            replacementUnits = 1;
        else
        {
            const uint32_t cp = (replacement >= 0xD800 && replacement < 0xE000) ? '?' : replacement;
            encodeUtf8(cp, encoded);
            replacementUnits = utf8Length(cp);
        }
    }

    uint32_t keepFrom = length;
    uint32_t keepTo = 0;
    uint64_t newLength = 0;
    bool changed = false;
    for (uint32_t i = 0; i < length;)
    {
        uint32_t len = 1;
        const uint32_t cp = charAt(buffer, length, isWide, i, len);
        if (!matches(cp))
        {
            if (keepFrom == length) keepFrom = i;
            keepTo = i + len;
            newLength += len;
        }
        else
        {
            changed = true;
            newLength += replacement >= 0 ? replacementUnits : 0;
        }
        i += len;
    }
    if (trimOnly)
    {
        if (keepFrom == length) keepFrom = keepTo = 0;
        if (keepFrom == 0 && keepTo == length) return false;
        return splice(keepTo, length - keepTo, nullptr, 0) && splice(0, keepFrom, nullptr, 0);
    }
    if (!changed || newLength > kMaxLength) return false;
    const size_t unit = unitSize(isWide);
    auto* copy = static_cast<char*>(allocText(newLength, isWide));
    if (!copy) return false;
    uint32_t out = 0;
    for (uint32_t i = 0; i < length;)
    {
        uint32_t len = 1;
        const uint32_t cp = charAt(buffer, length, isWide, i, len);
        if (!matches(cp))
        {
            std::memcpy(copy + out * unit, static_cast<const char*>(buffer) + i * unit, len * unit);
            out += len;
        }
        else if (replacement >= 0)
        {
            if (isWide)
                reinterpret_cast<char16_t*>(copy)[out] = static_cast<char16_t>(replacement);
            else
                std::memcpy(copy + out, encoded, replacementUnits);
            out += replacementUnits;
        }
        i += len;
    }
    std::memset(copy + out * unit, 0, unit);
    install(copy, out, isWide);
    return true;
}

bool String::replaceChars(const ConstString& set, char16_t replacement)
{
    return keepCharacters(&set, 0, replacement ? replacement : u' ', false);
}

bool String::removeChars(const ConstString& set)
{
    return keepCharacters(&set, 0, -1, false);
}

bool String::trim(int32_t group)
{
    return keepCharacters(nullptr, group, -1, true);
}

bool String::removeGroup(int32_t group)
{
    return keepCharacters(nullptr, group, -1, false);
}

bool String::setUnitAt(uint32_t index, uint32_t unit)
{
    if (unit == 0)
    {
        if (index < length) return splice(index, length - index, nullptr, 0);
        return true;
    }
    if (index < length)
    {
        if (isWide)
            static_cast<char16_t*>(buffer)[index] = static_cast<char16_t>(unit);
        else
            static_cast<char*>(buffer)[index] = static_cast<char>(unit);
        return true;
    }
    // Past the end the gap fills with blanks.
    if (index >= kMaxLength) return false;
    if (!resize(index + 1, isWide, true)) return false;
    if (isWide)
        static_cast<char16_t*>(buffer)[index] = static_cast<char16_t>(unit);
    else
        static_cast<char*>(buffer)[index] = static_cast<char>(unit);
    length = index + 1;
    return true;
}

bool String::setCharAt(uint32_t index, char c)
{
    if (!prepareFor(isWide && length > 0)) return false;
    return setUnitAt(index, static_cast<uint8_t>(c));
}

bool String::setCharAt(uint32_t index, char16_t c)
{
    if ((length == 0 || c >= 0x80) && !prepareFor(true)) return false;
    return setUnitAt(index, c);
}

bool String::changeCase(bool upper, int64_t onlyIndex)
{
    if (!buffer || length == 0 || onlyIndex >= length) return false;
    if (isWide)
        changeCase16(static_cast<char16_t*>(buffer), length, upper, onlyIndex);
    else
        changeCase8(static_cast<char*>(buffer), length, upper, onlyIndex);
    return true;
}

String& String::toLower()
{
    changeCase(false, -1);
    return *this;
}

String& String::toLower(uint32_t index)
{
    changeCase(false, index);
    return *this;
}

String& String::toUpper()
{
    changeCase(true, -1);
    return *this;
}

String& String::toUpper(uint32_t index)
{
    changeCase(true, index);
    return *this;
}

bool String::toWide(uint32_t codePage)
{
    return convertToWide(codePage);
}

bool String::toMultiByte(uint32_t codePage)
{
    return convertToMultiByte(codePage);
}

bool String::normalize()
{
    if (!isWide) return false;
    if (!buffer) return true;
    const uint32_t n = composeUnits(static_cast<char16_t*>(buffer), length);
    if (n != length)
    {
        // Keep the storage exact.
        String composed(buffer16(), static_cast<int32_t>(n), false);
        if (composed.getLength() != n)
        {
            static_cast<char16_t*>(buffer)[n] = 0;
            length = n;
            return true;
        }
        take(composed);
    }
    return true;
}

bool String::isNormalized() const
{
    if (!isWide) return false;
    if (!buffer) return true;
    for (uint32_t i = 1; i < length; ++i)
    {
        const char16_t c = buffer16()[i];
        if (c >= 0x300 && c < 0x370)
        {
            // A composition may follow another one, so the run is folded on a copy.
            String copy(*this);
            return copy.getLength() == length &&
                   composeUnits(static_cast<char16_t*>(copy.buffer), length) == length;
        }
    }
    return true;
}

bool String::printf(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const bool done = vprintf(format, args);
    va_end(args);
    return done;
}

bool String::printf(const char16_t* format, ...)
{
    va_list args;
    va_start(args, format);
    const bool done = vprintf(format, args);
    va_end(args);
    return done;
}

bool String::vprintf(const char* format, va_list args)
{
    if (!format) return false;
    char text[4096];
    if (std::vsnprintf(text, sizeof text, format, args) < 0) return false;
    const uint32_t n = scanLength(text);
    assign(text);
    return length == n && !isWide;
}

bool String::vprintf(const char16_t* format, va_list args)
{
    if (!format) return false;
    char16_t text[4096];
    va_list copy;
    va_copy(copy, args);
    const uint32_t n = formatWide(text, 4096, format, &copy);
    va_end(copy);
    assign(text);
    return length == n && isWide;
}

bool String::assignNumberText(const char* digits)
{
    const uint32_t n = scanLength(digits);
    if (!isWide)
    {
        assign(digits);
        return length == n;
    }
    char16_t wide[512];
    for (uint32_t i = 0; i <= n && i < 512; ++i)
        wide[i] = static_cast<uint8_t>(digits[i]);
    assign(wide, static_cast<int32_t>(n), false);
    return length == n;
}

bool String::printInt64(int64_t value)
{
    char digits[32];
    std::snprintf(digits, sizeof digits, "%" PRId64, value);
    return assignNumberText(digits);
}

bool String::printFloat(double value)
{
    // Six places as "%lf" gives them, but with "." whatever locale the host has set.
    char digits[400];
    const auto result = std::to_chars(digits, digits + sizeof digits - 1, value, std::chars_format::fixed, 6);
    if (result.ec != std::errc()) return false;
    *result.ptr = 0;
    if (char* point = std::strchr(digits, '.'))
    {
        char* end = result.ptr;
        while (end > point + 2 && end[-1] == '0')
            --end;
        *end = 0;
    }
    return assignNumberText(digits);
}

bool String::incrementTrailingNumber(uint32_t width, char16_t separator, int32_t minimum, bool applyOnly)
{
    if (width > 32) return false;
    uint32_t number = 1;
    uint32_t cut = length;
    const int32_t digits = getTrailingNumberIndex(0);
    if (digits >= 0)
    {
        number = static_cast<uint32_t>(getTrailingNumber(0));
        if (!applyOnly) ++number;
        cut = static_cast<uint32_t>(digits);
        if (separator && cut > 0 && isCharAt(cut - 1, separator)) --cut;
    }
    if (minimum > 0 && number < static_cast<uint32_t>(minimum)) number = static_cast<uint32_t>(minimum);

    char formatted[48];
    std::snprintf(formatted, sizeof formatted, "%0*u", static_cast<int>(width), number);
    String result(*this, static_cast<int32_t>(cut));
    if (result.getLength() != cut) return false;
    if (separator && cut > 0) result.appendChar(separator);
    const uint32_t expected = result.getLength() + scanLength(formatted);
    result.append(ConstString(formatted));
    if (result.getLength() != expected) return false;
    take(result);
    return true;
}

bool String::loadAttribute(IAttributes* object, const char* key)
{
    if (!object || !key) return false;
    Variant value;
    if (object->getAttribute(key, value) != kResultOk) return false;
    return assignVariant(value);
}

bool String::storeAttribute(IAttributes* object, const char* key)
{
    if (!object || !key) return false;
    const Variant value = toVariant();
    return object->setAttribute(key, value) == kResultOk;
}

bool String::toStringObject(FUnknown* object)
{
    if (!object) return false;
    void* face = nullptr;
    if (object->queryInterface(IStringResult::iid, &face) != kResultOk || !face) return false;
    auto* result = static_cast<IStringResult*>(face);
    const tresult taken = result->setText(text16());
    result->release();
    return taken == kResultOk;
}

// ---------------------------------------------------------------------------------------------
// LiteralTable

LiteralTable& LiteralTable::instance()
{
    // Made at the first use, which falls into the module's load; torn down when it unloads.
    static LiteralTable table;
    return table;
}

LiteralTable::~LiteralTable()
{
    for (auto& entry : texts)
        std::free(entry.second);
}

const char16_t* LiteralTable::widen(const char* literal)
{
    if (!literal) return nullptr;
    auto& table = instance().texts;
    const auto found = table.find(literal);
    if (found != table.end()) return found->second;
    const uint32_t n = scanLength(literal);
    auto* copy = static_cast<char16_t*>(allocText(n, true));
    if (!copy) return kEmpty16;
    for (uint32_t i = 0; i < n; ++i)
        copy[i] = static_cast<char16_t>(static_cast<signed char>(literal[i]));
    copy[n] = 0;
    table.emplace(literal, copy);
    return copy;
}

char16_t LiteralTable::widenChar(char c)
{
    auto& table = instance().chars;
    const auto found = table.find(c);
    if (found != table.end()) return found->second;
    const char16_t wide = static_cast<uint8_t>(c);
    table.emplace(c, wide);
    return wide;
}
