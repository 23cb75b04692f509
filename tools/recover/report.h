// What became of each recording, for people and for programs.
#pragma once

#include <cstdint>
#include <string>

enum class recording_fate {
    recovered,
    recoverable, // in a dry run
    complete,    // nothing to do
    in_use,      // left alone
    empty,       // it holds no whole picture or sound
    foreign,     // not written by the sight's recorder; left alone
    failed,      // left as it was
};

struct file_report {
    std::string path;
    recording_fate fate = recording_fate::complete;
    std::string reason{};       // why it failed or was left alone; how it was done
    std::uint64_t pictures = 0; // in the recovered recording
    std::uint64_t dropped = 0;  // further ones that can't be decoded
    std::uint64_t sound_frames = 0;
    double length_s = 0;
};

// A line for people, without its end.
[[nodiscard]] std::string as_text(const file_report& report);

// A JSON object on one line, without its end.
[[nodiscard]] std::string as_json(const file_report& report);
