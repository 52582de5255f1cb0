#pragma once

// Projects of the step sequencer as the host keeps them: the module's state chunk (the exact
// bytes getChunk gives, 156140 of them, starting "TrMo"), or a text form of the same patterns
// that people can read, write and diff. A file is one or the other, told apart by its content.
//
// The text form
// -------------
//
//     # lines starting with '#' are comments; blank lines are ignored
//     current 3
//
//     pattern 1  length 16  quantize 1/16  swing 0
//     # step  note   vel  gate    cc1  cc2  tie
//          1  C1     110  0.5       0    0  -
//          2  C1     110  1         0    0  tie
//          5  D#1     90  0.25     64    0  -
//
// `current N` is the selected pattern, counted from 1. `pattern N` (1..200) starts a pattern;
// `length` (steps that play), `quantize` (a step's duration: 1/2 1/4 1/4T 1/8 1/8T 1/16 1/16T
// 1/32 1/32T 1/64 1/128, or a number of ticks at 480 per quarter) and `swing` (percent) follow
// on the same line, each optional. Each further line is one step: its number, counted from 1
// (1..32), then six columns, separated by blanks or tabs:
//
//   note  a name with its octave, C3 = 60: C C# D D# E F F# G G# A A# B, the octave behind it
//         (C-1 = 12, C-2 = 0; octave 0 is written without a digit, so C = 24, C1 = 36);
//         "-" for an empty step; a plain number is read as the note number, and numbers
//         outside 0..127 are written that way
//   vel   velocity
//   gate  the part of the step that sounds, 1 = all of it; written with as many digits as the
//         32-bit value needs to read back exactly, or as 0x followed by its eight hex digits
//         (how a NaN, an infinity or a gate longer than 1000 steps is written; as a number, such
//         a gate is refused)
//   cc1   value of the first controller lane (0 sends nothing)
//   cc2   value of the second controller lane
//   tie   "-" for none, "tie" for a step that continues the note before it, or a number
//
// What is not written has its default: a step is empty with velocity 64, gate 1, controllers 0
// and no tie; a pattern has 16 steps of 1/16, no swing, all steps default. The writer puts out
// only the patterns that differ from the default and the current one, and in them only the steps
// that differ; reading what it wrote and writing again gives the same text, and writing a chunk
// as text and reading it back gives the same chunk, byte for byte (the chunk's 128 reserved
// bytes, always 0 from the module, are not carried).

#include "midiplugs/midiseq/chunkformat.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace hostkit
{
// The host reads and writes chunks with a codec of its own rather than the module's: it converts
// project files without loading a module, and its reader, written apart from the module's, is what
// the tests hold the module's bytes against. The layout's numbers are shared.
enum : int32_t
{
    kProjectChunkSize = kChunkSize,
    kProjectPatternCount = kChunkPatternCount,
    kProjectStepCount = kChunkStepCount,
    kProjectChunkMagic = kChunkMagic,
    kProjectChunkVersion = kChunkVersion,
    kProjectReservedSize = kChunkReservedSize,
};

struct ProjectStep
{
    int32_t note = -1;
    int32_t velocity = 64;
    float gate = 1.0f;
    int32_t controller1 = 0;
    int32_t controller2 = 0;
    int32_t tie = 0;

    // Field by field, the gate by its bits: the chunk's identity, not arithmetic.
    bool operator==(const ProjectStep& other) const;
};

struct ProjectPattern
{
    std::array<ProjectStep, kProjectStepCount> steps{};
    int32_t length = 16;
    int32_t quantize = 120;
    int32_t swing = 0; // percent, as stored

    bool operator==(const ProjectPattern& other) const = default;
    bool isDefault() const { return *this == ProjectPattern{}; }
};

struct Project
{
    std::array<ProjectPattern, kProjectPatternCount> patterns{};
    int32_t current = 0; // index from 0
    std::array<uint8_t, kProjectReservedSize> reserved{};

    bool operator==(const Project& other) const = default;
};

// The chunk as the module writes it: big-endian, fields in order.
std::vector<uint8_t> encodeChunk(const Project& project);
// Reads a chunk; false with a sentence in `error` when the size, the magic or the version is wrong.
bool decodeChunk(const uint8_t* bytes, size_t size, Project& project, std::string& error);
// True if the bytes start as a chunk does.
bool looksLikeChunk(const uint8_t* bytes, size_t size);

std::string writeProjectText(const Project& project);
// Reads the text form; false with "line N: ..." in `error` on the first fault.
bool readProjectText(std::string_view text, Project& project, std::string& error);

// Note names as the text form writes them: 60 "C3", 24 "C", 12 "C-1".
std::string noteText(int32_t note);
// The note of a name; false for text that is no note name.
bool parseNoteName(std::string_view text, int32_t& note);

// Either form, by content. `error` is one sentence naming the file. `isChunk`, when given, tells
// which form the file had, so that a program that saves it again can keep it; `bytes`, the file
// as it was read, so that it can tell whether the file changed before it saves over it.
bool loadProjectFile(const std::string& path, Project& project, std::string& error, bool* isChunk = nullptr,
                     std::vector<uint8_t>* bytes = nullptr);
// The file's bytes: the chunk, or the text form when `asText`.
std::vector<uint8_t> projectFileBytes(const Project& project, bool asText);
// The chunk, or the text form when `asText`; through a temporary file.
bool saveProjectFile(const std::string& path, const Project& project, bool asText, std::string& error);

// The largest project file read: far more than the longest text of 200 full patterns.
constexpr size_t kLargestProjectFile = size_t(16) << 20;
} // namespace hostkit
