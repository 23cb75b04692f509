// Replaces the original by a recovered recording without ever risking it.
#pragma once

#include "recover/mp4_writer.h"

#include <string>
#include <sys/stat.h>

struct original_file {
    int folder; // borrowed descriptors
    int file;   // open for reading
    std::string name;
    struct stat status;
};

struct repair_plan {
    std::uint64_t data_end = 0;        // of the media data that are kept
    std::vector<std::uint8_t> index{}; // empty: a complete index follows the media data already
};

enum class repair_way { copied, in_place };

// Repairs a copy and renames it to the original once it is synced to storage. If there is no space
// for a copy beside what the daemon records, appends the index to the original and rewrites the
// header last. Throws std::system_error, leaving the original as it was.
repair_way replace_recording(const original_file& original, const repair_plan& repair);

// True for the name of an unfinished copy.
[[nodiscard]] bool is_unfinished_copy(const std::string& name);
