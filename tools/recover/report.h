// Reports the result for each recording, as text or JSON.
#pragma once

#include <cstdint>
#include <string>

enum class recording_fate {
    recovered,
    recoverable, // would be recovered (dry run)
    complete,    // nothing to do
    in_use,      // not touched
    empty,       // contains no complete picture or sound frame
    foreign,     // not written by the sight's recorder; not touched
    failed,      // not changed
};

struct file_report {
    std::string path;
    recording_fate fate = recording_fate::complete;
    std::string reason{};       // why it failed or was not touched, or how it was recovered
    std::uint64_t pictures = 0; // in the recovered recording
    std::uint64_t dropped = 0;  // additional pictures that can't be decoded
    std::uint64_t sound_frames = 0;
    double length_s = 0;
};

// Formats a line of text, without newline.
[[nodiscard]] std::string as_text(const file_report& report);

// Formats a JSON object on one line, without newline.
[[nodiscard]] std::string as_json(const file_report& report);
