#include "tests/host/midireader.h"

#include "tests/host/host_test_support.h"

#include <sstream>

namespace hosttest
{
namespace
{
class Bytes
{
public:
    Bytes(const std::vector<uint8_t>& data, size_t begin, size_t end) : data(data), at(begin), end(end) {}

    bool done() const { return at >= end; }
    bool has(size_t count) const { return end - at >= count; }
    uint8_t peek() const { return data[at]; }
    uint32_t big(int count)
    {
        uint32_t value = 0;
        for (int i = 0; i < count; ++i)
            value = value << 8 | data[at++];
        return value;
    }
    // A variable-length number: seven bits a byte, at most four bytes.
    bool variable(uint32_t& value)
    {
        value = 0;
        for (int i = 0; i < 4 && has(1); ++i)
        {
            const uint8_t byte = data[at++];
            value = value << 7 | (byte & 0x7F);
            if (!(byte & 0x80)) return true;
        }
        return false;
    }
    std::string text(size_t count)
    {
        std::string out(data.begin() + static_cast<std::ptrdiff_t>(at),
                        data.begin() + static_cast<std::ptrdiff_t>(at + count));
        at += count;
        return out;
    }
    size_t position() const { return at; }

private:
    const std::vector<uint8_t>& data;
    size_t at;
    size_t end;
};

// A text in quotes as midicsv writes it: quotes doubled, backslashes doubled, control characters
// and those of 127 to 159 as three octal digits.
std::string quotedText(const std::string& text)
{
    std::string out = "\"";
    for (const char c : text)
    {
        const auto byte = static_cast<uint8_t>(c);
        if (c == '"')
            out += "\"\"";
        else if (c == '\\')
            out += "\\\\";
        else if (byte < 32 || (byte >= 127 && byte < 160))
        {
            out += '\\';
            for (int shift = 6; shift >= 0; shift -= 3)
                out += static_cast<char>('0' + ((byte >> shift) & 7));
        }
        else
            out += c;
    }
    return out + "\"";
}

const char* textKind(uint8_t type)
{
    static const char* const kinds[] = {"Text_t",  "Copyright_t", "Title_t",    "Instrument_name_t",
                                        "Lyric_t", "Marker_t",    "Cue_point_t"};
    return type >= 1 && type <= 7 ? kinds[type - 1] : nullptr;
}

// The event after a delta time at `bytes`, as the rest of a midicsv line ("Note_on_c, 0, 60, 100");
// false with `error` set if it is damaged or of a kind this reader does not know.
bool readEvent(Bytes& bytes, uint8_t& runningStatus, std::string& line, bool& ended, std::string& error)
{
    if (!bytes.has(1)) return error = "the track ends inside an event", false;
    uint8_t status = bytes.peek();
    if (status < 0x80)
    {
        if (!runningStatus) return error = "a data byte without a status", false;
        status = runningStatus;
    }
    else
        bytes.big(1);

    if (status == 0xFF)
    {
        uint32_t length = 0;
        if (!bytes.has(1)) return error = "a meta event without its type", false;
        const auto type = static_cast<uint8_t>(bytes.big(1));
        if (!bytes.variable(length) || !bytes.has(length))
            return error = "a meta event longer than its track", false;
        const std::string data = bytes.text(length);
        const auto at = [&](size_t i) { return static_cast<uint8_t>(data[i]); };
        if (const char* kind = textKind(type))
            line = std::string(kind) + ", " + quotedText(data);
        else if (type == 0x51 && length == 3)
            line = "Tempo, " + std::to_string(at(0) << 16 | at(1) << 8 | at(2));
        else if (type == 0x58 && length == 4)
            line = "Time_signature, " + std::to_string(at(0)) + ", " + std::to_string(at(1)) + ", " +
                   std::to_string(at(2)) + ", " + std::to_string(at(3));
        else if (type == 0x59 && length == 2)
            line = "Key_signature, " + std::to_string(static_cast<int8_t>(at(0))) + ", " +
                   (at(1) ? "\"minor\"" : "\"major\"");
        else if (type == 0x2F && length == 0)
        {
            line = "End_track";
            ended = true;
        }
        else
            return error = "meta event " + std::to_string(type) + " of " + std::to_string(length) + " bytes",
                   false;
        return true;
    }
    if (status >= 0xF0) return error = "system event " + std::to_string(status), false;

    runningStatus = status;
    const uint8_t kind = status & 0xF0;
    const int dataBytes = kind == 0xC0 || kind == 0xD0 ? 1 : 2;
    if (!bytes.has(static_cast<size_t>(dataBytes))) return error = "a channel event cut short", false;
    const uint32_t first = bytes.big(1);
    const uint32_t second = dataBytes == 2 ? bytes.big(1) : 0;
    if ((first | second) & 0x80) return error = "a data byte above 127", false;
    const std::string channel = std::to_string(status & 0x0F);
    const std::string a = std::to_string(first), b = std::to_string(second);
    switch (kind)
    {
    case 0x80:
        line = "Note_off_c, " + channel + ", " + a + ", " + b;
        break;
    case 0x90:
        line = "Note_on_c, " + channel + ", " + a + ", " + b;
        break;
    case 0xA0:
        line = "Poly_aftertouch_c, " + channel + ", " + a + ", " + b;
        break;
    case 0xB0:
        line = "Control_c, " + channel + ", " + a + ", " + b;
        break;
    case 0xC0:
        line = "Program_c, " + channel + ", " + a;
        break;
    case 0xD0:
        line = "Channel_aftertouch_c, " + channel + ", " + a;
        break;
    default:
        line = "Pitch_bend_c, " + channel + ", " + std::to_string(second << 7 | first);
        break;
    }
    return true;
}
} // namespace

std::string midiFileAsCsv(const std::vector<uint8_t>& data, std::string& error)
{
    Bytes file(data, 0, data.size());
    if (!file.has(14) || file.text(4) != "MThd" || file.big(4) != 6) return error = "no MIDI file header", "";
    const uint32_t format = file.big(2), tracks = file.big(2), division = file.big(2);
    std::ostringstream out;
    out << "0, 0, Header, " << format << ", " << tracks << ", " << division << "\n";
    for (uint32_t track = 1; track <= tracks; ++track)
    {
        if (!file.has(8) || file.text(4) != "MTrk")
            return error = "track " + std::to_string(track) + " is missing", "";
        const uint32_t length = file.big(4);
        if (!file.has(length)) return error = "track " + std::to_string(track) + " is cut short", "";
        Bytes bytes(data, file.position(), file.position() + length);
        file.text(length);
        out << track << ", 0, Start_track\n";
        uint64_t tick = 0;
        uint8_t runningStatus = 0;
        bool ended = false;
        while (!ended)
        {
            uint32_t delta = 0;
            std::string line;
            if (!bytes.variable(delta))
                error = "a damaged delta time";
            else if (readEvent(bytes, runningStatus, line, ended, error))
            {
                tick += delta;
                out << track << ", " << tick << ", " << line << "\n";
                continue;
            }
            return error = "track " + std::to_string(track) + ": " + error, "";
        }
        if (!bytes.done()) return error = "track " + std::to_string(track) + " goes on after its end", "";
    }
    out << "0, 0, End_of_file\n";
    return out.str();
}

std::vector<std::string> midiEvents(const TempFolder& folder, const std::string& midiFile,
                                    std::vector<std::string>* meta)
{
#ifdef TREMOLIN_TEST_MIDICSV
    const CommandResult csv = runProgram(folder, TREMOLIN_TEST_MIDICSV, {midiFile});
    EXPECT_EQ(csv.exitCode, 0) << "midicsv could not read " << midiFile << ": " << csv.err;
    const std::string text = csv.out;
#else
    (void)folder;
    const std::string bytes = readText(midiFile);
    std::string error;
    const std::string text = midiFileAsCsv(std::vector<uint8_t>(bytes.begin(), bytes.end()), error);
    EXPECT_EQ(error, "") << midiFile;
#endif
    std::vector<std::string> events;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line))
    {
        // "1, 480, Note_on_c, 0, 60, 100": drop the track number.
        const size_t comma = line.find(", ");
        if (comma == std::string::npos) continue;
        const std::string rest = line.substr(comma + 2);
        if (rest.find("_c, ") != std::string::npos)
            events.push_back(rest);
        else if (meta)
            meta->push_back(rest);
    }
    return events;
}
} // namespace hosttest
