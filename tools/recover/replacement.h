// Puts a recovered recording in the place of the original, which is never lost on the way.
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
    std::vector<std::uint8_t> index{}; // empty: one that is whole follows these data already
};

enum class repair_way { copied, in_place };

// Repairs a copy that takes the original's name once it is on storage. Where there is no room for
// one beside what the daemon records, or none at all, the index is appended to the original, and
// its header is rewritten last. Throws std::system_error, with the original as it was.
repair_way replace_recording(const original_file& original, const repair_plan& repair);

// True for the name of a copy that is not finished.
[[nodiscard]] bool is_unfinished_copy(const std::string& name);
