#include "host/projectfile.h"

#include "host/kit/hosttext.h"
#include "host/kit/platform/hostplatform.h"
#include "host/kit/userfile.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace hostkit
{
namespace
{
// A gate of 1 sounds the whole step; longer ones reach into the steps after it, up to a bar of 32
// steps many times over, but not for hours.
constexpr float kLargestGate = 1000.0f;

const char* const kNoteNames[12] = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};

struct QuantizeName
{
    const char* name;
    int32_t ticks;
};
const QuantizeName kQuantizeNames[] = {
    {"1/2", 960},  {"1/4", 480}, {"1/4T", 320}, {"1/8", 240}, {"1/8T", 160}, {"1/16", 120},
    {"1/16T", 80}, {"1/32", 60}, {"1/32T", 40}, {"1/64", 30}, {"1/128", 15},
};

uint32_t floatBits(float value)
{
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

float floatFromBits(uint32_t bits)
{
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

void putInt(std::vector<uint8_t>& out, int32_t value)
{
    const auto bits = static_cast<uint32_t>(value);
    out.push_back(static_cast<uint8_t>(bits >> 24));
    out.push_back(static_cast<uint8_t>(bits >> 16));
    out.push_back(static_cast<uint8_t>(bits >> 8));
    out.push_back(static_cast<uint8_t>(bits));
}

int32_t getInt(const uint8_t*& at)
{
    const uint32_t bits = (uint32_t(at[0]) << 24) | (uint32_t(at[1]) << 16) | (uint32_t(at[2]) << 8) | at[3];
    at += 4;
    return static_cast<int32_t>(bits);
}

std::string quantizeText(int32_t ticks)
{
    for (const QuantizeName& entry : kQuantizeNames)
        if (entry.ticks == ticks) return entry.name;
    return std::to_string(ticks);
}

std::string gateText(float gate)
{
    // Bits a person would not write as a gate (NaN, infinities, absurd lengths) go in hex, which
    // keeps them exactly while the reader refuses them as numbers.
    if (!std::isfinite(gate) || std::fabs(gate) > kLargestGate)
    {
        char text[16];
        std::snprintf(text, sizeof text, "0x%08X", floatBits(gate));
        return text;
    }
    return formatFloat(gate);
}

std::string stepNoteText(int32_t note)
{
    if (note == -1) return "-";
    if (note >= 0 && note <= 127) return noteText(note);
    return std::to_string(note);
}

std::string tieText(int32_t tie)
{
    return tie == 0 ? "-" : tie == 1 ? "tie" : std::to_string(tie);
}

std::string padRight(std::string text, size_t width)
{
    if (text.size() < width) text.append(width - text.size(), ' ');
    return text;
}

std::string padLeft(const std::string& text, size_t width)
{
    return text.size() < width ? std::string(width - text.size(), ' ') + text : text;
}

// --- reading -----------------------------------------------------------------------------

bool toInt32(std::string_view token, int32_t& value)
{
    const auto number = parseInteger(token);
    if (!number || *number < INT32_MIN || *number > INT32_MAX) return false;
    value = static_cast<int32_t>(*number);
    return true;
}

bool parseGate(std::string_view token, float& gate)
{
    if (token.size() == 10 && token[0] == '0' && (token[1] == 'x' || token[1] == 'X'))
    {
        uint32_t bits = 0;
        const auto [end, error] = std::from_chars(token.data() + 2, token.data() + token.size(), bits, 16);
        if (error != std::errc() || end != token.data() + token.size()) return false;
        gate = floatFromBits(bits);
        return true;
    }
    if (!token.empty() && token.front() == '+') token.remove_prefix(1);
    float value = 0.0f;
    const auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), value);
    if (token.empty() || error != std::errc() || end != token.data() + token.size()) return false;
    gate = value;
    return true;
}

std::vector<std::string_view> splitWords(std::string_view line)
{
    std::vector<std::string_view> words;
    size_t i = 0;
    while (i < line.size())
    {
        while (i < line.size() && (line[i] == ' ' || line[i] == '\t'))
            ++i;
        const size_t start = i;
        while (i < line.size() && line[i] != ' ' && line[i] != '\t')
            ++i;
        if (i > start) words.push_back(line.substr(start, i - start));
    }
    return words;
}

std::string quoted(std::string_view word)
{
    return quotedWord(word);
}
} // namespace

bool ProjectStep::operator==(const ProjectStep& other) const
{
    return note == other.note && velocity == other.velocity && floatBits(gate) == floatBits(other.gate) &&
           controller1 == other.controller1 && controller2 == other.controller2 && tie == other.tie;
}

std::vector<uint8_t> encodeChunk(const Project& project)
{
    std::vector<uint8_t> out;
    out.reserve(kProjectChunkSize);
    putInt(out, kProjectChunkMagic);
    putInt(out, kProjectChunkVersion);
    for (const ProjectPattern& pattern : project.patterns)
    {
        for (const ProjectStep& step : pattern.steps)
        {
            putInt(out, step.note);
            putInt(out, step.velocity);
            putInt(out, static_cast<int32_t>(floatBits(step.gate)));
            putInt(out, step.controller1);
            putInt(out, step.controller2);
            putInt(out, step.tie);
        }
        putInt(out, pattern.length);
        putInt(out, pattern.quantize);
        putInt(out, pattern.swing);
    }
    putInt(out, project.current);
    out.insert(out.end(), project.reserved.begin(), project.reserved.end());
    return out;
}

bool looksLikeChunk(const uint8_t* bytes, size_t size)
{
    return bytes && size >= 4 && std::memcmp(bytes, "TrMo", 4) == 0;
}

bool decodeChunk(const uint8_t* bytes, size_t size, Project& project, std::string& error)
{
    if (!looksLikeChunk(bytes, size))
    {
        error = "it does not start with the bytes \"TrMo\"";
        return false;
    }
    if (size != kProjectChunkSize)
    {
        error = "it has " + std::to_string(size) + " bytes instead of " + std::to_string(kProjectChunkSize);
        return false;
    }
    const uint8_t* at = bytes + 4;
    const int32_t version = getInt(at);
    if (version != kProjectChunkVersion)
    {
        error = "its version " + std::to_string(version) + " is not the known version " +
                std::to_string(kProjectChunkVersion);
        return false;
    }
    for (ProjectPattern& pattern : project.patterns)
    {
        for (ProjectStep& step : pattern.steps)
        {
            step.note = getInt(at);
            step.velocity = getInt(at);
            step.gate = floatFromBits(static_cast<uint32_t>(getInt(at)));
            step.controller1 = getInt(at);
            step.controller2 = getInt(at);
            step.tie = getInt(at);
        }
        pattern.length = getInt(at);
        pattern.quantize = getInt(at);
        pattern.swing = getInt(at);
    }
    project.current = getInt(at);
    std::memcpy(project.reserved.data(), at, kProjectReservedSize);
    return true;
}

std::string noteText(int32_t note)
{
    // Octaves count down below 0 as well: floor division, so that every number has a name.
    int64_t octave = note / 12;
    int32_t index = note % 12;
    if (index < 0)
    {
        index += 12;
        --octave;
    }
    octave -= 2;
    std::string text = kNoteNames[index];
    if (octave != 0) text += std::to_string(octave);
    return text;
}

bool parseNoteName(std::string_view text, int32_t& note)
{
    if (text.empty() || text[0] < 'A' || text[0] > 'G') return false;
    size_t nameLength = text.size() > 1 && text[1] == '#' ? 2 : 1;
    int32_t index = -1;
    for (int32_t i = 0; i < 12; ++i)
        if (text.substr(0, nameLength) == kNoteNames[i]) index = i;
    if (index < 0) return false; // "E#", "B#": not names this form uses
    int64_t octave = 0;
    const std::string_view digits = text.substr(nameLength);
    if (!digits.empty())
    {
        if (digits[0] == '+') return false;
        const auto parsed = parseInteger(digits);
        if (!parsed || *parsed == 0 || *parsed < -200000000 || *parsed > 200000000)
            return false; // octave 0 has no digit
        octave = *parsed;
    }
    const int64_t value = (octave + 2) * 12 + index;
    if (value < INT32_MIN || value > INT32_MAX) return false;
    note = static_cast<int32_t>(value);
    return true;
}

std::string writeProjectText(const Project& project)
{
    std::string out;
    out += "# Tremolin project, text form. A step line: step, note (C3 = 60, \"-\" none), velocity,\n";
    out += "# gate (1 = whole step), controller lanes 1 and 2, tie. Steps and patterns not listed keep\n";
    out += "# their defaults: empty, velocity 64, gate 1, controllers 0, no tie; 16 steps of 1/16.\n";
    out += "current " + std::to_string(static_cast<int64_t>(project.current) + 1) + "\n";
    for (int32_t index = 0; index < kProjectPatternCount; ++index)
    {
        const ProjectPattern& pattern = project.patterns[static_cast<size_t>(index)];
        if (pattern.isDefault() && index != project.current) continue;
        out += "\npattern " + std::to_string(index + 1) + "  length " + std::to_string(pattern.length) +
               "  quantize " + quantizeText(pattern.quantize) + "  swing " + std::to_string(pattern.swing) +
               "\n";
        bool header = false;
        for (int32_t s = 0; s < kProjectStepCount; ++s)
        {
            const ProjectStep& step = pattern.steps[static_cast<size_t>(s)];
            if (step == ProjectStep{}) continue;
            if (!header)
            {
                out += "# step  note   vel  gate    cc1  cc2  tie\n";
                header = true;
            }
            out += padLeft(std::to_string(s + 1), 6) + "  " + padRight(stepNoteText(step.note), 5) + " " +
                   padLeft(std::to_string(step.velocity), 4) + "  " + padRight(gateText(step.gate), 6) + " " +
                   padLeft(std::to_string(step.controller1), 4) + " " +
                   padLeft(std::to_string(step.controller2), 4) + "  " + tieText(step.tie) + "\n";
        }
    }
    return out;
}

bool readProjectText(std::string_view text, Project& project, std::string& error)
{
    project = Project{};
    ProjectPattern* pattern = nullptr;
    std::array<bool, kProjectPatternCount> seenPattern{};
    std::array<bool, kProjectStepCount> seenStep{};
    bool seenCurrent = false;
    int lineNumber = 0;
    size_t start = 0;
    const auto fail = [&](const std::string& what)
    {
        error = "line " + std::to_string(lineNumber) + ": " + what;
        return false;
    };
    while (start < text.size())
    {
        size_t end = text.find('\n', start);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = text.substr(start, end - start);
        start = end + 1;
        ++lineNumber;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        const std::vector<std::string_view> words = splitWords(line);
        if (words.empty() || words[0][0] == '#') continue;

        if (words[0] == "current")
        {
            if (seenCurrent) return fail("the current pattern is given twice");
            const auto number = words.size() == 2 ? parseInteger(words[1]) : std::nullopt;
            if (!number || *number - 1 < INT32_MIN || *number - 1 > INT32_MAX)
                return fail("'current' takes one pattern number");
            project.current = static_cast<int32_t>(*number - 1);
            seenCurrent = true;
            continue;
        }

        if (words[0] == "pattern")
        {
            const auto number = words.size() >= 2 ? parseInteger(words[1]) : std::nullopt;
            if (!number || *number < 1 || *number > kProjectPatternCount)
                return fail("'pattern' takes a number from 1 to " + std::to_string(kProjectPatternCount));
            if (seenPattern[static_cast<size_t>(*number - 1)])
                return fail("pattern " + std::to_string(*number) + " is given twice");
            seenPattern[static_cast<size_t>(*number - 1)] = true;
            seenStep = {};
            pattern = &project.patterns[static_cast<size_t>(*number - 1)];
            bool seenLength = false, seenQuantize = false, seenSwing = false;
            for (size_t i = 2; i < words.size(); i += 2)
            {
                if (i + 1 >= words.size()) return fail(quoted(words[i]) + " has no value");
                const std::string_view key = words[i];
                const std::string_view value = words[i + 1];
                bool* seen = key == "length"     ? &seenLength
                             : key == "quantize" ? &seenQuantize
                             : key == "swing"    ? &seenSwing
                                                 : nullptr;
                if (!seen) return fail(quoted(key) + " is not a pattern setting (length, quantize, swing)");
                if (*seen) return fail(quoted(key) + " is given twice");
                *seen = true;
                if (key == "quantize")
                {
                    bool named = false;
                    for (const QuantizeName& entry : kQuantizeNames)
                        if (value == entry.name)
                        {
                            pattern->quantize = entry.ticks;
                            named = true;
                        }
                    if (!named && !toInt32(value, pattern->quantize))
                        return fail(quoted(value) + " is not a step size such as 1/16 or a number of ticks");
                }
                else if (!toInt32(value, key == "length" ? pattern->length : pattern->swing))
                    return fail(quoted(value) + " is not a whole number for " + std::string(key));
            }
            continue;
        }

        if (!pattern) return fail(quoted(words[0]) + " stands before any 'pattern' line");
        if (words.size() != 7)
            return fail("a step takes 7 columns (step, note, vel, gate, cc1, cc2, tie), not " +
                        std::to_string(words.size()));
        const auto index = parseInteger(words[0]);
        if (!index || *index < 1 || *index > kProjectStepCount)
            return fail(quoted(words[0]) + " is not a step number from 1 to 32");
        if (seenStep[static_cast<size_t>(*index - 1)])
            return fail("step " + std::to_string(*index) + " is given twice");
        seenStep[static_cast<size_t>(*index - 1)] = true;
        ProjectStep& step = pattern->steps[static_cast<size_t>(*index - 1)];
        if (words[1] == "-")
            step.note = -1;
        else if (!parseNoteName(words[1], step.note) && !toInt32(words[1], step.note))
            return fail(quoted(words[1]) + " is not a note (such as C3, F#1 or -)");
        if (!toInt32(words[2], step.velocity)) return fail(quoted(words[2]) + " is not a velocity");
        if (!parseGate(words[3], step.gate)) return fail(quoted(words[3]) + " is not a gate (such as 0.5)");
        // Hex keeps a chunk's bits as they are; a number is what a person wrote and must be a length.
        if (!(words[3].size() > 1 && words[3][0] == '0' && (words[3][1] == 'x' || words[3][1] == 'X')) &&
            (!std::isfinite(step.gate) || std::fabs(step.gate) > kLargestGate))
            return fail(quoted(words[3]) + " is not a gate a step can have (a finite length of at most " +
                        std::to_string(static_cast<int>(kLargestGate)) + " steps)");
        if (!toInt32(words[4], step.controller1))
            return fail(quoted(words[4]) + " is not a controller value");
        if (!toInt32(words[5], step.controller2))
            return fail(quoted(words[5]) + " is not a controller value");
        if (words[6] == "-")
            step.tie = 0;
        else if (words[6] == "tie")
            step.tie = 1;
        else if (!toInt32(words[6], step.tie))
            return fail(quoted(words[6]) + " is not a tie (tie or -)");
    }
    return true;
}

bool loadProjectFile(const std::string& path, Project& project, std::string& error, bool* isChunk,
                     std::vector<uint8_t>* read)
{
    std::vector<uint8_t> bytes;
    std::string reason;
    bool tooLarge = false;
    if (!platform::readFile(path, bytes, reason, kLargestProjectFile, &tooLarge))
    {
        error = tooLarge ? "The file '" + path + "' is larger than a project can be (" + reason + ")."
                         : "Can't read the project file '" + path + "': " + reason + ".";
        return false;
    }
    if (bytes.empty())
    {
        error = "The project file '" + path + "' is empty.";
        return false;
    }
    // A chunk cut to its first bytes is still a chunk, not text with a syntax error.
    const bool chunk = looksLikeChunk(bytes.data(), bytes.size()) ||
                       (bytes.size() < 4 && std::memcmp(bytes.data(), "TrMo", bytes.size()) == 0);
    if (isChunk) *isChunk = chunk;
    if (chunk)
    {
        if (bytes.size() < 4 || !decodeChunk(bytes.data(), bytes.size(), project, reason))
        {
            if (bytes.size() < 4) reason = "it has only " + std::to_string(bytes.size()) + " bytes";
            error = "The project file '" + path + "' is a damaged chunk: " + reason + ".";
            return false;
        }
        if (read) *read = std::move(bytes);
        return true;
    }
    if (std::memchr(bytes.data(), 0, bytes.size()))
    {
        error = "The file '" + path + "' is neither a project chunk nor a project text.";
        return false;
    }
    std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    // Editors on Windows start UTF-8 files with a byte-order mark; it is no part of the text.
    if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
    if (!readProjectText(text, project, reason))
    {
        error = "The project file '" + path + "' has an error on " + reason + ".";
        return false;
    }
    if (read) *read = std::move(bytes);
    return true;
}

std::vector<uint8_t> projectFileBytes(const Project& project, bool asText)
{
    if (!asText) return encodeChunk(project);
    const std::string text = writeProjectText(project);
    return std::vector<uint8_t>(text.begin(), text.end());
}

bool saveProjectFile(const std::string& path, const Project& project, bool asText, std::string& error)
{
    const std::vector<uint8_t> bytes = projectFileBytes(project, asText);
    const SaveOutcome outcome = saveUserFile(path, bytes.data(), bytes.size(), nullptr, false);
    if (outcome.kind == SaveOutcome::Kind::Saved) return true;
    error = outcome.sentence(path);
    return false;
}
} // namespace hostkit
