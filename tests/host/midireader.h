#pragma once

// Reading the MIDI files the host writes back in a form tests can compare: the lines midicsv
// prints for a file, so that the same expectations hold whether midicsv or this reader read it.

#include <cstdint>
#include <string>
#include <vector>

namespace hosttest
{
class TempFolder;

// The file's lines as midicsv prints them ("0, 0, Header, 0, 1, 480", "1, 0, Start_track", ...,
// "0, 0, End_of_file"), one per event, each ended by "\n". Knows the channel messages and the
// meta events of a Standard MIDI File's tracks; anything else, and any damage, is reported in
// `error` with an empty result.
std::string midiFileAsCsv(const std::vector<uint8_t>& bytes, std::string& error);

// The channel events of a MIDI file as midicsv prints them, without the track and file framing:
// "tick, Note_on_c, channel, note, velocity" and so on; the other events go to `meta`. Read by
// midicsv where the build has it, else by midiFileAsCsv.
std::vector<std::string> midiEvents(const TempFolder& folder, const std::string& midiFile,
                                    std::vector<std::string>* meta = nullptr);
} // namespace hosttest
